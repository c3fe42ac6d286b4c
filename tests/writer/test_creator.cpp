#include "writer/Rewrite.h"

#include <DS/DS_Creator.h>
#include <DS/DS_DefaultValue.h>
#include <DS/DS_DisableInfo.h>
#include <DS/DS_ParmInfo.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <tuple>

namespace
{

/// A dialog made by hand.
class HandMade : public DS_ParmReader
{
public:
    using DS_ParmReader::DS_ParmReader;

    void subclassHook1() override {}
    void subclassHook2() override {}
    void prepareParms() override {}
    const char *getDialogName() override { return "the \"name\""; }
    const char *getDialogScript() override { return "source.ds"; }
    const char *getDialogLabel() override { return "Label"; }
    const char *getHelpText() override { return help.c_str(); }
    const char *getInfoText() override { return info.c_str(); }
    const char *getInputLabel(int input) override { return input == 1 ? "Second" : ""; }
    int getNumInputLabels() const override { return inputs; }

    DS_ParmInfo &add(const char *name, const char *group = "")
    {
        auto *const parm = new DS_ParmInfo(name);
        parm->exportLevel = 3;
        parm->group = group;
        myParms.append(parm);
        return *parm;
    }
    void addGroup(const char *group) { myGroups.append(strdup(group)); }
    void bind()
    {
        auto *const unbound = new DS_SelectorBinding("", "t", "d\"", "p", "", "m");
        unbound->setInputIndex(2);
        unbound->setInputRequired(1);
        myUnboundSelectors.append(unbound);
        auto *const reserved = new DS_SelectorBinding("parm", "t", "d", "p", "mask", "m");
        reserved->setAsterisk(1);
        reserved->setDragging(1);
        myReservedSelectors.append(reserved);
        myReservedHandles.append(new DS_HandleBinding("r", "t", "l", "d", "s"));
        myBoundHandles.append(new DS_HandleBinding("b", "t", "l\\", "d", "s"));
        myBoundHandles.append(new DS_HandleBinding("c", "t", "l", "d", "s"));
    }

