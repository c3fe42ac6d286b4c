// Channels and collections: curves, keys, pending values, time dependence, names, events, threads.

#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <TRK/TRK_ChannelContents.h>
#include <TRK/TRK_ChannelRef.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_Manager.h>
#include <common/Threads.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr int theThread = 9;

/// "time:value" of each key, and of each segment the expression.
std::string keys(const TRK_Channel &channel)
{
    std::string out;
    for (int i = 0; i < channel.getNSegments(); ++i) {
        char text[64];
        snprintf(text, sizeof(text), "%g:%g ", channel.getSegment(i)->getStart(),
                 channel.getSegment(i)->getInValue());
        out += text + std::string(channel.getSegment(i)->getExpression()) + "; ";
    }
    return out;
}

class Channels : public testing::Test
{
protected:
    void SetUp() override { EVL::theErrNo[theThread] = 0; }
    TRK_Channel *make(const char *name, const char *expression = nullptr)
    {
        TRK_Channel *made = collection.addChannel(name);
        made->initializeFirstSegment(expression, TRK_LANGUAGE_NATIVE);
        return made;
    }
    /// Keys at 0 and 2 with the values 10 and 20, slopes and accelerations as given.
    TRK_Channel *curve(const char *expression, double slope, double accel)
    {
        TRK_Channel *made = make("curve", expression);
        made->setKeyValue(10, 0, false, true, false);
        made->setKeyValue(20, 2, false, true, false);
        TRK_Segment *first = made->getFirstSegment();
        first->setInSlope(slope, false);
        first->setOutSlope(slope, false);
        first->setInAcceleration(accel, false);
        first->setOutAcceleration(accel, false);
        return made;
    }
    double at(const TRK_Channel *channel, double time)
    {
        return collection.evaluate(channel, time, false, theThread);
    }
    std::string textAt(const TRK_Channel *channel, double time)
    {
        KIT_String out;
        collection.evaluateString(out, channel, time, theThread);
        return out.toStdString();
    }

    TRK_Collection collection;
};

} // namespace

TEST_F(Channels, CurvesBetweenTwoKeys)
{
    struct
    {
        const char *interpolator;
        double slope, accel, time, value;
    } const cases[] = {
        {"constant()", 0, 0, 1.9, 10},     {"linear()", 9, 0, 0.5, 12.5},
        {" linear ( ) ", 0, 0, 1, 15},     {"ease()", 9, 0, 0.5, 11.5625},
        {"cubic()", 0, 9, 0.5, 11.5625},   {"cubic()", 5, 9, 0.5, 12.5}, // slopes of the line
        {"cubic()", 10, 9, 0.5, 13.4375},  {"bezier()", 0, 0, 0.5, 11.5625},
        {"bezier()", 10, 0, 0.5, 13.4375}, {"bezier()", 10, 2.0 / 3, 0.5, 13.4375},
        {"bezier()", 5, 0.2, 0.7, 13.5},   {"bezier()", 5, 1.9, 1.3, 16.5}, // handles on the line
        {"bezier()", 0, 1, 1, 15},
    };
    for (const auto &c : cases) {
        TRK_Channel *channel = curve(c.interpolator, c.slope, c.accel);
        EXPECT_NEAR(at(channel, c.time), c.value, 1e-12) << c.interpolator << c.slope;
        for (double outside : {-1.0, -1e300, 0.0}) {
            EXPECT_EQ(at(channel, outside), 10.0) << c.interpolator;
        }
        for (double outside : {2.0, 2.5, 1e300, std::numeric_limits<double>::infinity()}) {
            EXPECT_EQ(at(channel, outside), 20.0) << c.interpolator;
        }
    }
}

TEST_F(Channels, BezierTimeRunsOneWayForAnyHandles)
{
    for (double accel : {0.01, 0.5, 1.0, 2.0, 50.0, -3.0}) {
        TRK_Channel *channel = curve("bezier()", 0, accel);
        double last = 10;
        for (int i = 0; i <= 1000; ++i) {
            const double value = at(channel, i * 0.002);
            ASSERT_GE(value, last - 1e-9) << accel << " at " << i;
            last = value;
        }
        EXPECT_EQ(last, 20.0);
        EXPECT_NEAR(at(channel, 1), 15, 1e-9); // symmetric
    }
}

