// Pages of dialog scripts: folders, multi-parameters and imports, and the arrays that they make.

#include "DialogText.h"

#include <KIT/KIT_EnvControl.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>

namespace
{

std::string importText(const ZEL_ScriptImports *imports)
{
    std::string all;
    for (int i = 0; imports && i < imports->entries(); i++) {
        const ZEL_ScriptImportBlock &block = *imports->getBlock(i);
        all += (i ? "; " : "") + block.label.toStdString() + " " + std::to_string(block.offset) +
               "+" + std::to_string(block.size) + " level" + std::to_string(block.nestLevel) +
               " in" + std::to_string(block.switcherIndex) + "." + std::to_string(block.folder) +
               " " + block.source.toStdString() + "|" + block.token.toStdString() + "|" +
               block.mask.toStdString() + (block.enable ? "" : " off");
    }
    return all;
}

/// Pages inside of each other, the innermost one at that many levels below the dialog.
std::string nested(const char *word, int levels)
{
    std::string text = "{ name top ";
    for (int i = 0; i < levels; i++) {
        text += std::string(word) + " { name g ";
    }
    for (int i = 0; i <= levels; i++) {
        text += "} ";
    }
    return text;
}

} // namespace

TEST(ScriptPages, WordsOfThePage)
{
    Dialog dialog(
        "{ name top label Top help { \"a\" { b } } rman ksl default { 7 } parm { name a } "
        "code { x { y } } signature a b { c } mininput 1 inputlabel 1 x generator "
        "parmtag { k v l w } tabbreak baseparm }");
    EXPECT_EQ(dialog.messages, "");
    EXPECT_EQ(dialog.dump(), "a FLT");
    EXPECT_EQ(dialog.page.getLabel(), "Top");
    EXPECT_EQ(dialog.page.getDefault(), "7");
    EXPECT_TRUE(dialog.page.getTabBreak() && dialog.page.getBaseParm());
    EXPECT_EQ(dialog.page.getFlag(~0u), ZEL_ScriptPage::RENDERMAN | ZEL_ScriptPage::SHADING);
    EXPECT_EQ(spareText(dialog.page.getSpareData(false)), " k=v");
    dialog.page.setEmptyDefault("8");
    EXPECT_EQ(dialog.page.getDefault(), "7");
}

TEST(ScriptPages, FaultsEndThePage)
{
    checkDialogs({
        {"", "failed", "E: Expecting open brace for script"},
        {"{", "failed", "E: Expecting close brace for script"},
        {"{ name", "failed", "E: script missing name"},
        {"{ name a", "failed", "E: Expecting close brace for script"},
        {"{ label", "failed", "E: script missing label"},
        {"{ default", "failed", "E: script missing default"},
        {"{ default {", "failed", "E: script missing default"},
        {"{ default { 1 2 }", "failed", "E: script missing closing brace for default"},
        {"{ }", "failed", "E: parameter page without a name"},
        {"{ name a nonsense }", "failed", "E: script unknown identifier nonsense"},
        {"{ name a source x }", "failed", "E: script unknown identifier source"},
        {"{ name a code { x", "failed", "E: Expecting close brace for block"},
        {"{ name a grouptag { a b } }", "failed",
         "E: grouptag only valid in group or groupmenu block"},
        {"{ name a group { name g range { 0 1 } } }", "failed",
         "E: range only valid in multi[parm|scroll|switcher] or dynamic block"},
        {"{ name a group { name g grouptag g } }", "failed",
         "E: Expecting open brace for grouptag"},
        {"{ name a group { name g }", "failed", "E: missing closing brace on group"},
        {"{ name a group { name g", "failed", "E: Expecting close brace for script"},
        {"{ name a group { parm { name p } } }", "failed", "E: parameter page without a name"},
        {"{ name a import x", "failed", "E: Expecting open brace for import"},
        {"{ name a import { mask", "failed", "E: script missing mask"},
        {"{ name a import { }", "failed", "E: missing closing brace on import"},
        {"{ name a hidewhen { { a", "failed",
         "E: Expecting parm value for hidewhen; E: Expecting close brace for script"},
    });
}

