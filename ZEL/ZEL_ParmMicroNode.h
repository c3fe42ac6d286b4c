/// \file ZEL_ParmMicroNode.h
/// A parameter component's place in the dependency graph.
///
/// Vocabulary: *parm node* = the node of one component; what the component's value is computed
///             from are its inputs. *const node* = the companion of a parm node, see
///             ZEL_ConstMicroNode.h.
/// Units:      sub indices are 0-based component indices, -1 in a node that isn't initialised;
///             parm indices are places in the list, 0-based, -1 for none.
/// Ownership:  an instance owns its nodes as two arrays of vector size, each one allocation with
///             its count in front, freed by `delete[]`. A node borrows its parm.
/// Threads:    created under the instance's lock, from any thread (`ZEL_Instance::microNode`). The
///             flags are relaxed bytes; edges as in the base class. `clearInputs` runs on the
///             list's own thread, while no thread evaluates.
/// Cost:       a parameter that nothing depends on has no nodes.
#pragma once

#include <LNK/LNK_MicroNode.h>
#include <ZEL/ZEL_API.h>

#include <atomic>
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

    /// Copies the component's current dirty state too, so that a node created late is correct.
    /// Propagates nothing.
    void init(ZEL_Parm &parm, int subIndex);

    /// A new array with an initialised node for each component; null without components.
    static ZEL_ParmMicroNode *createArray(ZEL_Parm &parm);

    /// Null before `init`.
    ZEL_Parm *parm() const { return myParm; }
    /// The list's index of the parm; -1 without a parm or list.
    int parmIndex() const;
    int subIndex() const { return mySubIndex; }
    /// The companion, or null. It registers and unregisters itself.
    ZEL_ConstMicroNode *constNode() const { return myConstNode.load(std::memory_order_acquire); }

    // ------------------------------------------------------------------ //
    /// \name Slots of the base, in their order
    // ------------------------------------------------------------------ //
    ///@{
    const char *className() const override;
    /// Also clears the whole list's time dependence and context options, and those of its cook if
    /// the parm is cookable: the next evaluation sets them again.
    void clearInputs() override;
    /// The const node first, then the base's.
    void getOutputs(KIT_Array<LNK_MicroNode *> &outputs) const override;
    std::int64_t getMemoryUsage(bool inclusive) const override;
    /// Adds a line `  myParm(TOKEN:SUBINDEX)` to the base's text, indented by twice the level.
    void dump(std::ostream &stream, const char *label, int level) const override;
    ///@}

private:
    friend class ZEL_ConstMicroNode;

    void setConstNode(ZEL_ConstMicroNode *node)
    {
        myConstNode.store(node, std::memory_order_release);
    }

    ZEL_Parm *myParm = nullptr;
    int mySubIndex = -1;
    std::atomic<ZEL_ConstMicroNode *> myConstNode{nullptr};
};
