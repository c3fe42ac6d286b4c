#include "ZELX_Node.h"

#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <ostream>
#include <string_view>

namespace
{

ZEL_Template theNoTemplates[] = {ZEL_Template()};

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
    myParms =
        std::make_unique<ZEL_ParmList>(templates ? templates : theNoTemplates, &myChannels, this,
                                       nullptr, KIT_StringRef(nodeType), deleteChannels);
    setParmList(myParms.get());
    myParms->setEventHandler(this, handleChange);
}

ZELX_Node::~ZELX_Node()
{
    myParms->setEventHandler(nullptr, nullptr);
    myParms->clearParmOwner();
    setParmList(nullptr);
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

void ZELX_Node::pushScriptContext(std::unique_ptr<ZEL_ParmOwnerContext> &scope)
{
    scope = std::make_unique<ZEL_ParmOwnerContext>();
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
