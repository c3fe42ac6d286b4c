// Judging scripts: each rule on its own example, what silences rules, edits, and the page that shows them.

#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceDifference.h>
#include <NOD/NOD_Lint.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptCheck.h>
#include <SNK/SNK_Python.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

/// A folder of the test's own, with what the examples include.
class Folder
{
public:
    Folder() : myPath(fs::temp_directory_path() / ("zel_lint_" + std::to_string(getpid())))
    {
        fs::create_directories(myPath);
        write("unused.dsh", "// Nothing.\n#define NOBODYS 1\n");
    }
    ~Folder() { fs::remove_all(myPath); }

    std::string write(const std::string &name, const std::string &text) const
    {
        std::ofstream(myPath / name, std::ios::binary) << text;
        return (myPath / name).string();
    }

private:
    fs::path myPath;
};

/// As a whole script; the contents begin on line 3.
std::string whole(const std::string &contents)
{
    return "{\nname example label \"Example\"\n" + contents + "}\n";
}

std::vector<NOD_LintFinding> lintText(const std::string &text, const std::string &file = "example",
                                      const NOD_LintOptions &options = {})
{
    NOD_Report report;
    const auto script = NOD_Interface::fromText(text, file, report);
    EXPECT_TRUE(script) << report.asText() << text;
    return script ? NODlint(*script, options) : std::vector<NOD_LintFinding>();
}

std::string asText(const std::vector<NOD_LintFinding> &findings)
{
    std::string all;
    for (const NOD_LintFinding &finding : findings) {
        all += finding.asText() + "\n";
    }
    return all;
}

/// `line:column code`, for all.
std::string places(const std::vector<NOD_LintFinding> &findings)
{
    std::string all;
    for (const NOD_LintFinding &finding : findings) {
        all += (all.empty() ? "" : ", ") + std::to_string(finding.message.line) + ":" +
               std::to_string(finding.message.detail->place.column) + " " + finding.rule->code;
    }
    return all;
}

std::string lintContents(const std::string &contents)
{
    return places(lintText(whole(contents)));
}

/// The line of a text's first such word, from 1.
int lineOf(const std::string &text, const std::string &word)
{
    return 1 + int(std::count(text.begin(), text.begin() + long(text.find(word)), '\n'));
}

bool needsPython(const NOD_LintRule &rule)
{
    return std::string(rule.name).find("python") != std::string::npos;
}

/// Makes edits until there is none, and returns the text.
std::string mendAll(const std::string &text, const std::string &file = "example")
{
    NOD_Report report;
    const auto script = NOD_Interface::fromText(text, file, report);
    if (!script) {
        ADD_FAILURE() << report.asText() << text;
        return text;
    }
    NOD_Report told;
    const NOD_MendedScript mended = NODmendScript(script, file, {}, told);
    EXPECT_EQ(told.asText(), "") << text;
    return mended.script->getText();
}

/// With the line ends of another system.
std::string withReturns(const std::string &text)
{
    std::string out;
    for (const char c : text) {
        out += c == '\n' ? "\r\n" : std::string(1, c);
    }
    return out;
}

// ---------------------------------------------------------------------- //
// The table
// ---------------------------------------------------------------------- //

TEST(Lint, EachRuleFindsItsExampleAndNothingElse)
{
    const Folder folder;
    for (const NOD_LintRule &rule : NODlintRules()) {
        if (needsPython(rule) && !SNKisPythonBuiltIn()) {
            continue;
        }
        SCOPED_TRACE(rule.code);
        const std::string text = whole(rule.example);
        const std::string file = folder.write("example.ds", text);
        const std::vector<NOD_LintFinding> findings = lintText(text, file);
        ASSERT_EQ(findings.size(), 1u) << asText(findings);
        EXPECT_STREQ(findings[0].rule->code, rule.code);
        const NOD_Message &message = findings[0].message;
        ASSERT_TRUE(message.detail);
        EXPECT_EQ(message.line, lineOf(text, rule.code)) << asText(findings);
        EXPECT_GT(message.detail->place.column, 0);
        EXPECT_EQ(message.file, file);
        EXPECT_EQ("Z" + std::to_string(message.code), rule.code);
        EXPECT_EQ(findings[0].hasFix(), rule.fixFlag);

        const std::string mended = whole(rule.mended);
        EXPECT_EQ(asText(lintText(mended, file)), "");
        if (rule.fixFlag) {
            int applied = 0;
            EXPECT_EQ(NODapplyLintFixes(findings, file, text, applied), mended);
            EXPECT_EQ(applied, 1);
            EXPECT_EQ(mendAll(text, file), mended);
            EXPECT_EQ(mendAll(withReturns(text), file), withReturns(mended));
        }
    }
}

TEST(Lint, CodesAreInOrder)
{
    const std::vector<NOD_LintRule> &rules = NODlintRules();
    EXPECT_TRUE(std::is_sorted(rules.begin(), rules.end(), [](const auto &a, const auto &b) {
        return std::string(a.code) < b.code;
    }));
}

