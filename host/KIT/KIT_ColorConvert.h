/// \file KIT_ColorConvert.h
/// Colours between red, green, blue and the spaces that a ramp can blend in.
///
/// Units:      red, green and blue are linear light with the primaries and the white (D65) of ITU-R
///             BT.709, 1 being white. Hue counts turns, from 0 up to 1; saturation, lightness and
///             value are 0 to 1; X, Y, Z have Y = 1 for white; L* is 0 to 100.
/// Threads:    any; pure functions.
/// Errors:     none. A hue is 0 where there is none.
///
/// | space | formulas |
/// |---|---|
/// | HSV | A. R. Smith, "Color gamut transform pairs", 1978 (hexcone) |
/// | HSL | G. H. Joblove, D. Greenberg, "Color spaces for computer graphics", 1978 (double hexcone) |
/// | XYZ | the matrix of IEC 61966-2-1 for linear light |
/// | L*a*b* | CIE 1976, over that matrix, with its exact constants 216/24389 and 24389/27 |
#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ColorType.h>

/// Whether the space can represent the colour, so that converting there and back keeps it: HSL from
/// 0 to 1, HSV nothing negative, the others all finite colours.
KIT_API bool KITisColorInSpace(KIT_ColorType type, const double rgb[3]);

/// `rgb` converted to the space. The arrays may be the same one.
KIT_API void KITcolorFromRGB(KIT_ColorType type, const double rgb[3], double out[3]);

/// The inverse. A hue may be any number of turns.
KIT_API void KITcolorToRGB(KIT_ColorType type, const double in[3], double rgb[3]);
