// Snapshots of a list, and the undo stack of a node.

#include <common/EventLog.h>
#include <persistence/StreamList.h>
#include <undo/UndoNode.h>

#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Snapshots.h>
#include <NOD/NOD_UndoStack.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

/// A snapshot made by hand, of floats: "f=5 n=3".
ZEL_UndoDataArray handMade(const std::string &pairs)
{
    ZEL_UndoDataArray data;
    std::istringstream is(pairs);
    for (std::string pair; is >> pair;) {
        const std::size_t equals = pair.find('=');
        data.emplace(KIT_StringHolder(pair.substr(0, equals).c_str()),
                     std::make_shared<ZEL_InstanceUndoData>("\t[ 0\tlocks=0 ]\t(\t" +
                                                            pair.substr(equals + 1) + "\t)\n"));
    }
    return data;
}

/// The lines of `now` that differ from `then`. Without regard to order if parameters were added and
/// removed: a restored one is placed after all others. Spare parameters that were added later stay.
std::string difference(const std::string &then, const std::string &now)
{
    std::vector<std::string> a = linesOf(then), b = linesOf(now);
    const auto tokenOf = [](const std::string &line) { return line.substr(0, line.find('\t')); };
    const auto tokensOf = [&](const std::vector<std::string> &lines) {
        std::vector<std::string> tokens;
        std::transform(lines.begin(), lines.end(), std::back_inserter(tokens), tokenOf);
        return tokens;
    };
    std::vector<std::string> known = tokensOf(a);
    const auto isLateSpare = [&](const std::string &line) {
        return line.compare(0, 6, "spare_") == 0 &&
               std::find(known.begin(), known.end(), tokenOf(line)) == known.end();
    };
    b.erase(std::remove_if(b.begin(), b.end(), isLateSpare), b.end());
    if (known != tokensOf(b)) {
        std::sort(a.begin(), a.end());
        std::sort(b.begin(), b.end());
    }
    std::string out;
    for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
        const std::string x = i < a.size() ? a[i] : "", y = i < b.size() ? b[i] : "";
        out += x == y ? "" : x + " -> " + y + "\n";
    }
    return out;
}

} // namespace

TEST(Undo, AnySnapshotComesBackAfterAnyEdits)
{
    constexpr int theSteps = 20000;
    UndoNode p;
    std::vector<std::pair<std::string, ZEL_UndoDataArray>> taken;
    int restored = 0, changed = 0, structures = 0;
    for (int step = 0; step < theSteps; ++step) {
        p.edit(UNDO_EDIT_SPARES);
        if (step % 10 == 0) {
            taken.emplace_back(p.text(), p.snapshot());
        }
        if (step % 7 == 0) {
            const auto &[text, data] = taken[std::size_t(p.below(int(taken.size())))];
            ++restored;
            changed += !difference(text, p.text()).empty();
            structures += linesOf(text).size() != linesOf(p.text()).size();
            p.parms().loadUndoData(data, "undo", nullptr);
            ASSERT_EQ(difference(text, p.text()), "") << step;
            ASSERT_EQ(takeTexts(), "") << step;
        }
    }
    // The script had an effect.
    EXPECT_GT(changed, restored * 9 / 10);
    EXPECT_GT(structures, restored / 3);
}

TEST(Undo, ARestoreMakesAndRemovesNoMoreThanDiffers)
{
    constexpr int theSteps = 4000;
    // Room for no default of the blocks in an item.
    const ScopedSetting setting(KIT_ENV_MAX_STREAM_ITEMS, 1);
    UndoNode p;
    std::vector<ZEL_UndoDataArray> taken;
    int differing = 0;
    for (int step = 0; step < theSteps; ++step) {
        p.edit(0);
        if (step % 10 == 0) {
            taken.push_back(p.snapshot());
        }
        if (step % 7 != 0) {
            continue;
        }
        const ZEL_UndoDataArray &data = taken[std::size_t(p.below(int(taken.size())))];
        int present = 0, missing = 0;
        for (const auto &[token, undo] : data) {
            ++(p.parms().getParmPtr(token) ? present : missing);
        }
        const int surplus = p.parms().getEntries() - present;
        differing += missing > 0 || surplus > 0;
        const std::uint32_t before = p.parms().getAddRemoveCount();
        p.parms().loadUndoData(data, nullptr, nullptr);
        // An item counts once more.
        ASSERT_LE(p.parms().getAddRemoveCount() - before, unsigned(2 * missing + surplus)) << step;
        ASSERT_EQ(takeTexts(), "") << step;
    }
    EXPECT_GT(differing, theSteps / 7 / 3);
}

