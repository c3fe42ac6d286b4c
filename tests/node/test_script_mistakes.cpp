// Mistakes in scripts: where they are told, and that those of one script are all told.

#include "ScriptMistakes.h"

#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_ScriptCheck.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

namespace
{

std::string positionOf(const KIT_MessagePlace &place)
{
    return std::to_string(place.line) + ":" + std::to_string(place.column) + "-" +
           (place.endLine != place.line ? std::to_string(place.endLine) + ":" : "") +
           std::to_string(place.endColumn);
}

/// `line:column-end (told line) text`, a line for each.
std::string contents(const NOD_Report &report)
{
    std::string all;
    for (const NOD_Message &message : report.getMessages()) {
        all += message.detail ? positionOf(message.detail->place) : "?";
        all += " (" + std::to_string(message.line) + ") ";
        all += message.severity == KIT_ERROR_WARNING ? "warning: " : "";
        all += message.text + "\n";
    }
    return all;
}

std::string read(const std::string &text)
{
    NOD_Report report;
    NOD_Interface::fromText(text, "s.ds", report);
    return contents(report);
}

std::string check(const std::string &text)
{
    NOD_Report report;
    NODcheckScript(text, "s.ds", report);
    return contents(report);
}

} // namespace

// The text and the line are the reader's; the place is that of the mistake.
TEST(ScriptMistakes, ThePlaceIsWhereTheMistakeIs)
{
    const std::vector<std::pair<const char *, const char *>> cases = {
        // a brace that is missing in line 3
        {"{\n  name x\n  parm { name a type float\n  parm { name b }\n}\n",
         "3:27-27 (4) Dialog Script: unknown identifier: 'parm'\n"},
        // a quote that is missing in line 3
        {"{\n  name x\n  label \"y\n  parm {\n    name \"a\"\n    label \"b\"\n  }\n}\n",
         "3:9-11 (5) script unknown identifier a\"\n"},
        {"{\n  name x\n  parm {\n    name a\n    parmtag { \"lonely\" }\n    label b\n    type float\n  }\n}\n",
         "5:15-23 (9) Expecting close brace for script\n"},
        {"{\n  name x\n  parm { name a type flaot }\n}\n",
         "3:22-27 (3) warning: Unknown parameter type - assuming float\n"},
        {"{\n  name x\n  parm {\n    label\n    name a\n    type float\n  }\n}\n",
         "4:5-10 (5) Dialog Script: unknown identifier: 'a'\n"},
        {"{\n  name x\n  parm {\n    type float\n  }\n}\n", "3:3-7 (5) parameter without a name\n"},
        // a brace too many
        {"{\n  name x\n  parm {\n    name a } }\n    type float\n  }\n  parm { name b }\n}\n",
         "4:12-13 (5) warning: What stands behind the closing brace of the script isn't read\n"},
    };
    for (const auto &[text, told] : cases) {
        EXPECT_EQ(read(text), told) << text;
    }
}

TEST(ScriptMistakes, ColumnsCountBytesAndCharacters)
{
    NOD_Report report;
    NOD_Interface::fromText(
        "{\n\tname x\n\tparm { name a label \"\xc3\xa4\xe2\x82\xac\" wibble }\n}\n", "s.ds",
        report);
    ASSERT_EQ(report.getMessages().size(), 1u);
    const KIT_MessageDetail &detail = *report.getMessages()[0].detail;
    EXPECT_EQ(detail.place.column, 30);
    EXPECT_EQ(detail.place.character, 27);
    EXPECT_EQ(detail.place.endColumn, 36);
    EXPECT_EQ(detail.place.endCharacter, 33);
    EXPECT_EQ(detail.place.offset, 39);
    EXPECT_EQ(detail.subject, "a");
    EXPECT_EQ(detail.found, "wibble");
    EXPECT_EQ(detail.place.source, "\tparm { name a label \"\xc3\xa4\xe2\x82\xac\" wibble }");

    // The contents of a script's braces: the places are the caller's.
    EXPECT_EQ(read("parm { name a }\nparm { name b wibble }"),
              "2:15-21 (2) Dialog Script: unknown identifier: 'wibble'\n");
}

TEST(ScriptMistakes, EachOneIsTold)
{
    EXPECT_EQ(
        check("{\n"
              "  name x\n"
              "  parm {\n"
              "    name  a\n"
              "    lable \"A\"\n"
              "    type  flaot\n"
              "    range { 5 1 }\n"
              "    hidewhen \"{ b == 1\"\n"
              "  parm {\n"
              "    name  b\n"
              "    menu {\n"
              "      \"x\" \"X\"\n"
              "      \"y\"\n"
              "    }\n"
              "    export wibble\n"
              "  }\n"
              "  gruop {\n"
              "    name g\n"
              "    parm { label \"no name\" }\n"
              "  }\n"
              "}\n"),
        "5:5-10 (5) Dialog Script: unknown identifier: 'lable'\n"
        "6:11-16 (6) warning: Unknown parameter type - assuming float\n"
        "7:15-16 (7) warning: Invalid range specification: the maximum value is less than the minimum "
        "value.\n"
        "8:14-24 (8) hidewhen: Missing closing '}'\n"
        "8:24-24 (8) the block of 'parm' is not closed: its \"}\" is missing\n"
        "13:7-10 (13) the menu entry 'y' has no label\n"
        "15:12-18 (15) parm has bad export value\n"
        "17:3-8 (17) script unknown identifier gruop\n"
        "19:5-9 (19) parameter without a name\n");
    EXPECT_EQ(check("{ name x parm { name a } }"), "");
    EXPECT_EQ(check("parm { name a }\nparm { nmae b }"),
              "2:8-12 (2) Dialog Script: unknown identifier: 'nmae'\n");
}

