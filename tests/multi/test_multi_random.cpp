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
#include <random>
#include <sstream>

namespace
{

constexpr double theGuarded = 5.0;
constexpr int theMostItems = 5;

/// What "plain", or an item of it, should contain. Nothing but the functions here changes it.
struct Model
{
    double number = 0.0;
    std::vector<Model> items; // those that exist
    int value = 0;            // those that are wanted

    Model &at(int item) { return items[std::size_t(item)]; }
    int inUse(bool kept) const
    {
        return kept ? std::min(int(items.size()), value) : int(items.size());
    }
    void setCount(int count, bool kept)
    {
        value = count;
        if (!kept || value > int(items.size())) {
            items.resize(std::size_t(value));
        }
    }
    void settle()
    {
        setCount(value, false);
        for (Model &item : items) {
            item.settle();
        }
    }
    void insert(int item, bool kept)
    {
        const int before = inUse(kept);
        setCount(before + 1, kept);
        for (int i = before; i > item; --i) {
            at(i).assign(at(i - 1), kept);
        }
        at(item).revert(kept);
    }
    void remove(int item, bool kept)
    {
        const int before = inUse(kept);
        for (int i = item + 1; i < before; ++i) {
            at(i - 1).assign(at(i), kept);
        }
        at(before - 1).revert(kept);
        setCount(before - 1, kept);
    }
    void swap(int a, int b, bool kept)
    {
        Model spare;
        spare.assign(at(b), kept);
        at(b).assign(at(a), kept);
        at(a).assign(spare, kept);
    }
    void assign(const Model &from, bool kept)
    {
        number = from.number;
        setCount(from.inUse(kept), kept);
        for (int i = 0; i < value; ++i) {
            at(i).assign(from.items[std::size_t(i)], kept);
        }
    }
    void revert(bool kept)
    {
        number = 0.0;
        setCount(0, kept);
        for (Model &item : items) {
            item.revert(kept);
        }
    }
    /// Takes over what a block contains.
    void learn(const ZEL_Parm &block)
    {
        const int children = block.asMulti()->getMultiParmInstancesPerItem();
        setCount(block.getMultiParmNumItems(), false);
        for (int i = 0; i < value; ++i) {
            const ZEL_Parm *first = block.getMultiParm(children * i);
            const ZEL_Parm *inner = children > 1 ? block.getMultiParm(children * i + 1) : nullptr;
            at(i).number = std::nan("");
            if (first) {
                first->getValue(0.0, at(i).number, 0, BASgetSTID());
            }
            if (inner) {
                at(i).learn(*inner);
            }
        }
    }
    std::string text() const
    {
        std::string inner;
        for (const Model &item : items) {
            inner += item.text() + " ";
        }
        return ::number(number) + "(" + inner + ")";
    }
};

/// Whether a block beside this one, or a spare parameter, has a child of that name.
bool hasRival(const char *token)
{
    return *token == 'q' || (*token == 'k' && token[1] != 'i');
}

class World : public TestOwner
{
public:
    explicit World(unsigned seed) : myRandom(seed)
    {
        describe();
        takeMessages();
        list = std::make_unique<ZEL_ParmList>(myTop.templates(), &myChannels, this, nullptr, "",
                                              false);
        setParmList(list.get());
        list->setEventHandler(
            this, [](void *data, TRK_CHANGE_TYPE, int) { static_cast<World *>(data)->react(); });
        TRKgetEventManager().addListener(this, hear);
        guard();
        takeMessages();
        myQuietFlag = false;
    }
    ~World() override
    {
        myQuietFlag = true;
        TRKgetEventManager().removeListener(this, hear);
        list.reset();
    }

    void step()
    {
        what.clear();
        const int kind = below(100);
        if (kind < 25) {
            changeCount();
        } else if (kind < 45) {
            changePlain(false);
        } else if (kind < 76) {
            changeParm();
        } else if (kind < 86) {
            changeValue();
        } else {
            // These read or write "plain" too.
            myFrozenFlag = true;
            if (kind < 90) {
                rebuildSpares();
            } else if (kind < 93) {
                undo();
            } else {
                useWholeList();
            }
            myFrozenFlag = false;
        }
        settle();
        takeMessages();
    }

