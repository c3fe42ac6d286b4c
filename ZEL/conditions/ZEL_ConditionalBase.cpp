#include <ZEL/ZEL_ConditionalBase.h>

ZEL_ConditionalBase::~ZEL_ConditionalBase() = default;

bool ZEL_ConditionalBase::hasItemNumbers() const
{
    return true;
}
