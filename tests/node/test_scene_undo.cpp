// Undo of a scene: a random program of all edits, taken back and done again, and what it tells.
//
// ZEL_TEST_OPERATIONS and ZEL_TEST_SEED set its length and where it starts.

#include <multi/MultiList.h>
#include <node/SceneEdits.h>
#include <presets/PresetFolders.h>

#include <NOD/NOD_Graph.h>
#include <NOD/NOD_NodeSections.h>
#include <ZEL/ZEL_HandleAnchor.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace
{

/// The lines that differ.
std::string difference(const std::string &a, const std::string &b)
{
    std::istringstream as(a), bs(b);
    std::string out, x, y;
    for (bool more = true; more && out.size() < 4000;) {
        const bool isX = bool(std::getline(as, x)), isY = bool(std::getline(bs, y));
        more = isX || isY;
        x = isX ? x : "";
        y = isY ? y : "";
        out += x == y ? "" : "- " + x + "\n+ " + y + "\n";
    }
    return out;
}

/// The program, with the picture of each state that a step has made.
struct Program : SceneEdits
{
    explicit Program(unsigned seed) : SceneEdits(seed), start(seed) { pictures.push_back(look()); }

    std::size_t look()
    {
        picture = pictureOf(scene);
        return std::hash<std::string>()(picture);
    }
    /// One operation; what went wrong, "" for nothing.
    std::string operate()
    {
        ++operations;
        const int kind = below(8);
        if (kind == 0 && undo().undo()) {
            --at;
            return compare("undo");
        }
        if (kind == 1 && undo().redo()) {
            ++at;
            return compare("redo");
        }
        const std::size_t steps = undo().getUndoCount();
        step();
        if (undo().getUndoCount() == steps) {
            return compare("no step");
        }
        pictures.resize(++at);
        made.resize(at, 0);
        pictures.push_back(look());
        made.push_back(operations);
        return "";
    }
    std::string compare(const std::string &call)
    {
        return look() == pictures[at] ? "" : call + " to state " + std::to_string(at) + ", " + what;
    }
    /// Says what differs, from the same program up to where the state was made.
    std::string explain(const std::string &fault)
    {
        Program same(start);
        while (same.operations < (at < made.size() ? made[at] : 0)) {
            same.operate();
        }
        same.look();
        return fault + ", seed " + std::to_string(start) + ", operation " +
               std::to_string(operations) + ", made by " + std::to_string(same.operations) + ":\n" +
               difference(same.picture, picture);
    }

    unsigned start;
    long operations = 0;
    std::size_t at = 0;
    std::string picture;
    std::vector<std::size_t> pictures;
    std::vector<long> made{0}; ///< the operation that made the state
};

} // namespace

TEST(SceneUndo, EveryStateComesBackToTheByte)
{
    const long operations = numberFromEnvironment("ZEL_TEST_OPERATIONS", 10000);
    const unsigned seed = unsigned(numberFromEnvironment("ZEL_TEST_SEED", 1));
    constexpr long theProgram = 500;
    std::size_t steps = 0;
    for (long done = 0; done < operations; done += theProgram) {
        Program program(seed + unsigned(done / theProgram));
        const auto check = [&](const std::string &fault) {
            if (!fault.empty()) {
                ADD_FAILURE() << program.explain(fault);
            }
            return fault.empty();
        };
        for (long i = 0; i < std::min(theProgram, operations - done); ++i) {
            ASSERT_TRUE(check(program.operate()));
        }
        EXPECT_EQ(program.undo().getUnannouncedCount(), 0) << program.undo().getFirstUnannounced();
        while (program.undo().undo()) {
            --program.at;
            ASSERT_TRUE(check(program.compare("undo")));
        }
        ASSERT_EQ(program.at, 0u);
        while (program.undo().redo()) {
            ++program.at;
            ASSERT_TRUE(check(program.compare("redo")));
        }
        ASSERT_EQ(program.at + 1, program.pictures.size());
        steps += program.at;
    }
    // The program had an effect.
    EXPECT_GT(long(steps), operations / 4);
    EXPECT_EQ(takeMessages(), "");
}

