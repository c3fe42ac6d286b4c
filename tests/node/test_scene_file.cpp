// Scenes and nodes in files: what is saved is loaded, to the same bytes; what can't be is told and kept.

#include <KIT/KIT_EnvControl.h>
#include <NOD/NOD_FileLoss.h>
#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_UndoStack.h>
#include <STO/STO_IndexFile.h>
#include <STO/STO_Writer.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <common/ListFixture.h>
#include <node/RandomScene.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace
{

using Form = NOD_SaveOptions::Form;
using Values = NOD_SaveOptions::Values;
using Interfaces = NOD_SaveOptions::Interfaces;
using Scripts = NOD_LoadOptions::Scripts;

NOD_SaveOptions saveOptions(Form form, Values values = Values::ALL,
                            Interfaces interfaces = Interfaces::AS_MADE)
{
    NOD_SaveOptions options;
    options.form = form;
    options.values = values;
    options.interfaces = interfaces;
    return options;
}

std::string saved(NOD_Scene &scene, const NOD_SaveOptions &options, NOD_Report &report)
{
    std::ostringstream os;
    EXPECT_TRUE(NOD_SceneFile::save(scene, os, options, report));
    return os.str();
}

bool load(NOD_Scene &scene, const std::string &bytes, NOD_Report &report,
          const NOD_LoadOptions &options = {})
{
    std::istringstream is(bytes);
    return NOD_SceneFile::load(scene, is, "scene", options, report);
}

/// The first line of each that the other doesn't have there; "" for the same bytes.
std::string difference(const std::string &a, const std::string &b)
{
    const std::size_t at = std::size_t(
        std::mismatch(a.begin(), a.begin() + long(std::min(a.size(), b.size())), b.begin()).first -
        a.begin());
    const auto around = [&](const std::string &text) {
        const std::size_t start = at > 300 ? at - 300 : 0;
        return text.substr(start, text.find('\n', std::min(at, text.size())) - start);
    };
    return a == b ? "" : around(a) + "\n--- but ---\n" + around(b);
}

struct Loaded
{
    explicit Loaded(const std::string &bytes, const NOD_LoadOptions &options = {})
    {
        scene.addInterface(RandomScene::application());
        isScene = load(scene, bytes, report, options);
    }
    std::string save(Form form = Form::TEXT, Values values = Values::ALL,
                     Interfaces interfaces = Interfaces::AS_MADE)
    {
        NOD_Report saving;
        const std::string bytes = saved(scene, saveOptions(form, values, interfaces), saving);
        EXPECT_TRUE(saving.isEmpty()) << saving.asText();
        return bytes;
    }

    NOD_Report report;
    NOD_Scene scene;
    bool isScene;
};

// ---------------------------------------------------------------------- //
// Laws
// ---------------------------------------------------------------------- //

TEST(SceneFile, IsReadBackToTheSameBytes)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        RandomScene made(seed);
        made.scene.makeCurrent();
        const std::string contents = RandomScene::contents(made.scene);
        RandomScene other(seed + 50); // each load replaces what it has
        for (const Form form : {Form::TEXT, Form::BINARY}) {
            for (const Values values : {Values::ALL, Values::CHANGED}) {
                for (const Interfaces interfaces : {Interfaces::AS_MADE, Interfaces::AS_TEXTS}) {
                    const NOD_SaveOptions options = saveOptions(form, values, interfaces);
                    const std::string bytes = saved(made.scene, options, made.report);
                    ASSERT_TRUE(made.report.isEmpty()) << made.report.asText();
                    Loaded loaded(bytes);
                    ASSERT_TRUE(loaded.report.isEmpty()) << loaded.report.asText();
                    loaded.scene.makeCurrent();
                    EXPECT_EQ(RandomScene::contents(loaded.scene), contents);
                    ASSERT_EQ(difference(loaded.save(form, values, interfaces), bytes), "") << seed;
                    // By way of the other form, and over another scene.
                    const Form way = form == Form::TEXT ? Form::BINARY : Form::TEXT;
                    ASSERT_TRUE(
                        load(other.scene, loaded.save(way, values, interfaces), other.report));
                    ASSERT_EQ(difference(saved(other.scene, options, other.report), bytes), "");
                    ASSERT_TRUE(other.report.isEmpty()) << other.report.asText();
                }
            }
        }
    }
}

/// What a load passes over is a comment, and found before a save takes it away; nothing else is taken for one.
TEST(SceneFile, CommentsThatASaveWouldLoseAreFound)
{
    int found = 0;
    for (unsigned seed = 1; seed <= 2; ++seed) {
        RandomScene made(seed);
        const std::string bytes = saved(made.scene, saveOptions(Form::TEXT), made.report);
        const std::string binary = saved(made.scene, saveOptions(Form::BINARY), made.report);
        EXPECT_TRUE(NODfindComments(bytes, "f").empty()) << bytes;
        EXPECT_TRUE(NODfindComments(binary, "f").empty());
        for (std::size_t at = bytes.find('\n') + 1; at < bytes.size();) {
            const std::string comment = "# " + std::to_string(at);
            const bool insideFlag = bytes[at] == '\t';
            // There a word is a channel, whatever it begins with.
            const bool aliasesFlag =
                bytes.compare(bytes.rfind("\nsection", at), 17, "\nsection \"aliases") == 0;
            std::string changed = bytes;
            changed.insert(at, (insideFlag ? "\t" : "") + comment + "\n");
            Loaded loaded(changed);
            if (!(insideFlag && aliasesFlag) && loaded.report.isEmpty() && loaded.save() == bytes) {
                const std::vector<NOD_FileLoss> losses = NODfindComments(changed, "f");
                ASSERT_EQ(losses.size(), 1u)
                    << changed.substr(at - std::min<std::size_t>(at, 200), 400);
                EXPECT_EQ(losses[0].comment, comment);
                EXPECT_EQ(NODfindFrameComments(changed, "f").empty(), insideFlag);
                ++found;
            }
            for (unsigned lines = 1 + made.next(9); lines > 0 && at < bytes.size(); --lines) {
                at = std::min(bytes.find('\n', at), bytes.size()) + 1;
            }
        }
    }
    EXPECT_GT(found, 100);
}

