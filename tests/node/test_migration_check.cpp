// Whether a map covers its scripts, the tests in it, and files with nodes of older versions.

#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_MigrationCheck.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_MigrationWalk.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_TextEdit.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <gtest/gtest.h>
#include <node/RandomMaps.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

NOD_MigrationMap mapOf(const std::string &text, const std::vector<std::string> &scripts)
{
    NOD_Report report;
    NOD_MigrationMap map;
    EXPECT_TRUE(map.read(std::string_view(text), "m", report)) << report.asText() << text;
    for (std::size_t i = 0; i < scripts.size() && !map.getVersions().empty(); ++i) {
        map.setInterface(
            int(i), NOD_Interface::fromText("{ name rig " + scripts[i] + " }\n", "rig", report));
    }
    EXPECT_TRUE(report.isEmpty()) << report.asText();
    return map;
}

std::string checked(const NOD_MigrationMap &map)
{
    NOD_Report report;
    const int holes = NODcheckMigration(map, report);
    EXPECT_EQ(holes, report.getErrorCount());
    return report.asText();
}

TEST(MigrationCheck, FindsEachHole)
{
    const char *const former =
        "parm { name a type float } parm { name k type ordinal menu { x X y Y } }"
        " parm { name t type vector } parm { name s type string } parm { name n type int }"
        " multiparm { name m parm { name w# type float } }";
    struct Case
    {
        const char *steps;
        const char *present;
        const char *told;
    };
    const std::string same = former;
    const Case cases[] = {
        {"", former, ""},
        {"",
         "parm { name k type ordinal menu { x X y Y } } parm { name t type vector }"
         " parm { name s type string } parm { name n type float }",
         "m(3): a: of version 1 isn't in version 2: rename it, or drop it with a reason\n"
         "m(3): m: of version 1 isn't in version 2: rename it, or drop it with a reason\n"
         "m(3): w#: of version 1 isn't in version 2: rename it, or drop it with a reason\n"},
        {"drop a x\ndrop m y",
         "parm { name k type ordinal menu { x X z Z } } parm { name t type float size 2 }"
         " parm { name s type float } parm { name n type toggle }",
         "m(3): k: the entry \"y\" of its menu isn't in version 2: say what it is with menu\n"
         "m(3): t: has 3 components, and 2 in version 2\n"
         "m(3): s: is of the kind string, and s of version 2 of the kind float: retype it\n"
         "m(3): n: is of the kind int, and n of version 2 of the kind toggle: retype it\n"},
        {"rename q r\nunit s * 2\nmenu a x y\nmenu k z x\nmenu k y w\nretype a int string\n"
         "rename w# v#\nunit m * 2",
         former,
         "m(4): q: version 1 has no parameter of that name\n"
         "m(4): r: version 2 has no parameter of that name\n"
         "m(5): s: a unit is for numbers, and this is of the kind string\n"
         "m(6): a: has no menu: it is of the kind float\n"
         "m(7): k: \"z\" is no entry of its menu in version 1\n"
         "m(9): a: is of the kind float, not int\n"
         "m(10): v#: version 2 has no parameter of that name\n"
         "m(11): m: has no kind of value that the step is for\n"
         "m(3): a: is of the kind string, and a of version 2 of the kind float: retype it\n"
         "m(8): k: \"w\" is no entry of the menu of k in version 2\n"},
        {"rename a n\ndrop m x",
         "parm { name k type ordinal menu { x X y Y } } parm { name t type vector }"
         " parm { name s type string } parm { name n type float }",
         "m(3): n: is what both a and n of version 1 are to be: rename or drop one\n"},
        {"split t a n\ndrop m x\ndrop a x\ndrop n x",
         "parm { name a type float } parm { name n type vector } parm { name s type string }"
         " parm { name k type ordinal menu { x X y Y } }",
         "m(4): n: has several components, and is to be one of a vector\n"
         "m(4): t: has 3 components, and the step 2\n"}};
    for (const Case &one : cases) {
        const std::string head = "migration 1.0\nversion 1\nversion 2\n";
        EXPECT_EQ(checked(mapOf(head + one.steps, {former, one.present})), one.told) << one.steps;
    }
}

