// Items that are inserted, deleted, copied and reverted; ramps and their first fill.

#include "MultiList.h"

#include <KIT/KIT_Color.h>
#include <TRK/TRK_Segment.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <sstream>
#include <tuple>

namespace
{

/// "points" with the children "pt#" and "v#", a float of 2; pt1 = 1, pt2 = 2 ... and v1 = 10,0 ...
class Items : public ::testing::Test
{
protected:
    void build(int count, ZEL_Range *range = nullptr)
    {
        p = std::make_unique<MultiList>();
        p->items.add(ZEL_FLT, 2, "v#");
        p->build(0.0, range);
        p->setCount(count);
        for (int i = 1; i <= count; ++i) {
            p->set(("pt" + std::to_string(i)).c_str(), i);
            p->set(("v" + std::to_string(i)).c_str(), 10.0 * i);
        }
        p->owner.takeCalls();
    }
    /// The values of the first child, item by item: "1 2 3".
    std::string firsts()
    {
        std::string text;
        for (int i = 0; i < p->numItems(); ++i) {
            text += (i > 0 ? " " : "") + valueText(*p->multi().getParm(2 * i));
        }
        return text;
    }
    ZEL_Parm &multiParm() { return p->parm("points"); }

    std::unique_ptr<MultiList> p;
};

int largestNumber(const std::string &text)
{
    constexpr int theMost = 1000;
    int largest = 0, number = 0;
    for (const char c : text) {
        number = c >= '0' && c <= '9' ? std::min(number * 10 + c - '0', theMost) : 0;
        largest = std::max(largest, number);
    }
    return largest;
}

/// Records the tokens of what is removed and made.
struct TokenOwner : TestOwner
{
    void parmRemoved(int index) override { removed.insert(list->getParmPtr(index)->getToken()); }
    void multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms) override
    {
        for (const ZEL_Parm *parm : parms) {
            created.push_back(parm->getToken());
        }
    }
    void forget()
    {
        removed.clear();
        created.clear();
    }
    ZEL_ParmList *list = nullptr;
    std::multiset<std::string> removed;
    std::vector<std::string> created;
};

/// Two blocks with nested ones and a child of one name, and a ramp.
struct LoadedList : MultiList
{
    LoadedList()
    {
        inner[0].add(ZEL_FLT, 1, "x#_#");
        inner[1].add(ZEL_FLT, 1, "y#_#");
        items.add(ZEL_FLT, 1, "k#");
        items.addMulti(ZEL_MULTITYPE_LIST, "w#", inner[0].templates(), 1.0);
        others.addMulti(ZEL_MULTITYPE_LIST, "z#", inner[1].templates(), 2.0);
        others.add(ZEL_FLT, 1, "k#");
        top.addMulti(ZEL_MULTITYPE_LIST, "a", items.templates(), 2.0);
        top.addMulti(ZEL_MULTITYPE_RAMP_FLT, "r", nullptr, 3.0);
        top.addMulti(ZEL_MULTITYPE_LIST, "b", others.templates());
        buildTop(&owner);
        owner.list = list.get();
    }
    ~LoadedList() { list.reset(); }
    void loadEntries(const std::vector<std::string> &entries)
    {
        std::string stream = "{ version 0.8 ";
        for (const std::string &entry : entries) {
            stream += entry;
        }
        load(stream + "}");
    }
    Block inner[2], others;
    TokenOwner owner;
};

