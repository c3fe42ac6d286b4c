// Scenes: nodes are added, renamed, moved, copied and removed under the references between them.

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_UndoStack.h>
#include <SNK/SNK_Python.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_NodePaths.h>
#include <ZEL/ZEL_FloatHandle.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_StringHandle.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
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
  parm { name key type string }
  parm { name code type float } })";

std::string pathOf(const NOD_Node &node)
{
    KIT_WorkBuffer buffer;
    return node.getFullPath(buffer);
}

/// A reference in a node's parameter, with /X in the place of the path.
struct Spelling
{
    const char *token;
    const char *text;
    TRK_NodePaths::Form form;
};

using Form = TRK_NodePaths::Form;

constexpr Spelling theSpellings[] = {
    {"number", "ch('/X/v') + 0 * ch(\"v\")", Form::NATIVE},
    {"number", "ch ( \"/X/v\" , $T ) + 0 * strlen('ch(\"/X/v\"')", Form::NATIVE},
    {"text", "a/file ../is no node `chs(\"/X/v\")`", Form::TEXT},
    {"text", "a/file \\`../is no node `chs('/X/v')`", Form::TEXT},
    {"words", "x/y /X ..no ../../textures/a.pic", Form::TEXT},
    {"words", "/X", Form::TEXT},
    {"key", "\"/X\"", Form::NATIVE_TEXT},
    {"key", "'x/y /X ..no ../../textures/a.pic'", Form::NATIVE_TEXT},
    {"key", "'/X'", Form::PYTHON_TEXT},
    {"key", "r'''/X'''", Form::PYTHON_TEXT},
    {"code", "vmr.ch('/X/v')", Form::PYTHON},
    {"code", "vmr.ch(path=r\"/X/v\") # it's", Form::PYTHON},
    {"code", "vmr.node('''/X''').parm('v').eval()", Form::PYTHON},
    {"code", "vmr.parm(f\"/X/{'v'}\").eval()", Form::PYTHON},
    {"code", "float(f\"{vmr.ch('/X/v')}\")", Form::PYTHON},
};