/// A map without one of its steps has a hole, but for units, and for whole numbers that become numbers.
TEST(MigrationCheck, EachStepIsNeeded)
{
    int left = 0;
    for (unsigned seed = 1; seed <= 30; ++seed) {
        RandomMaps maps(seed);
        maps.step();
        maps.step();
        EXPECT_EQ(checked(mapOf(maps.text, maps.scripts)), "") << maps.text;
        std::vector<std::string> lines;
        std::istringstream is(maps.text);
        for (std::string line; std::getline(is, line);) {
            lines.push_back(line);
        }
        for (std::size_t out = 0; out < lines.size(); ++out) {
            const std::string &line = lines[out];
            if (line.find("version") == 0 || line.find("migration") == 0 ||
                line.find("unit") == 0 || line.find("int float") != std::string::npos) {
                continue;
            }
            std::string text;
            for (std::size_t i = 0; i < lines.size(); ++i) {
                text += i == out ? "" : lines[i] + "\n";
            }
            EXPECT_NE(checked(mapOf(text, maps.scripts)), "") << "without " << line << "\n" << text;
            ++left;
        }
    }
    EXPECT_GT(left, 100);
}

TEST(MigrationCheck, RunsTheTestsOfAMap)
{
    const std::string head = "migration 1.0\nversion 1\nversion 2\nunit a * 2\nunit t * 2\n";
    const char *const script =
        "parm { name a type float } parm { name t type vector }"
        " parm { name s type string } parm { name k type ordinal menu { x X y Y } }";
    const auto run = [&](const std::string &lines, int failed) {
        NOD_Report report;
        int count = 0;
        EXPECT_EQ(NODrunMigrationTests(mapOf(head + lines, {script, script}), report, &count),
                  failed);
        EXPECT_EQ(count, 2);
        return report.asText();
    };
    EXPECT_EQ(run("test one\nset a 2\nset t 1 2 3\nset s \"b c\"\nset k y\nexpect a 4.0\n"
                  "expect t 2 4 6\nexpect t:1 4\nexpect s b c\nexpect k y\nend\n"
                  "test two\nkey a@0 0\nkey a@1 2\nexpect a@0.5 2\nexpression t:0 \"1 + 1\"\n"
                  "expect tx 4\nexpect t:1 0\nend\n",
                  0),
              "");
    EXPECT_EQ(run("test one\nset a 2\nexpect a 5\nexpect t 0 0 1\nexpect b 1\nend\n"
                  "test two\nset b 1\nset a x\nexpect a 1\nend\n",
                  2),
              "m(8): a: is 4, and the test \"one\" expects 5\n"
              "m(9): t: is 0 0 0, and the test \"one\" expects 0 0 1\n"
              "m(10): there is no parameter b\n"
              "m(13): there is no parameter b\n");
}

TEST(MigrationCheck, TheExampleIsWhole)
{
    NOD_Report report;
    NOD_MigrationMap map;
    ASSERT_TRUE(map.read(ZEL_TESTS_DIR "/../examples/migration/emitter.map", report) &&
                map.loadScripts(report))
        << report.asText();
    int count = 0;
    EXPECT_EQ(NODcheckMigration(map, report), 0) << report.asText();
    EXPECT_EQ(NODrunMigrationTests(map, report, &count), 0) << report.asText();
    EXPECT_EQ(count, 3);

    NOD_MigrationMap none;
    EXPECT_TRUE(none.read("migration 1.0\nversion 1\nversion 2 nowhere.ds", "m", report));
    EXPECT_FALSE(none.loadScripts(report));
    EXPECT_EQ(report.asText().substr(0, 32), "m(2): 1: the version has no scri");
}

// ---------------------------------------------------------------------- //
// Files
// ---------------------------------------------------------------------- //

