#include <TRK/TRK_Expression.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Interrupt.h>
#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_SmallArray.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_ExpressionFunctions.h>
#include <TRK/TRK_ExpressionParser.h>
#include <TRK/TRK_ExpressionRunnerPrivate.h>
#include <TRK/TRK_Manager.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

// ---------------------------------------------------------------- //
// Evaluations in progress
// ---------------------------------------------------------------- //

__thread TRK_EvalThread theTRKEvalThread __attribute__((tls_model("initial-exec")));

void TRK_EvalShare::advance(int64_t steps)
{
    constexpr int64_t theMost = 4096;
    myUsed += steps - mySteps;
    mySteps = steps;
    if (myUsed >= theMost) {
        deduct();
    }
}

void TRK_EvalShare::deduct()
{
    myLeft.fetch_sub(myUsed, std::memory_order_relaxed);
    myUsed = 0;
}

int64_t TRK_EvalShare::restart(int64_t steps, int64_t first)
{
    advance(steps);
    const int64_t left =
        BAS_Interrupt::isRequested() ? 0 : myLeft.load(std::memory_order_relaxed) - myUsed;
    mySteps =
        std::max(first, TRK_Limits::theSteps - std::clamp<int64_t>(left, 0, TRK_Limits::theSteps));
    return mySteps;
}

TRK_ReferenceReader::~TRK_ReferenceReader() = default;

void TRK_EvalState::raise(int error, int thread)
{
    TRK_EvalThread &self = theTRKEvalThread;
    ++self.errors;
    self.lastError = error;
    self.steps += TRK_Costs::theFailure;
    int &number = EVL::theErrNo[thread];
    if (number == EVL::EVL_OK) {
        number = error;
    }
}

bool TRK_EvalGuard::check(int thread)
{
    myFrame.depth = myFrame.outer->depth + 1;
    if (myFrame.depth > TRK_Limits::theChannelDepth) {
        TRK_EvalState::raise(EVL::EVL_DEPTH, thread);
        return false;
    }
    if (myFrame.subject == nullptr) {
        return true;
    }
    // Searching many frames counts as work, too.
    theTRKEvalThread.steps += myFrame.depth / 4;
    for (const TRK_EvalFrame *frame = myFrame.outer; frame != nullptr; frame = frame->outer) {
        if (frame->subject == myFrame.subject) {
            TRK_EvalState::raise(EVL::EVL_CYCLE, thread);
            return false;
        }
    }
    return true;
}

// ---------------------------------------------------------------- //
// One run of a program
// ---------------------------------------------------------------- //

namespace
{

using Code = TRK_Expression::Code;

double power(double a, double b, bool &failed)
{
    const double result = std::pow(a, b);
    failed = !std::isfinite(result) && std::isfinite(a) && std::isfinite(b);
    return result;
}

double arithmetic(Code code, double a, double b, bool &failed)
{
    switch (code) {
    case Code::ADD: return a + b;
    case Code::SUBTRACT: return a - b;
    case Code::MULTIPLY: return a * b;
    case Code::DIVIDE: failed = b == 0.0; return failed ? 0.0 : a / b;
    case Code::MODULO: failed = b == 0.0; return failed ? 0.0 : std::fmod(a, b);
    case Code::POWER: return power(a, b, failed);
    case Code::LESS: return a < b ? 1.0 : 0.0;
    case Code::LESS_EQUAL: return a <= b ? 1.0 : 0.0;
    case Code::GREATER: return a > b ? 1.0 : 0.0;
    case Code::GREATER_EQUAL: return a >= b ? 1.0 : 0.0;
    case Code::EQUAL: return a == b ? 1.0 : 0.0;
    default: return a != b ? 1.0 : 0.0;
    }
}

bool allFinite(const double *values, int count)
{
    return std::all_of(values, values + count, [](double v) { return std::isfinite(v); });
}

double signOf(int order)
{
    return order < 0 ? -1.0 : order > 0 ? 1.0 : 0.0;
}

bool readsAsNumber(const KIT_String &text)
{
    return !text.isEmpty() && BASisFloat(text.c_str());
}

double compareAny(const KIT_String &a, const KIT_String &b)
{
    if (readsAsNumber(a) && readsAsNumber(b)) {
        const double x = BASparseFloat(a.c_str());
        const double y = BASparseFloat(b.c_str());
        return x < y ? -1.0 : x > y ? 1.0 : 0.0;
    }
    return signOf(std::strcmp(a.nonNullStr(), b.nonNullStr()));
}

} // namespace