    std::string help;
    std::string info;
    int inputs = 0;
};

/// The parameter section alone, with tabs as four columns each.
std::string parmsOf(DS_ParmReader &reader)
{
    std::string text = written(reader);
    const std::string start = "    }\n\n";
    text.erase(0, text.find(start) + start.size());
    return text.substr(0, text.rfind("}\n"));
}

std::string parmText(const std::function<void(DS_ParmInfo &)> &set)
{
    DS_ParmInfo info("p");
    info.exportLevel = 3;
    set(info);
    std::ostringstream os;
    DS_Creator::printParm(os, info);
    return os.str();
}

template <class T>
KIT_ValArray<T> arrayOf(std::initializer_list<T> values)
{
    KIT_ValArray<T> array;
    for (const T &value : values) {
        array.append(value);
    }
    return array;
}

DS_DefaultValue textDefault(std::initializer_list<const char *> texts,
                            std::initializer_list<TRK_StringMeaning> meanings)
{
    KIT_StringArray array;
    for (const char *text : texts) {
        array.append(text);
    }
    return DS_DefaultValue(array, arrayOf(meanings));
}

/// A parameter and the lines between its type and its end.
const std::pair<void (*)(DS_ParmInfo &), const char *> theParmCases[] = {
    {[](DS_ParmInfo &) {}, "type\tfloat\n"},
    {[](DS_ParmInfo &i) {
         i.setInvisible();
         i.type |= ZEL_TYPE_JOIN_NEXT | ZEL_TYPE_LABEL_NONE;
     },
     "type\tfloat\n\tinvisible\n\tnolabel\n\tjoinnext\n"},
    {[](DS_ParmInfo &i) { i.size = 0; }, "type\tfloat\n\tsize\t0\n"},
    {[](DS_ParmInfo &i) { i.setTypeByToken("vector"); }, "type\tvector\n\tsize\t3\n"},
    {[](DS_ParmInfo &i) { i.exportLevel = 0; }, "type\tfloat\n\texport\tnone\n"},
    {[](DS_ParmInfo &i) { i.exportLevel = 2; }, "type\tfloat\n\texport\tall\n"},
    {[](DS_ParmInfo &i) { i.exportLevel = -1; }, "type\tfloat\n"},
    {[](DS_ParmInfo &i) {
         i.size = 2;
         i.menuType = 2;
         i.menuChoices.append(new DS_MenuChoice("a", "A \"quoted\""));
     },
     "type\tinteger\n\tmenu\t{\n\t    \"a\"\t\"A \\\"quoted\\\"\"\n\t}\n"}, // without its size
    {[](DS_ParmInfo &i) {
         i.type = ZEL_FILE;
         i.menuType = 1;
         i.menuChoices.append(new DS_MenuChoice("", ""));
     },
     "type\tstring\n\tmenureplace\t{\n\t    \"\"\t\"\"\n\t}\n"},
    {[](DS_ParmInfo &i) {
         i.type = ZEL_BUTTONSTRIP;
         i.menuType = 7;
         i.menuChoices.append(new DS_MenuChoice("a", "A"));
     },
     "type\tbuttonstrip\n\tmenutoggle\t{\n\t    \"a\"\t\"A\"\n\t}\n"},
    {[](DS_ParmInfo &i) {
         i.type = ZEL_STRING;
         i.menuScript = "one\n\"two\"";
         i.menuLanguage = TRK_SCRIPT_PYTHON;
     },
     "type\tstring\n\tmenu\t{\n\t    [ one ]\n\t    [ \"two\" ]\n\tlanguage\tpython\n\t}\n"},
    {[](DS_ParmInfo &i) {
         i.callback = "say \"x\"";
         i.addHelpText("two\n");
         i.addHelpText("lines");
         i.rmanType = "shader";
         i.opFilter = "nods/geo";
     },
     "type\tfloat\n\tcallback\t\"say \\\"x\\\"\"\n\thelp\t\"two\\nlines\"\n"
     "\tparmtag\t{ script_ritype\t\"shader\" }\n\topfilter\t\"nods/geo\"\n"},
    {[](DS_ParmInfo &i) {
         i.size = 2;
         i.defaults = std::make_unique<DS_DefaultValue>(arrayOf({0.1, -2e6, 3.0}));
     },
     "type\tfloat\n\tsize\t2\n\tdefault\t{ 0.1 -2000000 }\n"}, // no more than components
    {[](DS_ParmInfo &i) {
         i.setTypeByToken("int");
         i.defaults = std::make_unique<DS_DefaultValue>(arrayOf({1000000}));
     },
     "type\tinteger\n\tdefault\t{ 1000000 }\n"},
    // The quote behind a meaning is left out.
    {[](DS_ParmInfo &i) {
         i.size = 2;
         i.defaults = std::make_unique<DS_DefaultValue>(
             textDefault({"a\"b", "ch(\"x\")"}, {TRK_MEANING_LITERAL, TRK_MEANING_NATIVE}));
     },
     "type\tfloat\n\tsize\t2\n\tdefault\t{ \"a\\\"b\" [ \"ch(\\\"x\\\") expression] }\n"},
    {[](DS_ParmInfo &i) {
         i.size = -3;
         i.defaults = std::make_unique<DS_DefaultValue>(arrayOf({1}));
     },
     "type\tfloat\n\tsize\t-3\n"}, // no default without components
    {[](DS_ParmInfo &i) {
         i.range = std::make_unique<ZEL_Range>(ZEL_RANGE_HARD, 0, ZEL_RANGE_UI, 100000);
     },
     "type\tfloat\n\trange\t { 0! 100000 }\n"},
    {[](DS_ParmInfo &i) {
         i.range = std::make_unique<ZEL_Range>(ZEL_RANGE_UI, 0.12345678901, ZEL_RANGE_PARM, 1e300);
     },
     "type\tfloat\n\trange\t { 0.12345678901 1e+300! }\n"},
    {[](DS_ParmInfo &i) {
         i.range = std::make_unique<ZEL_Range>(ZEL_RANGE_FREE, 1, ZEL_RANGE_FREE, 2);
     },
     "type\tfloat\n\trange\t { -1.7976931348623157e+308 1.7976931348623157e+308 }\n"},
    {[](DS_ParmInfo &i) {
         i.disableWhen = "\"{ a == 1 }\"";
         i.hideWhen = "{ { b 2 } }";
         i.disableInfo.append(new DS_DisableInfo);
     },
     "type\tfloat\n\tdisablewhen \"{ a == 1 }\"\n\thidewhen { { b 2 } }\n"}, // as they stand
    {[](DS_ParmInfo &i) {
         auto *const first = new DS_DisableInfo;
         first->addInfo("a", "1");
         first->addInfo("b", nullptr);
         i.disableInfo.append(first);
         auto *const second = new DS_DisableInfo;
         second->addInfo("c", "3");
         i.disableInfo.append(second);
     },
     "type\tfloat\n\tdisablewhen { { a 1  b  }  { c 3 } }\n"},
    {[](DS_ParmInfo &i) {
         i.attributes.append(new DS_AttributeValue("t\\", "v\n"));
         i.handles.append(new DS_HandleBinding("tx", "xform", "L", "D", "S"));
         i.selector =
             std::make_unique<DS_SelectorBinding>("", "type", "desc", "prompt", "0xff", "menu");
         i.selector->setDragging(1);
     },
     "type\tfloat\n\tparmtag { \"t\\\\\" \"v\\n\" }\n\tbindhandle tx xform \"L\" \"D\" \"S\"\n"
     "\tbindselector\ttype \"desc\" \"prompt\" 0 1 \"0xff\" 0 menu 0\n"},
};

/// A type keyword, what it makes ("-": it is refused), its size, and what the type is called.
const char *const theWords =
    "int ZEL_INT_E 1 integer; integer ZEL_INT_E 1 integer; float ZEL_FLT_E 1 float; "
    "angle ZEL_ANGLE_E 1 angle; string ZEL_STRING 1 string; oppath ZEL_STRING 1 string; "
    "oplist ZEL_STRING 1 string; object ZEL_STRING 1 string; "
    "objectlist ZEL_STRING 1 string; render ZEL_STRING 1 string; file ZEL_FILE 1 file; "
    "directory ZEL_DIRECTORY 1 file; image ZEL_PICFILE 1 image; "
    "geometry ZEL_GEOFILE 1 geometry; toggle ZEL_TOGGLE 1 toggle; embed ZEL_TOGGLE 1 embed; "
    "button ZEL_CALLBACK 1 button; vector2 ZEL_XYZ_E 2 vector; vector ZEL_XYZ_E 3 vector; "
    "vector3 ZEL_XYZ_E 3 vector; vector4 ZEL_XYZ_E 4 vector4; "
    "intvector2 ZEL_INT_XYZ_E 2 integer; intvector4 ZEL_INT_XYZ_E 4 integer; "
    "uv ZEL_UVW_E 2 uv; uvw ZEL_UVW_E 3 uvw; dir ZEL_DIRECTION_E 3 direction; "
    "direction ZEL_DIRECTION_E 3 direction; color ZEL_RGB_E 3 color; rgb ZEL_RGB_E 3 color; "
    "color4 ZEL_RGB_E 4 color4; rgba ZEL_RGB_E 4 color4; "
    "separator ZEL_SEPARATOR 1 separator; geometrydata ZEL_GEOMETRY 1 geometrydata; "
    "keyvaluedict ZEL_KEY_VALUE_DICT 1 keyvaluedict; label ZEL_LABEL 1 label; "
    "rgbamask ZEL_RGBAMASK 1 rgbamask; ramp_flt ZEL_INT_E 1 ramp_flt; "
    "ramp_rgb ZEL_INT_E 1 ramp_rgb; log ZEL_FLT_LOG_E 1 log; intlog ZEL_INT_LOG_E 1 intlog; "
    "data ZEL_DATA 1 data; float_minmax ZEL_FLT_MINMAX_E 1 float_minmax; "
    "int_minmax ZEL_INT_MINMAX_E 1 int_minmax; "
    "int_startend ZEL_INT_STARTEND_E 1 int_startend; "
    "buttonstrip ZEL_BUTTONSTRIP 1 buttonstrip; ordinal ZEL_FLT_E 1 float; "
    "iconstrip - 1 float; Float - 1 float; wibble - 1 float";

} // namespace

