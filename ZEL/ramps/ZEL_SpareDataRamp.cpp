#include <ZEL/ZEL_SpareData.h>

#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_RampUtils.h>

#include <new>
#include <sstream>

bool ZEL_SpareData::getRampDefaultToParm(ZEL_Parm &parm) const
{
    const char *text =
        parm.isRampTypeColor() ? getColorRampDefaultValue() : getFloatRampDefaultValue();
    if (!text || !parm.isRampType()) {
        return false;
    }
    ZEL_RampUtils::getRampParmFromDefault(parm, text);
    return true;
}

void ZEL_SpareData::setRampDefaultFromParm(const ZEL_Parm &parm)
{
    if (!parm.isRampType()) {
        return;
    }
    std::ostringstream os;
    ZEL_RampUtils::setRampDefaultFromParm(os, parm);
    if (os.bad()) {
        throw std::bad_alloc();
    }
    addTokenValue(parm.isRampTypeColor() ? getColorRampDefaultToken() : getFloatRampDefaultToken(),
                  os.str().c_str());
}
