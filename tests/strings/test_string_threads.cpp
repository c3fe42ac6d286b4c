#include <common/Threads.h>
#include <strings/StringFixture.h>

#include <BAS/BAS_Thread.h>

#include <gtest/gtest.h>

#include <atomic>

namespace
{

/// Runs the work on all threads at once; returns the number of rounds in which it returned false.
template <class Work>
int countFailures(const Work &work)
{
    std::atomic<int> failures{0};
    onThreads(4, [&](int t) {
        for (int round = 0; round < 400; ++round) {
            failures += work(t, round, BASgetSTID()) ? 0 : 1;
        }
    });
    return failures;
}

} // namespace

TEST(StringThreads, ReadersSeeWholeTextsWhileAChannelRewritesThem)
{
    BuiltString p(ZEL_STRING, 3);
    p.setText("strcat(\"a long enough text for frame \", $F)", 0, TRK_MEANING_NATIVE);
    p.setText("$SHOT/`1+1`.$F", 1);
    p.setText("plain", 2);
    const int failures = countFailures([&p](int t, int round, int thread) {
        const int frame = 1 + (t + round) % 5;
        const double time = TRK_Manager::getContext().frameToTime(frame);
        const std::string number = std::to_string(frame);
        KIT_String driven, expanded, plain, raw;
        p.instance->getValue(p.list.get(), time, driven, 0, true, thread);
        p.instance->getValue(p.list.get(), time, expanded, 1, true, thread);
        p.instance->getValue(p.list.get(), time, plain, 2, true, thread);
        p.instance->getValue(p.list.get(), time, raw, 1, false, thread);
        return driven.toStdString() == "a long enough text for frame " + number &&
               expanded.toStdString() == "/show/2." + number && plain == "plain" &&
               raw == "$SHOT/`1+1`.$F";
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(p.read(true, 0.0, 0), "a long enough text for frame 1");
}

TEST(StringThreads, ALockedValueIsNeverTorn)
{
    ZEL_StringRep value;
    ZEL_StringRep::Lock lock;
    const std::string texts[2] = {std::string(40, 'a'), std::string(700, 'b')};
    value.harden(lock, texts[0].c_str());
    const int failures = countFailures([&](int t, int round, int) {
        const std::string &text = texts[std::size_t(t + round) % 2];
        if (round % 3 == 0) {
            value.hardenIfNeeded(lock, text.c_str());
        }
        KIT_WorkBuffer buffer;
        KIT_String copy;
        value.get(lock, buffer);
        value.get(lock, copy);
        const auto whole = [&texts](std::string_view seen) {
            return seen == texts[0] || seen == texts[1];
        };
        return whole(buffer.view()) && whole(copy.view());
    });
    EXPECT_EQ(failures, 0);
}

TEST(StringThreads, AnEqualTextLeavesThePointerAlone)
{
    ZEL_StringRep value;
    ZEL_StringRep::Lock lock;
    value.hardenIfNeeded(lock, "text");
    const char *before = value.unsafeGet();
    // A writer would wait for this reader forever.
    const ZEL_StringRep::Lock::scoped_lock reader(lock, false);
    value.hardenIfNeeded(lock, "text");
    EXPECT_EQ(value.unsafeGet(), before);
    KIT_String adopted("other", true);
    const char *text = adopted.c_str();
    value.unsafeAdopt(adopted);
    EXPECT_EQ(value.unsafeGet(), text) << "the buffer itself";
    EXPECT_EQ(adopted.c_str(), nullptr);
    value.unsafeHarden("");
    EXPECT_TRUE(value.isEmpty());
    EXPECT_EQ(value.getMemoryUsage(), std::int64_t(sizeof(void *)));
}
