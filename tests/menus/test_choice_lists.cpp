// Static and generated menus, and those of the command language.

#include "MenuScene.h"

#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>

#include <gtest/gtest.h>

#include <limits>
#include <tuple>
#include <utility>

namespace
{

ZEL_Name theNames[] = {{"a", "A"}, {"b", "B"}, {"", "Empty"}, {nullptr}};
ZEL_Item theItems[] = {{"x", "X", "icon_x"}, {"y", nullptr, nullptr}, {nullptr, nullptr, nullptr}};
ZEL_Name theNoNames[] = {{nullptr}};

/// What the generators were given last, and what they do besides.
struct Call
{
    void *data = nullptr;
    int max = 0;
    const ZEL_SpareData *spare = nullptr;
    const ZEL_Parm *parm = nullptr;
};
Call theCall;
int theCount = 0;                   // entries they write, with a sentinel after them
bool theOpenFlag = false;           // leave the sentinel out
std::function<void()> theInnerCall; // run before they write

template <class Entry>
void generate(void *data, Entry *out, int max, const ZEL_SpareData *spare, const ZEL_Parm *parm)
{
    theCall = Call{data, max, spare, parm};
    if (theInnerCall) {
        std::function<void()> call;
        call.swap(theInnerCall);
        call();
    }
    for (int i = 0; i < theCount; ++i) {
        const std::string token = "t" + std::to_string(i);
        ZEL_Name name;
        name.setTokenAndLabel(token.c_str(), "L");
        if constexpr (std::is_same_v<Entry, ZEL_Item>) {
            out[i].getName() = name;
        } else {
            out[i] = name;
        }
    }
    if (!theOpenFlag) {
        out[theCount] = Entry();
    }
}

class Generated : public ::testing::Test
{
protected:
    Generated()
    {
        theCount = 2;
        theOpenFlag = false;
        theInnerCall = nullptr;
    }

    ZEL_ChoiceList names{ZEL_CHOICELIST_REPLACE, generate<ZEL_Name>};
    ZEL_ChoiceList items{ZEL_CHOICELIST_REPLACE, generate<ZEL_Item>};
    MenuNode node;
};

struct CommandMenus : testing::Test
{
    void SetUp() override
    {
        node.buildNode();
        parm = node.list->getParmPtr("menu");
    }

    MenuNode node;
    const ZEL_Parm *parm = nullptr;
};

} // namespace

TEST(StaticMenus, AreTheirTablesAndTurnIndicesIntoTokens)
{
    const ZEL_ChoiceList names(ZEL_CHOICELIST_EXCLUSIVE, theNames);
    const ZEL_Name *out = nullptr;
    names.getChoiceNames(out, nullptr, nullptr, nullptr, false);
    EXPECT_EQ(theNames, out);
    EXPECT_EQ("(null)", itemsOf(names));
    EXPECT_EQ(3, names.getSize(nullptr));

    const ZEL_ChoiceList items(ZEL_CHOICELIST_EXCLUSIVE, theItems);
    const ZEL_Item *itemsOut = nullptr;
    items.getChoiceItems(itemsOut, nullptr, nullptr, nullptr, false);
    EXPECT_EQ(theItems, itemsOut);
    EXPECT_EQ("x=X y=y", namesOf(items));
    EXPECT_EQ(2, items.getSize(nullptr));

    const ZEL_ChoiceList empty(ZEL_CHOICELIST_EXCLUSIVE, theNoNames);
    EXPECT_EQ("", namesOf(empty));
    EXPECT_EQ(0, empty.getSize(nullptr));
    const ZEL_ChoiceList nothing(ZEL_CHOICELIST_EXCLUSIVE, static_cast<ZEL_Item *>(nullptr));
    EXPECT_EQ("(null)", namesOf(nothing));
    EXPECT_EQ(0, nothing.getSize(nullptr));

    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    const std::tuple<const ZEL_ChoiceList &, std::int64_t, const char *> cases[] = {
        {names, 0, "a"},  {names, 1, "b"},    {names, 2, ""},
        {names, 3, "!3"}, {names, -1, "!-1"}, {names, 5000000000, "!5000000000"},
        {items, 1, "y"},  {items, 2, "!2"},   {items, least, "!-9223372036854775808"},
        {empty, 0, "!0"},
    };
    for (const auto &[menu, index, token] : cases) {
        EXPECT_EQ(token, tokenOf(menu, index));
    }
}

