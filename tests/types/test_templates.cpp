// Templates and the records they point to: names, defaults, ranges, menus, channel tokens, masks,
// copies, ramps, memory accounts.
#include <BAS/BAS_Memory.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <STO/STO_FileHistory.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_Memory.h>
#include <ZEL/ZEL_RampTemplate.h>
#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>
#include <common/Threads.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>
#include <vector>

namespace
{

ZEL_Name theName("t", "Thing");

/// The channel tokens, blank separated.
std::string channels(const ZEL_Template &templateRef)
{
    std::string text;
    for (int i = 0; i < templateRef.getVectorSize(); i++) {
        text += (i ? " " : "") + std::string(templateRef.getChannelTokens()[i].c_str());
    }
    return text;
}

std::string labels(const ZEL_Template &templateRef)
{
    std::string text;
    for (int i = 0; i < templateRef.getVectorSize(); i++) {
        KIT_String label("not touched");
        templateRef.getChannelLabel(label, i);
        text += (i ? "," : "") + std::string(label.c_str());
    }
    return text;
}

/// The tokens of an array up to its terminator.
std::string tokens(const ZEL_Template *templates)
{
    std::string text;
    for (; !templates->isTerminator(); templates++) {
        text += (text.empty() ? "" : " ") + std::string(templates->getToken());
    }
    return text;
}

int countCall(void *, int component, double, const ZEL_Template *, void *data, intptr_t tag)
{
    *static_cast<int *>(data) += component;
    return static_cast<int>(tag);
}

} // namespace

TEST(Names, StaticNamesBorrowAndLabelsFallBack)
{
    static const char literal[] = "token";
    const ZEL_Name name(literal);
    EXPECT_EQ(name.getToken(), literal) << "the literal itself, no copy";
    EXPECT_FALSE(name.getTokenRef().isCounted());
    EXPECT_EQ(name.getLabel(), literal);
    EXPECT_EQ(name.getHash(), KIT_StringRef("token").hash());

    EXPECT_STREQ(ZEL_Name("t", "").getLabel(), "") << "an empty label is a label";
    EXPECT_EQ(ZEL_Name(nullptr, nullptr).getLabel(), nullptr);
    EXPECT_TRUE(ZEL_Name(nullptr, "L").isSentinel());
    EXPECT_FALSE(ZEL_Name(nullptr, "L").isValidChoice());
    EXPECT_TRUE(ZEL_Name("").isValidChoice());
}

TEST(Names, HardenedNamesOutliveTheirTexts)
{
    ZEL_Name name;
    {
        std::string token = "alpha";
        name = ZEL_Name(token.c_str(), token.c_str() + 1);
        name.harden();
        token.assign(token.size(), 'x');
    }
    EXPECT_STREQ(name.getToken(), "alpha");
    EXPECT_STREQ(name.getLabel(), "lpha");

    char buffer[64];
    name.setAsSeparator();
    format(buffer, sizeof(buffer), name);
    EXPECT_STREQ(buffer, "[_separator_, _separator_, 0]");

    name.setTokenAndLabel("key#pos", "Key #");
    const int numbers[] = {3};
    name.instance(numbers, 1);
    EXPECT_STREQ(name.getToken(), "key3pos");
    EXPECT_STREQ(name.getLabel(), "Key 3");
}

TEST(Defaults, OrdinalsAreCutAndKeptInRange)
{
    const double inf = std::numeric_limits<double>::infinity();
    const std::tuple<double, int> rows[] = {
        {2.9, 2},           {-2.9, -2},          {2147483647.5, INT32_MAX},
        {1e300, INT32_MAX}, {-1e300, INT32_MIN}, {-2147483648.0, INT32_MIN},
        {inf, INT32_MAX},   {-inf, INT32_MIN},   {inf - inf, 0}};
    for (const auto &[value, ordinal] : rows) {
        EXPECT_EQ(ZEL_Default(value).getOrdinal(), ordinal) << value;
    }
    EXPECT_STREQ(ZEL_Default().getString(), "");
    EXPECT_FALSE(ZEL_Default().gotString());
    EXPECT_TRUE(ZEL_Default(0, "").gotString());
}

