#include "ZELX_Node.h"

#include "ZELX_NodeGraph.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <SNK/SNK_NodeSource.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <ostream>
#include <string_view>

namespace
{

ZEL_Template theNoTemplates[] = {ZEL_Template()};

/// The node that a script's relative paths start from.
struct ScriptContext : ZEL_ParmOwnerContext
{
    explicit ScriptContext(const char *path) : node(path) {}

    SNK_CurrentNode node;
};

bool isValidName(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

} // namespace

// ---------------------------------------------------------------------- //
// Life and tree
// ---------------------------------------------------------------------- //

ZELX_Node::ZELX_Node(ZEL_Template *templates, const char *nodeType)
    : ZELX_Node(nullptr, "", templates, nodeType)
{}

ZELX_Node::ZELX_Node(ZELX_Node *parent, const char *name, ZEL_Template *templates,
                     const char *nodeType)
    : myParent(parent), myName(name)
{
    constexpr bool deleteChannels = false;
    myChannels.setPathResolver(this);
    if (nodeType && *nodeType) {
        myPresets = std::make_unique<ZEL_PresetInfo>(thePresetTable, nodeType);
    }
    myParms =
        std::make_unique<ZEL_ParmList>(templates ? templates : theNoTemplates, &myChannels, this,
                                       myPresets.get(), KIT_StringRef(nodeType), deleteChannels);
    setParmList(myParms.get());
    myParms->setEventHandler(this, handleChange);
    applyDefaultPreset();
}

ZELX_Node::~ZELX_Node()
{
    if (myGraph) {
        myGraph->treeRemoved();
        myGraph = nullptr;
    }
    myParms->setEventHandler(nullptr, nullptr);
    myParms->clearParmOwner();
    setParmList(nullptr);
}

void ZELX_Node::applyDefaultPreset()
{
    const int preset = myPresets ? myPresets->getDefaultPreset() : -1;
    if (preset >= 0) {
        // An earlier error that wasn't read yet must not count as one of this load.
        KIT_ErrorManager::Scope scope(BASgetSTID());
        myPresets->loadPresetFile(myParms.get(), myPresets->getPresetPath(preset));
        scope.getOuterManager().stealErrors(scope.getManager());
    }
}

ZELX_Node *ZELX_Node::addChild(const char *name, ZEL_Template *templates, const char *nodeType)
{
    if (!name || !isValidName(name) || getChild(name)) {
        return nullptr;
    }
    myChildren.emplace_back(new ZELX_Node(this, name, templates, nodeType));
    return myChildren.back().get();
}

ZELX_Node *ZELX_Node::getChild(const std::string &name) const
{
    for (const std::unique_ptr<ZELX_Node> &child : myChildren) {
        if (child->myName == name) {
            return child.get();
        }
    }
    return nullptr;
}

ZELX_Node *ZELX_Node::getRoot()
{
    ZELX_Node *node = this;
    while (node->myParent) {
        node = node->myParent;
    }
    return node;
}

ZELX_Node *ZELX_Node::step(const std::string &name)
{
    if (name.empty() || name == ".") {
        return this;
    }
    return name == ".." ? myParent : getChild(name);
}

ZELX_Node *ZELX_Node::findNode(const KIT_StringRef &path)
{
    const std::string_view text = path.view();
    ZELX_Node *node = !text.empty() && text.front() == '/' ? getRoot() : this;
    std::size_t start = 0;
    while (node && start < text.size()) {
        const std::size_t end = std::min(text.find('/', start), text.size());
        node = node->step(std::string(text.substr(start, end - start)));
        start = end + 1;
    }
    return node;
}

// ---------------------------------------------------------------------- //
// Channels and surroundings
// ---------------------------------------------------------------------- //

bool ZELX_Node::loadChannels(KIT_IStream &is)
{
    const bool loaded = myChannels.load(is);
    linkChannels();
    return loaded;
}

// ---------------------------------------------------------------------- //
// Spare parameters, and a new interface
// ---------------------------------------------------------------------- //

ZEL_Parm *ZELX_Node::addSpareParm(const ZEL_Template &description)
{
    ZEL_Parm *parm = mySpares.add(*myParms, description);
    myStructureVersion += parm ? 1 : 0;
    return parm;
}

bool ZELX_Node::removeSpareParm(const char *token)
{
    return mySpares.remove(*myParms, KIT_StringRef(token));
}

void ZELX_Node::setSpareParms(const ZEL_Template *templates)
{
    mySpares.set(*myParms, templates);
    ++myStructureVersion;
}

bool ZELX_Node::createSpareParametersForLoad(KIT_StringArray &names, ZEL_ParmNameMap &map,
                                             KIT_String &)
{
    mySpares.createForLoad(*myParms, names, map);
    ++myStructureVersion;
    return true;
}

void ZELX_Node::renewParms(ZEL_Template *templates, const char *nodeType)
{
    // Defaults are applied later: what is taken over needs none, and they mustn't touch its channels.
    constexpr bool buildDefaults = false;
    constexpr bool deleteChannels = false;
    constexpr bool forceCopy = false;
    auto fresh = std::make_unique<ZEL_ParmList>(templates ? templates : theNoTemplates, &myChannels,
                                                this, myPresets.get(), KIT_StringRef(nodeType),
                                                deleteChannels, buildDefaults);
    const ZELX_SpareParms::Templates formerSpares = mySpares.moveTo(*fresh);
    fresh->adoptParmList(*myParms, forceCopy);
    fresh->updateFromOldTemplate(myParms.get());
    myParms->setEventHandler(nullptr, nullptr);
    myParms->clearParmOwner();
    setParmList(fresh.get());
    myParms.swap(fresh);
    myParms->setEventHandler(this, handleChange);
    myParms->buildDelayedDefaults(deleteChannels);
    fresh.reset();
    ++myStructureVersion;
}

void ZELX_Node::setVariable(const std::string &name, const std::string &value)
{
    myVariables[name] = value;
}

void ZELX_Node::handleChange(void *data, TRK_CHANGE_TYPE type, int parmIndex)
{
    ZELX_Node &node = *static_cast<ZELX_Node *>(data);
    if (node.myChangeCallback) {
        node.myChangeCallback(node, type, parmIndex);
    }
    if (ZELX_NodeGraph *graph = node.getGraph()) {
        graph->parmChanged(node, type, parmIndex);
    }
}

// ---------------------------------------------------------------------- //
// Slots of ZEL_ParmOwner
// ---------------------------------------------------------------------- //

void ZELX_Node::appendPath(KIT_WorkBuffer &path) const
{
    if (!myParent) {
        path.append('/');
        return;
    }
    if (myParent->myParent) {
        myParent->appendPath(path);
    }
    path.append('/');
    path.append(myName.c_str());
}

const char *ZELX_Node::getFullPath(KIT_WorkBuffer &path) const
{
    path.clear();
    appendPath(path);
    return path.buffer();
}

void ZELX_Node::rebuildParmDependency(int parmIndex)
{
    if (myDependencyCallback) {
        myDependencyCallback(*this, parmIndex);
    }
    if (ZELX_NodeGraph *graph = getGraph()) {
        graph->parmChanged(*this, TRK_CHANGE_VALUE, parmIndex);
    }
}

void ZELX_Node::parmRemoved(int)
{
    ++myStructureVersion;
}

void ZELX_Node::spareParmRemoved(const char *)
{
    ++myStructureVersion;
}

void ZELX_Node::multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms)
{
    constexpr bool deleteChannels = true;
    for (ZEL_Parm *parm : parms) {
        if (parm && parm->getInstance()) {
            parm->getInstance()->revertToDefaults(deleteChannels);
        }
    }
    ++myStructureVersion;
}

