#include <ZEL/ZEL_ParmMicroNode.h>

#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <ostream>

// ---------------------------------------------------------------------- //
// ZEL_ParmMicroNode
// ---------------------------------------------------------------------- //

ZEL_ParmMicroNode::ZEL_ParmMicroNode() = default;

ZEL_ParmMicroNode::ZEL_ParmMicroNode(ZEL_Parm &parm, int subIndex)
{
    init(parm, subIndex);
}

ZEL_ParmMicroNode::~ZEL_ParmMicroNode() = default;

void ZEL_ParmMicroNode::init(ZEL_Parm &parm, int subIndex)
{
    myParm = &parm;
    mySubIndex = subIndex;
    setDirty(parm.isDirty(subIndex), false);
}

int ZEL_ParmMicroNode::parmIndex() const
{
    const ZEL_ParmList *list = myParm ? myParm->getParmList() : nullptr;
    return list ? list->getParmIndex(myParm) : -1;
}

const char *ZEL_ParmMicroNode::className() const
{
    return "ZEL_ParmMicroNode";
}

void ZEL_ParmMicroNode::clearInputs()
{
    if (ZEL_ParmList *list = myParm ? myParm->getParmList() : nullptr) {
        list->clearTimeDependent();
        const ZEL_Template *templatePtr = myParm->getTemplatePtr();
        if (templatePtr && templatePtr->getType().isCookable()) {
            list->clearCookTimeDependent();
        }
    }
    LNK_MicroNode::clearInputs();
}

void ZEL_ParmMicroNode::getOutputs(KIT_Array<LNK_MicroNode *> &outputs) const
{
    if (myConstNode) {
        outputs.append(myConstNode);
    }
    LNK_MicroNode::getOutputs(outputs);
}

std::int64_t ZEL_ParmMicroNode::getMemoryUsage(bool inclusive) const
{
    return LNK_MicroNode::getMemoryUsage(false) + (inclusive ? std::int64_t(sizeof(*this)) : 0);
}

void ZEL_ParmMicroNode::dump(std::ostream &stream, const char *label, int level) const
{
    LNK_MicroNode::dump(stream, label, level);
    for (int i = 0; i < 2 * level; ++i) {
        stream.put(' ');
    }
    const char *token = myParm ? myParm->getToken() : nullptr;
    stream << "  myParm(" << (token ? token : "") << ':' << mySubIndex << ")\n";
}

// ---------------------------------------------------------------------- //
// ZEL_ConstMicroNode
// ---------------------------------------------------------------------- //

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
}

std::int64_t ZEL_ConstMicroNode::getMemoryUsage(bool inclusive) const
{
    return LNK_MicroNode::getMemoryUsage(false) + (inclusive ? std::int64_t(sizeof(*this)) : 0);
}
