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
         "4:12-15 (5) warning: What stands behind the closing brace of the script isn't read\n"},
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
    // On one line, and without indentation.
    EXPECT_EQ(check("{ name a parm { name p type flaot default { 1 2 3 } zork { 1 } }"
                    " parm { name q lable \"x\" } gruop { name g parm { name r range { 1 } } }"),
              "1:29-34 (1) warning: Unknown parameter type - assuming float\n"
              "1:53-57 (1) Dialog Script: unknown identifier: 'zork'\n"
              "1:80-85 (1) Dialog Script: unknown identifier: 'lable'\n"
              "1:92-97 (1) script unknown identifier gruop\n"
              "1:131-132 (1) Expeced maximum value for range\n"
              "1:136-136 (1) the block of 'script' is not closed: its \"}\" is missing\n");
    EXPECT_EQ(
        check(
            "{\nname a\nparm {\nname p\ntype float\ndefault { 1\n}\nparm {\nname q\nlable x\n}\n}\n"),
        "7:2-2 (8) Dialog Script: unknown identifier: 'parm'\n"
        "10:1-6 (10) Dialog Script: unknown identifier: 'lable'\n");
    EXPECT_EQ(check("parm { name a }\nparm { nmae b }"),
              "2:8-12 (2) Dialog Script: unknown identifier: 'nmae'\n");
}

// One message for one mistake, however much of the script is behind it.
TEST(ScriptMistakes, OneMistakeIsOneMessage)
{
    const auto script = [](const std::string &contents) {
        return "{\nname x\n" + contents + "}\n";
    };
    const std::string needs = "Expecting open brace for script\n";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {script("parm { name a label A }\n/* open\nparm { name b }\n"),
         "4:1-3 (4) a comment is never closed\n"},
        {script("parm { name a /* open\n label A }\n"), "3:15-17 (3) a comment is never closed\n"},
        // A block that isn't there, and one with its name in front.
        {script("multiparm\nparm { name b }\n"), "3:1-10 (4) " + needs},
        {script("group\n"), "3:1-6 (4) " + needs},
        {script("multiparm name m\nparm { name b# }\n"), "3:1-10 (3) " + needs},
        {script("parm name a type float\n"), "3:1-5 (3) Expecting open brace\n"},
        {script("parm\n name a\n}\n"), "3:1-5 (4) Expecting open brace\n"},
        {"parm name a", "1:1-5 (1) Expecting open brace\n"},
        {"{ name x group { name g parm name a } parm name b type float }",
         "1:25-29 (1) Expecting open brace\n1:39-43 (1) 'parm' needs a block in braces\n"},
        {"{ name x parm name a } parm { name b } }", "1:10-14 (1) Expecting open brace\n"},
        {script("multiparm m {\n name m\n parm { name b# }\n}\n"), "3:1-12 (3) " + needs},
        // A text in braces.
        {script("parm {\n name a\n help { \"b\" }\n type float\n}\n"),
         "5:9-12 (5) Dialog Script: unknown identifier: 'b'\n"},
    };
    for (const auto &[text, told] : cases) {
        EXPECT_EQ(check(text), told) << text;
    }
    // Suggestions of the words that a message is about.
    for (const auto &[body, hint] : std::vector<std::pair<const char *, const char *>>{
             {"export viwer", ""},
             {"export al", "all"},
             {"default { [ \"1\" expresion ] }", "expression"},
             {"menu { [ \"x\" ] language pyton }", "python"}}) {
        NOD_Report report;
        NODcheckScript("{ name x parm { name a " + std::string(body) + " } }", "s.ds", report);
        ASSERT_EQ(report.getMessages().size(), 1u) << body;
        const KIT_MessageDetail &detail = *report.getMessages()[0].detail;
        EXPECT_EQ(detail.expected.empty() ? "" : detail.expected[0], hint) << body;
    }
}

