#include <ZEL/ZEL_ConditionalInfo.h>

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_InstanceString.h>
#include <ZEL/conditions/ZEL_ConditionPatternPrivate.h>

#include <string_view>

namespace
{

void instanceWords(KIT_StringArray &words, const KIT_ValArray<int> &instances)
{
    for (KIT_String &word : words) {
        if (word.findChar('#')) {
            ZELinstanceString(word, KIT_StringRef(word), instances, false, false);
        }
    }
}

} // namespace

void ZEL_ConditionalInfo::addCondition(const KIT_StringHolder &parm, const KIT_StringHolder &value,
                                       ZEL_ConditionalOperator op)
{
    if (op == ZEL_CONDOP_MATCH || op == ZEL_CONDOP_NOMATCH) {
        while (myPatterns.entries() < entries()) {
            myPatterns.append();
        }
        myPatterns.append(
            std::make_shared<const ZEL_ConditionPattern>(value.nonNullStr(), nullptr));
    }
    myControlParms.append(parm.nonNullStr());
    myControlValues.append(value.nonNullStr());
    myOperators.append(op);
    myNumbersFlag = myNumbersFlag || parm.view().find('#') != std::string_view::npos ||
                    value.view().find('#') != std::string_view::npos;
}

void ZEL_ConditionalInfo::clear()
{
    myControlParms.clear();
    myControlValues.clear();
    myOperators.clear();
    myPatterns.clear();
    myNumbersFlag = false;
}

ZEL_ConditionalInfo *ZEL_ConditionalInfo::instance(const KIT_ValArray<int> &instances) const
{
    auto copy = std::make_unique<ZEL_ConditionalInfo>(*this);
    instanceWords(copy->myControlParms, instances);
    instanceWords(copy->myControlValues, instances);
    for (int i = 0; i < int(myPatterns.entries()); i++) {
        if (myPatterns(i) && myControlValues(i).findChar('#')) {
            copy->myPatterns(i) = std::make_shared<const ZEL_ConditionPattern>(
                copy->myControlValues(i).nonNullStr(), myPatterns(i));
        }
    }
    return copy.release();
}

int64_t ZEL_ConditionalInfo::getMemoryUsage(bool inclusive) const
{
    return (inclusive ? int64_t(sizeof(*this)) : 0) + myControlParms.getMemoryUsage(false) +
           myControlValues.getMemoryUsage(false) + myOperators.getMemoryUsage(false) +
           myPatterns.getMemoryUsage(false);
}
