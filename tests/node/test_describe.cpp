// Interfaces as data and pages, what a person sees and why, and the numbers of a scene.

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Conditions.h>
#include <NOD/NOD_Description.h>
#include <NOD/NOD_Documentation.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_Stats.h>
#include <NOD/NOD_TextEdit.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/ZEL_Template.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

namespace
{

using Interface = std::shared_ptr<const NOD_Interface>;
using Visit = std::function<void(const NOD_DescribedParm &)>;

Interface read(const std::string &text)
{
    NOD_Report report;
    const Interface made = NOD_Interface::fromText(text, "test", report);
    EXPECT_TRUE(made) << report.asText();
    return made;
}

/// In the order of the templates; members of blocks only with `blocksFlag`.
void forEach(const std::vector<NOD_DescribedParm> &parms, bool blocksFlag, const Visit &visit)
{
    for (const NOD_DescribedParm &parm : parms) {
        visit(parm);
        for (const NOD_DescribedFolder &folder : parm.folders) {
            forEach(folder.members, blocksFlag, visit);
        }
        if (blocksFlag) {
            forEach(parm.members, blocksFlag, visit);
        }
    }
}

constexpr const char *theScript = R"({ name thing label "A <Thing>" help { "First." "Second." }
  parmtag { "of_dialog" "yes" } rman
  parm { name on label "On" type toggle default { 1 } option "-o" }
  parm { name kind label "Kind" type ordinal required menu { "a" "Type *A*" "b" "B" } default { "b" } joinnext }
  parm { name gone type float obsolete 1 }
  group { name one label "One" help { "Of one." } hidewhen "{ on == off }"
    parm { name x label "X" type float range { 0! 5 } disablewhen "{ kind == b on == on } { x > 3 }" }
    import { label "Other" source "/o" token "t" mask "m*" enable 0
      parm { name y type vector nolabel help "Of y." }
      import { source "/p" token "u" parm { name z type string invisible } } } }
  group { name two label "Two" invisibletab grouptag { "note" "n" } disablewhentab "{ x == 0 }"
    parm { name w type objectlist }
    groupsimple { name deep label "Deep" invisible parm { name v type float nocookwhen "{ v == 0 }" } } }
  multiparm { name m label "M" default 7.9 range { 1! 4! } invisible
    parm { name m# label "M#" type float default { [ "1+1" expression ] } hidewhen "{ m# == 2 }" } }
  multiparm { name n range { 2! 4 } parmtag { "multistartoffset" "0" } parm { name n# type int } } })";

} // namespace

// What a list of each example has is what its description says: tokens in order, items of blocks.
TEST(NodeDescribe, ExamplesAreDescribed)
{
    int blocks = 0;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::string(ZEL_TESTS_DIR) + "/../examples")) {
        if (entry.path().extension() != ".ds") {
            continue;
        }
        SCOPED_TRACE(entry.path());
        NOD_Report report;
        const Interface interface = NOD_Interface::fromFile(entry.path().string(), report);
        ASSERT_TRUE(interface);
        const NOD_Description description = NODdescribe(*interface);
        NOD_Node node(interface->getTemplates());
        NODgrowBlocks(node, 0.0);
        const ZEL_Template *at = interface->getTemplates();
        forEach(description.parms, false, [&](const NOD_DescribedParm &parm) {
            EXPECT_EQ(parm.token, at->getToken());
            EXPECT_STRNE(NODtypeMeaning(parm.type), nullptr) << parm.type;
            EXPECT_NE(parm.type, "custom") << parm.token;
            if (parm.kind == NOD_DescribedParm::Kind::BLOCK) {
                const ZEL_Parm *const live = node.getParms().getParmPtr(parm.token.c_str());
                EXPECT_EQ(parm.items, live->getMultiParmNumItems()) << parm.token;
                ++blocks;
            }
            ++at;
        });
        EXPECT_TRUE(at->isTerminator());
        for (const NOD_Page &page : NODdocument(*interface, report)) {
            EXPECT_GT(page.bytes.size(), 100u) << page.name;
        }
        EXPECT_FALSE(report.hasErrors()) << report.asText();
    }
    EXPECT_GT(blocks, 10);
}

TEST(NodeDescribe, TypesHaveTheirWords)
{
    for (int i = 0; ZELgetScriptType(i); ++i) {
        const std::string word = ZELgetScriptTypeWord(i);
        const Interface interface = read("parm { name a type " + word + " }");
        EXPECT_EQ(NODdescribe(interface->getTemplates())[0].type, word);
        EXPECT_NE(NODtypeMeaning(word), nullptr) << word;
    }
    EXPECT_EQ(NODtypeMeaning("wibble"), nullptr);
}

TEST(NodeDescribe, PagesSayMoreThanTemplates)
{
    const Interface interface = read(theScript);
    const NOD_Description all = NODdescribe(*interface);
    EXPECT_EQ(all.name + "|" + all.label + "|" + all.help, "thing|A <Thing>|First.\nSecond.");
    EXPECT_EQ(all.tags, (NOD_DescribedTags{{"of_dialog", "yes"}}));
    EXPECT_TRUE(all.isRenderMan && !all.isShading);
    EXPECT_EQ(all.obsolete, std::vector<std::string>{"gone"});
    ASSERT_EQ(all.imports.size(), 2u);
    EXPECT_EQ(all.imports[0].tokens, (std::vector<std::string>{"y", "z"}));
    EXPECT_EQ(all.imports[0].folder, "one");
    EXPECT_EQ(all.imports[0].level, 1);
    EXPECT_EQ(all.imports[1].level, 2);
    EXPECT_FALSE(all.imports[0].isEnabled);
    ASSERT_EQ(all.parms.size(), 5u);
    EXPECT_EQ(all.parms[0].option, "-o");
    EXPECT_TRUE(all.parms[1].menu && all.parms[1].menu->entries[0].label == "Type *A*");
    const NOD_DescribedParm &set = all.parms[2];
    ASSERT_EQ(set.folders.size(), 2u);
    EXPECT_EQ(set.folders[0].help, "Of one.");
    EXPECT_EQ(set.folders[1].name, "two");
    EXPECT_EQ(set.folders[1].tags, (NOD_DescribedTags{{"note", "n"}}));
    EXPECT_EQ(set.tags, (NOD_DescribedTags{{"visibletabs", "10"}}));
    EXPECT_TRUE(set.folders[1].isTabInvisible && !set.folders[0].isTabInvisible);
    const NOD_DescribedParm &x = set.folders[0].members[0];
    ASSERT_EQ(x.conditions.size(), 1u);
    EXPECT_EQ(x.conditions[0].groups.size(), 2u);
    EXPECT_EQ(x.conditions[0].groups[0][1].left, "on");
    EXPECT_TRUE(x.min->isHard && !x.max->isHard);
    const NOD_DescribedParm &deep = set.folders[1].members[1];
    EXPECT_EQ(deep.type, "groupsimple");
    EXPECT_TRUE(deep.isInvisible);
    EXPECT_EQ(all.parms[3].items, 4);
    EXPECT_EQ(all.parms[3].members[0].defaults[0].meaning, "expression");
    EXPECT_EQ(all.parms[4].items, 2);
    EXPECT_EQ(all.parms[4].start, 0);

    const std::vector<NOD_DescribedParm> templates = NODdescribe(interface->getTemplates());
    EXPECT_EQ(templates[2].folders[1].name, "");
    EXPECT_EQ(templates[2].folders[1].members.size(), 2u);
}

// Labels of any bytes neither end a page's markup nor begin one.
TEST(NodeDescribe, PagesQuote)
{
    NOD_Report report;
    const Interface interface = read(
        "{ name \"../a b\" label \"<script>\\001\\377&\" parm { name t label \"# *x* `y` <b>\" type "
        "string default { \"``\\\"<\" } help \"1. [l](u)\" } }");
    const std::vector<NOD_Page> pages = NODdocument(*interface, report);
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].name.find('/'), std::string::npos);
    const std::string &markdown = pages[0].bytes;
    const std::string &html = pages[1].bytes;
    EXPECT_NE(markdown.find("## \\# \\*x\\* \\`y\\` \\<b\\> `t`\n"), std::string::npos) << markdown;
    EXPECT_NE(markdown.find("\n1\\. \\[l\\](u)\n"), std::string::npos) << markdown;
    EXPECT_NE(markdown.find("``` ``\"< ```"), std::string::npos) << markdown;
    EXPECT_EQ(html.find("<script"), std::string::npos);
    EXPECT_EQ(html.find("<b>"), std::string::npos);
    for (const std::string &bytes : {markdown, html}) {
        EXPECT_EQ(bytes.find('\1'), std::string::npos);
        EXPECT_EQ(bytes.find('\377'), std::string::npos);
    }
    EXPECT_NE(NODdescriptionJson(NODdescribe(*interface)).find("\\u0001"), std::string::npos);
}

