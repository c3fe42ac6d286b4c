#include <ZEL/ZEL_String.h>

#include <KIT/KIT_Packet.h>

#include <cstring>

ZEL_String::ZEL_String(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_ValuelessInstance(templatePtr, parm)
{}

ZEL_String::ZEL_String(const ZEL_String &source, ZEL_Parm *parm)
    : ZEL_ValuelessInstance(source, parm)
{}

ZEL_String::~ZEL_String() = default;

ZEL_Instance *ZEL_String::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_String(*this, parm);
}

int ZEL_String::classId() const
{
    static const int theClassId = KITgetClassPacketID("ZEL_String");
    return theClassId;
}

const char *ZEL_String::saveLabel() const
{
    return "String Parameter Save";
}

bool ZEL_String::isStringThatCanExpand(const char *text)
{
    if (!text) {
        return false;
    }
    if (std::strstr(text, "!!ch(")) {
        return true;
    }
    for (; *text; ++text) {
        if (*text == '$' || *text == '`') {
            return true;
        }
        if (*text == '\\' && text[1]) {
            ++text;
        }
    }
    return false;
}
