// Numbers out of text, thread ids, per-thread records, the byte lock, relaxed words, accounts.

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Memory.h>
#include <BAS/BAS_Number.h>
#include <BAS/BAS_PerThread.h>
#include <BAS/BAS_Relaxed.h>
#include <BAS/BAS_SpinLock.h>
#include <BAS/BAS_Thread.h>
#include <BAS/BAS_Utf8.h>
#include <KIT/KIT_Digits.h>
#include <common/Threads.h>

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace
{
const double theInf = std::numeric_limits<double>::infinity();
const double theNaN = std::numeric_limits<double>::quiet_NaN();

uint64_t bitsOf(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

/// The ids of that many threads, all alive at once.
std::vector<int> idsOfThreads(int count)
{
    std::vector<int> ids(static_cast<size_t>(count));
    Barrier all(count);
    onThreads(count, [&](int i) {
        ids[static_cast<size_t>(i)] = BASgetSTID();
        all.wait();
    });
    return ids;
}
} // namespace

TEST(Number, FloatPrefixes)
{
    const std::string zeros(500, '0'), nines(21, '9');
    const std::tuple<std::string, double, size_t> cases[] = {
        {"1", 1, 1},
        {"  -2.5e2cm", -250, 8},
        {"\t\n+.5", 0.5, 5},
        {"1e", 1, 1},
        {"1e+", 1, 1},
        {"1.", 1, 2},
        {"0x10", 0, 1},
        {"1,5", 1, 1},
        {"1e400", theInf, 5},
        {"-1e400", -theInf, 6},
        {"1e-400", 0, 6},
        {"0.000001e310", 1e304, 12},
        {"4.9e-324", 5e-324, 8},
        {"Inf", theInf, 3},
        {"-infinity)", -theInf, 9},
        {"0e" + nines, 0, 23},
        {"1e" + nines, theInf, 23},
        {"1e-" + nines, 0, 24},
        {"1" + zeros, theInf, 501},
        {"1" + zeros + "e-500", 1, 506},
        {"0." + zeros + "1", 0, 503},
        {"0." + zeros + "1e501", 1, 507},
        {std::string(100000, '0') + "7", 7, 100001},
    };
    for (const auto &[text, expected, used] : cases) {
        double value = 7;
        EXPECT_EQ(BASparseFloat(text.data(), text.size(), value), used) << text;
        EXPECT_EQ(value, expected) << text;
        EXPECT_EQ(BASparseFloat(text.c_str()), expected) << text;
    }
    for (const char *text : {"", "abc", ".", "-", "+-1", "--1", "- 1", "info", "nano", "inf_1"}) {
        double value = 7;
        EXPECT_EQ(BASparseFloat(text, std::strlen(text), value), 0u) << text;
        EXPECT_EQ(value, 0.0) << text;
        EXPECT_EQ(BASparseFloat(text), 0.0) << text;
    }
    EXPECT_TRUE(std::isnan(BASparseFloat("NaN")));
    EXPECT_TRUE(std::signbit(BASparseFloat("-0")));
    EXPECT_TRUE(std::signbit(BASparseFloat("-1e-400")));
    EXPECT_EQ(BASparseFloat(nullptr), 0.0);
    const char digits[] = {'1', '2', '3'}; // no NUL after them
    const double values[] = {0, 1, 12, 123};
    for (size_t length = 0; length <= 3; length++) {
        double value;
        EXPECT_EQ(BASparseFloat(digits, length, value), length);
        EXPECT_EQ(value, values[length]);
    }
}

TEST(Number, WholeTexts)
{
    const std::tuple<const char *, bool, bool> cases[] = {
        {nullptr, true, false}, {"", false, false},     {" ", false, false},
        {"1", true, true},      {" 1.5 ", true, false}, {"+7", true, true},
        {"-0", true, true},     {"1 2", false, false},  {"1x", false, false},
        {" 1", true, false},    {"-", false, false},    {"inf", true, false},
        {"info", false, false}, {"1e5", true, false},   {"99999999999999999999", true, true},
    };
    for (const auto &[given, floatFlag, intFlag] : cases) {
        EXPECT_EQ(BASisFloat(given), floatFlag) << (given ? given : "null");
        EXPECT_EQ(BASisInt(given), intFlag) << (given ? given : "null");
    }
}

TEST(Number, Integers)
{
    // Text, base, value, and how much is used; -1: no integer.
    const std::tuple<const char *, int, int64_t, int> cases[] = {
        {"42abc", 10, 42, 2},
        {" -7", 10, -7, 3},
        {"ff", 16, 255, 2},
        {"0xFf", 16, 255, 4},
        {"0x", 16, 0, 1},
        {"0xg", 0, 0, 1},
        {"0x1f", 0, 31, 4},
        {"017", 0, 15, 3},
        {"017", 10, 17, 3},
        {"zZ", 36, 35 * 36 + 35, 2},
        {"9223372036854775807", 10, INT64_MAX, 19},
        {"9223372036854775808", 10, INT64_MAX, 19},
        {"-9223372036854775808", 10, INT64_MIN, 20},
        {"-9999999999999999999", 10, INT64_MIN, 20},
        {"12", 2, 1, 1},
        {"x", 10, 0, -1},
        {"", 10, 0, -1},
        {"-", 10, 0, -1},
        {"1", 1, 0, -1},
        {"1", 37, 0, -1},
        {"1", -5, 0, -1},
    };
    for (const auto &[text, base, expected, used] : cases) {
        const char *end = nullptr;
        int64_t value = 99;
        EXPECT_EQ(BASparseInteger(text, &end, value, base, 0), used >= 0) << text;
        EXPECT_EQ(value, expected) << text;
        EXPECT_EQ(end - text, used >= 0 ? used : 0) << text;
    }
    int64_t value;
    EXPECT_FALSE(BASparseInteger("9223372036854775808", nullptr, value, 10, BAS_PARSE_NO_CLAMP));
    EXPECT_FALSE(BASparseInteger(" 1", nullptr, value, 10, BAS_PARSE_NO_BLANKS));
    EXPECT_FALSE(BASparseInteger(nullptr, nullptr, value, 10, 0));
    EXPECT_EQ(BASparseInteger("12", 8), 10);
}

TEST(Number, DigitsAreTheShortestThatReadBackToTheSameBits)
{
    std::mt19937_64 random(20);
    const double edges[] = {
        0.0,  -0.0, 0.001, 1e-4, 1e-6, 1e5, 1e6,   12e6,       999999,
        -1e6, 1e9,  1e14,  1e15, 1e20, 0.3, 1e-15, 1e9 - 1e-6, std::numeric_limits<double>::max()};
    const double steps[] = {1.0, 10.0, 1000.0, 1e6, 1e7};
    for (size_t i = 0; i < 140000; i++) {
        // Any bits, numbers below the normal ones, those of a usual size from 2^-8 to 2^51, the ones
        // next to powers of two among them, and numbers as people type them.
        uint64_t bits = i % 7 == 0 ? random() & 0x800fffffffffffffULL : random();
        if (i % 7 == 1 || i % 7 == 2) {
            const uint64_t mantissa = i % 7 == 1 ? bits >> 12 : bits % 8 - 4;
            bits = (bits & 1ULL << 63) | (((1015 + random() % 60) << 52) + mantissa);
        }
        if (i < std::size(edges)) {
            bits = bitsOf(edges[i]);
        } else if (i % 7 > 4) {
            const double typed = double(bits >> (15 + i % 49)) / steps[random() % 5];
            bits = bitsOf(i % 2 ? typed : -typed);
        }
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        const KIT_Digits digits(value);
        EXPECT_TRUE(BASisFloat(digits.buffer())) << digits.buffer();
        double again;
        ASSERT_EQ(BASparseFloat(digits.buffer(), digits.view().size(), again),
                  digits.view().size());
        if (std::isnan(value)) {
            EXPECT_STREQ(digits.buffer(), "nan");
            EXPECT_TRUE(std::isnan(again));
            continue;
        }
        ASSERT_EQ(bitsOf(again), bits) << digits.buffer();
        char expected[64];
        char *const end = std::end(expected);
        const bool plainFlag = std::trunc(value) == value && std::fabs(value) < 1e15;
        const auto made = plainFlag ? std::to_chars(expected, end, value, std::chars_format::fixed)
                                    : std::to_chars(expected, end, value);
        ASSERT_EQ(digits.view(), std::string(expected, made.ptr));
    }
}

TEST(Number, DigitsTexts)
{
    const std::tuple<double, int, int, const char *> cases[] = {
        {-0.0, 0, -1, "-0"},
        {999999999999999, 0, -1, "999999999999999"},
        {1e15, 0, -1, "1e+15"},
        {5e-324, 0, -1, "5e-324"},
        {theInf, KIT_DIGITS_FORCE_POINT, -1, "inf"},
        {-theInf, 0, 3, "-inf"},
        {-theNaN, 0, -1, "nan"},
        {1.0 / 3, 0, 4, "0.3333"},
        {2, 0, 0, "2"},
        {3, KIT_DIGITS_FORCE_POINT, -1, "3.0"},
        {3e30, KIT_DIGITS_FORCE_POINT, -1, "3e+30"},
    };
    for (const auto &[value, flags, width, text] : cases) {
        KIT_Digits digits;
        digits.reset(value, flags, width);
        EXPECT_STREQ(digits.buffer(), text);
        EXPECT_EQ(static_cast<size_t>(digits.length()), std::strlen(text));
    }
    // The longest text that a width can ask for stays inside the object.
    EXPECT_LT(KIT_Digits(-2.2250738585072014e-308, KIT_DIGITS_FORCE_POINT, 1000).length(), 60);
}

TEST(Thread, IdsAreDistinctDenseAndReused)
{
    const int mine = BASgetSTID();
    EXPECT_EQ(mine, 1);
    EXPECT_EQ(BASgetSTID(), mine);
    for (int round = 0; round < 3; round++) {
        const std::vector<int> ids = idsOfThreads(40);
        const std::set<int> distinct(ids.begin(), ids.end());
        EXPECT_EQ(distinct.size(), 40u);
        EXPECT_EQ(*distinct.begin(), 2);
        EXPECT_EQ(*distinct.rbegin(), 41);
    }
    EXPECT_EQ(idsOfThreads(1), std::vector<int>{2});
}

TEST(Thread, IdLastsUntilThreadLocalsAreGone)
{
    struct Witness
    {
        int *seen;
        ~Witness() { *seen = BASgetSTID(); }
    };
    int during = 0;
    int after = -1;
    std::thread([&] {
        during = 0;
        static thread_local Witness witness{nullptr};
        witness.seen = &after;
        during = BASgetSTID();
    }).join();
    EXPECT_EQ(after, during);
    EXPECT_EQ(idsOfThreads(1), std::vector<int>{during});
}

TEST(PerThread, RecordsArePrivateAndStay)
{
    static BAS_PerThread<int> records;
    int *places[50] = {};
    Barrier all(50);
    onThreads(50, [&](int i) {
        int &mine = records.local();
        mine = BASgetSTID();
        places[i] = &mine;
        all.wait();
        EXPECT_EQ(records.get(BASgetSTID()), BASgetSTID());
        EXPECT_EQ(&records.get(0), &mine);
    });
    const std::set<int *> distinct(std::begin(places), std::end(places));
    EXPECT_EQ(distinct.size(), 50u);
    // Threads 2 to 51 wrote: the records 33 to 51 were made on the way.
    int sum = 0;
    int count = 0;
    records.forEach([&](int &record) {
        sum += record;
        count++;
    });
    EXPECT_EQ(count, 51);
    EXPECT_EQ(sum, 51 * 52 / 2 - 1);
    EXPECT_EQ(records.get(40), 40);
    EXPECT_EQ(distinct.count(&records.get(40)), 1u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(&records.get(2)) % 64, 0u);
    EXPECT_EQ(records.get(500), 0);
}

TEST(ByteLock, KeepsThreadsApart)
{
    BAS_ByteLock lock;
    int64_t counter = 0;
    onThreads(4, [&](int) {
        for (int step = 0; step < 20000; step++) {
            const std::lock_guard<BAS_ByteLock> guard(lock);
            counter++;
        }
    });
    EXPECT_EQ(counter, 80000);
    lock.lock();
    EXPECT_FALSE(lock.try_lock());
    lock.unlock();
    EXPECT_TRUE(lock.try_lock());
}

TEST(Relaxed, BitsAndValues)
{
    uint32_t bits = 1;
    BASorBits(bits, 6);
    EXPECT_EQ(BASload(bits), 7u);
    BASclearBits(bits, 5);
    EXPECT_EQ(BASload(bits), 2u);
    double value = 0.0;
    BASstoreIfDifferent(value, -0.0);
    EXPECT_TRUE(std::signbit(BASload(value)));
}

TEST(Memory, CategoriesAreCounted)
{
    BAS_MemoryUser users[] = {BAS_MemoryUser("Scratch"), BAS_MemoryUser("Values")};
    BAS_MemoryTable table(users, 2);

    void *a = BAS_Memory::Malloc(table, 0, 100);
    char *b = static_cast<char *>(BAS_Memory::Calloc(table, 1, 10));
    for (int i = 0; i < 10; i++) {
        EXPECT_EQ(b[i], 0);
    }
    b[9] = 5;
    b = static_cast<char *>(BAS_Memory::Realloc(table, 1, b, 10, 1000));
    EXPECT_EQ(b[9], 5);
    EXPECT_EQ(users[0].getBytes(), 100);
    EXPECT_EQ(users[1].getBytes(), 1000);
    EXPECT_EQ(users[1].getBlocks(), 1);
    EXPECT_EQ(table.getTotalBytes(), 1100);

    BAS_Memory::acquire(table, 1, 24);
    BAS_Memory::release(table, 1, 24);
    EXPECT_EQ(users[1].getPeakBytes(), 1024);
    EXPECT_EQ(BAS_Memory::Realloc(table, 1, b, 1000, 0), nullptr);
    BAS_Memory::Free(table, 0, a, 100);
    BAS_Memory::Free(table, 0, nullptr, 100);
    EXPECT_EQ(table.getTotalBytes(), 0);
    EXPECT_EQ(users[0].getBlocks() + users[1].getBlocks(), 0);

    void *outside = BAS_Memory::Malloc(table, 7, 16);
    EXPECT_NE(outside, nullptr);
    EXPECT_EQ(table.getTotalBytes(), 0);
    BAS_Memory::Free(table, 7, outside, 16);
    EXPECT_EQ(table.getUser(-1), nullptr);
#ifndef BAS_PLAIN_MALLOC // a sanitizer treats a request this large as an error
    EXPECT_EQ(BAS_Memory::Malloc(table, 0, SIZE_MAX / 2), nullptr);
    EXPECT_EQ(table.getTotalBytes(), 0);
#endif
}

TEST(Utf8, EveryCharacterIsItsBytesAndNothingElseIs)
{
    for (unsigned c = 0; c <= 0x10ffff; c += c < 0x3000 || (c > 0xd700 && c < 0xe100) ? 1 : 251) {
        const auto tail = [c](unsigned shift) { return char(0x80 | ((c >> shift) & 0x3f)); };
        std::string text = c < 0x80    ? std::string(1, char(c))
                           : c < 0x800 ? std::string{char(0xc0 | (c >> 6)), tail(0)}
                           : c < 0x10000
                               ? std::string{char(0xe0 | (c >> 12)), tail(6), tail(0)}
                               : std::string{char(0xf0 | (c >> 18)), tail(12), tail(6), tail(0)};
        const bool surrogateFlag = c >= 0xd800 && c <= 0xdfff;
        const std::size_t length = surrogateFlag ? 0 : text.size();
        ASSERT_EQ(BASutf8Length(text + "x"), length) << c;
        const bool controlFlag = (c < 0x20 && c != '\n' && c != '\t') || (c >= 0x7f && c < 0xa0);
        ASSERT_EQ(BASprintableLength(text + "x"), controlFlag ? 0 : length) << c;
        if (c >= 0x80) {
            text.back() = 'x'; // cut short
            ASSERT_EQ(BASutf8Length(text), 0u) << c;
            text.pop_back();
            ASSERT_EQ(BASutf8Length(text), 0u) << c;
        }
    }
    for (const char *longer : {"\xc0\x80", "\xc1\xbf", "\xe0\x9f\xbf", "\xf0\x8f\xbf\xbf",
                               "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "\x80", "\xff", ""}) {
        EXPECT_EQ(BASutf8Length(longer), 0u) << longer;
    }
}
