// Menus of the host's state, the array size that every builder respects, sorting, image names, kinds of
// dialog scripts.

#include "MenuDump.h"

#include <KIT/KIT_Filter.h>
#include <KIT/KIT_String.h>
#include <LYR/LYR_Manager.h>
#include <PIX/PIX_Format.h>
#include <ZEL/ZEL_DialogScript.h>
#include <ZEL/ZEL_ImageNames.h>
#include <ZEL/ZEL_MenuBuilders.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace
{

const Builder theBuilders[] = {
    ZELbuildImageMenu,    ZELbuildResolutionMenu,  ZELbuildPixelFormatMenu,
    ZELbuildRiDeviceMenu, ZELbuildRiFilterMenu,    ZELbuildRiHiderMenu,
    ZELbuildFilterMenu,   ZELbuildImageDeviceMenu, ZELbuildTakeMenu,
};

/// The first `count` lines.
std::string head(const std::string &text, int count)
{
    size_t at = 0;
    for (; count > 0 && at < text.size(); --count) {
        at = text.find('\n', at) + 1;
    }
    return text.substr(0, at);
}

/// Takes of the process, removed again at the end.
class Takes : public testing::Test
{
protected:
    ~Takes() override
    {
        while (!master().getChildren().isEmpty()) {
            LYR_Manager::getCurrentManager()->removeTake(master().getChildren()[0]);
        }
    }
    static LYR_Take &master() { return *LYR_Manager::getCurrentManager()->getMasterTake(); }
};

std::string sorted(std::vector<ZEL_Name> names)
{
    ZELsortMenu(names.data(), int(names.size()));
    std::string out;
    for (const ZEL_Name &name : names) {
        out += std::string(name.getToken()) + " ";
    }
    return out;
}

} // namespace

// An array of any size gets the first rows and a sentinel, and nothing after it is touched.
TEST_F(Takes, BuildersKeepToTheArray)
{
    master().addChild("x")->addChild("y");
    for (const Builder builder : theBuilders) {
        const std::string faults = inChild([builder] {
            const std::string whole = build(builder, 100);
            const int rows = int(std::count(whole.begin(), whole.end(), '\n'));
            std::string out = rows < 3 ? whole : "";
            out += build(builder, INT_MIN);
            for (int size = -1; size <= rows + 2; ++size) {
                const std::string got = build(builder, size);
                out += got == head(whole, size - 1) ? "" : std::to_string(size) + ":\n" + got;
            }
            return out;
        });
        EXPECT_EQ(faults, "");
    }
}

TEST(MenuBuilders, Filters)
{
    ASSERT_EQ(KIT_Filter::getNFilters(), 9);
    std::string expected;
    for (int i = 0; i < 9; ++i) {
        const char *name = KIT_Filter::getFilterName(i);
        expected += std::string(name) + "|" + KIT_Filter::getFilterLabel(i) + "\n";
        EXPECT_EQ(KIT_Filter::findFilter(name), i);
    }
    EXPECT_EQ(KIT_Filter::getFilterName(9), nullptr);
    EXPECT_EQ(KIT_Filter::findFilter("wibble"), -1);

    const std::string seen = inChild([] {
        std::string out = ZELgetFilterName(0) ? "early" : "";
        out += build(ZELbuildFilterMenu, 100);
        for (int i = -1; i < 10; ++i) {
            out += ZELgetFilterName(i) ? rowText(*ZELgetFilterName(i)) : "none\n";
        }
        return out;
    });
    EXPECT_EQ(seen, expected + "none\n" + expected + "none\n");
}

TEST(MenuBuilders, ImageDevices)
{
    std::string expected = "|Infer from file name\n_separator_|_separator_\n";
    for (int i = 0; i < PIX_Format::getNFormats(); ++i) {
        const PIX_Format &format = *PIX_Format::getFormat(i);
        expected += std::string(format.getName()) + "|" + format.getLabel() + "\n";
    }
    EXPECT_EQ(build(ZELbuildImageDeviceMenu, 100), expected);
}

TEST_F(Takes, TakeMenu)
{
    EXPECT_EQ(build(ZELbuildTakeMenu, 100), "_current_|(Current)\nMain|Main\n");
    LYR_Take *day = master().addChild("day");
    master().addChild("night");
    day->addChild("noon")->addChild("rain");
    day->addChild("dusk");
    EXPECT_EQ(build(ZELbuildTakeMenu, 100), "_current_|(Current)\n"
                                            "Main|Main\n"
                                            "day|  day\n"
                                            "noon|    noon\n"
                                            "rain|      rain\n"
                                            "dusk|    dusk\n"
                                            "night|  night\n");
}

TEST(MenuBuilders, Sort)
{
    EXPECT_EQ(sorted({{"c", "b10"}, {"d", "b9"}, {"a9"}, {"e", "A"}, {"a10"}}), "e a9 a10 d c ");
    EXPECT_EQ(sorted({}), "");
    ZELsortMenu(nullptr, 3);
    ZEL_Name part[] = {{"c"}, {"b"}, {"a"}, {}};
    ZELsortMenu(part, 2);
    EXPECT_EQ(dump(part), "b|b\nc|c\na|a\n");
}