namespace
{

/// Two nodes; "b" reads "v" of "a". Keeps what change callbacks were told: "/a/v:4".
struct Pair : SceneEdits
{
    Pair() : SceneEdits(1)
    {
        {
            NOD_Edit edit(scene, "start");
            edit.expression(b, "v", "ch('../a/v')");
        }
        undo().clear();
        for (NOD_Node *node : {&a, &b}) {
            node->setChangeCallback([this](NOD_Node &of, TRK_CHANGE_TYPE type, int index) {
                const ZEL_Parm *const parm = of.getParms().getParmPtr(index);
                told.push_back(pathOf(of) + "/" + (parm ? parm->getToken() : "") + ":" +
                               std::to_string(type));
            });
        }
        takeDirty();
    }
    std::string take()
    {
        std::string all;
        for (const std::string &line : told) {
            all += (all.empty() ? "" : " ") + line;
        }
        told.clear();
        return all;
    }
    /// How many components the graph had to evaluate.
    int takeDirty() { return scene.getGraph().update(0.0); }
    double value(NOD_Node &node, const char *name)
    {
        return node.getParms().evalFloat(name, 0, 0.0);
    }

    NOD_Node &a = *scene.find("/a");
    NOD_Node &b = *scene.find("/b");
    std::vector<std::string> told;
};

} // namespace

TEST(SceneUndo, ItTellsWhatItChangesAndNothingElse)
{
    Pair p;
    const auto step = [&](const std::function<void(NOD_Edit &)> &edits) {
        {
            NOD_Edit edit(p.scene, "step");
            edit.change(p.a);
            edit.change(p.b);
            edits(edit);
        }
        p.take();
        EXPECT_TRUE(p.undo().undo());
        const std::string undone = p.take();
        EXPECT_TRUE(p.undo().redo());
        EXPECT_EQ(p.take(), undone);
        return undone;
    };
    EXPECT_EQ(step([&](NOD_Edit &edit) { edit.set(p.a, "ty", 2.0); }), "/a/t:4");
    EXPECT_EQ(step([&](NOD_Edit &edit) { edit.lock(p.b, "n", true); }), "/b/n:8 /b/n:4");
    EXPECT_EQ(step([&](NOD_Edit &edit) { edit.key(p.a, "v", 0.0, 5.0); }), "/a/v:4");
    EXPECT_EQ(step([&](NOD_Edit &edit) { edit.set(p.a, "points", 1); }), "/a/points:4");
    EXPECT_EQ(step([&](NOD_Edit &) { p.scene.rename(p.a, "z", p.report); }), "/b/v:4");

    // What reads it hears of it.
    p.takeDirty();
    EXPECT_EQ(p.value(p.b, "v"), 5.0);
    ASSERT_TRUE(p.undo().undo() && p.undo().undo() && p.undo().undo());
    EXPECT_EQ(p.value(p.b, "v"), 0.0);
    EXPECT_GE(p.takeDirty(), 2);
    p.scene.remove(p.a, p.report);
    ASSERT_TRUE(p.undo().undo());
    p.takeDirty();
    NOD_Edit(p.scene, "v").set(p.a, "v", 3.0);
    EXPECT_EQ(p.takeDirty(), 2) << "the edge is there again";
    EXPECT_EQ(p.value(p.b, "v"), 3.0);
    takeMessages();
}