bool TRK_Expression::Runner::fail(int error)
{
    const TRK_EvalThread &self = theTRKEvalThread;
    if (self.errors == myErrors) {
        myState.raise(error);
        return false;
    }
    // An error that a reference has raised stays; a literal text that was read took its number back.
    int &number = EVL::theErrNo[myState.thread];
    if (number == EVL::EVL_OK) {
        number = self.lastError;
    }
    return false;
}

bool TRK_Expression::Runner::run(const Step *step, const Step *partEnd)
{
    const Step *const first = myExpression.mySteps.data();
    bool goodFlag = true;
    for (; step < partEnd && goodFlag; ++step) {
        switch (step->code) {
        case Code::NUMBER: *++myNumber = step->number; break;
        case Code::FRAME:
        case Code::FLOAT_FRAME:
        case Code::TIME:
        case Code::FPS:
        case Code::INTERPOLATE: *++myNumber = load(*step); break;
        case Code::NEGATE: *myNumber = -*myNumber; break;
        case Code::NOT: *myNumber = *myNumber == 0.0 ? 1.0 : 0.0; break;
        case Code::TRUTH: *myNumber = *myNumber != 0.0 ? 1.0 : 0.0; break;
        case Code::SWAP: std::swap(myNumber[0], myNumber[-1]); break;
        case Code::JUMP: step = first + step->index - 1; break;
        case Code::JUMP_IF_ZERO:
            if (*myNumber-- == 0.0) {
                step = first + step->index - 1;
            }
            break;
        case Code::NOTHING: break;
        case Code::FUNCTION: goodFlag = runFunction(*step); break;
        case Code::CHANNEL:
        case Code::CHANNEL_AT:
        case Code::CHANNEL_NAMED:
        case Code::CHANNEL_NAMED_AT: goodFlag = runChannel(*step); break;
        default:
            goodFlag = step->code >= Code::ADD && step->code <= Code::NOT_EQUAL
                           ? runArithmetic(step->code)
                           : runText(*step);
            break;
        }
    }
    return goodFlag;
}

double TRK_Expression::Runner::load(const Step &step) const
{
    const TRK_Manager &manager = TRK_Manager::getContext();
    switch (step.code) {
    case Code::FRAME: return std::floor(manager.evaluateFrame(myState.time) + 0.5);
    case Code::FLOAT_FRAME: return manager.evaluateFrame(myState.time);
    case Code::TIME: return myState.time;
    case Code::FPS: return manager.getEvaluateFPS();
    default:
        return myState.segment == nullptr
                   ? 0.0
                   : myState.segment->interpolate(static_cast<TRK_Interpolator>(step.index),
                                                  myState.time);
    }
}

bool TRK_Expression::Runner::runArithmetic(Code code)
{
    --myNumber;
    bool failed = false;
    const double result = arithmetic(code, myNumber[0], myNumber[1], failed);
    if (failed) {
        return fail(EVL::EVL_BAD_ARGUMENT);
    }
    *myNumber = result;
    return true;
}

bool TRK_Expression::Runner::runFunction(const Step &step)
{
    myNumber -= step.count - 1;
    bool failed = false;
    const double result = step.function(myNumber, step.count, failed);
    if (failed || (!std::isfinite(result) && allFinite(myNumber, step.count))) {
        return fail(EVL::EVL_BAD_ARGUMENT);
    }
    *myNumber = result;
    return true;
}

bool TRK_Expression::Runner::runChannel(const Step &step)
{
    if (step.code == Code::CHANNEL || step.code == Code::CHANNEL_NAMED) {
        *++myNumber = myState.time; // the slot of the result holds the time until then
    }
    if (step.code <= Code::CHANNEL_AT) {
        const TRK_ReferenceReader *const reader = myExpression.myReader.get();
        if (reader != nullptr && theTRKEvalThread.listener == nullptr &&
            reader->readNumber(step.index, *myNumber, myState.thread, *myNumber,
                               myState.timeDependent)) {
            return theTRKEvalThread.errors == myErrors || fail(EVL::EVL_UNKNOWN_CHANNEL);
        }
        return readChannel(myExpression.myReferences[step.index], *myNumber);
    }
    const KIT_String &name = *myText--;
    const size_t length = name.length();
    return chargeLooking(length) &&
           readChannel(splitReference(name.nonNullStr(), length, false), *myNumber);
}

