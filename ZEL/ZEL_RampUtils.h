/// \file ZEL_RampUtils.h
/// Converts a ramp parameter to and from the host's ramp object and its default text.
///
/// Vocabulary: *ramp* = a multi-parameter whose items are keys; *key* = position, value or colour,
///             and interpolation (ZEL_RampTemplate.h), three children of flat indices 3i to 3i + 2;
///             *default text* = a ramp's form in spare data: for each child its token without the
///             ramp's prefix and its values, `1pos ( 0 ) 1interp ( linear ) 1value ( 0.5 )`;
///             *wrap key* = a last key at 1 that repeats the first, so that a ramp closes.
/// Units:      times in seconds; positions usually 0 to 1. The host's object holds 32-bit floats.
/// Ownership:  borrows its arguments for the call.
/// Threads:    the thread that owns the list, as reading evaluates and may create the ramp's items.
///             getRampValuesFromParm() and getRampDefaultString(): any.
/// Errors:     nothing is reported. Reading skips a key that lacks a child, writing stops there.
///             The parts of a default text that don't fit are dropped.
#pragma once

#include <KIT/KIT_RampBasis.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_RampTemplate.h>

#include <iosfwd>

class KIT_Ramp;
class KIT_StringArray;
class KIT_WorkBuffer;
class LNK_MicroNode;
class ZEL_Parm;

class ZEL_API ZEL_RampUtils
{
public:
    /// One value on its way into a parameter.
    struct ValueData
    {
        ZEL_Parm *parm;
        double value; ///< for a number
        int integer;  ///< for the count of keys and the interpolation
        int index;    ///< the component
        double time;
        void *data; ///< what the caller of updateMultiParmFromRamp() passed
    };
    using ValueSetter = void (*)(ValueData);

    // ------------------------------------------------------------------ //
    /// \name The host's object
    // ------------------------------------------------------------------ //
    ///@{
    /// Sets the ramp from the parameter at that time, ordered by position. A float ramp's value is
    /// stored in all four channels. `timeDependent`, unless null, returns whether any value read
    /// depends on time; everything read becomes an input of `dependent`, unless null.
    static void updateRampFromMultiParm(double time, const ZEL_Parm &parm, KIT_Ramp *ramp,
                                        bool *timeDependent, LNK_MicroNode *dependent);

    /// Sets the parameter from the ramp. A value that already equals the ramp's as a float keeps
    /// its digits, and no key is made for it, whatever `addKey` says. With `addWrapKey` a ramp that
    /// doesn't end at 1 (within 0.00001) gets a wrap key.
    static void updateMultiParmFromRamp(double time, const KIT_Ramp &ramp, ZEL_Parm &parm,
                                        bool addWrapKey, ZEL_AddKeyType addKey);
    /// The same, but passes all values to `setter`, the count of keys first. Keys that don't exist
    /// yet are written only if the setter applies the count before it returns.
    static void updateMultiParmFromRamp(double time, const KIT_Ramp &ramp, ZEL_Parm &parm,
                                        bool addWrapKey, ValueSetter setter, void *data);

    /// The ramp as arrays: positions, menu tokens, and one value a key or, with `color`, three.
    static void getRampValuesFromParm(KIT_ValArray<double> &values, int &components,
                                      KIT_ValArray<double> &keys, KIT_StringArray &bases,
                                      const KIT_Ramp &ramp, bool color);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Default text
    // ------------------------------------------------------------------ //
    ///@{
    /// From arrays. Missing positions repeat the last one, or are spread evenly over 0 to 1 if
    /// there is none; missing interpolations repeat the last one, or are linear if there is none.
    static void getRampDefaultString(KIT_WorkBuffer &out, const KIT_ValArray<double> &values,
                                     int components, const KIT_ValArray<double> *keys,
                                     const KIT_StringArray *bases);
    /// Sets the children that the text names without notifying; the count of keys doesn't change.
    /// Names that aren't children of the ramp are ignored.
    static void getRampParmFromDefault(ZEL_Parm &parm, const char *text);
    /// Writes the text that getRampParmFromDefault() reads; "" for a ramp in a block whose name has
    /// no "#", since its children's tokens don't begin with the prefix.
    static void setRampDefaultFromParm(std::ostream &os, const ZEL_Parm &parm);
    ///@}

private:
    static void setParmValue(ValueData value);
};

/// The host's basis of an interpolation type; constant for an invalid number.
ZEL_API KIT_SPLINE_BASIS ZELgetRampBasis(int interpType);

/// The interpolation type of a basis; constant for a basis that no type has.
ZEL_API ZEL_RampInterpType ZELgetRampInterp(KIT_SPLINE_BASIS basis);
