#include "scripts/DialogText.h"
#include "writer/Rewrite.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr const char *theExamples[] = {"big",   "camera", "file_reader", "keywords", "light",
                                       "ramps", "render", "scatter",     "shader",   "transform"};

std::string examplePath(const std::string &name)
{
    return std::string(ZEL_TESTS_DIR) + "/../examples/" + name + ".ds";
}

/// The parameters of a page, one a line, sets of folders left out, and the folders of each.
struct Contents
{
    explicit Contents(const Dialog &dialog)
    {
        for (int i = 0; i < dialog.count; i++) {
            if (!dialog.templates[size_t(i)].isSwitcher()) {
                lines.push_back(templateText(dialog.templates[size_t(i)]));
            }
        }
        walk(dialog.page, "");
    }

    void walk(const ZEL_ScriptPage &page, const std::string &path)
    {
        for (int i = 0; i < page.getParmEntries(); i++) {
            const ZEL_ScriptParm &parm = *page.getParm(i);
            const ZEL_ScriptGroup *const group = parm.getGroup();
            if (!group || group->isMultiParm()) {
                folders[parm.getName().getToken()] = path;
                continue;
            }
            for (int folder = 0; folder < group->getPageCount(); folder++) {
                const ZEL_ScriptPage &inner = *group->getPage(folder);
                walk(inner, path + "/" + inner.getLabel().toStdString());
            }
        }
    }

    std::vector<std::string> lines;
    std::map<std::string, std::string> folders;
};

/// Folders by their labels, and parameters, in order: "A( a ) b ".
std::string outlineOf(const ZEL_ScriptPage &page)
{
    std::string all;
    for (int i = 0; i < page.getParmEntries(); i++) {
        const ZEL_ScriptParm &parm = *page.getParm(i);
        if (!parm.getGroup()) {
            all += std::string(parm.getName().getToken()) + " ";
        }
        for (int folder = 0; parm.getGroup() && folder < parm.getGroup()->getPageCount();
             folder++) {
            const ZEL_ScriptPage &inner = *parm.getGroup()->getPage(folder);
            all += inner.getLabel().toStdString() + "( " + outlineOf(inner) + ") ";
        }
    }
    return all;
}

/// A script rewritten and read again, without a message; written once more it is the same.
struct ReadAgain : Rewritten, Dialog
{
    explicit ReadAgain(const std::string &script, const char *source = "s.ds")
        : Rewritten(rewriteText(script, source)), Dialog(text)
    {
        EXPECT_TRUE(Rewritten::okFlag) << script;
        EXPECT_TRUE(Dialog::okFlag) << text;
        EXPECT_EQ(messages, "") << text;
        EXPECT_FALSE(restFlag);
        EXPECT_EQ(rewriteText(text, source).text, text);
    }
};

/// The text between quotes, with the escapes that a script has.
std::string quotedText(const std::string &text)
{
    return std::string("\"") + ZEL_ScriptParm::protectString(text.c_str(), 0) + "\"";
}

/// How a template comes back: what matches is replaced; "" for the whole line drops it.
const std::pair<const char *, const char *> theDifferences[] = {
    // The text of a number is an expression with or without the keyword.
    {R"((FLT def\(.*)@1\))", "$1)"},
    // Small and joined menus, and those whose tokens are the values.
    {R"((ORD.*) x(5|24))", "$1"},
    {R"( menu4113)", " menu4097"},
    // A choice becomes a text, and its default a token.
    {R"( ORD((\+\w+)*) def\(0:)", " STRING$1 def(0:"},
    {R"( ORD def\(1\) (menu\d+\([^,]*,(\w+)/))", " STRING def(0:$2) $1"},
    {R"( (ORD|ICONSTRIP\+channel) (menu\d+\((\w+)/))", " STRING def(0:$3) $2"},
    {R"( ORD menu4097\(\))", " INT"},
    // Base parameters, blocks of items, nocookwhen.
    {R"(^tx_base .*$)", ""},
    {R"(^.* multi[0-9]+ [^]*<[^]*>$)", ""},
    {R"( nocookwhen:\{[^}]*\})", ""},
    // Whole numbers have no names of components, folders are files.
    {R"( INT_XYZ)", " INT"},
    {R"( DIRECTORY)", " FILE"},
};

/// Adds the indices of the differences that occurred to `met`.
std::vector<std::string> expectedLines(const std::vector<std::string> &before,
                                       std::set<size_t> &met)
{
    std::vector<std::string> expected;
    for (std::string line : before) {
        for (size_t i = 0; i < std::size(theDifferences); i++) {
            const auto &[pattern, replacement] = theDifferences[i];
            const std::string other = std::regex_replace(line, std::regex(pattern), replacement);
            if (other != line) {
                met.insert(i);
            }
            line = other;
        }
        if (!line.empty()) {
            expected.push_back(line);
        }
    }
    return expected;
}

} // namespace

