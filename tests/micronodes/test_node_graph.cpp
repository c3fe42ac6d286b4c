// Dependencies between the parameters of nodes: a change makes dirty exactly what reads it, however
// far away, checked against a plain search.

#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_Template.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

ZEL_Name theNames[] = {ZEL_Name("t", "Translate"), ZEL_Name("text", "Text"), ZEL_Name("w", "Width"),
                       ZEL_Name("name", "Name")};
ZEL_Template theTemplates[] = {ZEL_Template(ZEL_XYZ, 3, &theNames[0]),
                               ZEL_Template(ZEL_STRING, 1, &theNames[1]),
                               ZEL_Template(ZEL_FLT, 1, &theNames[2]),
                               ZEL_Template(ZEL_STRING, 1, &theNames[3]), ZEL_Template()};

constexpr bool thePropagate = true;

void setExpression(NOD_Node &node, const char *token, int component, const std::string &text)
{
    constexpr bool evaluate = false, deleteChannel = true;
    node.getParms().getParmPtr(token)->setExpression(
        0.0, text.c_str(), TRK_LANGUAGE_NATIVE, component, evaluate, deleteChannel, thePropagate);
}

/// Two nodes, /a and /b, under a graph that records what becomes dirty.
struct Pair
{
    Pair()
    {
        graph->rebuild(0.0);
        graph->setDirtyCallback([this](LNK_MicroNode &node) {
            const auto *own = dynamic_cast<const ZEL_ParmMicroNode *>(&node);
            told.insert(own ? std::string(own->parm()->getParmOwner()->getFullPath().c_str()) +
                                  "/" + own->parm()->getChannelToken(own->subIndex()).c_str()
                            : "whole");
        });
    }

    std::string takeTold()
    {
        std::string text;
        for (const std::string &each : told) {
            text += (text.empty() ? "" : " ") + each;
        }
        told.clear();
        return text;
    }
    std::string change(NOD_Node &node, const char *token, int component = 0)
    {
        graph->update(0.0);
        told.clear();
        node.getParms().setFloat(++value, token, component, 0.0, thePropagate);
        return takeTold();
    }
    void setText(NOD_Node &node, const char *token, const char *text)
    {
        node.getParms().setString(KIT_String(text, true), TRK_MEANING_LITERAL, token, 0, 0.0,
                                  thePropagate);
    }
    bool isDirty(NOD_Node &node, const char *token, int component = 0)
    {
        return node.getParms().getParmPtr(token)->microNode(component)->isDirty();
    }

    NOD_Node root;
    NOD_Node *a = root.addChild("a", theTemplates, "plain");
    NOD_Node *b = root.addChild("b", theTemplates, "plain");
    std::unique_ptr<NOD_Graph> graph = std::make_unique<NOD_Graph>(root);
    std::set<std::string> told;
    double value = 0.0;
};

TEST(NodeGraph, ExpressionsMakeEdgesBetweenNodes)
{
    Pair pair;
    EXPECT_EQ(pair.change(*pair.a, "t"), "");
    EXPECT_FALSE(pair.a->getParms().getParmPtr("t")->hasMicroNodes());
    setExpression(*pair.b, "t", 1, "ch(\"../a/tx\") + ch('w')");
    EXPECT_EQ(pair.change(*pair.a, "t", 0), "/a/tx /b/ty");
    EXPECT_EQ(pair.change(*pair.a, "t", 1), "/a/ty");
    EXPECT_EQ(pair.change(*pair.b, "w"), "/b/ty /b/w");
    EXPECT_TRUE(pair.isDirty(*pair.b, "t", 1));
    EXPECT_EQ(pair.b->getParms().evalFloat("t", 1, 0.0), 4.0 + 2.0);

    // Another expression, other edges.
    setExpression(*pair.b, "t", 1, "ch(\"../a/tz\")");
    EXPECT_EQ(pair.change(*pair.a, "t", 0), "/a/tx");
    EXPECT_EQ(pair.change(*pair.b, "w"), "/b/w");
    EXPECT_EQ(pair.change(*pair.a, "t", 2), "/a/tz /b/ty");
}

