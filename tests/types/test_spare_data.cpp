// Spare data: the map, the sharing of values, typed access, built-in tokens, filters and presets.
#include <KIT/KIT_BitArray.h>
#include <KIT/KIT_StringArray.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/sparedata/ZEL_SpareValuesPrivate.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <tuple>

namespace
{

using Spare = ZEL_SpareData;
using Pair = ZEL_SpareData::Pair;
using Map = std::map<std::string, std::string>;

/// The text, or what can't be a text of the tests.
std::string shown(const char *text)
{
    return text ? text : "(absent)";
}

Map contents(const Spare &spare)
{
    Map map;
    spare.traverseConst(
        [](const char *token, const char *value, void *data) {
            EXPECT_TRUE(static_cast<Map *>(data)->emplace(token, value).second) << token;
            return 1;
        },
        &map);
    EXPECT_EQ(map.size(), spare.entries());
    return map;
}

Spare one(const char *token, const char *value)
{
    Spare spare;
    spare.addTokenValue(token, value);
    return spare;
}

/// Built before main, from pairs that must exist by then.
Spare theEarlyRecord(Spare::usdPathTypePrimList, Spare::usdPathInputSecond);

} // namespace

TEST(SpareData, BehavesAsAMapUnderRandomEdits)
{
    std::mt19937 random(7);
    Spare spare;
    Map expected;
    for (int step = 0; step < 20000; step++) {
        const std::string token = "k" + std::to_string(random() % 60);
        const std::string value = "v" + std::to_string(random() % 9);
        switch (random() % 8) {
        case 0:
        case 1:
            spare.deleteTokenValue(KIT_StringRef(token.c_str()));
            expected.erase(token);
            break;
        case 2:
            spare.addTokenValue(token, nullptr);
            expected.erase(token);
            break;
        default: spare.addTokenValue(token, value.c_str()); expected[token] = value;
        }
        const std::string probe = "k" + std::to_string(random() % 60);
        const auto wanted = expected.find(probe);
        ASSERT_EQ(shown(spare.getValue(KIT_StringRef(probe.c_str()))),
                  wanted == expected.end() ? "(absent)" : wanted->second);
        ASSERT_EQ(spare.entries(), expected.size());
        if (step % 500 == 0) {
            const Spare copy(spare);
            ASSERT_EQ(contents(copy), expected);
        }
    }
    EXPECT_EQ(contents(spare), expected);
    spare.clear();
    EXPECT_EQ(spare.entries(), 0u);
    EXPECT_EQ(contents(spare), Map());
    for (int value = 0; value < 9; value++) {
        EXPECT_EQ(ZEL_SpareValues::uses(("v" + std::to_string(value)).c_str()), 0);
    }
}

TEST(SpareData, CopiesMergesAndCompares)
{
    const Spare base({"a", "1"}, Pair("b", ""), Pair("a", "2"));
    EXPECT_EQ(contents(base), (Map{{"a", "2"}, {"b", ""}})) << "the later pair wins";

    Spare merged({"a", "mine"});
    merged.mergeFrom(base);
    EXPECT_EQ(contents(merged), (Map{{"a", "mine"}, {"b", ""}}));
    EXPECT_FALSE(merged.containsAll(base));
    EXPECT_TRUE(merged.containsAny(base));
    EXPECT_TRUE(merged.containsAll(Spare()));
    EXPECT_FALSE(merged.containsAny(Spare()));
    EXPECT_FALSE(Spare().containsAll(base));
    EXPECT_FALSE(Spare({"a", "b"}).containsAny(base)) << "the same token, another value";

    Spare copy({"z", "gone"});
    copy = base;
    copy = *&copy;
    copy.mergeFrom(copy);
    EXPECT_EQ(contents(copy), contents(base));
    EXPECT_TRUE(copy.containsAll(base) && base.containsAll(copy));

    int calls = 0;
    base.traverseConst(
        [](const char *, const char *, void *data) {
            ++*static_cast<int *>(data);
            return 0;
        },
        &calls);
    EXPECT_EQ(calls, 1) << "a call that answers 0 is the last";
}

