// A list rebuilt from an older one: copies, other templates, and random pairs of either.

#include "SpareRig.h"

#include <NOD/NOD_Node.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <random>

namespace
{

TEST(Migration, ACopyTakesThePlaceOfItsSource)
{
    Block inner, set;
    inner.add(ZEL_FLT, 1, "in#");
    set.add(ZEL_FLT, 1, "a");
    set.addMulti(ZEL_MULTITYPE_LIST, "m", inner.templates(), 1);
    SpareRig rig;
    rig.update(set);
    rig.setCount(2, "points");
    rig.setCount(2, "m");
    rig.set("fix", 3);
    rig.animate("pt2", "$T+1");
    rig.animate("in2", "ch(\"fix\")");
    rig.list->setChannelAlias(&rig.parm("pt2"), 0, "height");
    rig.parm("fix").setLockedFlag(0, true);
    rig.parm("a").setEnableState(0, 0);
    rig.list->setPermissions(0755);
    rig.looking.takeCalls();
    TestOwner owner;

    ZEL_ParmList copy(*rig.list, rig.top.templates(), &owner, nullptr, "", false);
    EXPECT_EQ(rig.list->getChannelGroupPtr(), nullptr);
    rig.looking.list = nullptr;
    rig.list.reset();
    // What is removed with the source notifies its own owner.
    EXPECT_EQ(owner.takeCalls().find("multiItemCreated"), std::string::npos);

    EXPECT_EQ(copy.evalFloat("pt2", 0, 2.0), 3.0);
    EXPECT_EQ(copy.evalFloat("in2", 0, 0.0), 3.0);
    EXPECT_EQ(copy.getParmPtrFromChannel("height", nullptr), copy.getParmPtr("pt2"));
    EXPECT_TRUE(copy.getParmPtr("fix")->getLockedFlag(0));
    EXPECT_TRUE(copy.getParmPtr("in1")->isSpareParm());
    EXPECT_FALSE(copy.getParmPtr("a")->getEnableState(0));
    EXPECT_TRUE(copy.getParmPtr("pt1")->getEnableState(0));
    EXPECT_EQ(copy.getPermissions(), 0755u);
    expectSound(copy, rig.channels);
    // It still works like any other list.
    Block none;
    copy.updateSpareParmTemplates(none.templates(), false);
    copy.insertMultiParmItem(copy.getParmIndex("points"), 0);
    EXPECT_EQ(contents(copy), "fix=3 points=3 pt1=0 pt2=0 pt3=1");
}

TEST(Migration, ACopyStartsFromChangedDefaultsUnlessForced)
{
    ZEL_Default defaults[] = {ZEL_Default(2.0)};
    Block top;
    top.add(ZEL_FLT, 1, "a", "A", defaults);
    top.add(ZEL_FLT, 1, "b", "B", defaults);
    for (const bool forceCopy : {false, true}) {
        defaults[0].setFloat(2.0);
        TRK_Collection channels;
        ZEL_ParmList source(top.templates(), &channels, nullptr, nullptr, "", false);
        source.setFloat(5.0, "b", 0, 0.0, false);
        ZEL_ParmList copy(source, top.templates(), nullptr, nullptr, "", forceCopy);
        EXPECT_EQ(contents(copy), "a=2 b=5");
    }
}

TEST(Migration, AnHeirsOwnChannelsGiveWay)
{
    ZEL_Default expression[] = {ZEL_Default(0.0, "1+1")};
    Block before, after;
    before.add(ZEL_FLT, 1, "a");
    after.add(ZEL_FLT, 1, "a", "A", expression);
    TRK_Collection channels;
    ZEL_ParmList source(before.templates(), &channels, nullptr, nullptr, "", false);
    source.setFloat(7.0, "a", 0, 0.0, false);
    ZEL_ParmList successor(after.templates(), &channels, nullptr, nullptr, "", false);
    ASSERT_EQ(successor.evalFloat("a", 0, 0.0), 2.0);
    constexpr bool forceCopy = false;
    successor.adoptParmList(source, forceCopy);
    successor.reloadChannelPtrs();
    EXPECT_EQ(successor.evalFloat("a", 0, 0.0), 7.0);
    expectSound(successor, channels);
}

TEST(Migration, KeysOfARampAreTakenOverEvenAtTheirDefaults)
{
    Block items, top;
    items.add(ZEL_FLT, 1, "in#");
    top.addMulti(ZEL_MULTITYPE_RAMP_FLT, "r", nullptr, 2);
    top.addMulti(ZEL_MULTITYPE_LIST, "m", items.templates(), 1);
    TRK_Collection channels;
    ZEL_ParmList source(top.templates(), &channels, nullptr, nullptr, "", false);
    for (const char *token : {"r1value", "in1"}) {
        ASSERT_TRUE(source.getParmPtr(token)->isTrueFactoryDefault());
        source.getParmPtr(token)->setLockedFlag(0, true);
    }
    constexpr bool deleteChannels = false, buildDefaults = false, forceCopy = false;
    ZEL_ParmList successor(top.templates(), &channels, nullptr, nullptr, "", deleteChannels,
                           buildDefaults);
    successor.adoptParmList(source, forceCopy);
    successor.buildDelayedDefaults(deleteChannels);
    EXPECT_TRUE(successor.getParmPtr("r1value")->getLockedFlag(0));
    EXPECT_FALSE(successor.getParmPtr("in1")->getLockedFlag(0));
}

TEST(Migration, OnlyTheTakeFlagCarriesOver)
{
    SpareRig older, fresh;
    older.set("fix", 3);
    older.parm("fix").setLockedFlag(0, true);
    older.parm("fix").setActiveTakeFlag(true);
    fresh.parm("points").setActiveTakeFlag(true);
    fresh.list->updateFromOldTemplate(older.list.get());
    EXPECT_TRUE(fresh.parm("fix").getActiveTakeFlag());
    EXPECT_TRUE(fresh.parm("points").getActiveTakeFlag());
    EXPECT_FALSE(fresh.parm("pt1").getActiveTakeFlag());
    EXPECT_EQ(fresh.text(), "fix=0 points=1 pt1=0");
    EXPECT_FALSE(fresh.parm("fix").getLockedFlag(0));
}

TEST(Migration, MasksThatAreSetAnewCount)
{
    Block top;
    ZEL_Template *description = top.add(ZEL_XYZ, 3, "t");
    EXPECT_EQ(description->getAutoScopeField(), 0u);
    description->setAutoScopeField(5);
    description->setAutoSelectField(2);
    const ZEL_Parm parm(description, nullptr);
    EXPECT_EQ(parm.getAutoScopedField(), 5u);
    EXPECT_EQ(parm.getAutoSelectField(), 2u);
}

enum Kind
{
    FLOAT,
    VECTOR,
    INTEGER,
    TOGGLE,
    TEXT,
    BLOCK,
    NESTED,
    RAMP,
    SWITCHER,
    KINDS
};

using Kinds = std::map<std::string, Kind>;
using States = std::map<std::string, std::string>;

/// Random templates, with a note of what each token is.
class RandomSet
{
public:
    RandomSet(std::mt19937 &random, int most, bool withTwins = false)
    {
        for (const char *token : {"a", "b", "c", "d", "e", "f"}) {
            if (int(kinds.size()) < most && random() % 2 == 0) {
                add(token, Kind(random() % KINDS), int(random() % 3));
            }
        }
        if (withTwins && random() % 4 == 0) {
            // A set from elsewhere may have a token twice.
            myTop.add(ZEL_FLT, 1, "twin");
            myTop.add(ZEL_XYZ, 3, "twin");
        }
    }
    ZEL_Template *templates() { return myTop.templates(); }