class MigrationFiles : public testing::Test
{
protected:
    MigrationFiles()
        : map(std::make_shared<NOD_MigrationMap>(mapOf(
              "migration 1.0\nunmarked 1\nversion 1\nversion 2\nrename a b\nunit a * 0.5\n"
              "drop n \"unused\"\nversion 3\nrename b c\nunit b * 0.5\n",
              {"parm { name a type float } parm { name n type float } parm { name l type float }",
               "parm { name b type float } parm { name l type float }",
               "parm { name c type float }"})))
    {}
    std::shared_ptr<const NOD_Interface> interface(int version) const
    {
        return map->getVersions()[std::size_t(version)].interface;
    }
    static std::string saved(NOD_Scene &scene, NOD_SaveOptions::Form form)
    {
        NOD_SaveOptions options;
        options.form = form;
        NOD_Report report;
        std::ostringstream os;
        EXPECT_TRUE(NOD_SceneFile::save(scene, os, options, report)) << report.asText();
        return os.str();
    }
    /// The messages of it.
    static std::string load(NOD_Scene &scene, const std::string &bytes)
    {
        NOD_Report report;
        std::istringstream is(bytes);
        EXPECT_TRUE(NOD_SceneFile::load(scene, is, "f", {}, report));
        return report.asText();
    }
    static double valueOf(NOD_Scene &scene, const char *path, const char *token)
    {
        double value = -1;
        NOD_Node *const node = scene.find(path);
        ZEL_Parm *const parm = node ? node->getParms().getParmPtr(token) : nullptr;
        if (parm) {
            parm->getValue(0.0, value, 0, 1);
        }
        return value;
    }

    std::shared_ptr<NOD_MigrationMap> map;
};

TEST_F(MigrationFiles, OlderNodesAreBroughtUp)
{
    using Form = NOD_SaveOptions::Form;
    for (const Form form : {Form::TEXT, Form::BINARY}) {
        NOD_Report report;
        NOD_Scene former;
        former.addInterface(interface(0));
        NOD_Node &node = *former.add("/x", interface(0), report);
        former.add("/x/y", interface(0), report);
        NOD_TextEdit edit(node, 0.0, report);
        EXPECT_TRUE(edit.assign("a=8") && edit.assign("l=1") &&
                    NOD_TextEdit(node, 0.0, report).assignExpression("y/a=ch('../l') * 4"));
        const std::string unmarked = saved(former, form);
        EXPECT_EQ(unmarked.find("version \"1\""), std::string::npos);
        node.setTypeVersion("2");
        node.setTypeVersion("1");
        const std::string marked = saved(former, form);
        EXPECT_NE(marked.find("version \"1\""), std::string::npos);

        for (const std::string &bytes : {unmarked, marked}) {
            NOD_Scene scene;
            scene.addInterface(interface(2));
            scene.setMigrationMap("rig", map);
            EXPECT_EQ(load(scene, bytes),
                      "f: values /x/l: warning: version 2 to 3: lost l 1: there is none now\n");
            EXPECT_EQ(valueOf(scene, "/x", "c"), 2);
            // What it reads is gone with the last step, and the unit is around it all the same.
            const ZEL_Parm *const read = scene.find("/x/y")->getParms().getParmPtr("c");
            ASSERT_TRUE(read);
            EXPECT_EQ(read->getChannelCount(), 1);
            const std::string present = saved(scene, form);
            EXPECT_NE(present.find("version \"3\""), std::string::npos);

            NOD_Scene again;
            again.addInterface(interface(2));
            again.setMigrationMap("rig", map);
            EXPECT_EQ(load(again, present), "");
            EXPECT_EQ(saved(again, form), present);
        }

        // A map whose last step doesn't fit: the node is of the version that it came to.
        NOD_Scene half;
        half.addInterface(interface(2));
        half.setMigrationMap(
            "rig", std::make_shared<NOD_MigrationMap>(
                       mapOf("migration 1.0\nversion 1\nversion 2\nrename a b\ndrop n x\n"
                             "version 3\nrename b z\n",
                             {"parm { name a type float } parm { name n type float }",
                              "parm { name b type float }", "parm { name c type float }"})));
        EXPECT_NE(load(half, marked)
                      .find("z: is the new name of b, but the new interface has no "
                            "parameter of that name\n"),
                  std::string::npos);
        EXPECT_EQ(half.find("/x")->getTypeVersion(), "2");
        EXPECT_EQ(valueOf(half, "/x", "b"), 8);
        EXPECT_NE(saved(half, form).find("version \"2\""), std::string::npos);

        // Nobody knows what to do: all stays, and is said.
        NOD_Scene plain;
        plain.addInterface(interface(0));
        EXPECT_NE(load(plain, marked)
                      .find("node /x: warning: is of version 1 of its type, which no "
                            "map is known for: loaded as it is\n"),
                  std::string::npos);
        EXPECT_EQ(saved(plain, form), marked);
        NOD_Scene unknown;
        unknown.addInterface(interface(0));
        unknown.setMigrationMap("rig", std::make_shared<NOD_MigrationMap>(
                                           mapOf("migration 1.0\nversion 7\nversion 8", {"", ""})));
        EXPECT_NE(load(unknown, marked)
                      .find("is of version 1 of its type, and m has 7, 8: loaded as "
                            "it is"),
                  std::string::npos);
        if (form == Form::TEXT) {
            std::string bare = marked;
            const std::size_t at = bare.find("section \"interface");
            bare.erase(at, bare.find("\nend\n", at) + 5 - at);
            NOD_Scene missing;
            load(missing, bare);
            EXPECT_EQ(missing.find("/x")->isTypeMissing(), true);
            EXPECT_EQ(saved(missing, form), bare);
        }
    }
}

