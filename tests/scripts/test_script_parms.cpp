// Parameter blocks of dialog scripts: what each keyword makes of the template, and what is reported.

#include "DialogText.h"

#include <CON/CON_Manager.h>
#include <KIT/KIT_EnvControl.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ScriptTypes.h>

namespace
{

/// The text of each case is put into a parameter "p" of a page.
void check(const std::vector<DialogCase> &cases)
{
    checkDialogs(cases, "{ name top parm { name p ", " } }");
}

} // namespace

TEST(ScriptParms, WordsSetTheirParts)
{
    check({
        {"", "p FLT", ""},
        {"label \"\"", "p FLT", ""},
        {"label \"A b\" help \"what it is\"", "p'A b' FLT help:what it is", ""},
        {"invisible nolabel joinnext joinnext", "p FLT+invisible+nolabel", ""},
        {"export 0", "p FLT", ""},
        {"export dialog", "p FLT export2", ""},
        {"export 2", "p FLT export3", ""},
        {"export 3", "failed", "E: parm has bad export value"},
        {"size 3", "p FLT[3]", ""},
        {"size 0", "p FLT[0]", ""},
        {"size -1", "p FLT", "W: Invalid vector size"},
        {"size 257", "failed", "E: vector size above the limit of 256 (ZEL_MAX_VECTOR_SIZE)"},
        {"logarithmic", "p FLT_LOG", ""},
        {"type int logarithmic", "p INT", ""},
        {"type string logarithmic", "p STRING", ""},
        {"type string unquoted", "p STRING+unquoted script_unquoted=1", ""},
        {"unquoted", "p FLT script_unquoted=1", ""},
        {"opfilter nods", "p FLT opfilter=!!NODS!! oprelative=.", ""},
        {"callback cmd rmantype color", "p FLT script_callback=cmd script_ritype=color", ""},
        {"baseparm type string size 2 default { 1 2 } export 1 invisible",
         "p LIST_TERMINATOR+invisible+base+cook export2", ""},
        {"bindhandle 1 2 3 4 5 proto_includeraw cppname x invisible", "p FLT+invisible", ""},
        {"nonsense 1", "failed", "E: Dialog Script: unknown identifier: 'nonsense'"},
        {"Label x", "failed", "E: Dialog Script: unknown identifier: 'Label'"},
        {"experimental", "", ""},
        {"parmtag { cook_dependent 1 }", "p FLT+cook cook_dependent=1", ""},
        // One pair a block.
        {"parmtag { a b }", "p FLT a=b", ""},
        {"parmtag { a b c d } attribute { e \"\" }", "p FLT a=b e=", ""},
        {"parmtag { }", "p FLT", ""},
        {"parmtag a", "failed", "E: Expecting open brace for parmtag"},
    });
}

TEST(ScriptParms, TypeWords)
{
    check({
        {"type embed joinnext", "p TOGGLE", ""},
        {"type button", "p CALLBACK+channel", ""},
        {"type intvector4", "p INT_XYZ[4]", ""},
        {"type uv size 5", "p UVW[5]", ""},
        {"size 5 type float", "p FLT[5]", ""},
        {"type separator", "p SEPARATOR[0]", ""},
        {"type label", "p LABEL+channel", ""},
        {"type geometrydata", "p GEOMETRY+channel", ""},
        {"type oppath", "p STRING x17 oprelative=.", ""},
        {"type objectlist", "p STRING_OPLIST x18 opfilter=!!NODS!! oprelative=/nods", ""},
        {"type render", "p STRING x17 opfilter=!!OUTN!! oprelative=.", ""},
        {"type ordinal", "p ORD menu4097()", ""},
        {"size 3 type ramp_flt", "p INT_E multi8 range(1!,10)", ""},
        {"type ramp_rgb default { 3 } range { 2! 9 } export 1 help h",
         "p INT_E multi16 export2 def(3) range(2!,9) help:h", ""},
        {"type vector type nonsense", "p XYZ[3]", "W: Unknown parameter type - assuming float"},
        {"type oppath type nonsense", "p STRING oprelative=.",
         "W: Unknown parameter type - assuming float"},
        {"type ramp_flt type nonsense", "p INT", "W: Unknown parameter type - assuming float"},
        {"type Float", "p FLT", "W: Unknown parameter type - assuming float"},
    });
    EXPECT_EQ(ZELlookupScriptType("int"), 0);
    EXPECT_EQ(ZELlookupScriptType("vector3"), 11);
    EXPECT_EQ(ZELlookupScriptType("iconstrip"), 41);
    EXPECT_LT(ZELlookupScriptType("INT"), 0);
    EXPECT_EQ(ZELgetScriptType(-1), nullptr);
    EXPECT_EQ(ZELgetScriptType(42), nullptr);
}

