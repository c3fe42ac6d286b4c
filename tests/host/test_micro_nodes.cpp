// The dependency graph: edges, flags, propagation, and its texts.

#include <LNK/LNK_MicroNode.h>
#include <common/Threads.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace
{

class Node : public LNK_MicroNode
{
public:
    explicit Node(const char *name) : myName(name) {}
    const char *className() const override { return myName.c_str(); }
    void becameDirty() override { ++myBecameDirty; }

    int myBecameDirty = 0;

private:
    std::string myName;
};

std::string joined(const KIT_Array<LNK_MicroNode *> &nodes)
{
    std::string text;
    for (const LNK_MicroNode *node : nodes) {
        text += node->className();
    }
    return text;
}

std::string inputs(const LNK_MicroNode &node)
{
    KIT_Array<LNK_MicroNode *> nodes;
    node.getInputs(nodes);
    return joined(nodes);
}

std::string outputs(const LNK_MicroNode &node)
{
    KIT_Array<LNK_MicroNode *> nodes;
    node.getOutputs(nodes);
    return joined(nodes);
}

/// The names in the order of the callbacks.
std::string propagate(LNK_MicroNode &node, bool cleanOnly = false)
{
    std::string text;
    node.propagateDirty([&](LNK_MicroNode &dirty) { text += dirty.className(); }, cleanOnly);
    return text;
}

} // namespace

TEST(MicroNodes, EdgesStandOnBothSides)
{
    Node a("a"), b("b"), c("c");
    EXPECT_EQ(a.getMemoryUsage(false), 0) << "a fresh node uses no heap";
    EXPECT_TRUE(c.addExplicitInput(a));
    EXPECT_TRUE(c.addExplicitInput(b));
    EXPECT_FALSE(c.addExplicitInput(a)) << "an edge stands once";
    EXPECT_FALSE(c.addExplicitInput(c)) << "no edge to itself";
    EXPECT_EQ(inputs(c), "ab");
    EXPECT_EQ(outputs(a), "c");
    EXPECT_GT(a.getMemoryUsage(false), 0);
    EXPECT_TRUE(c.removeInput(a));
    EXPECT_FALSE(c.removeInput(a));
    EXPECT_EQ(outputs(a), "");

    auto middle = std::make_unique<Node>("m");
    middle->addExplicitInput(a);
    c.addExplicitInput(*middle);
    middle.reset();
    EXPECT_EQ(outputs(a), "");
    EXPECT_EQ(inputs(c), "b");
    c.clearInputs();
    EXPECT_EQ(c.getNumInputs() + b.getNumOutputs(), 0);
}

TEST(MicroNodes, DirtinessReachesEachNodeOnce)
{
    // A diamond with a way back: a -> b, c -> d -> a, and d -> e.
    Node a("a"), b("b"), c("c"), d("d"), e("e"), apart("x");
    b.addExplicitInput(a);
    c.addExplicitInput(a);
    d.addExplicitInput(b);
    d.addExplicitInput(c);
    a.addExplicitInput(d);
    e.addExplicitInput(d);
    EXPECT_EQ(propagate(a), "abcde");
    EXPECT_TRUE(a.isDirty() && b.isDirty() && c.isDirty() && d.isDirty() && e.isDirty());
    EXPECT_FALSE(apart.isDirty());
    EXPECT_EQ(d.myBecameDirty, 1);

    for (Node *node : {&b, &c}) {
        EXPECT_TRUE(node->requiresUpdate());
        node->update();
        EXPECT_FALSE(node->isDirty());
    }
    EXPECT_EQ(propagate(a, true), "abc") << "ends at d, which is dirty";
    EXPECT_EQ(propagate(e, true), "e");
    d.setDirty(false, true);
    e.setDirty(false, false);
    EXPECT_FALSE(d.isDirty());
    b.setDirty(true, false);
    EXPECT_FALSE(d.isDirty());
    b.setDirty(true, true);
    EXPECT_TRUE(d.isDirty() && e.isDirty());
}

