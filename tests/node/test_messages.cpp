// Messages of all readers: their codes, where they say a mistake is, and the page that lists them.

#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceCheck.h>
#include <NOD/NOD_Lint.h>
#include <NOD/NOD_MessagePage.h>
#include <NOD/NOD_Migration.h>
#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_ScriptCheck.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_ValueFile.h>
#include <SNK/SNK_Python.h>
#include <ZEL/ZEL_ParmList.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <sstream>

namespace
{

constexpr const char *theScript = R"({ name x
  parm { name a type float }
  parm { name v type vector }
  parm { name menu type ordinal menu { "one" "One" "two" "Two" } }
  multiparm { name m parm { name q# type float } } })";

/// A node of that script, in a scene.
class Fixed
{
public:
    Fixed()
    {
        NOD_Report none;
        node = myScene.add("/n", NOD_Interface::fromText(theScript, "x", none), none);
    }

private:
    NOD_Scene myScene;

public:
    NOD_Node *node = nullptr;
};

void readValues(const std::string &text, NOD_Report &report)
{
    Fixed fixed;
    NOD_ValueFile file;
    if (file.read(text, "f", report)) {
        file.apply(*fixed.node, report);
    }
}

void readScene(const std::string &text, NOD_Report &report)
{
    NOD_Scene scene;
    std::istringstream is(text);
    NOD_SceneFile::load(scene, is, "f", {}, report);
}

void readScript(const std::string &text, NOD_Report &report)
{
    const auto made = NOD_Interface::fromText(text, "f", report, NOD_Interface::Includes::NONE);
    if (made) {
        NODcheckNames(*made, report);
        NODcheckInterface(*made, report);
        NODcheckMenuScripts(*made, report);
        NODcheckExpressions(*made, report);
    }
}

void readContents(const std::string &text, NOD_Report &report)
{
    readScript("{ name x\n" + text + "\n}\n", report);
}

void readAll(const std::string &text, NOD_Report &report)
{
    NODcheckScript("{ name x\n" + text + "\n}\n", "f", report, NOD_Interface::Includes::NONE);
}

void readExpression(const std::string &text, TRK_ExprLanguage language, NOD_Report &report)
{
    NOD_ExpressionFault fault;
    if (!NODcheckExpression(text, language, fault)) {
        NOD_Message message;
        message.category = "TRK";
        message.code = fault.code;
        report.add(message);
    }
}

void edit(const std::string &text, bool (NOD_TextEdit::*how)(const std::string &),
          NOD_Report &report)
{
    Fixed fixed;
    NOD_TextEdit editor(*fixed.node, 0.0, report);
    (editor.*how)(text);
}

using Reader = std::function<void(const std::string &, NOD_Report &)>;

/// By the word of KIT_MessageHelp.def.
const std::map<std::string, Reader> &readers()
{
    static const std::map<std::string, Reader> theReaders = {
        {"SCRIPT", readContents},
        {"WHOLE", readScript},
        {"ALL", readAll},
        {"VALUES", readValues},
        {"SCENE", readScene},
        {"EXPRESSION",
         [](const std::string &text, NOD_Report &report) {
             readExpression(text, TRK_LANGUAGE_NATIVE, report);
         }},
        {"PYTHON", [](const std::string &text,
                      NOD_Report &report) { readExpression(text, TRK_LANGUAGE_PYTHON, report); }},
        {"EDIT", [](const std::string &text,
                    NOD_Report &report) { edit(text, &NOD_TextEdit::assign, report); }},
        {"KEY", [](const std::string &text,
                   NOD_Report &report) { edit(text, &NOD_TextEdit::assignKey, report); }},
        {"RENAMES",
         [](const std::string &text, NOD_Report &report) {
             NOD_Migration migration;
             if (text.find('=') == std::string::npos) {
                 migration.readRenames(text, "f", report);
             } else {
                 migration.addRename(text, report);
             }
         }},
        {"MAP", [](const std::string &text,
                   NOD_Report &report) { NOD_MigrationMap().read(text, "f", report); }},
        {"LINT", [](const std::string &text,
                    NOD_Report &report) { NOD_LintOptions().readFile(text, "f", report); }},
    };
    return theReaders;
}

std::string codesOf(const NOD_Report &report)
{
    std::string codes;
    for (const NOD_Message &message : report.getMessages()) {
        codes += message.category + " " + std::to_string(message.code) + ": " + message.text + "\n";
    }
    return codes;
}

} // namespace

// ---------------------------------------------------------------------- //
// The tables
// ---------------------------------------------------------------------- //

TEST(Messages, EachCodeIsThereOnceAndExplained)
{
    std::set<std::string> codes;
    for (const NOD_MessageHelp &help : NODfindMessages("")) {
        EXPECT_TRUE(codes.insert(help.code).second) << help.code;
        EXPECT_FALSE(help.sentence.empty() || help.cause.empty() || help.remedy.empty())
            << help.code;
        EXPECT_EQ(help.kind == "NONE", help.kind != "SCENE" && help.example.empty()) << help.code;
    }
    EXPECT_GT(codes.size(), 200u);
    EXPECT_EQ(NODfindMessages("zel 5").size(), 1u);
    EXPECT_EQ(NODfindMessages("DS24").front().code, "DS 24");
    EXPECT_EQ(NODfindMessages("z101").front().code, "Z101");
    EXPECT_TRUE(NODfindMessages("ZEL 7").empty());
}

/// A text with something in its holes has the code of its own row, whatever rows there are besides.
TEST(Messages, NoTextIsTakenForAnother)
{
    for (const KIT_MessageEntry &entry : KITgetMessageEntries()) {
        std::string text = entry.sentence;
        for (std::size_t at = 0; (at = text.find("{}", at)) != std::string::npos;) {
            text.replace(at, 2, "w");
        }
        const KIT_MessageEntry *const found = KITfindTextMessage(text);
        ASSERT_TRUE(found || !entry.isText) << text;
        if (entry.isText) {
            EXPECT_EQ(found->category + std::to_string(found->code),
                      entry.category + std::to_string(entry.code))
                << text;
        }
    }
    // A name that reads like another sentence doesn't choose the code.
    EXPECT_EQ(KITfindTextMessage("there is no node a is to be the name of b and c")->code, 70);
    EXPECT_EQ(KITfindTextMessage("script unknown identifier is locked", "DS")->code, 8);
    EXPECT_EQ(KITfindTextMessage("wibble is locked", "DS"), nullptr);
    EXPECT_EQ(KITfindTextMessage("wibble"), nullptr);
    EXPECT_EQ(KITfindTextMessage(""), nullptr);
}

TEST(Messages, ExamplesGiveTheirCode)
{
    int examples = 0;
    for (const NOD_MessageHelp &help : NODfindMessages("")) {
        const auto reader = readers().find(help.kind);
        if (reader == readers().end() || (help.kind == "PYTHON" && !SNKisPythonBuiltIn())) {
            EXPECT_TRUE(help.kind == "NONE" || help.kind == "LINT_RULE" || help.kind == "PYTHON")
                << help.kind;
            continue;
        }
        ++examples;
        NOD_Report report;
        reader->second(help.example, report);
        const std::string codes = codesOf(report);
        EXPECT_NE(("\n" + codes).find("\n" + help.code + ": "), std::string::npos)
            << help.code << " of\n"
            << help.example << "\nis\n"
            << codes;
    }
    EXPECT_GT(examples, 100);
}

TEST(Messages, ThePageIsMadeFromTheTables)
{
    const std::string file = ZEL_TESTS_DIR "/../docs/messages.md";
    if (ZEL_UPDATE_GOLDEN) {
        std::ofstream(file) << NODmessagePage();
    } else {
        std::ifstream is(file);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(is), {}), NODmessagePage());
    }
}

