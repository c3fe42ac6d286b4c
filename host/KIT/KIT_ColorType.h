/// \file KIT_ColorType.h
/// The colour spaces that a ramp can blend in.

#pragma once

/// A colour space. Its number is stored: append only.
enum KIT_ColorType : int
{
    KIT_COLORTYPE_HSL = 0, ///< hue, saturation, lightness
    KIT_COLORTYPE_HSV = 1, ///< hue, saturation, value
    KIT_COLORTYPE_RGB = 2, ///< red, green, blue
    KIT_COLORTYPE_XYZ = 3, ///< CIE tristimulus values
    KIT_COLORTYPE_LAB = 4  ///< CIE lightness and two opponent colours
};
