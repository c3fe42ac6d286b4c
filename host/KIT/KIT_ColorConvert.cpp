#include <KIT/KIT_ColorConvert.h>

#include <algorithm>
#include <cmath>

namespace
{

struct Triple
{
    double a, b, c;
};

void store(const Triple &in, double out[3])
{
    out[0] = in.a;
    out[1] = in.b;
    out[2] = in.c;
}

// -------------------------------------------------------------------- //
// Hue
// -------------------------------------------------------------------- //

/// In turns, 0 for a grey.
double hueOf(const double rgb[3], double most, double chroma)
{
    if (!(chroma > 0.0)) {
        return 0.0;
    }
    double sixths = 0.0;
    if (rgb[0] == most) {
        sixths = (rgb[1] - rgb[2]) / chroma;
    } else if (rgb[1] == most) {
        sixths = (rgb[2] - rgb[0]) / chroma + 2.0;
    } else {
        sixths = (rgb[0] - rgb[1]) / chroma + 4.0;
    }
    // A hue just below 0 may round to a whole turn.
    const double turns = sixths < 0.0 ? sixths / 6.0 + 1.0 : sixths / 6.0;
    return turns < 1.0 ? turns : 0.0;
}

/// The share of the chroma that a primary gets, whose hue is `offset` sixths of a turn.
double shareOf(double hue, double offset)
{
    const double sixths = 6.0 * (hue - std::floor(hue));
    const double away = std::fabs(std::remainder(sixths - offset, 6.0));
    return std::clamp(2.0 - away, 0.0, 1.0);
}

Triple fromHue(double hue, double least, double chroma)
{
    return {least + chroma * shareOf(hue, 0.0), least + chroma * shareOf(hue, 2.0),
            least + chroma * shareOf(hue, 4.0)};
}

Triple toHSV(const double rgb[3])
{
    const double most = std::max({rgb[0], rgb[1], rgb[2]});
    const double chroma = most - std::min({rgb[0], rgb[1], rgb[2]});
    return {hueOf(rgb, most, chroma), most != 0.0 ? chroma / most : 0.0, most};
}

Triple fromHSV(const double hsv[3])
{
    const double chroma = hsv[1] * hsv[2];
    return fromHue(hsv[0], hsv[2] - chroma, chroma);
}

Triple toHSL(const double rgb[3])
{
    const double most = std::max({rgb[0], rgb[1], rgb[2]});
    const double least = std::min({rgb[0], rgb[1], rgb[2]});
    const double widest = 1.0 - std::fabs(most + least - 1.0);
    return {hueOf(rgb, most, most - least), widest != 0.0 ? (most - least) / widest : 0.0,
            (most + least) / 2.0};
}

Triple fromHSL(const double hsl[3])
{
    const double chroma = (1.0 - std::fabs(2.0 * hsl[2] - 1.0)) * hsl[1];
    return fromHue(hsl[0], hsl[2] - chroma / 2.0, chroma);
}

// -------------------------------------------------------------------- //
// CIE
// -------------------------------------------------------------------- //

constexpr double theToXYZ[3][3] = {
    {0.4124, 0.3576, 0.1805},
    {0.2126, 0.7152, 0.0722},
    {0.0193, 0.1192, 0.9505},
};

double determinant(const double m[3][3])
{
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

Triple toXYZ(const double rgb[3])
{
    const auto row = [&](int i) {
        return theToXYZ[i][0] * rgb[0] + theToXYZ[i][1] * rgb[1] + theToXYZ[i][2] * rgb[2];
    };
    return {row(0), row(1), row(2)};
}

/// The matrix's exact inverse, by Cramer's rule: the rounded inverse published with it isn't exact.
Triple fromXYZ(const double xyz[3])
{
    const auto with = [&](int column) {
        double m[3][3];
        for (int i = 0; i < 3; i++) {
            for (int j = 0; j < 3; j++) {
                m[i][j] = j == column ? xyz[i] : theToXYZ[i][j];
            }
        }
        return determinant(m) / determinant(theToXYZ);
    };
    return {with(0), with(1), with(2)};
}

constexpr double theEpsilon = 216.0 / 24389.0;
constexpr double theKappa = 24389.0 / 27.0;

double labCurve(double t)
{
    return t > theEpsilon ? std::cbrt(t) : (theKappa * t + 16.0) / 116.0;
}

double labCurveBack(double f)
{
    const double cube = f * f * f;
    return cube > theEpsilon ? cube : (116.0 * f - 16.0) / theKappa;
}

Triple white()
{
    const double rgb[3] = {1.0, 1.0, 1.0};
    return toXYZ(rgb);
}

Triple toLab(const double rgb[3])
{
    const Triple at = toXYZ(rgb);
    const Triple of = white();
    const double x = labCurve(at.a / of.a);
    const double y = labCurve(at.b / of.b);
    const double z = labCurve(at.c / of.c);
    return {116.0 * y - 16.0, 500.0 * (x - y), 200.0 * (y - z)};
}

Triple fromLab(const double lab[3])
{
    const Triple of = white();
    const double y = (lab[0] + 16.0) / 116.0;
    const double xyz[3] = {of.a * labCurveBack(y + lab[1] / 500.0), of.b * labCurveBack(y),
                           of.c * labCurveBack(y - lab[2] / 200.0)};
    return fromXYZ(xyz);
}

} // namespace

bool KITisColorInSpace(KIT_ColorType type, const double rgb[3])
{
    const auto all = [&](auto holds) { return holds(rgb[0]) && holds(rgb[1]) && holds(rgb[2]); };
    switch (type) {
    case KIT_COLORTYPE_HSL: return all([](double c) { return c >= 0.0 && c <= 1.0; });
    case KIT_COLORTYPE_HSV: return all([](double c) { return c >= 0.0 && std::isfinite(c); });
    default: return all([](double c) { return std::isfinite(c); });
    }
}

void KITcolorFromRGB(KIT_ColorType type, const double rgb[3], double out[3])
{
    switch (type) {
    case KIT_COLORTYPE_HSL: store(toHSL(rgb), out); break;
    case KIT_COLORTYPE_HSV: store(toHSV(rgb), out); break;
    case KIT_COLORTYPE_XYZ: store(toXYZ(rgb), out); break;
    case KIT_COLORTYPE_LAB: store(toLab(rgb), out); break;
    default: store({rgb[0], rgb[1], rgb[2]}, out); break;
    }
}

void KITcolorToRGB(KIT_ColorType type, const double in[3], double rgb[3])
{
    switch (type) {
    case KIT_COLORTYPE_HSL: store(fromHSL(in), rgb); break;
    case KIT_COLORTYPE_HSV: store(fromHSV(in), rgb); break;
    case KIT_COLORTYPE_XYZ: store(fromXYZ(in), rgb); break;
    case KIT_COLORTYPE_LAB: store(fromLab(in), rgb); break;
    default: store({in[0], in[1], in[2]}, rgb); break;
    }
}
