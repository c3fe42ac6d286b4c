// Menus and expressions in Python.

#include "MenuScene.h"

#include <EVL/EVL.h>
#include <SNK/SNK_CompiledCode.h>
#include <SNK/SNK_EvaluationContext.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_Manager.h>

#include <gtest/gtest.h>

#include <tuple>
#include <utility>

namespace
{

class PythonMenus : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!SNKisPythonBuiltIn()) {
            GTEST_SKIP() << "this build has no Python";
        }
        node.buildNode();
        other.buildNode();
        nodes.add("/obj/test", node);
        nodes.add("/obj/other", other);
    }
    const ZEL_Parm *menuParm() const { return node.list->getParmPtr("menu"); }
    std::string run(const char *script, bool quiet = false)
    {
        return namesOf(pythonMenu(script), menuParm(), quiet);
    }
    /// What an expression of Python's is as a token.
    std::string value(const std::string &expression)
    {
        const std::string text = run(("return (str(" + expression + "), '')").c_str());
        return text.empty() || text.back() != '=' ? text : text.substr(0, text.size() - 1);
    }

    MenuNode node;
    MenuNode other{"/obj/other"};
    MenuNodes nodes;
    Tracebacks tracebacks;
};

const std::string theHeader =
    "Error running Python menu script in parameter,\n    The Menu (/obj/test/menu):|";

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

TEST_F(PythonMenus, OtherMenusStartNoInterpreter)
{
    if (SNKisPythonStarted()) {
        GTEST_SKIP() << "another test of this process has started it";
    }
    const ZEL_ChoiceList menu(ZEL_CHOICELIST_REPLACE, "a A", TRK_SCRIPT_COMMAND);
    EXPECT_EQ("a=A", namesOf(menu, menuParm()));
    const ZEL_ChoiceList script = pythonMenu("['a', 'A']");
    EXPECT_EQ("(null)", namesOf(script, nullptr));
    SNKsetPythonEnabled(false);
    EXPECT_EQ("(null)", namesOf(script, menuParm()));
    SNKsetPythonEnabled(true);
    EXPECT_EQ(theHeader + "Python is switched off.\n", tracebacks.take());
    EXPECT_FALSE(SNKisPythonStarted());
    EXPECT_EQ("a=A", namesOf(script, menuParm()));
    EXPECT_TRUE(SNKisPythonStarted());
}

TEST_F(PythonMenus, AreThePairsThatScriptsReturn)
{
    const std::pair<const char *, const char *> cases[] = {
        {"return ('a', 'A', 'b', 'B')", "a=A b=B"},
        {"['a', 'A']", "a=A"}, // an expression at the end is returned
        {"names = []\nfor i in range(3):\n    names += ['t%d' % i, 'L']\nreturn names",
         "t0=L t1=L t2=L"},
        {"import math\ndef pair(n):\n    return [n, n.upper()]\npair('x') + pair('y')", "x=X y=Y"},
        {"if True:\n    return ['a', 'A']\nreturn ['b', 'B']", "a=A"},
        {"return ['\\u00e9', 'a\\0b', '\\ud800', 'x']", "\xc3\xa9=a \\ud800=x"},
        {"return []", "(null)"},
        {"# nothing but a comment", "(null)"},
        {"return ['', '']", "="},
    };
    for (const auto &[script, contents] : cases) {
        EXPECT_EQ(contents, run(script)) << script;
    }
    EXPECT_NE(std::string::npos, tracebacks.take().find("must return a sequence of strings."))
        << "of the comment, which returns None";
    const ZEL_ChoiceList menu(ZEL_CHOICELIST_EXCLUSIVE, cases[0].first, TRK_SCRIPT_PYTHON);
    EXPECT_EQ(2, menu.getSize(menuParm()));
    EXPECT_EQ("b", tokenOf(menu, 1, menuParm()));
    EXPECT_EQ("!2", tokenOf(menu, 2, menuParm()));
}

