#include <ZEL/ZEL_SpareData.h>

// -------------------------------------------------------------------- //
// The records, built when the library is loaded
// -------------------------------------------------------------------- //

#define ZEL_SPARE_ENTRY(stem, value) Pair(get##stem##Token(), value)
#define ZEL_SPARE_RECORD(name, ...) ZEL_SpareData ZEL_SpareData::name(__VA_ARGS__);
#include <ZEL/ZEL_SpareDataPresets.def>

// -------------------------------------------------------------------- //
// The pairs. `constexpr` makes the compiler verify that no code runs to build them.
// -------------------------------------------------------------------- //

#define ZEL_SPARE_RECORD(name, ...)
#define ZEL_SPARE_PAIR(name, stem, value)                                                          \
    constexpr ZEL_SpareData::Pair ZEL_SpareData::name(get##stem##Token(), value);
#include <ZEL/ZEL_SpareDataPresets.def>