/// Stores the value in the top slot.
bool TRK_Expression::Runner::readChannel(const Reference &reference, double time)
{
    const TRK_Collection *collection = myState.collection;
    const bool knownFlag =
        collection != nullptr &&
        collection->evaluateReference(reference.path, reference.name, time, myState.thread,
                                      *myNumber, myState.timeDependent);
    return (knownFlag && theTRKEvalThread.errors == myErrors) || fail(EVL::EVL_UNKNOWN_CHANNEL);
}

/// Counts text that is looked through or made as work, so that long texts end like long programs.
bool TRK_Expression::Runner::chargeLooking(size_t bytes)
{
    return within(theTRKEvalThread.countLooking(bytes));
}

bool TRK_Expression::Runner::chargeMaking(size_t bytes)
{
    return within(theTRKEvalThread.countMaking(bytes));
}

bool TRK_Expression::Runner::join(KIT_String &left, const KIT_String &right)
{
    const size_t length = right.length();
    const size_t whole = left.length() + length;
    if (whole > TRK_Limits::theStringLength) {
        return fail(EVL::EVL_DEPTH);
    }
    // A borrowed left side is copied as well.
    if (!chargeMaking(left.isHard() ? length : whole)) {
        return false;
    }
    left.append(right.nonNullStr(), length);
    return true;
}

bool TRK_Expression::Runner::runText(const Step &step)
{
    switch (step.code) {
    case Code::TO_NUMBER:
        *++myNumber = BASparseFloat(myText->c_str());
        return chargeLooking((myText--)->length());
    case Code::TO_TEXT: pushText() = KIT_Digits(*myNumber--).buffer(); return true;
    case Code::TEXT: pushText().borrow(myExpression.myTexts[step.index].c_str()); return true;
    case Code::VARIABLE:
    case Code::VARIABLE_IN_TEXT: return pushVariable(step);
    case Code::NODE_NAME: return pushNodeName();
    case Code::JOIN: --myText; return join(myText[0], myText[1]);
    case Code::JOIN_NUMBER: {
        KIT_String left(KIT_Digits(*myNumber--).buffer(), true);
        const bool goodFlag = join(left, *myText);
        myText->adopt(left);
        return goodFlag;
    }
    case Code::ADD_ANY:
        --myText;
        if (!chargeLooking(myText[0].length() + myText[1].length())) {
            return false;
        }
        if (readsAsNumber(myText[0]) && readsAsNumber(myText[1])) {
            myText[0] = KIT_Digits(myText[0].toFloat() + myText[1].toFloat()).buffer();
            return true;
        }
        return join(myText[0], myText[1]);
    case Code::COMPARE:
        myText -= 2;
        if (!chargeLooking(myText[1].length())) {
            return false;
        }
        *++myNumber = signOf(std::strcmp(myText[1].nonNullStr(), myText[2].nonNullStr()));
        return true;
    case Code::COMPARE_ANY:
        myText -= 2;
        *++myNumber = compareAny(myText[1], myText[2]);
        return chargeLooking(myText[1].length() + myText[2].length());
    case Code::TEXT_FUNCTION:
    case Code::TEXT_MEASURE: return runTextFunction(step);
    default: return runTextChannel(step);
    }
}

bool TRK_Expression::Runner::runTextChannel(const Step &step)
{
    const bool timeFlag =
        step.code == Code::TEXT_CHANNEL_AT || step.code == Code::TEXT_CHANNEL_NAMED_AT;
    const double time = timeFlag ? *myNumber-- : myState.time;
    Reference named{};
    const Reference *reference = &named;
    if (step.code == Code::TEXT_CHANNEL || step.code == Code::TEXT_CHANNEL_AT) {
        reference = &myExpression.myReferences[step.index];
        ++myText;
    } else {
        const size_t length = myText->length();
        if (!chargeLooking(length)) {
            return false;
        }
        named = splitReference(myText->nonNullStr(), length, true);
    }
    KIT_String value;
    const TRK_Collection *collection = myState.collection;
    const bool knownFlag =
        collection != nullptr &&
        collection->evaluateReferenceString(reference->path, reference->name, time, myState.thread,
                                            value, myState.timeDependent);
    if (!knownFlag || theTRKEvalThread.errors != myErrors) {
        return fail(EVL::EVL_UNKNOWN_CHANNEL);
    }
    myText->adopt(value);
    theTRKEvalThread.steps += TRK_Costs::theText;
    return chargeMaking(myText->length());
}