/// A scene of nodes that refer to each other, with what each reference is meant to lead to.
struct Tree
{
    explicit Tree(bool odd) : item(NOD_Interface::fromText(theScript, "item", report)), isOdd(odd)
    {
        scene.getRoot().setVariable("a", "known");
        add(scene.getRoot(), "a");
    }

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
    std::string anyName()
    {
        if (!isOdd) {
            return std::string(1, char('a' + random() % 4));
        }
        static constexpr const char *pieces[] = {"a", "'",  "\"",       "\\",  "$", "`",
                                                 "{", " ",  "}",        "~",   "#", "\n",
                                                 "(", "$a", "\xc3\xa9", "\xff"};
        std::string name;
        for (unsigned left = 1 + unsigned(random() % 3); left > 0; --left) {
            name += pieces[random() % std::size(pieces)];
        }
        return name;
    }

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
        const Spelling &spelling = theSpellings[random() % std::size(theSpellings)];
        const std::string path = pathFrom(from, to);
        std::string text = spelling.text;
        const auto write = [&](std::string &there) {
            const bool isThere = there == "/X";
            there = isThere ? path : there;
            return isThere;
        };
        const bool isPython = spelling.form == Form::PYTHON || spelling.form == Form::PYTHON_TEXT;
        if (TRK_NodePaths::forEach(text, spelling.form, &from.getChannels(), write).changed == 0) {
            return;
        }
        if (spelling.form == Form::TEXT) {
            from.getParms().setString(KIT_String(text.c_str()), TRK_MEANING_LITERAL, spelling.token,
                                      0, 0.0, true);
        } else {
            from.getParms()
                .getParmPtr(spelling.token)
                ->setExpression(0.0, text.c_str(),
                                isPython ? TRK_LANGUAGE_PYTHON : TRK_LANGUAGE_NATIVE, 0, false,
                                true, true);
        }
        targets[&from][spelling.token] = &to;
    }

    /// References that are told as lost aren't meant to lead anywhere.
    void takeLost()
    {
        for (const NOD_Message &message : report.getMessages()) {
            if (message.text.find("can't be written") == std::string::npos) {
                continue;
            }
            const std::size_t slash = message.subject.rfind('/');
            NOD_Node *const node = scene.find(message.subject.substr(0, slash).c_str());
            ASSERT_TRUE(isOdd && node) << message.subject << message.text;
            targets[node].erase(message.subject.substr(slash + 1));
            const char *const reasons[] = {"a path with a blank can only be all of a text",
                                           "a text of Python's is UTF-8",
                                           "can't have its quotes or backslashes",
                                           "what is computed beside it can't be in its spelling"};
            const auto isReason = [&](const char *reason) {
                return message.text.find(reason) != std::string::npos;
            };
            EXPECT_TRUE(std::any_of(std::begin(reasons), std::end(reasons), isReason))
                << message.text;
            ++lost;
        }
        report.clear();
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
            for (const auto &[token, to] : targets[node]) {
                const std::string name = pathOf(*node) + "/" + token;
                const std::string word = text(*node, token.c_str());
                const std::size_t end = word.find(" ..no ../../textures/a.pic");
                if (token == "number" || token == "code") {
                    KIT_String expression;
                    node->getParms()
                        .getParmPtr(token.c_str())
                        ->getExpressionOnly(0.0, expression, 0, BASgetSTID());
                    EXPECT_EQ(value(*node, token.c_str()), value(*to, "v"))
                        << name << ": " << expression.nonNullStr() << SNKgetExpressionError();
                } else if (token == "text") {
                    const std::size_t at = word.find(" node ");
                    ASSERT_NE(at, std::string::npos) << word;
                    EXPECT_EQ(word.substr(at), " node " + text(*to, "v")) << name;
                } else if (end == std::string::npos) {
                    EXPECT_EQ(node->findNode(word.c_str()), to) << name << ": " << word;
                } else {
                    EXPECT_EQ(word.rfind("x/y ", 0), 0u);
                    EXPECT_EQ(node->findNode(word.substr(4, end - 4).c_str()), to) << word;
                }
            }
        }
    }

    void forget(const std::vector<NOD_Node *> &gone)
    {
        const auto isGone = [&](NOD_Node *node) {
            return std::find(gone.begin(), gone.end(), node) != gone.end();
        };
        nodes.erase(std::remove_if(nodes.begin(), nodes.end(), isGone), nodes.end());
        for (auto node = targets.begin(); node != targets.end();) {
            for (auto to = node->second.begin(); to != node->second.end();) {
                to = isGone(to->second) ? node->second.erase(to) : std::next(to);
            }
            node = isGone(node->first) ? targets.erase(node) : std::next(node);
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
        copies[&original] = &copy;
        nodes.push_back(&copy);
        for (const auto &child : copy.getChildren()) {
            copied(*original.getChild(child->getName()), *child, copies);
        }
    }

    void copy(NOD_Node &node, NOD_Node &parent)
    {
        NOD_Node *const made =
            scene.copy(node, parent, NOD_Scene::freeName(parent, anyName()), report);
        ASSERT_TRUE(made) << report.asText();
        std::map<NOD_Node *, NOD_Node *> copies;
        copied(node, *made, copies);
        for (const auto &[from, to] : copies) {
            to->getParms().setFloat(++last, "v", 0, 0.0, true);
            auto meant = targets[from];
            for (auto &[token, target] : meant) {
                const auto copy = copies.find(target);
                target = copy == copies.end() ? target : copy->second;
            }
            targets[to] = meant;
        }
    }

    NOD_Report report;
    NOD_Scene scene;
    std::shared_ptr<const NOD_Interface> item;
    bool isOdd;
    std::vector<NOD_Node *> nodes;
    std::map<NOD_Node *, std::map<std::string, NOD_Node *>> targets;
    std::mt19937 random{7};
    double last = 0.0;
    int lost = 0;
};

class TreeLaw : public testing::TestWithParam<bool>
{};

