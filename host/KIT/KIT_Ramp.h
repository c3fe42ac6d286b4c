/// \file KIT_Ramp.h
/// A curve or a band of colour over positions, given by keys.
///
/// Vocabulary: *node* = a key: position, colour, and the basis of the curve to the next one;
///             *float ramp* = one whose values stand in the alpha places; *strict order* = nodes
///             that are moved stop at their neighbours instead of passing them.
/// Units:      positions are usually 0 to 1, any float is allowed; colours are red, green, blue,
///             alpha. Indices from 0, -1 for none.
/// Ownership:  owns its nodes. A pointer to a node holds until the next change.
/// Threads:    one thread at a time; evaluation from any number beside each other.
/// Errors:     an index outside changes nothing and answers null, -1 or false.
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
    /// Puts a node before the one at the index, or behind the last. It may make it the selected
    /// one. Positions aren't looked at: see reorderNodes().
    bool insertNode(int index, float position, const float rgba[4], KIT_SPLINE_BASIS basis,
                    bool select);
    bool removeNode(int index);
    /// Changes a node's position and keeps the order. Answers where the node is now.
    int moveNode(int index, float position);
    /// Sorts by position; nodes at one position stay in their order, nodes at none (NaN) come last.
    void reorderNodes();
    /// Removes all nodes; order and colour type stay.
    void clearAndDestroy();

    int getSelectedNode() const { return mySelected; }
    void clearSelection() { mySelected = -1; }

    // ---------------------------------------------------------------- //
    /// \name Settings
    // ---------------------------------------------------------------- //
    /// The space that colours are blended in; at first KIT_COLORTYPE_RGB.
    KIT_ColorType getColorType() const { return myColorType; }
    void setColorType(KIT_ColorType type) { myColorType = type; }
    bool getStrictOrder() const { return myStrictOrderFlag; }
    void setStrictOrder(bool on) { myStrictOrderFlag = on; }

    // ---------------------------------------------------------------- //
    /// \name Evaluation   (the nodes being in order)
    // ---------------------------------------------------------------- //
    /// The colour at a position. Before the first node and behind the last it is theirs; where
    /// nodes share a position, that of the last of them; zero everywhere without nodes. At a node
    /// it is the node's to the bit, unless it is one inside a B-spline.
    ///
    /// Hues go the shorter way round, and a grey has the hue of its neighbour. Where a colour next
    /// to a segment has no place in the space (KITisColorInSpace), the segment blends in RGB.
    /// Alpha is blended as it is.
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