TEST_F(Channels, TheSearchFindsEachSegment)
{
    for (int count : {1, 2, 3, 7, 10, 64, 65}) {
        TRK_Channel *channel = make("search", "constant()");
        for (int i = 0; i < count; ++i) {
            channel->setKeyValue(i * 10, i, false, true, false);
        }
        ASSERT_EQ(channel->getNSegments(), count);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(at(channel, i), i * 10);
            EXPECT_EQ(at(channel, i + 0.99), i * 10);
        }
        collection.deleteChannel(channel);
    }
    TRK_Channel *none = collection.addChannel("none");
    none->setDefault(3);
    EXPECT_EQ(at(none, 1), 3.0);
    EXPECT_EQ(at(nullptr, 1), 0.0);
    EXPECT_EQ(at(curve("linear()", 0, 0), std::nan("")), 10.0);
}

TEST_F(Channels, ExpressionsDriveTheirSegment)
{
    TRK_Channel *channel = curve("linear()", 0, 0);
    channel->changeExpression(1, "linear() * 2 + $T  ", TRK_LANGUAGE_NATIVE, false);
    EXPECT_STREQ(channel->getSegment(0)->getExpression(), "linear() * 2 + $T");
    EXPECT_EQ(at(channel, 1), 31.0);
    EXPECT_EQ(at(channel, -1), 19.0); // evaluated in front of the first key, too
    EXPECT_EQ(at(channel, 2), 20.0);
    EXPECT_TRUE(channel->hasCompiledExpression());
    channel->dirtyExprCache();
    EXPECT_FALSE(channel->hasCompiledExpression());
    EXPECT_EQ(at(channel, 1), 31.0);
    EXPECT_EQ(channel->changeString("$T", "$F", false), 1);
    EXPECT_EQ(at(channel, 1), 55.0);
    EXPECT_TRUE(channel->findString("linear", true, false));

    EXPECT_EQ(channel->getStringMeaning(1), TRK_MEANING_NATIVE);
    EXPECT_EQ(channel->getStringMeaning(2), TRK_MEANING_LITERAL);
    channel->changeExpression(2, "1 + 1", TRK_LANGUAGE_PYTHON, false);
    EXPECT_EQ(channel->getStringMeaning(3), TRK_MEANING_PYTHON);
    TRK_LanguageEvaluator *const python = TRK_Manager::getContext().getPythonEvaluator();
    TRK_Manager::getContext().setPythonEvaluator(nullptr);
    EXPECT_EQ(at(channel, 3), 0.0);
    EXPECT_EQ(EVL::theErrNo[theThread], EVL::EVL_NO_LANGUAGE);
    TRK_Manager::getContext().setPythonEvaluator(python);
}

TEST_F(Channels, ValuesBecomePendingOrKeys)
{
    TRK_Channel *channel = make("tx");
    EXPECT_EQ(channel->setKeyValue(5, 1, true, false, false), 1); // not committed
    EXPECT_TRUE(channel->isPending(1) && channel->isPending(1 + 1e-7) && !channel->isPending(2));
    EXPECT_EQ(at(channel, 1), 5.0);
    EXPECT_EQ(at(channel, 2), 0.0);
    EXPECT_EQ(channel->setKeyValue(6, 1, true, true, true), 1); // no key there to take it
    EXPECT_EQ(keys(*channel), "0:0 bezier(); ");
    EXPECT_TRUE(channel->insertKeyFrame(1, true)); // the pending value becomes the key
    EXPECT_FALSE(channel->getPendingFlag());
    EXPECT_FALSE(channel->insertKeyFrame(1 + 1e-7, true));
    EXPECT_EQ(keys(*channel), "0:0 bezier(); 1:6 bezier(); ");
    EXPECT_EQ(channel->setKeyValue(9, 1, true, true, true), 0);
    EXPECT_EQ(channel->getSegment(0)->getOutValue(), 9.0);
    EXPECT_EQ(channel->setKeyValue(4, 0.5, true, true, false), 0);
    EXPECT_EQ(keys(*channel), "0:0 bezier(); 0.5:4 bezier(); 1:9 bezier(); ");

    channel->changeExpression(0.5, "$F", TRK_LANGUAGE_NATIVE, true);
    EXPECT_EQ(channel->setKeyValue(8, 0.75, true, true, false), 1); // driven by an expression
    EXPECT_EQ(at(channel, 0.75), 8.0);
    EXPECT_EQ(at(channel, 0.5), 13.0);
    channel->clearPending();
    EXPECT_EQ(at(channel, 0.75), 19.0);
    EXPECT_EQ(channel->setKeyValue(1, std::nan(""), true, true, false), 1);
    EXPECT_EQ(channel->getNSegments(), 3);
}