/// A block of all that items have, and one of which an item that is made wants items of the first.
struct StayingList : MultiList
{
    explicit StayingList(int wanted)
    {
        inner.add(ZEL_FLT, 1, "x#_#");
        items.add(ZEL_XYZ, 3, "v#");
        items.add(ZEL_STRING, 1, "s#");
        items.addMulti(ZEL_MULTITYPE_LIST, "w#", inner.templates(), 1.0);
        items.addMulti(ZEL_MULTITYPE_RAMP_FLT, "g#", nullptr, 2.0);
        others.add(ZEL_FLT, 1, "z#");
        top.addMulti(ZEL_MULTITYPE_LIST, "a", items.templates(), 1.0);
        top.addMulti(ZEL_MULTITYPE_LIST, "b", others.templates());
        hooked.created = [this, wanted](const KIT_ValArray<ZEL_Parm *> &parms) {
            if (parms[0]->getToken() == std::string("z1")) {
                setCount(wanted, "a");
            }
        };
        buildTop(&hooked);
    }
    ~StayingList() { list.reset(); }
    void fill(unsigned seed)
    {
        std::mt19937 random(seed);
        setCount(random() % 5, "a");
        for (int i = 1; i <= numItems("a"); ++i) {
            setCount(random() % 4, ("w" + std::to_string(i)).c_str());
            setCount(random() % 5, ("g" + std::to_string(i)).c_str());
        }
        load("{ version 0.8 pt1 [ 0 zellabel=\"Another\" ] ( 1 ) }");
        for (int i = 0; i < list->getEntries(); ++i) {
            ZEL_Parm &parm = *list->getParmPtr(i);
            const unsigned what = random();
            if (parm.isMultiParm() || !parm.getMultiParmOwner()) {
                continue;
            }
            ZEL_Instance &instance = *parm.getInstance();
            parm.setValue(0.0, int(what % 7), false, 0, ZEL_ADDKEY_PENDING, false);
            if (what & 1u) {
                parm.setExpression(0.0, "1 + 2", TRK_LANGUAGE_NATIVE, 0, false, false, false);
                list->setChannelAlias(&parm, 0, ("alias" + std::to_string(i)).c_str());
            }
            if (what & 2u) {
                instance.setAutoScopedFlag(0, !instance.getAutoScopedFlag(0));
                instance.setAutoSelectFlag(0, !instance.getAutoSelectFlag(0));
                instance.setChannelCustomColor(0, KIT_Color(1.0f, 0.5f, 0.0f));
            }
            if (what & 8u) {
                instance.overwriteDefault(0.0, 0);
            }
            parm.setLockedFlag(0, (what & 4u) != 0);
        }
    }
    std::string state()
    {
        std::ostringstream os;
        for (int i = 0; i < list->getEntries(); ++i) {
            list->evalFloat(list->getParmPtr(i)->getToken(), 0, 0.0); // surplus items leave
        }
        const ScopedSetting sorted(KIT_ENV_SORTED_SAVE, 1);
        list->save(os, false, false);
        list->saveChannelAliases(os, false);
        const ZEL_Parm *const first = list->getParmPtr("pt1");
        return os.str() + (first ? first->getLabel() : "");
    }
    Block inner, others;
    HookedOwner hooked;
};

} // namespace

// ---------------------------------------------------------------------- //
// Insert and delete
// ---------------------------------------------------------------------- //

TEST_F(Items, TheOwnerHearsOfTheItemThatIsNew)
{
    build(2);
    multiParm().insertMultiParmItem(0, true);
    EXPECT_EQ("multiItemCreated pt3 v3; multiInstancesChanged; multiItemCreated pt1 v1",
              p->owner.takeCalls());
    multiParm().removeMultiParmItem(0, true);
    EXPECT_EQ("parmRemoved 6; parmRemoved 5; multiInstancesChanged", p->owner.takeCalls());
}

TEST_F(Items, HardLimitsHold)
{
    ZEL_Range range(ZEL_RANGE_HARD, 1.0, ZEL_RANGE_HARD, 3.0);
    build(3, &range);
    p->setCount(9.0);
    EXPECT_EQ("1 2 3", firsts());
    multiParm().insertMultiParmItem(0, false);
    EXPECT_EQ("1 2 3", firsts());
    multiParm().swapMultiParmItem(0, 2);
    EXPECT_EQ("3 2 1", firsts()) << "an exchange needs no room";
    p->setCount(0.0);
    EXPECT_EQ("3", firsts());
    ZEL_Range atLeastTwo(ZEL_RANGE_HARD, 2.0, ZEL_RANGE_UI, 3.0);
    build(2, &atLeastTwo);
    p->list->setChannelAlias(&p->parm("pt2"), 0, KIT_StringHolder("second"));
    p->list->removeMultiParmItem(0, 0);
    EXPECT_EQ("points=2 pt1=0 v1=0,0 pt2=2 v2=20,0", p->text()) << "cleared in place";
    EXPECT_EQ(&p->parm("pt2"), p->list->getParmPtrFromChannel("second", nullptr));
}