TEST(ScriptPages, GroupsMakeFolders)
{
    const char *const joined = "{ name top parm { name x joinnext } "
                               "group { name a label A parm { name p } parm { name q joinnext } } "
                               "group { name b } parm { name y joinnext } collection { name c } "
                               "parm { name z joinnext } }";
    checkDialogs({
        {joined,
         "x FLT\na'' SWITCHER[2] def(2:A,0:b) visibletabs=11\np FLT\nq FLT\n"
         "y FLT+join\nc'' SWITCHER def(0:c) visibletabs=1\nz FLT",
         ""},
        {"{ name top group { name a tabbreak } group { name b } groupmenu { name c } }",
         "a'' SWITCHER def(0:a) visibletabs=1\nb'' SWITCHER def(0:b) visibletabs=1\n"
         "c'' SWITCHER def(0:c) visibletabs=1",
         ""},
        {"{ name top groupsimple { name a invisibletab } groupsimple { name b } "
         "groupcollapsible { name c } }",
         "a'' SWITCHER+invisible def(0:a) group_type=simple visibletabs=0\n"
         "b'' SWITCHER def(0:b) group_type=simple visibletabs=1\n"
         "c'' SWITCHER def(0:c) group_type=collapsible visibletabs=1",
         ""},
        {"{ name top groupradio { name a invisible baseparm parmtag { k v } } "
         "groupradio { name b invisibletab group { name c parm { name p } } } }",
         "a'' SWITCHER_EXCLUSIVE+invisible+base[2] def(0:a,1:b) k=v visibletabs=10\n"
         "c'' SWITCHER def(1:c) visibletabs=1\np FLT",
         ""},
        {"{ name top group { name a grouptag { k v x y } grouptag { group_type radio } } "
         "group { name b grouptag { k w } } }",
         "a'' SWITCHER[2] def(0:a,0:b) group_type:0=radio k=v k:0=v k:1=w visibletabs=11", ""},
        {"{ name top group { name a hidewhen \"{ a 1 }\" disablewhentab \"{ b 1 }\" } "
         "group { name b disablewhen \"{ c 1 }\" } }",
         "a'' SWITCHER[2] def(0:a,0:b) hidewhen:{ a == 1 } visibletabs=11", ""},
    });
}

TEST(ScriptPages, TabsHaveTheirOwnConditions)
{
    const Dialog dialog("{ name top group { name a } group { name b hidewhentab \"{ a 1 }\" "
                        "nocookwhentab { { b 2 } } } }");
    auto *conditions =
        static_cast<ZEL_ConditionalSwitcher *>(dialog.templates[0].getConditionalBasePtr());
    ASSERT_NE(conditions, nullptr);
    EXPECT_EQ(conditionText(conditions), "");
    EXPECT_EQ(conditionText(conditions->getTabConditional(0)), "");
    EXPECT_EQ(conditionText(conditions->getTabConditional(1)),
              " hidewhen:{ a == 1 } nocookwhen:{ b == 2 }");
    EXPECT_EQ(Dialog("{ name top group { name a hidewhen \"{ a\" } }")
                  .templates[0]
                  .getConditionalBasePtr(),
              nullptr);
}

TEST(ScriptPages, MultiParameters)
{
    checkDialogs({
        {"{ name top multiparm { name m label M default 3 range { 1! 8 } parm { name a# } "
         "multiscroll { name n# parm { name b#_# } } } }",
         "m'M' INT_E multi0 def(3) range(1!,8) <a# FLT; n# INT_E multi1 <b#_# FLT>>", ""},
        {"{ name top dynamic { name m invisible hidewhen \"{ a 1 }\" parmtag { k v } } }",
         "m INT_E+invisible multi2 hidewhen:{ a == 1 } k=v <>", ""},
        {"{ name top multiswitcher { name m parm { name a } multiparm { name n } } }",
         "m INT_E multi2 <a FLT; n INT_E multi0 <>>",
         "W: incorrect number of #s in 'a' for multiparm depth of 1; "
         "W: incorrect number of #s in 'n' for multiparm depth of 1"},
        {"{ name top multiparm { name m group { name \"\" } } }", "failed",
         "W: incorrect number of #s in '<null>' for multiparm depth of 1; "
         "E: parameter page without a name"},
    });
}

TEST(ScriptPages, ObsoletePagesStandApart)
{
    Dialog all("{ name top group { name g obsolete parm { name p } } parm { name q } }");
    EXPECT_EQ(all.dump(), "q FLT");
    EXPECT_EQ(all.obsolete(), "g'' SWITCHER def(1:g)\np FLT");
    Dialog some("{ name top group { name g obsolete 3 } group { name h } }");
    EXPECT_EQ(some.dump(), "g'' SWITCHER def(0:h) visibletabs=11");
    EXPECT_EQ(some.obsolete(), "g'' SWITCHER def(0:g)");
}

