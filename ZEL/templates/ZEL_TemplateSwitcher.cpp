#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cstring>

namespace
{

int folderCount(const ZEL_Template &switcher)
{
    return switcher.getFactoryDefaults() ? switcher.getVectorSize() : 0;
}

/// The declared number of members of a folder; may be negative.
int memberCount(const ZEL_Template &switcher, int folder)
{
    return switcher.getFactoryDefaults()[folder].getOrdinal();
}

/// Direct members of all folders.
int64_t totalMembers(const ZEL_Template &switcher)
{
    int64_t total = 0;
    for (int i = 0; i < folderCount(switcher); i++) {
        total += std::max(memberCount(switcher, i), 0);
    }
    return total;
}

/// The template after this member; a member that is a switcher is skipped with its own members.
const ZEL_Template *behindMember(const ZEL_Template *member)
{
    return member->isSwitcher() ? ZEL_Template::getEndOfSwitcher(member) : member + 1;
}

bool isJoined(const ZEL_Template &templateRef)
{
    switch (templateRef.getTypeExtended()) {
    case ZEL_TYPEX_JOINED:
    case ZEL_TYPEX_JOIN_NEXT:
    case ZEL_TYPEX_JOINED_NODE: return true;
    default: return false;
    }
}

} // namespace

// -------------------------------------------------------------------- //
// Arrays
// -------------------------------------------------------------------- //

int ZEL_Template::countTemplates(const ZEL_Template *templates, bool skipSwitcherMembers,
                                 bool skipJoined, bool skipJoinNext)
{
    int64_t count = 0;
    int64_t toSkip = 0;
    for (; templates && !templates->isTerminator(); templates++) {
        count++;
        if (toSkip > 0) {
            toSkip--;
        }
        if (skipSwitcherMembers && templates->isSwitcher()) {
            for (int i = 0; i < folderCount(*templates); i++) {
                count -= memberCount(*templates, i);
                toSkip += memberCount(*templates, i);
            }
            continue;
        }
        if (toSkip > 0) {
            continue;
        }
        if ((skipJoinNext && templates->getJoinNext()) || (skipJoined && isJoined(*templates))) {
            count--;
        }
        toSkip = 0;
    }
    return static_cast<int>(std::clamp<int64_t>(count, 0, INT32_MAX));
}

int ZEL_Template::getTemplateIndexByToken(const ZEL_Template *templates, const char *token)
{
    if (!templates || !token) {
        return -1;
    }
    for (int i = 0; !templates[i].isTerminator(); i++) {
        const char *const own = templates[i].getToken();
        if (own && !std::strcmp(own, token)) {
            return i;
        }
    }
    return -1;
}

ZEL_Template::ZEL_Export ZEL_Template::getHighestExportLevel(const ZEL_Template *templates)
{
    ZEL_Export highest = ZEL_EXPORT_0;
    for (; templates && !templates->isTerminator(); templates++) {
        highest = std::max(highest, templates->exportLevel());
    }
    return highest;
}

// -------------------------------------------------------------------- //
// Switchers
//
// A nested switcher counts as one member and is followed directly by its own members, so the end is
// found by counting the members still to come: no recursion, however deep the nesting.
// -------------------------------------------------------------------- //

const ZEL_Template *ZEL_Template::getEndOfSwitcher(const ZEL_Template *templatePtr)
{
    if (!templatePtr || !templatePtr->isSwitcher()) {
        return templatePtr;
    }
    int64_t toCome = totalMembers(*templatePtr);
    const ZEL_Template *end = templatePtr + 1;
    for (; toCome > 0 && !end->isTerminator(); end++) {
        toCome--;
        if (end->isSwitcher()) {
            toCome += totalMembers(*end);
        }
    }
    return end;
}

int64_t ZEL_Template::getEndOfSwitcher(const KIT_Array<ZEL_Template *> &templates, int64_t index)
{
    if (!templates.isValidIndex(index) || !templates[index] || !templates[index]->isSwitcher()) {
        return index;
    }
    int64_t toCome = totalMembers(*templates[index]);
    int64_t end = index + 1;
    for (; toCome > 0 && end < templates.size(); end++) {
        toCome--;
        if (templates[end] && templates[end]->isSwitcher()) {
            toCome += totalMembers(*templates[end]);
        }
    }
    return end;
}

bool ZEL_Template::getEnclosingSwitcherFolder(const ZEL_Template *templates, int index,
                                              int &switcherIndex, int &folderIndex)
{
    int innermost = -1;
    for (int i = 0; templates && i < index && !templates[i].isTerminator(); i++) {
        if (templates[i].isSwitcher() && getEndOfSwitcher(templates + i) - templates > index) {
            innermost = i;
        }
    }
    if (innermost < 0) {
        return false;
    }
    switcherIndex = innermost;
    const ZEL_Template &switcher = templates[innermost];
    const ZEL_Template *const wanted = templates + index;
    const ZEL_Template *member = &switcher + 1;
    for (int folder = 0; folder < folderCount(switcher); folder++) {
        for (int left = memberCount(switcher, folder); left > 0; left--) {
            if (member->isTerminator()) {
                return false;
            }
            if (member == wanted) {
                folderIndex = folder;
                return true;
            }
            member = behindMember(member);
        }
    }
    return false;
}

void ZEL_Template::getSwitcherStats(const ZEL_Template *templatePtr, KIT_ValArray<int> &switchers,
                                    KIT_ValArray<int> &others)
{
    switchers.clear();
    others.clear();
    if (!templatePtr || !templatePtr->isSwitcher()) {
        return;
    }
    const ZEL_Template *member = templatePtr + 1;
    for (int folder = 0; folder < folderCount(*templatePtr); folder++) {
        int switcherCount = 0;
        int otherCount = 0;
        for (int left = memberCount(*templatePtr, folder); left > 0; left--) {
            if (member->isTerminator()) {
                break;
            }
            (member->isSwitcher() ? switcherCount : otherCount)++;
            member = behindMember(member);
        }
        switchers.append(switcherCount);
        others.append(otherCount);
    }
}

int ZEL_Template::findSwitcherFolderWithLabel(const char *label) const
{
    if (!isSwitcher() || !label || !*label) {
        return -1;
    }
    for (int i = 0; i < folderCount(*this); i++) {
        if (!std::strcmp(myFactoryDefaults[i].getString(), label)) {
            return i;
        }
    }
    return -1;
}
