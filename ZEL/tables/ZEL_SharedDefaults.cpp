#include <ZEL/ZEL_SharedDefaults.h>

#include <ZEL/support/ZEL_ConstantDataPrivate.h>

#define ZEL_TIMES_12(value)                                                                        \
    {value}, {value}, {value}, {value}, {value}, {value}, {value}, {value}, {value}, {value},      \
        {value},                                                                                   \
    {                                                                                              \
        value                                                                                      \
    }
#define ZEL_TIMES_16(value)                                                                        \
    ZEL_TIMES_12(value), {value}, {value}, {value},                                                \
    {                                                                                              \
        value                                                                                      \
    }

#define ZEL_DEFAULT_FILL(symbol, count, value)                                                     \
    ZEL_CONSTANT_DATA ZEL_Default symbol[count] = {ZEL_TIMES_##count(value)};
#define ZEL_DEFAULT_ARRAY(symbol, count, ...)                                                      \
    ZEL_CONSTANT_DATA ZEL_Default symbol[count] = {__VA_ARGS__};
#define ZEL_DEFAULT(symbol, value, text) ZEL_CONSTANT_DATA ZEL_Default symbol(value, text);
#include <ZEL/ZEL_SharedDefaults.def>
