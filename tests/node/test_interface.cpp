// Interfaces: described in C++, checked, and written as the dialog scripts that they could have come from.

#include <KIT/KIT_Digits.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceBuilder.h>
#include <NOD/NOD_InterfaceCheck.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptRewrite.h>
#include <NOD/NOD_ScriptText.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_SpareData.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <sstream>

namespace
{

// ---------------------------------------------------------------------- //
// Every field of templates as text
// ---------------------------------------------------------------------- //

std::string text(const char *any)
{
    return any ? std::string("<") + any + ">" : "null";
}

std::string conditionText(const ZEL_ConditionalBase *base)
{
    std::string out;
    for (int type = ZEL_CONDTYPE_DISABLE; base && type <= ZEL_CONDTYPE_NOCOOK; ++type) {
        const ZEL_Conditional *one = base->getConditional(ZEL_ConditionalType(type));
        for (int i = 0; one && i < one->entries(); ++i) {
            const ZEL_ConditionalInfo &group = *(*one)(i);
            out += " " + std::to_string(type) + "{";
            for (int j = 0; j < group.entries(); ++j) {
                out += text(group.getControlParms()(j)) + std::to_string(group.getOperators()(j)) +
                       text(group.getControlValues()(j));
            }
            out += "}";
        }
    }
    return out;
}

std::string menuText(const ZEL_Template &one)
{
    const ZEL_ChoiceList *menu = one.getChoiceListPtr();
    if (!menu || one.isAutomaticallyGeneratedChoiceList()) {
        return menu ? "library's" : "none";
    }
    std::string out = std::to_string(menu->getType()) + " " +
                      std::to_string(menu->getStaticSize()) + text(menu->getScript()) +
                      std::to_string(menu->getScriptLanguage());
    for (const ZEL_Name *at = menu->choiceNamesPtr(); at && !at->isSentinel(); ++at) {
        out += text(at->getToken()) + text(at->getLabel());
    }
    return out;
}

std::string dump(const ZEL_Template *at, const std::string &indent = "")
{
    std::ostringstream os;
    for (; at && !at->isTerminator(); ++at) {
        const ZEL_Template &one = *at;
        std::ostringstream type;
        one.getType().saveBinary(type);
        os << indent << text(one.getToken()) << text(one.getLabel()) << one.getExpressionFlag();
        os << " type";
        for (const char byte : type.str()) {
            os << " " << int(byte);
        }
        os << " multi " << one.getMultiType() << " x" << one.getMultiSize() << " extended "
           << one.getTypeExtended() << " export " << int(one.exportLevel()) << " group "
           << one.getParmGroup() << " help <" << (one.getHelpText() ? one.getHelpText() : "")
           << "> callback " << one.getCallback().isSet() << " size " << one.getVectorSize();
        for (int i = 0; i < one.getVectorSize(); ++i) {
            os << " " << one.getChannelToken(i).nonNullStr();
        }
        for (int i = 0; one.getFactoryDefaults() && i < one.getVectorSize(); ++i) {
            const ZEL_Default &value = one.getFactoryDefaults()[i];
            os << " default " << KIT_Digits(value.getFloat()).buffer() << value.gotString() << "<"
               << value.getString() << ">" << value.getStringMeaning();
        }
        if (const ZEL_Range *range = one.getRangePtr()) {
            os << " range " << range->getMinFlag() << range->getMaxFlag() << " "
               << KIT_Digits(range->getUIMin()).buffer() << " to "
               << KIT_Digits(range->getUIMax()).buffer();
        }
        os << " menu " << menuText(one);
        std::map<std::string, std::string> tags;
        if (one.getSparePtr()) {
            one.getSparePtr()->traverseConst(
                [](const char *token, const char *value, void *data) {
                    (*static_cast<std::map<std::string, std::string> *>(data))[token] = value;
                    return 1;
                },
                &tags);
        }
        for (const auto &[token, value] : tags) {
            os << " tag " << text(token.c_str()) << text(value.c_str());
        }
        const ZEL_ConditionalBase *conditions = one.getConditionalBasePtr();
        os << " when " << (conditions ? conditions->groupType() : -1) << conditionText(conditions);
        if (conditions && conditions->groupType() == ZEL_CONDGROUP_SWITCHER) {
            const auto *tabs = static_cast<const ZEL_ConditionalSwitcher *>(conditions);
            for (int tab = 0; tab < std::max(one.getVectorSize(), 1); ++tab) {
                os << " tab" << conditionText(tabs->getTabConditional(tab));
            }
        }
        os << "\n" << dump(one.getMultiParmTemplate(), indent + "    ");
    }
    return os.str();
}

/// The first lines that differ.
std::string difference(const std::string &left, const std::string &right)
{
    std::istringstream lefts(left);
    std::istringstream rights(right);
    std::string one;
    std::string other;
    do {
        one.clear();
        other.clear();
        std::getline(lefts, one);
        std::getline(rights, other);
    } while (one == other && (lefts || rights));
    return one == other ? "" : one + "\n" + other + "\n";
}

using Shared = std::shared_ptr<const NOD_Interface>;

/// The law: the text has the same templates, and is written the same again.
void checkWayBack(const NOD_Interface &from, const std::string &where)
{
    NOD_Report report;
    const std::string script =
        NODscriptText(from.getTemplates(), from.getTypeName(), from.getLabel(), report);
    const Shared read = NOD_Interface::fromText(script, "again", report);
    ASSERT_EQ(report.asText(), "") << where << script;
    ASSERT_EQ(difference(dump(from.getTemplates()), dump(read->getTemplates())), "")
        << where << script;
    EXPECT_EQ(read->getTypeName() + read->getLabel(), from.getTypeName() + from.getLabel());
    EXPECT_EQ(NODscriptText(read->getTemplates(), from.getTypeName(), from.getLabel(), report),
              script);
    EXPECT_EQ(NODscriptText(*read, report), script);
}

// ---------------------------------------------------------------------- //
// Random descriptions
// ---------------------------------------------------------------------- //

class Program
{
public:
    explicit Program(unsigned seed) : myRandom(seed) {}