// Also after the first mistake, where the reader stops, in the order of the script.
// What can be read is judged, and only what doesn't follow from what can't.
TEST(ScriptMistakes, WhatIsLeftIsJudged)
{
    const auto checkAll = [](const std::string &text) {
        NOD_Report report;
        EXPECT_FALSE(NODcheckScript(text, "s.ds", report)) << text;
        return contents(report);
    };
    const std::string broken =
        "warning: default: The expression cannot be read: \")\" is missing\n";
    EXPECT_EQ(checkAll("{ name x\n"
                       "parm { name a lable A type float default { \"(1\" } }\n"
                       "parm { name b type float hidewhen \"{ zz == 1 }\" } }"),
              "2:15-20 (2) Dialog Script: unknown identifier: 'lable'\n2:47-48 (2) " + broken +
                  "3:38-40 (3) warning: hidewhen: there is no parameter zz\n");
    // Of a text without braces, with the caller's places.
    EXPECT_EQ(checkAll("parm { name a lable A type float default { \"(1\" } }\n"),
              "1:15-20 (1) Dialog Script: unknown identifier: 'lable'\n1:47-48 (1) " + broken);
    // The name may be that of the parameter which can't be read.
    EXPECT_EQ(checkAll("{ name x\n"
                       "parm { nmae zz type float }\n"
                       "parm { name b type float hidewhen \"{ zz == 1 }\" default { \"(1\" } } }"),
              "2:8-12 (2) Dialog Script: unknown identifier: 'nmae'\n3:62-63 (3) " + broken);
    // The expression may be a text, of a type that can't be read.
    EXPECT_EQ(checkAll("{ name x\nparm { name b tpye string default { \"(1\" } } }"),
              "2:15-19 (2) Dialog Script: unknown identifier: 'tpye'\n");
    // The lines that are shown are those of the script.
    NOD_Report report;
    NODcheckScript("parm { name a lable A type float default { \"(1\" } }\n", "s.ds", report);
    ASSERT_EQ(report.getMessages().size(), 2u);
    EXPECT_EQ(report.getMessages()[1].detail->place.source.substr(0, 22), "parm { name a lable A ");
}

TEST(ScriptMistakes, ThePreprocessorsAreTold)
{
    EXPECT_EQ(check("{\nname a\n#include \"none.h\"\nparm { nmae p }\n#if 1\n#endif x\n#else\n"
                    "#if (2\nparm { name r }\n#endif\n#if 3\n/* open\n}\n"),
              "3:1-18 (3) can't find the file to include: 'none.h'\n"
              "4:8-12 (4) Dialog Script: unknown identifier: 'nmae'\n"
              "7:1-6 (7) #else without #if\n"
              "8:1-7 (8) #if: the expression lacks a closing parenthesis\n"
              "11:1-6 (11) #if without #endif\n"
              "12:1-3 (12) a comment is never closed\n");
    EXPECT_EQ(check("#inlcude \"x.h\"\n{\nname a\nparm { nmae p }\n}\n"),
              "1:1-15 (1) script unknown identifier #inlcude\n"
              "4:8-12 (4) Dialog Script: unknown identifier: 'nmae'\n");
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

int lineOf(const NOD_Message &message)
{
    return message.detail ? message.detail->place.line : message.line;
}

/// Which message tells which mistake, each one once: its number, or -1.
std::vector<int> matched(const std::vector<NOD_Message> &messages,
                         std::vector<ScriptMistake> &mistakes)
{
    std::sort(mistakes.begin(), mistakes.end(),
              [](const ScriptMistake &a, const ScriptMistake &b) { return a.made < b.made; });
    std::vector<int> telling(mistakes.size(), -1);
    std::vector<bool> usedFlag(messages.size());
    for (std::size_t i = 0; i < mistakes.size(); ++i) {
        for (const int distance : {0, -1, 1}) {
            for (std::size_t k = 0; k < messages.size() && telling[i] < 0; ++k) {
                if (!usedFlag[k] && lineOf(messages[k]) == mistakes[i].line + distance) {
                    usedFlag[k] = true;
                    telling[i] = int(k);
                }
            }
        }
    }
    return telling;
}

void count(const ScriptMistakes &script, Counts &counts, bool showFlag)
{
    NOD_Report report;
    NODcheckScript(script.getText(), script.getFile(), report);
    const std::vector<NOD_Message> &messages = report.getMessages();
    std::vector<ScriptMistake> made = script.getMade();
    const std::vector<int> telling = matched(messages, made);
    const int told = int(made.size()) - int(std::count(telling.begin(), telling.end(), -1));
    counts.made += int(made.size());
    counts.told += told;
    counts.messages += int(messages.size());
    counts.wrong += int(messages.size()) - told;
    if (!showFlag || (told == int(made.size()) && told == int(messages.size()))) {
        return;
    }
    std::cout << script.getFile() << "\n";
    for (std::size_t i = 0; i < made.size(); ++i) {
        std::cout << (telling[i] < 0 ? "  not told: " : "  made: ") << made[i].line << " "
                  << made[i].kind << ": " << script.getLine(made[i]) << "\n";
    }
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const bool rightFlag = std::count(telling.begin(), telling.end(), int(i)) != 0;
        std::cout << (rightFlag ? "  right: " : "  FALSE: ") << lineOf(messages[i]) << " "
                  << messages[i].asText() << "\n";
    }
    if (std::getenv("ZEL_SHOW_MISTAKES") == std::string("text")) {
        std::cout << script.getText() << "\n";
    }
}

