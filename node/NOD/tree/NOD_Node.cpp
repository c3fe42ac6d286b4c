#include <NOD/NOD_Node.h>

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_NodeState.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_UndoStack.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_ReferenceIndexPrivate.h>
#include <NOD/undo/NOD_ChannelMemoryPrivate.h>

#include <BAS/BAS_Relaxed.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <LNK/LNK_MicroNode.h>
#include <SNK/SNK_NodeSource.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <new>
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

} // namespace

// ---------------------------------------------------------------------- //
// Life and tree
// ---------------------------------------------------------------------- //

NOD_Node::NOD_Node(ZEL_Template *templates, const char *nodeType)
    : NOD_Node(NOD_NodeSeed(templates, nodeType))
{
    begin();
}

NOD_Node::NOD_Node(const NOD_NodeSeed &seed) : myParent(seed.myParent), myName(seed.myName)
{
    myChannels.setPathResolver(this);
    if (!seed.myTypeName.empty()) {
        myPresets = std::make_unique<ZEL_PresetInfo>(thePresetTable, seed.myTypeName.c_str());
    }
    constexpr bool buildDefaults = true;
    myParms = makeList(seed, buildDefaults);
    keepSeed(seed);
    setParmList(myParms.get());
    myParms->setEventHandler(this, handleChange);
}

std::unique_ptr<ZEL_ParmList> NOD_Node::makeList(const NOD_NodeSeed &seed, bool buildDefaults)
{
    constexpr bool deleteChannels = false;
    const char *const sharedName = seed.mySharedName.empty() ? nullptr : seed.mySharedName.c_str();
    return std::make_unique<ZEL_ParmList>(seed.myTemplates ? seed.myTemplates : theNoTemplates,
                                          &myChannels, this, myPresets.get(),
                                          KIT_StringRef(sharedName), deleteChannels, buildDefaults);
}

void NOD_Node::keepSeed(const NOD_NodeSeed &seed)
{
    myPlainTemplates = seed.myInterface ? nullptr : seed.myTemplates;
    myPlainType = seed.myInterface ? "" : seed.myTypeName;
    myInterface = seed.myInterface;
}

void NOD_Node::begin()
{
    applyDefaultPreset();
    myWatchedFlag = true;
}

NOD_Node::~NOD_Node()
{
    if (myGraph) {
        myGraph->treeRemoved();
        myGraph = nullptr;
    } else if (NOD_Graph *const graph = getGraph()) {
        graph->nodeRemoved(*this);
    }
    if (NOD_ReferenceIndex *const references = getRoot()->myReferences) {
        references->forget(*this);
    }
    myParms->setEventHandler(nullptr, nullptr);
    myParms->clearParmOwner();
    setParmList(nullptr);
}

void NOD_Node::applyDefaultPreset()
{
    // What is loaded is meant as it was saved, whatever presets are here.
    const int preset = myPresets && !ZEL_ParmList::isLoading() ? myPresets->getDefaultPreset() : -1;
    if (preset >= 0) {
        readPresetFile(myPresets->getPresetPath(preset));
    }
}

const std::string &NOD_Node::getTypeName() const
{
    return myInterface ? myInterface->getTypeName() : myPlainType;
}

std::string NOD_Node::getTypeVersion() const
{
    for (const auto &[name, text] : myKeptSections) {
        if (name == theVersionSection) {
            return text;
        }
    }
    return "";
}

void NOD_Node::setTypeVersion(const std::string &version)
{
    if (version == getTypeVersion()) {
        return;
    }
    Sections all = myKeptSections;
    all.erase(
        std::remove_if(all.begin(), all.end(),
                       [](const auto &section) { return section.first == theVersionSection; }),
        all.end());
    if (!version.empty()) {
        all.emplace_back(theVersionSection, version);
    }
    keepSections("", std::move(all));
}

void NOD_Node::keepSections(const std::string &typeName, Sections sections)
{
    textsChanged();
    if (NOD_UndoStack *const undo = getUndo()) {
        undo->textsChange(*this);
    }
    if (!typeName.empty() && !myInterface && !myPlainTemplates) {
        myPlainType = typeName;
    }
    myKeptSections = std::move(sections);
}