TEST_F(Channels, KeysComeAndGo)
{
    TRK_Channel *channel = curve("linear()", 3, 0.25);
    EXPECT_TRUE(channel->insertKeyFrame(1, false)); // on the curve
    EXPECT_EQ(keys(*channel), "0:10 linear(); 1:15 linear(); 2:20 linear(); ");
    EXPECT_TRUE(channel->insertKeyFrame(-1, false)); // in front
    EXPECT_EQ(at(channel, -0.5), 10.0);
    EXPECT_EQ(channel->findNextKey(0), 1.0);
    EXPECT_EQ(channel->findPrevKey(0), -1.0);
    EXPECT_EQ(channel->findNextKey(2), 2.0);
    EXPECT_EQ(channel->findPrevKey(-1), -1.0);
    EXPECT_TRUE(channel->isAtKey(1 - 1e-6) && channel->isAtHardKey(1) && !channel->isAtKey(0.5));

    TRK_FullKey key;
    ASSERT_TRUE(channel->getFullKey(1, key));
    key.in.value = 11;
    key.out.value = 12;
    key.expression = "constant()";
    channel->putFullKey(key);
    EXPECT_EQ(at(channel, 0.5), 10.5);
    EXPECT_EQ(at(channel, 1.5), 12.0);
    key.time = 1.25;
    channel->putFullKey(key);
    EXPECT_EQ(
        keys(*channel),
        "-1:10 linear(); 0:10 linear(); 1:12 constant(); 1.25:12 constant(); 2:20 linear(); ");
    EXPECT_TRUE(channel->removeKey(1.25) && channel->removeKey(1) && channel->removeKey(-1));
    EXPECT_FALSE(channel->removeKey(1));
    EXPECT_EQ(keys(*channel), "0:10 linear(); 2:20 linear(); ");
    EXPECT_EQ(at(channel, 1), 15.0);
    EXPECT_TRUE(channel->removeKey(0) && channel->removeKey(2));
    EXPECT_EQ(at(channel, 5), 20.0); // what the last key held

    TRK_Channel *copy = make("copy");
    copy->copyContents(*curve("linear()", 0, 0));
    collection.deleteChannel(collection.getChannel("curve"));
    EXPECT_EQ(at(copy, 1), 15.0);
    copy->changeExpression(0, "$F", TRK_LANGUAGE_NATIVE, true);
    EXPECT_EQ(at(copy, 1), 25.0);
}

TEST_F(Channels, StringsAreExpressions)
{
    TRK_Channel *channel = make("file", "'a' + 'b'");
    EXPECT_EQ(textAt(channel, 0), "ab");
    EXPECT_EQ(channel->setKeyString("'no'", 0, true, true, false), 1); // an expression drives it
    EXPECT_EQ(textAt(channel, 0), "no");
    EXPECT_EQ(textAt(channel, 1), "ab");
    channel->clearPending();
    EXPECT_EQ(channel->setKeyString("'x'", 0, TRK_LANGUAGE_NATIVE, true, true, false), 0);
    EXPECT_EQ(channel->setKeyString("'y'", 0, true, true, true), 0); // a literal is replaced
    EXPECT_EQ(channel->setKeyString("'z'", 1, true, true, true), 1); // no key there
    channel->clearPending();
    EXPECT_EQ(channel->setKeyString("'z'", 1, true, true, false), 0);
    EXPECT_EQ(textAt(channel, 0.5) + textAt(channel, 1), "yz");

    TRK_Channel *fresh = make("fresh");
    EXPECT_EQ(textAt(fresh, 0), "0");
    fresh->setDefaultString("\"lit\"");
    EXPECT_EQ(textAt(fresh, 0), "lit");
    ASSERT_TRUE(fresh->removeKey(0));
    fresh->setDefaultString("\"f$F\"");
    EXPECT_EQ(textAt(fresh, 1), "f25");
    EXPECT_TRUE(fresh->isTimeDependent()) << "without keys the default slot counts";
    TRK_Channel *number = make("number", "1 / 4");
    EXPECT_EQ(textAt(number, 0), "0.25");
    TRK_Channel *digits = make("digits", "'12' + '.5'");
    EXPECT_EQ(at(digits, 0), 12.5);
}