// ---------------------------------------------------------------------- //
// Places
// ---------------------------------------------------------------------- //

namespace
{

std::string positionOf(const KIT_MessagePlace &place)
{
    return place.line > 0 ? std::to_string(place.line) + ":" + std::to_string(place.column) + "-" +
                                std::to_string(place.endColumn)
                          : "byte " + std::to_string(place.offset);
}

/// `line:column-end [subject] code`, with the word expected and the related places, a line for each.
std::string placesOf(const NOD_Report &report)
{
    std::string all;
    for (const NOD_Message &message : report.getMessages()) {
        const KIT_MessageDetail none;
        const KIT_MessageDetail &detail = message.detail ? *message.detail : none;
        all += positionOf(detail.place) + " [" + detail.subject + "] " + message.category + " " +
               std::to_string(message.code);
        all += detail.expected.empty() ? "" : " expected " + detail.expected[0];
        for (const KIT_MessageRelated &related : detail.related) {
            all += ", " + positionOf(related.place) + " " + related.text;
        }
        all += "\n";
    }
    return all;
}

constexpr const char *theStream = "{\nversion 0.8\na\t[ 0\tlocks=0 ]\t( 1 )\n"
                                  "v\t[ 0\tlocks=0 ]\t( 1\t2\t3 )\n"
                                  "menu\t[ 0\tlocks=0 ]\t( \"two\" )\nm\t[ 0\tlocks=0 ]\t( 1 )\n"
                                  "q1\t[ 0\tlocks=0 ]\t( 5 )\n}\n";
constexpr const char *theChannels =
    "channels 1.0\n{\n    channel a\n    {\n        default 1\n"
    "        alias \"b\"\n        key 0 out 1 0 0 linear\n    }\n}\n";
constexpr const char *thePreset =
    "#PSI_PRESET\nversion 2.0a\nchannels\nchannels 1.0\n{\n}\nvalues\n"
    "{\nversion 0.8\na\t[ 0\tlocks=0 ]\t( 1 )\n}\n";
constexpr const char *theScene =
    "#STO_INDEX 1.0\nsection \"scene\"\n\tversion 1.0\nend\n"
    "section \"interface x\"\n\ttext\n\t{\n\tname x\n\tparm { name a type float }\n\t}\nend\n"
    "section \"node /n\"\n\ttype x\nend\n"
    "section \"channels /n\"\n\tchannels 1.0\n\t{\n\t    channel a { }\n\t}\nend\n"
    "section \"values /n\"\n\t{\n\tversion 0.8\n\ta [ 0 locks=0 ] ( 1 )\n\t}\nend\n#END\n";

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

std::string binaryOf(const char *stream)
{
    Fixed fixed;
    KIT_IStream is(stream, std::char_traits<char>::length(stream), KIT_IStream::TEXT);
    fixed.node->getParms().load(is, nullptr, nullptr);
    std::ostringstream os;
    fixed.node->getParms().save(os, true, false);
    return os.str();
}

} // namespace