TEST(Ranges, OnlyHardLimitsConstrain)
{
    EXPECT_EQ(ZEL_Range().constrain(5.0), 5.0);
    EXPECT_EQ(ZEL_Range().constrain(true, true, 5.0), 1.0);
    EXPECT_EQ(ZEL_Range().getParmMax(), 1.0) << "stored limit, whichever bit is set";
    const ZEL_Range open(ZEL_RANGE_FREE, 3, ZEL_RANGE_FREE, 4);
    EXPECT_EQ(open.getUIMin(), std::numeric_limits<double>::lowest());
    EXPECT_EQ(open.getParmMax(), std::numeric_limits<double>::max());
    const ZEL_Range crossed(ZEL_RANGE_PARM, 10, ZEL_RANGE_HARD, 5);
    EXPECT_EQ(crossed.constrain(7), 10) << "the maximum is not looked at";
    EXPECT_EQ(crossed.constrain(12), 5);
    EXPECT_FALSE(crossed.hasUIMin());
    EXPECT_TRUE(crossed.hasUIMax());
}

TEST(Memory, CountsByCategory)
{
    BAS_MemoryTable &table = ZEL_Memory::getTable();
    ASSERT_EQ(table.entries(), 2);
    EXPECT_STREQ(table.getUser(0)->getName(), "Debug");
    EXPECT_STREQ(table.getUser(1)->getName(), "SetValueData");
    const int64_t before = table.getUser(1)->getBytes();
    void *memory = ZEL_Memory::Malloc(ZEL_Memory::ZEL_MEMORY_SET_VALUE_DATA, 100);
    memory = ZEL_Memory::Realloc(ZEL_Memory::ZEL_MEMORY_SET_VALUE_DATA, memory, 100, 40);
    EXPECT_EQ(table.getUser(1)->getBytes(), before + 40);
    ZEL_Memory::Free(ZEL_Memory::ZEL_MEMORY_SET_VALUE_DATA, memory, 40);
    EXPECT_EQ(table.getUser(1)->getBytes(), before);
    KIT_WorkBuffer report;
    ZEL_Memory::printUsage(report);
    EXPECT_NE(std::string(report.buffer()).find("SetValueData"), std::string::npos);
}

TEST(Templates, ChannelsAndLabelsFollowTheStyle)
{
    const std::tuple<ZEL_Type, int, const char *, const char *> rows[] = {
        {ZEL_XYZ, 5, "tx ty tz tw t5", "X,Y,Z,W,#5"},
        {ZEL_UVW, 4, "tu tv tw t4", "U,V,W,#4"},
        {ZEL_RGB, 3, "tr tg tb", "R,G,B"},
        {ZEL_FLT_E | ZEL_TYPE_NAMEXYWH, 4, "tx ty tw th", "X,Y,W,H"},
        {ZEL_FLT, 3, "t1 t2 t3", "#1,#2,#3"},
        {ZEL_XYZ, 1, "t", ""},
        {ZEL_XYZ, 0, "", ""},
        {ZEL_XYZ, -2, "", ""},
        {ZEL_SEPARATOR, 3, "", ""},
        {ZEL_HEADING, 3, "", ""},
        {ZEL_BEGINEND, 2, "begint endt", "Begin,End"},
        {ZEL_BEGINEND, 3, "t1 t2 t3", "#1,#2,#3"},
        {ZEL_STARTEND, 2, "tstart tend", "Start,End"},
        {ZEL_STARTEND, 3, "tstart tend tinc", "Start,End,Inc"},
        {ZEL_STARTEND, 4, "t1 t2 t3 t4", "#1,#2,#3,#4"},
        {ZEL_FLT_MINMAX, 2, "tmin tmax", "Min,Max"},
        {ZEL_FLT_MINMAX, 3, "t1 t2 t3", "#1,#2,#3"},
        {ZEL_FLT_MINMAX, 4, "tminu tminv tmaxu tmaxv", "Min U,Min V,Max U,Max V"},
        {ZEL_MINMAX_R, 2, "tmax tmin", "Max,Min"},
        {ZEL_MINMAX_R, 4, "tmaxu tmaxv tminu tminv", "Max U,Max V,Min U,Min V"},
        {ZEL_XYZ | ZEL_TYPE_NAMEUVW, 2, "t1 t2", "#1,#2"}, // the word is compared whole
    };
    for (const auto &[type, size, wantedTokens, wantedLabels] : rows) {
        const ZEL_Template parm(type, size, &theName);
        EXPECT_EQ(channels(parm), wantedTokens);
        EXPECT_EQ(labels(parm), wantedLabels) << wantedTokens;
    }
}

