// The graph of a scene keeps itself up to date: random edits against finding everything anew.

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_Template.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

constexpr const char *theItem = R"({ name item
  parm { name v type float }
  parm { name t type vector }
  parm { name text type string }
  multiparm { name items default 1 parm { name w# type float } parm { name note# type string } } })";
constexpr const char *theOther = R"({ name other
  parm { name u type float }
  parm { name text type string }
  parm { name v type float } })";
constexpr const char *theSpares = R"({ name spares
  parm { name s type float default { 3 } }
  parm { name r type vector } })";

/// What reads what, as "reader < read".
std::set<std::string> edgesOf(NOD_Graph &graph)
{
    std::stringstream text;
    graph.writeDOT(text);
    std::map<std::string, std::string> labels;
    std::set<std::string> edges;
    for (std::string line; std::getline(text, line);) {
        std::istringstream words(line);
        std::string first, second, third;
        words >> first >> second >> third;
        if (second == "->") {
            third.pop_back();
            edges.insert(labels[third] + " < " + labels[first]);
        } else if (second.rfind("[label=", 0) == 0) {
            labels[first] = second.substr(8, second.find('"', 8) - 8);
        }
    }
    return edges;
}

struct Fixture
{
    Fixture()
    {
        scene.getGraph().setDirtyCallback([this](LNK_MicroNode &node) {
            if (const auto *own = dynamic_cast<const ZEL_ParmMicroNode *>(&node)) {
                ++told[{own->parm()->getParmOwner(),
                        own->parm()->getChannelToken(own->subIndex()).c_str()}];
            }
        });
    }
    NOD_Node &add(const char *path) { return *scene.add(path, item, report); }
    static void drive(NOD_Node &node, const char *token, int component, const std::string &text,
                      TRK_ExprLanguage language = TRK_LANGUAGE_NATIVE)
    {
        if (ZEL_Parm *parm = node.getParms().getParmPtr(token)) {
            parm->setExpression(0.0, text.c_str(), language, component, false, true, true);
        }
    }
    static void write(NOD_Node &node, const char *token, const std::string &text)
    {
        node.getParms().setString(KIT_String(text.c_str(), true), TRK_MEANING_LITERAL, token, 0,
                                  0.0, true);
    }
    std::string edges()
    {
        std::string text;
        for (const std::string &edge : edgesOf(scene.getGraph())) {
            text += (text.empty() ? "" : ", ") + edge;
        }
        return text;
    }
    /// The components told of since the last call, by name, and how often if more than once.
    std::string takeTold()
    {
        std::set<std::string> names;
        for (const auto &[component, count] : told) {
            names.insert(component.second + (count > 1 ? "*" + std::to_string(count) : ""));
        }
        told.clear();
        std::string text;
        for (const std::string &name : names) {
            text += (text.empty() ? "" : " ") + name;
        }
        return text;
    }

    NOD_Report report;
    std::shared_ptr<const NOD_Interface> item = NOD_Interface::fromText(theItem, "item", report);
    std::shared_ptr<const NOD_Interface> other = NOD_Interface::fromText(theOther, "other", report);
    std::shared_ptr<const NOD_Interface> spares =
        NOD_Interface::fromText(theSpares, "spares", report);
    NOD_Scene scene;
    std::map<std::pair<const ZEL_ParmOwner *, std::string>, int> told;
};

TEST(SceneGraph, LostReferencesAreFoundWhenTheirTargetsAppear)
{
    Fixture rig;
    NOD_Node &a = rig.add("/a");
    Fixture::drive(a, "v", 0, "ch('../b/c/s') + ch('../b/v')");
    Fixture::write(a, "text", "see ../b/c");
    rig.takeTold();
    EXPECT_EQ(rig.edges(), "");
    NOD_Node &b = rig.add("/b");
    EXPECT_EQ(rig.edges(), "/a/v < /b/v");
    EXPECT_EQ(rig.takeTold(), "v");
    NOD_Node &c = rig.add("/b/c");
    EXPECT_EQ(rig.edges(), "/a/text < /b/c, /a/v < /b/v");
    c.setSpareParms(rig.spares);
    EXPECT_EQ(rig.edges(), "/a/text < /b/c, /a/v < /b/c/s, /a/v < /b/v, /b/c < /b/c/s");
    EXPECT_EQ(a.getParms().evalFloat("v", 0, 0.0), 3.0);
    // Lost again, and told of.
    rig.scene.getGraph().update(0.0);
    rig.takeTold();
    c.removeSpareParm("s");
    EXPECT_EQ(rig.takeTold(), "text v");
    EXPECT_EQ(rig.edges(), "/a/text < /b/c, /a/v < /b/v");
    rig.scene.remove(b, rig.report);
    EXPECT_EQ(rig.takeTold(), "text v");
    EXPECT_EQ(rig.edges(), "");
    // A computed name, and one on the way that must exist though the path leaves it.
    Fixture::drive(a, "t", 1, "ch('../' + 'd/v') + ch('../e/../a/tx')");
    rig.add("/d");
    EXPECT_EQ(rig.edges(), "/a/ty < /d/v");
    NOD_Node &e = rig.add("/e");
    EXPECT_EQ(rig.edges(), "/a/ty < /a/tx, /a/ty < /d/v");
    rig.scene.remove(e, rig.report);
    EXPECT_EQ(rig.edges(), "/a/ty < /d/v");
}

