// Expressions of language 0: values, errors, references, cycles, limits, and the expansion of texts.

#include <BAS/BAS_Interrupt.h>
#include <EVL/EVL.h>
#include <KIT/KIT_EnvControl.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_Manager.h>
#include <common/Repeated.h>
#include <common/Threads.h>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

constexpr int theThread = 7;

/// The number of the first error since the last call.
int takeErrNo()
{
    const int error = EVL::theErrNo[theThread];
    EVL::theErrNo[theThread] = EVL::EVL_OK;
    return error;
}

/// The text of an expression's value at a time, with "!" and the error's number if it failed.
std::string value(const std::string &expression, const TRK_Collection *collection = nullptr,
                  double time = 0.5)
{
    KIT_String out;
    TRK_Expression::evaluateTextString(expression.c_str(), time, collection, theThread, out);
    const int error = takeErrNo();
    const double number =
        TRK_Expression::evaluateTextNumber(expression.c_str(), time, collection, theThread);
    EXPECT_EQ(takeErrNo(), error) << expression;
    if (error != 0) {
        EXPECT_EQ(number, 0.0) << expression;
        EXPECT_STREQ(out.c_str(), "") << expression;
        return "!" + std::to_string(error);
    }
    return out.toStdString();
}

template <class Value, class Out>
bool lookUp(const std::map<std::string, Value> &values, const KIT_StringRef &name, Out &out)
{
    const auto found = values.find(name.c_str());
    if (found != values.end()) {
        out = found->second;
    }
    return found != values.end();
}

/// A node with variables and two neighbours, and a list that knows some parameters.
class World : public TRK_PathResolver, public TRK_ValueSource
{
public:
    World()
    {
        collection.setPathResolver(this);
        collection.setValueSource(this);
        numbers["size"] = 2.5;
        texts["file"] = "a.pic";
        variables["SHOT"] = "/show/shot";
        variables["NINE"] = "9";
    }
    TRK_Collection *findCollection(const KIT_StringRef &path) override
    {
        return path == KIT_StringRef("../light") ? &light
               : path == KIT_StringRef("/obj/a") ? &absolute
                                                 : nullptr;
    }
    bool getVariable(const KIT_StringRef &name, KIT_String &out) override
    {
        return lookUp(variables, name, out);
    }
    void getPath(KIT_WorkBuffer &path) override { path.append("/obj/geo1"); }
    bool evaluateNumber(const KIT_StringRef &name, double, int, double &out, bool &) override
    {
        return lookUp(numbers, name, out);
    }
    bool evaluateString(const KIT_StringRef &name, double, int, KIT_String &out, bool &) override
    {
        return lookUp(texts, name, out);
    }
    TRK_Channel *add(TRK_Collection &where, const char *name, const char *expression)
    {
        TRK_Channel *channel = where.addChannel(name);
        channel->initializeFirstSegment(expression, TRK_LANGUAGE_NATIVE);
        return channel;
    }

    TRK_Collection collection, light, absolute;
    std::map<std::string, double> numbers;
    std::map<std::string, std::string> texts, variables;
};

using Case = std::pair<const char *, const char *>;

} // namespace

