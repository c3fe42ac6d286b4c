/// \file ZEL_ConstMicroNode.h
/// The companion of a parameter component's node that has that node as its only input: callers hang
/// on it what must not make the component's own inputs part of their dependency.
///
/// Vocabulary: *source* = the component's node.
/// Ownership:  an instance owns its companions as one array, which dies with the instance. A
///             companion and its source borrow each other: whichever goes first, the other is without.
/// Threads:    made under the instance's lock, from any thread (`ZEL_Instance::constMicroNode`). The
///             source publishes it: propagation goes on beside the making.
/// Cost:       a parameter whose companions nobody asked for has none.
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
    /// no source. A source of before is without.
    void init(ZEL_ParmMicroNode *source);

    /// Null before `init`, and after the source has gone.
    ZEL_ParmMicroNode *source() const { return mySource; }
    /// Parts the two.
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
