/// \file KIT_RampBasis.h
/// The curves between the keys of a ramp.
///
/// Vocabulary: *segment* = the stretch between two keys, shaped by the basis of the first;
///             *slope* = value per position; *run* = neighbouring segments of one basis.
/// Threads:    any; pure functions.
/// Errors:     none. A basis that is none of these is constant.
/// Cost:       a few dozen floating-point operations.
///
/// | basis | slope at a key | passes through its keys |
/// |---|---|---|
/// | constant | none: the first key's value all along | yes, and jumps at the second |
/// | linear | none | yes |
/// | Catmull-Rom | that of the chord from the key before to the key after | yes |
/// | monotone cubic | weighted harmonic mean of the slopes on both sides, 0 at a peak (F. N.
/// Fritsch, J. Butland, 1984) | yes, never beyond their values |
/// | Bezier | level handles, a third of the segment long | yes, never beyond their values |
/// | B-spline | uniform cubic over the keys' values, doubled by reflection at the ends of a run |
/// only at the ends of a run |
/// | Hermite | that of the parabola through the key and its neighbours (Bessel) | yes |
///
/// At a first or last key, Catmull-Rom takes the slope of the segment itself, Hermite that of the
/// parabola through the three keys next to it, the monotone one the same, limited so that no value
/// is overshot.
#pragma once

#include <BAS/BAS_API.h>

#include <cstdint>

/// The shape of a segment. Its number is stored: append only. 4 is none of them.
enum KIT_SPLINE_BASIS : int32_t
{
    KIT_BASIS_CONSTANT = 0,
    KIT_BASIS_LINEAR = 1,
    KIT_BASIS_CATMULL_ROM = 2,
    KIT_BASIS_MONOTONE_CUBIC = 3,
    KIT_BASIS_BEZIER = 5,
    KIT_BASIS_BSPLINE = 6,
    KIT_BASIS_HERMITE = 7
};

/// A segment from key 1 to key 2, with the keys before and after it. The positions don't decrease,
/// and those of 1 and 2 differ.
struct KIT_RampSegment
{
    KIT_SPLINE_BASIS basis = KIT_BASIS_CONSTANT;
    bool beforeFlag = false; ///< key 0 exists (for a B-spline: and starts one)
    bool behindFlag = false; ///< key 3 exists (for a B-spline: key 2 starts one)
    double positions[4] = {};
};

/// The value at a position within the segment, from the values of its keys.
KIT_API double KITevalRampSegment(const KIT_RampSegment &segment, const double values[4],
                                  double position);
