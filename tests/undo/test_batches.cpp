// Batch parameters and their lists.

#include <ZEL/ZEL_BatchList.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace
{

/// Whether the slots are in the object: then the object alone changes when they do.
template <class T>
bool isInline(ZEL_BatchType type, int size)
{
    ZEL_BatchParm parm;
    parm.init("p", type, size, nullptr);
    const std::vector<T> values(std::size_t(size), T(1));
    const auto bytes = [&] {
        return std::string(reinterpret_cast<const char *>(&parm), 4 * sizeof(double));
    };
    const std::string before = bytes();
    EXPECT_TRUE(parm.setValue(values.data()));
    return bytes() != before;
}

std::string ops(const ZEL_BatchList &list)
{
    KIT_ValArray<int> found;
    found.append(-1);
    const int count = list.getEvaluatingOps(found);
    std::string text = std::to_string(count) + ":";
    for (std::int64_t i = 1; i < found.size(); ++i) {
        text += " " + std::to_string(found[i]);
    }
    return text;
}

template <class T>
std::string dumped(const T &what)
{
    testing::internal::CaptureStderr();
    what.dump();
    return testing::internal::GetCapturedStderr();
}

} // namespace

TEST(Batches, UpToFourNumbersStandInTheObject)
{
    EXPECT_TRUE(isInline<int>(ZEL_BATCH_INT, 4));
    EXPECT_FALSE(isInline<int>(ZEL_BATCH_INT, 5));
    EXPECT_TRUE(isInline<double>(ZEL_BATCH_REAL, 4));
    EXPECT_FALSE(isInline<double>(ZEL_BATCH_REAL, 5));
    // Copies have slots of their own, wherever these are.
    for (const int size : {1, 4, 5, 100}) {
        ZEL_BatchParm a;
        ASSERT_TRUE(a.init("a", ZEL_BATCH_REAL, size, &a));
        std::vector<double> values(std::size_t(size), 0.5);
        a.setValue(values.data());
        ZEL_BatchParm b(a);
        values.assign(values.size(), 2.0);
        a.setValue(values.data());
        EXPECT_EQ(b.getReal(size - 1), 0.5);
        b = a;
        a.init("a", ZEL_BATCH_INT, 1, nullptr);
        EXPECT_EQ(b.getReal(size - 1), 2.0);
        EXPECT_EQ(b.getUserData(), &a);
        EXPECT_TRUE(b.isValueSet());
        b = ZEL_BatchParm();
        EXPECT_EQ(b.getName(), nullptr) << "one without slots is copied too";
        EXPECT_EQ(b.getUserData(), nullptr);
        EXPECT_FALSE(b.isValueSet());
        EXPECT_EQ(b.getVectorSize(), 0);
        EXPECT_EQ(b.getType(), ZEL_BATCH_INT);
    }
}

TEST(Batches, EachFormFillsItsType)
{
    const int ints[] = {1, -2};
    const std::int64_t longs[] = {0x100000005, -1};
    const float floats[] = {0.1f, 2.5f};
    const double doubles[] = {0.1, 1e300};
    const char *const texts[] = {"a", nullptr};
    for (int type = ZEL_BATCH_INT; type <= ZEL_BATCH_RAWSTRING + 1; ++type) {
        ZEL_BatchParm p;
        EXPECT_FALSE(p.init("p", ZEL_BatchType(type), 0, nullptr));
        ASSERT_TRUE(p.init("p", ZEL_BatchType(type), 2, nullptr)) << type;
        const bool textFlag = type == ZEL_BATCH_STRING || type == ZEL_BATCH_RAWSTRING;
        EXPECT_EQ(p.setValue(ints), type == ZEL_BATCH_INT);
        EXPECT_EQ(p.getInt(1), type == ZEL_BATCH_INT ? -2 : 0);
        EXPECT_EQ(p.setValue(longs), type == ZEL_BATCH_INT);
        EXPECT_EQ(p.getInt(0), type == ZEL_BATCH_INT ? 5 : 0);
        EXPECT_EQ(p.setValue(floats), type == ZEL_BATCH_REAL);
        EXPECT_EQ(p.getReal(0), type == ZEL_BATCH_REAL ? double(0.1f) : 0.0);
        EXPECT_EQ(p.setValue(doubles), type == ZEL_BATCH_REAL);
        EXPECT_EQ(p.getReal(1), type == ZEL_BATCH_REAL ? 1e300 : 0.0);
        EXPECT_EQ(p.setValue(texts), textFlag);
        EXPECT_STREQ(p.getString(0), textFlag ? "a" : "");
        EXPECT_STREQ(p.getString(1), "");
        EXPECT_EQ(p.isValueSet(), type <= ZEL_BATCH_RAWSTRING);
        EXPECT_FALSE(p.setValue(static_cast<const int *>(nullptr)));
        for (const int bad : {-1, 2, 1 << 30}) {
            EXPECT_EQ(p.getInt(bad), 0);
            EXPECT_EQ(p.getReal(bad), 0.0);
            EXPECT_STREQ(p.getString(bad), "");
        }
    }
}

