// Multi-parameters inside the items of others.

#include "MultiList.h"

#include <gtest/gtest.h>

#include <tuple>

namespace
{

/// "outer" with the children "a#" and the multi-parameter "in#", whose child is "x#_#".
class Nested : public ::testing::Test
{
protected:
    Nested() { takeMessages(); }
    void build(double innerCount = 0.0)
    {
        p.top.add(ZEL_FLT, 1, "n");
        inner.add(ZEL_FLT, 1, "x#_#", "X # of #", &texts);
        outer.add(ZEL_FLT, 1, "a#");
        outer.addMulti(ZEL_MULTITYPE_LIST, "in#", inner.templates(), innerCount);
        p.top.addMulti(ZEL_MULTITYPE_LIST, "outer", outer.templates(), outerCount);
        p.buildTop();
    }
    void count(const char *token, double items) { p.setCount(items, token); }
    /// Without "n=0 ".
    std::string text() const { return p.text().substr(4); }

    ZEL_Default texts{0.0, "", TRK_MEANING_COLLECTION};
    double outerCount = 0.0;
    Block inner;
    Block outer;
    MultiList p;
};

} // namespace

TEST_F(Nested, DefaultsOfBlocksInBlocksShareWhatOneMayMake)
{
    const ScopedSetting limit(KIT_ENV_MAX_STREAM_ITEMS, 10);
    outerCount = 3.0;
    build(4.0);
    // Three outer items leave room for one of the three inner ones.
    EXPECT_EQ("ZEL 22", takeMessages()) << "told once";
    EXPECT_EQ(1 + 1 + 3 * 2 + 4, p.list->getEntries());
    count("outer", 0.0);
    count("outer", 2.0);
    EXPECT_EQ("", takeMessages()) << "what is set is made";
    EXPECT_EQ(1 + 1 + 2 * 2 + 2 * 4, p.list->getEntries());
}

TEST_F(Nested, NamesCarryTheNumbersOfAllLevels)
{
    texts.set(0.0, "# * 100 + # * 10 + #", TRK_MEANING_COLLECTION);
    build();
    count("outer", 2.0);
    count("in2", 2.0);
    count("in1", 1.0);
    EXPECT_EQ("outer=2 a1=0 in1=1 a2=0 in2=2 x2_1=212 x2_2=222 x1_1=111", text());
    EXPECT_STREQ("X 2 of 1", p.parm("x2_1").getLabel());
    EXPECT_STREQ("in#", outer.templates()[1].getToken());
    KIT_Array<int> numbers;
    ASSERT_EQ(2, p.parm("x2_1").getMultiInstanceIndex(numbers, true));
    EXPECT_EQ("1 2", std::to_string(numbers[0]) + " " + std::to_string(numbers[1]));
    const int levels[] = {2, 1};
    EXPECT_EQ(&p.parm("x2_1"), p.list->getParmPtrInst("x#_#", levels, 2));
    ASSERT_NE(nullptr, p.multi("in2").getInstanceIndex());
    EXPECT_EQ(2, (*p.multi("in2").getInstanceIndex())[0]);
    EXPECT_EQ(nullptr, p.multi("outer").getInstanceIndex());
}

TEST_F(Nested, MarksMayBeMissing)
{
    inner.add(ZEL_FLT, 1, "bare");
    build(1.0);
    count("outer", 1.0);
    EXPECT_EQ("outer=1 a1=0 in1=1 bare1_1=0 x1_1=0", text());
}

TEST_F(Nested, InnerItemsComeAndGoWithTheOuterOne)
{
    build(2.0);
    count("outer", 2.0);
    EXPECT_EQ("outer=2 a1=0 in1=2 x1_1=0 x1_2=0 a2=0 in2=2 x2_1=0 x2_2=0", text());
    p.owner.takeCalls();
    count("outer", 1.0);
    EXPECT_EQ("outer=1 a1=0 in1=2 x1_1=0 x1_2=0", text());
    EXPECT_EQ("parmRemoved 7; parmRemoved 8; parmRemoved 7; multiInstancesChanged; parmRemoved 6; "
              "multiInstancesChanged",
              p.owner.takeCalls());
    EXPECT_EQ(nullptr, p.list->getParmPtr("x2_1"));
    p.list.reset();
}

TEST_F(Nested, NamesBringItemsOnTheLevelThatExists)
{
    const std::tuple<const char *, bool, const char *> cases[] = {
        {"x2_3", true, "outer=2 a1=0 in1=0 a2=0 in2=3 x2_1=0 x2_2=0 x2_3=0"},
        {"x1_1", true, "outer=2 a1=0 in1=1 a2=0 in2=0 x1_1=0"},
        {"x3_1", false, "outer=2 a1=0 in1=0 a2=0 in2=0"},
        {"x2_0", false, "outer=2 a1=0 in1=0 a2=0 in2=0"},
        {"x99999999999999999999_1", false, "outer=2 a1=0 in1=0 a2=0 in2=0"},
        {"x1_99999999999999999999", true, "outer=2 a1=0 in1=0 a2=0 in2=0"},
        {"in3", true, "outer=3 a1=0 in1=0 a2=0 in2=0 a3=0 in3=0"},
    };
    build();
    for (const auto &[name, claimed, contents] : cases) {
        count("outer", 0.0);
        count("outer", 2.0);
        EXPECT_EQ(claimed, p.list->checkMultiParmInstance(name, false)) << name;
        EXPECT_EQ(contents, text()) << name;
    }
    EXPECT_EQ("ZEL 22", takeMessages());
}

