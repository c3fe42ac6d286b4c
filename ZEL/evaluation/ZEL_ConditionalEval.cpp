// Whether a condition holds.

#include <ZEL/ZEL_Conditional.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Regex.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_TypeConstants.h>
#include <ZEL/list/ZEL_KindPrivate.h>

#include <cmath>
#include <cstring>

namespace
{

/// What one evaluation is asked for, the same for all its comparisons.
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

/// Within the tolerance, or within some units in the last place: doubles of one sign are ordered as
/// their bits are.
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

bool compareNumbers(double value, double right, ZEL_ConditionalOperator op)
{
    switch (op) {
    case ZEL_CONDOP_EQ:
    case ZEL_CONDOP_MATCH: return isNear(value, right);
    case ZEL_CONDOP_NE:
    case ZEL_CONDOP_NOMATCH: return !isNear(value, right);
    case ZEL_CONDOP_GE: return value >= right;
    case ZEL_CONDOP_LE: return value <= right;
    case ZEL_CONDOP_GT: return value > right;
    case ZEL_CONDOP_LT: return value < right;
    }
    return false;
}

bool compareTexts(const KIT_String &value, const KIT_String &right, ZEL_ConditionalOperator op)
{
    if (op == ZEL_CONDOP_EQ || op == ZEL_CONDOP_NE) {
        return (value == right) == (op == ZEL_CONDOP_EQ);
    }
    if (op != ZEL_CONDOP_MATCH && op != ZEL_CONDOP_NOMATCH) {
        return false;
    }
    const KIT_Regex regex(right.nonNullStr());
    return regex.isValid() && regex.match(value.nonNullStr()) == (op == ZEL_CONDOP_MATCH);
}

bool compare(const KIT_String &value, const KIT_String &right, ZEL_ConditionalOperator op)
{
    return value.isFloat() && right.isFloat() ? compareNumbers(value.toFloat(), right.toFloat(), op)
                                              : compareTexts(value, right, op);
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

/// The control parameter's value as it is compared with the right word.
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

bool holds(const KIT_String &left, const KIT_String &right, ZEL_ConditionalOperator op,
           const Question &question)
{
    KIT_String value;
    if (left.lastChar() == ')') {
        if (ZEL_ParmOwner *owner = question.list.getParmOwner()) {
            value = owner->evaluateDisableExpression(question.parm, KIT_StringRef(left));
        }
        return compare(value, right, op);
    }
    int component = 0;
    const ZEL_Parm *control = findControl(question.list, KIT_StringRef(left), component);
    if (!control || (question.ignored && question.ignored->find(control->getToken()) >= 0)) {
        // Only "==" needs a parameter to hold.
        return op != ZEL_CONDOP_EQ;
    }
    readControl(value, *control, component, right, question);
    return compare(value, right, op);
}

bool holds(const ZEL_ConditionalInfo &info, const Question &question)
{
    for (int i = 0; i < info.entries(); i++) {
        if (!holds(info.getControlParms()(i), info.getControlValues()(i), info.getOperators()(i),
                   question)) {
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
    // The parameter and this condition may be an item's, and a count is read like any value.
    const ZEL_Multi::KeepItems keep;
    for (const ZEL_ConditionalInfo *info : myInfos) {
        if (holds(*info, question)) {
            return true;
        }
    }
    return false;
}