TEST_F(PythonMenus, TellWhatTheyShouldReturn)
{
    const std::pair<const char *, const char *> cases[] = {
        {"return ('a', 'A', 'b')", "Python menu scripts must return an even number of strings."},
        {"return 5", "Python menu scripts must return a sequence of strings."},
        {"return None", "Python menu scripts must return a sequence of strings."},
        {"return 'text'", "Python menu scripts must return a sequence of strings."},
        {"return b'ab'", "Python menu scripts must return a sequence of strings."},
        {"return ['a', 1]", "Python menu scripts must return a sequence of strings."},
        {"yield 'a'", "Python menu scripts must return a sequence of strings."},
    };
    for (const auto &[script, sentence] : cases) {
        EXPECT_EQ("(null)", run(script)) << script;
        EXPECT_EQ(theHeader + sentence, tracebacks.take()) << script;
        EXPECT_EQ("(null)", run(script, true)) << script;
        EXPECT_EQ("", tracebacks.take()) << "quiet: " << script;
    }
}

TEST_F(PythonMenus, TellTheExceptionAndItsPlace)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"\nraise ValueError('boom')", "File \"/obj/test/menu\", line 2,", "ValueError: boom\n"},
        {"return (", "File \"/obj/test/menu\", line 1\n", "SyntaxError: '(' was never closed\n"},
        {"raise SystemExit(3)", "line 1,", "SystemExit: 3\n"},
        {"def f(): f()\nf()", "line 1, in f", "maximum recursion depth exceeded\n"},
        {"class L(list):\n def __iter__(self): 1/0\nreturn L('ab')", "line 2,", ""},
        {"x = vmr.parm('/obj/test/none')\nx.eval()", "line 2,",
         "AttributeError: 'NoneType' object has no attribute 'eval'\n"},
        {"vmr.ch('/obj/test/none')", "line 1,",
         "ValueError: /obj/test/none: there is no such parameter\n"},
    };
    for (const auto &[source, place, end] : cases) {
        EXPECT_EQ("a=A", run("return ['a', 'A']"));
        EXPECT_EQ("(null)", run(source)) << source;
        const std::string text = tracebacks.take();
        EXPECT_NE(std::string::npos, text.find(place)) << text;
        EXPECT_TRUE(endsWith(text, end)) << text;
    }
}

TEST_F(PythonMenus, KnowTheirParameterAndLeaveNothingBehind)
{
    EXPECT_EQ("/obj/test", value("kwargs['node'].path()"));
    EXPECT_EQ("/obj/test/menu", value("kwargs['parm'].path()"));
    EXPECT_EQ("picked", value("kwargs['parm'].eval()"));
    EXPECT_EQ("node parm script_multiparm_nesting script_multiparm_index",
              value("' '.join(kwargs)"));
    EXPECT_EQ("0 -1", value("'%(script_multiparm_nesting)d %(script_multiparm_index)d' % kwargs"));
    EXPECT_EQ("a=A", run("global left\nleft = 1\nreturn ['a', 'A']"));
    EXPECT_EQ("False", value("'left' in globals()"));
    EXPECT_EQ("", tracebacks.take());
}

TEST_F(PythonMenus, KnowTheItemsTheyStandIn)
{
    Block inner;
    Block outer;
    inner.add(ZEL_FLT, 1, "x#_#");
    outer.addMulti(ZEL_MULTITYPE_LIST, "in#", inner.templates());
    MenuNode nested("/obj/nested");
    nested.top.addMulti(ZEL_MULTITYPE_LIST, "outer", outer.templates());
    nested.buildNode();
    nested.setCount(3, "outer");
    nested.setCount(2, "in3");
    nodes.add("/obj/nested", nested);
    const std::string script = "x = list(kwargs.items())[2:]\n"
                               "return [k[17:] + ':' + str(v) for k, v in x] + ['']";
    const ZEL_ChoiceList odd = pythonMenu(script);
    const ZEL_ChoiceList menu = pythonMenu(script + " + ['']");
    EXPECT_EQ("nesting:1=index:3 =", namesOf(menu, &nested.parm("in3")));
    EXPECT_EQ("nesting:2=index2:3 index:2=", namesOf(odd, &nested.parm("x3_2")));
    EXPECT_EQ("", tracebacks.take());
}

