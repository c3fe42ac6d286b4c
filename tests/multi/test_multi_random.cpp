// A random program over blocks, their items and spare parameters: everything that the library calls
// reads all parameters and changes counts in between.
//
// ZEL_TEST_OPERATIONS and ZEL_TEST_SEED set its length and where it starts.

#include "MultiList.h"

#include <KIT/KIT_Ramp.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_RampUtils.h>
#include <ZEL/ZEL_UndoData.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>

namespace
{

constexpr double theGuarded = 5.0;
constexpr int theMostItems = 5;

/// What "plain" should contain: a block whose items have a number and an inner block of numbers.
/// Nothing but the functions here changes it.
template <class Item>
struct ModelBlock
{
    std::vector<Item> items; // those that exist
    int value = 0;           // those that are wanted

    int inUse(bool kept) const
    {
        return kept ? std::min(int(items.size()), value) : int(items.size());
    }
    void follow(bool kept)
    {
        if (!kept || value > int(items.size())) {
            items.resize(std::size_t(value));
        }
    }
    void setCount(int count, bool kept)
    {
        value = count;
        follow(kept);
    }
    void insert(int item, bool kept)
    {
        const int before = inUse(kept);
        setCount(before + 1, kept);
        for (int i = before; i > item; --i) {
            items[std::size_t(i)].assign(items[std::size_t(i - 1)], kept);
        }
        items[std::size_t(item)].revert(kept);
    }
    void remove(int item, bool kept)
    {
        const int before = inUse(kept);
        for (int i = item + 1; i < before; ++i) {
            items[std::size_t(i - 1)].assign(items[std::size_t(i)], kept);
        }
        items[std::size_t(before - 1)].revert(kept);
        setCount(before - 1, kept);
    }
    void swap(int a, int b, bool kept)
    {
        Item spare;
        spare.assign(items[std::size_t(b)], kept);
        items[std::size_t(b)].assign(items[std::size_t(a)], kept);
        items[std::size_t(a)].assign(spare, kept);
    }
    void assign(const ModelBlock &from, bool kept)
    {
        const int count = from.inUse(kept);
        setCount(count, kept);
        for (int i = 0; i < count; ++i) {
            items[std::size_t(i)].assign(from.items[std::size_t(i)], kept);
        }
    }
    void revert(bool kept)
    {
        setCount(0, kept);
        for (Item &item : items) {
            item.revert(kept);
        }
    }
};

struct ModelNumber
{
    double number = 0.0;

    void assign(const ModelNumber &from, bool) { number = from.number; }
    void revert(bool) { number = 0.0; }
};

struct ModelItem
{
    double number = 0.0;
    ModelBlock<ModelNumber> inner;

    void assign(const ModelItem &from, bool kept)
    {
        number = from.number;
        inner.assign(from.inner, kept);
    }
    void revert(bool kept)
    {
        number = 0.0;
        inner.revert(kept);
    }
};

class World : public TestOwner
{
public:
    explicit World(unsigned seed);
    ~World() override;

    void step();
    std::string check();

    // Evaluation
    KIT_ErrorSeverity zelCookOverrides(double, int, const char *, int) override
    {
        look();
        return KIT_ERROR_NONE;
    }
    void adjustExpandedPath(KIT_String &) override { look(); }
    const char *getFullPath(KIT_WorkBuffer &path) const override
    {
        const_cast<World *>(this)->look();
        return TestOwner::getFullPath(path);
    }
    int getParmEditState() override
    {
        look();
        return 0;
    }
    // Changes
    void rebuildParmDependency(int) override { react(); }
    void parmRemoved(int) override { react(); }
    void spareParmRemoved(const char *) override { react(); }
    void multiItemCreated(const KIT_ValArray<ZEL_Parm *> &parms) override
    {
        react();
        touch(parms);
    }
    void multiInstancesChanged() override { react(); }

private:
    static void handle(void *data, TRK_CHANGE_TYPE, int) { static_cast<World *>(data)->react(); }
    static void hear(void *data, TRK_Channel *) { static_cast<World *>(data)->listen(); }
    static void generate(void *data, ZEL_Name *names, int, const ZEL_SpareData *, const ZEL_Parm *)
    {
        if (data) {
            static_cast<World *>(static_cast<ZEL_ParmOwner *>(data))->look();
        }
        names[0].setTokenAndLabel("a", "A");
        names[1].setTokenAndLabel("b", "B");
        names[2].setTokenAndLabel("", "");
    }

