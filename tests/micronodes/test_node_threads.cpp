// Nodes, companions and context options asked for by many threads at the same moment.

#include <micronodes/MicroNodeList.h>

#include <common/TestOwner.h>
#include <common/Threads.h>

#include <gtest/gtest.h>

#include <atomic>

namespace
{

constexpr int theThreads = 16;
constexpr int theParms = 64;

struct CountingOwner : TestOwner
{
    ZEL_ParmMicroNode *createParmMicroNodes(ZEL_Parm &parm) const override
    {
        ++asked[std::size_t(getParmList()->getParmIndex(&parm))];
        return TestOwner::createParmMicroNodes(parm);
    }
    mutable std::atomic<int> asked[theParms] = {};
};

TEST(MicroNodeThreads, AllGetOneArrayOfEach)
{
    CountingOwner owner;
    MicroNodeList rig(std::vector<std::pair<ZEL_Type, int>>(theParms, {ZEL_FLT, 3}), &owner);
    owner.setParmList(rig.list.get());
    ZEL_ParmMicroNode *nodes[theThreads][theParms];
    ZEL_ConstMicroNode *companions[theThreads][theParms];
    onThreads(theThreads, [&](int t) {
        // Half of the threads request a parameter's companion first.
        for (int i = 0; i < theParms; ++i) {
            if (t % 2 == 0) {
                nodes[t][i] = rig.list->parmMicroNode(i, 1);
                companions[t][i] = rig.list->constParmMicroNode(i, 1);
            } else {
                companions[t][i] = rig.list->constParmMicroNode(i, 1);
                nodes[t][i] = rig.list->parmMicroNode(i, 1);
            }
            EXPECT_EQ(companions[t][i]->source(), nodes[t][i]);
        }
    });
    for (int i = 0; i < theParms; ++i) {
        EXPECT_EQ(owner.asked[i], 1);
        for (int t = 1; t < theThreads; ++t) {
            EXPECT_EQ(nodes[t][i], nodes[0][i]);
            EXPECT_EQ(companions[t][i], companions[0][i]);
        }
    }
    owner.setParmList(nullptr);
    rig.list->clearParmOwner();
}

TEST(MicroNodeThreads, NamesOfOptionsAreKeptOnce)
{
    for (int round = 0; round < 50; ++round) {
        MicroNodeList rig({{ZEL_FLT, 1}});
        LNK_MicroNode &node = *rig.list->parmMicroNode(0, 0);
        onThreads(theThreads, [&](int t) {
            for (int i = 0; i < theParms; ++i) {
                const std::string name = "option" + std::to_string((i + t) % theParms);
                rig.list->addContextOptionDep(name.c_str());
                node.addContextOptionDep(name.c_str());
            }
        });
        KIT_StringArray names;
        rig.list->getContextOptionDeps(names);
        EXPECT_EQ(names.entries(), theParms);
        rig.list->getParmPtr(0)->getContextOptionDeps(0, names);
        EXPECT_EQ(names.entries(), theParms);
    }
}

TEST(MicroNodeThreads, EdgesMarksAndPushesMeet)
{
    MicroNodeList rig(std::vector<std::pair<ZEL_Type, int>>(theParms, {ZEL_FLT, 2}));
    LNK_MicroNode readers[theThreads];
    std::atomic<int> told{0};
    onThreads(theThreads, [&](int t) {
        for (int i = 0; i < theParms; ++i) {
            readers[t].addExplicitInput(*rig.list->parmMicroNode(i, t % 2));
            rig.list->getParmPtr(i)->setTimeDependentMicroNode(1, true);
            rig.list->constParmMicroNode((i + t) % theParms, 0);
            rig.list->parmMicroNode(i, t % 2)->propagateDirty([&](LNK_MicroNode &) { ++told; },
                                                              false);
        }
    });
    for (const LNK_MicroNode &reader : readers) {
        EXPECT_EQ(reader.getNumInputs(), theParms);
        EXPECT_TRUE(reader.isDirty());
    }
    // Each push notified at least the node and the reader of its own thread.
    EXPECT_GE(told, 2 * theThreads * theParms);
}

} // namespace
