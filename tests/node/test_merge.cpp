// Three-way merges and their laws, by random edits of nodes and scenes.

#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Merge.h>
#include <node/RandomScene.h>
#include <node/SavedNodes.h>
#include <node/SceneEdits.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
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
    Merged(const std::string &b, const std::string &o, const std::string &t,
           const std::shared_ptr<const NOD_Interface> &interface = nullptr,
           const std::vector<std::pair<std::string, Side>> &policies = {})
        : base(documentOf(b, interface)), ours(documentOf(o, interface)),
          theirs(documentOf(t, interface)), made(documentOf(o, interface))
    {
        for (const auto &[pattern, side] : policies) {
            merge.addPolicy(pattern, side);
        }
        made.setTop(merge.merge(base.getTop(), ours.getTop(), theirs.getTop()));
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

/// Channels of items have other names where items have other numbers; a test of their own is below.
bool isOfItemChannel(const NOD_RecordPath &path)
{
    bool itemFlag = false;
    for (const NOD_PathStep &step : path) {
        itemFlag = itemFlag || step.kind == Kind::ITEM;
        const bool numberFlag = step.name.find_first_of("0123456789") != std::string::npos;
        if ((step.kind == Kind::DRIVER && itemFlag) || (step.kind == Kind::CHANNEL && numberFlag)) {
            return true;
        }
    }
    return false;
}

bool hasDriver(const NOD_Record &record)
{
    const NOD_Record::Parts &parts = record.getParts();
    return record.getKind() == Kind::DRIVER ||
           std::any_of(parts.begin(), parts.end(),
                       [](const auto &part) { return hasDriver(*part); });
}

/// Layout, and numbers beside channels, aren't promised.
bool isPromised(const NOD_Change &change, const NOD_Record &old, const NOD_Record &made)
{
    const NOD_RecordTraits &traits = NODtraitsOf(change.getKind());
    if (traits.comparison == NOD_Comparison::LAYOUT || isOfItemChannel(change.getPath()) ||
        (change.getKind() == Kind::ITEM && change.record && hasDriver(*change.record)) ||
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

/// Whether there is such a record, with this value unless it is null, in this one.
bool has(const NOD_Record &record, Kind kind, const std::string &name, const NOD_Value *value)
{
    const bool isIt = record.getKind() == kind && record.getName() == name &&
                      (!value || NODisSameValue(record.getValue(), *value));
    const NOD_Record::Parts &parts = record.getParts();
    return isIt || std::any_of(parts.begin(), parts.end(),
                               [&](const auto &part) { return has(*part, kind, name, value); });
}

/// What both sides changed a lot may be told as removed, and added as another one.
bool isInAdded(const NOD_Change &change, const NOD_Difference &difference)
{
    const NOD_PathStep &last = change.getPath().back();
    const NOD_Value *const value = change.verb == Verb::CHANGED ? &change.newValue : nullptr;
    const auto &all = difference.getChanges();
    const bool goneFlag = std::any_of(all.begin(), all.end(), [&](const NOD_Change &one) {
        return one.verb == Verb::REMOVED && isWithin(one.oldPath, change.oldPath);
    });
    return (goneFlag || change.oldPath.empty()) &&
           std::any_of(all.begin(), all.end(), [&](const NOD_Change &one) {
               return one.verb == Verb::ADDED && (has(*one.record, last.kind, last.name, value) ||
                                                  change.verb == Verb::REMOVED);
           });
}

bool isIn(const NOD_Change &change, const NOD_Difference &difference)
{
    if (isInAdded(change, difference)) {
        return true;
    }
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
            return (one.verb == Verb::ADDED || moveFlag) &&
                   one.newPath.back().name == change.newPath.back().name;
        case Verb::REMOVED: return one.verb == Verb::REMOVED && one.oldPath == change.oldPath;
        case Verb::CHANGED:
            return one.verb == Verb::CHANGED && one.oldPath == change.oldPath &&
                   NODisSameValue(one.newValue, change.newValue);
        default: return moveFlag && one.oldPath == change.oldPath;
        }
    };
    return std::any_of(difference.getChanges().begin(), difference.getChanges().end(), isIt);
}

/// All there is and counts, in no order, and without the numbers that items have in names.
std::multiset<std::string> linesOf(const NOD_Record &record, const std::string &path = {},
                                   bool itemFlag = false)
{
    std::multiset<std::string> lines;
    const auto withoutNumbers = [](std::string text) {
        text.erase(
            std::remove_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }),
            text.end());
        return text;
    };
    const Kind kind = record.getKind();
    const NOD_RecordTraits &traits = record.getTraits();
    const bool noiseFlag = kind == Kind::VALUE && record.getParent() &&
                           record.getParent()->find(Kind::DRIVER, record.getName());
    if (traits.comparison == NOD_Comparison::LAYOUT || noiseFlag) {
        return lines;
    }
    const bool namedFlag = kind == Kind::CHANNEL || (kind == Kind::DRIVER && itemFlag);
    const std::string name = record.getName();
    const std::string value = NODvalueText(record.getValue());
    const std::string here =
        path + "/" + traits.word + " " + (kind == Kind::CHANNEL ? withoutNumbers(name) : name);
    lines.insert(here + " = " + (namedFlag ? withoutNumbers(value) : value));
    for (const auto &part : record.getParts()) {
        lines.merge(linesOf(*part, here, itemFlag || kind == Kind::ITEM));
    }
    return lines;
}