TEST_F(Items, WhatIsRefusedMovesNothing)
{
    build(2);
    for (const int index : {-1, 1, 99}) {
        p->list->insertMultiParmItem(index, 0);
        p->list->removeMultiParmItem(index, 0);
    }
    EXPECT_EQ("1 2", firsts()) << "no multi-parameters";
    multiParm().setLockedFlag(0, true);
    multiParm().insertMultiParmItem(0, true);
    multiParm().removeMultiParmItem(0, true);
    multiParm().swapMultiParmItem(0, 1);
    p->list->insertMultiParmItem(0, 0);
    p->list->removeMultiParmItem(0, 0);
    EXPECT_EQ("1 2", firsts()) << "locked";
    EXPECT_EQ("", takeMessages());
    multiParm().setLockedFlag(0, false);
    p->append(p->late.add(ZEL_FLT, 1, "v3"));
    p->list->insertMultiParmItem(0, 0);
    EXPECT_EQ("1 2", firsts()) << "the name is taken";
    EXPECT_EQ("ZEL 19", takeMessages());
    multiParm().swapMultiParmItem(0, 1);
    EXPECT_EQ("1 2", firsts());
    EXPECT_EQ("ZEL 19", takeMessages());
}

TEST_F(Items, AnExchangeIsNotTold)
{
    build(3);
    p->parm("pt1").setLockedFlag(0, true);
    p->animate("v3", "3 + 4", 1);
    EventLog events(*p->list);
    multiParm().swapMultiParmItem(0, 2);
    EXPECT_EQ("", events.take());
    EXPECT_EQ("points=3 pt1=3 v1=30,7 pt2=2 v2=20,0 pt3=1 v3=10,0", p->text());
    EXPECT_FALSE(p->parm("pt1").getLockedFlag(0));
    EXPECT_TRUE(p->parm("pt3").getLockedFlag(0));
    EXPECT_EQ("3 + 4 -", p->expression("v1", 1) + " " + p->expression("v3", 1));
    EXPECT_EQ(nullptr, p->channels.getChannel("v42"));
    for (const auto &[a, b] : {std::pair<int, int>{0, 0}, {-1, 1}, {0, 3}}) {
        multiParm().swapMultiParmItem(a, b);
        EXPECT_EQ("3 2 1", firsts());
    }
    p->parm("pt1").swapMultiParmItem(0, 1);
    EXPECT_EQ("3 2 1", firsts());
}

// ---------------------------------------------------------------------- //
// Channels, flags, aliases
// ---------------------------------------------------------------------- //

TEST_F(Items, ChannelsMoveWithTheirItem)
{
    // Expressions of the two components' channels, "" for none.
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"", "", "-"}, {"3 + 4", "", "3 + 4"}, {"", "1 + 1", "-"}, {"3 + 4", "1 + 1", "3 + 4"}};
    for (const auto &[from, to, expected] : cases) {
        build(2);
        p->set("v1", 6.0, 1);
        for (const auto &[token, expression] :
             {std::pair<const char *, const char *>{"v1", from}, {"v2", to}}) {
            if (*expression) {
                p->animate(token, expression, 1);
            }
        }
        p->multi().assignInstance(0, 1);
        EXPECT_EQ(expected, p->expression("v2", 1));
        EXPECT_EQ(valueText(p->parm("v1")), valueText(p->parm("v2")));
        EXPECT_EQ(*from ? "10,7" : "10,6", valueText(p->parm("v2")));
        EXPECT_EQ("-", p->expression("v2", 0));
        EXPECT_EQ(*expected == '-', p->channels.getChannel("v22") == nullptr);
        EXPECT_TRUE(p->parm("v2").isDirty(1));
    }
}

