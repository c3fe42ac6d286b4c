#include <TRK/TRK_ExpressionTracePrivate.h>

#include <EVL/EVL.h>
#include <TRK/TRK_ExpressionFunctions.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>
#include <TRK/TRK_TextScanPrivate.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace
{

using Code = TRK_Expression::Code;

bool isSameNumber(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// The doubles in their order.
std::int64_t ordinalOf(double value)
{
    std::int64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits < 0 ? std::numeric_limits<std::int64_t>::min() - bits : bits;
}

double numberOf(std::int64_t ordinal)
{
    const std::int64_t bits =
        ordinal < 0 ? std::numeric_limits<std::int64_t>::min() - ordinal : ordinal;
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

bool readsReference(Code code)
{
    return code >= Code::CHANNEL && code <= Code::CHANNEL_NAMED_AT;
}

bool hasOwnTime(Code code)
{
    return code == Code::CHANNEL_AT || code == Code::CHANNEL_NAMED_AT ||
           code == Code::TEXT_CHANNEL_AT || code == Code::TEXT_CHANNEL_NAMED_AT;
}

bool hasComputedName(Code code)
{
    return code == Code::CHANNEL_NAMED || code == Code::CHANNEL_NAMED_AT ||
           code == Code::TEXT_CHANNEL_NAMED || code == Code::TEXT_CHANNEL_NAMED_AT;
}

/// What fails at other times, or for other channels, is none of the run's failures.
class OwnErrors
{
public:
    explicit OwnErrors(int thread) : myScope(thread), myErrors(theTRKEvalThread.errors) {}
    ~OwnErrors() { theTRKEvalThread.errors = myErrors; }
    OwnErrors(const OwnErrors &) = delete;
    OwnErrors &operator=(const OwnErrors &) = delete;

private:
    const EVL::ErrorScope myScope;
    const uint32_t myErrors;
};

} // namespace

TRK_ExpressionTrace::TRK_ExpressionTrace(const TRK_Expression &expression, TRK_EvalState &state,
                                         TRK_ValiditySource &source, double *numbers,
                                         KIT_String *texts)
    : myExpression(expression), myState(state), mySource(source),
      myRunner(expression, state, numbers, texts), myRead(expression.mySteps.size())
{}

TRK_Interval TRK_ExpressionTrace::of(const TRK_Expression &expression, TRK_EvalState &state,
                                     TRK_ValiditySource &source)
{
    if (!expression.prepare(state)) {
        return TRK_Interval::at(state.time);
    }
    double numbers[TRK_Limits::theStackSlots + 1];
    std::vector<KIT_String> texts(static_cast<std::size_t>(expression.myTextSlots) + 1);
    return TRK_ExpressionTrace(expression, state, source, numbers, texts.data()).run();
}

TRK_Interval TRK_ExpressionTrace::run()
{
    const Step *const first = myExpression.mySteps.data();
    const Step *const end = myRunner.end();
    for (const Step *at = first; at < end; ++at) {
        if (at->code == Code::JUMP) {
            at = first + at->index - 1;
        } else if (at->code == Code::JUMP_IF_ZERO) {
            holdTruth(myNumbers.back(), at);
            myPath.meet(myNumbers.back().held);
            myNumbers.pop_back();
            at = myRunner.popNumber() == 0.0 ? first + at->index - 1 : at;
        } else if (!step(*at)) {
            return TRK_Interval::at(myState.time);
        }
    }
    TRK_Interval held = myPath;
    if (!myNumbers.empty()) {
        hold(myNumbers.back(), end);
        held.meet(myNumbers.back().held);
    } else if (!myTexts.empty()) {
        held.meet(myTexts.back());
    }
    return held;
}

/// A computed name is on the stack only until it is read.
bool TRK_ExpressionTrace::step(const Step &step)
{
    if (hasComputedName(step.code)) {
        const KIT_String &name = myRunner.text();
        myNamed = TRK_Expression::splitReference(name.nonNullStr(), name.length(), false);
    }
    if (!myRunner.run(&step, &step + 1)) {
        return false;
    }
    follow(step);
    return true;
}

void TRK_ExpressionTrace::push(const Step &step, const TRK_Interval &held, int direction)
{
    Number number;
    number.held = held;
    number.direction = direction;
    number.begin = &step;
    myNumbers.push_back(number);
}

void TRK_ExpressionTrace::follow(const Step &step)
{
    switch (step.code) {
    case Code::NUMBER:
    case Code::FPS: push(step, TRK_Interval()); break;
    case Code::FRAME:
    case Code::FLOAT_FRAME:
    case Code::TIME: push(step, TRK_Interval(), 1); break;
    case Code::INTERPOLATE:
        push(step, myState.segment ? TRK_Validity::ofCurve(
                                         *myState.segment,
                                         static_cast<TRK_Interpolator>(step.index), myState.time)
                                   : TRK_Interval());
        break;
    case Code::NEGATE: myNumbers.back().direction *= -1; break;
    case Code::NOT:
    case Code::TRUTH: holdTruth(myNumbers.back(), &step); break;
    case Code::SWAP: {
        Number &lower = myNumbers[myNumbers.size() - 2];
        Number &upper = myNumbers.back();
        hold(lower, upper.begin);
        hold(upper, &step);
        upper.begin = lower.begin; // from where both are made
        std::swap(lower, upper);
        break;
    }
    case Code::NOTHING: break;
    case Code::FUNCTION: applyFunction(step); break;
    default:
        if (step.code >= Code::ADD && step.code <= Code::POWER) {
            combine(step);
        } else if (step.code >= Code::LESS && step.code <= Code::NOT_EQUAL) {
            compare(step);
        } else if (readsReference(step.code)) {
            followReference(step);
        } else {
            followText(step);
        }
        break;
    }
}

// ---------------------------------------------------------------- //
// Numbers
// ---------------------------------------------------------------- //

/// A sum of what goes the same way does so, too, and so does a product with a constant: each of these operations,
/// correctly rounded, never turns the order of its operands.
void TRK_ExpressionTrace::combine(const Step &step)
{
    Number &left = myNumbers[myNumbers.size() - 2];
    Number &right = myNumbers.back();
    double operands[2] = {};
    int direction = 0;
    if (step.code == Code::ADD || step.code == Code::SUBTRACT) {
        const int other = step.code == Code::ADD ? right.direction : -right.direction;
        direction = left.direction * other < 0 ? 0 : left.direction != 0 ? left.direction : other;
    } else if ((step.code == Code::MULTIPLY || step.code == Code::DIVIDE) &&
               (left.direction == 0) != (right.direction == 0) &&
               repeat(left.begin, &step, myState.time, operands, 2)) {
        const double factor = left.direction == 0 ? operands[0] : operands[1];
        const bool leftFlag = left.direction == 0;
        const bool usableFlag =
            std::isfinite(factor) && factor != 0.0 && !(step.code == Code::DIVIDE && leftFlag);
        direction = usableFlag ? (leftFlag ? right : left).direction * (factor < 0.0 ? -1 : 1) : 0;
    }
    if (direction == 0) {
        const Step &begin = *left.begin;
        push(begin, meetNumbers(2, step));
        return;
    }
    left.held.meet(right.held);
    left.direction = direction;
    myNumbers.pop_back();
}

void TRK_ExpressionTrace::compare(const Step &step)
{
    const Number left = myNumbers[myNumbers.size() - 2];
    const Number right = myNumbers.back();
    const bool oneWayFlag = left.direction * right.direction <= 0;
    const bool movesFlag = left.direction != 0 || right.direction != 0;
    TRK_Interval held;
    if (movesFlag && oneWayFlag) {
        TRK_Interval within = left.held;
        within.meet(right.held);
        within.meet(myPath);

        const auto orderAt = [&](double time) {
            double operands[2];
            return !repeat(left.begin, &step, time, operands, 2)        ? 2
                   : std::isnan(operands[0]) || std::isnan(operands[1]) ? 2
                   : operands[0] < operands[1]                          ? -1
                                                                        : operands[0] > operands[1];
        };
        const int order = orderAt(myState.time);
        const bool lessFlag = step.code == Code::LESS || step.code == Code::GREATER_EQUAL;
        const bool greaterFlag = step.code == Code::GREATER || step.code == Code::LESS_EQUAL;
        held = order == 2 ? TRK_Interval::at(myState.time) : search(within, [&](double time) {
            const int other = orderAt(time);
            return other != 2 && (lessFlag      ? (other < 0) == (order < 0)
                                  : greaterFlag ? (other > 0) == (order > 0)
                                                : other == order);
        });
        myNumbers.resize(myNumbers.size() - 2);
    } else {
        held = meetNumbers(2, step);
    }
    push(*left.begin, held);
}

void TRK_ExpressionTrace::applyFunction(const Step &step)
{
    const std::size_t count = step.count;
    const std::size_t first = myNumbers.size() - count;
    int direction = 0;
    bool oneWayFlag = TRKisMonotone(step.function);
    TRK_Interval within;
    for (std::size_t i = first; i < myNumbers.size(); ++i) {
        const Number &number = myNumbers[i];
        oneWayFlag = oneWayFlag && direction * number.direction >= 0;
        direction = direction != 0 ? direction : number.direction;
        within.meet(number.held);
    }
    const Step &begin = count > 0 ? *myNumbers[first].begin : step;
    if (direction != 0 && oneWayFlag) {
        myNumbers.resize(first);
        push(begin, within, direction);
    } else {
        push(begin, meetNumbers(count, step));
    }
}

/// Takes them off; what they hold together.
TRK_Interval TRK_ExpressionTrace::meetNumbers(std::size_t count, const Step &step)
{
    TRK_Interval held;
    const Step *end = &step;
    for (; count > 0; --count) {
        Number &number = myNumbers.back();
        hold(number, end);
        held.meet(number.held);
        end = number.begin;
        myNumbers.pop_back();
    }
    return held;
}

/// The same of whether it is zero.
void TRK_ExpressionTrace::holdTruth(Number &number, const Step *end)
{
    holdWhile(number, end, [](double value, double other) {
        return (value == 0.0) == (other == 0.0) && (value < 0.0) == (other < 0.0);
    });
}

/// Something asks for the value: how long is it that one?
void TRK_ExpressionTrace::hold(Number &number, const Step *end)
{
    holdWhile(number, end, isSameNumber);
}

template <class Same>
void TRK_ExpressionTrace::holdWhile(Number &number, const Step *end, const Same &same)
{
    if (number.direction == 0) {
        return;
    }
    number.direction = 0;
    double value = 0.0;
    TRK_Interval within = number.held;
    within.meet(myPath);

    if (!repeat(number.begin, end, myState.time, &value, 1) || std::isnan(value)) {
        number.held = TRK_Interval::at(myState.time);
        return;
    }
    number.held = search(within, [&](double time) {
        double other = 0.0;
        return repeat(number.begin, end, time, &other, 1) && same(value, other);
    });
}

// ---------------------------------------------------------------- //
// The same steps at other times
// ---------------------------------------------------------------- //

/// The farthest times on both sides until which it is the same, for what is that on one interval.
template <class Same>
TRK_Interval TRK_ExpressionTrace::search(const TRK_Interval &within, const Same &same) const
{
    const auto farthest = [&](double limit) {
        if (!std::isfinite(myState.time) || limit == myState.time) {
            return myState.time;
        }
        if (same(limit)) {
            return limit;
        }
        std::int64_t good = ordinalOf(myState.time);
        std::int64_t bad = ordinalOf(limit);
        while (good < bad ? good + 1 < bad : bad + 1 < good) {
            const std::int64_t middle = (good & bad) + ((good ^ bad) >> 1); // can't overflow
            (same(numberOf(middle)) ? good : bad) = middle;
        }
        return numberOf(good);
    };
    return {farthest(within.first), farthest(within.last)};
}

/// Leaves `count` numbers. False: something failed there, or too much work.
bool TRK_ExpressionTrace::repeat(const Step *begin, const Step *end, double time, double *numbers,
                                 std::size_t count) const
{
    if (!theTRKEvalThread.count(end - begin)) {
        return false;
    }
    const OwnErrors errors(myState.thread);
    double slots[TRK_Limits::theStackSlots + 1];
    TRK_EvalState state{myState.collection, myState.segment, time, myState.thread, false};
    TRK_Expression::Runner runner(myExpression, state, slots, nullptr);
    const Step *const first = myExpression.mySteps.data();
    for (const Step *at = begin; at < end; ++at) {
        if (at->code == Code::JUMP) {
            at = first + at->index - 1;
        } else if (at->code == Code::JUMP_IF_ZERO) {
            at = runner.popNumber() == 0.0 ? first + at->index - 1 : at;
        } else if (readsReference(at->code)) {
            // Within the times that are asked for it reads the same.
            runner.replaceNumbers(at->code == Code::CHANNEL_AT ? 1 : 0,
                                  myRead[static_cast<std::size_t>(at - first)]);
        } else if (at->code >= Code::TO_NUMBER || !runner.run(at, at + 1)) {
            return false; // texts aren't kept
        }
    }
    for (std::size_t i = count; i > 0; --i) {
        numbers[i - 1] = runner.popNumber();
    }
    return true;
}

// ---------------------------------------------------------------- //
// References and texts
// ---------------------------------------------------------------- //

TRK_Interval TRK_ExpressionTrace::heldReference(const TRK_Expression::Reference &reference,
                                                bool textFlag) const
{
    const OwnErrors errors(myState.thread);
    return mySource.ofReference(*myState.collection, reference.path, reference.name, myState.time,
                                textFlag);
}

/// At a time of its own it holds as long as that time does.
void TRK_ExpressionTrace::followReference(const Step &step)
{
    TRK_Interval held = meetTexts(hasComputedName(step.code) ? 1 : 0);
    const Step *begin = &step;
    if (hasOwnTime(step.code)) {
        begin = myNumbers.back().begin;
        held.meet(meetNumbers(1, step));
    } else {
        held.meet(heldReference(
            hasComputedName(step.code) ? myNamed : myExpression.myReferences[step.index], false));
    }
    myRead[static_cast<std::size_t>(&step - myExpression.mySteps.data())] = myRunner.number();
    push(*begin, held);
}

TRK_Interval TRK_ExpressionTrace::meetTexts(std::size_t count)
{
    TRK_Interval held;
    for (; count > 0; --count) {
        held.meet(myTexts.back());
        myTexts.pop_back();
    }
    return held;
}

TRK_Interval TRK_ExpressionTrace::heldVariable(const Step &step) const
{
    const std::string_view name = myExpression.myTexts[step.index].view();
    if (name == "F" || TRKpaddedFrameDigits(name) != 0) {
        const auto frameAt = [](double time) {
            return std::floor(TRK_Manager::getContext().evaluateFrame(time) + 0.5);
        };
        const double frame = frameAt(myState.time);
        return search(TRK_Interval(),
                      [&](double time) { return isSameNumber(frameAt(time), frame); });
    }
    return name == "FF" || name == "T" ? TRK_Interval::at(myState.time) : TRK_Interval();
}

void TRK_ExpressionTrace::followText(const Step &step)
{
    struct Shape
    {
        std::size_t numbers, texts; ///< that it takes
        bool textFlag;              ///< it makes one
    };
    const auto shapeOf = [&]() -> Shape {
        switch (step.code) {
        case Code::TO_NUMBER: return {0, 1, false};
        case Code::TO_TEXT: return {1, 0, true};
        case Code::JOIN:
        case Code::ADD_ANY: return {0, 2, true};
        case Code::JOIN_NUMBER: return {1, 1, true};
        case Code::COMPARE:
        case Code::COMPARE_ANY: return {0, 2, false};
        case Code::TEXT_CHANNEL_AT: return {1, 0, true};
        case Code::TEXT_CHANNEL_NAMED: return {0, 1, true};
        case Code::TEXT_CHANNEL_NAMED_AT: return {1, 1, true};
        case Code::TEXT_FUNCTION: return {step.count - step.index, step.index, true};
        case Code::TEXT_MEASURE: return {step.count - step.index, step.index, false};
        default: return {0, 0, true};
        }
    };
    const Shape shape = shapeOf();
    TRK_Interval held = meetNumbers(shape.numbers, step);
    held.meet(meetTexts(shape.texts));
    if (step.code == Code::VARIABLE || step.code == Code::VARIABLE_IN_TEXT) {
        held.meet(heldVariable(step));
    } else if (step.code == Code::TEXT_CHANNEL) {
        held.meet(heldReference(myExpression.myReferences[step.index], true));
    } else if (step.code == Code::TEXT_CHANNEL_NAMED) {
        held.meet(heldReference(myNamed, true));
    }
    if (shape.textFlag) {
        myTexts.push_back(held);
    } else {
        push(step, held);
    }
}