TEST_F(PythonMenus, SurviveAnyNodePath)
{
    const std::string path = "/obj/it's \\ \"here\"\n'); x = ('";
    MenuNode strange(path.c_str());
    strange.buildNode();
    nodes.add(path, strange);
    const ZEL_ChoiceList menu = pythonMenu("return [kwargs['parm'].path(), str('x' in globals())]");
    EXPECT_EQ(path + "/menu=False", namesOf(menu, &strange.parm("menu")));
    EXPECT_EQ("", tracebacks.take());
}

TEST_F(PythonMenus, ReachNodes)
{
    TRK_EvalContext::Scope scope(BASgetSTID(), 2.0);
    node.animate("n", "$T * 10");
    EXPECT_EQ("2.0 49.0", value("'%s %s' % (vmr.time(), vmr.frame())"));
    EXPECT_EQ("None None", value("'%s %s' % (vmr.node('/obj/no'), vmr.parm('/obj/test/no'))"));
    EXPECT_EQ("/obj/test", value("vmr.node('.').path()"))
        << "the node that asks is the current one";
    EXPECT_EQ("other", value("vmr.node('../other').name()"));
    EXPECT_EQ("['menu', 'n', 'count']", value("[p.name() for p in vmr.node('.').parms()]"));
    EXPECT_EQ("True", value("vmr.parm('n').node() == vmr.node('.')"));
    EXPECT_EQ("<vmr.Parm /obj/other/n>", value("vmr.node('/obj/other').parm('n')"));
    EXPECT_EQ("20.0", value("vmr.parm('n').eval()"));
    EXPECT_EQ("5.0", value("vmr.parm('n').eval(0.5)"));
    EXPECT_EQ("20.0 0.5", value("'%s %s' % (vmr.ch('n'), vmr.ch('../other/n'))"));
    EXPECT_EQ("3", value("vmr.parm('count').eval()"));
    EXPECT_EQ("picked", value("vmr.chs('menu')"));
    EXPECT_EQ("0.5", value("vmr.parm('../other/n').evalAsString()"));
    EXPECT_EQ("a=A", run("p = vmr.node('/obj/other')\np.parm('n').set(7)\n"
                         "p.parm('menu').set('mine')\nreturn ['a', 'A']"));
    EXPECT_EQ(7.0, other.eval("n"));
    EXPECT_EQ("mine", value("vmr.chs('/obj/other/menu')"));
    EXPECT_EQ("", tracebacks.take());
    EXPECT_EQ("(null)", value("vmr.parm('n').set([])"));
    tracebacks.take();

    SNKsetNodeSource(nullptr);
    EXPECT_EQ("None", value("kwargs['node']"));
}

TEST_F(PythonMenus, EndCirclesWithAnEmptyMenu)
{
    // The script reads "n", and reading it requests the menu again.
    const ZEL_ChoiceList menu = pythonMenu("return [str(vmr.ch('n')), 'N']");
    const ZEL_ChoiceList words(ZEL_CHOICELIST_REPLACE, "a A", TRK_SCRIPT_COMMAND);
    const ZEL_ChoiceList failing = pythonMenu("vmr.ch('n')\nraise KeyError");
    std::string inner;
    nodes.evaluated = [&](const std::string &) { inner += namesOf(menu, menuParm()) + ";"; };
    EXPECT_EQ("0.5=N", namesOf(menu, menuParm()));
    EXPECT_EQ("(null);", inner);
    EXPECT_EQ("0.5=N", namesOf(menu, menuParm()));
    EXPECT_EQ("(null);(null);", inner);
    nodes.evaluated = [&](const std::string &) { inner = namesOf(words, menuParm()); };
    EXPECT_EQ("(null)", namesOf(failing, menuParm())) << "not the menu that was asked for inside";
    EXPECT_EQ("a=A", inner);
    EXPECT_EQ("0.5=N", namesOf(menu, menuParm()));
}

