/// \file TRK_Interpolate.h
/// The curves between two keys.
///
/// Vocabulary: *u* = the time within the segment as a fraction of its length, 0 to 1.
/// Units:      times in seconds, slopes in value per second, handle lengths in seconds.
///             Every curve takes the same arguments, whether it uses them or not: u, the segment's
///             length, then value, slope and handle length at the start and at the end.
/// Threads:    pure functions.
/// Cost:       constant for all but the Bezier curve with handles, which solves for its parameter.
///
/// Sources of the formulas:
/// - cubic: Hermite form, C. de Boor, "A Practical Guide to Splines", Springer 1978, chapter IV;
/// - Bezier: G. Farin, "Curves and Surfaces for Computer Aided Geometric Design", Academic Press,
///   chapter 4; the parameter at a time by safeguarded Newton steps, W. Press et al., "Numerical
///   Recipes", Cambridge University Press, section 9.4 (Newton with bisection);
/// - ease: the cubic 3u^2 - 2u^3, D. Ebert et al., "Texturing and Modeling", Academic Press,
///   chapter 2.

#pragma once

#include <cmath>

/// The value at the start.
inline double TRKinterpolateConstant(double, double, double v0, double, double, double, double,
                                     double)
{
    return v0;
}

/// The straight line from \p v0 to \p v1.
inline double TRKinterpolateLinear(double u, double, double v0, double, double, double v1, double,
                                   double)
{
    return v0 + (v1 - v0) * u;
}

/// Slow start, slow end.
inline double TRKinterpolateEase(double u, double, double v0, double, double, double v1, double,
                                 double)
{
    return v0 + (v1 - v0) * (u * u * (3.0 - 2.0 * u));
}

/// Hermite cubic through two values with two slopes over \p length seconds.
inline double TRKinterpolateCubic(double u, double length, double v0, double s0, double, double v1,
                                  double s1, double)
{
    const double w = 1.0 - u;
    const double h01 = u * u * (3.0 - 2.0 * u);
    return v0 + (v1 - v0) * h01 + length * u * w * (s0 * w - s1 * u);
}

/// The parameter of the Bezier curve with the times 0, \p x1, \p x2, 1 at the time \p u.
/// \p x1 and \p x2 must be in 0 to 1, which makes the curve's time monotonic.
inline double TRKsolveBezierTime(double u, double x1, double x2)
{
    const double c = 3.0 * x1;
    const double b = 3.0 * (x2 - x1) - c;
    const double a = 1.0 - c - b;
    double low = 0.0;
    double high = 1.0;
    double t = u;
    for (int step = 0; step < 64; ++step) {
        const double x = ((a * t + b) * t + c) * t - u;
        if (std::fabs(x) <= 1e-15) {
            break;
        }
        (x > 0.0 ? high : low) = t;
        const double slope = (3.0 * a * t + 2.0 * b) * t + c;
        double next = slope > 1e-12 ? t - x / slope : low - 1.0;
        if (!(next > low && next < high)) {
            next = 0.5 * (low + high);
        }
        if (next == t) {
            break;
        }
        t = next;
    }
    return t;
}

/// Bezier curve in time and value. The first handle ends \p a0 seconds after the start, on the
/// line of slope \p s0; the second \p a1 seconds before the end, on the line of slope \p s1.
/// A length of 0 means one third of the segment; lengths beyond the segment are clamped to it. With
/// both at one third the curve is the Hermite cubic.
inline double TRKinterpolateBezier(double u, double length, double v0, double s0, double a0,
                                   double v1, double s1, double a1)
{
    if (a0 == 0.0 && a1 == 0.0) {
        return TRKinterpolateCubic(u, length, v0, s0, a0, v1, s1, a1);
    }
    const double third = length / 3.0;
    a0 = a0 == 0.0 ? third : std::fmin(std::fmax(a0, 0.0), length);
    a1 = a1 == 0.0 ? third : std::fmin(std::fmax(a1, 0.0), length);
    const double t = TRKsolveBezierTime(u, a0 / length, 1.0 - a1 / length);
    const double w = 1.0 - t;
    const double p1 = v0 + s0 * a0;
    const double p2 = v1 - s1 * a1;
    return ((v0 * w + 3.0 * p1 * t) * w + 3.0 * p2 * t * t) * w + v1 * t * t * t;
}