    int below(int count) { return int(myRandom() % unsigned(std::max(count, 1))); }
    bool oneIn(int count) { return below(count) == 0; }
    int entries() const { return list->getEntries(); }

    void describe();
    void react();
    void look();
    void listen();
    void readAll();
    void touch(const KIT_ValArray<ZEL_Parm *> &parms);
    ZEL_Parm *any();
    ZEL_Parm *anyMulti();
    bool isGuarded(const ZEL_Parm &parm) const;
    const ZEL_Parm *topOf(const ZEL_Parm &parm) const;
    void settle();
    void guard();

    void changeCount(ZEL_Parm &parm);
    void changePlain(bool kept);
    void changePlainInner(int item, bool kept);
    void changeValue(ZEL_Parm &parm);
    void betweenTwo(ZEL_Parm &first, ZEL_Parm &second);
    void revert(ZEL_Parm &parm);
    void changeState(ZEL_Parm &parm);
    void rebuildSpares();
    void walk();
    void undo();
    void learnPlain();
    void ramp();

    std::string checkBlock(const ZEL_Parm &parm);
    std::string checkPlain();
    std::string checkMarks();

    std::mt19937 myRandom;
    Block myInner, myItems, myAnimated, myPlainInner, myPlain, myTop;
    Block mySpareInner, mySpareItems, myRivalItems, mySpares[5];
    ZEL_ChoiceList myMenu{ZEL_CHOICELIST_REPLACE, &World::generate};
    ZEL_Conditional myCondition{"{ m > 2 } { e < 1 }", ZEL_CONDTYPE_DISABLE};
    TRK_Collection myChannels;
    std::string mySnapshot;
    ModelBlock<ModelItem> myModel, mySavedModel;
    int myDepth = 0;
    bool myFrozenFlag = false;  // "plain" is being worked on
    bool myUnknownFlag = false; // a load ended early
    bool myQuietFlag = true;

public:
    std::unique_ptr<ZEL_ParmList> list;
    std::string what;
};

// ---------------------------------------------------------------------- //
// The world
// ---------------------------------------------------------------------- //

World::World(unsigned seed) : myRandom(seed)
{
    describe();
    takeMessages();
    list = std::make_unique<ZEL_ParmList>(myTop.templates(), &myChannels, this, nullptr, "", false);
    setParmList(list.get());
    list->setEventHandler(this, handle);
    TRKgetEventManager().addListener(this, hear);
    guard();
    takeMessages();
    myQuietFlag = false;
}

World::~World()
{
    myQuietFlag = true;
    TRKgetEventManager().removeListener(this, hear);
    list.reset();
}

void World::describe()
{
    myInner.add(ZEL_FLT, 1, "x#_#");
    myInner.add(ZEL_STRING, 1, "t#_#");
    myItems.add(ZEL_FLT, 2, "v#")->setConditionalBasePtr(&myCondition);
    myItems.add(ZEL_STRING, 1, "s#");
    *myItems.add(ZEL_ORD, 1, "o#") =
        ZEL_Template(ZEL_ORD, 1, myItems.name("o#", "O"), nullptr, &myMenu);
    myItems.add(ZEL_FLT, 1, "q#");
    myItems.addMulti(ZEL_MULTITYPE_LIST, "in#", myInner.templates(), 1.0);
    myAnimated.add(ZEL_FLT, 1, "y#");
    myAnimated.add(ZEL_FLT, 1, "q#");
    myPlainInner.add(ZEL_FLT, 1, "px#_#");
    myPlain.add(ZEL_FLT, 1, "pv#");
    myPlain.addMulti(ZEL_MULTITYPE_LIST, "pin#", myPlainInner.templates());
    myTop.add(ZEL_FLT, 1, "n");
    myTop.add(ZEL_FLT, 1, "q1");
    myTop.addMulti(ZEL_MULTITYPE_LIST, "m", myItems.templates(), 1.0);
    myTop.addMulti(ZEL_MULTITYPE_LIST, "e", myAnimated.templates(), 1.0);
    myTop.addMulti(ZEL_MULTITYPE_LIST, "plain", myPlain.templates());
    myTop.addMulti(ZEL_MULTITYPE_RAMP_FLT, "r", nullptr, 2.0);
    // Spare sets: a block; the same and a float that has become a string; a float with the name of
    // an item; two blocks with children of one name; none.
    mySpareInner.add(ZEL_FLT, 1, "z#_#");
    mySpareItems.add(ZEL_FLT, 1, "k#");
    mySpareItems.addMulti(ZEL_MULTITYPE_LIST, "kin#", mySpareInner.templates());
    myRivalItems.add(ZEL_FLT, 1, "k#");
    myRivalItems.add(ZEL_FLT, 1, "w#");
    for (int i = 0; i < 4; ++i) {
        mySpares[i].addMulti(ZEL_MULTITYPE_LIST, "sm", mySpareItems.templates(),
                             i == 3 ? 2.0 : 1.0);
        mySpares[i].add(i == 1 ? ZEL_STRING : ZEL_FLT, 1, "sf");
    }
    mySpares[2].add(ZEL_FLT, 1, "k2");
    mySpares[3].addMulti(ZEL_MULTITYPE_LIST, "rival", myRivalItems.templates(), 1.0);
}

bool World::isGuarded(const ZEL_Parm &parm) const
{
    const char *top = topOf(parm)->getToken();
    return std::strcmp(top, "plain") == 0 || (std::strcmp(top, "q1") == 0 && &parm == topOf(parm));
}

const ZEL_Parm *World::topOf(const ZEL_Parm &parm) const
{
    const ZEL_Parm *top = &parm;
    while (const ZEL_Multi *owner = top->getMultiParmOwner()) {
        top = owner->getParm();
    }
    return top;
}

ZEL_Parm *World::any()
{
    for (;;) {
        ZEL_Parm *parm = list->getParmPtr(below(entries()));
        if (!isGuarded(*parm)) {
            return parm;
        }
    }
}

ZEL_Parm *World::anyMulti()
{
    for (;;) {
        ZEL_Parm *parm = any();
        if (parm->isMultiParm()) {
            return parm;
        }
    }
}

/// Restores what operations on the whole list change.
void World::guard()
{
    ZEL_Parm &parm = *list->getParmPtr("q1");
    parm.setLockedFlag(0, false);
    parm.setValue(0.0, theGuarded, true, 0, ZEL_ADDKEY_PENDING, false);
    parm.setLockedFlag(0, true);
}

// ---------------------------------------------------------------------- //
// What the library calls
// ---------------------------------------------------------------------- //

void World::readAll()
{
    const int thread = BASgetSTID();
    const double time = oneIn(4) ? 2.0 : 0.0;
    for (int i = 0; i < entries(); ++i) {
        const ZEL_Parm *parm = list->getParmPtr(i);
        double number = 0.0;
        parm->getValue(time, number, 0, thread);
        if (oneIn(8)) {
            KIT_String text;
            parm->getValue(time, text, 0, true, thread);
        }
    }
}

void World::touch(const KIT_ValArray<ZEL_Parm *> &parms)
{
    for (const ZEL_Parm *parm : parms) {
        KIT_Array<int> numbers;
        parm->getMultiInstanceIndex(numbers, true);
        EXPECT_NE(nullptr, parm->getMultiParmOwner()) << what;
        EXPECT_FALSE(numbers.isEmpty()) << what;
    }
}

/// While a value is evaluated, reading is all that is allowed.
void World::look()
{
    constexpr int theDeepest = 2;
    if (!myQuietFlag && list && myDepth < theDeepest && oneIn(4)) {
        ++myDepth;
        readAll();
        --myDepth;
    }
}

/// The channel that changes mustn't be removed: nobody reacts.
void World::listen()
{
    if (!myQuietFlag && list && oneIn(4)) {
        myQuietFlag = true;
        readAll();
        myQuietFlag = false;
    }
}

void World::react()
{
    constexpr int theDeepest = 2;
    if (myQuietFlag || !list || myDepth >= theDeepest) {
        return;
    }
    ++myDepth;
    if (oneIn(4)) {
        readAll();
    }
    if (TRK_Manager::isEvaluating()) {
        // What is being evaluated mustn't change.
        ZEL_Parm &parm = *anyMulti();
        if (!parm.getChannel(0)) {
            parm.setValue(0.0, below(theMostItems), false, 0, ZEL_ADDKEY_PENDING, oneIn(2));
        }
        --myDepth;
        return;
    }
    if (oneIn(6)) {
        changeCount(*anyMulti());
    }
    if (oneIn(12) && !myFrozenFlag) {
        changePlain(true);
    }
    if (oneIn(12)) {
        changeValue(*any());
    }
    --myDepth;
}

// ---------------------------------------------------------------------- //
// Operations
// ---------------------------------------------------------------------- //

void World::changeCount(ZEL_Parm &parm)
{
    ZEL_Multi *multi = parm.asMulti();
    const int items = multi->getNumItemsInUse();
    const int index = list->getParmIndex(&parm);
    const int item = below(items + 2) - 1;
    const bool propagate = oneIn(2);
    what += " count " + std::string(parm.getToken());
    switch (below(9)) {
    case 0:
    case 1: parm.setValue(0.0, below(theMostItems), false, 0, ZEL_ADDKEY_PENDING, propagate); break;
    case 2:
        if (items < theMostItems) {
            list->insertMultiParmItem(index, item);
        }
        break;
    case 3: list->removeMultiParmItem(index, item); break;
    case 4:
        if (items < theMostItems) {
            parm.insertMultiParmItem(item, propagate);
        }
        break;
    case 5: parm.removeMultiParmItem(item, propagate); break;
    case 6: parm.swapMultiParmItem(item, below(items)); break;
    case 7: multi->setNumInstances(below(theMostItems), false); break;
    default: multi->revertInstance(item); break;
    }
}

void World::changePlain(bool kept)
{
    myFrozenFlag = true;
    ZEL_Parm &parm = *list->getParmPtr("plain");
    const int index = list->getParmIndex(&parm);
    const int items = myModel.inUse(kept);
    const int item = below(items);
    what += " plain";
    switch (below(7)) {
    case 0: {
        const int count = below(theMostItems);
        parm.setValue(0.0, count, false, 0, ZEL_ADDKEY_PENDING, true);
        myModel.setCount(count, kept);
        break;
    }
    case 1:
        if (items < theMostItems) {
            const int place = below(items + 1);
            list->insertMultiParmItem(index, place);
            myModel.insert(place, kept);
        }
        break;
    case 2:
        if (items > 0) {
            list->removeMultiParmItem(index, item);
            myModel.remove(item, kept);
        }
        break;
    case 3:
        if (items > 1) {
            const int other = below(items);
            parm.swapMultiParmItem(item, other);
            if (item != other) {
                myModel.swap(item, other, kept);
            }
        }
        break;
    case 4:
        if (items > 0) {
            const double number = below(100);
            parm.getMultiParm(2 * item)->setValue(0.0, number, false, 0, ZEL_ADDKEY_PENDING, true);
            myModel.items[std::size_t(item)].number = number;
        }
        break;
    default:
        if (items > 0) {
            changePlainInner(item, kept);
        }
    }
    myFrozenFlag = false;
}

void World::changePlainInner(int item, bool kept)
{
    ZEL_Parm &parm = *list->getParmPtr("plain")->getMultiParm(2 * item + 1);
    ModelBlock<ModelNumber> &model = myModel.items[std::size_t(item)].inner;
    const int items = model.inUse(kept);
    if (items == 0 || oneIn(3)) {
        const int count = below(theMostItems);
        parm.setValue(0.0, count, false, 0, ZEL_ADDKEY_PENDING, true);
        model.setCount(count, kept);
        return;
    }
    const int place = below(items);
    const double number = below(100);
    parm.getMultiParm(place)->setValue(0.0, number, false, 0, ZEL_ADDKEY_PENDING, true);
    model.items[std::size_t(place)].number = number;
}

void World::changeValue(ZEL_Parm &parm)
{
    static const char *const theExpressions[] = {"ch(\"m\")",  "ch(\"n\") + 1", "$T + 1",
                                                 "ch(\"e\")",  "ch(\"in1\")",   "2",
                                                 "ch(\"sm\")", "ch(\"r\")"};
    const int index = below(parm.getVectorSize());
    const bool propagate = oneIn(2);
    what += " value " + std::string(parm.getToken());
    switch (below(4)) {
    case 0:
        parm.setValue(0.0, double(below(theMostItems)), oneIn(2), index, ZEL_ADDKEY_PENDING,
                      propagate);
        break;
    case 1:
        parm.setValue(0.0, oneIn(2) ? "3" : "$OS`ch(\"m\")`", TRK_MEANING_LITERAL, oneIn(2), index,
                      ZEL_ADDKEY_PENDING, propagate);
        break;
    case 2:
        parm.setExpression(0.0, theExpressions[below(8)], TRK_LANGUAGE_NATIVE, index, oneIn(2),
                           oneIn(2), propagate);
        break;
    default: parm.getInstance()->removeChannel(index); break;
    }
}

void World::betweenTwo(ZEL_Parm &first, ZEL_Parm &second)
{
    const int index = below(first.getVectorSize());
    const int other = below(second.getVectorSize() + 2) - 1;
    what += " two " + std::string(first.getToken()) + " " + second.getToken();
    switch (below(4)) {
    case 0:
    case 1:
        first.copyValue(0.0, index, second, other, oneIn(2), oneIn(2), oneIn(2), ZEL_ADDKEY_PENDING,
                        ZEL_KEYSET_PREFERENCE);
        break;
    case 2: first.copyParm(second); break;
    default: first.isParmValueEqual(index, second, other, 0.0, BASgetSTID()); break;
    }
}

void World::revert(ZEL_Parm &parm)
{
    what += " revert " + std::string(parm.getToken());
    switch (below(4)) {
    case 0: parm.revertToDefaults(0.0); break;
    case 1: parm.revertToDefault(0.0, 0, oneIn(2)); break;
    case 2: parm.getInstance()->revertToDefaults(oneIn(2)); break;
    default:
        if (ZEL_Multi *multi = parm.asMulti()) {
            multi->revertAllInstances();
        }
    }
}

void World::changeState(ZEL_Parm &parm)
{
    what += " state " + std::string(parm.getToken());
    switch (below(6)) {
    case 0: parm.setLockedFlag(-1, oneIn(4)); break;
    case 1: parm.setAutoScopedFlag(0, oneIn(2)); break;
    case 2:
        list->setChannelAlias(&parm, 0, KIT_StringHolder(oneIn(2) ? "" : oneIn(2) ? "a1" : "a2"));
        break;
    case 3: parm.clearAndDestroyChannels(oneIn(2)); break;
    case 4: parm.setDirtyFlags(-1); break;
    default:
        if (const ZEL_Conditional *condition = parm.getTemplatePtr()->getDisablePtr()) {
            condition->eval(parm, *list, nullptr);
        }
    }
}

void World::rebuildSpares()
{
    const int set = below(5);
    what += " spares " + std::to_string(set);
    const TRK_EvalContext::Scope context(BASgetSTID(), oneIn(2) ? 2.0 : 0.0);
    list->updateSpareParmTemplates(oneIn(8) ? nullptr : mySpares[set].templates(), oneIn(2));
}

void World::walk()
{
    what += " walk";
    switch (below(6)) {
    case 0: readAll(); break;
    case 1: list->checkTimeDependence(true); break;
    case 2: {
        KIT_TokenString tokens;
        list->getMagicString(tokens, 0.0, ~0u);
        break;
    }
    case 3: {
        static const char *const theNames[] = {"v4", "x1_3", "k3", "w2", "y2"};
        list->checkMultiParmInstance(theNames[below(5)], false);
        break;
    }
    case 4: list->allDefaults(); break;
    default:
        setPendingOverrideString("pending");
        readAll();
        setPendingOverrideString(nullptr);
    }
}

void World::undo()
{
    if (mySnapshot.empty() || oneIn(2)) {
        what += " save";
        std::stringstream os;
        KIT_ErrorManager::Scope errors(BASgetSTID());
        list->save(os, 0, false);
        // It ends early at an error, too.
        mySnapshot = errors.getManager().getSeverity() < KIT_ERROR_ABORT ? os.str() : "";
        mySavedModel = myModel;
        return;
    }
    what += " load";
    KIT_IStream is(mySnapshot.data(), mySnapshot.size(), KIT_IStream::TEXT);
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    // It ends early at an error, such as one that an expression of the stream has.
    myUnknownFlag = !list->load(is, "undo", nullptr);
    myModel = mySavedModel;
}

void World::learnPlain()
{
    const ZEL_Parm &plain = *list->getParmPtr("plain");
    myModel.setCount(plain.getMultiParmNumItems(), false);
    for (int i = 0; i < myModel.value; ++i) {
        ModelItem &item = myModel.items[std::size_t(i)];
        item.number = std::atof(valueText(*plain.getMultiParm(2 * i)).c_str());
        const ZEL_Parm &inner = *plain.getMultiParm(2 * i + 1);
        item.inner.setCount(inner.getMultiParmNumItems(), false);
        for (int k = 0; k < item.inner.value; ++k) {
            item.inner.items[std::size_t(k)].number =
                std::atof(valueText(*inner.getMultiParm(k)).c_str());
        }
    }
}

void World::ramp()
{
    what += " ramp";
    ZEL_Parm &parm = *list->getParmPtr("r");
    KIT_Ramp ramp;
    ZEL_RampUtils::updateRampFromMultiParm(0.0, parm, &ramp, nullptr, nullptr);
    if (ramp.getNodeCount() < theMostItems) {
        ZEL_RampUtils::updateMultiParmFromRamp(0.0, ramp, parm, oneIn(2), ZEL_ADDKEY_PENDING);
    }
}

/// Reads all counts until none changes.
void World::settle()
{
    const int thread = BASgetSTID();
    std::uint32_t before = 0;
    int rounds = 0;
    myQuietFlag = true;
    do {
        before = list->getAddRemoveCount();
        for (int i = 0; i < entries(); ++i) {
            const ZEL_Parm *parm = list->getParmPtr(i);
            int count = 0;
            if (parm->isMultiParm()) {
                parm->getValue(0.0, count, 0, thread);
            }
        }
    } while (before != list->getAddRemoveCount() && ++rounds < 4);
    myModel.follow(false);
    for (ModelItem &item : myModel.items) {
        item.inner.follow(false);
    }
    if (myUnknownFlag) {
        learnPlain();
        myUnknownFlag = false;
    }
    myQuietFlag = false;
}

void World::step()
{
    what.clear();
    const int kind = below(100);
    if (kind < 25) {
        changeCount(*anyMulti());
    } else if (kind < 45) {
        changePlain(false);
    } else if (kind < 60) {
        betweenTwo(*any(), *any());
    } else if (kind < 70) {
        changeValue(*any());
    } else if (kind < 76) {
        revert(*any());
    } else if (kind < 86) {
        changeState(*any());
    } else {
        // These read or write "plain" too.
        myFrozenFlag = true;
        if (kind < 90) {
            rebuildSpares();
        } else if (kind < 94) {
            walk();
        } else if (kind < 97) {
            undo();
        } else if (kind < 98) {
            ramp();
        } else {
            what += " whole list";
            oneIn(2) ? list->revertToDefaults(0.0) : list->revertValuesToFactoryDefaults();
            guard();
            myModel = {};
        }
        myFrozenFlag = false;
    }
    settle();
    takeMessages();
}

// ---------------------------------------------------------------------- //
// What has to hold between operations
// ---------------------------------------------------------------------- //

/// Whether a block beside this one, or a spare parameter, has a child of that name.
bool hasRival(const char *token)
{
    return *token == 'q' || (*token == 'k' && token[1] != 'i');
}

/// Each child is there and is the block's, or its name is, or was, another one's.
std::string World::checkBlock(const ZEL_Parm &parm)
{
    const ZEL_Multi &multi = *parm.asMulti();
    const int children = multi.getMultiParmInstancesPerItem();
    const int items = multi.getMultiParmNumItems();
    for (int flat = 0; flat < items * children; ++flat) {
        const char *token = multi.getMultiParmToken(flat % children, flat / children);
        const ZEL_Parm *found = token ? list->getParmPtr(token) : nullptr;
        const bool isChild = found && found->getMultiParmOwner() == &multi;
        if (!isChild && (!token || !hasRival(token))) {
            return std::string(parm.getToken()) + " is without child " + std::to_string(flat);
        }
        if (multi.getParm(flat) != (isChild ? found : nullptr) ||
            (isChild && found->getTemplatePtr() != multi.getTemplate(flat))) {
            return std::string(token) + " isn't what its block says";
        }
    }
    double value = 0.0;
    parm.getValue(0.0, value, 0, BASgetSTID());
    if (!parm.getChannel(0) && !parm.getParmList()->isLoading() &&
        std::max(std::floor(value + 0.5), 0.0) != items) {
        return std::string(parm.getToken()) + " has another count than its value";
    }
    return "";
}

std::string World::checkPlain()
{
    const auto numberOf = [](const ZEL_Parm *parm) {
        return parm ? valueText(*parm) : std::string("none");
    };
    std::string expected, present;
    for (const ModelItem &item : myModel.items) {
        expected += number(item.number) + "(";
        for (const ModelNumber &inner : item.inner.items) {
            expected += number(inner.number) + " ";
        }
        expected += ") ";
    }
    const ZEL_Parm &plain = *list->getParmPtr("plain");
    for (int i = 0; i < plain.getMultiParmNumItems(); ++i) {
        const ZEL_Parm *inner = plain.getMultiParm(2 * i + 1);
        present += numberOf(plain.getMultiParm(2 * i)) + "(";
        for (int k = 0; inner && k < inner->getMultiParmNumItems(); ++k) {
            present += numberOf(inner->getMultiParm(k)) + " ";
        }
        present += ") ";
    }
    return expected == present ? "" : "plain: " + present + "instead of " + expected;
}

std::string World::checkMarks()
{
    int marks = 0;
    for (int i = 0; i < entries(); ++i) {
        const ZEL_Parm &parm = *list->getParmPtr(i);
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            marks += parm.isSendExtra(k) ? 1 : 0;
        }
    }
    return marks == list->getNumSendExtra() ? "" : "wrong count of marks";
}