TEST(Undo, SnapshotsAreInListOrderAndMayOutliveTheList)
{
    ZEL_Template nothing[] = {ZEL_Template()};
    ZEL_ParmList empty(nothing, nullptr, nullptr, nullptr, "", false);
    ZEL_UndoDataArray data;
    empty.saveUndoData(data);
    empty.saveSingleUndoData(nullptr, data);
    EXPECT_EQ(data.size(), 0);

    std::string text, tokens;
    {
        StreamList p;
        p.fill();
        text = p.save();
        p.list.saveUndoData(data);
        for (const auto &[token, undo] : data) {
            tokens += token.c_str() + std::string(" ");
        }
        p.list.saveSingleUndoData(p.list.getParmPtr("f"), data);
    }
    EXPECT_EQ(tokens, "t f n rule on text note press dict points pt1 size1 weights1 pt2 size2 "
                      "weights2 w2_1 w2_2 ");
    ASSERT_EQ(data.last().first, KIT_StringHolder("f"));
    StreamList q;
    q.list.loadUndoData(data, nullptr, nullptr);
    EXPECT_EQ(q.save(), text);
    EXPECT_EQ(takeTexts(), "");
}

TEST(Undo, NamesAreFoundAsALoadFindsThem)
{
    struct Case
    {
        const char *snapshot;
        bool ownerFlag;
        const char *offered, *messages, *contents;
    };
    const char *const start = "t=0,0,0 f=0 n=0 points=0";
    const Case cases[] = {
        {"f=5", true, "", "", "t=0,0,0 f=5 n=0 points=0"},
        // The item is made before the owner is asked.
        {"size2=4", true, "", "",
         "t=0,0,0 f=0 n=0 points=2 pt1=0,0,0 size1=0 weights1=0 pt2=0,0,0 "
         "size2=4 weights2=0"},
        {"size0=4 f=5", true, "size0", "Common 7 Parameter List Load Conversion Error (undo) - why",
         "t=0,0,0 f=5 n=0 points=0"},
        {"old=3", true, "old", "Common 7 Parameter List Load Conversion Error (undo) - why",
         "t=0,0,0 f=3 n=0 points=0"},
        // A mapping isn't followed twice.
        {"older=3", true, "older", "Common 7 Parameter List Load Conversion Error (undo) - why",
         start},
        {"other=7", true, "", "", start},
        {"foo=1 size0=4 old=3 f=6", false, "", "", "t=0,0,0 f=6 n=0 points=0"},
        {"=1", false, "", "", start},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.snapshot);
        LoadOwner owner;
        owner.renamed = {{"old", "f"}, {"older", "old"}};
        owner.accepts = false;
        owner.errors = "why";
        StreamList p(c.ownerFlag ? &owner : nullptr);
        OneParm fallback(ZEL_FLT, 1, "other");
        fallback.build();
        p.list.loadUndoData(handMade(c.snapshot), "undo", fallback.list.get());
        EXPECT_EQ(p.contents(), c.contents);
        EXPECT_EQ(owner.offered, c.offered);
        EXPECT_EQ(takeTexts(), c.messages);
        EXPECT_EQ(fallback.eval(), c.snapshot == std::string("other=7") ? 7.0 : 0.0);
        p.list.clearParmOwner();
    }
}

