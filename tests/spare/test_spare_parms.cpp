// The spare part of a list: what a new set of templates keeps, replaces and removes.

#include "SpareRig.h"

#include <tuple>

namespace
{

TEST(SpareParms, ANewSetReplacesTheOld)
{
    Block first, second;
    first.add(ZEL_FLT, 1, "a");
    first.add(ZEL_XYZ, 3, "b");
    first.add(ZEL_FLT, 1, "c");
    second.add(ZEL_FLT, 1, "c");
    second.add(ZEL_FLT, 1, "d");
    second.add(ZEL_FLT, 1, "a");
    SpareRig rig;
    rig.update(first);
    EXPECT_EQ(rig.text(), "fix=0 points=1 pt1=0 a=0 b=0,0,0 c=0");
    rig.set("a", 1);
    rig.set("c", 3);
    rig.animate("b", "2+3", 1);
    rig.set("points", 2);
    rig.eval("points");
    rig.looking.takeCalls();

    rig.update(second);
    EXPECT_EQ(rig.text(), "fix=0 points=2 pt1=0 pt2=0 c=3 d=0 a=1");
    EXPECT_TRUE(rig.parm("d").isSpareParm());
    EXPECT_EQ(rig.looking.takeCalls(),
              "parmRemoved 5; parmRemoved 3; spareParmRemoved b; parmRemoved 3");
    expectSound(*rig.list, rig.channels);

    rig.list->updateSpareParmTemplates(nullptr, false);
    EXPECT_EQ(rig.text(), "fix=0 points=2 pt1=0 pt2=0");
    EXPECT_EQ(rig.looking.takeCalls(),
              "spareParmRemoved a; parmRemoved 6; spareParmRemoved d; parmRemoved 5; "
              "spareParmRemoved c; parmRemoved 4");
    EXPECT_FALSE(ZEL_ParmList::isLoading());
}

TEST(SpareParms, ADefaultOrAValueTakenOver)
{
    ZEL_Default two[] = {ZEL_Default(2.0)}, five[] = {ZEL_Default(5.0)};
    ZEL_Default old[] = {ZEL_Default(0.0, "before")}, fresh[] = {ZEL_Default(0.0, "after")};
    struct
    {
        const char *what;
        const ZEL_Type &type;
        bool touch, forceCopy;
        ZEL_Default *before, *after;
        const char *result;
    } cases[] = {{"untouched: the new default", ZEL_FLT, false, false, two, five, "5"},
                 {"touched: the user's value", ZEL_FLT, true, false, two, five, "7"},
                 {"forced: the old default", ZEL_FLT, false, true, two, five, "2"},
                 {"a text is no exception", ZEL_STRING, false, true, old, fresh, "before"},
                 {"a label follows its template", ZEL_LABEL, false, true, old, fresh, "after"}};
    for (const auto &one : cases) {
        Block before, after;
        before.add(one.type, 1, "a", "A", one.before);
        after.add(one.type, 1, "a", "A", one.after);
        SpareRig rig;
        rig.update(before);
        if (one.touch) {
            rig.set("a", 7);
        }
        rig.update(after, one.forceCopy);
        KIT_String text;
        rig.list->evalString(text, "a", 0, 0.0);
        EXPECT_STREQ(text.nonNullStr(), one.result) << one.what;
    }
}

TEST(SpareParms, LocksMasksAndChannelsComeAlong)
{
    Block before, after;
    before.add(ZEL_XYZ, 3, "a");
    before.add(ZEL_XYZ, 3, "b");
    for (const char *token : {"scoped", "selected", "overridden"}) {
        before.add(ZEL_FLT, 1, token);
        after.add(ZEL_FLT, 1, token);
    }
    after.add(ZEL_XYZ, 3, "a");
    after.add(ZEL_FLT, 1, "b");
    SpareRig rig;
    rig.update(before);
    rig.animate("a", "$T+1", 2);
    rig.parm("a").setLockedFlag(1, true);
    rig.animate("b", "1+2", 0);
    rig.animate("b", "2+2", 2);
    rig.parm("scoped").setAutoScopedFlag(0, true);
    rig.parm("selected").setAutoSelectFlag(0, false);
    rig.parm("overridden").setOverride(0, 3, "over", ZEL_OVERRIDE_OVERRIDDEN);
    const TRK_Channel *channel = rig.parm("a").getChannel(2);

    rig.update(after);
    EXPECT_EQ(rig.parm("a").getChannel(2), channel);
    EXPECT_EQ(rig.list->evalFloat("a", 2, 4.0), 5.0);
    EXPECT_TRUE(rig.parm("a").getLockedFlag(1));
    EXPECT_FALSE(rig.parm("a").getLockedFlag(0));
    // Fewer components: the first continues under the new channel name, the rest are removed.
    EXPECT_EQ(rig.expression("b"), "1+2");
    EXPECT_EQ(rig.channels.getChannel("b"), rig.parm("b").getChannel(0));
    EXPECT_TRUE(rig.parm("scoped").getAutoScopedFlag(0));
    EXPECT_FALSE(rig.parm("selected").getAutoSelectFlag(0));
    EXPECT_STREQ(rig.parm("overridden").getOverride(0), "over");
    expectSound(*rig.list, rig.channels);
}

TEST(SpareParms, AChannelThatWaitsIsLinked)
{
    Block set;
    set.add(ZEL_XYZ, 3, "late");
    SpareRig rig;
    rig.channels.addChannel("latey")->initializeFirstSegment("1+6", TRK_LANGUAGE_NATIVE);
    rig.update(set);
    EXPECT_EQ(valueText(rig.parm("late")), "0,7,0");
    expectSound(*rig.list, rig.channels);
}

TEST(SpareParms, AnotherKindTakesNothingOver)
{
    Block items, before, after;
    items.add(ZEL_FLT, 1, "in#");
    before.add(ZEL_FLT, 1, "a");
    before.add(ZEL_FLT, 1, "m");
    after.add(ZEL_STRING, 1, "a");
    after.addMulti(ZEL_MULTITYPE_LIST, "m", items.templates());
    SpareRig rig;
    rig.update(before);
    rig.animate("a", "2+3");
    rig.set("m", 3);
    constexpr bool forceCopy = true;
    rig.update(after, forceCopy);
    KIT_String text;
    rig.list->evalString(text, "a", 0, 0.0);
    EXPECT_STREQ(text.nonNullStr(), "");
    EXPECT_EQ(rig.channels.entries(), 0);
    EXPECT_EQ(rig.parm("m").getMultiParmNumItems(), 0);
}

TEST(SpareParms, ItemsFollowTheirBlock)
{
    Block inner, outer, before, after;
    inner.add(ZEL_FLT, 1, "size#_#");
    outer.add(ZEL_FLT, 1, "weight#");
    outer.addMulti(ZEL_MULTITYPE_LIST, "sizes#", inner.templates(), 1);
    before.addMulti(ZEL_MULTITYPE_LIST, "groups", outer.templates());
    before.add(ZEL_FLT, 1, "gone");
    after.add(ZEL_FLT, 1, "fresh");
    after.addMulti(ZEL_MULTITYPE_LIST, "groups", outer.templates());
    SpareRig rig;
    rig.update(before);
    rig.setCount(3, "groups");
    rig.setCount(2, "sizes2");
    rig.update(after);
    EXPECT_EQ(rig.text(), "fix=0 points=1 pt1=0 fresh=0 groups=3 weight1=0 sizes1=1 size1_1=0 "
                          "weight2=0 sizes2=2 size2_1=0 size2_2=0 weight3=0 sizes3=1 size3_1=0");
}

TEST(SpareParms, ACountByExpressionIsReadAtTheListsTime)
{
    Block items, before, after;
    items.add(ZEL_FLT, 1, "in#");
    before.addMulti(ZEL_MULTITYPE_LIST, "m", items.templates());
    after.addMulti(ZEL_MULTITYPE_LIST, "m", items.templates());
    SpareRig rig;
    rig.update(before);
    rig.animate("m", "ch(\"fix\")+1");
    rig.set("fix", 2);
    rig.update(after);
    EXPECT_EQ(rig.text(), "fix=2 points=1 pt1=0 m=3 in1=0 in2=0 in3=0");
}

TEST(SpareParms, FixedTokensArePassedOver)
{
    Block set;
    set.add(ZEL_STRING, 1, "fix");
    set.add(ZEL_XYZ, 3, "pt1");
    set.add(ZEL_FLT, 1, "a");
    SpareRig rig;
    rig.set("fix", 4);
    const ZEL_Parm *fix = &rig.parm("fix");
    rig.update(set, true);
    EXPECT_EQ(rig.text(), "fix=4 points=1 pt1=0 a=0");
    EXPECT_EQ(&rig.parm("fix"), fix);
    EXPECT_FALSE(fix->isSpareParm());
}

TEST(SpareParms, OneAddedAloneLeavesTheOthers)
{
    ZEL_Default two[] = {ZEL_Default(2.0), ZEL_Default(2.0), ZEL_Default(2.0)};
    Block items, set, more;
    items.add(ZEL_FLT, 1, "in#");
    set.add(ZEL_FLT, 1, "a");
    more.add(ZEL_XYZ, 3, "late", "Late", two);
    more.addMulti(ZEL_MULTITYPE_LIST, "m", items.templates(), 2);
    more.add(ZEL_FLT, 1, "a");
    more.add(ZEL_FLT, 1, "fix");
    more.add(ZEL_Type(static_cast<ZEL_Type::ZEL_BasicType>(64)), 1, "nothing");
    SpareRig rig;
    rig.update(set);
    rig.set("a", 7);
    rig.channels.addChannel("latey")->initializeFirstSegment("1+6", TRK_LANGUAGE_NATIVE);
    const ZEL_Parm *a = &rig.parm("a");
    for (ZEL_Template *at = more.templates(); !at->isTerminator(); ++at) {
        const ZEL_Parm *made = rig.list->addSpareParm(*at);
        EXPECT_EQ(made, at - more.templates() < 2 ? &rig.parm(at->getToken()) : nullptr);
        EXPECT_TRUE(!made || made->isSpareParm());
    }
    EXPECT_EQ(rig.text(), "fix=0 points=1 pt1=0 a=7 late=2,7,2 m=2 in1=0 in2=0");
    EXPECT_EQ(&rig.parm("a"), a);
    EXPECT_EQ(rig.looking.takeCalls().find("parmRemoved"), std::string::npos);
    expectSound(*rig.list, rig.channels);
    rig.update(set);
    EXPECT_EQ(rig.text(), "fix=0 points=1 pt1=0 a=7");
}

TEST(SpareParms, StrangersSetsDoNoHarm)
{
    Block items, twice;
    items.add(ZEL_FLT, 1, "a#");
    twice.add(ZEL_FLT, 1, "a");
    twice.addMulti(ZEL_MULTITYPE_LIST, "m", items.templates(), 2);
    twice.add(ZEL_FLT, 1, "a1");
    twice.add(ZEL_STRING, 1, "a");
    twice.addMulti(ZEL_MULTITYPE_LIST, "m", items.templates(), 3);
    twice.add(ZEL_Type(ZEL_Type::ZEL_BASIC_DATA), 1, "data");
    Block same;
    same.add(ZEL_FLT, 1, "a2");
    SpareRig rig;
    for (int round = 0; round < 4; ++round) {
        rig.update(twice);
        // Outside a load an item whose name is taken is refused.
        rig.loadCount(3, "m");
        ASSERT_TRUE(rig.list->getParmPtr("a2"));
        rig.animate("a1", "0+1");
        rig.set("a2", 5);
        rig.update(round == 1 ? same : twice);
        ASSERT_TRUE(rig.list->getParmPtr("a2"));
        EXPECT_EQ(rig.eval("a2"), 5.0);
        EXPECT_EQ(rig.list->getParmPtr("a1") != nullptr, round != 1);
        expectSound(*rig.list, rig.channels);
    }
    Block none;
    rig.update(none);
    EXPECT_EQ(rig.text(), "fix=0 points=1 pt1=0");
}

TEST(SpareParms, ATokenSaidTwiceStartsFromItsDefaults)
{
    ZEL_Default two[] = {ZEL_Default(2.0)}, five[] = {ZEL_Default(5.0)};
    Block items, twice;
    items.add(ZEL_FLT, 1, "in#");
    for (ZEL_Default *defaults : {two, five}) {
        twice.add(ZEL_FLT, 1, "a", "A", defaults);
        twice.addMulti(ZEL_MULTITYPE_LIST, "m", items.templates(), 2);
    }
    for (const bool forceCopy : {false, true}) {
        SpareRig rig;
        rig.update(twice, forceCopy);
        EXPECT_EQ(valueText(rig.parm("a")), forceCopy ? "2" : "5");
        EXPECT_EQ(rig.parm("m").getMultiParmNumItems(), 2);
        EXPECT_TRUE(rig.list->getParmPtr("in2"));
        expectSound(*rig.list, rig.channels);
    }
}

TEST(SpareParms, EventsGoOutBeforehandAndNotInALoad)
{
    Block before, after;
    before.add(ZEL_FLT, 1, "kept");
    before.add(ZEL_FLT, 1, "untouched");
    before.add(ZEL_FLT, 1, "resized");
    before.add(ZEL_FLT, 1, "gone");
    after.add(ZEL_FLT, 1, "kept");
    after.add(ZEL_FLT, 1, "untouched");
    after.add(ZEL_XYZ, 3, "resized");
    after.add(ZEL_FLT, 1, "fresh");
    for (const bool loading : {false, true}) {
        SpareRig rig;
        rig.update(before);
        for (const char *token : {"kept", "resized", "gone"}) {
            rig.set(token, 1);
        }
        EventLog log(*rig.list);
        if (loading) {
            const Loading count;
            rig.update(after);
        } else {
            rig.update(after);
        }
        EXPECT_EQ(log.take(), loading ? "" : "4:4 4:5 4:6");
        // An empty set sends no notification either; the owner is notified of its spare parameters.
        rig.list->updateSpareParmTemplates(nullptr, false);
        EXPECT_EQ(log.take(), "");
        rig.list->setEventHandler(nullptr, nullptr);
    }
}

constexpr const char *theMark = "1+strcmp(\"\", \"AUTO-GENERATED\")+";

/// "folder" of the fixed part, and a set with "mirror", which mirrors what `target` names.
struct MirrorRig : MultiList
{
    explicit MirrorRig(const char *target = "folder")
    {
        spare.addTokenValue(KIT_StringHolder("orvane::switcher"), target);
        top.add(ZEL_SWITCHER_EXCLUSIVE, 1, "folder");
        top.add(ZEL_FLT, 1, "fix");
        items.add(ZEL_SWITCHER_EXCLUSIVE, 1, "sw#");
        mirrors.add(ZEL_SWITCHER_EXCLUSIVE, 1, "mirror")->setSparePtr(&spare);
        build(1.0);
    }
    ~MirrorRig() { list.reset(); }
    void update(Block *templates)
    {
        list->updateSpareParmTemplates(templates ? templates->templates() : nullptr, false);
    }

