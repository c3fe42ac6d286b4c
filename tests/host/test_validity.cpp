// Until when values stay as they are: never longer than true, and as long as can be told.

#include <EVL/EVL.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Validity.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int theThread = 7;
constexpr double theForever = HUGE_VAL;

double before(double time)
{
    return std::nextafter(time, -theForever);
}

/// What the channels of a collection read.
class Channels : public TRK_ValiditySource
{
public:
    TRK_Interval ofReference(const TRK_Collection &from, const KIT_StringRef &,
                             const KIT_StringRef &name, double time, bool textFlag) override
    {
        const TRK_Channel *channel = from.findChannelOrAlias(name);
        if (!channel || myDepth > 20) {
            return TRK_Interval::at(time);
        }
        ++myDepth;
        const TRK_Validity validity(&from, theThread, *this);
        const TRK_Interval held =
            textFlag ? validity.ofText(*channel, time) : validity.ofNumber(*channel, time);
        --myDepth;
        return held;
    }

private:
    int myDepth = 0;
};

struct World
{
    TRK_Channel &add(const std::string &name, const std::string &expression)
    {
        TRK_Channel *channel = collection.addChannel(name.c_str());
        channel->initializeFirstSegment(expression.c_str(), TRK_LANGUAGE_NATIVE);
        return *channel;
    }
    TRK_Interval held(const TRK_Channel &channel, double time, bool textFlag = false)
    {
        Channels source;
        const TRK_Validity validity(&collection, theThread, source);
        return textFlag ? validity.ofText(channel, time) : validity.ofNumber(channel, time);
    }
    /// The value as bytes.
    std::string value(const TRK_Channel &channel, double time, bool textFlag) const
    {
        KIT_String text;
        double number = 0.0;
        if (textFlag) {
            collection.evaluateString(text, &channel, time, theThread);
        } else {
            number = collection.evaluate(&channel, time, false, theThread);
        }
        EVL::theErrNo[theThread] = EVL::EVL_OK;
        return textFlag ? text.toStdString()
                        : std::string(reinterpret_cast<const char *>(&number), sizeof number);
    }

    TRK_Collection collection;
};

TEST(Validity, AsLongAsCanBeTold)
{
    World world;
    TRK_Channel &keys = world.add("keys", "constant()");
    keys.setKeyValue(1.0, 0.0, false, true, false);
    keys.setKeyValue(4.0, 2.0, false, true, false);
    keys.setKeyValue(4.0, 3.0, false, true, false);
    keys.getSegment(1)->changeExpression("bezier()", TRK_LANGUAGE_NATIVE);
    keys.getSegment(2)->changeExpression("bezier()", TRK_LANGUAGE_NATIVE);
    const struct
    {
        const char *expression;
        double time, first, last;
    } rows[] = {
        {"1 + 2", 0.5, -theForever, theForever},
        {"$T", 0.5, 0.5, 0.5},
        {"$T * 0", 0.5, 0.5, 0.5},
        {"$T < 2", 0.5, -theForever, before(2.0)},
        {"$T < 2", 2.0, 2.0, theForever},
        {"3 <= -$T * 2", 0.5, std::nextafter(-1.5, 1.0), theForever},
        {"$T == 2", 2.0, 2.0, 2.0},
        {"$T != 2", 3.0, std::nextafter(2.0, 3.0), theForever},
        {"floor($T / 2)", 3.0, 2.0, before(4.0)},
        {"if($T < 2, 7, $T)", 0.5, -theForever, before(2.0)},
        {"if($T < 2, 7, $T)", 2.5, 2.5, 2.5},
        {"1 + if($T < 2, 7, floor($T))", 2.5, 2.0, before(3.0)},
        {"min($T, 3)", 5.0, 3.0, theForever},
        {"$T > 1 && $T < 2", 1.5, std::nextafter(1.0, 2.0), before(2.0)},
        {"ch(\"keys\")", 1.0, -theForever, before(2.0)},
        {"ch(\"keys\") + 1", 2.5, 2.0, before(3.0)},
        {"ch(\"keys\", 0.5) + floor($T)", 0.5, 0.0, before(1.0)},
        {"if(strcmp(\"a\", \"b\"), 1, $T)", 0.5, -theForever, theForever},
    };
    TRK_Channel &channel = world.add("it", "0");
    for (const auto &row : rows) {
        channel.initializeFirstSegment(row.expression, TRK_LANGUAGE_NATIVE);
        const TRK_Interval held = world.held(channel, row.time);
        EXPECT_EQ(held.first, row.first) << row.expression << " at " << row.time;
        EXPECT_EQ(held.last, row.last) << row.expression << " at " << row.time;
    }
    // Frame 13 begins half a frame before its time.
    channel.initializeFirstSegment("$F * 2", TRK_LANGUAGE_NATIVE);
    const TRK_Interval frame = world.held(channel, 0.5);
    EXPECT_NEAR(frame.first, 11.5 / 24.0, 1e-12);
    EXPECT_NEAR(frame.last, 12.5 / 24.0, 1e-12);
    channel.initializeFirstSegment("\"a$F4.pic\"", TRK_LANGUAGE_NATIVE);
    EXPECT_TRUE(world.held(channel, 0.5, true) == frame);
}

/// Expressions of numbers and texts that move, turn and fail.
class RandomExpressions
{
public:
    explicit RandomExpressions(unsigned seed) : random(seed) {}

