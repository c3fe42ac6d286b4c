// Scenes: nodes are added, renamed, moved, copied and removed under the references between them.

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_UndoStack.h>
#include <ZEL/ZEL_FloatHandle.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_StringHandle.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr const char *theScript = R"({ name item
  parm { name v type float }
  parm { name number type float }
  parm { name text type string }
  parm { name words type string }
  parm { name code type float } })";

std::string pathOf(const NOD_Node &node)
{
    KIT_WorkBuffer buffer;
    return node.getFullPath(buffer);
}

/// A scene of nodes that refer to each other, with what each reference is meant to lead to.
struct Tree
{
    struct Targets
    {
        NOD_Node *number = nullptr;
        NOD_Node *text = nullptr;
        NOD_Node *words = nullptr;
        NOD_Node *code = nullptr;
    };

    Tree() : item(NOD_Interface::fromText(theScript, "item", report)) { add(scene.getRoot(), "a"); }

    NOD_Node *add(NOD_Node &parent, const std::string &name)
    {
        const std::string above = pathOf(parent);
        NOD_Node *const node = scene.add((above == "/" ? "" : above) + "/" + name, item, report);
        if (node) {
            node->getParms().setFloat(++last, "v", 0, 0.0, true);
            nodes.push_back(node);
            targets[node];
        }
        return node;
    }
    NOD_Node &any() { return *nodes[random() % nodes.size()]; }

    /// A path to a node: absolute, or relative by way of the root.
    std::string pathFrom(const NOD_Node &from, const NOD_Node &to)
    {
        if (random() % 2) {
            return pathOf(to);
        }
        std::string path;
        for (const NOD_Node *at = &from; at->getParent(); at = at->getParent()) {
            path += path.empty() ? ".." : "/..";
        }
        return path + pathOf(to);
    }

    void refer(NOD_Node &from, NOD_Node &to)
    {
        ZEL_ParmList &parms = from.getParms();
        const std::string path = pathFrom(from, to);
        const auto drive = [&](const char *token, const std::string &text,
                               TRK_ExprLanguage language) {
            parms.getParmPtr(token)->setExpression(0.0, text.c_str(), language, 0, false, true,
                                                   true);
        };
        const auto write = [&](const char *token, const std::string &text) {
            parms.setString(KIT_String(text.c_str()), TRK_MEANING_LITERAL, token, 0, 0.0, true);
        };
        switch (random() % 4) {
        case 0:
            drive("number", "ch('" + path + "/v') + 0 * ch(\"v\")", TRK_LANGUAGE_NATIVE);
            targets[&from].number = &to;
            break;
        case 1:
            write("text", "a/file ../is no node `chs(\"" + path + "/v\")`");
            targets[&from].text = &to;
            break;
        case 2:
            write("words", "x/y " + path + " ..no ../../textures/a.pic");
            targets[&from].words = &to;
            break;
        default:
            drive("code", "vmr.ch('" + path + "/v')", TRK_LANGUAGE_PYTHON);
            targets[&from].code = &to;
        }
    }

    double value(NOD_Node &node, const char *token)
    {
        return node.getParms().evalFloat(token, 0, 0.0);
    }
    std::string text(NOD_Node &node, const char *token)
    {
        KIT_String text;
        node.getParms().evalString(text, token, 0, 0.0);
        return text.toStdString();
    }

    void check()
    {
        for (NOD_Node *node : nodes) {
            const Targets &to = targets[node];
            const std::string path = pathOf(*node);
            if (to.number) {
                EXPECT_EQ(value(*node, "number"), value(*to.number, "v")) << path;
            }
            if (to.code) {
                EXPECT_EQ(value(*node, "code"), value(*to.code, "v")) << path;
            }
            if (to.text) {
                EXPECT_EQ(text(*node, "text"), "a/file ../is no node " + text(*to.text, "v"))
                    << path;
            }
            if (to.words) {
                const std::string words = text(*node, "words");
                EXPECT_EQ(words.rfind("x/y ", 0), 0u);
                const std::size_t end = words.find(" ..no ../../textures/a.pic");
                ASSERT_NE(end, std::string::npos) << words;
                EXPECT_EQ(node->findNode(words.substr(4, end - 4).c_str()), to.words) << words;
            }
        }
    }