bool TRK_Expression::Runner::runTextFunction(const Step &step)
{
    const int textCount = static_cast<int>(step.index);
    myText -= textCount;
    myNumber -= step.count - textCount;
    size_t bytes = 0;
    for (int i = 1; i <= textCount; ++i) {
        bytes += myText[i].length();
    }
    if (!(step.code == Code::TEXT_MEASURE ? chargeLooking(bytes) : chargeMaking(bytes))) {
        return false;
    }
    TextCall call{myText + 1, myNumber + 1, step.count, 0.0};
    if (!step.textFunction(call)) {
        return fail(EVL::EVL_BAD_ARGUMENT);
    }
    if (step.code == Code::TEXT_MEASURE) {
        *++myNumber = call.number;
    } else {
        ++myText;
    }
    return true;
}

bool TRK_Expression::Runner::pushVariable(const Step &step)
{
    KIT_String value;
    const KIT_StringHolder &name = myExpression.myTexts[step.index];
    if (!TRK_Manager::getContext().getVariable(name, myState.time, myState.collection, value,
                                               myState.timeDependent)) {
        if (step.code == Code::VARIABLE) {
            return fail(EVL::EVL_UNKNOWN_VARIABLE);
        }
        // The entry after the variable's name is the text as written.
        pushText().borrow(myExpression.myTexts[step.index + 1].c_str());
        return true;
    }
    pushText().adopt(value);
    return chargeMaking(myText->length());
}

bool TRK_Expression::Runner::pushNodeName()
{
    KIT_String value;
    if (!TRK_Manager::getContext().getVariable("OS", myState.time, myState.collection, value,
                                               myState.timeDependent)) {
        return fail(EVL::EVL_UNKNOWN_VARIABLE);
    }
    pushText().adopt(value);
    return true;
}

// ---------------------------------------------------------------- //
// Evaluation
// ---------------------------------------------------------------- //

namespace
{
/// The text stack of a run: a few slots on the C++ stack, more on the heap.
using TextStack = KIT_SmallArray<KIT_String, 5>;
} // namespace

bool TRK_Expression::prepare(TRK_EvalState &state) const
{
    if (myError != EVL::EVL_OK) {
        state.raise(myError);
        return false;
    }
    TRK_EvalThread &self = theTRKEvalThread;
    if (self.innermost == nullptr) {
        self.restart(); // an outermost evaluation, outside any channel
    }
    if (!self.count(static_cast<int64_t>(mySteps.size()))) {
        state.raise(EVL::EVL_DEPTH);
        return false;
    }
    if (myTimeFlag) {
        state.timeDependent = true;
    }
    return true;
}

double TRK_Expression::evaluateNumber(TRK_EvalState &state) const
{
    if (!prepare(state)) {
        return 0.0;
    }
    double numbers[TRK_Limits::theStackSlots + 1];
    if (myTextSlots == 0) {
        Runner runner(*this, state, numbers, nullptr);
        return runner.run() ? runner.number() : 0.0;
    }
    TextStack texts(myTextSlots + 1);
    Runner runner(*this, state, numbers, texts.data());
    if (!runner.run()) {
        return 0.0;
    }
    if (myResultType == Type::NUMBER) {
        return runner.number();
    }
    return runner.finishText() ? BASparseFloat(runner.text().c_str()) : 0.0;
}

bool TRK_Expression::evaluateString(TRK_EvalState &state, KIT_String &out) const
{
    if (!prepare(state)) {
        out = "";
        return false;
    }
    double numbers[TRK_Limits::theStackSlots + 1];
    TextStack texts(myTextSlots + 1);
    Runner runner(*this, state, numbers, texts.data());
    const bool goodFlag = runner.run();
    if (!goodFlag) {
        out = "";
    } else if (myResultType == Type::NUMBER) {
        out = KIT_Digits(runner.number()).buffer();
    } else {
        out = runner.text().nonNullStr();
    }
    return goodFlag;
}

