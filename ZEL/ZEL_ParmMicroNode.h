/// \file ZEL_ParmMicroNode.h
/// A parameter component's place in the dependency graph.
///
/// Vocabulary: *parm node* = the node of one component; what the component's value is computed
///             from are its inputs. *const node* = a companion whose only input is the parm node:
///             callers hang on it what must not make the component's own inputs part of their
///             dependency.
/// Units:      sub indices are 0-based component indices, -1 in a node that isn't initialised;
///             parm indices are places in the list, 0-based, -1 for none.
/// Ownership:  an instance owns its nodes as two arrays of vector size, each one allocation with
///             its count in front; `delete[]` ends them. A node borrows its parm, a const node
///             borrows its source: both arrays die with the instance.
/// Threads:    made under the instance's lock, from any thread (`ZEL_Instance::microNode`). The
///             marks are relaxed bytes; edges are the base class's.
/// Cost:       a parameter that nothing depends on has no nodes.
#pragma once

#include <LNK/LNK_MicroNode.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_ConstMicroNode;
class ZEL_Parm;

class ZEL_API ZEL_ParmMicroNode : public LNK_MicroNode
{
public:
    /// No parm, sub index -1; `init` makes it a component's node.
    ZEL_ParmMicroNode();
    ZEL_ParmMicroNode(ZEL_Parm &parm, int subIndex);
    ~ZEL_ParmMicroNode() override;

    /// Also takes over the component's present dirty state, so that a node made late starts
    /// right. Propagates nothing.
    void init(ZEL_Parm &parm, int subIndex);

    /// Null before `init`.
    ZEL_Parm *parm() const { return myParm; }
    /// The list's index of the parm; -1 without a parm or list.
    int parmIndex() const;
    int subIndex() const { return mySubIndex; }
    /// The companion, or null. It sets itself.
    ZEL_ConstMicroNode *constNode() const { return myConstNode; }
    void setConstNode(ZEL_ConstMicroNode *node) { myConstNode = node; }

    // ------------------------------------------------------------------ //
    /// \name Slots of the base, in their order
    // ------------------------------------------------------------------ //
    ///@{
    const char *className() const override;
    /// Also clears the whole list's time dependence, and its cook time dependence if the parm is
    /// cookable: the next evaluation sets both again.
    void clearInputs() override;
    /// The const node first, then the base's.
    void getOutputs(KIT_Array<LNK_MicroNode *> &outputs) const override;
    std::int64_t getMemoryUsage(bool inclusive) const override;
    /// Adds a line `  myParm(TOKEN:SUBINDEX)` to the base's text, indented by twice the level.
    void dump(std::ostream &stream, const char *label, int level) const override;
    ///@}

private:
    ZEL_Parm *myParm = nullptr;
    int mySubIndex = -1;
    ZEL_ConstMicroNode *myConstNode = nullptr;
};

class ZEL_API ZEL_ConstMicroNode : public LNK_MicroNode
{
public:
    /// No source.
    ZEL_ConstMicroNode();
    explicit ZEL_ConstMicroNode(ZEL_ParmMicroNode *source);
    ~ZEL_ConstMicroNode() override;

    /// Sets the source and makes this the source's const node.
    void init(ZEL_ParmMicroNode *source);

    ZEL_ParmMicroNode *source() const { return mySource; }

    // ------------------------------------------------------------------ //
    /// \name Slots of the base, in their order
    // ------------------------------------------------------------------ //
    ///@{
    const char *className() const override;
    /// The source alone.
    void getInputs(KIT_Array<LNK_MicroNode *> &inputs) const override;
    std::int64_t getMemoryUsage(bool inclusive) const override;
    ///@}

private:
    ZEL_ParmMicroNode *mySource = nullptr;
};
