/// \file NOD_RampPicture.h
/// Ramps and channels as pictures, with their keys: curves for numbers, a band for colours.
///
/// Units:      of a ramp as in it, from the first to the last position or from 0 to 1, whichever is more; of curves
///             those of the points, from the first to the last.
/// Threads:    any.
/// Errors:     none: what is no finite number isn't drawn.
#pragma once

#include <NOD/NOD_API.h>

#include <string>
#include <vector>

class KIT_Ramp;

struct NOD_PlotPoint
{
    double position;
    double value;
};

struct NOD_PlotCurve
{
    std::vector<NOD_PlotPoint> points; ///< in the order of their positions
    std::vector<NOD_PlotPoint> keys;
};

/// An SVG document with a line end. The colours are a gradient of that name, of which a page may have one.
NOD_API std::string NODdrawRamp(const KIT_Ramp &ramp, bool colorFlag, const std::string &title,
                                const std::string &gradient = "band");

/// The same of any curves; a point whose value is no finite number is a gap.
NOD_API std::string NODdrawCurves(std::vector<NOD_PlotCurve> curves, const std::string &title);

/// A number of a ramp, a 32-bit float, as the double of the fewest digits: 0.8, not 0.800000011920929.
NOD_API double NODrampNumber(float value);

/// A ramp's colour as screens have it: "#ffe0c0".
NOD_API std::string NODscreenColor(const KIT_Ramp &ramp, float position);