TEST_F(Channels, EachVariableTellsBeforeTheFirstEvaluation)
{
    const char *const timed[] = {"F", "FF", "T", "F4"};
    const char *const still[] = {"FPS", "PI", "E", "OS", "HOME"};
    const char *const forms[] = {"$%",         "${%}",         "-$%",       "1 + 2 * $%",
                                 "floor($%)",  "if(1, $%, 0)", "itoa($%)",  "max(1, $%, 2)",
                                 "strlen($%)", "$%+\"text\"",  "\"a\" + $%"};
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        // One or two variables, the second of the still ones in half of the cases.
        std::string expression;
        bool depends = false;
        for (unsigned n = 1 + random() % 2; n > 0; --n) {
            const bool usesTime = random() % 2 == 0;
            depends = depends || usesTime;
            std::string form = forms[random() % std::size(forms)];
            form.replace(form.find('%'), 1,
                         usesTime ? timed[random() % std::size(timed)] : still[random() % 5]);
            expression += (expression.empty() ? "" : "+") + form;
        }
        TRK_Channel *channel = make("made", i % 2 ? expression.c_str() : "1");
        if (i % 2 == 0) {
            channel->changeExpression(0, expression.c_str(), TRK_LANGUAGE_NATIVE, false);
        }
        EXPECT_EQ(channel->isTimeDependent(), depends) << expression;
        textAt(channel, 1);
        EXPECT_EQ(channel->isTimeDependent(), depends) << expression;
        collection.deleteChannel(channel);
    }
}

TEST_F(Channels, TimeDependence)
{
    TRK_Channel *still = make("still", "1 + 2");
    TRK_Channel *moving = make("moving", "$T");
    TRK_Channel *text = make("text", "\"f.${F}.pic\"");
    TRK_Channel *follow = make("follow", "ch('moving')");
    TRK_Channel *further = make("further", "ch('follow') + ch('still')");
    EXPECT_FALSE(still->isTimeDependent() || still->isTimeDependentSlow(theThread));
    EXPECT_TRUE(moving->isTimeDependent() && text->isTimeDependent());
    EXPECT_FALSE(further->isTimeDependent()); // not looked at yet
    EXPECT_TRUE(further->isTimeDependentSlow(theThread));
    EXPECT_TRUE(further->isTimeDependent()); // the mark of that evaluation
    EXPECT_TRUE(follow->isStringTimeDependentSlow(theThread));
    moving->changeExpression(0, "5", TRK_LANGUAGE_NATIVE, true);
    EXPECT_EQ(at(further, 0), 8.0);
    EXPECT_FALSE(further->isTimeDependent());
    EXPECT_TRUE(follow->isDataDependent());
    EXPECT_FALSE(still->isDataDependent());
    still->changeExpression(0, "1 + 2", TRK_LANGUAGE_PYTHON, false);
    EXPECT_TRUE(still->isDataDependent()) << "nobody knows what Python reads";
    still->changeExpression(0, "linear()", TRK_LANGUAGE_PYTHON, false);
    EXPECT_FALSE(still->isDataDependent());
    still->setDefaultString("chs('text')");
    EXPECT_EQ(textAt(still, 0), textAt(text, 0)) << "a curve gives the default text";
    EXPECT_TRUE(still->isDataDependent());
    still->changeExpression(0, "'own'", TRK_LANGUAGE_NATIVE, false);
    EXPECT_FALSE(still->isDataDependent());
    still->setKeyString("chs('text')", 0, false, false, false);
    EXPECT_TRUE(still->isDataDependent()) << "a pending text, until it is cleared";
    still->clearPending();
    EXPECT_FALSE(still->isDataDependent());
    EXPECT_TRUE(curve("linear()", 0, 0)->isTimeDependent());

    TRK_Channel *broken = make("broken", "ch('nope')");
    EXPECT_FALSE(broken->isTimeDependentSlow(theThread));
    EXPECT_EQ(EVL::theErrNo[theThread], 0); // a question leaves no error
    TRK_FullKey key;
    EXPECT_FALSE(broken->getFullKey(1, key));
    EXPECT_EQ(EVL::theErrNo[BASgetSTID()], 0);
}