bool NOD_Node::isValidName(const std::string &name)
{
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

NOD_Node *NOD_Node::copyTo(NOD_Node &parent, const char *name)
{
    // A type that is missing must not name the tables of one that comes later.
    const char *const type = myPlainTemplates ? myPlainType.c_str() : "";
    NOD_Node *const copy = parent.adopt(name, myInterface ? NOD_NodeSeed(myInterface)
                                                          : NOD_NodeSeed(myPlainTemplates, type));
    if (copy) {
        copyContents(*copy);
    }
    return copy;
}

void NOD_Node::copyContents(NOD_Node &copy)
{
    copy.keepSections(myPlainType, myKeptSections);
    mySpares.copyTo(copy.mySpares, *copy.myParms);
    copy.structureChanged();
    copy.myVariables = myVariables;
    NOD_NodeState(*this).restore(copy);
}

namespace
{

/// With its inputs and outputs, so that nothing outside of the tree is found from within.
void unlink(ZEL_ParmList &list)
{
    KIT_Array<LNK_MicroNode *> nodes;
    list.getParmMicroNodes(nodes);
    for (LNK_MicroNode *node : nodes) {
        KIT_Array<LNK_MicroNode *> outputs;
        node->getOutputs(outputs);
        for (LNK_MicroNode *output : outputs) {
            output->removeInput(*node);
        }
        node->clearInputs();
    }
}

} // namespace

std::unique_ptr<NOD_Node> NOD_Node::leaveTree()
{
    if (NOD_Graph *const graph = getWatcher()) {
        NODforEachNode(*this, [&](NOD_Node &node) {
            graph->nodeRemoved(node);
            unlink(*node.myParms);
        });
    }
    if (NOD_ReferenceIndex *const references = getRoot()->myReferences) {
        references->forgetTree(*this);
    }
    std::unique_ptr<NOD_Node> taken = myParent->takeChild(*this);
    myParent = nullptr;
    return taken;
}

void NOD_Node::enterTree(std::unique_ptr<NOD_Node> &owner, NOD_Node &parent, std::size_t place,
                         const std::string &name)
{
    std::string newName = name;
    const bool comesFlag = bool(owner);
    if (parent.myChildren.size() == parent.myChildren.capacity()) {
        parent.myChildren.reserve(2 * parent.myChildren.size() + 1);
    }
    // From here on nothing fails.
    const bool staysFlag = !owner && myParent == &parent && place < parent.myChildren.size() &&
                           parent.myChildren[place].get() == this;
    if (staysFlag) {
        parent.removeName(*this);
    } else {
        std::unique_ptr<NOD_Node> node = owner ? std::move(owner) : myParent->takeChild(*this);
        myLastPlace = std::min(place, parent.myChildren.size());
        parent.myChildren.insert(parent.myChildren.begin() + std::ptrdiff_t(myLastPlace),
                                 std::move(node));
    }
    myParent = &parent;
    myName.swap(newName);
    try {
        parent.addName(*this);
    } catch (const std::bad_alloc &) {
        parent.myChildrenByName.clear(); // only slower
    }
    NOD_ReferenceIndex *const references = comesFlag ? getRoot()->myReferences : nullptr;
    if (references) {
        NODforEachNode(*this, [&](NOD_Node &node) { references->note(node); });
    }
}

void NOD_Node::comeBack()
{
    if (NOD_Graph *const graph = getWatcher()) {
        graph->treeAppears(*this);
    }
}

void NOD_Node::changePlace(NOD_Node &parent, std::size_t place, const std::string &name)
{
    NOD_Graph *const graph = getWatcher();
    const NOD_Batch batch(graph);
    if (graph) {
        graph->treeLeaves(*this);
    }
    std::unique_ptr<NOD_Node> none;
    enterTree(none, parent, place, std::string(name));
    if (graph) {
        graph->treeAppears(*this);
    }
}

std::size_t NOD_Node::findPlace() const
{
    const auto &all = myParent->myChildren;
    const std::size_t last = std::min(myLastPlace, all.size() - 1);
    // Siblings that have come or left since have moved it by so many.
    for (std::size_t moved = 0;; ++moved) {
        if (moved <= last && all[last - moved].get() == this) {
            return myLastPlace = last - moved;
        }
        if (last + moved < all.size() && all[last + moved].get() == this) {
            return myLastPlace = last + moved;
        }
    }
}

std::unique_ptr<NOD_Node> NOD_Node::takeChild(const NOD_Node &child)
{
    const auto at = myChildren.begin() + std::ptrdiff_t(child.findPlace());
    removeName(child);
    std::unique_ptr<NOD_Node> taken = std::move(*at);
    myChildren.erase(at);
    return taken;
}

NOD_Node *NOD_Node::adopt(const char *name, NOD_NodeSeed seed)
{
    if (!name || !isValidName(name) || getChild(name)) {
        return nullptr;
    }
    const NOD_Edit edit(*this, std::string("Add ") + name);
    seed.myParent = this;
    seed.myName = name;
    const NOD_NodeMaker &maker = getRoot()->myMaker;
    std::unique_ptr<NOD_Node> made = maker ? maker(seed) : nullptr;
    made = made ? std::move(made) : std::make_unique<NOD_Node>(seed);
    NOD_Node *const child = made.get();
    child->enterTree(made, *this, myChildren.size(), seed.myName);
    try {
        if (NOD_UndoStack *const undo = getUndo()) {
            undo->nodeAdded(*child);
        }
    } catch (...) {
        takeChild(*child);
        throw;
    }
    child->begin();
    if (NOD_Graph *const graph = getWatcher()) {
        graph->nodeAppears(*child);
    }
    return child;
}

NOD_Node *NOD_Node::addChild(const char *name, ZEL_Template *templates, const char *nodeType)
{
    return adopt(name, NOD_NodeSeed(templates, nodeType));
}

NOD_Node *NOD_Node::addChild(const char *name, std::shared_ptr<const NOD_Interface> description)
{
    return adopt(name, NOD_NodeSeed(std::move(description)));
}

void NOD_Node::addName(NOD_Node &child)
{
    constexpr std::size_t theFew = 8;
    if (!myChildrenByName.empty()) {
        myChildrenByName[child.myName] = &child;
    } else if (myChildren.size() > theFew) {
        for (const std::unique_ptr<NOD_Node> &each : myChildren) {
            myChildrenByName[each->myName] = each.get();
        }
    }
}

NOD_Node *NOD_Node::getChild(const std::string &name) const
{
    if (!myChildrenByName.empty()) {
        const auto named = myChildrenByName.find(name);
        return named == myChildrenByName.end() ? nullptr : named->second;
    }
    for (const std::unique_ptr<NOD_Node> &child : myChildren) {
        if (child->myName == name) {
            return child.get();
        }
    }
    return nullptr;
}

NOD_Node *NOD_Node::getRoot()
{
    NOD_Node *node = this;
    while (node->myParent) {
        node = node->myParent;
    }
    return node;
}

NOD_Node *NOD_Node::step(const std::string &name)
{
    if (name.empty() || name == ".") {
        return this;
    }
    return name == ".." ? myParent : getChild(name);
}

NOD_Node *NOD_Node::findNode(const KIT_StringRef &path)
{
    const std::string_view text = path.view();
    NOD_Node *node = !text.empty() && text.front() == '/' ? getRoot() : this;
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

bool NOD_Node::loadChannels(KIT_IStream &is)
{
    NOD_Edit edit(*this, "Load channels");
    edit.change(*this);
    const bool loaded = myChannels.load(is);
    linkChannels();
    return loaded;
}

bool NOD_Node::loadPreset(const std::string &name)
{
    const int preset = myPresets ? myPresets->getPresetIndex(name.c_str()) : -1;
    if (preset < 0) {
        return false;
    }
    NOD_Edit edit(*this, "Load preset " + name);
    edit.change(*this);
    return readPresetFile(myPresets->getPresetPath(preset));
}

bool NOD_Node::loadPresetFile(const char *path)
{
    NOD_Edit edit(*this, "Load preset");
    edit.change(*this);
    return readPresetFile(path);
}

bool NOD_Node::loadPresetText(const std::string &text)
{
    NOD_Edit edit(*this, "Load preset");
    edit.change(*this);
    return readPreset([&](ZEL_PresetInfo &presets) {
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        return presets.loadPreset(myParms.get(), is);
    });
}

bool NOD_Node::readPresetFile(const char *path)
{
    return readPreset(
        [&](ZEL_PresetInfo &presets) { return presets.loadPresetFile(myParms.get(), path); });
}

/// Channels of items may come before the values that make the items, and values before their channels: such
/// a preset is read twice.
template <class Load>
bool NOD_Node::readPreset(const Load &load)
{
    const NOD_Batch batch(*this);
    const std::uint32_t structureBefore = myStructureVersion;
    ZEL_PresetInfo presets(thePresetTable, getTypeName().c_str());
    // An earlier error that wasn't read yet must not count as one of this load.
    KIT_ErrorManager::Scope scope(BASgetSTID());
    bool loaded = load(presets);
    if (myStructureVersion != structureBefore || scope.getManager().entries() > 0) {
        scope.getManager().clearAndDestroyErrors();
        loaded = load(presets);
    }
    scope.getOuterManager().stealErrors(scope.getManager());
    if (NOD_Graph *const graph = getWatcher()) {
        graph->channelsChanged(*this);
    }
    return loaded;
}

void NOD_Node::linkChannels()
{
    myParms->reloadChannelPtrs();
    if (NOD_Graph *const graph = getWatcher()) {
        graph->channelsChanged(*this);
    }
}

// ---------------------------------------------------------------------- //
// Spare parameters, and a new interface
// ---------------------------------------------------------------------- //

void NOD_Node::structureChanged()
{
    textsChanged();
    ++myStructureVersion;
    if (NOD_Graph *const graph = getWatcher()) {
        graph->structureChanged(*this);
    }
}

bool NOD_Node::mayHaveSpareParms() const
{
    if (isTypeMissing()) {
        KIT_WorkBuffer path;
        KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TYPE_MISSING, getFullPath(path));
    }
    return !isTypeMissing();
}

ZEL_Parm *NOD_Node::addSpareParm(const ZEL_Template &description)
{
    if (!mayHaveSpareParms()) {
        return nullptr;
    }
    NOD_Edit edit(*this, std::string("Add parameter ") + description.getTokenRef().nonNullStr());
    edit.change(*this);
    ZEL_Parm *const parm = mySpares.add(*myParms, description);
    if (parm) {
        structureChanged();
    }
    return parm;
}

ZEL_Parm *NOD_Node::addSpareParm(const std::shared_ptr<const NOD_Interface> &description,
                                 const char *token)
{
    const ZEL_Template *found = description ? description->getTemplates() : nullptr;
    while (found && token && !found->isTerminator() && found->getTokenRef() != token) {
        ++found;
    }
    if (!found || found->isTerminator()) {
        return nullptr;
    }
    mySpares.keep(description);
    return addSpareParm(*found);
}

bool NOD_Node::removeSpareParm(const char *token)
{
    NOD_Edit edit(*this, std::string("Remove parameter ") + (token ? token : ""));
    edit.change(*this);
    return mySpares.remove(*myParms, KIT_StringRef(token));
}

bool NOD_Node::setSpareParms(const ZEL_Template *templates)
{
    if (templates && !mayHaveSpareParms()) {
        return false;
    }
    NOD_Edit edit(*this, "Set spare parameters");
    edit.change(*this);
    mySpares.set(*myParms, templates);
    structureChanged();
    return true;
}

bool NOD_Node::setSpareParms(const std::shared_ptr<const NOD_Interface> &description)
{
    mySpares.keep(description);
    return setSpareParms(description ? description->getTemplates() : nullptr);
}

bool NOD_Node::createSpareParametersForLoad(KIT_StringArray &names, ZEL_ParmNameMap &map,
                                            KIT_String &)
{
    if (isTypeMissing()) {
        return false;
    }
    const NOD_Batch batch(*this);
    mySpares.createForLoad(*myParms, names, map);
    structureChanged();
    return true;
}

void NOD_Node::renewParms(ZEL_Template *templates, const char *nodeType)
{
    NOD_Edit edit(*this, "Renew parameters");
    edit.change(*this);
    renew(NOD_NodeSeed(templates, nodeType));
}

void NOD_Node::renewParms(std::shared_ptr<const NOD_Interface> description)
{
    NOD_Edit edit(*this, "Renew parameters");
    edit.change(*this);
    const bool keptFlag = description && isTypeMissing();
    renew(NOD_NodeSeed(std::move(description)));
    if (keptFlag) {
        NOD_Report report;
        NOD_NodeSections::loadKept(*this, report);
        for (const NOD_Message &message : report.getMessages()) {
            // What is a text alone has no sentence in an error manager.
            const bool scriptFlag = message.category == theKITScriptCategory;
            const bool codeFlag = KITgetMessageText(message.category.c_str(), message.code);
            KITgetErrorManager().add(scriptFlag ? theKITCommonCategory
                                     : codeFlag ? message.category.c_str()
                                                : ZEL_ERROR_CATEGORY,
                                     scriptFlag ? int(KIT_COMMON_BAD_SCRIPT)
                                     : codeFlag ? message.code
                                                : int(ZEL_ERR_PARM),
                                     message.asText().c_str(), message.severity, message.detail);
        }
    }
}

void NOD_Node::renew(const NOD_NodeSeed &seed)
{
    // Defaults are applied later: what is taken over needs none, and they mustn't touch its channels.
    constexpr bool buildDefaults = false;
    constexpr bool deleteChannels = false;
    constexpr bool forceCopy = false;
    const NOD_Batch batch(*this);
    if (NOD_Graph *const graph = getWatcher()) {
        graph->nodeLeaves(*this);
    }
    std::unique_ptr<ZEL_ParmList> fresh = makeList(seed, buildDefaults);
    const NOD_SpareParms::Templates formerSpares = mySpares.moveTo(*fresh);
    fresh->adoptParmList(*myParms, forceCopy);
    fresh->updateFromOldTemplate(myParms.get());
    myParms->setEventHandler(nullptr, nullptr);
    myParms->clearParmOwner();
    setParmList(fresh.get());
    myParms.swap(fresh);
    myParms->setEventHandler(this, handleChange);
    myParms->buildDelayedDefaults(deleteChannels);
    fresh.reset();
    keepSeed(seed);
    structureChanged();
}

void NOD_Node::renewAs(const std::shared_ptr<const NOD_Interface> &interface,
                       ZEL_Template *templates, const std::string &typeName)
{
    // A type that is missing must not name the tables of one that comes later.
    renew(interface ? NOD_NodeSeed(interface)
                    : NOD_NodeSeed(templates, templates ? typeName.c_str() : ""));
    myPlainType = interface ? "" : typeName;
}

void NOD_Node::clearVariables()
{
    const NOD_Edit edit(*this, "Clear variables");
    if (NOD_UndoStack *const undo = getUndo()) {
        undo->textsChange(*this);
    }
    const std::map<std::string, std::string> former = std::move(myVariables);
    myVariables.clear();
    NOD_Graph *const graph = getWatcher();
    for (auto at = former.begin(); graph && at != former.end(); ++at) {
        graph->variableChanged(*this, at->first);
    }
}

void NOD_Node::setVariable(const std::string &name, const std::string &value)
{
    const NOD_Edit edit(*this, "Set variable " + name);
    if (NOD_UndoStack *const undo = getUndo()) {
        undo->textsChange(*this);
    }
    myVariables[name] = value;
    if (NOD_Graph *const graph = getWatcher()) {
        graph->variableChanged(*this, name);
    }
}

void NOD_Node::handleChange(void *data, TRK_CHANGE_TYPE type, int parmIndex)
{
    NOD_Node &node = *static_cast<NOD_Node *>(data);
    const bool savedFlag = type == TRK_CHANGE_VALUE || type == TRK_CHANGE_LOCK;
    NOD_UndoStack *const undo = savedFlag && node.myWatchedFlag ? node.getUndo() : nullptr;
    if (undo) {
        undo->parmChanged(node, parmIndex);
    }
    if (const auto callback = node.myChangeCallback) { // it may replace itself
        (*callback)(node, type, parmIndex);
    }
    if (NOD_Graph *graph = node.getWatcher()) {
        graph->parmChanged(node, type, parmIndex);
    }
}

// ---------------------------------------------------------------------- //
// Slots of ZEL_ParmOwner
// ---------------------------------------------------------------------- //

void NOD_Node::appendPath(KIT_WorkBuffer &path) const
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

const char *NOD_Node::getFullPath(KIT_WorkBuffer &path) const
{
    path.clear();
    appendPath(path);
    return path.buffer();
}

void NOD_Node::rebuildParmDependency(int parmIndex)
{
    if (myDependencyCallback) {
        myDependencyCallback(*this, parmIndex);
    }
    if (NOD_Graph *graph = getWatcher()) {
        graph->parmChanged(*this, TRK_CHANGE_VALUE, parmIndex);
    }
}

void NOD_Node::parmRemoved(int parmIndex)
{
    ++myStructureVersion;
    if (NOD_Graph *const graph = getWatcher()) {
        graph->parmLeaves(*this, parmIndex);
    }
}

void NOD_Node::spareParmRemoved(const char *)
{
    ++myStructureVersion;
}

void NOD_Node::multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms)
{
    constexpr bool deleteChannels = true;
    for (ZEL_Parm *parm : parms) {
        if (parm && parm->getInstance()) {
            parm->getInstance()->revertToDefaults(deleteChannels);
        }
    }
    ++myStructureVersion;
    if (NOD_Graph *const graph = getWatcher()) {
        graph->itemAppears(*this);
    }
}