TEST(MicroNodes, PropagationFollowsOverriddenOutputs)
{
    struct Fork : Node
    {
        explicit Fork(Node *extra) : Node("f"), myExtra(extra) {}
        void getOutputs(KIT_Array<LNK_MicroNode *> &nodes) const override
        {
            nodes.append(myExtra);
            LNK_MicroNode::getOutputs(nodes);
        }
        Node *myExtra;
    };
    Node a("a"), extra("e");
    Fork fork(&extra);
    a.addExplicitInput(fork);
    EXPECT_EQ(propagate(fork), "fea");
}

TEST(MicroNodes, TheCallbackMayDestroyAnyNode)
{
    auto a = std::make_unique<Node>("a");
    auto b = std::make_unique<Node>("b");
    auto c = std::make_unique<Node>("c");
    auto d = std::make_unique<Node>("d");
    b->addExplicitInput(*a);
    c->addExplicitInput(*b);
    d->addExplicitInput(*c);

    std::string seen;
    a->propagateDirty(
        [&](LNK_MicroNode &node) {
            seen += node.className();
            if (&node == a.get()) {
                a.reset(); // the start itself
                c.reset(); // one that is still to be visited
            }
            if (&node == b.get()) {
                d->propagateDirty([&](LNK_MicroNode &) { d.reset(); },
                                  false); // a nested walk
            }
        },
        false);
    EXPECT_EQ(seen, "ab");
}

TEST(MicroNodes, LongChainsDoNotRecurse)
{
    std::vector<std::unique_ptr<Node>> chain;
    chain.push_back(std::make_unique<Node>("n"));
    for (int i = 0; i < 200000; ++i) {
        chain.push_back(std::make_unique<Node>("n"));
        chain.back()->addExplicitInput(*chain[chain.size() - 2]);
    }
    chain.front()->setDirty(true, true);
    EXPECT_TRUE(chain.back()->isDirty());
}

TEST(MicroNodes, MarksAndEdgesFromManyThreads)
{
    Node source("s");
    std::vector<std::unique_ptr<Node>> sinks;
    for (int i = 0; i < 64; ++i) {
        sinks.push_back(std::make_unique<Node>("t"));
    }
    std::atomic<int> visits{0};
    onThreads(4, [&](int t) {
        LNK_MicroNode &base = source;
        for (size_t i = size_t(t); i < sinks.size(); i += 4) {
            sinks[i]->addExplicitInput(base);
            sinks[i]->setTimeDependent(true);
            base.setTimeDependent((i & 1) != 0);
            base.setDirty(true, false);
            visits += base.isDirty() ? 1 : 0;
            KIT_Array<LNK_MicroNode *> reached;
            base.getOutputs(reached);
        }
    });
    EXPECT_EQ(visits, 64);
    EXPECT_EQ(source.getNumOutputs(), 64);
    EXPECT_EQ(propagate(source).size(), 65u);
    EXPECT_TRUE(sinks[63]->isTimeDependent());
}

TEST(MicroNodes, DumpsTellMarksAndEdges)
{
    Node a("a \"quoted\" \\ name"), b("b"), c("c");
    b.addExplicitInput(a);
    c.addExplicitInput(b);
    b.addExplicitInput(c);
    b.setDirty(true, false);
    c.setTimeDependent(true);

    std::ostringstream text;
    b.dump(text, "middle", 1);
    c.dump(text, nullptr, 0);
    EXPECT_EQ(text.str(), "  middle: b dirty\n"
                          "    input: a \"quoted\" \\ name\n"
                          "    input: c\n"
                          "c timedep\n"
                          "  input: b dirty\n");

    std::ostringstream graph;
    a.dumpAsDOT(graph, "one \"graph\"");
    EXPECT_EQ(graph.str(),
              "digraph \"one \\\"graph\\\"\" {\n"
              "    node [shape=box];\n"
              "    n0 [label=\"a \\\"quoted\\\" \\\\ name\\l\"];\n"
              "    n1 [label=\"b dirty\\l  input: a \\\"quoted\\\" \\\\ name\\l  input: c\\l\""
              ", style=filled];\n"
              "    n2 [label=\"c timedep\\l  input: b dirty\\l\", peripheries=2];\n"
              "    n0 -> n1;\n"
              "    n1 -> n2;\n"
              "    n2 -> n1;\n"
              "}\n");
}
