// Three-way merges and their laws, by random edits of nodes and scenes.

#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Merge.h>
#include <node/RandomScene.h>
#include <node/SceneEdits.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace
{

using Side = NOD_MergeSide;
using Verb = NOD_Change::Verb;
using Kind = NOD_RecordKind;

NOD_CompareOptions exactly()
{
    return {true, {}};
}

NOD_Document documentOf(const std::string &bytes,
                        std::shared_ptr<const NOD_Interface> interface = nullptr)
{
    NOD_Document document;
    NOD_Report report;
    NOD_DocumentOptions options;
    options.isExact = true;
    options.interface = std::move(interface);
    options.interfaces["lamp"] = RandomScene::application();
    EXPECT_TRUE(document.read(bytes, "bytes", options, report)) << report.asText();
    return document;
}

/// The conflicts, a line each.
std::string told(const NOD_Merge &merge)
{
    std::string all;
    for (const NOD_Conflict &conflict : merge.getConflicts()) {
        all += conflict.asText() + "\n";
    }
    return all;
}

/// A merge of three files, by their bytes.
struct Merged
{
    Merged(const std::string &base, const std::string &ours, const std::string &theirs,
           const std::shared_ptr<const NOD_Interface> &interface = nullptr,
           const std::vector<std::pair<std::string, Side>> &policies = {})
        : base(documentOf(base, interface)), ours(documentOf(ours, interface)),
          theirs(documentOf(theirs, interface)), made(documentOf(ours, interface))
    {
        for (const auto &[pattern, side] : policies) {
            merge.addPolicy(pattern, side);
        }
        made.setTop(merge.merge(this->base.getTop(), this->ours.getTop(), this->theirs.getTop()));
        conflicts = told(merge);
    }

    std::string bytes()
    {
        std::string all;
        NOD_Report report;
        EXPECT_TRUE(made.write(all, report)) << report.asText();
        return all;
    }

    NOD_Document base, ours, theirs, made;
    NOD_Merge merge;
    std::string conflicts;
};

// ---------------------------------------------------------------------- //
// What a merge promises
// ---------------------------------------------------------------------- //

bool isWithin(const NOD_RecordPath &path, const NOD_RecordPath &other)
{
    const std::size_t common = std::min(path.size(), other.size());
    return std::equal(path.begin(), path.begin() + std::ptrdiff_t(common), other.begin());
}

/// A component's value and its channel are one thing.
bool isCoveredBy(const NOD_Conflict &conflict, const NOD_Change &change)
{
    for (const NOD_ConflictSide *side : {&conflict.base, &conflict.ours, &conflict.theirs}) {
        for (const auto &record : side->records) {
            NOD_RecordPath path = side->path;
            if (!path.empty()) {
                path.back().kind = record->getKind();
                path.back().name = record->getName();
            }
            if (isWithin(path, change.oldPath.empty() ? change.newPath : change.oldPath) ||
                isWithin(path, change.getPath())) {
                return true;
            }
        }
    }
    return false;
}

/// Layout, and numbers beside channels, aren't promised.
bool isPromised(const NOD_Change &change, const NOD_Record &old, const NOD_Record &made)
{
    const NOD_RecordTraits &traits = NODtraitsOf(change.getKind());
    if (traits.comparison == NOD_Comparison::LAYOUT ||
        (change.verb == Verb::MOVED && traits.siblings == NOD_Siblings::LISTED)) {
        return false;
    }
    if (change.getKind() != Kind::VALUE) {
        return true;
    }
    const auto isDriven = [](const NOD_Record &top, NOD_RecordPath path) {
        if (!path.empty()) {
            path.back().kind = Kind::DRIVER;
        }
        return NODfindRecord(const_cast<NOD_Record &>(top), path) != nullptr;
    };
    return !isDriven(old, change.oldPath) && !isDriven(made, change.newPath);
}

bool isIn(const NOD_Change &change, const NOD_Difference &difference)
{
    const auto isIt = [&](const NOD_Change &one) {
        if (one.verb == Verb::REMOVED && isWithin(one.oldPath, change.oldPath) &&
            change.verb == Verb::REMOVED && one.oldPath.size() <= change.oldPath.size()) {
            return true;
        }
        if (one.getKind() != change.getKind()) {
            return false;
        }
        const bool moveFlag = one.verb == Verb::MOVED || one.verb == Verb::RENAMED;
        switch (change.verb) {
        case Verb::ADDED:
            return one.verb == Verb::ADDED && one.newPath.back().name == change.newPath.back().name;
        case Verb::REMOVED: return one.verb == Verb::REMOVED && one.oldPath == change.oldPath;
        case Verb::CHANGED:
            return one.verb == Verb::CHANGED && one.oldPath == change.oldPath &&
                   NODisSameValue(one.newValue, change.newValue);
        default: return moveFlag && one.oldPath == change.oldPath;
        }
    };
    return std::any_of(difference.getChanges().begin(), difference.getChanges().end(), isIt);
}

/// Edits of one side that are neither done nor told.
std::string lostOf(const Merged &merged, const NOD_Document &side)
{
    std::string lost;
    const NOD_Record &base = merged.base.getTop();
    const auto there = NOD_Difference::between(base, side.getTop(), exactly());
    const auto done = NOD_Difference::between(base, merged.made.getTop(), exactly());
    for (const NOD_Change &change : there.getChanges()) {
        const auto &conflicts = merged.merge.getConflicts();
        const bool toldFlag =
            std::any_of(conflicts.begin(), conflicts.end(), [&](const NOD_Conflict &conflict) {
                return isCoveredBy(conflict, change);
            });
        if (isPromised(change, base, side.getTop()) && !isIn(change, done) && !toldFlag) {
            lost += std::string(NOD_Change::getVerbName(change.verb)) + " " +
                    NODpathText(change.getPath()) + " of " + NODtraitsOf(change.getKind()).word +
                    "\n";
        }
    }
    return lost;
}

/// Kinds and the three sides; ours and theirs exchanged if asked for.
std::multiset<std::string> conflictsOf(const NOD_Merge &merge, bool swapped)
{
    std::multiset<std::string> all;
    for (const NOD_Conflict &conflict : merge.getConflicts()) {
        const NOD_ConflictSide *sides[] = {&conflict.base, &conflict.ours, &conflict.theirs};
        if (swapped) {
            std::swap(sides[1], sides[2]);
        }
        std::string line = NOD_Conflict::getKindName(conflict.kind);
        for (const NOD_ConflictSide *side : sides) {
            line += "; " + NODpathText(side->path) + " " + side->asText();
        }
        all.insert(line);
    }
    return all;
}

/// All there is, in no order.
std::multiset<std::string> linesOf(const NOD_Record &record, const std::string &path = {})
{
    std::multiset<std::string> lines;
    const std::string here = path + "/" + record.getTraits().word + " " + record.getName();
    lines.insert(here + " = " + NODvalueText(record.getValue()));
    for (const auto &part : record.getParts()) {
        if (part->getKind() != Kind::ORDER) {
            lines.merge(linesOf(*part, here));
        }
    }
    return lines;
}

void checkLaws(const std::string &b, const std::string &o, const std::string &t,
               const std::shared_ptr<const NOD_Interface> &interface = nullptr)
{
    EXPECT_EQ(Merged(b, b, t, interface).bytes(), t);
    EXPECT_EQ(Merged(b, o, b, interface).bytes(), o);
    EXPECT_EQ(Merged(b, o, o, interface).bytes(), o);
    Merged there(b, o, t, interface);
    const Merged back(b, t, o, interface);
    EXPECT_EQ(conflictsOf(there.merge, false), conflictsOf(back.merge, true))
        << there.conflicts << "\n"
        << back.conflicts;
    if (there.conflicts.empty() && back.conflicts.empty()) {
        EXPECT_EQ(linesOf(there.made.getTop()), linesOf(back.made.getTop()));
    }
    EXPECT_EQ(lostOf(there, there.ours), "") << there.conflicts;
    EXPECT_EQ(lostOf(there, there.theirs), "") << there.conflicts;

    // It loads, and what it loads is what was merged.
    const std::string bytes = there.bytes();
    NOD_Document again = documentOf(bytes, interface);
    std::string second;
    NOD_Report report;
    EXPECT_TRUE(again.write(second, report)) << report.asText();
    EXPECT_EQ(second, bytes);
    for (const Side side : {Side::BASE, Side::THEIRS}) {
        Merged other(b, o, t, interface, {{"*", side}});
        EXPECT_EQ(other.merge.getOpenCount(), 0u);
        documentOf(other.bytes(), interface);
    }
}

std::string savedScene(NOD_Scene &scene, NOD_SaveOptions::Form form)
{
    NOD_Report report;
    std::ostringstream os;
    NOD_SaveOptions options;
    options.form = form;
    NOD_SceneFile::save(scene, os, options, report);
    return os.str();
}

std::string savedStream(NOD_Node &node, bool binary)
{
    std::ostringstream os;
    constexpr bool compact = false;
    node.getParms().save(os, binary, compact);
    return os.str();
}

class MergeLaws : public testing::TestWithParam<unsigned>
{};

} // namespace

