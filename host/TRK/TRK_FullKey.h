/// \file TRK_FullKey.h
/// All data of one key: values, slopes and accelerations on both sides, and the expression
/// of the segment that starts there.
///
/// Vocabulary: *in* = the side before the key (the end of the segment before); *out* = the side
///             after it (the start of the segment after).
/// Units:      time in seconds; slope in value per second; acceleration is the length in seconds
///             of the curve's handle on that side, 0 for one third of the segment.
/// Ownership:  a plain value.

#pragma once

#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Types.h>

struct TRK_KeySide
{
    double value = 0.0;
    double slope = 0.0;
    double acceleration = 0.0;
};

struct TRK_FullKey
{
    double time = 0.0;
    TRK_KeySide in;
    TRK_KeySide out;
    KIT_StringHolder expression; ///< null: that of the segment that is split, else "bezier()"
    TRK_ExprLanguage language = TRK_LANGUAGE_NATIVE;
};