TEST(Batches, DefaultsHoldUntilItIsEvaluated)
{
    ZEL_BatchList list;
    ZEL_BatchParm &p = *list.addParm("p", ZEL_BATCH_INT, 1, nullptr);
    ZEL_BatchParm &s = *list.addParm("s", ZEL_BATCH_STRING, 1, nullptr);
    const int five = 5;
    const char *const text = "x";
    p.setValue(&five);
    s.setValue(&text);
    EXPECT_EQ(p.getDefaultedInt(7, 0), 7);
    EXPECT_STREQ(s.getDefaultedString("none", 0), "none");
    p.clearValueSet();
    list.setEvaluator(1);
    list.setEvaluated(0, 3);
    list.setEvaluated(1, 4);
    EXPECT_EQ(p.getDefaultedInt(7, 0), 5) << "whether or not a value is set";
    EXPECT_STREQ(s.getDefaultedString("none", 0), "x");
    EXPECT_EQ(p.getDefaultedReal(2.5, 0), 0.0) << "evaluated, but no real";
    p.clearEvaluated();
    EXPECT_EQ(p.getDefaultedInt(7, 0), 7);
}

TEST(Batches, ListsKnowTheirHoles)
{
    ZEL_BatchList list;
    EXPECT_TRUE(list.validate());
    EXPECT_EQ(list.addParm("p", ZEL_BATCH_INT, 0, nullptr), nullptr);
    EXPECT_EQ(list.addParm(-1, "p", ZEL_BATCH_INT, 1, nullptr), nullptr);
    EXPECT_EQ(list.addParm(9, "p", ZEL_BATCH_INT, 0, nullptr), nullptr);
    EXPECT_EQ(list.entries(), 0) << "a refusal changes nothing";
    ASSERT_NE(list.addParm(5, "five", ZEL_BATCH_REAL, 5, nullptr), nullptr);
    EXPECT_EQ(list.entries(), 6);
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(list.validate()) << i;
        EXPECT_EQ(list(i), nullptr);
        list.addParm(i, "p", ZEL_BATCH_STRING, 2, nullptr);
    }
    EXPECT_TRUE(list.validate());
    EXPECT_STREQ(list.addParm(5, "again", ZEL_BATCH_INT, 1, nullptr)->getName(), "again");
    EXPECT_EQ(list.entries(), 6);
    EXPECT_EQ(list(6), nullptr);
    EXPECT_EQ(list(-1), nullptr);
}

TEST(Batches, TemplatesGiveNameSizeAndType)
{
    struct Case
    {
        const ZEL_Type &type;
        int expected; ///< -1 for none
    };
    const Case cases[] = {{ZEL_INT, ZEL_BATCH_REAL}, {ZEL_TOGGLE, ZEL_BATCH_INT},
                          {ZEL_XYZ, ZEL_BATCH_REAL}, {ZEL_STRING, ZEL_BATCH_STRING},
                          {ZEL_KEY_VALUE_DICT, -1},  {ZEL_LIST_TERMINATOR, -1}};
    ZEL_Name name("p", "P");
    for (const Case &c : cases) {
        ZEL_Template description(c.type, 3, &name);
        ZEL_BatchList list;
        const ZEL_BatchParm *const parm = list.addParm(&description, &name);
        ASSERT_EQ(parm != nullptr, c.expected >= 0);
        if (parm) {
            EXPECT_EQ(parm->getType(), c.expected);
            EXPECT_EQ(parm->getVectorSize(), 3);
            EXPECT_STREQ(parm->getName(), "p");
            EXPECT_EQ(parm->getUserData(), &name);
        }
    }
    EXPECT_EQ(ZEL_BatchList().addParm(nullptr, nullptr), nullptr);
}