/// The part of docs/lint.md that is made from the table.
std::string rulesPage()
{
    std::ostringstream page;
    page << "\n| code | name | level | fix |\n|---|---|---|---|\n";
    for (const NOD_LintRule &rule : NODlintRules()) {
        page << "| [" << rule.code << "](#" << rule.code << ") | `" << rule.name << "` | "
             << NODlintLevelWord(rule.level) << " | " << (rule.fixFlag ? "yes" : "") << " |\n";
    }
    const auto indented = [](std::string text) {
        std::string out;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            out += "    " + line + "\n";
        }
        return out;
    };
    for (const NOD_LintRule &rule : NODlintRules()) {
        page << "\n### <a id=\"" << rule.code << "\"></a>" << rule.code << " " << rule.name
             << "\n\n"
             << rule.sentence << "\n\n"
             << indented(rule.example) << "\n"
             << (rule.fixFlag ? "`--fix` makes of it" : "Better:") << "\n\n"
             << indented(rule.mended);
    }
    return page.str();
}

TEST(Lint, ThePageHasTheTable)
{
    const std::string file = ZEL_TESTS_DIR "/../docs/lint.md";
    std::ifstream is(file);
    const std::string page(std::istreambuf_iterator<char>(is), {});
    const std::size_t mark = page.find("-->\n");
    ASSERT_NE(mark, std::string::npos);
    const std::string head = page.substr(0, mark + 4);
    if (ZEL_UPDATE_GOLDEN) {
        std::ofstream(file) << head << rulesPage();
    } else {
        EXPECT_EQ(page.substr(head.size()), rulesPage());
    }
}

// ---------------------------------------------------------------------- //
// More of what rules see, and what they leave alone
// ---------------------------------------------------------------------- //

struct Case
{
    const char *contents; ///< from line 3
    const char *places;
};

TEST(Lint, Names)
{
    for (const Case &one : {
             Case{"parm { name \"a\" label \"A\" type float }\n"
                  "group { name \"f\" label \"F\" parm { name \"a\" label \"B\" type float } }\n",
                  "4:40 Z101"},
             Case{"parm { name \"tx\" label \"A\" type float }\n"
                  "parm { name \"t\" label \"T\" type vector }\n",
                  "4:13 Z102"},
             Case{"parm { name \"a\" label \"\" type float }\n", "3:17 Z107"},
             Case{"parm { name \"a\" type float invisible }\nparm { name \"s\" type separator }\n",
                  ""},
             Case{"group { name \"f\" }\n", "3:14 Z107"},
             Case{"parm { name \"m\" label \"M\" type ordinal menu { a \"\" _separator_ \"\" } }\n",
                  "3:49 Z107"},
             // A name that can't be saved can't be animated either: that is told once.
             Case{"parm { name \"a b\" label \"A\" type float }\n", "3:13 Z103"},
         }) {
        EXPECT_EQ(lintContents(one.contents), one.places) << one.contents;
    }
}

TEST(Lint, KeywordsAndTypes)
{
    for (const Case &one : {
             // Looks that are there again after the type, and defaults after the size.
             Case{"parm { name a label A invisible type float invisible }\n", ""},
             Case{"parm { name a label A nolabel type float }\n", "3:23 Z204"},
             Case{"parm { name a label A default { 1 } type float default { 2 } }\n", "3:23 Z206"},
             Case{"parm { name a label A type float default { 1 } size 2 }\n", "3:34 Z204"},
             Case{"parm { name a label A type float size 0 }\n", "3:39 Z202"},
             Case{"parm { name a label A type float size 2.5 }\n", "3:39 Z202"},
             Case{"parm { name a label A type float default { [ 1 literal ] 2 } }\n", "3:58 Z205"},
             // A menu is cleared by `type ordinal` only.
             Case{"parm { name a label A menu { x X } type string }\n", ""},
             Case{"parm { name a label A type string logarithmic }\n", "3:35 Z208"},
             Case{"parm { name a label A type float_minmax size 2 logarithmic }\n", ""},
             Case{"group { name f label F grouptag { a b c d } }\n", "3:39 Z207"},
             // Quotes in pairs are code.
             Case{"parm { name a label x\"y type string default { [ ch(\"a\") expression ] } }\n",
                  "3:22 Z209"},
             Case{"parm { name a label A type string menu { [ s=\"x y\" ] language command } }\n",
                  "3:44 Z408"},
         }) {
        EXPECT_EQ(lintContents(one.contents), one.places) << one.contents;
    }
}

