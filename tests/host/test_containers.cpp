// Arrays, bit rows, prime sizes and the small-object allocator.

#include <KIT/KIT_Array.h>
#include <KIT/KIT_BitArray.h>
#include <KIT/KIT_ComponentArray.h>
#include <KIT/KIT_Prime.h>
#include <KIT/KIT_ProbeTable.h>
#include <KIT/KIT_SmallArray.h>
#include <KIT/KIT_SmallObject.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_ValArray.h>

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#ifndef BAS_PLAIN_MALLOC
#include <tbb/scalable_allocator.h>
#endif

namespace
{

/// Counts how many of its kind live.
struct Counted
{
    explicit Counted(int value = 0) noexcept : myValue(value) { ++theLiving; }
    Counted(const Counted &other) : myValue(other.myValue) { ++theLiving; }
    Counted(Counted &&other) noexcept : myValue(other.myValue)
    {
        other.myValue = -1;
        ++theLiving;
    }
    ~Counted() { --theLiving; }
    Counted &operator=(const Counted &) = default;
    Counted &operator=(Counted &&other) noexcept
    {
        myValue = other.myValue;
        other.myValue = -1;
        return *this;
    }
    bool operator==(const Counted &other) const { return myValue == other.myValue; }

    int myValue;
    static int theLiving;
};

int Counted::theLiving = 0;

/// Tells whether the values of an array are part of the array itself.
template <class Array>
bool isInside(const Array &array)
{
    const char *const object = reinterpret_cast<const char *>(&array);
    const char *const data = reinterpret_cast<const char *>(array.data());
    return data >= object && data < object + sizeof(array);
}

std::string contents(const KIT_Array<Counted> &array)
{
    std::string text;
    for (const Counted &value : array) {
        text += std::to_string(value.myValue) + " ";
    }
    return text;
}

} // namespace

TEST(Containers, CapacityGrowsByTheRule)
{
    KIT_Array<int> array;
    std::vector<int64_t> capacities{array.capacity()};
    for (int i = 0; i < 1400; ++i) {
        array.append(i);
        if (array.capacity() != capacities.back()) {
            capacities.push_back(array.capacity());
        }
    }
    const std::vector<int64_t> expected{0,   4,   8,   16,  32,  48,  64,   80,   96,   112, 128,
                                        256, 384, 512, 640, 768, 896, 1024, 1152, 1296, 1458};
    EXPECT_EQ(capacities, expected);
    EXPECT_EQ(std::accumulate(array.begin(), array.end(), 0), 1399 * 1400 / 2);
}

TEST(Containers, ElementsAreDestroyedExactlyOnce)
{
    ASSERT_EQ(Counted::theLiving, 0);
    {
        KIT_Array<Counted> array;
        for (int i = 0; i < 20; ++i) {
            array.append(Counted(i));
        }
        EXPECT_EQ(Counted::theLiving, 20);
        array.setCapacity(6);
        EXPECT_EQ(contents(array), "0 1 2 3 4 5 ");
        array.insert(Counted(9), 0);
        array.insert(Counted(8), 3);
        array.insert(Counted(7), array.size());
        EXPECT_EQ(contents(array), "9 0 1 8 2 3 4 5 7 ");
        EXPECT_TRUE(array.removeIndex(3));
        EXPECT_TRUE(array.removeIndex(0));
        EXPECT_FALSE(array.removeIndex(7));
        EXPECT_FALSE(array.removeIndex(-1));
        EXPECT_EQ(array.findAndRemove(Counted(7)), 6);
        EXPECT_EQ(array.findAndRemove(Counted(77)), -1);
        EXPECT_EQ(contents(array), "0 1 2 3 4 5 ");
        EXPECT_EQ(array.find(Counted(1), 2), -1);

        KIT_Array<Counted> copy(array);
        KIT_Array<Counted> moved(std::move(array));
        copy = moved;
        moved = std::move(copy);
        copy = KIT_Array<Counted>();
        EXPECT_EQ(contents(moved), "0 1 2 3 4 5 ");
        EXPECT_EQ(Counted::theLiving, 6);
        moved.setSize(2);
        moved.setSize(4);
        EXPECT_EQ(contents(moved), "0 1 0 0 ");
        EXPECT_EQ(Counted::theLiving, 4);
    }
    EXPECT_EQ(Counted::theLiving, 0);
}

