// One parameter takes over what another one was.

#include <ZEL/ZEL_ParmList.h>

#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

void ZEL_ParmList::adoptParm(ZEL_Parm &to, ZEL_Parm &from, bool forceCopy)
{
    if (!to.getInstance() || !from.getInstance() ||
        to.getType().getBasicType() != from.getType().getBasicType() ||
        (to.isMultiParm() && !from.isMultiParm())) {
        return;
    }
    to.adoptOverrides(from);
    adoptChannelAlias(to, from);
    if (shouldCopyOnAdopt(*to.getTemplatePtr(), from, forceCopy)) {
        to.adopt(from);
    } else if (from.getInstance()->getChannelCount() > 0) {
        from.clearAndDestroyUnrefChannels(to);
    }
}

void ZEL_ParmList::adoptChannelAlias(ZEL_Parm &to, const ZEL_Parm &from)
{
    if (to.getVectorSize() != from.getVectorSize()) {
        return;
    }
    for (int i = 0; i < to.getVectorSize(); ++i) {
        const KIT_StringHolder alias = from.getChannelAlias(i);
        if (alias == from.getChannelToken(i)) {
            continue;
        }
        // Two parameters of one list can't share an alias: the one that goes gives it up.
        const int aliasIndex = myChannelAliases.find(alias);
        if (getParmPtr(aliasIndex) == &from) {
            myChannelAliases.removeIfValue(alias, aliasIndex);
        }
        setChannelAlias(&to, i, alias);
    }
}

bool ZEL_ParmList::shouldCopyOnAdopt(ZEL_Template &to, ZEL_Parm &from, bool forceCopy)
{
    const ZEL_Type &type = to.getType();
    const bool isLabel = type.isStringType() && type.hasStringType(ZEL_TYPE_LABEL.getStringType());
    if ((forceCopy && !isLabel) || !from.isTrueFactoryDefault()) {
        return true;
    }
    if (to.getAutoScopeField() != from.getAutoScopedField() ||
        to.getAutoSelectField() != from.getAutoSelectField()) {
        return true;
    }
    const ZEL_Multi *owner = from.getMultiParmOwner();
    return to.isMultiType() || (owner && owner->getTemplatePtr()->isRampType());
}
