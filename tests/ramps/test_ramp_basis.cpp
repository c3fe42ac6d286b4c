// The host's ramp: the curves between keys, the spaces colours are blended in, the order of nodes.

#include <KIT/KIT_ColorConvert.h>
#include <KIT/KIT_Ramp.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

namespace
{

constexpr KIT_SPLINE_BASIS theBases[] = {
    KIT_BASIS_CONSTANT, KIT_BASIS_LINEAR,  KIT_BASIS_CATMULL_ROM, KIT_BASIS_MONOTONE_CUBIC,
    KIT_BASIS_BEZIER,   KIT_BASIS_BSPLINE, KIT_BASIS_HERMITE,
};
constexpr float theNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float theInfinity = std::numeric_limits<float>::infinity();

struct At
{
    float position;
    float value;
};

void append(KIT_Ramp &ramp, float position, float value, KIT_SPLINE_BASIS basis)
{
    const float rgba[4] = {value, value, value, value};
    ramp.insertNode(ramp.getNodeCount(), position, rgba, basis, false);
}

KIT_Ramp makeRamp(KIT_SPLINE_BASIS basis, const std::vector<At> &keys)
{
    KIT_Ramp ramp;
    for (const At &key : keys) {
        append(ramp, key.position, key.value, basis);
    }
    return ramp;
}

void appendColor(KIT_Ramp &ramp, float position, float red, float green, float blue)
{
    const float rgba[4] = {red, green, blue, 1.0f};
    ramp.insertNode(ramp.getNodeCount(), position, rgba, KIT_BASIS_LINEAR, false);
}

/// "0.5 0.25 1", to three places.
std::string colorAt(const KIT_Ramp &ramp, float position)
{
    float rgba[4];
    ramp.evaluate(position, rgba);
    std::string text;
    for (int i = 0; i < 3; i++) {
        char number[32];
        std::snprintf(number, sizeof number, "%s%.3g", i > 0 ? " " : "",
                      std::round(double(rgba[i]) * 1000.0) / 1000.0 + 0.0);
        text += number;
    }
    return text;
}

std::string positions(const KIT_Ramp &ramp)
{
    std::string text;
    for (int i = 0; i < ramp.getNodeCount(); i++) {
        const KIT_RampNode &node = *ramp.getNode(i);
        text += (i > 0 ? " " : "") + std::to_string(int(node.alpha)) + "@" +
                (std::isnan(node.position) ? "nan" : std::to_string(int(node.position)));
    }
    return text;
}

const std::vector<At> theUneven = {{0.0f, 0.2f}, {0.1f, 0.9f}, {0.55f, -3.0f},
                                   {0.6f, 4.0f}, {0.8f, 4.0f}, {1.0f, 0.1f}};

} // namespace

TEST(RampBasis, CurvesPassThroughTheirKeys)
{
    for (const KIT_SPLINE_BASIS basis : theBases) {
        const KIT_Ramp ramp = makeRamp(basis, theUneven);
        for (std::size_t i = 0; i < theUneven.size(); i++) {
            SCOPED_TRACE("basis " + std::to_string(basis) + ", key " + std::to_string(i));
            const At &key = theUneven[i];
            const bool end = i == 0 || i + 1 == theUneven.size();
            if (basis == KIT_BASIS_BSPLINE && !end) {
                continue;
            }
            EXPECT_EQ(key.value, ramp.evaluateFloat(key.position));
            // Not the key alone: the curves on both sides of it end at the same value.
            const float before = ramp.evaluateFloat(key.position - 1e-5f);
            const float behind = ramp.evaluateFloat(key.position + 1e-5f);
            EXPECT_NEAR(key.value, behind, 5e-3);
            if (basis != KIT_BASIS_CONSTANT) {
                EXPECT_NEAR(key.value, before, 5e-3);
            } else if (i > 0) {
                EXPECT_EQ(theUneven[i - 1].value, before);
            }
        }
    }
}