namespace
{

class PythonExpressions : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!SNKisPythonBuiltIn()) {
            GTEST_SKIP() << "this build has no Python";
        }
        tx = collection.addChannel("tx");
        ty = collection.addChannel("ty");
        tx->changeExpression(0, "2", TRK_LANGUAGE_NATIVE, false);
        EVL::theErrNo[thread] = EVL::EVL_OK;
    }
    double number(const char *text, double time = 0.0)
    {
        ty->changeExpression(0, text, TRK_LANGUAGE_PYTHON, false);
        return collection.evaluate(ty, time, false, thread);
    }
    std::string string(const char *text)
    {
        ty->changeExpression(0, text, TRK_LANGUAGE_PYTHON, false);
        KIT_String out;
        collection.evaluateString(out, ty, 0, thread);
        return out.toStdString();
    }

    int takeError() { return std::exchange(EVL::theErrNo[thread], EVL::EVL_OK); }

    const int thread = BASgetSTID();
    TRK_Collection collection;
    TRK_Channel *tx = nullptr;
    TRK_Channel *ty = nullptr;
};

} // namespace

TEST_F(PythonExpressions, GiveNumbersAndTexts)
{
    const std::tuple<const char *, double, const char *> cases[] = {
        {"1 + 2", 3, "3"},
        {"  math.pi > 3", 1, "1"},
        {"vmr.ch('tx') * 1.25", 2.5, "2.5"},
        {"'4' + '.5'", 4.5, "4.5"},
        {"vmr.frame()", 1, "1"},
        {"__import__('fractions').Fraction(1, 4)", 0.25, nullptr},
    };
    for (const auto &[text, value, asText] : cases) {
        EXPECT_EQ(value, number(text)) << text << SNKgetExpressionError();
        if (asText) {
            EXPECT_EQ(asText, string(text)) << text;
        }
        EXPECT_EQ(EVL::EVL_OK, EVL::theErrNo[thread]) << text;
    }
    EXPECT_EQ("text of 2", string("'text of ' + vmr.chs('tx')"));
}

TEST_F(PythonExpressions, FailWithTheNumberOfTheReason)
{
    const std::tuple<const char *, int, const char *> cases[] = {
        {"1 +", EVL::EVL_PYTHON, "SyntaxError: invalid syntax\n"},
        {"1 / 0", EVL::EVL_PYTHON, "ZeroDivisionError: division by zero\n"},
        {"import os", EVL::EVL_PYTHON, "SyntaxError: invalid syntax\n"},
        {"[]", EVL::EVL_PYTHON, "The expression doesn't give a number."},
        {"'word'", EVL::EVL_PYTHON, "The expression gives a text that is not a number."},
        {"float('inf')", EVL::EVL_PYTHON, "The number is not finite."},
        {"10 ** 400", EVL::EVL_PYTHON, "OverflowError: int too large to convert to float\n"},
        {"vmr.ch('tz')", EVL::EVL_UNKNOWN_CHANNEL,
         "ValueError: tz: there is no such channel or parameter\n"},
        {"vmr.ch('ty') + 1", EVL::EVL_CYCLE, nullptr},
        {"vmr.ch('broken') + 1", EVL::EVL_UNKNOWN_FUNCTION, nullptr},
    };
    collection.addChannel("broken")->changeExpression(0, "no()", TRK_LANGUAGE_NATIVE, false);
    for (const auto &[given, error, reason] : cases) {
        for (const int before : {int(EVL::EVL_OK), int(EVL::EVL_DEPTH)}) {
            EVL::theErrNo[thread] = before;
            EXPECT_EQ(0.0, number(given)) << given;
            EXPECT_EQ(before ? before : error, EVL::theErrNo[thread]) << given;
            if (reason) {
                EXPECT_TRUE(endsWith(SNKgetExpressionError(), reason)) << SNKgetExpressionError();
            }
        }
    }
    EXPECT_EQ(2.0, number("vmr.ch('tx')")) << "an error from before is no reason to fail";
    takeError();
    EXPECT_EQ(3.0, number("1 + 2"));
    EXPECT_EQ(EVL::EVL_OK, takeError());
}

TEST_F(PythonExpressions, DependOnTimeIfTheyReadIt)
{
    EXPECT_EQ(2.0, number("vmr.ch('tx')", 1));
    EXPECT_FALSE(ty->isTimeDependentSlow(thread));
    EXPECT_EQ(1.5, number("vmr.time() + 0.5", 1));
    EXPECT_TRUE(ty->isTimeDependentSlow(thread));
    tx->changeExpression(0, "$F", TRK_LANGUAGE_NATIVE, false);
    EXPECT_EQ(25.0, number("vmr.ch('tx')", 1));
    EXPECT_TRUE(ty->isTimeDependentSlow(thread));
}