void ZELX_Node::multiInstancesChanged()
{
    ++myStructureVersion;
}

bool ZELX_Node::runMenuScript(const char *, std::ostream &, std::ostream &err)
{
    err << "this application has no command language\n";
    return false;
}

bool ZELX_Node::savePresetContents(std::ostream &os)
{
    constexpr bool binary = false;
    constexpr bool compact = false;
    os << "channels\n";
    myChannels.save(os, binary);
    os << "values\n";
    myParms->save(os, binary, compact);
    return os.good();
}

void ZELX_Node::pushScriptContext(std::unique_ptr<ZEL_ParmOwnerContext> &scope)
{
    KIT_WorkBuffer path;
    scope = std::make_unique<ScriptContext>(getFullPath(path));
}

// ---------------------------------------------------------------------- //
// Slots of TRK_PathResolver
// ---------------------------------------------------------------------- //

TRK_Collection *ZELX_Node::findCollection(const KIT_StringRef &path)
{
    ZELX_Node *node = findNode(path);
    return node ? &node->myChannels : nullptr;
}

bool ZELX_Node::getVariable(const KIT_StringRef &name, KIT_String &value)
{
    const std::string key(name.view());
    for (const ZELX_Node *node = this; node; node = node->myParent) {
        const auto entry = node->myVariables.find(key);
        if (entry != node->myVariables.end()) {
            value.harden(entry->second.c_str());
            return true;
        }
    }
    return false;
}

void ZELX_Node::referenceFound(const TRK_Referrer &from, const KIT_StringRef &path,
                               const KIT_StringRef &name, int)
{
    if (ZELX_NodeGraph *graph = getGraph()) {
        graph->referenceFound(*this, from, path, name);
    }
}

void ZELX_Node::getPath(KIT_WorkBuffer &path)
{
    appendPath(path);
}
