#include <ZEL/ZEL_ConditionalInfo.h>

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_InstanceString.h>

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
    myControlParms.append(parm.nonNullStr());
    myControlValues.append(value.nonNullStr());
    myOperators.append(op);
}

void ZEL_ConditionalInfo::clear()
{
    myControlParms.clear();
    myControlValues.clear();
    myOperators.clear();
}

ZEL_ConditionalInfo *ZEL_ConditionalInfo::instance(const KIT_ValArray<int> &instances) const
{
    ZEL_ConditionalInfo *copy = new ZEL_ConditionalInfo(*this);
    instanceWords(copy->myControlParms, instances);
    instanceWords(copy->myControlValues, instances);
    return copy;
}

int64_t ZEL_ConditionalInfo::getMemoryUsage(bool inclusive) const
{
    return (inclusive ? int64_t(sizeof(*this)) : 0) + myControlParms.getMemoryUsage(false) +
           myControlValues.getMemoryUsage(false) + myOperators.getMemoryUsage(false);
}