/// Files of earlier days are read, and hold the same in both forms.
TEST(SceneFile, GoldenFilesAreSavedToTheirBytes)
{
    std::string contents[2];
    for (const Form form : {Form::TEXT, Form::BINARY}) {
        const bool isText = form == Form::TEXT;
        std::ifstream file(std::string(ZEL_TESTS_DIR "/golden/all_sections") +
                           (isText ? ".scene" : ".bscene"));
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        Loaded loaded(bytes);
        EXPECT_FALSE(loaded.report.hasErrors()) << loaded.report.asText();
        EXPECT_EQ(loaded.report.getMessages().size(), 2u) << "a type and a section aren't known";
        EXPECT_EQ(difference(loaded.save(form), bytes), "");
        loaded.scene.makeCurrent();
        contents[isText] = RandomScene::contents(loaded.scene);
        EXPECT_GT(contents[isText].size(), 1000u);
    }
    EXPECT_EQ(contents[0], contents[1]);
}

/// What was missing comes.
void giveTypes(NOD_Node &node, const NOD_Node &like)
{
    if (node.isTypeMissing()) {
        node.renewParms(like.getInterface());
    }
    for (const auto &child : node.getChildren()) {
        giveTypes(*child, *like.getChild(child->getName()));
    }
}

/// Nodes of interfaces that aren't there keep all they had.
TEST(SceneFile, NothingIsLostWhereTypesAreMissing)
{
    NOD_LoadOptions noScripts;
    noScripts.scripts = Scripts::NONE;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        RandomScene made(seed);
        for (const Form form : {Form::TEXT, Form::BINARY}) {
            const std::string bytes = saved(made.scene, saveOptions(form), made.report);
            NOD_Scene poor;
            NOD_Report report;
            ASSERT_TRUE(load(poor, bytes, report, noScripts));
            EXPECT_TRUE(report.hasErrors());
            poor.setTime(made.scene.getTime());
            const auto &nodes = poor.getRoot().getChildren();
            NOD_Node &node = **std::find_if(nodes.begin(), nodes.end(),
                                            [](const auto &one) { return one->isTypeMissing(); });
            takeMessages();
            EXPECT_FALSE(node.addSpareParm(RandomScene::application()));
            EXPECT_FALSE(node.setSpareParms(RandomScene::application()));
            EXPECT_EQ(takeMessages(), "ZEL 28; ZEL 28") << "they wouldn't be saved";
            NOD_Report saving;
            EXPECT_EQ(difference(saved(poor, saveOptions(form), saving), bytes), "");
            EXPECT_TRUE(saving.isEmpty()) << saving.asText();
            poor.addInterface(RandomScene::application());
            giveTypes(poor.getRoot(), made.scene.getRoot());
            EXPECT_EQ(takeMessages(), "");
            EXPECT_EQ(difference(saved(poor, saveOptions(form), saving), bytes), "");
            while (poor.getUndo().undo()) {
            }
            EXPECT_TRUE(node.isTypeMissing());
            EXPECT_EQ(difference(saved(poor, saveOptions(form), saving), bytes), "");
        }
    }
}

/// What has no place, or is about nothing that is there, is told and doesn't move; the root's own type may be
/// missing, too.
TEST(SceneFile, WhatIsKeptStaysWhereItWas)
{
    const std::string odd = "#STO_INDEX 1.0\n"
                            "section \"scene\"\n\tversion 1.0\n\tframerate 24\n\trange 1 240\n"
                            "\ttime 0\nend\n"
                            "section \"node /\"\n\ttype \"gone\"\nend\n"
                            "section \"values /\"\n\tanything\nend\n"
                            "section \"node /a\"\nend\n"
                            "section \"interface\"\n\ta word\nend\n"
                            "section \"future /\"\n\ta text\nend\n"
                            "#END\n";
    NOD_Scene scene;
    NOD_Report report;
    ASSERT_TRUE(load(scene, odd, report, {}));
    EXPECT_FALSE(report.hasErrors()) << report.asText();
    EXPECT_EQ(difference(saved(scene, saveOptions(Form::TEXT), report), odd), "");
    scene.getRoot().renewParms(std::shared_ptr<const NOD_Interface>());
    EXPECT_TRUE(scene.getUndo().undo());
    EXPECT_EQ(difference(saved(scene, saveOptions(Form::TEXT), report), odd), "");
    scene.clear();
    EXPECT_FALSE(scene.getRoot().isTypeMissing());

    const std::string part = "#STO_INDEX 1.0\nsection \"part\"\n\tversion 1.0\nend\n"
                             "section \"scene\"\n\tversion 1.0\nend\n"
                             "section \"future /\"\n\ta text\nend\n";
    NOD_Scene other;
    NOD_Report found;
    std::istringstream none(part + "#END\n");
    EXPECT_FALSE(NOD_NodeFile::load(other, other.getRoot(), none, "none", {}, found));
    EXPECT_TRUE(other.getRoot().getKeptSections().empty());
    NOD_Node &above = *other.add("/above", nullptr, found);
    std::istringstream one(part + "section \"node /b\"\nend\n#END\n");
    EXPECT_TRUE(NOD_NodeFile::load(other, above, one, "one", {}, found));
    EXPECT_NE(found.asText().find("has no place in this file"), std::string::npos)
        << found.asText();
    EXPECT_TRUE(above.getKeptSections().empty());
    EXPECT_EQ(other.getRoot().getKeptSections().size(), 1u);
}