    Kinds kinds;

private:
    void add(const char *token, Kind kind, int count)
    {
        myDefaults.emplace_back(double(count));
        switch (kind) {
        case FLOAT: myTop.add(ZEL_FLT, 1, token, token, &myDefaults.back()); break;
        case VECTOR: myTop.add(ZEL_XYZ, 3, token); break;
        case INTEGER: myTop.add(ZEL_INT, 1, token); break;
        case TOGGLE: myTop.add(ZEL_TOGGLE, 1, token); break;
        case TEXT: myTop.add(ZEL_STRING, 1, token); break;
        case RAMP: myTop.addMulti(ZEL_MULTITYPE_RAMP_FLT, token, nullptr, 2); break;
        case SWITCHER: myTop.add(ZEL_SWITCHER_EXCLUSIVE, 1, token); break;
        default: {
            Block &block = myBlocks.emplace_back();
            block.add(ZEL_FLT, 1, keep(std::string(token) + "_in#"));
            if (kind == NESTED) {
                Block &inner = myBlocks.emplace_back();
                inner.add(ZEL_STRING, 1, keep(std::string(token) + "_deep#_#"));
                block.addMulti(ZEL_MULTITYPE_LIST, keep(std::string(token) + "_more#"),
                               inner.templates(), 1);
            }
            myTop.addMulti(ZEL_MULTITYPE_LIST, token, block.templates(), count);
        }
        }
        kinds[token] = kind;
    }
    const char *keep(const std::string &text) { return myTexts.emplace_back(text).c_str(); }