    void fill(NOD_InterfaceBuilder &into, int depth, int marks)
    {
        for (int count = pick(6); count >= 0; --count) {
            switch (depth > 2 ? 0 : pick(12)) {
            case 1: {
                const ZEL_MultiType kind = ZEL_MultiType(pick(3));
                NOD_ParmBuilder block =
                    into.block(kind, name(marks), anyText(), [&](NOD_InterfaceBuilder &item) {
                        fill(item, depth + 1, marks + 1);
                    });
                if (maybe()) {
                    block.items(pick(4)).hardRange(0, 10);
                }
                if (maybe()) {
                    block.hideWhen(condition()).tag(anyText(), anyText());
                }
                if (maybe()) {
                    block.invisible();
                }
                break;
            }
            case 2: {
                NOD_FolderBuilder set = maybe() ? into.tabs(name(marks)) : into.radio(name(marks));
                for (int pages = 1 + pick(3); pages > 0; --pages) {
                    addPage(set, depth, marks);
                }
                finish(set);
                break;
            }
            case 3: {
                const auto members = [&](NOD_InterfaceBuilder &page) {
                    fill(page, depth + 1, marks);
                };
                finish(maybe() ? into.simple(name(marks), "One", members)
                               : into.collapsible(name(marks), "Other", members));
                break;
            }
            case 4: {
                NOD_ParmBuilder ramp =
                    maybe() ? into.ramp(name(marks), anyText()) : into.colorRamp(name(marks));
                ramp.help(anyText()).defaultTo(1 + pick(4)).tag("rampcolortype", "hsv");
                break;
            }
            default: addParm(into, marks);
            }
        }
    }

private:
    void addPage(NOD_FolderBuilder &set, int depth, int marks)
    {
        set.page("Page " + anyText(),
                 [&](NOD_InterfaceBuilder &page) { fill(page, depth + 1, marks); });
        if (maybe()) {
            set.hiddenTab();
        }
        if (maybe()) {
            set.hideTabWhen(condition()).disableTabWhen(condition()).noCookTabWhen(condition());
        }
    }

    void finish(NOD_FolderBuilder set)
    {
        if (maybe()) {
            set.disableWhen(condition()).noCookWhen(condition()).hideWhen(condition());
        }
        if (maybe()) {
            set.invisible()
                .baseParm()
                .tag("about:0", anyText())
                .tag("cook_dependent", maybe() ? "1" : "0");
        }
    }

