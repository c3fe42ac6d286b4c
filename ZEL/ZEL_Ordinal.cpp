#include <ZEL/ZEL_Ordinal.h>

#include <KIT/KIT_Packet.h>

ZEL_Ordinal::ZEL_Ordinal(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_ValuelessInstance(templatePtr, parm)
{}

ZEL_Ordinal::ZEL_Ordinal(const ZEL_Ordinal &source, ZEL_Parm *parm)
    : ZEL_ValuelessInstance(source, parm)
{}

ZEL_Ordinal::~ZEL_Ordinal() = default;

ZEL_Instance *ZEL_Ordinal::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_Ordinal(*this, parm);
}

int ZEL_Ordinal::classId() const
{
    static const int theClassId = KITgetClassPacketID("ZEL_Ordinal");
    return theClassId;
}

const char *ZEL_Ordinal::saveLabel() const
{
    return "Ordinal Parameter Save";
}