namespace
{

/// The compiled forms of the texts that a thread evaluated last.
struct RecentExpressions
{
    struct Entry
    {
        KIT_StringHolder text;
        std::shared_ptr<const TRK_Expression> expression;
    };
    static constexpr size_t theCount = 32;

    Entry entries[theCount];
};

__thread RecentExpressions *theRecent __attribute__((tls_model("initial-exec")));

const BAS_ThreadEnd theRecentEnd([] {
    delete theRecent;
    theRecent = nullptr;
});

/// A literal text with an expression in backticks is evaluated here each time it is read.
std::shared_ptr<const TRK_Expression> recentExpression(const char *text)
{
    using Entry = RecentExpressions::Entry;
    constexpr uint32_t longest = 512;
    if (theRecent == nullptr) {
        BASgetSTID(); // a thread without an id isn't known to end
        theRecent = new RecentExpressions;
    }
    const KIT_StringRef key(text != nullptr ? text : "");
    Entry &entry = theRecent->entries[key.hash() % RecentExpressions::theCount];
    if (entry.expression && entry.text == key) {
        return entry.expression;
    }
    theTRKEvalThread.steps += static_cast<int64_t>(key.length()) / TRK_Costs::theSourceBytes;
    std::shared_ptr<const TRK_Expression> made(TRK_Expression::compile(text));
    if (key.length() <= longest) {
        entry = Entry{KIT_StringHolder(key), made};
    }
    return made;
}

} // namespace

double TRK_Expression::evaluateTextNumber(const char *text, double time,
                                          const TRK_Collection *collection, int thread,
                                          bool *timeDependent)
{
    TRK_EvalState state{collection, nullptr, time, thread, false};
    const TRK_EvalGuard guard(nullptr, thread);
    const double value = guard.mayRun() ? recentExpression(text)->evaluateNumber(state) : 0.0;
    if (timeDependent != nullptr && state.timeDependent) {
        *timeDependent = true;
    }
    return value;
}

bool TRK_Expression::evaluateTextString(const char *text, double time,
                                        const TRK_Collection *collection, int thread,
                                        KIT_String &out, bool *timeDependent)
{
    const TRK_EvalGuard guard(nullptr, thread);
    if (!guard.mayRun()) {
        out = "";
        return false;
    }
    TRK_EvalState state{collection, nullptr, time, thread, false};
    const bool goodFlag = evaluateRecentText(text, state, out);
    if (timeDependent != nullptr && state.timeDependent) {
        *timeDependent = true;
    }
    return goodFlag;
}

bool TRK_Expression::evaluateRecentText(const char *text, TRK_EvalState &state, KIT_String &out)
{
    return recentExpression(text)->evaluateString(state, out);
}

// ---------------------------------------------------------------- //
// The rest
// ---------------------------------------------------------------- //

TRK_Expression *TRK_Expression::compile(const char *text)
{
    const std::uint64_t lostBefore = BASfailedAllocations();
    std::unique_ptr<TRK_Expression> expression(new TRK_Expression);
    TRK_ExpressionParser(text != nullptr ? text : "", *expression).parse();
    // A compiled form is kept: what is without a name or text of its own would be wrong for ever.
    if (BASfailedAllocations() != lostBefore) {
        throw std::bad_alloc();
    }
    return expression.release();
}

TRK_Expression::Reference TRK_Expression::splitReference(const char *text, size_t length,
                                                         bool textFlag)
{
    Reference reference{{}, {}, textFlag};
    size_t slash = length;
    while (slash > 0 && text[slash - 1] != '/') {
        --slash;
    }
    reference.name = KIT_StringHolder(text + slash, length - slash);
    if (slash > 0) {
        reference.path = KIT_StringHolder(text, slash > 1 ? slash - 1 : 1);
    }
    return reference;
}

int64_t TRK_Expression::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    bytes += static_cast<int64_t>(mySteps.capacity() * sizeof(Step));
    for (const Reference &reference : myReferences) {
        bytes += static_cast<int64_t>(sizeof(Reference)) + reference.path.getMemoryUsage(false) +
                 reference.name.getMemoryUsage(false);
    }
    for (const KIT_StringHolder &text : myTexts) {
        bytes += text.getMemoryUsage(true);
    }
    return bytes + static_cast<int64_t>(myErrorText.capacity());
}