/// Which node is which may be seen in another way in the merged state.
bool hasNodes(const NOD_Difference &difference)
{
    const auto &all = difference.getChanges();
    return std::any_of(all.begin(), all.end(),
                       [](const NOD_Change &one) { return one.getKind() == Kind::NODE; });
}

/// How many items there are with these contents.
int countOf(const NOD_Record &record, const std::multiset<std::string> &lines)
{
    int count = record.getKind() == Kind::ITEM && linesOf(record) == lines ? 1 : 0;
    for (const auto &part : record.getParts()) {
        count += countOf(*part, lines);
    }
    return count;
}

/// Whether an item comes after the same items as in the side that moved it, as far as these are there. One that the
/// other side changed, too, has other contents.
bool isInItsPlace(const NOD_RecordPath &path, const NOD_Record &side, const NOD_Record &made)
{
    const NOD_RecordPath block(path.begin(), path.end() - 1);
    const auto itemsOf = [&](const NOD_Record &top) {
        std::vector<std::multiset<std::string>> items;
        const NOD_Record *const parent = NODfindRecord(const_cast<NOD_Record &>(top), block);
        for (std::size_t i = 0; parent && i < parent->getParts().size(); ++i) {
            const NOD_Record &part = *parent->getParts()[i];
            if (part.getKind() == Kind::ITEM) {
                items.push_back(linesOf(part));
            }
        }
        return items;
    };
    const auto there = itemsOf(made);
    const auto wanted = itemsOf(side);
    const auto place = std::find(there.begin(), there.end(), wanted[std::size_t(path.back().item)]);
    for (int i = path.back().item - 1; i >= 0 && place != there.end(); --i) {
        if (std::count(there.begin(), there.end(), wanted[std::size_t(i)]) == 1) {
            return std::find(there.begin(), place, wanted[std::size_t(i)]) != place;
        }
    }
    return true;
}

