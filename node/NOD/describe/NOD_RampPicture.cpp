#include <NOD/NOD_RampPicture.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_Ramp.h>
#include <NOD/describe/NOD_PageTextPrivate.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

namespace
{

// The plot, in the units of the picture.
constexpr double theLeft = 56.0;
constexpr double theTop = 16.0;
constexpr double theWidth = 560.0;
constexpr double theCurveHeight = 200.0;
constexpr double theBandHeight = 56.0;
constexpr int theSteps = 160;

// ---------------------------------------------------------------------- //
// What is drawn
// ---------------------------------------------------------------------- //

struct Span
{
    double low;
    double high;

    void include(double value)
    {
        if (std::isfinite(value)) {
            low = std::min(low, value);
            high = std::max(high, value);
        }
    }
    double share(double value) const { return (value - low) / (high - low); }
    /// Of what may be empty, or a single place.
    void widen()
    {
        if (!(low < high)) {
            const double middle = std::isfinite(low) ? low : 0.0;
            *this = {middle - 0.5, middle + 0.5};
        }
    }
    static Span nothing()
    {
        return {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    }
};

using Points = std::vector<NOD_PlotPoint>;

/// So that the span of two numbers is a number.
double bounded(double value)
{
    constexpr double theEnd = 1e300;
    return std::isfinite(value) ? std::clamp(value, -theEnd, theEnd) : value;
}

Span positionsOf(const KIT_Ramp &ramp)
{
    Span span{0.0, 1.0};
    for (int i = 0; i < ramp.getNodeCount(); ++i) {
        span.include(double(ramp.getNode(i)->position));
    }
    return span;
}

/// Even steps, and both sides of every key, where a curve may jump.
std::vector<float> samplesOf(const KIT_Ramp &ramp, const Span &span)
{
    std::vector<float> samples;
    for (int i = 0; i <= theSteps; ++i) {
        samples.push_back(float(span.low + (span.high - span.low) * i / theSteps));
    }
    for (int i = 0; i < ramp.getNodeCount(); ++i) {
        const float position = ramp.getNode(i)->position;
        if (std::isfinite(position)) {
            const float before = std::nextafter(position, -std::numeric_limits<float>::infinity());
            samples.push_back(std::max(before, float(span.low)));
            samples.push_back(position);
        }
    }
    std::sort(samples.begin(), samples.end());
    samples.erase(std::unique(samples.begin(), samples.end()), samples.end());
    return samples;
}

NOD_PlotCurve curveOf(const KIT_Ramp &ramp, const Span &positions)
{
    NOD_PlotCurve curve;
    for (const float sample : samplesOf(ramp, positions)) {
        curve.points.push_back({double(sample), double(ramp.evaluateFloat(sample))});
    }
    for (int i = 0; i < ramp.getNodeCount(); ++i) {
        curve.keys.push_back({double(ramp.getNode(i)->position), double(ramp.getNode(i)->alpha)});
    }
    return curve;
}

// ---------------------------------------------------------------------- //
// SVG
// ---------------------------------------------------------------------- //

std::string digits(double value)
{
    return KIT_Digits(value).buffer();
}

/// To a hundredth: finer than what is seen.
std::string coordinate(double value)
{
    return digits(std::round(value * 100.0) / 100.0 + 0.0);
}

/// Light as a screen's byte, by the curve of IEC 61966-2-1.
int screenByte(float light)
{
    const double linear = light > 0.0f ? std::min(double(light), 1.0) : 0.0;
    const double coded =
        linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
    return int(std::lround(coded * 255.0));
}

std::string screenColor(const float rgb[3])
{
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", unsigned(screenByte(rgb[0])),
                  unsigned(screenByte(rgb[1])), unsigned(screenByte(rgb[2])));
    return text;
}

std::string label(double x, double y, const char *anchor, double value)
{
    return "<text x=\"" + coordinate(x) + "\" y=\"" + coordinate(y) + "\" text-anchor=\"" + anchor +
           "\">" + coordinate(value) + "</text>\n";
}

double across(const Span &positions, double position)
{
    return theLeft + theWidth * positions.share(position);
}

double up(const Span &values, double value)
{
    return theTop + theCurveHeight * (1.0 - values.share(value));
}

std::string openPicture(const std::string &title, double plotHeight, double bottom)
{
    const std::string width = coordinate(theLeft + theWidth + 24.0);
    const std::string height = coordinate(theTop + plotHeight + bottom);
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "\" height=\"" + height +
           "\" viewBox=\"0 0 " + width + " " + height +
           "\" font-family=\"sans-serif\" font-size=\"11\" fill=\"#555\">\n<title>" +
           NODhtmlText(title) + "</title>\n<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
}

std::string frame(double height, const std::string &fill)
{
    return "<rect x=\"" + coordinate(theLeft) + "\" y=\"" + coordinate(theTop) + "\" width=\"" +
           coordinate(theWidth) + "\" height=\"" + coordinate(height) + "\" fill=\"" + fill +
           "\" stroke=\"#bbb\"/>\n";
}

std::string drawLine(const Points &points, const Span &positions, const Span &values,
                     const char *color)
{
    std::string path;
    bool penDown = false;
    for (const NOD_PlotPoint &point : points) {
        const bool drawn = std::isfinite(point.position) && std::isfinite(point.value);
        if (drawn) {
            path += (penDown ? "L" : "M") + coordinate(across(positions, point.position)) + " " +
                    coordinate(up(values, point.value)) + " ";
        }
        penDown = drawn;
    }
    return "<path fill=\"none\" stroke=\"" + std::string(color) + "\" stroke-width=\"2\" d=\"" +
           path + "\"/>\n";
}

std::string drawKeys(const Points &keys, const Span &positions, const Span &values)
{
    std::string out;
    for (const NOD_PlotPoint &key : keys) {
        if (std::isfinite(key.position) && std::isfinite(key.value)) {
            out += "<circle cx=\"" + coordinate(across(positions, key.position)) + "\" cy=\"" +
                   coordinate(up(values, key.value)) +
                   "\" r=\"4\" fill=\"#fff\" stroke=\"#cc4422\" stroke-width=\"2\"/>\n";
        }
    }
    return out;
}

std::string drawCurves(const std::vector<NOD_PlotCurve> &curves, const Span &positions,
                       const std::string &title)
{
    // The first is that of a ramp.
    static const char *const theColors[] = {"#2266aa", "#aa2222", "#228833", "#886600"};
    Span values = Span::nothing();
    for (const NOD_PlotCurve &curve : curves) {
        for (const Points &points : {curve.points, curve.keys}) {
            for (const NOD_PlotPoint &point : points) {
                values.include(point.value);
            }
        }
    }
    values.widen();
    std::string out = openPicture(title, theCurveHeight, 28.0) + frame(theCurveHeight, "#fafafa");
    for (std::size_t i = 0; i < curves.size(); ++i) {
        out += drawLine(curves[i].points, positions, values, theColors[i % 4]);
    }
    for (const NOD_PlotCurve &curve : curves) {
        out += drawKeys(curve.keys, positions, values);
    }
    out += label(theLeft - 6.0, theTop + theCurveHeight + 4.0, "end", values.low) +
           label(theLeft - 6.0, theTop + 4.0, "end", values.high) +
           label(theLeft, theTop + theCurveHeight + 18.0, "middle", positions.low) +
           label(theLeft + theWidth, theTop + theCurveHeight + 18.0, "middle", positions.high);
    return out + "</svg>\n";
}

std::string drawBand(const std::string &title, const KIT_Ramp &ramp, const std::string &gradient)
{
    const Span positions = positionsOf(ramp);
    std::string out = openPicture(title, theBandHeight, 36.0);
    out += "<linearGradient id=\"" + gradient + "\">\n";
    for (const float sample : samplesOf(ramp, positions)) {
        float rgba[4];
        ramp.evaluate(sample, rgba);
        const double share = std::round(positions.share(double(sample)) * 1e4) / 1e4;
        out +=
            "<stop offset=\"" + digits(share) + "\" stop-color=\"" + screenColor(rgba) + "\"/>\n";
    }
    out += "</linearGradient>\n" + frame(theBandHeight, "url(#" + gradient + ")");
    for (int i = 0; i < ramp.getNodeCount(); ++i) {
        const KIT_RampNode &node = *ramp.getNode(i);
        const float rgb[3] = {node.red, node.green, node.blue};
        if (std::isfinite(node.position)) {
            out += "<path d=\"M" + coordinate(across(positions, double(node.position))) + " " +
                   coordinate(theTop + theBandHeight + 1.0) + "l-6 12h12z\" fill=\"" +
                   screenColor(rgb) + "\" stroke=\"#555\"/>\n";
        }
    }
    out += label(theLeft, theTop + theBandHeight + 28.0, "middle", positions.low) +
           label(theLeft + theWidth, theTop + theBandHeight + 28.0, "middle", positions.high);
    return out + "</svg>\n";
}

} // namespace

std::string NODdrawRamp(const KIT_Ramp &ramp, bool colorFlag, const std::string &title,
                        const std::string &gradient)
{
    if (colorFlag) {
        return drawBand(title, ramp, gradient);
    }
    const Span positions = positionsOf(ramp);
    return drawCurves({curveOf(ramp, positions)}, positions, title);
}

std::string NODdrawCurves(std::vector<NOD_PlotCurve> curves, const std::string &title)
{
    Span positions = Span::nothing();
    for (NOD_PlotCurve &curve : curves) {
        for (Points *const points : {&curve.points, &curve.keys}) {
            for (NOD_PlotPoint &point : *points) {
                point = {bounded(point.position), bounded(point.value)};
                positions.include(point.position);
            }
        }
    }
    positions.widen();
    return drawCurves(curves, positions, title);
}

double NODrampNumber(float value)
{
    char text[32];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, value);
    double number = 0.0;
    BASparseFloat(text, std::size_t(end.ptr - text), number);
    return number;
}

std::string NODscreenColor(const KIT_Ramp &ramp, float position)
{
    float rgba[4];
    ramp.evaluate(position, rgba);
    return screenColor(rgba);
}