void NOD_Node::multiInstancesChanged()
{
    structureChanged();
}

bool NOD_Node::runMenuScript(const char *, std::ostream &, std::ostream &err)
{
    err << "this application has no command language\n";
    return false;
}

bool NOD_Node::savePresetContents(std::ostream &os)
{
    constexpr bool binary = false;
    constexpr bool compact = false;
    os << "channels\n";
    myChannels.save(os, binary);
    os << "values\n";
    myParms->save(os, binary, compact);
    return os.good();
}

void NOD_Node::pushScriptContext(std::unique_ptr<ZEL_ParmOwnerContext> &scope)
{
    KIT_WorkBuffer path;
    scope = std::make_unique<ScriptContext>(getFullPath(path));
}

ZEL_Parm *NOD_Node::followChannelReference(int index, double time, int parmIndex, int &component)
{
    const ZEL_Parm *const parm = myParms->getParmPtr(parmIndex);
    const TRK_Channel *const channel = parm ? parm->getChannel(index) : nullptr;
    const TRK_Segment *const segment = channel ? channel->getExpressionSegment(time) : nullptr;
    if (!segment || segment->isInterpolated() ||
        segment->getExprLanguage() != TRK_LANGUAGE_NATIVE) {
        return nullptr;
    }
    int count = 0;
    ZEL_Parm *target = nullptr;
    TRK_Manager::forEachReference(
        segment->getExpression(), [&](const KIT_StringRef &path, const KIT_StringRef &name) {
            NOD_Node *const node = ++count == 1 ? findNode(path) : nullptr;
            target = node ? node->myParms->getParmPtrFromChannel(name, &component) : nullptr;
        });
    return target;
}