    void addParm(NOD_InterfaceBuilder &into, int marks)
    {
        static const ZEL_Type theTypes[] = {
            ZEL_FLT,    ZEL_FLT_LOG,   ZEL_INT,      ZEL_XYZ,       ZEL_INT_XYZ,       ZEL_UVW,
            ZEL_RGBA,   ZEL_ANGLE,     ZEL_STRING,   ZEL_FILE,      ZEL_DIRECTORY,     ZEL_PICFILE,
            ZEL_TOGGLE, ZEL_CALLBACK,  ZEL_ORD,      ZEL_SEPARATOR, ZEL_DATA,          ZEL_GEOMETRY,
            ZEL_LABEL,  ZEL_DIRECTION, ZEL_RGBAMASK, ZEL_ICONSTRIP, ZEL_STRING_OPLIST,
        };
        const ZEL_Type &type = theTypes[pick(int(std::size(theTypes)))];
        NOD_ParmBuilder parm = into.add(type, name(marks), anyText());
        const int size = type.isFloatType() || type.isStringType() ? pick(6) : 1;
        parm.size(size);
        if (maybe() && size > 0) {
            addDefaults(parm, type, size);
        }
        addMenu(parm, type);
        addLooks(parm, type);
        if (maybe()) {
            parm.range(-1e-7 - pick(3), 20.1 + pick(1000));
            maybe() ? parm.hardMin() : parm.hardMax();
        }
        if (maybe()) {
            parm.disableWhen(condition()).hideWhen(condition()).noCookWhen(condition());
        }
        if (maybe()) {
            parm.tag(anyText(), anyText())
                .cooks(maybe())
                .callbackScript(anyText(), TRK_SCRIPT_PYTHON);
        }
        if (pick(20) == 0) {
            parm.baseParm();
        }
    }

    void addDefaults(NOD_ParmBuilder &parm, const ZEL_Type &type, int size)
    {
        if (type.isFloatType()) {
            parm.defaultTo(pick(100) / 7.0);
        } else if (type.isStringType()) {
            parm.defaultTo(anyText());
        } else if (type.isOrdinalType()) {
            parm.defaultTo(pick(2));
        }
        if (maybe() && !type.isOrdinalType()) {
            parm.defaultExpression("ch(\"" + anyText() + "\")", pick(size),
                                   TRK_StringMeaning(pick(3)));
        }
    }

    void addMenu(NOD_ParmBuilder &parm, const ZEL_Type &type)
    {
        const bool stringFlag = type.isStringType();
        const auto kind = NOD_MenuKind(stringFlag ? 1 + pick(2) : pick(3) ? 0 : 3 + pick(2));
        const int what = type == ZEL_TOGGLE || type.hasAnyOf(ZEL_TYPE_SEPARATOR) ? 2 : pick(4);
        if (what == 0) {
            std::vector<std::pair<std::string, std::string>> entries = {{"on", "On"}};
            for (int i = 1 + pick(3); i > 0; --i) {
                entries.emplace_back("e" + std::to_string(i) + anyText(), "l" + anyText());
            }
            parm.menu(entries, kind);
        } else if (what == 1) {
            parm.menuScript(maybe() ? "[\n'a',\n]\n}" : "a\n\n" + anyText(),
                            maybe() ? TRK_SCRIPT_PYTHON : TRK_SCRIPT_COMMAND, kind);
        }
        if (what < 2 && maybe()) {
            parm.tokensAreValues();
        }
    }

    void addLooks(NOD_ParmBuilder &parm, const ZEL_Type &type)
    {
        if (maybe()) {
            parm.help(anyText()).exported(NOD_ExportLevel(pick(3)));
        }
        if (maybe()) {
            parm.joinNext();
        }
        if (maybe()) {
            parm.noLabel();
        }
        if (maybe()) {
            parm.invisible();
        }
        if (type == ZEL_XYZ && maybe()) {
            parm.logarithmic();
        }
        if (type == ZEL_STRING_OPLIST) {
            parm.extended(ZEL_TYPEX_NODE_PATHS).opFilter("all");
        }
        if (type == ZEL_STRING && maybe()) {
            parm.extended(ZEL_TYPEX_NODE_PATH).opFilter(maybe() ? "object" : "nods/geo");
        }
        if (type == ZEL_STRING && maybe()) {
            parm.tag(ZEL_SpareData::getUnquotedToken(), maybe() ? "1" : "yes");
        }
    }

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(myRandom); }
    bool maybe() { return pick(3) == 0; }
    /// One of its own; the numbers of items stay apart.
    std::string name(int marks)
    {
        std::string token = "p" + std::to_string(++myNames) + "p";
        for (int i = 0; i < marks; ++i) {
            token += "#_";
        }
        return token;
    }
    std::string anyText()
    {
        static const char *const theTexts[] = {
            "word", "two words", "quote\"d", "back\\slash\\", "line\nline\r", "{ brace", "} ",
            "[",    "#define",   "// no",    "$F `x`",        "\xc3\xa4\tb",  "5",       "\\n",
        };
        return theTexts[pick(int(std::size(theTexts)))];
    }
    std::string condition()
    {
        static const char *const theConditions[] = {
            "{ f(1) == 1 }",
            "{ f(a) != \"two words\" g(b) } { `h(\"x y\")` =~ a.* }",
            "{ a}",
            "{ f() == \"\" }",
            "",
            "{ f() >= \"q\\\"\" } { a} { f() !~ == }",
        };
        return theConditions[pick(int(std::size(theConditions)))];
    }

