/// \file NOD_Node.h
/// A node: a named place in a tree with parameters, channels and change events. What
/// an application would start from when it puts the library under its own nodes.
///
/// Vocabulary: *path* = names from the root, as "/obj/light"; *relative path* = "..", "../light",
///             "." from a node on; *node type* = the name under which lists of equal templates
///             share their name tables; *structure* = which parameters the node has.
/// Units:      parm indices as in ZEL_ParmList; time in seconds.
/// Ownership:  owns its children, its channels, its parameters and their presets; shares its
///             interface. Templates given as a plain array are borrowed and must outlive it.
/// Threads:    evaluation of all nodes of a tree from any thread at once, references included.
///             Everything that changes a node, a variable or the tree belongs to one thread, while
///             no thread evaluates.
/// Errors:     look-ups return null or false. Loading channels reports to the thread's error
///             manager and returns false.
///
/// The slots of ZEL_ParmOwner below are filled as far as a plain tree of nodes needs: a fuller
/// application adds menu scripts where these say that there are none.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_NodeSeed.h>
#include <NOD/NOD_SpareParms.h>

#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_ValueSource.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class KIT_IStream;
class KIT_StringArray;
class NOD_ChannelTaker;
class NOD_Graph;
class NOD_Interface;
class NOD_ReferenceIndex;
class NOD_UndoStack;
class ZEL_Parm;
class ZEL_Template;

class NOD_API NOD_Node : public ZEL_ParmOwner, public TRK_PathResolver
{
public:
    /// Called for each change: the list's change types, and the parameter's index, -1 for none.
    using ChangeCallback = std::function<void(NOD_Node &, TRK_CHANGE_TYPE, int parmIndex)>;
    /// Called for a button, and for a parameter whose dependencies may have changed.
    using DependencyCallback = std::function<void(NOD_Node &, int parmIndex)>;

    /// The table under which presets of these nodes are kept.
    static constexpr const char *thePresetTable = "Node";

    /// A root, whose path is "/". Null templates make a node without parameters. A node with a type
    /// starts with the type's preset "Permanent Defaults", if there is one and no load is running
    /// (ZEL_ParmList::isLoading); what is wrong with it is reported to the thread's error manager.
    explicit NOD_Node(ZEL_Template *templates = nullptr, const char *nodeType = nullptr);
    /// For NOD_NodeMaker. What the list of parameters asks its owner while it is made reaches the slots
    /// below, not those that a derived class overrides.
    explicit NOD_Node(const NOD_NodeSeed &seed);
    ~NOD_Node() override;

    NOD_Node(const NOD_Node &) = delete;
    NOD_Node &operator=(const NOD_Node &) = delete;