TEST(ScriptParms, Defaults)
{
    check({
        {"default { 4.5 }", "p FLT def(4.5)", ""},
        {"size 3 defaults { 1 }", "p FLT[3] def(1,0,0)", ""},
        {"size 3 default { 1 2 3 4 5 }", "p FLT[3] def(1,2,3)",
         "W: Too many defaults specified; W: Too many defaults specified"},
        {"default { abc }", "p FLT def(0:abc)", ""},
        {"default { \"\" }", "p FLT def(0:)", ""},
        {"type string size 2 default { 7 }", "p STRING[2] def(7:7,0:)", ""},
        {"default { [ \"$F*2\" hscript-expression ] }", "p FLT def(0:$F*2)",
         "W: Invalid string meaning"},
        {"default { [ 5 nonsense ] }", "p FLT def(5)", "W: Invalid string meaning"},
        {"size 2 default { [ \"ch('a')\" python ] 3 }", "p FLT[2] def(0:ch('a')@2,3)", ""},
        {"default { 1 } default { 2 }", "p FLT def(2)", ""},
        {"default { 1 } size 2", "p FLT[2]", "W: Warning defaults should be specified after size"},
        {"default { 1 } type int", "p INT", "W: Warning defaults must be specified after type"},
        {"default 1", "failed", ""},
    });
}

TEST(ScriptParms, Ranges)
{
    const char *const disorder = "W: Invalid range specification: the maximum value is less than "
                                 "the minimum value.";
    check({
        {"range { 0! 10 }", "p FLT range(0!,10)", ""},
        {"range { -1.5 2!3! }", "p FLT range(-1.5,2!)", ""},
        {"range { 5 5 }", "p FLT", disorder},
        {"range { 0 1 } range { 5 1 }", "p FLT range(0,1)", disorder},
        {"range { 0 1 2 3 }", "p FLT range(0,1)", "W: Too many range values specified"},
        {"range { }", "failed", "E: Expeced minimum value for range"},
        {"range { 1 }", "failed", "E: Expeced maximum value for range"},
        {"range 0", "failed", ""},
    });
}

TEST(ScriptParms, Menus)
{
    check({
        {"menu { a A b \"B b\" }", "p FLT menu4097(a/A,b/B b)", ""},
        {"menu { }", "p FLT menu4097()", ""},
        {"menujoin { a A } } parm { name q", "p FLT x24 menu4097(a/A)\nq FLT", ""},
        {"menujoin { a A }", "p FLT menu4097(a/A)", ""},
        {"menumini { a A }", "p FLT x5 menu4097(a/A)", ""},
        {"type string menureplace { a A }", "p STRING menu1(a/A)", ""},
        {"type string menutoggle { a A }", "p STRING menu2(a/A)", ""},
        {"menutoggle { a A }", "p FLT menu1(a/A)", ""},
        {"type buttonstrip menutoggle { a A }", "p BUTTONSTRIP+channel menu2(a/A)", ""},
        {"type ordinal menureplace { a A }", "p ORD menu4097(a/A)", ""},
        {"menu usetokenvalue { a A }", "p FLT menu4113(a/A)", ""},
        {"menu { a A } menu { b B }", "p FLT menu4097(b/B)", ""},
        {"menu { [ echo a b ] [ \"echo c\" ] language python }",
         "p FLT menu4097(`echo a b\necho c`1)", ""},
        {"menu { [ x ] }", "p FLT menu4097(`x`0)", ""},
        {"menu a", "failed", "E: Expecting open brace for menu"},
        {"menu { a }", "failed", "E: Unexpected close brace for menu"},
        {"menu { a A [ x ] }", "failed", "E: Unexpected script command for menu"},
        {"menu { [ x } ]", "failed", "E: Expecting close bracket before brace for menu"},
        {"menu { [ x ] language french }", "failed", "E: Invalid language for menu"},
        {"menu { [ x ] y }", "failed", "E: Expecting open bracket for menu"},
    });
}

TEST(ScriptParms, MenuTokensLoseSurplusBackslashes)
{
    // Each pair in the script is one backslash of the token: four, and five.
    const std::string script = "{ name top parm { name p menu { \"a\\\\\\\\\\\\\\\\b\" A "
                               "\"a\\\\\\\\\\\\\\\\\\\\bc\\\\\\\\\\\\\\\\\\\\\" B } } }";
    const char *const whole = "p FLT menu4097(a\\\\\\\\b/A,a\\\\\\\\\\bc\\\\\\\\\\/B)";
    const char *const repaired = "p FLT menu4097(a\\\\\\\\b/A,abc/B)";
    EXPECT_EQ(Dialog(script).dump(), repaired);

    // In a scene that is loading, only what some versions wrote.
    ZEL_ParmList::beginLoading();
    EXPECT_EQ(Dialog(script).dump(), whole);
    const std::pair<const char *, const char *> versions[] = {
        {"12.0.7", whole},   {"12.0.8", repaired}, {"12.0.26", repaired},  {"12.0.27", whole},
        {"12.1.8", whole},   {"13.5.356", whole},  {"13.5.357", repaired}, {"13.5.375", repaired},
        {"13.5.376", whole}, {"13.0.357", whole},  {"12.0", whole},
    };
    for (const auto &[version, dump] : versions) {
        CON_Manager::getContext().setVariable("_SCN_SAVEVERSION", version);
        EXPECT_EQ(Dialog(script).dump(), dump) << version;
    }
    CON_Manager::getContext().setVariable("_SCN_SAVEVERSION", nullptr);
    ZEL_ParmList::endLoading();
}

