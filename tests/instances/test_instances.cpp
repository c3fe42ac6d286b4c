// What an instance keeps for each component: flags, masks, channels, time dependence, micro nodes.

#include <common/TestOwner.h>
#include <common/Threads.h>
#include <instances/InstanceRig.h>
#include <multi/MultiList.h>

#include <KIT/KIT_Color.h>
#include <ZEL/ZEL_ConstMicroNode.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_Value.h>

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>
#include <tuple>

TEST(Instances, MasksStartAsTheTemplateSays)
{
    // At 32 the shift wraps, and no component starts visible or dirty.
    const std::tuple<int, std::uint32_t, std::uint32_t> cases[] = {
        {0, ~0u, 0u}, {1, 1u, 1u}, {3, 7u, 7u}, {31, 0x7fffffffu, 0x7fffffffu}, {32, 0u, 0u}};
    for (const auto &[size, wantedVisible, wantedDirty] : cases) {
        Rig rig(3);
        rig.build();
        ZEL_Template entry(ZEL_FLT, size, &rig.description.name);
        Probe probe(&entry, rig.parm);
        std::uint32_t visible = 0, dirty = 0;
        for (int i = 0; i < 32; ++i) {
            visible |= probe.getVisibleState(i) ? 1u << i : 0u;
            dirty |= probe.isDirty(i) ? 1u << i : 0u;
        }
        EXPECT_EQ(visible, wantedVisible) << size;
        EXPECT_EQ(dirty, wantedDirty) << size;
        EXPECT_EQ(probe.getEnableState(-1), ~0u);
        EXPECT_EQ(probe.getLockedField(), 0u);
        EXPECT_FALSE(probe.hasAnySendExtraFlags());
    }
}

TEST(Instances, MasksAreTheTemplatesAtConstruction)
{
    for (const int size : {0, 1, 3, 32}) {
        for (const std::uint32_t mask : {0u, 1u, 5u, 7u, ~0u}) {
            OneParm p(ZEL_FLT, 3);
            p.build();
            ZEL_Template entry(ZEL_FLT, size, &p.description.name);
            entry.setAutoScopeField(mask);
            entry.setAutoSelectField(mask);
            const std::uint32_t scope = entry.getAutoScopeField();
            const std::uint32_t select = entry.getAutoSelectField();
            const auto masks = [](const ZEL_Parm &parm) {
                return std::pair(parm.getAutoScopedField(), parm.getAutoSelectField());
            };
            ZEL_Parm made(&entry, p.list.get());
            entry.setAutoScopeField(4);
            entry.setAutoSelectField(2);
            const auto later = std::pair(entry.getAutoScopeField(), entry.getAutoSelectField());
            EXPECT_EQ(masks(made), std::pair(scope, select)) << size << " " << mask;
            ZEL_Parm copy(&made, p.list.get());
            EXPECT_EQ(masks(copy), later) << size << " " << mask;
            copy.adopt(made);
            EXPECT_EQ(masks(copy), std::pair(scope, select)) << size << " " << mask;
            made.setAutoScopedFlag(0, true);
            made.setAutoSelectFlag(0, false);
            EXPECT_EQ(masks(made), std::pair(scope | 1u, select & ~1u)) << size << " " << mask;
            EXPECT_EQ(std::pair(entry.getAutoScopeField(), entry.getAutoSelectField()), later);
        }
    }
}

