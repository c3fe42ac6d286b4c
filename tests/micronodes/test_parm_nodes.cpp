// The nodes of one list: making, listing, clearing, pushing, moving to another list.

#include <micronodes/MicroNodeList.h>

#include <common/TestOwner.h>

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace
{

constexpr bool theAll = true;
constexpr bool theChanged = false;

TEST(MicroNodes, AreMadeByTheFirstWish)
{
    MicroNodeList rig({{ZEL_FLT, 2}, {ZEL_INT, 1}, {ZEL_STRING, 1}});
    KIT_Array<LNK_MicroNode *> nodes;
    rig.list->getParmMicroNodes(nodes);
    rig.list->getParmInputList(nodes, true);
    rig.list->getParmOutputList(nodes, true);
    EXPECT_EQ(nodes.entries(), 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(rig.list->hasParmMicroNode(i));
    }
    EXPECT_EQ(rig.list->getMicroNodesMemoryUsage(), 0);

    // The companion creates the component's own node, too; other parameters get none.
    ZEL_ConstMicroNode *companion = rig.list->constParmMicroNode(0, 1);
    ASSERT_TRUE(companion);
    EXPECT_TRUE(rig.list->hasParmMicroNode(0));
    EXPECT_FALSE(rig.list->hasParmMicroNode(1));
    EXPECT_EQ(companion->source(), rig.list->parmMicroNode(0, 1));
    EXPECT_EQ(rig.list->parmMicroNode(0, 1)->constNode(), companion);
    EXPECT_EQ(rig.list->constParmMicroNode(0, 0) + 1, companion);
    ASSERT_TRUE(rig.list->parmMicroNode(2, 0));
    rig.list->getParmMicroNodes(nodes);
    EXPECT_EQ(nodeNames(nodes), "p0:0 p0:1 p2:0");
    const std::int64_t bytes = 3 * sizeof(ZEL_ParmMicroNode) + 2 * sizeof(ZEL_ConstMicroNode);
    EXPECT_EQ(rig.list->getMicroNodesMemoryUsage(), bytes);

    for (const auto &[parm, component] : {std::pair(0, 2), {0, -1}, {3, 0}, {-1, 0}}) {
        EXPECT_EQ(rig.list->parmMicroNode(parm, component), nullptr);
        EXPECT_EQ(rig.list->constParmMicroNode(parm, component), nullptr);
    }
}

TEST(MicroNodes, ListWalksFollowTheOrderOfParameters)
{
    MicroNodeList rig({{ZEL_FLT, 2},
                       {ZEL_FLT | ZEL_TYPE_NOCOOK, 1},
                       {ZEL_FLT | ZEL_TYPE_NOREFRESH, 1},
                       {ZEL_FLT, 1},
                       {ZEL_FLT, 1}});
    ZEL_ParmList &list = *rig.list;
    // p0:1 reads p3, p1 reads p0:0, p2 reads p0:1, and p3 reads the companion of p0:0.
    list.parmMicroNode(0, 1)->addExplicitInput(*list.parmMicroNode(3, 0));
    list.parmMicroNode(1, 0)->addExplicitInput(*list.parmMicroNode(0, 0));
    list.parmMicroNode(2, 0)->addExplicitInput(*list.parmMicroNode(0, 1));
    list.parmMicroNode(3, 0)->addExplicitInput(*list.constParmMicroNode(0, 0));

    const std::tuple<bool, const char *, const char *> cases[] = {
        {false, "p3:0 p0:0 p0:1 const p0:0", "const p0:0 p1:0 const p0:1 p2:0 p0:1"},
        {true, "p3:0 const p0:0", "const p0:0 p1:0 const p0:1 p2:0 p0:1"}};
    for (const auto &[cookOnly, expectedInputs, expectedOutputs] : cases) {
        KIT_Array<LNK_MicroNode *> inputs, outputs;
        list.getParmInputList(inputs, cookOnly);
        list.getParmOutputList(outputs, cookOnly);
        EXPECT_EQ(nodeNames(inputs), expectedInputs);
        EXPECT_EQ(nodeNames(outputs), expectedOutputs);
    }
    EXPECT_FALSE(list.hasParmMicroNode(4));
    EXPECT_EQ(list.getNumParmInputs(), 4);
    list.clearMicroNodeInputs();
    EXPECT_EQ(list.getNumParmInputs(), 0);

    // Clearing doesn't remove the companion's own input.
    EXPECT_EQ(inputNames(*list.constParmMicroNode(0, 0)), "p0:0");
}

TEST(MicroNodes, DumpsNameTheComponent)
{
    MicroNodeList rig({{ZEL_FLT, 2}, {ZEL_FLT | ZEL_TYPE_NOCOOK, 1}});
    for (int i = 0; i < 2; ++i) {
        rig.instance(i).clearAllDirtyFlags();
        rig.list->parmMicroNode(i, 0);
    }
    rig.list->parmMicroNode(1, 0)->addExplicitInput(*rig.list->parmMicroNode(0, 1));
    rig.list->constParmMicroNode(1, 0);
    rig.list->parmMicroNode(0, 1)->setDirty(true, false);
    std::ostringstream all, cookable;
    rig.list->dumpMicroNodes(all, false, 1);
    rig.list->dumpMicroNodes(cookable, true, 0);
    EXPECT_EQ(all.str(), "  ZEL_ParmMicroNode\n    myParm(p0:0)\n"
                         "  ZEL_ParmMicroNode dirty\n    myParm(p0:1)\n"
                         "  ZEL_ParmMicroNode\n    input: ZEL_ParmMicroNode dirty\n"
                         "    myParm(p1:0)\n"
                         "  ZEL_ConstMicroNode\n    input: ZEL_ParmMicroNode\n");
    EXPECT_EQ(cookable.str(), "ZEL_ParmMicroNode\n  myParm(p0:0)\n"
                              "ZEL_ParmMicroNode dirty\n  myParm(p0:1)\n");
}

TEST(MicroNodes, ClearingInputsClearsWhatTheListHolds)
{
    for (const bool cookable : {true, false}) {
        MicroNodeList rig({{cookable ? ZEL_FLT : ZEL_FLT | ZEL_TYPE_NOCOOK, 2}, {ZEL_FLT, 1}});
        ZEL_ParmList &list = *rig.list;
        ZEL_Parm &parm = *list.getParmPtr(0);
        EXPECT_FALSE(parm.hasContextOptionDeps(-1));
        for (const char *name : {"shot", "quality", "shot", ""}) {
            list.addContextOptionDep(name);
            list.addCookContextOptionDep(name);
        }
        list.addCookContextOptionDep("camera");
        list.setTimeDependent();
        list.setCookTimeDependent();
        list.parmMicroNode(0, 1)->addContextOptionDep("shot");
        list.parmMicroNode(0, 0)->addContextOptionDep("lens");

        KIT_StringArray names;
        list.getContextOptionDeps(names);
        EXPECT_EQ(joined(names), "quality shot");
        list.getCookContextOptionDeps(names);
        EXPECT_EQ(joined(names), "camera quality shot");
        const char *expected[] = {"lens shot", "lens", "shot"};
        for (int i = -1; i < 2; ++i) {
            EXPECT_TRUE(parm.hasContextOptionDeps(i));
            parm.getContextOptionDeps(i, names);
            EXPECT_EQ(joined(names), expected[i + 1]);
        }
        EXPECT_FALSE(list.getParmPtr(1)->hasContextOptionDeps(-1));

        // One component's node is enough for all that the list holds.
        list.parmMicroNode(0, 0)->clearInputs();
        list.getContextOptionDeps(names);
        EXPECT_EQ(joined(names), "");
        list.getCookContextOptionDeps(names);
        EXPECT_EQ(joined(names), cookable ? "" : "camera quality shot");
        EXPECT_FALSE(list.isTimeDependent());
        EXPECT_EQ(list.isCookTimeDependent(), !cookable);
        EXPECT_FALSE(parm.hasContextOptionDeps(0));
        EXPECT_TRUE(parm.hasContextOptionDeps(1));
    }
}

// ---------------------------------------------------------------------- //
// Propagation
// ---------------------------------------------------------------------- //

/// What a push makes dirty, in its order; after the first something else may happen.
std::string push(ZEL_ParmList &list, int parm, LNK_MicroNode *whole, bool all,
                 const std::function<void()> &first = nullptr)
{
    std::string told;
    list.propagateDirtyParmMicroNodes(
        parm,
        [&](LNK_MicroNode &node) {
            const bool isFirst = told.empty();
            told += (isFirst ? "" : " ") + nodeName(node);
            if (isFirst && first) {
                first();
            }
        },
        whole, all);
    return told;
}

TEST(MicroNodes, PushesWhatHasChangedSinceTheLastPush)
{
    MicroNodeList rig({{ZEL_FLT, 3}, {ZEL_FLT, 2}});
    ZEL_ParmList &list = *rig.list;
    LNK_MicroNode whole, reader;
    list.parmMicroNode(0, 0);
    reader.addExplicitInput(*list.parmMicroNode(0, 2));
    EXPECT_EQ(list.getNumSendExtra(), 0);

    // Dirty components are not what counts: all of them are in a fresh list.
    EXPECT_TRUE(list.getParmPtr(0)->isDirty(1));
    EXPECT_EQ(push(list, -1, &whole, theChanged), "");
    rig.instance(0).setSendExtra(2);
    rig.instance(0).setSendExtra(0);
    rig.instance(1).setSendExtra(1);
    EXPECT_EQ(list.getNumSendExtra(), 3);
    EXPECT_EQ(push(list, 0, &whole, theChanged), "p0:0 p0:2 other");
    EXPECT_EQ(list.getNumSendExtra(), 1);
    EXPECT_FALSE(list.getParmPtr(0)->hasAnySendExtraFlags());
    EXPECT_EQ(push(list, 0, &whole, theChanged), "");
    EXPECT_EQ(push(list, 0, &whole, theAll), "p0:0 p0:1 p0:2 other");
    // A parameter without nodes hands over to the whole node, and only if something has changed.
    EXPECT_EQ(push(list, 1, &whole, theAll), "other");
    EXPECT_EQ(push(list, 1, &whole, theAll), "");
    EXPECT_EQ(list.getNumSendExtra(), 0);
    EXPECT_FALSE(list.hasParmMicroNode(1));
    EXPECT_EQ(push(list, 7, &whole, theAll), "");
}

TEST(MicroNodes, TheWholeNodeIsPushedOncePerWalk)
{
    const std::pair<ZEL_Type, int> cases[] = {
        {ZEL_FLT, 1}, {ZEL_FLT | ZEL_TYPE_NOCOOK, 0}, {ZEL_FLT | ZEL_TYPE_NOREFRESH, 0}};
    for (const auto &[type, pushes] : cases) {
        MicroNodeList rig({{type, 1}, {type, 2}, {ZEL_FLT, 1}, {type, 1}});
        LNK_MicroNode whole;
        rig.list->parmMicroNode(2, 0);
        for (int i = 0; i < 4; ++i) {
            rig.instance(i).setSendExtra(-1);
        }
        EXPECT_EQ(rig.list->getNumSendExtra(), 5);
        EXPECT_EQ(push(*rig.list, -1, &whole, theChanged), pushes ? "other p2:0" : "p2:0");
        EXPECT_EQ(whole.isDirty(), pushes == 1);
        // Cleared even where neither a node nor the whole one was pushed.
        EXPECT_EQ(rig.list->getNumSendExtra(), 0);
        rig.instance(0).setSendExtra(0);
        bool used = true;
        rig.instance(0).propagateDirty(nullptr, nullptr, true, &used);
        EXPECT_FALSE(used);
        EXPECT_EQ(rig.list->getNumSendExtra(), 0);
    }
}

TEST(MicroNodes, TheCallbackMayRemoveParameters)
{
    // Which spare parameters are removed when the node of p1 is notified: itself, those before, those after.
    const std::pair<std::vector<const char *>, const char *> cases[] = {
        {{"p1"}, "p1:0 p3:0"},
        {{"p3", "p2"}, "p1:0 p1:1"},
        {{"p1", "p2", "p3"}, "p1:0"},
        {{"p0"}, "p1:0 p1:1 p3:0"}};
    for (const auto &one : cases) {
        OwnedTemplate own[4] = {
            {ZEL_FLT, 1, "p0"}, {ZEL_FLT, 2, "p1"}, {ZEL_FLT, 1, "p2"}, {ZEL_FLT, 1, "p3"}};
        MicroNodeList rig({});
        ZEL_ParmList &list = *rig.list;
        for (OwnedTemplate &each : own) {
            ZEL_Parm *parm = new ZEL_Parm(&each.entry, &list);
            parm->setSpareParm(true);
            list.appendParm(parm);
        }
        for (int i = 1; i < 4; ++i) {
            list.parmMicroNode(i, 0);
            rig.instance(i).setSendExtra(-1);
        }
        const std::string told = push(list, -1, nullptr, theChanged, [&] {
            for (const char *token : one.first) {
                list.removeAndDestroyParm(list.getParmIndex(token));
            }
        });
        // A parameter that moves down to an index already passed is pushed the next time.
        EXPECT_EQ(told, one.second);
        EXPECT_EQ(list.getEntries(), 4 - int(one.first.size()));
    }
}

// ---------------------------------------------------------------------- //
// Life
// ---------------------------------------------------------------------- //

TEST(MicroNodes, CompanionsMoveWithTheirNodes)
{
    MicroNodeList from({{ZEL_FLT, 2}, {ZEL_FLT, 2}}), to({{ZEL_FLT, 2}, {ZEL_FLT, 3}});
    LNK_MicroNode reader;
    for (int i = 0; i < 2; ++i) {
        reader.addExplicitInput(*from.list->constParmMicroNode(i, 1));
        to.list->constParmMicroNode(i, 0);
        to.instance(i).clearAllDirtyFlags();
        to.instance(i).setDirtyFlags(1);
    }
    ZEL_ConstMicroNode *companion = from.list->constParmMicroNode(0, 1);
    ZEL_ConstMicroNode *kept = to.list->constParmMicroNode(1, 0);
    companion->setDirty(true, false);
    for (int i = 0; i < 2; ++i) {
        to.instance(i).adopt(from.instance(i));
    }
    // The nodes read the new parameter's state; the companions are as they were.
    EXPECT_FALSE(from.list->hasParmMicroNode(0));
    EXPECT_EQ(to.list->constParmMicroNode(0, 1), companion);
    EXPECT_EQ(companion->source(), to.list->parmMicroNode(0, 1));
    EXPECT_EQ(companion->source()->parm(), to.list->getParmPtr(0));
    EXPECT_FALSE(to.list->parmMicroNode(0, 0)->isDirty());
    EXPECT_TRUE(to.list->parmMicroNode(0, 1)->isDirty());
    EXPECT_TRUE(companion->isDirty());
    // Vectors of different sizes keep their own.
    EXPECT_TRUE(from.list->hasParmMicroNode(1));
    EXPECT_EQ(to.list->constParmMicroNode(1, 0), kept);

    from.list.reset();
    EXPECT_EQ(reader.getNumInputs(), 1);
    EXPECT_EQ(push(*to.list, 0, nullptr, theAll), "p0:0 const p0:0 p0:1 const p0:1 other");
}

TEST(MicroNodes, CompanionsAndSourcesPartWhicheverGoesFirst)
{
    MicroNodeList rig({{ZEL_FLT, 2}});
    ZEL_Parm &parm = *rig.list->getParmPtr(0);
    ZEL_ParmMicroNode other(parm, 1);
    auto source = std::make_unique<ZEL_ParmMicroNode>(parm, 0);
    auto first = std::make_unique<ZEL_ConstMicroNode>(source.get());
    EXPECT_EQ(inputNames(*first), "p0:0");

    // One source, one companion, and the other way round.
    auto second = std::make_unique<ZEL_ConstMicroNode>(source.get());
    EXPECT_EQ(inputNames(*first), "");
    first.reset();
    EXPECT_EQ(source->constNode(), second.get());
    second->init(&other);
    EXPECT_EQ(source->constNode(), nullptr);
    EXPECT_EQ(inputNames(*second), "p0:1");

    second->init(source.get());
    source.reset();
    EXPECT_EQ(inputNames(*second), "");
    second->init(&other);
    second.reset();
    EXPECT_EQ(other.constNode(), nullptr);
}

TEST(MicroNodes, TheCallbackMayMoveThem)
{
    // Moved away: the remaining nodes are no longer this parameter's. Replaced: the push continues with
    // the new ones; the readers of the former ones were collected before.
    const std::pair<bool, const char *> cases[] = {{true, "p0:0 other"},
                                                   {false, "p0:0 other p0:1 p0:2"}};
    for (const auto &[away, expected] : cases) {
        MicroNodeList rig({{ZEL_FLT, 3}}), second({{ZEL_FLT, 3}});
        LNK_MicroNode reader;
        reader.addExplicitInput(*rig.list->parmMicroNode(0, 0));
        second.list->parmMicroNode(0, 0);
        rig.instance(0).setSendExtra(-1);
        ZEL_Instance &from = (away ? rig : second).instance(0);
        ZEL_Instance &to = (away ? second : rig).instance(0);
        const std::string told = push(*rig.list, 0, nullptr, theChanged, [&] { to.adopt(from); });
        EXPECT_EQ(told, expected);
        EXPECT_EQ(rig.list->hasParmMicroNode(0), !away);
        EXPECT_EQ(reader.getNumInputs(), away ? 1 : 0);
        EXPECT_EQ(rig.list->getNumSendExtra(), 0);
        EXPECT_FALSE(rig.list->getParmPtr(0)->hasAnySendExtraFlags());
    }
}

TEST(MicroNodes, AnOwnerThatFailsIsAskedAgain)
{
    struct Tagged : ZEL_ParmMicroNode
    {
        const char *className() const override { return "Tagged"; }
    };
    struct Owner : TestOwner
    {
        ZEL_ParmMicroNode *createParmMicroNodes(ZEL_Parm &parm) const override
        {
            if (++asked == 1) {
                throw std::runtime_error("not now");
            }
            Tagged *nodes = new Tagged[std::size_t(parm.getVectorSize())];
            for (int i = 0; i < parm.getVectorSize(); ++i) {
                nodes[i].init(parm, i);
            }
            return nodes;
        }
        mutable int asked = 0;
    };
    Owner owner;
    MicroNodeList rig({{ZEL_FLT, 3}}, &owner);
    EXPECT_THROW(rig.list->constParmMicroNode(0, 0), std::runtime_error);
    EXPECT_FALSE(rig.list->hasParmMicroNode(0));
    ASSERT_TRUE(rig.list->constParmMicroNode(0, 0));
    EXPECT_STREQ(rig.list->parmMicroNode(0, 2)->className(), "Tagged");
    EXPECT_EQ(owner.asked, 2);
    rig.list->clearParmOwner();
}

} // namespace