TEST(Expressions, Values)
{
    const Case cases[] = {
        {"1 + 2 * 3", "7"},
        {"(1 + 2) * 3", "9"},
        {"10 - 4 - 3", "3"},
        {"2 ^ 3 ^ 2", "512"},
        {"-2 ^ 2", "-4"},
        {"2 ^ -1", "0.5"},
        {"--3", "3"},
        {"7 % 4 - 7 / 2", "-0.5"},
        {".5e1 + 1.", "6"},
        {"1 < 2 && 2 <= 2 && 3 > 2 && 2 >= 3", "0"},
        {"1 == 1 || 1 / 0", "1"}, // the second is not looked at
        {"0 && 1 / 0", "0"},
        {"!3 + !0", "1"},
        {"1 ? 2 : 3 ? 4 : 5", "2"},
        {"0 ? 2 : 0 ? 4 : 5", "5"},
        {"if(2 > 1, 10, 1 / 0)", "10"},
        {"1 + (0 ? 2 : 3) * 2", "7"},
        {"sin(30) + cos(60) + tan(45)", "2"},
        {"sin(180) + cos(90) + sin(-270)", "1"},
        {"asin(1) + acos(0) + atan(1) + atan2(1, -1)", "360"},
        {"sqrt(16) + exp(0) + log(1) + log10(1000) + pow(2, 10)", "1032"},
        {"floor(-1.5) + ceil(-1.5) + round(-1.5) + int(-1.5) + frac(-1.25)", "-4.25"},
        {"abs(-3) + sign(-3) + sign(0)", "2"},
        {"min(3, 1, 2) * 10 + max(3, 1, 2, 9)", "19"},
        {"clamp(5, 0, 2) + clamp(-5, -2, 2)", "0"},
        {"fit(5, 0, 10, 100, 200) + fit(50, 0, 10, 0, 1)", "151"},
        {"lerp(10, 20, 0.25) + smooth(0, 4, 1)", "12.65625"},
        {"length(3, 4) + length(2, 3, 6) + distance(1, 1, 1, 1, 1, 3)", "14"},
        {"rand(1) == rand(1) && rand(1) != rand(2) && rand(0) == rand(-0)", "1"},
        {"$F + $FF / 2 + $T + $FPS", "44"},
        {"floor($PI * 100) + floor($E * 100)", "585"},
        {"'a' + \"b\" + 1 + 2", "ab12"},
        {"1 + 2 + 'a'", "3a"},
        {"\"q\\\"q\\\\\" + 'it\\'s' + \"c:\\new\"", "q\"q\\it'sc:\\new"},
        {"strcmp(\"\", \"AUTO-GENERATED\")", "-1"},
        {"strcmp('b', 'a') + strcmp('a', 'a')", "1"},
        {"'a' < 'b' && 'b' == \"b\" && 'a' != 'b'", "1"},
        {"'10' == 10", "1"},
        {"strlen('abc') + atof('2.5x')", "5.5"},
        {"strcat('a', 1, 'c')", "a1c"},
        {"substr('abcdef', 2, 3) + substr('abc', 1) + substr('abc', -1, 9) + substr('abc', 5)",
         "cdebcabc"},
        {"toupper('aZ9') + tolower('aZ9')", "AZ9az9"},
        {"itoa(3.9) + itoa(-3.9)", "3-3"},
        {"if(1, 'yes', 2) + if(0, 'yes', 2)", "yes2"},
        {"-'3' * '4'", "-12"},
        {"('9' - 4) * 10 + ('9' - '7') + (9 - '4') / 10", "52.5"},
        {"linear() + 1", "1"}, // there is no segment for it
    };
    for (const auto &[expression, result] : cases) {
        EXPECT_EQ(value(expression), result) << expression;
    }
}

TEST(Expressions, ErrorsGiveZeroAndTheirNumber)
{
    const std::map<const char *, std::vector<const char *>> cases = {
        {"!1", {"", "1 +", "(1", "1 2", "foo", "'a", "$", "\"${A\"", "1 ? 2", "if(1, 2)", "5 @ 2"}},
        {"!3", {"ch('x')", "ch('../y/x')", "chs('x') + 'a'"}},
        {"!4", {"1 + $NOPE"}},
        {"!5", {"nope(1)"}},
        {"!6",
         {"1 / 0", "1 % 0", "sqrt(-1)", "log(0)", "0 ^ -1", "tan(90)", "sin()", "sin(1, 2)",
          "min()", "ch()", "ch('a', 1, 2)", "linear(1)", "1 + 1 / 0 + 1", "strcmp('a')"}}};
    for (const auto &[error, expressions] : cases) {
        for (const char *expression : expressions) {
            EXPECT_EQ(value(expression), error) << expression;
        }
    }
    const std::unique_ptr<TRK_Expression> bad(TRK_Expression::compile("1 + * 2"));
    EXPECT_EQ(bad->getErrorPosition(), 4u);
    EXPECT_STREQ(bad->getErrorText(), "a value is missing before \"*\"");
}

TEST(Expressions, LimitsEndInTheDepthError)
{
    EXPECT_EQ(value(repeated("(", 150) + "1" + repeated(")", 150)), "1");
    EXPECT_EQ(value(repeated("(", 100000 / 2) + "1"), "!7");
    EXPECT_EQ(value(repeated("-", 50000) + "1"), "!7");
    EXPECT_EQ(value("1" + repeated("^1", 30000)), "!7");
    EXPECT_EQ(value("1" + repeated("?1:1", 1000)), "!7");
    EXPECT_EQ(value(repeated("max(1,1,1,", 100) + "1" + repeated(")", 100)), "!7"); // slots
    EXPECT_EQ(value("1" + repeated("+1", 20000)), "20001");                         // no nesting
    EXPECT_EQ(value("1" + repeated("+1", 40000)), "!7");                            // length
    EXPECT_EQ(value("min(1" + repeated(",1", 254) + ")"), "1");
    EXPECT_EQ(value("min(1" + repeated(",1", 255) + ")"), "!6");
}