TEST(NodeDescribe, PagesSayConditionsInWords)
{
    NOD_Report report;
    const std::string page = NODdocument(*read(theScript), report)[0].bytes;
    for (const char *const part :
         {"# A \\<Thing\\> `thing`\n\nFirst.\n\nSecond.\n",
          "Disabled when **Kind** is **B** and **On** is on, or when **X** is above `3`.",
          "At least 0. The slider goes from 0 to 5.", "Hidden when **On** is off.",
          "- **Type \\*A\\***: `a`\n", "Default **B**.", "There are 4 items at first. From 1 to 4.",
          "by the expression `1+1`", "They are numbered from 0.", "It isn't shown."}) {
        EXPECT_NE(page.find(part), std::string::npos) << part << "\n\n" << page;
    }

    // A toggle and a choice are compared as words, a strip as a number, a string as its text.
    const std::pair<const char *, const char *> rows[] = {
        {"t == on", "**t** is on."},
        {"t == 1", "**t** is `1` (never: what is compared is the word off or on)."},
        {"t != 0", "**t** isn't `0` (always: what is compared is the word off or on)."},
        {"o == b", "**o** is **B**."},
        {"o == 2", "**o** is **Two**."},
        {"o == 1", "**o** is `1` (never: what is compared is the token of an entry of its menu)."},
        {"o > 1", "**o** is above `1`."},
        {"s == 1", "**s** is **B**."},
        {"s == b", "**s** is `b` (never: what is compared is a number)."},
        {"x == 1", "**x** is `1`."},
        {"x == b", "**x** is **B**."}};
    for (const auto &[condition, phrase] : rows) {
        const std::string menu = " menu { a A b B 2 Two } } ";
        const std::string text =
            "{ name n parm { name t label t type toggle } parm { name o label o type ordinal" +
            menu + "parm { name s label s type buttonstrip" + menu +
            "parm { name x label x type string" + menu + "parm { name f type float hidewhen \"{ " +
            condition + " }\" } }";
        const std::string bytes = NODdocument(*read(text.c_str()), report)[0].bytes;
        EXPECT_NE(bytes.find(std::string(" Hidden when ") + phrase), std::string::npos) << bytes;
    }
}

