// Comparison, patches and their laws, by random edits of nodes and scenes.

#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Matching.h>
#include <node/RandomScene.h>
#include <node/SavedNodes.h>
#include <node/SceneEdits.h>

#include <ZEL/ZEL_FloatHandle.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <random>
#include <set>

namespace
{

using Verb = NOD_Change::Verb;

NOD_CompareOptions exactly()
{
    NOD_CompareOptions options;
    options.isExact = true;
    return options;
}

NOD_Document documentOf(const std::string &bytes,
                        std::shared_ptr<const NOD_Interface> interface = nullptr,
                        bool isExact = true)
{
    NOD_Document document;
    NOD_Report report;
    NOD_DocumentOptions options;
    options.isExact = isExact;
    options.interface = std::move(interface);
    options.interfaces["lamp"] = RandomScene::application();
    EXPECT_TRUE(document.read(bytes, "bytes", options, report)) << report.asText();
    return document;
}

std::string bytesOf(NOD_Document &document, bool binary)
{
    std::string bytes;
    NOD_Report report;
    EXPECT_TRUE(document.write(bytes, binary, report)) << report.asText();
    return bytes;
}

/// The changes in an order that doesn't depend on how they were found.
std::multiset<std::string> setOf(const NOD_Difference &difference)
{
    std::multiset<std::string> all;
    for (const NOD_Change &change : difference.getChanges()) {
        all.insert(NOD_Difference({change}).toJson());
    }
    return all;
}

/// `KIND VERB ADDRESS` of each, a line.
std::string edits(const NOD_Difference &difference)
{
    std::string all;
    for (const NOD_Change &change : difference.getChanges()) {
        all += std::string(NODtraitsOf(change.getKind()).word) + " " +
               NOD_Change::getVerbName(change.verb) + " " + NODpathText(change.getPath());
        if (change.verb == Verb::CHANGED) {
            all += " " + NODvalueText(change.oldValue) + " -> " + NODvalueText(change.newValue);
        } else if (change.verb == Verb::MOVED || change.verb == Verb::RENAMED) {
            all += " from " + NODpathText(change.oldPath);
        }
        all += "\n";
    }
    return all;
}

/// What a comparison promises of two files of one kind and form.
void checkLaws(const std::string &a, const std::string &b,
               const std::shared_ptr<const NOD_Interface> &interface = nullptr)
{
    NOD_Document left = documentOf(a, interface);
    NOD_Document right = documentOf(b, interface);
    NOD_Document same = documentOf(a, interface);
    const bool binary = left.isBinary();
    ASSERT_EQ(bytesOf(left, binary), a);
    ASSERT_EQ(bytesOf(right, binary), b);
    EXPECT_EQ(edits(NOD_Difference::between(left.getTop(), same.getTop(), exactly())), "");

    const NOD_Difference there = NOD_Difference::between(left.getTop(), right.getTop(), exactly());
    const NOD_Difference back = NOD_Difference::between(right.getTop(), left.getTop(), exactly());
    EXPECT_EQ(setOf(there.inverse()), setOf(back));
    EXPECT_EQ(there.isEmpty(), a == b);

    NOD_Difference read;
    NOD_Report report;
    ASSERT_TRUE(read.fromJson(there.toJson(), "patch", report)) << report.asText();
    EXPECT_EQ(setOf(read), setOf(there));
    NOD_Difference::Changes shuffled = read.getChanges();
    std::mt19937 random(unsigned(a.size()));
    std::shuffle(shuffled.begin(), shuffled.end(), random);

    std::unique_ptr<NOD_Record> made = NOD_Difference(shuffled).apply(same.getTop(), report);
    ASSERT_TRUE(made) << report.asText() << edits(there);
    std::unique_ptr<NOD_Record> old = there.inverse().apply(*made, report);
    ASSERT_TRUE(old) << report.asText() << edits(there);
    same.setTop(std::move(made));
    EXPECT_EQ(bytesOf(same, binary), b) << edits(there);
    if (right.getKind() == NOD_FileKind::STREAM) {
        EXPECT_EQ(bytesOf(same, !binary), bytesOf(right, !binary));
    }
    same.setTop(std::move(old));
    EXPECT_EQ(bytesOf(same, binary), a) << edits(there);
}

class Laws : public testing::TestWithParam<unsigned>
{};

} // namespace