/// Of scripts whose layouts take turns.
Counts countOf(unsigned seed, long scripts, const std::vector<ScriptLayout> &layouts)
{
    static constexpr const char *theFiles[] = {"camera",  "file_reader", "keywords",
                                               "light",   "ramps",       "render",
                                               "scatter", "shader",      "transform"};
    const bool showFlag = std::getenv("ZEL_SHOW_MISTAKES") != nullptr;
    std::mt19937 random(seed);
    Counts counts;
    for (long i = 0; i < scripts; ++i) {
        const char *const file = theFiles[random() % std::size(theFiles)];
        ScriptMistakes script(std::string(ZEL_TESTS_DIR "/../examples/") + file + ".ds",
                              unsigned(random()), layouts[std::size_t(i) % layouts.size()]);
        script.make(2 + int(random() % 4));
        count(script, counts, showFlag);
    }
    return counts;
}

} // namespace

// Of two to five mistakes in each of 200 scripts, nearly all are told where they are, each by one message, and
// hardly anything else, however the script is laid out. ZEL_SHOW_MISTAKES shows the others, ZEL_TEST_OPERATIONS
// sets the number of scripts.
TEST(ScriptMistakes, MistakesOfAProgramAreTold)
{
    const char *const given = std::getenv("ZEL_TEST_OPERATIONS");
    const long scripts = std::max(given ? std::atol(given) : 0L, 200L);
    const std::pair<std::vector<ScriptLayout>, const char *> kinds[] = {
        {{ScriptLayout::AS_IS}, "as it is"},
        {{ScriptLayout::FORMATTED, ScriptLayout::CRLF, ScriptLayout::PAIRS, ScriptLayout::FLAT},
         "other layouts"},
    };
    for (const auto &[layouts, name] : kinds) {
        for (const unsigned seed : {1u, 2026u}) {
            const Counts counts = countOf(seed, scripts, layouts);
            std::cout << name << ", seed " << seed << ": told " << counts.told << " of "
                      << counts.made << ", false " << counts.wrong << " of " << counts.messages
                      << "\n";
            EXPECT_GT(counts.made, 2 * scripts);
            EXPECT_GE(counts.told * 100, counts.made * 95) << name << " " << seed;
            EXPECT_LE(counts.wrong * 100, counts.messages * 2) << name << " " << seed;
        }
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
                EXPECT_NE(one.category, theKITCommonCategory) << one.text; // a code of its own
                const bool ownFlag = one.detail && one.detail->place.file == file;
                EXPECT_TRUE(!ownFlag || (one.detail->place.offset >= 0 &&
                                         one.detail->place.endOffset <= std::int64_t(text.size()) &&
                                         one.detail->place.endOffset >= one.detail->place.offset))
                    << one.text << text;
            }
        }
    }
}
