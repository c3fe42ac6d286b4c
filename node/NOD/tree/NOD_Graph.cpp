#include <NOD/NOD_Graph.h>

#include <NOD/NOD_Node.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_RefId.h>

#include <ostream>
#include <string>

namespace
{

template <class Call>
void forEachNode(NOD_Node &node, const Call &call)
{
    call(node);
    for (const std::unique_ptr<NOD_Node> &child : node.getChildren()) {
        forEachNode(*child, call);
    }
}

template <class Call>
void forEachParm(NOD_Node &node, const Call &call)
{
    for (int i = 0; i < node.getParms().getEntries(); ++i) {
        if (ZEL_Parm *parm = node.getParms().getParmPtr(i)) {
            call(i, *parm);
        }
    }
}

std::string pathOf(const NOD_Node &node, const KIT_StringRef &name)
{
    KIT_WorkBuffer buffer;
    const std::string path = node.getFullPath(buffer);
    return (path == "/" ? path : path + "/") + name.nonNullStr();
}

} // namespace

// ---------------------------------------------------------------------- //
// Life
// ---------------------------------------------------------------------- //

NOD_Graph::NOD_Graph(NOD_Node &node) : myRoot(&node)
{
    while (myRoot->getParent()) {
        myRoot = myRoot->getParent();
    }
    myRoot->setGraph(this);
}

NOD_Graph::~NOD_Graph()
{
    if (myRoot) {
        myRoot->setGraph(nullptr);
        forEachNode(*myRoot, [](NOD_Node &node) { node.getParms().clearMicroNodeInputs(); });
    }
}

void NOD_Graph::nodeRemoved(const NOD_Node &node)
{
    myWholeNodes.erase(&node);
}

void NOD_Graph::treeRemoved()
{
    myRoot = nullptr;
    myWholeNodes.clear();
}

// ---------------------------------------------------------------------- //
// Graph nodes
// ---------------------------------------------------------------------- //

LNK_MicroNode *NOD_Graph::findWholeNode(const NOD_Node &node) const
{
    const auto entry = myWholeNodes.find(&node);
    return entry != myWholeNodes.end() ? entry->second.get() : nullptr;
}

LNK_MicroNode &NOD_Graph::getWholeNode(NOD_Node &node)
{
    std::unique_ptr<LNK_MicroNode> &whole = myWholeNodes[&node];
    if (!whole) {
        whole = std::make_unique<LNK_MicroNode>();
        forEachParm(node, [&](int, ZEL_Parm &parm) {
            if (parm.hasMicroNodes()) {
                makeMicroNode(node, parm, 0);
            }
        });
    }
    return *whole;
}

ZEL_ParmMicroNode *NOD_Graph::makeMicroNode(NOD_Node &node, ZEL_Parm &parm, int component)
{
    if (!parm.hasMicroNodes()) {
        // A fresh node has no time dependence yet: it takes over that of the channels.
        std::uint32_t timeDependentField = 0;
        for (int i = 0; i < parm.getVectorSize(); ++i) {
            timeDependentField |= std::uint32_t(parm.isTimeDependent(i)) << (i & 31);
        }
        for (int i = 0; i < parm.getVectorSize() && parm.microNode(i); ++i) {
            parm.setTimeDependentMicroNode(i, (timeDependentField >> (i & 31) & 1u) != 0);
        }
    }
    LNK_MicroNode *whole = parm.getType().isCookable() ? findWholeNode(node) : nullptr;
    for (int i = 0; whole && i < parm.getVectorSize(); ++i) {
        whole->addExplicitInput(*parm.microNode(i));
    }
    return parm.microNode(component);
}

// ---------------------------------------------------------------------- //
// References
// ---------------------------------------------------------------------- //

void NOD_Graph::rebuild(double time)
{
    if (myRoot) {
        forEachNode(*myRoot, [&](NOD_Node &node) { rebuild(node, -1, time); });
    }
}

void NOD_Graph::rebuild(NOD_Node &node, int parmIndex, double time)
{
    ZEL_AutoBlockErrors block(BASgetSTID());
    if (ZEL_Parm *parm = node.getParms().getParmPtr(parmIndex)) {
        rebuildParm(node, parmIndex, *parm, time);
    } else if (parmIndex < 0) {
        forEachParm(node, [&](int i, ZEL_Parm &each) { rebuildParm(node, i, each, time); });
    }
}

void NOD_Graph::rebuildParm(NOD_Node &node, int parmIndex, ZEL_Parm &parm, double time)
{
    if (parm.hasMicroNodes() && findWholeNode(node)) {
        makeMicroNode(node, parm, 0);
    }
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        clearReferences(parm, i);
    }
    parm.buildOpDependencies(ZEL_RefId(parmIndex, -1), BASgetSTID());
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        const Reader reader{&node, &parm, i};
        findChannelReferences(reader);
        if (parm.getChannel(i) || parm.getType().isStringType()) {
            evaluate(reader, time);
        }
    }
}

void NOD_Graph::clearReferences(ZEL_Parm &parm, int component)
{
    // Removing inputs clears flags of the whole list: don't where there are none.
    if (parm.hasMicroNodes() && parm.microNode(component)->getNumInputs() > 0) {
        parm.microNode(component)->clearInputs();
    }
}

