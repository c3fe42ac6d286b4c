#include <KIT/KIT_RampBasis.h>

#include <cmath>

namespace
{

/// Widths and slopes of the three stretches between the four keys. A stretch that doesn't exist, or
/// is a jump, has width 0 and contributes no slope.
struct Stretches
{
    double widths[3];
    double slopes[3];
};

Stretches stretchesOf(const KIT_RampSegment &segment, const double values[4])
{
    const bool there[3] = {segment.beforeFlag, true, segment.behindFlag};
    Stretches out;
    for (int i = 0; i < 3; i++) {
        const double width = segment.positions[i + 1] - segment.positions[i];
        const bool usable = there[i] && width > 0.0;
        out.widths[i] = usable ? width : 0.0;
        out.slopes[i] = usable ? (values[i + 1] - values[i]) / width : 0.0;
    }
    return out;
}

/// The cubic with these values and slopes at its ends, `t` from 0 to 1.
double cubic(double from, double to, double slopeFrom, double slopeTo, double width, double t)
{
    const double t2 = t * t;
    const double t3 = t2 * t;
    const double fromWeight = 2.0 * t3 - 3.0 * t2 + 1.0;
    return fromWeight * from + (1.0 - fromWeight) * to +
           width * ((t3 - 2.0 * t2 + t) * slopeFrom + (t3 - t2) * slopeTo);
}

// The slope functions take, for a key, the stretch that is evaluated (`own`), the one on the key's
// other side (`next`, of width 0 at the end of the ramp), and the one beyond the segment's other
// key (`far`).

struct Stretch
{
    double width;
    double slope;
};

double catmullRomSlope(const Stretch &own, const Stretch &next)
{
    const double width = own.width + next.width;
    return (own.slope * own.width + next.slope * next.width) / width;
}

/// The slope of the parabola through three keys, at the end of `own` that is away from `other`.
double endSlope(const Stretch &own, const Stretch &other)
{
    if (other.width == 0.0) {
        return own.slope;
    }
    return ((2.0 * own.width + other.width) * own.slope - own.width * other.slope) /
           (own.width + other.width);
}

double hermiteSlope(const Stretch &own, const Stretch &next, const Stretch &far)
{
    if (next.width == 0.0) {
        return endSlope(own, far);
    }
    return (next.width * own.slope + own.width * next.slope) / (own.width + next.width);
}

double monotoneSlope(const Stretch &own, const Stretch &next, const Stretch &far)
{
    if (next.width == 0.0) {
        const double slope = endSlope(own, far);
        // Above three times the segment's own slope a cubic overshoots the values of its keys.
        const double least = std::fmin(0.0, 3.0 * own.slope);
        const double most = std::fmax(0.0, 3.0 * own.slope);
        return std::fmin(std::fmax(slope, least), most);
    }
    if (!(own.slope * next.slope > 0.0)) {
        return 0.0;
    }
    const double ownWeight = own.width + 2.0 * next.width;
    const double nextWeight = 2.0 * own.width + next.width;
    return (ownWeight + nextWeight) / (ownWeight / own.slope + nextWeight / next.slope);
}

double bspline(const KIT_RampSegment &segment, const double values[4], double t)
{
    const double before = segment.beforeFlag ? values[0] : 2.0 * values[1] - values[2];
    const double behind = segment.behindFlag ? values[3] : 2.0 * values[2] - values[1];
    const double s = 1.0 - t;
    const double t2 = t * t;
    const double s2 = s * s;
    return (s2 * s * before + (4.0 - 6.0 * t2 + 3.0 * t2 * t) * values[1] +
            (4.0 - 6.0 * s2 + 3.0 * s2 * s) * values[2] + t2 * t * behind) /
           6.0;
}

} // namespace

double KITevalRampSegment(const KIT_RampSegment &segment, const double values[4], double position)
{
    const Stretches around = stretchesOf(segment, values);
    const Stretch before{around.widths[0], around.slopes[0]};
    const Stretch own{around.widths[1], around.slopes[1]};
    const Stretch behind{around.widths[2], around.slopes[2]};
    const double t = own.width > 0.0 ? (position - segment.positions[1]) / own.width : 0.0;
    const auto between = [&](double slopeFrom, double slopeTo) {
        return cubic(values[1], values[2], slopeFrom, slopeTo, own.width, t);
    };

    switch (segment.basis) {
    case KIT_BASIS_CONSTANT: return values[1];
    case KIT_BASIS_LINEAR: return values[1] + (values[2] - values[1]) * t;
    case KIT_BASIS_CATMULL_ROM:
        return between(catmullRomSlope(own, before), catmullRomSlope(own, behind));
    case KIT_BASIS_MONOTONE_CUBIC:
        return between(monotoneSlope(own, before, behind), monotoneSlope(own, behind, before));
    case KIT_BASIS_BEZIER: return between(0.0, 0.0);
    case KIT_BASIS_BSPLINE: return bspline(segment, values, t);
    case KIT_BASIS_HERMITE:
        return between(hermiteSlope(own, before, behind), hermiteSlope(own, behind, before));
    }
    return values[1];
}