TEST(Templates, LargeIndicesKeepTwoPlaces)
{
    const ZEL_Template parm(ZEL_FLT, 2100, &theName);
    EXPECT_STREQ(parm.getChannelToken(8).c_str(), "t9");
    EXPECT_STREQ(parm.getChannelToken(9).c_str(), "t10");
    EXPECT_STREQ(parm.getChannelToken(98).c_str(), "t99");
    EXPECT_STREQ(parm.getChannelToken(99).c_str(), "t:0") << "no digit from 100 on";
    EXPECT_EQ(parm.findSubIndex("t57"), 56);
    KIT_String label;
    parm.getChannelLabel(label, 2050);
    EXPECT_STREQ(label, "#2051");
}

TEST(Templates, ComponentsOutsideAnswerNothing)
{
    ZEL_Default factory[] = {1.0, 2.0};
    ZEL_Template parm(ZEL_UVW, 2, &theName, factory);
    for (const int index : {-1, 2, INT32_MAX, INT32_MIN}) {
        EXPECT_STREQ(parm.getChannelToken(index).c_str(), "");
        EXPECT_STREQ(parm.getDecodedChannelToken(index).c_str(), "");
        parm.setFloatDefault(index, 5.0);
        parm.setStringDefault(index, "x");
        EXPECT_EQ(parm.getDefault(index), nullptr);
    }
    EXPECT_EQ(parm.getDefault(0), nullptr) << "never a factory default";
    EXPECT_EQ(parm.findSubIndex("t"), -1);
    EXPECT_EQ(ZEL_Template(ZEL_FLT, 0, &theName).findSubIndex("t"), -1);
}

TEST(Templates, DecodedTokensKeepWhatTheyWereMadeFor)
{
    ZEL_Name encoded("xn__a_3ab", "A");
    ZEL_Template parm(ZEL_XYZ, 2, &encoded);
    EXPECT_STREQ(parm.getChannelToken(0).c_str(), "xn__a_3abx");
    EXPECT_STREQ(parm.getDecodedChannelToken(0).c_str(), "a:bx");
    parm.assign(ZEL_Template(ZEL_XYZ, 4, &theName), 4, nullptr);
    EXPECT_STREQ(parm.getChannelToken(3).c_str(), "tw");
    EXPECT_STREQ(parm.getDecodedChannelToken(0).c_str(), "a:bx");
    EXPECT_STREQ(parm.getDecodedChannelToken(3).c_str(), "") << "past the older array";
}

TEST(Templates, OverridesKeepWhatTheyAreNotAsked)
{
    ZEL_Template parm(ZEL_STRING, 2, &theName);
    parm.setDefault(0, ZEL_Default(3.0, "ch(\"x\")", TRK_MEANING_NATIVE));
    ASSERT_NE(parm.getDefault(0), nullptr);
    EXPECT_EQ(parm.getDefault(1), nullptr);
    EXPECT_EQ(parm.getDefault(0)->getStringMeaning(), TRK_MEANING_LITERAL) << "a new slot";
    parm.getDefault(0)->setStringMeaning(TRK_MEANING_PYTHON);
    parm.setOrdinalDefault(0, 9);
    EXPECT_STREQ(parm.getDefault(0)->getString(), "ch(\"x\")");
    parm.setDefault(0, *parm.getDefault(0));
    parm.setStringDefault(0, parm.getDefault(0)->getString() + 3); // out of its own text
    EXPECT_STREQ(parm.getDefault(0)->getString(), "\"x\")");
    parm.setDefault(0, ZEL_Default(1.0, "other"));
    EXPECT_EQ(parm.getDefault(0)->getFloat(), 1.0);
    EXPECT_EQ(parm.getDefault(0)->getStringMeaning(), TRK_MEANING_PYTHON) << "an existing slot";
    parm.setStringDefault(0, "");
    EXPECT_FALSE(parm.getDefault(0)->gotString());
    parm.restoreFactoryDefaults();
    EXPECT_EQ(parm.getDefault(0), nullptr);
}