TEST(SceneUndo, ADragIsOneStepAndEscapeLeavesNone)
{
    Pair p;
    const std::string start = pictureOf(p.scene);
    int pushed = 0;
    p.scene.getGraph().setDirtyCallback([&](LNK_MicroNode &) { ++pushed; });
    for (const bool escape : {true, false}) {
        NOD_Drag drag(p.scene, "drag");
        for (int x = 1; x <= 3; ++x) {
            NOD_Edit(p.scene, "move").set(p.a, "tx", x);
            NOD_Edit(p.scene, "move").insertItem(p.a, "points", 0);
            pushed = 0;
            NOD_Edit(p.scene, "move").set(p.a, "v", x);
            EXPECT_EQ(pushed, 2) << "what reads it hears of it while the drag goes on";
            p.takeDirty();
        }
        p.scene.rename(p.a, "dragged", p.report);
        EXPECT_FALSE(p.undo().undo());
        EXPECT_NE(pictureOf(p.scene), start);
        if (escape) {
            EXPECT_TRUE(drag.cancel());
            EXPECT_FALSE(drag.cancel());
            EXPECT_EQ(pictureOf(p.scene), start);
            EXPECT_EQ(p.undo().getUndoCount(), 0u);
        }
    }
    EXPECT_EQ(p.undo().getUndoCount(), 1u);
    EXPECT_EQ(p.undo().getUndoLabel(), "drag");
    ASSERT_TRUE(p.undo().undo());
    EXPECT_EQ(pictureOf(p.scene), start);
    EXPECT_EQ(p.undo().getRedoLabel(), "drag");
    // A step that changes nothing, or is cancelled, keeps what can be done again.
    NOD_Edit(p.scene, "nothing").set(p.a, "tx", 0.0);
    {
        NOD_Edit edit(p.scene, "cancelled");
        edit.set(p.a, "tx", 9.0);
        EXPECT_TRUE(edit.cancel());
    }
    EXPECT_EQ(p.undo().getRedoCount(), 1u);
    NOD_Edit(p.scene, "something").set(p.a, "tx", 1.0);
    EXPECT_EQ(p.undo().getRedoCount(), 0u);
}

TEST(SceneUndo, ChangesThatNobodyAnnouncedAreCounted)
{
    Pair p;
    NOD_UndoStack &undo = p.undo();
    const auto set = [&](NOD_Node &node, double value) {
        node.getParms().setFloat(value, "v", 0, 0.0, true);
    };
    set(p.a, 1.0);
    EXPECT_EQ(undo.getUnannouncedCount(), 1);
    {
        NOD_Edit edit(p.scene, "step");
        EXPECT_TRUE(edit.change(p.a, "tx"));
        EXPECT_FALSE(edit.change(p.a, "nosuch"));
        p.a.getParms().setFloat(1.0, "t", 2, 0.0, true);
        EXPECT_EQ(undo.getUnannouncedCount(), 1);
        set(p.a, 2.0);
        EXPECT_EQ(undo.getUnannouncedCount(), 2);
        edit.change(p.a, "v"); // too late for that one
        set(p.a, 3.0);
        NOD_Node &made = *p.scene.add("/made", p.item, p.report);
        set(made, 4.0);
    }
    EXPECT_EQ(undo.getUnannouncedCount(), 2);
    EXPECT_EQ(undo.getFirstUnannounced(), "/a/v");
    ASSERT_TRUE(undo.undo());
    EXPECT_EQ(p.value(p.a, "v"), 2.0);
    EXPECT_EQ(undo.getUnannouncedCount(), 2);
    undo.resetUnannounced();
    EXPECT_EQ(undo.getUnannouncedCount(), 0);
}

namespace
{

/// Sets a component as a block does it.
void setInBlock(NOD_Node &node, ZEL_Parm &parm, int component, double value)
{
    NOD_Edit edit(node, std::string("Set ") + parm.getToken());
    edit.change(node, parm);
    parm.setValue(0.0, value, false, component, ZEL_ADDKEY_PENDING, true);
}

} // namespace