TEST(SceneGraph, ABatchTellsEachComponentOnce)
{
    Fixture rig;
    NOD_Node &a = rig.add("/a");
    NOD_Node &b = rig.add("/b");
    Fixture::drive(b, "v", 0, "ch('../a/tx') + ch('../a/ty') + ch('tz')");
    rig.takeTold();
    const auto set = [&] {
        for (int k = 0; k < 3; ++k) {
            a.getParms().setFloat(k, "t", k, 0.0, true);
        }
        a.getParms().setFloat(5.0, "t", 0, 0.0, true);
        b.getParms().setFloat(5.0, "t", 2, 0.0, true);
    };
    set();
    EXPECT_EQ(rig.takeTold(), "tx*2 ty tz v*4");
    {
        const NOD_Batch batch(rig.scene);
        {
            const NOD_Batch inner(a);
            set();
        }
        EXPECT_EQ(rig.takeTold(), "");
    }
    EXPECT_EQ(rig.takeTold(), "tx ty tz v");
    {
        // What is set and removed within one, and what refers to it.
        const NOD_Batch batch(rig.scene);
        Fixture::drive(b, "t", 0, "ch('../a/s')");
        a.setSpareParms(rig.spares);
        a.getParms().setFloat(1.0, "s", 0, 0.0, true);
        a.setSpareParms(nullptr);
    }
    EXPECT_EQ(rig.takeTold(), "tx");
    {
        const NOD_Batch batch(rig.scene);
        rig.scene.remove(a, rig.report);
        Fixture::drive(b, "t", 1, "ch('v')");
    }
    EXPECT_EQ(rig.takeTold(), "tx ty v");
}

// ---------------------------------------------------------------------- //
// Random edits
// ---------------------------------------------------------------------- //

class Edits : public Fixture
{
public:
    using Values = std::map<std::pair<const ZEL_ParmOwner *, std::string>, std::string>;

    explicit Edits(unsigned seed) : myRandom(seed)
    {
        myNodes.push_back(&add("/a"));
        scene.getRoot().setVariable("N", "a");
    }

    void edit()
    {
        NOD_Node &node = any();
        ZEL_ParmList &parms = node.getParms();
        switch (pick(18)) {
        case 0:
        case 1: addNode(node); break;
        case 2: scene.rename(node, name(), report); break;
        case 3: scene.move(node, pick(3) ? any() : scene.getRoot(), report); break;
        case 4: copy(node); break;
        case 5: remove(node); break;
        case 6: node.setSpareParms(pick(3) ? spares : nullptr); break;
        case 7:
            if (!pick(2) || !node.addSpareParm(spares->getTemplates()[pick(2)])) {
                node.removeSpareParm(pick(2) ? "s" : "r");
            }
            break;
        case 8: changeItems(node); break;
        case 9: node.renewParms(pick(3) ? item : other); break;
        case 10: // channels, and names, behind the parameters' back
            if (node.getChannels().entries() > 0 && pick(2)) {
                node.getChannels().deleteChannel(node.getChannels().getChannel(0));
            } else if (ZEL_Parm *parm = parms.getParmPtr("v")) {
                parms.setChannelAlias(parm, 0,
                                      pick(2) ? KIT_StringHolder("s") : KIT_StringHolder());
            }
            node.linkChannels();
            break;
        case 11: scene.getRoot().setVariable("N", name()); break;
        case 12:
            if (ZEL_Parm *parm = parms.getParmPtr(token().c_str())) {
                parm->clearAndDestroyChannels(true);
            }
            break;
        case 13: write(node, "text", text(node)); break;
        case 14: write(node, "note1", text(node)); break;
        case 15: parms.setFloat(pick(3), "v", 0, 0.0, true); break;
        default:
            drive(node, token().c_str(), pick(3), expression(node),
                  pick(8) ? TRK_LANGUAGE_NATIVE : TRK_LANGUAGE_PYTHON);
        }
    }