/// Two components that a cut stream links to one channel are, too.
TEST(SceneFile, WhatACutLoadLeftIsReadBackToTheSameBytes)
{
    const std::string values = "{\nversion 0.8\npoints ( 2 )\n"
                               "at2\t[ 0 ]\t(\t[ at2x 0 ]\t[ at2x 0 ]\t)\nnone cut";
    NOD_Scene scene;
    NOD_Report report, found;
    NOD_Node &node =
        *scene.add("/a", NOD_Interface::fromText(theSceneScript, "thing", report), report);
    NOD_NodeSections sections = NOD_NodeSections::take(node, NOD_NodeSections::Form::TEXT, report);
    sections.channels = "channels 1.0\n{\n    channel at2x {\n        key 0 0 \"$F\"\n    }\n}\n";
    sections.values = values;
    sections.load(node, found);
    EXPECT_TRUE(found.hasErrors());
    for (const Form form : {Form::TEXT, Form::BINARY}) {
        const std::string bytes = saved(scene, saveOptions(form), report);
        Loaded loaded(bytes);
        EXPECT_EQ(difference(loaded.save(form), bytes), "");
        EXPECT_TRUE(report.isEmpty() && loaded.report.isEmpty()) << loaded.report.asText();
    }
}

TEST(SceneFile, HistoryLeavesNoTrace)
{
    NOD_Report report;
    const auto thing = NOD_Interface::fromText(theSceneScript, "thing", report);
    const auto count = [](NOD_Node &node, const char *token, double items) {
        node.getParms().setFloat(items, token, 0, 0.0, false);
        node.getParms().evalFloat(token, 0, 0.0);
    };
    const auto drive = [](NOD_Node &node, const char *token, int k) {
        ASSERT_TRUE(node.getParms().getParmPtr(token)) << token;
        node.getParms().getParmPtr(token)->setExpression(0.0, "$F", TRK_LANGUAGE_NATIVE, k, true,
                                                         true, true);
    };
    static ZEL_Name extra("extra", "Extra"), more("more", "More");
    const ZEL_Template first(ZEL_FLT, 1, &extra), second(ZEL_FLT, 1, &more);
    std::string bytes[2];
    for (const bool detour : {false, true}) {
        NOD_Scene scene;
        NOD_Node &node = *scene.add("/a", thing, report);
        if (detour) {
            node.addSpareParm(second);
            count(node, "points", 5);
            count(node, "points", 2);
            count(node, "parts2", 3);
            count(node, "profile", 4);
            node.removeSpareParm("more");
            count(node, "parts1", 1);
            drive(node, "at2", 1);
            node.addSpareParm(first);
            count(node, "parts2", 1);
            node.addSpareParm(second);
            drive(node, "n", 0);
            drive(node, "part1_1", 0);
            count(node, "profile", 3);
            node.getParms().setChannelAlias(node.getParms().getParmPtr("n"), 0, "b");
            node.getParms().setChannelAlias(node.getParms().getParmPtr("t"), 0, "a");
        } else {
            node.getParms().setChannelAlias(node.getParms().getParmPtr("t"), 0, "a");
            node.getParms().setChannelAlias(node.getParms().getParmPtr("n"), 0, "b");
            drive(node, "n", 0);
            count(node, "points", 2);
            count(node, "parts1", 1);
            drive(node, "part1_1", 0);
            drive(node, "at2", 1);
            count(node, "parts2", 1);
            count(node, "profile", 3);
            node.addSpareParm(first);
            node.addSpareParm(second);
        }
        bytes[detour] = saved(scene, saveOptions(Form::TEXT), report);
    }
    EXPECT_TRUE(report.isEmpty()) << report.asText();
    EXPECT_EQ(difference(bytes[0], bytes[1]), "");
}