    std::mt19937 myRandom;
    int myNames = 0;
};

// ---------------------------------------------------------------------- //
// Faults
// ---------------------------------------------------------------------- //

/// What the check says of a script's contents.
std::string faultsOf(const std::string &contents)
{
    NOD_Report report;
    const Shared read = NOD_Interface::fromText(contents, "some", report);
    report.clear(); // warnings of reading
    return read && NODcheckInterface(read->getTemplates(), report, KIT_ERROR_ABORT) ==
                       report.getErrorCount()
               ? report.asText()
               : "unreadable";
}

std::string faultsOf(const std::function<void(NOD_InterfaceBuilder &)> &describe)
{
    NOD_Report report;
    NOD_InterfaceBuilder builder("some");
    describe(builder);
    const Shared made = builder.make(report);
    EXPECT_EQ(!made, report.hasErrors());
    return report.asText();
}

std::string lossesOf(const std::function<void(NOD_InterfaceBuilder &)> &describe)
{
    NOD_Report report;
    NOD_InterfaceBuilder builder("some");
    describe(builder);
    const Shared made = builder.make(report);
    if (made) {
        NODscriptText(*made, report);
    }
    return report.asText();
}

std::string parm(const std::string &words)
{
    return "parm { " + words + " }\n";
}

} // namespace

TEST(NodeInterface, ScriptsComeBack)
{
    int scripts = 0;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::string(ZEL_TESTS_DIR) + "/../examples")) {
        if (entry.path().extension() == ".ds") {
            NOD_Report report;
            const Shared read = NOD_Interface::fromFile(entry.path().string(), report);
            ASSERT_TRUE(read) << report.asText();
            EXPECT_EQ(NODcheckInterface(read->getTemplates(), report), 0) << report.asText();
            checkWayBack(*read, entry.path().string());
            // Elsewhere the files that it includes aren't found.
            const Shared copy =
                NOD_Interface::fromText(NODscriptText(*read, report), "copy", report);
            ASSERT_TRUE(copy) << report.asText();
            EXPECT_EQ(copy->getParmCount(), read->getParmCount()) << entry.path();
            EXPECT_FALSE(report.hasErrors()) << report.asText();
            ++scripts;
        }
    }
    EXPECT_GE(scripts, 10);
    const std::string look = parm("name a type ordinal joinnext menureplace { x X }");
    for (const std::string &contents : {
             look + "collection { name c parm { name b } }",
             look + "group { name g obsolete parm { name b } } group { name h invisibletab "
                    "parm { name d joinnext } collection { name e parm { name f } } tabbreak } "
                    "group { name i grouptag { group_type simple } grouptag { x y } }",
             parm("name a disablewhen { { } { b == \"==\" \"c d\" \"\" } } hidewhen { }"),
             parm("name a type string size 3 default { [ \"}\" literal ] [ \"\" python ] \"[ \" }"),
             parm("name a type string menu { [ ] } default { \"]\" }"),
             parm("name a type string menu { }") + parm("name b type ordinal menu { }"),
             parm("name a type float_minmax size 4 default { abc 1e300 -0 }"),
             parm("name a type oppath parmtag { oprelative /x } parmtag { cook_dependent 0 }"),
             parm("name a type object type string") +
                 parm("name b type vector4 size 2 logarithmic"),
             std::string("multiparm { name a default 2.5 hidewhentab \"{ x == 1 }\" parmtag { "
                         "multistartoffset 0 } group { name b# parm { name c# joinnext } } group { "
                         "name d# parm { name e# baseparm nolabel } } }"),
         }) {
        NOD_Report report;
        const Shared read = NOD_Interface::fromText(contents, "some", report);
        ASSERT_TRUE(read) << contents << report.asText();
        checkWayBack(*read, contents);
    }
}

TEST(NodeInterface, DescriptionsAreWhatTheirScriptsAre)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        NOD_Report report;
        Shared first;
        Shared second;
        {
            NOD_InterfaceBuilder builder("some", "Some \"Thing\"");
            Program(seed).fill(builder, 0, 0);
            first = builder.make(report);
            second = builder.make(report);
        }
        ASSERT_TRUE(first && second) << "seed " << seed << "\n" << report.asText();
        ASSERT_EQ(dump(first->getTemplates()), dump(second->getTemplates()));
        ASSERT_NO_FATAL_FAILURE(checkWayBack(*first, "seed " + std::to_string(seed) + "\n"));
    }
}