TEST(Lint, Values)
{
    for (
        const Case &one : {
            Case{"parm { name a label A type float default { \"ch(\\\"b\\\") + (1\" } }\n",
                 "3:59 Z302"},
            Case{"parm { name a label A type float default { \"$F * 2\" } }\n", ""},
            // Escapes are longer than what they mean, and some mean themselves.
            Case{"parm { name a label A type float default { \"\\061 + \\061 +\" } }\n",
                 "3:58 Z302"},
            Case{"parm { name a label A type string default { \"\\q\\101`1 +`\" } }\n",
                 "3:56 Z302"},
            Case{"parm { name a label A type string default { \"f`1 +`.pic\" } }\n", "3:51 Z302"},
            Case{"parm { name a label A type string default { \"it`s\" } }\n", ""},
            Case{"parm { name a label A type toggle default { on } }\n", ""},
            Case{"parm { name a label A type toggle default { yes } }\n", "3:45 Z304"},
            Case{"parm { name a label A type integer default { many } }\n", "3:46 Z301"},
            Case{"parm { name a label A type vector default { 0 5 0 } range { 0! 1! } }\n",
                 "3:47 Z303"},
            Case{"parm { name a label A type float default { 5 } range { 0 1 } }\n", ""},
            Case{"parm { name a label A type ordinal default { 1 } menu { x X y Y } }\n", ""},
            Case{"parm { name a label A type ordinal default { 0.5 } menu { x X y Y } }\n",
                 "3:46 Z311"},
            Case{"parm { name a label A type intvector2 default { -1.5 5e9 } }\n",
                 "3:49 Z311, 3:54 Z311"},
            Case{"parm { name a label A type toggle default { 2 } }\n", "3:45 Z305"},
            Case{"parm { name a label A type vector2 default { [ 1 litral ] [ ch(\"ax\") 1 ] } }\n",
                 "3:50 Z312"},
            // What is read: of a component, another node's, by a computed name, of an item.
            Case{
                "parm { name v label V type vector }\n"
                "parm { name a label A type string default { \"`ch('vy')`/`ch('../x/y')`\" } }\n"
                "parm { name b label B type float default { \"ch(\\\"v$F\\\") + ch(\\\"vw\\\")\" } }\n",
                "5:64 Z313"},
            Case{"multiparm { name m label M\n"
                 "parm { name p# label P type float default { \"ch('q#') + ch('p1')\" } }\n"
                 "parm { name q# label Q type float hidewhen \"{ ch('r#') > 1 }\" } }\n",
                 "5:51 Z313"},
            // In Python too: not of another node, a computed name, a comment, nor what may be None.
            Case{
                "parm { name v label V type vector }\n"
                "parm { name a label A type float default { [ \"vmr.ch('vy') + vmr.ch('vq')\" python ] } }\n"
                "parm { name b label B type string default { [ \"vmr.chs(f'{1}')\" python ] }\n"
                "menu { [ \"# vmr.ch('x')\\nn = vmr.node('../v').parm('x') or vmr.parm('y')\\n"
                "return [vmr.chs( 'c\\\\x41'), vmr.parm('z').eval()]\" ] language python } }\n",
                "4:70 Z313, 6:11 Z313, 6:113 Z313"},
            Case{"parm { name a label A type float range { 1 1 } }\n", "3:34 Z309"},
            Case{"parm { name a label A type float range { x! 1 } }\n", "3:42 Z310"},
            Case{"multiparm { name a label A default 30 range { 0! 20! }\n"
                 "parm { name b# label B type float } }\n",
                 "3:36 Z303"},
            Case{"parm { name r label R type ramp_flt default { 1 }\n"
                 "parmtag { rampfloatdefault \"1pos ( 0 ) 2value ( 1 )\" } }\n",
                 "4:40 Z308"},
            Case{"parm { name r label R type ramp_rgb default { 1 }\n"
                 "parmtag { rampcolordefault \"1pos ( 0 ) 1c ( 1 1 )\" } }\n",
                 "4:45 Z308"},
            Case{"parm { name r label R type ramp_flt parmtag { rampfloatdefault \"\" } }\n",
                 "3:64 Z308"},
        }) {
        EXPECT_EQ(lintContents(one.contents), one.places) << one.contents;
    }
}

constexpr const char *theControls = "parm { name use label U type toggle }\n"
                                    "parm { name mode label M type ordinal menu { lo L hi H } }\n"
                                    "parm { name text label T type string menu { a A b B } }\n"
                                    "parm { name v label V type vector }\n"
                                    "parm { name n label N type float\n";