TEST_F(Items, FlagsMoveWithTheirItem)
{
    build(2);
    p->parm("v1").setLockedFlag(1, true);
    p->parm("v1").setAutoScopedFlag(0, true);
    p->parm("v1").setAutoSelectFlag(1, false);
    p->multi().assignInstance(0, 1);
    const ZEL_Parm &to = p->parm("v2");
    EXPECT_EQ(2u, to.getInstance()->getLockedField());
    EXPECT_TRUE(to.getAutoScopedFlag(0));
    EXPECT_FALSE(to.getAutoScopedFlag(1));
    EXPECT_FALSE(to.getAutoSelectFlag(1));
    EXPECT_FALSE(p->parm("pt2").getInstance()->getSaveAutoScopeFlag()) << "equal flags aren't set";
    for (const auto &[from, target] : {std::pair<int, int>{0, 0}, {-1, 0}, {0, 2}, {2, 0}}) {
        p->multi().assignInstance(from, target);
    }
    EXPECT_EQ("1 1", firsts());
}

TEST_F(Items, AliasesMoveWithTheirItem)
{
    const auto aliases = [&] {
        std::string text;
        for (const char *alias : {"one", "two", "deep"}) {
            int component = -1;
            const ZEL_Parm *parm = p->list->getParmPtrFromChannel(alias, &component);
            text += std::string(text.empty() ? "" : " ") +
                    (parm ? parm->getToken() + std::to_string(component) : "-");
        }
        return text;
    };
    build(3);
    p->list->setChannelAlias(&p->parm("pt1"), 0, KIT_StringHolder("one"));
    p->list->setChannelAlias(&p->parm("pt2"), 0, KIT_StringHolder("two"));
    p->list->setChannelAlias(&p->parm("v2"), 1, KIT_StringHolder("deep"));
    ASSERT_EQ("pt10 pt20 v21", aliases());
    p->list->insertMultiParmItem(0, 1);
    EXPECT_EQ("pt10 pt30 v31", aliases());
    EXPECT_EQ("1 0 2 3", firsts());
    p->list->insertMultiParmItem(0, -3);
    EXPECT_EQ("pt20 pt40 v41", aliases());
    p->list->removeMultiParmItem(0, 9);
    EXPECT_EQ("pt20 pt40 v41", aliases());
    p->list->removeMultiParmItem(0, 0);
    EXPECT_EQ("pt10 pt30 v31", aliases());
    p->list->removeMultiParmItem(0, 0);
    EXPECT_EQ("- pt20 v21", aliases()) << "an alias goes with its item";
    p->list->removeMultiParmItem(0, 2);
    EXPECT_EQ("- pt20 v21", aliases());
    multiParm().insertMultiParmItem(99, false);
    multiParm().removeMultiParmItem(-1, false);
    EXPECT_EQ("points=3 pt1=0 v1=0,0 pt2=2 v2=20,0 pt3=0 v3=0,0", p->text());
}

// ---------------------------------------------------------------------- //
// Revert and copy
// ---------------------------------------------------------------------- //

TEST_F(Items, RevertingUnlocksAndDropsChannels)
{
    build(2);
    p->parm("pt1").setLockedFlag(0, true);
    p->animate("v1", "2 + 3", 1);
    p->multi().revertInstance(0);
    EXPECT_EQ("points=2 pt1=0 v1=0,0 pt2=2 v2=20,0", p->text());
    EXPECT_FALSE(p->parm("pt1").getLockedFlag(0));
    EXPECT_EQ("-", p->expression("v1", 1));
    EXPECT_FALSE(ZEL_Parm::getDestructiveRevertToDefaultFlag());
    for (const int item : {-1, 2}) {
        p->multi().revertInstance(item);
    }
    EXPECT_EQ("0 2", firsts());
    p->multi().revertAllInstances();
    EXPECT_EQ("points=0", p->text());
    EXPECT_TRUE(p->multi().getDefaultsInitFlag());
}

