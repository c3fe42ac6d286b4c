#include <ZEL/ZEL_SharedRanges.h>

#include <ZEL/support/ZEL_ConstantDataPrivate.h>

#define ZEL_SHARED_RANGE(symbol, minFlag, min, maxFlag, max)                                       \
    ZEL_CONSTANT_DATA ZEL_Range symbol(ZEL_RANGE_##minFlag, min, ZEL_RANGE_##maxFlag, max);
#include <ZEL/ZEL_SharedRanges.def>
#undef ZEL_SHARED_RANGE