    /// Of each component with a graph node.
    Values values()
    {
        Values found;
        for (NOD_Node *node : myNodes) {
            for (int i = 0; i < node->getParms().getEntries(); ++i) {
                const ZEL_Parm &parm = *node->getParms().getParmPtr(i);
                for (int k = 0; parm.hasMicroNodes() && k < parm.getVectorSize(); ++k) {
                    KIT_String value;
                    parm.getValue(0.0, value, k, true, BASgetSTID());
                    found[{node, parm.getChannelToken(k).c_str()}] = value.toStdString();
                }
            }
        }
        return found;
    }
    int pick(int count) { return int(myRandom() % unsigned(count)); }

private:
    NOD_Node &any() { return *myNodes[std::size_t(pick(int(myNodes.size())))]; }
    std::string name() { return std::string(1, char('a' + pick(4))); }
    std::string token()
    {
        static constexpr const char *theTokens[] = {"v", "t", "u", "w1", "w2", "w3", "s", "r"};
        return theTokens[pick(8)];
    }
    std::string component()
    {
        static constexpr const char *theNames[] = {"v",  "tx", "ty", "u", "w1",
                                                   "w2", "w3", "s",  "ry"};
        return theNames[pick(9)];
    }
    std::string path()
    {
        std::string path = pick(2) ? "/" : pick(2) ? "../" : "../../";
        path += name();
        for (; pick(3) == 0; path += "/" + name()) {
        }
        return path;
    }
    std::string expression(NOD_Node &)
    {
        switch (pick(6)) {
        case 0: return "ch('" + component() + "') + ch('" + path() + "/" + component() + "')";
        case 1: return "ch('" + path() + "/' + if(ch('v') > 0, 'v', 'tx'))";
        case 2: return "ch('/$N/" + component() + "') + 1";
        case 3: return std::to_string(pick(9));
        default: return "ch('" + path() + "/" + component() + "')";
        }
    }
    std::string text(NOD_Node &)
    {
        switch (pick(3)) {
        case 0: return "at `ch('" + path() + "/" + component() + "')`";
        case 1: return "see " + path() + " and " + path();
        default: return "nothing";
        }
    }

    void collect(NOD_Node &node)
    {
        myNodes.push_back(&node);
        for (const auto &child : node.getChildren()) {
            collect(*child);
        }
    }
    void refresh()
    {
        myNodes.clear();
        for (const auto &child : scene.getRoot().getChildren()) {
            collect(*child);
        }
    }
    void addNode(NOD_Node &parent)
    {
        KIT_WorkBuffer buffer;
        const std::string above = pick(3) ? parent.getFullPath(buffer) : "";
        scene.add(above + "/" + name(), pick(4) ? item : other, report);
        refresh();
    }
    void copy(NOD_Node &node)
    {
        NOD_Node &parent = any();
        if (myNodes.size() < 16) {
            scene.copy(node, parent, name(), report);
            refresh();
        }
    }
    void remove(NOD_Node &node)
    {
        if (scene.getRoot().getChildren().size() > 1) {
            scene.remove(node, report);
            refresh();
        }
    }
    void changeItems(NOD_Node &node)
    {
        ZEL_ParmList &parms = node.getParms();
        const int block = parms.getParmIndex("items");
        const int count = parms.evalInt("items", 0, 0.0);
        if (block < 0 || pick(2)) {
            parms.setInt(pick(4), "items", 0, 0.0, true);
        } else if (pick(2)) {
            parms.insertMultiParmItem(block, pick(count + 1));
        } else if (count > 0) {
            parms.removeMultiParmItem(block, pick(count));
        }
    }

    std::mt19937 myRandom;
    std::vector<NOD_Node *> myNodes;
};

TEST(SceneGraph, EdgesAfterRandomEditsAreThoseFoundAnew)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        Edits edits(seed);
        NOD_Graph &graph = edits.scene.getGraph();
        for (int step = 0; step < 150; ++step) {
            graph.update(0.0);
            const Edits::Values before = edits.values();
            edits.told.clear();
            {
                const NOD_Batch batch(edits.scene);
                for (int i = edits.pick(3); i >= 0; --i) {
                    edits.edit();
                }
            }
            for (const auto &[component, count] : edits.told) {
                EXPECT_EQ(count, 1) << component.second;
            }
            for (const auto &[component, value] : edits.values()) {
                const auto former = before.find(component);
                EXPECT_TRUE(former == before.end() || former->second == value ||
                            edits.told.count(component))
                    << component.second << " wasn't told of";
            }
            graph.update(0.0);
            if (edits.pick(4) == 0) {
                const std::set<std::string> edges = edgesOf(graph);
                graph.rebuild(0.0);
                graph.update(0.0);
                EXPECT_EQ(edges, edgesOf(graph));
            }
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << " step " << step;
        }
    }
}

// ---------------------------------------------------------------------- //
// Cycles
// ---------------------------------------------------------------------- //

