#include <ZEL/ZEL_Utils.h>

#include <KIT/KIT_BitArray.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace
{

/// The constant arguments of a walk.
struct Walk
{
    ZEL_ParmList &list;
    int size; // of the list at the start
    bool multiFlag;
    ZEL_Utils::Visitor visitor;
    void *data;

    void visitItems(ZEL_Parm &multi) const;
    int64_t traverse(const ZEL_Parm &switcher, int folder, int64_t first) const;
};

int folderEntries(const ZEL_Parm &switcher, int folder)
{
    const ZEL_Template *const description = switcher.getTemplatePtr();
    const ZEL_Default *const defaults = description ? description->getFactoryDefaults() : nullptr;
    if (!defaults) {
        return 1;
    }
    const bool validFlag = folder >= 0 && folder < switcher.getVectorSize();
    return validFlag ? std::max(defaults[folder].getOrdinal(), 0) : 0;
}

void Walk::visitItems(ZEL_Parm &multi) const
{
    const int items = multi.getMultiParmNumItems();
    const int children = multi.getMultiParmInstancesPerItem();
    for (int item = 0; item < items; item++) {
        for (int child = 0; child < children; child++) {
            int index = -1;
            const KIT_StringRef token(multi.getMultiParmToken(child, item));
            if (ZEL_Parm *const parm = list.getParmPtr(token, index)) {
                visitor(list, parm, index, data);
            }
        }
    }
}

int64_t Walk::traverse(const ZEL_Parm &switcher, int folder, int64_t first) const
{
    int64_t count = folderEntries(switcher, folder);
    for (int64_t i = first; i < first + count && i < size; i++) {
        ZEL_Parm *const parm = list.getParmPtr(static_cast<int>(i));
        if (!parm) {
            continue;
        }
        if (visitor) {
            visitor(list, parm, static_cast<int>(i), data);
        }
        // A base parameter has no description until the base interface exists.
        const ZEL_Template *const description = parm->getTemplatePtr();
        if (description && description->isSwitcher()) {
            int64_t nested = 0;
            for (int f = 0; f < parm->getVectorSize(); f++) {
                nested += traverse(*parm, f, i + 1 + nested);
            }
            count += nested;
            i += nested;
        } else if (multiFlag && visitor && parm->isMultiParm()) {
            visitItems(*parm);
        }
    }
    return count;
}

} // namespace

int ZEL_Utils::traverseFolder(ZEL_ParmList &list, ZEL_Parm *switcher, int folder, int first,
                              bool multi, Visitor visitor, void *data)
{
    if (!switcher) {
        return 0;
    }
    const Walk walk = {list, list.getEntries(), multi, visitor, data};
    const int64_t count = walk.traverse(*switcher, folder, std::max(first, 0));
    return static_cast<int>(std::min<int64_t>(count, std::numeric_limits<int>::max()));
}

void ZEL_Utils::flagMultiParmInstances(const ZEL_ParmList &list, ZEL_Parm *multi,
                                       KIT_BitArray &bits)
{
    const int items = multi ? multi->getMultiParmNumItems() : 0;
    for (int item = 0; item < items; item++) {
        const int index = list.getParmIndex(multi->getMultiParmToken(0, item));
        if (index >= 0) {
            bits.setBits(index, multi->getMultiParmInstancesPerItem(), true);
        }
    }
}