namespace
{

std::string reasonsOf(NOD_Node &node, const NOD_ShownState &state)
{
    std::string text;
    for (const NOD_StateReason &reason : state.reasons) {
        text += reason.asText() + " " + node.getParms().getParmPtr(reason.parmIndex)->getToken() +
                (reason.tab < 0 ? "" : ":" + std::to_string(reason.tab)) + ";";
    }
    return text;
}

} // namespace

TEST(NodeDescribe, StatesHaveTheirReasons)
{
    NOD_Scene scene;
    NOD_Report report;
    NOD_Node &node = *scene.add("/thing", read(theScript), report);
    const TRK_EvalContext::Scope context(BASgetSTID(), 0.0);
    NODgrowBlocks(node, 0.0);
    NOD_TextEdit edit(node, 0.0, report);
    const auto check = [&](const char *token, int tab, const char *looks, const char *reasons) {
        const int index = node.getParms().getParmIndex(token);
        const NOD_ShownParm all = NOD_Conditions::shownOf(node.getParms())[std::size_t(index)];
        const NOD_ShownState &state = tab < 0 ? all : all.tabs[std::size_t(tab)];
        const std::string is = std::string(state.disabledFlag ? "d" : "-") +
                               (state.hiddenFlag ? "h" : "-") + (state.noCookFlag ? "n" : "-");
        EXPECT_EQ(is + " " + reasonsOf(node, state), std::string(looks) + " " + reasons) << token;
    };
    check("x", -1, "d--", "disablewhen { kind == b on == on } { x > 3 } x;");
    check("z", -1, "-h-", "invisible z;");
    check("w", -1, "dh-", "disablewhentab { x == 0 } one:1;invisibletab one:1;");
    check(
        "v", -1, "dhn",
        "nocookwhen { v == 0 } v;invisible deep;disablewhentab { x == 0 } one:1;invisibletab one:1;");
    check("one", 0, "---", "");
    check("one", 1, "dh-", "disablewhentab { x == 0 } one:1;invisibletab one:1;");
    check("m1", -1, "-h-", "hidewhen { m1 == 2 } m1;invisible m;");
    check("n0", -1, "---", "");
    ASSERT_TRUE(edit.assign("x=1") && edit.assign("on=0")) << report.asText();
    check("x", -1, "-h-", "hidewhen { on == off } one;");
    check("one", 1, "-h-", "invisibletab one:1;hidewhen { on == off } one;");
    check("w", -1, "-h-", "invisibletab one:1;hidewhen { on == off } one;");

    // What conditions say is the same as without the interface's own hiding.
    const auto states = NOD_Conditions::statesOf(node.getParms());
    const auto shown = NOD_Conditions::shownOf(node.getParms());
    ASSERT_EQ(states.size(), shown.size());
    for (std::size_t i = 0; i < states.size(); ++i) {
        const std::string all = reasonsOf(node, shown[i]);
        EXPECT_EQ(states[i].disabledFlag, shown[i].disabledFlag);
        EXPECT_EQ(states[i].noCookFlag, shown[i].noCookFlag);
        EXPECT_EQ(states[i].hiddenFlag, all.find("hidewhen") != std::string::npos) << all;
        EXPECT_EQ(shown[i].hiddenFlag,
                  states[i].hiddenFlag || all.find("invisible") != std::string::npos);
    }
}

