// A random program over sets of spare parameters with mirrors. The suite runs a short one; the
// environment's ZEL_TEST_STEPS gives the steps of a longer one.

#include "SpareRig.h"

#include <random>
#include <string>
#include <vector>

namespace
{

/// A set of random templates: mirrors of anything, plain parameters, blocks with mirrors in them.
class RandomSet
{
public:
    explicit RandomSet(std::mt19937 &random)
    {
        const int count = int(random() % 7);
        myTemplates.reserve(std::size_t(count) + 1);
        for (int i = 0; i < count; ++i) {
            add(random);
        }
        myTemplates.emplace_back();
    }
    ZEL_Template *templates() { return myTemplates.data(); }

private:
    static const char *anyToken(std::mt19937 &random)
    {
        static constexpr const char *theTokens[] = {"folder", "tabs", "fix", "points", "sw1", "sw2",
                                                    "a",      "b",    "c",   "m",      "n",   "in1",
                                                    "in2",    "mr1",  "mr2", "d",      "",    "no"};
        return theTokens[random() % std::size(theTokens)];
    }
    ZEL_SpareData *target(std::mt19937 &random)
    {
        mySpares.emplace_back();
        mySpares.back().addTokenValue(KIT_StringHolder("orvane::switcher"), anyToken(random));
        return &mySpares.back();
    }
    void add(std::mt19937 &random)
    {
        static constexpr const char *theTokens[] = {"a", "b", "c", "d", "m", "n", "in1", "mr2"};
        Block &block = myBlocks.emplace_back();
        const char *token = theTokens[random() % std::size(theTokens)];
        if (*token == 'm' || *token == 'n') {
            Block &items = myBlocks.emplace_back();
            items.add(ZEL_FLT, 1, "in#");
            items.add(ZEL_SWITCHER_EXCLUSIVE, 1, "mr#")->setSparePtr(target(random));
            block.addMulti(ZEL_MULTITYPE_LIST, token, items.templates(), double(random() % 3));
        } else if (random() % 3 == 0) {
            block.add(random() % 2 ? ZEL_FLT : ZEL_STRING, 1 + int(random() % 2), token);
        } else {
            block
                .add(random() % 4 ? ZEL_SWITCHER_EXCLUSIVE : ZEL_SWITCHER, 1 + int(random() % 2),
                     token)
                ->setSparePtr(target(random));
        }
        myTemplates.push_back(*block.templates());
    }

    std::deque<Block> myBlocks;
    std::deque<ZEL_SpareData> mySpares;
    std::vector<ZEL_Template> myTemplates;
};

/// Counts along: what it hears of removed parameters is all that it knows.
class CountingOwner : public LookingOwner
{
public:
    std::vector<std::string> tokens;

    void parmRemoved(int parmIndex) override
    {
        LookingOwner::parmRemoved(parmIndex);
        if (parmIndex < int(tokens.size())) {
            EXPECT_EQ(tokens[std::size_t(parmIndex)], list->getParmPtr(parmIndex)->getToken());
            tokens.erase(tokens.begin() + parmIndex);
        }
    }
};

class RandomSpares
{
public:
    explicit RandomSpares(unsigned seed) : myRandom(seed)
    {
        myTop.add(ZEL_SWITCHER_EXCLUSIVE, 3, "folder");
        myTop.add(ZEL_SWITCHER, 2, "tabs");
        myTop.add(ZEL_FLT, 1, "fix");
        myItems.add(ZEL_FLT, 1, "pt#");
        myItems.add(ZEL_SWITCHER_EXCLUSIVE, 1, "sw#");
        myTop.addMulti(ZEL_MULTITYPE_LIST, "points", myItems.templates(), 1);
        myList = std::make_unique<ZEL_ParmList>(myTop.templates(), &myChannels, &myOwner, nullptr,
                                                "", false);
        myOwner.list = myList.get();
        myList->setEventHandler(this, [](void *data, TRK_CHANGE_TYPE, int) {
            static_cast<RandomSpares *>(data)->read();
        });
    }
    ~RandomSpares()
    {
        myOwner.list = nullptr;
        myList.reset();
    }

