#include <ZEL/support/ZEL_PacketClassPrivate.h>

#include <KIT/KIT_Packet.h>

namespace
{

constexpr const char *theNames[] = {nullptr,       "ZEL_ParmList", "ZEL_Float",
                                    "ZEL_Ordinal", "ZEL_String",   "ZEL_Data"};
static_assert(sizeof(theNames) / sizeof(*theNames) == ZEL_NUM_PACKET_CLASSES);

struct Ids
{
    Ids()
    {
        for (int number = 1; number < ZEL_NUM_PACKET_CLASSES; ++number) {
            id[number] = KITgetClassPacketID(theNames[number]);
            KIT_PacketHeader::setClassNumber(number, id[number]);
        }
    }
    int id[ZEL_NUM_PACKET_CLASSES] = {};
};

/// Made when the library is loaded, before there are threads.
const Ids theIds;

} // namespace

int ZELpacketClassId(ZEL_PacketClass number)
{
    return theIds.id[number];
}
