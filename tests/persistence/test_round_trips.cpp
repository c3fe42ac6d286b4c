// A long list of all kinds through both forms and back, and menus that read the list meanwhile.

#include <persistence/StreamList.h>

#include <ZEL/ZEL_ChoiceList.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <tuple>

namespace
{

ZEL_Name theEntries[] = {{"none", "None"}, {"two words", "Two"}, {"last", "Last"}, {}};
ZEL_ChoiceList theMenu(ZEL_CHOICELIST_EXCLUSIVE, theEntries);
ZEL_ChoiceList theTokenMenu(ZEL_ChoiceListType(ZEL_CHOICELIST_REPLACE | ZEL_CHOICELIST_USE_TOKEN),
                            theEntries);
ZEL_Default theNone(0.0);

/// Each kind in turn: 900 parameters, then a multi-parameter whose items bring it above 1,000.
struct LongList
{
    static constexpr int theCount = 900;

    LongList()
        : items{ZEL_Template(ZEL_XYZ, 3, &itemNames[0]), ZEL_Template(ZEL_STRING, 1, &itemNames[1]),
                ZEL_Template(ZEL_TOGGLE, 1, &itemNames[2]), ZEL_Template()},
          names(new ZEL_Name[theCount]), templates(new ZEL_Template[theCount + 2])
    {
        const std::tuple<ZEL_Type, int, ZEL_ChoiceList *> kinds[] = {
            {ZEL_XYZ, 3, nullptr},     {ZEL_FLT, 1, nullptr},    {ZEL_INT, 2, nullptr},
            {ZEL_STRING, 1, nullptr},  {ZEL_STRING, 3, nullptr}, {ZEL_STRING, 1, &theMenu},
            {ZEL_TOGGLE, 1, nullptr},  {ZEL_ORD, 1, &theMenu},   {ZEL_ORD, 1, &theTokenMenu},
            {ZEL_ORD, 1, nullptr},     {ZEL_LABEL, 1, nullptr},  {ZEL_SEPARATOR, 1, nullptr},
            {ZEL_CALLBACK, 1, nullptr}};
        for (int i = 0; i < theCount; ++i) {
            const auto &[type, size, menu] = kinds[std::size_t(i) % std::size(kinds)];
            const std::string token = "p" + std::to_string(i) + "_";
            names[i].setTokenAndLabel(token.c_str(), "Label");
            templates[i] = ZEL_Template(type, size, &names[i], nullptr, menu);
        }
        templates[theCount] = ZEL_Template(ZEL_MULTITYPE_LIST, items, 0.0, &nameMulti, &theNone);
        list.reset(new ZEL_ParmList(templates.get(), &channels, nullptr, nullptr, "", false));
        takeMessages();
    }

    /// Any value the kind can save, and here and there a channel or an option.
    void fill()
    {
        list->setFloat(50.0, "multi", 0, 0.0, false);
        list->evalFloat("multi", 0, 0.0);
        std::mt19937 random(1);
        for (int i = 0; i < list->getEntries(); ++i) {
            ZEL_Parm &parm = *list->getParmPtr(i);
            for (int c = 0; c < parm.getVectorSize() && i != theCount; ++c) {
                fillComponent(parm, c, random);
            }
            if (i % 11 == 0 && i != theCount) {
                parm.getInstance()->setLockedFlag(-1, true);
            }
        }
    }
    static void fillComponent(ZEL_Parm &parm, int component, std::mt19937 &random)
    {
        ZEL_Instance &instance = *parm.getInstance();
        if (random() % 9 == 0) {
            instance.addChannel(component);
        } else if (parm.getType().isFloatType()) {
            const std::uint64_t bits = (std::uint64_t(random()) << 32) | random();
            double value = 0.0;
            std::memcpy(&value, &bits, sizeof(value));
            // Text has only one NaN.
            value = std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value;
            instance.setValue(0.0, value, false, component, ZEL_ADDKEY_PENDING,
                              ZEL_KEYSET_PREFERENCE);
        } else if (parm.getType().isStringType()) {
            std::string text;
            for (unsigned length = random() % 300; length > 0; --length) {
                text += char(1 + random() % 255);
            }
            instance.setValue(0.0, text.c_str(), TRK_MEANING_LITERAL, false, component,
                              ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        } else {
            instance.setValue(0.0, int(random() % 8) - 2, false, component, ZEL_ADDKEY_PENDING,
                              ZEL_KEYSET_PREFERENCE);
        }
    }
    /// The channels are in a file of their own, which is read first.
    void takeChannelsOf(const LongList &other)
    {
        for (int i = 0; i < other.list->getEntries(); ++i) {
            for (int c = 0; c < other.list->getParmPtr(i)->getVectorSize(); ++c) {
                if (const TRK_Channel *channel = other.list->getParmPtr(i)->getChannel(c)) {
                    channels.addChannel(channel->getName());
                }
            }
        }
    }
    ZEL_Name itemNames[3] = {{"at#", "At"}, {"text#", "Text"}, {"on#", "On"}};
    ZEL_Name nameMulti{"multi", "Multi"};
    ZEL_Template items[4];
    std::unique_ptr<ZEL_Name[]> names;
    std::unique_ptr<ZEL_Template[]> templates;
    TRK_Collection channels;
    std::unique_ptr<ZEL_ParmList> list;
};

ZEL_ParmList *theMenuList = nullptr;

/// A menu that depends on how many items there are; reading that makes or removes items.
void makeCountingMenu(void *, ZEL_Name *out, int, const ZEL_SpareData *, const ZEL_Parm *)
{
    if (theMenuList) {
        theMenuList->evalFloat("points", 0, 0.0);
    }
    out[0].setTokenAndLabel("only", "Only");
}

/// A list with such a menu in front of the items, and one in each.
struct MenuList
{
    MenuList() { takeMessages(); }
    ~MenuList() { theMenuList = nullptr; }