TEST_F(Items, CopyTakesCountAndValues)
{
    build(3);
    const std::unique_ptr<MultiList> source = std::move(p);
    build(1);
    source->animate("v2", "3 + 2", 1);
    p->parm("points").copyParm(source->parm("points"));
    EXPECT_EQ(source->text(), p->text());
    EXPECT_EQ("3 + 2", p->expression("v2", 1));
    p->multi().copy(&p->multi());
    p->multi().copy(nullptr);
    EXPECT_EQ(source->text(), p->text());
    build(0);
    source->multi().copy(&p->multi());
    EXPECT_EQ("points=0", source->text());
}

TEST(MultiCopy, OtherChildrenGetWhatFits)
{
    MultiList from, to;
    from.items.add(ZEL_XYZ, 3, "v#");
    from.items.add(ZEL_FLT, 1, "more#");
    to.items.add(ZEL_FLT, 2, "w#");
    to.items.add(ZEL_STRING, 1, "name#");
    from.build(2.0);
    to.build();
    from.set("pt2", 4.0);
    from.set("v2", 5.0, 1);
    from.set("more2", 6.0);
    to.multi().copy(&from.multi());
    EXPECT_EQ("4 0,5", valueText(to.parm("pt2")) + " " + valueText(to.parm("w2")));
    EXPECT_EQ("-", to.expression("name2"));
    EXPECT_EQ(2, to.numItems());
}

TEST(MultiCopy, ADuplicateMakesItsOwnItems)
{
    MultiList p;
    p.build(2.0);
    const ZEL_Parm copy(&p.parm("points"), nullptr);
    EXPECT_EQ(0, copy.getMultiParmNumItems());
    double value = 0.0;
    copy.getValue(0.0, value, 0, BASgetSTID());
    EXPECT_EQ(2.0, value);
    EXPECT_EQ("points=2 pt1=0 pt2=0", p.text());
}

TEST(MultiAdopt, LeftoverParametersGiveTheirState)
{
    // As after a load in which the parameters came before the count.
    MultiList p;
    p.items.add(ZEL_XYZ, 3, "v#");
    p.build();
    p.append(p.late.add(ZEL_FLT, 1, "pt2"));
    p.append(p.late.add(ZEL_FLT, 2, "v1"));
    p.set("pt2", 7.0);
    p.animate("v1", "1 + 2", 1);
    p.parm("pt2").setLockedFlag(0, true);
    p.owner.takeCalls();
    p.loadCount(2.0, "points");
    EXPECT_EQ("points=2 pt1=0 v1=0,3,0 pt2=7 v2=0,0,0", p.text());
    EXPECT_TRUE(p.parm("pt2").getLockedFlag(0));
    EXPECT_EQ("multiItemCreated pt1", p.owner.takeCalls().substr(15, 20));
    EXPECT_FALSE(p.parm("pt2").isSpareParm());
    EXPECT_EQ(&p.multi(), p.parm("pt2").getMultiParmOwner());
}

TEST(MultiLoad, ItemsOfAllBlocksLeaveTogether)
{
    MultiList p;
    Block others;
    others.add(ZEL_FLT, 1, "q#");
    p.top.addMulti(ZEL_MULTITYPE_LIST, "a", p.items.templates(), 2.0);
    p.top.addMulti(ZEL_MULTITYPE_LIST, "b", others.templates(), 2.0);
    p.buildTop();
    ZEL_UndoDataArray before;
    p.list->saveUndoData(before);
    p.setCount(4.0, "a");
    p.setCount(3.0, "b");
    p.owner.takeCalls();
    const char *const calls = "parmRemoved 8; parmRemoved 7; parmRemoved 6; multiInstancesChanged; "
                              "multiInstancesChanged";
    p.list->loadUndoData(before, nullptr, nullptr);
    EXPECT_EQ(calls, p.owner.takeCalls());
    EXPECT_EQ("a=2 b=2 pt1=0 pt2=0 q1=0 q2=0", p.text());
    p.setCount(4.0, "a");
    p.setCount(3.0, "b");
    p.owner.takeCalls();
    EXPECT_TRUE(p.load("{ version 0.8 a [ 0 ] ( 2 ) b [ 0 ] ( 2 ) }"));
    EXPECT_EQ(calls, p.owner.takeCalls());
    EXPECT_EQ("a=2 b=2 pt1=0 pt2=0 q1=0 q2=0", p.text());
}

