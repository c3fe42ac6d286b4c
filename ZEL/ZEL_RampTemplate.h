/// \file ZEL_RampTemplate.h
/// The small template arrays that describe one key of a ramp.
///
/// Vocabulary: *ramp* = a multi-parameter whose items are keys; *key* = position, value or colour,
///             interpolation, in this order; *prefix* = the part of the keys' tokens that comes
///             from the ramp's. A float ramp "density" has the tokens "density#pos",
///             "density#value" and "density#interp"; a ramp "ramp1" has "ramp1_#pos", which keeps
///             the key's number apart from the name's.
/// Ownership:  ZELcreateRampTemplate() returns an array with its own names and spare data, which
///             the caller frees by ZELfreeRampTemplate(). The rest is borrowed.
/// Threads:    any; the built-in arrays are created once, by the first caller.
/// Errors:     a type that isn't a ramp gives null, 0 or the empty text.
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Callback.h>
#include <ZEL/ZEL_Template.h>

#include <cstdint>

class KIT_WorkBuffer;
class ZEL_ChoiceList;
class ZEL_SpareData;

/// The parts of a key.
enum ZEL_RampParmIndex : int
{
    ZEL_RAMP_POSITION = 0, ///< "#pos", a number from 0 to 1
    ZEL_RAMP_VALUE = 1,    ///< "#value", a number, or "#c", a colour of three components
    ZEL_RAMP_INTERP = 2    ///< "#interp", an ordinal on zelRampInterpMenu
};

/// How a ramp interpolates from a key to the next; the index in zelRampInterpMenu. Stored: append
/// only.
enum ZEL_RampInterpType : int32_t
{
    ZEL_RAMPINTERP_UNKNOWN = -1,
    ZEL_RAMPINTERP_CONSTANT = 0,
    ZEL_RAMPINTERP_LINEAR = 1,
    ZEL_RAMPINTERP_CATMULL_ROM = 2,
    ZEL_RAMPINTERP_MONOTONE_CUBIC = 3,
    ZEL_RAMPINTERP_BEZIER = 4,
    ZEL_RAMPINTERP_BSPLINE = 5,
    ZEL_RAMPINTERP_HERMITE = 6
};

/// A new array for one key, ended by a terminator. Without `base` it is the built-in one for the
/// type, each token prefixed by the ramp's; with `base` a copy of that array with its own tokens.
/// Every member gets `callback` and, in its spare data, a script callback in `spare` with its
/// language. The invisible bit of the multi type is ignored.
ZEL_API ZEL_Template *ZELcreateRampTemplate(const char *token, ZEL_MultiType type,
                                            const ZEL_SpareData *spare, ZEL_Callback callback,
                                            ZEL_Template *base);

/// Frees an array of ZELcreateRampTemplate(), null allowed.
ZEL_API void ZELfreeRampTemplate(ZEL_Template *templates);

/// The number of components of a part of the key: 3 for the colour, else 1.
ZEL_API int ZELgetRampChannelCount(ZEL_MultiType type, ZEL_RampParmIndex index);

/// The channel token of a part's component with the ramp's prefix and its `#` marks: component 0
/// of the colour of ramp "tint" is "tint#cr". An invalid component adds no ending.
ZEL_API void ZELgetRampChannelToken(const char *token, ZEL_MultiType type, ZEL_RampParmIndex index,
                                    int component, KIT_WorkBuffer &out);

/// The prefix: the decoded token, followed by "_" if it ends in "#" or a digit.
ZEL_API void ZELgetRampDecodedParmPrefix(const char *token, KIT_WorkBuffer &out);

/// zelRampInterpMenu.
ZEL_API ZEL_ChoiceList *ZELgetRampInterpMenu();

/// The menu token of a type, "" for any other number.
ZEL_API const char *ZELgetRampInterpToken(ZEL_RampInterpType type);

/// The type of a menu token; null or empty text is linear, anything else unknown (-1).
ZEL_API ZEL_RampInterpType ZELgetRampInterpType(const char *token);

/// Bytes that an array of ZELcreateRampTemplate() takes; 0 for null.
ZEL_API int64_t ZELgetRampTemplateMemoryUsage(const ZEL_Template *templates);