TEST(SceneUndo, ANumberThatNothingFollowsIsSetAsInABlock)
{
    constexpr unsigned theSeeds = 30;
    constexpr int theSets = 60;
    int atOnce = 0;
    for (unsigned seed = 1; seed <= theSeeds; ++seed) {
        SceneEdits quick(seed), usual(seed);
        std::mt19937 random(seed);
        for (int i = 0; i < theSets; ++i) {
            const unsigned kind = random() % 16;
            if (kind < 6) {
                ASSERT_EQ(kind < 3 ? quick.undo().undo() : quick.undo().redo(),
                          kind < 3 ? usual.undo().undo() : usual.undo().redo());
            } else if (kind == 6) {
                quick.step();
                usual.step();
            } else if (NOD_Node *const node = quick.scene.find(random() % 2 ? "/a" : "/a/c")) {
                ZEL_Parm &parm = quick.anyParm(*node);
                NOD_Node &same = *usual.scene.find(pathOf(*node).c_str());
                ZEL_Parm &other = usual.anyParm(same);
                ASSERT_STREQ(parm.getToken(), other.getToken());
                if (parm.isMultiParm()) {
                    continue;
                }
                const int component = int(random() % 4);
                const double value = random() % 4 ? quick.number() : 0.0;
                usual.random = quick.random;
                if (component >= parm.getVectorSize()) {
                    EXPECT_FALSE(quick.undo().setNumber(*node, parm, component, 0.0, value));
                    continue;
                }
                if (quick.undo().setNumber(*node, parm, component, 0.0, value)) {
                    ++atOnce;
                } else {
                    setInBlock(*node, parm, component, value);
                }
                setInBlock(same, other, component, value);
            }
            ASSERT_EQ(pictureOf(quick.scene), pictureOf(usual.scene)) << seed << ' ' << i;
            ASSERT_EQ(quick.undo().getUndoCount(), usual.undo().getUndoCount());
            ASSERT_EQ(quick.undo().getRedoCount(), usual.undo().getRedoCount());
            ASSERT_EQ(quick.undo().getUndoLabel(), usual.undo().getUndoLabel());
        }
        EXPECT_EQ(quick.undo().getUnannouncedCount(), 0);
    }
    EXPECT_GT(atOnce, int(theSeeds));
    takeMessages();
}

TEST(SceneUndo, ANumberThatIsFollowedIsLeftToABlock)
{
    Pair p;
    const auto set = [&](NOD_Node &node, const char *name, double value) {
        return p.undo().setNumber(node, *node.getParms().getParmPtr(name), 0, 0.0, value);
    };
    EXPECT_FALSE(set(p.a, "n", 5.0)) << "its callback";
    p.a.setChangeCallback({});
    p.b.setChangeCallback({});
    EXPECT_FALSE(set(p.a, "v", 5.0)) << "/b/v reads it";
    EXPECT_FALSE(set(p.b, "v", 5.0)) << "an expression";
    EXPECT_FALSE(set(p.a, "on", 1.0)) << "no float";
    EXPECT_FALSE(set(p.a, "points", 3.0)) << "a count";
    {
        const NOD_Edit block(p.scene, "block");
        EXPECT_FALSE(set(p.a, "n", 5.0));
    }
    NOD_Edit(p.scene, "lock").lock(p.a, "n", true);
    EXPECT_FALSE(set(p.a, "n", 5.0));
    ASSERT_TRUE(p.undo().undo());
    const std::string start = pictureOf(p.scene);
    ASSERT_TRUE(set(p.a, "n", 5.0));
    EXPECT_EQ(p.undo().getRedoCount(), 0u);
    EXPECT_GT(p.undo().getMemoryUsage(), 0);
    // What wasn't announced is overwritten, and told as it is.
    p.a.getParms().getParmPtr("n")->addChannel(0);
    p.a.getParms().getParmPtr("n")->setLockedFlag(0, true);
    p.a.setChangeCallback(
        [&](NOD_Node &, TRK_CHANGE_TYPE type, int) { p.told.push_back(std::to_string(type)); });
    ASSERT_TRUE(p.undo().undo());
    EXPECT_EQ(pictureOf(p.scene), start);
    EXPECT_EQ(p.take(), "8 4");
    ASSERT_TRUE(p.undo().redo());
    EXPECT_EQ(p.value(p.a, "n"), 5.0);
    // A step that removed its node comes between.
    p.a.setChangeCallback({});
    ASSERT_TRUE(p.scene.remove(p.a, p.report));
    ASSERT_TRUE(p.undo().undo() && p.undo().undo());
    EXPECT_EQ(pictureOf(p.scene), start);
    // Without steps it is set all the same.
    p.undo().setLimits(0, 0);
    ASSERT_TRUE(set(p.a, "n", 6.0));
    EXPECT_EQ(p.value(p.a, "n"), 6.0);
    EXPECT_EQ(p.undo().getUndoCount(), 0u);
    takeMessages();
}

