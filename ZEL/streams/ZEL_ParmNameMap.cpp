#include <ZEL/ZEL_ParmNameMap.h>

ZEL_ParmNameMap::ZEL_ParmNameMap() = default;
ZEL_ParmNameMap::~ZEL_ParmNameMap() = default;

ZEL_ParmNameMap::ZEL_ParmNameMap(const ZEL_ParmNameMap &other)
    : myNames(other.myNames ? std::make_unique<Names>(*other.myNames) : nullptr)
{}

ZEL_ParmNameMap &ZEL_ParmNameMap::operator=(const ZEL_ParmNameMap &other)
{
    if (this != &other) {
        myNames = other.myNames ? std::make_unique<Names>(*other.myNames) : nullptr;
    }
    return *this;
}

void ZEL_ParmNameMap::addMap(const char *from, const char *to)
{
    if (!from || !to) {
        return;
    }
    if (!myNames) {
        myNames = std::make_unique<Names>();
    }
    (*myNames)[KIT_StringHolder(from)] = KIT_StringHolder(to);
}

const char *ZEL_ParmNameMap::findName(const char *from) const
{
    if (!myNames || !from) {
        return nullptr;
    }
    const auto entry = myNames->find(KIT_StringHolder(from));
    return entry == myNames->end() ? nullptr : entry->second.nonNullStr();
}