TEST(Templates, GroupsTypesAndNamesAreSettled)
{
    EXPECT_TRUE(ZEL_Template().isTerminator());
    EXPECT_EQ(ZEL_Template().getVectorSize(), 1);
    EXPECT_STREQ(ZEL_Template(ZEL_FLT).getToken(), "parm");
    EXPECT_STREQ(ZEL_Template(ZEL_FLT).getLabel(), "Parameter");

    const auto group = [](const ZEL_Type &type) {
        return ZEL_Template(type, 1, &theName, nullptr, nullptr, nullptr, ZEL_Callback(), nullptr,
                            5)
            .getParmGroup();
    };
    EXPECT_EQ(group(ZEL_SWITCHER), 0);
    EXPECT_EQ(group(ZEL_SWITCHER_REFRESH), 5);
    EXPECT_EQ(group(ZEL_SWITCHER_REFRESH | ZEL_TYPE_NOCOOK), 0);
    EXPECT_EQ(group(ZEL_CALLBACK_NOREFRESH), 5) << "no switcher";

    const ZEL_Template joined(ZEL_JOINED_TOGGLE, ZEL_TYPEX_NODE_PATH, 1, &theName);
    EXPECT_EQ(joined.getTypeExtended(), ZEL_TYPEX_JOINED);
    for (const ZEL_TypeExtended extended : {ZEL_TYPEX_JOIN_NEXT, ZEL_TYPEX_NODE_PATH}) {
        ZEL_Template parm(ZEL_FLT, extended, 1, &theName);
        parm.setJoinNext(true);
        EXPECT_TRUE(parm.getJoinNext());
        EXPECT_EQ(parm.getTypeExtended(), extended);
        parm.setJoinNext(false);
        EXPECT_EQ(parm.getType(), ZEL_FLT);
        EXPECT_EQ(parm.getTypeExtended(),
                  extended == ZEL_TYPEX_JOIN_NEXT ? ZEL_TYPEX_NONE : extended);
    }
    EXPECT_EQ(ZEL_Template(ZEL_FLT | ZEL_TYPE_INVISIBLE).getMultiType(),
              ZEL_MULTITYPE_NONE | ZEL_MULTITYPE_INVISIBLE);
    EXPECT_FALSE(ZEL_Template(ZEL_FLT | ZEL_TYPE_INVISIBLE).isMultiType());
}

TEST(Templates, MasksComeFromSpareData)
{
    const std::tuple<const char *, int, uint32_t, uint32_t> rows[] = {
        {nullptr, 3, 0, ~0u}, {"", 3, 0, ~0u},  {"1", 3, 7, 7},
        {"01", 4, 0xe, 0xe},  {"110", 4, 3, 3}, {"10101", 2, 1, 1},
        {"1", 32, ~0u, ~0u},  {"0x", 3, 0, 0},  {"1", 0, 0, 0},
    };
    for (const auto &[bits, size, scope, select] : rows) {
        ZEL_SpareData spare;
        spare.addTokenValue("autoscope", bits);
        spare.addTokenValue("autoselect", bits);
        ZEL_Template parm(ZEL_FLT, size, &theName, nullptr, nullptr, nullptr, ZEL_Callback(),
                          &spare);
        for (int round = 0; round < 2; round++) {
            EXPECT_EQ(parm.getAutoScopeField(), scope) << size;
            EXPECT_EQ(parm.getAutoSelectField(), select) << size;
        }
    }
    // All ones also stands for a mask not made yet, so a later spare value still counts; any other
    // mask is made once.
    ZEL_SpareData spare;
    ZEL_Template parm(ZEL_FLT, 2, &theName, nullptr, nullptr, nullptr, ZEL_Callback(), &spare);
    EXPECT_EQ(parm.getAutoScopeField(), 0u);
    EXPECT_EQ(parm.getAutoSelectField(), ~0u);
    spare.addTokenValue("autoscope", "1");
    spare.addTokenValue("autoselect", "01");
    EXPECT_EQ(parm.getAutoScopeField(), 0u);
    EXPECT_EQ(parm.getAutoSelectField(), 2u);
}