TEST(Undo, ARestoreTellsTheChange)
{
    TestOwner owner;
    StreamList p(&owner);
    ZEL_UndoDataArray data;
    for (const char *token : {"t", "press"}) {
        p.list.saveSingleUndoData(p.list.getParmPtr(token), data);
    }
    const auto refused = std::make_shared<ZEL_UndoData>();
    data.emplace(KIT_StringHolder("f"), refused);
    data.emplace(KIT_StringHolder("n"), nullptr);
    EXPECT_FALSE(p.list.getParmPtr("f")->loadUndoData(refused));

    for (int i = 0; i < p.list.getEntries(); ++i) {
        p.list.getParmPtr(i)->clearAllDirtyFlags();
    }
    EventLog events(p.list);
    owner.takeCalls();
    const int before = p.list.getNumSendExtra();
    p.list.loadUndoData(data, nullptr, nullptr);
    EXPECT_TRUE(p.list.getParmPtr("t")->isDirty(2));
    EXPECT_TRUE(p.list.getParmPtr("press")->isDirty(0));
    // A refused change still sends its event, and no message is reported.
    EXPECT_EQ(events.take(), "4:0 4:1 4:2");
    EXPECT_EQ(owner.takeCalls(), "rebuildParmDependency 7");
    EXPECT_EQ(takeTexts(), "");
    // So do the components that are still to be sent: each is counted once.
    EXPECT_EQ(p.list.getNumSendExtra(), before + 5);
    p.list.loadUndoData(data, nullptr, nullptr);
    EXPECT_EQ(p.list.getNumSendExtra(), before + 5);
    p.list.clearParmOwner();
}

TEST(Undo, ASnapshotKeepsTheNameOfAChannelAlone)
{
    // While the channel lives, it is linked again.
    UndoNode p;
    p.parm("t").addChannel(0);
    const ZEL_UndoDataArray linked = p.snapshot();
    p.parm("t").getInstance()->setChannel(0, nullptr);
    p.parms().loadUndoData(linked, nullptr, nullptr);
    EXPECT_NE(p.parm("t").getChannel(0), nullptr);
    p.parm("t").removeChannel(0);
    p.parms().loadUndoData(linked, nullptr, nullptr);
    EXPECT_EQ(p.parm("t").getChannel(0), nullptr);
    EXPECT_NE(takeTexts(), "");
}

TEST(Undo, ASnapshotKeepsTheFirstWordOfATextBesideAChannel)
{
    // Nor does it keep that there was none.
    struct Case
    {
        const char *then, *now, *restored;
    };
    const Case cases[] = {
        {"word", "other", "word"}, {"two words", "other", "two"}, {"", "other", "other"}};
    for (const Case &c : cases) {
        UndoNode s;
        ZEL_Instance &text = *s.parm("text").getInstance();
        const auto set = [&](const char *value) {
            text.setValue(0.0, value, TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING,
                          ZEL_KEYSET_PREFERENCE);
        };
        set(c.then);
        text.addChannel(0);
        text.getChannel(0)->setKeyString("\"x\"", 0.0, true, false, false);
        ASSERT_TRUE(text.getChannel(0)->getPendingFlag());
        const ZEL_UndoDataArray data = s.snapshot();
        text.setChannel(0, nullptr);
        set(c.now);
        s.parms().loadUndoData(data, nullptr, nullptr);
        text.setChannel(0, nullptr);
        KIT_String found;
        s.parm("text").getValue(0.0, found, 0, false, BASgetSTID());
        EXPECT_STREQ(found.nonNullStr(), c.restored);
        takeMessages();
    }
}

TEST(Undo, WhatASnapshotDoesNotBringBack)
{
    // What its text doesn't hold.
    UndoNode q;
    const ZEL_UndoDataArray plain = q.snapshot();
    const bool scoped = q.parm("t").getAutoScopedFlag(0);
    q.parm("t").setAutoScopedFlag(0, !scoped);
    q.parm("t").setExpressionState(true);
    q.parms().setChannelAlias(&q.parm("t"), 0, KIT_StringHolder("name"));
    q.parm("t").setOverride(1, 2, "over", ZEL_OVERRIDE_OVERRIDDEN);
    q.parms().loadUndoData(plain, nullptr, nullptr);
    EXPECT_EQ(q.parm("t").getAutoScopedFlag(0), !scoped);
    EXPECT_TRUE(q.parm("t").getExpressionState());
    EXPECT_STREQ(q.parm("t").getChannelAlias(0).c_str(), "name");
    EXPECT_STREQ(q.parm("t").getOverride(1), "over");

    // A count with fewer items than its value: their entries raise it again.
    UndoNode r;
    r.set("points", 3);
    r.parms().setFloat(1.0, "points", 0, 0.0, false);
    ASSERT_EQ(r.parm("points").getMultiParmNumItems(), 3);
    const ZEL_UndoDataArray trailing = r.snapshot();
    r.parms().loadUndoData(trailing, nullptr, nullptr);
    EXPECT_EQ(r.parms().evalInt("points", 0, 0.0), 3);
}

