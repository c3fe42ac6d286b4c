// Comparison, patches and their laws, by random edits of nodes and scenes.

#include <NOD/NOD_Difference.h>
#include <NOD/NOD_Document.h>
#include <NOD/NOD_Matching.h>
#include <node/RandomScene.h>
#include <node/SceneEdits.h>

#include <gtest/gtest.h>

#include <algorithm>
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
    EXPECT_EQ(bytesOf(same, !binary), bytesOf(right, !binary));
    same.setTop(std::move(old));
    EXPECT_EQ(bytesOf(same, binary), a) << edits(there);
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

class Laws : public testing::TestWithParam<unsigned>
{
};

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

INSTANTIATE_TEST_SUITE_P(Seeds, Laws, testing::Range(1u, 25u));