TEST(Containers, AppendingAnElementOfTheArrayItselfIsSafe)
{
    KIT_Array<std::string> array;
    array.append(std::string(100, 'x'));
    while (array.size() < 300) {
        array.append(array[0]); // grows many times on the way
    }
    for (const std::string &text : array) {
        ASSERT_EQ(text, std::string(100, 'x'));
    }
}

TEST(Containers, MoveOnlyElements)
{
    KIT_Array<std::unique_ptr<int>> array;
    for (int i = 0; i < 10; ++i) {
        array.append(std::make_unique<int>(i));
    }
    array.insert(std::make_unique<int>(99), 4);
    array.removeIndex(0);
    EXPECT_EQ(*array[3], 99);
    EXPECT_EQ(*array.last(), 9);
    EXPECT_EQ(array.size(), 10);
}

TEST(Containers, OverAlignedElements)
{
    struct alignas(64) Wide
    {
        double myValue = 0.0;
    };
    KIT_Array<Wide> array;
    for (int i = 0; i < 50; ++i) {
        array.append(Wide{double(i)});
        ASSERT_EQ(reinterpret_cast<uintptr_t>(array.data()) % 64, 0u);
    }
    EXPECT_EQ(array[49].myValue, 49.0);
}

TEST(Containers, PlainArraysStartAtZero)
{
    KIT_ValArray<double> array;
    array.constant(3.0);
    array.setSize(5);
    EXPECT_EQ(array, (KIT_ValArray<double>{0, 0, 0, 0, 0}));
    array.constant(2.0);
    array.setSize(7);
    EXPECT_EQ(array, (KIT_ValArray<double>{2, 2, 2, 2, 2, 0, 0}));
}

TEST(Containers, BitRowsKeepTheirTailClear)
{
    for (const int64_t size : {0, 1, 63, 64, 65, 130}) {
        KIT_BitArray bits(size);
        bits.setAll(true);
        EXPECT_EQ(bits.numBitsSet(), size);
        bits.setSize(size + 70);
        EXPECT_EQ(bits.numBitsSet(), size) << "added bits must be clear";
    }
    KIT_BitArray bits(100);
    bits.setBits(60, 10, true);
    bits.setBits(95, INT64_MAX, true);
    bits.setBits(-5, 6, true);
    bits.setBit(100, true);
    bits.setBit(-1, true);
    EXPECT_EQ(bits.numBitsSet(), 10 + 5 + 1);
    EXPECT_TRUE(bits[0] && bits[60] && bits[69] && bits[99]);
    EXPECT_FALSE(bits[1] || bits[59] || bits[70] || bits[94] || bits[100] || bits[-1]);
    bits.setBit(64, false);
    EXPECT_EQ(bits.numBitsSet(), 15);
}

TEST(Containers, PrimeSizesAreTheNextPrimes)
{
    std::vector<bool> composite(3000, false);
    for (size_t i = 2; i < composite.size(); ++i) {
        for (size_t j = i * i; j < composite.size(); j += i) {
            composite[j] = true;
        }
    }
    for (size_t wanted = 0; wanted < 2900; ++wanted) {
        size_t expected = wanted < 2 ? 2 : wanted;
        while (composite[expected]) {
            ++expected;
        }
        ASSERT_EQ(KITbumpAllocToPrime(wanted), expected);
    }
    EXPECT_EQ(KITbumpAllocToPrime(4294967291u * size_t(1)), 4294967291u);
    EXPECT_EQ(KITbumpAllocToPrime(4294967292u), 4294967311u);
    EXPECT_EQ(KITbumpAllocToPrime(SIZE_MAX), size_t(18446744073709551557u));
}

namespace
{

struct SmallBase : KIT_SmallObject<1, 1024, 0, 128>
{
    virtual ~SmallBase() = default;
    double myValue = 1.0;
};

struct SmallDerived : SmallBase
{
    ~SmallDerived() override { ++theDestroyed; }
    double myMore[30] = {};
    static int theDestroyed;
};

int SmallDerived::theDestroyed = 0;

} // namespace

