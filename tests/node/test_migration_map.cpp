// Maps of versions: the text and its faults, what each step does to values, keys, expressions, locks and aliases, and
// laws of walks by random maps.

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_MigrationWalk.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_UndoStack.h>
#include <node/SavedNodes.h>

#include <KIT/KIT_MessageDetail.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <gtest/gtest.h>
#include <node/RandomMaps.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

// ---------------------------------------------------------------------- //
// The text
// ---------------------------------------------------------------------- //

/// Each message with its place, the words at it and those that could be there.
std::string faultsOf(const std::string &text)
{
    NOD_MigrationMap map;
    NOD_Report report;
    std::string faults;
    const bool good = map.read(text, "m", report);
    EXPECT_EQ(good, report.isEmpty());
    EXPECT_TRUE(report.isEmpty() || map.getVersions().empty());
    for (const NOD_Message &message : report.getMessages()) {
        const KIT_MessageDetail &detail = *message.detail;
        faults += std::to_string(message.line) + ":" + std::to_string(detail.place.column) + "-" +
                  std::to_string(detail.place.endColumn) + ": " +
                  (message.subject.empty() ? "" : message.subject + ": ") + message.text;
        for (const std::string &word : detail.expected) {
            faults += " |" + word;
        }
        faults += "\n";
    }
    return faults;
}