TEST_P(Laws, ScenesAndTheirPatches)
{
    using Form = NOD_SaveOptions::Form;
    SceneEdits made(GetParam());
    const int steps = 1 + int(GetParam() % 12);
    for (int i = 0; i < 20; ++i) {
        made.step();
    }
    for (const Form form : {Form::TEXT, Form::BINARY}) {
        pictureOf(made.scene);
        const std::string before = savedScene(made.scene, form);
        for (int i = 0; i < steps; ++i) {
            made.step();
        }
        pictureOf(made.scene);
        checkLaws(before, savedScene(made.scene, form));
        ASSERT_FALSE(HasFailure()) << "seed " << GetParam();
    }
}

TEST_P(Laws, ScenesOfEverything)
{
    using Form = NOD_SaveOptions::Form;
    RandomScene left(GetParam()), right(GetParam() + 1);
    const Form form = GetParam() % 2 ? Form::TEXT : Form::BINARY;
    checkLaws(savedScene(left.scene, form), savedScene(right.scene, form));
}

TEST_P(Laws, StreamsAndTheirPatches)
{
    SceneEdits made(GetParam());
    NOD_Node &node = *made.nodes()[0];
    const auto interface = node.getInterface();
    for (const bool binary : {false, true}) {
        const std::string before = savedStream(node, binary);
        for (int i = 0; i < 8; ++i) {
            NOD_Edit edit(made.scene, "edit");
            made.editItems(edit, node);
            made.editValue(edit, node);
            made.editMarks(edit, node);
            made.editByHand(edit, node);
        }
        pictureOf(made.scene);
        takeMessages();
        checkLaws(before, savedStream(node, binary), interface);
        ASSERT_FALSE(HasFailure()) << "seed " << GetParam();
    }
}

namespace
{

/// Declarations in folders, of names and labels that come again.
std::string randomScript(std::mt19937 &random, int depth = 0)
{
    const auto below = [&](unsigned count) { return unsigned(random()) % count; };
    const char *const theTypes[] = {"float", "integer", "string", "vector", "toggle"};
    static int number = 0;
    number = depth == 0 ? 0 : number;
    std::string text;
    for (unsigned i = 2 + below(5); i > 0; --i) {
        const std::string name =
            std::string(1, char('a' + below(20))) + std::to_string(++number / 3);
        if (depth < 2 && below(4) == 0) {
            text += "group { name \"g" + name + "\" label \"Folder " + std::to_string(below(3)) +
                    "\" " + randomScript(random, depth + 1) + "}\n";
        } else {
            text += "parm { name \"" + name + std::to_string(number) + "\" label \"Label " +
                    std::to_string(below(5)) + "\" type " + theTypes[below(5)] +
                    (below(3) ? "" : " help \"Some help.\"") +
                    (below(3) ? "" : " hidewhen \"{ x == 1 }\"") + " }\n";
        }
    }
    return text;
}

} // namespace