TEST(Creator, TypesByWordAndBack)
{
    std::istringstream rows(theWords);
    for (std::string row; std::getline(rows, row, ';');) {
        std::string word, type, back;
        int size = 0;
        std::istringstream(row) >> word >> type >> size >> back;
        DS_ParmInfo info("p");
        EXPECT_EQ(info.setTypeByToken(word.c_str()), type != "-") << word;
        EXPECT_EQ(ZELgetTypeConstantName(info.type), type == "-" ? "ZEL_FLT_E" : type) << word;
        EXPECT_EQ(info.size, size) << word;
        EXPECT_EQ(info.getTypeToken(), back) << word;
    }
    DS_ParmInfo info("p");
    EXPECT_FALSE(info.setTypeByToken(nullptr));
    EXPECT_TRUE(info.setTypeByToken("embed"));
    EXPECT_TRUE(info.setTypeByToken("toggle"));
    EXPECT_STREQ(info.getTypeToken(), "toggle");
    const std::pair<ZEL_Type, const char *> others[] = {{ZEL_ICONSTRIP, "iconstrip"},
                                                        {ZEL_STRING_OPLIST, "oplist"},
                                                        {ZEL_STRING_OPREF, "oppath"},
                                                        {ZEL_ORD_E, "integer"}};
    for (const auto &[type, token] : others) {
        info.type = type;
        EXPECT_STREQ(info.getTypeToken(), token);
    }
}