TEST(Lint, Conditions)
{
    for (const Case &one : {
             Case{"hidewhen \"{ use == off mode != lo } { vx > 2 }\"", ""},
             Case{"hidewhen \"{ use = off }\"", "8:17 Z402"},
             Case{"hidewhen \"{ use=off }\"", "8:13 Z402"},
             Case{"hidewhen \"{ n <> 1 }\"", "8:15 Z402"},
             Case{"hidewhen \"{ use == on && mode == lo }\"", "8:23 Z402"},
             Case{"hidewhen { { usee == off } { v == 0 } }", "8:14 Z401"},
             Case{"hidewhen { { mode == lo } { mode hi } }", "8:10 Z405"},
             Case{"hidewhen \"{ use == true }\"", "8:20 Z403"},
             Case{"hidewhen \"{ mode == 1 }\"", "8:21 Z403"},
             Case{"hidewhen \"{ mode != lo } { mode == lo n > 1 }\"", ""},
             Case{"hidewhen \"{ use == 0 }\"", "8:20 Z403"},
             Case{"hidewhen \"{ use == off } { use == on }\"", "8:10 Z405"},
             Case{"hidewhen \"{ use == off use == on }\"", "8:10 Z406"},
             Case{"hidewhen \"{ use == off n > 1 } { use == on n < 1 }\"", ""},
             // A text may be set to what its menu doesn't have.
             Case{"hidewhen \"{ text == a } { text == b }\"", ""},
             Case{"hidewhen \"{ text == \\\"\\\" }\"", ""},
             // Behind an operator any word is a value.
             Case{"hidewhen \"{ n == is } { n == and } { n == = }\"", ""},
             Case{"hidewhen { { n == is } }", ""},
             Case{"hidewhen \"{ text =~ \\\"(\\\" }\"", "8:23 Z404"},
             Case{"hidewhen \"{ 'ch(1' == 1 }\"", "8:13 Z401"},
             Case{"hidewhen \"{ strlen(,) == 1 }\"", "8:13 Z410"},
         }) {
        EXPECT_EQ(lintContents(std::string(theControls) + one.contents + " }\n"), one.places)
            << one.contents;
    }
    // In a block: of the same item, of any item, of none.
    const std::string block = "multiparm { name b label B\nparm { name a# label A type toggle }\n"
                              "parm { name c# label C type float hidewhen \"{ a# == off }\" }\n"
                              "parm { name d# label D type float hidewhen \"{ a1 == off }\" }\n"
                              "parm { name e# label E type float hidewhen \"{ x# == off }\" } }\n";
    EXPECT_EQ(lintContents(block), "7:47 Z401");
    // Of folders and their sets, whichever folder says it.
    const std::string folders = "parm { name a label A type toggle }\n"
                                "group { name f label F hidewhen \"{ a == off }\" }\n"
                                "group { name g label G hidewhentab \"{ b == off }\" }\n";
    EXPECT_EQ(lintContents(folders), "5:39 Z401");
}

// Beside what is wrong, what the thing is.
TEST(Lint, TextsSayAsMuchAsCheckDoes)
{
    const auto text = [](const std::string &contents) {
        const std::vector<NOD_LintFinding> found = lintText(whole(contents));
        return found.size() == 1 ? found[0].message.text : asText(found);
    };
    EXPECT_EQ(text("parm { name a label A type float default { \"foo(1)\" } }\n"),
              "the expression foo(1) calls an unknown function: foo");
    EXPECT_EQ(text("parm { name a label A type float default { \"(1\" } }\n"),
              "the expression (1: \")\" is missing");
    EXPECT_EQ(text("parm { name a label A type float hidewhen \"{ foo(1) == 2 }\" }\n"),
              "hidewhen: the expression foo(1) calls an unknown function: foo");
    EXPECT_EQ(text("parm { name a label A type toggle default { yes } }\n"),
              "the default of a toggle is off or on, not yes");
}

TEST(Lint, PythonIsAtFaultWhereCheckSaysIt)
{
    const std::string script =
        whole("parm { name a label A type float default { [ \"2 +\" python ] } }\n"
              "parm { name b label B type string menu { [ \"y = (\" ] language python } }\n");
    NOD_Report report;
    const auto read = NOD_Interface::fromText(script, "example", report);
    ASSERT_TRUE(read) << report.asText();
    NODcheckExpressions(*read, report);
    std::string told;
    for (const NOD_Message &message : report.getMessages()) {
        told += std::to_string(message.line) + ":" + std::to_string(message.detail->place.column) +
                "\n";
    }
    std::string found;
    for (const NOD_LintFinding &finding : NODlint(*read)) {
        found += std::to_string(finding.message.line) + ":" +
                 std::to_string(finding.message.detail->place.column) + "\n";
    }
    EXPECT_EQ(found, told);
}

TEST(Lint, TheScript)
{
    EXPECT_EQ(places(lintText("{ name a label A } }\n")), "1:18 Z501");
    EXPECT_EQ(lintContents("parm { name a label \"\xff\" type float help \"a\\nb\" }\n"),
              "3:21 Z504");
    EXPECT_EQ(lintContents("parm { name a label \"\xc3\xa4\xe2\x82\xac\" type float }\n"), "");
}

// ---------------------------------------------------------------------- //
// Places
// ---------------------------------------------------------------------- //

