#include <KIT/KIT_Ramp.h>

#include <KIT/KIT_ColorConvert.h>

#include <algorithm>
#include <cmath>

namespace
{

/// NaN positions come last: sorting needs an order.
bool isBefore(float left, float right)
{
    return left < right || (std::isnan(right) && !std::isnan(left));
}

void copyColor(const KIT_RampNode &node, float rgba[4])
{
    rgba[0] = node.red;
    rgba[1] = node.green;
    rgba[2] = node.blue;
    rgba[3] = node.alpha;
}

// -------------------------------------------------------------------- //
// The colours around a segment, in the space they are blended in
// -------------------------------------------------------------------- //

bool hasHue(KIT_ColorType type)
{
    return type == KIT_COLORTYPE_HSL || type == KIT_COLORTYPE_HSV;
}

/// By components: values[c][k] is component c of the segment's key k.
using Colors = double[3][4];

void readColors(const KIT_RampNode *const keys[4], Colors colors)
{
    for (int k = 0; k < 4; k++) {
        colors[0][k] = double(keys[k]->red);
        colors[1][k] = double(keys[k]->green);
        colors[2][k] = double(keys[k]->blue);
    }
}

/// Greys take the hue of the key next to them, the segment's own keys first; then each hue is moved
/// by whole turns to be nearest to the one before it.
void alignHues(Colors colors)
{
    double *const hues = colors[0];
    const double *const saturations = colors[1];
    constexpr int beside[4][3] = {{1, 2, 3}, {2, 0, 3}, {1, 3, 0}, {2, 1, 0}};
    double taken[4];
    for (int k = 0; k < 4; k++) {
        taken[k] = hues[k];
        for (int i = 0; i < 3 && saturations[k] == 0.0; i++) {
            if (saturations[beside[k][i]] != 0.0) {
                taken[k] = hues[beside[k][i]];
                break;
            }
        }
    }
    hues[1] = taken[1];
    hues[0] = hues[1] + std::remainder(taken[0] - hues[1], 1.0);
    hues[2] = hues[1] + std::remainder(taken[2] - hues[1], 1.0);
    hues[3] = hues[2] + std::remainder(taken[3] - hues[2], 1.0);
}

/// Converts into the space if it can represent all colours; returns the space used.
KIT_ColorType convertColors(KIT_ColorType type, Colors colors)
{
    Colors converted;
    for (int k = 0; k < 4; k++) {
        const double rgb[3] = {colors[0][k], colors[1][k], colors[2][k]};
        if (!KITisColorInSpace(type, rgb)) {
            return KIT_COLORTYPE_RGB;
        }
        double out[3];
        KITcolorFromRGB(type, rgb, out);
        for (int c = 0; c < 3; c++) {
            converted[c][k] = out[c];
        }
    }
    std::copy(&converted[0][0], &converted[0][0] + 12, &colors[0][0]);
    if (hasHue(type)) {
        alignHues(colors);
    }
    return type;
}

} // namespace

// -------------------------------------------------------------------- //
// Nodes
// -------------------------------------------------------------------- //

bool KIT_Ramp::insertNode(int index, float position, const float rgba[4], KIT_SPLINE_BASIS basis,
                          bool select)
{
    if (index < 0 || index > getNodeCount()) {
        return false;
    }
    const KIT_RampNode node{position, rgba[0], rgba[1], rgba[2], rgba[3], basis};
    if (myNodes.insert(node, index) < 0) {
        return false;
    }
    if (select) {
        mySelected = index;
    } else if (mySelected >= index) {
        mySelected++;
    }
    return true;
}

bool KIT_Ramp::removeNode(int index)
{
    if (!myNodes.removeIndex(index)) {
        return false;
    }
    if (mySelected == index) {
        mySelected = -1;
    } else if (mySelected > index) {
        mySelected--;
    }
    return true;
}

int KIT_Ramp::moveNode(int index, float position)
{
    if (!myNodes.isValidIndex(index)) {
        return -1;
    }
    const int last = getNodeCount() - 1;
    if (myStrictOrderFlag) {
        if (index > 0 && isBefore(position, myNodes[index - 1].position)) {
            position = myNodes[index - 1].position;
        }
        if (index < last && isBefore(myNodes[index + 1].position, position)) {
            position = myNodes[index + 1].position;
        }
    }
    myNodes[index].position = position;

    const auto swapWith = [&](int other) {
        std::swap(myNodes[index], myNodes[other]);
        if (mySelected == index) {
            mySelected = other;
        } else if (mySelected == other) {
            mySelected = index;
        }
        index = other;
    };
    while (index > 0 && isBefore(position, myNodes[index - 1].position)) {
        swapWith(index - 1);
    }
    while (index < last && isBefore(myNodes[index + 1].position, position)) {
        swapWith(index + 1);
    }
    return index;
}