TEST(ScriptParms, Conditions)
{
    check({
        {"disablewhen \"{ a == 1 } { b != 2 }\"", "p FLT disablewhen:{ a == 1 } { b != 2 }", ""},
        {"hidewhen { { a 1 b > 2 } { c =~ \"x y\" } }",
         "p FLT hidewhen:{ a == 1 b > 2 } { c =~ \"x y\" }", ""},
        {"nocookwhen { { a == } { b 1 } }", "p FLT nocookwhen:{ b == 1 }", ""},
        {"hidewhen \"{ a 1 }\" hidewhen \"{ b 1 }\" disablewhen \"{ c 1 }\"",
         "p FLT disablewhen:{ c == 1 } hidewhen:{ b == 1 }", ""},
    });
    // A text that can't be read is reported, and the block continues with an empty condition.
    const Dialog broken("{ name top parm { name p hidewhen \"{ a\" label L } }");
    EXPECT_EQ(broken.dump(), "p'L' FLT hidewhen:");
    EXPECT_EQ(broken.messages.rfind("E: hidewhen: ", 0), 0u) << broken.messages;
}

TEST(ScriptParms, ObsoleteAndNames)
{
    for (const char *words : {"obsolete", "obsolete 12.5", "obsolete invisible"}) {
        Dialog dialog(std::string("{ name top parm { name p ") + words + " } parm { name q } }");
        EXPECT_EQ(dialog.dump(), "q FLT") << words;
        EXPECT_EQ(dialog.obsolete(),
                  words == std::string("obsolete invisible") ? "p FLT+invisible" : "p FLT");
    }
    EXPECT_EQ(Dialog("{ name top parm { label x } }").messages, "E: parameter without a name");
    // Read twice, a doubled backslash collapses twice.
    EXPECT_EQ(Dialog("{ name top parm { name p obsolete \"\\\\\\\\x\" } }").messages,
              "E: Dialog Script: unknown identifier: '\\x'");
}

TEST(ScriptParms, ExperimentalOnesAreWanted)
{
    KIT_EnvControl::setInt(KIT_ENV_EXPERIMENTAL_PARMS, 1);
    check({{"experimental", "p FLT", ""}});
    KIT_EnvControl::setInt(KIT_ENV_EXPERIMENTAL_PARMS, 0);
    KIT_EnvControl::setInt(KIT_ENV_MAX_VECTOR_SIZE, 4);
    check({{"size 5", "failed", "E: vector size above the limit of 4 (ZEL_MAX_VECTOR_SIZE)"}});
    KIT_EnvControl::setInt(KIT_ENV_MAX_VECTOR_SIZE, 0);
}

TEST(ScriptParms, ComponentsTakeOfOneBudget)
{
    KIT_EnvControl::setInt(KIT_ENV_MAX_STREAM_MEGABYTES, 1);
    const auto read = [](int parms, const char *size) {
        std::string text = "{ name top group { name g";
        for (int i = 0; i < parms; ++i) {
            text += " parm { name p" + std::to_string(i) + " size " + size + " }";
        }
        return Dialog(text + " } }").messages;
    };
    EXPECT_EQ(read(48, "256"), "");
    EXPECT_EQ(read(49, "256"),
              "E: components take more memory than the limit of 1 MB (ZEL_MAX_STREAM_MEGABYTES)");
    EXPECT_EQ(read(1000, "16"), "") << "no more than the words that describe them";
    KIT_EnvControl::setInt(KIT_ENV_MAX_STREAM_MEGABYTES, 0);
}