TEST(Lint, PlacesInMacrosIncludesAndWideCharacters)
{
    const Folder folder;
    folder.write("part.dsh", "\n  parm { name p type float }\n#define TYPE toggel\n");
    const std::string file =
        folder.write("main.ds", "\xef\xbb\xbf{ name m label M\n"
                                "#include \"part.dsh\"\n"
                                "parm { name q label \"\xc3\xa4\" type TYPE }\n"
                                "parm { name r\n"
                                "  help \"two\nlines\" size \"\xc3\xa4\" }\n"
                                "}\n");
    NOD_Report report;
    const auto script = NOD_Interface::fromFile(file, report);
    ASSERT_TRUE(script);
    const std::vector<NOD_LintFinding> findings = NODlint(*script);
    EXPECT_EQ(places(findings), "3:31 Z201, 4:13 Z107, 6:13 Z202, 2:15 Z107");
    ASSERT_EQ(findings.size(), 4u);
    EXPECT_EQ(fs::path(findings[3].message.file).filename(), "part.dsh");
    EXPECT_EQ(findings[0].message.detail->expected, std::vector<std::string>{"toggle"});
    EXPECT_EQ(findings[0].message.subject, "q");
    EXPECT_EQ(findings[3].message.detail->includedFrom.at(0).line, 2);
    EXPECT_EQ(findings[0].message.detail->place.character, 30);
    // The byte order mark is no column.
    EXPECT_EQ(places(lintText("\xef\xbb\xbf{ name a label A } }")), "1:18 Z501");

    // A file that was read without its includes is judged without them.
    const auto none = NOD_Interface::fromText("{ name m label M\n#include \"part.dsh\"\n}", file,
                                              report, NOD_Interface::Includes::NONE);
    EXPECT_FALSE(none);
}

TEST(Lint, IncludesThatAreUsed)
{
    const Folder folder;
    folder.write("macro.dsh", "#ifndef G\n#define G\n#define SIZE 3\n#endif\n");
    folder.write("outer.dsh", "#include \"inner.dsh\"\n");
    folder.write("inner.dsh", "parm { name i label I }\n");
    const std::string good = "#include \"macro.dsh\"\n{ name a label A\n#include \"outer.dsh\"\n";
    EXPECT_EQ(
        places(lintText(good + "parm { name a label A size SIZE } }\n", folder.write("a.ds", ""))),
        "");
    EXPECT_EQ(
        places(lintText(good + "parm { name a label A size 3 } }\n", folder.write("a.ds", ""))),
        "1:1 Z503");
}

// ---------------------------------------------------------------------- //
// Silence
// ---------------------------------------------------------------------- //

TEST(Lint, CommentsSilenceTheirLine)
{
    const std::string bad = "parm { name \"a\" type float size x }";
    const auto with = [&bad](const std::string &comment) {
        return lintContents(bad + comment + "\n");
    };
    EXPECT_EQ(with(""), "3:13 Z107, 3:33 Z202");
    EXPECT_EQ(with(" // zel-lint: disable=Z107"), "3:33 Z202");
    EXPECT_EQ(with(" // why not? zel-lint: disable=missing-label,Z202 as it is"), "");
    EXPECT_EQ(with("\n// zel-lint: disable=Z107"), "3:13 Z107, 3:33 Z202"); // another line
    EXPECT_EQ(with("\n// zel-lint: disable-file=Z107,Z202"), "");
    EXPECT_EQ(with(" // zel-lint: off"), "3:13 Z107, 3:33 Z202, 3:50 Z505");
    EXPECT_EQ(with(" // zel-lint: disable=Z505,nothing"), "3:13 Z107, 3:33 Z202");
    EXPECT_EQ(with(" // zel-lint: disable=Z107 zel-lint: disable=Z202"), "");
    EXPECT_EQ(with(" // once\n/*\nzel-lint: disable-file=Z107,Z202 */"), "3:13 Z107, 3:33 Z202");
    EXPECT_EQ(lintContents("// zel-lint: disable=Z1\n\n" + bad + " // zel-lint: disable=Z107\n"),
              "3:14 Z505, 5:33 Z202");
    // A text is no comment.
    EXPECT_EQ(lintContents("parm { name \"a\" type float help \"// zel-lint: disable=Z107\" }\n"),
              "3:13 Z107");
}

TEST(Lint, OptionsChooseRules)
{
    const std::string text = whole("parm { name \"a\" type float size x range { 1 0 } }\n");
    const auto with = [&text](const std::string &config, std::string &told) {
        NOD_LintOptions options;
        NOD_Report report;
        options.readFile(config, ".zel-lint", report);
        told = report.asText();
        return places(lintText(text, "example", options));
    };
    std::string told;
    EXPECT_EQ(with("", told), "3:13 Z107, 3:33 Z202, 3:35 Z309");
    EXPECT_EQ(with("# all\r\nlevel: warning # not hints\r\n\r\n", told), "3:33 Z202, 3:35 Z309");
    EXPECT_EQ(with("level: error", told), "3:33 Z202");
    EXPECT_EQ(with("disable: Z107, bad-size", told), "3:35 Z309");
    EXPECT_EQ(with("only: Z309 Z107\ndisable: Z107", told), "3:35 Z309");
    EXPECT_EQ(told, "");
    EXPECT_EQ(with("only: Z309\nonly: Z2\nlevel: high\nZ107\n", told), "3:35 Z309");
    EXPECT_EQ(told, ".zel-lint(2): there is no rule Z2\n"
                    ".zel-lint(3): the level is hint, warning or error, not high\n"
                    ".zel-lint(4): a line says disable:, only: or level:\n");
}