TEST(StaticMenus, AreCountedWhenTheyAreTold)
{
    ZEL_Name table[] = {{"a"}, {"b"}, {nullptr}};
    ZEL_ChoiceList menu(ZEL_CHOICELIST_EXCLUSIVE, table);
    table[1].setAsSentinel();
    EXPECT_EQ(2, menu.getSize(nullptr));
    EXPECT_EQ("!1", tokenOf(menu, 1)) << "tokens count the table itself";
    menu.updateStaticChoiceSize();
    EXPECT_EQ(1, menu.getSize(nullptr));
}

TEST_F(Generated, GetWhatTheCallerHas)
{
    node.buildNode();
    const ZEL_Parm *parm = node.list->getParmPtr("menu");
    ZEL_SpareData spare;
    int data = 0;
    const ZEL_Name *out = nullptr;
    names.getChoiceNames(out, &data, &spare, parm, false);
    EXPECT_EQ("t0=L t1=L", entriesText(out));
    EXPECT_EQ(&data, theCall.data);
    EXPECT_EQ(&spare, theCall.spare);
    EXPECT_EQ(parm, theCall.parm);
    EXPECT_EQ(8191, theCall.max);
    EXPECT_EQ("t0=L t1=L", namesOf(items));
    EXPECT_EQ("t0=L t1=L", itemsOf(items));
    EXPECT_EQ("t1", tokenOf(items, 1));

    ZEL_ParmOwner *owner = &node.menuOwner;
    EXPECT_EQ(2, names.getSize(parm));
    EXPECT_EQ(owner, theCall.data);
    EXPECT_EQ(parm, theCall.parm);
    EXPECT_EQ(2, items.getSize(parm));
    EXPECT_EQ(owner, theCall.data);
    EXPECT_EQ(nullptr, theCall.parm);
    EXPECT_EQ(nullptr, theCall.spare);
}

TEST_F(Generated, EndWhereTheyShould)
{
    theCount = 3;
    EXPECT_EQ("t0=L t1=L t2=L", namesOf(names));
    theCount = 0;
    EXPECT_EQ("(null)", namesOf(names));
    EXPECT_EQ("(null)", namesOf(items));
    EXPECT_EQ(0, items.getSize(nullptr));
    theOpenFlag = true; // writes nothing at all
    EXPECT_EQ("(null)", namesOf(names)) << "nothing of the last menu is left";
    theCount = 1;
    EXPECT_EQ("t0=L", namesOf(names));
    theCount = 8191;
    EXPECT_EQ(8191, names.getSize(nullptr));
    EXPECT_EQ(8191, items.getSize(nullptr));
    EXPECT_EQ("t8190", tokenOf(items, 8190));
    theOpenFlag = false;
    theCount = 1;
    EXPECT_EQ("t0=L", namesOf(items)) << "names of long ago";
}

TEST_F(Generated, ItemsAreNotGeneratedInsideOfItems)
{
    std::string inner;
    theInnerCall = [&] {
        inner =
            itemsOf(items) + " " + namesOf(items) + " " + std::to_string(items.getSize(nullptr));
    };
    EXPECT_EQ("t0=L t1=L", itemsOf(items));
    EXPECT_EQ("(null) (null) 0", inner);
    EXPECT_EQ(2, items.getSize(nullptr));
}