    // ------------------------------------------------------------------ //
    /// \name The tree
    // ------------------------------------------------------------------ //
    ///@{
    /// Null if the name is taken, empty, "." or "..", or holds a "/".
    NOD_Node *addChild(const char *name, std::shared_ptr<const NOD_Interface> description);
    NOD_Node *addChild(const char *name, ZEL_Template *templates = nullptr,
                       const char *nodeType = nullptr);
    const std::string &getName() const { return myName; }
    /// Not empty, "." or "..", and without "/" and bytes of 0.
    static bool isValidName(const std::string &name);
    /// What the node was made of; null for one without parameters, or of a plain array.
    const std::shared_ptr<const NOD_Interface> &getInterface() const { return myInterface; }
    /// The array of a node that has no interface; null for none.
    ZEL_Template *getPlainTemplates() const { return myPlainTemplates; }
    /// The name of the node's type; "" for none.
    const std::string &getTypeName() const;
    NOD_Node *getParent() const { return myParent; }
    NOD_Node *getChild(const std::string &name) const;
    const std::vector<std::unique_ptr<NOD_Node>> &getChildren() const { return myChildren; }
    /// Absolute, or relative to this node; null if there is none.
    NOD_Node *findNode(const KIT_StringRef &path);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Parameters and channels
    // ------------------------------------------------------------------ //
    ///@{
    ZEL_ParmList &getParms() { return *myParms; }
    const ZEL_ParmList &getParms() const { return *myParms; }
    TRK_Collection &getChannels() { return myChannels; }
    /// Reads a channel file and links the parameters to what it brought; false if it is malformed.
    bool loadChannels(KIT_IStream &is);
    /// The presets of the node's type; null for a node without one.
    ZEL_PresetInfo *getPresets() { return myPresets.get(); }
    /// Sets what the preset of that name has; false if there is none, or it is malformed.
    bool loadPreset(const std::string &name);
    /// The same of a preset's path, as ZEL_PresetInfo::getPresetPath has it. Its sections may be in either
    /// order.
    bool loadPresetFile(const char *path);
    /// The same of the text of one.
    bool loadPresetText(const std::string &text);
    /// Links each parameter to the channels of its names, as after channels were added or removed, or
    /// aliases set: dependencies are found anew.
    void linkChannels();
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Names that a load doesn't know
    // ------------------------------------------------------------------ //
    ///@{
    /// Streams of older versions say `savedName` for what is called `name` now, both with a `#` for each number in the
    /// names of items. NOD_MigrationMap::addRenames takes those of a map.
    void addRename(const std::string &savedName, const std::string &name)
    {
        mySpares.addRename(savedName, name);
    }
    /// Templates, up to a terminator, for names that the node type doesn't have: a load that meets
    /// such a name makes it a spare parameter. Borrowed; null for none.
    void setSpareTemplates(ZEL_Template *templates) { mySpares.setKnown(templates); }
    /// With the flag any other name that can be a parameter's becomes a spare float, unless the
    /// process wants none (ZEL_Parm::setMakeSpareParmsForUnknownChannelsFlag). Without, which is how
    /// a node starts, it is reported and skipped.
    void setKeepUnknownNames(bool keep) { mySpares.setKeepUnknownNames(keep); }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Spare parameters, and a new interface   (see NOD_SpareParms.h)
    /// A node whose type is missing gets no spare parameters: it is saved as it was, so they would be
    /// lost. That is reported to the thread's error manager. Handles (ZEL_Handle.h) stay good through all
    /// of this: they are about the parameter that has their name then.
    // ------------------------------------------------------------------ //
    ///@{
    /// One more spare parameter; null if the name is taken. Pointers to the others end with it. What the
    /// description points to must outlive the node and its steps of undo.
    ZEL_Parm *addSpareParm(const ZEL_Template &description);
    /// The same of a parameter of an interface, by its token or the first one; null also if there is none.
    /// The node shares the interface from then on.
    ZEL_Parm *addSpareParm(const std::shared_ptr<const NOD_Interface> &description,
                           const char *token = nullptr);
    /// False if there is none of that name.
    bool removeSpareParm(const char *token);
    /// The whole new set, null for none. False if there can be none.
    bool setSpareParms(const ZEL_Template *templates);
    bool setSpareParms(const std::shared_ptr<const NOD_Interface> &description);
    const NOD_SpareParms &getSpareParms() const { return mySpares; }
    /// Rebuilds the list from other templates, borrowed from now on, and takes over what has the
    /// same token and kind: values, locks, channels, items, and the spare parameters. What is at
    /// its default takes the new one. The old list is destroyed, and pointers into it end; handles on it
    /// are on the new one. A node whose type was missing loads the sections that it kept; what is wrong
    /// with them is reported to the thread's error manager.
    void renewParms(std::shared_ptr<const NOD_Interface> description);
    void renewParms(ZEL_Template *templates, const char *nodeType = nullptr);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name What a saved node had that nobody knows here   (see NOD_NodeSections.h)
    // ------------------------------------------------------------------ //
    ///@{
    /// Names of sections, without the node's path, and their contents.
    using Sections = std::vector<std::pair<std::string, std::string>>;