TEST_P(MergeLaws, Scenes)
{
    using Form = NOD_SaveOptions::Form;
    const Form form = GetParam() % 2 ? Form::TEXT : Form::BINARY;
    std::string states[3];
    for (const unsigned side : {0u, 1u, 2u}) {
        SceneEdits made(GetParam());
        for (int i = 0; i < 20; ++i) {
            made.step();
        }
        made.random.seed(GetParam() * 100 + side);
        const int steps = side == 0 ? 0 : 1 + int(GetParam() % 12);
        for (int i = 0; i < steps; ++i) {
            made.step();
        }
        pictureOf(made.scene);
        states[side] = savedScene(made.scene, form);
    }
    checkLaws(states[0], states[1], states[2]);
}

TEST_P(MergeLaws, ScenesOfEverything)
{
    using Form = NOD_SaveOptions::Form;
    const Form form = GetParam() % 2 ? Form::TEXT : Form::BINARY;
    RandomScene base(GetParam()), ours(GetParam() + 1), theirs(GetParam() + 2);
    checkLaws(savedScene(base.scene, form), savedScene(ours.scene, form),
              savedScene(theirs.scene, form));
}

TEST_P(MergeLaws, Streams)
{
    for (const bool binary : {false, true}) {
        std::string states[3];
        std::shared_ptr<const NOD_Interface> interface;
        for (const unsigned side : {0u, 1u, 2u}) {
            SceneEdits made(GetParam());
            NOD_Node &node = *made.nodes()[0];
            interface = node.getInterface();
            const auto edit = [&](int count) {
                for (int i = 0; i < count; ++i) {
                    NOD_Edit edit(made.scene, "edit");
                    made.editItems(edit, node);
                    made.editValue(edit, node);
                    made.editMarks(edit, node);
                    made.editByHand(edit, node);
                }
            };
            edit(5);
            made.random.seed(GetParam() * 100 + side);
            edit(side == 0 ? 0 : 1 + int(GetParam() % 5));
            pictureOf(made.scene);
            takeMessages();
            states[side] = savedStream(node, binary);
        }
        checkLaws(states[0], states[1], states[2], interface);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, MergeLaws, testing::Range(1u, 25u));