    void forget(const std::vector<NOD_Node *> &gone)
    {
        for (NOD_Node *one : gone) {
            nodes.erase(std::find(nodes.begin(), nodes.end(), one));
            targets.erase(one);
        }
        for (auto &[node, to] : targets) {
            for (NOD_Node **target : {&to.number, &to.text, &to.words, &to.code}) {
                if (std::find(gone.begin(), gone.end(), *target) != gone.end()) {
                    *target = nullptr;
                }
            }
        }
    }

    static void appendTree(NOD_Node &node, std::vector<NOD_Node *> &out)
    {
        out.push_back(&node);
        for (const auto &child : node.getChildren()) {
            appendTree(*child, out);
        }
    }

    void copied(NOD_Node &original, NOD_Node &copy, std::map<NOD_Node *, NOD_Node *> &copies)
    {
        std::vector<NOD_Node *> children;
        copies[&original] = &copy;
        nodes.push_back(&copy);
        for (const auto &child : copy.getChildren()) {
            copied(*original.getChild(child->getName()), *child, copies);
        }
    }

    void copy(NOD_Node &node, NOD_Node &parent)
    {
        NOD_Node *const made =
            scene.copy(node, parent, NOD_Scene::freeName(parent, "copy"), report);
        ASSERT_TRUE(made) << report.asText();
        std::map<NOD_Node *, NOD_Node *> copies;
        copied(node, *made, copies);
        for (const auto &[from, to] : copies) {
            to->getParms().setFloat(++last, "v", 0, 0.0, true);
            Targets meant = targets[from];
            for (NOD_Node **target : {&meant.number, &meant.text, &meant.words, &meant.code}) {
                const auto copy = copies.find(*target);
                *target = copy == copies.end() ? *target : copy->second;
            }
            targets[to] = meant;
        }
    }

    NOD_Report report;
    NOD_Scene scene;
    std::shared_ptr<const NOD_Interface> item;
    std::vector<NOD_Node *> nodes;
    std::map<NOD_Node *, Targets> targets;
    std::mt19937 random{7};
    double last = 0.0;
};

TEST(Tree, ReferencesFollowTheirNodes)
{
    Tree tree;
    for (int step = 0; step < 400; ++step) {
        NOD_Node &node = tree.any();
        NOD_Node &other = tree.any();
        switch (tree.random() % 8) {
        case 0:
        case 1: tree.add(node, std::string(1, char('a' + tree.random() % 4))); break;
        case 2:
        case 3: tree.refer(node, other); break;
        case 4:
            tree.scene.rename(node, std::string(1, char('a' + tree.random() % 4)), tree.report);
            break;
        case 5: tree.scene.move(node, other, tree.report); break;
        case 6:
            if (tree.nodes.size() < 30) {
                tree.copy(node, other);
            }
            break;
        default:
            if (tree.nodes.size() > 12) {
                std::vector<NOD_Node *> gone;
                Tree::appendTree(node, gone);
                if (gone.size() < tree.nodes.size()) {
                    tree.forget(gone);
                    EXPECT_TRUE(tree.scene.remove(node, tree.report));
                }
            }
        }
        tree.check();
        ASSERT_FALSE(testing::Test::HasFailure()) << "step " << step;
    }
}

TEST(Tree, ReferencesThatNoNewNameCanBeWrittenForAreTold)
{
    NOD_Scene scene;
    NOD_Report report;
    const auto item = NOD_Interface::fromText(theScript, "item", report);
    NOD_Node *const a = scene.add("/a", item, report);
    NOD_Node *const b = scene.add("/b", item, report);
    ASSERT_TRUE(a && b);
    ZEL_FloatHandle(b->getParms(), "number").expression("ch('/a/v')");
    ZEL_StringHandle(b->getParms(), "words").set("/a");
    EXPECT_TRUE(scene.rename(*a, "c", report));
    EXPECT_TRUE(report.isEmpty()) << report.asText();
    EXPECT_TRUE(scene.rename(*a, "it's", report));
    EXPECT_EQ(report.asText(),
              "/b/number: warning: 1 references can't be written for the new names "
              "and are lost\n");
    report.clear();
    scene.getUndo().undo();
    EXPECT_TRUE(scene.rename(*a, "two words", report));
    EXPECT_EQ(report.asText(), "/b/words: warning: 1 references can't be written for the new names "
                               "and are lost\n");
}