TEST(NodeInterface, CallsSayWhatTheirWordsSay)
{
    NOD_Report report;
    NOD_InterfaceBuilder b("lamp", "Lamp");
    b.add(ZEL_FLT_E, "a", "A")
        .defaultTo(2)
        .range(0, 10)
        .hardMin()
        .help("h")
        .exported(NOD_EXPORT_ALL);
    b.add(ZEL_XYZ, "t").size(3).defaultTo({1, 2}).joinNext().logarithmic().hideWhen("{ a > 1 }");
    b.add(ZEL_STRING, "s").size(2).defaultTo({"x", "5"}).defaultExpression("y", 1).noLabel();
    b.add(ZEL_FLT, "n").defaultTo("5").hardRange(1, 5).cooks(false).invisible();
    b.add(ZEL_FLT, "e").defaultExpression("ch(\"a\")").noCookWhen("{ a == 1 }");
    b.add(ZEL_ORD, "o").menu({{"m", "M"}, {"k", "K"}}, NOD_MENU_TOGGLE).defaultTo("k");
    b.add(ZEL_ORD, "i").menu({{"m", "M"}}, NOD_MENU_MINI).tokensAreValues();
    b.add(ZEL_STRING, "r").menuScript("return []").callbackScript("f", TRK_SCRIPT_PYTHON);
    b.add(ZEL_STRING, "p").opFilter("nods/geo").extended(ZEL_TYPEX_NODE_PATH).tag("k", "v");
    b.add(ZEL_CALLBACK, "z").baseParm().joinNext();
    b.tabs("f")
        .page("One", [](auto &page) { page.add(ZEL_INT, "g").defaultTo(1.5); })
        .hiddenTab()
        .hideTabWhen("{ a == 1 }")
        .invisible()
        .disableWhen("{ a == 2 }")
        .tag("q", "w")
        .page("Two", [](auto &) {})
        .noCookTabWhen("{ a == 3 }");
    b.radio("d").page("D", [](auto &) {}).baseParm();
    b.simple("j", "J", [](auto &) {});
    b.collapsible("l", "L", [](auto &) {}).noCookWhen("{ a == 4 }");
    b.block("m", "M", [](auto &item) { item.add(ZEL_TOGGLE, "u#").defaultTo("on"); })
        .items(3)
        .hardRange(1, 8)
        .disableWhen("{ a == 5 }")
        .invisible();
    b.block(ZEL_MULTITYPE_SCROLL, "v", "", [](auto &) {});
    b.ramp("w").disableWhen("{ a == 6 }");
    b.colorRamp("x", "X").defaultTo(2);
    const Shared made = b.make(report);
    const Shared read = NOD_Interface::fromText(
        "{ name lamp label Lamp"
        " parm { name a label A type float default { 2 } range { 0! 10 } help h export all }"
        " parm { name t type vector logarithmic default { 1 2 } joinnext hidewhen { { a > 1 } } }"
        " parm { name s type string size 2 default { x [ y expression ] } nolabel }"
        " parm { name n type float default { 5 } range { 1! 5! } parmtag { cook_dependent 0 }"
        "   invisible }"
        " parm { name e type float default { [ \"ch(\\\"a\\\")\" expression ] }"
        "   nocookwhen \"{ a == 1 }\" }"
        " parm { name o type ordinal menutoggle { m M k K } default { k } }"
        " parm { name i type ordinal menumini usetokenvalue { m M } }"
        " parm { name r type string menu { [ \"return []\" ] language python } callback f"
        "   parmtag { script_callback_language python } }"
        " parm { name p type oppath opfilter nods/geo parmtag { k v } }"
        " parm { name z baseparm joinnext }"
        " group { name f label One invisible invisibletab hidewhentab \"{ a == 1 }\""
        "   disablewhen \"{ a == 2 }\" parmtag { q w } parm { name g type int default { 1.5 } } }"
        " group { name f2 label Two nocookwhentab \"{ a == 3 }\" }"
        " groupradio { name d label D baseparm } groupsimple { name j label J }"
        " groupcollapsible { name l label L nocookwhen \"{ a == 4 }\" }"
        " multiparm { name m label M invisible default 3 range { 1! 8! }"
        "   disablewhen \"{ a == 5 }\" parm { name u# type toggle default { on } } }"
        " multiscroll { name v } parm { name w type ramp_flt disablewhen \"{ a == 6 }\" }"
        " parm { name x label X type ramp_rgb default { 2 } } }",
        "", report);
    ASSERT_TRUE(made && read) << report.asText();
    EXPECT_EQ(difference(dump(made->getTemplates()), dump(read->getTemplates())), "");
    EXPECT_EQ(made->getTypeName() + made->getLabel(), read->getTypeName() + read->getLabel());
}