TEST(Expressions, ReferencesAndVariables)
{
    World world;
    world.add(world.collection, "tx", "5");
    world.add(world.collection, "ramp", "$T * 10");
    world.collection.setChannelAlias(world.collection.getChannel("tx"), "left");
    world.add(world.light, "tx", "7");
    world.add(world.absolute, "name", "'sun'");
    const Case cases[] = {
        {"ch('tx') + ch(\"size\")", "7.5"},
        {"ch('left')", "5"},
        {"ch('./tx')", "5"},
        {"ch('../light/tx') * 2", "14"},
        {"ch('t' + 'x')", "5"},
        {"ch('ramp')", "5"},
        {"ch('ramp', 2) + ch('r' + 'amp', 3)", "50"},
        {"chf('size') + chi('size')", "4.5"},
        {"chs('file') + '!'", "a.pic!"},
        {"chs('/obj/a/name')", "sun"},
        {"chs('tx') + chsop('ramp', 1)", "510"},
        {"chs('fi' + 'le')", "a.pic"},
        {"$OS", "geo1"},
        {"$SHOT + '/x'", "/show/shot/x"},
        {"$NINE + 1", "10"},
        {"$NINE + $NINE", "18"},
        {"$SHOT + $NINE", "/show/shot9"},
        {"$NINE == 9.0 && $SHOT == '/show/shot'", "1"},
        {"\"$SHOT/${OS}_$F.pic\"", "/show/shot/geo1_13.pic"},
        {"'$SHOT'", "$SHOT"},
        {"\"\\$SHOT $NOPE $\"", "$SHOT $NOPE $"},
        {"ch('../nowhere/tx')", "!3"},
        {"ch('tx') + ch('nope')", "!3"},
    };
    for (const auto &[expression, result] : cases) {
        EXPECT_EQ(value(expression, &world.collection), result) << expression;
    }
    TRK_Manager::getContext().setGlobalVariable("SHOW", "long");
    EXPECT_EQ(value("$SHOW + '!'", &world.collection), "long!");
    TRK_Manager::getContext().setGlobalVariable("SHOW", nullptr);
    EXPECT_EQ(value("$SHOW + '!'", &world.collection), "!4");
}

TEST(Expressions, CyclesEndInZeroAndTheFirstErrorStays)
{
    World world;
    TRK_Collection &c = world.collection;
    TRK_Channel *self = world.add(c, "self", "ch('self') + 1");
    TRK_Channel *a = world.add(c, "a", "ch('b') + 1");
    world.add(c, "b", "1 + ch('c', 5)");
    world.add(c, "c", "ch('a')");
    TRK_Channel *good = world.add(c, "good", "ch('tx') * 2 + ch('tx')"); // twice is no cycle
    world.add(c, "tx", "4");
    for (TRK_Channel *channel : {self, a}) {
        EXPECT_EQ(c.evaluate(channel, 0, false, theThread), 0.0);
        EXPECT_EQ(takeErrNo(), EVL::EVL_CYCLE);
    }
    EXPECT_EQ(c.evaluate(good, 0, false, theThread), 12.0);
    EXPECT_EQ(takeErrNo(), EVL::EVL_OK);

    TRK_Channel *broken = world.add(c, "broken", "nope(");
    c.evaluate(broken, 0, false, theThread);
    c.evaluate(a, 0, false, theThread);
    EXPECT_EQ(takeErrNo(), EVL::EVL_UNKNOWN_FUNCTION);

    // Through text, and through a value source that asks the collection again.
    TRK_Channel *text = world.add(c, "text", "chs('text') + 'x'");
    KIT_String out;
    EXPECT_FALSE(c.evaluateString(out, text, 0, theThread));
    EXPECT_STREQ(out.c_str(), "");
    EXPECT_EQ(takeErrNo(), EVL::EVL_CYCLE);
}