TEST(NodeGraph, TextsReferByBackticksAndByPaths)
{
    Pair pair;
    pair.setText(*pair.b, "text", "width `ch('../a/w')` of `chs('../a/name')`");
    EXPECT_EQ(pair.change(*pair.a, "w"), "/a/w /b/text");
    EXPECT_EQ(pair.change(*pair.a, "t"), "");
    // A path reads the node as a whole: each of its parameters, with and without a graph node.
    pair.setText(*pair.b, "name", "../a");
    EXPECT_EQ(pair.change(*pair.a, "w"), "/a/w /b/name /b/text whole");
    EXPECT_EQ(pair.change(*pair.a, "t"), "/b/name whole");
    pair.setText(*pair.b, "name", "nothing");
    EXPECT_EQ(pair.change(*pair.a, "t"), "whole");
    // Graph nodes that others made count for it, too.
    pair.a->getParms().getParmPtr("t")->microNode(0);
    pair.setText(*pair.b, "name", "../a");
    EXPECT_EQ(pair.change(*pair.a, "t"), "/a/tx /b/name whole");
}

TEST(NodeGraph, ComputedNamesAreThoseLastRead)
{
    Pair pair;
    setExpression(*pair.b, "t", 0, "ch('../a/t' + if(ch('w') > 0, 'x', 'y'))");
    EXPECT_EQ(pair.change(*pair.a, "t", 1), "/a/ty /b/tx");
    EXPECT_EQ(pair.change(*pair.a, "t", 0), "/a/tx");
    EXPECT_EQ(pair.change(*pair.b, "w"), "/b/tx /b/w");
    // Bringing it up to date finds the new name.
    EXPECT_EQ(pair.change(*pair.a, "t", 0), "/a/tx /b/tx");
    EXPECT_EQ(pair.change(*pair.a, "t", 1), "/a/ty");
    // What the referred one reads in turn is its own.
    setExpression(*pair.a, "t", 0, "ch('w')");
    KIT_Array<LNK_MicroNode *> inputs;
    pair.graph->rebuild(0.0);
    pair.b->getParms().parmMicroNode(0, 0)->getInputs(inputs);
    EXPECT_EQ(inputs.entries(), 2);
    EXPECT_EQ(pair.change(*pair.a, "w"), "/a/tx /a/w /b/tx");
}

TEST(NodeGraph, CirclesAndLostReferencesAreHarmless)
{
    Pair pair;
    setExpression(*pair.a, "t", 0, "ch('../b/tx') + ch('tx') + ch('nothing') + ch('../c/tx')");
    setExpression(*pair.b, "t", 0, "ch('../a/tx')");
    pair.graph->update(0.0);
    pair.told.clear();
    pair.a->getParms().getParmPtr("t")->sendValueChanged(0, true);
    EXPECT_EQ(pair.takeTold(), "/a/tx /b/tx");
}