TEST(Messages, PlacesOfEachReader)
{
    struct Case
    {
        const char *kind;
        std::string text;
        const char *places;
    };
    const std::vector<Case> cases = {
        {"VALUES", replaced(theStream, "a\t[", "ab\t["), "3:1-3 [ab] ZEL 5 expected a\n"},
        {"VALUES", replaced(theStream, "( 1 )\nv", "( 1 2 )\nv"), "3:21-22 [a] ZEL 3\n"},
        {"VALUES", replaced(theStream, "1\t2\t3", "1\t2"), "4:23-24 [v] ZEL 2\n"},
        {"VALUES", replaced(theStream, "a\t[", "a\twibble"),
         "3:3-9 [a] ZEL 9 expected (, 3:12-19 from here on nothing is read\n"},
        {"VALUES", replaced(theStream, "( 1\t2\t3 )", "[ 1\t2\t3 ]"),
         "4:17-18 [v] ZEL 9 expected (, 4:21-22 from here on nothing is read\n"},
        {"VALUES", replaced(theStream, "2\t3 )", "2\t3"),
         "5:1-5 [v] ZEL 3, 4:1-2 the entry begins here\n"},
        {"VALUES", replaced(theStream, "\"two\"", "three"), "5:22-27 [menu] ZEL 6\n"},
        {"VALUES", theStream + std::string("x"), "9:1-2 [] NOD 44\n"},
        {"VALUES", replaced(theChannels, "default 1", "default red"),
         "5:17-20 [a] TRK 23, 3:13-14 the channel begins here\n"},
        {"VALUES", replaced(theChannels, "\"b\"", "\"b"),
         "6:15-16 [a] TRK 26, 3:13-14 the channel begins here\n"},
        {"VALUES", replaced(theChannels, "channel a", "channel a/b"), "3:13-16 [] TRK 24\n"},
        {"VALUES", replaced(thePreset, "2.0a", "3"), "2:9-10 [] ZEL 17 expected 2.0a\n"},
        {"VALUES", replaced(thePreset, "version 2", "vers 2"),
         "2:1-5 [] ZEL 16 expected version\n"},
        {"VALUES", replaced(thePreset, "a\t[", "b\t["), "10:1-2 [b] ZEL 5\n"},
        {"VALUES", binaryOf(theStream).substr(0, 20), "byte 10 [] Common 9\n"},
        {"SCENE", replaced(theScene, "( 1 )", "( 1 2 )"), "24:22-23 [a] ZEL 3\n"},
        {"SCENE", replaced(theScene, "float }", "flaot }"), "9:21-26 [a] DS 27 expected float\n"},
        {"SCENE", replaced(theScene, "a { }", "a { b }"), "18:18-19 [a] TRK 25\n"},
        {"SCENE", replaced(theScene, "type x", "wibble x"),
         "13:2-10 [node /n] NOD 56\n24:2-3 [a] ZEL 5\n"},
        {"SCENE", replaced(theScene, "\tversion 1.0", "\tversion soon"), "3:2-14 [scene] NOD 53\n"},
        {"SCENE", replaced(theScene, "end\n#END", "#END"),
         "26:1-5 [values /n] STO 3, 21:1-20 the section begins here\n"},
        {"SCRIPT", "parm { name a type float }\nparm { name a type float }",
         "3:13-14 [a] NOD 4, 2:13-14 'a' is here\n"},
        {"SCRIPT", "parm { name b type float range { 0! 1! } default { 5 } }",
         "2:52-53 [b] NOD 11\n"},
        {"SCRIPT", "parm { name b type float hidewhen \"{ wibble == 1 }\" }",
         "2:38-44 [b] NOD 15\n"},
        {"ALL", "#define PARM parm { name m type flaot }\nPARM",
         "3:1-5 [m] DS 27 expected float\n"},
        {"EDIT", "a=red", "1:3-6 [a] NOD 75\n"},
        {"EDIT", "nothere=1", "1:1-8 [nothere] NOD 71\n"},
        {"EDIT", "mnu=1", "1:1-4 [mnu] NOD 71 expected menu\n"},
        {"EDIT", "menu=tow", "1:6-9 [menu] NOD 76 expected two\n"},
        {"RENAMES", "a b\na c\n", "2:1-4 [a] NOD 84\n"},
        {"LINT", "# x\nlevel: wibble\n", "2:1-14 [] NOD 92\n"},
    };
    for (const Case &one : cases) {
        NOD_Report report;
        readers().at(one.kind)(one.text, report);
        EXPECT_EQ(placesOf(report), one.places) << one.text << report.asText();
    }
}