TEST_F(PythonExpressions, ArePartsOfOneEvaluation)
{
    const auto name = [](int i) { return "c" + std::to_string(i); };
    for (int i = 0; i < 17; ++i) { // each doubles the work below it
        const std::string next = "vmr.ch('" + name(i + 1) + "')";
        collection.addChannel(name(i).c_str())
            ->changeExpression(0, (next + " + " + next).c_str(), TRK_LANGUAGE_PYTHON, false);
    }
    collection.addChannel("c17")->setDefault(1.0);
    EXPECT_EQ(1024.0, number("vmr.ch('c7')"));
    EXPECT_EQ(EVL::EVL_OK, takeError());
    EXPECT_EQ(0.0, number("vmr.ch('c0')"));
    EXPECT_EQ(EVL::EVL_DEPTH, takeError());
    // References that one expression reads, and texts that it gets.
    EXPECT_EQ(2000.0, number("sum(vmr.ch('tx') for i in range(1000))"));
    EXPECT_EQ(EVL::EVL_OK, takeError());
    EXPECT_EQ(0.0, number("sum(vmr.ch('tx') for i in range(1000000))"));
    EXPECT_EQ(EVL::EVL_DEPTH, takeError());
    tx->changeExpression(0, "'x' * 1000000", TRK_LANGUAGE_PYTHON, false);
    EXPECT_EQ(3e6, number("sum(len(vmr.chs('tx')) for i in range(3))"));
    EXPECT_EQ(0.0, number("sum(len(vmr.chs('tx')) for i in range(100))"));
    EXPECT_EQ(EVL::EVL_DEPTH, takeError());
}

TEST_F(PythonExpressions, AreKeptInABoundedCache)
{
    for (int i = 0; i < 10000; ++i) {
        const std::string text = "1 + " + std::to_string(i);
        ASSERT_EQ(1 + i, number(text.c_str()));
    }
    EXPECT_EQ(1.0, number("1 + 0"));
}

namespace
{

/// In the place of Python: counts what it is to run.
class CountingEvaluator : public TRK_LanguageEvaluator
{
public:
    CountingEvaluator() { TRK_Manager::getContext().setPythonEvaluator(this); }
    ~CountingEvaluator() override { TRK_Manager::getContext().setPythonEvaluator(myBefore); }
    bool evaluateNumber(const char *, double, const TRK_Collection *, int, double &value,
                        bool &) override
    {
        value = 7.0;
        return ++runs > 0;
    }
    bool evaluateString(const char *, double, const TRK_Collection *, int, KIT_String &value,
                        bool &) override
    {
        value = "run";
        return ++runs > 0;
    }
    int runs = 0;

private:
    TRK_LanguageEvaluator *myBefore = TRK_Manager::getContext().getPythonEvaluator();
};

} // namespace

