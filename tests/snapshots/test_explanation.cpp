// Why values are what they are: nothing that a value depends on is missing, and what is told of each is true.

#include <node/SceneEdits.h>

#include <EVL/EVL.h>
#include <NOD/NOD_DirtyCauses.h>
#include <NOD/NOD_Explanation.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_GraphDrawing.h>
#include <NOD/NOD_ReadGraph.h>
#include <NOD/NOD_Snapshot.h>
#include <NOD/NOD_SnapshotBudget.h>
#include <ZEL/ZEL_FloatHandle.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <set>

namespace
{

constexpr double theTime = 1.3;

using Answers = std::map<std::pair<std::string, int>, std::string>;

bool isSame(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

std::string textOf(const NOD_Snapshot &snapshot, const NOD_SnapshotHandle &handle, double time)
{
    KIT_String text;
    snapshot.getText(handle, time, BASgetSTID(), text);
    return text.nonNullStr();
}

Answers answersOf(const NOD_Snapshot &snapshot)
{
    Answers all;
    for (const std::string &path : snapshot.getPaths()) {
        for (const NOD_SnapshotHandle &handle : snapshot.findAll(path)) {
            const std::pair key(path + "/" + snapshot.getToken(handle),
                                snapshot.getComponent(handle));
            all[key] = textOf(snapshot, handle, theTime);
        }
    }
    return all;
}

/// Sets one that is plain to another number; false for one that keeps its value.
bool change(SceneEdits &program, const NOD_Snapshot &snapshot, const NOD_SnapshotHandle &handle)
{
    NOD_Node *const node = program.scene.find(snapshot.getPath(handle).c_str());
    ZEL_Parm *const parm = node->getParms().getParmPtr(snapshot.getToken(handle).c_str());
    const int component = snapshot.getComponent(handle);
    double before = 0.0, after = 0.0;
    parm->getValue(0.0, before, component, BASgetSTID());
    parm->setValue(0.0, before == 1.0 ? 2.0 : 1.0, true, component, ZEL_ADDKEY_PENDING, true);
    parm->getValue(0.0, after, component, BASgetSTID());
    return before != after;
}

NOD_Node &nodeOf(NOD_Scene &scene, const char *path)
{
    return *scene.find(path);
}

void drive(NOD_Node &node, const char *token, int component, const char *expression)
{
    node.getParms().getParmPtr(token)->setExpression(0.0, expression, TRK_LANGUAGE_NATIVE,
                                                     component, false, true, true);
}

std::string explain(NOD_Scene &scene, const char *path, const char *token, int component,
                    double time)
{
    const auto snapshot = scene.snapshot();
    return NODexplain(*snapshot, snapshot->find(path, token, component), time, BASgetSTID())
        .asText(24.0);
}

} // namespace

/// Another value of one component changes no value but those that were said to read it.
TEST(Explanation, NothingThatIsReadIsMissing)
{
    const int thread = BASgetSTID();
    std::size_t reached = 0, told = 0;
    for (unsigned seed = 31; seed <= 36; ++seed) {
        SceneEdits program(seed);
        for (int i = 0; i < 60; ++i) {
            program.step();
            program.step();
            const auto snapshot = program.scene.snapshot();
            std::vector<NOD_SnapshotHandle> plain;
            for (const std::string &path : snapshot->getPaths()) {
                for (const NOD_SnapshotHandle &handle : snapshot->findAll(path)) {
                    if (handle.isConstant()) {
                        plain.push_back(handle);
                    }
                    const NOD_Explanation why = NODexplain(*snapshot, handle, theTime, thread);
                    for (const NOD_ExplainedValue &value : why.values) {
                        told += value.reads.size();
                        ASSERT_TRUE(value.held.contains(value.time));
                        ASSERT_EQ(value.movers.empty(),
                                  value.held.isForever() ||
                                      value.source == NOD_ExplainedValue::Source::LOST)
                            << why.asText(24.0);
                        ASSERT_TRUE(!value.handle ||
                                    isSame(std::strtod(value.value.c_str(), nullptr),
                                           snapshot->getNumber(value.handle, value.time, thread)) ||
                                    value.value == textOf(*snapshot, value.handle, value.time))
                            << why.asText(24.0);
                    }
                }
            }
            if (plain.empty()) {
                continue;
            }
            const NOD_SnapshotHandle &chosen = plain[std::size_t(program.below(int(plain.size())))];
            const NOD_ReadGraph graph(*snapshot, theTime, thread);
            std::set<std::string> readers{snapshot->getAddress(chosen)};
            for (const NOD_SnapshotHandle &reader : graph.findReaders(chosen)) {
                readers.insert(snapshot->getAddress(reader));
            }
            const Answers before = answersOf(*snapshot);
            if (!change(program, *snapshot, chosen)) {
                continue;
            }
            const auto next = program.scene.snapshot();
            const Answers after = answersOf(*next);
            for (const std::string &path : next->getPaths()) {
                for (const NOD_SnapshotHandle &handle : next->findAll(path)) {
                    const std::pair key(path + "/" + next->getToken(handle),
                                        next->getComponent(handle));
                    const auto old = before.find(key);
                    if (old == before.end() || old->second == after.at(key)) {
                        continue;
                    }
                    ++reached;
                    const std::string address = next->getAddress(handle);
                    ASSERT_TRUE(readers.count(address) > 0)
                        << address << " reads " << snapshot->getAddress(chosen) << "\n"
                        << program.what;
                    const NOD_Explanation why = NODexplain(
                        *snapshot,
                        snapshot->find(path, next->getToken(handle), next->getComponent(handle)),
                        theTime, thread);
                    ASSERT_TRUE(std::any_of(
                        why.values.begin(), why.values.end(),
                        [&](const NOD_ExplainedValue &value) { return value.handle == chosen; }))
                        << why.asText(24.0);
                }
            }
        }
    }
    EXPECT_GT(reached, 100u);
    EXPECT_GT(told, 100u);
    takeMessages();
}

TEST(Explanation, TellsTheWay)
{
    SceneEdits program(1);
    NOD_Scene &scene = program.scene;
    NOD_Node &a = nodeOf(scene, "/a"), &b = nodeOf(scene, "/b");
    ZEL_FloatHandle v(b.getParms(), "v");
    v.key(0.0, 1.0);
    v.key(1.0, 3.0);
    drive(a, "t", 0, "if($F > 10, ch(\"../b/v\", 0.5) + ch(\"ty\"), 7)");
    drive(a, "t", 2, "ch(\"/gone/x\")");
    a.getParms().getParmPtr("text")->setValue(0.0, "$F `ch(\"tx\")`", TRK_MEANING_LITERAL, true, 0,
                                              ZEL_ADDKEY_PENDING, true);
    EXPECT_EQ(explain(scene, "/a", "t", 0, 0.0),
              "/a/tx = 7 at frame 1, by if($F > 10, ch(\"../b/v\", 0.5) + ch(\"ty\"), 7); "
              "so until frame 10.5; moved by $F\n");
    EXPECT_EQ(
        explain(scene, "/a", "text", 0, 1.0),
        "/a/text = 25 2 at frame 25, by the text $F `ch(\"tx\")`; so from frame 24.5 to 25.5; moved by $F, /a/tx\n"
        "  /a/tx = 2, by if($F > 10, ch(\"../b/v\", 0.5) + ch(\"ty\"), 7); so from frame 10.5 on; moved by $F\n"
        "    /b/v = 2 at frame 13, by keys; moved by keys\n"
        "    /a/ty = 0\n");
    EXPECT_EQ(
        explain(scene, "/a", "t", 2, 0.0),
        "/a/tz = 0 at frame 1, by ch(\"/gone/x\"); moved by error; fails: An expression refers to an unknown channel\n"
        "  /gone, which isn't there\n");

    std::string readers;
    const auto read = scene.snapshot();
    const NOD_ReadGraph graph(*read, 1.0, BASgetSTID());
    for (const NOD_SnapshotHandle &reader : graph.findReaders(read->find("/a", "t", 1))) {
        readers += read->getAddress(reader) + " ";
    }
    EXPECT_EQ(readers, "/a/tx /a/text ");

    drive(b, "t", 0, "ch(\"ty\")");
    drive(b, "t", 1, "ch(\"tz\")");
    drive(b, "t", 2, "ch(\"tx\")");
    const auto snapshot = scene.snapshot();
    const NOD_Explanation why =
        NODexplain(*snapshot, snapshot->find("/b", "t", 1), 0.0, BASgetSTID());
    EXPECT_EQ(why.cycle, (std::vector<std::string>{"/b/ty", "/b/tz", "/b/tx", "/b/ty"}));
    drive(b, "t", 0, "ch(\"tx\", $T - 1)"); // without an end
    const NOD_Explanation endless =
        NODexplain(*scene.snapshot(), scene.snapshot()->find("/b", "t", 0), 0.0, BASgetSTID());
    EXPECT_TRUE(endless.cutFlag);
    EXPECT_EQ(endless.values.size(), NOD_Explanation::theMost);
    EXPECT_TRUE(NODexplain(*snapshot, NOD_SnapshotHandle(), 0.0, 0).values.empty());
    takeMessages();
}

TEST(Explanation, NamesTheStepThatMadeItDirty)
{
    SceneEdits program(1);
    NOD_Scene &scene = program.scene;
    NOD_Node &a = nodeOf(scene, "/a"), &b = nodeOf(scene, "/b");
    drive(a, "t", 0, "ch(\"ty\") + ch(\"../b/v\")");
    drive(b, "v", 0, "ch(\"tx\")");
    const auto causes = [&] {
        std::string all;
        for (const NOD_DirtyCause &cause :
             NODfindDirtyCauses(scene, a, a.getParms().getParmIndex("t"), 0)) {
            all += cause.address + ":" + cause.label + " ";
        }
        scene.getGraph().update(0.0);
        return all;
    };
    scene.getGraph().rebuild(0.0);
    causes();
    EXPECT_EQ(causes(), "");
    {
        NOD_Edit edit(scene, "Move");
        edit.change(b, "t");
        b.getParms().setFloat(2.0, "t", 0, 0.0, true);
    }
    {
        NOD_Edit edit(scene, "Other");
        edit.change(b, "mode");
        b.getParms().getParmPtr("mode")->setValue(0.0, 2.0, true, 0, ZEL_ADDKEY_PENDING, true);
    }
    EXPECT_EQ(causes(), "/b/tx:Move ");
    {
        NOD_Edit edit(scene, "Set ty");
        edit.change(a, "t");
        a.getParms().setFloat(4.0, "t", 1, 0.0, true);
    }
    b.getParms().setFloat(5.0, "t", 0, 0.0, true);
    EXPECT_EQ(causes(), "/a/ty:Set ty /b/tx:Move ");
    takeMessages();
}

TEST(Explanation, DrawsGraphsWhereTheProgramIs)
{
    NOD_Report report;
    std::string svg;
    const char *const path = std::getenv("PATH");
    const std::string before = path ? path : "";
    if (NODdrawGraph("digraph { a -> b; }", svg, report)) {
        EXPECT_NE(svg.find("</svg>"), std::string::npos);
        EXPECT_FALSE(NODdrawGraph("digraph { a -> ", svg, report));
        EXPECT_NE(report.asText().find("dot can't draw the graph: "), std::string::npos);
    }
    report.clear();
    setenv("PATH", "/nowhere", 1);
    EXPECT_FALSE(NODdrawGraph("digraph {}", svg, report));
    setenv("PATH", before.c_str(), 1);
    EXPECT_NE(report.asText().find("there is no program dot"), std::string::npos);
}

TEST(SnapshotBudget, EndsWhatExceedsIt)
{
    const int thread = BASgetSTID();
    SceneEdits program(1);
    NOD_Scene &scene = program.scene;
    NOD_Node &a = nodeOf(scene, "/a"), &b = nodeOf(scene, "/b"), &c = nodeOf(scene, "/a/c");
    drive(a, "v", 0, "ch(\"tx\") + 1");
    drive(a, "t", 0, "ch(\"../b/v\") + 1");
    drive(b, "v", 0, "ch(\"tx\") + ch(\"ty\") + ch(\"tz\") + ch(\"n\")");
    c.getParms().getParmPtr("text")->setValue(0.0, "$HOME `strcat(\"abcdefgh\", \"abcdefgh\")`",
                                              TRK_MEANING_LITERAL, true, 0, ZEL_ADDKEY_PENDING,
                                              true);
    const auto snapshot = scene.snapshot();
    const NOD_SnapshotHandle top = snapshot->find("/a", "v", 0);
    const auto fault = [&](const NOD_SnapshotLimits &limits, const NOD_SnapshotHandle &handle) {
        const NOD_SnapshotBudget budget(limits);
        const EVL::ErrorScope error(thread, EVL::ErrorScope::CLEARED);
        KIT_String text;
        snapshot->getText(handle, 0.0, thread, text);
        const double time = 0.0;
        double row = 0.0;
        const NOD_SampleFault sampled = snapshot->sample(&handle, 1, &time, 1, &row);
        EXPECT_EQ(sampled.number, error.number());
        const NOD_Explanation why = NODexplain(*snapshot, handle, 0.0, thread);
        const NOD_ExplainedValue *const at = why.findFault();
        return std::to_string(error.number()) + (at ? " " + at->address : "");
    };
    const auto numberOf = [](int error) { return std::to_string(error); };
    const std::string exceeded = numberOf(EVL::EVL_DEPTH), refused = numberOf(EVL::EVL_REFUSED);
    NOD_SnapshotLimits limits;
    EXPECT_EQ(fault(limits, top), "0");
    limits.steps = 6;
    EXPECT_EQ(fault(limits, top), exceeded + " /b/v");
    limits = NOD_SnapshotLimits();
    limits.depth = 2;
    EXPECT_EQ(fault(limits, top), exceeded + " /a/v");
    limits.depth = 3;
    EXPECT_EQ(fault(limits, top), "0");
    limits = NOD_SnapshotLimits();
    limits.otherNodes = false;
    EXPECT_EQ(fault(limits, top), refused + " /a/tx");
    EXPECT_EQ(fault(limits, snapshot->find("/b", "v", 0)), "0");
    const NOD_SnapshotHandle text = snapshot->find("/a/c", "text", 0);
    EXPECT_EQ(fault(NOD_SnapshotLimits(), text), "0");
    limits = NOD_SnapshotLimits();
    limits.textBytes = 12;
    EXPECT_EQ(fault(limits, text), exceeded + " /a/c/text");
    limits = NOD_SnapshotLimits();
    limits.environment = false;
    EXPECT_EQ(fault(limits, text), refused + " /a/c/text");
    EXPECT_EQ(fault(NOD_SnapshotLimits(), top), "0"); // none is left behind
    takeMessages();
}