TEST(Creator, DefaultsOfAllForms)
{
    DS_DefaultValue value(arrayOf({0.5f}));
    EXPECT_EQ(value.getFloat(0), 0.5);
    EXPECT_EQ(value.getString(0), std::string());
    value.copy(arrayOf<int64_t>({5, (int64_t(1) << 32) + 7}));
    EXPECT_EQ(value.getSize(), 2);
    EXPECT_EQ(value.getInteger(1), 7);
    EXPECT_EQ(value.getFloat(0), 0.0);
    const char *const texts[] = {"a", nullptr};
    value.copy(texts, nullptr, 2);
    EXPECT_STREQ(value.getString(0), "a");
    EXPECT_STREQ(value.getString(1), "");
    EXPECT_EQ(value.getStringMeaning(1), TRK_MEANING_LITERAL);
    value = textDefault({"x", "y"}, {TRK_MEANING_PYTHON}); // fewer meanings than texts
    EXPECT_EQ(value.getStringMeaning(0), TRK_MEANING_PYTHON);
    EXPECT_EQ(value.getStringMeaning(1), TRK_MEANING_LITERAL);
    EXPECT_EQ(value.getInteger(0), 0);
    for (const int out : {-1, 2}) {
        EXPECT_STREQ(value.getString(out), "");
        EXPECT_EQ(value.getStringMeaning(out), TRK_MEANING_LITERAL);
    }
}

TEST(Creator, Parameters)
{
    for (const auto &[set, lines] : theParmCases) {
        const std::string head = "    parm {\n\tname\tp\n\tlabel\t\"p\"\n\t";
        EXPECT_EQ(parmText(set), head + lines + "    }\n");
    }
    EXPECT_EQ(parmText([](DS_ParmInfo &info) { info.setIsArray(true); }), "");
    // Names and labels stand as they are.
    const std::string bytes = "a\"b\\c\n\x01\xff{}[]//" + std::string(100000, 'x');
    EXPECT_EQ(parmText([&](DS_ParmInfo &info) { info.name = info.label = bytes.c_str(); }),
              "    parm {\n\tname\t" + bytes + "\n\tlabel\t\"" + bytes +
                  "\"\n\ttype\tfloat\n    }\n");
}

TEST(Creator, IndentsAreHalfTabs)
{
    const char *const expected[] = {"", "    ", "\t", "\t    ", "\t\t", "\t\t    "};
    for (const int level : {-1, 0, 1, 2, 3, 4, 2, 2, 0}) {
        EXPECT_STREQ(DS_Creator::getIndent(level), expected[level + 1]) << level;
    }
}

TEST(Creator, WholeDialog)
{
    HandMade reader;
    reader.help = "One \"line\"\n\nthree\n";
    reader.info = "first\nsecond";
    reader.inputs = 3;
    reader.bind();
    EXPECT_EQ(written(reader, nullptr),
              "/*\n"
              " * Velmora Dialog Script generated automatically\n"
              " * by DScreator from source file source.ds\n"
              " * Generated: TIME\n"
              " */\n\n"
              "{\n"
              "    name\t\"the \\\"name\\\"\"\n"
              "    script\t\"source.ds\"\n"
              "    label\t\"Label\"\n"
              "\n"
              "    help {\n\t\"One \\\"line\\\"\"\n\t\"\"\n\t\"three\"\n    }\n"
              "    info\t\"first\"\n    info\t\"second\"\n"
              "\n"
              "    bindselector\tt \"d\\\"\"\n\t\"p\"\n\t\"\"\"\" 2 \"m\" 1\n"
              "\n"
              "    bindselectorreserved\tparm t \"d\"\n\t\"p\"\n\t1 1 \"mask\" 0 \"m\" 0\n"
              "\n"
              "    bindhandlereserved\tr t \"l\" d \"s\"\n"
              "\n"
              "    bindhandle\tb t \"l\\\\\" d \"s\"\n"
              "    bindhandle\tc t \"l\" d \"s\"\n"
              "\n"
              "    inputlabel\t2\tSecond\n"
              "\n"
              "}\n");
}