TEST(ScriptPages, Imports)
{
    Dialog dialog("{ name top parm { name a } import { label one source /x token t mask * enable 2 "
                  "parm { name b } import { label two parm { name c } } } "
                  "group { name g parm { name d } import { label three enable 1 } } "
                  "group { name h import { label four parm { name e } } } import { label five } }");
    EXPECT_EQ(dialog.messages, "");
    EXPECT_EQ(dialog.count, 6);
    EXPECT_EQ(importText(dialog.imports),
              "one 1+2 level0 in-1.-1 /x|t|* off; two 2+1 level1 in-1.-1 ||; "
              "three 5+0 level1 in3.0 ||; four 5+1 level1 in4.1 ||; five 6+0 level0 in-1.-1 ||");
    EXPECT_EQ(dialog.imports->getNestBaseIndex(), 0);
    EXPECT_EQ(dialog.imports->findBlockWithLabel("four"), dialog.imports->getBlock(3));
    EXPECT_EQ(dialog.imports->findBlockWithLabel(""), nullptr);

    // In items the offset is one of the child array; an import keeps its last parameter's join.
    const Dialog items("{ name top multiparm { name m parm { name a# } import { label one "
                       "parm { name b# joinnext } } parm { name c# } } }");
    EXPECT_EQ(items.dump(), "m INT_E multi0 <a# FLT; b# FLT+join; c# FLT>");
    EXPECT_EQ(importText(items.imports), "one 1+1 level1 in-1.-1 ||");
}

TEST(ScriptPages, NestingHasALimit)
{
    const std::string message =
        "E: blocks nested deeper than the limit of 200 (ZEL_MAX_SCRIPT_NESTING)";
    for (const char *word : {"group", "collection", "import"}) {
        EXPECT_EQ(Dialog(nested(word, 200)).messages, "") << word;
        EXPECT_EQ(Dialog(nested(word, 201)).messages, message) << word;
    }
    EXPECT_NE(Dialog(nested("multiparm", 201)).messages.find(message), std::string::npos);
    KIT_EnvControl::setInt(KIT_ENV_MAX_SCRIPT_NESTING, 1);
    EXPECT_TRUE(Dialog(nested("group", 1)).okFlag);
    EXPECT_EQ(Dialog(nested("group", 2)).messages,
              "E: blocks nested deeper than the limit of 1 (ZEL_MAX_SCRIPT_NESTING)");
    KIT_EnvControl::setInt(KIT_ENV_MAX_SCRIPT_NESTING, 0);
}

TEST(ScriptPages, BaseParameters)
{
    Dialog dialog("{ name top parm { name a } group { name g baseparm parm { name b } "
                  "parm { name c baseparm } } multiparm { name m parm { name d# } } }");
    KIT_ValArray<ZEL_ScriptParm *> parms;
    dialog.page.appendScriptParms(parms);
    std::string names;
    for (const ZEL_ScriptParm *parm : parms) {
        names += parm->getName().getToken();
    }
    EXPECT_EQ(names, "abm");
    EXPECT_TRUE(dialog.page.containsReservedName());
    EXPECT_FALSE(Dialog("{ name t group { name g parm { name a } } }").page.containsReservedName());
}

TEST(ScriptPages, ArraysCanBeFilledAgain)
{
    Dialog dialog("{ name top group { name g hidewhentab \"{ a 1 }\" parm { name p type ramp_flt } "
                  "multiparm { name m default 2 parm { name c# size 2 default { 1 2 } } } } }");
    const std::string first = dialog.dump();
    const ZEL_Template *const children =
        dialog.page.getParm(0)->getGroup()->getPage(0)->getParm(1)->getMultiTemplate();
    EXPECT_EQ(children, dialog.templates[2].getMultiParmTemplate());
    dialog.fill();
    EXPECT_EQ(dialog.dump(), first);
}

TEST(ScriptPages, ASecondParseStartsAnew)
{
    ZEL_ScriptPage page;
    for (const char *text :
         {"{ name a parm { name p } import { parm { name q } } }", "{ name b parm { name r } }"}) {
        KIT_IStream memory(text, std::strlen(text), KIT_IStream::TEXT);
        DS_Stream stream(memory, nullptr, true);
        ASSERT_TRUE(page.parse(stream, true, nullptr, false, true, 0));
    }
    EXPECT_EQ(page.getParmEntries(), 1);
    EXPECT_EQ(page.getLabel(), "b");
    EXPECT_EQ(page.getImports()->entries(), 0);
}
