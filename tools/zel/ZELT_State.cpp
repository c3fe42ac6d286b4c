#include "ZELT_State.h"

#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

namespace
{

bool holds(const ZEL_Conditional *condition, const ZEL_Parm &parm)
{
    return condition && condition->eval(parm, *parm.getParmList(), nullptr);
}

} // namespace

bool ZELTholds(const ZEL_Parm &parm, ZEL_ConditionalType type)
{
    const ZEL_Template *const description = parm.getTemplatePtr();
    return description && holds(description->getConditionalPtr(type), parm);
}

bool ZELTtabHolds(const ZEL_Parm &parm, int tab, ZEL_ConditionalType type)
{
    const ZEL_Template *const description = parm.getTemplatePtr();
    const ZEL_ConditionalBase *const base =
        description ? description->getConditionalBasePtr() : nullptr;
    if (!base || base->groupType() != ZEL_CONDGROUP_SWITCHER) {
        return false;
    }
    return holds(static_cast<const ZEL_ConditionalSwitcher *>(base)->getTabConditional(tab, type),
                 parm);
}
