#pragma once

#include <EVL/EVL.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_Expression.h>

/// One run of a program. Stack pointers address one slot before the bottom; push pre-increments.
class TRK_Expression::Runner
{
public:
    Runner(const TRK_Expression &expression, TRK_EvalState &state, double *numbers,
           KIT_String *texts)
        : myExpression(expression), myState(state), myNumber(numbers), myText(texts),
          myErrors(theTRKEvalThread.errors)
    {}

    /// Runs the program. The result is on top of one of the stacks. False: an error was raised.
    bool run() { return run(myExpression.mySteps.data(), end()); }
    /// Runs a part of it. A jump out of the part ends it.
    bool run(const Step *step, const Step *partEnd);
    const Step *end() const { return myExpression.mySteps.data() + myExpression.mySteps.size(); }
    double number() const { return *myNumber; }
    /// Replaces some numbers on top by one.
    void replaceNumbers(int count, double value)
    {
        myNumber += 1 - count;
        *myNumber = value;
    }
    double popNumber() { return *myNumber--; }
    KIT_String &text() const { return *myText; }
    /// Counts reading a number from the text that is the result.
    bool finishText() { return chargeLooking(myText->length()); }

private:
    bool fail(int error);
    bool runFunction(const Step &step);
    double load(const Step &step) const;
    bool runArithmetic(Code code);
    bool runChannel(const Step &step);
    bool readChannel(const Reference &reference, double time);
    bool runText(const Step &step);
    bool runTextChannel(const Step &step);
    bool runTextFunction(const Step &step);
    bool within(bool limits) { return limits || fail(EVL::EVL_DEPTH); }
    bool chargeLooking(size_t bytes);
    bool chargeMaking(size_t bytes);
    bool join(KIT_String &left, const KIT_String &right);
    bool pushVariable(const Step &step);
    bool pushNodeName();
    KIT_String &pushText() { return *++myText; }

    const TRK_Expression &myExpression;
    TRK_EvalState &myState;
    double *myNumber;
    KIT_String *myText;
    const uint32_t myErrors;
};