TEST(NodeInterface, ATextWithoutBracesHasItsOwnLinesAndAnyName)
{
    for (const std::string name : {"plain", "say \"x\" }\\", "two\nlines", "}"}) {
        for (const bool braceFlag : {false, true}) {
            NOD_Report report;
            const std::string start = "\xEF\xBB\xBF" + std::string(braceFlag ? "{ name t\n" : "\n"),
                              end = braceFlag ? " }" : "";
            NOD_Interface::fromText(start + "parm { name a }\nparm { nome b }" + end, name, report);
            ASSERT_FALSE(report.isEmpty());
            EXPECT_EQ(report.getMessages()[0].line, 3) << report.asText();
            report.clear();
            const Shared made =
                NOD_Interface::fromText(start + "parm { name a }" + end, name, report);
            ASSERT_TRUE(made && report.isEmpty()) << report.asText();
            EXPECT_EQ(made->getTypeName(), braceFlag ? "t" : name == "}" ? "node" : name);
            EXPECT_STREQ(made->getTemplates()->getToken(), "a");
        }
    }
}

TEST(NodeInterface, FaultsHaveTheirParameter)
{
    const std::string block = "multiparm { name m ";
    const std::pair<std::string, std::string> theScripts[] = {
        {parm("name a") + parm("name a"), "a: another parameter has the same token\n"},
        {parm("name t type vector") + parm("name ty"), "ty: its channel ty is one of t too\n"},
        {block + parm("name w#") + "}" + parm("name w12") + parm("name w1x") + parm("name w"),
         "w12: an item of w# has the token too\n"},
        {parm("name w1y") + block + parm("name w# type vector") + "}",
         "w#: its channel w#y is one of w1y too\n"},
        {block + "multiparm { name n# " + parm("name v") + "} }" + parm("name v2_3"),
         "v: the token has 0 # and is in 2 blocks\nv2_3: an item of v has the token too\n"},
        {block + parm("name r# type ramp_flt") + "}" + parm("name r1_2pos"),
         "r1_2pos: an item of r#_#pos has the token too\n"},
        {parm("name r1pos") + parm("name r type ramp_flt"),
         "r#pos: an item has the token of r1pos too\n"},
        {parm("name v1x") + block + parm("name v type vector") + "}",
         "v: the token has 0 # and is in 1 block\nv: its channel v#x is one of v1x too\n"},
        {parm("name a#"),
         "a#: a # in the token means an item's number, and no block is around it\n"},
        {parm("name \"a b\"") + parm("name \"a c\" baseparm"),
         "a b: The text form cannot hold the name, so its value is left out; the binary form can: a b\n"},
        {parm("name a range { 0! 1 } default { -1 }") + parm("name b range { 0 1 } default { 2 }") +
             parm("name c type vector range { 0 1! } default { 0 1 2 }") +
             "multiparm { name d range { 1! 4! } default 5 }",
         "a: the default -1 is outside of the hard range\n"
         "c: the default 2 is outside of the hard range\n"
         "d: the default 5 is outside of the hard range\n"},
        {parm("name a type ordinal menu { x X y Y x Z } default { z }") +
             parm("name b type ordinal menu { x X } default { 1 }") +
             parm("name c type string menu { x X } default { \"y z\" }") +
             parm("name d type string menureplace { x X } default { y }") +
             parm("name e type ordinal menu { x X } default { \"ch(\\\"a\\\")\" }") +
             parm("name f type toggle default { 2 }"),
         "a: the default z is no entry of the menu\na: two entries of the menu are x\n"
         "b: the default is entry 1 of a menu of 1\n"
         "c: the default y z is no entry of the menu\n"
         "f: the default is entry 2 of a menu of 2\n"},
        {parm("name t type vector") +
             parm("name a disablewhen \"{ tx == 1 u == 1 } { f(u) == 1 }\" "
                  "hidewhen \"{ a =~ ( t !~ x.* m7 > 1 w7 > 1 }\" nocookwhen \"{ w# == 1 }\"") +
             block + parm("name w# hidewhen \"{ w# == 1 }\"") +
             parm("name v# hidewhen \"{ t == 1 x# == 1 }\"") +
             "} group { name g disablewhentab \"{ z == 1 }\" hidewhen \"{ y == 1 }\" }",
         "a: disablewhen: there is no parameter u\n"
         "a: hidewhen: ( is no regular expression: missing ): (\n"
         "a: hidewhen: there is no parameter m7\n"
         "v#: hidewhen: there is no parameter x#\n"
         "g: hidewhen: there is no parameter y\ng: disablewhen: there is no parameter z\n"},
        {parm("name a hidewhen \"{ a == 1 && b == 2 }\" disablewhen \"{ u = 1 }\"") +
             parm("name b hidewhen \"{ a <> 1 }\" disablewhen \"{ b == = a == is }\""),
         "a: disablewhen: = is no operator\na: hidewhen: && is no operator\n"
         "b: hidewhen: <> is no operator\n"},
    };
    for (const auto &[contents, expected] : theScripts) {
        EXPECT_EQ(faultsOf(contents), expected) << contents;
    }

    using Builder = NOD_InterfaceBuilder;
    const std::pair<std::function<void(Builder &)>, const char *> theDescriptions[] = {
        {[](Builder &b) {
             b.add(ZEL_FLT, "a").size(-1).hardMin().defaultTo({1, 2}).hideWhen("{ b ");
             b.add(ZEL_INT, "b").range(2, 2).logarithmic();
         },
         "a: a size of -1; the limit is 256 (ZEL_MAX_VECTOR_SIZE)\na: hidewhen: Unexpected end of conditional\na: a hard end without a "
         "range\na: 2 defaults for a size of 1\nb: the least of a range isn't below the greatest\n"
         "b: only a float can be logarithmic\n"},
        {[](Builder &b) {
             b.add(ZEL_SWITCHER, "a");
             b.add(ZEL_LIST_TERMINATOR, "b");
         },
         "a: folders are added by tabs()\na: a set of folders has no page\n"
         "b: this type ends an array\n"},
        {[](Builder &b) {
             b.block("a", "A", [](Builder &) {}).joinNext().size(2).defaultTo("x");
             b.tabs("c").hiddenTab().hideTabWhen("").page("", [](Builder &) {});
             b.add(ZEL_FLT, "");
         },
         "a: a block can't share a line or be without a label\na: a block has no size and no menu\n"
         "a: the default of a block is how many items it has\nc: a hidden tab stands before the first "
         "page\nc: a condition of a tab stands before the first page\nc: a page has no label\n"
         "a parameter has no token; its label is \"\"\n"},
    };
    for (const auto &[describe, expected] : theDescriptions) {
        EXPECT_EQ(faultsOf(describe), expected);
    }
    // Folders of an application's array, which no script can have.
    ZEL_Name set("set");
    ZEL_Default sizes[] = {ZEL_Default(2, "A"), ZEL_Default(0.5, "B")};
    ZEL_Template folders[] = {ZEL_Template(ZEL_SWITCHER, 2, &set, sizes), ZEL_Template(ZEL_FLT),
                              ZEL_Template()};
    NOD_Report report;
    NODcheckInterface(folders, report);
    sizes[0] = ZEL_Default(1, "A");
    NODcheckInterface(folders, report);
    EXPECT_EQ(report.asText(), "set: warning: folder 1 has fewer members than it says\n"
                               "set: warning: folder 2 has no count of members\n");
    EXPECT_EQ(NODcheckInterface(nullptr, report), 0);
    ZEL_Template tree[] = {ZEL_Template(ZEL_MULTITYPE_LIST, nullptr, 1, &set), ZEL_Template()};
    tree[0].setMultiParmTemplate(tree);
    report.clear();
    NODcheckInterface(tree, report);
    NODscriptText(tree, "some", "", report);
    EXPECT_EQ(report.asText(), "set: warning: the block is in itself\n"
                               "set: a block in itself can't be written in a script\n");
}