void NOD_Graph::findChannelReferences(const Reader &reader)
{
    const TRK_Channel *channel = reader.parm->getChannel(reader.component);
    for (int i = 0; channel && i < channel->getNSegments(); ++i) {
        const TRK_Segment &segment = *channel->getSegment(i);
        if (segment.isInterpolated() || segment.getExprLanguage() != TRK_LANGUAGE_NATIVE) {
            continue;
        }
        TRK_Manager::forEachReference(segment.getExpression(),
                                      [&](const KIT_StringRef &path, const KIT_StringRef &name) {
                                          if (NOD_Node *target = reader.node->findNode(path)) {
                                              addReference(reader, *target, name);
                                          }
                                      });
    }
}

void NOD_Graph::evaluate(const Reader &reader, double time)
{
    const ZEL_Parm &parm = *reader.parm;
    // The count of a multi-parameter makes its items when it is read.
    if (parm.isMultiParm() || parm.getType().isDataType()) {
        return;
    }
    const Reader outer = myReader;
    myReader = reader;
    {
        const TRK_ReferenceScope scope(*this);
        const int thread = BASgetSTID();
        if (parm.getType().isStringType()) {
            constexpr bool expand = true;
            KIT_String value;
            parm.getValue(time, value, reader.component, expand, thread);
        } else {
            double value = 0.0;
            parm.getValue(time, value, reader.component, thread);
        }
    }
    myReader = outer;
}

void NOD_Graph::referenceRead(const TRK_Collection &collection, const KIT_StringRef &name)
{
    if (NOD_Node *target = dynamic_cast<NOD_Node *>(collection.getPathResolver())) {
        addReference(myReader, *target, name);
    }
}

void NOD_Graph::referenceFound(NOD_Node &node, const TRK_Referrer &from, const KIT_StringRef &path,
                               const KIT_StringRef &name)
{
    ZEL_Parm *parm = node.getParms().getParmPtr(from.parm);
    NOD_Node *target = node.findNode(path);
    for (int i = 0; parm && target && i < parm->getVectorSize(); ++i) {
        if (from.component < 0 || from.component == i) {
            addReference(Reader{&node, parm, i}, *target, name);
        }
    }
}

void NOD_Graph::addReference(const Reader &reader, NOD_Node &target, const KIT_StringRef &name)
{
    LNK_MicroNode *input = nullptr;
    if (name.isNull()) {
        input = &getWholeNode(target);
    } else {
        int component = 0;
        ZEL_Parm *parm = target.getParms().getParmPtrFromChannel(name, &component);
        input = parm ? makeMicroNode(target, *parm, component) : nullptr;
    }
    if (input) {
        makeMicroNode(*reader.node, *reader.parm, reader.component)->addExplicitInput(*input);
    }
}

// ---------------------------------------------------------------------- //
// Changes
// ---------------------------------------------------------------------- //

void NOD_Graph::parmChanged(NOD_Node &node, TRK_CHANGE_TYPE type, int parmIndex)
{
    if (type != TRK_CHANGE_VALUE || !myRoot) {
        return;
    }
    rebuild(node, parmIndex, TRK_Manager::getContext().getEvaluateTime(BASgetSTID()));
    constexpr bool changedOnly = false;
    node.getParms().propagateDirtyParmMicroNodes(parmIndex, myDirtyCallback, findWholeNode(node),
                                                 changedOnly);
}

int NOD_Graph::update(double time)
{
    int count = 0;
    if (!myRoot) {
        return count;
    }
    ZEL_AutoBlockErrors block(BASgetSTID());
    forEachNode(*myRoot, [&](NOD_Node &node) {
        forEachParm(node, [&](int parmIndex, ZEL_Parm &parm) {
            for (int i = 0; parm.hasMicroNodes() && i < parm.getVectorSize(); ++i) {
                if (parm.microNode(i)->requiresUpdate()) {
                    // What it read before may differ from what it reads now.
                    const Reader reader{&node, &parm, i};
                    clearReferences(parm, i);
                    parm.buildOpDependencies(ZEL_RefId(parmIndex, i), BASgetSTID());
                    findChannelReferences(reader);
                    evaluate(reader, time);
                    parm.microNode(i)->update();
                    ++count;
                }
            }
        });
        if (LNK_MicroNode *whole = findWholeNode(node)) {
            whole->update();
        }
    });
    return count;
}

// ---------------------------------------------------------------------- //
// Text
// ---------------------------------------------------------------------- //

void NOD_Graph::writeDOT(std::ostream &os)
{
    KIT_Array<const LNK_MicroNode *> nodes;
    std::unordered_map<const LNK_MicroNode *, std::string> labels;
    const auto add = [&](const LNK_MicroNode &linked, std::string label) {
        if (linked.getNumInputs() > 0 || linked.getNumOutputs() > 0) {
            nodes.append(&linked);
            labels.emplace(&linked, std::move(label));
        }
    };
    if (myRoot) {
        forEachNode(*myRoot, [&](NOD_Node &node) {
            if (const LNK_MicroNode *whole = findWholeNode(node)) {
                KIT_WorkBuffer path;
                add(*whole, node.getFullPath(path));
            }
            forEachParm(node, [&](int, ZEL_Parm &parm) {
                for (int i = 0; parm.hasMicroNodes() && i < parm.getVectorSize(); ++i) {
                    add(*parm.microNode(i), pathOf(node, parm.getChannelToken(i)));
                }
            });
        });
    }
    LNK_MicroNode::dumpAsDOT(os, "parameters", nodes,
                             [&](const LNK_MicroNode &node) { return labels[&node]; });
}
