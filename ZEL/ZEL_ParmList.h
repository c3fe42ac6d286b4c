/// \file ZEL_ParmList.h
/// The parameters of one node: found by name, evaluated at a time, changed, watched.
///
/// Vocabulary: *token* = a parameter's program name ("t"); *channel token* = a component's name
///             ("tx"); *alias* = a second name of a component's channel; *instance table* = the
///             names of parameters added after construction; *shared tables* = the names in the
///             node type's templates, shared by all its lists.
/// Units:      parm indices are 0-based and stable until a parameter is removed; component
///             indices 0-based; time in the channel library's seconds.
/// Ownership:  owns its `ZEL_Parm`s. Borrows templates, collection, owner, preset info and event
///             data: templates, presets and event data must outlive the list, an owner that is
///             destroyed first calls `clearParmOwner`. The collection owns the channels, and the list
///             deletes those of its parameters when it is destroyed. A collection that is destroyed
///             first leaves it without channels, with the values that it had last.
/// Threads:    look-up and evaluation from any thread at once, with no lock. `getMagicString`,
///             `checkTimeDependence`, `getChanState` and the other walks on any thread but one at
///             a time for one list. Building, setting, events and structure changes belong to one
///             thread; parameters must not be added or removed during evaluation. Lists are built
///             on one thread at a time.
/// Errors:     look-ups report nothing; evaluation by an unknown name gives 0 or "". Out of memory
///             throws std::bad_alloc: a constructor then has no effect, and a list that was to be
///             replaced keeps its values and channels.
/// Cost:       `evalFloat` by name is one hash (cached in the reference), one short probe and one
///             virtual call.
#pragma once

#include <BAS/BAS_Relaxed.h>
#include <BAS/BAS_SpinLock.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_ValArray.h>
#include <LNK/LNK_ContextOptionDeps.h>
#include <TRK/TRK_Types.h>
#include <TRK/TRK_ValueSource.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_HandleAnchor.h>
#include <ZEL/ZEL_NameTable.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_UndoData.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <vector>

class KIT_IStream;
class KIT_String;
class KIT_StringArray;
class KIT_TokenString;
class KIT_WorkBuffer;
class LNK_MicroNode;
class TRK_ChannelRef;
class TRK_Collection;
class ZEL_ConstMicroNode;
class ZEL_Multi;
class ZEL_Name;
class ZEL_ORCallback;
class ZEL_OpSharedInfo;
class ZEL_Parm;
class ZEL_ParmMicroNode;
class ZEL_ParmOwner;
class ZEL_ParmPlaces;
class ZEL_PresetInfo;
class ZEL_Template;
class ZEL_Type;

/// Destroys a parameter that the library or the application made.
struct ZEL_API ZEL_ParmDeleter
{
    void operator()(ZEL_Parm *parm) const;
};
using ZEL_OwnedParm = std::unique_ptr<ZEL_Parm, ZEL_ParmDeleter>;

class ZEL_API ZEL_ParmList
{
public:
    using EventHandler = void (*)(void *data, TRK_CHANGE_TYPE type, int parmIndex);

    // ------------------------------------------------------------------ //
    /// \name Life
    // ------------------------------------------------------------------ //
    ///@{
    /// Creates a parameter for each template up to the terminator. Lists with the same non-empty
    /// `sharedName` share the tables of the first. `deleteChannels` is passed to
    /// `buildDelayedDefaults`, which runs unless `buildDefaults` is false. If the collection has no
    /// value source, this list becomes the one that evaluates `ch()` references by name.
    ZEL_ParmList(ZEL_Template *templates, TRK_Collection *collection, ZEL_ParmOwner *owner,
                 ZEL_PresetInfo *presetInfo, const KIT_StringRef &sharedName, bool deleteChannels,
                 bool buildDefaults);
    ZEL_ParmList(ZEL_Template *templates, TRK_Collection *collection, ZEL_ParmOwner *owner,
                 ZEL_PresetInfo *presetInfo, const KIT_StringRef &sharedName, bool deleteChannels);
    /// Replaces an older list of the same node: copies its parameters, spare ones and items
    /// included, on the same templates; copies its masks; and takes over its collection and
    /// channels, which `source` loses. `templates` are those of `source`, for the name tables.
    /// Parameters at their factory default get the default anew, unless `forceCopy`. Handles on
    /// `source` (ZEL_Handle.h) are on this list from then on.
    ZEL_ParmList(ZEL_ParmList &source, ZEL_Template *templates, ZEL_ParmOwner *owner,
                 ZEL_PresetInfo *presetInfo, const KIT_StringRef &sharedName, bool forceCopy);
    /// Destroys the parameters from the last to the first.
    ~ZEL_ParmList();