KIT_StringHolder NOD_Node::evaluateDisableExpression(const ZEL_Parm &,
                                                     const KIT_StringRef &expression)
{
    const int thread = BASgetSTID();
    const double time = TRK_Manager::getContext().getEvaluateTime(thread);
    KIT_String text;
    TRK_Expression::evaluateTextString(expression.c_str(), time, &myChannels, thread, text);
    return KIT_StringHolder(text.nonNullStr());
}

// ---------------------------------------------------------------------- //
// Slots of TRK_PathResolver
// ---------------------------------------------------------------------- //

TRK_Collection *NOD_Node::findCollection(const KIT_StringRef &path)
{
    NOD_Node *node = findNode(path);
    return node ? &node->myChannels : nullptr;
}

bool NOD_Node::getVariable(const KIT_StringRef &name, KIT_String &value)
{
    const std::string key(name.view());
    for (const NOD_Node *node = this; node; node = node->myParent) {
        const auto entry = node->myVariables.find(key);
        if (entry != node->myVariables.end()) {
            value.harden(entry->second.c_str());
            return true;
        }
    }
    return false;
}

void NOD_Node::referenceFound(const TRK_Referrer &from, const KIT_StringRef &path,
                              const KIT_StringRef &name, int)
{
    if (NOD_Graph *graph = getWatcher()) {
        graph->referenceFound(*this, from, path, name);
    }
}

void NOD_Node::textsChanged()
{
    if (BASload(myUnreadFlag)) {
        return;
    }
    if (NOD_ReferenceIndex *const references = getRoot()->myReferences) {
        references->note(*this);
    }
}

void NOD_Node::getPath(KIT_WorkBuffer &path)
{
    appendPath(path);
}