TEST(RampBasis, NumbersBetweenKeys)
{
    const std::vector<At> even = {{0.0f, 1.0f}, {1.0f, 0.0f}, {2.0f, 4.0f}, {3.0f, 2.0f}};
    const std::tuple<KIT_SPLINE_BASIS, std::vector<At>, float, double> cases[] = {
        {KIT_BASIS_CONSTANT, even, 1.99f, 0.0},
        {KIT_BASIS_LINEAR, even, 1.25f, 1.0},
        // Four even keys: (-p0 + 9 p1 + 9 p2 - p3) / 16 half way.
        {KIT_BASIS_CATMULL_ROM, even, 1.5f, 33.0 / 16.0},
        {KIT_BASIS_HERMITE, even, 1.5f, 33.0 / 16.0},
        // The first segment's slopes are -1 and 1.5.
        {KIT_BASIS_CATMULL_ROM, even, 0.5f, 0.5 + (-1.0 - 1.5) / 8.0},
        // Uneven: the slope at 1 is that of the chord from 0 to 3.
        {KIT_BASIS_CATMULL_ROM, {{0, 0}, {1, 3}, {3, 6}}, 0.5f, 1.5 + (3.0 - 2.0) / 8.0},
        {KIT_BASIS_BEZIER, even, 1.25f, 4.0 * 0.15625},
        {KIT_BASIS_BEZIER, even, 1.5f, 2.0},
        // Key 2 is a peak: level there; the harmonic mean of 1 and 4 at key 1 is 1.6.
        {KIT_BASIS_MONOTONE_CUBIC, {{0, 0}, {1, 1}, {2, 5}, {3, 1}}, 1.5f, 3.0 + 1.6 / 8.0},
        // Uneven: 9 / (5 / 1 + 4 / 2) at key 1, and 2 / 3 by the parabola at key 0.
        {KIT_BASIS_MONOTONE_CUBIC,
         {{0, 0}, {1, 1}, {3, 5}},
         0.5f,
         0.5 + (2.0 / 3.0 - 9.0 / 7.0) / 8.0},
        // The parabola gives 6.5 at key 0; the limit is three times the segment's own slope.
        {KIT_BASIS_MONOTONE_CUBIC, {{0, 0}, {1, 1}, {2, -9}}, 0.5f, 0.5 + 3.0 / 8.0},
        {KIT_BASIS_BSPLINE, even, 1.0f, (1.0 + 0.0 + 4.0) / 6.0},
        {KIT_BASIS_BSPLINE, even, 1.5f, (1.0 + 23.0 * 4.0 + 2.0) / 48.0},
        // One segment by itself is the line between its keys.
        {KIT_BASIS_BSPLINE, {{0, 1}, {1, 3}}, 0.25f, 1.5},
        // A number that is no basis.
        {KIT_SPLINE_BASIS(4), even, 1.75f, 0.0},
    };
    for (const auto &[basis, keys, position, value] : cases) {
        EXPECT_NEAR(value, makeRamp(basis, keys).evaluateFloat(position), 1e-6)
            << "basis " << basis << " at " << position;
    }
}

TEST(RampBasis, WhatEachBasisReproduces)
{
    // Uneven keys on a line and on a parabola.
    const float at[] = {-1.0f, -0.5f, 0.75f, 1.0f, 3.0f};
    std::vector<At> line;
    std::vector<At> parabola;
    for (const float x : at) {
        line.push_back({x, 2.0f * x + 1.0f});
        parabola.push_back({x, x * x - x});
    }
    for (float x = -1.0f; x <= 3.0f; x += 0.0625f) {
        for (const KIT_SPLINE_BASIS basis : {KIT_BASIS_LINEAR, KIT_BASIS_CATMULL_ROM,
                                             KIT_BASIS_MONOTONE_CUBIC, KIT_BASIS_HERMITE}) {
            EXPECT_NEAR(2.0f * x + 1.0f, makeRamp(basis, line).evaluateFloat(x), 1e-5)
                << "basis " << basis << " at " << x;
        }
        EXPECT_NEAR(x * x - x, makeRamp(KIT_BASIS_HERMITE, parabola).evaluateFloat(x), 1e-5) << x;
    }
}