TEST(Rewrite, ExamplesComeBackButForWhatIsNeverWritten)
{
    std::set<size_t> met;
    for (const char *name : theExamples) {
        SCOPED_TRACE(name);
        DS_Stream original(examplePath(name).c_str(), -1);
        const Dialog source(original);
        ASSERT_TRUE(source.okFlag);
        DS_Stream again(examplePath(name).c_str(), -1);
        const Rewritten rewritten(again);
        ASSERT_TRUE(rewritten.okFlag);
        Dialog dialog(rewritten.text);
        ASSERT_EQ(dialog.dump().substr(0, 6) == "failed", false) << dialog.messages;
        EXPECT_EQ(dialog.messages, "");

        const Contents before(source);
        const Contents after(dialog);
        const std::vector<std::string> expected = expectedLines(before.lines, met);
        ASSERT_EQ(after.lines.size(), expected.size());
        for (size_t i = 0; i < expected.size(); i++) {
            EXPECT_EQ(after.lines[i], expected[i]);
        }
        for (const auto &[token, path] : after.folders) {
            EXPECT_EQ(path, before.folders.at(token)) << token;
        }
        EXPECT_EQ(rewriteText(rewritten.text).text, rewritten.text) << "a second time";
    }
    EXPECT_EQ(met.size(), std::size(theDifferences)) << "a difference that no example has";
}

TEST(Rewrite, WhatTheApplicationReadsComesBack)
{
    const std::string script =
        "{ name n label \"A \\\"label\\\"\" script \"other.ds\"\n"
        "help { \"first\" \"second \\\\ line\" } info one info \"two\\nthree\"\n"
        "inputlabel 2 \"The \\\"second\\\"\" inputlabel 99999999 far rendermask r\n"
        "bindhandle \"a b\" t l d s bindhandlereserved c t \"\" d s\n"
        "bindselector t d p mask 3 m 1 bindselector t d p \"\" 0 \"\" 0\n"
        "bindselectorreserved parm t d p 1 0 mask 2 m 1\n"
        "parm { name p bindhandle c t l \"d d\" s\n"
        "       bindselector t d p 1 0 mask 2 \"m m\" 1 } }";
    const ReadAgain once(script);
    const char *const lines[] = {
        "    label\t\"A \\\"label\\\"\"\n",
        "    script\t\"other.ds\"\n",
        "\t\"first\"\n\t\"second \\\\ line\"\n",
        "    info\t\"one\"\n    info\t\"two\"\n    info\t\"three\"\n",
        "\n    inputlabel\t2\t\"The \\\"second\\\"\"\n\n",
        "    bindhandle\t\"a b\" t \"l\" d \"s\"\n",
        "    bindhandlereserved\tc t \"\" d \"s\"\n",
        "    bindselector\tt \"d\"\n\t\"p\"\n\t\"mask\" 3 \"m\" 1\n",
        "    bindselector\tt \"d\"\n\t\"p\"\n\t\" \" 0 \"\" 0\n",
        "    bindselectorreserved\tparm t \"d\"\n\t\"p\"\n\t1 0 \"mask\" 2 \"m\" 1\n",
        "\tbindhandle c t \"l\" \"d d\" \"s\"\n",
        "\tbindselector\tt \"d\" \"p\" 1 0 \"mask\" 2 \"m m\" 1\n",
    };
    for (const char *line : lines) {
        EXPECT_NE(once.text.find(line), std::string::npos) << line << once.text;
    }
}

// Names, labels and folders of any bytes come back as they were.
TEST(Rewrite, AnyTextComesBack)
{
    std::vector<std::string> texts = {
        "plain", "two words", "a\"b", "back\\slash", "end\\", "line\nfeed",           "a/b",
        "//no",  "/* no */",  "{",    "} ]",         "#if",   "\x01\x7f\xff\xc3\xa9", "\t\r",
        "'",     "\\057\\n"};
    texts.emplace_back(70000, 'y');
    for (const std::string &text : texts) {
        const std::string quoted = quotedText(text);
        ReadAgain again("{ name n label " + quoted + " group { name f label " + quoted +
                        " parm { name p label " + quoted + " type string default { " + quoted +
                        " } help " + quoted + " menureplace { " + quoted + " " + quoted +
                        " } parmtag { " + quoted + " " + quoted + " } } } }");
        EXPECT_EQ(again.page.getLabel().toStdString(), text);
        ASSERT_EQ(again.count, 2);
        const ZEL_Template &parm = again.templates[1];
        EXPECT_EQ(again.templates[0].getFactoryDefaults()[0].getString(), text);
        EXPECT_EQ(parm.getLabel(), text);
        EXPECT_EQ(parm.getHelpText(), text);
        EXPECT_EQ(parm.getFactoryDefaults()[0].getString(), text);
        EXPECT_EQ(parm.getChoiceListPtr()->choiceNamesPtr()[0].getToken(), text);
        EXPECT_EQ(parm.getSparePtr()->getValue(text.c_str()), text);
    }
}