// Places count without any condition, too.
TEST(NodeDescribe, FoldersHideWithoutConditions)
{
    const Interface interface = read("group { name g invisibletab parm { name a type float } }");
    NOD_Node node(interface->getTemplates());
    EXPECT_TRUE(NOD_Conditions::shownOf(node.getParms())[1].hiddenFlag);
    EXPECT_FALSE(NOD_Conditions::statesOf(node.getParms())[1].hiddenFlag);
}

TEST(NodeDescribe, ScenesAreCounted)
{
    NOD_Scene scene;
    scene.makeCurrent();
    NOD_Report report;
    const Interface interface = read(theScript);
    NOD_Node &first = *scene.add("/one", interface, report);
    scene.add("/one/two", interface, report);
    scene.add("/group", nullptr, report);
    NOD_TextEdit edit(first, 0.0, report);
    ASSERT_TRUE(edit.assignExpression("yx=$F") && edit.assignExpression("yy=ch(\"nothere\")") &&
                edit.assignKey("yz@0=1") && edit.assignKey("yz@1=2") && edit.assign("x=2"));
    const NOD_EvaluationCount evaluated = NODevaluateAll(scene.getRoot(), 0.0);
    const NOD_Stats stats = NOD_Stats::of(scene.getRoot());
    EXPECT_EQ(evaluated.failed, 1);
    EXPECT_EQ(evaluated.components, stats.components);
    EXPECT_EQ(stats.nodes, 2);
    ASSERT_EQ(stats.types.size(), 1u);
    EXPECT_EQ(stats.types[0].name, "thing");
    EXPECT_EQ(stats.types[0].parameters, stats.parameters);
    EXPECT_EQ(stats.parameters, 2 * (2 + 3 + 2 + 2 + 4 + 2));
    EXPECT_EQ(stats.components, stats.parameters + 2 * 2);
    EXPECT_EQ(stats.folders, 2 * 3);
    EXPECT_EQ(stats.blocks, 4);
    EXPECT_EQ(stats.items, 2 * (4 + 2));
    EXPECT_EQ(stats.menus, 2);
    EXPECT_EQ(stats.conditions, 2 * (1 + 1 + 1 + 1 + 4));
    EXPECT_EQ(stats.channels, 3 + 8); // those of expressions as defaults are made on request
    EXPECT_EQ(stats.expressions, 2 + 8);
    EXPECT_GE(stats.keys, 4);
    EXPECT_GT(stats.listBytes, 0);
    EXPECT_GT(stats.channelBytes, 0);
    EXPECT_GT(stats.interfaceBytes, std::int64_t(interface->getText().size()));
}