TEST(SpareData, NullsAndUnsetTokensAddNothing)
{
    Spare spare({"x", "1"});
    spare.addTokenValue("y", nullptr);
    spare.addTokenValue("x", nullptr);
    spare.addTokenValue("x", nullptr);
    spare.addTokenValue(KIT_StringHolder(), "1");
    spare.deleteTokenValue(KIT_StringRef());
    EXPECT_EQ(spare.entries(), 0u);
    EXPECT_EQ(spare.getValue(KIT_StringRef()), nullptr);
    spare.addTokenValue("", "empty token");
    EXPECT_EQ(contents(spare), (Map{{"", "empty token"}}));
}

TEST(SpareData, EqualValuesAreOneText)
{
    const KIT_StringRef value("a value that nobody else has");
    ASSERT_EQ(ZEL_SpareValues::uses(value), 0);
    {
        Spare first, second;
        first.addTokenValue("a", value.c_str());
        second.addTokenValue("b", std::string(value.c_str()).c_str());
        second.addTokenValue("c", value.c_str());
        EXPECT_EQ(first.getValue("a"), second.getValue("b"));
        EXPECT_EQ(first.getValue("a"), second.getValue("c"));
        EXPECT_NE(first.getValue("a"), value.c_str()) << "the caller's text is copied";
        EXPECT_EQ(ZEL_SpareValues::uses(value), 3);

        const auto copy = std::make_unique<Spare>(second);
        EXPECT_EQ(copy->getValue("c"), first.getValue("a"));
        EXPECT_EQ(ZEL_SpareValues::uses(value), 5);
        first.mergeFrom(*copy);
        EXPECT_EQ(ZEL_SpareValues::uses(value), 7);

        first.addTokenValue("a", first.getValue("a")); // its own text as the new value
        EXPECT_EQ(ZEL_SpareValues::uses(value), 7);
        EXPECT_STREQ(first.getValue("a"), value.c_str());
        first.addTokenValue("a", "another");
        first.deleteTokenValue("b");
        EXPECT_EQ(ZEL_SpareValues::uses(value), 5);
        first.clear();
        EXPECT_EQ(ZEL_SpareValues::uses("another"), 0);
        second = Spare();
        EXPECT_EQ(ZEL_SpareValues::uses(value), 2);
        EXPECT_STREQ(copy->getValue("b"), value.c_str()) << "others' uses keep it";
    }
    EXPECT_EQ(ZEL_SpareValues::uses(value), 0);
}

TEST(SpareData, TextsReadAndSetTheirTokens)
{
    using Get = const char *(Spare::*)() const;
    using Set = void (Spare::*)(const char *); // null: no setter
    const std::tuple<const char *, Get, Set> rows[] = {
        {"script_callback", &Spare::getCallbackData, &Spare::setCallbackData},
        {"script_action", &Spare::getScriptAction, nullptr},
        {"script_action_help", &Spare::getScriptActionHelp, nullptr},
        {"script_action_icon", &Spare::getScriptActionIcon, nullptr},
        {"script_ritype", &Spare::getRenderManType, &Spare::setRenderManType},
        {"opfilter", &Spare::getOpFilter, &Spare::setOpFilter},
        {"oprelative", &Spare::getOpRelative, &Spare::setOpRelative},
        {"button_icon", &Spare::getButtonIcon, nullptr},
        {"rampcolordefault", &Spare::getColorRampDefaultValue, nullptr},
        {"rampfloatdefault", &Spare::getFloatRampDefaultValue, nullptr},
        {"rampbasisdefault", &Spare::getRampBasisDefault, &Spare::setRampBasisDefault},
        {"rampbasis_var", &Spare::getRampBasisVar, &Spare::setRampBasisVar},
        {"rampkeys_var", &Spare::getRampKeysVar, &Spare::setRampKeysVar},
        {"rampvalues_var", &Spare::getRampValuesVar, &Spare::setRampValuesVar},
        {"editorlang", &Spare::getEditorLanguage, nullptr},
        {"orvane::key_value_dict_key_label", &Spare::getKeyValueDictKeyLabel,
         &Spare::setKeyValueDictKeyLabel},
        {"orvane::key_value_dict_value_label", &Spare::getKeyValueDictValueLabel,
         &Spare::setKeyValueDictValueLabel},
        {"orvane::key_value_dict_chooser_label", &Spare::getKeyValueDictChooserLabel,
         &Spare::setKeyValueDictChooserLabel},
        {"orvane::key_value_dict_chooser_callback", &Spare::getKeyValueDictChooserCallback,
         &Spare::setKeyValueDictChooserCallback},
        {"orvane::look", &Spare::getLookValue, &Spare::setLookValue},
        {"orvane::layout_height", &Spare::getLayoutHeightValue, &Spare::setLayoutHeightValue},
        {"orvane::save_value", &Spare::getSaveValue, nullptr},
        {"orvane::usdpathtype", &Spare::getUsdPathType, nullptr},
        {"orvane::usdpathinput", &Spare::getUsdPathInput, nullptr},
        {"xcfmode", &Spare::getXCFMode, &Spare::setXCFMode},
    };
    for (const auto &[token, get, set] : rows) {
        EXPECT_EQ((Spare().*get)(), nullptr) << token;
        Spare spare = one(token, "text");
        EXPECT_STREQ((spare.*get)(), "text") << token;
        if (set) {
            (spare.*set)("");
            EXPECT_EQ(contents(spare), (Map{{token, ""}}));
            (spare.*set)(nullptr);
            EXPECT_EQ(spare.entries(), 0u) << token;
        }
    }
}