TEST(Undo, MoreItemsThanAStreamMayMakeComeBack)
{
    constexpr int theItems = 100001;
    MultiList p;
    p.top.addMulti(ZEL_MULTITYPE_LIST, "many", p.late.templates());
    p.buildTop();
    p.setCount(theItems, "many");
    ZEL_UndoDataArray data;
    p.list->saveUndoData(data);
    p.setCount(0.0, "many");
    ASSERT_EQ(p.numItems("many"), 0);
    p.list->loadUndoData(data, nullptr, nullptr);
    EXPECT_EQ(p.numItems("many"), theItems);
    EXPECT_EQ(takeTexts(), "");
}

namespace
{

/// All that a node's state is said to hold.
struct Moment
{
    explicit Moment(UndoNode &p) : text(p.text()), channels(p.channels()), aliases(p.aliases()) {}

    std::string text, channels, aliases;
};

void expectMoment(const Moment &then, UndoNode &p, const char *what, int step)
{
    EXPECT_EQ(difference(then.text, p.text()), "") << what << step;
    // Channels and aliases have no order.
    for (const auto &[before, now] :
         {std::pair(then.channels, p.channels()), std::pair(then.aliases, p.aliases())}) {
        std::vector<std::string> a = linesOf(before), b = linesOf(now);
        std::sort(a.begin(), a.end());
        std::sort(b.begin(), b.end());
        EXPECT_EQ(a, b) << what << step;
    }
}

} // namespace

TEST(UndoStack, EveryStepIsTakenBackAndDoneAgain)
{
    for (unsigned seed = 1; seed <= 4; ++seed) {
        constexpr int theSteps = 400;
        UndoNode p(seed);
        NOD_UndoStack undo(p.node, theSteps);
        std::vector<Moment> moments = {Moment(p)};
        for (int i = 0; i < theSteps; ++i) {
            undo.begin("edit");
            undo.change(p.node);
            p.edit(UNDO_EDIT_CHANNELS | UNDO_EDIT_SPARES);
            if (undo.end()) {
                moments.emplace_back(p);
            }
        }
        const int steps = int(moments.size()) - 1;
        ASSERT_EQ(undo.getUndoCount(), std::size_t(steps));
        ASSERT_GT(steps, theSteps / 3);
        ASSERT_GT(p.node.getChannels().entries(), 0);
        for (int i = steps; i-- > 0 && !HasFailure();) {
            ASSERT_TRUE(undo.undo());
            expectMoment(moments[std::size_t(i)], p, "undo ", i);
        }
        EXPECT_FALSE(undo.undo());
        for (int i = 1; i <= steps && !HasFailure(); ++i) {
            ASSERT_TRUE(undo.redo());
            expectMoment(moments[std::size_t(i)], p, "redo ", i);
        }
        EXPECT_FALSE(undo.redo());
        EXPECT_EQ(takeTexts(), "");
    }
}

