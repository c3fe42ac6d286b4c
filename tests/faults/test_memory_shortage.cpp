// What is reported when memory is refused: by a limit on a process of its own.

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_WorkBuffer.h>
#include <STO/STO_Writer.h>
#include <ZEL/ZEL_BatchParm.h>
#include <ZEL/ZEL_KeyValueDictDataItem.h>
#include <ZEL/ZEL_NameTable.h>
#include <common/ListFixture.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

constexpr std::size_t theLarge = std::size_t(100) << 20;

/// Limits this process to the memory of a few blocks.
void limitMemory()
{
    constexpr rlim_t theMost = rlim_t(200) << 20;
    const rlimit limit{theMost, theMost};
    setrlimit(RLIMIT_AS, &limit);
}

/// Each check that fails ends the process with its line.
#define REQUIRE_OR_EXIT(condition)                                                                 \
    if (!(condition)) {                                                                            \
        _exit(__LINE__ % 200 + 1);                                                                 \
    }

/// Doubles until memory is refused.
template <class Append>
bool appendUntilRefused(const Append &append)
{
    constexpr std::size_t theRounds = 10;
    const std::string large(theLarge / theRounds, 'x');
    limitMemory();
    const std::uint64_t before = BASfailedAllocations();
    for (std::size_t i = 0; i < 3 * theRounds && BASfailedAllocations() == before; ++i) {
        append(large);
    }
    return BASfailedAllocations() > before;
}

[[noreturn]] void writeToStream()
{
    KIT_ByteBuffer bytes;
    KIT_OByteStream os(bytes);
    REQUIRE_OR_EXIT(appendUntilRefused([&](const std::string &text) { os << text; }));
    REQUIRE_OR_EXIT(os.fail() && !bytes.isGood());
    _exit(0);
}

[[noreturn]] void makeText()
{
    KIT_WorkBuffer buffer;
    REQUIRE_OR_EXIT(appendUntilRefused([&](const std::string &text) { buffer.append(text); }));
    const std::uint64_t before = BASfailedAllocations();
    const KIT_StringHolder copy(buffer.buffer(), buffer.length());
    REQUIRE_OR_EXIT(copy.isNull() && BASfailedAllocations() == before + 1);
    _exit(0);
}

[[noreturn]] void makeBatch()
{
    limitMemory();
    for (const ZEL_BatchType type : {ZEL_BATCH_INT, ZEL_BATCH_REAL, ZEL_BATCH_STRING}) {
        ZEL_BatchParm parm;
        REQUIRE_OR_EXIT(parm.init("p", type, 3, nullptr));
        REQUIRE_OR_EXIT(!parm.init("p", type, int(theLarge), nullptr));
        REQUIRE_OR_EXIT(parm.getVectorSize() == 0);
        REQUIRE_OR_EXIT(parm.init("p", type, 3, nullptr) && parm.getVectorSize() == 3);
    }
    _exit(0);
}

[[noreturn]] void replaceFile(const std::string &path)
{
    STO_Writer writer(path.c_str());
    KIT_WorkBuffer lost;
    REQUIRE_OR_EXIT(appendUntilRefused([&](const std::string &text) { lost.append(text); }));
    *writer.getStream() << "new";
    REQUIRE_OR_EXIT(!writer.close() && errno == ENOMEM);
    _exit(0);
}

[[noreturn]] void growTable()
{
    ZEL_NameTable table;
    const auto name = [](int i) { return KIT_StringHolder(("name" + std::to_string(i)).c_str()); };
    for (int i = 0; i < 100; ++i) {
        table.insert(name(i), i);
    }
    const std::uint32_t capacity = table.capacity();
    limitMemory();
    try {
        table.reserve(std::uint32_t(theLarge));
        _exit(255);
    } catch (const std::bad_alloc &) {
    }
    REQUIRE_OR_EXIT(table.capacity() == capacity && table.entries() == 100);
    for (int i = 0; i < 200; ++i) {
        REQUIRE_OR_EXIT(table.find(name(i)) == (i < 100 ? i : -1));
    }
    table.insert(name(100), 100);
    REQUIRE_OR_EXIT(table.find(name(100)) == 100);
    _exit(0);
}

/// An item that some text of it gets no memory for.
class CutItem : public ZEL_KeyValueDictDataItem
{
public:
    bool saveAscii(std::ostream &os) const override
    {
        BASnoteFailedAllocation();
        return ZEL_KeyValueDictDataItem::saveAscii(os);
    }
    bool saveBinary(std::ostream &os) const override
    {
        BASnoteFailedAllocation();
        return ZEL_KeyValueDictDataItem::saveBinary(os);
    }
};

TEST(MemoryShortage, FailsTheStreamOfASavedList)
{
    OneParm one(ZEL_KEY_VALUE_DICT, 1);
    one.build();
    for (const bool binary : {false, true}) {
        std::ostringstream whole, cut;
        one.list->save(whole, binary, false);
        EXPECT_TRUE(whole.good());
        one.instance->setValue(0.0, std::make_shared<CutItem>(), false, 0, ZEL_ADDKEY_PENDING,
                               ZEL_KEYSET_PREFERENCE);
        EXPECT_EQ(takeMessages(), "");
        one.list->save(cut, binary, false);
        EXPECT_TRUE(cut.fail());
        EXPECT_NE(takeMessages(), "");
        one.list->revertToDefaults(0.0);
    }
}

TEST(MemoryShortage, IsToldAndReplacesNoFile)
{
#ifdef BAS_PLAIN_MALLOC
    GTEST_SKIP() << "a sanitizer needs more address space than any limit leaves";
#endif
    EXPECT_EXIT(writeToStream(), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(makeText(), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(makeBatch(), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(growTable(), testing::ExitedWithCode(0), "");
    const std::string path =
        (std::filesystem::temp_directory_path() / ("kept" + std::to_string(getpid()))).string();
    std::ofstream(path) << "old";
    EXPECT_EXIT(replaceFile(path), testing::ExitedWithCode(0), "");
    std::string text;
    std::getline(std::ifstream(path), text);
    EXPECT_EQ(text, "old");
    std::filesystem::remove(path);
}

} // namespace