TEST(SceneUndo, ACountThatIsRefusedMakesNoItemsWhenItIsTakenBack)
{
    constexpr std::int64_t theTooMany = 200000;
    Pair p;
    ZEL_Parm &points = *p.a.getParms().getParmPtr("points");
    const ZEL_HandleAnchorPtr anchor(p.a.getParms().getHandleAnchor());
    const auto setRefused = [&] {
        const ZEL_InputBudget budget(0);
        constexpr bool replace = false, propagate = true;
        points.setValue(0.0, theTooMany, replace, 0, ZEL_ADDKEY_PENDING, propagate);
    };
    for (const char *expression : {"1 + 1", "1e6"}) {
        NOD_Edit(p.scene, "expression").expression(p.a, "points", expression);
        p.a.getParms().evalInt("points", 0, 0.0); // which asks for the items
        const int items = points.getMultiParmNumItems();
        NOD_Edit edit(p.scene, "refused");
        edit.change(p.a, points);
        setRefused();
        const std::uint32_t changes = anchor->getChangeCount();
        edit.cancel();
        EXPECT_EQ(points.getMultiParmNumItems(), items);
        EXPECT_EQ(anchor->getChangeCount(), changes) << expression;
    }
    takeMessages();
}

TEST(SceneUndo, RemovedNodesComeBackAsTheSameOnes)
{
    Pair p;
    NOD_UndoStack &undo = p.undo();
    undo.setLimits(2, 1 << 30);
    NOD_Edit(p.scene, "v").set(p.a, "v", 1.0);
    const std::int64_t one = undo.getMemoryUsage();
    ASSERT_TRUE(p.scene.remove(p.a, p.report));
    EXPECT_EQ(p.scene.find("/a"), nullptr);
    EXPECT_GT(undo.getMemoryUsage(), one + p.a.getParms().getMemoryUsage(true));
    ASSERT_TRUE(undo.undo());
    EXPECT_EQ(p.scene.find("/a"), &p.a);
    EXPECT_LT(undo.getMemoryUsage(), one + p.a.getParms().getMemoryUsage(true));
    NOD_Edit(p.scene, "v").set(p.a, "v", 2.0);
    EXPECT_EQ(p.take(), "/a/v:4 /a/v:4") << "with its callback";
    ASSERT_TRUE(undo.undo() && undo.undo());
    EXPECT_EQ(p.value(p.a, "v"), 0.0);
    // The third one drops the oldest; without limits nothing is kept.
    p.scene.setFrameRate(30.0);
    p.scene.remove(p.a, p.report);
    p.scene.remove(p.b, p.report);
    EXPECT_EQ(undo.getUndoCount(), 2u);
    EXPECT_EQ(undo.getUndoLabel(1), "Remove a");
    ASSERT_TRUE(undo.undo() && undo.undo());
    EXPECT_EQ(p.scene.getFrameRate(), 30.0);
    ASSERT_TRUE(undo.setLimits(0, 0));
    EXPECT_EQ(undo.getMemoryUsage(), 0);
    p.scene.remove(p.a, p.report);
    EXPECT_FALSE(undo.undo());
}