/// The count of a block may read a node that comes later, or an item of another such block; no larger number
/// that is saved beside it counts.
TEST(SceneFile, ItemsAreThoseThatTheCountAsksFor)
{
    NOD_Report report;
    const auto blocks = NOD_Interface::fromText(
        "{ name blocks parm { name n type integer default { 6 } } "
        "multiparm { name items default { 3 } parm { name w# } parm { name s# type string } } }",
        "blocks", report);
    const char *const orders[][3] = {{"a", "b", "c"}, {"c", "b", "a"}, {"b", "c", "a"}};
    for (const auto &names : orders) {
        NOD_Scene scene;
        for (const char *name : names) {
            scene.getRoot().addChild(name, blocks);
        }
        const auto list = [&](const char *path) -> ZEL_ParmList & {
            return scene.find(path)->getParms();
        };
        const auto drive = [&](const char *path, const char *token, const char *text) {
            list(path).getParmPtr(token)->setExpression(0.0, text, TRK_LANGUAGE_NATIVE, 0, true,
                                                        true, true);
        };
        list("/c").setInt(2, "n", 0, 0.0, true);
        drive("/b", "items", "ch('/c/n')");
        list("/b").setFloat(4.0, "w2", 0, 0.0, true);
        drive("/a", "items", "ch('/b/w2')");
        list("/a").setFloat(7.5, "w4", 0, 0.0, true);
        drive("/a", "w3", "ch('w4')");
        scene.makeCurrent();
        for (const Values values : {Values::ALL, Values::CHANGED}) {
            const std::string bytes = saved(scene, saveOptions(Form::TEXT, values), report);
            std::string other = bytes;
            for (std::size_t at = other.find("[ items\t"); at != std::string::npos;
                 at = other.find("[ items\t", at + 1)) {
                other.replace(at + 8, 1, "9");
            }
            Loaded loaded(other);
            EXPECT_TRUE(loaded.report.isEmpty()) << names[0] << loaded.report.asText();
            for (const char *path : {"/a", "/b", "/c"}) {
                EXPECT_EQ(loaded.scene.find(path)->getParms().getEntries(),
                          list(path).getEntries());
            }
            EXPECT_EQ(loaded.scene.find("/a")->getParms().evalFloat("w3", 0, 0.0), 7.5);
            EXPECT_EQ(difference(loaded.save(Form::TEXT, values), bytes), "") << names[0];

            // A count that asks for more than a file may is told, once, with its node.
            other = bytes;
            const std::string count = "ch('/c/n')";
            other.replace(other.find(count), count.size(), "123456 * 10");
            Loaded greedy(other);
            EXPECT_EQ(greedy.report.getErrorCount(), 1) << greedy.report.asText();
            EXPECT_EQ(greedy.report.getMessages().at(0).subject, "values /b");
            EXPECT_EQ(greedy.report.getMessages().at(0).code, ZEL_ERR_TOO_MANY_ITEMS);
        }
    }
    EXPECT_TRUE(report.isEmpty()) << report.asText();
}

// ---------------------------------------------------------------------- //
// Cut and failed
// ---------------------------------------------------------------------- //

void makeSmall(NOD_Scene &scene, NOD_Report &report)
{
    scene.addInterface(RandomScene::application());
    NOD_Node &a = *scene.add("/a", RandomScene::application(), report);
    NOD_Node &b = *scene.add(
        "/a/b", NOD_Interface::fromText("{ name odd parm { name v } }", "odd", report), report);
    a.getParms().setFloat(2.5, "power", 0, 0.0, true);
    b.getParms().getParmPtr("v")->setExpression(0.0, "ch(\"../power\")", TRK_LANGUAGE_NATIVE, 0,
                                                true, true, true);
    b.getParms().setChannelAlias(b.getParms().getParmPtr("v"), 0, "w");
    static ZEL_Name extra("extra", "Extra");
    b.addSpareParm(ZEL_Template(ZEL_FLT, 1, &extra));
    b.setVariable("V", "x");
    scene.setFrameRate(30.0);
}

/// Where each section ends.
std::vector<std::pair<std::size_t, std::string>> sectionsOf(const std::string &bytes, Form form)
{
    std::vector<std::pair<std::size_t, std::string>> sections;
    if (form == Form::TEXT) {
        std::size_t start = bytes.find("section ");
        for (std::size_t end; start != std::string::npos; start = bytes.find("section ", end)) {
            end = std::min(bytes.find("\nend\n", start), bytes.find("\nopen\n", start));
            sections.emplace_back(end + 4, bytes.substr(start, end - start));
        }
        return sections;
    }
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::BINARY);
    std::uint32_t name = 0;
    std::uint64_t text = 0;
    for (is.seekg(12); is.bread(name) && is.bread(text) && name > 0;) {
        const std::size_t start = std::size_t(is.tellg());
        is.seekg(std::int64_t(start + name + text));
        sections.emplace_back(start + name + text, bytes.substr(start, name + text));
    }
    return sections;
}

TEST(SceneFile, EveryCutIsToldAndKeepsTheRest)
{
    NOD_Scene scene;
    NOD_Report report;
    makeSmall(scene, report);
    for (const Form form : {Form::TEXT, Form::BINARY}) {
        const std::string whole = saved(scene, saveOptions(form), report);
        const auto sections = sectionsOf(whole, form);
        ASSERT_EQ(sections.size(), 10u) << whole;
        // A last line is whole without its line feed.
        for (std::size_t length = 0; length + (form == Form::TEXT) < whole.size(); ++length) {
            Loaded loaded(whole.substr(0, length));
            ASSERT_TRUE(loaded.report.hasErrors()) << length;
            ASSERT_EQ(loaded.isScene, length >= sections[0].first) << length;
            const std::string again = loaded.isScene ? loaded.save(form) : "";
            for (const auto &[end, section] : sections) {
                // Interfaces are saved with their nodes.
                ASSERT_TRUE(end > length || section.find("interface") < 10 ||
                            again.find(section) != std::string::npos)
                    << length << ": " << section;
            }
        }
        EXPECT_TRUE(Loaded(whole).report.isEmpty());
    }
    EXPECT_TRUE(report.isEmpty()) << report.asText();
}