TEST(Containers, SmallObjectsComeFromTheSmallObjectAllocator)
{
    static_assert(sizeof(SmallBase) == sizeof(void *) + sizeof(double), "the mixin adds no data");
    std::unique_ptr<SmallBase> single(new SmallDerived);
    std::unique_ptr<SmallDerived[]> row(new SmallDerived[3]);
#ifndef BAS_PLAIN_MALLOC
    EXPECT_GE(scalable_msize(single.get()), sizeof(SmallDerived));
    EXPECT_GE(scalable_msize(reinterpret_cast<size_t *>(row.get()) - 1), 3 * sizeof(SmallDerived));
#endif
    alignas(SmallBase) unsigned char place[sizeof(SmallBase)];
    SmallBase *placed = new (place) SmallBase;
    EXPECT_EQ(placed->myValue, 1.0);
    placed->~SmallBase();
    single.reset();
    row.reset();
    EXPECT_EQ(SmallDerived::theDestroyed, 4);
}

TEST(Containers, ComponentArraysKeepOneValueInside)
{
    static_assert(sizeof(KIT_ComponentArray<double>) == 16, "no size is kept");
    for (const int count : {0, 1, 2, 9}) {
        KIT_ComponentArray<double> values;
        values.init(count);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(values[i], 0.0);
            values[i] = i + 1.0;
        }
        EXPECT_EQ(isInside(values), count < 2);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(values[i], i + 1.0);
        }
        values.free(count);
        EXPECT_EQ(values[0], 0.0);
    }
}

TEST(Containers, SmallArraysKeepTheirFirstValuesInside)
{
    for (const int size : {0, 1, 3, 4, 100}) {
        KIT_SmallArray<Counted, 3> array(size);
        EXPECT_EQ(Counted::theLiving, size > 3 ? size + 3 : 3);
        EXPECT_EQ(array.size(), size);
        EXPECT_EQ(isInside(array), size <= 3);
        std::vector<Counted> model(static_cast<size_t>(size));
        for (int i = 0; i < size; ++i) {
            model[static_cast<size_t>(i)].myValue += i;
            array[i].myValue += i;
        }
        EXPECT_TRUE(std::equal(array.begin(), array.end(), model.begin(), model.end()));
    }
    EXPECT_EQ(Counted::theLiving, 0);
}

namespace
{

struct NumberSlot
{
    const KIT_StringRef &key() const { return name; }

    KIT_StringHolder name;
    int value = 0;
};

/// A few home slots at the end of the array serve all names: every run reaches the end.
struct CrowdedSizing : KIT_PrimeSizing
{
    uint32_t home(uint32_t hash, uint32_t capacity) const
    {
        return capacity - 1 - hash % std::min(capacity, 4u);
    }
};

template <class Table>
void expectOrder(const Table &table)
{
    const NumberSlot *before = nullptr;
    for (const NumberSlot &slot : table) {
        const bool used = !slot.name.isNull();
        if (used && before) {
            ASSERT_LE(table.homeSlot(before->name), table.homeSlot(slot.name));
        }
        before = used ? &slot : nullptr;
    }
}

template <class Sizing>
void compareWithMap(unsigned keys)
{
    std::mt19937 random(11);
    KIT_ProbeTable<NumberSlot, Sizing> table;
    std::unordered_map<std::string, int> model;
    table.reserve(1);
    for (int step = 0; step < 6000; ++step) {
        const std::string key = "name" + std::to_string(random() % keys);
        const KIT_StringHolder name(key);
        NumberSlot *const found = table.find(name);
        const auto expected = model.find(key);
        ASSERT_EQ(found != nullptr, expected != model.end()) << key;
        // Fills and empties in turn.
        if (!found && random() % 8 < (step / 500 % 2 ? 7 : 2)) {
            NumberSlot &slot = table.insert(name);
            EXPECT_TRUE(slot.name.isNull());
            slot.name = name;
            slot.value = step;
            model.emplace(key, step);
        } else if (found) {
            ASSERT_EQ(found->value, expected->second);
            if (random() % 8 < (step / 500 % 2 ? 2 : 7)) {
                table.erase(found);
                model.erase(expected);
            }
        }
        ASSERT_EQ(table.entries(), model.size());
        for (unsigned i = 0; i < 20; ++i) {
            const std::string other = "name" + std::to_string(i);
            ASSERT_EQ(table.find(KIT_StringRef(other.c_str())) != nullptr, model.count(other) != 0);
        }
        expectOrder(table);
    }
}

} // namespace

TEST(Containers, ProbeTablesAgreeWithAMapThroughAnyHistory)
{
    for (const unsigned keys : {1u, 3u, 7u, 20u, 300u}) {
        compareWithMap<KIT_PrimeSizing>(keys);
        compareWithMap<KIT_MaskSizing>(keys);
        compareWithMap<CrowdedSizing>(keys);
    }
}
