// Menus from data files: what lines make rows, where the files are found, and menus without them.

#include "MenuDump.h"

#include <KIT/KIT_IStream.h>
#include <ZEL/ZEL_FileMenu.h>
#include <ZEL/ZEL_MenuBuilders.h>
#include <presets/PresetFolders.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <tuple>
#include <vector>

namespace
{

class MenuFiles : public PresetFolders
{
protected:
    static void write(const std::string &name, const std::string &bytes)
    {
        writeFile(in(name), bytes);
    }
};

/// A menu that no other test has filled.
std::string filled(ZEL_FileMenu::Kind kind)
{
    ZEL_FileMenu menu(kind);
    std::vector<ZEL_Name> names(64);
    menu.copyRows(names.data(), 64);
    return dump(names.data());
}

std::string read(ZEL_FileMenu::Kind kind, const std::string &text)
{
    ZEL_FileMenu menu(kind);
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    menu.readRows(is);
    std::string out;
    for (int i = 0; i < menu.getNumRows(); ++i) {
        out += rowText(*menu.getRow(i));
    }
    return out;
}

} // namespace

TEST(MenuLines, Rows)
{
    const std::string separator = "_separator_|_separator_\n";
    const auto two = ZEL_FileMenu::RESOLUTION;
    const auto four = ZEL_FileMenu::PIXEL_FORMAT;
    const std::tuple<ZEL_FileMenu::Kind, std::string, std::string> cases[] = {
        {two, "a A\nb \"B b\"\n", "a|A\nb|B b\n"},
        {two, "'1 2' \"One, two\"", "1 2|One, two\n"},
        {two, "'\"box\" 1 1' \"\\\"Box\\\"\"", "\"box\" 1 1|\"Box\"\n"},
        {two, "a\"b c\"d 'e'\n", "ab cd|e\n"},
        {two, "\"it's\" 'say \"x\"'\n", "it's|say \"x\"\n"},
        {two, "\"\" Empty\n", "|Empty\n"},
        {two, "  \t a \t A \r\n", "a|A\n"},
        {two, "# a A\n   # b B\nc#d #C\n", "c#d|#C\n"},
        {two, "-\n", separator},
        {two, "a A\n\"one field\"\nb B\n", "a|A\n" + separator + "b|B\n"},
        {two, "\n   \n\ta b c\na b c d\n", ""},
        {two, "a \"never closed\nb B\n", "a|never closed\nb|B\n"},
        {two, "", ""},
        {four, "int8 0 255 Label\n", "int8 0 255|Label\n"},
        {four, "'int8 x' 0 '' \"A label\"\n", "int8 x 0 |A label\n"},
        {four, "a b c\n", separator},
        {four, "a\na b\na b c d e\n", ""},
        // Bytes that are no text are kept; a NUL ends its line.
        {two, "\xff\xfe \x80\x01\nb B\n", "\xff\xfe|\x80\x01\nb|B\n"},
        {two, std::string("a A\0 c\nb\0 B\nd D\n", 15), "a|A\n" + separator + "d|D\n"},
    };
    for (const auto &[kind, text, rows] : cases) {
        EXPECT_EQ(read(kind, text), rows) << text;
    }
}

// The files that docs/menus.md shows are read as it says.
TEST(MenuLines, FilesOfThePage)
{
    const std::string page = readFile(ZEL_TESTS_DIR "/../docs/menus.md");
    const auto block = [&page](const std::string &file) {
        const std::string start = "`" + file + "`:\n\n```\n";
        const size_t at = page.find(start);
        if (at == page.npos) {
            return std::string();
        }
        const size_t first = at + start.size();
        return page.substr(first, page.find("```", first) - first);
    };
    EXPECT_EQ(read(ZEL_FileMenu::RESOLUTION, block("FBres")),
              "2048 858 1.0|Cinema 2K Scope\n1998 1080 1.0|Cinema 2K Flat\n"
              "_separator_|_separator_\n1080 1920 1.0|Phone\n");
    EXPECT_EQ(read(ZEL_FileMenu::PIXEL_FORMAT, block("FBpixel")),
              "int16 0 1023|10 Bit Scan\nfloat32 0 1|Linear\n");
    EXPECT_EQ(read(ZEL_FileMenu::RI_FILTER, block("FBrifilter")),
              "\"gaussian\" 3 3|Gaussian Filter 3x3\n\"box\" 2 2|Box Filter 2x2\n");
}

TEST(MenuLines, LongOnes)
{
    const std::string label(10 << 20, 'x');
    EXPECT_EQ(read(ZEL_FileMenu::IMAGE, "a " + label + "\nb B\n"), "a|" + label + "\nb|B\n");
    std::string words;
    for (int i = 0; i < (5 << 20); ++i) {
        words += "w ";
    }
    EXPECT_EQ(read(ZEL_FileMenu::IMAGE, words + "\nb B\n"), "b|B\n");
    // An even number of quotes is one empty field, and an odd number takes in the rest of the line.
    const std::string quotes(10 << 20, '"');
    EXPECT_EQ(read(ZEL_FileMenu::IMAGE, quotes + " b\n"), "|b\n");
    EXPECT_EQ(read(ZEL_FileMenu::IMAGE, "a " + quotes + "\" b\nc C"), "a| b\nc|C\n");
}

