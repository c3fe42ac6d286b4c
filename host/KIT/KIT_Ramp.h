/// \file KIT_Ramp.h
/// A curve or a colour gradient over positions, defined by keys.
///
/// Vocabulary: *node* = a key: position, colour, and the basis of the curve to the next one;
///             *float ramp* = one whose values are in the alpha channel; *strict order* = nodes
///             that are moved stop at their neighbours instead of passing them.
/// Units:      positions are usually 0 to 1, any float is allowed; colours are red, green, blue,
///             alpha. Indices from 0, -1 for none.
/// Ownership:  owns its nodes. A pointer to a node is valid until the next change.
/// Threads:    one thread at a time; evaluation from any number of threads at once.
/// Errors:     an index outside the nodes changes nothing and returns null, -1 or false.
/// Cost:       evaluate() is a binary search and at most four conversions of colour; no heap.
#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ColorType.h>
#include <KIT/KIT_RampBasis.h>
#include <KIT/KIT_ValArray.h>

struct KIT_RampNode
{
    float position = 0.0f;
    float red = 0.0f;
    float green = 0.0f;
    float blue = 0.0f;
    float alpha = 0.0f;
    KIT_SPLINE_BASIS basis = KIT_BASIS_CONSTANT;
};

class KIT_API KIT_Ramp
{
public:
    // ---------------------------------------------------------------- //
    /// \name Nodes
    // ---------------------------------------------------------------- //
    int getNodeCount() const { return static_cast<int>(myNodes.entries()); }
    const KIT_RampNode *getNode(int index) const
    {
        return myNodes.isValidIndex(index) ? &myNodes[index] : nullptr;
    }
    /// Inserts a node before the one at the index, or after the last. It can become the selected
    /// one. Positions aren't checked: see reorderNodes().
    bool insertNode(int index, float position, const float rgba[4], KIT_SPLINE_BASIS basis,
                    bool select);
    bool removeNode(int index);
    /// Changes a node's position and keeps the order. Returns the node's new index.
    int moveNode(int index, float position);
    /// Sorts by position; nodes at equal positions keep their order, NaN positions come last.
    void reorderNodes();
    /// Removes all nodes; order and colour type stay.
    void clearAndDestroy();

    int getSelectedNode() const { return mySelected; }
    void clearSelection() { mySelected = -1; }

    // ---------------------------------------------------------------- //
    /// \name Settings
    // ---------------------------------------------------------------- //
    /// The space that colours are blended in; initially KIT_COLORTYPE_RGB.
    KIT_ColorType getColorType() const { return myColorType; }
    void setColorType(KIT_ColorType type) { myColorType = type; }
    bool getStrictOrder() const { return myStrictOrderFlag; }
    void setStrictOrder(bool on) { myStrictOrderFlag = on; }

    // ---------------------------------------------------------------- //
    /// \name Evaluation   (nodes must be in order)
    // ---------------------------------------------------------------- //
    /// The colour at a position. Before the first node and after the last it is theirs; where
    /// nodes share a position, that of the last of them; zero everywhere without nodes. At a node
    /// it is exactly the node's, unless the node is inside a B-spline run.
    ///
    /// Hues take the shorter way round, and a grey takes the hue of its neighbour. Where a colour
    /// next to a segment can't be represented in the space (KITisColorInSpace), the segment blends
    /// in RGB. Alpha is blended directly.
    void evaluate(float position, float rgba[4]) const;
    /// The value of a float ramp at a position, by the same rules.
    float evaluateFloat(float position) const;

private:
    int findSegment(float position) const;
    bool isPlainAt(int index, float position) const;
    KIT_RampSegment segmentAt(int index, int nodes[4]) const;

    KIT_ValArray<KIT_RampNode> myNodes;
    KIT_ColorType myColorType = KIT_COLORTYPE_RGB;
    int mySelected = -1;
    bool myStrictOrderFlag = false;
};