TEST_F(Generated, NamesMayAskForOtherMenus)
{
    node.buildNode();
    const ZEL_Parm *parm = node.list->getParmPtr("menu");
    std::string words;
    for (int i = 0; i < 10000; ++i) {
        words += "w" + std::to_string(i) + " W ";
    }
    const ZEL_ChoiceList script(ZEL_CHOICELIST_REPLACE, words.c_str(), TRK_SCRIPT_COMMAND);
    int size = 0;
    std::string inner;
    theInnerCall = [&] {
        size = script.getSize(parm);
        inner = namesOf(names);
    };
    theCount = 3;
    EXPECT_EQ("t0=L t1=L t2=L", namesOf(names));
    EXPECT_EQ("t0=L t1=L t2=L", inner);
    EXPECT_EQ(8191, size) << "no more than the array that the generator was given";
    EXPECT_EQ(10000, script.getSize(parm));
}

TEST_F(CommandMenus, AreThePairsOfTheOutput)
{
    const std::pair<const char *, const char *> cases[] = {
        {"a \"Label A\" b", "a=Label A"}, // a token without a label is dropped
        {"a 'Label A'\nb \"it's\"", "a=Label A b=it's"},
        {"  a\tA\r\n b B ", "a=A b=B"},
        {"'' nothing", "=nothing"},
        {"alone", "(null)"},
        {" \n", "(null)"},
        {"a \"not closed", "a=not closed"},
    };
    for (const auto &[output, contents] : cases) {
        const ZEL_ChoiceList menu(ZEL_CHOICELIST_REPLACE, output, TRK_SCRIPT_COMMAND);
        EXPECT_EQ(contents, namesOf(menu, parm)) << output;
    }
    const ZEL_ChoiceList menu(ZEL_CHOICELIST_REPLACE, "a A b B", TRK_SCRIPT_COMMAND);
    EXPECT_EQ(2, menu.getSize(parm));
    EXPECT_EQ("b", tokenOf(menu, 1, parm));
    EXPECT_EQ("!2", tokenOf(menu, 2, parm));
    EXPECT_TRUE(menu.isDynamic());
    node.menuOwner.runs = 0;
    EXPECT_EQ("(null)", namesOf(menu, nullptr));
    EXPECT_EQ(0, menu.getSize(nullptr));
    node.list->clearParmOwner();
    EXPECT_EQ("(null)", namesOf(menu, parm));
    const ZEL_ChoiceList empty(ZEL_CHOICELIST_REPLACE, "", TRK_SCRIPT_COMMAND);
    EXPECT_EQ("(null)", namesOf(empty, parm));
    EXPECT_EQ(0, node.menuOwner.runs);
}

TEST_F(CommandMenus, KeepTheMemoryOfTheLastOne)
{
    const ZEL_ChoiceList five(ZEL_CHOICELIST_REPLACE, "a A b B c C d D e E", TRK_SCRIPT_COMMAND);
    const ZEL_ChoiceList one(ZEL_CHOICELIST_REPLACE, "z Z", TRK_SCRIPT_COMMAND);
    const ZEL_Name *first = nullptr;
    five.getChoiceNames(first, nullptr, nullptr, parm, false);
    EXPECT_EQ("z=Z", namesOf(one, parm));
    const ZEL_Name *second = nullptr;
    five.getChoiceNames(second, nullptr, nullptr, parm, false);
    EXPECT_EQ(first, second);
    EXPECT_EQ("a=A b=B c=C d=D e=E", entriesText(second));
}

TEST_F(CommandMenus, ReportQuietlyIfAsked)
{
    const int thread = BASgetSTID();
    node.menuOwner.command = [&](const char *) {
        KITaddError("ZEL", 5, "lost");
        EVL::theErrNo[thread] = EVL::EVL_CYCLE;
        return std::string("a A");
    };
    const ZEL_ChoiceList menu(ZEL_CHOICELIST_REPLACE, "script", TRK_SCRIPT_COMMAND);
    EVL::theErrNo[thread] = EVL::EVL_OK;
    EXPECT_EQ("a=A", namesOf(menu, parm, true));
    EXPECT_EQ("", takeMessages());
    EXPECT_EQ(EVL::EVL_OK, EVL::theErrNo[thread]);
    EXPECT_EQ("a", tokenOf(menu, 0, parm)); // never quiet
    EXPECT_EQ("ZEL 5", takeMessages());
    EXPECT_EQ(EVL::EVL_CYCLE, EVL::theErrNo[thread]);
    EVL::theErrNo[thread] = EVL::EVL_OK;
}