TEST_P(TreeLaw, ReferencesFollowTheirNodes)
{
    Tree tree(GetParam());
    for (int step = 0; step < 600; ++step) {
        NOD_Node &node = tree.any();
        NOD_Node &other = tree.any();
        switch (tree.random() % 8) {
        case 0:
        case 1: tree.add(node, tree.anyName()); break;
        case 2:
        case 3: tree.refer(node, other); break;
        case 4: tree.scene.rename(node, tree.anyName(), tree.report); break;
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
        tree.takeLost();
        tree.check();
        ASSERT_FALSE(testing::Test::HasFailure()) << "step " << step;
    }
    EXPECT_EQ(tree.lost > 0, tree.isOdd);
}

INSTANTIATE_TEST_SUITE_P(Names, TreeLaw, testing::Bool());

TEST(Tree, ParametersOfNodePathsNeedNoSlash)
{
    NOD_Scene scene;
    NOD_Report report;
    const auto item = NOD_Interface::fromText(R"({ name item
      parm { name one type oppath } parm { name all type oplist } parm { name text type string } })",
                                              "item", report);
    NOD_Node *const a = scene.add("/a", item, report);
    NOD_Node *const b = scene.add("/a/b", item, report);
    NOD_Node *const c = scene.add("/c", item, report);
    ASSERT_TRUE(a && b && c);
    const auto text = [](NOD_Node &node, const char *token) {
        return ZEL_StringHandle(node.getParms(), token)(0.0);
    };
    for (const char *token : {"one", "all", "text"}) {
        ZEL_StringHandle(a->getParms(), token).set(token == std::string("all") ? "b no ." : "b");
        ZEL_StringHandle(b->getParms(), token).set("..");
    }
    EXPECT_TRUE(scene.rename(*b, "d", report));
    EXPECT_EQ(text(*a, "one") + "; " + text(*a, "all") + "; " + text(*a, "text"), "d; d no .; b");
    EXPECT_TRUE(scene.move(*b, *c, report));
    EXPECT_EQ(text(*a, "one") + "; " + text(*a, "all"), "../c/d; ../c/d no .");
    EXPECT_EQ(text(*b, "one") + "; " + text(*b, "text"), "../../a; ..");
    EXPECT_FALSE(report.hasErrors());
}

TEST(Tree, ReferencesThatNoNewNameCanBeWrittenForAreTold)
{
    const auto python = [](const char *token) {
        return [token](NOD_Node &node, const char *text) {
            node.getParms().getParmPtr(token)->setExpression(0.0, text, TRK_LANGUAGE_PYTHON, 0,
                                                             false, true, true);
        };
    };
    const auto literal = [](NOD_Node &node, const char *text) {
        ZEL_StringHandle(node.getParms(), "words").set(text);
    };
    struct Case
    {
        std::function<void(NOD_Node &, const char *)> write;
        const char *text;
        const char *name;
        const char *parm; ///< null: none is lost
        const char *why;
    };
    const Case cases[] = {
        {literal, "/a", "two words", nullptr, ""},
        {literal, "see /a", "two words", "words", "a path with a blank can only be all of a text"},
        {literal, "`x' /a `", "it's", "words", "its quotes would change what is in backticks"},
        {python("key"), "'/a'", "\xff", "key", "a text of Python's is UTF-8"},
        {python("code"), "vmr.ch('/a/v')", "\xff", nullptr, ""},
        {python("code"), "vmr.ch(f'/a/{\"v\"}')", "\xff", "code",
         "what is computed beside it can't be in its spelling"},
        {python("code"), "float(f\"{vmr.ch('/a/v')}\")", "it's", "code",
         "braces in a formatted text can't have its quotes or backslashes"},
        {python("code"), "float(f\"{vmr.ch('/a/v')}\")", "two {words}", nullptr, ""},
    };
    for (const auto &[write, text, name, parm, why] : cases) {
        NOD_Scene scene;
        NOD_Report report;
        const auto item = NOD_Interface::fromText(theScript, "item", report);
        NOD_Node *const a = scene.add("/a", item, report);
        NOD_Node *const b = scene.add("/b", item, report);
        ASSERT_TRUE(a && b);
        write(*b, text);
        EXPECT_TRUE(scene.rename(*a, name, report));
        const std::string told = std::string("/b/") + (parm ? parm : "") +
                                 ": warning: lost references: 1, which can't be written for the "
                                 "new names: " +
                                 why + "\n";
        EXPECT_EQ(report.asText(), parm ? told : "") << text;
    }
}