TEST(Lint, TheFolderHasItsOptions)
{
    const Folder folder;
    NOD_LintOptions options;
    NOD_Report report;
    const std::string script = folder.write("a.ds", whole("parm { name \"a\" type float }\n"));
    EXPECT_TRUE(options.readFolder(script, report));
    EXPECT_TRUE(options.isOn(NODlintRules().front()));
    const std::string file = folder.write(".zel-lint", "disable: Z101\nwibble\n");
    EXPECT_FALSE(options.readFolder(script, report));
    EXPECT_EQ(report.asText(), file + "(2): a line says disable:, only: or level:\n");
    EXPECT_FALSE(options.isOn(NODlintRules().front()));
    fs::remove(file);
    fs::create_directory(file);
    EXPECT_FALSE(options.readFolder(script, report));
}

// ---------------------------------------------------------------------- //
// Edits
// ---------------------------------------------------------------------- //

TEST(Lint, EditsMeet)
{
    // Looks and defaults change places with the type one after the other.
    EXPECT_EQ(mendAll(whole("parm { name a label A default { 1 2 } nolabel type vector2 }\n")),
              whole("parm { name a label A type vector2 nolabel default { 1 2 } }\n"));
    EXPECT_EQ(mendAll(whole("parm { name a label B label C label A type toggle }\n"
                            "parm { name b label B hidewhen \"{ a = 1 } { a => off }\" }\n")),
              whole("parm { name a label A type toggle }\n"
                    "parm { name b label B hidewhen \"{ a == on } { a >= off }\" }\n"));
    // No edit where macros and the preprocessor take part.
    const std::string macro =
        "#define TYPE type ordinal\n" +
        whole("parm { name a label A menu { x X }\nTYPE\n}\n"
              "parm { name b label A nolabel\n#ifdef X\n#endif\ntype float }\n");
    EXPECT_EQ(mendAll(macro), macro);
    EXPECT_EQ(places(lintText(macro)), "4:23 Z203, 7:23 Z204");
}

/// Parts of all examples in one parameter: whatever is edited can be read, and ends.
TEST(Lint, EditsKeepScriptsReadable)
{
    const std::vector<std::string> parts = {
        "default { 1 2 3 4 }",
        "type ordinal",
        "type vector",
        "type float",
        "menu { x X y Y }",
        "nolabel",
        "joinnext",
        "invisible",
        "label \"A\"",
        "label B",
        "logarithmic",
        "unquoted",
        "range { 0! 2! }",
        "size 2",
        "export all",
        "hidewhen \"{ a = 1 }\"",
        "// zel\n",
        "/* */",
        "help \"x\\\"}\"",
        "\n",
        "disablewhen \"{ a=1 } { a == 1 or a=>2 }\"",
        "menu { [ \"return []\" ] }",
        "default { [ 5 literal ] 9 }",
    };
    std::mt19937 random(7);
    int edited = 0;
    for (int round = 0; round < 400; ++round) {
        std::string parm = "parm { name a";
        for (int i = int(random() % 9); i >= 0; --i) {
            parm += " " + parts[random() % parts.size()];
        }
        const std::string text = whole(parm + "\n}\n");
        const std::string mended = mendAll(text);
        edited += mended != text;
        for (const NOD_LintFinding &finding : lintText(mended)) {
            EXPECT_FALSE(finding.hasFix()) << finding.asText() << "\n" << mended;
        }
    }
    EXPECT_GT(edited, 100);
}

std::vector<std::string> seeds()
{
    std::vector<std::string> all;
    for (const char *folder : {"/../examples", "/../fuzz/corpus/script"}) {
        for (const auto &entry : fs::directory_iterator(std::string(ZEL_TESTS_DIR) + folder)) {
            if (!entry.is_regular_file()) {
                continue;
            }
            std::ifstream is(entry.path(), std::ios::binary);
            const std::string text(std::istreambuf_iterator<char>(is), {});
            constexpr std::size_t theMost = 8000;
            if (text.size() < theMost && text.find('{') != std::string::npos) {
                all.push_back(text);
            }
        }
    }
    std::sort(all.begin(), all.end()); // the folders' order is any
    for (const NOD_LintRule &rule : NODlintRules()) {
        all.push_back(whole(rule.example));
    }
    return all;
}

/// Takes a run of bytes between blanks away, or repeats it elsewhere.
void change(std::string &text, std::mt19937 &random)
{
    const auto cut = [&] {
        const std::size_t at = text.find_first_of(" \n\t", random() % (text.size() + 1));
        return at == std::string::npos ? text.size() : at;
    };
    const std::size_t from = cut();
    const std::size_t to = std::min(text.size(), text.find_first_of(" \n\t", from + 1));
    const std::string word = text.substr(from, to - from);
    if (random() % 2) {
        text.erase(from, word.size());
    } else {
        text.insert(cut(), word);
    }
}