TEST(Creator, FoldersByPath)
{
    HandMade reader(1, 0, 0);
    reader.addGroup("a/b");
    reader.add("one", "a/b").setIsArray(true); // still opens its folder
    reader.add("two", "/a//c c");
    reader.add("three");
    EXPECT_EQ(parmsOf(reader), "    group {\n\tname\tg0\n\tlabel\ta\n\n"
                               "\tgroup {\n\t    name\tg1\n\t    label\tb\n\n"
                               "\t} // End of Group: b\n\n"
                               "\tgroup {\n\t    name\tg2\n\t    label\tc c\n\n"
                               "\t    parm {\n\t\tname\ttwo\n\t\tlabel\t\"two\"\n\t\ttype\tfloat\n"
                               "\t    }\n"
                               "\t} // End of Group: c c\n\n"
                               "    } // End of Group: a\n\n"
                               "    parm {\n\tname\tthree\n\tlabel\t\"three\"\n\ttype\tfloat\n"
                               "    }\n");
}

/// Only what shows where a parameter is: "folder(", ")", names.
std::string outlineOf(DS_ParmReader &reader)
{
    std::istringstream in(parmsOf(reader));
    std::string all;
    for (std::string line; std::getline(in, line);) {
        const size_t start = line.find_first_not_of(" \t");
        const std::string text = start == std::string::npos ? "" : line.substr(start);
        if (text.rfind("label\t\"", 0) == 0) {
            all += text.substr(7, text.size() - 8) + " ";
        } else if (text.rfind("label\t", 0) == 0) {
            all += text.substr(6) + "( ";
        } else if (text.rfind("} //", 0) == 0) {
            all += ") ";
        }
    }
    return all;
}

TEST(Creator, GroupingAndPages)
{
    // Parameters a:A, b, c:B, d:A, e.
    const std::tuple<bool, bool, unsigned, const char *> cases[] = {
        {true, false, 0, "A( a ) b B( c ) A( d ) e "},
        {true, false, 1, "A( a ) b B( c ) A( d ) e "},
        {true, true, 0, "A( a d ) B( c b e ) "},
        {true, true, 2, "A( a d ) B( c b e ) "},
        {true, true, 1, "A( a d ) B( c ) Page 2( b ) Page 3( e ) "},
        {false, false, 0, "b e "},
        {false, true, 5, "b e "},
        {false, false, 4, "Page 2( b e ) "},
    };
    const std::pair<const char *, const char *> parms[] = {
        {"a", "A"}, {"b", ""}, {"c", "B"}, {"d", "A"}, {"e", ""}};
    for (const auto &[doing, old, pageSize, outline] : cases) {
        HandMade reader(doing, 0, 0);
        reader.addGroup("A");
        reader.addGroup("B");
        for (const auto &[name, group] : parms) {
            reader.add(name, group);
        }
        reader.setGroupSize(pageSize);
        DS_Creator::setUseOldGrouping(old);
        EXPECT_EQ(outlineOf(reader), outline) << doing << " " << old << " " << pageSize;
        DS_Creator::setUseOldGrouping(false);
    }
    HandMade ungrouped(1, 0, 0);
    for (const char *name : {"a", "b", "c"}) {
        ungrouped.add(name);
    }
    EXPECT_EQ(outlineOf(ungrouped), "a b c ");
    ungrouped.setGroupSize(2);
    EXPECT_EQ(outlineOf(ungrouped), "Page 0( a b ) Page 1( c ) ");
    HandMade empty(1, 0, 0);
    EXPECT_EQ(parmsOf(empty), "");
}

TEST(Creator, OutputsEndWithTheirTrailer)
{
    class Trailing : public DS_Creator
    {
    public:
        using DS_Creator::DS_Creator;
        void writeContextSpecific() override { *myOutput << "    context\n"; }
        int writeInfo() override { return 0; }
        void writeHeader(const char *, const char *) override {}
        void writeTrailer(const char *creator, const char *source) override
        {
            *myOutput << "// " << creator << " " << source << "\n";
        }
    };
    HandMade reader;
    reader.info = "not written";
    reader.add("left out");
    std::ostringstream first;
    std::ostringstream second;
    Trailing creator(reader, "me");
    creator.writeOutput(); // nothing is open
    creator.setParmDSOverride("    parms\n");
    creator.openOutput(first);
    creator.writeOutput();
    creator.openOutput(second);
    {
        const Trailing copy(creator); // has no output
    }
    creator.closeOutput();
    creator.closeOutput();
    EXPECT_EQ(first.str(), "{\n    name\t\"the \\\"name\\\"\"\n    script\t\"source.ds\"\n"
                           "    label\t\"Label\"\n    context\n\n    help {\n\t  \"\"\n    }\n\n"
                           "    parms\n}\n// me source.ds\n");
    EXPECT_EQ(second.str(), "// me source.ds\n");
}