TEST(MultiLoad, OneStreamIsAsGoodAsOneForEachEntry)
{
    constexpr int theSteps = 2000;
    std::mt19937 random(1);
    const auto below = [&](int count) { return int(random() % unsigned(count)); };
    const auto digit = [&] { return std::to_string(1 + below(5)); };
    const auto names = [](std::string texts) {
        std::set<std::string> each;
        for (std::size_t end = 0; end != std::string::npos; texts.erase(0, end + 2)) {
            end = texts.find("; ");
            each.insert(texts.substr(0, end));
        }
        return each;
    };
    int removals = 0, both = 0;
    LoadedList together, apart;
    for (int step = 0; step < theSteps; ++step) {
        std::vector<std::string> entries;
        std::string what = std::to_string(step) + ":";
        for (int i = below(10); i >= 0; --i) {
            const std::string blocks[] = {"a", "b", "r", "w" + digit(), "z" + digit()};
            const std::string items[] = {"pt" + digit(), "k" + digit(), "r" + digit() + "pos",
                                         "x" + digit() + "_" + digit(),
                                         "y" + digit() + "_" + digit()};
            entries.push_back((below(3) ? blocks[below(5)] : items[below(5)]) + " [ 0 ] ( " +
                              std::to_string(below(6)) + " ) ");
            what += " " + entries.back();
        }
        const auto loading = below(2) ? std::make_unique<Loading>() : nullptr;
        together.owner.forget();
        together.loadEntries(entries);
        const std::set<std::string> texts = names(takeMessages(true));
        apart.owner.forget();
        // A list with an owner looks for all names before it reads values.
        for (const std::string &entry : entries) {
            const std::string name = entry.substr(0, entry.find(' '));
            if (apart.list->getParmIndex(name.c_str()) < 0) {
                apart.list->checkMultiParmInstance(name.c_str(), false);
            }
        }
        for (const std::string &entry : entries) {
            apart.loadEntries({entry});
        }
        ASSERT_EQ(names(takeMessages(true)), texts) << what;
        ASSERT_EQ(apart.text(), together.text()) << what;
        ASSERT_EQ(apart.owner.created, together.owner.created) << what;
        ASSERT_EQ(apart.owner.removed, together.owner.removed) << what;
        removals += !apart.owner.removed.empty();
        both += !apart.owner.removed.empty() && !apart.owner.created.empty();
    }
    EXPECT_GT(removals, theSteps / 2);
    EXPECT_GT(both, theSteps / 3);
}

TEST(MultiLoad, ItemsThatAreWantedAgainAreAsNew)
{
    constexpr int theSteps = 300;
    std::mt19937 random(1);
    const auto below = [&](int count) { return int(random() % unsigned(count)); };
    const auto entry = [](const std::string &name, int value) {
        return name + " [ 0 ] ( " + std::to_string(value) + " ) ";
    };
    const auto stream = [](const std::string &text) { return "{ version 0.8 " + text + "}"; };
    int stayed = 0;
    for (int step = 0; step < theSteps; ++step) {
        const int wanted = 1 + below(4);
        const std::string counts[] = {entry("a", below(3)), entry("b", 1)};
        std::string values;
        for (const char *const name : {"pt", "w", "g", "x#_", "s"}) {
            std::string token = name;
            std::replace(token.begin(), token.end(), '#', char('1' + below(wanted)));
            values += below(3) ? "" : entry(token + char('1' + below(wanted)), below(5));
        }
        const unsigned seed = random();
        StayingList inOne(wanted), inThree(wanted);
        inOne.fill(seed);
        inThree.fill(seed);
        const int before = inOne.numItems("a");
        ASSERT_EQ(inOne.state(), inThree.state());
        inOne.load(stream(counts[0] + counts[1] + values));
        inThree.load(stream(counts[0]));
        inThree.load(stream(counts[1]));
        inThree.load(stream(values));
        ASSERT_EQ(inOne.state(), inThree.state()) << step << ": " << counts[0] << values;
        stayed += before > 2 && wanted > 2;
    }
    EXPECT_GT(stayed, theSteps / 10);
}

