/// \file NOD_RampPicture.h
/// A ramp as a picture, with its keys: a curve for numbers, a band for colours.
///
/// Units:      as in the ramp, from the first to the last position or from 0 to 1, whichever is more.
/// Threads:    any.
/// Errors:     none: what is no finite number isn't drawn.
#pragma once

#include <NOD/NOD_API.h>

#include <string>

class KIT_Ramp;

/// An SVG document with a line end. The colours are a gradient of that name, of which a page may have one.
NOD_API std::string NODdrawRamp(const KIT_Ramp &ramp, bool colorFlag, const std::string &title,
                                const std::string &gradient = "band");
