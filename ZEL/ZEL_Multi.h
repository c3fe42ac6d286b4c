/// \file ZEL_Multi.h
/// A float parameter whose value is the count of its items, each a copy of a block of parameters.
///
/// Vocabulary: *item* = one copy of the block, 0-based; *child* = a parameter of the block;
///             *flat index* = item x children + child; *instance numbers* = the item numbers of
///             all enclosing levels and of this one, outermost first.
/// Units:      item numbers in names are the 0-based item plus the template's start offset.
/// Ownership:  owns the templates and names of its items, and the labels, conditionals and default
///             texts with an item's number in them; the others are the block's. The
///             children's parameters belong to the list, like every other parameter; the
///             destructor removes them before their templates.
/// Threads:    as `ZEL_Float`, but reading the value may create or remove items: evaluate a
///             multi-parameter on the thread that owns the list.
/// Errors:     an item whose token is taken is refused with warning 19 (the token), one with a
///             child that isn't allowed in a block with warning 20 (the child's token); the value
///             reverts to the existing count. While a list is built or loaded, an item comes
///             without a child whose name is taken, unless a spare parameter or another block's
///             item has it, from which it takes name and state; warning 23 has the child's token
///             and who is without it. A stream, a default or an expression that requests more new
///             items at once than `ZEL_InputBudget` allows is refused the same way, with error 22
///             or 27; setting the value, outside such a budget, and `setNumInstances` aren't
///             limited. If memory runs out, the incomplete item is removed; the next read creates
///             it again.
/// Cost:       adding an item costs the same at any count; names are looked up by hash.
///
/// Items are never renumbered: on insertion and removal, values move between the parameters of
/// neighbouring items. Items are created and removed lazily, on the next read or load after the
/// value changed. Those that a load of the list makes surplus leave when its last entry is read, with
/// those of all other blocks, unless the load needs their names before; they aren't counted meanwhile, and
/// one that is wanted again then has nothing of its former state.
///
/// No read takes a parameter away while code of the library holds one: within an expression, a
/// listener of channels or a `KeepItems` scope items are only added, since whoever reads may belong
/// to a surplus item (and in a load not even that, if an item would take over the name of another
/// parameter). The library opens such a scope wherever it calls the application (event handlers,
/// owners, override providers, menus, conditions, visitors, listeners, resolvers of paths, data
/// items) and wherever it reads one parameter for another one. So what is called from there may
/// read any count and, outside of an evaluation, change it, by its value or by the operations
/// below; insertion, removal and exchange then don't count the surplus as items, and the next
/// outermost read removes it. It must not destroy parameters by itself, as by a new set of spare
/// parameters.
///
/// A child of an item is a parameter that this multi-parameter made. If another parameter has the
/// child's name, the item is without that child in every operation.
#pragma once

#include <KIT/KIT_TableMemory.h>
#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_Float.h>
#include <ZEL/ZEL_InputBudget.h>

#include <cstdint>
#include <memory>
#include <vector>

class KIT_String;
class KIT_StringHolder;
class ZEL_ConditionalBase;
class ZEL_Default;
class ZEL_Name;

class ZEL_API ZEL_Multi : public ZEL_Float
{
public:
    ZEL_Multi(ZEL_Template *templatePtr, ZEL_Parm *parm);
    ~ZEL_Multi() override;