TEST(ScriptParms, TheTextMayEndAnywhere)
{
    const std::pair<const char *, const char *> ends[] = {
        {"", "E: Expecting close brace for parm"},
        {"name", "E: parm missing name"},
        {"label", "E: parm missing label"},
        {"opfilter", "E: opfilter missing filter"},
        {"type", "E: parm missing type"},
        {"parmtag {", "E: Expecting tag name or closing brace"},
        {"parmtag { a", "E: Expecting tag value"},
        {"menu", "E: Expecting menu definition"},
        {"menu usetokenvalue", "E: Expecting menu definition"},
        {"menu {", "E: Expecing close brace for menu"},
        {"menu { a", "E: Expecting close brace for menu"},
        {"menu { a A", "E: Expecing close brace for menu"},
        {"menu { [", "E: Expecting close bracket for menu"},
        {"menu { [ ] language", "E: Expecting language for menu"},
        {"size", "E: parm missing vector size"},
        {"default { 1", "E: Expecting close brace for defaults"},
        {"default { [ 1", "E: Expecting close brace for defaults"},
        {"range {", "E: Expeced minimum value for range"},
        {"range { 1", "E: Expeced maximum value for range"},
        {"range { 1 2", "E: Expecting close brace for range"},
        {"option", "E: parm missing option name"},
        {"help", "E: parm missing help text"},
        {"callback", "E: parm missing callback string"},
        {"rmantype", "E: parm missing callback string"},
        {"export", "E: parm missing export value"},
        {"obsolete", "E: Expecting close brace for parm"},
        {"hidewhen", "E: hidewhen: Missing initial {; E: Expecting close brace for parm"},
        {"hidewhen { {",
         "E: Expecting close brace for hidewhen; E: Expecting close brace for parm"},
        {"nocookwhen { { a",
         "E: Expecting parm value for nocookwhen; E: Expecting close brace for parm"},
    };
    for (const auto &[words, message] : ends) {
        const Dialog dialog(std::string("{ name top parm { ") + words);
        EXPECT_FALSE(dialog.okFlag) << words;
        EXPECT_EQ(dialog.messages, message) << words;
    }
}

TEST(ScriptParms, OptionsAndCallbacks)
{
    static int theCalls = 0;
    ZEL_ScriptParm::registerDefaultScriptCallback(ZEL_Callback(
        [](void *, int, double, const ZEL_Template *, void *, intptr_t) { return ++theCalls; }));
    Dialog dialog("{ name top parm { name a callback x option o } parm { name b } "
                  "group { name g parm { name c } } }");
    EXPECT_EQ(dialog.templates[0].getCallback().call(nullptr, 0, 0.0, nullptr), 1);
    EXPECT_FALSE(dialog.templates[1].getCallback().isSet());
    ZEL_ScriptParm::registerDefaultScriptCallback(ZEL_Callback());

    dialog.page.enforceOptions();
    EXPECT_EQ(dialog.page.getParm(0)->getOption(), "o");
    EXPECT_EQ(dialog.page.getParm(1)->getOption(), "b");
    EXPECT_EQ(dialog.page.getParm(2)->getGroup()->getPage(0)->getParm(0)->getOption(), "c");
}

TEST(ScriptParms, FlagsKeepTextAndRequirements)
{
    const auto parse = [](ZEL_ScriptParm &parm, const char *text) {
        KIT_IStream memory(text, std::strlen(text), KIT_IStream::TEXT);
        DS_Stream stream(memory, nullptr, true);
        return parm.parse(stream, 0);
    };
    ZEL_ScriptParm kept;
    kept.setFlag(ZEL_ScriptParm::KEEP_TEXT);
    ASSERT_EQ(parse(kept, "{ name p required size 2 default { 1.50 } menu { a A } }"), 1);
    EXPECT_EQ(defaultsText(kept.getDefaults().data(), 2), " def(1.5:1.50,0:0)");
    EXPECT_TRUE(kept.getFlag(ZEL_ScriptParm::REQUIRED));
    ZEL_ScriptParm button;
    ASSERT_EQ(parse(button, "{ name p required type button }"), 1);
    EXPECT_FALSE(button.getFlag(ZEL_ScriptParm::REQUIRED));
    // A second block drops menu and defaults and keeps the rest.
    ASSERT_EQ(parse(kept, "{ label again }"), 1);
    EXPECT_TRUE(kept.getDefaults().isEmpty());
    EXPECT_EQ(kept.getMenu(), nullptr);
    EXPECT_STREQ(kept.getName().getToken(), "p");
    EXPECT_EQ(kept.getSize(), 2);
}

TEST(ScriptParms, QuotedTexts)
{
    EXPECT_STREQ(ZEL_ScriptParm::protectString(nullptr, 1), "\"\"");
    EXPECT_STREQ(ZEL_ScriptParm::protectString("", 0), "");
    EXPECT_STREQ(ZEL_ScriptParm::protectString("a b", 0), "a b");
    EXPECT_STREQ(ZEL_ScriptParm::protectString("a b", 0, true), "\"a b\"");
    EXPECT_STREQ(ZEL_ScriptParm::protectString("a\"b\n", 0, true), "\"a\\\"b\\n\"");
}