TEST(ImageNames, FileNameLeadsTheFormat)
{
    using Text = const char *; // null as the new one: nothing changes
    const std::tuple<Text, Text, Text, Text, Text> cases[] = {
        {"a.tif", "pic", "depth int16 compression zip", "tiff", "depth int16 compression zip"},
        {"a.JPG", "tiff", "depth int16 compression zip quality 90", "jpeg", "quality 90"},
        {"$SCN/x.$F4.exr", "", "compression piz artist \"A B\" quality 50", "exr",
         "compression piz artist \"A B\""},
        {"a.jpeg", "pic", "quality 101 compression jpeg odd", "jpeg", "compression jpeg"},
        {"a.tiff", "tiff", "depth int8", nullptr, nullptr},
        {"a.wibble", "tiff", "depth int8", nullptr, nullptr},
        {"dir.tif/a", "pic", "depth int8", nullptr, nullptr},
        {".tif", "pic", "depth int8", nullptr, nullptr},
        {"", "pic", "depth int8", nullptr, nullptr},
        {nullptr, "pic", "depth int8", nullptr, nullptr},
    };
    for (const auto &[name, oldFormat, oldOptions, newFormat, newOptions] : cases) {
        KIT_String format(oldFormat);
        KIT_String options(oldOptions);
        EXPECT_EQ(ZELchangeImageFilename("old.pic", name, format, options), newFormat != nullptr)
            << (name ? name : "null");
        EXPECT_STREQ(format.c_str(), newFormat ? newFormat : oldFormat);
        EXPECT_STREQ(options.c_str(), newFormat ? newOptions : oldOptions);
    }
}

TEST(ImageNames, FormatLeadsTheFileName)
{
    // `newName`: null: nothing changes
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"tiff", "a.pic", "a.tif"},     {"jpeg", "$SCN/x.$F4.pic", "$SCN/x.$F4.jpg"},
        {"jpeg", "x.$F4", "x.$F4.jpg"}, {"jpeg", "dir.pic/x.EXR", "dir.pic/x.jpg"},
        {"tiff", "a.tiff", nullptr},    {"tiff", "ip", nullptr},
        {"tiff", "", nullptr},          {"wibble", "a.pic", nullptr},
        {"", "a.pic", nullptr},         {nullptr, "a.pic", nullptr},
    };
    for (const auto &[format, oldName, newName] : cases) {
        KIT_String name(oldName);
        KIT_String options("depth float32 quality 5");
        EXPECT_EQ(ZELchangeImageFormat("pic", format, name, options), newName != nullptr)
            << oldName;
        EXPECT_STREQ(name.c_str(), newName ? newName : oldName);
        if (!newName) {
            EXPECT_STREQ(options.c_str(), "depth float32 quality 5");
        }
    }
    KIT_String name("a.exr");
    KIT_String options("depth float32 quality 5");
    EXPECT_TRUE(ZELchangeImageFormat("exr", "jpeg", name, options));
    EXPECT_STREQ(options.c_str(), "quality 5");
}

// Every format is found by its own name and by the extension that it writes.
TEST(ImageNames, Formats)
{
    for (int i = 0; i < PIX_Format::getNFormats(); ++i) {
        const PIX_Format *format = PIX_Format::getFormat(i);
        EXPECT_EQ(PIX_Format::findByName(format->getName()), format);
        const std::string name = "a." + std::string(format->getExtension());
        EXPECT_EQ(PIX_Format::findByFilename(name.c_str()), format);
    }
    EXPECT_EQ(PIX_Format::getFormat(-1), nullptr);
    EXPECT_EQ(PIX_Format::getFormat(PIX_Format::getNFormats()), nullptr);
}

TEST(DialogScripts, NamesAndNumbers)
{
    std::istringstream words(
        "RMlight RMshader RMdisplace RMatmosphere RMinterior GENlight GENshader GENdisplace "
        "GENatmosphere TORlight TORlightfog TORfog NODSmacro GEMNmacro IMCmacro MATmacro "
        "Renderers KSLpixn KSLwavn KSLgemn KSLprtn KSLnods KSLsurface KSLphoton KSLdisplace "
        "KSLatmosphere KSLlight KSLshadow KSLcksl RIBprocedural TorvikProcedural User1 User2 "
        "User3 User4 User5");
    int count = 0;
    for (std::string word; words >> word; ++count) {
        EXPECT_EQ(ZELlookupDialogScript(word.c_str()), count) << word;
        EXPECT_STREQ(ZELlookupDialogScript(ZEL_DialogScript(count)), word.c_str());
    }
    EXPECT_EQ(count, 36);
    for (const char *word : {"", "RM", "RMlightx", "rmlight", "User6", (const char *)nullptr}) {
        EXPECT_EQ(ZELlookupDialogScript(word), -1);
    }
    EXPECT_EQ(ZELlookupDialogScript(ZEL_DialogScript(36)), nullptr);
    EXPECT_EQ(ZELlookupDialogScript(ZEL_DIALOG_NONE), nullptr);
}