    std::string check()
    {
        myQuietFlag = true;
        Model plain;
        plain.learn(*list->getParmPtr("plain"));
        std::string fault;
        if (plain.text() != myModel.text()) {
            fault = "plain: " + plain.text() + " instead of " + myModel.text();
        }
        int marks = 0;
        for (int i = 0; i < entries() && fault.empty(); ++i) {
            const ZEL_Parm &parm = *list->getParmPtr(i);
            const ZEL_Multi *owner = parm.getMultiParmOwner();
            for (int k = 0; k < parm.getVectorSize(); ++k) {
                marks += parm.isSendExtra(k) ? 1 : 0;
            }
            if (list->getParmPtr(parm.getToken()) != &parm) {
                fault = std::string(parm.getToken()) + " isn't found";
            } else if (owner && (list->getParmPtr(owner->getToken()) != owner->getParm() ||
                                 owner->findMultiParmIndex(parm.getToken(), true) < 0)) {
                fault = std::string(parm.getToken()) + " belongs to no item";
            } else if (parm.isMultiParm()) {
                fault = checkBlock(parm);
            }
        }
        if (fault.empty() && marks != list->getNumSendExtra()) {
            fault = "wrong count of marks";
        }
        const ZEL_Parm &guarded = *list->getParmPtr("q1");
        if (valueText(guarded) != number(theGuarded) || !guarded.getLockedFlag(0)) {
            fault += " the guarded parameter changed";
        }
        myQuietFlag = false;
        return fault;
    }

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
        for (const ZEL_Parm *parm : parms) {
            KIT_Array<int> numbers;
            parm->getMultiInstanceIndex(numbers, true);
            EXPECT_NE(nullptr, parm->getMultiParmOwner()) << what;
            EXPECT_FALSE(numbers.isEmpty()) << what;
        }
    }
    void multiInstancesChanged() override { react(); }

    std::unique_ptr<ZEL_ParmList> list;
    std::string what;

private:
    static constexpr int theDeepest = 2;

    /// The channel that changes mustn't be removed: nobody reacts.
    static void hear(void *data, TRK_Channel *)
    {
        World &world = *static_cast<World *>(data);
        if (!world.myQuietFlag && world.list && world.oneIn(4)) {
            world.myQuietFlag = true;
            world.readAll();
            world.myQuietFlag = false;
        }
    }
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

    void describe()
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
        // Spare sets: a block; the same and a float that has become a string; a float with the name
        // of an item; two blocks with children of one name; none.
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

    void react()
    {
        if (myQuietFlag || !list || myDepth >= theDeepest) {
            return;
        }
        ++myDepth;
        if (oneIn(4)) {
            readAll();
        }
        if (TRK_Manager::isEvaluating()) {
            // What is being evaluated mustn't change.
            ZEL_Parm &parm = any(true);
            if (!parm.getChannel(0)) {
                parm.setValue(0.0, below(theMostItems), false, 0, ZEL_ADDKEY_PENDING, oneIn(2));
            }
        } else {
            if (oneIn(6)) {
                changeCount();
            }
            if (oneIn(12) && !myFrozenFlag) {
                changePlain(true);
            }
            if (oneIn(12)) {
                changeValue();
            }
        }
        --myDepth;
    }

    /// While a value is evaluated, reading is all that is allowed.
    void look()
    {
        if (!myQuietFlag && list && myDepth < theDeepest && oneIn(4)) {
            ++myDepth;
            readAll();
            --myDepth;
        }
    }

    void readAll()
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

    /// A parameter that nothing guards: neither "q1" nor "plain" with what is in it.
    ZEL_Parm &any(bool multiFlag = false)
    {
        for (;;) {
            ZEL_Parm &parm = *list->getParmPtr(below(entries()));
            const ZEL_Parm *top = &parm;
            while (const ZEL_Multi *owner = top->getMultiParmOwner()) {
                top = owner->getParm();
            }
            const std::string token = top->getToken();
            if (token != "plain" && token != "q1" && (!multiFlag || parm.isMultiParm())) {
                return parm;
            }
        }
    }

    /// Reads all counts until none changes.
    void settle()
    {
        std::uint32_t before = 0;
        int rounds = 0;
        myQuietFlag = true;
        do {
            before = list->getAddRemoveCount();
            for (int i = 0; i < entries(); ++i) {
                const ZEL_Parm *parm = list->getParmPtr(i);
                int count = 0;
                if (parm->isMultiParm()) {
                    parm->getValue(0.0, count, 0, BASgetSTID());
                }
            }
        } while (before != list->getAddRemoveCount() && ++rounds < 4);
        myModel.settle();
        if (myUnknownFlag) {
            myModel.learn(*list->getParmPtr("plain"));
            myUnknownFlag = false;
        }
        myQuietFlag = false;
    }