TEST(Scripts, RunForAReadValueAndForTheTokensOfAMenu)
{
    CountingEvaluator python;
    ZEL_ChoiceList menu(ZEL_CHOICELIST_REPLACE, "a A b B", TRK_SCRIPT_COMMAND);
    ZEL_Default tokens[2], python1, python2, native;
    tokens[0].set(0.0, "b", TRK_MEANING_LITERAL);
    tokens[1].set(0.0, "b", TRK_MEANING_LITERAL);
    python1.set(0.0, "'x'", TRK_MEANING_PYTHON);
    python2.set(0.0, "1 + 1", TRK_MEANING_PYTHON);
    native.set(0.0, "chs('text') + chs('menux')", TRK_MEANING_NATIVE);
    MenuNode node;
    *node.top.add(ZEL_ORD, 2, "pick") =
        ZEL_Template(ZEL_ORD, 2, node.top.name("pick", "Pick"), tokens, &menu);
    node.top.add(ZEL_STRING, 1, "text", "Text", &python1);
    node.top.add(ZEL_FLT, 1, "number", "Number", &python2);
    node.top.add(ZEL_STRING, 1, "native", "Native", &native);
    const auto runs = [&] {
        const std::string text =
            std::to_string(node.menuOwner.runs) + " " + std::to_string(python.runs);
        node.menuOwner.runs = python.runs = 0;
        return text;
    };
    const auto save = [&](bool binary) {
        std::ostringstream out;
        node.list->save(out, binary, false);
        return out.str();
    };
    const auto load = [&](const std::string &data, bool binary) {
        KIT_IStream in(data.data(), data.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
        return node.list->load(in, "t", nullptr);
    };
    node.buildNode();
    node.menuOwner.setParmList(node.list.get());
    EXPECT_EQ("0 0", runs()) << "building";
    const ZEL_Parm &pick = node.parm("pick");
    const auto picked = [&] { return valueText(pick); };
    EXPECT_EQ("0,0", picked());
    EXPECT_TRUE(load("{ version 0.8 pick ( b ) text ( ) number ( ) }", false));
    EXPECT_EQ("0 0", runs()) << "a text stream";
    EXPECT_EQ("1,1", picked()) << "the token of the stream, and that of the default";
    EXPECT_EQ("2 0", runs());
    const std::string text = save(false);
    EXPECT_EQ("1 0", runs()) << "saving as text writes tokens";
    const std::string binary = save(true);
    EXPECT_EQ("1 0", runs());
    ZEL_UndoDataArray undo;
    node.list->saveUndoData(undo);
    EXPECT_EQ("1 0", runs()) << "a snapshot is the saved text";
    node.list->loadUndoData(undo, "t", nullptr);
    EXPECT_TRUE(load(text, false));
    EXPECT_EQ("0 0", runs()) << "restoring";
    EXPECT_TRUE(load(binary, true));
    EXPECT_EQ("2 0", runs()) << "the binary form finds each token at once";
    EXPECT_EQ("1,1", picked());
    EXPECT_EQ("0 0", runs());
    KIT_String value;
    node.parm("text").getValue(0.0, value, 0, true, BASgetSTID());
    EXPECT_STREQ("run", value.c_str());
    EXPECT_EQ("7", valueText(node.parm("number")));
    EXPECT_EQ("0 2", runs()) << "a value is read";

    // Scripts are work of the evaluation that needs them: 12,000 are too much.
    const auto set = [&](const char *token, const char *read, int count) {
        std::string whole;
        for (int i = 0; i < count; ++i) {
            whole += "`chs('" + std::string(read) + "')`";
        }
        ZEL_Instance *instance = node.parm(token).getInstance();
        instance->removeChannel(0);
        instance->setValue(0.0, whole.c_str(), TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING,
                           ZEL_KEYSET_PREFERENCE);
    };
    set("native", "pick1", 30);
    set("text", "native", 20);
    set("menu", "text", 20);
    takeMessages();
    for (const char *token : {"text", "menu"}) {
        node.parm(token).getValue(0.0, value, 0, true, BASgetSTID());
        EXPECT_EQ(value.length(), *token == 't' ? 600 : 0) << token;
    }
    EXPECT_EQ(takeMessages().substr(0, 5), "TRK " + std::to_string(EVL::EVL_DEPTH));
    EXPECT_LT(node.menuOwner.runs, 9000);
}

TEST(Python, WithoutAnInterpreterSaysSoInOneMessage)
{
    if (SNKisPythonBuiltIn()) {
        SNKsetPythonEnabled(false);
    }
    MenuNode node;
    node.buildNode();
    Tracebacks tracebacks;
    const ZEL_ChoiceList menu = pythonMenu("return ['a', 'A']");
    EXPECT_EQ("(null)", namesOf(menu, node.list->getParmPtr("menu")));
    EXPECT_EQ(theHeader + (SNKisPythonBuiltIn() ? "Python is switched off.\n"
                                                : "This build has no Python.\n"),
              tracebacks.take());
    SNK_EvaluationContext context("vmr");
    KIT_String error;
    EXPECT_FALSE(SNKrunPythonStatements("x = 1", context, &error));
    EXPECT_TRUE(error.isstring());
    SNKsetPythonEnabled(true);
}
