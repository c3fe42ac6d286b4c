// Whether a condition holds.

#include <ZEL/ZEL_Conditional.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_TypeConstants.h>
#include <ZEL/conditions/ZEL_ConditionPatternPrivate.h>
#include <ZEL/list/ZEL_KindPrivate.h>

#include <cmath>
#include <cstring>
#include <iterator>

namespace
{

/// The arguments of one evaluation, the same for all its comparisons.
struct Question
{
    const ZEL_Parm &parm;
    const ZEL_ParmList &list;
    const KIT_StringArray *ignored;
    double time;
    int thread;
};

constexpr double theNearTolerance = 1e-15;
constexpr uint64_t theNearUnits = 50;

uint64_t bitsOf(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

/// Within the tolerance, or within a few units in the last place: doubles of equal sign are ordered
/// like their bit patterns.
bool isNear(double a, double b)
{
    if (std::fabs(a - b) <= theNearTolerance ||
        (std::fabs(a) < theNearTolerance && std::fabs(b) < theNearTolerance)) {
        return true;
    }
    if ((a < 0.0) != (b < 0.0)) {
        return false;
    }
    const uint64_t bitsA = bitsOf(a);
    const uint64_t bitsB = bitsOf(b);
    return (bitsA > bitsB ? bitsA - bitsB : bitsB - bitsA) <= theNearUnits;
}

/// What stands on the right of an operator.
struct Right
{
    const KIT_String &text;
    const ZEL_ConditionPattern *pattern;
};

/// An operator's comparisons. The rows refer to the functions by these names.
struct Comparison
{
    using Numbers = bool (*)(double value, double right);
    using Texts = bool (*)(const KIT_String &value, const Right &right);

    static bool NEAR(double value, double right) { return isNear(value, right); }
    static bool FAR(double value, double right) { return !isNear(value, right); }
    static bool GREATER_EQUAL(double value, double right) { return value >= right; }
    static bool LESS_EQUAL(double value, double right) { return value <= right; }
    static bool GREATER(double value, double right) { return value > right; }
    static bool LESS(double value, double right) { return value < right; }

    static bool SAME(const KIT_String &value, const Right &right) { return value == right.text; }
    static bool OTHER(const KIT_String &value, const Right &right) { return value != right.text; }
    static bool LIKE(const KIT_String &value, const Right &right)
    {
        return right.pattern && right.pattern->matches(value.nonNullStr(), true);
    }
    static bool UNLIKE(const KIT_String &value, const Right &right)
    {
        return right.pattern && right.pattern->matches(value.nonNullStr(), false);
    }
    static bool NEVER(const KIT_String &, const Right &) { return false; }

    Numbers numbers;
    Texts texts;
    bool missingFlag; ///< without a parameter it holds
};

/// Indexed by operator.
constexpr Comparison theComparisons[] = {
#define ZEL_CONDITION_OPERATOR(name, number, text, numbers, texts, missing)                        \
    {Comparison::numbers, Comparison::texts, missing},
#include <ZEL/ZEL_ConditionOperators.def>
};

/// The operator may be a stored number, so it is checked.
const Comparison &comparisonOf(ZEL_ConditionalOperator op)
{
    static constexpr Comparison theUnknown = {[](double, double) { return false; },
                                              Comparison::NEVER, true};
    return op >= 0 && op < int(std::size(theComparisons)) ? theComparisons[op] : theUnknown;
}

bool compare(const KIT_String &value, const Right &right, const Comparison &comparison)
{
    return value.isFloat() && right.text.isFloat()
               ? comparison.numbers(value.toFloat(), right.text.toFloat())
               : comparison.texts(value, right);
}

const ZEL_Parm *findControl(const ZEL_ParmList &list, const KIT_StringRef &name, int &component)
{
    const int index = list.getParmIndexFromChannel(name, &component, true);
    if (index >= 0) {
        return list.getParmPtr(index);
    }
    component = 0;
    return list.getParmPtr(name);
}

/// The control parameter's value in the form that is compared with the right word.
void readControl(KIT_String &value, const ZEL_Parm &control, int component, const KIT_String &right,
                 const Question &question)
{
    control.getValue(question.time, value, component, true, question.thread);
    const ZEL_Type &type = control.getType();
    if (type == ZEL_TOGGLE_E && (right == "0" || right == "1")) {
        if (value == "off") {
            value.borrow("0");
        } else if (value == "on") {
            value.borrow("1");
        }
    } else if (value.isEmpty()) {
        const auto hasValue = ZEL_Kind::find(type).hasTextlessValue;
        if (hasValue && hasValue(control, question.time, component, question.thread)) {
            value.borrow("__not_empty__");
        }
    }
}

bool holds(const KIT_String &left, const Right &right, ZEL_ConditionalOperator op,
           const Question &question)
{
    const Comparison &comparison = comparisonOf(op);
    KIT_String value;
    if (left.lastChar() == ')') {
        if (ZEL_ParmOwner *owner = question.list.getParmOwner()) {
            value = owner->evaluateDisableExpression(question.parm, KIT_StringRef(left));
        }
        return compare(value, right, comparison);
    }
    int component = 0;
    const ZEL_Parm *control = findControl(question.list, KIT_StringRef(left), component);
    if (!control || (question.ignored && question.ignored->find(control->getToken()) >= 0)) {
        return comparison.missingFlag;
    }
    readControl(value, *control, component, right.text, question);
    return compare(value, right, comparison);
}

bool holds(const ZEL_ConditionalInfo &info, const Question &question)
{
    for (int i = 0; i < info.entries(); i++) {
        const Right right{info.getControlValues()(i), info.getPattern(i)};
        if (!holds(info.getControlParms()(i), right, info.getOperators()(i), question)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool ZEL_Conditional::eval(const ZEL_Parm &parm, const ZEL_ParmList &list,
                           const KIT_StringArray *ignored) const
{
    if (myInfos.isEmpty()) {
        return false;
    }
    const int thread = BASgetSTID();
    const double time = TRK_Manager::getContext().getEvaluateTime(thread);
    const Question question{parm, list, ignored, time, thread};
    // The parameter and this condition may belong to an item, and reading a count may remove items.
    const ZEL_Multi::KeepItems keep;
    for (const auto &info : myInfos) {
        if (holds(*info, question)) {
            return true;
        }
    }
    return false;
}