// Dropping a block of items doesn't split its folder, two adjacent folders with the same label stay
// two, and an empty folder stays.
TEST(Rewrite, FoldersComeBackOneByOne)
{
    const char *const labels[] = {"A", "\"A/7 \\\"q\\\"\"", "\"\xc3\xa9\"", "\"\\n\""};
    for (const std::string label : labels) {
        const std::string start = "group { name g label " + label + " ";
        ReadAgain again(
            "{ name n " + start + "parm { name a } multiparm { name m parm { name x# } }\n" +
            start + "parm { name b } } parm { name c } } " + start + start +
            "parm { name d } } } " + start + start + "parm { name e } } " + start +
            "parm { name f } } } parm { name g } " + start + "parm { name h } } " + start +
            "} parm { name tx baseparm } " + start + "multiparm { name k parm { name y# } } } }");
        const std::string name = again.page.getParm(0)->getGroup()->getPage(0)->getLabel().c_str();
        EXPECT_EQ(quotedText(name), label == "A" ? "\"A\"" : label);
        const std::string in = name + "( ";
        EXPECT_EQ(outlineOf(again.page), in + "a " + in + "b ) c ) " + in + in + "d ) ) " + in +
                                             in + "e ) " + in + "f ) ) g " + in + "h ) " + in +
                                             ") " + in + ") ");
        // Only the second of two adjacent folders has another form of the label.
        const std::regex otherForm("label\t\"\\\\[0-7]{3}");
        const std::sregex_iterator first(again.text.begin(), again.text.end(), otherForm);
        EXPECT_EQ(std::distance(first, std::sregex_iterator()), 3) << again.text;
    }
}

TEST(Rewrite, MenusHaveOneComponent)
{
    const ReadAgain again("{ name n parm { name p type float size 2 menu { a A } "
                          "default { 1 2 } } }");
    EXPECT_EQ(again.losses, "p: of a parameter with a menu one component is written");
    EXPECT_EQ(again.templates[0].getFactoryDefaults()[0].getFloat(), 1.0);
    // A component that is dropped doesn't turn the one that stays into a text.
    EXPECT_NE(rewriteText("{ name n parm { name p size 2 menu { a A } default { 1 x } } }")
                  .text.find("default\t{ 1 }"),
              std::string::npos);
}

TEST(Rewrite, FiltersKeepTheirNames)
{
    for (const std::string filter : {"all", "nods/geo"}) {
        const std::string text =
            rewriteText("{ name n parm { name p type string opfilter " + filter + " } }").text;
        EXPECT_NE(text.find("opfilter\t\"" + filter + "\""), std::string::npos) << text;
        EXPECT_EQ(text.find("\"opfilter\""), std::string::npos) << text;
    }
}

// An unquoted bracket would end the block that it is written into.
TEST(Rewrite, BracketsAsTexts)
{
    const ReadAgain again(
        "{ name n parm { name p type string size 4 default { [ } expression ] ] { "
        "[ [ expression ] } } parm { name m type string menu { [ \"a\\n]\\n}\" ] } } "
        R"(parm { name e menu { "[\\\\\\\\\\" label } } })");
    std::string defaults;
    for (int i = 0; i < 4; i++) {
        defaults += std::string(again.templates[0].getFactoryDefaults()[i].getString()) + "|";
    }
    EXPECT_EQ(defaults, "} |]|{|[ |");
    EXPECT_EQ(again.templates[1].getChoiceListPtr()->getScript().toStdString(), "a\n] \n} ");
    // Backslashes that an old version wrote too many are dropped, which leaves the bracket.
    EXPECT_STREQ(again.templates[2].getChoiceListPtr()->choiceNamesPtr()->getToken(), "[ ");
}

TEST(Rewrite, TheCommentAtTheStartCanNotBeLeft)
{
    const ReadAgain again("{ name n }", "*/ { name other } /*/ */");
    EXPECT_EQ(again.page.getToken().toStdString(), "n");
}

TEST(Rewrite, LossesAreTold)
{
    const std::string parms =
        "parm { name b baseparm } multiparm { name m parm { name x# } }\n"
        "parm { name n nocookwhen \"{ n == 1 }\" }\n"
        "parm { name d type string default { [ t expression ] } }\n"
        "group { name g label G hidewhentab \"{ n == 1 }\" parm { name i } }\n"
        "group { name o obsolete parm { name j } }\n"
        "group { name h invisibletab parm { name k } parm { name l obsolete } }\n";
    EXPECT_EQ(
        rewriteText("{ name n " + parms + "}").losses,
        "b: a parameter of the base interface isn't written; m: a block of items isn't "
        "written; n: nocookwhen isn't written; d: the meaning of a default isn't written; "
        "G: conditions of a folder aren't written; "
        "h: an invisible folder is written as a visible one; l: an obsolete parameter isn't written; "
        "o: an obsolete folder isn't written");
    EXPECT_EQ(rewriteText("{ name n parm { name f default { [ \"1 + 1\" expression ] } } }").losses,
              "");
    EXPECT_FALSE(rewriteText("{ name n parm { name").okFlag);
}
