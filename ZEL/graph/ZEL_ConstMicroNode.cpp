#include <ZEL/ZEL_ConstMicroNode.h>

#include <ZEL/ZEL_ParmMicroNode.h>

ZEL_ConstMicroNode::ZEL_ConstMicroNode() = default;

ZEL_ConstMicroNode::ZEL_ConstMicroNode(ZEL_ParmMicroNode *source)
{
    init(source);
}

ZEL_ConstMicroNode::~ZEL_ConstMicroNode()
{
    leaveSource();
}

void ZEL_ConstMicroNode::init(ZEL_ParmMicroNode *source)
{
    leaveSource();
    if (source) {
        if (ZEL_ConstMicroNode *former = source->constNode()) {
            former->leaveSource();
        }
        mySource = source;
        source->setConstNode(this);
    }
}

void ZEL_ConstMicroNode::leaveSource()
{
    if (mySource) {
        mySource->setConstNode(nullptr);
        mySource = nullptr;
    }
}

const char *ZEL_ConstMicroNode::className() const
{
    return "ZEL_ConstMicroNode";
}

void ZEL_ConstMicroNode::getInputs(KIT_Array<LNK_MicroNode *> &inputs) const
{
    if (mySource) {
        inputs.append(mySource);
    }
    LNK_MicroNode::getInputs(inputs);
}

std::int64_t ZEL_ConstMicroNode::getMemoryUsage(bool inclusive) const
{
    return LNK_MicroNode::getMemoryUsage(false) + (inclusive ? std::int64_t(sizeof(*this)) : 0);
}