    /// The sections are saved again with the node. A type name is that of a type that isn't there, for a
    /// node without parameters; "" for none.
    void keepSections(const std::string &typeName, Sections sections);
    const Sections &getKeptSections() const { return myKeptSections; }
    /// The version of its type that the node is of (NOD_MigrationMap.h), where a file or a walk has said it; "" if
    /// not. It is one of the kept sections, and saved as a line of the node's own.
    std::string getTypeVersion() const;
    void setTypeVersion(const std::string &version);
    /// Its name: no section of a file has a blank in its kind.
    static constexpr const char *theVersionSection = "node version";
    /// Whether the node's type wasn't there when it was loaded, nor was it given one since.
    bool isTypeMissing() const { return !myInterface && !myPlainTemplates && !myPlainType.empty(); }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Surroundings
    // ------------------------------------------------------------------ //
    ///@{
    /// It may change anything, the tree and itself included: what it removes exists until the library is
    /// done with the change.
    void setChangeCallback(ChangeCallback callback)
    {
        myChangeCallback =
            callback ? std::make_shared<const ChangeCallback>(std::move(callback)) : nullptr;
    }
    void setDependencyCallback(DependencyCallback callback)
    {
        myDependencyCallback = std::move(callback);
    }
    /// A variable of this node and of all below it, for expressions and texts as `$NAME`.
    void setVariable(const std::string &name, const std::string &value);
    /// Those of this node alone.
    const std::map<std::string, std::string> &getVariables() const { return myVariables; }
    void clearVariables();
    /// What keeps the dependencies of the whole tree, null for none. The graph sets itself.
    void setGraph(NOD_Graph *graph) { getRoot()->myGraph = graph; }
    /// Null without one.
    NOD_Graph *getGraph() { return getRoot()->myGraph; }
    /// What makes the nodes of the tree from now on: added, copied, loaded. Empty: plain ones.
    void setNodeMaker(NOD_NodeMaker maker) { getRoot()->myMaker = std::move(maker); }
    /// What records the edits of the whole tree, null for none. The stack sets itself.
    NOD_UndoStack *getUndo() { return getRoot()->myUndo; }
    /// Increases whenever parameters are added or removed: caches by parm index are then stale.
    std::uint32_t getStructureVersion() const { return myStructureVersion; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Slots of ZEL_ParmOwner
    // ------------------------------------------------------------------ //
    ///@{
    using ZEL_ParmOwner::getFullPath;

    const char *getFullPath(KIT_WorkBuffer &path) const override;
    bool createSpareParametersForLoad(KIT_StringArray &names, ZEL_ParmNameMap &map,
                                      KIT_String &errors) override;
    void rebuildParmDependency(int parmIndex) override;
    void parmRemoved(int parmIndex) override;
    void spareParmRemoved(const char *token) override;
    /// New items start from their templates' defaults.
    void multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms) override;
    void multiInstancesChanged() override;

    /// There is none: a load skips what the list doesn't have.
    ZEL_ParmList *supplyFallbackList() override { return nullptr; }
    void settleFallbackList(ZEL_ParmList **) override {}
    /// Says on `err` that there is no command language; false.
    bool runMenuScript(const char *script, std::ostream &out, std::ostream &err) override;
    void pushScriptContext(std::unique_ptr<ZEL_ParmOwnerContext> &scope) override;
    void *ownerHook() override { return nullptr; }
    void adjustExpandedPath(KIT_String &) override {}
    /// Writes channels and values, the sections that every preset may have.
    bool savePresetContents(std::ostream &os) override;
    /// The node has no sections of its own.
    bool loadPresetSection(const char *, KIT_IStream &) override { return false; }
    int getParmEditState() override { return 0; }
    /// The target of the one literal reference in the channel's expression there; null for others.
    ZEL_Parm *followChannelReference(int index, double time, int parmIndex,
                                     int &component) override;
    /// The value of the expression as text, for conditions; empty if it fails.
    KIT_StringHolder evaluateDisableExpression(const ZEL_Parm &parm,
                                               const KIT_StringRef &expression) override;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Slots of TRK_PathResolver   (any thread)
    // ------------------------------------------------------------------ //
    ///@{
    TRK_Collection *findCollection(const KIT_StringRef &path) override;
    bool getVariable(const KIT_StringRef &name, KIT_String &value) override;
    void getPath(KIT_WorkBuffer &path) override;
    void referenceFound(const TRK_Referrer &from, const KIT_StringRef &path,
                        const KIT_StringRef &name, int thread) override;
    void textsChanged() override;
    ///@}

private:
    friend class NOD_ReferenceIndex;
    friend class NOD_Scene;
    friend class NOD_UndoStack;
    friend class NOD_UndoStep;
    friend struct NOD_NodeParts;
    friend struct NOD_TreePlace;

