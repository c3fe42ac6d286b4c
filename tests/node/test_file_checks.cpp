// Files whose readers tell little: commands, of which each tells its own mistakes, and rows of menus.

#include <DS/DS_Command.h>
#include <DS/DS_CommandList.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_CommandCheck.h>
#include <NOD/NOD_MenuFileCheck.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_FileMenu.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <unistd.h>

namespace
{

/// Lines of the places, each once.
std::set<int> linesOf(const NOD_Report &report)
{
    std::set<int> lines;
    for (const NOD_Message &message : report.getMessages()) {
        EXPECT_TRUE(message.detail) << message.asText();
        lines.insert(message.detail ? message.detail->place.line : 0);
    }
    return lines;
}

/// A row of a command, right or with a mistake in this line alone.
std::string parmLine(std::mt19937 &random, const std::string &name, bool wrongFlag)
{
    const std::string right[] = {"parm { name \"" + name + "\" type float }",
                                 "parm { name " + name + " type KIND }", "label \"a { brace\"",
                                 "help { \"one\" \"two\" }"};
    const std::string wrong[] = {"parm { nmae \"" + name + "\" }",
                                 "parm { name " + name + " export never }", "parm { type float }",
                                 "labl \"a\"", "parm { name " + name + " menu { \"x\" } }"};
    return wrongFlag ? wrong[random() % std::size(wrong)] : right[random() % std::size(right)];
}

} // namespace

TEST(FileChecks, EachCommandTellsItsOwnMistakes)
{
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::string text = "/* commands\n#define KIND nothing */\n#define KIND toggle\n";
        int line = 4;
        std::set<int> wrong;
        for (unsigned i = 0, count = 1 + random() % 5; i < count; ++i) {
            text += random() % 2 ? "command {\n" : "{\n";
            text += "name c" + std::to_string(i) + "\n";
            line += 2;
            const unsigned rows = random() % 4;
            const unsigned fault = random() % 6;
            for (unsigned row = 0; row < rows; ++row, ++line) {
                text += "    " + parmLine(random, "p" + std::to_string(line), row == fault) + "\n";
                if (row == fault) {
                    wrong.insert(line);
                }
            }
            text += "}\n";
            ++line;
        }
        NOD_Report report;
        EXPECT_EQ(NODcheckCommands(text, "f", report), wrong.empty()) << text;
        EXPECT_EQ(linesOf(report), wrong) << text << report.asText();
    }
}

TEST(FileChecks, ACommandWithoutItsBraceLeavesTheNextAlone)
{
    NOD_Report report;
    EXPECT_FALSE(NODcheckCommands(
        "command {\n  name a\n  parm { name b\n}\n\ncommand {\n  name c\n  lable d\n}\n", "f",
        report));
    EXPECT_EQ(linesOf(report), (std::set<int>{3, 8})) << report.asText();
    for (const NOD_Message &message : report.getMessages()) {
        const KIT_MessagePlace &place = message.detail->place;
        EXPECT_EQ(place.source.substr(0, 2), "  ") << "of the whole file";
        EXPECT_EQ(place.file, "f");
    }
    report.clear();
    EXPECT_TRUE(NODcheckCommands("command { name a } } command { name b }\n", "f", report));
    EXPECT_EQ(report.asText().find("What stands behind"), report.asText().find("What"))
        << "a warning";
    report.clear();
    // What one command's macros mean isn't known by itself: its reader has all the messages.
    EXPECT_TRUE(NODcheckCommands("#if 1\ncommand { name a lable b }\n#endif\n", "f", report));
    EXPECT_TRUE(NODcheckCommands("", "f", report));
    EXPECT_TRUE(NODcheckCommands("}}} words \"", "f", report));
}

TEST(FileChecks, ASoundFileOfCommandsIsReadWhateverItsCommentsHold)
{
    constexpr const char *theStarts[] = {
        "/*\n#define label wrong\n*/\n",
        "// #define name {\n",
        "/*\n#if 0\n*/\n",
        "#define W label\n",
        "#if 1\n#endif\n",
    };
    for (const std::string start : theStarts) {
        NOD_Report report;
        EXPECT_EQ(NODreadCommands(start + "command { name a label b }", "f", report)->getEntries(),
                  1);
        EXPECT_TRUE(report.isEmpty()) << start << report.asText();
        const std::string wrong = "{ name c lable d }\n{ name e nmae f }\n";
        NODreadCommands(start + wrong, "f", report);
        const int first = int(std::count(start.begin(), start.end(), '\n')) + 1;
        EXPECT_EQ(linesOf(report), (std::set<int>{first, first + 1})) << start << report.asText();
    }
}

TEST(FileChecks, RowsOfMenusAreThoseOfTheirReader)
{
    const std::string path =
        (std::filesystem::temp_directory_path() / ("zel_menus_" + std::to_string(getpid())))
            .string();
    std::filesystem::create_directories(path);
    constexpr const char *theWords[] = {"a",        "\"b c\"", "'d'", "#",  "\\", "\"",
                                        "'e\\' f'", " ",       "\t",  "\n", "\n"};
    std::mt19937 random(1);
    for (int round = 0; round < 500; ++round) {
        const auto kind = ZEL_FileMenu::Kind(round % ZEL_FileMenu::theKindCount);
        const std::string file = path + "/" + ZEL_FileMenu::getFileName(kind);
        std::string text = round % 7 == 0 ? "\xef\xbb\xbf" : "";
        for (unsigned i = 0, count = random() % 40; i < count; ++i) {
            text +=
                std::string(theWords[random() % std::size(theWords)]) + (random() % 2 ? " " : "");
        }
        std::ofstream(file, std::ios::binary) << text;
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        is.skipByteOrderMark();
        ZEL_FileMenu menu(kind);
        menu.readRows(is);
        NOD_Report report;
        EXPECT_TRUE(NODisMenuFile(file));
        EXPECT_EQ(NODcheckMenuFile(file, report), menu.getNumRows()) << text;
        // A line that gives no row is told.
        int lines = 0;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = std::min(text.find('\n', at), text.size());
            const std::size_t first = text.find_first_not_of(" \t\xef\xbb\xbf", at);
            lines += first < end && text[first] != '#';
            at = end + 1;
        }
        EXPECT_GE(int(linesOf(report).size()) + menu.getNumRows(), lines)
            << text << report.asText();
    }
    NOD_Report report;
    EXPECT_FALSE(NODisMenuFile(path + "/FBother"));
    EXPECT_EQ(NODcheckMenuFile(path + "/none/FBres", report), -1);
    EXPECT_TRUE(report.hasErrors());
    std::filesystem::remove_all(path);
}