TEST_F(Channels, NamesAndAliases)
{
    const std::pair<const char *, bool> cases[] = {
        {"tx", true},   {"_a.b:c#1", true}, {"", false},         {nullptr, false}, {"1a", false},
        {"a b", false}, {"a/b", false},     {"\xc3\xa4", false}, {"#a", false},    {"a-b", false},
    };
    for (const auto &[name, good] : cases) {
        EXPECT_EQ(TRK_Collection::isValidChannelName(name), good) << (name ? name : "");
        TRK_Collection other;
        EXPECT_EQ(other.addChannel(name) != nullptr, good);
    }
    EXPECT_FALSE(TRK_Collection::isValidChannelName(std::string(256, 'a').c_str()));

    TRK_Channel *a = make("a", "1");
    TRK_Channel *b = make("b", "ch('a') + ch('second')");
    TRK_Channel *c = make("c", "10");
    EXPECT_EQ(collection.addChannel("a"), a);
    collection.setChannelAlias(c, "second");
    EXPECT_EQ(at(b, 0), 11.0);
    EXPECT_EQ(collection.getChannel("second"), nullptr);
    EXPECT_FALSE(collection.renameChannel(a, "b"));
    EXPECT_FALSE(collection.renameChannel(a, "b b"));
    EXPECT_TRUE(collection.renameChannel(a, "a") && collection.renameChannel(a, "z"));
    EXPECT_EQ(collection.getChannel(0), a);
    EXPECT_EQ(collection.getChannel("a"), nullptr);
    EXPECT_EQ(at(b, 0), 0.0);
    EXPECT_EQ(EVL::theErrNo[theThread], EVL::EVL_UNKNOWN_CHANNEL);
    EVL::theErrNo[theThread] = 0;
    EXPECT_TRUE(collection.renameChannel(a, "a"));

    TRK_ChannelRef ref;
    EXPECT_TRUE(TRK_Manager::getContext().fillChannelRef(ref, c));
    EXPECT_EQ(ref.getChannel(), c);
    collection.deleteChannel(c);
    EXPECT_EQ(ref.getChannel(), nullptr);
    EXPECT_EQ(at(b, 0), 0.0);
    EXPECT_EQ(EVL::theErrNo[theThread], EVL::EVL_UNKNOWN_CHANNEL);
    EXPECT_EQ(collection.entries(), 2);
    EXPECT_TRUE(a->match("x a*") && !a->match("x b?") && !a->match(nullptr));
}

TEST_F(Channels, EventsWaitForTheEndOfTheBatch)
{
    std::vector<std::string> seen;
    const auto listen = [](void *data, TRK_Channel *channel) {
        static_cast<std::vector<std::string> *>(data)->push_back(channel->getName().c_str());
    };
    TRK_EventManager &events = TRKgetEventManager();
    TRK_Channel *a = make("a");
    TRK_Channel *b = make("b");
    TRK_Channel *gone = make("gone");
    events.addListener(&seen, listen);
    a->setKeyValue(1, 0, true, true, false);
    a->setKeyValue(2, 0, false, true, false); // silent
    EXPECT_EQ(seen, std::vector<std::string>{"a"});
    {
        TRK_AutoEventHandler outer;
        TRK_AutoEventHandler inner;
        b->setChanged(true, 0);
        gone->setChanged(true, 0);
        a->getFirstSegment()->setInValue(5, true);
        b->insertKeyFrame(3, true);
        collection.deleteChannel(gone);
        EXPECT_EQ(seen.size(), 1u);
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "b", "a"}));
    std::vector<std::string> only;
    events.beginHandlingEvents(listen, &only);
    a->setChanged(true, 0);
    events.endHandlingEvents();
    events.endHandlingEvents(); // one too many
    EXPECT_EQ(only, std::vector<std::string>{"a"});
    events.removeListener(&seen, listen);
    a->setChanged(true, 0);
    EXPECT_EQ(seen.size(), 3u);
    EXPECT_EQ(events.depth(), 0);
}