TEST(SpareData, FlagsAndNumbersReadTheirTexts)
{
    // What each text reads as; the first stands for no entry.
    static const char *const texts[] = {"(absent)", "",     "0",     "1",  "-3",
                                        "7x",       "True", "FALSE", "010"};
    const std::tuple<const char *, bool (Spare::*)() const, const char *> flags[] = {
        {"code_generation", &Spare::getCodeGenDependent, "100101011"},
        {"cook_dependent", &Spare::getCookDependent, "000101101"},
        {"varying_default", &Spare::getHasVaryingDefault, "000101101"},
        {"colorwheel", &Spare::getColorWheel, "000111101"},
        {"colordyn", &Spare::getColorDynamic, "000111001"},
        {"editor", &Spare::getUseEditor, "000111001"},
        {"orvane::key_value_dict_use_chooser", &Spare::getKeyValueDictUseChooser, "000111001"},
        {"rampshowcontrolsdefault", &Spare::getRampShowControlsDefault, "110111110"},
        {"script_unquoted", &Spare::getUnquotedState, "011111111"},
    };
    const int numbers[] = {1, 1, 0, 1, -3, 7, 0, 0, 10};
    for (size_t i = 0; i < std::size(texts); i++) {
        for (const auto &[token, get, expected] : flags) {
            const Spare spare = i ? one(token, texts[i]) : Spare();
            EXPECT_EQ((spare.*get)(), expected[i] == '1') << token << " " << texts[i];
        }
        const Spare spare = i ? one("multistartoffset", texts[i]) : Spare();
        EXPECT_EQ(spare.getMultiStartOffset(), numbers[i]) << texts[i];
    }
}