TEST(SceneUndo, ACallbackThatChangesTheTreeWhileItRestoresEndsAllSteps)
{
    Pair p;
    {
        NOD_Edit edit(p.scene, "step");
        edit.set(p.a, "v", 1.0);
        edit.set(p.b, "n", 1);
    }
    bool removed = false;
    p.a.setChangeCallback([&](NOD_Node &, TRK_CHANGE_TYPE, int) {
        EXPECT_TRUE(p.undo().isRestoring());
        EXPECT_FALSE(p.undo().undo());
        removed = removed || p.scene.remove(p.b, p.report);
        NOD_Edit(p.scene, "by a callback").set(*p.scene.find("/a/c"), "v", 8.0);
    });
    ASSERT_TRUE(p.undo().undo());
    EXPECT_TRUE(removed);
    EXPECT_EQ(p.undo().getUndoCount() + p.undo().getRedoCount(), 0u);
    EXPECT_EQ(p.value(*p.scene.find("/a/c"), "v"), 8.0);
    EXPECT_EQ(p.scene.find("/b"), nullptr);
}

TEST(SceneUndo, PlainEditsSayWhatTheyRefuse)
{
    Pair p;
    NOD_Edit edit(p.scene, "edits");
    EXPECT_TRUE(edit.set(p.a, "mode", "spot"));
    EXPECT_EQ(p.a.getParms().evalInt("mode", 0, 0.0), 2);
    EXPECT_TRUE(edit.set(p.a, "mode", "1"));
    EXPECT_FALSE(edit.set(p.a, "mode", "nosuch"));
    EXPECT_FALSE(edit.set(p.a, "v", "text"));
    EXPECT_FALSE(edit.set(p.a, "text", 1.0));
    EXPECT_FALSE(edit.set(p.a, "nosuch", 1));
    EXPECT_TRUE(edit.set(p.a, "t", {1.0, 2.0, 3.0}));
    EXPECT_FALSE(edit.set(p.a, "t", {1.0, 2.0}));
    EXPECT_TRUE(edit.lock(p.a, "ty", true));
    EXPECT_FALSE(edit.set(p.a, "ty", 5.0) || edit.revert(p.a, "ty"));
    EXPECT_TRUE(edit.revert(p.a, "t"));
    EXPECT_EQ(p.value(p.a, "t") + p.a.getParms().evalFloat("t", 1, 0.0), 2.0);
    EXPECT_FALSE(edit.removeKey(p.a, "v", 0.0) || edit.removeChannel(p.a, "v"));
    EXPECT_TRUE(edit.key(p.a, "v", 1.0, 2.0) && edit.key(p.a, "v", 2.0, 4.0));
    EXPECT_FALSE(edit.moveKey(p.a, "v", 1.0, 2.0) || edit.moveKey(p.a, "v", 3.0, 5.0));
    EXPECT_TRUE(edit.moveKey(p.a, "v", 2.0, 3.0) && edit.removeKey(p.a, "v", 1.0));
    EXPECT_FALSE(edit.removeKey(p.a, "v", 3.0)) << "the last one";
    EXPECT_TRUE(edit.removeChannel(p.a, "v"));
    EXPECT_EQ(p.value(p.a, "v"), 4.0);
    EXPECT_TRUE(edit.key(p.a, "mode", 1.0, 1.7));
    EXPECT_EQ(p.a.getParms().evalInt("mode", 0, 1.0), 2);
    EXPECT_FALSE(edit.key(p.a, "mode", 1.0, 1e300) || edit.key(p.a, "mode", 1.0, std::nan("")));
    EXPECT_TRUE(edit.alias(p.a, "tx", "height") && edit.set(p.a, "height", 7));
    EXPECT_FALSE(edit.alias(p.a, "tz", "height") || edit.alias(p.a, "tz", "no name"));
    EXPECT_TRUE(edit.insertItem(p.a, "points", 2));
    EXPECT_FALSE(edit.insertItem(p.a, "points", 4) || edit.removeItem(p.a, "points", 3) ||
                 edit.moveItem(p.a, "points", 0, 3) || edit.insertItem(p.a, "v", 0));
    edit.set(p.a, "label1", "first");
    EXPECT_TRUE(edit.moveItem(p.a, "points", 0, 2) && edit.removeItem(p.a, "points", 0));
    KIT_String label;
    p.a.getParms().evalString(label, "label2", 0, 0.0);
    EXPECT_STREQ(label.nonNullStr(), "first");
    EXPECT_TRUE(edit.cancel());
    EXPECT_EQ(p.undo().getUnannouncedCount(), 0);
    takeMessages();
}

