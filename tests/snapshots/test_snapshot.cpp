// Snapshots: each answers what the scene answered when it was taken, whatever happens to the scene afterwards.

#include <node/SceneEdits.h>

#include <CON/CON_Manager.h>
#include <EVL/EVL.h>
#include <NOD/NOD_Snapshot.h>
#include <TRK/TRK_Manager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <tuple>
#include <utility>

namespace
{

constexpr double theTimes[] = {0.0, 1.0 / 24.0, 1.3, -1.0, 2.0};

std::string bitsOf(double number)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof(bits));
    return std::to_string(number) + ":" + std::to_string(bits);
}

/// What the scene says of each component at each time, a line each.
std::string answersOf(NOD_Scene &scene)
{
    const int thread = BASgetSTID();
    const KIT_ErrorManager::Scope quiet(thread);
    std::string all;
    const auto add = [&](NOD_Node &node, const auto &self) -> void {
        for (int i = 0; i < node.getParms().getEntries(); ++i) {
            const ZEL_Parm &parm = *node.getParms().getParmPtr(i);
            for (int k = 0; k < parm.getVectorSize(); ++k) {
                for (const double time : theTimes) {
                    double number = 0.0;
                    std::int64_t whole = 0;
                    KIT_String text;
                    parm.getValue(time, number, k, thread);
                    parm.getValue(time, whole, k, thread);
                    parm.getValue(time, text, k, true, thread);
                    all += pathOf(node) + " " + parm.getToken() + " " + std::to_string(k) + " " +
                           std::to_string(time) + " " + bitsOf(number) + " " +
                           std::to_string(whole) + " " + text.nonNullStr() + "\n";
                }
            }
        }
        for (const auto &child : node.getChildren()) {
            self(*child, self);
        }
    };
    add(scene.getRoot(), add);
    EVL::theErrNo[thread] = EVL::EVL_OK;
    return all;
}

std::string answersOf(const NOD_Snapshot &snapshot)
{
    const int thread = BASgetSTID();
    std::string all;
    for (const std::string &path : snapshot.getPaths()) {
        for (const NOD_SnapshotHandle &handle : snapshot.findAll(path)) {
            for (const double time : theTimes) {
                KIT_String text;
                snapshot.getText(handle, time, thread, text);
                all += path + " " + snapshot.getToken(handle) + " " +
                       std::to_string(snapshot.getComponent(handle)) + " " + std::to_string(time) +
                       " " + bitsOf(snapshot.getNumber(handle, time, thread)) + " " +
                       std::to_string(snapshot.getInteger(handle, time, thread)) + " " +
                       text.nonNullStr() + "\n";
            }
        }
    }
    EVL::theErrNo[thread] = EVL::EVL_OK;
    return all;
}

/// The first line that differs.
std::string difference(const std::string &live, const std::string &taken)
{
    std::istringstream lives(live), takens(taken);
    std::string a, b;
    while (bool(std::getline(lives, a)) | bool(std::getline(takens, b))) {
        if (a != b) {
            return "live  " + a + "\ntaken " + b;
        }
    }
    return "";
}

struct Kept
{
    std::shared_ptr<const NOD_Snapshot> snapshot;
    std::string answers;
};

} // namespace

TEST(Snapshot, AnswersWhatTheSceneDid)
{
    std::deque<Kept> kept;
    std::size_t shared = 0, nodes = 0;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        SceneEdits program(seed);
        for (int i = 0; i < 250; ++i) {
            switch (program.below(8)) {
            case 0: program.undo().undo(); break;
            case 1: program.undo().redo(); break;
            case 2:
                if (!program.nodes().empty()) {
                    NOD_Node &node = program.anyNode();
                    program.undo().setNumber(node, program.anyParm(node), 0, 0.0, program.number());
                }
                break;
            default: program.step();
            }
            answersOf(program.scene); // counts that are read make their items
            const std::string live = answersOf(program.scene);
            const std::shared_ptr<const NOD_Snapshot> snapshot = program.scene.snapshot();
            ASSERT_EQ(difference(live, answersOf(*snapshot)), "")
                << "seed " << seed << " step " << i << program.what;
            if (!kept.empty()) {
                shared += snapshot->countShared(*kept.back().snapshot);
                nodes += snapshot->getPaths().size();
            }
            kept.push_back({snapshot, live});
            if (kept.size() > 20) {
                const Kept &one = kept[std::size_t(program.below(20))];
                ASSERT_EQ(difference(one.answers, answersOf(*one.snapshot)), "")
                    << "kept, step " << i;
                kept.pop_front();
            }
        }
    }
    // Their scenes are gone.
    for (const Kept &one : kept) {
        EXPECT_EQ(difference(one.answers, answersOf(*one.snapshot)), "");
    }
    EXPECT_GT(shared * 2, nodes);
    takeMessages();
}