TEST(Tree, KnownVariablesInPathsAreNotNames)
{
    NOD_Scene scene;
    NOD_Report report;
    const auto item = NOD_Interface::fromText(theScript, "item", report);
    scene.getRoot().setVariable("a", "known");
    NOD_Node *const odd = scene.add("/$a", item, report);
    NOD_Node *const reader = scene.add("/b", item, report);
    ZEL_FloatHandle number(reader->getParms(), "number");
    for (const auto &[text, result] :
         {std::pair("ch(\"/$a/v\")", "ch(\"/$a/v\")"), std::pair("ch('/$a/v')", "ch('/c/v')")}) {
        number.expression(text);
        EXPECT_TRUE(scene.rename(*odd, "c", report));
        KIT_String expression;
        reader->getParms().getParmPtr("number")->getExpressionOnly(0.0, expression, 0,
                                                                   BASgetSTID());
        EXPECT_STREQ(expression.c_str(), result);
        EXPECT_TRUE(scene.rename(*odd, "$a", report));
    }
    scene.getRoot().clearVariables();
    number.expression("ch(\"/$a/v\")");
    EXPECT_TRUE(scene.rename(*odd, "$x", report));
    KIT_String expression;
    reader->getParms().getParmPtr("number")->getExpressionOnly(0.0, expression, 0, BASgetSTID());
    EXPECT_STREQ(expression.c_str(), "ch(\"/\\$x/v\")");
    EXPECT_TRUE(report.isEmpty()) << report.asText();
}

/// What belongs to the node is rewritten, but for what nobody can read here.
TEST(Tree, KeptSectionsThatCameBackFollow)
{
    NOD_Scene scene;
    NOD_Report report;
    NOD_Node *const a = scene.add("/a", nullptr, report);
    NOD_Node *const b = scene.add("/b", nullptr, report);
    NOD_Node *const x = scene.add("/x", nullptr, report);
    const auto values = [](const std::string &path) {
        return NOD_Node::Sections{{"values", "{\nversion 0.8\ns\t(\t" + path + "\t)\n}\n"}};
    };
    b->keepSections("gone", values("/a"));
    EXPECT_TRUE(scene.rename(*a, "c", report) && scene.rename(*x, "y", report));
    EXPECT_EQ(b->getKeptSections(), values("\"/c\""));
    EXPECT_TRUE(scene.getUndo().undo() && scene.getUndo().undo());
    EXPECT_EQ(b->getKeptSections(), values("/a"));
    EXPECT_TRUE(scene.rename(*a, "z", report));
    EXPECT_EQ(b->getKeptSections(), values("\"/z\""));
    EXPECT_TRUE(report.isEmpty()) << report.asText();
}