    ZEL_SpareData spare;
    Block mirrors;
};

TEST(SwitcherMirror, TheTargetFollowsAndKeepsWhatItShowed)
{
    MirrorRig rig;
    rig.set("folder", 1);
    rig.update(&rig.mirrors);
    EXPECT_EQ(rig.expression("folder"), std::string(theMark) + "ch(\"mirror\")");
    EXPECT_EQ(rig.list->getParmPtr("folder")->getStringMeaning(0.0, 0), TRK_MEANING_NATIVE);
    for (const int value : {2, 0, 3}) {
        rig.set("mirror", value);
        EXPECT_EQ(rig.eval("folder"), value);
    }
    // It keeps following after the set is rebuilt.
    Block again;
    again.add(ZEL_SWITCHER_EXCLUSIVE, 1, "mirror")->setSparePtr(&rig.spare);
    rig.update(&again);
    EXPECT_EQ(rig.eval("mirror"), 3);
    rig.set("mirror", 2);
    EXPECT_EQ(rig.eval("folder"), 2);

    rig.update(nullptr);
    EXPECT_EQ(rig.expression("folder"), "-");
    EXPECT_EQ(rig.channels.entries(), 0);
    EXPECT_EQ(rig.eval("folder"), 2);
}

TEST(SwitcherMirror, OneThatIsAMirrorNoLongerLetsGo)
{
    Block plain;
    plain.add(ZEL_SWITCHER_EXCLUSIVE, 1, "mirror");
    MirrorRig rig;
    rig.update(&rig.mirrors);
    rig.animate("mirror", "1+2");
    ASSERT_EQ(rig.eval("folder"), 3);
    rig.update(&plain);
    EXPECT_EQ(rig.expression("folder"), "-");
    EXPECT_EQ(rig.eval("folder"), 3);
    EXPECT_EQ(rig.eval("mirror"), 3);
    rig.animate("mirror", "0+1");
    EXPECT_EQ(rig.eval("folder"), 3);
}

TEST(SwitcherMirror, AUsersExpressionGivesItsValue)
{
    MirrorRig rig;
    rig.animate("folder", "1+2");
    rig.update(&rig.mirrors);
    EXPECT_EQ(rig.eval("mirror"), 3);
    EXPECT_EQ(rig.expression("mirror"), "-");
    EXPECT_EQ(rig.expression("folder"), std::string(theMark) + "ch(\"mirror\")");
    EXPECT_EQ(rig.eval("folder"), 3);
    // One that the user sets later stays when the mirror is removed.
    rig.animate("folder", "0+1");
    rig.update(nullptr);
    EXPECT_EQ(rig.expression("folder"), "0+1");
}

TEST(SwitcherMirror, OnlyExclusiveSwitchersWithATargetAreMirrors)
{
    const std::tuple<const char *, const char *, const ZEL_Type &> cases[] = {
        {"no such parameter", "nowhere", ZEL_SWITCHER_EXCLUSIVE},
        {"itself", "mirror", ZEL_SWITCHER_EXCLUSIVE},
        {"no switcher of the fixed part", "fix", ZEL_SWITCHER_EXCLUSIVE},
        {"a multi-parameter", "points", ZEL_SWITCHER_EXCLUSIVE},
        {"an item's", "sw1", ZEL_SWITCHER_EXCLUSIVE},
        {"a spare one", "other", ZEL_SWITCHER_EXCLUSIVE},
        {"no value", nullptr, ZEL_SWITCHER_EXCLUSIVE},
        {"not exclusive", "folder", ZEL_SWITCHER},
        {"no switcher", "folder", ZEL_TOGGLE}};
    for (const auto &[what, target, type] : cases) {
        MirrorRig rig(target);
        Block templates;
        templates.add(ZEL_SWITCHER_EXCLUSIVE, 1, "other");
        templates.add(type, 1, "mirror")->setSparePtr(&rig.spare);
        for (int round = 0; round < 2; ++round) {
            rig.update(&templates);
            ASSERT_TRUE(rig.list->getParmPtr("mirror")) << what;
            EXPECT_EQ(rig.channels.entries(), 0) << what;
        }
        rig.update(nullptr);
        EXPECT_FALSE(rig.list->getParmPtr("mirror"));
    }
}

} // namespace