/// Takes so many bytes, then fails.
class Limited : public std::streambuf
{
public:
    explicit Limited(std::size_t room) : myRoom(room) {}

protected:
    int_type overflow(int_type c) override
    {
        return myRoom-- > 0 ? c : (myRoom = 0, traits_type::eof());
    }

private:
    std::size_t myRoom;
};

bool failWrite(void *, const char *step)
{
    errno = ENOSPC;
    return std::string(step) != "write";
}

TEST(SceneFile, EveryFailedWriteIsTold)
{
    NOD_Scene scene;
    NOD_Report report;
    makeSmall(scene, report);
    for (const Form form : {Form::TEXT, Form::BINARY}) {
        const std::string whole = saved(scene, saveOptions(form), report);
        for (std::size_t room = 0; room <= whole.size(); ++room) {
            Limited target(room);
            std::ostream os(&target);
            NOD_Report failed;
            ASSERT_EQ(NOD_SceneFile::save(scene, os, saveOptions(form), failed),
                      room == whole.size());
            ASSERT_EQ(failed.hasErrors(), room < whole.size()) << room;
        }
    }
    const std::string path = testing::TempDir() + "failed.scene";
    std::ofstream(path) << "old";
    STO_Writer::setStepHook(failWrite, nullptr);
    EXPECT_FALSE(NOD_SceneFile::save(scene, path, {}, report));
    STO_Writer::setStepHook(nullptr, nullptr);
    EXPECT_EQ(report.asText(), path + ": can't be written: No space left on device\n");
    std::string old;
    std::getline(std::ifstream(path), old);
    EXPECT_EQ(old, "old");
    EXPECT_TRUE(NOD_SceneFile::save(scene, path, {}, report));
    NOD_Report loading;
    NOD_Scene other;
    other.addInterface(RandomScene::application());
    EXPECT_TRUE(NOD_SceneFile::load(other, path, {}, loading)) << loading.asText();
    EXPECT_FALSE(NOD_SceneFile::load(other, path + ".no", {}, loading));
    EXPECT_TRUE(other.find("/a/b")) << "as it was";
    EXPECT_EQ(loading.asText(), path + ".no: can't be read: No such file or directory\n");
}

// ---------------------------------------------------------------------- //
// Bad input
// ---------------------------------------------------------------------- //

using Sections = std::vector<std::pair<std::string, std::string>>;

std::string fileOf(const Sections &sections)
{
    std::ostringstream os;
    STO_IndexFile::writeStart(os);
    for (const auto &[name, text] : sections) {
        STO_IndexFile::writeSection(os, name, text);
    }
    STO_IndexFile::writeEnd(os);
    return os.str();
}

