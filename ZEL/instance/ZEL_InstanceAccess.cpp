// Whether a parameter may be changed, and whether it is saved.

#include <ZEL/ZEL_Instance.h>

#include <LYR/LYR_Manager.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_SpareData.h>

#include <string_view>

#include <strings.h>

bool ZEL_Instance::validateAccess() const
{
    if (ZEL_ParmList::isLoading() || !getChannelGroupPtr() || getActiveTakeFlag()) {
        return true;
    }
    LYR_Manager *takes = LYR_Manager::getCurrentManager();
    return takes->getCurrentTake() == takes->getMasterTake();
}

bool ZEL_Instance::shouldSaveData() const
{
    const ZEL_SpareData *spare = myTemplate->getSparePtr();
    const char *value = spare ? spare->getSaveValue() : nullptr;
    return !value || (::strcasecmp(value, "false") != 0 && std::string_view(value) != "0");
}