TEST(SceneGraph, CyclesAreNamedInReadingOrder)
{
    Fixture rig;
    NOD_Graph &graph = rig.scene.getGraph();
    NOD_Node &a = rig.add("/a");
    NOD_Node &b = rig.add("/b");
    Fixture::drive(a, "t", 0, "ch('../b/ty')");
    EXPECT_TRUE(graph.findCycles().empty());
    Fixture::drive(b, "t", 1, "ch('../a/tx')");
    Fixture::drive(a, "v", 0, "ch('v') + ch('tx')");
    Fixture::write(b, "text", "`ch('../b/w1')`");
    b.getParms().setInt(1, "items", 0, 0.0, true);
    Fixture::write(b, "note1", "../b");
    ASSERT_EQ(graph.findCycles().size(), 3u);
    EXPECT_EQ(NOD_Graph::asText(graph.findCycles()[0]), "/a/v -> /a/v");
    EXPECT_EQ(NOD_Graph::asText(graph.findCycles()[1]), "/a/tx -> /b/ty -> /a/tx");
    EXPECT_EQ(NOD_Graph::asText(graph.findCycles()[2]), "/b -> /b/note1 -> /b");
    EXPECT_EQ(NOD_Graph::asText(graph.findCycle(b, 1, 1)), "/b/ty -> /a/tx -> /b/ty");
    EXPECT_EQ(NOD_Graph::asText(graph.findCycle(a, 0, 0)), "/a/v -> /a/v");
    EXPECT_TRUE(graph.findCycle(b, 2, 0).empty());
    EXPECT_TRUE(graph.findCycle(b, 0, 0).empty());
}

/// Twelve components that read each other at random, and the lengths of the shortest ways by a plain
/// search.
TEST(SceneGraph, OneCycleOfEachKnot)
{
    constexpr int theCount = 12;
    std::mt19937 random(5);
    for (int round = 0; round < 60; ++round) {
        Fixture rig;
        std::vector<std::vector<int>> ways(theCount, std::vector<int>(theCount, 1000));
        std::map<std::string, int> numbers;
        std::vector<NOD_Node *> nodes;
        for (int i = 0; i < theCount; ++i) {
            const std::string path = "/n" + std::to_string(i);
            nodes.push_back(&rig.add(path.c_str()));
            numbers[path + "/v"] = i;
        }
        for (int i = 0; i < theCount; ++i) {
            std::string text = "0";
            for (int k = 0; k < theCount; ++k) {
                if (random() % 11 == 0 && (i != k || random() % 4 == 0)) {
                    ways[i][k] = 1;
                    text += " + ch('../n" + std::to_string(k) + "/v')";
                }
            }
            Fixture::drive(*nodes[i], "v", 0, text);
        }
        const std::vector<std::vector<int>> edges = ways;
        for (int k = 0; k < theCount; ++k) {
            for (int i = 0; i < theCount; ++i) {
                for (int j = 0; j < theCount; ++j) {
                    ways[i][j] = std::min(ways[i][j], ways[i][k] + ways[k][j]);
                }
            }
        }
        const auto isCycleOf = [&](const NOD_Graph::Cycle &cycle, int start) {
            EXPECT_EQ(int(cycle.size()) - 1, ways[start][start]);
            EXPECT_EQ(numbers[cycle.front()], start);
            EXPECT_EQ(numbers[cycle.back()], start);
            for (std::size_t i = 0; i + 1 < cycle.size(); ++i) {
                EXPECT_EQ(edges[numbers[cycle[i]]][numbers[cycle[i + 1]]], 1);
            }
        };
        std::vector<int> starts;
        for (int i = 0; i < theCount; ++i) {
            const NOD_Graph::Cycle cycle = rig.scene.getGraph().findCycle(*nodes[i], 0, 0);
            EXPECT_EQ(!cycle.empty(), ways[i][i] < 1000);
            if (!cycle.empty()) {
                isCycleOf(cycle, i);
                // Of its knot the first, or the first that reads itself.
                bool firstFlag = true;
                for (int k = 0; k < theCount; ++k) {
                    const bool sameFlag = k != i && ways[i][k] < 1000 && ways[k][i] < 1000;
                    firstFlag =
                        firstFlag && !(sameFlag && (edges[k][k] == 1) >= (edges[i][i] == 1) &&
                                       (k < i || (edges[k][k] == 1) > (edges[i][i] == 1)));
                }
                if (firstFlag) {
                    starts.push_back(i);
                }
            }
        }
        std::vector<int> found;
        for (const NOD_Graph::Cycle &cycle : rig.scene.getGraph().findCycles()) {
            found.push_back(numbers[cycle.front()]);
            isCycleOf(cycle, found.back());
        }
        EXPECT_EQ(found, starts);
    }
}

} // namespace
