// Which components and whole nodes a parameter reads.

#include <NOD/NOD_Graph.h>

#include <NOD/NOD_Conditions.h>
#include <NOD/tree/NOD_GraphScopesPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_LostReferencesPrivate.h>
#include <NOD/tree/NOD_NodeTextsPrivate.h>
#include <NOD/tree/NOD_WholeNodePrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_NodePaths.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_RefId.h>

#include <algorithm>
#include <string_view>

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
    std::unique_ptr<WholeNode> &whole = myWholeNodes[&node];
    if (!whole) {
        whole = std::make_unique<WholeNode>(node);
        NODforEachParm(node, [&](int, ZEL_Parm &parm) {
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
        noteDirty(node);
    }
    LNK_MicroNode *whole = parm.getType().isCookable() ? findWholeNode(node) : nullptr;
    for (int i = 0; whole && i < parm.getVectorSize(); ++i) {
        whole->addExplicitInput(*parm.microNode(i));
    }
    return parm.microNode(component);
}

// ---------------------------------------------------------------------- //
// One parameter
// ---------------------------------------------------------------------- //

void NOD_Graph::rebuild(double time)
{
    if (myRoot) {
        orBroken([&] { rebuildAll(time); });
    }
}

void NOD_Graph::rebuildAll(double time)
{
    myPending.clear();
    myPendingPlaces.clear();
    myVariables.clear();
    myLost->clear();
    myBrokenFlag = false;
    NODforEachNode(*myRoot, [&](NOD_Node &node) {
        rebuild(node, -1, time);
        if (myConditions) {
            myConditions->markExpressions(node);
        }
    });
    if (myConditions) {
        myConditions->update();
    }
}

void NOD_Graph::rebuild(NOD_Node &node, int parmIndex, double time)
{
    const ZEL_AutoBlockErrors block(BASgetSTID());
    const ZEL_Multi::KeepItems keep;
    orBroken([&] {
        if (ZEL_Parm *parm = node.getParms().getParmPtr(parmIndex)) {
            rebuildParm(node, parmIndex, *parm, time);
        } else if (parmIndex < 0) {
            NODforEachParm(node, [&](int i, ZEL_Parm &each) { rebuildParm(node, i, each, time); });
        }
    });
}

void NOD_Graph::rebuildParm(NOD_Node &node, int parmIndex, ZEL_Parm &parm, double time)
{
    if (parm.hasMicroNodes()) {
        if (findWholeNode(node)) {
            makeMicroNode(node, parm, 0);
        }
        for (int i = 0; i < parm.getVectorSize(); ++i) {
            clearReferences(parm, i);
        }
    }
    if (!myLost->isEmpty()) {
        myLost->forget(node, parm.getToken());
    }
    if (parm.getType().isStringType()) {
        parm.buildOpDependencies(ZEL_RefId(parmIndex, -1), BASgetSTID());
    }
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        const Reader reader{&node, &parm, i, nullptr};
        const bool evaluateFlag = parm.getChannel(i)              ? findChannelReferences(reader)
                                  : parm.getType().isStringType() ? findTextReferences(reader)
                                                                  : false;
        if (evaluateFlag) {
            evaluate(reader, time);
        }
    }
}

void NOD_Graph::clearReferences(ZEL_Parm &parm, int component)
{
    ZEL_ParmMicroNode &own = *parm.microNode(component);
    mySelfReaders.erase(&own);
    // Removing inputs clears flags of the whole list: don't where there are none.
    if (own.getNumInputs() > 0) {
        own.clearInputs();
    }
}

/// Whether there is an expression, which may compute names.
bool NOD_Graph::findChannelReferences(const Reader &reader)
{
    const TRK_Channel &channel = *reader.parm->getChannel(reader.component);
    bool readsFlag = !channel.getDefaultString().isEmpty();
    if (readsFlag && channel.getDefaultLanguage() == TRK_LANGUAGE_NATIVE) {
        findLiteralReferences(reader, channel.getDefaultString().c_str());
    }
    for (int i = 0; i < channel.getNSegments(); ++i) {
        const TRK_Segment &segment = *channel.getSegment(i);
        if (segment.isInterpolated()) {
            continue;
        }
        readsFlag = true;
        if (segment.getExprLanguage() == TRK_LANGUAGE_NATIVE) {
            findLiteralReferences(reader, segment.getExpression());
        }
    }
    return readsFlag;
}

void NOD_Graph::findLiteralReferences(const Reader &reader, const char *expression)
{
    TRK_Manager::forEachReference(expression,
                                  [&](const KIT_StringRef &path, const KIT_StringRef &name) {
                                      if (NOD_Node *target = follow(reader, *reader.node, path)) {
                                          addReference(reader, *target, name);
                                      }
                                  });
}