TEST(MigrationMap, FaultsHaveTheirPlaces)
{
    const std::string head = "migration 1.0\nversion 1\nversion 2\n";
    const std::pair<std::string, const char *> faults[] = {
        {"migration 2.0\nversion 1\nversion 2",
         "1:11-14: a map of the form 2.0 isn't known |1.0\n"},
        {"migration 1.0\n", "1:14-14: a map has two versions or more |version\n"},
        {"migration 1.0\nrename a b\nversion 1\nversion 2",
         "2:1-7: expects the first version |version\n"},
        {"migration 1.0\nversion 1\nrename a b\nversion 2",
         "3:1-7: the first version has no steps: they lead to the version that they follow "
         "|version\n"},
        {"migration 1.0\nunmarked 3\nversion 1\nversion 2",
         "1:1-1: unmarked: there is no version 3\n"},
        {head + "version 2", "4:9-10: there is a version 2 already\n"},
        {head + "version a:b", "4:9-12: a version is a word without blanks, quotes and =:@\n"},
        {head + "type x", "4:1-5: belongs before the first version\n"},
        {head + "renam a b", "4:1-6: \"renam\" is no step |rename |retype |unit |menu |split |join "
                             "|freeze |drop |test |version\n"},
        {head + "rename a", "4:9-9: a word is missing: rename FORMER PRESENT\n"},
        {head + "rename a b c # d", "4:12-13: a word too many: rename FORMER PRESENT\n"},
        {head + "rename a# b", "4:1-12: a#: has not as many # as b\n"},
        {head + "rename a b\nrename a c", "5:1-11: a: is to be called b and c\n"},
        {head + "rename a c\nrename b c", "5:1-11: c: is to be the name of a and b\n"},
        {head + "rename a b\ndrop a x", "5:1-9: a: line 4 has it already: rename a b\n"},
        {head + "rename x# y#\ndrop x2 z", nullptr},
        {head + "rename \"a", "4:8-10: the closing quote is missing\n"},
        {head + "rename a:0 b", "4:8-11: \"a:0\" is no name of a parameter\n"},
        {head + "retype a float flaot",
         "4:16-21: \"flaot\" is no kind of value |float |int |toggle "
         "|menu |string\n"},
        {head + "retype a int int", "4:14-17: the kinds are the same\n"},
        {head + "unit a ^ 2", "4:8-9: \"^\" is no operation |* |/ |+ |-\n"},
        {head + "unit a * 2 +", "4:13-13: a number is missing\n"},
        {head + "unit a * x", "4:10-11: x is no finite number\n"},
        {head + "unit a / 0", "4:10-11: nothing is left of a value with a factor of 0\n"},
        {head + "menu a b c\nmenu a b d", "5:8-9: line 4 has the entry already\n"},
        {head + "drop a \"\"", "4:8-10: the reason is empty\n"},
        {head + "test x\nset a 1", "5:8-8: the test has no end |end\n"},
        {head + "test x from 3\nend", "4:8-14: expects from, and a version before this one\n"},
        {head + "test x\nput a 1\nkey a 1\nset a@1 2\nexpect a@x 2\nend",
         "5:1-4: \"put\" is no line of a test |set |key |expression |expect |end\n"
         "6:5-6: a key has a time: ADDRESS@SECONDS\n"
         "7:5-8: has no time\n"
         "8:8-11: a time is a number of seconds\n"},
        {"a b\nc", "2:1-2: a line is a former and a present name\n"},
        {"a b\nc b", "2:1-4: b: is to be the name of a and c\n"}};
    for (const auto &[text, expected] : faults) {
        if (expected) {
            EXPECT_EQ(faultsOf(text), expected) << text;
        } else {
            EXPECT_NE(faultsOf(text), "") << text;
        }
    }
    NOD_MigrationMap map;
    NOD_Report report;
    EXPECT_FALSE(map.read(std::string(NOD_MigrationMap::theMostBytes + 1, '\n'), "m", report));
    std::string many = head;
    for (int i = 0; i < NOD_MigrationMap::theMostSteps + 9; ++i) {
        many += "freeze a" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(faultsOf(many), "4100:1-7: more than 4096 steps: the rest isn't read\n");
    EXPECT_FALSE(map.read("nowhere/m", report));
    EXPECT_EQ(report.asText(), "m: has more than 1048576 bytes\n"
                               "nowhere/m: can't be read: No such file or directory\n");
}

/// The lines that are refused.
std::set<int> refusedLines(const std::vector<std::string> &lines)
{
    std::string text = "migration 1.0\nversion 1\nversion 2\n";
    for (const std::string &line : lines) {
        text += line + "\n";
    }
    NOD_MigrationMap map;
    NOD_Report report;
    std::set<int> refused;
    map.read(text, "m", report);
    for (const NOD_Message &message : report.getMessages()) {
        refused.insert(message.line - 4);
    }
    return refused;
}

/// A step is refused among many exactly where it can't stand beside one of those before it.
TEST(MigrationMap, StepsAreRefusedForThoseThatTheyCannotGoWith)
{
    constexpr const char *theNames[] = {"a",    "a1",   "a12",  "a#", "b1_2",
                                        "b#_#", "b#_2", "b1_#", "c"};
    constexpr const char *theTargets[] = {"x", "y1", "y#", "z#_#", "z", "y12", "w", "w#"};
    std::mt19937 random(21);
    const auto oneOf = [&](const auto &words) {
        return std::string(words[random() % std::size(words)]);
    };
    int refusals = 0;
    for (int round = 0; round < 60; ++round) {
        std::vector<std::string> kept;
        std::vector<std::string> lines;
        std::set<int> expected;
        for (int i = 0; i < 12; ++i) {
            const std::string name = oneOf(theNames);
            const std::string lone[] = {"rename " + name + " " + oneOf(theTargets),
                                        "drop " + name + " gone", "unit " + name + " * 2",
                                        "menu " + name + (random() % 2 ? " p q" : " q p")};
            lines.push_back(oneOf(lone));
            const bool refusedFlag =
                !refusedLines({lines.back()}).empty() ||
                std::any_of(kept.begin(), kept.end(), [&](const std::string &one) {
                    return !refusedLines({one, lines.back()}).empty();
                });
            if (refusedFlag) {
                expected.insert(i);
            } else {
                kept.push_back(lines.back());
            }
        }
        refusals += int(expected.size());
        EXPECT_EQ(refusedLines(lines), expected) << testing::PrintToString(lines);
    }
    EXPECT_GT(refusals, 100);
}

TEST(MigrationMap, WritesWhatItReads)
{
    const char *const texts[] = {
        "migration 1.0\ntype \"rig\"\nunmarked 1\n\nversion 1 \"a b.ds\"\n\nversion x2\n"
        "\trename a# b#\n\tretype c float string\n\tunit d * 0.01 + -32\n\tmenu e \"\" \"#f g\"\n"
        "\tsplit t tx ty tz\n\tjoin x y z p\n\tfreeze a#\n\tdrop n \"no \\\"use\\\"\"\n"
        "\ttest \"one\"\n\t\tset \"c\" \"1\"\n\t\tkey \"d@2\" \"3\"\n"
        "\t\texpression \"x\" \"ch(\\\"y\\\")\"\n\t\texpect \"c@0\" \"1 2\"\n\tend\n\nversion 3\n"
        "\ttest \"two\" from 1\n\t\texpect \"c@0\" \"1\"\n\tend\n",
        "a b\nc# d#\n", ""};
    for (const char *text : texts) {
        NOD_MigrationMap map;
        NOD_Report report;
        EXPECT_TRUE(map.read(std::string_view(text), "m", report)) << report.asText();
        EXPECT_EQ(map.asText(), text);
    }
    NOD_MigrationMap map;
    NOD_Report report;
    EXPECT_TRUE(
        map.read("\xEF\xBB\xBF# c\r\nmigration 1.0\r\nversion 1\r\nversion 2 # x\r\n", "m", report))
        << report.asText();
    EXPECT_EQ(map.getVersionNames(), "1, 2");
}

// ---------------------------------------------------------------------- //
// Walks
// ---------------------------------------------------------------------- //

class Walk : public testing::Test
{
protected:
    NOD_MigrationMap map(const std::string &steps, const std::vector<std::string> &scripts)
    {
        NOD_MigrationMap made;
        const std::string head =
            steps.find("migration") == 0 ? "" : "migration 1.0\nversion 1\nversion 2\n";
        EXPECT_TRUE(made.read(head + steps, "m", report)) << report.asText();
        for (std::size_t i = 0; i < scripts.size(); ++i) {
            made.setInterface(
                int(i), NOD_Interface::fromText("{ name rig " + scripts[i] + " }", "rig", report));
        }
        return made;
    }
    NOD_Node &add(const NOD_MigrationMap &of, int version,
                  const std::vector<std::string> &sets = {})
    {
        NOD_Node &node = *scene.add(NOD_Scene::freeName(scene.getRoot(), "rig"),
                                    of.getVersions()[std::size_t(version)].interface, report);
        NOD_TextEdit edit(node, 0.0, report);
        for (const std::string &set : sets) {
            EXPECT_TRUE(edit.assign(set)) << report.asText();
        }
        return node;
    }
    /// The account, a line for each; or what is wrong.
    std::string run(NOD_Node &node, const NOD_MigrationMap &by, int from, int to)
    {
        NOD_Report faults;
        walk.run(node, by, from, to, 0.0, faults);
        std::string out = faults.asText();
        for (const NOD_MigrationWalk::Stage &stage : walk.getStages()) {
            for (const NOD_Migration::Entry &entry : stage.entries) {
                out += entry.asText() + "\n";
            }
        }
        return out;
    }

    NOD_Report report;
    NOD_Scene scene;
    NOD_MigrationWalk walk;
};

TEST_F(Walk, EachStepCarriesItsValue)
{
    const NOD_MigrationMap by = map(
        "rename size width\nunit size * 0.01\nunit heat * 1.8 + 32\nretype seed int string\n"
        "retype shape string menu\nmenu shape ball sphere\nmenu kind point omni\n"
        "split t tx ty tz\njoin x y z p\nfreeze life\ndrop note \"nobody read it\"\n"
        "unit strength# * 2\nrename strength# force#\ndrop jets \"gone too\"\nretype on toggle int\n"
        "retype count float int\n",
        {"parm { name size type float default { 100 } } parm { name heat type float }"
         " parm { name seed type int default { 1 } } parm { name shape type string }"
         " parm { name kind type ordinal menu { point P spot S } } parm { name t type vector }"
         " parm { name x type float } parm { name y type float } parm { name z type float }"
         " parm { name life type float default { 2 } } parm { name note type string }"
         " parm { name on type toggle } parm { name count type float }"
         " multiparm { name forces parm { name strength# type float } }"
         " multiparm { name jets parm { name angle# type float } }",
         "parm { name width type float default { 1 } } parm { name heat type float }"
         " parm { name seed type string } parm { name shape type ordinal menu { box B sphere S } }"
         " parm { name kind type ordinal menu { spot S omni O } } parm { name tx type float }"
         " parm { name ty type float } parm { name tz type float range { -1! 1! } }"
         " parm { name p type vector } parm { name life type float default { 5 } }"
         " parm { name on type int } parm { name count type int }"
         " multiparm { name forces parm { name force# type float } }"});
    NOD_Node &node =
        add(by, 0,
            {"size=250", "heat=100", "seed=7", "shape=ball", "t=1 2 3", "y=5", "note=slow", "on=on",
             "count=2.5", "forces=2", "strength2=0.5", "jets=1"});
    const std::string before = contents(node);
    EXPECT_EQ(run(node, by, 0, 1),
              "converted size as width 250 -> 2.5 [unit size * 0.01]\n"
              "converted heat 100 -> 212 [unit heat * 1.8 + 32]\n"
              "converted seed 7 -> \"7\" [retype seed int string]\n"
              "converted shape \"ball\" -> sphere [retype shape string menu, menu shape ball "
              "sphere]\n"
              "default kind point -> spot [menu kind point omni]\n"
              "changed t as tx ty tz 1 2 3 -> 1 2 1 [split t tx ty tz]\n"
              "carried x as p 0 [join x y z p]\n"
              "carried y as p 5 [join x y z p]\n"
              "carried z as p 0 [join x y z p]\n"
              "carried life 2 [freeze life]\n"
              "dropped note \"slow\": nobody read it\n"
              "converted on on -> 1 [retype on toggle int]\n"
              "changed count 2.5 -> 3: 2.5 is no int value [retype count float int]\n"
              "carried forces 2\n"
              "carried strength1 as force1 0 [unit strength# * 2]\n"
              "converted strength2 as force2 0.5 -> 1 [unit strength# * 2]\n"
              "dropped jets 1: gone too\n"
              "dropped angle1 0: gone too\n");
    EXPECT_TRUE(walk.hasLoss());
    EXPECT_TRUE(scene.getUndo().undo());
    EXPECT_EQ(contents(node), before);

    NOD_Node &other = add(by, 1);
    EXPECT_EQ(run(other, by, 1, 0), "m(14): note: can't be undone: drop note \"nobody read it\"\n"
                                    "m(17): jets: can't be undone: drop jets \"gone too\"\n");
}

/// Keys with slopes, expressions, locks and aliases; and back.
TEST_F(Walk, WhatDrivesAValueGoesWithIt)
{
    const NOD_MigrationMap by = map(
        "unit a * 0.01 + 5\nrename a b\nunit e * 2 + 1\nsplit t u v\nmenu kind point omni\n",
        {"parm { name a type float } parm { name e type float } parm { name t type float size 2 }"
         " parm { name kind type ordinal menu { point P spot S } }",
         "parm { name b type float } parm { name e type float } parm { name u type float }"
         " parm { name v type float } parm { name kind type ordinal menu { spot S omni O } }"});
    NOD_Node &node = add(by, 0, {"e=1"});
    NOD_TextEdit edit(node, 0.0, report);
    EXPECT_TRUE(edit.assignKey("a@0=100") && edit.assignKey("a@1=300") &&
                edit.assignKey("kind@0=point") && edit.assignKey("kind@1=spot") &&
                edit.assignExpression("e=$T * (3 + 1)") && edit.assignKey("t:1@1=4"));
    TRK_Segment &key = *node.getParms().getParmPtr("a")->getChannel(0)->getSegment(0);
    key.changeExpression("cubic()", TRK_LANGUAGE_NATIVE);
    key.setOutSlope(50, false);
    node.getParms().setChannelAlias(node.getParms().getParmPtr("a"), 0, "thick");
    node.getParms().getParmPtr("t")->setLockedFlag(0, true);
    const std::string before = contents(node);

    EXPECT_EQ(run(node, by, 0, 1), "converted a as b 2 keys -> 2 keys [unit a * 0.01 + 5]\n"
                                   "converted e [$T * (3 + 1)] -> [($T * (3 + 1)) * 2 + 1] [unit e "
                                   "* 2 + 1]\n"
                                   "carried t as u v 0 1 key [split t u v]\n"
                                   "converted kind 2 keys -> 2 keys [menu kind point omni]\n");
    EXPECT_FALSE(walk.hasLoss());
    ZEL_ParmList &parms = node.getParms();
    const TRK_Channel &channel = *parms.getParmPtr("b")->getChannel(0);
    EXPECT_EQ(channel.getSegment(0)->getInValue(), 6.0);
    EXPECT_EQ(channel.getSegment(0)->getOutSlope(), 0.5);
    EXPECT_EQ(channel.getSegment(1)->getInValue(), 8.0);
    EXPECT_EQ(parms.getParmPtr("b")->getChannelAlias(0), KIT_StringHolder("thick"));
    EXPECT_TRUE(parms.getParmPtr("u")->getLockedFlag(0));
    EXPECT_FALSE(parms.getParmPtr("v")->getLockedFlag(0));
    int kind = 0;
    parms.getParmPtr("kind")->getValue(0.0, kind, 0, 1);
    EXPECT_EQ(kind, 1);

    run(node, by, 1, 0);
    EXPECT_FALSE(walk.hasLoss());
    EXPECT_EQ(contents(node), before);
    EXPECT_TRUE(report.isEmpty()) << report.asText();
}

/// A step or a lock of a block alone leaves its items what they have, also those of blocks in it.
TEST_F(Walk, ItemsStayWithTheirBlock)
{
    const std::string script = "multiparm { name m default 1 parm { name w# type float }"
                               " multiparm { name n# parm { name v#_# type float } } }"
                               " multiparm { name k default 2 parm { name u# type float } }";
    const NOD_MigrationMap by = map("freeze m\nfreeze k\n", {script, script});
    NOD_Node &node = add(by, 0, {"m=2", "w2=5", "n1=1", "v1_1=3", "u1=4"});
    node.getParms().getParmPtr("m")->setLockedFlag(0, true);
    const std::string before = contents(node);
    run(node, by, 0, 1);
    EXPECT_EQ(contents(node), before);
    EXPECT_FALSE(walk.hasLoss());
}

TEST_F(Walk, TellsWhereWhatAnExpressionReadsHasChangedToo)
{
    const std::string script = "parm { name a type float } parm { name e type float }";
    const NOD_MigrationMap by = map("unit a * 0.01\nunit e * 2\n", {script, script});
    NOD_Node &node = add(by, 0, {"a=50"});
    EXPECT_TRUE(NOD_TextEdit(node, 0.0, report).assignExpression("e=ch('a') + 1"));
    EXPECT_EQ(run(node, by, 0, 1),
              "converted a 50 -> 0.5 [unit a * 0.01]\n"
              "changed e [ch('a') + 1] -> [(ch('a') + 1) * 2]: is 3 now, not 102 [unit e * 2]\n");
}

// ---------------------------------------------------------------------- //
// Laws
// ---------------------------------------------------------------------- //

/// Up and down again has the bytes that there were; a walk is its stages one by one, through files.
TEST_F(Walk, RandomMapsLeadThereAndBack)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        RandomMaps maps(seed);
        for (int i = 0; i < 3; ++i) {
            maps.step();
        }
        const NOD_MigrationMap by = map(maps.text, maps.scripts);
        const std::vector<std::string> sets = maps.values();
        NOD_Node &node = add(by, 0, sets);
        const std::string before = contents(node);
        run(node, by, 0, 3);
        ASSERT_EQ(walk.count(NOD_Migration::Fate::LOST) + walk.count(NOD_Migration::Fate::CHANGED) +
                      walk.count(NOD_Migration::Fate::NEW),
                  0)
            << seed << "\n"
            << maps.text;
        const std::string after = contents(node);

        NOD_Node &other = add(by, 0, sets);
        NOD_Node *last = &other;
        for (int version = 0; version < 3; ++version) {
            run(*last, by, version, version + 1);
            const auto saved =
                NOD_NodeSections::take(*last, NOD_NodeSections::Form::BINARY, report);
            last = &add(by, version + 1);
            saved.load(*last, report);
        }
        ASSERT_EQ(contents(*last), after) << seed;

        const NOD_MigrationMap once = map(maps.composed(), {maps.scripts[0], maps.scripts[3]});
        NOD_Node &direct = add(once, 0, sets);
        run(direct, once, 0, 1);
        ASSERT_EQ(contents(direct), after) << seed << "\n" << maps.composed();

        const std::string back = run(node, by, 3, 0);
        ASSERT_EQ(contents(node), before) << seed << "\n" << maps.text << back;
    }
    EXPECT_TRUE(report.isEmpty()) << report.asText();
}

} // namespace
