#pragma once

#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_ExpressionRunnerPrivate.h>
#include <TRK/TRK_Validity.h>

#include <cstddef>
#include <vector>

/// A run of an expression that notes of each operand how long it holds. Of what moves in one direction only the
/// steps are noted: where something asks for its value, they are run at other times, until it is another one.
class TRK_ExpressionTrace
{
public:
    /// How long the value holds.
    static TRK_Interval of(const TRK_Expression &expression, TRK_EvalState &state,
                           TRK_ValiditySource &source);

private:
    using Step = TRK_Expression::Step;

    struct Number
    {
        TRK_Interval held; ///< of what moves, where that is known to go in its direction
        int direction = 0; ///< 1: never falls in time; -1: never rises; 0: held
        const Step *begin; ///< the first of the steps that make it
    };

    TRK_ExpressionTrace(const TRK_Expression &expression, TRK_EvalState &state,
                        TRK_ValiditySource &source, double *numbers, KIT_String *texts);

    TRK_Interval run();
    bool step(const Step &step);
    void follow(const Step &step);
    void followText(const Step &step);
    void followReference(const Step &step);
    void combine(const Step &step);
    void compare(const Step &step);
    void applyFunction(const Step &step);
    void push(const Step &step, const TRK_Interval &held, int direction = 0);
    void hold(Number &number, const Step *end);
    void holdTruth(Number &number, const Step *end);
    template <class Same>
    void holdWhile(Number &number, const Step *end, const Same &same);
    TRK_Interval meetNumbers(std::size_t count, const Step &step);
    TRK_Interval meetTexts(std::size_t count);
    TRK_Interval heldVariable(const Step &step) const;
    TRK_Interval heldReference(const TRK_Expression::Reference &reference, bool textFlag) const;

    template <class Same>
    TRK_Interval search(const TRK_Interval &within, const Same &same) const;
    bool repeat(const Step *begin, const Step *end, double time, double *numbers,
                std::size_t count) const;

    const TRK_Expression &myExpression;
    TRK_EvalState &myState;
    TRK_ValiditySource &mySource;
    TRK_Expression::Runner myRunner;
    TRK_Interval myPath; ///< where the jumps go as they went
    std::vector<Number> myNumbers;
    std::vector<TRK_Interval> myTexts;
    std::vector<double> myRead; ///< by step, what a reference gave
    TRK_Expression::Reference myNamed{};
};