    std::deque<std::string> myTexts;
    std::deque<ZEL_Default> myDefaults;
    std::deque<Block> myBlocks;
    Block myTop;
};

/// Values, expressions, counts and locks that no default has.
void scramble(ZEL_ParmList &list, std::mt19937 &random)
{
    for (int i = 0; i < list.getEntries(); ++i) {
        ZEL_Parm &parm = *list.getParmPtr(i);
        const int number = 3 + int(random() % 4);
        if (parm.isMultiParm()) {
            parm.setValue(0.0, number, false, 0, ZEL_ADDKEY_PENDING, true);
            continue;
        }
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            if (parm.getType().isStringType()) {
                parm.setValue(0.0, std::to_string(number).c_str(), TRK_MEANING_LITERAL, false, k,
                              ZEL_ADDKEY_PENDING, true);
            } else if (parm.getType().isFloatType() && random() % 3 == 0) {
                parm.setExpression(0.0, ("$T+" + std::to_string(number)).c_str(),
                                   TRK_LANGUAGE_NATIVE, k, true, true, true);
            } else {
                parm.setValue(0.0, number, false, k, ZEL_ADDKEY_PENDING, true);
            }
        }
        parm.setLockedFlag(0, random() % 4 == 0);
    }
}

/// A parameter's state for its user, by name: the value of each component at two times, and locks.
States states(const ZEL_ParmList &list)
{
    States all;
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm &parm = *list.getParmPtr(i);
        std::string &state = all[parm.getToken()];
        state = std::to_string(parm.getLockedField()) + ":";
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            for (const double time : {0.0, 2.0}) {
                KIT_String text;
                parm.getValue(time, text, k, true, BASgetSTID());
                state += std::string(" ") + text.nonNullStr();
            }
        }
    }
    return all;
}

/// Those whose name belongs to a token: "a_in2" to "a", "e1pos" to "e".
States statesOf(const std::string &token, const States &all)
{
    States own;
    std::copy_if(all.begin(), all.end(), std::inserter(own, own.end()),
                 [&](const auto &one) { return one.first.compare(0, token.size(), token) == 0; });
    return own;
}

/// A parameter that keeps name and kind keeps its whole state, items included.
void expectCarried(const States &before, const States &after, const Kinds &was, const Kinds &is)
{
    for (const auto &[token, kind] : was) {
        const auto now = is.find(token);
        if (now == is.end() || now->second != kind) {
            continue;
        }
        EXPECT_EQ(statesOf(token, after), statesOf(token, before));
    }
}