TEST(Instances, WhatAParameterOnceHadIsNotInAStream)
{
    for (const ZEL_Type *type : {&ZEL_FLT, &ZEL_XYZ, &ZEL_STRING, &ZEL_TOGGLE}) {
        for (const bool isBinary : {false, true}) {
            OneParm p(*type, type == &ZEL_XYZ ? 3 : 1);
            p.build();
            p.set(1.0);
            const auto saved = [&] {
                std::ostringstream os;
                p.list->save(os, isBinary, false);
                return os.str();
            };
            const std::string before = saved();
            p.instance->microNode(0);
            p.instance->setActive(0, true);
            p.instance->setChannelAlias("other", 0);
            p.instance->setLockedFlag(0, true);
            p.instance->setLockedFlag(0, false);
            EXPECT_EQ(saved(), before) << isBinary;
            p.instance->setLockedFlag(0, true);
            p.set(0.0);
            KIT_IStream is(before.data(), before.size(),
                           isBinary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
            EXPECT_TRUE(p.list->load(is, "saved", nullptr));
            EXPECT_FALSE(p.instance->getLockedFlag(-1));
            EXPECT_EQ(saved(), before) << isBinary;
        }
    }
}

TEST(Instances, ANegativeIndexMeansAllInSettersAndAnyInQueries)
{
    Rig rig(3);
    Probe &p = *rig.build().probe;
    p.setLockedFlag(1, true);
    EXPECT_TRUE(p.getLockedFlag(-1));
    EXPECT_FALSE(p.getLockedFlag(0));
    EXPECT_FALSE(p.areAllComponentsLocked());
    p.setLockedFlag(-1, true);
    EXPECT_EQ(p.getLockedField(), 7u);
    EXPECT_TRUE(p.areAllComponentsLocked());
    p.setLockedFlag(-1, false);
    EXPECT_FALSE(p.getLockedFlag(-1));

    EXPECT_TRUE(p.setEnableState(false, 1));
    EXPECT_FALSE(p.setEnableState(false, 1));
    EXPECT_EQ(p.getEnableState(-1), ~2u);
    EXPECT_TRUE(p.setEnableState(true, -1));
    EXPECT_EQ(p.getEnableState(-1), ~0u);

    EXPECT_TRUE(p.setVisibleState(false, -1));
    EXPECT_FALSE(p.getVisibleState(-1));
    EXPECT_TRUE(p.setVisibleState(true, 2));
    EXPECT_FALSE(p.setVisibleState(true, 2));
    EXPECT_TRUE(p.getVisibleState(2));
    EXPECT_FALSE(p.getVisibleState(1));

    p.setActive(-1, true);
    EXPECT_TRUE(p.isActive(2));
    EXPECT_FALSE(p.isActive(3));
    EXPECT_FALSE(p.isActive(-1));

    // A mask that is set is saved even when nothing changes.
    p.setAutoScopedFlag(0, p.getAutoScopedFlag(0));
    EXPECT_TRUE(p.getSaveAutoScopeFlag());
    EXPECT_FALSE(p.getSaveAutoSelectFlag());
    p.setAutoSelectFlag(-1, true);
    EXPECT_TRUE(p.getSaveAutoSelectFlag());
    EXPECT_EQ(p.getAutoSelectField(), 7u);
}

TEST(Instances, SendExtraCountsEachDirtyComponentOnce)
{
    Rig rig(3);
    Probe &p = *rig.build().probe;
    const int start = rig.list->getNumSendExtra();
    p.clearAllDirtyFlags();
    EXPECT_TRUE(p.areAllFlagsClean());
    p.setDirtyFlags(1);
    p.setDirtyFlags(1);
    EXPECT_TRUE(p.isDirty(1));
    EXPECT_EQ(rig.list->getNumSendExtra(), start + 1);
    // One is marked already: the others become dirty, and only dirty.
    p.setDirtyFlags(-1);
    EXPECT_TRUE(p.isDirty(0) && p.isDirty(2));
    EXPECT_FALSE(p.isSendExtra(0));
    EXPECT_EQ(rig.list->getNumSendExtra(), start + 1);

    Probe fresh(&rig.templates[0], rig.parm);
    fresh.setDirtyFlags(-1);
    fresh.setDirtyFlags(-1);
    EXPECT_TRUE(fresh.isSendExtra(0) && fresh.isSendExtra(2));
    EXPECT_EQ(rig.list->getNumSendExtra(), start + 4);
}

TEST(Instances, FlagsThatDependOnOthers)
{
    Rig rig(1);
    Probe &p = *rig.build().probe;
    p.setBypassFlag(true);
    EXPECT_FALSE(p.getBypassFlag());
    p.setSpareParm(true);
    p.setBypassFlag(true);
    EXPECT_TRUE(p.getBypassFlag());
    p.setSpareParm(false);
    p.setBypassFlag(true);
    EXPECT_FALSE(p.getBypassFlag());

    p.setSaveFlags(~0u);
    p.setSaveFlags(0);
    EXPECT_EQ(p.getSaveFlags(), 8u);
    EXPECT_FALSE(p.getUndoSavedFlag());

    p.setActiveTakeFlag(true);
    p.setActiveTakeFlag(false);
    EXPECT_FALSE(p.getActiveTakeFlag());
}

TEST(Instances, SomeParametersAreAlwaysInTheTake)
{
    ZEL_SpareData always, sometimes;
    always.addTokenValue("takecontrol", "always");
    sometimes.addTokenValue("takecontrol", "Always");
    const std::tuple<ZEL_Type, ZEL_SpareData *, bool> cases[] = {
        {ZEL_FLT, nullptr, false},
        {ZEL_FLT, &always, true},
        {ZEL_FLT, &sometimes, false},
        {ZEL_SWITCHER, nullptr, true},
        {ZEL_SWITCHER_EXCLUSIVE, nullptr, false}};
    for (const auto &[type, spare, alwaysFlag] : cases) {
        Rig rig(1, type, "p", spare);
        Probe &probe = *rig.build().probe;
        EXPECT_EQ(probe.getAlwaysTakeFlag(), alwaysFlag);
        probe.setActiveTakeFlag(false);
        EXPECT_EQ(probe.getActiveTakeFlag(), alwaysFlag);
    }
}

TEST(Instances, ADuplicateStartsDisabledWithoutLocksAndAliases)
{
    Rig rig(2);
    Probe &p = *rig.build().probe;
    p.setLockedFlag(-1, true);
    p.setExpressionState(true);
    p.setUndoSavedFlag(true);
    p.setDefaultsInitFlag(true);
    p.setChannelAlias("other", 0);
    p.setChannelCustomColor(0, KIT_Color(1, 0, 0));
    p.createInputNotifyValue()->addInterest(&rig, [](void *, void *) {});

    std::unique_ptr<ZEL_Instance> copy(p.duplicateSelf(rig.parm));
    EXPECT_EQ(copy->getEnableState(-1), 0u);
    EXPECT_EQ(copy->getLockedField(), 0u);
    EXPECT_TRUE(copy->getExpressionState());
    EXPECT_FALSE(copy->getUndoSavedFlag());
    EXPECT_FALSE(copy->getDefaultsInitFlag());
    EXPECT_STREQ(copy->getChannelAlias(0).c_str(), "p1");
    EXPECT_FALSE(copy->hasChannelCustomColor(0));
    ASSERT_TRUE(copy->inputNotifyValue());
    EXPECT_TRUE(copy->inputNotifyValue()->hasInterest(&rig));
}

TEST(Instances, ChannelsAreMadeTakenAndDeletedByToken)
{
    Rig rig(2);
    Probe &p = *rig.build().probe;
    ASSERT_TRUE(p.setChannelAlias("left", 0));
    p.addChannel(0);
    ASSERT_TRUE(p.getChannel(0));
    EXPECT_STREQ(p.getChannel(0)->getAlias().c_str(), "left");
    EXPECT_EQ(p.getChannel(0)->getNSegments(), 1);
    p.addChannel(7);
    EXPECT_EQ(rig.channelNames(), "p1");

    // A channel that is in the collection already is used unchanged.
    TRK_Channel *second = rig.channels.addChannel("p2");
    EXPECT_EQ(p.addChannel(KIT_StringRef("nobody")), 0);
    EXPECT_EQ(p.addChannel(KIT_StringRef("p2"), "$F", TRK_LANGUAGE_NATIVE), 1);
    EXPECT_EQ(p.getChannel(1), second);
    EXPECT_EQ(second->getNSegments(), 0);
    EXPECT_EQ(p.getChannelCount(), 2);
    EXPECT_EQ(p.addChannel(KIT_StringRef("left")), 1);

    EXPECT_TRUE(p.removeChannel(1));
    EXPECT_FALSE(p.removeChannel(1));
    EXPECT_FALSE(p.removeChannel(2));
    EXPECT_EQ(rig.channelNames(), "p1");
    p.clearAndDestroyChannels();
    EXPECT_EQ(rig.channelNames(), "");
}

TEST(Instances, WithoutCollectionChannelOperationsDoNothing)
{
    Rig rig(2);
    Probe &p = *rig.build(nullptr, false).probe;
    p.addChannel(0);
    EXPECT_EQ(p.addChannel(KIT_StringRef("p1")), 0);
    EXPECT_EQ(p.channelPtrModified(KIT_StringRef("p1")), 0);
    p.reloadChannelPtrs();
    EXPECT_EQ(p.getChannelCount(), 0);
    EXPECT_EQ(p.getExprLanguageIfMadeAnExpression(0.0, 0), TRK_LANGUAGE_NATIVE);
    EXPECT_TRUE(p.isLanguageOldExprOrLiteral(0.0, 0));
    EXPECT_EQ(takeMessages(), "");
}

TEST(Instances, ReloadFindsChannelsByTokenThenByAliasAndRevertsTheRest)
{
    Rig rig(3);
    rig.description.defaults[2] = ZEL_Default(9.0);
    Probe &p = *rig.build().probe;
    p.setDefaultsInitFlag(false);
    p.setLockedFlag(0, true);
    ASSERT_TRUE(p.setChannelAlias("left", 1));
    TRK_Channel *first = rig.channels.addChannel("p1");
    TRK_Channel *second = rig.channels.addChannel("left");
    EXPECT_FALSE(first->getLocked());

    p.reloadChannelPtrs();
    EXPECT_EQ(p.getChannel(0), first);
    EXPECT_TRUE(first->getLocked());
    EXPECT_EQ(p.getChannel(1), second);
    EXPECT_STREQ(second->getName().c_str(), "p2");
    EXPECT_TRUE(p.getDefaultsInitFlag());
    double value = 0.0;
    p.getValue(nullptr, 0.0, value, 2, 1);
    EXPECT_EQ(value, 9.0);

    // Only here do locks reach channels, and a deleted channel empties its slot.
    p.setLockedFlag(0, false);
    EXPECT_TRUE(first->getLocked());
    rig.channels.deleteChannel(second);
    p.reloadChannelPtrs();
    EXPECT_FALSE(first->getLocked());
    EXPECT_EQ(p.getChannel(1), nullptr);
}

TEST(Instances, AdoptRenamesChannelsAndDeletesTheSurplus)
{
    Rig rig(3);
    Probe &from = *rig.build().probe;
    for (int i = 0; i < 3; ++i) {
        from.addChannel(i);
    }
    from.setLockedFlag(1, true);
    from.setSaveLabelFlag(true);
    TRK_Channel *first = from.getChannel(0);

    ZEL_Name name("q");
    ZEL_Template entry(ZEL_FLT, 2, &name);
    Probe to(&entry, rig.parm);
    to.setExpressionState(true);
    to.adopt(from);
    EXPECT_EQ(rig.channelNames(), "q1 q2");
    EXPECT_EQ(to.getChannel(0), first);
    EXPECT_EQ(from.getChannelCount(), 0);
    EXPECT_EQ(to.getLockedField(), 2u);
    EXPECT_TRUE(to.getSaveLabelFlag());
    EXPECT_TRUE(to.getExpressionState());
}

TEST(Instances, ValidateRenamesOrLetsGo)
{
    Rig rig(2);
    ZEL_Instance &p = *rig.build().instance;
    TRK_Channel *other = rig.channels.addChannel("other");
    p.setChannel(0, other);
    TRK_Channel *taken = rig.channels.addChannel("p2");
    TRK_Channel *stray = rig.channels.addChannel("stray");
    p.setChannel(1, stray);
    p.validateChannelNames(*rig.list);
    EXPECT_EQ(p.getChannel(0), other);
    EXPECT_STREQ(other->getName().c_str(), "p1");
    EXPECT_EQ(p.getChannel(1), nullptr); // the name is taken
    EXPECT_STREQ(taken->getName().c_str(), "p2");
    EXPECT_STREQ(stray->getName().c_str(), "stray");
}

TEST(Instances, KeysAndStatesOverAllComponents)
{
    Rig rig(3);
    Probe &p = *rig.build().probe;
    p.addChannel(0);
    p.addChannel(1);
    p.setKey(2.0, 0);
    p.setKey(4.0, 0);
    p.setKey(3.0, 1);
    EXPECT_EQ(p.findNextKey(2.0, -1), 3.0);
    EXPECT_EQ(p.findNextKey(2.0, 0), 4.0);
    EXPECT_EQ(p.findNextKey(2.0, 2), 2.0);
    EXPECT_EQ(p.findPrevKey(4.0, -1), 3.0);
    EXPECT_EQ(p.findNextKey(4.0, -1), 4.0);
    p.setKey(6.0, -1);
    EXPECT_TRUE(p.getChannel(0)->isAtKey(6.0) && p.getChannel(1)->isAtKey(6.0));
    EXPECT_EQ(p.getChanState(4.0, 0), ZEL_CHAN_KEY);
    EXPECT_EQ(p.getChanState(4.0, 1), ZEL_CHAN_NOKEY);
    EXPECT_EQ(p.getChanState(4.0, 2), ZEL_CHAN_NONE);
    EXPECT_EQ(p.getChanState(4.0, 9), ZEL_CHAN_NONE);
    EXPECT_EQ(p.getChanState(4.0), ZEL_CHAN_KEY | ZEL_CHAN_NOKEY);

    p.getChannel(1)->setKeyValue(5.0, 3.0, false, false, false);
    EXPECT_EQ(p.getChanState(3.0, 1), ZEL_CHAN_PENDING);
    EXPECT_TRUE(p.changePending(1));
    EXPECT_FALSE(p.changePending(2));
    EXPECT_TRUE(p.isTimeDependent(1));
}

TEST(Instances, LanguageFollowsChannelThenCollection)
{
    Rig rig(2);
    Probe &p = *rig.build().probe;
    p.addChannel(0, "1 + 1", TRK_LANGUAGE_PYTHON);
    EXPECT_EQ(p.getExprLanguageIfMadeAnExpression(0.0, 0), TRK_LANGUAGE_PYTHON);
    EXPECT_FALSE(p.isLanguageOldExprOrLiteral(0.0, 0));
    EXPECT_EQ(p.getExprLanguageIfMadeAnExpression(0.0, 1), TRK_LANGUAGE_NATIVE);
    rig.channels.setExprLanguage(TRK_LANGUAGE_PYTHON);
    EXPECT_EQ(p.getExprLanguageIfMadeAnExpression(0.0, 1), TRK_LANGUAGE_PYTHON);
    EXPECT_EQ(p.stringMeaningToExprLanguage(TRK_MEANING_COLLECTION), TRK_LANGUAGE_PYTHON);
    EXPECT_EQ(p.stringMeaningToExprLanguage(TRK_MEANING_NATIVE), TRK_LANGUAGE_NATIVE);
    EXPECT_TRUE(p.isLanguageOldExprOrLiteral(0.0, 1));
}

TEST(Instances, AliasesStandInFrontOfTokens)
{
    Rig rig(2);
    Probe &p = *rig.build().probe;
    EXPECT_FALSE(p.setChannelAlias("no way", 0));
    EXPECT_FALSE(p.setChannelAlias("fine", 2));
    EXPECT_STREQ(p.getChannelAlias(0).c_str(), "p1");
    EXPECT_TRUE(p.setChannelAlias("p2", 0)); // the token of the other component
    EXPECT_EQ(p.findSubIndex(KIT_StringRef("p2"), true), 0);
    EXPECT_EQ(p.findSubIndex(KIT_StringRef("p2"), false), 1);
    EXPECT_TRUE(p.hasChannelName(KIT_StringRef("p1"), 0));
    EXPECT_FALSE(p.hasChannelAlias(KIT_StringRef("p1"), 0));
    EXPECT_STREQ(p.getChannelAlias(2).c_str(), "");
    EXPECT_TRUE(p.setChannelAlias("", 0));
    EXPECT_EQ(p.findSubIndex(KIT_StringRef("p2"), true), 1);
}

TEST(Instances, WordsOfStreamsNameChannelsOrBecomeExpressions)
{
    Rig rig(2);
    Probe &p = *rig.build().probe;
    TRK_Channel *first = rig.channels.addChannel("p1");
    p.loadTokenAsChannelNameOrExpression("p1", 0);
    EXPECT_EQ(p.getChannel(0), first);
    // Its own name, but there is no channel of that name.
    p.loadTokenAsChannelNameOrExpression("p1 * 2", 1);
    ASSERT_TRUE(p.getChannel(1));
    KIT_String text;
    p.getChannel(1)->getExpression(0.0, text);
    EXPECT_EQ(text.toStdString(), "p1 * 2");

    EXPECT_EQ(p.linkChannel("elsewhere", 0), first);
    EXPECT_EQ(takeMessages(), "");
    p.removeChannel(0);
    EXPECT_EQ(p.linkChannel("elsewhere", 0), nullptr);
    EXPECT_STREQ(KITgetErrorManager().getError(0).text.c_str(), "p1");
    EXPECT_EQ(takeMessages(), "ZEL 4");
    rig.list->setChannelGroupPtr(nullptr);
    EXPECT_EQ(p.linkChannel("p1", 0), nullptr);
    EXPECT_EQ(takeMessages(), "ZEL 14");
    p.setChannel(1, nullptr);
}

TEST(Instances, TimeDependenceReachesTheListByTheBehaviourWord)
{
    const std::tuple<ZEL_Type, bool, bool> cases[] = {{ZEL_FLT, true, true},
                                                      {ZEL_FLT | ZEL_TYPE_NOCOOK, true, false},
                                                      {ZEL_FLT | ZEL_TYPE_NOREFRESH, false, false}};
    for (const auto &[type, listFlag, cookFlag] : cases) {
        Rig rig(2, type);
        Probe &p = *rig.build().probe;
        ASSERT_TRUE(p.microNode(1));
        p.setTimeDependent(1, false);
        EXPECT_FALSE(rig.list->isTimeDependent());
        p.setTimeDependent(1, true);
        EXPECT_EQ(rig.list->isTimeDependent(), listFlag);
        EXPECT_EQ(rig.list->isCookTimeDependent(), cookFlag);
        EXPECT_EQ(p.isTimeDependent(1), listFlag);
        EXPECT_FALSE(p.isTimeDependent(0));
        EXPECT_EQ(p.isTimeDependent(-1), listFlag);
    }
    // The node's flag takes precedence over the channel's answer.
    Rig rig(1);
    Probe &p = *rig.build().probe;
    p.addChannel(0, "$F", TRK_LANGUAGE_NATIVE);
    EXPECT_TRUE(p.isTimeDependent(0));
    p.microNode(0);
    EXPECT_FALSE(p.isTimeDependent(0));
    p.setTimeDependentMicroNode(0, true);
    EXPECT_TRUE(p.isTimeDependent(0));
    EXPECT_FALSE(rig.list->isTimeDependent());
}

TEST(Instances, LateMicroNodesTakeTheDirtyState)
{
    for (const bool withOwner : {false, true}) {
        TestOwner owner;
        Rig rig(2);
        rig.build(withOwner ? &owner : nullptr);
        rig.instance->clearAllDirtyFlags();
        rig.instance->setDirtyFlags(1);
        EXPECT_FALSE(rig.instance->hasMicroNodes());
        EXPECT_EQ(rig.instance->microNode(2), nullptr);
        EXPECT_FALSE(rig.instance->hasMicroNodes());
        ZEL_ParmMicroNode *node = rig.instance->microNode(1);
        ASSERT_TRUE(node);
        EXPECT_TRUE(node->isDirty());
        EXPECT_FALSE(rig.instance->microNode(0)->isDirty());
        EXPECT_EQ(rig.instance->microNode(0) + 1, node);
        EXPECT_EQ(node->parm(), rig.parm);
        EXPECT_EQ(node->parmIndex(), 0);
        EXPECT_EQ(node->subIndex(), 1);
    }
}

TEST(Instances, ThreadsAgreeOnOneArrayOfMicroNodes)
{
    class CountingOwner : public TestOwner
    {
    public:
        ZEL_ParmMicroNode *createParmMicroNodes(ZEL_Parm &parm) const override
        {
            ++count;
            return TestOwner::createParmMicroNodes(parm);
        }
        mutable std::atomic<int> count{0};
    };
    CountingOwner owner;
    Rig rig(3);
    rig.build(&owner);
    ZEL_ParmMicroNode *nodes[4] = {};
    onThreads(4, [&](int t) { nodes[t] = rig.instance->microNode(1); });
    EXPECT_EQ(owner.count, 1);
    for (const ZEL_ParmMicroNode *node : nodes) {
        EXPECT_EQ(node, rig.instance->microNode(1));
    }
}

TEST(Instances, AdoptedMicroNodesBelongToTheNewParameter)
{
    BuiltParm from(ZEL_FLT, 2), to(ZEL_FLT, 2);
    LNK_MicroNode reader;
    ZEL_ParmMicroNode *node = from.instance->microNode(1);
    reader.addExplicitInput(*node);
    to.instance->microNode(0); // replaced
    to.instance->clearAllDirtyFlags();
    to.instance->adopt(*from.instance);
    EXPECT_FALSE(from.instance->hasMicroNodes());
    EXPECT_EQ(to.instance->microNode(1), node);
    EXPECT_EQ(node->parm(), to.parm);
    EXPECT_EQ(node->getNumOutputs(), 1);
    EXPECT_EQ(node->isDirty(), to.instance->isDirty(1));
}

TEST(Instances, ClearingInputsClearsTheListsTimeDependence)
{
    for (const bool cookable : {true, false}) {
        BuiltParm rig(cookable ? ZEL_FLT : ZEL_FLT | ZEL_TYPE_NOCOOK, 1);
        LNK_MicroNode input;
        ZEL_ParmMicroNode *node = rig.instance->microNode(0);
        node->addExplicitInput(input);
        rig.list->setTimeDependent();
        rig.list->setCookTimeDependent();
        node->clearInputs();
        EXPECT_EQ(node->getNumInputs(), 0);
        EXPECT_FALSE(rig.list->isTimeDependent());
        EXPECT_EQ(rig.list->isCookTimeDependent(), !cookable);
    }
    ZEL_ParmMicroNode bare;
    bare.clearInputs();
    EXPECT_EQ(bare.parmIndex(), -1);
}

TEST(Instances, ConstNodesStandFirstAmongTheOutputs)
{
    BuiltParm rig(ZEL_FLT, 1);
    ZEL_ParmMicroNode node(*rig.parm, 0);
    LNK_MicroNode reader, behindConst;
    reader.addExplicitInput(node);
    ZEL_ConstMicroNode constNode(&node);
    behindConst.addExplicitInput(constNode);
    KIT_Array<LNK_MicroNode *> links;
    node.getOutputs(links);
    ASSERT_EQ(links.entries(), 2);
    EXPECT_EQ(links[0], &constNode);
    EXPECT_EQ(links[1], &reader);
    links.clear();
    constNode.getInputs(links);
    ASSERT_EQ(links.entries(), 1);
    EXPECT_EQ(links[0], &node);

    // Dirtiness is propagated through the companion.
    constNode.setDirty(false, false);
    behindConst.setDirty(false, false);
    node.propagateDirty(nullptr, false);
    EXPECT_TRUE(behindConst.isDirty());

    std::ostringstream text;
    node.setDirty(false, false);
    node.dump(text, nullptr, 1);
    EXPECT_EQ(text.str(), "  ZEL_ParmMicroNode\n    myParm(p:0)\n");
}

TEST(Instances, NoComponentKeepsADeletedChannel)
{
    // However channels come into components: made, linked, renamed, or found again by name.
    std::mt19937 random(5);
    const char *const names[] = {"a", "b", "c"};
    for (int round = 0; round < 300; ++round) {
        MultiList p;
        for (const char *name : names) {
            p.top.add(ZEL_FLT, 1, name);
        }
        p.buildTop();
        for (int step = 0; step < 12; ++step) {
            const char *const name = names[random() % 3];
            ZEL_Instance &one = *p.parm(name).getInstance();
            const int count = p.channels.entries();
            TRK_Channel *any =
                count > 0 ? p.channels.getChannel(int(random() % unsigned(count))) : nullptr;
            switch (random() % 6) {
            case 0: one.addChannel(0); break;
            case 1: one.removeChannel(0); break;
            case 2: one.setChannel(0, any); break;
            case 3: p.channels.renameChannel(any, names[random() % 3]); break;
            case 4: p.channels.deleteChannel(any); break;
            case 5: one.channelPtrModified(name); break;
            }
            std::set<const TRK_Channel *> alive = {nullptr};
            for (int i = 0; i < p.channels.entries(); ++i) {
                alive.insert(p.channels.getChannel(i));
            }
            for (const char *each : names) {
                const TRK_Channel *held = p.parm(each).getInstance()->getChannel(0);
                ASSERT_EQ(alive.count(held), 1u) << "round " << round << ", step " << step;
            }
        }
    }
}