TEST(SpareData, SettersStoreTheirTexts)
{
    const auto stored = [](const char *token, const std::function<void(Spare &)> &set) {
        Spare spare = one(token, "before");
        set(spare);
        EXPECT_EQ(spare.entries(), spare.getValue(token) ? 1u : 0u) << token;
        return shown(spare.getValue(token));
    };
    // What is stored for true and for false.
    const std::tuple<const char *, void (Spare::*)(bool), const char *, const char *> flags[] = {
        {"code_generation", &Spare::setCodeGenDependent, nullptr, "0"},
        {"cook_dependent", &Spare::setCookDependent, "1", nullptr},
        {"varying_default", &Spare::setHasVaryingDefault, "1", nullptr},
        {"colorwheel", &Spare::setColorWheel, "1", nullptr},
        {"colordyn", &Spare::setColorDynamic, "1", nullptr},
        {"rampshowcontrolsdefault", &Spare::setRampShowControlsDefault, "1", "0"},
        {"orvane::save_value", &Spare::setSaveValue, "1", "0"},
        {"script_unquoted", &Spare::setUnquotedState, "1", nullptr},
    };
    for (const auto &[token, set, on, off] : flags) {
        const auto setter = set;
        EXPECT_EQ(stored(token, [&](Spare &s) { (s.*setter)(true); }), shown(on));
        EXPECT_EQ(stored(token, [&](Spare &s) { (s.*setter)(false); }), shown(off));
    }
    const std::tuple<const char *, void (*)(Spare &), const char *> others[] = {
        // clang-format off
        {"orvane::key_value_dict_use_chooser",
         [](Spare &s) { s.setKeyValueDictUseChooser(true); }, "1"},
        {"multistartoffset", [](Spare &s) { s.setMultiStartOffset(INT32_MIN); }, "-2147483648"},
        {"script_callback_language",
         [](Spare &s) { s.setCallbackLanguage(TRK_SCRIPT_PYTHON); }, "python"},
        {"colortype", [](Spare &s) { s.setColorType(ZEL_COLORTYPE_TMI); }, "tmi"},
        {"colortype", [](Spare &s) { s.setColorType(ZEL_ColorType(-1)); }, "val"},
        {"rampcolortype", [](Spare &s) { s.setRampColorType(KIT_COLORTYPE_XYZ); }, "xyz"},
        // clang-format on
    };
    for (const auto &[token, set, text] : others) {
        EXPECT_EQ(stored(token, set), text);
    }
}

TEST(SpareData, WordsGiveTheirTypes)
{
    const char *const colors[] = {"val", "rgb", "hsv", "tmi", "hide"};
    const char *const ramps[] = {"hsl", "hsv", "rgb", "xyz", "lab"};
    for (int i = 0; i < 5; i++) {
        EXPECT_STREQ(Spare::getColorTypeValueToken(ZEL_ColorType(i)), colors[i]);
        EXPECT_EQ(one("colortype", colors[i]).getColorType(), i);
        EXPECT_STREQ(Spare::getRampColorTypeValueToken(KIT_ColorType(i)), ramps[i]);
        EXPECT_EQ(one("rampcolortype", ramps[i]).getRampColorType(), i);
    }
    EXPECT_EQ(one("colortype", "cmyk").getColorType(), ZEL_COLORTYPE_VAL);
    EXPECT_EQ(Spare().getColorType(), ZEL_COLORTYPE_VAL);
    EXPECT_EQ(Spare().getRampColorType(), KIT_COLORTYPE_RGB);
    EXPECT_EQ(one("script_callback_language", "python").getCallbackLanguage(), TRK_SCRIPT_PYTHON);
    EXPECT_EQ(Spare().getCallbackLanguage(), TRK_SCRIPT_COMMAND);
    EXPECT_STREQ(Spare::getXCFModeFloatValToken(), Spare::stringFloatXCF.getXCFMode());
}

TEST(SpareData, EditorLinesAreOrderedAndAtLeastOne)
{
    const std::tuple<const char *, int, int> rows[] = {
        {"(absent)", 8, 40}, {"", 8, 40},      {"12", 12, 12},  {"0", 1, 1},
        {"-4", 1, 1},        {"5 20", 5, 20},  {"20 5", 5, 20}, {"5-20", 5, 20},
        {"5,20", 5, 20},     {" 3  0 ", 1, 3}, {"-2 6", 1, 6},  {"5 6 7", 8, 40},
        {"5 x", 8, 40},      {"x", 8, 40},     {"5-", 8, 40},   {"1.5", 8, 40},
    };
    for (const auto &[text, wantedMin, wantedMax] : rows) {
        const Spare spare = text[0] == '(' ? Spare() : one("editorlines", text);
        int min = -1, max = -1;
        spare.getEditorLinesRange(min, max);
        EXPECT_EQ(min, wantedMin) << text;
        EXPECT_EQ(max, wantedMax) << text;
    }
}