TEST(SceneFile, BadInputIsToldWithItsPlace)
{
    const std::string values = "{\nversion 0.8\npower\t[ 0\tlocks=0 ]\t(\t7\t)\n}\n";
    const std::string isNotKnown = "\" isn't known here, or has a value that can't be\n";
    const std::pair<Sections, std::string> cases[] = {
        {{{"scene", "version 7\nfps 3\nframerate 0\nrange 9 1e999\ntime x\n"}},
         "scene(3): scene: warning: version 7 is newer than this one, 1.0\n"
         "scene(4): scene: \"fps" +
             isNotKnown + "scene(5): scene: \"framerate" + isNotKnown + "scene(6): scene: \"range" +
             isNotKnown + "scene(7): scene: \"time" + isNotKnown},
        {{{"scene", ""},
          {"interface a", "application\n"},
          {"interface b", "file \"no.ds\"\n"},
          {"interface c", "text\n{ name c parm { name v type x }\n"},
          {"interface d", "web\n"},
          {"interface e", "text\n{ name e\nparm { name } }\n"},
          {"interface f", ""}},
         "scene(5): interface a: warning: the application has no interface of this name\n"
         "no.ds: can't be read: No such file or directory\n"
         "scene(8): interface b: there is no interface in no.ds\n"
         "scene(12): interface c: warning: Unknown parameter type - assuming float\n"
         "scene(12): interface c: Expecting close brace for script\n"
         "scene(15): interface d: expects \"file\" with a path, \"text\" or \"application\"\n"
         "scene(20): interface e: Expecting close brace for script\n"
         "scene(23): interface f: expects \"file\" with a path, \"text\" or \"application\"\n"},
        {{{"scene", ""},
          {"node a", ""},
          {"node /a/b", ""},
          {"node /", "type \"no\"\n"},
          {"node /x", "type \"no\"\nflags 3\nvariable \"V\"\n"},
          {"node //y", ""},
          {"node /.", ""},
          {"node /x/..", ""},
          {"node ", ""},
          {"node", ""}},
         "scene(4): node a: isn't the path of a node: left out\n"
         "scene(22): node : isn't the path of a node: left out\n"
         "scene(13): node /x: \"flags\" isn't known here: left out\n"
         "scene(14): node /x: \"variable\" isn't known here: left out\n"
         "scene(18): node /.: isn't the path of a node: left out\n"
         "scene(6): node /a/b: there is no node /a: left out\n"
         "scene(16): node //y: isn't the path of a node: left out\n"
         "scene(20): node /x/..: isn't the path of a node: left out\n"
         "scene(9): node /: warning: the type \"no\" isn't known here: 2 nodes of it have no parameters, and keep their sections\n"
         "scene(24): node: warning: isn't known here: kept as it is\n"},
        {{{"scene", ""},
          {"values /no", values},
          {"channels /no", ""},
          {"gizmo /good", "1"},
          {"gizmo", "2"},
          {"gizmo /", "3"},
          {"", ""}},
         "scene(21): The index file is damaged: the section's name\n"
         "scene(4): values /no: there is no such node: left out\n"
         "scene(10): channels /no: there is no such node: left out\n"
         "scene(12): gizmo /good: warning: isn't known here: kept as it is\n"
         "scene(15): gizmo: warning: isn't known here: kept as it is\n"
         "scene(18): gizmo /: warning: isn't known here: kept as it is\n"},
        {{{"scene", ""},
          {"node /a", "type \"lamp\"\n"},
          {"values /a", "{\nversion 0.9\npower ( 1 2 )\nno ( 3 )\nnote [ 0 ] ( [ note ] )\n"},
          {"channels /a", "channels 1.0\n{\n    channel power {\n        default x\n    }\n}\n"},
          {"aliases /a", "{\n\tpower note\n\tno other\n"},
          {"spares /a", "{ parm { name s type float }\n#include \"/etc/hostname\"\n}"}},
         "scene(29): spares /a: this text can't include files: '/etc/hostname'\n"
         "scene(30): spares /a: parameter page without a name\n"
         "scene(18): channels /a: Channels: a number is expected: line 4: \"x\"\n"
         "scene(7): values /a: warning: The data is newer than this library\n"
         "scene(7): values /a: warning: More values than components; the surplus is left out: /a Power\n"
         "scene(7): values /a: warning: Unknown parameter: no\n"
         "scene(7): values /a: warning: The channel was not found: note\n"
         "scene(22): aliases /a: the closing brace is missing\n"
         "scene(22): aliases /a/no: can't have this alias: other\n"
         "scene(22): aliases /a/power: can't have this alias: note\n"},
    };
    for (const auto &[sections, expected] : cases) {
        Sections all = sections;
        // What is whole is loaded beside it.
        all.insert(all.end(), {{"node /good", "type \"lamp\"\n"}, {"values /good", values}});
        Loaded loaded(fileOf(all));
        EXPECT_EQ(loaded.report.asText(), expected);
        NOD_Node *const good = loaded.scene.find("/good");
        ASSERT_TRUE(good);
        EXPECT_EQ(good->getParms().evalFloat("power", 0, 0.0), 7.0);
    }
}

/// What inputs may take, while it lives.
struct Megabytes
{
    explicit Megabytes(int most) { KIT_EnvControl::setInt(KIT_ENV_MAX_STREAM_MEGABYTES, most); }
    ~Megabytes() { KIT_EnvControl::setInt(KIT_ENV_MAX_STREAM_MEGABYTES, usual); }
    const int usual = KIT_EnvControl::getInt(KIT_ENV_MAX_STREAM_MEGABYTES);
};

TEST(SceneFile, WhatIsSavedIsReadOrTheSaveTells)
{
    // Of these nodes a save leaves the names.
    const Megabytes limit(1);
    NOD_Report report;
    std::string script = "{ name big\nmultiparm { name items default { 30 } parm { name at# } }\n";
    for (int i = 0; i < 5; ++i) {
        script += "parm { name p" + std::to_string(i) + " }\n";
    }
    const auto big = NOD_Interface::fromText(script + "}", "big", report);
    NOD_Scene scene;
    const auto addTo = [&](std::size_t nodes) {
        while (scene.getRoot().getChildren().size() < nodes) {
            scene.add("/" + NOD_Scene::freeName(scene.getRoot(), "n"), big, report);
        }
    };
    for (const Form form : {Form::TEXT, Form::BINARY}) {
        const NOD_SaveOptions options = saveOptions(form, Values::CHANGED);
        const bool isFirst = form == Form::TEXT;
        addTo(isFirst ? 100 : 400);
        const std::string bytes = saved(scene, options, report);
        EXPECT_EQ(report.isEmpty(), isFirst) << report.asText();
        Loaded usual(bytes);
        EXPECT_EQ(usual.report.isEmpty(), isFirst) << usual.report.asText().substr(0, 300);
        NOD_LoadOptions enough;
        enough.nodeMegabytes = 20;
        Loaded own(bytes, enough);
        EXPECT_TRUE(own.report.isEmpty()) << own.report.asText().substr(0, 300);
        EXPECT_EQ(difference(own.save(form, Values::ALL), saved(scene, saveOptions(form), report)),
                  "");
    }
    EXPECT_EQ(report.getMessages().size(), 1u);
    EXPECT_NE(report.asText().find("a reading gives them"), std::string::npos);

    NOD_Scene tall;
    NOD_Node *node = &tall.getRoot();
    for (int level = 0; level < 1000; ++level) {
        node = node->addChild("a");
    }
    const std::string path = testing::TempDir() + "tall.scene";
    NOD_Report saving;
    ASSERT_TRUE(NOD_SceneFile::save(tall, path, {}, saving)) << saving.asText();
    std::ostringstream part;
    node->addChild("a");
    ASSERT_TRUE(NOD_NodeFile::save(tall, *tall.find("/a/a"), part, {}, saving));
    EXPECT_FALSE(NOD_SceneFile::save(tall, path, {}, saving));
    EXPECT_FALSE(NOD_NodeFile::save(tall, *tall.find("/a"), part, {}, saving));
    EXPECT_EQ(saving.getErrorCount(), 2) << saving.asText();
    NOD_Report loading;
    NOD_Scene read;
    ASSERT_TRUE(NOD_SceneFile::load(read, path, {}, loading)) << "as it was";
    EXPECT_TRUE(loading.isEmpty());
    for (const bool fits : {true, false}) {
        std::istringstream is(part.str());
        NOD_Node &above = *read.getRoot().addChild(fits ? "b" : "c");
        EXPECT_TRUE(
            NOD_NodeFile::load(read, fits ? read.getRoot() : above, is, "part", {}, loading));
        EXPECT_EQ(loading.isEmpty(), fits);
    }
}

