#include <ZEL/ZEL_ParmNameMap.h>

void ZEL_ParmNameMap::add(const KIT_StringHolder &savedName, const KIT_StringHolder &loadAs)
{
    myNames[savedName] = loadAs;
}

const KIT_StringHolder *ZEL_ParmNameMap::find(const KIT_StringRef &savedName) const
{
    const auto entry = myNames.find(KIT_StringHolder(savedName));
    return entry == myNames.end() ? nullptr : &entry->second;
}