    void step()
    {
        ZEL_Parm &parm = *myList->getParmPtr(draw(myList->getEntries()));
        const int index = draw(parm.getVectorSize());
        switch (draw(10)) {
        case 0: rebuild(); break;
        case 1: parm.setValue(0.0, draw(4), true, index, ZEL_ADDKEY_PENDING, true); break;
        case 2: animate(parm, index); break;
        case 3: parm.clearAndDestroyChannels(true); break;
        case 4: parm.setLockedFlag(index, draw(4) == 0); break;
        case 5: parm.revertToDefaults(0.0); break;
        case 6: insertOrRemove(parm); break;
        case 7: undo(); break;
        case 8: addOne(); break;
        default: read(); break;
        }
        myOwner.takeCalls();
        takeMessages();
    }
    void check() const { expectSound(*myList, myChannels); }

private:
    int draw(int end) { return int(myRandom() % unsigned(end)); }

    void rebuild()
    {
        std::unique_ptr<Loading> loading(draw(8) == 0 ? new Loading : nullptr);
        auto next = std::make_unique<RandomSet>(myRandom);
        const bool forceCopy = draw(2);
        myUndo.clear();
        for (int i = 0; i < myList->getEntries(); ++i) {
            myOwner.tokens.emplace_back(myList->getParmPtr(i)->getToken());
        }
        myList->updateSpareParmTemplates(draw(8) ? next->templates() : nullptr, forceCopy);
        for (int i = 0; i < int(myOwner.tokens.size()); ++i) {
            EXPECT_EQ(myOwner.tokens[std::size_t(i)], myList->getParmPtr(i)->getToken());
        }
        myOwner.tokens.clear();
        mySets.clear();
        mySets.push_back(std::move(next));
    }
    void addOne()
    {
        auto next = std::make_unique<RandomSet>(myRandom);
        if (!next->templates()->isTerminator() && myList->addSpareParm(*next->templates())) {
            mySets.push_back(std::move(next));
        }
    }
    void animate(ZEL_Parm &parm, int index)
    {
        static constexpr const char *theTexts[] = {
            "0+1",       "$T",        "ch(\"fix\")", "ch(\"folder\")+1",
            "ch(\"a\")", "ch(\"m\")", "ch(\"in1\")"};
        if (!parm.isMultiParm() || draw(8) == 0) {
            parm.setExpression(0.0, theTexts[draw(int(std::size(theTexts)))], TRK_LANGUAGE_NATIVE,
                               index, true, true, true);
        }
    }
    void insertOrRemove(ZEL_Parm &parm)
    {
        const int items = parm.getMultiParmNumItems();
        if (parm.isMultiParm() && items < 4 && draw(2)) {
            parm.insertMultiParmItem(draw(items + 1), true);
        } else if (parm.isMultiParm()) {
            parm.removeMultiParmItem(draw(items + 1), true);
        }
    }
    void undo()
    {
        if (myUndo.isEmpty()) {
            myList->saveUndoData(myUndo);
        } else {
            myList->loadUndoData(myUndo, "undo", nullptr);
            myUndo.clear();
        }
    }
    void read() const
    {
        for (int i = 0; i < myList->getEntries(); ++i) {
            const ZEL_Parm *parm = myList->getParmPtr(i);
            for (int k = 0; parm && k < parm->getVectorSize(); ++k) {
                double value = 0.0;
                parm->getValue(0.0, value, k, BASgetSTID());
                // Reading a count may remove it with its items.
                parm = myList->getParmPtr(i) == parm ? parm : nullptr;
                k = parm ? k : 0;
            }
        }
    }

    std::mt19937 myRandom;
    Block myItems, myTop;
    TRK_Collection myChannels;
    CountingOwner myOwner;
    std::vector<std::unique_ptr<RandomSet>> mySets;
    std::unique_ptr<ZEL_ParmList> myList;
    ZEL_UndoDataArray myUndo;
};

TEST(SpareRandom, SetsWithMirrorsOfAnything)
{
    const long steps = numberFromEnvironment("ZEL_TEST_STEPS", 3000);
    constexpr long theRun = 500;
    for (long done = 0; done < steps; done += theRun) {
        RandomSpares run{unsigned(done)};
        for (long i = 0; i < theRun && !::testing::Test::HasFailure(); ++i) {
            run.step();
            run.check();
        }
        ASSERT_FALSE(::testing::Test::HasFailure()) << "run " << done;
    }
}

} // namespace