    /// Restores what operations on the whole list change.
    void guard()
    {
        ZEL_Parm &parm = *list->getParmPtr("q1");
        parm.setLockedFlag(0, false);
        parm.setValue(0.0, theGuarded, true, 0, ZEL_ADDKEY_PENDING, false);
        parm.setLockedFlag(0, true);
    }

    void changeCount()
    {
        ZEL_Parm &parm = any(true);
        ZEL_Multi *multi = parm.asMulti();
        const int items = multi->getNumItemsInUse();
        const int index = list->getParmIndex(&parm);
        const int item = below(items + 2) - 1;
        const bool propagate = oneIn(2);
        const int kind = below(items < theMostItems ? 9 : 7);
        what += " count " + std::to_string(kind) + " " + parm.getToken();
        switch (kind) {
        case 0: list->removeMultiParmItem(index, item); break;
        case 1: parm.removeMultiParmItem(item, propagate); break;
        case 2: parm.swapMultiParmItem(item, below(items)); break;
        case 3: multi->setNumInstances(below(theMostItems), false); break;
        case 4: multi->revertInstance(item); break;
        case 7: list->insertMultiParmItem(index, item); break;
        case 8: parm.insertMultiParmItem(item, propagate); break;
        default: parm.setValue(0.0, below(theMostItems), false, 0, ZEL_ADDKEY_PENDING, propagate);
        }
    }

    void changePlain(bool kept)
    {
        myFrozenFlag = true;
        changePlain(*list->getParmPtr("plain"), myModel, kept);
        myFrozenFlag = false;
    }

    void changePlain(ZEL_Parm &block, Model &model, bool kept)
    {
        const int index = list->getParmIndex(&block);
        const int items = model.inUse(kept);
        const int item = below(items);
        const int children = block.asMulti()->getMultiParmInstancesPerItem();
        const int kind = below(items > 0 ? 8 : 2);
        what += " plain " + std::to_string(kind);
        if (kind == 0) {
            const int count = below(theMostItems);
            block.setValue(0.0, count, false, 0, ZEL_ADDKEY_PENDING, true);
            model.setCount(count, kept);
        } else if (kind == 1 && items < theMostItems) {
            const int place = below(items + 1);
            list->insertMultiParmItem(index, place);
            model.insert(place, kept);
        } else if (kind == 2) {
            list->removeMultiParmItem(index, item);
            model.remove(item, kept);
        } else if (kind == 3 && items > 1) {
            const int other = (item + 1 + below(items - 1)) % items;
            block.swapMultiParmItem(item, other);
            model.swap(item, other, kept);
        } else if (kind == 4) {
            block.asMulti()->revertInstance(item);
            model.at(item).revert(kept);
        } else if (kind > 5 && children > 1) {
            changePlain(*block.getMultiParm(children * item + 1), model.at(item), kept);
        } else if (items > 0) {
            const double number = below(100);
            ZEL_Parm &first = *block.getMultiParm(children * item);
            first.setValue(0.0, number, false, 0, ZEL_ADDKEY_PENDING, true);
            model.at(item).number = number;
        }
    }

    void changeValue()
    {
        static const char *const theExpressions[] = {"ch(\"m\")",  "ch(\"n\") + 1", "$T + 1",
                                                     "ch(\"e\")",  "ch(\"in1\")",   "2",
                                                     "ch(\"sm\")", "ch(\"r\")"};
        ZEL_Parm &parm = any();
        const int index = below(parm.getVectorSize());
        const bool propagate = oneIn(2);
        what += " value " + std::string(parm.getToken());
        switch (below(4)) {
        case 0:
            parm.setValue(0.0, double(below(theMostItems)), oneIn(2), index, ZEL_ADDKEY_PENDING,
                          propagate);
            break;
        case 1:
            parm.setValue(0.0, oneIn(2) ? "3" : "$OS`ch(\"m\")`", TRK_MEANING_LITERAL, oneIn(2),
                          index, ZEL_ADDKEY_PENDING, propagate);
            break;
        case 2:
            parm.setExpression(0.0, theExpressions[below(8)], TRK_LANGUAGE_NATIVE, index, oneIn(2),
                               oneIn(2), propagate);
            break;
        default: parm.getInstance()->removeChannel(index); break;
        }
    }