TEST(Templates, FileParametersOfferTheFilesUsedLast)
{
    STO_FileHistoryManager &history = STO_FileHistoryManager::getInstance();
    const std::tuple<ZEL_Type, int> rows[] = {
        {ZEL_PICFILE, 1},
        {ZEL_GEOFILE, 2},
        {ZEL_RAMPFILE, 3},
        {ZEL_CAPTFILE, 4},
        {ZEL_CLIPFILE, 5},
        {ZEL_PAINTFILE, 6},
        {ZEL_LUTFILE, 7},
        {ZEL_FILE | ZEL_TYPE_CMDF, 8},
        {ZEL_MIDIFILE, 9},
        {ZEL_TXTFILE, 10},
        {ZEL_I3DFILE, 11},
        {ZEL_CHANFILE, 12},
        {ZEL_SIMFILE, 16},
        {ZEL_ICONFILE, 15},
        {ZEL_FILE, 15},
        {ZEL_CMDFILE, 15},
        {ZEL_SIMDATAFILE, 17},
        {ZEL_DIRECTORY, 29},
        {ZEL_PICFILE | ZEL_TYPE_GEO, 15},
    };
    for (const auto &[type, number] : rows) {
        const auto kind = static_cast<STO_FileHistoryType>(number);
        history.clear(kind);
        for (const char *file : {"old", "mid", "new"}) {
            history.addFile(kind, (file + std::to_string(number)).c_str());
        }
    }
    for (const auto &[type, number] : rows) {
        const ZEL_Template parm(type, 1, &theName);
        const ZEL_ChoiceList *menu = parm.getChoiceListPtr();
        ASSERT_NE(menu, nullptr) << number;
        EXPECT_EQ(menu->getType(), ZEL_CHOICELIST_REPLACE);
        EXPECT_TRUE(parm.isAutomaticallyGeneratedChoiceList());
        ZEL_Name names[5] = {{"stale"}, {"stale"}, {"stale"}, {"stale"}, {"stale"}};
        menu->getChoiceGenerator()(nullptr, names, 3, nullptr, nullptr);
        EXPECT_EQ(names[0].getTokenRef(), ("new" + std::to_string(number)).c_str());
        EXPECT_EQ(names[1].getTokenRef(), ("mid" + std::to_string(number)).c_str());
        EXPECT_TRUE(names[2].isSentinel()) << "one place is the sentinel's";
        EXPECT_FALSE(names[3].isSentinel()) << "nothing behind the capacity is touched";
    }
}

TEST(Templates, AMenuOfItsOwnIsReplacedUnlessItIsTheOneGiven)
{
    ZEL_Template again(ZEL_PICFILE, 1, &theName);
    const auto remake = [&again](ZEL_ChoiceList *menu) {
        again.initialize(ZEL_GEOFILE, ZEL_TYPEX_NONE, ZEL_Template::ZEL_EXPORT_0, 1, &theName,
                         nullptr, menu, nullptr, ZEL_Callback(), nullptr, 1, nullptr, nullptr);
    };
    remake(again.getChoiceListPtr());
    EXPECT_FALSE(again.isAutomaticallyGeneratedChoiceList()) << "the menu of pictures";
    remake(nullptr);
    EXPECT_TRUE(again.isAutomaticallyGeneratedChoiceList());

    EXPECT_EQ(ZEL_Template(ZEL_FILE_E).getChoiceListPtr(), nullptr);
    EXPECT_EQ(ZEL_Template(ZEL_TOGGLE_E).getChoiceListPtr(), &ZELtoggleMenu);
    EXPECT_TRUE(ZEL_Template(ZEL_TOGGLE).isAutomaticallyGeneratedChoiceList());
    ZEL_Template own(ZEL_FILE, 1, &theName, nullptr, &ZELtoggleMenu);
    EXPECT_FALSE(own.isAutomaticallyGeneratedChoiceList());
    EXPECT_EQ(ZELtoggleMenu.getStaticSize(), 2);
}