TEST(MultiLoad, AStreamFindsTheBlockThatTheListFinds)
{
    constexpr int theLists = 400;
    constexpr int theMostItems = 30;
    std::mt19937 random(1);
    const auto below = [&](int count) { return int(random() % unsigned(count)); };
    const auto anyOf = [&](const std::string &letters) {
        return letters[std::size_t(below(int(letters.size())))];
    };
    int found = 0, nested = 0;
    for (int step = 0; step < theLists; ++step) {
        std::vector<std::string> patterns;
        const auto pattern = [&] {
            std::string text = "a";
            for (int i = 1 + below(5); i > 0; --i) {
                text += anyOf("##a01__");
            }
            patterns.push_back(text + "#" + (below(3) ? "" : "a"));
            return patterns.back();
        };
        std::vector<std::string> deep, inner, outer;
        for (int i = 0; i < 4; ++i) {
            deep.push_back("c#_#_" + pattern());
            patterns.back() = deep.back();
            inner.push_back(pattern());
            outer.push_back(pattern());
        }
        struct List : MultiList
        {
            List(const std::vector<std::string> &deep, const std::vector<std::string> &inner,
                 const std::vector<std::string> &outer)
            {
                const char *const tokens[] = {"b0", "b1", "b2", "b3"};
                const char *const inners[] = {"b0x#", "b1x#", "b2x#", "b3x#"};
                const char *const deeps[] = {"b0y#_#", "b1y#_#", "b2y#_#", "b3y#_#"};
                for (std::size_t i = 0; i < 4; ++i) {
                    blocks[i][0].add(ZEL_FLT, 1, deep[i].c_str());
                    blocks[i][1].add(ZEL_FLT, 1, inner[i].c_str());
                    blocks[i][1].addMulti(ZEL_MULTITYPE_LIST, deeps[i], blocks[i][0].templates(),
                                          1.0);
                    blocks[i][2].add(ZEL_FLT, 1, outer[i].c_str());
                    blocks[i][2].addMulti(ZEL_MULTITYPE_LIST, inners[i], blocks[i][1].templates(),
                                          1.0);
                    top.addMulti(ZEL_MULTITYPE_LIST, tokens[i], blocks[i][2].templates(), 2.0);
                }
                list = std::make_unique<ZEL_ParmList>(top.templates(), nullptr, nullptr, nullptr,
                                                      "", false);
            }
            Block blocks[4][3];
        };
        List loaded(deep, inner, outer), grown(deep, inner, outer);
        std::string stream = "{ version 0.8 ";
        for (int i = 0; i < 12; ++i) {
            std::string name;
            if (below(4) == 0) {
                name = "b" + std::to_string(below(4));
                const std::string entry = name + " [ 0 ] ( " + std::to_string(below(4)) + " ) ";
                stream += entry;
                grown.load("{ version 0.8 " + entry + "}");
                continue;
            }
            for (const char c : patterns[std::size_t(below(int(patterns.size())))]) {
                name += c != '#' ? std::string(1, c)
                                 : (below(4) ? "" : "0") + std::to_string(below(below(3) ? 4 : 12));
            }
            name += below(5) ? "" : "a";
            if (largestNumber(name) > theMostItems) {
                continue;
            }
            stream += name + " [ 0 ] ( 0 ) ";
            const int before = grown.list->getEntries();
            if (grown.list->getParmIndex(name.c_str()) < 0) {
                grown.list->checkMultiParmInstance(name.c_str(), false);
            }
            found += grown.list->getEntries() > before;
            nested += grown.list->getEntries() == before + 1;
        }
        loaded.load(stream + "}");
        ASSERT_EQ(grown.text(), loaded.text()) << step << " " << stream;
        takeMessages();
    }
    EXPECT_GT(found, theLists / 2);
    EXPECT_GT(nested, 0);
}