    // ------------------------------------------------------------------ //
    /// \name Operations of a float that also update the items
    // ------------------------------------------------------------------ //
    ///@{
    /// From a multi-parameter only: takes over count and instance numbers and creates the items.
    void adopt(ZEL_Instance &source) override;
    /// The copy has the same count and creates its own items when it is read.
    ZEL_Instance *duplicateSelf(ZEL_Parm *parm) const override;
    void revertToDefault(int index) override;
    void revertToDefaults(bool deleteChannels) override;
    bool load(KIT_IStream &is) override;
    int loadCommand(int argc, const char *const argv[], int index, bool asSet,
                    ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;

    using ZEL_Float::getValue;
    void getValue(ZEL_ParmList *list, double time, KIT_JSONValueMap &value, int index, bool expand,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, std::shared_ptr<const ZEL_DataItem> &value,
                  int index, int thread) const override;
    void getValue(ZEL_ParmList *list, double time, KIT_String &value, int index, bool expand,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, double &value, int index,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                  int thread) const override;
    void getValue(ZEL_ParmList *list, double time, int &value, int index,
                  int thread) const override;
    std::int64_t getMemoryUsage(bool inclusive) const override;
    ///@}

    /// While one exists on a thread, that thread removes no items because of a count. For code that
    /// holds parameters and reads others, or calls what may read them.
    class ZEL_API KeepItems
    {
    public:
        KeepItems() { ++theCount; }
        ~KeepItems() { --theCount; }
        KeepItems(const KeepItems &) = delete;
        KeepItems &operator=(const KeepItems &) = delete;

        static bool isOpen() { return theCount > 0; }

    private:
        // Initial-exec: a scope costs two additions.
        static __thread int theCount __attribute__((tls_model("initial-exec")));
    };

    // ------------------------------------------------------------------ //
    /// \name Items
    // ------------------------------------------------------------------ //
    ///@{
    bool isMultiParm() const override;
    /// The number of existing items, which may differ from the value until the next read.
    int getMultiParmNumItems() const override;
    /// The same without surplus items whose removal has to wait.
    int getNumItemsInUse() const;
    int getMultiParmInstancesPerItem() const override;
    /// All templates of the block, nested blocks included.
    int getTemplateCount() const { return myTemplateCount; }
    void insertMultiParmItem(int item) override { insertInstanceBefore(item); }
    void removeMultiParmItem(int item) override { deleteInstance(item); }
    void destroyChildParms() override;
    /// The same for items whose parameters the list has removed already.
    void forgetItems();

    /// Creates or removes items at the end until `count` exist (0 for a negative count). Does
    /// nothing when called recursively, and removes none while they are kept. `evaluateChildren`
    /// has no effect.
    void setNumInstances(int count, bool evaluateChildren);
    /// Moves the values of `item` and the later ones up by one and gives `item` the defaults. After
    /// the last item it appends one; a negative item counts as the first. Does nothing at the
    /// range's hard maximum.
    void insertInstanceBefore(int item);
    /// Moves the values of later items down by one and removes the last item. At the range's hard
    /// minimum the item is reverted in place. Does nothing for an item that doesn't exist.
    void deleteInstance(int item);
    /// Reverts an item's parameters to their defaults, locks and nested items included.
    void revertInstance(int item);
    /// Removes all items and reverts the count.
    void revertAllInstances();
    /// Copies the values, channels and flags of one item's parameters to another's. Autoscope and
    /// autoselect are set only where they differ: a set marks them as ones to save.
    void assignInstance(int from, int to);
    /// Exchanges two items through a temporary third one; the value doesn't change.
    void swapInstances(int first, int second);
    /// Copies the other's count and the values of its items, nested ones too. Children of a
    /// different kind don't change; nothing changes if `other` is inside one of this one's items.
    void copy(const ZEL_Multi *other);
    /// Whether the number of existing items equals the range's hard limit.
    bool isAtHardMinimum() const;
    bool isAtHardMaximum() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Look-up
    // ------------------------------------------------------------------ //
    ///@{
    using ZEL_Float::getParm;
    /// Null outside 0 .. children x items - 1, and for a child that the item is without.
    ZEL_Parm *getParm(int flatIndex) const;
    ZEL_Template *getTemplate(int flatIndex);
    const ZEL_Template *getTemplate(int flatIndex) const;
    /// Null for an invalid child or item.
    const char *getMultiParmToken(int child, int item) const override;
    /// The flat index of a child by its token, -1 if no item has it. `useStartOffset` has no
    /// effect. Linear in the items.
    int findMultiParmIndex(const char *token, bool useStartOffset) const;
    /// Whether an item of this multi-parameter, existing or not, would have this name. `index`
    /// returns the item's number in the name, start offset included; if the name doesn't match, -1
    /// without a digit, else start offset - 1.
    bool matchInstancePattern(const char *name, int &index) const;
    /// The item numbers of the enclosing levels, outermost first; for a nested multi-parameter.
    void setInstanceIndex(const KIT_ValArray<int> &instances);
    /// Null at the top level.
    const KIT_ValArray<int> *getInstanceIndex() const { return myInstanceIndex.get(); }
    ///@}

    /// True while the calling thread adds or removes parameters of any multi-parameter.
    static bool getIsAddingOrRemovingParms() { return theIsAddingOrRemovingParms; }

    // ------------------------------------------------------------------ //
    /// \name Instance numbers into a name; see `ZELinstanceString`
    // ------------------------------------------------------------------ //
    ///@{
    static void instanceString(KIT_WorkBuffer &out, const KIT_StringRef &name, const int *instances,
                               int count, bool fillToken, bool repeat);
    static void instanceString(KIT_WorkBuffer &out, const KIT_StringRef &name,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat);
    static void instanceString(KIT_String &out, const KIT_StringRef &name, const int *instances,
                               int count, bool fillToken, bool repeat);
    static void instanceString(KIT_String &out, const KIT_StringRef &name,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat);
    static void instanceString(KIT_StringHolder &out, const KIT_StringRef &name,
                               const int *instances, int count, bool fillToken, bool repeat);
    static void instanceString(KIT_StringHolder &out, const KIT_StringRef &name,
                               const KIT_ValArray<int> &instances, bool fillToken, bool repeat);
    ///@}

protected:
    ZEL_Multi(const ZEL_Multi &source, ZEL_Parm *parm);

private:
    friend class ZEL_ParmList;
    friend struct ZEL_Kind;

    class Changing;
    class ItemSteps;
    class LeavingItems;
    class NewItem;

    template <class T, class Read>
    void evaluate(T &value, int thread, const Read &read) const;
    int wantedCount() const;
    static bool areItemsKept();
    bool mustWait(int count) const;
    static bool mayHaveToWait();
    bool wouldReplace(const ZEL_Template *made) const;
    ZEL_InputBudget::Request requestFor(std::int64_t count) const;
    /// What the description of one child in one item refers to.
    struct Child
    {
        std::unique_ptr<ZEL_Name> name;
        std::unique_ptr<ZEL_ConditionalBase> conditional; // null: the block's
        std::unique_ptr<ZEL_Default[]> defaults;          // null: the block's
        std::size_t firstText = 0;                        // of its defaults in myDefaultStrings
    };

    void followValue() const;
    void followDefault();
    bool followSnapshot();
    bool followLoadedValue();
    void evaluateCount();
    void setCount(int count);

    bool isValidItem(int item) const { return item >= 0 && item < myNumItems; }
    bool isInside(const ZEL_Multi &outer) const;
    std::size_t flatIndex(int item, int child) const;
    ZEL_Parm *findOwnChild(int item, int child, int &index) const;
    ZEL_Parm *findChild(int item, int child) const { return getParm(int(flatIndex(item, child))); }
    void instanceNumbers(int item, KIT_ValArray<int> &numbers) const;
    void firstToken(KIT_WorkBuffer &token) const;
    bool grow(int count, bool evaluateChildren);
    void reserveItems(std::int64_t more);
    void shrink(int count);
    void notifyChanged() const;
    bool addInstance(int item, bool evaluateChildren);
    void makeNames(const KIT_ValArray<int> &numbers);
    bool acceptNames() const;
    void describeChild(ZEL_Template &made, const ZEL_Template &child, Child &own,
                       const KIT_ValArray<int> &numbers);
    std::unique_ptr<ZEL_Default[]> instanceDefaults(const ZEL_Template &child,
                                                    const KIT_ValArray<int> &numbers);
    const char *rampDefaultText() const;
    void setRampInstanceToDefaultValue(int item, const KIT_ValArray<ZEL_Parm *> &parms);
    bool removeParms(int item);
    void removeStrayParms(int firstItem, int lastItem);
    void cutItems();
    void abandonItem();
    bool leaveLate(int count);
    void markLeaving(int firstItem, int endItem) const;
    void keepLeavingItem();
    void renewChild(ZEL_Parm &parm, int child);
    void countLeaving();
    int getItemsEnd() const { return myLeavingEnd > 0 ? myLeavingEnd : myNumItems; }
    void settle(int count);
    KIT_ValArray<ZEL_Parm *> itemParms(int item) const;
    void announceItem(int item);

    int myNumItems = 0;
    int myInstancesPerItem;
    int myTemplateCount;
    template <class T>
    using Table = std::vector<T, KIT_TableAllocator<T>>;
    Table<Child> myChildren; // by flat index
    std::vector<std::unique_ptr<KIT_String>> myDefaultStrings;
    // One entry for each item.
    Table<std::unique_ptr<ZEL_Template[]>> myItemTemplates;
    std::unique_ptr<KIT_ValArray<int>> myInstanceIndex;
    bool myBusy = false;
    int myLeavingEnd = 0;                   // where items that leave after a load end; 0 without
    mutable std::int64_t myItemBytes = 0;   // 0 until it is estimated
    mutable std::int64_t myItemsOfItem = 0; // itself and those that it can't be without
    mutable bool myPassed = false;          // for ZEL_ParmList::doAllChildrenFollow

    static __thread bool theIsAddingOrRemovingParms __attribute__((tls_model("initial-exec")));
};