TEST(Templates, CopiesShareWhatIsBorrowedAndOwnTheRest)
{
    int calls = 0;
    ZEL_Default factory[3];
    ZEL_Range range;
    ZEL_SpareData spare;
    const ZEL_Template source(ZEL_PICFILE, ZEL_TYPEX_NODE_PATHS, ZEL_Template::ZEL_EXPORT_3, 3,
                              &theName, factory, nullptr, &range,
                              ZEL_Callback(countCall, &calls, 8), &spare, 4, "help");
    ZEL_Template copy(ZEL_FLT);
    copy = source;
    copy = *&copy;
    EXPECT_EQ(copy.getType(), ZEL_PICFILE);
    EXPECT_EQ(copy.getTypeExtended(), ZEL_TYPEX_NODE_PATHS);
    EXPECT_EQ(copy.exportLevel(), ZEL_Template::ZEL_EXPORT_3);
    EXPECT_EQ(copy.getVectorSize(), 3);
    EXPECT_EQ(copy.getNamePtr(), &theName);
    EXPECT_EQ(copy.getFactoryDefaults(), factory);
    EXPECT_EQ(copy.getRangePtr(), &range);
    EXPECT_EQ(copy.getSparePtr(), &spare);
    EXPECT_EQ(copy.getParmGroup(), 4);
    EXPECT_STREQ(copy.getHelpText(), "help");
    EXPECT_EQ(copy.getCallback().call(nullptr, 2, 0.0, &copy), 8);
    EXPECT_EQ(calls, 2);
    EXPECT_NE(copy.getChoiceListPtr(), source.getChoiceListPtr()) << "a menu of its own";
    EXPECT_TRUE(copy.isAutomaticallyGeneratedChoiceList());

    copy.setFloatDefault(2, 1.0);
    copy.assign(copy, 1, nullptr); // itself, smaller
    EXPECT_EQ(copy.getVectorSize(), 1);
    EXPECT_EQ(copy.getDefault(0), nullptr);
    EXPECT_STREQ(copy.getHelpText(), "help");
}

TEST(Templates, NoCookFollowsSpareData)
{
    const std::tuple<const char *, bool, bool, bool> rows[] = {{"true", true, true, false},
                                                               {"0", false, false, true},
                                                               {nullptr, true, false, true},
                                                               {nullptr, false, false, false},
                                                               {nullptr, false, true, true}};
    for (const auto &[text, byDefault, before, after] : rows) {
        ZEL_SpareData spare;
        spare.addTokenValue("cook_dependent", text);
        ZEL_Template parm(ZEL_FLT);
        parm.setNoCook(before);
        EXPECT_EQ(parm.setNoCook(spare, byDefault), after);
        EXPECT_EQ(!parm.getType().isCookable(), after);
    }
}

TEST(Templates, FirstReadsFromManyThreadsAgree)
{
    ZEL_SpareData spare({"autoscope", "101"});
    for (int round = 0; round < 50; round++) {
        const ZEL_Template parm(ZEL_XYZ, 3, &theName, nullptr, nullptr, nullptr, ZEL_Callback(),
                                &spare);
        std::vector<std::string> seen(4);
        onThreads(4, [&](int i) {
            seen[size_t(i)] = channels(parm) + parm.getDecodedChannelToken(2).c_str() +
                              std::to_string(parm.getAutoScopeField()) +
                              std::to_string(parm.getAutoSelectField());
        });
        for (const std::string &text : seen) {
            EXPECT_EQ(text, "tx ty tztz5" + std::to_string(~0u));
        }
    }
}

TEST(Multis, AreIntegersOfOneComponent)
{
    ZEL_Template items[] = {{ZEL_FLT, 1, &theName}, {}};
    const ZEL_Template multi(ZEL_MULTITYPE_SCROLL | ZEL_MULTITYPE_INVISIBLE, items, 0.5, &theName);
    EXPECT_EQ(multi.getType(), ZEL_INT_E | ZEL_TYPE_INVISIBLE);
    EXPECT_TRUE(multi.isMultiType());
    EXPECT_FALSE(multi.isRampType());
    EXPECT_EQ(multi.getMultiSize(), 1.0);
    EXPECT_EQ(multi.getParmGroup(), 0);
    EXPECT_EQ(multi.getMultiParmTemplate(), items) << "borrowed";
    EXPECT_EQ(multi.getAutoScopeField(), 0u);
    EXPECT_EQ(multi.getMultiStartOffset(), 1);
    EXPECT_EQ(multi.getRangePtr(), nullptr);
    const ZEL_Template fromZero(ZEL_MULTITYPE_LIST, items, 1.0, &theName, nullptr, nullptr,
                                &ZEL_SpareData::multiStartOffsetZero);
    EXPECT_EQ(fromZero.getMultiStartOffset(), 0);
}