namespace
{

/// That a place lies in its text, and its line and columns are those of its offset.
void expectAgrees(const KIT_MessagePlace &place, const std::string &text, const std::string &told)
{
    if (place.offset < 0) {
        EXPECT_EQ(place.column, 0) << told;
        return;
    }
    ASSERT_LE(place.offset, place.endOffset) << told;
    ASSERT_LE(place.endOffset, std::int64_t(text.size())) << told;
    const auto expectEnd = [&](std::int64_t offset, int line, int column) {
        const std::string before = text.substr(0, std::size_t(offset));
        if (line > 0) {
            EXPECT_EQ(line, 1 + std::count(before.begin(), before.end(), '\n')) << told;
        }
        if (column > 0) {
            EXPECT_EQ(std::size_t(column), before.size() - (before.rfind('\n') + 1) + 1) << told;
        }
    };
    expectEnd(place.offset, place.line, place.column);
    expectEnd(place.endOffset, place.endLine, place.endColumn);
    EXPECT_LE(place.character, place.column) << told;
    if (!place.source.empty()) {
        const std::size_t begin = std::size_t(place.offset) - std::size_t(place.column) + 1;
        EXPECT_EQ(text.compare(begin, place.source.size(), place.source), 0) << told;
    }
}

std::string corrupted(std::string text, std::mt19937 &random)
{
    static const std::string theBytes = std::string("(){}[]\"'\\ \n\tx1=#") + '\0' + "\xC3\xA4\xFF";
    const auto below = [&random](std::size_t count) {
        return random() % std::max<std::size_t>(count, 1);
    };
    for (std::size_t i = 1 + below(3); i > 0 && !text.empty(); --i) {
        const std::size_t at = below(text.size());
        switch (below(4)) {
        case 0: text.erase(at, 1 + below(8)); break;
        case 1: text.insert(at, 1, theBytes[below(theBytes.size())]); break;
        case 2: text[at] = theBytes[below(theBytes.size())]; break;
        default: text.resize(at); break;
        }
    }
    return text;
}

} // namespace

