/// \file SpareRig.h
/// A node's list with a fixed part, sets of spare templates, and an owner that inspects the list
/// whenever it is notified.
///
/// Ownership:  owns everything the list is made of; the sets that a test makes must outlive the list.
#pragma once

#include <gtest/gtest.h>
#include <multi/MultiList.h>

#include <set>

/// Looks everything up and evaluates it at each notification about removed parameters.
class LookingOwner : public TestOwner
{
public:
    ZEL_ParmList *list = nullptr;

    void parmRemoved(int parmIndex) override
    {
        look();
        const ZEL_Parm *parm = list ? list->getParmPtr(parmIndex) : nullptr;
        EXPECT_TRUE(!list || (parm && (parm->isSpareParm() || parm->getMultiParmOwner())));
        TestOwner::parmRemoved(parmIndex);
    }
    void spareParmRemoved(const char *token) override
    {
        look();
        const ZEL_Parm *parm = list ? list->getParmPtr(token) : nullptr;
        EXPECT_TRUE(!list || (parm && parm->isSpareParm())) << token;
        TestOwner::spareParmRemoved(token);
    }
    void multiInstancesChanged() override
    {
        look();
        TestOwner::multiInstancesChanged();
    }

private:
    void look() const
    {
        for (int i = 0; list && i < list->getEntries(); ++i) {
            const ZEL_Parm *parm = list->getParmPtr(i);
            for (int k = 0; k < parm->getVectorSize() && !parm->isMultiParm(); ++k) {
                KIT_String text;
                parm->getValue(0.0, text, k, true, BASgetSTID());
            }
            // One that a rebuild has replaced may be without a name until it is removed.
            EXPECT_TRUE(parm->getInstance()->isLeaving() ||
                        list->getParmIndex(parm->getTokenRef()) >= 0)
                << parm->getToken();
        }
    }
};

/// "fix", a float, and "points" with "pt#"; spare parameters as a test wants them.
class SpareRig : public MultiList
{
public:
    SpareRig()
    {
        looking.list = nullptr;
        top.add(ZEL_FLT, 1, "fix");
        top.addMulti(ZEL_MULTITYPE_LIST, "points", items.templates(), 1);
        buildTop(&looking);
        looking.list = list.get();
    }
    ~SpareRig()
    {
        looking.list = nullptr;
        list.reset();
    }

    void update(Block &set, bool forceCopy = false)
    {
        list->updateSpareParmTemplates(set.templates(), forceCopy);
    }

    LookingOwner looking;
};

/// What must hold for any list: names find their parameters, and the channels of the collection are
/// those in the slots, no more and no less.
inline void expectSound(const ZEL_ParmList &list, const TRK_Collection &channels)
{
    std::set<const TRK_Channel *> held;
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm *parm = list.getParmPtr(i);
        EXPECT_EQ(list.getParmIndex(parm->getTokenRef()), i) << parm->getToken();
        EXPECT_EQ(parm->getParmList(), &list);
        for (int k = 0; k < parm->getVectorSize(); ++k) {
            EXPECT_EQ(list.getParmIndexFromChannel(parm->getChannelToken(k), nullptr, false), i);
            const TRK_Channel *channel = parm->getChannel(k);
            if (channel) {
                EXPECT_EQ(channels.getChannel(parm->getChannelToken(k)), channel);
                held.insert(channel);
            }
        }
        const ZEL_Multi *owner = parm->getMultiParmOwner();
        EXPECT_TRUE(!owner || owner->getParmList() == &list) << parm->getToken();
    }
    EXPECT_EQ(int(held.size()), channels.entries());
}