/// What other nodes make of the parameters is followed, and told where it is something else.
TEST_F(MigrationFiles, ReadersOfOlderNodesAreFollowedAndCompared)
{
    const auto read = [](NOD_Scene &scene, const char *text) {
        NOD_Report report;
        NOD_TextEdit edit(*scene.find("/r"), 0.0, report);
        EXPECT_TRUE(edit.assignExpression(text)) << report.asText();
    };
    NOD_Report report;
    NOD_Scene former;
    const auto reader = NOD_Interface::fromText(
        "{ name reader parm { name s type float } parm { name t type float } parm { name u type "
        "float } }",
        "r", report);
    former.add("/r", reader, report);
    former.add("/x", interface(0), report);
    former.add("/y", interface(0), report);
    read(former, "s=ch('../x/a') + ch('../y/a')");
    read(former, "t=ch('../y/n') + 1");
    read(former, "u=ch('../y/l')");
    NOD_TextEdit(*former.find("/x"), 0.0, report).assign("a=8");
    NOD_TextEdit(*former.find("/y"), 0.0, report).assign("a=2");
    NOD_TextEdit(*former.find("/y"), 0.0, report).assignExpression("l=ch('../x/a') * 0");
    NOD_Scene scene;
    scene.addInterface(reader);
    scene.addInterface(interface(2));
    scene.setMigrationMap("rig", map);
    std::istringstream is(saved(former, NOD_SaveOptions::Form::TEXT));
    NOD_Report loading;
    EXPECT_TRUE(NOD_SceneFile::load(scene, is, "f", {}, loading));
    EXPECT_EQ(
        loading.asText(),
        "f: values /y/l: warning: version 2 to 3: lost l [ch('../x/a') * 0]: there is none now\n"
        "f: values /r/s: warning: changed s 10 -> 2.5: it reads a node that was of an older version\n"
        "f: values /r/t: warning: changed t 1 -> 0!: its evaluation fails now\n"
        "f: values /r/u: warning: changed u 0 -> 0!: its evaluation fails now\n");
    EXPECT_TRUE(loading.hasLoss());
    KIT_String text;
    scene.find("/r")->getParms().getParmPtr("s")->getChannel(0)->getExpression(0.0, text);
    EXPECT_EQ(text.toStdString(), "ch('../x/c') + ch('../y/c')");
}

/// A stream that is loaded directly knows the names of all versions.
TEST_F(MigrationFiles, StreamsHaveTheNamesOfAllVersions)
{
    const NOD_MigrationMap names = mapOf(
        "migration 1.0\nversion 1\nversion 2\nrename a b\nrename w# v#\nversion 3\nrename b c\n"
        "rename v# u#\nrename m n\n",
        {"", "", "parm { name c type float } multiparm { name n parm { name u# type float } }"});
    NOD_Report report;
    NOD_Scene scene;
    NOD_Node &node = *scene.add("/x", names.getVersions()[2].interface, report);
    names.addRenames(node);
    const std::string stream = "{ version 0.8 a [ 0 locks=0 ] ( 3 ) m [ 0 locks=0 ] ( 2 ) w2 [ 0 "
                               "locks=0 ] ( 5 ) }";
    KIT_IStream is(stream.data(), stream.size(), KIT_IStream::TEXT);
    EXPECT_TRUE(node.getParms().load(is, "s", nullptr));
    EXPECT_EQ(valueOf(scene, "/x", "c"), 3);
    EXPECT_EQ(valueOf(scene, "/x", "n"), 2);
    EXPECT_EQ(valueOf(scene, "/x", "u2"), 5);
}

} // namespace