/// Whatever the library reads as a script is followed to its end here too, and stays readable.
TEST(Lint, EveryReadableScriptIsFollowed)
{
    std::mt19937 random(11);
    int read = 0;
    int found = 0;
    for (const std::string &seed : seeds()) {
        for (int round = 0; round < 40; ++round) {
            std::string text = seed;
            for (int i = int(random() % 4); i >= 0; --i) {
                change(text, random);
            }
            NOD_Report report;
            const auto script =
                NOD_Interface::fromText(text, "example", report, NOD_Interface::Includes::NONE);
            if (!script || script->getText() != text) {
                continue;
            }
            ++read;
            NOD_Report judging;
            const std::vector<NOD_LintFinding> findings = NODlint(*script, {}, &judging);
            EXPECT_TRUE(judging.isEmpty()) << text;
            for (const NOD_LintFinding &finding : findings) {
                EXPECT_GT(finding.message.line, 0) << finding.asText() << "\n" << text;
            }
            found += int(findings.size());
            int applied = 0;
            const std::string mended = NODapplyLintFixes(findings, "example", text, applied);
            EXPECT_TRUE(
                NOD_Interface::fromText(mended, "example", report, NOD_Interface::Includes::NONE))
                << text << "\n"
                << mended;
        }
    }
    EXPECT_GT(read, 200);
    EXPECT_GT(found, 200);
}

TEST(Lint, WhatIsNoScriptIsntJudged)
{
    NOD_Report report;
    const auto array = NOD_Interface::fromTemplates(nullptr, "array");
    EXPECT_TRUE(NODlint(*array, {}, &report).empty());
    EXPECT_EQ(report.getErrorCount(), 1);
}

// A fix changes the interface where its rule says so.
TEST(Lint, FixesKeepTheRest)
{
    // Without its line, and not with a comment.
    EXPECT_EQ(mendAll(whole(
                  "parm { name v type float\n    label a\n\n    label b // why\n    label c\n}\n")),
              whole("parm { name v type float\n\n    // why\n    label c\n}\n"));
    const std::string comment = whole("parm { name v type float\n    default { 1 // why\n }\n"
                                      "    default { 2 } label c\n}\n");
    EXPECT_EQ(mendAll(comment), comment);
    // Every script before and after, but for the fields of the rules.
    std::mt19937 random(5);
    const std::vector<std::string> parts = {
        "default { 1 2 3 4 }", "type ordinal", "type vector", "type float", "menu { x X y Y }",
        "menumini { z Z }",    "size 2",       "nolabel",     "joinnext",   "logarithmic",
        "range { 0! 1 }",      "label b",      "help h",      "invisible",  "callback c",
        "type string",         "unquoted",     "option o"};
    for (int i = 0; i < 300; ++i) {
        std::string body;
        for (int k = 0; k < 5; ++k) {
            body += parts[random() % parts.size()] + (random() % 2 ? " " : "\n");
        }
        const std::string text = whole("parm { name a label A " + body + "}\n");
        NOD_Report report;
        const auto script = NOD_Interface::fromText(text, "example", report);
        ASSERT_TRUE(script) << text;
        NOD_Report told;
        const NOD_MendedScript mended = NODmendScript(script, "example", {}, told);
        NOD_Report differences;
        NODcompareInterfaces(script->getTemplates(), mended.script->getTemplates(), differences);
        for (const NOD_Message &one : differences.getMessages()) {
            const std::string field = one.text.substr(0, one.text.find(' '));
            static const std::set<std::string> theFields = {"menu",     "default", "type", "range",
                                                            "extended", "kind",    "tag"};
            EXPECT_TRUE(theFields.count(field) != 0) << one.text << "\n"
                                                     << text << mended.script->getText();
        }
        for (const NOD_LintFinding &left : mended.findings) {
            EXPECT_TRUE(!left.hasFix() || !told.isEmpty()) << left.asText() << text;
        }
    }
}

/// What the rules say of the sound part of a script that can't be read, and what else is said.
NOD_Judgement judgeBroken(const std::string &text)
{
    NOD_Report said;
    EXPECT_FALSE(NODcheckScript(text, "example", said)) << text;
    return NODjudgeSoundPart(text, "example", {}, said);
}

bool isFoundIn(const NOD_LintFinding &one, const std::vector<NOD_LintFinding> &all)
{
    return std::any_of(all.begin(), all.end(), [&one](const NOD_LintFinding &other) {
        return one.rule == other.rule && one.message.subject == other.message.subject &&
               one.message.text == other.message.text;
    });
}