/// Whether there is an expression or a variable. What a text refers to it says by itself, but for paths
/// that lead nowhere.
bool NOD_Graph::findTextReferences(const Reader &reader)
{
    constexpr bool expand = false;
    KIT_String raw;
    reader.parm->getValue(0.0, raw, reader.component, expand, BASgetSTID());
    std::string text(raw.nonNullStr());
    const bool expressionFlag = TRK_NodePaths::hasExpression(text.c_str());
    if (!expressionFlag) {
        TRK_NodePaths::forEach(text, NOD_NodeTexts::formOf(*reader.parm),
                               &reader.node->getChannels(), [&](const std::string &path) {
                                   return follow(reader, *reader.node, path.c_str()) != nullptr;
                               });
    }
    return expressionFlag || text.find_first_of("$`") != std::string::npos;
}

void NOD_Graph::evaluate(const Reader &reader, double time)
{
    const ZEL_Parm &parm = *reader.parm;
    // The count of a multi-parameter makes its items when it is read.
    if (parm.isMultiParm() || parm.getType().isDataType()) {
        return;
    }
    const Reading reading(*this, reader);
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

// ---------------------------------------------------------------------- //
// One reference
// ---------------------------------------------------------------------- //

void NOD_Graph::referenceRead(const TRK_Collection &collection, const KIT_StringRef &name)
{
    if (NOD_Node *target = dynamic_cast<NOD_Node *>(collection.getPathResolver())) {
        addReference(myReader, *target, name);
    }
}

void NOD_Graph::pathLost(const TRK_Collection &collection, const KIT_StringRef &path)
{
    if (NOD_Node *from = dynamic_cast<NOD_Node *>(collection.getPathResolver())) {
        follow(myReader, *from, path);
    }
}

void NOD_Graph::referenceFound(NOD_Node &node, const TRK_Referrer &from, const KIT_StringRef &path,
                               const KIT_StringRef &name)
{
    ZEL_Parm *parm = node.getParms().getParmPtr(from.parm);
    for (int i = 0; parm && i < parm->getVectorSize(); ++i) {
        const Reader reader{&node, parm, i, nullptr};
        if (from.component < 0 || from.component == i) {
            if (NOD_Node *target = follow(reader, node, path)) {
                addReference(reader, *target, name);
            }
        }
    }
}

NOD_GraphReader NOD_Graph::idOf(const Reader &reader)
{
    const std::string token =
        reader.parm ? reader.parm->getToken() : NOD_GraphReader::tokenOfCondition(reader.component);
    return {reader.node, token, reader.component};
}

/// The node that the path leads to. Watches the one that is missing, and those on the way that aren't
/// above the target.
NOD_Node *NOD_Graph::follow(const Reader &reader, NOD_Node &from, const KIT_StringRef &path)
{
    const std::string_view text = path.view();
    NOD_Node *node = !text.empty() && text.front() == '/' ? myRoot : &from;
    std::vector<NOD_Node *> entered;
    for (std::size_t start = 0, end; node && start < text.size(); start = end + 1) {
        end = std::min(text.find('/', start), text.size());
        const std::string step(text.substr(start, end - start));
        if (step == "..") {
            if (!entered.empty()) {
                myLost->watchPath(idOf(reader), NODpathOf(*entered.back()));
                entered.pop_back();
            }
            node = node->getParent();
        } else if (!step.empty() && step != ".") {
            NOD_Node *const child = node->getChild(step);
            if (!child) {
                myLost->watchPath(idOf(reader), NODpathOf(*node, step.c_str()));
            }
            node = child;
            entered.push_back(child);
        }
    }
    return node;
}

void NOD_Graph::addReference(const Reader &reader, NOD_Node &target, const KIT_StringRef &name)
{
    LNK_MicroNode *input = nullptr;
    if (name.isNull()) {
        input = &getWholeNode(target);
    } else {
        int component = 0;
        ZEL_Parm *parm = target.getParms().getParmPtrFromChannel(name, &component);
        if (!parm) {
            myLost->waitForName(idOf(reader), target, name.view());
            return;
        }
        input = makeMicroNode(target, *parm, component);
    }
    LNK_MicroNode *own =
        reader.sink ? reader.sink : makeMicroNode(*reader.node, *reader.parm, reader.component);
    if (own == input) {
        mySelfReaders.insert(own);
    } else if (own && input) {
        own->addExplicitInput(*input);
    }
}
