#include <ZEL/ZEL_ConstMicroNode.h>

#include <ZEL/ZEL_ParmMicroNode.h>

ZEL_ConstMicroNode::ZEL_ConstMicroNode() = default;

ZEL_ConstMicroNode::ZEL_ConstMicroNode(ZEL_ParmMicroNode *source)
{
    init(source);
}

ZEL_ConstMicroNode::~ZEL_ConstMicroNode() = default;

void ZEL_ConstMicroNode::init(ZEL_ParmMicroNode *source)
{
    mySource = source;
    if (mySource) {
        mySource->setConstNode(this);
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