TEST(Batches, EvaluatorsThatDidNothingLeaveNoTrace)
{
    ZEL_BatchList list;
    list.addParm("a", ZEL_BATCH_INT, 1, nullptr);
    list.addParm(2, "c", ZEL_BATCH_INT, 1, nullptr);
    EXPECT_FALSE(list.setEvaluated(0, 0)) << "before there is an evaluator";
    EXPECT_FALSE(list(0)->isEvaluated());
    list.setEvaluator(1);
    list.setEvaluator(2);
    EXPECT_EQ(ops(list), "0:");
    for (const int bad : {-1, 1, 3}) {
        EXPECT_FALSE(list.setEvaluated(bad, 0));
    }
    EXPECT_TRUE(list.setEvaluated(0, 11));
    list.setEvaluator(3);
    EXPECT_TRUE(list.setEvaluated(2, 12));
    EXPECT_TRUE(list.setEvaluated(2, 13));
    list.setEvaluator(2);
    EXPECT_TRUE(list.setEvaluated(2, 14));
    list.setEvaluator(9);
    EXPECT_EQ(ops(list), "3: 2 3 2");
    EXPECT_EQ(list(0)->getEvaluatingOp(), 2);
    EXPECT_EQ(list(0)->getEvaluatingParmIndex(), 11);
    EXPECT_EQ(list(2)->getEvaluatingParmIndex(), 14);

    ZEL_BatchList copy(list);
    list.clearEvaluated();
    EXPECT_EQ(ops(list), "0:");
    EXPECT_FALSE(list(2)->isEvaluated());
    EXPECT_FALSE(list.setEvaluated(0, 0)) << "the evaluators are gone";
    // The copy has evaluators, parameters and the hole of its own.
    EXPECT_EQ(ops(copy), "3: 2 3 2");
    EXPECT_TRUE(copy(2)->isEvaluated());
    EXPECT_EQ(copy(1), nullptr);
    EXPECT_NE(copy(0), list(0));
    list = copy;
    const ZEL_BatchList &itself = list;
    list = itself;
    EXPECT_EQ(ops(list), "3: 2 3 2");
    const int one = 1;
    list(0)->setValue(&one);
    EXPECT_FALSE(copy(0)->isValueSet());
    list.clearValueSet();
    EXPECT_FALSE(list(0)->isValueSet());
}

TEST(Batches, DumpsAreOneLineEach)
{
    ZEL_BatchList list;
    const int ints[] = {1, -2};
    const double reals[] = {0.1, 3.0, 1e20};
    const char *const texts[] = {"a", "b c"};
    list.addParm("i", ZEL_BATCH_INT, 2, nullptr)->setValue(ints);
    list.addParm("r", ZEL_BATCH_REAL, 3, nullptr)->setValue(reals);
    list.addParm("s", ZEL_BATCH_STRING, 2, nullptr)->setValue(texts);
    list.addParm("raw", ZEL_BATCH_RAWSTRING, 1, nullptr);
    list.addParm(5, nullptr, ZEL_BatchType(4), 1, nullptr);
    EXPECT_EQ(dumped(list), "        int \"i\"[2]+\t= [not evaluated]\n"
                            "       real \"r\"[3]+\t= [not evaluated]\n"
                            "     string \"s\"[2]+\t= [not evaluated]\n"
                            "  rawstring \"raw\"[1] \t= [not evaluated]\n"
                            "  TYPEERROR \"\"[1] \t= [not evaluated]\n");
    list.setEvaluator(1);
    for (int i = 0; i < list.entries(); ++i) {
        list.setEvaluated(i, i);
    }
    EXPECT_EQ(dumped(list), "        int \"i\"[2]+\t= [1, -2]\n"
                            "       real \"r\"[3]+\t= [0.10000000000000001, 3, 1e+20]\n"
                            "     string \"s\"[2]+\t= [\"a\", \"b c\"]\n"
                            "  rawstring \"raw\"[1] \t= [\"\"]\n"
                            "  TYPEERROR \"\"[1] \t= []\n");
    EXPECT_EQ(dumped(*list(3)), "  rawstring \"raw\"[1] \t= [\"\"]\n");
}