TEST(SceneUndo, LimitsHoldForWhatIsDoneAgain)
{
    Pair p;
    for (int i = 1; i <= 5; ++i) {
        NOD_Edit(p.scene, "v").set(p.a, "v", double(i));
    }
    while (p.undo().undo()) {
    }
    ASSERT_TRUE(p.undo().setLimits(3, 1 << 20));
    while (p.undo().redo()) {
    }
    EXPECT_EQ(p.undo().getUndoCount(), 3u);
    EXPECT_EQ(p.value(p.a, "v"), 5.0);
}

TEST(SceneUndo, AKeyKeepsWhatItChangesNotItsChannel)
{
    Pair p;
    const auto keep = [&](int from, int end) {
        const std::int64_t before = p.undo().getMemoryUsage();
        for (int i = from; i < end; ++i) {
            NOD_Edit(p.scene, "key").key(p.a, "v", double(i), double(i % 7));
        }
        return p.undo().getMemoryUsage() - before;
    };
    const std::int64_t few = keep(0, 500);
    EXPECT_LT(keep(500, 1000), few + few / 2);
    const std::int64_t all = p.undo().getMemoryUsage();
    for (int i = 1000; i < 1500; ++i) {
        ASSERT_TRUE(p.undo().undo() && p.undo().redo());
        keep(i, i + 1);
    }
    EXPECT_LT(p.undo().getMemoryUsage() - all, 2 * few);
    const std::string last = pictureOf(p.scene);
    for (int i = 0; i < 1499; ++i) {
        ASSERT_TRUE(p.undo().undo());
    }
    EXPECT_EQ(p.a.getParms().getParmPtr("v")->getChannel(0)->getNKeys(), 1);
    while (p.undo().redo()) {
    }
    EXPECT_EQ(pictureOf(p.scene), last);
    // A step that is left alone counts what it shared with the others: all of the channel.
    p.undo().setLimits(1, all);
    EXPECT_GT(p.undo().getMemoryUsage(), 1500 * std::int64_t(sizeof(double)));
}

TEST(SceneUndo, VariablesThatWereClearedComeBack)
{
    Pair p;
    p.a.setVariable("SIDE", "left");
    p.a.clearVariables();
    EXPECT_EQ(p.undo().getUndoLabel(), "Clear variables");
    KIT_String value;
    EXPECT_FALSE(p.a.getVariable("SIDE", value));
    ASSERT_TRUE(p.undo().undo());
    EXPECT_TRUE(p.a.getVariable("SIDE", value) && value == "left");
}

TEST(SceneUndo, CopiesOfScenesAreTheSame)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SceneEdits made(seed);
        for (int i = made.below(60); i > 0; --i) {
            made.step();
        }
        NOD_Scene copy;
        NOD_Report report;
        copy.add("/former", nullptr, report);
        copy.getRoot().setVariable("FORMER", "1");
        copy.copyFrom(made.scene);
        const std::string picture = pictureOf(made.scene);
        EXPECT_EQ(pictureOf(copy), picture) << seed;
        EXPECT_EQ(copy.getUndo().getUndoCount(), 0u);
        EXPECT_EQ(copy.find("/former"), nullptr);
        for (const NOD_Node *node : made.nodes()) {
            EXPECT_EQ(copy.find(pathOf(*node).c_str())->getInterface(), node->getInterface());
        }
        copy.clear();
        EXPECT_EQ(pictureOf(made.scene), picture) << seed;
        takeMessages();
    }
}

