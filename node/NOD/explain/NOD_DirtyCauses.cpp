#include <NOD/NOD_DirtyCauses.h>

#include <LNK/LNK_MicroNode.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_UndoStack.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmMicroNode.h>

#include <unordered_set>

namespace
{

NOD_DirtyCause causeOf(NOD_Scene &scene, const LNK_MicroNode &linked)
{
    NOD_DirtyCause cause{NOD_Graph::pathOf(linked), ""};
    const auto *const own = dynamic_cast<const ZEL_ParmMicroNode *>(&linked);
    const ZEL_Parm *const parm = own ? own->parm() : nullptr;
    const auto *const node = parm ? dynamic_cast<const NOD_Node *>(parm->getParmOwner()) : nullptr;
    if (node) {
        cause.label = scene.getUndo().findLabel(*node, *parm).value_or("");
    }
    return cause;
}

} // namespace

std::vector<NOD_DirtyCause> NODfindDirtyCauses(NOD_Scene &scene, NOD_Node &node, int parmIndex,
                                               int component)
{
    scene.getGraph().settle();
    std::vector<NOD_DirtyCause> causes;
    ZEL_Parm *const parm = node.getParms().getParmPtr(parmIndex);
    const LNK_MicroNode *const asked =
        parm && parm->hasMicroNodes() ? parm->microNode(component) : nullptr;
    if (!asked || !asked->isDirty()) {
        return causes;
    }
    std::unordered_set<const LNK_MicroNode *> seen{asked};
    std::vector<const LNK_MicroNode *> next{asked};
    for (std::size_t i = 0; i < next.size(); ++i) {
        KIT_Array<LNK_MicroNode *> inputs;
        next[i]->getInputs(inputs);
        bool causeFlag = true;
        for (const LNK_MicroNode *const input : inputs) {
            causeFlag = causeFlag && !input->isDirty();
            if (input->isDirty() && seen.insert(input).second) {
                next.push_back(input);
            }
        }
        if (causeFlag) {
            causes.push_back(causeOf(scene, *next[i]));
        }
    }
    return causes;
}