/// Each with undo and without; under the address sanitizer this shows what is used after it is gone.
TEST(Tree, AChangeCallbackMayTakeAwayWhatItIsToldOf)
{
    const std::vector<std::function<void(NOD_Scene &, NOD_Node &)>> doings = {
        [](NOD_Scene &scene, NOD_Node &node) {
            NOD_Report report;
            scene.remove(node, report);
        },
        [](NOD_Scene &scene, NOD_Node &node) {
            NOD_Report report;
            scene.remove(node, report);
            scene.getUndo().clear();
        },
        [](NOD_Scene &scene, NOD_Node &) { scene.clear(); },
        [](NOD_Scene &, NOD_Node &node) {
            node.renewParms(std::shared_ptr<const NOD_Interface>(node.getInterface()));
        },
        [](NOD_Scene &, NOD_Node &node) { node.setChangeCallback({}); },
    };
    for (const bool undoFlag : {true, false}) {
        for (std::size_t i = 0; i < doings.size(); ++i) {
            NOD_Scene scene;
            NOD_Report report;
            NOD_Node *const node =
                scene.add("/a", NOD_Interface::fromText(theScript, "item", report), report);
            scene.getUndo().setLimits(undoFlag ? 10 : 0, 1 << 20);
            int calls = 0;
            const std::string text = "captured by the callback, and longer than a short string";
            node->setChangeCallback([&, text](NOD_Node &changed, TRK_CHANGE_TYPE, int) {
                if (calls++ == 0) {
                    doings[i](scene, changed);
                    EXPECT_EQ(text.size(), 56u);
                }
            });
            ZEL_FloatHandle(node->getParms(), "v").set(1.0);
            EXPECT_GE(calls, 1);
            EXPECT_EQ(scene.find("/a") != nullptr, i > 2) << i;
            EXPECT_TRUE(scene.add("/b", nullptr, report)) << report.asText();
        }
    }
}

TEST(Tree, RefusalsSayWhy)
{
    NOD_Scene scene;
    NOD_Report report;
    NOD_Node *const a = scene.add("/a", nullptr, report);
    NOD_Node *const b = scene.add("a/b", nullptr, report);
    ASSERT_TRUE(a && b && report.isEmpty());
    EXPECT_FALSE(scene.add("/a", nullptr, report));
    EXPECT_FALSE(scene.add("/no/b", nullptr, report));
    EXPECT_FALSE(scene.add("/a/..", nullptr, report));
    EXPECT_FALSE(scene.add("/c", NOD_Interface::fromText("parm {", "c", report), report));
    EXPECT_FALSE(scene.rename(scene.getRoot(), "r", report));
    EXPECT_FALSE(scene.rename(*b, "x/y", report));
    EXPECT_FALSE(scene.move(*a, *b, report));
    EXPECT_FALSE(scene.copy(*b, *a, "b", report));
    EXPECT_TRUE(scene.rename(*b, "b", report));
    EXPECT_EQ(report.asText(), "/a: there is a node of that name already\n"
                               "/no/b: there is no node /no\n"
                               "/a: \"..\" can't be a node's name\n"
                               "c(1): parameter without a name\n"
                               "/c: there is no interface for the node\n"
                               "/: the root can't be renamed, moved, copied or removed\n"
                               "/a: \"x/y\" can't be a node's name\n"
                               "/a: a node can't be moved into itself\n"
                               "/a/b: there is a node of that name already\n");
    EXPECT_EQ(NOD_Scene::freeName(*a, "b"), "b1");
    EXPECT_EQ(NOD_Scene::freeName(*a, "b"), "b1") << "nobody has taken it";
    for (const char *name : {"b1", "b2", "b3"}) {
        EXPECT_EQ(NOD_Scene::freeName(*a, "b"), name);
        a->addChild(name);
    }
    EXPECT_TRUE(scene.rename(*a->getChild("b2"), "c", report));
    EXPECT_EQ(NOD_Scene::freeName(*a, "b"), "b2");
    scene.addInterface(nullptr);
    EXPECT_TRUE(scene.getInterfaces().empty());
}

} // namespace
