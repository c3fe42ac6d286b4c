#include "ZELX_Node.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <SNK/SNK_NodeSource.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmNameMap.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_Type.h>

#include <algorithm>
#include <ostream>
#include <string_view>

namespace
{

ZEL_Template theNoTemplates[] = {ZEL_Template()};

/// What fits a parameter's token: a stream's names can be anything.
bool isValidToken(std::string_view name)
{
    constexpr std::size_t theLongest = 255;
    const auto fits = [](char c) {
        return c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               (c >= '0' && c <= '9');
    };
    return !name.empty() && name.size() <= theLongest && !(name[0] >= '0' && name[0] <= '9') &&
           std::all_of(name.begin(), name.end(), fits);
}

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

struct ZELX_Node::SpareFloat
{
    explicit SpareFloat(const char *token) : name(token, token), description(ZEL_FLT, 1, &name)
    {
        name.harden();
    }

    ZEL_Name name;
    ZEL_Template description;
};

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
    myParms->setEventHandler(nullptr, nullptr);
    myParms->clearParmOwner();
    setParmList(nullptr);
}

void ZELX_Node::applyDefaultPreset()
{
    const int preset = myPresets ? myPresets->getDefaultPreset() : -1;
    if (preset >= 0) {
        // An error of before, not read yet, is none of this load's.
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
// Names that a load doesn't know
// ---------------------------------------------------------------------- //

void ZELX_Node::addRename(const std::string &savedName, const std::string &name)
{
    myRenames[savedName] = name;
}

ZEL_Parm *ZELX_Node::addSpareParm(ZEL_Template &description)
{
    if (myParms->getParmIndex(description.getTokenRef()) >= 0) {
        return nullptr;
    }
    ZEL_Parm *parm = new ZEL_Parm(&description, myParms.get());
    parm->setSpareParm(true);
    myParms->appendParm(parm);
    parm->getInstance()->revertToDefaults(false);
    parm->reloadChannelPtrs();
    ++myStructureVersion;
    return parm;
}

bool ZELX_Node::makeSpare(const char *name)
{
    for (ZEL_Template *known = mySpareTemplates; known && !known->isTerminator(); ++known) {
        if (known->getTokenRef() == KIT_StringRef(name)) {
            return addSpareParm(*known) != nullptr;
        }
    }
    if (!myKeepUnknownNames || !isValidToken(name)) {
        return false;
    }
    mySpareFloats.push_back(std::make_unique<SpareFloat>(name));
    return addSpareParm(mySpareFloats.back()->description) != nullptr;
}

bool ZELX_Node::createSpareParametersForLoad(KIT_StringArray &names, ZEL_ParmNameMap &map,
                                             KIT_String &)
{
    for (const KIT_String &name : names) {
        const auto renamed = myRenames.find(name.nonNullStr());
        if (renamed != myRenames.end()) {
            map.addMap(name.nonNullStr(), renamed->second.c_str());
        } else if (myParms->getParmIndex(name.nonNullStr()) < 0) {
            makeSpare(name.nonNullStr());
        }
    }
    return true;
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

void ZELX_Node::getPath(KIT_WorkBuffer &path)
{
    appendPath(path);
}