    /// The count is set; it was not read yet.
    void setCount(double count)
    {
        theMenuList = nullptr;
        list.setFloat(count, "points", 0, 0.0, false);
        theMenuList = &list;
    }

    ZEL_Name nameMenu{"menu", "Menu"}, namePoints{"points", "Points"}, nameChoice{"choice#", "C"};
    ZEL_ChoiceList menu{ZEL_CHOICELIST_EXCLUSIVE, makeCountingMenu};
    ZEL_Template items[2] = {ZEL_Template(ZEL_ORD, 1, &nameChoice, nullptr, &menu), ZEL_Template()};
    ZEL_Template templates[3] = {
        ZEL_Template(ZEL_ORD, 1, &nameMenu, nullptr, &menu),
        ZEL_Template(ZEL_MULTITYPE_LIST, items, 0.0, &namePoints, &theNone), ZEL_Template()};
    ZEL_ParmList list{templates, nullptr, nullptr, nullptr, "", false};
};

} // namespace

TEST(RoundTrips, AThousandParametersOfAllKinds)
{
    LongList p;
    p.fill();
    const std::string text = savedList(*p.list, false);
    const std::string binary = savedList(*p.list, true);
    ASSERT_GT(p.list->getEntries(), 1000);
    ASSERT_GT(p.channels.entries(), 100);

    const std::string compact = savedList(*p.list, false, true);

    // Without a load: each form of the other, and the way back also without the list.
    using Form = ZEL_ParmStream::Form;
    EXPECT_TRUE(converted(text, Form::BINARY, p.list.get()) == binary);
    EXPECT_TRUE(converted(binary, Form::TEXT) == text);
    EXPECT_TRUE(converted(converted(text, Form::BINARY), Form::TEXT) == text);
    EXPECT_TRUE(converted(converted(compact, Form::TEXT), Form::BINARY, p.list.get()) == compact);
    for (const std::string &packets : {binary, compact}) {
        EXPECT_TRUE(converted(converted(packets, Form::MARKED_TEXT), Form::BINARY) == packets);
    }
    EXPECT_EQ(takeTexts(), "");
    for (const std::string &data : {text, binary, compact}) {
        LongList q;
        q.takeChannelsOf(p);
        ASSERT_TRUE(loadList(*q.list, data, data != text)) << takeTexts();
        EXPECT_EQ(savedList(*q.list, false, true), compact);
        if (data != compact) {
            EXPECT_EQ(savedList(*q.list, true), binary);
            EXPECT_EQ(savedList(*q.list, false), text);
        }
        EXPECT_EQ(takeTexts(), "");
    }
}

TEST(RoundTrips, OptionsOfAParameterWithoutComponents)
{
    for (const ZEL_Type &type : {ZEL_SEPARATOR, ZEL_STRING, ZEL_FLT, ZEL_TOGGLE}) {
        BuiltParm p(type, 0), q(type, 0);
        q.build();
        ASSERT_EQ(p.instance->getVectorSize(), 0);
        const std::string text =
            "{\nversion 0.8\np\t[ 0\tlocks=0\tzellabel=\"My rule\" ]\t(\t)\n}\n";
        ASSERT_TRUE(loadList(*p.list, text));
        EXPECT_TRUE(loadList(*q.list, savedList(*p.list, true), true));
        EXPECT_EQ(savedList(*q.list), text);
        EXPECT_EQ(takeTexts(), "");
    }
}

TEST(RoundTrips, AMenuMayReadTheListThatIsSavedOrLoaded)
{
    for (const bool binary : {false, true}) {
        MenuList p;
        p.setCount(500);
        savedList(p.list, binary);
        EXPECT_EQ(p.list.getEntries(), 502) << "the menu made the items";

        // Fewer again: an item whose menu is asked for must not be removed meanwhile.
        p.setCount(0);
        const std::string data = savedList(p.list, binary);
        EXPECT_EQ(p.list.getEntries(), 502) << "they leave when the count is read again";
        p.list.evalFloat("points", 0, 0.0);
        EXPECT_EQ(p.list.getEntries(), 2);

        MenuList q;
        EXPECT_TRUE(loadList(q.list, data, binary));
        EXPECT_EQ(takeTexts(), "");
    }
    MenuList p;
    p.setCount(3);
    p.list.evalFloat("points", 0, 0.0);
    p.setCount(0);
    EXPECT_TRUE(loadList(p.list, "{ version 0.8 choice3 ( only ) choice1 ( only ) }"));
    EXPECT_EQ(takeTexts(), "");
}
