#include <ZEL/ZEL_RefId.h>

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <cstdint>

unsigned ZEL_RefId::hash() const
{
    std::uint32_t v = (std::uint32_t(myIndex) << 10) + std::uint32_t(mySubIndex);
    v += ~(v << 16);
    v = ((v >> 5) ^ v) * 9u;
    v ^= v >> 13;
    v += ~(v << 9);
    return (v >> 17) ^ v;
}

namespace
{
const ZEL_Instance *instanceOf(const ZEL_ParmList &list, const ZEL_RefId &id)
{
    const ZEL_Parm *parm = id.isValid() ? list.getParmPtr(id.index()) : nullptr;
    return parm ? parm->getInstance() : nullptr;
}
} // namespace

void ZEL_RefId::getToken(const ZEL_ParmList &list, KIT_String &token) const
{
    token.clear();
    if (const ZEL_Instance *instance = instanceOf(list, *this)) {
        if (mySubIndex == -1) {
            token = instance->getTokenRef();
        } else {
            token = instance->getChannelToken(mySubIndex);
        }
    }
}

void ZEL_RefId::getAlias(const ZEL_ParmList &list, KIT_String &alias) const
{
    alias.clear();
    if (const ZEL_Instance *instance = instanceOf(list, *this)) {
        if (mySubIndex == -1) {
            alias = instance->getTokenRef();
        } else {
            alias = instance->getChannelAlias(mySubIndex);
        }
    }
}