void KIT_Ramp::reorderNodes()
{
    const KIT_RampNode *const first = myNodes.begin();
    // Counted before the sort: the nodes with smaller positions, and equal ones with smaller
    // indices.
    if (mySelected >= 0) {
        const float position = myNodes[mySelected].position;
        int rank = 0;
        for (int i = 0; i < getNodeCount(); i++) {
            const bool behind = isBefore(position, first[i].position);
            rank += isBefore(first[i].position, position) || (i < mySelected && !behind) ? 1 : 0;
        }
        mySelected = rank;
    }
    std::stable_sort(myNodes.begin(), myNodes.end(),
                     [](const KIT_RampNode &left, const KIT_RampNode &right) {
                         return isBefore(left.position, right.position);
                     });
}

void KIT_Ramp::clearAndDestroy()
{
    myNodes.clear();
    mySelected = -1;
}

// -------------------------------------------------------------------- //
// Evaluation
// -------------------------------------------------------------------- //

/// The last node that isn't after the position; -1 before the first.
int KIT_Ramp::findSegment(float position) const
{
    const KIT_RampNode *const found = std::upper_bound(
        myNodes.begin(), myNodes.end(), position,
        [](float at, const KIT_RampNode &node) { return isBefore(at, node.position); });
    return static_cast<int>(found - myNodes.begin()) - 1;
}

/// Whether the value at the position is the node's own, without any curve.
bool KIT_Ramp::isPlainAt(int index, float position) const
{
    const KIT_RampNode &node = myNodes[index];
    if (index + 1 >= getNodeCount() || node.basis == KIT_BASIS_CONSTANT ||
        !(myNodes[index + 1].position > node.position) || !std::isfinite(node.position) ||
        !std::isfinite(myNodes[index + 1].position)) {
        return true;
    }
    const bool insideSpline = index > 0 && node.basis == KIT_BASIS_BSPLINE &&
                              myNodes[index - 1].basis == KIT_BASIS_BSPLINE;
    return position == node.position && !insideSpline;
}

KIT_RampSegment KIT_Ramp::segmentAt(int index, int nodes[4]) const
{
    const int last = getNodeCount() - 1;
    const KIT_SPLINE_BASIS basis = myNodes[index].basis;
    const bool spline = basis == KIT_BASIS_BSPLINE;
    KIT_RampSegment segment;
    segment.basis = basis;
    segment.beforeFlag = index > 0 && std::isfinite(myNodes[index - 1].position) &&
                         (!spline || myNodes[index - 1].basis == basis);
    segment.behindFlag = index + 2 <= last && std::isfinite(myNodes[index + 2].position) &&
                         (!spline || myNodes[index + 1].basis == basis);
    nodes[0] = segment.beforeFlag ? index - 1 : index;
    nodes[1] = index;
    nodes[2] = index + 1;
    nodes[3] = segment.behindFlag ? index + 2 : index + 1;
    for (int k = 0; k < 4; k++) {
        segment.positions[k] = double(myNodes[nodes[k]].position);
    }
    return segment;
}

void KIT_Ramp::evaluate(float position, float rgba[4]) const
{
    if (myNodes.entries() == 0) {
        std::fill(rgba, rgba + 4, 0.0f);
        return;
    }
    const int index = std::max(findSegment(position), 0);
    if (isPlainAt(index, position) || position < myNodes[index].position) {
        copyColor(myNodes[index], rgba);
        return;
    }
    int nodes[4];
    const KIT_RampSegment segment = segmentAt(index, nodes);
    const KIT_RampNode *const keys[4] = {&myNodes[nodes[0]], &myNodes[nodes[1]], &myNodes[nodes[2]],
                                         &myNodes[nodes[3]]};
    Colors colors;
    readColors(keys, colors);
    const KIT_ColorType space = convertColors(myColorType, colors);
    double blended[3];
    for (int c = 0; c < 3; c++) {
        blended[c] = KITevalRampSegment(segment, colors[c], double(position));
    }
    KITcolorToRGB(space, blended, blended);
    for (int c = 0; c < 3; c++) {
        rgba[c] = static_cast<float>(blended[c]);
    }
    rgba[3] = evaluateFloat(position);
}

float KIT_Ramp::evaluateFloat(float position) const
{
    if (myNodes.entries() == 0) {
        return 0.0f;
    }
    const int index = std::max(findSegment(position), 0);
    if (isPlainAt(index, position) || position < myNodes[index].position) {
        return myNodes[index].alpha;
    }
    int nodes[4];
    const KIT_RampSegment segment = segmentAt(index, nodes);
    const double alphas[4] = {double(myNodes[nodes[0]].alpha), double(myNodes[nodes[1]].alpha),
                              double(myNodes[nodes[2]].alpha), double(myNodes[nodes[3]].alpha)};
    return static_cast<float>(KITevalRampSegment(segment, alphas, double(position)));
}