// A mistake elsewhere takes no finding away, and one in the middle adds none.
TEST(Lint, TheSoundPartIsJudged)
{
    for (const NOD_LintRule &rule : NODlintRules()) {
        const std::string code = rule.code;
        if ((needsPython(rule) && !SNKisPythonBuiltIn()) || code == "Z501" || code == "Z503") {
            continue; // where it ends, and what it includes, is another matter then
        }
        const std::string example = rule.example;
        const std::string broken = whole(example + "parm { name zz lable \"Z\" type float }\n");
        EXPECT_EQ(asText(judgeBroken(broken).findings), asText(lintText(whole(example))));
        const std::vector<NOD_LintFinding> whatIs = lintText(whole(example));
        const auto addsNone = [&whatIs](const std::string &text) {
            for (const NOD_LintFinding &one : judgeBroken(text).findings) {
                EXPECT_TRUE(isFoundIn(one, whatIs)) << one.asText() << "\n" << text;
            }
        };
        const std::string text = whole(example);
        for (const std::string word : {" name ", " label "}) {
            for (std::size_t at = text.find(word); at != std::string::npos;
                 at = text.find(word, at + 1)) {
                addsNone(std::string(text).insert(at, " lable \"X\""));
                addsNone(std::string(text).insert(at, " zork"));
                addsNone(std::string(text).replace(at, word.size(), " zork "));
                addsNone(std::string(text).replace(at, word.size(), " lable "));
            }
        }
    }
}

// Each fix is one of the whole: it takes no line away that holds what can't be read.
TEST(Lint, FixesOfTheSoundPart)
{
    const std::string text = whole("parm { name a label A type integer\n lable B logarithmic\n"
                                   " default { 0.5 } }\n");
    const NOD_Judgement judged = judgeBroken(text);
    EXPECT_EQ(places(judged.findings), "4:10 Z208, 5:12 Z311");
    EXPECT_FALSE(judged.judgedFlag);
    EXPECT_EQ(judged.rest.asText(), "example(4): Dialog Script: unknown identifier: 'lable'\n");
    ASSERT_EQ(judged.findings.size(), 2u);
    EXPECT_FALSE(judged.findings[0].hasFix());
    EXPECT_TRUE(judged.findings[1].hasFix());
    EXPECT_EQ(judged.findings[0].message.detail->place.source, " lable B logarithmic");
}

// Each mistake once, whoever finds it.
TEST(Lint, JudgingTellsOnce)
{
    for (const NOD_LintRule &rule : NODlintRules()) {
        const std::string text = whole(rule.example);
        NOD_Report said;
        const auto script = NODcheckScript(text, "example", said);
        if (!script) {
            continue; // an include that is no file here
        }
        NODcheckDescription(*script, "example", said);
        const NOD_Judgement judged = NODjudge(*script, {}, said);
        EXPECT_EQ(judged.rest.asText(), "") << rule.code;
        EXPECT_TRUE(judged.judgedFlag);
        NOD_LintOptions options;
        std::string unknown;
        options.disable(rule.code, unknown);
        EXPECT_EQ(NODjudge(*script, options, said).rest.asText(), "") << rule.code;
    }
    // Another warning of the same line stays, and so does an error.
    NOD_Report said;
    const auto script = NODcheckScript("{ name a parm { name b label B type flaot } }", "s", said);
    ASSERT_TRUE(script) << said.asText();
    EXPECT_EQ(said.getMessages().size(), 1u);
    said.add({KIT_ERROR_WARNING, "s", 1, "b", "something else", "", 0});
    said.add({KIT_ERROR_ABORT, "s", 1, "b", "Unknown parameter type", "", 0});
    const NOD_Judgement judged = NODjudge(*script, {}, said);
    EXPECT_EQ(judged.rest.asText(),
              "s(1): b: warning: something else\ns(1): b: Unknown parameter type\n");
    EXPECT_FALSE(judged.judgedFlag);
    EXPECT_EQ(places(judged.findings), "1:37 Z201");
}

TEST(Lint, EditsThatOverlapWait)
{
    const auto finding = [](const char *file, std::int64_t begin, std::int64_t end,
                            const char *text) {
        auto detail = std::make_shared<KIT_MessageDetail>();
        KIT_MessagePlace place;
        place.file = file;
        place.offset = begin;
        place.endOffset = end;
        detail->fixes.push_back({"", {{place, text}}});
        NOD_LintFinding one;
        one.message.detail = detail;
        return one;
    };
    const NOD_LintFinding first = finding("f", 2, 4, "X");
    const NOD_LintFinding second = finding("f", 3, 5, "Y");
    const NOD_LintFinding other = finding("g", 0, 1, "Z");
    const NOD_LintFinding outside = finding("f", 5, 99, "Z");
    int applied = 0;
    EXPECT_EQ(NODapplyLintFixes({second, other, first, outside}, "f", "012345", applied), "01X45");
    EXPECT_EQ(applied, 1);
}

TEST(Lint, NearestWords)
{
    EXPECT_EQ(KITdidYouMean("flaot", {"int", "float"}), "; did you mean float?");
    EXPECT_EQ(KITdidYouMean("float", {"flot", "float"}), ""); // it is there
    EXPECT_EQ(KITdidYouMean("x", {"height", "y"}), "");
    constexpr std::size_t theStrict = 6;
    EXPECT_EQ(KITnearestWord("group_note", {"group_type"}, theStrict), nullptr);
}

} // namespace