    ZEL_ParmList(const ZEL_ParmList &) = delete;
    ZEL_ParmList &operator=(const ZEL_ParmList &) = delete;

    /// Reverts every instance whose defaults haven't been applied yet.
    void buildDelayedDefaults(bool deleteChannels);
    /// Adds a parameter under its token and channel tokens; takes ownership. Returns its index.
    /// An exception frees the parameter and leaves the list unchanged.
    int appendParm(ZEL_Parm *parm);
    /// The only way to remove a parameter. Nothing for one that is neither spare nor an instance
    /// of a multi-parameter. Later indices move down by one.
    void removeAndDestroyParm(int index);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Look-up   (any thread, no lock)
    // ------------------------------------------------------------------ //
    ///@{
    int getEntries() const { return int(myParms.size()); }
    /// -1 for a null or unknown token. A template's token can't be hidden by an added one. A list that
    /// shares its name with one of other templates has the indices of that one, those it has.
    int getParmIndex(const KIT_StringRef &token) const;
    int getParmIndex(const char *token) const { return getParmIndex(KIT_StringRef(token)); }
    int getParmIndex(const ZEL_Name &name) const;
    /// Asks first whether `likely` is the index, as where tokens come in list order.
    int getLikelyParmIndex(std::string_view token, int likely) const;
    /// Looks up by the token of `parm`, which may belong to another list.
    int getParmIndex(const ZEL_Parm *parm) const;
    /// Null outside 0 .. entries - 1.
    ZEL_Parm *getParmPtr(int index)
    {
        return std::uint64_t(index) < std::uint64_t(myParms.size()) ? myParms[index] : nullptr;
    }
    const ZEL_Parm *getParmPtr(int index) const
    {
        return std::uint64_t(index) < std::uint64_t(myParms.size()) ? myParms[index] : nullptr;
    }
    ZEL_Parm *getParmPtr(const ZEL_Name &name);
    const ZEL_Parm *getParmPtr(const ZEL_Name &name) const;
    ZEL_Parm *getParmPtr(const KIT_StringRef &token, int &index);
    const ZEL_Parm *getParmPtr(const KIT_StringRef &token, int &index) const;
    ZEL_Parm *getParmPtr(const KIT_StringRef &token);
    const ZEL_Parm *getParmPtr(const KIT_StringRef &token) const;
    ZEL_Parm *getParmPtr(const char *token) { return getParmPtr(KIT_StringRef(token)); }
    const ZEL_Parm *getParmPtr(const char *token) const { return getParmPtr(KIT_StringRef(token)); }
    /// By channel token, or alias if allowed. -1 if the component found isn't in the vector;
    /// `*subIndex` then still returns it. `subIndex` may be null; an unknown name doesn't write
    /// `*subIndex`.
    int getParmIndexFromChannel(const KIT_StringRef &token, int *subIndex,
                                bool allowAlias = true) const;
    int getParmIndex(const KIT_StringRef &token, int &subIndex, bool allowAlias = true) const;
    ZEL_Parm *getParmPtrFromChannel(const KIT_StringRef &token, int *subIndex);
    const ZEL_Parm *getParmPtrFromChannel(const KIT_StringRef &token, int *subIndex) const;
    /// The parameter of one instance of a multi-parameter's child token; null and -1 if none.
    ZEL_Parm *getParmPtrInst(const KIT_StringRef &token, const int *instances, int count,
                             int &index);
    const ZEL_Parm *getParmPtrInst(const KIT_StringRef &token, const int *instances, int count,
                                   int &index) const;
    ZEL_Parm *getParmPtrInst(const KIT_StringRef &token, const int *instances, int count);
    const ZEL_Parm *getParmPtrInst(const KIT_StringRef &token, const int *instances,
                                   int count) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Multi-parameters
    // ------------------------------------------------------------------ //
    ///@{
    /// Creates the parameters of a new item of `multi` from its templates. If a parameter with the
    /// token exists, the new one takes over its state and replaces it; only the others are appended
    /// to `created`. Called by the multi-parameter.
    void appendMultiParms(const ZEL_Multi &multi, ZEL_Template *templates, int count, bool spare,
                          const KIT_ValArray<int> &instances, KIT_ValArray<ZEL_Parm *> &created);
    /// Reserves memory for that many more parameters and components, so that adding many items
    /// reallocates no table.
    void reserveParms(std::int64_t parms, std::int64_t components);
    /// Prefetches what a look-up of an added parameter's token will read.
    void prefetchToken(const KIT_StringRef &token) const { myInstanceTokens.prefetch(token); }
    /// The same for the channels of a parameter that will be added with this template.
    void prefetchChannels(const ZEL_Template &description) const;
    /// Inserts or removes an item of the multi-parameter at an index, with the channel aliases of
    /// the items that move. Nothing if there is no multi-parameter.
    void insertMultiParmItem(int parmIndex, int item);
    void removeMultiParmItem(int parmIndex, int item);
    /// Whether a name matches a multi-parameter of this list as one of its instances; adds items
    /// until that one exists.
    bool checkMultiParmInstance(const KIT_StringRef &name, bool evaluateChildren);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Spare parameters and migration   (the list's own thread, between cooks)
    /// A parameter takes over another's state if both have the same basic type, and the items if
    /// both are multi-parameters. If the old one is at its factory default, the new one gets the
    /// new default instead, unless `forceCopy`; the text of a label always does.
    // ------------------------------------------------------------------ //
    ///@{
    /// Replaces the spare parameters: `templates`, up to a terminator, are the complete new set,
    /// null for none. Parameters whose token is in both sets keep their state and move to the end
    /// of the list, in the order of the templates; the owner is notified of each removed one
    /// (`spareParmRemoved`). Tokens that non-spare parameters have are skipped. Outside a load,
    /// event 4 is sent in advance for each parameter that is changed or removed. The old templates
    /// must live until the call returns; if it throws, some parameters use the new templates and
    /// the others still the old ones, so both must live until a later call succeeds. Callbacks may
    /// read the list; replaced parameters are removed when all new ones exist, then the others.
    /// Costs time linear in the parameters.
    void updateSpareParmTemplates(ZEL_Template *templates, bool forceCopy);
    /// Adds one spare parameter at the end, with its default, and leaves the others as they are;
    /// `description` must live as long as a set's. Null if the token is taken, or if the
    /// description makes no parameter; an exception adds nothing.
    ZEL_Parm *addSpareParm(ZEL_Template &description);
    /// Takes over the state of an older list of the same node for parameters with the same token,
    /// and its collection, which `from` loses; channels that aren't taken over are deleted. For a
    /// list made with `buildDefaults` false; call `buildDelayedDefaults` afterwards. Handles on
    /// `from` (ZEL_Handle.h) are on this list from then on.
    void adoptParmList(ZEL_ParmList &from, bool forceCopy);
    /// Sets the active take flag of each parameter if the one with the same token in `oldList` has
    /// it; copies nothing else. Null is allowed.
    void updateFromOldTemplate(const ZEL_ParmList *oldList);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Streams   (the list's own thread; see docs/stream.md for the form)
    // ------------------------------------------------------------------ //
    ///@{
    /// Writes all parameters. `compact` implies binary, without separators and labels. If memory
    /// runs out, reports an error and sets the stream's fail state. As text, leaves out each
    /// parameter whose name that form can't hold, and reports it as an error after the others.
    void save(std::ostream &os, bool binary, bool compact) const;
    /// Writes a stream of one entry; nothing at all for null.
    void saveSingle(ZEL_Parm *parm, std::ostream &os, bool binary) const;
    /// Whether the text form can hold a parameter of that name: one word, not "}", and without the
    /// "#" of a comment in front.
    static bool isTextName(const KIT_StringRef &token);
    /// Whether a file that starts with these bytes can be what `save` wrote, in either form: a test for
    /// KIT_IFStream.
    static bool canBeStream(std::string_view start);
    /// Reads what `save` wrote, text or binary as the stream is; `name` names it in messages and
    /// may be null. A parameter that isn't in the stream keeps its value. Entries that this list
    /// doesn't have are loaded into `fallbackList`, which may be null; names in neither are first
    /// passed to the owner's `createSpareParametersForLoad`. What was set before a failure stays.
    /// True if every entry was loaded without an error.
    bool load(KIT_IStream &is, const char *name, ZEL_ParmList *fallbackList);
    /// Append the undo data of all parameters, or of one, in list order under their tokens.
    /// Nothing for null.
    void saveUndoData(ZEL_UndoDataArray &out) const;
    void saveSingleUndoData(const ZEL_Parm *parm, ZEL_UndoDataArray &out) const;
    /// Restores each parameter from its data. Tokens are looked up as in `load`, with growing
    /// multi-parameters, the owner's `createSpareParametersForLoad` and `fallbackList`. Unknown
    /// tokens and data that a parameter refuses are skipped silently. The number of items that
    /// undo data may create isn't limited.
    void loadUndoData(const ZEL_UndoDataArray &in, const char *name, ZEL_ParmList *fallbackList);
    /// The aliases of channels, always as text; `binary` and `name` are ignored. Channels whose
    /// tokens that form can't hold are left out and reported.
    void saveChannelAliases(std::ostream &os, bool binary);
    /// False if the stream ends before the closing brace.
    bool loadChannelAliases(KIT_IStream &is, const char *name);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Evaluation by name   (any thread; 0 or "" for an unknown token)
    // ------------------------------------------------------------------ //
    ///@{
    double evalFloat(const KIT_StringRef &token, int index, double time) const;
    int evalInt(const KIT_StringRef &token, int index, double time) const;
    void evalString(KIT_String &value, const KIT_StringRef &token, int index, double time) const;
    void evalString(KIT_StringHolder &value, const KIT_StringRef &token, int index,
                    double time) const;
    void evalStringRaw(KIT_String &value, const KIT_StringRef &token, int index, double time) const;
    void evalStringRaw(KIT_StringHolder &value, const KIT_StringRef &token, int index,
                       double time) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Change by name   (nothing for an unknown token; locks and editability hold)
    // ------------------------------------------------------------------ //
    ///@{
    void setFloat(double value, const KIT_StringRef &token, int index, double time, bool propagate);
    void setInt(int value, const KIT_StringRef &token, int index, double time, bool propagate);
    void setString(const KIT_String &value, TRK_StringMeaning meaning, const KIT_StringRef &token,
                   int index, double time, bool propagate);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Change events
    // ------------------------------------------------------------------ //
    ///@{
    /// There is one handler; null stops events. `clearParmOwner` keeps it. It may change the list,
    /// but not remove the parameter that it is notified of.
    void setEventHandler(void *data, EventHandler handler);
    /// Calls the handler with the parameter's index, -1 for null or a removed one. Errors that the
    /// handler reports are dropped; the thread's expression error number is restored.
    void sendChangeEvent(TRK_CHANGE_TYPE type, const ZEL_Parm *parm) const;
    /// How many components are flagged *send extra* (see ZEL_Instance.h).
    int getNumSendExtra() const { return BASload(myNumSendExtra); }
    void bumpNumSendExtra(int by) { __atomic_fetch_add(&myNumSendExtra, by, __ATOMIC_RELAXED); }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Access   (octal permission masks; 0777 in a fresh list)
    /// A folder switcher that isn't exclusive passes every test, whatever the masks.
    // ------------------------------------------------------------------ //
    ///@{
    std::uint32_t getPermissions() const { return myPermissions; }
    void setPermissions(std::uint32_t mask) { myPermissions = mask; }
    std::uint32_t getUserMask() const { return myUserMask; }
    void setUserMask(std::uint32_t mask) { myUserMask = mask; }
    std::uint32_t getAssetPermissionMask() const { return myAssetPermissionMask; }
    void setAssetPermissionMask(std::uint32_t mask) { myAssetPermissionMask = mask; }
    /// Whether any bit of the mask is in all three masks; the other forms ignore the asset mask, or
    /// check only that one.
    bool canAccess(unsigned mask, const ZEL_Type &type) const;
    bool canAccessIgnoringAssetMask(unsigned mask, const ZEL_Type &type) const;
    bool canAccessCheckingOnlyAssetMask(unsigned mask, const ZEL_Type &type) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Walks over all parameters
    /// Without a comment of its own, a walk calls the ZEL_Parm operation of that name on each.
    // ------------------------------------------------------------------ //
    ///@{
    /// Whether every parameter is at its factory default; true for an empty list.
    bool allDefaults() const;
    /// Whether no component is dirty.
    bool areAllFlagsClean() const;
    void clearAllDirtyFlags();
    void clearAllUndoSavedFlags();
    bool hasAnyChannels() const;
    bool hasSpareOrMultiInstanceParms() const { return myInstanceTokens.entries() != 0; }
    bool hasChannelAliases() const { return myChannelAliases.entries() != 0; }
    /// Whether any text uses the variable.
    bool notifyVarChange(const char *name);
    void reloadChannelPtrs();
    void validateChannelNames();
    /// Without change events.
    void clearAndDestroyChannels();
    /// Forward to the parameter of that channel token; 0 if there is none.
    int channelPtrModified(const KIT_StringRef &token);
    int addChannel(const KIT_StringRef &token);
    /// In the parameters' texts and in the channels' expressions; `changeString` returns how many
    /// it changed.
    bool findString(const char *text, bool fullWord, bool usePattern) const;
    int changeString(const char *from, const char *to, bool fullWord);
    /// OR of all parameters' states.
    int getChanState(double time) const;
    /// The nearest key after (before) `time`; `time` itself without keys or collection.
    double findNextKey(double time) const;
    double findPrevKey(double time) const;
    void hardenChanges(double time, bool force, const char *pattern,
                       KIT_Array<TRK_ChannelRef> *collect);
    void revertToDefaults(double time);
    /// Reverts values and channels to the factory defaults. With an owner, children of
    /// multi-parameters aren't reverted; the owner is notified of them as new (`multiItemCreated`).
    void revertValuesToFactoryDefaults();
    /// Whether any parameter depends on time; with `evaluate` each is evaluated first. Once true,
    /// stays true until `clearTimeDependent`.
    bool checkTimeDependence(bool evaluate);
    /// The channel manager's evaluation time; 0 without a collection.
    double getEvalTime(int thread) const;
    /// Appends the cache key of all cookable parameters whose export level has a bit of
    /// `exportMask`: values, each parameter's followed by its index (8 bits below 255
    /// parameters, else 16).
    void getMagicString(KIT_TokenString &tokens, double time, unsigned exportMask) const;
    /// Empty bodies, for callers that pair them.
    void pushVariables() {}
    void popVariables() {}
    std::int64_t getMemoryUsage(bool inclusive) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Dependency graph   (nodes are created and looked up on any thread; propagation,
    /// clearing and the walks run on the list's own thread, clearing while no thread evaluates)
    // ------------------------------------------------------------------ //
    ///@{
    /// The node of a component, created on first use; null if there is no such component.
    ZEL_ParmMicroNode *parmMicroNode(int parmIndex, int subIndex);
    /// Its companion, created on first use.
    ZEL_ConstMicroNode *constParmMicroNode(int parmIndex, int subIndex);
    bool hasParmMicroNode(int parmIndex) const;
    /// Append the existing nodes, what they depend on, or what depends on them, in the order of
    /// parameters and components. With `cookOnly` only those of cookable parameters.
    void getParmMicroNodes(KIT_Array<LNK_MicroNode *> &nodes) const;
    void getParmInputList(KIT_Array<LNK_MicroNode *> &inputs, bool cookOnly) const;
    void getParmOutputList(KIT_Array<LNK_MicroNode *> &outputs, bool cookOnly) const;
    std::int64_t getNumParmInputs() const;
    void clearMicroNodeInputs();
    std::int64_t getMicroNodesMemoryUsage() const;
    void dumpMicroNodes(std::ostream &os, bool cookOnly, int level) const;
    /// `ZEL_Instance::propagateDirty` for one parameter or, with a negative index, for each in
    /// turn; the latter ignores `all`, propagates only what changed, and `node` at most once. The
    /// callback may remove parameters, but not destroy the list or `node`.
    void propagateDirtyParmMicroNodes(int parmIndex,
                                      const std::function<void(LNK_MicroNode &)> &callback,
                                      LNK_MicroNode *node, bool all);

    /// The context options that evaluation has used, and those that a cook depends on. Added from
    /// any thread; listed sorted.
    void addContextOptionDep(const KIT_StringRef &name);
    void addCookContextOptionDep(const KIT_StringRef &name);
    void clearContextOptionDeps();
    void clearCookContextOptionDeps();
    void getContextOptionDeps(KIT_StringArray &names) const;
    void getCookContextOptionDeps(KIT_StringArray &names) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Surroundings and flags
    // ------------------------------------------------------------------ //
    ///@{
    ZEL_ParmOwner *getParmOwner() const { return myOwner; }
    /// For a node that is destroyed before the list.
    void clearParmOwner() { myOwner = nullptr; }
    ZEL_PresetInfo *getPresetInfo() const { return myPresetInfo; }
    TRK_Collection *getChannelGroupPtr() const { return myCollection; }
    void setChannelGroupPtr(TRK_Collection *collection);
    /// Increases with each parameter that is added or removed; indices kept from before may be
    /// stale.
    std::uint32_t getAddRemoveCount() const { return myAddRemoveCount; }
    void setAddRemoveCount(std::uint32_t count) { countChanges(count - myAddRemoveCount); }
    /// What handles on this list hold on to; made by the first call, on any thread.
    ZEL_HandleAnchor &getHandleAnchor();

    /// Gives a component's channel an alias, which the list's look-up finds too; "" clears.
    /// Refused for a spare or unregistered parameter and for an alias that is in use.
    bool setChannelAlias(ZEL_Parm *parm, int index, const KIT_StringHolder &alias);

    bool isTimeDependent() const { return BASload(myTimeDependent); }
    bool isCookTimeDependent() const { return BASload(myCookTimeDependent); }
    /// Called by evaluation from any thread, so written only on a change.
    void setTimeDependent() { BASstoreIfDifferent(myTimeDependent, true); }
    void setCookTimeDependent() { BASstoreIfDifferent(myCookTimeDependent, true); }
    void clearTimeDependent() { BASstore(myTimeDependent, false); }
    void clearCookTimeDependent() { BASstore(myCookTimeDependent, false); }
    bool getUndoSavedFlag() const { return myUndoSaved; }
    void setUndoSavedFlag(bool flag) { myUndoSaved = flag; }
    bool getAutoTakeUndoSavedFlag() const { return myAutoTakeUndoSaved; }
    void setAutoTakeUndoSavedFlag(bool flag) { myAutoTakeUndoSaved = flag; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Statics
    // ------------------------------------------------------------------ //
    ///@{
    /// `isLoading` is true between the other two, while the calling thread makes or loads lists.
    /// Pairs nest, and both calls come from one thread; other threads aren't affected.
    static void beginLoading();
    static void endLoading();
    static bool isLoading();
    /// The override provider; null, the default, for none. Set before threads start.
    static ZEL_ORCallback *getORCallback() { return theORCallback; }
    static void setORCallback(ZEL_ORCallback *callback) { theORCallback = callback; }
    /// Remove or rename the tables kept under a shared name; lists that use them keep them.
    static void removeOpSharedInfo(const KIT_StringRef &sharedName);
    static void renameOpSharedInfo(const KIT_StringRef &oldName, const KIT_StringHolder &newName);
    ///@}

    class LateRemovals; ///< ZEL_LateRemovals.h

private:
    friend class ZEL_Multi; // asks where children are
    friend class ZEL_ParmListReader;

    /// Evaluates parameters that expressions of the collection name.
    class ChannelSource : public TRK_ValueSource
    {
    public:
        /// Registers with the list's collection.
        explicit ChannelSource(ZEL_ParmList &list);
        /// Makes it the list's collection; null for none. An exception changes nothing.
        void moveTo(TRK_Collection *collection);
        void leave();
        /// Becomes the collection's value source if it has none: the first list on a collection is,
        /// copies and fallback lists aren't.
        void becomeSourceIfNone();
        bool evaluateNumber(const KIT_StringRef &name, double time, int thread, double &value,
                            bool &timeDependent) override;
        bool evaluateString(const KIT_StringRef &name, double time, int thread, KIT_String &value,
                            bool &timeDependent) override;
        void channelDeleted(const TRK_Channel *channel) override;
        void collectionDestroyed() override;

    private:
        /// Empties the slots that hold the channel; with null, all.
        void clearSlots(const TRK_Channel *channel);

        ZEL_ParmList &myList;
    };

    /// Makes an empty list. The other constructors delegate to it, so that the destructor runs if
    /// they throw.
    ZEL_ParmList(TRK_Collection *collection, ZEL_ParmOwner *owner, ZEL_PresetInfo *presetInfo);

    void makeRoom(int parms);
    void registerParm(const ZEL_Parm &parm, int index);
    void unregisterLastParm();
    bool doAllChildrenFollow();
    template <class HasName>
    void giveNameBack(ZEL_NameTable &table, const KIT_StringRef &name, int index,
                      const HasName &hasName) const;
    ZEL_Parm *placeMultiParm(ZEL_OwnedParm made, const ZEL_Multi &multi, bool &isNew);
    void moveMultiParmAlias(int parmIndex, int item, bool up);

    ZEL_Parm *createSpareParm(ZEL_ParmPlaces &places);
    void announceSpareChanges(ZEL_Template *templates, bool forceCopy);
    ZEL_Parm *remakeSpareParm(const ZEL_Template &description, ZEL_ParmPlaces &places,
                              bool forceCopy, double time, bool notify);
    void keepOneOf(ZEL_Parm &old, int oldIndex, ZEL_Parm &made);
    void removeSpareParm(ZEL_Parm &parm, int index, double time, bool notify);
    void removeReplacedParm(const ZEL_Parm *parm, int index);
    class TokenSet;
    void remakeSpareParms(ZEL_Template *templates, bool forceCopy, double time, bool notify,
                          TokenSet &wanted);
    void makeSpareParms(ZEL_Template *templates, bool forceCopy, double time, bool notify,
                        TokenSet &wanted);
    void removeUnwantedSpareParms(const TokenSet &wanted, double time, bool notify);
    class DeferredRemovals;
    ZEL_Parm *findStayingParm(const KIT_StringRef &token, int &index);
    void retireParm(ZEL_Parm &parm);
    void removeParmEntries(const ZEL_Parm &parm, int index);
    void shiftNames(int index, bool lastFlag);
    void tellRemoval(ZEL_Parm &parm, int index);
    void takeOut(int index);
    void takeOutAll(const std::vector<std::int32_t> &indices, std::vector<std::int32_t> &places);
    class ItemRemovals;
    class BlockNames;
    bool removeItemParms(const ZEL_Multi &multi, int firstItem, int endItem);
    ZEL_Parm *findSettledParm(const KIT_StringRef &token);
    void growToNumber(ZEL_Multi &multi, int number, bool evaluateChildren);

    struct Adoption;
    class ItemParms;
    class AdoptionScope;
    void adoptAll(ZEL_ParmList &from, bool forceCopy);
    bool adoptFromOldList(ZEL_Parm &parm);
    class ChannelLoan;
    void linkChannels();
    void copyParms(const ZEL_ParmList &source);
    void copyUnlinkedParms(const ZEL_ParmList &source);
    void settleCopies(const ZEL_ParmList &source);
    void takeCollection(ZEL_ParmList &from);
    void leaveCollection(const ZEL_ParmList &successor);
    void adoptParm(ZEL_Parm &to, ZEL_Parm &from, bool forceCopy);
    void adoptChannelAlias(ZEL_Parm &to, const ZEL_Parm &from);
    static bool shouldCopyOnAdopt(ZEL_Template &to, ZEL_Parm &from, bool forceCopy);

    void loadChannelAlias(const KIT_WorkBuffer &token, const KIT_WorkBuffer &alias);

    bool isTimeDependentNow(double time, bool evaluate, int index, int thread);

    /// Parameters were added or removed.
    void countChanges(std::uint32_t count = 1)
    {
        myAddRemoveCount += count;
        for (ZEL_HandleAnchor *at = myAnchor; at; at = at->myNext) {
            ++at->myChangeCount;
        }
    }
    void takeHandles(ZEL_ParmList &from);
    void dropHandles();

    KIT_ValArray<ZEL_Parm *> myParms;
    std::uint32_t myAddRemoveCount = 0;
    ZEL_HandleAnchor *myAnchor = nullptr; // the first of them
    std::shared_ptr<ZEL_OpSharedInfo> mySharedInfo;
    ZEL_NameTable myInstanceTokens;
    ZEL_NameTable myInstanceChannels;
    ZEL_NameTable myChannelAliases;
    BAS_ByteLock myDependencyLock;
    LNK_ContextOptionDepsPtr myContextOptionDeps{nullptr};
    LNK_ContextOptionDepsPtr myCookContextOptionDeps{nullptr};
    std::uint32_t myPermissions = 0777;
    std::uint32_t myUserMask = 0777;
    std::uint32_t myAssetPermissionMask = 0777;
    TRK_Collection *myCollection;
    ZEL_ParmOwner *myOwner;
    ZEL_PresetInfo *myPresetInfo;
    EventHandler myEventHandler = nullptr;
    void *myEventData = nullptr;
    ZEL_ParmPlaces *myItemPlaces = nullptr; // of the items that are being made
    int myNumSendExtra = 0;
    bool myTimeDependent = false;
    bool myCookTimeDependent = false;
    bool myUndoSaved = false;
    bool myAutoTakeUndoSaved = false;
    enum class ChildOrder : std::uint8_t
    {
        ANY,     ///< the list lives
        UNKNOWN, ///< it is being destroyed, and nobody has asked yet
        FOLLOW   ///< and no child is before its multi-parameter
    } myChildOrder = ChildOrder::ANY;
    bool myDeferRemovals = false; // while spare parameters are rebuilt
    bool myRemovesLate = false;   // while it is loaded: items that leave do so at the end
    bool myHasLateItems = false;  // and some will
    std::uint32_t myNumRemovals = 0;
    std::int64_t myNumMoved = 0; // how often removals have moved a parameter
    class Restoring;
    const Restoring *myRestoring = nullptr; // while a snapshot is restored
    ChannelSource myChannelSource;
    Adoption *myAdoption = nullptr; // set while an older list is taken over

    static ZEL_ORCallback *theORCallback;
};
