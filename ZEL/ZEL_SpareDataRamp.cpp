#include <ZEL/ZEL_SpareData.h>

bool ZEL_SpareData::getRampDefaultToParm(ZEL_Parm &) const
{
    return false;
}