TEST_F(Channels, ContentsComeBackAndShareWhatStays)
{
    const auto saved = [](TRK_Channel &channel) {
        std::ostringstream os;
        channel.getCollection()->save(os);
        for (const double time : {17.25, 151.5, 286.75}) {
            os << channel.getCollection()->evaluate(&channel, time, false, theThread) << ' ';
        }
        return os.str();
    };
    TRK_Channel *const channel = make("c", "linear()");
    TRK_Collection others;
    TRK_Channel *const other = others.addChannel("c");
    std::mt19937 random(3);
    std::vector<std::pair<std::unique_ptr<TRK_ChannelContents>, std::string>> states;
    constexpr int theSteps = 1500;
    for (int step = 0; step < theSteps; ++step) {
        const double time = double(random() % 400);
        switch (step < 300 ? 0 : random() % 10) {
        case 0: channel->setKeyValue(double(random() % 100), step, false, true, false); break;
        case 1: channel->removeKey(time); break;
        case 2: channel->changeExpression(time, "$F * 2", TRK_LANGUAGE_NATIVE, false); break;
        case 3: {
            TRK_Segment *const segment = channel->getExpressionSegment(time);
            segment->setInSlope(time, false);
            segment->setOutSlope(time * 2, false);
            segment->setOutAcceleration(time * 3, false);
            break;
        }
        case 4: channel->setDefaultString("ch('x')", TRK_LANGUAGE_PYTHON); break;
        case 5: channel->setLocked(random() % 2 == 0); break;
        case 6: channel->setKeyValue(1.0, time, false, false, false); break;
        default: channel->setKeyValue(time, time + 0.5, false, true, false);
        }
        const TRK_ChannelContents *const last =
            states.empty() ? nullptr : states.back().first.get();
        states.emplace_back(std::make_unique<TRK_ChannelContents>(*channel, last), saved(*channel));
        const bool sameFlag =
            step > 0 && states[std::size_t(step) - 1].second == states.back().second;
        ASSERT_EQ(step > 0 && states.back().first->isSame(*last), sameFlag) << step;
    }
    std::int64_t bytes = 0;
    for (const auto &[contents, text] : states) {
        contents->restore(*other);
        ASSERT_EQ(saved(*other), text);
        ASSERT_TRUE(TRK_ChannelContents(*other).isSame(*contents));
        bytes += contents->getMemoryUsage();
    }
    // Each alone has some 40,000 bytes at the end.
    EXPECT_LT(bytes, 8000 * theSteps);
    EXPECT_GT(states.back().first->getMemoryUsage(), 0);
    // What the first ones leave behind counts for those that stay.
    const std::int64_t alone = TRK_ChannelContents(*channel).getMemoryUsage();
    states.erase(states.begin(), states.end() - 1);
    EXPECT_GT(states.back().first->getMemoryUsage(), alone / 2);
}

TEST_F(Channels, ManagerTimeAndErrors)
{
    TRK_Manager &manager = TRK_Manager::getContext();
    manager.setCurrentTime(3);
    EXPECT_EQ(manager.getEvaluateTime(theThread), 3.0);
    {
        TRK_EvalContext::Scope outer(theThread, 5.0, &collection, "tx");
        EXPECT_EQ(manager.getEvaluateTime(theThread), 5.0);
        EXPECT_EQ(manager.getEvaluateTime(theThread + 1), 3.0);
        TRK_EvalContext::Scope keep(theThread);
        EXPECT_EQ(manager.getEvaluateTime(theThread), 5.0);
        TRK_EvalContext::Scope inner(theThread, 6.0);
        EXPECT_EQ(TRK_EvalContext::getCurrent(theThread)->getTime(), 6.0);
    }
    EXPECT_EQ(manager.getEvaluateTime(theThread), 3.0);
    manager.setCurrentTime(0);
    EXPECT_EQ(manager.timeToFrame(1.0), 25.0);
    EXPECT_EQ(manager.frameToTime(1.0), 0.0);
    manager.setFPS(-1);
    EXPECT_EQ(manager.getFPS(), 24.0);

    KIT_ErrorManager::Scope scope(theThread);
    manager.evaluationError(0, theThread, "nothing");
    manager.evaluationError(EVL::EVL_CYCLE, theThread, "/obj/a/tx");
    ASSERT_EQ(scope.getManager().entries(), 1);
    EXPECT_EQ(scope.getManager().getError(0).code, EVL::EVL_CYCLE);
}