    NOD_Node *adopt(const char *name, NOD_NodeSeed seed);
    /// Another node with all that this one has, but for its children.
    NOD_Node *copyTo(NOD_Node &parent, const char *name);
    /// To a node of the same interface, as it was made.
    void copyContents(NOD_Node &copy);
    std::unique_ptr<NOD_Node> takeChild(const NOD_Node &child);
    std::unique_ptr<ZEL_ParmList> makeList(const NOD_NodeSeed &seed, bool buildDefaults);
    void renew(const NOD_NodeSeed &seed);
    /// To what it was, by getInterface, getPlainTemplates and getTypeName.
    void renewAs(const std::shared_ptr<const NOD_Interface> &interface, ZEL_Template *templates,
                 const std::string &typeName);
    void keepSeed(const NOD_NodeSeed &seed);
    /// Once it is made and has its place.
    void begin();
    void structureChanged();
    /// Reports why not.
    bool mayHaveSpareParms() const;
    /// Out of its parent, with all below it; nothing depends on it any more.
    std::unique_ptr<NOD_Node> leaveTree();
    /// To a place among a parent's children, from its own parent or, if it has none, from its owner. Out
    /// of memory changes nothing.
    void enterTree(std::unique_ptr<NOD_Node> &owner, NOD_Node &parent, std::size_t place,
                   const std::string &name);
    /// The node and those below it were outside of the tree.
    void comeBack();
    /// Within the tree.
    void changePlace(NOD_Node &parent, std::size_t place, const std::string &name);
    /// Among the parent's children.
    std::size_t findPlace() const;
    /// After a child came or got its name, and before it goes or loses it.
    void addName(NOD_Node &child);
    void removeName(const NOD_Node &child)
    {
        myChildrenByName.erase(child.myName);
        myTakenNumbers.clear();
    }

    void applyDefaultPreset();
    bool readPresetFile(const char *path);
    template <class Load>
    bool readPreset(const Load &load);
    static void handleChange(void *data, TRK_CHANGE_TYPE type, int parmIndex);
    NOD_Node *getRoot();
    /// The graph, once there is something to watch.
    NOD_Graph *getWatcher() { return myWatchedFlag ? getGraph() : nullptr; }
    NOD_Node *step(const std::string &name);
    void appendPath(KIT_WorkBuffer &path) const;

    NOD_Node *myParent = nullptr;
    NOD_Graph *myGraph = nullptr;               ///< of the root only
    NOD_UndoStack *myUndo = nullptr;            ///< the same
    NOD_ReferenceIndex *myReferences = nullptr; ///< the same
    NOD_NodeMaker myMaker;                      ///< the same
    std::string myName;
    mutable std::size_t myLastPlace = 0; ///< among its siblings, when it was asked last
    std::map<std::string, std::string> myVariables;
    std::shared_ptr<const ChangeCallback> myChangeCallback;
    DependencyCallback myDependencyCallback;
    std::uint32_t myStructureVersion = 0;
    bool myWatchedFlag = false; ///< it has been made
    bool myUnreadFlag = true;   ///< relaxed: changes of its texts needn't be told
    // Parameters read their templates until they are destroyed.
    std::shared_ptr<const NOD_Interface> myInterface;
    ZEL_Template *myPlainTemplates = nullptr; ///< of a node without an interface
    std::string myPlainType;
    NOD_SpareParms mySpares;
    Sections myKeptSections;
    std::unique_ptr<ZEL_PresetInfo> myPresets;
    std::unique_ptr<NOD_ChannelTaker> myChannelTaker; ///< of states for undo; null: none yet
    // The order matters: parameters give their channels back, so they must be destroyed first, and
    // the children before either.
    TRK_Collection myChannels;
    std::unique_ptr<ZEL_ParmList> myParms;
    std::vector<std::unique_ptr<NOD_Node>> myChildren;
    std::unordered_map<std::string, NOD_Node *> myChildrenByName; ///< empty for few
    /// Up to which number behind a name NOD_Scene::freeName has found all taken.
    mutable std::unordered_map<std::string, int> myTakenNumbers;
};
