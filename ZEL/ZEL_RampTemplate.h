/// \file ZEL_RampTemplate.h
/// The small template arrays that describe one key of a ramp.
///
/// Vocabulary: *ramp* = a multi-parameter whose items are keys; *key* = position, value or colour,
///             interpolation, in this order; *prefix* = what makes the key's tokens the ramp's own.
///             A float ramp "density" has the tokens "density#pos", "density#value" and
///             "density#interp"; a ramp "ramp1" has "ramp1_#pos", so that the key's number does not
///             run into the name's.
/// Ownership:  ZELcreateRampTemplate() hands an array to the caller, with names and spare data of
///             its own; ZELfreeRampTemplate() frees all of it. The rest is borrowed.
/// Threads:    any; the built-in arrays are made once, by whoever asks first.
/// Errors:     a type that is no ramp gives null, 0 or the empty text.
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

/// How a ramp runs from a key to the next; the index in zelRampInterpMenu. Stored: append only.
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
/// type, each token prefixed by the ramp's; with `base` it is a copy of that array under its own
/// tokens. `callback` goes on every member; a script callback in `spare` goes into every member's
/// spare data, with its language. Only the kind of the multi type counts: with the invisible bit it
/// is the same ramp.
ZEL_API ZEL_Template *ZELcreateRampTemplate(const char *token, ZEL_MultiType type,
                                            const ZEL_SpareData *spare, ZEL_Callback callback,
                                            ZEL_Template *base);

/// Frees an array of ZELcreateRampTemplate(), null allowed.
ZEL_API void ZELfreeRampTemplate(ZEL_Template *templates);

/// Components of a part of the key: 1, and 3 for the colour.
ZEL_API int ZELgetRampChannelCount(ZEL_MultiType type, ZEL_RampParmIndex index);

/// The channel token of a part's component under the ramp's prefix, marks still in it: component 0
/// of the colour of ramp "tint" is "tint#cr". A component that is not there adds no ending.
ZEL_API void ZELgetRampChannelToken(const char *token, ZEL_MultiType type, ZEL_RampParmIndex index,
                                    int component, KIT_WorkBuffer &out);

/// The prefix: the decoded token, and "_" behind it when it ends in "#" or a digit.
ZEL_API void ZELgetRampDecodedParmPrefix(const char *token, KIT_WorkBuffer &out);

/// zelRampInterpMenu.
ZEL_API ZEL_ChoiceList *ZELgetRampInterpMenu();

/// The menu token of a type, "" for any other number.
ZEL_API const char *ZELgetRampInterpToken(ZEL_RampInterpType type);

/// The type of a menu token; null or empty text is linear, anything else unknown (-1).
ZEL_API ZEL_RampInterpType ZELgetRampInterpType(const char *token);

/// Bytes that an array of ZELcreateRampTemplate() takes; 0 for null.
ZEL_API int64_t ZELgetRampTemplateMemoryUsage(const ZEL_Template *templates);