TEST_F(Nested, CopiesReachAllLevels)
{
    build();
    count("outer", 2.0);
    count("in2", 1.0);
    p.set("x2_1", 21.0);
    Block otherInner, otherOuter;
    otherInner.add(ZEL_FLT, 1, "y#_#");
    otherOuter.add(ZEL_FLT, 1, "b#");
    otherOuter.addMulti(ZEL_MULTITYPE_LIST, "deep#", otherInner.templates());
    MultiList q;
    q.top.addMulti(ZEL_MULTITYPE_LIST, "copy", otherOuter.templates());
    q.buildTop();
    q.multi("copy").copy(&p.multi("outer"));
    EXPECT_EQ("copy=2 b1=0 deep1=0 b2=0 deep2=1 y2_1=21", q.text());
    // A copy may remove neither its source nor its destination.
    const std::string before = text();
    p.multi("outer").copy(&p.multi("in2"));
    EXPECT_EQ(before, text());
    p.multi("in1").copy(&p.multi("outer"));
    EXPECT_EQ("outer=2 a1=0 in1=2 a2=0 in2=1 x2_1=21 x1_1=0 x1_2=0", text());
}

TEST_F(Nested, LeftoverInnerItemsSurviveTheirMulti)
{
    // A load resolves a clash of nested multi-parameters: the inner items move over, too.
    build();
    Block second;
    second.addMulti(ZEL_MULTITYPE_LIST, "in#", inner.templates());
    count("outer", 1.0);
    count("in1", 2.0);
    p.set("x1_2", 12.0);
    p.append(p.late.addMulti(ZEL_MULTITYPE_LIST, "again", second.templates()));
    p.loadCount(1.0, "again");
    EXPECT_EQ("outer=1 a1=0 again=1 in1=2 x1_1=0 x1_2=12", text());
    EXPECT_EQ(&p.multi("again"), p.parm("in1").getMultiParmOwner());
    EXPECT_EQ(&p.multi("in1"), p.parm("x1_2").getMultiParmOwner());
    EXPECT_TRUE(p.list->checkMultiParmInstance("x1_3", false));
    EXPECT_EQ(3, p.numItems("in1"));
    count("outer", 0.0);
    EXPECT_EQ("outer=0 again=1 in1=3 x1_1=0 x1_2=12 x1_3=0", text());
    p.list->removeAndDestroyParm(p.list->getParmIndex("again"));
    EXPECT_EQ("outer=0", text());
    p.list.reset();
}

TEST_F(Nested, AnInnerItemTakesTheNameBesideItsMulti)
{
    // In a load "x1_1" of the inner block replaces the just created "x1_1" of the outer one.
    outer.add(ZEL_FLT, 1, "x#_1");
    build(1.0);
    const Loading loading;
    p.owner.takeCalls();
    count("outer", 1.0);
    EXPECT_EQ("outer=1 a1=0 in1=1 x1_1=0", text());
    EXPECT_EQ(&p.multi("in1"), p.parm("x1_1").getMultiParmOwner());
    EXPECT_EQ("parmRemoved 2; multiInstancesChanged; multiItemCreated a1 in1; "
              "multiInstancesChanged",
              p.owner.takeCalls());
    count("outer", 0.0);
    EXPECT_EQ("outer=0", text());
}

TEST_F(Nested, ACountInExpressionReplacesNothingInALoad)
{
    // "in1" asks for the count of "other", whose item would replace it.
    Block rival;
    rival.add(ZEL_FLT, 1, "in#");
    build();
    ZEL_Default asks(0.0, "ch(\"other\")", TRK_MEANING_COLLECTION);
    outer.templates()[1].setFactoryDefaults(&asks);
    p.append(p.late.addMulti(ZEL_MULTITYPE_LIST, "other", rival.templates()));
    p.animate("other", "1");
    p.loadCount(1.0, "outer");
    EXPECT_EQ("outer=1 other=0 a1=0 in1=1 x1_1=0", text());
    EXPECT_EQ(&p.multi("outer"), p.parm("in1").getMultiParmOwner());
    p.eval("other");
    EXPECT_EQ(0, p.numItems("other")) << "outside of a load the name is taken";
    EXPECT_EQ("ZEL 19", takeMessages());
    p.list.reset();
}

TEST_F(Nested, RampsInItemsHaveKeysOfTheirOwn)
{
    outer.addMulti(ZEL_MULTITYPE_RAMP_FLT, "r#", nullptr, 2.0);
    build();
    count("outer", 2.0);
    EXPECT_EQ(2, p.numItems("r2"));
    EXPECT_STREQ("r2_1pos", p.multi("r2").getMultiParmToken(0, 0));
    EXPECT_EQ(1.0, p.eval("r2_2pos"));
    p.set("r1_2value", 0.5);
    p.parm("outer").insertMultiParmItem(0, true);
    EXPECT_EQ("1 0.5 0", number(p.eval("r1_2value")) + " " + number(p.eval("r2_2value")) + " " +
                             number(p.eval("r3_1pos")));
}