TEST(MultiRevert, TheListLeavesItemsToTheOwner)
{
    MultiList p;
    p.build(2.0);
    p.setCount(3.0);
    p.set("pt1", 5.0);
    p.owner.takeCalls();
    p.list->revertValuesToFactoryDefaults();
    EXPECT_EQ("points=2 pt1=5 pt2=0", p.text());
    EXPECT_EQ("parmRemoved 3; multiInstancesChanged; multiItemCreated pt1 pt2",
              p.owner.takeCalls());
    p.list->clearParmOwner();
    p.list->revertValuesToFactoryDefaults();
    EXPECT_EQ("points=2 pt1=0 pt2=0", p.text());
    EXPECT_TRUE(p.list->allDefaults());
    p.setCount(1.0);
    EXPECT_FALSE(p.list->allDefaults());
}

TEST(MultiRamp, TheFirstFillIsAnEvenGradient)
{
    const std::tuple<ZEL_MultiType, double, const char *, const char *> cases[] = {
        {ZEL_MULTITYPE_RAMP_FLT, 3.0, "none",
         "r=3 r1pos=0 r1value=0 r1interp=0 r2pos=0.5 r2value=0.5 "
         "r2interp=0 r3pos=1 r3value=1 r3interp=0"},
        {ZEL_MULTITYPE_RAMP_RGB, 2.0, "none",
         "r=2 r1pos=0 r1c=0,0,0 r1interp=0 r2pos=1 r2c=1,1,1 r2interp=0"},
        {ZEL_MULTITYPE_RAMP_FLT, 1.0, "none", "r=1 r1pos=0 r1value=0 r1interp=0"},
        {ZEL_MULTITYPE_RAMP_RGB, 2.0, "rampfloatdefault",
         "r=2 r1pos=0 r1c=0,0,0 r1interp=0 r2pos=1 r2c=1,1,1 r2interp=0"},
    };
    for (const auto &[type, count, spareToken, contents] : cases) {
        MultiList p;
        ZEL_SpareData spare({spareToken, "1pos ( 0 )"});
        p.top.addMulti(type, "r", nullptr, count, nullptr, &spare);
        p.buildTop();
        EXPECT_EQ(contents, p.text());
    }
}

TEST(MultiRamp, LaterKeysStartAtTheirDefaults)
{
    MultiList p;
    p.top.addMulti(ZEL_MULTITYPE_RAMP_FLT, "r", nullptr, 2.0);
    p.buildTop();
    p.setCount(3.0, "r");
    EXPECT_EQ("0 1 0", valueText(p.parm("r1pos")) + " " + valueText(p.parm("r2pos")) + " " +
                           valueText(p.parm("r3pos")));
    p.set("r2pos", 0.25);
    p.multi("r").revertAllInstances();
    EXPECT_EQ(2, p.numItems("r"));
    EXPECT_EQ(1.0, p.eval("r2pos")) << "filled as on the first day";
    p.multi("r").setNumInstances(0, false);
    p.multi("r").setDefaultsInitFlag(false);
    p.multi("r").revertToDefault(0);
    EXPECT_EQ(1.0, p.eval("r2pos")) << "the value by itself does it too";
    // The first key's position can't be enabled.
    EXPECT_FALSE(p.parm("r1pos").setEnableState(1, 0) && p.parm("r1pos").getEnableState(0));
}