    /// Reverts a parameter, changes its state, or takes another one's value.
    void changeParm()
    {
        ZEL_Parm &parm = any();
        const ZEL_Parm &source = any();
        const int index = below(parm.getVectorSize());
        const int other = below(source.getVectorSize() + 2) - 1;
        const int kind = below(16);
        what += " parm " + std::to_string(kind) + " " + parm.getToken() + " " + source.getToken();
        switch (kind) {
        case 0: parm.copyParm(source); break;
        case 1:
        case 2: parm.isParmValueEqual(index, source, other, 0.0, BASgetSTID()); break;
        case 3: parm.revertToDefaults(0.0); break;
        case 4: parm.revertToDefault(0.0, 0, oneIn(2)); break;
        case 5: parm.getInstance()->revertToDefaults(oneIn(2)); break;
        case 6: any(true).asMulti()->revertAllInstances(); break;
        case 7: parm.setLockedFlag(-1, oneIn(4)); break;
        case 8: parm.setAutoScopedFlag(0, oneIn(2)); break;
        case 9:
            list->setChannelAlias(&parm, 0,
                                  KIT_StringHolder(oneIn(2)   ? ""
                                                   : oneIn(2) ? "a1"
                                                              : "a2"));
            break;
        case 10: parm.clearAndDestroyChannels(oneIn(2)); break;
        case 11: parm.setDirtyFlags(-1); break;
        case 12:
            if (const ZEL_Conditional *condition = parm.getTemplatePtr()->getDisablePtr()) {
                condition->eval(parm, *list, nullptr);
            }
            break;
        default:
            parm.copyValue(0.0, index, source, other, oneIn(2), oneIn(2), oneIn(2),
                           ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        }
    }

    void rebuildSpares()
    {
        const int set = below(5);
        what += " spares " + std::to_string(set);
        const TRK_EvalContext::Scope context(BASgetSTID(), oneIn(2) ? 2.0 : 0.0);
        list->updateSpareParmTemplates(oneIn(8) ? nullptr : mySpares[set].templates(), oneIn(2));
    }

    void useWholeList()
    {
        static const char *const theNames[] = {"v4", "x1_3", "k3", "w2", "y2"};
        const int kind = below(9);
        what += " whole list " + std::to_string(kind);
        KIT_TokenString tokens;
        KIT_Ramp ramp;
        switch (kind) {
        case 0: readAll(); break;
        case 1: list->checkTimeDependence(true); break;
        case 2: list->getMagicString(tokens, 0.0, ~0u); break;
        case 3: list->checkMultiParmInstance(theNames[below(5)], false); break;
        case 4: list->allDefaults(); break;
        case 5:
            setPendingOverrideString("pending");
            readAll();
            setPendingOverrideString(nullptr);
            break;
        case 6: {
            ZEL_Parm &parm = *list->getParmPtr("r");
            ZEL_RampUtils::updateRampFromMultiParm(0.0, parm, &ramp, nullptr, nullptr);
            if (ramp.getNodeCount() < theMostItems) {
                ZEL_RampUtils::updateMultiParmFromRamp(0.0, ramp, parm, oneIn(2),
                                                       ZEL_ADDKEY_PENDING);
            }
            break;
        }
        default:
            oneIn(2) ? list->revertToDefaults(0.0) : list->revertValuesToFactoryDefaults();
            guard();
            myModel = {};
        }
    }

    void undo()
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

    /// Each child is there and is the block's, or its name is, or was, another one's.
    std::string checkBlock(const ZEL_Parm &parm)
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

    std::mt19937 myRandom;
    Block myInner, myItems, myAnimated, myPlainInner, myPlain, myTop;
    Block mySpareInner, mySpareItems, myRivalItems, mySpares[5];
    ZEL_ChoiceList myMenu{ZEL_CHOICELIST_REPLACE, &World::generate};
    ZEL_Conditional myCondition{"{ m > 2 } { e < 1 }", ZEL_CONDTYPE_DISABLE};
    TRK_Collection myChannels;
    std::string mySnapshot;
    Model myModel, mySavedModel;
    int myDepth = 0;
    bool myFrozenFlag = false;  // "plain" is being worked on
    bool myUnknownFlag = false; // a load ended early
    bool myQuietFlag = true;
};

} // namespace

TEST(MultiRandom, WhateverIsCalledReadsAndChanges)
{
    const long operations = numberFromEnvironment("ZEL_TEST_OPERATIONS", 4000);
    const unsigned seed = unsigned(numberFromEnvironment("ZEL_TEST_SEED", 1));
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