TEST(Migration, RandomSetsOfSpareParameters)
{
    for (unsigned seed = 1; seed <= 150 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        std::deque<RandomSet> sets;
        SpareRig rig;
        Kinds was;
        States before;
        for (int round = 0; round < 4; ++round) {
            sets.emplace_back(random, 6, true);
            rig.list->updateSpareParmTemplates(sets.back().templates(), random() % 2 == 0);
            expectSound(*rig.list, rig.channels);
            expectCarried(before, states(*rig.list), was, sets.back().kinds);
            scramble(*rig.list, random);
            was = sets.back().kinds;
            before = states(*rig.list);
            rig.looking.takeCalls();
            rig.list->updateSpareParmTemplates(sets.back().templates(), false);
            EXPECT_EQ(rig.looking.takeCalls().find("multiItemCreated"), std::string::npos);
            expectCarried(before, states(*rig.list), was, was);
        }
        rig.list->updateSpareParmTemplates(nullptr, false);
        expectSound(*rig.list, rig.channels);
        EXPECT_EQ(rig.list->hasSpareOrMultiInstanceParms(), true);
        for (int i = 0; i < rig.list->getEntries(); ++i) {
            EXPECT_FALSE(rig.list->getParmPtr(i)->isSpareParm());
        }
        EXPECT_EQ(takeMessages(), "");
    }
}

TEST(Migration, RandomInterfacesOfANode)
{
    for (unsigned seed = 1; seed <= 150 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        std::deque<RandomSet> sets;
        sets.emplace_back(random, 4);
        sets.emplace_back(random, 4);
        NOD_Node root;
        NOD_Node &node = *root.addChild("node", sets[0].templates());
        node.setSpareParms(sets[1].templates());
        Kinds spare = sets[1].kinds;
        Kinds was = sets[0].kinds;
        was.insert(spare.begin(), spare.end());
        for (int round = 0; round < 3; ++round) {
            scramble(node.getParms(), random);
            const auto before = states(node.getParms());
            sets.emplace_back(random, 4);
            node.renewParms(sets.back().templates());
            // What is fixed now is spare no longer.
            Kinds is = sets.back().kinds;
            is.insert(spare.begin(), spare.end());
            expectSound(node.getParms(), node.getChannels());
            expectCarried(before, states(node.getParms()), was, is);
            for (const auto &fixed : sets.back().kinds) {
                spare.erase(fixed.first);
                EXPECT_FALSE(node.getParms().getParmPtr(fixed.first.c_str())->isSpareParm());
            }
            for (const auto &one : spare) {
                EXPECT_TRUE(node.getParms().getParmPtr(one.first.c_str())->isSpareParm());
            }
            was = is;
        }
    }
}

TEST(Migration, ANodesSpareThatIsSaidTwiceGoesOver)
{
    Block fixed, twice;
    fixed.add(ZEL_FLT, 1, "fix");
    twice.add(ZEL_FLT, 1, "a");
    twice.add(ZEL_FLT, 1, "b");
    twice.add(ZEL_XYZ, 3, "a");
    NOD_Node root;
    NOD_Node &node = *root.addChild("node", fixed.templates());
    node.setSpareParms(twice.templates());
    node.getParms().setFloat(4.0, "a", 2, 0.0, false);
    node.renewParms(fixed.templates());
    EXPECT_EQ(contents(node.getParms()), "fix=0 b=0 a=0,0,4");
    expectSound(node.getParms(), node.getChannels());
}

TEST(Migration, RandomListsAreCopied)
{
    for (unsigned seed = 1; seed <= 100 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        RandomSet fixed(random, 5), spare(random, 6);
        TRK_Collection channels;
        auto list = std::make_unique<ZEL_ParmList>(fixed.templates(), &channels, nullptr, nullptr,
                                                   "", false);
        list->updateSpareParmTemplates(spare.templates(), false);
        scramble(*list, random);
        const auto before = states(*list);
        for (int round = 0; round < 2; ++round) {
            list = std::make_unique<ZEL_ParmList>(*list, fixed.templates(), nullptr, nullptr, "",
                                                  random() % 2 == 0);
            EXPECT_EQ(states(*list), before);
            expectSound(*list, channels);
        }
    }
}

} // namespace