TEST(RampBasis, MonotoneStaysMonotone)
{
    const std::vector<At> steps = {{0.0f, 0.0f},  {0.1f, 0.01f}, {0.15f, 0.9f}, {0.5f, 0.9f},
                                   {0.9f, 0.91f}, {0.95f, 3.0f}, {1.0f, 3.0f}};
    const auto falls = [&](KIT_SPLINE_BASIS basis) {
        const KIT_Ramp ramp = makeRamp(basis, steps);
        int count = 0;
        for (int i = 1; i <= 2000; i++) {
            const float step = 1.0f / 2000.0f;
            count += ramp.evaluateFloat(float(i) * step) <
                             ramp.evaluateFloat(float(i - 1) * step) - 1e-6f
                         ? 1
                         : 0;
        }
        return count;
    };
    EXPECT_EQ(0, falls(KIT_BASIS_MONOTONE_CUBIC));
    EXPECT_EQ(0, falls(KIT_BASIS_BEZIER));
    EXPECT_GT(falls(KIT_BASIS_CATMULL_ROM), 0) << "the keys ask for something";
    EXPECT_GT(falls(KIT_BASIS_HERMITE), 0);

    // Such curves leave the range of their keys at peaks and ends.
    const KIT_Ramp peaks = makeRamp(KIT_BASIS_MONOTONE_CUBIC, theUneven);
    for (std::size_t i = 1; i < theUneven.size(); i++) {
        const At &from = theUneven[i - 1];
        const At &to = theUneven[i];
        for (int k = 0; k <= 100; k++) {
            const float x = from.position + (to.position - from.position) * float(k) / 100.0f;
            EXPECT_GE(peaks.evaluateFloat(x), std::min(from.value, to.value) - 1e-5f) << x;
            EXPECT_LE(peaks.evaluateFloat(x), std::max(from.value, to.value) + 1e-5f) << x;
        }
    }
}

TEST(RampBasis, NeighboursOfAnotherBasisMeetAtTheKey)
{
    const KIT_SPLINE_BASIS mixed[] = {KIT_BASIS_LINEAR,  KIT_BASIS_BSPLINE, KIT_BASIS_BSPLINE,
                                      KIT_BASIS_HERMITE, KIT_BASIS_BSPLINE, KIT_BASIS_LINEAR};
    KIT_Ramp ramp;
    for (std::size_t i = 0; i < theUneven.size(); i++) {
        append(ramp, theUneven[i].position, theUneven[i].value, mixed[i]);
    }
    for (std::size_t i = 1; i + 1 < theUneven.size(); i++) {
        const float x = theUneven[i].position;
        EXPECT_NEAR(ramp.evaluateFloat(x - 1e-5f), ramp.evaluateFloat(x + 1e-5f), 6e-3) << i;
        if (i != 2) {
            EXPECT_EQ(theUneven[i].value, ramp.evaluateFloat(x)) << "key " << i << " ends a run";
        }
    }
    EXPECT_GT(std::fabs(theUneven[2].value - ramp.evaluateFloat(theUneven[2].position)), 0.1f);
}