/// Their numbers lie side by side.
TEST(Snapshot, NeighboursHaveNumbersOfTheirOwn)
{
    constexpr int theNodes = 5000; // more than one piece of memory
    NOD_Scene scene;
    NOD_Report report;
    const auto type =
        NOD_Interface::fromText("{ name a parm { name t type vector size 3 } }", "a", report);
    for (int i = 0; i < theNodes; ++i) {
        NOD_Node *const node = scene.add("/n" + std::to_string(i), type, report);
        for (int k = 0; k < 3; ++k) {
            node->getParms().setFloat(3.0 * i + k + 1.0, "t", k, 0.0, false);
        }
    }
    const auto snapshot = scene.snapshot();
    double expected = 0.0;
    for (int i = 0; i < theNodes; ++i) {
        for (int k = 0; k < 3; ++k) {
            const NOD_SnapshotHandle handle = snapshot->find("/n" + std::to_string(i), "t", k);
            ASSERT_EQ(snapshot->getNumber(handle, 0.0, BASgetSTID()), ++expected);
        }
    }
}

TEST(Snapshot, SaysHowLongValuesHold)
{
    const int thread = BASgetSTID();
    long inside = 0, held = 0, moving = 0;
    for (unsigned seed = 11; seed <= 14; ++seed) {
        SceneEdits program(seed);
        for (int i = 0; i < 120; ++i) {
            program.step();
            if (i % 10 != 9) {
                continue;
            }
            answersOf(program.scene);
            const std::shared_ptr<const NOD_Snapshot> snapshot = program.scene.snapshot();
            std::set<std::tuple<std::string, std::string, int>> listed;
            for (const NOD_SnapshotHandle &handle : snapshot->findChanged(0.3, 1.9, thread)) {
                listed.emplace(snapshot->getPath(handle), snapshot->getToken(handle),
                               snapshot->getComponent(handle));
            }
            const auto answer = [&](const NOD_SnapshotHandle &handle, double time) {
                KIT_String text;
                snapshot->getText(handle, time, thread, text);
                return bitsOf(snapshot->getNumber(handle, time, thread)) + text.nonNullStr();
            };
            for (const std::string &path : snapshot->getPaths()) {
                for (const NOD_SnapshotHandle &handle : snapshot->findAll(path)) {
                    const double time = double(program.below(300)) / 100.0 - 0.5;
                    const TRK_Interval interval = snapshot->getHeld(handle, time, thread);
                    ASSERT_TRUE(interval.contains(time));
                    const std::string value = answer(handle, time);
                    held += interval.isForever();
                    moving += interval == TRK_Interval::at(time);
                    for (int k = 0; k < 12; ++k) {
                        const double at = k == 0   ? std::max(interval.first, -9.0)
                                          : k == 1 ? std::min(interval.last, 9.0)
                                                   : double(program.below(600)) / 100.0 - 1.0;
                        if (interval.contains(at)) {
                            ++inside;
                            ASSERT_EQ(answer(handle, at), value)
                                << path << " " << snapshot->getToken(handle) << " at " << time
                                << " and " << at;
                        }
                    }
                    const bool listedFlag = listed.count({path, snapshot->getToken(handle),
                                                          snapshot->getComponent(handle)}) > 0;
                    ASSERT_TRUE(listedFlag || answer(handle, 0.3) == answer(handle, 1.9))
                        << path << " " << snapshot->getToken(handle);
                }
            }
            EXPECT_GE(program.scene.changedBetween(0.3, 1.9).size(), listed.size());
            EXPECT_TRUE(program.scene.changedBetween(0.3, 0.3).size() <=
                        program.scene.changedBetween(0.3, 1.9).size());
        }
    }
    EXPECT_GT(inside, 10000);
    EXPECT_GT(held, 1000);
    EXPECT_GT(moving, 20);
    EVL::theErrNo[thread] = EVL::EVL_OK;
    takeMessages();
}