TEST(SceneFile, HoldsOffWhatIsTooDeepTooLargeOrTwice)
{
    std::string path;
    for (int i = 0; i < 1001; ++i) {
        path += "/a";
    }
    Sections deep = {{"scene", ""}};
    for (std::size_t length = 2; length <= path.size(); length += 2) {
        deep.emplace_back("node " + path.substr(0, length), "");
    }
    Loaded levels(fileOf(deep));
    EXPECT_EQ(levels.report.getErrorCount(), 1);
    EXPECT_NE(levels.report.asText().find("is deeper than 1000 levels: left out"),
              std::string::npos);

    // A few bytes a node that make many parameters.
    std::string script = "text\n{ name big\n";
    for (int i = 0; i < 1000; ++i) {
        script += "parm { name p" + std::to_string(i) + " type float }\n";
    }
    Sections large = {{"scene", ""}, {"interface big", script + "}\n"}};
    for (int i = 0; i < 2000; ++i) {
        large.emplace_back("node /n" + std::to_string(i), "type \"big\"\n");
    }
    const Megabytes limit(16);
    Loaded nodes(fileOf(large));
    EXPECT_TRUE(nodes.report.hasErrors());
    EXPECT_LT(nodes.scene.getRoot().getChildren().size(), 600u) << "1 kB for each byte";
    EXPECT_NE(nodes.report.asText().find("nodes take more memory than the "), std::string::npos);

    const std::string once = fileOf({{"scene", ""}, {"node /a", "type \"lamp\"\n"}});
    const std::string twice = once + once.substr(once.find('\n') + 1);
    Loaded repeated(twice);
    EXPECT_EQ(repeated.report.asText(),
              "scene(8): scene: is there twice: the first one counts\n"
              "scene(10): node /a: is there twice: the first one counts\n");
    EXPECT_EQ(repeated.scene.getRoot().getChildren().size(), 1u);
    EXPECT_FALSE(Loaded("").isScene);
    EXPECT_FALSE(Loaded("no scene").isScene);
    EXPECT_FALSE(Loaded(fileOf({{"part", ""}})).isScene);
}

// ---------------------------------------------------------------------- //
// Scripts
// ---------------------------------------------------------------------- //

TEST(SceneFile, ScriptsAreFoundFromTheFile)
{
    namespace fs = std::filesystem;
    const fs::path top = fs::path(testing::TempDir()) / "scenes";
    fs::remove_all(top);
    fs::create_directories(top / "show/scripts");
    std::ofstream(top / "show/scripts/in.ds") << "{ name in parm { name v } }";
    std::ofstream(top / "out.ds") << "{ name out parm { name v } }";
    std::ofstream(top / "show/nosy.ds") << "{ name nosy\n#include \"../out.ds\"\n}";
    fs::create_symlink(top / "out.ds", top / "show/link.ds");
    NOD_Report report;
    NOD_Scene scene;
    scene.add("/a", NOD_Interface::fromFile((top / "show/scripts/in.ds").string(), report), report);
    scene.add("/b", NOD_Interface::fromFile((top / "out.ds").string(), report), report);
    const std::string path = (top / "show/shot.scene").string();
    ASSERT_TRUE(NOD_SceneFile::save(scene, path, {}, report)) << report.asText();
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(text.find("\tfile \"scripts/in.ds\"\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\tfile \"" + (top / "out.ds").string() + "\"\n"), std::string::npos);

    fs::rename(top / "show", top / "moved");
    const std::string moved = (top / "moved/shot.scene").string();
    NOD_LoadOptions confined;
    confined.scripts = Scripts::IN_FOLDER;
    for (const NOD_LoadOptions &options : {NOD_LoadOptions(), confined}) {
        NOD_Scene loaded;
        NOD_Report loading;
        ASSERT_TRUE(NOD_SceneFile::load(loaded, moved, options, loading));
        EXPECT_EQ(loading.isEmpty(), options.scripts == Scripts::ANYWHERE) << loading.asText();
        EXPECT_TRUE(loaded.find("/a")->getInterface());
        EXPECT_EQ(bool(loaded.find("/b")->getInterface()), options.scripts == Scripts::ANYWHERE);
        // To the same bytes at its place, also where a script wasn't read.
        NOD_SaveOptions here;
        here.folder = (top / "moved").string();
        std::ostringstream os;
        EXPECT_TRUE(NOD_SceneFile::save(loaded, os, here, loading));
        EXPECT_EQ(difference(os.str(), text), "");
    }
    confined.folder = (top / "moved").string();
    for (const char *script : {"link.ds", "../out.ds", "nosy.ds", "scripts/../../out.ds"}) {
        Loaded loaded(fileOf({{"scene", ""},
                              {"interface x", "file " + ("\"" + std::string(script)) + "\"\n"},
                              {"node /x", "type \"x\"\n"}}),
                      confined);
        EXPECT_TRUE(loaded.report.hasErrors()) << script;
        ASSERT_TRUE(loaded.scene.find("/x"));
        EXPECT_EQ(loaded.scene.find("/x")->getParms().getEntries(), 0) << script;
    }
}