TEST(SpareData, TabsShowUnlessToldOtherwise)
{
    Spare spare;
    KIT_BitArray tabs(70);
    tabs.setBit(0, true);
    tabs.setBit(69, true);
    spare.setVisibleTabs(tabs);
    EXPECT_EQ(shown(spare.getValue("visibletabs")), "1" + std::string(68, '0') + "1");
    tabs.setSize(0);
    spare.getVisibleTabs(tabs);
    EXPECT_EQ(tabs.size(), 70);
    EXPECT_EQ(tabs.numBitsSet(), 2);

    spare.addTokenValue("visibletabs", "10x");
    tabs.setAll(true);
    spare.getVisibleTabs(tabs);
    EXPECT_EQ(tabs.size(), 3);
    std::string visible;
    for (int i = -1; i < 6; i++) {
        visible += spare.getVisibleTab(i) ? '1' : '0';
        EXPECT_EQ(tabs.getBit(i), i == 0) << i;
    }
    EXPECT_EQ(visible, "1100111") << "from -1 on";

    spare.setVisibleTabs(KIT_BitArray());
    EXPECT_EQ(spare.entries(), 0u);
    EXPECT_TRUE(spare.getVisibleTab(0));
    spare.getVisibleTabs(tabs);
    EXPECT_EQ(tabs.size(), 0);
}

TEST(SpareData, BuiltInTokensAreAClosedList)
{
    KIT_StringArray tokens;
    tokens.append("mine");
    Spare::builtInTokens(tokens);
    ASSERT_EQ(tokens.entries(), 66);
    EXPECT_STREQ(tokens[0].c_str(), "mine");
    EXPECT_STREQ(tokens[1].c_str(), "orvane::key_value_dict_key_label");
    EXPECT_STREQ(tokens[24].c_str(), "orvane::allow_video");
    EXPECT_STREQ(tokens[65].c_str(), "xcfmode");
    std::set<std::string> seen;
    for (int i = 1; i < 66; i++) {
        EXPECT_TRUE(seen.insert(tokens[i].c_str()).second) << tokens[i].c_str();
        EXPECT_TRUE(Spare::isBuiltInToken(KIT_StringRef(tokens[i].c_str()))) << tokens[i].c_str();
    }
    for (const char *other : {"visibletabs", "varying_default", "Units", "unit", "mine", ""}) {
        EXPECT_FALSE(Spare::isBuiltInToken(other)) << other;
    }
    EXPECT_FALSE(Spare::isBuiltInToken(KIT_StringRef()));
}

TEST(SpareData, FiltersConvertBothWays)
{
    using Convert = const char *(*)(const char *);
    const Convert keyFromName = &Spare::getOpFilterKeyFromName;
    const Convert nameFromKey = &Spare::getOpFilterNameFromKey;
    const Convert keyFromLabel = &Spare::getOpFilterKeyFromLabel;
    const Convert labelFromKey = &Spare::getOpFilterLabelFromKey;
    const std::tuple<Convert, const char *, const char *> rows[] = {
        {keyFromName, "nods", "!!NODS!!"},
        {keyFromName, "OBJECT", "!!NODS!!"},
        {keyFromName, "Nods/Geo", "!!NODS/GEOMETRY!!"},
        {keyFromName, "nods/null", "!!NODS/NULL!!"}, // the first of two rows
        {keyFromName, "matn/displace", "!!MATN/DISPLACEMENT!!"},
        {keyFromName, "matn/shadow", "!!MATN/LIGHT_SHADOW!!"},
        {keyFromName, "matn/fog", "!!MATN/ATMOSPHERE!!"},
        {keyFromName, "tskn/partitioners", "!!TSKN/PARTITIONER!!"},
        {keyFromName, "all", ""},
        {keyFromName, "!!NODS!!", "!!NODS!!"}, // a key is no name, so it comes back
        {keyFromName, "my/own", "my/own"},
        {keyFromName, "", nullptr},
        {keyFromName, nullptr, nullptr},
        {nameFromKey, "!!nods!!", "nods"},
        {nameFromKey, "!!OUTN!!", "outn"},
        {nameFromKey, "!!NODS/Null!!", "nods/null"},
        {nameFromKey, "!!TSKN/MAPPER!!", "tskn/mappers"},
        {nameFromKey, "!!MINE!!", "!!MINE!!"},
        {nameFromKey, "", nullptr},
        {nameFromKey, nullptr, nullptr},
        {keyFromLabel, "any object", "!!NODS!!"},
        {keyFromLabel, "MATN: Surface Only", "!!MATN/SURFACE!!"},
        {keyFromLabel, "Any Operator", ""},
        {keyFromLabel, "TSKN: Mappers Only", "!!TSKN/MAPPER!!"},
        {labelFromKey, "!!NODS/GEOMETRY!!", "Object: Geometry Only"},
        {labelFromKey, "!!CUSTOM/MATERIAL!!", "Any Material"},
        {labelFromKey, "!!TSKN/SCHEDULER!!", "TSKN: Schedulers Only"},
        {labelFromKey, "free text", "free text"},
        {labelFromKey, "", nullptr},
    };
    for (const auto &[convert, text, expected] : rows) {
        EXPECT_EQ(shown(convert(text)), shown(expected)) << shown(text);
    }
}

