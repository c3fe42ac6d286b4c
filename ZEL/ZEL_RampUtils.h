/// \file ZEL_RampUtils.h
/// A ramp parameter as the host's ramp object, and as its default text; and the ways back.
///
/// Vocabulary: *ramp* = a multi-parameter whose items are keys; *key* = position, value or colour,
///             and interpolation (ZEL_RampTemplate.h), three children of flat indices 3i to 3i + 2;
///             *default text* = what spare data keep of a ramp: for each child its token behind the
///             ramp's prefix and its values, `1pos ( 0 ) 1interp ( linear ) 1value ( 0.5 )`;
///             *wrap key* = a last key at 1 that repeats the first, so that a ramp closes.
/// Units:      times in seconds; positions usually 0 to 1. The host's object holds 32-bit floats.
/// Ownership:  borrows all it is given, for the call.
/// Threads:    reading evaluates and may make the ramp's items: the thread that owns the list.
///             getRampValuesFromParm() and getRampDefaultString(): any.
/// Errors:     nothing is reported. A key that lacks a child is passed over when read, and is where
///             writing ends. What of a default text doesn't fit is dropped.
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
    /// Makes the ramp what the parameter is at that time, ordered by position. A float ramp's value
    /// stands in all four places. With `timeDependent`: whether any of what was read depends on
    /// time. With `dependent`: everything that was read becomes an input of that node.
    static void updateRampFromMultiParm(double time, const ZEL_Parm &parm, KIT_Ramp *ramp,
                                        bool *timeDependent, LNK_MicroNode *dependent);

    /// Makes the parameter what the ramp is. A value that reads as the ramp's float already keeps
    /// its digits. With `addWrapKey` a ramp that doesn't end at 1 (within 0.00001) gets a wrap key.
    static void updateMultiParmFromRamp(double time, const KIT_Ramp &ramp, ZEL_Parm &parm,
                                        bool addWrapKey, ZEL_AddKeyType addKey);
    /// The same, with all values going through `setter`, which has to set the count of keys before
    /// it returns if keys that don't exist yet are to be written.
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
    /// From arrays. Missing positions repeat the last one given, and are spread evenly over 0 to 1
    /// if none is; missing interpolations repeat the last one, and are linear.
    static void getRampDefaultString(KIT_WorkBuffer &out, const KIT_ValArray<double> &values,
                                     int components, const KIT_ValArray<double> *keys,
                                     const KIT_StringArray *bases);
    /// Sets the children that the text names; the count of keys stays. Only the ramp's own children
    /// are set, whatever a name says. No change is told.
    static void getRampParmFromDefault(ZEL_Parm &parm, const char *text);
    /// Writes the text that getRampParmFromDefault() reads: "" for a ramp in a block whose name has
    /// no "#", as the tokens of its children don't begin with the prefix.
    static void setRampDefaultFromParm(std::ostream &os, const ZEL_Parm &parm);
    ///@}

private:
    static void setParmValue(ValueData value);
};

/// The host's basis of an interpolation type; constant for a number that is none.
ZEL_API KIT_SPLINE_BASIS ZELgetRampBasis(int interpType);

/// And back; constant for a basis that no type has.
ZEL_API ZEL_RampInterpType ZELgetRampInterp(KIT_SPLINE_BASIS basis);
