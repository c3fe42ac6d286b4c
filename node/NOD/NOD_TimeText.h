/// \file NOD_TimeText.h
/// Times and ranges of frames as people write them: `1.5`, `1.5s`, `36f`, `1:97`, `1:97:12`.
///
/// Vocabulary: a number, or one with an `s` behind it, is seconds; one with an `f` is a frame.
/// Units:      seconds, and frames from 1, at the process's frame rate (TRK_Manager), which is that of
///             the current scene.
/// Threads:    any.
#pragma once

#include <NOD/NOD_API.h>

#include <cstdint>
#include <string>

/// False, and nothing set, unless all of the text is a finite time.
NOD_API bool NODreadTime(const std::string &text, double &seconds);

/// Times one after another.
struct NOD_API NOD_FrameRange
{
    static constexpr std::int64_t theMost = 10000000;

    double first = 1.0; ///< a frame
    double step = 1.0;
    std::int64_t count = 1;

    double getFrame(std::int64_t place) const { return first + double(place) * step; }
    double getTime(std::int64_t place) const;
    /// `A:B` or `A:B:STEP`, B being included. Why it is neither, or has no frames or more than theMost; ""
    /// if it is set.
    std::string read(const std::string &text);
};