TEST_P(Laws, ScriptsAreStatesToo)
{
    std::mt19937 random(GetParam());
    for (int round = 0; round < 10; ++round) {
        const std::string a = "{ name n\n" + randomScript(random) + "}\n";
        const std::string b = "{ name n\n" + randomScript(random) + "}\n";
        const NOD_Document left = documentOf(a), same = documentOf(a), right = documentOf(b);
        EXPECT_EQ(edits(NOD_Difference::between(left.getTop(), same.getTop(), exactly())), "");
        const auto there = NOD_Difference::between(left.getTop(), right.getTop(), exactly());
        const auto back = NOD_Difference::between(right.getTop(), left.getTop(), exactly());
        EXPECT_EQ(setOf(there.inverse()), setOf(back)) << a << b;
        NOD_Report report;
        const auto made = there.apply(left.getTop(), report);
        ASSERT_TRUE(made) << report.asText() << edits(there) << a << b;
        EXPECT_TRUE(made->isSame(right.getTop())) << edits(there) << a << b;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Laws, testing::Range(1u, 25u));

// ---------------------------------------------------------------------- //
// What a person is told
// ---------------------------------------------------------------------- //

namespace
{

constexpr const char *thePointScript = R"({ name points
  parm { name v type float }
  parm { name mode type ordinal menu { "area" "Area" "spot" "Spot" } }
  multiparm { name pts default 0
    parm { name p# type vector3 size 3 }
    parm { name s# type string }
    multiparm { name ws# default 0 parm { name w#_# type float } } } })";

std::shared_ptr<const NOD_Interface> pointInterface()
{
    NOD_Report report;
    static const auto made = NOD_Interface::fromText(thePointScript, "points", report);
    return made;
}

std::string stream(const std::string &entries)
{
    return "{\nversion 0.8\n" + entries + "}\n";
}

/// A stream with points at these places.
std::string points(const std::vector<int> &places)
{
    std::string entries = "pts ( " + std::to_string(places.size()) + " )\n";
    for (std::size_t i = 0; i < places.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        const std::string place = std::to_string(places[i]);
        entries += "p" + number + " ( " + place + " 0 0 )\ns" + number + " ( \"" + place +
                   "\" )\nws" + number + " ( 1 )\nw" + number + "_1 ( " + place + " )\n";
    }
    return stream(entries);
}

std::string meant(const std::string &a, const std::string &b,
                  const std::vector<std::string> &tolerances = {})
{
    NOD_Report report;
    NOD_CompareOptions options;
    for (const std::string &text : tolerances) {
        options.tolerances.emplace_back();
        EXPECT_TRUE(NOD_Tolerance::parse(text, options.tolerances.back(), report));
    }
    const NOD_Document left = documentOf(a, pointInterface(), false);
    const NOD_Document right = documentOf(b, pointInterface(), false);
    return edits(NOD_Difference::between(left.getTop(), right.getTop(), options));
}

} // namespace

TEST(Difference, ItemsAreToldAsAPersonWould)
{
    EXPECT_EQ(meant(points({1, 2, 3}), points({9, 1, 2, 3})), "item added pts[0]\n");
    EXPECT_EQ(meant(points({1, 2, 3}), points({2, 3})), "item removed pts[0]\n");
    EXPECT_EQ(meant(points({1, 2, 3, 4}), points({2, 3, 4, 1})), "item moved pts[3] from pts[0]\n");
    EXPECT_EQ(meant(points({}), points({5})), "item added pts[0]\n");
    const std::string three = points({1, 2, 3});
    const auto with = [&](const char *from, const char *to) {
        std::string other = points({7, 1, 2, 3});
        other.replace(other.find(from), std::string(from).size(), to);
        return other;
    };
    // One that has changed is found although there is another one in front of it.
    EXPECT_EQ(meant(three, with("w3_1 ( 2 )", "w3_1 ( 2.5 )")),
              "item added pts[0]\nvalue changed pts[2] ws#[0] w#_# 2 -> 2.5\n");
    EXPECT_EQ(meant(three, with("ws4 ( 1 )", "ws4 ( 2 )\nw4_2 ( 5 )")),
              "item added pts[0]\nitem added pts[3] ws#[1]\n");
}

TEST(Difference, WhatMeansTheSameIsNone)
{
    EXPECT_EQ(meant(stream("v ( 0 )\n"), stream("")), ""); // what a new node has
    EXPECT_EQ(meant(stream("mode ( 1 )\n"), stream("mode ( \"spot\" )\n")), "");
    EXPECT_EQ(meant(stream("v ( 1 )\nmode ( 1 )\n"), stream("mode ( 1 ) v ( 1.0 )\n")), "");
    EXPECT_EQ(meant(stream("v ( [ v 1 ] )\n"), stream("v ( [ v 2 ] )\n")), "");
    EXPECT_EQ(meant(stream("v ( [ v 1 ] )\n"), stream("v ( 2 )\n")),
              "driver removed v channel 0\nvalue changed v 1 -> 2\n");
    EXPECT_EQ(meant(stream("other ( 1 )\n"), stream("other ( 2 )\n")),
              "words changed other ( 1 ) -> ( 2 )\n");
}

TEST(Difference, Tolerances)
{
    const std::string a = stream("v ( 1 )\n");
    const std::string b = stream("v ( 1.001 )\n");
    const std::string told = "value changed v 1 -> 1.001\n";
    EXPECT_EQ(meant(a, b), told);
    EXPECT_EQ(meant(a, b, {"0.01"}), "");
    EXPECT_EQ(meant(a, b, {"1%"}), "");
    EXPECT_EQ(meant(a, b, {"0.0001%"}), told);
    EXPECT_EQ(meant(a, b, {"0.01", "v=0"}), told); // the last that matches
    EXPECT_EQ(meant(a, b, {"p#=0.01"}), told);
    EXPECT_EQ(meant(a, b, {":value=0.01"}), "");
    EXPECT_EQ(meant(stream("v ( 1 )\n"), stream("v ( 1.0000000000000002 )\n"), {"1ulp"}), "");
    EXPECT_EQ(meant(points({1, 2}), points({1, 3}), {"p#=1", "w#_#=1"}),
              "value changed pts[1] s# 2 -> 3\n");
    NOD_Report report;
    NOD_Tolerance tolerance;
    for (const char *bad : {"", "x", "-1", "nan", "v=", "1.5ulp", "%"}) {
        EXPECT_FALSE(NOD_Tolerance::parse(bad, tolerance, report)) << bad;
    }
}

TEST(Difference, KeysOneByOneAndExpressionsByTheirWords)
{
    const auto channels = [](const std::string &lines) {
        return "channels 1.0 { channel tx { default 0 " + lines + " } }";
    };
    const auto told = [&](const std::string &a, const std::string &b) {
        const NOD_Document left = documentOf(channels(a), nullptr, false);
        const NOD_Document right = documentOf(channels(b), nullptr, false);
        return edits(NOD_Difference::between(left.getTop(), right.getTop(), {}));
    };
    EXPECT_EQ(told("key 0 1 key 2 5", "key 2 5 key 1 3 key 0 1"), "key added channel tx key 1\n");
    EXPECT_EQ(told("key 0 1 key 2 5", "key 0 1 key 2 6 linear()"),
              "key_value changed channel tx key 2 value 5 -> 6\n"
              "expression changed channel tx key 2 expression bezier() -> linear()\n");
    EXPECT_EQ(told("key 0 1 \"$F*2 + ch('a b')\"", "key 0 1 \" $F * 2+ch( 'a b' )\""), "");
    EXPECT_NE(told("key 0 1 \"$F*2 + ch('a b')\"", "key 0 1 \"$F*2 + ch('ab')\""), "");
    EXPECT_NE(told("key 0 1 \"1 < =2\"", "key 0 1 \"1 <=2\""), "");
    EXPECT_NE(told("key 0 1 \"a b\"", "key 0 1 \"ab\""), "");
}

TEST(Difference, NodesAreFoundUnderOtherNamesAndInOtherPlaces)
{
    const auto scene = [](const std::string &nodes) {
        std::string text = "#STO_INDEX 1.0\nsection \"scene\"\n\tversion 1.0\nend\n";
        std::istringstream lines(nodes);
        for (std::string path, values; lines >> path >> values;) {
            text += "section \"node " + path + "\"\n\ttype \"x\"\nend\nsection \"values " + path +
                    "\"\n\t{\n\tversion 0.8\n";
            for (const char value : values) {
                text += std::string("\t") + value + "\t( 1 )\n";
            }
            text += "\t}\nend\n";
        }
        return text + "#END\n";
    };
    const auto told = [&](const std::string &a, const std::string &b) {
        const NOD_Document left = documentOf(scene(a), nullptr, false);
        const NOD_Document right = documentOf(scene(b), nullptr, false);
        return edits(NOD_Difference::between(left.getTop(), right.getTop(), {}));
    };
    EXPECT_EQ(told("/a abc /b de", "/c abc /b de"), "node renamed /c from /a\n");
    EXPECT_EQ(told("/a abc /b de /a/k xyz", "/c abc /b de /c/k xyz"), "node renamed /c from /a\n");
    EXPECT_EQ(told("/a abc /b de /a/k xyz", "/a abc /b de /b/k xyz"),
              "node moved /b/k from /a/k\n");
    EXPECT_EQ(told("/a abcd", "/b abce"),
              "node renamed /b from /a\nparm removed /a: d\nparm added /b: e\n");
    EXPECT_EQ(told("/a abc", "/b xyz"), "node removed /a\nnode added /b\n");
    EXPECT_EQ(told("/a abc /b de", "/b de /a abc"), "node moved /a from /a\n");
    // Among many, those that share what few others have.
    std::string former, present;
    for (int i = 0; i < 250; ++i) {
        const std::string letters = {char('a' + i % 20), char('A' + i / 20)};
        former += "/n" + std::to_string(i) + " uvw" + letters + "z ";
        present = "/m" + std::to_string(i) + " uvw" + letters + "y " + present;
    }
    const std::string all = told(former, present);
    const auto count = [&](const char *what) {
        std::size_t found = 0;
        for (std::size_t at = 0; (at = all.find(what, at)) != std::string::npos; ++at) {
            ++found;
        }
        return found;
    };
    EXPECT_EQ(count("node added"), 0u);
    for (int i = 0; i < 250; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_NE(all.find("/m" + number + " from /n" + number + "\n"), std::string::npos) << i;
    }
    // Out of one that is removed, into one that is new.
    EXPECT_EQ(told("/a abc /a/k uvw", "/b xyz /b/k uvw"),
              "node removed /a\nnode added /b\nnode moved /b/k from /a/k\n");
}

/// Values that tell a node from most others, of which some change while all nodes get other names.
TEST(Difference, ManyNodesAreRenamedAndChangedAtOnce)
{
    constexpr int nodes = 5000;
    constexpr int parms = 8;
    std::mt19937 random(7);
    const auto value = [&] { return double(random() % 20000); };
    NOD_Record former(NOD_RecordKind::DOCUMENT);
    NOD_Record present(NOD_RecordKind::DOCUMENT);
    std::vector<int> order(nodes);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    const auto add = [](NOD_Record &top, const std::string &name,
                        const std::array<double, parms> &values) {
        NOD_Record &contents = top.add(NOD_RecordKind::NODE, name).add(NOD_RecordKind::CONTENTS);
        contents.add(NOD_RecordKind::TYPE, "", std::string("lamp"));
        for (int i = 0; i < parms; ++i) {
            contents.add(NOD_RecordKind::PARM, "p" + std::to_string(i))
                .add(NOD_RecordKind::VALUE, "0", values[std::size_t(i)]);
        }
    };
    std::vector<std::array<double, parms>> all(nodes);
    for (int i = 0; i < nodes; ++i) {
        std::generate(all[std::size_t(i)].begin(), all[std::size_t(i)].end(), value);
        add(former, "n" + std::to_string(i), all[std::size_t(i)]);
    }
    for (const int i : order) {
        std::array<double, parms> values = all[std::size_t(i)];
        values[random() % parms] = -1.0;
        values[random() % parms] = -2.0;
        add(present, "m" + std::to_string(i), values);
    }
    const NOD_Matching there(former, present);
    const NOD_Matching back(present, former);
    for (const auto &node : former.getParts()) {
        const NOD_Record *const partner = there.partnerOf(*node);
        ASSERT_TRUE(partner) << node->getName();
        EXPECT_EQ(partner->getName().substr(1), node->getName().substr(1));
        EXPECT_EQ(back.partnerOf(*node), partner);
    }
    // A few of all 25 million pairs.
    EXPECT_GE(there.getComparisonCount(), std::size_t(nodes));
    EXPECT_LE(there.getComparisonCount(), std::size_t(nodes) * 10);
}

TEST(Difference, ScriptsByDeclaration)
{
    const auto scripts = [](const std::string &a, const std::string &b) {
        const NOD_Document left = documentOf("{ name n " + a + " }", nullptr, false);
        const NOD_Document right = documentOf("{ name n " + b + " }", nullptr, false);
        const auto there = NOD_Difference::between(left.getTop(), right.getTop(), {});
        const auto back = NOD_Difference::between(right.getTop(), left.getTop(), {});
        EXPECT_EQ(setOf(there.inverse()), setOf(back));
        return edits(there);
    };
    const std::string a = "parm { name a label \"Amount\" type float default { 1 } }";
    EXPECT_EQ(scripts(a, a), "");
    EXPECT_EQ(scripts(a, "parm { name a label \"Amount\" type float default { 2 } }"),
              "default_value changed a default 0 1 -> 2\n");
    EXPECT_EQ(scripts(a, "parm { name b label \"Amount\" type float default { 1 } }"),
              "declaration renamed b from a\n");
    EXPECT_EQ(scripts(a, "group { name g label \"G\" " + a + " }"),
              "declaration added folder g\ndeclaration moved folder g a from a\n");
    EXPECT_EQ(scripts("parm { name m type ordinal menu { a A b B } }",
                      "parm { name m type ordinal menu { b B a A c C } hidewhen \"{ m == 1 }\" }"),
              "menu_entry moved m menu entry a from m menu entry a\n"
              "menu_entry added m menu entry c\n"
              "condition added m condition hidewhen\n");
}

// ---------------------------------------------------------------------- //
// Few edits
// ---------------------------------------------------------------------- //

namespace
{

std::unique_ptr<NOD_Record> blockOf(const std::vector<int> &numbers)
{
    auto top = std::make_unique<NOD_Record>(NOD_RecordKind::DOCUMENT);
    NOD_Record &block = top->add(NOD_RecordKind::PARM, "block");
    for (const int number : numbers) {
        NOD_Record &item = block.add(NOD_RecordKind::ITEM);
        item.add(NOD_RecordKind::PARM, "a#").add(NOD_RecordKind::VALUE, "0", std::int64_t(number));
        item.add(NOD_RecordKind::PARM, "b#").add(NOD_RecordKind::VALUE, "0", double(number) / 3);
        item.add(NOD_RecordKind::PARM, "c#").add(NOD_RecordKind::VALUE, "0", double(number) / 7);
    }
    block.numberItems();
    return top;
}

} // namespace

TEST(Difference, AThousandEditsOfItemsAreNoMore)
{
    for (unsigned seed = 1; seed <= 4; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](std::size_t count) { return std::size_t(random()) % count; };
        std::vector<int> before(2000);
        for (std::size_t i = 0; i < before.size(); ++i) {
            // Every other time half of the items are like others.
            before[i] = seed % 2 ? int(i) : int(below(1000));
        }
        std::vector<int> after = before;
        int next = 100000;
        constexpr int theEdits = 1000;
        for (int edit = 0; edit < theEdits; ++edit) {
            const std::size_t at = below(after.size());
            const int number = after[at];
            switch (below(3)) {
            case 0: after.insert(after.begin() + std::ptrdiff_t(at), next++); break;
            case 1: after.erase(after.begin() + std::ptrdiff_t(at)); break;
            default:
                after.erase(after.begin() + std::ptrdiff_t(at));
                after.insert(after.begin() + std::ptrdiff_t(below(after.size())), number);
            }
        }
        const auto left = blockOf(before);
        const auto right = blockOf(after);
        const NOD_Difference there = NOD_Difference::between(*left, *right, exactly());
        EXPECT_LE(there.getChanges().size(), theEdits * 105u / 100u) << "seed " << seed;
        EXPECT_EQ(setOf(there.inverse()), setOf(NOD_Difference::between(*right, *left, exactly())));
        NOD_Report report;
        const auto made = there.apply(*left, report);
        ASSERT_TRUE(made) << report.asText();
        EXPECT_TRUE(made->isSame(*right));
    }
}

/// Of many equal items there is no other way than to look at them all.
TEST(Difference, AnItemThatMovedAndChangedIsOne)
{
    const auto items = [](const std::vector<std::array<int, 3>> &all) {
        std::string text = "pts ( " + std::to_string(all.size()) + " )\n";
        for (std::size_t i = 0; i < all.size(); ++i) {
            const std::string number = std::to_string(i + 1);
            text += "p" + number + " ( " + std::to_string(all[i][0]) + " " +
                    std::to_string(all[i][1]) + " 0 )\ns" + number + " ( " +
                    std::to_string(all[i][2]) + " )\nr" + number + " ( 7 )\n";
        }
        return "{ version 0.8 " + text + "}\n";
    };
    const auto script = [] {
        NOD_Report report;
        return NOD_Interface::fromText(
            "{ name b multiparm { name pts parm { name p# type vector3 size 3 }"
            " parm { name s# type float } parm { name r# type float } } }",
            "b", report);
    }();
    const std::string a = items({{1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}});
    const std::string b = items({{4, 4, 9}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}});
    const NOD_Document left = documentOf(a, script, true), right = documentOf(b, script, true);
    const auto there = NOD_Difference::between(left.getTop(), right.getTop(), exactly());
    EXPECT_EQ(edits(there), "item moved pts[0] from pts[3]\nvalue changed pts[0] s# 4 -> 9\n");
    EXPECT_EQ(setOf(there.inverse()),
              setOf(NOD_Difference::between(right.getTop(), left.getTop(), exactly())));
}

TEST(Difference, EqualItemsAreMatchedToo)
{
    std::vector<int> before(5000, 1), after(5000, 1);
    after.insert(after.begin() + 700, 2);
    after.erase(after.begin() + 3000, after.begin() + 3004);
    const auto left = blockOf(before);
    const auto right = blockOf(after);
    EXPECT_EQ(NOD_Difference::between(*left, *right, exactly()).getChanges().size(), 5u);
}

// ---------------------------------------------------------------------- //
// What doesn't fit
// ---------------------------------------------------------------------- //

TEST(Difference, APatchThatDoesNotFitIsRefusedAsAWhole)
{
    const NOD_Document left = documentOf(points({1, 2, 3}), pointInterface());
    const NOD_Document right = documentOf(points({1, 4, 3, 5}), pointInterface());
    const NOD_Difference there = NOD_Difference::between(left.getTop(), right.getTop(), exactly());
    const auto told = [&](const std::string &other) {
        NOD_Report report;
        const NOD_Document document = documentOf(other, pointInterface());
        EXPECT_EQ(there.apply(document.getTop(), report), nullptr);
        return report.asText();
    };
    EXPECT_NE(told(points({1, 7, 3})).find("pts[1]: isn't what was removed"), std::string::npos)
        << told(points({1, 7, 3}));
    EXPECT_NE(told(points({1})).find("pts[1]: isn't there"), std::string::npos);
    EXPECT_NE(told(stream("v ( 1 )\n")).find("pts[1]: isn't there"), std::string::npos);

    NOD_Report report;
    const NOD_Document one = documentOf(stream("v ( 1 )\n"));
    const NOD_Document two = documentOf(stream("v ( 2 )\n"));
    const NOD_Difference change = NOD_Difference::between(one.getTop(), two.getTop(), exactly());
    EXPECT_EQ(change.apply(two.getTop(), report), nullptr);
    EXPECT_EQ(report.asText(), "v: is \"( 2 )\", not \"( 1 )\"\n");
}

TEST(Difference, PatchesThatAreNone)
{
    const std::string start = R"({"format":"zel difference","version":1,"exact":true,"edits":[)";
    const std::pair<const char *, const char *> theFaults[] = {
        {"", "a.json(1): is no JSON: reading ends here"},
        {"{\n\"format\" 1}", "a.json(2): is no JSON: reading ends here"},
        {"{\n\"formt\": 1}", "a.json(2): \"format\" is missing"},
        {"[]", "\"format\" is missing"},
        {R"({"format":"x","version":1,"edits":[]})", "isn't a patch of parameters"},
        {R"({"format":"zel difference","version":2,"edits":[]})", "is a patch of version 2"},
        {R"({"format":"zel difference","version":1,"exact":false})", "and no patch"},
        {R"({"format":"zel difference","version":1,"exact":true})", "\"edits\" is missing"}};
    const std::pair<const char *, const char *> theEdits[] = {
        {R"({"verb":"chnged"})", "\"chnged\" is nothing that happens to anything"},
        {R"({"verb":"hidden"})", "\"hidden\" is nothing that happens to anything"},
        {R"({"verb":"changed","path":[]})", "expected a path"},
        {R"({"verb":"changed","path":[["parm"]]})", "expected steps of a kind and a name"},
        {R"({"verb":"changed","path":[["thing","a"]]})", "\"thing\" is no kind"},
        {R"({"verb":"changed","path":[["item",-1]]})", "expected the place of an item"},
        {R"({"verb":"changed","path":[["parm","a"]],"old":1})", "\"new\" is missing"},
        {R"({"verb":"changed","path":[["parm","a"]],"old":{"bits":"12"},"new":1})",
         "expected the 16 digits"},
        {R"({"verb":"added","newPath":[["parm","a"]],"new":{"kind":"parm","parts":1}})",
         "expected a list of parts"}};
    const auto told = [](const std::string &text) {
        NOD_Report report;
        NOD_Difference difference;
        EXPECT_FALSE(difference.fromJson(text, "a.json", report)) << text;
        return report.asText();
    };
    for (const auto &[text, message] : theFaults) {
        EXPECT_NE(told(text).find(message), std::string::npos) << told(text);
    }
    for (const auto &[edit, message] : theEdits) {
        EXPECT_NE(told(start + edit + "]}").find(std::string("edit 1: ") + message),
                  std::string::npos)
            << told(start + edit + "]}");
    }
    {
        NOD_Report report;
        NOD_Difference difference;
        EXPECT_FALSE(difference.fromJson(start + "\n{\"verb\" : \"chnged\"}]}", "a", report));
        const NOD_Message &message = report.getMessages().front();
        ASSERT_TRUE(message.detail);
        EXPECT_EQ(message.detail->place.line, 2);
        EXPECT_EQ(message.detail->place.column, 12);
        EXPECT_EQ(message.detail->expected, std::vector<std::string>{"changed"});
        EXPECT_EQ(message.code, 96);
    }
}

/// A scene becomes any other state of it, and comes back, by undo.
TEST(Difference, ASceneTakesAStateAsOneStep)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SceneEdits made(seed);
        NOD_Report report;
        for (int i = made.below(30); i > 0; --i) {
            made.step();
        }
        const std::string first = pictureOf(made.scene);
        NOD_Document state;
        ASSERT_TRUE(state.take(made.scene, true, report)) << report.asText();
        for (int i = made.below(60); i > 0; --i) {
            made.step();
        }
        const std::string second = pictureOf(made.scene);
        const std::size_t steps = made.undo().getUndoCount();
        report.clear();
        ASSERT_TRUE(state.give(made.scene, {}, report)) << seed << report.asText();
        EXPECT_EQ(pictureOf(made.scene), first) << seed;
        EXPECT_EQ(made.undo().getUndoCount(), steps + (first != second)) << seed;
        if (first != second) {
            made.undo().undo();
            EXPECT_EQ(pictureOf(made.scene), second) << seed;
            made.undo().redo();
            EXPECT_EQ(pictureOf(made.scene), first) << seed;
        }
        takeMessages();
    }
}

TEST(Difference, NodesOfASceneStayTheObjectsThatTheyAre)
{
    SceneEdits made(3);
    NOD_Scene &scene = made.scene;
    NOD_Report report;
    NOD_Node &a = *scene.find("/a");
    NOD_Node &b = *scene.find("/b");
    NOD_Node &c = *scene.find("/a/c");
    NOD_Edit(scene, "values").set(b, "v", 5.0);
    NOD_Edit(scene, "values").set(c, "v", 6.0);
    NOD_Document state;
    ASSERT_TRUE(state.take(scene, true, report));
    const std::string first = pictureOf(scene);
    // Another name, a node under what was below it, and one that comes first.
    scene.rename(b, "x", report);
    scene.move(c, scene.getRoot(), 0, report);
    scene.move(a, c, report);
    scene.add("/c/a/y", made.other, report);
    const ZEL_FloatHandle value(b.getParms(), "v");
    ASSERT_TRUE(state.give(scene, {}, report)) << report.asText();
    EXPECT_EQ(pictureOf(scene), first);
    EXPECT_EQ(scene.find("/a"), &a);
    EXPECT_EQ(scene.find("/b"), &b);
    EXPECT_EQ(scene.find("/a/c"), &c);
    EXPECT_EQ(value(0.0), 5.0);
    EXPECT_EQ(a.getInterface(), made.item); // and isn't read again
}

TEST(Difference, NodesAndScenesInMemory)
{
    SceneEdits made(5);
    NOD_Report report;
    NOD_Document before, after;
    ASSERT_TRUE(before.take(made.scene, true, report)) << report.asText();
    for (int i = 0; i < 30; ++i) {
        made.step();
    }
    const std::string picture = pictureOf(made.scene);
    ASSERT_TRUE(after.take(made.scene, true, report)) << report.asText();
    const auto there = NOD_Difference::between(before.getTop(), after.getTop(), exactly());
    before.setTop(there.apply(before.getTop(), report));
    NOD_Scene other;
    EXPECT_TRUE(before.give(other, {}, report)) << report.asText();
    EXPECT_EQ(pictureOf(other), picture);

    SceneEdits one(8);
    NOD_Node &node = *one.nodes()[0];
    NOD_Document state, present;
    state.take(node, true, report);
    const std::string first = pictureOf(one.scene);
    {
        NOD_Edit edit(one.scene, "edit");
        edit.set(node, "v", 3.0);
        edit.insertItem(node, "points", 0);
        edit.key(node, "tx", 1.0, 2.0);
    }
    present.take(node, true, report);
    const auto back =
        NOD_Difference::between(state.getTop(), present.getTop(), exactly()).inverse();
    present.setTop(back.apply(present.getTop(), report));
    ASSERT_TRUE(present.give(node, report)) << report.asText();
    EXPECT_EQ(pictureOf(one.scene), first);
    one.undo().undo(); // the patch is one step
    EXPECT_NE(pictureOf(one.scene), first);
}
