/// \file ZEL_ScriptTypes.h
/// The type keywords of dialog scripts ("float", "vector", "toggle") and what each of them sets.
///
/// Vocabulary: *index* = the position of a keyword's row in ZEL_ScriptTypes.def; two keywords of
///             one row ("int", "integer") share an index.
/// Threads:    any thread; the look-up table is made once.
/// Errors:     an unknown keyword gives a negative index, an index outside the rows null.
/// Cost:       a look-up is a binary search among the keywords.
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

/// What a type keyword sets.
struct ZEL_ScriptType
{
    const ZEL_Type *type;
    int size;                  ///< 0: the vector size stays as it is
    unsigned flags;            ///< bits of ZEL_ScriptParm's flags to set
    ZEL_TypeExtended extended; ///< of the parameter
    ZEL_MultiType multiType;   ///< the kind of a ramp, else ZEL_MULTITYPE_NONE
    const char *opFilter;      ///< spare value "opfilter"; null: none
    const char *opRelative;    ///< spare value "oprelative"; null: none
};

/// The index of a type keyword, negative for an unknown one. Case-sensitive.
ZEL_API int ZELlookupScriptType(const char *token);

/// What the keywords of that index set; null outside the rows.
ZEL_API const ZEL_ScriptType *ZELgetScriptType(int index);

/// The first keyword of that row; null outside the rows.
ZEL_API const char *ZELgetScriptTypeWord(int index);
