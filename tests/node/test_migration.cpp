// A node takes its values over into another interface, and tells what becomes of each.

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceDifference.h>
#include <NOD/NOD_Migration.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_PresetText.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_UndoStack.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <node/SavedNodes.h>

#include <BAS/BAS_Thread.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr const char *theFormer = R"({ name rig
  parm { name rate type float default { 100 } }
  parm { name life type float default { 2 } }
  parm { name speed type float }
  parm { name t type vector }
  parm { name seed type float default { 1 } }
  parm { name kind type ordinal menu { "point" "P" "spot" "S" "area" "A" } }
  parm { name mode type ordinal menu { "a" "A" "b" "B" } }
  parm { name shape type string default { "box" } menu { "box" "B" "ball" "L" } }
  parm { name note type string default { "none" } }
  parm { name held type float default { 3 } }
  parm { name gone type string default { "never set" } }
  multiparm { name forces parm { name strength# type float default { 1 } }
    multiparm { name jets# parm { name angle#_# type float } } } })";

constexpr const char *thePresent = R"({ name rig
  parm { name power type float default { 100 } }
  parm { name life type float default { 5 } }
  parm { name speed type float range { 0! 10! } }
  parm { name t type float size 2 }
  parm { name seed type string default { "s" } }
  parm { name kind type ordinal menu { "area" "A" "point" "P" "spot" "S" } }
  parm { name mode type ordinal menu { "a" "A" "c" "C" } }
  parm { name shape type string default { "box" } menu { "box" "B" "cone" "C" } }
  parm { name held type float default { 4 } }
  parm { name drag type float default { 0.1 } }
  multiparm { name fields parm { name push# type float default { 1 } }
    multiparm { name jets# parm { name angle#_# type float } } } })";

class Migration : public testing::Test
{
protected:
    NOD_Node &add(const char *script, std::initializer_list<const char *> sets)
    {
        NOD_Node &node = *scene.add(NOD_Scene::freeName(scene.getRoot(), "rig"),
                                    NOD_Interface::fromText(script, "rig", report), report);
        NOD_TextEdit edit(node, 0.0, report);
        for (const char *set : sets) {
            EXPECT_TRUE(edit.assign(set)) << report.asText();
        }
        return node;
    }

    /// The account, a line for each; or what is wrong.
    std::string migrate(NOD_Node &node, const char *script,
                        const std::vector<const char *> &renames)
    {
        NOD_Report faults;
        for (const char *rename : renames) {
            migration.addRename(rename, faults);
        }
        migration.run(node, NOD_Interface::fromText(script, "rig", report), 0.0, faults);
        std::string out = faults.asText();
        for (const NOD_Migration::Entry &entry : migration.getEntries()) {
            out += entry.asText() + "\n";
        }
        return out;
    }

    NOD_Report report;
    NOD_Scene scene;
    NOD_Migration migration;
};

TEST_F(Migration, TellsWhatBecomesOfEachValue)
{
    NOD_Node &node =
        add(theFormer, {"speed=50", "t=1 2 3", "seed=7", "kind=spot", "mode=b", "shape=ball",
                        "note=slow", "forces=2", "strength2=0.5", "jets2=1", "angle2_1=30"});
    NOD_TextEdit edit(node, 0.0, report);
    EXPECT_TRUE(edit.assignKey("rate@0=1") && edit.assignKey("rate@2=9"));
    EXPECT_TRUE(edit.assignExpression("t:0=ch(\"rate\") * 2"));
    for (const char *locked : {"speed", "held"}) {
        node.getParms().getParmPtr(locked)->setLockedFlag(0, true);
    }
    const std::string before = contents(node);
    const std::size_t steps = scene.getUndo().getUndoCount();

    EXPECT_EQ(
        migrate(node, thePresent, {"rate=power", "forces=fields", "strength#=push#"}),
        "carried rate as power 2 keys\n"
        "default life 2 -> 5\n"
        "changed speed 50 -> 10\n"
        "changed t [ch(\"rate\") * 2] 2 3 -> [ch(\"power\") * 2] 2: has 2 of 3 components now\n"
        "lost seed 7: it is of another kind now\n"
        "carried kind spot\n"
        "changed mode b -> c: b is no entry of the menu now\n"
        "changed shape \"ball\" -> \"ball\": \"ball\" is no entry of the menu now\n"
        "lost note \"slow\": there is none now\n"
        "carried held 3\n"
        "lost gone \"never set\" (its default): there is none now\n"
        "carried forces as fields 2\n"
        "carried strength1 as push1 1\n"
        "carried jets1 0\n"
        "carried strength2 as push2 0.5\n"
        "carried jets2 1\n"
        "carried angle2_1 30\n"
        "new seed \"s\"\n"
        "new drag 0.1\n");
    EXPECT_TRUE(migration.hasLoss());
    EXPECT_EQ(migration.count(NOD_Migration::Fate::CHANGED), 4);
    EXPECT_TRUE(node.getParms().getParmPtr("speed")->getLockedFlag(0));
    EXPECT_TRUE(node.getParms().getParmPtr("held")->getLockedFlag(0));
    EXPECT_EQ(node.getParms().getParmPtr("power")->getChannelCount(), 1);
    EXPECT_EQ(node.getChannels().entries(), 2);
    EXPECT_EQ(scene.getUndo().getUndoCount(), steps + 1);
    EXPECT_TRUE(scene.getUndo().undo());
    EXPECT_EQ(contents(node), before);
    EXPECT_TRUE(report.isEmpty()) << report.asText();
}

/// Two names that change places, one that leaves its name to a new parameter, a spare one that becomes a
/// parameter of the interface.
TEST_F(Migration, NamesThatMeanSomethingElseNow)
{
    NOD_Node &node =
        add("{ name r parm { name a type float } parm { name b type float default { 2 } }"
            "  parm { name c type float default { 3 } } parm { name d type float } }",
            {"a=10", "c=30", "d=40"});
    const auto extra = NOD_Interface::fromText("parm { name gain type float }", "x", report);
    node.setSpareParms(extra);
    NOD_TextEdit(node, 0.0, report).assign("gain=7");
    EXPECT_EQ(migrate(node,
                      "{ name r parm { name a type float default { 2 } } parm { name b type float }"
                      "  parm { name c type float default { 3 } } parm { name e type float }"
                      "  parm { name level type float } }",
                      {"a=b", "b=a", "c=e", "gain=level"}),
              "carried a as b 10\ncarried b as a 2\ncarried c as e 30\n"
              "lost d 40: there is none now\ncarried gain as level 7\nnew c 3\n");
    EXPECT_TRUE(node.getSpareParms().getDescriptions().empty());

    NOD_Node &other =
        add("{ name r parm { name a type float } parm { name b type float } }", {"b=5"});
    NOD_TextEdit(other, 0.0, report).assignExpression("a=ch(\"b\")");
    migration = NOD_Migration();
    EXPECT_EQ(
        migrate(other, "{ name r parm { name a type float } parm { name x type float } }", {"b=x"}),
        "converted a [ch(\"b\")] -> [ch(\"x\")]\ncarried b as x 5\n");
    migration = NOD_Migration();
    EXPECT_EQ(migrate(other, "{ name r parm { name a type float } }", {}),
              "changed a 5 -> 0!: its evaluation fails now\nlost x 5: there is none now\n");

    NOD_Node &third =
        add("{ name r parm { name a type float } parm { name x type float } }", {"x=9"});
    migration = NOD_Migration();
    EXPECT_EQ(migrate(third, "{ name r parm { name x type float } }", {"a=x"}),
              "carried a as x 0\nlost x 9: another parameter has its name now\n");

    const std::pair<std::vector<const char *>, const char *> faults[] = {
        {{"nothing=a"}, "nothing: is to be renamed, but there is no parameter of that name\n"},
        {{"a=nothing"},
         "nothing: is the new name of a, but the new interface has no parameter of that name\n"},
        {{"a=x", "a=y"}, "a: is to be called x and y\n"},
        {{"a=x", "b=x"}, "x: is to be the name of a and b\n"},
        {{"a#=b"}, "a#: has not as many # as b\n"},
        {{"a"}, "a has no =\n"},
        {{"=a"}, "a rename has no name\n"}};
    for (const auto &[renames, expected] : faults) {
        migration = NOD_Migration();
        const std::string found = migrate(add("{ name r parm { name a type float } }", {}),
                                          "{ name r parm { name b type float } }", renames);
        EXPECT_EQ(found.substr(0, std::string(expected).size()), expected);
    }
    migration = NOD_Migration();
    NOD_Report told;
    EXPECT_TRUE(migration.readRenames("# old new\n\na b # one\n\ts# t#\n", "map", told));
    EXPECT_FALSE(migration.readRenames("a\na b c\n", "map", told));
    EXPECT_FALSE(migration.readRenames("x b\n", "map", told));
    EXPECT_EQ(told.asText(), "map(1): a line is a former and a present name\n"
                             "map(2): a line is a former and a present name\n"
                             "map(1): b: is to be the name of a and x\n");
    EXPECT_FALSE(migration.readRenames("nowhere/map", told));
}

/// An interface that stays the same loses nothing, and changes nothing but what is in no file.
TEST_F(Migration, TheSameInterfaceCarriesEverything)
{
    std::mt19937 random(7);
    for (int round = 0; round < 20; ++round) {
        NOD_Node &node = add(theFormer, {"forces=3", "jets2=2"});
        const auto pick = [&](auto &list) {
            return std::string(list[random() % (sizeof(list) / sizeof(list[0]))]);
        };
        const char *const names[] = {"rate", "life", "tx", "ty", "seed", "strength3", "angle2_2"};
        NOD_TextEdit edit(node, 0.0, report);
        for (int i = 0; i < 6; ++i) {
            const std::string number = std::to_string(int(random() % 9));
            switch (random() % 4) {
            case 0: edit.assign(pick(names) + "=" + number); break;
            case 1: edit.assignKey(pick(names) + "@" + number + "=" + number); break;
            case 2: edit.assignExpression(pick(names) + "=$T + " + number); break;
            default: edit.assign("kind=" + std::to_string(random() % 3)); break;
            }
        }
        const std::string before = contents(node);
        migration.run(node, NOD_Interface::fromText(theFormer, "rig", report), 0.0, report);
        for (const NOD_Migration::Entry &entry : migration.getEntries()) {
            EXPECT_EQ(entry.fate, NOD_Migration::Fate::CARRIED) << entry.asText();
        }
        EXPECT_EQ(contents(node), before);
    }
    EXPECT_TRUE(report.isEmpty()) << report.asText();
}

/// In the node and in all others: those to other nodes and to other names stay.
TEST_F(Migration, ReferencesFollowTheirParameters)
{
    NOD_Node &rig = add("{ name r parm { name a type float } parm { name b type float }"
                        "  parm { name t type vector } parm { name own type float }"
                        "  multiparm { name m parm { name w# type float } } }",
                        {"a=1", "b=2", "t=3 4 5", "m=2", "w2=7"});
    const char *const reader =
        "{ name s parm { name x type vector size 4 } parm { name text type string"
        " } parm { name a type float } }";
    NOD_Node &other = add(reader, {"a=9", "text=`chs(\"../rig/b\")` rig/a"});
    NOD_TextEdit edit(other, 0.0, report);
    NOD_TextEdit own(rig, 0.0, report);
    const char *const expressions[] = {"x:0=ch(\"../rig/a\") + ch(\"a\") + ch(\"/rig/b\")",
                                       "x:1=ch(\"../rig/ty\")", "x:2=ch(\"../rig1/a\")",
                                       "x:3=ch(\"../rig/w2\") + ch(\"../rig/m\")"};
    for (const char *text : expressions) {
        EXPECT_TRUE(edit.assignExpression(text));
    }
    EXPECT_TRUE(own.assignExpression("own=ch(\"b\") * ch(\"w2\")"));
    const std::string before = contents(other) + contents(rig);
    const std::vector<double> values = {12.0, 4.0, 9.0, 9.0};
    const auto valuesOf = [&] {
        std::vector<double> all(4, 0.0);
        for (int k = 0; k < 4; ++k) {
            other.getParms().getParmPtr("x")->getValue(0.0, all[std::size_t(k)], k, BASgetSTID());
        }
        return all;
    };
    EXPECT_EQ(valuesOf(), values);
    migrate(rig,
            "{ name r parm { name b type float } parm { name c type float }"
            "  parm { name u type vector } parm { name own type float }"
            "  multiparm { name n parm { name v# type float } } }",
            {"a=b", "b=c", "t=u", "m=n", "w#=v#"});
    EXPECT_EQ(valuesOf(), values);
    const std::string after = contents(other) + contents(rig);
    for (const char *text :
         {"ch(\\\"../rig/b\\\") + ch(\\\"a\\\") + ch(\\\"/rig/c\\\")", "ch(\\\"../rig/uy\\\")",
          "ch(\\\"../rig1/a\\\")", "ch(\\\"../rig/v2\\\") + ch(\\\"../rig/n\\\")",
          "`chs(\\\"../rig/c\\\")` rig/a", "ch(\\\"c\\\") * ch(\\\"v2\\\")"}) {
        EXPECT_NE(after.find(text), std::string::npos) << text << "\n" << after;
    }
    EXPECT_TRUE(scene.getUndo().undo());
    EXPECT_EQ(contents(other) + contents(rig), before);
}

TEST_F(Migration, PresetsOfSomeParameters)
{
    NOD_Node &node = add(theFormer, {"life=7", "note=slow", "forces=2", "strength2=0.5"});
    NOD_TextEdit(node, 0.0, report).assignKey("rate@0=1");
    std::ostringstream some;
    EXPECT_TRUE(NODsavePreset(node, {"l*", "strength2", "rate"}, some, report)) << report.asText();
    const std::string path = testing::TempDir() + "zel_some.preset";
    std::ofstream(path) << some.str();
    EXPECT_EQ(some.str().find("note"), std::string::npos) << some.str();
    EXPECT_NE(some.str().find("strength1"), std::string::npos) << some.str();

    NOD_Node &other = add(theFormer, {"note=fast", "seed=4", "life=1"});
    EXPECT_TRUE(NODapplyPreset(other, path, {"rate", "forces"}, report)) << report.asText();
    EXPECT_EQ(
        migrate(other, theFormer, {}),
        "carried rate 1 key\ncarried life 1\ncarried speed 0\ncarried t 0 0 0\n"
        "carried seed 4\ncarried kind point\ncarried mode a\ncarried shape \"box\"\n"
        "carried note \"fast\"\ncarried held 3\ncarried gone \"never set\"\ncarried forces 2\n"
        "carried strength1 1\ncarried jets1 0\ncarried strength2 0.5\ncarried jets2 0\n");
    EXPECT_TRUE(NODapplyPreset(other, path, {}, report));
    EXPECT_EQ(contents(other).find("life\t[ 0\tlocks=0 ]\t(\t1\t)"), std::string::npos);

    NOD_Report told;
    std::ostringstream none;
    EXPECT_FALSE(NODsavePreset(node, {"wibble*"}, none, told));
    EXPECT_FALSE(NODapplyPreset(node, path, {"../rig1/life"}, told));
    EXPECT_EQ(told.asText(), "there is no parameter wibble*\n../rig1/life is of another node\n");
    std::remove(path.c_str());
}

TEST_F(Migration, DifferencesOfScripts)
{
    const auto from = NOD_Interface::fromText(
        "{ name r parm { name a type float default { 1 } } // why\n parm { name \"//b\" type int }\n"
        "  multiparm { name m parm { name x# type float } parm { name y# type float } } }",
        "from", report);
    const auto to = NOD_Interface::fromText(
        "/*\n * Velmora Dialog Script generated automatically\n */\n"
        "{ name r parm { name a type float } multiparm { name m parm { name y# type float } }\n"
        "} // End of Group: x\n",
        "to", report);
    NOD_Report told;
    EXPECT_EQ(NODcompareInterfaces(*from, *to, told), 4);
    EXPECT_EQ(told.asText(), "comments are left out\na: default 1 is missing: 1\n"
                             "//b: there is no parameter of that name\n"
                             "x#: there is no parameter of that name\n");
    told.clear();
    EXPECT_EQ(NODcompareInterfaces(*to, *from, told), 1) << told.asText();
    told.clear();
    EXPECT_EQ(NODcompareInterfaces(*to, *to, told), 0) << told.asText();
}

} // namespace