TEST(Expressions, ChainsOfChannelsAreBounded)
{
    World world;
    TRK_Collection &c = world.collection;
    const auto name = [](int i) { return "c" + std::to_string(i); };
    for (int i = 0; i < 100; ++i) {
        // Each doubles the work below it.
        const std::string next = "ch('" + name(i + 1) + "')";
        world.add(c, name(i).c_str(), (next + " + " + next).c_str());
    }
    world.add(c, name(100).c_str(), "1");
    EXPECT_EQ(c.evaluate(c.getChannel("c90"), 0, false, theThread), 1024.0);
    EXPECT_EQ(takeErrNo(), EVL::EVL_OK);
    for (const char *start : {"c0", "c50"}) { // too many that wait; too many steps
        EXPECT_EQ(c.evaluate(c.getChannel(start), 0, false, theThread), 0.0);
        EXPECT_EQ(takeErrNo(), EVL::EVL_DEPTH);
    }
    EXPECT_EQ(c.evaluate(c.getChannel("c90"), 0, false, theThread), 1024.0);
    EXPECT_EQ(takeErrNo(), EVL::EVL_OK);

    // Looking through a text is work by its length: a few of these are read, thousands aren't.
    world.variables["LONG"] = std::string(60000, '0') + "1";
    const std::string digits = "'" + world.variables["LONG"] + "'";
    for (const std::string &bottom : {digits, "atof(" + digits + ")", std::string("$LONG == $LONG"),
                                      "strlen(" + digits + ") > 0"}) {
        c.getChannel("c100")->changeExpression(0, bottom.c_str(), TRK_LANGUAGE_NATIVE, false);
        EXPECT_EQ(c.evaluate(c.getChannel("c97"), 0, false, theThread), 8.0);
        EXPECT_EQ(takeErrNo(), EVL::EVL_OK);
        EXPECT_EQ(c.evaluate(c.getChannel("c87"), 0, false, theThread), 0.0);
        EXPECT_EQ(takeErrNo(), EVL::EVL_DEPTH) << bottom.substr(0, 9);
    }
}

TEST(Expressions, OfOneWorkShareATotalOfSteps)
{
    constexpr int theMost = 100;
    constexpr int theCost = 5001;
    World world;
    TRK_Collection &c = world.collection;
    world.add(c, "dear", ("1" + repeated("+1", 2500)).c_str());
    c.addChannel("free")->setDefault(1.0);
    // How many of the evaluations on a thread succeed: none after one that doesn't.
    const auto runs = [&](int thread) {
        int good = 0;
        for (int i = 0; i < theMost; ++i) {
            c.evaluate(c.getChannel("dear"), 0, false, thread);
            good += std::exchange(EVL::theErrNo[thread], EVL::EVL_OK) == EVL::EVL_OK && good == i;
        }
        EXPECT_EQ(c.evaluate(c.getChannel("free"), 0, false, thread), 1.0);
        EXPECT_EQ(EVL::theErrNo[thread], EVL::EVL_OK);
        return good;
    };
    EXPECT_EQ(runs(theThread), theMost);
    for (const int total : {30000, 60000, 240000}) {
        KIT_EnvControl::setInt(KIT_ENV_MAX_WORK_STEPS, total);
        const int fit = total / theCost;
        const TRK_EvalContext::Work work;
        c.evaluate(c.getChannel("dear"), 0, false, theThread);
        {
            const TRK_EvalContext::Work inner;
            EXPECT_EQ(runs(theThread), fit);
        }
        EXPECT_EQ(runs(theThread), fit - 1);
        EXPECT_EQ(runs(theThread), 0);
        const TRK_EvalContext::Work shared;
        std::atomic<int> good{0};
        constexpr int theThreads = 4;
        onThreads(theThreads, [&](int i) {
            const TRK_EvalContext::Work part(&shared);
            good += runs(i + 1);
        });
        EXPECT_GE(good, fit);
        EXPECT_LE(good, fit + theThreads) << "each may have begun one more";
        EXPECT_EQ(runs(theThread), 0);
    }
    KIT_EnvControl::setInt(KIT_ENV_MAX_WORK_STEPS, 0);
    EXPECT_EQ(runs(theThread), theMost);
}

TEST(Expressions, AnInterruptEndsThoseOfAWork)
{
    World world;
    TRK_Collection &c = world.collection;
    world.add(c, "sum", "1+2");
    const auto evaluate = [&](int error) {
        const double value = c.evaluate(c.getChannel("sum"), 0, false, theThread);
        EXPECT_EQ(takeErrNo(), error);
        return value;
    };
    BAS_Interrupt::request();
    EXPECT_EQ(evaluate(EVL::EVL_OK), 3.0) << "nobody asked for it";
    {
        const TRK_EvalContext::Work work;
        EXPECT_EQ(evaluate(EVL::EVL_DEPTH), 0.0);
        BAS_Interrupt::clear();
        EXPECT_EQ(evaluate(EVL::EVL_OK), 3.0);
        onThreads(1, [](int) { BAS_Interrupt::request(); });
        EXPECT_EQ(evaluate(EVL::EVL_DEPTH), 0.0);
    }
    EXPECT_TRUE(BAS_Interrupt::isRequested());
    BAS_Interrupt::clear();
}

