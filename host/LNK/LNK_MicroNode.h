/// \file LNK_MicroNode.h
/// A node of the dependency graph that represents one value.
///
/// Vocabulary: *input* = a node that this one depends on; *output* = a node that depends on this
///             one; *dirty* = out of date since some input changed; *time dependent* = must be
///             recomputed when the time changes; *context option* = a named setting of one
///             evaluation (see LNK_ContextOptionDeps.h).
/// Ownership:  nodes own no other node. Destroying a node unlinks it from both sides.
/// Threads:    the two flags are single bytes that any thread reads and writes, a lost update costs
///             one recomputation. Edges and the names of context options may be added and read from
///             any thread. Clear a node's inputs or destroy it from one thread only, not while
///             another propagates dirtiness through it or evaluates its value.
/// Errors:     none.
/// Cost:       a fresh node uses no heap. Adding an input searches this node's inputs.
///             propagateDirty() visits each reachable node once.

#pragma once

#include <BAS/BAS_API.h>
#include <BAS/BAS_Relaxed.h>
#include <KIT/KIT_Array.h>
#include <KIT/KIT_SmallObject.h>
#include <LNK/LNK_ContextOptionDeps.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

class KIT_API LNK_MicroNode : public KIT_SmallObject<>
{
public:
    /// Called by propagateDirty() for each node that it made dirty.
    using DirtyCallback = std::function<void(LNK_MicroNode &)>;

    LNK_MicroNode() = default;
    LNK_MicroNode(const LNK_MicroNode &) = delete;
    LNK_MicroNode &operator=(const LNK_MicroNode &) = delete;

    // ---------------------------------------------------------------- //
    /// \name Slots   (in their order in the table)
    // ---------------------------------------------------------------- //
    virtual ~LNK_MicroNode();
    /// The class's name. Base: "LNK_MicroNode".
    virtual const char *className() const;
    /// Removes all inputs, on both sides, and the names of context options. An override calls the
    /// base.
    virtual void clearInputs();
    /// Appends the inputs in the order they were added.
    virtual void getInputs(KIT_Array<LNK_MicroNode *> &inputs) const;
    /// Appends the outputs in the order they were added. Propagation calls it, so an override must
    /// not start a propagation itself.
    virtual void getOutputs(KIT_Array<LNK_MicroNode *> &outputs) const;
    /// Bytes of the edges and names, and of the node when `inclusive`.
    virtual int64_t getMemoryUsage(bool inclusive) const;
    /// Writes the node as text, indented by twice the level: `label: className`, then the words
    /// `dirty` and `timedep` if they apply, and one line for each input. A null label is omitted.
    virtual void dump(std::ostream &stream, const char *label, int level) const;
    /// Brings the node up to date. Base: clears the dirty flag.
    virtual void update();
    /// Whether update() has work to do. Base: isDirty().
    virtual bool requiresUpdate() const;
    /// Called when propagation has made the node dirty. Base: does nothing.
    virtual void becameDirty();

    // ---------------------------------------------------------------- //
    /// \name Marks
    // ---------------------------------------------------------------- //
    bool isDirty() const { return BASload(myDirty) != 0; }
    /// Sets the flag; with `propagate`, setting it also propagates to all outputs as
    /// propagateDirty().
    void setDirty(bool dirty, bool propagate);
    bool isTimeDependent() const { return BASload(myTimeDependent) != 0; }
    void setTimeDependent(bool timeDependent)
    {
        BASstoreIfDifferent<uint8_t>(myTimeDependent, timeDependent ? 1 : 0);
    }

    // ---------------------------------------------------------------- //
    /// \name Edges
    // ---------------------------------------------------------------- //
    /// Adds an edge. False, with no change, for an edge that exists or would lead to the node
    /// itself.
    bool addExplicitInput(LNK_MicroNode &input);
    /// Removes one edge; false if there is none.
    bool removeInput(LNK_MicroNode &input);
    int64_t getNumInputs() const;
    int64_t getNumOutputs() const;

    // ---------------------------------------------------------------- //
    /// \name Context options
    // ---------------------------------------------------------------- //
    void addContextOptionDep(const KIT_StringRef &name);
    bool hasContextOptionDeps() const
    {
        return LNKgetContextOptionDepsFromPtr(myContextOptionDeps) != nullptr;
    }
    /// Replaces `names` by the added ones, sorted.
    void getContextOptionDeps(KIT_StringArray &names) const
    {
        LNKlistContextOptionDeps(myContextOptionDeps, names);
    }
    void clearContextOptionDeps();

    // ---------------------------------------------------------------- //
    /// \name Propagation, and the graph as text
    // ---------------------------------------------------------------- //
    /// Makes this node and every node reachable through outputs dirty, and calls `callback` (which
    /// may be empty) on each of them once, this one first, even in cycles. With `cleanOnly` it
    /// doesn't continue past outputs that are dirty already.
    ///
    /// The nodes are collected first. The callback may add and remove edges and destroy any node,
    /// this one included: nodes destroyed before their turn are skipped.
    void propagateDirty(DirtyCallback callback, bool cleanOnly);

    /// Writes all nodes connected with this one, directly or not, as a graph in the DOT language.
    /// Dirty nodes are drawn filled, time dependent ones with a double edge.
    void dumpAsDOT(std::ostream &stream, const char *graphName = nullptr) const;
    /// The same for these nodes, in their order, and the edges between them.
    using Label = std::function<std::string(const LNK_MicroNode &)>;
    static void dumpAsDOT(std::ostream &stream, const char *graphName,
                          const KIT_Array<const LNK_MicroNode *> &nodes, const Label &label);
    /// A text in double quotes, as DOT reads it; each line is left-aligned.
    static std::string quoteForDOT(const std::string &text);

private:
    struct Walk;
    friend struct Walk;

    KIT_Array<LNK_MicroNode *> myInputs;
    KIT_Array<LNK_MicroNode *> myOutputs;
    LNK_ContextOptionDepsPtr myContextOptionDeps{nullptr};
    uint32_t myWalkMark = 0; // the last walk that collected this node
    uint8_t myDirty = 0;
    uint8_t myTimeDependent = 0;
};