TEST(Snapshot, IsReadByThreadsWhileTheSceneIsEdited)
{
    // One thread edits and takes; the others read what they have got, and let go of it.
    struct Shelf
    {
        std::mutex mutex;
        std::shared_ptr<const Kept> kept;
        bool endFlag = false;
    } shelf;
    std::atomic<int> rounds{0};
    std::atomic<bool> sameFlag{true};
    const auto read = [&] {
        for (;;) {
            std::shared_ptr<const Kept> kept;
            {
                const std::lock_guard<std::mutex> lock(shelf.mutex);
                if (shelf.endFlag) {
                    return;
                }
                kept = shelf.kept;
            }
            if (kept && answersOf(*kept->snapshot) != kept->answers) {
                sameFlag = false;
            }
            rounds += kept != nullptr;
        }
    };
    std::vector<std::thread> readers;
    {
        SceneEdits program(21);
        answersOf(program.scene);
        for (int i = 0; i < 3; ++i) {
            readers.emplace_back(read);
        }
        for (int i = 0; i < 60 || (rounds < 20 && i < 5000); ++i) {
            program.step();
            answersOf(program.scene);
            auto kept = std::make_shared<const Kept>(
                Kept{program.scene.snapshot(), answersOf(program.scene)});
            const std::lock_guard<std::mutex> lock(shelf.mutex);
            shelf.kept = std::move(kept);
        }
    }
    // The scene is gone.
    const int before = rounds;
    while (rounds < before + 6) {
        std::this_thread::yield();
    }
    {
        const std::lock_guard<std::mutex> lock(shelf.mutex);
        shelf.endFlag = true;
    }
    for (std::thread &reader : readers) {
        reader.join();
    }
    EXPECT_TRUE(sameFlag);
    takeMessages();
}

TEST(Snapshot, SamplesRowsOnAllCores)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the workers' library isn't built for this sanitizer";
#endif
    SceneEdits program(31);
    for (int i = 0; i < 60; ++i) {
        program.step();
    }
    answersOf(program.scene);
    const std::shared_ptr<const NOD_Snapshot> snapshot = program.scene.snapshot();
    std::vector<NOD_SnapshotHandle> handles;
    for (const std::string &path : snapshot->getPaths()) {
        for (const NOD_SnapshotHandle &handle : snapshot->findAll(path)) {
            handles.push_back(handle);
        }
    }
    std::vector<double> times(200);
    for (std::size_t i = 0; i < times.size(); ++i) {
        times[i] = double(i) / 24.0 - 1.0;
    }
    std::vector<double> rows(handles.size() * times.size());
    snapshot->sample(handles.data(), handles.size(), times.data(), times.size(), rows.data());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const double value = snapshot->getNumber(handles[i % handles.size()],
                                                 times[i / handles.size()], BASgetSTID());
        ASSERT_EQ(bitsOf(rows[i]), bitsOf(value));
    }
    EVL::theErrNo[BASgetSTID()] = EVL::EVL_OK;
    takeMessages();
}

TEST(Snapshot, LeavesForeignValuesToWhoIsNamed)
{
    struct Owner : NOD_SnapshotOwner
    {
        bool evaluateNumber(const std::string &path, const KIT_StringRef &token, int component,
                            double time, int, double &value) override
        {
            asked += path + " " + token.nonNullStr() + " ";
            value = 10.0 * time + component;
            return !goneFlag;
        }
        bool evaluateText(const std::string &, const KIT_StringRef &, int, double, int,
                          KIT_String &value) override
        {
            value = "told";
            return !goneFlag;
        }
        std::string asked;
        bool goneFlag = false;
    };
    const int thread = BASgetSTID();
    SceneEdits program(1);
    NOD_Node &node = *program.scene.find("/a");
    {
        NOD_Edit edit(program.scene, "start");
        edit.set(node, "text", "$ZEL_TEST_PLACE and $F");
    }
    node.getParms().getParmPtr("v")->setExpression(0.0, "1 + 1", TRK_LANGUAGE_PYTHON, 0, false,
                                                   true, true);
    CON_Manager::getContext().setVariable("ZEL_TEST_PLACE", "here");

    NOD_SnapshotOptions options;
    const auto owner = std::make_shared<Owner>();
    options.owner = owner;
    options.python = NOD_SnapshotOptions::Policy::OWNER;
    const auto asked = program.scene.snapshot(options);
    options.python = options.variables = NOD_SnapshotOptions::Policy::REFUSED;
    const auto refused = program.scene.snapshot(options);
    const auto present = program.scene.snapshot();
    CON_Manager::getContext().setVariable("ZEL_TEST_PLACE", "there");

    std::string kinds;
    for (const NOD_Snapshot::Foreign &foreign : present->getForeign()) {
        kinds += present->getPath(foreign.handle) + "/" + present->getToken(foreign.handle) + ":" +
                 std::to_string(int(foreign.kind)) + " ";
    }
    EXPECT_EQ(kinds, "/a/v:1 /a/text:4 ");
    const auto text = [&](const NOD_Snapshot &snapshot) {
        KIT_String value;
        snapshot.getText(snapshot.find("/a", "text", 0), 1.0, thread, value);
        return value.toStdString();
    };
    EXPECT_EQ(text(*present), "here and 25");
    EXPECT_EQ(text(*refused), "$ZEL_TEST_PLACE and 25");
    EXPECT_EQ(asked->getNumber(asked->find("/a", "v", 0), 0.5, thread), 5.0);
    EXPECT_EQ(owner->asked, "/a v ");
    EXPECT_EQ(EVL::theErrNo[thread], EVL::EVL_OK);
    EXPECT_EQ(refused->getNumber(refused->find("/a", "v", 0), 0.5, thread), 0.0);
    EXPECT_EQ(std::exchange(EVL::theErrNo[thread], EVL::EVL_OK), EVL::EVL_REFUSED);
    owner->goneFlag = true;
    EXPECT_EQ(asked->getNumber(asked->find("/a", "v", 0), 0.5, thread), 0.0);
    EXPECT_EQ(std::exchange(EVL::theErrNo[thread], EVL::EVL_OK), EVL::EVL_REFUSED);
    takeMessages();
}