TEST(RampBasis, OutsideCoincidentAndMissingKeys)
{
    EXPECT_EQ(0.0f, KIT_Ramp().evaluateFloat(0.5f));
    float rgba[4] = {9.0f, 9.0f, 9.0f, 9.0f};
    KIT_Ramp().evaluate(0.5f, rgba);
    EXPECT_EQ(0.0f, rgba[0] + rgba[3]);
    for (const KIT_SPLINE_BASIS basis : theBases) {
        EXPECT_EQ(7.0f, makeRamp(basis, {{0.5f, 7.0f}}).evaluateFloat(0.1f));
        const KIT_Ramp ramp =
            makeRamp(basis, {{0.2f, 1.0f}, {0.5f, 2.0f}, {0.5f, 5.0f}, {0.5f, 6.0f}, {0.8f, 8.0f}});
        EXPECT_EQ(1.0f, ramp.evaluateFloat(-theInfinity));
        EXPECT_EQ(1.0f, ramp.evaluateFloat(0.0f));
        EXPECT_EQ(8.0f, ramp.evaluateFloat(2.0f));
        for (const float x : {0.3f, 0.5f, 0.6f}) {
            EXPECT_TRUE(std::isfinite(ramp.evaluateFloat(x))) << "basis " << basis << " at " << x;
        }
        if (basis != KIT_BASIS_BSPLINE) {
            EXPECT_EQ(6.0f, ramp.evaluateFloat(0.5f)) << "the last one of them";
        }
    }
    // A position that is no number, asked for or in a key, still gives a value.
    KIT_Ramp odd =
        makeRamp(KIT_BASIS_HERMITE, {{theNaN, 1.0f}, {-theInfinity, 2.0f}, {0.0f, 3.0f}});
    odd.reorderNodes();
    odd.setColorType(KIT_COLORTYPE_HSL);
    for (const float x : {theNaN, -1.0f, 0.0f, 1.0f}) {
        odd.evaluate(x, rgba);
    }
    EXPECT_EQ(3.0f, odd.evaluateFloat(0.5f)) << "nothing behind a key is no curve";
    for (const KIT_SPLINE_BASIS basis : theBases) {
        const KIT_Ramp endless = makeRamp(
            basis, {{-theInfinity, 1.0f}, {0.0f, 2.0f}, {1.0f, 3.0f}, {theInfinity, 4.0f}});
        for (const float x : {-1.0f, 0.0f, 0.5f, 2.0f}) {
            EXPECT_TRUE(std::isfinite(endless.evaluateFloat(x))) << basis << " at " << x;
        }
    }
}

TEST(RampColors, KnownColorsInEachSpace)
{
    using Color = std::array<double, 3>;
    const std::tuple<KIT_ColorType, Color, Color> cases[] = {
        {KIT_COLORTYPE_HSV, {1.0, 0.5, 0.0}, {1.0 / 12.0, 1.0, 1.0}},
        {KIT_COLORTYPE_HSV, {0.1, 0.1, 0.4}, {4.0 / 6.0, 0.75, 0.4}},
        {KIT_COLORTYPE_HSV, {0.5, 0.0, 0.25}, {11.0 / 12.0, 1.0, 0.5}},
        {KIT_COLORTYPE_HSV, {1.0, 0.0, 1e-17}, {0.0, 1.0, 1.0}},
        {KIT_COLORTYPE_HSL, {1.0, 0.5, 0.0}, {1.0 / 12.0, 1.0, 0.5}},
        {KIT_COLORTYPE_HSL, {0.5, 1.0, 0.5}, {2.0 / 6.0, 1.0, 0.75}},
        {KIT_COLORTYPE_HSL, {0.3, 0.3, 0.3}, {0.0, 0.0, 0.3}},
        {KIT_COLORTYPE_XYZ, {1.0, 1.0, 1.0}, {0.9505, 1.0, 1.089}},
        {KIT_COLORTYPE_LAB, {1.0, 1.0, 1.0}, {100.0, 0.0, 0.0}},
        {KIT_COLORTYPE_LAB, {1.0, 0.0, 0.0}, {53.2408, 80.0925, 67.2032}},
        {KIT_COLORTYPE_LAB, {0.0, 0.0, 1.0}, {32.2970, 79.1875, -107.8602}},
        {KIT_COLORTYPE_RGB, {0.1, 0.2, 0.3}, {0.1, 0.2, 0.3}},
    };
    for (const auto &[type, rgb, in] : cases) {
        double there[3];
        double back[3];
        KITcolorFromRGB(type, rgb.data(), there);
        KITcolorToRGB(type, in.data(), back);
        for (std::size_t i = 0; i < 3; i++) {
            // Published values of L*a*b* come from a matrix with different last digits.
            const double tolerance = type == KIT_COLORTYPE_LAB ? 0.03 : 1e-9;
            EXPECT_NEAR(in[i], there[i], tolerance) << type << ", component " << i;
            EXPECT_NEAR(rgb[i], back[i], tolerance / 100.0) << type << ", component " << i;
        }
    }
}

