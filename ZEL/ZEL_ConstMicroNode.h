/// \file ZEL_ConstMicroNode.h
/// The companion of a parameter component's node that has that node as its only input: callers hang
/// on it what must not make the component's own inputs part of their dependency.
///
/// Vocabulary: *source* = the component's node.
/// Ownership:  an instance owns its companions as one array; a companion borrows its source. Both
///             arrays die with the instance.
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

    /// Sets the source and makes this the source's const node.
    void init(ZEL_ParmMicroNode *source);

    ZEL_ParmMicroNode *source() const { return mySource; }

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