/// Where lines of a script that can be read begin says nothing about where its blocks end.
TEST(Messages, PlacesInAReadScriptFollowNoLayout)
{
    const std::vector<std::string> blanks = {" ", "\n", "\n\t", "\n      ", "\n\t\t\t", " // {\n "};
    std::mt19937 random(9);
    for (int round = 0; round < 60; ++round) {
        std::string text = "{ name s";
        const auto add = [&](const std::string &words) {
            text += blanks[random() % blanks.size()] + words;
        };
        constexpr int theParms = 8;
        for (int i = 0; i < theParms; ++i) {
            const std::string number = std::to_string(i);
            add(i == 4 ? "group { name g" : "");
            for (const std::string words :
                 {"parm {", "name", "p", "label", "P", "type", "string", "default {"}) {
                add(words == "p" ? words + number : words);
            }
            add("\"`sin(" + number + "`\"");
            add("}");
            add("help help");
            add("}");
        }
        add("} }");
        NOD_Report report;
        const auto script = NODcheckScript(text, "s", report);
        ASSERT_TRUE(script) << text;
        NODcheckDescription(*script, "s", report);
        int found = 0;
        for (const NOD_Message &message : report.getMessages()) {
            const std::string number = std::to_string(found++);
            ASSERT_TRUE(message.detail) << text;
            EXPECT_EQ(message.detail->subject, "p" + number);
            EXPECT_EQ(std::size_t(message.detail->place.offset), text.find("`sin(" + number) + 6)
                << text;
        }
        EXPECT_EQ(found, theParms);
    }
}

TEST(Messages, PlacesLieInTheInputWhateverIsDamaged)
{
    const std::vector<std::pair<const char *, std::string>> inputs = {
        {"VALUES", theStream},
        {"VALUES", theChannels},
        {"VALUES", thePreset},
        {"VALUES", binaryOf(theStream)},
        {"SCENE", theScene},
        {"WHOLE", theScript},
        {"EDIT", "v:1=2.5"},
        {"KEY", "a@1=2"},
        {"RENAMES", "a b\nc# d#\n"},
        {"LINT", "disable: Z101\nlevel: hint\n"},
        {"MAP",
         "migration 1.0\nversion 1\nversion 2\nunit a * 2\ntest t\nset a 1\nexpect a 2\nend\n"},
    };
    std::mt19937 random(11);
    std::map<std::string, int> placed;
    for (const auto &[kind, text] : inputs) {
        for (int round = 0; round < 300; ++round) {
            const std::string damaged = corrupted(text, random);
            NOD_Report report;
            readers().at(kind)(damaged, report);
            for (const NOD_Message &message : report.getMessages()) {
                const std::string told = message.asText() + "\n" + damaged;
                if (!message.detail) {
                    continue;
                }
                auto detail = *message.detail;
                placed[kind] += detail.place.isKnown();
                detail.changePlaces(
                    [&](const KIT_MessagePlace &place) { expectAgrees(place, damaged, told); });
                ASSERT_FALSE(HasFailure());
            }
        }
    }
    for (const auto &[kind, text] : inputs) {
        EXPECT_GT(placed[kind], 50) << kind;
    }
}

/// What nobody asks for isn't made, and what is discarded neither.
TEST(Messages, DetailsAreMadeForWhoAsks)
{
    for (const bool wantedFlag : {false, true}) {
        Fixed fixed;
        KIT_ErrorManager::Scope scope(0);
        scope.setFlags(wantedFlag ? KIT_ErrorManager::theDetailsFlag : 0);
        const std::string text = replaced(theStream, "a\t[", "ab\t[");
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        fixed.node->getParms().load(is, nullptr, nullptr);
        ASSERT_EQ(scope.getManager().entries(), 1);
        EXPECT_EQ(scope.getManager().getError(0).detail != nullptr, wantedFlag);
        {
            const KIT_ErrorManager::Scope inner(0);
            EXPECT_EQ(inner.getFlags() == KIT_ErrorManager::theDetailsFlag, wantedFlag);
        }
    }
}
