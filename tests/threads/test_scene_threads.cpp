// A scene that nobody changes, evaluated by all: expressions across nodes, texts, menus in Python, conditions.
// Another one is loaded and saved beside it.

#include <common/Threads.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Conditions.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_SceneFile.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace
{

constexpr int theThreads = 8;
constexpr int theNodes = 60;
constexpr const char *theItem = R"({ name item
  parm { name v type float default { "$F" } }
  parm { name t type vector }
  parm { name text type string }
  parm { name pick type string menu { [ "return ['a', 'A', str(vmr.ch('ty')), 'B']" ] language python } }
  parm { name c type float disablewhen "{ `ch('../n1/v')` > 3 v != 0 }" }
  multiparm { name items default 2 parm { name w# type float hidewhen "{ v == 1 }" } } })";

/// Everything that the node says.
std::string allOf(NOD_Node &node, int thread)
{
    std::string all;
    for (int i = 0; i < node.getParms().getEntries(); ++i) {
        const ZEL_Parm &parm = *node.getParms().getParmPtr(i);
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            KIT_String value;
            parm.getValue(0.5, value, k, true, thread);
            all += value.toStdString() + (parm.isTimeDependent(k) ? "~ " : " ");
        }
        const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
        const ZEL_Name *names = nullptr;
        if (menu && menu->getScript()) {
            menu->getChoiceNames(names, nullptr, nullptr, &parm, false);
        }
        for (; names && !names->isSentinel(); ++names) {
            all += std::string(names->getToken()) + "=" + names->getLabel() + " ";
        }
    }
    for (const NOD_ParmState &state : NOD_Conditions::statesOf(node.getParms())) {
        all += state.disabledFlag ? 'd' : state.hiddenFlag ? 'h' : '.';
    }
    return all;
}

/// What all evaluate.
std::vector<NOD_Node *> fill(NOD_Scene &scene, NOD_Report &report)
{
    const auto item = NOD_Interface::fromText(theItem, "item", report);
    EXPECT_TRUE(item) << report.asText();
    std::vector<NOD_Node *> nodes;
    for (int i = 0; i < theNodes; ++i) {
        const std::string before = "../n" + std::to_string(i / 2);
        NOD_Node &node = *scene.add("/n" + std::to_string(i), item, report);
        nodes.push_back(&node);
        ZEL_ParmList &parms = node.getParms();
        parms.evalInt("items", 0, 0.0);
        if (i > 0) {
            const std::string text = "ch('" + before + "/ty') + ch('v')";
            parms.getParmPtr("t")->setExpression(0.0, text.c_str(), TRK_LANGUAGE_NATIVE, 1, false,
                                                 true, true);
        }
        const std::string words = i % 2 ? "`chs('" + before + "/text')` $OS" : "see /n3 of $F";
        parms.setString(KIT_String(words.c_str(), true), TRK_MEANING_LITERAL, "text", 0, 0.0, true);
    }
    scene.getGraph().update(0.5);
    return nodes;
}

TEST(SceneThreads, AllNodesAreEvaluatedByAllAtOnce)
{
    NOD_Report report;
    NOD_Scene scene;
    scene.makeCurrent();
    const std::vector<NOD_Node *> nodes = fill(scene, report);
    std::vector<std::string> expected;
    for (NOD_Node *node : nodes) {
        expected.push_back(allOf(*node, BASgetSTID()));
    }
    EXPECT_NE(expected[5], expected[6]);
    EXPECT_NE(expected[5].find("a=A "), std::string::npos) << expected[5];
    std::vector<std::vector<std::string>> found(theThreads);
    onThreads(theThreads, [&](int t) {
        const int thread = BASgetSTID();
        for (int i = 0; i < theNodes; ++i) {
            found[std::size_t(t)].push_back(
                allOf(*nodes[std::size_t((i + 7 * t) % theNodes)], thread));
        }
    });
    for (int t = 0; t < theThreads; ++t) {
        for (int i = 0; i < theNodes; ++i) {
            EXPECT_EQ(found[std::size_t(t)][std::size_t(i)],
                      expected[std::size_t((i + 7 * t) % theNodes)]);
        }
    }
}

/// By the thread that owns them, while others evaluate the first one.
TEST(SceneThreads, AnotherIsLoadedAndSavedBeside)
{
    NOD_Report report;
    NOD_Scene scene;
    scene.makeCurrent();
    const std::vector<NOD_Node *> nodes = fill(scene, report);
    const auto save = [](NOD_Scene &from, NOD_SaveOptions::Form form, NOD_Report &told) {
        NOD_SaveOptions options;
        options.form = form;
        std::ostringstream os;
        NOD_SceneFile::save(from, os, options, told);
        return os.str();
    };
    constexpr NOD_SaveOptions::Form forms[] = {NOD_SaveOptions::Form::TEXT,
                                               NOD_SaveOptions::Form::BINARY};
    const std::string bytes[] = {save(scene, forms[0], report), save(scene, forms[1], report)};
    ASSERT_TRUE(report.isEmpty()) << report.asText();
    const std::string expected = allOf(*nodes[7], BASgetSTID());
    std::vector<std::string> faults(theThreads);
    onThreads(theThreads, [&](int t) {
        std::string &fault = faults[std::size_t(t)];
        for (int i = 0; t > 0 && i < theNodes; ++i) {
            fault += allOf(*nodes[7], BASgetSTID()) == expected ? "" : "another value";
        }
        for (int i = 0; t == 0 && i < 2; ++i) {
            NOD_Scene own;
            NOD_Report told;
            std::istringstream is(bytes[i]);
            NOD_SceneFile::load(own, is, "own", {}, told);
            fault += save(own, forms[1 - i], told) == bytes[1 - i] ? "" : "other bytes ";
            fault += told.asText();
        }
    });
    EXPECT_EQ(faults, std::vector<std::string>(theThreads));
}

} // namespace