TEST(Multis, RampsOwnTheirKeys)
{
    int calls = 0;
    ZEL_Name name("tint#", "Tint");
    ZEL_SpareData spare({"script_callback", "run"},
                        ZEL_SpareData::Pair("script_callback_language", "python"));
    ZEL_Template ramp(ZEL_MULTITYPE_RAMP_RGB | ZEL_MULTITYPE_INVISIBLE, nullptr, 3.0, &name,
                      nullptr, nullptr, &spare, nullptr, nullptr, ZEL_Callback(countCall, &calls));
    ASSERT_NE(ramp.getMultiParmTemplate(), nullptr);
    EXPECT_TRUE(ramp.isRampTypeColor());
    EXPECT_EQ(tokens(ramp.getMultiParmTemplate()), "tint#_#pos tint#_#c tint#_#interp");
    EXPECT_EQ(ramp.getRangePtr()->constrain(0.0), 1.0);
    EXPECT_EQ(ramp.getRangePtr()->constrain(50.0), 50.0);

    const ZEL_Template copy(ramp);
    ramp.setNoCook(true);
    for (int i = 0; i < 3; i++) {
        const ZEL_Template &theirs = ramp.getMultiParmTemplate()[i];
        const ZEL_Template &own = copy.getMultiParmTemplate()[i];
        EXPECT_NE(own.getNamePtr(), theirs.getNamePtr());
        EXPECT_EQ(own.getTokenRef(), theirs.getTokenRef()) << "prefixed once";
        EXPECT_TRUE(own.getTokenRef().isCounted());
        ASSERT_NE(own.getSparePtr(), nullptr);
        EXPECT_STREQ(own.getSparePtr()->getCallbackData(), "run");
        EXPECT_EQ(own.getSparePtr()->getCallbackLanguage(), TRK_SCRIPT_PYTHON);
        EXPECT_TRUE(own.getCallback().isSet());
        EXPECT_TRUE(own.getType().isCookable());
        EXPECT_FALSE(theirs.getType().isCookable()) << "with the ramp";
    }
    EXPECT_TRUE(ramp.getMultiParmTemplate()[3].isTerminator());
    EXPECT_GT(copy.getMemoryUsage(true), ZEL_Template(ZEL_FLT).getMemoryUsage(true));

    // Initialised again from its own keys, then as other types: nothing dangles, nothing leaks.
    const auto become = [&](ZEL_Template &one, ZEL_MultiType type) {
        one.initMulti(type, one.getMultiParmTemplate(), ZEL_Template::ZEL_EXPORT_0, 1, &name,
                      nullptr, nullptr, nullptr, nullptr, nullptr, ZEL_Callback());
    };
    become(ramp, ZEL_MULTITYPE_RAMP_RGB);
    EXPECT_EQ(tokens(ramp.getMultiParmTemplate()), "tint#_#pos tint#_#c tint#_#interp");
    ZEL_Template list(ramp);
    become(list, ZEL_MULTITYPE_LIST);
    EXPECT_EQ(list.getMultiParmTemplate(), nullptr);
    ramp = ZEL_Template(ZEL_FLT, 2, &name);
    EXPECT_EQ(ramp.getMultiParmTemplate(), nullptr);
}