TEST(RampColors, ThereAndBackKeepsAColor)
{
    int inside = 0;
    for (int type = 0; type <= KIT_COLORTYPE_LAB; type++) {
        for (int i = 0; i < 6 * 6 * 6; i++) {
            const double steps[] = {-0.25, 0.0, 1e-3, 0.5, 1.0, 6.0};
            const double rgb[3] = {steps[i % 6], steps[i / 6 % 6], steps[i / 36]};
            if (!KITisColorInSpace(KIT_ColorType(type), rgb)) {
                continue;
            }
            double both[3];
            KITcolorFromRGB(KIT_ColorType(type), rgb, both);
            KITcolorToRGB(KIT_ColorType(type), both, both);
            for (int c = 0; c < 3; c++) {
                EXPECT_NEAR(rgb[c], both[c], 1e-9) << "type " << type << ", color " << i;
            }
            inside++;
        }
    }
    EXPECT_EQ(64 + 125 + 3 * 216, inside);
}

TEST(RampColors, BlendedInTheSpace)
{
    using Color = std::array<float, 3>;
    const std::tuple<KIT_ColorType, Color, Color, const char *, const char *> cases[] = {
        {KIT_COLORTYPE_RGB, {1, 0, 0}, {0, 1, 0}, "0.5 0.5 0", "plain"},
        {KIT_COLORTYPE_XYZ, {1, 0, 0}, {0, 1, 0}, "0.5 0.5 0", "the space is linear in light"},
        {KIT_COLORTYPE_HSV, {1, 0, 0}, {0, 1, 0}, "1 1 0", "over yellow"},
        {KIT_COLORTYPE_HSV, {1, 0, 0}, {1, 0, 1}, "1 0 0.5", "the shorter way"},
        {KIT_COLORTYPE_HSV, {1, 0, 1}, {1, 0.5f, 0}, "1 0 0.25", "and over the seam"},
        {KIT_COLORTYPE_HSV, {1, 1, 1}, {0, 0, 1}, "0.5 0.5 1", "white has its neighbour's hue"},
        {KIT_COLORTYPE_HSV, {0, 0, 1}, {0, 0, 0}, "0.25 0.25 0.5", "and black"},
        {KIT_COLORTYPE_HSL, {0, 0, 0}, {0, 1, 0}, "0.125 0.375 0.125", "lightness and saturation"},
        {KIT_COLORTYPE_HSL, {2, 0, 0}, {0, 0, 1}, "1 0 0.5", "no place for it: plain"},
        {KIT_COLORTYPE_HSV, {-1, 0, 0}, {0, 0, 1}, "-0.5 0 0.5", "nor for this"},
        {KIT_COLORTYPE_LAB, {0, 0, 0}, {1, 1, 1}, "0.184 0.184 0.184", "L* of 50"},
    };
    for (const auto &[type, from, to, middle, why] : cases) {
        KIT_Ramp ramp;
        ramp.setColorType(type);
        appendColor(ramp, 0.0f, from[0], from[1], from[2]);
        appendColor(ramp, 1.0f, to[0], to[1], to[2]);
        EXPECT_EQ(middle, colorAt(ramp, 0.5f)) << why;
        float rgba[4];
        ramp.evaluate(1.0f, rgba);
        EXPECT_EQ(to[2], rgba[2]) << "to the bit at a key";
        EXPECT_EQ(1.0f, rgba[3]);
    }
}

