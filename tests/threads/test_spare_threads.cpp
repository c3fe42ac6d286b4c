// The values of spare data are shared by all threads: different threads make and destroy records
// whose values share one table.

#include <ZEL/ZEL_SpareData.h>
#include <ZEL/sparedata/ZEL_SpareValuesPrivate.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int theThreads = 6;
constexpr int theRounds = 3000;
constexpr int theValues = 5;

std::string valueOf(int i)
{
    return "a value of the thread test " + std::to_string(i % theValues);
}

} // namespace

TEST(SpareValues, RecordsOfManyThreadsShareAndRelease)
{
    ZEL_SpareData kept;
    kept.addTokenValue("kept", valueOf(0).c_str());
    std::atomic<int> ready{0};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < theThreads; t++) {
        threads.emplace_back([&, t] {
            ++ready;
            while (ready.load() < theThreads) {
                std::this_thread::yield();
            }
            ZEL_SpareData last;
            for (int round = 0; round < theRounds; round++) {
                const std::string value = valueOf(round * (t + 1));
                ZEL_SpareData record({"a", value.c_str()});
                record.addTokenValue("b", valueOf(round).c_str());
                record.mergeFrom(kept);
                last = record;
                record.clear();
                wrong += last.getValue("a") != value || last.getValue("b") != valueOf(round);
                wrong += last.getValue("kept") != kept.getValue("kept");
                wrong += !ZEL_SpareData::isBuiltInToken("units");
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong.load(), 0);
    for (int i = 0; i < theValues; i++) {
        EXPECT_EQ(ZEL_SpareValues::uses(valueOf(i).c_str()), i == 0 ? 1 : 0) << i;
    }
}