TEST_F(CommandMenus, EndCirclesWithAnEmptyMenu)
{
    std::map<std::string, ZEL_ChoiceList> menus;
    // A script requests the menus that it names, and prints what it gets.
    const auto add = [&](const char *name, const char *script) {
        menus.emplace(name, ZEL_ChoiceList(ZEL_CHOICELIST_REPLACE, script, TRK_SCRIPT_COMMAND));
    };
    node.menuOwner.command = [&](const char *script) {
        std::string output;
        for (const char *name = script; *name; ++name) {
            output += "'" + namesOf(menus.at(std::string(1, *name)), parm) + "' L ";
        }
        return output;
    };
    const auto ask = [&](const char *name) {
        node.menuOwner.runs = 0;
        const std::string text = namesOf(menus.at(name), parm);
        return text + " " + std::to_string(node.menuOwner.runs);
    };
    add("a", "a");
    add("b", "c"); // b requests c, c requests b
    add("c", "b");
    add("d", "e"); // no cycle
    add("e", "");
    EXPECT_EQ("(null)=L 1", ask("a"));
    EXPECT_EQ("(null)=L 1", ask("a")) << "the next request is like the first";
    // Remembered at the depths 2 (b) and 4 (b again): the cycle closes at depth 6.
    EXPECT_EQ("(null)=L=L=L=L 4", ask("b"));
    EXPECT_EQ("(null)=L 1", ask("d"));

    add("f", "ffff"); // again and again
    node.menuOwner.runs = 0;
    EXPECT_NE("(null)", namesOf(menus.at("f"), parm));
    EXPECT_LE(node.menuOwner.runs, 4 * 10000);
    EXPECT_EQ("(null)=L 1", ask("a"));
}

TEST_F(CommandMenus, MayAskForAnyNumberOfOthers)
{
    const ZEL_ChoiceList one(ZEL_CHOICELIST_REPLACE, "a A", TRK_SCRIPT_COMMAND);
    const ZEL_ChoiceList many(ZEL_CHOICELIST_REPLACE, "many", TRK_SCRIPT_COMMAND);
    int missing = 0;
    node.menuOwner.command = [&](const char *script) {
        for (int i = 0; i < 20000 && std::string(script) == "many"; ++i) {
            missing += namesOf(one, parm) != "a=A";
        }
        return std::string(script) == "many" ? "many L" : std::string(script);
    };
    EXPECT_EQ("many=L", namesOf(many, parm));
    EXPECT_EQ(0, missing);
}

TEST(ChoiceLists, ShareTablesAndCopyScripts)
{
    KIT_String text("a A", true);
    ZEL_ChoiceList script(ZEL_CHOICELIST_TOGGLE, text.c_str(), TRK_SCRIPT_PYTHON);
    text = "x X";
    const ZEL_ChoiceList copy(script);
    script = ZEL_ChoiceList(ZEL_CHOICELIST_REPLACE, theNames);
    EXPECT_STREQ("a A", copy.getScript());
    EXPECT_EQ(TRK_SCRIPT_PYTHON, copy.getScriptLanguage());
    EXPECT_EQ(ZEL_CHOICELIST_TOGGLE, copy.getType());
    EXPECT_EQ(theNames, script.choiceNamesPtr());
    EXPECT_EQ(nullptr, script.choiceItemsPtr());
    EXPECT_FALSE(script.isDynamic());
    EXPECT_EQ(3, script.getSize(nullptr));
}