TEST(RampColors, HuesGoOnInOneDirection)
{
    // Three tenths of a turn from key to key: hues change evenly, past the seam of the hue circle.
    for (const KIT_SPLINE_BASIS basis :
         {KIT_BASIS_CATMULL_ROM, KIT_BASIS_MONOTONE_CUBIC, KIT_BASIS_BSPLINE, KIT_BASIS_HERMITE}) {
        KIT_Ramp ramp;
        ramp.setColorType(KIT_COLORTYPE_HSV);
        for (int i = 0; i < 6; i++) {
            const double hsv[3] = {0.3 * i, 1.0, 1.0};
            double rgb[3];
            KITcolorToRGB(KIT_COLORTYPE_HSV, hsv, rgb);
            const float rgba[4] = {float(rgb[0]), float(rgb[1]), float(rgb[2]), 1.0f};
            ramp.insertNode(i, float(i), rgba, basis, false);
        }
        for (float x = 0.0f; x < 5.0f; x += 0.25f) {
            float rgba[4];
            ramp.evaluate(x, rgba);
            const double rgb[3] = {double(rgba[0]), double(rgba[1]), double(rgba[2])};
            double hsv[3];
            KITcolorFromRGB(KIT_COLORTYPE_HSV, rgb, hsv);
            EXPECT_NEAR(0.0, std::remainder(hsv[0] - 0.3 * double(x), 1.0), 1e-5)
                << "basis " << basis << " at " << x;
        }
    }
}

TEST(RampNodes, OrderAndSelection)
{
    KIT_Ramp ramp = makeRamp(KIT_BASIS_LINEAR, {{3, 1}, {theNaN, 2}, {1, 3}, {3, 4}, {2, 5}});
    const float rgba[4] = {};
    EXPECT_FALSE(ramp.insertNode(6, 0.0f, rgba, KIT_BASIS_LINEAR, true));
    EXPECT_FALSE(ramp.insertNode(-1, 0.0f, rgba, KIT_BASIS_LINEAR, true));
    EXPECT_FALSE(ramp.removeNode(5));
    EXPECT_EQ(-1, ramp.moveNode(5, 0.0f));
    EXPECT_EQ(nullptr, ramp.getNode(5));
    EXPECT_EQ(nullptr, ramp.getNode(-1));
    EXPECT_EQ(-1, ramp.getSelectedNode());

    ramp.removeNode(3);
    const float four[4] = {0, 0, 0, 4};
    ramp.insertNode(3, 3.0f, four, KIT_BASIS_LINEAR, true);
    ramp.reorderNodes();
    EXPECT_EQ("3@1 5@2 1@3 4@3 2@nan", positions(ramp)) << "equal ones keep their order";
    EXPECT_EQ(3, ramp.getSelectedNode()) << "still node 4";
    EXPECT_EQ(0, ramp.moveNode(3, 0.0f));
    EXPECT_EQ(0, ramp.getSelectedNode());
    EXPECT_EQ(2, ramp.moveNode(1, 2.5f)) << "a node passes those behind which it now is";
    EXPECT_EQ("4@0 5@2 3@2 1@3 2@nan", positions(ramp));

    ramp.setStrictOrder(true);
    EXPECT_EQ(1, ramp.moveNode(1, 9.0f)) << "or stops at its neighbour";
    EXPECT_EQ(3, ramp.moveNode(3, -9.0f));
    EXPECT_EQ("4@0 5@2 3@2 1@2 2@nan", positions(ramp));
    ramp.insertNode(0, -1.0f, rgba, KIT_BASIS_LINEAR, false);
    EXPECT_EQ(1, ramp.getSelectedNode());
    ramp.removeNode(0);
    EXPECT_EQ(0, ramp.getSelectedNode());
    ramp.clearAndDestroy();
    EXPECT_EQ(-1, ramp.getSelectedNode());
    EXPECT_EQ(0, ramp.getNodeCount());
    EXPECT_TRUE(ramp.getStrictOrder());

    // So many that an unstable sort wouldn't keep their order by chance.
    for (int i = 0; i < 100; i++) {
        append(ramp, float(i % 2), float(i), KIT_BASIS_LINEAR);
    }
    ramp.reorderNodes();
    for (int i = 0; i < 100; i++) {
        EXPECT_EQ(float(i < 50 ? 2 * i : 2 * (i - 50) + 1), ramp.getNode(i)->alpha) << i;
    }
}
