// The shared names, menus, ranges and defaults, row by row, against the file that publishes them.

#include <KIT/KIT_Digits.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_SharedDefaults.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SharedNames.h>
#include <ZEL/ZEL_SharedRanges.h>

#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <sstream>
#include <string>

namespace
{

/// "token|label"
std::string text(const ZEL_Name &name)
{
    return std::string(name.getToken()) + "|" + name.getLabel();
}

/// The type, the number of rows, and the rows; of one without a label of its own the token.
std::string text(const ZEL_ChoiceList &menu)
{
    std::string out = std::to_string(menu.getType()) + " " + std::to_string(menu.getStaticSize());
    for (const ZEL_Name *row = menu.choiceNamesPtr(); !row->isSentinel(); ++row) {
        out += " " + (row->getLabel() == row->getToken() ? row->getToken() : text(*row));
    }
    return out;
}

std::string number(double value)
{
    return KIT_Digits(value).buffer();
}

/// Each limit and its flag.
std::string text(const ZEL_Range &range)
{
    return number(range.getUIMin()) + " " + std::to_string(range.getMinFlag()) + " " +
           number(range.getUIMax()) + " " + std::to_string(range.getMaxFlag());
}

/// The number, with "=text" when it has one.
std::string text(const ZEL_Default &entry)
{
    EXPECT_EQ(entry.getStringMeaning(), TRK_MEANING_LITERAL);
    return number(entry.getFloat()) +
           (entry.gotString() ? std::string("=") + entry.getString() : "");
}

template <size_t Count>
std::string text(const ZEL_Default (&entries)[Count])
{
    std::string out;
    for (const ZEL_Default &entry : entries) {
        out += (out.empty() ? "" : " ") + text(entry);
    }
    return out;
}

} // namespace

TEST(SharedTables, AreAsPublished)
{
    std::string rows = "ZELopFilterTypeMenu " + text(ZELopFilterTypeMenu) + "\n";
#define ROW(symbol, ...) rows += #symbol " " + text(symbol) + "\n";
#define ZEL_SHARED_NAME ROW
#define ZEL_SHARED_MENU ROW
#define ZEL_SHARED_RANGE ROW
#define ZEL_DEFAULT_FILL ROW
#define ZEL_DEFAULT_ARRAY ROW
#define ZEL_DEFAULT ROW
#include <ZEL/ZEL_SharedDefaults.def>
#include <ZEL/ZEL_SharedMenus.def>
#include <ZEL/ZEL_SharedNames.def>
#include <ZEL/ZEL_SharedRanges.def>
    for (const ZEL_Name &name : ZELinputLabelNames) {
        rows += "ZELinputLabelNames " + text(name) + "\n";
    }
    std::ifstream file(ZEL_TESTS_DIR "/golden/shared_tables.txt");
    std::ostringstream published;
    published << file.rdbuf();
    EXPECT_EQ(rows, published.str());
}

// A token is one word that dialog scripts and channel names can hold, a label is words for people.
TEST(SharedTables, NamesSuitFilesAndPeople)
{
    static const ZEL_Name *const all[] = {
#undef ZEL_SHARED_NAME
#define ZEL_SHARED_NAME(symbol, token, label) &symbol,
#include <ZEL/ZEL_SharedNames.def>
    };
    for (const ZEL_Name *name : all) {
        const std::string token = name->getToken();
        for (const char c : token) {
            EXPECT_TRUE(std::islower(c) || std::isdigit(c) || c == '_') << token;
        }
        ASSERT_FALSE(name->getLabelRef().isEmpty()) << token;
        EXPECT_TRUE(std::isupper(name->getLabel()[0])) << token;
    }
}