TEST(NodeInterface, WhatScriptsCantSayIsTold)
{
    using Builder = NOD_InterfaceBuilder;
    const std::pair<std::function<void(Builder &)>, const char *> theCases[] = {
        {[](Builder &b) { b.add(ZEL_FLT, "a").extended(ZEL_TypeExtended(99)); },
         "a: extended type can't be written in a script: 99 is read back as 0\n"},
        {[](Builder &b) { b.block("a", "A", [](Builder &) {}).help("h").exported(NOD_EXPORT_ALL); },
         "a: export can't be written in a script: 3 is read back as 0\n"
         "a: help can't be written in a script: \"h\" is read back as \"\"\n"},
        {[](Builder &b) {
             b.add(ZEL_STRING, "a")
                 .menuFunction(
                     [](void *, ZEL_Name *, int, const ZEL_SpareData *, const ZEL_Parm *) {});
         },
         "a: menu can't be written in a script: kind 4097, entries of a function\n"},
        {[](Builder &b) {
             b.add(ZEL_STRING, "a").menu({{"[", "L"}, {"}", "R"}, {"x", "}"}});
         },
         "a: menu can't be written in a script: kind 4097 \"[\" \"L\" \"}\" \"R\" \"x\" \"}\"\n"},
        {[](Builder &b) { b.add(ZEL_STRING, "a").menuScript("]"); },
         "a: menu can't be written in a script: kind 4097, python script \"]\" is read back as kind "
         "4097, python script \"] \"\n"},
        {[](Builder &b) { b.add(ZEL_FLT, "a").tag("}", "v").hideWhen("{ f() == \"}\" }"); },
         "a: hidewhen can't be written in a script: { \"f()\" == \"}\" } is read back as { }\n"
         "a: tag } can't be written in a script: \"v\"\n"},
    };
    for (const auto &[describe, expected] : theCases) {
        EXPECT_EQ(lossesOf(describe), expected);
    }

    // Arrays of applications. What follows what is left out keeps its place.
    ZEL_Name names[] = {{"set"}, {"a", nullptr, 1}, {"b", ""}, {"c"}};
    ZEL_Range range(ZEL_RANGE_PARM, 5, ZEL_RANGE_UI, 3);
    ZEL_Default both(2, "x");
    const auto call = [](void *, int, double, const ZEL_Template *, void *, intptr_t) { return 1; };
    ZEL_Template templates[] = {
        ZEL_Template(ZEL_SWITCHER, 0, &names[0]),
        ZEL_Template(ZEL_FLT_E, 1, &names[1], &both, nullptr, &range, ZEL_Callback(call)),
        ZEL_Template(ZEL_FLT, 1, &names[2]), ZEL_Template(ZEL_FLT, 1, &names[3]), ZEL_Template()};
    templates[3].setFloatDefault(0, 4);
    NOD_Report report;
    const std::string script = NODscriptText(templates, "some", "", report);
    std::string told;
    for (const NOD_Message &message : report.getMessages()) {
        told += message.subject + ": " +
                message.text.substr(0, message.text.find_first_of(",:(0")) + "\n";
    }
    EXPECT_EQ(told, "set: a set without folders can't be written in a script\n"
                    "a: callback can't be written in a script\n"
                    "a: default 1 can't be written in a script\n"
                    "a: expression flag can't be written in a script\n"
                    "a: range can't be written in a script\n"
                    "a: type can't be written in a script\n"
                    "b: label can't be written in a script\n");
    EXPECT_NE(script.find("{ 4 }"), std::string::npos) << script;
    NOD_Report none;
    const ZEL_Template large[] = {ZEL_Template(ZEL_FLT, 1001), ZEL_Template()};
    NODscriptText(large, "some", "", none);
    EXPECT_EQ(none.asText(), "some(7): vector size above the limit of 256 (ZEL_MAX_VECTOR_SIZE)\n");
    none.clear();
    EXPECT_EQ(NODscriptText(nullptr, "some", "", none), "{\n    name    \"some\"\n}\n");
    EXPECT_TRUE(none.isEmpty());
}