TEST(NodeGraph, ParametersComeAndGoUnderTheirEdges)
{
    ZEL_Name names[] = {ZEL_Name("s", "S"), ZEL_Name("r", "R")};
    const ZEL_Template spares[] = {ZEL_Template(ZEL_FLT, 1, &names[0]),
                                   ZEL_Template(ZEL_FLT, 1, &names[1])};
    Pair pair;
    ASSERT_TRUE(pair.a->addSpareParm(spares[0]));
    setExpression(*pair.b, "t", 0, "ch('../a/s') + ch('../a/w')");
    EXPECT_EQ(pair.change(*pair.a, "s"), "/a/s /b/tx");

    // New parameters that replace the old ones take over their graph nodes, readers included.
    ASSERT_TRUE(pair.a->addSpareParm(spares[1]));
    EXPECT_EQ(pair.change(*pair.a, "s"), "/a/s /b/tx");
    pair.a->renewParms(theTemplates, "plain");
    pair.b->renewParms(theTemplates, "plain");
    EXPECT_EQ(pair.change(*pair.a, "s"), "/a/s /b/tx");
    EXPECT_EQ(pair.change(*pair.a, "w"), "/a/w /b/tx");

    // Removed while it is pushed, and its reader not notified yet. Removal is a change of its own, which
    // notifies the reader once more.
    std::string told;
    bool isRemoved = false;
    pair.graph->setDirtyCallback([&](LNK_MicroNode &node) {
        const auto &own = dynamic_cast<const ZEL_ParmMicroNode &>(node);
        told += own.parm()->getChannelToken(own.subIndex()).c_str();
        if (!isRemoved) {
            isRemoved = true;
            pair.a->removeSpareParm("s");
        }
    });
    pair.graph->parmChanged(*pair.a, TRK_CHANGE_VALUE, pair.a->getParms().getParmIndex("s"));
    EXPECT_EQ(told, "");
    ZEL_ParmList &list = pair.a->getParms();
    const int index = list.getParmIndex("s");
    list.getParmPtr(index)->setSendExtra(0);
    pair.graph->parmChanged(*pair.a, TRK_CHANGE_VALUE, index);
    EXPECT_EQ(told, "stxtx");
    EXPECT_EQ(list.getParmIndex("s"), -1);
    EXPECT_EQ(pair.b->getParms().getNumParmInputs(), 1);
}

TEST(NodeGraph, EitherMayGoFirst)
{
    Pair pair;
    setExpression(*pair.b, "t", 0, "ch('../a/tx')");
    pair.setText(*pair.b, "name", "../a");
    pair.graph.reset();
    pair.told.clear();
    EXPECT_EQ(pair.b->getParms().getNumParmInputs(), 0);
    pair.a->getParms().setFloat(1.0, "t", 0, 0.0, thePropagate);
    EXPECT_EQ(pair.takeTold(), "");

    auto root = std::make_unique<NOD_Node>();
    NOD_Graph graph(*root->addChild("a", theTemplates));
    graph.getWholeNode(*root->getChild("a"));
    root.reset();
    graph.rebuild(0.0);
    EXPECT_EQ(graph.update(0.0), 0);
    std::ostringstream text;
    graph.writeDOT(text);
    EXPECT_EQ(text.str(), "digraph \"parameters\" {\n    node [shape=box];\n}\n");
}

// ---------------------------------------------------------------------- //
// 10,000 components
// ---------------------------------------------------------------------- //

/// 100 nodes of 25 vectors of 4 components, and for each component what reads it.
class Forest
{
public:
    static constexpr int theNodes = 100, theVectors = 25, theSize = 4;
    static constexpr int theCount = theNodes * theVectors * theSize;
    static constexpr int theDeepest = 50; ///< references in a row that an evaluation follows

    explicit Forest(unsigned seed) : myRandom(seed), myReaders(theCount), myDepth(theCount, 0)
    {
        for (int i = 0; i < theVectors; ++i) {
            const std::string token = "v" + std::to_string(i) + "_";
            myNames.push_back(std::make_unique<ZEL_Name>());
            myNames.back()->setTokenAndLabel(token.c_str(), token.c_str());
            myTemplates[i] = ZEL_Template(ZEL_FLT, theSize, myNames.back().get());
        }
        for (int i = 0; i < theNodes; ++i) {
            myNodes.push_back(
                myRoot.addChild(("n" + std::to_string(i)).c_str(), myTemplates, "forest"));
        }
        for (int i = 1; i < theCount; ++i) {
            connect(i);
        }
        myGraph.rebuild(0.0);
        myGraph.update(0.0);
    }

