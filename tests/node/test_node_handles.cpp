// Handles on parameters of nodes: they follow the parameter of their name through changes of interfaces, spare
// parameters, undo and the tree, and read nothing that is gone. The address sanitizer watches.

#include "SceneEdits.h"

#include <NOD/NOD_InterfaceBuilder.h>
#include <NOD/NOD_Snapshots.h>
#include <ZEL/ZEL_FloatHandle.h>
#include <ZEL/ZEL_IntHandle.h>
#include <ZEL/ZEL_StringHandle.h>
#include <gtest/gtest.h>

#include <set>

namespace
{

/// Knows which of its kind exist, also outside of the tree.
struct CountedNode : NOD_Node
{
    explicit CountedNode(const NOD_NodeSeed &seed) : NOD_Node(seed) { theirs().insert(number); }
    ~CountedNode() override { theirs().erase(number); }

    static std::set<int> &theirs()
    {
        static std::set<int> theNumbers;
        return theNumbers;
    }
    static int next()
    {
        static int theLast = 0;
        return ++theLast;
    }
    const int number = next();
};

template <class HANDLE>
struct Held
{
    HANDLE handle;
    CountedNode *node;
    int number;

    /// What one that is made now would be.
    void check(int &goneCount, int &validCount) const
    {
        const bool aliveFlag = CountedNode::theirs().count(number) != 0;
        ASSERT_EQ(handle.list(), aliveFlag ? &node->getParms() : nullptr);
        if (!aliveFlag) {
            EXPECT_EQ(handle.reason(),
                      "the list of \"" + std::string(handle.name()) + "\" is gone");
            EXPECT_EQ(handle(0.0), decltype(handle(0.0))());
            EXPECT_FALSE(HANDLE(handle).set({}));
            ++goneCount;
            return;
        }
        const HANDLE fresh(node->getParms(), handle.name());
        EXPECT_EQ(handle.parm(), fresh.parm()) << handle.name();
        EXPECT_EQ(handle.reason(), fresh.reason());
        EXPECT_EQ(handle.component(), fresh.component());
        validCount += handle.isValid();
    }
};

TEST(NodeHandles, FollowTheirNameThroughEveryEdit)
{
    constexpr std::size_t theMost = 60;
    int goneCount = 0, validCount = 0;
    for (unsigned seed = 1; seed <= 3 && !::testing::Test::HasFailure(); ++seed) {
        SceneEdits edits(seed);
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        edits.scene.setNodeMaker(
            [](const NOD_NodeSeed &node) { return std::make_unique<CountedNode>(node); });
        edits.undo().setLimits(6, std::numeric_limits<std::int64_t>::max());
        std::vector<Held<ZEL_FloatHandle>> floats;
        std::vector<Held<ZEL_StringHandle>> texts;
        const auto hold = [&](auto &all, const char *name) {
            auto *const node =
                edits.nodes().empty() ? nullptr : dynamic_cast<CountedNode *>(&edits.anyNode());
            if (node) {
                if (all.size() >= theMost) {
                    all.erase(all.begin() + edits.below(int(theMost)));
                }
                all.push_back({{node->getParms(), name}, node, node->number});
            }
        };
        for (int step = 0; step < 1500 && !::testing::Test::HasFailure(); ++step) {
            const char *const numbers[] = {"v", "ty", "extra", "s_float", "s_item1", "pt2x"};
            const char *const words[] = {"text", "words", "label1", "s_text", "v"};
            hold(floats, numbers[edits.below(6)]);
            hold(texts, words[edits.below(5)]);
            switch (edits.nodes().empty() ? 5 : edits.below(6)) {
            case 0: edits.undo().undo(); break;
            case 1: edits.undo().redo(); break;
            case 2:
            case 3: edits.editSpares(edits.anyNode()); break;
            case 4: edits.editTree(); break;
            default: edits.step();
            }
            for (const auto &held : floats) {
                held.check(goneCount, validCount);
            }
            for (const auto &held : texts) {
                held.check(goneCount, validCount);
            }
        }
    }
    EXPECT_GT(goneCount, 1000);
    EXPECT_GT(validCount, 1000);
}

TEST(NodeHandles, ARemovedNodeIsReadUntilNoStepCanBringItBack)
{
    SceneEdits edits(1);
    NOD_Node &a = *edits.scene.find("/a");
    ZEL_FloatHandle v(a.getParms(), "v");
    EXPECT_TRUE(v.set(2.5));
    a.renewParms(edits.other);
    EXPECT_EQ(2.5, v(0.0));
    ZEL_FloatHandle extra(a.getParms(), "extra");
    EXPECT_EQ(0.5, extra(0.0));
    EXPECT_TRUE(edits.undo().undo());
    EXPECT_EQ("there is no parameter \"extra\"", extra.reason());
    EXPECT_TRUE(edits.undo().redo());
    EXPECT_TRUE(extra);
    EXPECT_TRUE(edits.scene.remove(a, edits.report));
    EXPECT_EQ(2.5, v(0.0));
    EXPECT_TRUE(edits.undo().undo());
    EXPECT_EQ(&a.getParms(), v.list());
    EXPECT_TRUE(edits.undo().redo());
    edits.undo().clear();
    EXPECT_EQ("the list of \"v\" is gone", v.reason());
    EXPECT_FALSE(v.set(1.0) || v.key(0.0, 1.0) || v["vx"] || v[0]);
}

/// What a spare parameter borrows lives as long as the node, or a state that can make it again.
TEST(NodeHandles, SpareParametersKeepTheirInterface)
{
    SceneEdits edits(1);
    NOD_Node &b = *edits.scene.find("/b");
    const auto described = [&](const char *token) {
        NOD_InterfaceBuilder builder("spare");
        builder.add(ZEL_FLT, "first").defaultTo(1);
        builder.add(ZEL_STRING, token).defaultTo("long enough to be text of its own").help("help");
        return builder.make(edits.report);
    };
    NOD_Snapshots snapshots;
    {
        NOD_Node &a = *edits.scene.find("/a");
        ASSERT_TRUE(a.addSpareParm(described("second"), "second"));
        ASSERT_TRUE(a.addSpareParm(described("other")));
        EXPECT_FALSE(a.addSpareParm(described("second"))) << "there is a parameter first";
        EXPECT_FALSE(a.addSpareParm(described("second"), "third"));
        EXPECT_FALSE(a.addSpareParm(std::shared_ptr<const NOD_Interface>()));
        EXPECT_EQ("long enough to be text of its own", ZEL_StringHandle(a.getParms(), "second")(0));
        for (int i = 0; i < 2; ++i) {
            edits.undo().undo();
        }
        EXPECT_FALSE(a.getParms().getParmPtr("second"));
        for (int i = 0; i < 2; ++i) {
            edits.undo().redo();
        }
        EXPECT_STREQ("second", a.getSpareParms().getDescriptions()[0]->getToken());
        snapshots.put("a", NOD_NodeState(a));
        EXPECT_TRUE(edits.scene.remove(a, edits.report));
        edits.undo().clear();
    }
    snapshots.find("a")->restore(b);
    EXPECT_EQ("long enough to be text of its own", ZEL_StringHandle(b.getParms(), "second")(0));
    b.getParms().getParmPtr("second")->revertToDefaults(0.0);
    EXPECT_EQ(1.0, ZEL_FloatHandle(b.getParms(), "first")(0.0));
}

} // namespace
