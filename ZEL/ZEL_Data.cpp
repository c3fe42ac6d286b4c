#include <ZEL/ZEL_Data.h>

#include <KIT/KIT_Packet.h>

ZEL_Data::ZEL_Data(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_ValuelessInstance(templatePtr, parm)
{}

ZEL_Data::ZEL_Data(const ZEL_Data &source, ZEL_Parm *parm) : ZEL_ValuelessInstance(source, parm) {}

ZEL_Data::~ZEL_Data() = default;

ZEL_Instance *ZEL_Data::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_Data(*this, parm);
}

int ZEL_Data::classId() const
{
    static const int theClassId = KITgetClassPacketID("ZEL_Data");
    return theClassId;
}

const char *ZEL_Data::saveLabel() const
{
    return "Data Parameter Save";
}