std::string World::check()
{
    myQuietFlag = true;
    std::string fault = checkMarks() + checkPlain();
    for (int i = 0; i < entries() && fault.empty(); ++i) {
        const ZEL_Parm &parm = *list->getParmPtr(i);
        const ZEL_Multi *owner = parm.getMultiParmOwner();
        if (list->getParmPtr(parm.getToken()) != &parm) {
            fault = std::string(parm.getToken()) + " isn't found";
        } else if (owner && (list->getParmPtr(owner->getToken()) != owner->getParm() ||
                             owner->findMultiParmIndex(parm.getToken(), true) < 0)) {
            fault = std::string(parm.getToken()) + " belongs to no item";
        } else if (parm.isMultiParm()) {
            fault = checkBlock(parm);
        }
    }
    const ZEL_Parm &guarded = *list->getParmPtr("q1");
    if (valueText(guarded) != number(theGuarded) || !guarded.getLockedFlag(0)) {
        fault += " the guarded parameter changed";
    }
    myQuietFlag = false;
    return fault;
}

long setting(const char *name, long otherwise)
{
    const char *text = std::getenv(name);
    return text ? std::atol(text) : otherwise;
}

} // namespace

TEST(MultiRandom, WhateverIsCalledReadsAndChanges)
{
    const long operations = setting("ZEL_TEST_OPERATIONS", 4000);
    const unsigned seed = unsigned(setting("ZEL_TEST_SEED", 1));
    constexpr long theWorld = 1000;
    for (long done = 0; done < operations; done += theWorld) {
        const unsigned start = seed + unsigned(done / theWorld);
        World world(start);
        for (long i = 0; i < std::min(theWorld, operations - done); ++i) {
            world.step();
            const std::string fault = world.check();
            ASSERT_EQ("", fault) << "seed " << start << " operation " << i << ":" << world.what;
        }
    }
}