    int pick() { return std::uniform_int_distribution<int>(0, theCount - 1)(myRandom); }
    void change(int component)
    {
        constexpr bool sendEvent = true;
        parm(component).sendValueChanged(component % theSize, sendEvent);
    }
    void clean() { myGraph.update(0.0); }
    std::vector<int> dirty()
    {
        std::vector<int> found;
        for (int i = 0; i < theCount; ++i) {
            ZEL_Parm &each = parm(i);
            if (each.hasMicroNodes() && each.microNode(i % theSize)->isDirty()) {
                found.push_back(i);
            }
        }
        return found;
    }
    /// The component and what reads it, directly or not.
    std::vector<int> reachable(int from) const
    {
        std::set<int> found{from};
        std::vector<int> open{from};
        while (!open.empty()) {
            const int at = open.back();
            open.pop_back();
            for (const int reader : myReaders[std::size_t(at)]) {
                if (found.insert(reader).second) {
                    open.push_back(reader);
                }
            }
        }
        return {found.begin(), found.end()};
    }
    bool hasReaders(int component) const { return !myReaders[std::size_t(component)].empty(); }
    bool isAlone(int component) { return !parm(component).hasMicroNodes(); }

private:
    ZEL_Parm &parm(int component)
    {
        NOD_Node *node = myNodes[std::size_t(component / (theVectors * theSize))];
        return *node->getParms().getParmPtr(component / theSize % theVectors);
    }
    std::string reference(int component)
    {
        return "ch('../n" + std::to_string(component / (theVectors * theSize)) + "/" +
               parm(component).getChannelToken(component % theSize).c_str() + "')";
    }
    void addReader(int component, int reader, std::string &text)
    {
        myReaders[std::size_t(component)].push_back(reader);
        text += (text.empty() ? "" : " + ") + reference(component);
    }
    /// Continues, starts or joins chains; one in four components reads nothing.
    void connect(int component)
    {
        std::string text;
        const int before = std::uniform_int_distribution<int>(0, component - 1)(myRandom);
        const int kind = std::uniform_int_distribution<int>(0, 3)(myRandom);
        const int source = kind == 1 ? component - 1 : before;
        if (kind != 0 && myDepth[std::size_t(source)] < theDeepest) {
            addReader(source, component, text);
            myDepth[std::size_t(component)] = myDepth[std::size_t(source)] + 1;
        }
        const int second = std::uniform_int_distribution<int>(0, component - 1)(myRandom);
        if (kind == 3 && second != source && myDepth[std::size_t(second)] == 0) {
            addReader(second, component, text);
            myDepth[std::size_t(component)] = std::max(myDepth[std::size_t(component)], 1);
        }
        if (!text.empty()) {
            setExpression(*myNodes[std::size_t(component / (theVectors * theSize))],
                          parm(component).getToken(), component % theSize, text);
        }
    }

    std::mt19937 myRandom;
    std::vector<std::vector<int>> myReaders;
    std::vector<int> myDepth;
    std::vector<std::unique_ptr<ZEL_Name>> myNames;
    ZEL_Template myTemplates[theVectors + 1];
    NOD_Node myRoot;
    std::vector<NOD_Node *> myNodes;
    NOD_Graph myGraph{myRoot};
};

TEST(NodeGraph, OneChangeReachesExactlyItsReaders)
{
    for (const unsigned seed : {1u, 2u, 3u}) {
        Forest forest(seed);
        EXPECT_TRUE(forest.dirty().empty());
        std::size_t largest = 0;
        for (int i = 0; i < 40; ++i) {
            // The first components have the most readers.
            const int changed = i < 10 ? i : forest.pick();
            forest.change(changed);
            const std::vector<int> expected = forest.reachable(changed);
            largest = std::max(largest, expected.size());
            const std::vector<int> found = forest.dirty();
            EXPECT_EQ(found, forest.isAlone(changed) ? std::vector<int>() : expected)
                << "seed " << seed << " component " << changed;
            EXPECT_TRUE(!forest.hasReaders(changed) || found.size() > 1) << changed;
            forest.clean();
            EXPECT_TRUE(forest.dirty().empty());
        }
        EXPECT_GT(largest, 100u);
    }
}

} // namespace