TEST(NodeInterface, AScriptWrittenAnewSaysWhatItLost)
{
    const std::string folder = std::string(ZEL_TESTS_DIR) + "/";
    const NOD_RewriteOptions options{"test", "then"};
    NOD_Report report;
    const auto plain = NODrewriteScriptFile(folder + "tool/plain.ds", options, report);
    ASSERT_TRUE(plain && report.isEmpty()) << report.asText();
    EXPECT_EQ(plain->losses.asText(), "");
    EXPECT_NE(plain->text.find("then"), std::string::npos);
    const auto light = NODrewriteScriptFile(folder + "../examples/light.ds", options, report);
    ASSERT_TRUE(light && report.isEmpty()) << report.asText();
    std::set<std::string> subjects;
    for (const NOD_Message &message : light->losses.getMessages()) {
        EXPECT_EQ(message.severity, KIT_ERROR_ABORT);
        EXPECT_EQ(message.file, folder + "../examples/light.ds");
        EXPECT_TRUE(subjects.insert(message.subject + message.text).second) << "told twice";
    }
    EXPECT_GT(subjects.size(), 3u);
    // What it wrote it writes again, without a loss, but for the source's name.
    const auto again = NODrewriteScript(plain->text, "plain.ds", options, report);
    ASSERT_TRUE(again && report.isEmpty()) << report.asText();
    EXPECT_EQ(again->losses.asText(), "");
    EXPECT_EQ(again->text.substr(again->text.find("*/")),
              plain->text.substr(plain->text.find("*/")));
    EXPECT_FALSE(NODrewriteScript("{ parm { } }", "broken", options, report));
    EXPECT_TRUE(report.hasErrors());
}