TEST(Snapshot, KeepsNamesAndVariables)
{
    const int thread = BASgetSTID();
    SceneEdits program(1);
    NOD_Scene &scene = program.scene;
    NOD_Report report;
    const auto text = [&](const NOD_Snapshot &snapshot, const char *path) {
        KIT_String value;
        snapshot.getText(snapshot.find(path, "text", 0), 0.5, thread, value);
        return value.toStdString();
    };
    const auto paths = [](const NOD_Snapshot &snapshot) {
        std::string all;
        for (const std::string &path : snapshot.getPaths()) {
            all += path + " ";
        }
        return all;
    };
    scene.getRoot().setVariable("SHOT", "one");
    {
        NOD_Edit edit(scene, "start");
        edit.set(*scene.find("/a/c"), "text", "$OS of $SHOT at $FPS");
        edit.alias(*scene.find("/a/c"), "ty", "height");
        edit.key(*scene.find("/a/c"), "ty", 0.0, 1.0);
        edit.key(*scene.find("/a/c"), "ty", 1.0, 2.0);
    }
    const auto first = scene.snapshot();
    scene.rename(*scene.find("/a"), "x", report);
    scene.find("/x")->setVariable("SHOT", "two");
    scene.setFrameRate(30.0);
    const auto second = scene.snapshot();
    scene.remove(*scene.find("/b"), report);
    const auto third = scene.snapshot();
    scene.getUndo().undo();
    const auto fourth = scene.snapshot();
    scene.remove(*scene.find("/b"), report);
    scene.snapshot();
    scene.add("/d", program.other, report); // in the place of the one that has gone
    const auto fifth = scene.snapshot();

    const NOD_SnapshotHandle height = first->findChannel("/a/c", "height");
    EXPECT_EQ(first->getToken(height) + std::to_string(first->getComponent(height)), "t1");
    EXPECT_TRUE(first->getChannel(height) && first->getChannel(height)->getNKeys() == 2);
    EXPECT_FALSE(first->findChannel("/a/c", "width"));
    EXPECT_EQ(text(*first, "/a/c"), "c of one at 24");
    EXPECT_EQ(text(*second, "/x/c"), "c of two at 30");
    EXPECT_FALSE(second->find("/a/c", "text", 0));
    EXPECT_EQ(paths(*first), "/ /a /a/c /b ");
    EXPECT_EQ(paths(*third), "/ /x /x/c ");
    EXPECT_EQ(paths(*fourth), "/ /x /x/c /b ");
    EXPECT_EQ(paths(*fifth), "/ /x /x/c /d ");
    EXPECT_EQ(text(*fourth, "/b"), "a text");
    EXPECT_EQ(text(*fifth, "/d"), "another");
    EXPECT_EQ(text(*third, "/x/c"), "c of two at 30");
    takeMessages();
}

TEST(Snapshot, FollowsReferencesToNodesWithOtherParameters)
{
    SceneEdits program(1);
    {
        NOD_Edit edit(program.scene, "start");
        edit.set(*program.scene.find("/b"), "ramp2pos", 0.75);
        edit.expression(*program.scene.find("/a"), "v", "ch('../b/ramp2pos') + ch('n')");
    }
    const auto value = [](const NOD_Snapshot &snapshot) {
        return snapshot.getNumber(snapshot.find("/a", "v", 0), 0.0, BASgetSTID());
    };
    const auto first = program.scene.snapshot();
    NOD_Edit(program.scene, "remove").removeItem(*program.scene.find("/b"), "points", 0);
    const auto second = program.scene.snapshot();
    EXPECT_EQ(second->countShared(*first), first->getPaths().size() - 1);
    EXPECT_EQ(value(*first), 3.75);
    EXPECT_EQ(value(*second), 3.75);
}
