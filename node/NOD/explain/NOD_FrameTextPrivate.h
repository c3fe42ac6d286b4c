/// \file NOD_FrameTextPrivate.h
/// Times as frames, for people.
///
/// Units:  seconds in, frames out: the first is at 0 s.
#pragma once

#include <TRK/TRK_Interval.h>

#include <cmath>
#include <string>

/// To a millionth.
inline std::string NODframeText(double time, double frameRate)
{
    constexpr double theDigits = 1e6;
    const double frame = std::round((time * frameRate + 1.0) * theDigits) / theDigits;
    return fmt::format("{}", frame);
}

inline std::string NODframesText(const TRK_Interval &held, double frameRate)
{
    const std::string first = NODframeText(held.first, frameRate);
    const std::string last = NODframeText(held.last, frameRate);
    if (!std::isfinite(held.first)) {
        return "until frame " + last;
    }
    return std::isfinite(held.last) ? "from frame " + first + " to " + last
                                    : "from frame " + first + " on";
}
