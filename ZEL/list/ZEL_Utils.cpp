#include <ZEL/ZEL_Utils.h>

#include <KIT/KIT_BitArray.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

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

    struct Level;

    void visitItems(ZEL_Parm &multi) const;
    const ZEL_Parm *visit(int index) const;
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
    for (int item = 0; item < items && children > 0; item++) {
        for (int child = 0; child < children; child++) {
            int index = -1;
            const KIT_StringRef token(multi.getMultiParmToken(child, item));
            ZEL_Parm *const parm = list.getParmPtr(token, index);
            if (parm && parm->getMultiParmOwner() == multi.getInstance()) {
                visitor(list, parm, index, data);
            }
        }
    }
}

/// A run of folders that the walk is in.
struct Walk::Level
{
    Level(const ZEL_Parm &parm, int firstFolder, int endFolder, int64_t start)
        : switcher(parm), folder(firstFolder), end(endFolder), first(start), at(start),
          folderEnd(start + folderEntries(parm, firstFolder))
    {}

    /// False after the last one.
    bool nextFolder()
    {
        at = folderEnd;
        if (++folder >= end) {
            return false;
        }
        folderEnd = at + folderEntries(switcher, folder);
        return true;
    }

    const ZEL_Parm &switcher;
    int folder;
    int end;
    int64_t first;     // entry of the run
    int64_t at;        // the next entry of the folder
    int64_t folderEnd; // moves up with the sets of folders that are in it
};

/// Calls the visitor for one entry. The entry, if it is a set of folders.
const ZEL_Parm *Walk::visit(int index) const
{
    ZEL_Parm *const parm = list.getParmPtr(index);
    if (!parm) {
        return nullptr;
    }
    if (visitor) {
        visitor(list, parm, index, data);
    }
    // A base parameter has no description until the base interface exists.
    const ZEL_Template *const description = parm->getTemplatePtr();
    if (description && description->isSwitcher()) {
        return parm->getVectorSize() > 0 ? parm : nullptr;
    }
    if (multiFlag && visitor && parm->isMultiParm()) {
        visitItems(*parm);
    }
    return nullptr;
}

/// Scripts nest sets of folders as deep as they like: the levels are on the heap.
int64_t Walk::traverse(const ZEL_Parm &switcher, int folder, int64_t first) const
{
    std::vector<Level> levels{Level(switcher, folder, folder + 1, first)};
    for (;;) {
        Level &level = levels.back();
        if (level.at < level.folderEnd && level.at < size) {
            if (const ZEL_Parm *const nested = visit(static_cast<int>(level.at++))) {
                levels.emplace_back(*nested, 0, nested->getVectorSize(), level.at);
            }
        } else if (!level.nextFolder()) {
            const int64_t count = level.at - level.first;
            levels.pop_back();
            if (levels.empty()) {
                return count;
            }
            levels.back().at += count;
            levels.back().folderEnd += count;
        }
    }
}

} // namespace

int ZEL_Utils::traverseFolder(ZEL_ParmList &list, ZEL_Parm *switcher, int folder, int first,
                              bool multi, Visitor visitor, void *data)
{
    if (!switcher) {
        return 0;
    }
    const ZEL_Multi::KeepItems keep;
    const Walk walk = {list, list.getEntries(), multi, visitor, data};
    const int64_t count = walk.traverse(*switcher, folder, std::max(first, 0));
    return static_cast<int>(std::min<int64_t>(count, std::numeric_limits<int>::max()));
}

void ZEL_Utils::flagMultiParmInstances(const ZEL_ParmList &list, ZEL_Parm *multi,
                                       KIT_BitArray &bits)
{
    const int items = multi ? multi->getMultiParmNumItems() : 0;
    const int children = multi ? multi->getMultiParmInstancesPerItem() : 0;
    for (int item = 0; item < items && children > 0; item++) {
        for (int child = 0; child < children; child++) {
            int index = -1;
            const ZEL_Parm *parm = list.getParmPtr(multi->getMultiParmToken(child, item), index);
            if (parm && parm->getMultiParmOwner() == multi->getInstance()) {
                bits.setBit(index, true);
            }
        }
    }
}
