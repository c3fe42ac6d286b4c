// What people write: addresses, values, times; and values from whatever file has them.

#include <NOD/NOD_Address.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_TimeText.h>
#include <NOD/NOD_UndoStack.h>
#include <NOD/NOD_ValueFile.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace
{

constexpr const char *theScript = R"({ name lamp
  parm { name base baseparm }
  group { name shape
    parm { name t type vector }
    parm { name lw1 type float default { 1 } }
    parm { name lw2 type float default { 2 } } }
  parm { name kind type ordinal
    menu { "point" "Point" "spot" "Spot" } }
  parm { name on type toggle }
  parm { name label type string }
  parm { name press type button }
  multiparm { name groups parm { name weight# type float } } })";

class TextEdit : public testing::Test
{
protected:
    TextEdit()
    {
        const auto lamp = NOD_Interface::fromText(theScript, "lamp", report);
        for (const char *path : {"/rig", "/rig/key", "/rig/fill", "/rig/rim"}) {
            scene.add(path, lamp, report);
        }
        EXPECT_TRUE(report.isEmpty()) << report.asText();
    }

    NOD_Node &node(const char *path) { return *scene.find(path); }

    /// What an address means from /rig/key on: "key t 0-3, ..."; or what is wrong with it.
    std::string meaning(const std::string &address)
    {
        NOD_Report faults;
        std::string out;
        for (const NOD_Place &place : NODfindPlaces(node("/rig/key"), address, faults)) {
            out += (out.empty() ? "" : ", ") + place.node->getName() + " " +
                   std::string(place.token.view()) + " " + std::to_string(place.first) + "-" +
                   std::to_string(place.end);
        }
        return out + faults.asText();
    }

    /// The changed lines of the node's values after the edits, which it takes back; or what is wrong.
    template <class Edit>
    std::string result(const Edit &edit)
    {
        NOD_Report faults;
        const std::string before = sectionsOf("/rig/key");
        {
            NOD_TextEdit editor(node("/rig/key"), 0.0, faults);
            edit(editor);
        }
        const std::string after = sectionsOf("/rig/key");
        std::istringstream lines(after);
        std::string out;
        for (std::string line; std::getline(lines, line);) {
            if (before.find(line + "\n") == std::string::npos) {
                out += line + "|";
            }
        }
        while (scene.getUndo().getUndoCount() > mySteps) {
            EXPECT_TRUE(scene.getUndo().undo());
        }
        EXPECT_EQ(sectionsOf("/rig/key"), before);
        return out + faults.asText();
    }

    std::string sectionsOf(const char *path)
    {
        NOD_Report faults;
        const auto all = NOD_NodeSections::take(node(path), NOD_NodeSections::Form::TEXT, faults);
        EXPECT_TRUE(faults.isEmpty()) << faults.asText();
        return all.channels + all.values + all.aliases + all.spares;
    }

    NOD_Report report;
    NOD_Scene scene;
    std::size_t mySteps = 4; ///< of making the nodes
};

TEST_F(TextEdit, AddressesNameWhatPeopleMean)
{
    const std::pair<const char *, const char *> cases[] = {
        {"t", "key t 0-3"},
        {"t:1", "key t 1-2"},
        {"ty", "key t 1-2"},
        {"t?", "key t 0-1, key t 1-2, key t 2-3"},
        {"lw*", "key lw1 0-1, key lw2 0-1"},
        {"lw[2-9]:0", "key lw2 0-1"},
        {"/rig/fill/lw1", "fill lw1 0-1"},
        {"../fill/lw1", "fill lw1 0-1"},
        {"/rig/[fk]*/t:2", "key t 2-3, fill t 2-3"},
        {"../*/../*/on", "key on 0-1, fill on 0-1, rim on 0-1"},
        {"pres*", "there is no parameter pres*\n"},
        {"press", "key press 0-1"},
        {"base", "base is a base parameter, which has no value\n"},
        {"t:3", "t has no component 3\n"},
        {"t:-1", "the index of t:-1 isn't a number from 0 on\n"},
        {"t:99999999999", "t has no component 2147483647\n"},
        {"nothing", "there is no parameter nothing\n"},
        {"", "there is no parameter \n"},
        {"/rig/back/t", "there is no node /rig/back\n"},
        {"../*/nothing", "../*: there is no parameter nothing\n"},
        {"/t", "there is no parameter t\n"},
    };
    for (const auto &[address, expected] : cases) {
        EXPECT_EQ(meaning(address), expected) << address;
    }
}

TEST_F(TextEdit, ValuesAreReadByTheKindOfTheParameterAndEachEditIsAStep)
{
    const std::pair<const char *, const char *> sets[] = {
        {"t=2", "t\t[ 0\tlocks=0 ]\t(\t2\t2\t2\t)|"},
        {"t=1 2.5 -3", "t\t[ 0\tlocks=0 ]\t(\t1\t2.5\t-3\t)|"},
        {"ty=4", "t\t[ 0\tlocks=0 ]\t(\t0\t4\t0\t)|"},
        {"t=1 2", "\"1 2\" has 2 values for the 3 components of t\n"},
        {"t=1 2 x", "t\t[ 0\tlocks=0 ]\t(\t1\t2\t0\t)|\"x\" is no number for t\n"},
        {"kind=spot", "kind\t[ 0\tlocks=0 ]\t(\t\"spot\"\t)|"},
        {"kind=1", "kind\t[ 0\tlocks=0 ]\t(\t\"spot\"\t)|"},
        {"kind=square", "\"square\" is no number, and not in the menu of kind\n"},
        {"kind=2", "\"2\" is no entry of kind, which are 0 to 1\n"},
        {"kind=0.5", "\"0.5\" is no entry of kind, which are 0 to 1\n"},
        {"on=2", "\"2\" is no entry of on, which are 0 to 1\n"},
        {"lw1=nan", "\"nan\" is no finite number for lw1\n"},
        {"lw1=1e400", "\"1e400\" is no finite number for lw1\n"},
        {"on=on", "on\t[ 0\tlocks=0 ]\t(\t\"on\"\t)|"},
        {"label=a = b", "label\t[ 0\tlocks=0 ]\t(\t\"a = b\"\t)|"},
        {"label=", ""},
        {"label", "label has no =\n"},
        {"/rig/key/lw1=7", "lw1\t[ 0\tlocks=0 ]\t(\t7\t)|"},
        {"groups=2", "groups\t[ 0\tlocks=0 ]\t(\t2\t)|weight1\t[ 0\tlocks=0 ]\t(\t0\t)|"
                     "weight2\t[ 0\tlocks=0 ]\t(\t0\t)|"},
    };
    for (const auto &[text, expected] : sets) {
        EXPECT_EQ(result([&, set = text](NOD_TextEdit &edit) { edit.assign(set); }), expected)
            << text;
    }
    const std::pair<const char *, const char *> keys[] = {
        {"lw1@25f=3",
         "        default 1|        key 1 3 linear()|    }|lw1\t[ 0\tlocks=0 ]\t(\t[ lw1\t1 ] \t)|"},
        {"lw1@nan=3", "lw1@nan=3 isn't of the form TOKEN[:INDEX]@TIME=VALUE\n"},
        {"lw1=3", "lw1=3 isn't of the form TOKEN[:INDEX]@TIME=VALUE\n"},
    };
    for (const auto &[text, expected] : keys) {
        const std::string found =
            result([&, key = text](NOD_TextEdit &edit) { edit.assignKey(key); });
        EXPECT_NE(found.find(expected), std::string::npos) << text << ": " << found;
    }
    const std::string driven =
        result([](NOD_TextEdit &edit) { edit.assignExpression("lw*=ch(\"ty\") + 1"); });
    EXPECT_NE(driven.find("[ lw1\t1 ]"), std::string::npos) << driven;
    EXPECT_NE(driven.find("[ lw2\t2 ]"), std::string::npos) << driven;
    // One that can't be read is set and told at once: an error of an option, a warning else.
    const std::pair<const char *, const char *> broken[] = {
        {"2 * (1 +",
         "The expression cannot be read: a value is missing at the end, at character 9"},
        {"1 + wibble(2)", "An expression calls an unknown function: wibble, at character 5"},
    };
    for (const auto &[text, expected] : broken) {
        const std::string option = std::string("lw1=") + text;
        const std::string refused = result(
            [&](NOD_TextEdit &edit) { EXPECT_FALSE(edit.assignExpression(option)) << option; });
        EXPECT_NE(refused.find(std::string("lw1: ") + expected), std::string::npos) << refused;
        const std::string told = result([&, code = text](NOD_TextEdit &edit) {
            EXPECT_TRUE(edit.setExpression("lw1", code)) << code;
        });
        EXPECT_NE(told.find(std::string("lw1: warning: ") + expected), std::string::npos) << told;
        EXPECT_NE(told.find("[ lw1\t1 ]"), std::string::npos) << told;
    }
    EXPECT_EQ(
        result([](NOD_TextEdit &edit) { edit.assignExpression("kind=spot"); }).find("warning"),
        std::string::npos);
    EXPECT_EQ(result([](NOD_TextEdit &edit) { edit.key("label", 1.0, "late"); }).find("isn't"),
              std::string::npos);
}

TEST_F(TextEdit, TimesAreSecondsOrFrames)
{
    const std::pair<const char *, double> times[] = {{"1.5", 1.5}, {"1.5s", 1.5},  {"25f", 1.0},
                                                     {"1f", 0.0},  {"-23f", -1.0}, {"1e1", 10.0}};
    for (const auto &[text, expected] : times) {
        double seconds = -7.0;
        EXPECT_TRUE(NODreadTime(text, seconds)) << text;
        EXPECT_EQ(seconds, expected) << text;
    }
    for (const char *text : {"", "f", "inf", "nans", "1ff", "x"}) {
        double seconds = -7.0;
        EXPECT_FALSE(NODreadTime(text, seconds)) << text;
        EXPECT_EQ(seconds, -7.0);
    }
    NOD_FrameRange range;
    EXPECT_EQ(range.read("1:2:0.25"), "");
    EXPECT_EQ(range.count, 5);
    EXPECT_EQ(range.getFrame(4), 2.0);
    EXPECT_EQ(range.getTime(4), 1.0 / 24.0);
    EXPECT_EQ(range.read("5:1:-2"), "");
    EXPECT_EQ(range.count, 3);
    EXPECT_EQ(range.read("1:2:3:4"), "1:2:3:4 isn't of the form A:B or A:B:STEP");
    for (const char *text : {"", "1", "1:", "2:1", "1:2:0", "1:2:3:4", "1:1e9", "1:x", "nan:1"}) {
        EXPECT_NE(range.read(text), "") << text;
        EXPECT_EQ(range.count, 3);
    }
}

/// What each form holds, it gives back to a new node; a file is known by its bytes.
TEST_F(TextEdit, EveryKindOfFileGivesBackWhatItHolds)
{
    NOD_TextEdit edit(node("/rig/key"), 0.0, report);
    for (const char *text : {"t=1 2 3", "kind=spot", "groups=2", "weight2=5", "label=two words"}) {
        EXPECT_TRUE(edit.assign(text)) << report.asText();
    }
    EXPECT_TRUE(edit.assignKey("ty@1=4") && edit.assignExpression("weight1=3 * 2"));
    const std::string all = sectionsOf("/rig/key");

    const std::size_t steps = scene.getUndo().getUndoCount();
    const auto goBack = [&] {
        while (scene.getUndo().getUndoCount() > steps) {
            EXPECT_TRUE(scene.getUndo().undo());
        }
    };
    using Form = NOD_ValueFile::Form;
    const auto saved = [&](Form form) {
        std::ostringstream os;
        NOD_Report told;
        EXPECT_TRUE(NOD_ValueFile::save(scene, node("/rig/key"), form, os, "", told));
        EXPECT_EQ(told.getMessages().size(), form == Form::NODE ? 0U : 1U) << told.asText();
        EXPECT_EQ(NOD_ValueFile::checkCarried(node("/rig/key"), form, {}, {}, told),
                  form != Form::CHANNELS);
        return os.str();
    };
    const auto apply = [&](const std::string &bytes, const std::string &name, const char *path) {
        NOD_ValueFile file;
        NOD_Report told;
        EXPECT_TRUE(file.read(bytes, name, told) && file.apply(node(path), told)) << told.asText();
        return file.getKind();
    };
    const std::string channels = saved(Form::CHANNELS);
    for (const Form form : {Form::TEXT, Form::BINARY, Form::COMPACT}) {
        EXPECT_EQ(apply(channels, "c", "/rig/fill"), NOD_FileKind::CHANNELS);
        EXPECT_EQ(apply(saved(form), "s", "/rig/fill"), NOD_FileKind::STREAM);
        EXPECT_EQ(apply(channels, "c", "/rig/fill"), NOD_FileKind::CHANNELS);
        EXPECT_EQ(sectionsOf("/rig/fill"), all);
        goBack();
    }
    EXPECT_EQ(apply(saved(Form::NODE), "n", "/rig/fill"), NOD_FileKind::NODE);
    EXPECT_EQ(sectionsOf("/rig/fill"), all);
    goBack();
    for (const auto form : {NOD_SaveOptions::Form::TEXT, NOD_SaveOptions::Form::BINARY}) {
        NOD_SaveOptions options;
        options.form = form;
        std::ostringstream os;
        EXPECT_TRUE(NOD_SceneFile::save(scene, os, options, report)) << report.asText();
        EXPECT_EQ(apply(os.str(), "s?/rig%2Fkey", "/rig/fill"), NOD_FileKind::SCENE);
        EXPECT_EQ(sectionsOf("/rig/fill"), all);
        goBack();
    }
    std::ostringstream preset;
    EXPECT_TRUE(node("/rig/key").getPresets()->savePreset(&node("/rig/key").getParms(), preset));
    EXPECT_EQ(apply(preset.str(), "p", "/rig/fill"), NOD_FileKind::PRESET);
    EXPECT_EQ(sectionsOf("/rig/fill"), all);

    const std::string faults[][3] = {
        {"{ name a parm { name p } }", "a.ds", "a.ds: has no values: it is a dialog script\n"},
        {std::string("\1\0\2", 3), "b", "b: has no values: it is no file of parameters\n"},
        {"\xff\xd8\xff\xe0JFIF", "j", "j: has no values: it is no file of parameters\n"},
        {"{ \x1b\x07 }", "x", "x: has no values: it is no file of parameters\n"},
        {"#include <a.h>\nSTART }", "s.ds", "s.ds: has no values: it is a dialog script\n"},
        {"#STO_INDEX 1.0\n#END\n", "i?Night", "i: there is no preset Night\n"},
        {"#STO_INDEX 1.0\nsection \"scene\"\nend\n#END\n", "e", "e: there is no node in it\n"},
        {"channels 1.0 { wibble }", "w", "w: "},
        {"{ version 0.8 }\n{", "m", "m: goes on after the stream's end, at byte 16\n"},
        {"channels 1.0 { } }", "n", "n: goes on after the stream's end, at byte 17\n"},
    };
    for (const auto &[bytes, name, expected] : faults) {
        NOD_ValueFile file;
        NOD_Report told;
        EXPECT_FALSE(file.read(bytes, name, told) && file.apply(node("/rig/fill"), told)) << name;
        EXPECT_EQ(told.asText().substr(0, expected.size()), expected);
    }
    NOD_ValueFile file;
    NOD_Report told;
    EXPECT_FALSE(file.read("nowhere/at.all", told));
    EXPECT_EQ(told.asText(), "nowhere/at.all: can't be read: No such file or directory\n");
}

} // namespace