TEST(UndoStack, StepsNestAreBoundedAndEmptyOnesLeaveNoEntry)
{
    UndoNode p;
    NOD_UndoStack undo(p.node, 3);
    EXPECT_FALSE(undo.end());
    for (int i = 1; i <= 5; ++i) {
        const NOD_Edit edit(undo, std::to_string(i));
        NOD_Edit inner(undo, "inner");
        inner.change(p.node, "t");
        p.set("t", i);
        EXPECT_FALSE(inner.cancel()) << "within a block";
        EXPECT_FALSE(undo.undo()) << "within a step";
    }
    EXPECT_EQ(undo.getUndoCount(), 3u);
    EXPECT_EQ(undo.getUndoLabel(), "5");
    ASSERT_TRUE(undo.undo());
    EXPECT_EQ(undo.getRedoLabel(), "5");
    {
        NOD_Edit edit(undo, "nothing");
        edit.change(p.node, "tx");
        p.set("t", 4);
    }
    EXPECT_EQ(undo.getRedoCount(), 1u) << "still there after a step that changed nothing";
    EXPECT_EQ(undo.getUndoLabel(), "4");
    {
        // What an edit doesn't touch isn't restored.
        NOD_Edit edit(undo, "n");
        edit.change(p.node);
        p.set("n", 9);
    }
    EXPECT_EQ(undo.getRedoCount(), 0u);
    p.set("t", 77);
    ASSERT_TRUE(undo.undo());
    EXPECT_EQ(p.parms().evalInt("n", 0, 0.0), 0);
    EXPECT_EQ(p.parms().evalFloat("t", 0, 0.0), 77.0);
    ASSERT_TRUE(undo.undo() && undo.undo());
    EXPECT_EQ(p.parms().evalFloat("t", 0, 0.0), 2.0);
    EXPECT_FALSE(undo.undo()) << "older steps are gone";
}

TEST(UndoStack, TheOldestStepsAndSnapshotsGoWhereTheirBytesExceedTheLimit)
{
    constexpr std::int64_t theBytes = 100000;
    UndoNode p;
    NOD_UndoStack undo(p.node, 1000, theBytes);
    NOD_Snapshots snapshots(theBytes);
    std::size_t dropped = 0;
    for (int i = 0; i < 1000; ++i) {
        NOD_Edit edit(undo, std::to_string(i));
        edit.change(p.node);
        p.set("t", i + 1);
        dropped += snapshots.put(std::to_string(i), NOD_NodeState(p.node)).size();
        ASSERT_LE(undo.getMemoryUsage(), theBytes);
    }
    EXPECT_GT(undo.getUndoCount(), 20u);
    EXPECT_LT(undo.getUndoCount(), 1000u);
    EXPECT_EQ(snapshots.getNames().size(), 1000 - dropped);
    EXPECT_GT(snapshots.getNames().size(), 1u);
    EXPECT_EQ(snapshots.find("0"), nullptr);
    ASSERT_NE(snapshots.find("998"), nullptr);
    snapshots.find("998")->restore(p.node);
    EXPECT_EQ(p.parms().evalFloat("t", 0, 0.0), 999.0);
    while (undo.undo()) {
        ASSERT_LE(undo.getMemoryUsage(), theBytes);
    }
    EXPECT_EQ(p.parms().evalFloat("t", 0, 0.0), double(1000 - undo.getRedoCount()));

    // The last is kept whatever it takes; one of the same name is replaced.
    NOD_UndoStack tight(p.node, 1000, 1);
    NOD_Snapshots tightest(1);
    for (const char *name : {"a", "b", "b"}) {
        NOD_Edit edit(tight, name);
        edit.change(p.node);
        p.set("t", -p.parms().evalFloat("t", 0, 0.0));
        tightest.put(name, NOD_NodeState(p.node));
    }
    EXPECT_EQ(tight.getUndoCount(), 1u);
    EXPECT_EQ(tightest.getNames(), std::vector<std::string>{"b"});
}

TEST(UndoStack, AnErrorThatNobodyHasReadIsNoneOfItsSteps)
{
    UndoNode p;
    NOD_UndoStack undo(p.node, 3);
    KITaddError("ZEL", 15);
    {
        NOD_Edit edit(undo, "n");
        edit.change(p.node);
        p.set("n", 9);
    }
    ASSERT_TRUE(undo.undo());
    EXPECT_EQ(p.parms().evalInt("n", 0, 0.0), 0);
    ASSERT_TRUE(undo.redo());
    EXPECT_EQ(p.parms().evalInt("n", 0, 0.0), 9);
    EXPECT_EQ(takeMessages(), "ZEL 15");
}