TEST_F(MenuFiles, BuiltInRowsWithoutAFile)
{
    const std::tuple<ZEL_FileMenu::Kind, const char *, int, const char *, const char *> cases[] = {
        {ZEL_FileMenu::IMAGE, "FBrender", 3, "ip|fbview window\n",
         "$SCN/$F4.pic|padded file names\n"},
        {ZEL_FileMenu::RESOLUTION, "FBres", 14, "640 486 1.0|NTSC Full\n",
         "1920 1080 1.0|HDTV 1080\n"},
        {ZEL_FileMenu::PIXEL_FORMAT, "FBpixel", 13, "int8 0 255|8 Bit Unsigned\n",
         "int32 2147450880 2147516415|16 Bit Extended\n"},
        {ZEL_FileMenu::RI_DEVICE, "FBridevice", 10, "framebuffer|Frame Buffer\n",
         "velmora|Velmora Driver\n"},
        {ZEL_FileMenu::RI_FILTER, "FBrifilter", 6, "\"box\" 1 1|Box Filter 1x1\n",
         "\"sinc\" 2 2|Sinc Filter 2x2\n"},
        {ZEL_FileMenu::RI_HIDER, "FBrihider", 10, "\"hidden\"|Hidden Surface\n",
         "\"photon\"|Photon Map\n"},
    };
    for (const auto &[kind, file, count, first, last] : cases) {
        ZEL_FileMenu menu(kind);
        EXPECT_EQ(menu.getRow(0), nullptr) << file;
        menu.fill();
        ASSERT_EQ(menu.getNumRows(), count) << file;
        EXPECT_EQ(rowText(*menu.getRow(0)), first);
        EXPECT_EQ(rowText(*menu.getRow(count - 1)), last);
        EXPECT_EQ(menu.getRow(-1), nullptr);
        EXPECT_EQ(menu.getRow(count), nullptr);

        // Comments alone give no row; one separator is a row.
        const std::string whole = filled(kind);
        write("a/" + std::string(file), "# nothing\n\n");
        EXPECT_EQ(filled(kind), whole) << file;
        write("b/" + std::string(file), "x x x x x x\nx x x x\na b c\na\n");
        const bool fourFlag = kind == ZEL_FileMenu::PIXEL_FORMAT;
        EXPECT_EQ(filled(kind),
                  fourFlag ? "x x x|x\n_separator_|_separator_\n" : "_separator_|_separator_\n");
    }
}

TEST_F(MenuFiles, FilesAddUpInTheOrderOfThePath)
{
    write("b/FBres", "2 B\n");
    EXPECT_EQ(filled(ZEL_FileMenu::RESOLUTION), "2|B\n");
    write("a/FBres", "\xEF\xBB\xBF" // a byte order mark, which some editors put there
                     "1 A\n-\n");
    EXPECT_EQ(filled(ZEL_FileMenu::RESOLUTION), "1|A\n_separator_|_separator_\n2|B\n");
}

TEST_F(MenuFiles, WhatCannotBeReadHasNoRows)
{
    fs::create_directories(in("a/FBrender"));
    write("b/FBrender", "x X\n");
    fs::permissions(in("b/FBrender"), fs::perms::none);
    const bool readableFlag = std::ifstream(in("b/FBrender")).good(); // the superuser's
    EXPECT_EQ(filled(ZEL_FileMenu::IMAGE).substr(0, 4), readableFlag ? "x|X\n" : "ip|f");
}

TEST_F(MenuFiles, FilledOnceForTheProcess)
{
    write("a/FBrender", "one One\n");
    const std::string seen = inChild([] {
        std::string out = ZELgetImageName(0) ? "early " : "";
        out += build(ZELbuildImageMenu, 9);
        write("a/FBrender", "two Two\n");
        out += build(ZELbuildImageMenu, 9);
        out += ZELgetImageName(0) ? rowText(*ZELgetImageName(0)) : "none";
        out += ZELgetImageName(1) || ZELgetImageName(-1) ? "more" : "";
        out += ZELgetResolutionName(0) ? "other" : "";
        return out;
    });
    EXPECT_EQ(seen, "one|One\none|One\none|One\n");
}

TEST_F(MenuFiles, EveryBuilderReadsItsFile)
{
    using Getter = const ZEL_Name *(*)(int);
    const std::tuple<Builder, std::string, Getter> cases[] = {
        {ZELbuildImageMenu, "FBrender", ZELgetImageName},
        {ZELbuildResolutionMenu, "FBres", ZELgetResolutionName},
        {ZELbuildPixelFormatMenu, "FBpixel", ZELgetPixelFormatName},
        {ZELbuildRiDeviceMenu, "FBridevice", nullptr},
        {ZELbuildRiFilterMenu, "FBrifilter", nullptr},
        {ZELbuildRiHiderMenu, "FBrihider", nullptr},
    };
    for (const auto &[builder, file, getter] : cases) {
        const std::string row = builder == ZELbuildPixelFormatMenu ? file + " 1 2 L" : file + " L";
        write("a/" + file, row + "\n");
        const std::string seen = inChild([make = builder, get = getter] {
            const std::string rows = build(make, 9);
            return rows + (get && get(0) ? rowText(*get(0)) : "");
        });
        const std::string expected = row.substr(0, row.size() - 2) + "|L\n";
        EXPECT_EQ(seen, getter ? expected + expected : expected);
    }
}

// A choice list calls this generator like any other, and keeps to its own limit.
TEST_F(MenuFiles, AsAChoiceList)
{
    std::string rows;
    for (int i = 0; i < 9000; ++i) {
        rows += "t" + std::to_string(i) + " L\n";
    }
    write("a/FBres", rows);
    const std::string seen = inChild([] {
        const ZEL_ChoiceList menu(ZEL_CHOICELIST_REPLACE, ZELbuildResolutionMenu);
        const ZEL_Name *names = nullptr;
        menu.getChoiceNames(names, nullptr, nullptr, nullptr, true);
        return std::to_string(menu.getSize(nullptr)) + " " + names[8189].getToken() +
               (names[8190].isSentinel() ? "" : " no end") + " " +
               ZELgetResolutionName(8999)->getToken();
    });
    EXPECT_EQ(seen, "8190 t8189 t8999");
}
