/// \file ZEL_TypeConstants.h
/// The published types: the vocabulary in which every parameter table is written.
///
/// Vocabulary: *elementary* = ZEL_TYPE_X, one word with one bit (or a mask); *composite* = ZEL_FLT,
///             ZEL_TOGGLE, ZEL_FILE ..., an OR of elementary ones. `_E` = not animatible; `_J` = a
///             copy of the plain name. ZEL_TypeConstants.def has the rows.
/// Threads:    constant data, complete before any code runs; any thread.
/// Cost:       a look-up by name or by type scans the table (some 200 rows).
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Type.h>

// Elementary types: ZEL_TYPE_FLOAT, ZEL_TYPE_CHANNEL, ...; the library's private ones are left out.
#define ZEL_TYPE_FLAG(wordEnum, enumerator, value, dumps, constant)                                \
    extern ZEL_API const ZEL_Type ZEL_TYPE_##constant;
#define ZEL_PRIVATE_PATH_FLAG(enumerator, value, dumps, constant)
#define ZEL_PRIVATE_INTERFACE_FLAG(enumerator, value, dumps, constant)
#define ZEL_TYPE_MASK(constant, wordEnum, value) extern ZEL_API const ZEL_Type ZEL_TYPE_##constant;
#define ZEL_TYPE_ROW(name, flags) extern ZEL_API const ZEL_Type name;
#include <ZEL/ZEL_TypeConstants.def>

/// A published type and its name.
struct ZEL_TypeConstant
{
    const char *name;
    const ZEL_Type *type;
};

/// All published types, elementary ones first, in the order of their rows; `count` rows.
/// For tests that check the whole table; the library itself looks up single types.
ZEL_API const ZEL_TypeConstant *ZELgetTypeConstants(int &count);

/// The published type of that name, null if there is none.
ZEL_API const ZEL_Type *ZELfindTypeConstant(const char *name);

/// The name of the first composite that equals the type in all nine words, null if none does.
/// Of equal types the first name is returned: ZEL_FLT for ZEL_FLT_J, ZEL_RGB for ZEL_RGBA.
ZEL_API const char *ZELgetTypeConstantName(const ZEL_Type &type);
