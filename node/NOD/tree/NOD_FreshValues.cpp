#include <NOD/tree/NOD_FreshValuesPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/tree/NOD_LoadingPrivate.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <sstream>

namespace
{

std::string tokenOf(const ZEL_Parm &parm)
{
    const ZEL_Instance *const instance = parm.getInstance();
    return instance ? std::string(instance->getTokenRef().view()) : std::string();
}

/// Without the presets of its type.
NOD_Node &makeNode(NOD_Node &root, const std::shared_ptr<const NOD_Interface> &description)
{
    const NOD_Loading loading;
    return *root.addChild("fresh", description);
}

std::string entryOf(const ZEL_ParmList &list, ZEL_Parm &parm)
{
    constexpr bool binary = false;
    std::ostringstream os;
    list.saveSingle(&parm, os, binary);
    return os.str();
}

} // namespace

const NOD_FreshValues::Entries &
NOD_FreshValues::entriesOf(const std::shared_ptr<const NOD_Interface> &description)
{
    const auto [entry, added] = myEntries.try_emplace(description);
    if (added) {
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        NOD_Node root;
        ZEL_ParmList &list = makeNode(root, description).getParms();
        for (int i = 0; i < list.getEntries(); ++i) {
            ZEL_Parm &parm = *list.getParmPtr(i);
            entry->second[tokenOf(parm)] = entryOf(list, parm);
        }
    }
    return entry->second;
}

bool NOD_FreshValues::has(const std::shared_ptr<const NOD_Interface> &description, ZEL_Parm &parm)
{
    if (!description || parm.isSpareParm()) {
        return false;
    }
    const Entries &entries = entriesOf(description);
    const auto entry = entries.find(tokenOf(parm));
    return entry != entries.end() && entry->second == entryOf(*parm.getParmList(), parm);
}