    std::string number(int depth)
    {
        static const char *const leaves[] = {"$T",  "$F",    "$FF",  "0",         "1",
                                             "2.5", "-0.75", "$T*3", "ch(\"a\")", "ch(\"b\")"};
        if (depth <= 0) {
            return leaves[pick(10)];
        }
        const std::string x = number(depth - 1);
        switch (pick(12)) {
        case 0: return "(" + x + operation() + number(depth - 1) + ")";
        case 1: return "(" + number(0) + operation() + number(0) + comparison() + x + ")";
        case 2: return "(" + x + comparison() + number(depth - 1) + ")";
        case 3:
            return "if(" + x + comparison() + number(1) + ", " + number(depth - 1) + ", " +
                   number(depth - 2) + ")";
        case 4: return function() + "(" + x + ")";
        case 5: return "min(" + x + ", " + number(depth - 2) + ")";
        case 6: return "clamp(" + x + ", " + number(0) + ", " + number(0) + ")";
        case 7: return "ch(\"a\", " + x + ")";
        case 8: return "strlen(" + text(depth - 1) + ")";
        case 9: return "(" + x + (pick(2) ? " && " : " || ") + number(depth - 1) + ")";
        case 10: return "(-" + x + ")";
        default: return "(!" + x + ")";
        }
    }
    std::string text(int depth)
    {
        switch (pick(6)) {
        case 0: return "strcat(\"x\", " + (depth > 0 ? number(depth - 1) : "1") + ")";
        case 1: return "\"f$F3\"";
        case 2: return "chs(\"a\")";
        case 3: return "chs(\"b\", " + (depth > 0 ? number(depth - 1) : "$T") + ")";
        case 4: return "toupper(chs(\"b\"))";
        default: return "\"abc\"";
        }
    }
    int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
    double time() { return std::uniform_real_distribution<>(-3.0, 5.0)(random); }

    std::mt19937 random;

private:
    const char *operation()
    {
        static const char *const all[] = {" + ", " - ", " - ", " * ", " / ", " % ", " ^ "};
        return all[pick(7)];
    }
    const char *comparison()
    {
        static const char *const all[] = {" < ", " <= ", " > ", " >= ", " == ", " != "};
        return all[pick(6)];
    }
    std::string function()
    {
        static const char *const all[] = {"floor", "ceil", "round", "int", "sign",
                                          "frac",  "abs",  "sin",   "rand"};
        return all[pick(9)];
    }
};

/// Three channels that read those before them: keys, then expressions.
void fill(World &world, RandomExpressions &made)
{
    static const char *const curves[] = {"constant()", "linear()", "bezier()", "ease()", "cubic()"};
    TRK_Channel &keys = world.add("a", curves[made.pick(5)]);
    for (int i = made.pick(4); i >= 0; --i) {
        const double time = made.pick(3) == 0 ? made.pick(4) : made.time();
        keys.setKeyValue(made.pick(3), time, false, true, false);
        const std::string curve = made.pick(6) == 0 ? "$F" : curves[made.pick(5)];
        keys.getExpressionSegment(time)->changeExpression(curve.c_str(), TRK_LANGUAGE_NATIVE);
    }
    if (made.pick(4) == 0) {
        keys.setKeyValue(9.0, made.time(), false, false, false);
    }
    TRK_Channel &second = world.add("b", "0");
    const std::string reading =
        made.pick(3) == 0 ? made.text(1) : "floor(ch(\"a\") * 2) + ($T < 1)";
    second.initializeFirstSegment(reading.c_str(), TRK_LANGUAGE_NATIVE);
}

TEST(Validity, NeverLongerThanTrue)
{
    constexpr double theMoment = 1e-3;
    int longer = 0, longest = 0;
    constexpr int rounds = 4000;
    for (unsigned seed = 0; seed < rounds; ++seed) {
        RandomExpressions made(seed);
        World world;
        fill(world, made);
        const bool textFlag = made.pick(4) == 0;
        const std::string expression = textFlag ? made.text(3) : made.number(made.pick(5));
        const TRK_Channel &channel = world.add("it", expression);
        for (int i = 0; i < 3; ++i) {
            const double time = made.pick(2) ? made.time() : made.pick(9) * 0.5 - 1.0;
            const TRK_Interval held = world.held(channel, time, textFlag);
            ASSERT_TRUE(held.contains(time)) << expression << " at " << time;
            const std::string value = world.value(channel, time, textFlag);
            std::vector<double> times = {held.first, held.last};
            const double first = std::max(held.first, -20.0);
            const double last = std::min(held.last, 20.0);
            for (int k = 0; k < 60; ++k) {
                times.push_back(std::uniform_real_distribution<>(first, last)(made.random));
            }
            for (const double other : times) {
                if (std::isfinite(other) && held.contains(other)) {
                    ASSERT_EQ(world.value(channel, other, textFlag), value)
                        << seed << ": " << expression << " at " << time << ", " << other;
                }
            }
            longer += held.first < held.last ? 1 : 0;
            // How many could be.
            const auto isLike = [&](double other) {
                return world.value(channel, other, textFlag) == value;
            };
            longest += isLike(time - theMoment) || isLike(time + theMoment) ? 1 : 0;
        }
    }
    // Not told are those that fail, and curves that are rounded.
    EXPECT_GT(longer * 10, longest * 6) << longer << " of " << longest;
}

} // namespace