TEST_F(PresetFolders, APresetIsAStep)
{
    Pair p;
    ZEL_PresetInfo &presets = *p.a.getPresets();
    NOD_Edit(p.scene, "v").key(p.a, "v", 0.0, 5.0);
    ASSERT_TRUE(presets.savePresetToDir(&p.a.getParms(), "mine", in("a").c_str()));
    ASSERT_TRUE(p.undo().undo());
    const std::string before = pictureOf(p.scene);
    EXPECT_FALSE(p.a.loadPreset("nosuch"));
    ASSERT_TRUE(p.a.loadPreset("mine"));
    EXPECT_EQ(p.value(p.a, "v"), 5.0);
    EXPECT_EQ(p.undo().getUndoLabel(), "Load preset mine");
    ASSERT_TRUE(p.undo().undo());
    EXPECT_EQ(pictureOf(p.scene), before);
    EXPECT_EQ(p.undo().getUnannouncedCount(), 0);
}

/// Channels of items stand before the values that make the items; a preset may have them behind, too.
TEST_F(PresetFolders, APresetBringsBackChannelsAndItems)
{
    NOD_Report report;
    const auto blocks = NOD_Interface::fromText(
        "{ name presetblocks parm { name t type vector size 3 } "
        "multiparm { name items default { 1 } parm { name w# default { \"$F * 2\" } } "
        "parm { name s# type string } } }",
        "presetblocks", report);
    NOD_Scene scene;
    NOD_Node &a = *scene.add("/a", blocks, report);
    const auto express = [&](const char *token, int k, const char *text) {
        ASSERT_TRUE(a.getParms().getParmPtr(token)) << token;
        a.getParms().getParmPtr(token)->setExpression(0.0, text, TRK_LANGUAGE_NATIVE, k, true, true,
                                                      true);
    };
    a.getParms().setInt(3, "items", 0, 0.0, true);
    a.getParms().evalInt("items", 0, 0.0);
    express("t", 1, "$F");
    express("w2", 0, "ch('ty') + 1");
    express("s3", 0, "chs('s1')");
    a.getParms().getParmPtr("w3")->setValue(0.0, 5.0, false, 0, ZEL_ADDKEY_FORCE,
                                            ZEL_KEYSET_PREFERENCE);
    std::ostringstream os;
    ASSERT_TRUE(a.getPresets()->savePreset(&a.getParms(), os));
    const std::string text = os.str();
    const std::size_t channels = text.find("channels\n");
    const std::size_t values = text.find("values\n");
    ASSERT_LT(channels, values);
    const std::string other =
        text.substr(0, channels) + text.substr(values) + text.substr(channels, values - channels);
    const auto contents = [&](NOD_Node &node) {
        const auto sections = NOD_NodeSections::take(node, NOD_NodeSections::Form::TEXT, report);
        return sections.channels + sections.values;
    };
    const std::string expected = contents(a);
    for (const std::string &preset : {text, other}) {
        const std::string path = in("a") + "/one.preset";
        writeFile(path, preset);
        NOD_Node &b = *scene.add("/b", blocks, report);
        EXPECT_TRUE(b.loadPresetFile(path.c_str()));
        EXPECT_EQ(difference(expected, contents(b)), "");
        EXPECT_EQ(KITgetErrorManager().entries(), 0);
        scene.getGraph().update(0.0);
        b.getParms().setFloat(8.0, "ty", 0, 0.0, true);
        scene.remove(b, report);
    }
    EXPECT_TRUE(report.isEmpty()) << report.asText();

    // What is loaded is as it was saved, whatever new nodes begin with.
    std::ostringstream saved;
    NOD_SaveOptions onlyChanged;
    onlyChanged.values = NOD_SaveOptions::Values::CHANGED;
    scene.add("/new", blocks, report);
    ASSERT_TRUE(NOD_SceneFile::save(scene, saved, onlyChanged, report));
    const std::string fresh = contents(*scene.find("/new"));
    ASSERT_TRUE(
        a.getPresets()->savePresetToDir(&a.getParms(), "Permanent Defaults", in("a").c_str()));
    EXPECT_EQ(contents(*scene.add("/preset", blocks, report)), expected);
    std::istringstream is(saved.str());
    ASSERT_TRUE(NOD_SceneFile::load(scene, is, "scene", {}, report));
    EXPECT_EQ(difference(fresh, contents(*scene.find("/new"))), "");
}