/// Of items that both sides have changed it may be seen in another way which is which: what counts is what is there.
bool isDone(const NOD_Change &change, const NOD_Record &base, const NOD_Record &side,
            const NOD_Record &made, const NOD_Difference &done)
{
    const NOD_PathStep &last = change.getPath().back();
    const NOD_RecordPath &path = change.getPath();
    const bool itemFlag = std::any_of(
        path.begin(), path.end(), [](const NOD_PathStep &step) { return step.kind == Kind::ITEM; });
    if (!itemFlag && !hasNodes(done)) {
        return false;
    }
    switch (change.verb) {
    case Verb::CHANGED: return has(made, last.kind, last.name, &change.newValue);
    case Verb::ADDED:
        return last.kind == Kind::ITEM ? countOf(made, linesOf(*change.record)) > 0
                                       : has(made, last.kind, last.name, nullptr);
    case Verb::REMOVED:
        return last.kind != Kind::ITEM ||
               countOf(side, linesOf(*change.record)) > 0 || // another one
               countOf(made, linesOf(*change.record)) < countOf(base, linesOf(*change.record));
    case Verb::MOVED: return last.kind == Kind::ITEM && isInItsPlace(path, side, made);
    default: return false;
    }
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
        if (isPromised(change, base, side.getTop()) && !isIn(change, done) && !toldFlag &&
            !isDone(change, base, side.getTop(), merged.made.getTop(), done)) {
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

void checkLaws(const std::string &b, const std::string &o, const std::string &t,
               const std::shared_ptr<const NOD_Interface> &interface = nullptr)
{
    EXPECT_EQ(Merged(b, b, t, interface).bytes(), t);
    EXPECT_EQ(Merged(b, o, b, interface).bytes(), o);
    EXPECT_EQ(Merged(b, o, o, interface).bytes(), o);
    Merged there(b, o, t, interface);
    const Merged ours(b, o, t, interface, {{"*", Side::OURS}});
    const Merged back(b, t, o, interface, {{"*", Side::THEIRS}});
    EXPECT_EQ(conflictsOf(there.merge, false), conflictsOf(ours.merge, false));
    EXPECT_EQ(conflictsOf(there.merge, false), conflictsOf(back.merge, true))
        << there.conflicts << "\n"
        << back.conflicts;
    EXPECT_EQ(linesOf(there.made.getTop()), linesOf(back.made.getTop())) << there.conflicts;
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
            const auto make = [&](int count) {
                for (int i = 0; i < count; ++i) {
                    NOD_Edit edit(made.scene, "edit");
                    made.editItems(edit, node);
                    made.editValue(edit, node);
                    made.editMarks(edit, node);
                    made.editByHand(edit, node);
                }
            };
            make(5);
            made.random.seed(GetParam() * 100 + side);
            make(side == 0 ? 0 : 1 + int(GetParam() % 5));
            pictureOf(made.scene);
            takeMessages();
            states[side] = savedStream(node, binary);
        }
        checkLaws(states[0], states[1], states[2], interface);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, MergeLaws, testing::Range(1u, 25u));

// ---------------------------------------------------------------------- //
// What a person sees
// ---------------------------------------------------------------------- //

namespace
{

constexpr const char *thePointScript = R"({ name points
  parm { name v type float }
  parm { name t type vector3 size 3 }
  parm { name s type string }
  multiparm { name pts default 0
    parm { name p# type float }
    multiparm { name ws# default 0 parm { name w#_# type float } } } })";

std::shared_ptr<const NOD_Interface> pointInterface()
{
    NOD_Report report;
    static const auto made = NOD_Interface::fromText(thePointScript, "points", report);
    return made;
}

/// A stream with these entries, and items of these values.
std::string stream(const std::string &entries, const std::vector<int> &items = {})
{
    std::string text = "{\nversion 0.8\n" + entries;
    if (!items.empty()) {
        text += "pts\t(\t" + std::to_string(items.size()) + "\t)\n";
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        text += "p" + std::to_string(i + 1) + "\t(\t" + std::to_string(items[i]) + "\t)\n";
    }
    return text + "}\n";
}

/// The merged stream is `wanted`; the conflicts.
std::string merged(const std::string &b, const std::string &o, const std::string &t,
                   const std::string &wanted,
                   const std::vector<std::pair<std::string, Side>> &policies = {})
{
    Merged made(b, o, t, pointInterface(), policies);
    NOD_Document document = documentOf(wanted, pointInterface());
    std::string bytes;
    NOD_Report report;
    document.write(bytes, report);
    EXPECT_EQ(made.bytes(), bytes);
    return made.conflicts;
}

} // namespace

TEST(Merge, ComponentsAndEntriesJoin)
{
    EXPECT_EQ(merged(stream("v ( 1 )\nt ( 1 2 3 )\n"), stream("v ( 2 )\nt ( 1 2 4 )\n"),
                     stream("v ( 1 )\nt ( 5 2 3 )\ns ( \"x\" )\n"),
                     stream("v ( 2 )\nt ( 5 2 4 )\ns ( \"x\" )\n")),
              "");
    EXPECT_EQ(
        merged(stream("v ( 1 )\n"), stream("v ( 2 )\n"), stream("v ( 3 )\n"), stream("v ( 2 )\n")),
        "v: both changed it: base 1, ours 2, theirs 3; ours stands\n");
    EXPECT_EQ(merged(stream("v ( 1 )\n"), stream("v ( 2 )\n"), stream(""), stream("v ( 2 )\n")),
              "v: one changed it, the other one removed it: base 1, ours 2, theirs "
              "nothing; ours stands\n");
}

TEST(Merge, ItemsOfBothAreThere)
{
    EXPECT_EQ(merged(stream("", {1, 2}), stream("", {7, 1, 2}), stream("", {1, 2, 8}),
                     stream("", {7, 1, 2, 8})),
              "");
    EXPECT_EQ(merged(stream("", {1, 2}), stream("", {1, 7, 2}), stream("", {1, 8, 2}),
                     stream("", {1, 7, 8, 2})),
              "");
    EXPECT_EQ(merged(stream("", {1, 2}), stream("", {1, 7, 2}), stream("", {1, 7, 2}),
                     stream("", {1, 7, 2})),
              "");
    EXPECT_EQ(merged(stream("", {1, 2, 3}), stream("", {2, 3}), stream("", {1, 2, 9}),
                     stream("", {2, 9})),
              "");
}

TEST(Merge, Policies)
{
    const std::string b = stream("v ( 1 )\ns ( \"a\" )\n");
    const std::string o = stream("v ( 2 )\ns ( \"b\" )\n");
    const std::string t = stream("v ( 3 )\ns ( \"c\" )\n");
    EXPECT_EQ(
        merged(b, o, t, stream("v ( 3 )\ns ( \"a\" )\n"), {{"*", Side::THEIRS}, {"s", Side::BASE}}),
        "v: both changed it: base 1, ours 2, theirs 3; theirs stands\n"
        "s: both changed it: base \"a\", ours \"b\", theirs \"c\"; base stands\n");
    NOD_Merge merge;
    std::vector<std::string> asked;
    merge.addPolicy("v", Side::OURS);
    merge.setChooser([&](const NOD_Conflict &conflict) {
        asked.push_back(NODpathText(conflict.getPath()));
        return Side::THEIRS;
    });
    const NOD_Document base = documentOf(b, pointInterface());
    const NOD_Document ours = documentOf(o, pointInterface());
    const NOD_Document theirs = documentOf(t, pointInterface());
    merge.merge(base.getTop(), ours.getTop(), theirs.getTop());
    EXPECT_EQ(asked, std::vector<std::string>{"s"});
    EXPECT_EQ(merge.getOpenCount(), 0u);

    // Who says nothing has decided nothing.
    NOD_Merge silent;
    silent.setChooser([](const NOD_Conflict &) { return std::nullopt; });
    silent.merge(base.getTop(), ours.getTop(), theirs.getTop());
    EXPECT_EQ(silent.getOpenCount(), 2u);
}

namespace
{

/// Nodes by path and the parameters that have a value, as `/a xy /a/b z`.
std::string scene(const std::string &nodes)
{
    std::string text = "#STO_INDEX 1.0\nsection \"scene\"\n\tversion 1.0\nend\n";
    std::istringstream words(nodes);
    for (std::string path, values; words >> path >> values;) {
        text += "section \"node " + path + "\"\n\ttype \"x\"\nend\nsection \"values " + path +
                "\"\n\t{\n\tversion 0.8\n";
        for (const char value : values) {
            text += std::string("\t") + value + "\t( 1 )\n";
        }
        text += "\t}\nend\n";
    }
    return text + "#END\n";
}

std::string nodesOf(const NOD_Record &record, const std::string &path = {})
{
    std::string all;
    for (const auto &part : record.getParts()) {
        if (part->getKind() == Kind::NODE) {
            std::string values;
            if (const NOD_Record *const contents = part->find(Kind::CONTENTS)) {
                for (const auto &one : contents->getParts()) {
                    values += one->getKind() == Kind::PARM ? one->getName() : "";
                }
            }
            const std::string place = path + "/" + part->getName();
            all += place + " " + values + " " + nodesOf(*part, place);
        }
    }
    return all;
}

std::string mergedScene(const std::string &b, const std::string &o, const std::string &t,
                        const std::string &wanted,
                        const std::vector<std::pair<std::string, Side>> &policies = {})
{
    Merged made(scene(b), scene(o), scene(t), nullptr, policies);
    EXPECT_EQ(nodesOf(made.made.getTop()), wanted);
    documentOf(made.bytes());
    return made.conflicts;
}

} // namespace

TEST(Merge, NodesAreAddedRenamedAndMovedByBoth)
{
    EXPECT_EQ(mergedScene("/a abc /b de", "/c abc /b de", "/a abcx /b de", "/c abcx /b de "), "");
    EXPECT_EQ(mergedScene("/a abc", "/a abc /n x", "/a abc /m y", "/a abc /n x /m y "), "");
    // A name by one, a place by the other.
    EXPECT_EQ(mergedScene("/a abc /b de", "/c abc /b de", "/b de /b/a abc", "/b de /b/c abc "), "");
    EXPECT_EQ(mergedScene("/a abc /b de", "/c abc /b de", "/d abc /b de", "/c abc /b de "),
              "/c: both moved or renamed it: base /a, ours /c, theirs /d; ours stands\n");
}

TEST(Merge, NodesThatOneSideRemoved)
{
    EXPECT_EQ(mergedScene("/a abc /b de", "/b de", "/a abc /b dex", "/b dex "), "");
    EXPECT_EQ(
        mergedScene("/a abc /b de", "/a abcx /b de", "/b de", "/a abcx /b de "),
        "/a: one changed it, the other one removed it: base 1 part, ours 1 part, theirs nothing; "
        "ours stands\n");
    EXPECT_EQ(
        mergedScene("/a abc /b de", "/a abcx /b de", "/b de", "/b de ", {{"/a", Side::THEIRS}}),
        "/a: one changed it, the other one removed it: base 1 part, ours 1 part, theirs nothing; "
        "theirs stands\n");
    // Something new in it.
    const char *const under = "/a/n: what it is in was removed: base nothing, ours nothing, theirs "
                              "/a/n; ours stands\n";
    EXPECT_EQ(mergedScene("/a abc /b de", "/b de", "/a abc /b de /a/n xyz", "/b de "), under);
    EXPECT_NE(mergedScene("/a abc /b de", "/b de", "/a abc /b de /a/n xyz",
                          "/a abc /a/n xyz /b de ", {{"*", Side::THEIRS}}),
              "");
}

// What the head of a node says is merged line by line, the version of its type too.
TEST(Merge, HeadsOfNodesJoin)
{
    const auto file = [](const std::string &lines) {
        std::string text = scene("/a x");
        const std::string type = "\ttype \"x\"\n";
        return text.replace(text.find(type) + type.size(), 0, lines);
    };
    const std::string version = "\tversion \"3\"\n", p = "\tvariable \"p\" \"1\"\n",
                      q = "\tvariable \"q\" \"2\"\n";
    Merged joined(file(version), file(version + p), file(version + q), nullptr);
    EXPECT_EQ(joined.conflicts, "");
    EXPECT_EQ(joined.bytes(), file(version + p + q));
    Merged marked(file(p), file(version + p), file(p + q), nullptr);
    EXPECT_EQ(marked.conflicts, "");
    EXPECT_EQ(marked.bytes(), file(version + p + q));
}

TEST(Merge, NodesThatCannotBeWhereBothWant)
{
    EXPECT_EQ(mergedScene("/a abc /b de", "/b de /b/a abc", "/a abc /a/b de", "/b de /b/a abc "),
              "/b/a: both moved one into the other: base /a, ours /b/a, theirs /a; ours stands\n");
    EXPECT_EQ(mergedScene("/a abc", "/a abc /n x", "/n abc", "/n1 abc /n x "),
              "/n: its name is taken: base nothing, ours /n, theirs /n; ours stands\n");
}

/// A scene with a node of these items, driven by channels with these lines.
void fill(NOD_Node &node, const std::vector<int> &items, const std::vector<std::string> &driven)
{
    std::string channels;
    std::string values = "pts\t(\t" + std::to_string(items.size()) + "\t)\n";
    for (std::size_t i = 0; i < items.size(); ++i) {
        const std::string token = "p" + std::to_string(i + 1);
        const std::string value = std::to_string(items[i]);
        values += token + "\t(\t" +
                  (driven[i].empty() ? value : "[ " + token + "\t" + value + " ]") + "\t)\n";
        channels +=
            driven[i].empty() ? "" : "channel " + token + " { default 0 " + driven[i] + " } ";
    }
    const std::string texts[] = {"channels 1.0 { " + channels + "}", stream(values)};
    KIT_IStream first(texts[0].data(), texts[0].size(), KIT_IStream::TEXT);
    node.loadChannels(first);
    KIT_IStream second(texts[1].data(), texts[1].size(), KIT_IStream::TEXT);
    node.getParms().load(second, nullptr, nullptr);
}

/// A node with these items, and another one with a driven item if `reader` says by what.
std::string state(const std::vector<int> &items, const std::vector<std::string> &driven,
                  const std::string &reader = {})
{
    NOD_Scene one;
    NOD_Report report;
    fill(*one.add("/n", pointInterface(), report), items, driven);
    if (!reader.empty()) {
        fill(*one.add("/m", pointInterface(), report), {0}, {reader});
    }
    return savedScene(one, NOD_SaveOptions::Form::TEXT);
}

std::string with(const char *text)
{
    return std::string("key 0 0 \"") + text + "\"";
}

std::string expressionOf(const Merged &merged, const char *channel, const char *node = "n")
{
    const NOD_Record *const contents =
        merged.made.getTop().find(Kind::NODE, node)->find(Kind::CONTENTS);
    const NOD_Record *const found = contents->find(Kind::CHANNEL, channel);
    const NOD_Record *const key = found ? found->find(Kind::KEY, "0") : nullptr;
    return key ? NODvalueText(key->valueOf(Kind::EXPRESSION)) : "none";
}

TEST(Merge, ChannelsFollowTheirItems)
{
    const std::string key = "key 0 1 linear()";
    const std::string keys = "key 0 1 linear() key 2 5 linear()";
    Merged made(state({1, 2}, {"", key}), state({7, 1, 2}, {"", "", key}),
                state({1, 2, 3}, {"", keys, ""}));
    EXPECT_EQ(made.conflicts, "");
    const NOD_Record *const contents =
        made.made.getTop().find(Kind::NODE, "n")->find(Kind::CONTENTS);
    ASSERT_NE(contents->find(Kind::CHANNEL, "p3"), nullptr);
    EXPECT_EQ(contents->find(Kind::CHANNEL, "p2"), nullptr);
    EXPECT_NE(contents->find(Kind::CHANNEL, "p3")->find(Kind::KEY, "2"), nullptr);
    const NOD_Record &item = *contents->find(Kind::PARM, "pts")->findItem(2);
    EXPECT_EQ(NODvalueText(item.find(Kind::PARM, "p#")->valueOf(Kind::DRIVER, "0")), "p3");
    // A key that both changed: the conflict says where it is.
    Merged two(state({1, 2}, {"", key}), state({7, 1, 2}, {"", "", "key 0 3 linear()"}),
               state({1, 2}, {"", "key 0 4 linear()"}));
    EXPECT_EQ(two.conflicts, "/n: channel p3 key 0 value: both changed it: base \"1\", ours \"3\", "
                             "theirs \"4\"; ours stands\n");
}

/// What refers to an item does so under the number that it has at last.
TEST(Merge, ExpressionsFollowTheirItems)
{
    // Ours refers to the second item, in front of which theirs has put another one.
    const std::string base = state({1, 2, 3}, {"", "", ""});
    const std::string ours =
        state({1, 2, 3}, {"", "", with("ch(\\\"p2\\\") + ch(\\\"../p2\\\") + 2")});
    const std::string theirs = state({7, 1, 2, 3}, {"", "", "", ""});
    for (const bool swapped : {false, true}) {
        Merged made(base, swapped ? theirs : ours, swapped ? ours : theirs);
        EXPECT_EQ(made.conflicts, "");
        EXPECT_EQ(expressionOf(made, "p4"), "ch(\"p3\") + ch(\"../p2\") + 2");
        EXPECT_EQ(made.bytes().find("mark"), std::string::npos);
    }
    Merged single(base, state({1, 2, 3}, {"", "", with("ch('p2')")}), theirs);
    EXPECT_EQ(expressionOf(single, "p4"), "ch('p3')");
    // Theirs has renumbered it already; and a conflict shows what each side has written.
    const std::string former = state({1, 2}, {"", with("ch(\\\"p1\\\")")});
    Merged done(former, state({1, 5}, {"", with("ch(\\\"p1\\\")")}),
                state({7, 1, 2}, {"", "", with("ch(\\\"p2\\\")")}));
    EXPECT_EQ(expressionOf(done, "p3"), "ch(\"p2\")");
    Merged both(former, state({1, 2}, {"", with("ch(\\\"p1\\\") * 2")}),
                state({7, 1, 2}, {"", "", with("ch(\\\"p2\\\") * 3")}));
    EXPECT_EQ(expressionOf(both, "p3"), "ch(\"p2\") * 2");
    EXPECT_EQ(both.conflicts,
              "/n: channel p2 key 0 expression: both changed it: base \"ch(\"p1\")\", ours "
              "\"ch(\"p1\") * 2\", theirs \"ch(\"p2\") * 3\"; ours stands\n");
}

/// Also by paths, of the node itself and of others; those that lead elsewhere stay.
TEST(Merge, ReferencesByPathFollowTheirItems)
{
    const std::string base = state({1, 2, 3}, {"", "", ""}, with("1"));
    const std::string theirs = state({7, 1, 2, 3}, {"", "", "", ""}, with("1"));
    const char *const paths = "ch(\\\"./p2\\\") + ch('/n/p2') + ch('../n/p2') + ch('../o/p2')";
    Merged own(base, state({1, 2, 3}, {"", "", with(paths)}, with("1")), theirs);
    EXPECT_EQ(own.conflicts, "");
    EXPECT_EQ(expressionOf(own, "p4"),
              "ch(\"./p3\") + ch('/n/p3') + ch('../n/p3') + ch('../o/p2')");
    const std::string ours = state({1, 2, 3}, {"", "", ""}, with("ch('../n/p2') + ch('p1')"));
    for (const bool swapped : {false, true}) {
        Merged other(base, swapped ? theirs : ours, swapped ? ours : theirs);
        EXPECT_EQ(other.conflicts, "");
        EXPECT_EQ(expressionOf(other, "p1", "m"), "ch('../n/p3') + ch('p1')");
        EXPECT_EQ(other.bytes().find("mark"), std::string::npos);
    }
    // A conflict shows what each side has written, and items of both sides are told apart.
    Merged both(state({1, 2}, {"", ""}, with("ch('/n/p1')")),
                state({8, 1, 2}, {"", "", ""}, with("ch('/n/p1') + 5")),
                state({1, 2, 9}, {"", "", ""}, with("ch('/n/p3')")));
    EXPECT_EQ(expressionOf(both, "p1", "m"), "ch('/n/p1') + 5");
    EXPECT_EQ(both.conflicts, "/m: channel p1 key 0 expression: both changed it: base "
                              "\"ch('/n/p1')\", ours \"ch('/n/p1') + 5\", theirs "
                              "\"ch('/n/p3')\"; ours stands\n");
}

/// Else it would be about the item that has its number now.
TEST(Merge, AReferenceToARemovedItemIsAConflict)
{
    const std::string base = state({1, 2, 3}, {"", "", ""}, with("1"));
    const std::string theirs = state({1, 3}, {"", ""}, with("1"));
    Merged own(base, state({1, 2, 3}, {with("ch('p2') * 2"), "", ""}, with("1")), theirs);
    EXPECT_EQ(own.conflicts,
              "/n: channel p1 key 0 expression: it refers to what one side removed: base "
              "nothing, ours \"ch('p2') * 2\", theirs nothing; ours stands\n");
    EXPECT_EQ(expressionOf(own, "p1"), "ch('p2') * 2");
    const std::string ours = state({1, 2, 3}, {"", "", ""}, with("ch('../n/p2')"));
    const std::string told = "/m: channel p1 key 0 expression: it refers to what one side removed: "
                             "base \"1\", ";
    Merged other(base, ours, theirs);
    EXPECT_EQ(other.conflicts, told + "ours \"ch('../n/p2')\", theirs \"1\"; ours stands\n");
    Merged swapped(base, theirs, ours);
    EXPECT_EQ(swapped.conflicts, told + "ours \"1\", theirs \"ch('../n/p2')\"; theirs stands\n");
    // A policy decides between texts that there are.
    Merged decided(base, theirs, ours, nullptr, {{"*", Side::OURS}});
    EXPECT_EQ(expressionOf(decided, "p1", "m"), "1");
    EXPECT_EQ(decided.merge.getOpenCount(), 0u);
    Merged undecided(base, theirs, state({1, 2, 3}, {with("ch('p2') * 2"), "", ""}, with("1")),
                     nullptr, {{"*", Side::OURS}});
    EXPECT_EQ(undecided.merge.getOpenCount(), 1u);
    // The language goes with the text.
    const std::string python = state({1, 2, 3}, {"", "", ""}, "key 0 0 python \"ch('../n/p2')\"");
    Merged translated(base, python, theirs, nullptr, {{"*", Side::THEIRS}});
    EXPECT_EQ(expressionOf(translated, "p1", "m"), "1");
    EXPECT_EQ(translated.bytes().find("python"), std::string::npos);
    // Ours gives the reader another name, too.
    const std::string renamed =
        std::regex_replace(theirs, std::regex("(section \"\\w+ /)m\""), "$1k\"");
    for (const bool swappedFlag : {false, true}) {
        Merged elsewhere(base, swappedFlag ? ours : renamed, swappedFlag ? renamed : ours);
        EXPECT_NE(elsewhere.conflicts.find("it refers to what one side removed"), std::string::npos)
            << elsewhere.conflicts;
    }
}

/// Who removed it has left the reference behind: a conflict where another item has got its number.
TEST(Merge, AReferenceLeftBehindIsAConflictWhereItWouldLeadElsewhere)
{
    const auto all = [](const std::vector<int> &items, const char *text) {
        return state(items, std::vector<std::string>(items.size()), with(text));
    };
    const std::string base = all({1, 2, 3}, "ch('../n/p3')");
    const std::string theirs = all({1, 2}, "ch('../n/p3')");
    const std::pair<std::string, std::string> cases[] = {
        {all({1, 5, 3}, "ch('../n/p3')"), ""}, // it leads nowhere, as theirs has it
        {all({1, 2, 3, 4}, "ch('../n/p3')"), "ch('../n/p3')"},
        {all({9, 1, 2, 3}, "ch('../n/p4')"), "ch('../n/p4')"},
    };
    for (const auto &[ours, text] : cases) {
        for (const bool swapped : {false, true}) {
            Merged merged(base, swapped ? theirs : ours, swapped ? ours : theirs);
            const std::string left = "ch('../n/p3')";
            const std::string told =
                text.empty() ? ""
                             : "/m: channel p1 key 0 expression: it refers to what one side "
                               "removed: base \"" +
                                   left + "\", ours \"" + (swapped ? left : text) +
                                   "\", theirs \"" + (swapped ? text : left) + "\"; ours stands\n";
            EXPECT_EQ(merged.conflicts, told);
        }
    }
}
