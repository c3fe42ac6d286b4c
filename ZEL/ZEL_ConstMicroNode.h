/// \file ZEL_ConstMicroNode.h
/// The companion of a parameter component's node, with that node as its only input. Dependents that
/// must not depend on the component's own inputs are connected to the companion.
///
/// Vocabulary: *source* = the component's node.
/// Ownership:  an instance owns its companions as one array, which is destroyed with the instance.
///             A companion and its source borrow each other: destroying one clears the other's
///             pointer.
/// Threads:    created under the instance's lock, from any thread (`ZEL_Instance::constMicroNode`).
///             The source publishes it atomically, as propagation may run at the same time.
/// Cost:       companions are created on request only.
#pragma once

#include <LNK/LNK_MicroNode.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_ParmMicroNode;

class ZEL_API ZEL_ConstMicroNode : public LNK_MicroNode
{
public:
    /// No source.
    ZEL_ConstMicroNode();
    explicit ZEL_ConstMicroNode(ZEL_ParmMicroNode *source);
    ~ZEL_ConstMicroNode() override;

    /// Sets the source and makes this the source's const node, in place of another, which then has
    /// no source. A previous source loses its const node.
    void init(ZEL_ParmMicroNode *source);

    /// Null before `init`, and after the source was destroyed.
    ZEL_ParmMicroNode *source() const { return mySource; }
    /// Disconnects the two.
    void leaveSource();

    // ------------------------------------------------------------------ //
    /// \name Slots of the base, in their order
    // ------------------------------------------------------------------ //
    ///@{
    const char *className() const override;
    /// The source, then the base's.
    void getInputs(KIT_Array<LNK_MicroNode *> &inputs) const override;
    std::int64_t getMemoryUsage(bool inclusive) const override;
    ///@}

private:
    ZEL_ParmMicroNode *mySource = nullptr;
};