TEST(Expressions, TextsExpand)
{
    World world;
    world.add(world.collection, "tx", "5");
    const TRK_Manager &manager = TRK_Manager::getContext();
    const std::tuple<const char *, int, const char *, bool> cases[] = {
        {"plain \\\\ text", 3, "plain \\\\ text", false},
        {"$SHOT/x.$F.pic", 3, "/show/shot/x.13.pic", true},
        {"a`ch('tx') + 1`b", 3, "a6b", false},
        {"a`$T`b", 7, "a0.5b", true},
        {"`strcat('`', \"x\")`", 3, "`x", false},
        {"\\$SHOT \\\\$SHOT \\`", 3, "$SHOT \\/show/shot `", false},
        {"\\$SHOT $SHOT ${SHOT} `1`", 3 | 8 | 16, "$SHOT /show/shot /show/shot 1", false},
        {"$SHOT `1`", 8 | 16, "$SHOT `1`", false},
        {"$F4 ${F1}.$F9 $F0 $F10", 3, "0013 13.000000013 $F0 $F10", true},
        {"`$F4 + 1` `strcat($F4, 'x')`", 3, "14 0013x", true},
        {"$NOPE ${NOPE} $ ${", 3, "$NOPE ${NOPE} $ ${", false},
        {"`1+1` $SHOT", 1, "`1+1` /show/shot", false},
    };
    for (const auto &[text, flags, result, timeDependent] : cases) {
        KIT_String out;
        const int mask = manager.expandString(text, out, 0.5, &world.collection, theThread, flags);
        EXPECT_STREQ(out.c_str(), result) << text;
        EXPECT_EQ((mask & (1 << 15)) != 0, timeDependent) << text;
        EXPECT_EQ(takeErrNo(), 0) << text;
    }
    // Every variable, at a time between frames: the same in the text as in an expression.
    for (const std::string name : {"F", "FF", "T", "FPS", "PI", "E", "OS", "SHOT", "NINE"}) {
        const auto expanded = [&](const std::string &text) {
            KIT_String out;
            const int mask =
                manager.expandString(text.c_str(), out, 0.53, &world.collection, theThread, 3);
            return out.toStdString() + ((mask & (1 << 15)) != 0 ? " timed" : "");
        };
        EXPECT_EQ(expanded("$" + name), expanded("`$" + name + "`"));
        EXPECT_EQ(expanded("${" + name + "}"), expanded("`${" + name + "}`"));
        EXPECT_EQ(expanded("$" + name).find("timed") != std::string::npos,
                  name == "F" || name == "FF" || name == "T");
    }
    KIT_String out;
    manager.expandString("a`1+`b", out, 0, nullptr, theThread);
    EXPECT_STREQ(out.c_str(), "ab");
    EXPECT_EQ(takeErrNo(), EVL::EVL_SYNTAX);
    manager.expandString("a`b", out, 0, nullptr, theThread);
    EXPECT_STREQ(out.c_str(), "a`b");
    EXPECT_EQ(takeErrNo(), EVL::EVL_SYNTAX);

    EXPECT_TRUE(TRK_Manager::scanForVariableInString("a$FF ${F}", "F"));
    EXPECT_FALSE(TRK_Manager::scanForVariableInString("a$FF $$", "F"));
}

TEST(Expressions, ReferencesAreListedAndRewritten)
{
    std::string found;
    const auto collect = [&found](const KIT_StringRef &path, const KIT_StringRef &name) {
        found += std::string(path.nonNullStr()) + "|" + name.nonNullStr() + " ";
    };
    TRK_Manager::forEachReference("ch('tx') + chs(\"../a/b\") + ch('x' + 'y')", collect);
    TRK_Manager::buildStringOpDependencies("ch('no')`ch('/r')`\\`ch('no')", collect);
    EXPECT_EQ(found, "|tx ../a|b /|r ");

    const Case cases[] = {
        {"ch('/obj/a/tx') + ch(\"/obj/a\") + ch('/obj/ab/tx')",
         "ch('/obj/new/tx') + ch(\"/obj/new\") + ch('/obj/ab/tx')"},
        {"'/obj/a/tx' + xch('/obj/a/tx')", "'/obj/a/tx' + xch('/obj/a/tx')"},
        {"ch('/obj/a/x') `chs('/obj/a/x')`", "ch('/obj/a/x') `chs('/obj/new/x')`"},
    };
    for (const auto &[expression, result] : cases) {
        KIT_String text(expression, true);
        const int count = TRK_Manager::changeStringOpRef(text, "/obj/a", "/obj/new");
        EXPECT_STREQ(text.c_str(), result);
        EXPECT_EQ(count > 0, std::string(expression) != result);
    }
}