// ---------------------------------------------------------------------- //
// Nodes
// ---------------------------------------------------------------------- //

TEST(NodeFile, ReferencesLeadToWhatCameAlong)
{
    NOD_Report report;
    NOD_Scene scene;
    const auto item =
        NOD_Interface::fromText("{ name item parm { name v } parm { name n } parm { name "
                                "s type string } }",
                                "item", report);
    for (const char *path :
         {"/obj", "/obj/top", "/obj/top/a", "/obj/top/a/b", "/obj/other", "/to"}) {
        scene.add(path, item, report)
            ->getParms()
            .setFloat(double(std::string(path).size()), "v", 0, 0.0, true);
    }
    const auto drive = [&](const char *node, const char *target) {
        const std::string text = "ch(\"" + std::string(target) + "/v\")";
        scene.find(node)->getParms().getParmPtr("n")->setExpression(
            0.0, text.c_str(), TRK_LANGUAGE_NATIVE, 0, false, true, true);
        scene.find(node)->getParms().setString(
            KIT_String(("`ch(\"" + std::string(target) + "/v\")`").c_str()), TRK_MEANING_LITERAL,
            "s", 0, 0.0, true);
    };
    drive("/obj/top", "a/b");
    drive("/obj/top/a", "/obj/top/a/b");
    drive("/obj/top/a/b", "../../../top");
    std::ostringstream inner;
    ASSERT_TRUE(NOD_NodeFile::save(scene, *scene.find("/obj/top"), inner, {}, report));
    scene.add("/to/top", nullptr, report);
    for (int round = 0; round < 2; ++round) {
        std::istringstream is(inner.str());
        NOD_Node *const top = NOD_NodeFile::load(scene, *scene.find("/to"), is, "part", {}, report);
        ASSERT_TRUE(top && report.isEmpty()) << report.asText();
        EXPECT_EQ(top->getName(), round ? "top2" : "top1");
        NOD_Node &b = *top->findNode("a/b");
        b.getParms().setFloat(100.0 + round, "v", 0, 0.0, true);
        top->getParms().setFloat(200.0 + round, "v", 0, 0.0, true);
        const auto check = [](NOD_Node &node, double value) {
            KIT_String text;
            node.getParms().evalString(text, "s", 0, 0.0);
            EXPECT_EQ(node.getParms().evalFloat("n", 0, 0.0), value);
            EXPECT_EQ(text.toFloat(), value) << text.nonNullStr();
        };
        check(*top, 100.0 + round);
        check(*top->findNode("a"), 100.0 + round);
        check(b, 200.0 + round);
    }
    EXPECT_EQ(scene.find("/obj/top/a")->getParms().evalFloat("n", 0, 0.0), 12.0);
    // What leads elsewhere stays.
    drive("/obj/top/a", "/obj/other");
    drive("/obj/top", "../other");
    std::ostringstream outer;
    ASSERT_TRUE(NOD_NodeFile::save(scene, *scene.find("/obj/top"), outer, {}, report));
    std::istringstream is(outer.str());
    NOD_Node &top = *NOD_NodeFile::load(scene, *scene.find("/obj"), is, "part", {}, report);
    EXPECT_EQ(top.getParms().evalFloat("n", 0, 0.0), 10.0);
    EXPECT_EQ(top.findNode("a")->getParms().evalFloat("n", 0, 0.0), 10.0);
    std::istringstream scenes(fileOf({{"scene", ""}, {"node /a", ""}}));
    EXPECT_FALSE(NOD_NodeFile::load(scene, top, scenes, "part", {}, report));
    std::istringstream two(
        fileOf({{"part", ""}, {"node /a", ""}, {"node /b", ""}, {"node /", ""}}));
    EXPECT_TRUE(NOD_NodeFile::load(scene, top, two, "part", {}, report));
    EXPECT_FALSE(NOD_NodeFile::save(scene, scene.getRoot(), outer, {}, report));
    EXPECT_EQ(report.asText(), "part: part: isn't there: this is no file of a node\n"
                               "part(8): node /: isn't the path of a node: left out\n"
                               "part(6): node /b: is a second node at the top: left out\n"
                               "/: the root is no node of a file: save the scene\n");
}

} // namespace