TEST(Ramps, TokensCarryThePrefix)
{
    const std::tuple<const char *, ZEL_MultiType, int, int, const char *> rows[] = {
        {"ramp", ZEL_MULTITYPE_RAMP_FLT, ZEL_RAMP_POSITION, 0, "ramp#pos"},
        {"ramp1", ZEL_MULTITYPE_RAMP_FLT, ZEL_RAMP_VALUE, 0, "ramp1_#value"},
        {"ramp#", ZEL_MULTITYPE_RAMP_RGB, ZEL_RAMP_VALUE, 0, "ramp#_#cr"},
        {"ramp", ZEL_MULTITYPE_RAMP_RGB, ZEL_RAMP_VALUE, 2, "ramp#cb"},
        {"ramp", ZEL_MULTITYPE_RAMP_RGB, ZEL_RAMP_VALUE, 3, "ramp#c"},
        {"ramp", ZEL_MULTITYPE_LIST, ZEL_RAMP_VALUE, 0, ""},
        {"ramp", ZEL_MULTITYPE_RAMP_RGB, 3, 0, ""},
        {"xn__a_3ab", ZEL_MULTITYPE_RAMP_FLT, ZEL_RAMP_INTERP, 0, "xn__a_3ab#interp"},
    };
    for (const auto &[token, type, index, component, channel] : rows) {
        KIT_WorkBuffer out("stale");
        ZELgetRampChannelToken(token, type, ZEL_RampParmIndex(index), component, out);
        EXPECT_STREQ(out.buffer(), channel);
    }
    ZEL_Name encoded("xn__a_3ab");
    const ZEL_Template ramp(ZEL_MULTITYPE_RAMP_FLT, nullptr, 1.0, &encoded);
    EXPECT_EQ(tokens(ZEL_Template(ramp).getMultiParmTemplate()),
              "xn__a_3ab#pos xn__a_3ab#value xn__a_3ab#interp");
    EXPECT_EQ(ZELgetRampChannelCount(ZEL_MULTITYPE_RAMP_RGB, ZEL_RAMP_VALUE), 3);
    EXPECT_EQ(ZELgetRampChannelCount(ZEL_MULTITYPE_RAMP_FLT, ZEL_RAMP_VALUE), 1);
    EXPECT_EQ(ZELgetRampChannelCount(ZEL_MULTITYPE_NONE, ZEL_RAMP_VALUE), 0);
    EXPECT_EQ(ZELcreateRampTemplate("a", ZEL_MULTITYPE_RAMP_FLT | ZEL_MULTITYPE_RAMP_RGB, nullptr,
                                    ZEL_Callback(), nullptr),
              nullptr)
        << "both bits are no ramp";
}

TEST(Ramps, InterpolationsAreNamedByTheMenu)
{
    const char *const names[] = {"constant", "linear",  "catmull-rom", "monotonecubic",
                                 "bezier",   "bspline", "hermite"};
    for (int i = 0; i < 7; i++) {
        EXPECT_EQ(ZELgetRampInterpType(names[i]), i);
        EXPECT_STREQ(ZELgetRampInterpToken(ZEL_RampInterpType(i)), names[i]);
    }
    for (const int outside : {-1, 7, 8, INT32_MAX}) {
        EXPECT_STREQ(ZELgetRampInterpToken(ZEL_RampInterpType(outside)), "");
    }
    EXPECT_EQ(ZELgetRampInterpType(""), ZEL_RAMPINTERP_LINEAR);
    EXPECT_EQ(ZELgetRampInterpType(nullptr), ZEL_RAMPINTERP_LINEAR);
    EXPECT_EQ(ZELgetRampInterpType("nonsense"), ZEL_RAMPINTERP_UNKNOWN);
}

TEST(Menus, KnowTheirSource)
{
    ZEL_Item items[] = {{"a", "A", "icon"}, {"b", nullptr, nullptr}, {}};
    ZEL_ChoiceList list(ZEL_CHOICELIST_EXCLUSIVE, items);
    EXPECT_EQ(list.getStaticSize(), 2);
    EXPECT_TRUE(list.usesItems());
    EXPECT_EQ(list.choiceNamesPtr(), nullptr);
    items[1] = ZEL_Item();
    list.updateStaticChoiceSize();
    EXPECT_EQ(list.getStaticSize(), 1);
    EXPECT_EQ(
        ZEL_ChoiceList(ZEL_CHOICELIST_TOGGLE, static_cast<ZEL_Name *>(nullptr)).getStaticSize(), 0);

    std::string text = "echo a A";
    ZEL_ChoiceList script(ZEL_CHOICELIST_REPLACE, text.c_str(), TRK_SCRIPT_PYTHON);
    text.assign(text.size(), 'x');
    const ZEL_ChoiceList copy(script);
    script = list;
    EXPECT_STREQ(copy.getScript(), "echo a A");
    EXPECT_TRUE(copy.isDynamic());
    EXPECT_EQ(copy.getStaticSize(), -1);
    EXPECT_FALSE(script.isDynamic());
    EXPECT_EQ(script.choiceItemsPtr(), items);
}