TEST(ChannelTypes, WordsAndLanguages)
{
    for (int i = 0; i < 5; ++i) {
        const TRK_StringMeaning meaning = static_cast<TRK_StringMeaning>(i);
        EXPECT_EQ(TRKstringToMeaning(TRKmeaningToString(meaning)), meaning);
        EXPECT_EQ(TRKstringToMeaning(std::to_string(i).c_str()), meaning);
    }
    TRK_StringMeaning meaning = TRK_MEANING_PYTHON;
    EXPECT_FALSE(TRKstringToMeaning("nope", meaning) || TRKstringToMeaning("9", meaning) ||
                 TRKstringToMeaning(nullptr, meaning));
    EXPECT_EQ(meaning, TRK_MEANING_PYTHON);
    EXPECT_EQ(TRKstringToScriptLanguage(TRKscriptLanguageAsString(TRK_SCRIPT_PYTHON)),
              TRK_SCRIPT_PYTHON);
    EXPECT_EQ(TRKstringMeaningToExprLanguage(TRK_MEANING_COLLECTION, TRK_LANGUAGE_PYTHON),
              TRK_LANGUAGE_PYTHON);
    EXPECT_EQ(TRKstringMeaningToExprLanguage(TRK_MEANING_NATIVE, TRK_LANGUAGE_PYTHON),
              TRK_LANGUAGE_NATIVE);
    for (int i = 0; i < TRK_INTERP_EXPRESSION; ++i) {
        const TRK_Interpolator interpolator = static_cast<TRK_Interpolator>(i);
        std::string text = TRKinterpolatorToString(interpolator);
        EXPECT_EQ(TRKstringToInterpolator(text.c_str()), interpolator);
        text.insert(text.size() - 2, "\t ");
        text.insert(text.size() - 1, "  ");
        EXPECT_EQ(TRKstringToInterpolator((" " + text + "\n").c_str()), interpolator) << text;
    }
    for (const char *text : {"bez ier()", "linear(", "linear) (", "()", "linear(1)", "linear",
                             "linear()()", "", "linear()*2"}) {
        EXPECT_EQ(TRKstringToInterpolator(text), TRK_INTERP_EXPRESSION) << text;
    }
}

// Under the thread sanitizer this shows that first compilation needs no lock.
TEST(ChannelThreads, ManyThreadsMeetUncompiledExpressions)
{
    TRK_Collection collection;
    const char *const expressions[] = {"ch('b') + ch('c', 2) * 2", "ch('c') + $F", "$T * 3",
                                       "strlen(\"$F.\" + chs('c'))"};
    const char *const names[] = {"a", "b", "c", "d"};
    for (int i = 0; i < 4; ++i) {
        collection.addChannel(names[i])->initializeFirstSegment(expressions[i],
                                                                TRK_LANGUAGE_NATIVE);
    }
    for (int round = 0; round < 50; ++round) {
        for (const char *name : names) {
            collection.getChannel(name)->dirtyExprCache();
        }
        std::atomic<int> wrong{0};
        onThreads(4, [&](int) {
            const int thread = BASgetSTID();
            for (int i = 0; i < 20; ++i) {
                const double a = collection.evaluate(collection.getChannel("a"), 1, false, thread);
                const double d = collection.evaluate(collection.getChannel("d"), 1, false, thread);
                wrong += a != 40.0 || d != 4.0;
            }
        });
        ASSERT_EQ(wrong, 0);
    }
}