TEST(Tree, KeptSectionsOfMissingTypesFollow)
{
    const char *const channels =
        "channels 1.0\n{\n    channel n {\n        default 0\n"
        "        key 0 0 \"ch(\\\"PATH/v\\\")\" # \"ch('/a/v')\"\n"
        "        key 1 0 python \"vmr.node('PATH').parm('v').eval()\"\n    }\n"
        "    channel s {\n        alias \"/a\"\n        text \"'PATH'\"\n    }\n}\n";
    const char *const values =
        "{\nversion 0.8\n# \"/a\"\nn\t[ 0\tlocks=0 ]\t(\t[ n\t0 ] \t)\n"
        "s\t[ 0\tlocks=0 ]\t(\t\"x `chs('PATH/v')`\"\t\"see PATH\"\tPATH\t)\n"
        "d\t[ 0\tlocks=0 ]\t(\t\"key_value_dict:{\\\"k\\\":\\\"x /a y\\\"}\"\t)\n}\n";
    const auto with = [](const char *text, const std::string &path, const std::string &bare) {
        std::string out(text);
        for (std::size_t at = 0; (at = out.find("PATH", at)) != std::string::npos;) {
            out.replace(at, 4, out[at - 1] == '\t' ? bare : path);
        }
        return out;
    };
    const auto sections = [&](const std::string &path, const std::string &bare) {
        return NOD_Node::Sections{{"channels", with(channels, path, bare)},
                                  {"values", with(values, path, bare)},
                                  {"spares", "{ name x disablewhen \"{ ch('../a/v') == 1 }\" }"},
                                  {"later", "/ab (/a/)"}};
    };
    NOD_Scene scene;
    NOD_Report report;
    NOD_Node *const a = scene.add("/a", nullptr, report);
    NOD_Node *const b = scene.add("/b", nullptr, report);
    b->keepSections("gone", sections("/a", "/a"));
    EXPECT_TRUE(scene.rename(*a, "c$", report));
    EXPECT_EQ(b->getKeptSections(), sections("/c$", "\"/c$\""));
    EXPECT_EQ(report.asText(),
              "/b: warning: lost references: 1 in the kept section \"spares\": \"../a\" isn't "
              "rewritten there\n"
              "/b: warning: lost references: 1 in the kept section \"later\": \"/a\" isn't "
              "rewritten there\n");
    scene.getUndo().undo();
    EXPECT_EQ(b->getKeptSections(), sections("/a", "/a"));
    b->keepSections("", {{"values", std::string("\0\2\2/adown", 9)}});
    report.clear();
    EXPECT_TRUE(scene.remove(*a, report));
    EXPECT_EQ(report.asText(), "/a: warning: 1 references of other nodes lead here\n");
}

TEST(Tree, PathsInInterfacesAreTold)
{
    NOD_Scene scene;
    NOD_Report report;
    const auto type = NOD_Interface::fromText(
        R"ds({ name type
  parm { name n type float default { "ch('../a/v')" } disablewhen "{ `ch('/a/v')` == 1 }" }
  parm { name s type string default { "/a" } callback "vmr.ch('/a/b/v')"
    menureplace { [ "return [vmr.node('/a/b').name(), '']" ] language python }
    parmtag { "script_callback_language" "python" } } })ds",
        "type", report);
    NOD_Node *const a = scene.add("/a", nullptr, report);
    scene.add("/a/b", nullptr, report);
    NOD_Node *const x = scene.add("/x", type, report);
    scene.add("/y", type, report);
    NOD_Node *const z = scene.add("/z", nullptr, report);
    z->setSpareParms(NOD_Interface::fromText(
        R"ds({ name spares parm { name p type float hidewhen "{ `ch('../a/v')` == 1 }" } })ds",
        "spares", report));
    ASSERT_TRUE(report.isEmpty()) << report.asText();
    EXPECT_TRUE(scene.rename(*a, "c", report));
    std::string expected;
    const auto tell = [&](const char *parm, int count, const char *place, const char *path) {
        expected += std::string(parm) + ": warning: lost references: " + std::to_string(count) +
                    " in the " + place + ": \"" + path + "\" isn't rewritten there\n";
    };
    tell("/x/n", 2, "disablewhen of the interface", "/a");
    tell("/x/n", 2, "default of the interface", "../a");
    tell("/x/s", 2, "menu script of the interface", "/a/b");
    tell("/x/s", 2, "default of the interface", "/a");
    tell("/x/s", 2, "callback of the interface", "/a/b");
    tell("/z/p", 1, "hidewhen of the spare parameter", "../a");
    EXPECT_EQ(report.asText(), expected);
    EXPECT_EQ(ZEL_StringHandle(x->getParms(), "s")(0.0), "/c") << "a value of the node's own";
    report.clear();
    EXPECT_TRUE(scene.rename(*z, "w", report));
    EXPECT_TRUE(report.isEmpty()) << report.asText();
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
