#include <ZEL/ZEL_ParmMicroNode.h>

#include <ZEL/ZEL_ConstMicroNode.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <ostream>

ZEL_ParmMicroNode::ZEL_ParmMicroNode() = default;

ZEL_ParmMicroNode::ZEL_ParmMicroNode(ZEL_Parm &parm, int subIndex)
{
    init(parm, subIndex);
}

ZEL_ParmMicroNode::~ZEL_ParmMicroNode()
{
    if (ZEL_ConstMicroNode *node = constNode()) {
        node->leaveSource();
    }
}

void ZEL_ParmMicroNode::init(ZEL_Parm &parm, int subIndex)
{
    myParm = &parm;
    mySubIndex = subIndex;
    setDirty(parm.isDirty(subIndex), false);
}

ZEL_ParmMicroNode *ZEL_ParmMicroNode::createArray(ZEL_Parm &parm)
{
    const int size = parm.getVectorSize();
    if (size <= 0) {
        return nullptr;
    }
    ZEL_ParmMicroNode *nodes = new ZEL_ParmMicroNode[std::size_t(size)];
    for (int i = 0; i < size; ++i) {
        nodes[i].init(parm, i);
    }
    return nodes;
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
        list->clearContextOptionDeps();
        const ZEL_Template *templatePtr = myParm->getTemplatePtr();
        if (templatePtr && templatePtr->getType().isCookable()) {
            list->clearCookTimeDependent();
            list->clearCookContextOptionDeps();
        }
    }
    LNK_MicroNode::clearInputs();
}

void ZEL_ParmMicroNode::getOutputs(KIT_Array<LNK_MicroNode *> &outputs) const
{
    if (ZEL_ConstMicroNode *node = constNode()) {
        outputs.append(node);
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
