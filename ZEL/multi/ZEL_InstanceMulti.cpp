// An instance's operations as part of a multi-parameter's item.

#include <ZEL/ZEL_Instance.h>

#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Template.h>

int ZEL_Instance::getMultiInstanceIndex(KIT_Array<int> &indices, bool useStartOffset) const
{
    indices.clear();
    const ZEL_Instance *instance = this;
    while (const ZEL_Multi *owner = instance->getMultiParmOwner()) {
        const int perItem = owner->getMultiParmInstancesPerItem();
        const int flatIndex = owner->findMultiParmIndex(instance->getToken(), useStartOffset);
        const int item = flatIndex >= 0 && perItem > 0 ? flatIndex / perItem : flatIndex;
        indices.append(item >= 0 && useStartOffset ? item + owner->getMultiStartOffset() : item);
        instance = owner;
    }
    return int(indices.size());
}

bool ZEL_Instance::isFirstRampPosition() const
{
    const ZEL_Multi *owner = getMultiParmOwner();
    return owner && owner->getTemplatePtr()->isRampType() && owner->getTemplate(0) == myTemplate;
}