TEST(SpareData, PresetsHoldTheirEntries)
{
    const std::tuple<Spare, Map> rows[] = {
        {Spare::nodsPath, {{"opfilter", "!!NODS!!"}, {"oprelative", "."}}},
        {Spare::tsknMapperPath, {{"opfilter", "!!TSKN/MAPPER!!"}, {"oprelative", "."}}},
        {Spare::matnContourStore, {{"opfilter", "!!MATN/CONTOUR_STORE!!"}, {"oprelative", "."}}},
        {Spare::constraintsPath,
         {{"opfilter", "!!WAVN"},
          {"oprelative", "."},
          {"script_action_help", ""},
          {"script_action_icon", "BUTTONS_add_constraints"},
          {"script_action", "import nodetoolkit\nnodetoolkit.constraintsMenu(kwargs)"}}},
        {Spare::autoScope, {{"autoscope", std::string(31, '1')}}},
        {Spare::groupTypeCollapsibleExpanded,
         {{"group_type", "collapsible"}, {"group_default", "1"}}},
        {Spare::rampBasisDefault, {{"rampbasis", "ramp_basis"}}},
        {Spare::varyingDefault, {{"varying_default", "1"}}},
        {Spare::unitsNone, {{"units", ""}}},
        {Spare::unitsTorque, {{"units", "kg1m2s-2"}}},
        {Spare::unitsPressure, {{"units", "kg1m-1s-2"}}},
        {theEarlyRecord, {{"orvane::usdpathtype", "primlist"}, {"orvane::usdpathinput", "1"}}},
    };
    for (const auto &[record, expected] : rows) {
        EXPECT_EQ(contents(record), expected);
    }
    EXPECT_TRUE(Spare::groupTypeSimple.containsAll(Spare(Spare::groupTypeSimpleToken)));
    EXPECT_EQ(Spare::unitsPerTime.getValue("units"), Spare::unitsAngVelocity.getValue("units"));
}

TEST(SpareData, PresetsAreConsistent)
{
    const std::tuple<const char *, const Spare *> rows[] = {
#define ZEL_SPARE_RECORD(name, ...) {#name, &Spare::name},
#include <ZEL/ZEL_SpareDataPresets.def>
    };
    EXPECT_EQ(std::size(rows), 122u);
    for (const auto &[name, record] : rows) {
        EXPECT_GE(record->entries(), 1u) << name;
        const char *filter = record->getOpFilter();
        EXPECT_EQ(shown(record->getOpRelative()), filter ? "." : "(absent)") << name;
        if (filter && record != &Spare::constraintsPath) {
            const std::string text(filter);
            EXPECT_GT(text.size(), 4u) << name;
            EXPECT_EQ(text.substr(0, 2) + text.substr(text.size() - 2), "!!!!") << name;
        }
        for (const auto &[token, value] : contents(*record)) {
            EXPECT_EQ(Spare::isBuiltInToken(token.c_str()), record != &Spare::varyingDefault)
                << name << " " << token;
            EXPECT_GE(ZEL_SpareValues::uses(value.c_str()), 1) << name;
        }
    }
}