namespace
{

struct Counts
{
    int made = 0;
    int told = 0;
    int messages = 0;
    int wrong = 0;
};

/// Whether a message tells a mistake.
bool tells(const NOD_Message &message, const ScriptMistake &mistake)
{
    const int line = message.detail ? message.detail->place.line : message.line;
    return std::abs(line - mistake.line) <= 1;
}

void count(const ScriptMistakes &script, Counts &counts, bool showFlag)
{
    NOD_Report report;
    NODcheckScript(script.getText(), script.getFile(), report);
    std::string shown;
    for (const ScriptMistake &mistake : script.getMade()) {
        const bool toldFlag =
            std::any_of(report.getMessages().begin(), report.getMessages().end(),
                        [&](const NOD_Message &message) { return tells(message, mistake); });
        counts.made++;
        counts.told += toldFlag;
        shown += toldFlag
                     ? ""
                     : "  not told: " + mistake.kind + ", line " + std::to_string(mistake.line) +
                           ": " + script.getLine(mistake.line) + "\n";
    }
    for (const NOD_Message &message : report.getMessages()) {
        const bool rightFlag =
            std::any_of(script.getMade().begin(), script.getMade().end(),
                        [&](const ScriptMistake &mistake) { return tells(message, mistake); });
        counts.messages++;
        counts.wrong += !rightFlag;
        shown += rightFlag ? ""
                           : "  false: " + positionOf(message.detail->place) + " " +
                                 message.asText() + "\n";
    }
    if (showFlag && !shown.empty()) {
        std::cout << script.getFile() << "\n" << shown;
        for (const ScriptMistake &mistake : script.getMade()) {
            std::cout << "    made: " << mistake.line << " " << mistake.kind << ": "
                      << script.getLine(mistake.line) << "\n";
        }
    }
}

Counts countOf(unsigned seed, int scripts)
{
    static constexpr const char *theFiles[] = {"camera",  "file_reader", "keywords",
                                               "light",   "ramps",       "render",
                                               "scatter", "shader",      "transform"};
    const bool showFlag = std::getenv("ZEL_SHOW_MISTAKES") != nullptr;
    std::mt19937 random(seed);
    Counts counts;
    for (int i = 0; i < scripts; ++i) {
        const char *const file = theFiles[random() % std::size(theFiles)];
        ScriptMistakes script(std::string(ZEL_TESTS_DIR "/../examples/") + file + ".ds",
                              unsigned(random()));
        script.make(2 + int(random() % 4));
        count(script, counts, showFlag);
    }
    std::cout << "seed " << seed << ": told " << counts.told << " of " << counts.made << ", false "
              << counts.wrong << " of " << counts.messages << "\n";
    return counts;
}

} // namespace

// Of two to five mistakes in each of 200 scripts, nearly all are told where they are, and hardly anything
// else. ZEL_SHOW_MISTAKES shows the others.
TEST(ScriptMistakes, MistakesOfAProgramAreTold)
{
    for (const unsigned seed : {1u, 2026u}) {
        const Counts counts = countOf(seed, 200);
        EXPECT_GT(counts.made, 500);
        EXPECT_GE(counts.told * 100, counts.made * 95) << seed;
        EXPECT_LE(counts.wrong * 100, counts.messages * 2) << seed;
    }
}

namespace
{

/// A script with some bytes taken out, put in and moved.
std::string spoilt(std::string text, std::mt19937 &random)
{
    static constexpr const char *theParts[] = {"\"",          "{",
                                               "}",           "[",
                                               "\n",          "\\",
                                               "`",           "parm {",
                                               "group {",     "menu {",
                                               "multiparm {", "import {",
                                               "default {",   "#define x {\n",
                                               "#if 1\n",     "#include \"common.dsh\"\n",
                                               "label",       "\xff"};
    for (unsigned edits = 1 + random() % 8; edits > 0; --edits) {
        const std::size_t at = random() % (text.size() + 1);
        if (random() % 2 == 0) {
            text.erase(at, random() % 30);
        } else {
            text.insert(at, theParts[random() % std::size(theParts)]);
        }
    }
    return text;
}

} // namespace

// Whatever the text: the verdict is the reader's, its first error is among the messages, and places are in
// the text.
TEST(ScriptMistakes, LawsHoldForAnyText)
{
    std::mt19937 random(7);
    for (const char *const name : {"keywords", "light", "render", "shader"}) {
        const std::string file = std::string(ZEL_TESTS_DIR "/../examples/") + name + ".ds";
        std::ifstream is(file);
        const std::string good(std::istreambuf_iterator<char>(is), {});
        for (int i = 0; i < 60; ++i) {
            const std::string text = spoilt(good, random);
            NOD_Report reader;
            NOD_Report all;
            const bool goodFlag = NOD_Interface::fromText(text, file, reader) != nullptr;
            EXPECT_EQ(NODcheckScript(text, file, all) != nullptr, goodFlag) << text;
            EXPECT_TRUE(!all.hasErrors() || !goodFlag) << text;
            const auto first = std::find_if(
                reader.getMessages().begin(), reader.getMessages().end(),
                [](const NOD_Message &one) { return one.severity >= KIT_ERROR_ABORT; });
            EXPECT_TRUE(first == reader.getMessages().end() ||
                        contents(all).find(") " + first->text + "\n") != std::string::npos)
                << first->text << "\n"
                << contents(all) << text;
            for (const NOD_Message &one : all.getMessages()) {
                const bool ownFlag = one.detail && one.detail->place.file == file;
                EXPECT_TRUE(!ownFlag || (one.detail->place.offset >= 0 &&
                                         one.detail->place.endOffset <= std::int64_t(text.size()) &&
                                         one.detail->place.endOffset >= one.detail->place.offset))
                    << one.text << text;
            }
        }
    }
}
