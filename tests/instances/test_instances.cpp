#include <common/EventLog.h>
#include <common/ListFixture.h>
#include <common/TestOwner.h>

#include <EVL/EVL.h>
#include <KIT/KIT_Color.h>
#include <KIT/KIT_Packet.h>
#include <LYR/LYR_Manager.h>
#include <TRK/TRK_FullKey.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_RefId.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_UndoData.h>
#include <ZEL/ZEL_Value.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace
{
/// An instance of its own beside the list's, with the operations that only value classes see.
class Probe : public ZEL_Float
{
public:
    Probe(ZEL_Template *templatePtr, ZEL_Parm *parm) : ZEL_Float(templatePtr, parm) {}
    using ZEL_Instance::linkChannel;
    using ZEL_Instance::loadAsciiOptions;
    using ZEL_Instance::loadBinaryOption;
    using ZEL_Instance::loadTokenAsChannelNameOrExpression;
    using ZEL_Instance::saveAsciiOptions;
    using ZEL_Instance::saveBinaryOptions;

    std::string options() const
    {
        std::ostringstream os;
        saveAsciiOptions(os);
        return os.str();
    }
    /// Reads what follows "[".
    bool loadOptions(const std::string &text, unsigned &mask)
    {
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        return loadAsciiOptions(is, mask);
    }
    bool loadOptions(const std::string &text)
    {
        unsigned mask = 0;
        return loadOptions(text, mask);
    }
    bool loadPacket(short id, const std::string &payload)
    {
        KIT_IStream is(payload.data(), payload.size(), KIT_IStream::BINARY);
        return loadBinaryOption(is, id);
    }
};

/// A probe on a list's only parameter, with or without owner and collection.
struct Rig : OneParm
{
    explicit Rig(int size, const ZEL_Type &type = ZEL_FLT, const char *token = "p",
                 ZEL_SpareData *spare = nullptr)
        : OneParm(type, size, token)
    {
        description.entry = ZEL_Template(type, size, &description.name, description.defaults,
                                         nullptr, nullptr, ZEL_Callback(), spare);
    }
    ~Rig() { probe.reset(); }

    Rig &build(ZEL_ParmOwner *owner = nullptr, bool withChannels = true)
    {
        templates[0] = description.entry;
        list.reset(new ZEL_ParmList(templates, withChannels ? &channels : nullptr, owner, nullptr,
                                    "", false));
        parm = list->getParmPtr(0);
        instance = parm->getInstance();
        probe.reset(new Probe(&templates[0], parm));
        return *this;
    }

    std::string channelNames() const
    {
        std::string names;
        for (int i = 0; i < channels.entries(); ++i) {
            names += (i ? " " : "") + std::string(channels.getChannel(i)->getName().c_str());
        }
        return names;
    }

    std::unique_ptr<Probe> probe;
};

std::string textOf(const KIT_String &text)
{
    return text.toStdString();
}

std::string pathOf(const ZEL_Instance &instance)
{
    KIT_WorkBuffer path;
    instance.getFullParmPath(path);
    return path.buffer();
}
} // namespace

// ---------------------------------------------------------------------- //
// Masks and flags
// ---------------------------------------------------------------------- //

TEST(Instances, MasksStartAsTheTemplateSays)
{
    struct Case
    {
        int size;
        std::uint32_t visible, dirty;
    };
    // At 32 the shift wraps, and no component starts visible or dirty.
    const Case cases[] = {
        {0, ~0u, 0u}, {1, 1u, 1u}, {3, 7u, 7u}, {31, 0x7fffffffu, 0x7fffffffu}, {32, 0u, 0u}};
    for (const Case &c : cases) {
        Rig rig(3);
        rig.build();
        ZEL_Template entry(ZEL_FLT, c.size, &rig.description.name);
        Probe probe(&entry, rig.parm);
        std::uint32_t visible = 0, dirty = 0;
        for (int i = 0; i < 32; ++i) {
            visible |= probe.getVisibleState(i) ? 1u << i : 0u;
            dirty |= probe.isDirty(i) ? 1u << i : 0u;
        }
        EXPECT_EQ(visible, c.visible) << c.size;
        EXPECT_EQ(dirty, c.dirty) << c.size;
        EXPECT_EQ(probe.getEnableState(-1), ~0u);
        EXPECT_EQ(probe.getLockedField(), 0u);
        EXPECT_FALSE(probe.hasAnySendExtraFlags());
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
}

TEST(Instances, AChangedMaskIsSavedEvenWhenNothingChanges)
{
    Rig rig(2);
    Probe &p = *rig.build().probe;
    p.setAutoScopedFlag(0, p.getAutoScopedFlag(0));
    EXPECT_TRUE(p.getSaveAutoScopeFlag());
    EXPECT_FALSE(p.getSaveAutoSelectFlag());
    p.setAutoSelectFlag(-1, true);
    EXPECT_TRUE(p.getSaveAutoSelectFlag());
    EXPECT_EQ(p.getAutoSelectField(), 3u);
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
    // One is marked already: the others get dirty, and only dirty.
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
    struct Case
    {
        const ZEL_Type &type;
        ZEL_SpareData *spare;
        bool always;
    };
    const Case cases[] = {{ZEL_FLT, nullptr, false},
                          {ZEL_FLT, &always, true},
                          {ZEL_FLT, &sometimes, false},
                          {ZEL_SWITCHER, nullptr, true},
                          {ZEL_SWITCHER_EXCLUSIVE, nullptr, false}};
    for (const Case &c : cases) {
        Rig rig(1);
        rig.build();
        ZEL_Template entry(c.type, 1, &rig.description.name, rig.description.defaults, nullptr,
                           nullptr, ZEL_Callback(), c.spare);
        Probe probe(&entry, rig.parm);
        EXPECT_EQ(probe.getAlwaysTakeFlag(), c.always);
        probe.setActiveTakeFlag(false);
        EXPECT_EQ(probe.getActiveTakeFlag(), c.always);
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

// ---------------------------------------------------------------------- //
// Channels
// ---------------------------------------------------------------------- //

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

    // What is in the collection already is taken as it is.
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

    // Locks reach channels here only, and a channel that is gone leaves its slot.
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
    // Its own name, but nothing of that name is there.
    p.loadTokenAsChannelNameOrExpression("p1 * 2", 1);
    ASSERT_TRUE(p.getChannel(1));
    KIT_String text;
    p.getChannel(1)->getExpression(0.0, text);
    EXPECT_EQ(textOf(text), "p1 * 2");

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

// ---------------------------------------------------------------------- //
// Option blocks
// ---------------------------------------------------------------------- //

TEST(Instances, TextOptionsToTheByte)
{
    Rig rig(2);
    Probe &p = *rig.build().probe;
    EXPECT_EQ(p.options(), "[ 0\tlocks=0 ]");
    p.setExpressionState(true);
    p.setLockedFlag(1, true);
    p.setAutoScopedFlag(-1, true);
    p.setSpareParm(true);
    p.setBypassFlag(true);
    rig.description.name.setLabel("a \"b\" ]");
    p.setSaveLabelFlag(true);
    p.setChannelCustomColor(1, KIT_Color(0.1f, 1.0f, 0.0f));
    p.setAutoSelectFlag(-1, false);
    const std::string all = "[ 8\tlocks=2\tautoscope=3\tbypass=1\tzellabel=\"a \\\"b\\\" ]\""
                            "\tzelcolor=1;0.1;1;0;\tautosel=0 ]";
    EXPECT_EQ(p.options(), all);

    Probe back(&rig.templates[0], rig.parm);
    back.setSpareParm(true);
    rig.description.name.setLabel(nullptr);
    ASSERT_TRUE(back.loadOptions(all.substr(1)));
    EXPECT_EQ(back.options(), all);
}

TEST(Instances, TextOptionsForgiveWhatTheyDoNotKnow)
{
    struct Case
    {
        const char *text;
        const char *options; // after the load
        bool ok;
        unsigned mask;
    };
    const Case cases[] = {
        {" 8 ]", "[ 8\tlocks=0 ]", true, 99},
        {" 7 0x12 5 word ]", "[ 0\tlocks=0 ]", true, 0x12}, // old files have a second number
        {" 0\tlocks=0x3\tcolour=blue\tlock=1 ]", "[ 0\tlocks=3 ]", true, 99},
        {" 0\tbypass=1 ]", "[ 0\tlocks=0 ]", true, 99}, // not a spare parameter
        {" 0\tzellabel= ]", "[ 0\tlocks=0 ]", true, 99},
        {" 0\tzelcolor=1;0;0.5;1;", "[ 0\tlocks=0\tzelcolor=1;0;0.5;1; ]", false, 99},
        {" 0\tzelcolor=1;0;0.5 ]", "[ 0\tlocks=0 ]", true, 99},
        {" 0\tzelcolor=1;0;0.5;1;1; ]", "[ 0\tlocks=0 ]", true, 99},
        {" 0\tzelcolor=2;0;0;0; ]", "[ 0\tlocks=0 ]", true, 99},
        {" 0\tzelcolor=-1;0;0;0; ]", "[ 0\tlocks=0 ]", true, 99},
        {" 0\tautosel=1", "[ 0\tlocks=0\tautosel=1 ]", false, 99},
    };
    for (const Case &c : cases) {
        Rig rig(2);
        Probe &p = *rig.build().probe;
        unsigned mask = 99;
        EXPECT_EQ(p.loadOptions(c.text, mask), c.ok) << c.text;
        EXPECT_EQ(mask, c.mask) << c.text;
        EXPECT_EQ(p.options(), c.options) << c.text;
    }
}

TEST(Instances, BinaryOptionsComeBack)
{
    Rig rig(2);
    Probe &p = *rig.build().probe;
    KIT_Packet packet;
    std::stringstream none;
    EXPECT_FALSE(p.saveBinaryOptions(77, packet, none));
    EXPECT_EQ(none.str(), "");

    p.setLockedFlag(0, true);
    p.setAutoScopedFlag(-1, true);
    p.setAutoSelectFlag(-1, true);
    p.setSpareParm(true);
    p.setBypassFlag(true);
    rig.description.name.setLabel("named");
    p.setSaveLabelFlag(true);
    p.setChannelCustomColor(1, KIT_Color(0.25f, 0.5f, 1.0f));
    std::stringstream data;
    EXPECT_TRUE(p.saveBinaryOptions(77, packet, data));

    Probe back(&rig.templates[0], rig.parm);
    back.setSpareParm(true);
    rig.description.name.setLabel(nullptr);
    const std::string bytes = data.str();
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::BINARY);
    std::string ids;
    int classId = 0, id = 0;
    while (packet.beginRead(is, classId, id)) {
        EXPECT_EQ(classId, 77);
        ids += std::to_string(id) + " ";
        EXPECT_TRUE(back.loadBinaryOption(is, short(id))) << id;
        packet.endRead();
    }
    EXPECT_EQ(ids, "4 5 6 7 8 9 ");
    EXPECT_EQ(back.options(), p.options());
    EXPECT_STREQ(rig.description.name.getLabel(), "named");
}

TEST(Instances, BinaryOptionsRefuseWhatIsCutOrUnknown)
{
    const std::string one("\x01\0\0\0", 4);
    struct Case
    {
        short id;
        std::string payload;
        bool ok;
    };
    const Case cases[] = {
        {3, one, false},
        {10, one, false},
        {-1, one, false},
        {4, "\x01", false},
        {5, "", false},
        {6, "\x01\x02", false},
        {9, "", false},
        {7, "\x01", false},
        {7, std::string("\xff\xff\xff\x7fxx", 6), false},
        {7, std::string(4, '\0'), true}, // no label: nothing changes
        {8, std::string("\x02\0\0\0", 4) + std::string(12, '\0'), true}, // no such component
        {8, std::string("\xff\xff\xff\xff", 4) + std::string(12, '\0'), true},
    };
    for (const Case &c : cases) {
        Rig rig(2);
        Probe &p = *rig.build().probe;
        EXPECT_EQ(p.loadPacket(c.id, c.payload), c.ok) << c.id << " " << c.payload.size();
        EXPECT_EQ(p.options(), "[ 0\tlocks=0 ]") << c.id;
    }
}

TEST(Instances, UndoDataIsTheTextForm)
{
    OneParm p(ZEL_FLT, 2);
    p.build();
    p.set(3.5, 0);
    std::shared_ptr<ZEL_UndoData> data;
    EXPECT_TRUE(p.instance->saveUndoData(data));
    const auto *bytes = dynamic_cast<ZEL_InstanceUndoData *>(data.get());
    ASSERT_TRUE(bytes);
    EXPECT_EQ(std::string(bytes->data(), bytes->length()), p.saved());
    p.set(4.0, 0);
    EXPECT_TRUE(p.instance->loadUndoData(data));
    EXPECT_EQ(p.eval(0), 3.5);
    EXPECT_FALSE(p.instance->loadUndoData(std::make_shared<ZEL_UndoData>()));
    EXPECT_FALSE(p.instance->loadUndoData(nullptr));
}

// ---------------------------------------------------------------------- //
// Errors and access
// ---------------------------------------------------------------------- //

TEST(Instances, ReportsCarryThePath)
{
    TestOwner owner("/obj/box");
    Rig rig(2, ZEL_FLT, "size");
    Probe &p = *rig.build(&owner).probe;
    // The label falls back to the token, so only a nameless parameter has no label.
    EXPECT_EQ(pathOf(p), "/obj/box size");
    rig.description.name.setLabel("Size of it");
    EXPECT_EQ(pathOf(p), "/obj/box Size of it");
    rig.templates[0].setTypeExtended(ZEL_TypeExtended(4));
    EXPECT_EQ(pathOf(p), "/obj/box/size");

    struct Case
    {
        int code;
        const char *text;
    };
    const Case cases[] = {{0, "/obj/box/size"},
                          {1, "/obj/box/size"},
                          {2, "/obj/box/size"},
                          {3, "/obj/box/size"},
                          {4, ""},
                          {9, ""},
                          {14, "/obj/box/size"},
                          {18, "/obj/box/size"},
                          {19, ""}};
    for (const Case &c : cases) {
        takeMessages();
        p.addParmWarning(ZEL_ErrorCode(c.code));
        ASSERT_EQ(KITgetErrorManager().entries(), 1);
        EXPECT_EQ(KITgetErrorManager().getError(0).text, c.text) << c.code;
        EXPECT_EQ(KITgetErrorManager().getError(0).severity, KIT_ERROR_WARNING);
    }
    takeMessages();
    p.indexError(5);
    EXPECT_EQ(KITgetErrorManager().getError(0).severity, KIT_ERROR_ABORT);
    EXPECT_EQ(takeMessages(), "ZEL 21");

    EVL::theErrNo[1] = EVL::EVL_OK;
    p.checkForExpressionErrors(rig.list.get(), 1, 1);
    EXPECT_EQ(takeMessages(), "");
    EVL::theErrNo[1] = EVL::EVL_CYCLE;
    p.checkForExpressionErrors(rig.list.get(), 1, 1);
    EXPECT_EQ(KITgetErrorManager().getError(0).text, "/obj/box/size2");
    takeMessages();
    p.checkForExpressionErrors(nullptr, 1, 1);
    EXPECT_EQ(KITgetErrorManager().getError(0).text, "size2");
    EXPECT_EQ(takeMessages(), "TRK " + std::to_string(EVL::EVL_CYCLE));
    EVL::theErrNo[1] = EVL::EVL_OK;

    Rig alone(1);
    EXPECT_EQ(pathOf(*alone.build().probe), " p");
}

TEST(Instances, TakesGuardWhatTheyDoNotHold)
{
    LYR_Manager *takes = LYR_Manager::getCurrentManager();
    Rig rig(1);
    Probe &p = *rig.build().probe;
    EXPECT_TRUE(p.validateAccess());
    LYR_Take *take = takes->getMasterTake()->addChild("other");
    takes->setCurrentTake(take);
    EXPECT_FALSE(p.validateAccess());
    ZEL_ParmList::beginLoading();
    EXPECT_TRUE(p.validateAccess());
    ZEL_ParmList::endLoading();
    p.setActiveTakeFlag(true);
    EXPECT_TRUE(p.validateAccess());
    p.setActiveTakeFlag(false);
    rig.list->setChannelGroupPtr(nullptr);
    EXPECT_TRUE(p.validateAccess());
    takes->setCurrentTake(nullptr);
    takes->removeTake(take);
}

TEST(Instances, SpareDataMaySayNotToSave)
{
    struct Case
    {
        const char *value;
        bool save;
    };
    const Case cases[] = {{nullptr, true}, {"1", true},      {"0", false}, {"00", true},
                          {"", true},      {"False", false}, {"no", true}};
    for (const Case &c : cases) {
        ZEL_SpareData spare;
        spare.addTokenValue("orvane::save_value", c.value);
        Rig rig(1, ZEL_FLT, "p", &spare);
        EXPECT_EQ(rig.build().probe->shouldSaveData(), c.save) << (c.value ? c.value : "absent");
    }
}

TEST(Instances, PlainReferencesToChannels)
{
    struct Case
    {
        const char *text;
        bool bare;
        const char *channel; // null: no reference
    };
    const Case cases[] = {
        {"ch(\"tx\")", true, "tx"},
        {"ch(\"tx\")", false, nullptr},
        {" `ch(\"tx\")`\n", false, "tx"},
        {"`ch(\"tx\")`", true, nullptr},
        {"((ch('../a_1/tx')))", true, "../a_1/tx"},
        {"chs(\"a\")", true, "a"},
        {"chsop('a.b')", true, "a.b"},
        {"chf(\"a\")", true, nullptr},
        {"ch(\"\")", true, nullptr},
        {"ch(\"a')", true, nullptr},
        {"ch(a)", true, nullptr},
        {"ch(\"a b\")", true, nullptr},
        {"ch(\"a\")+ch(\"b\")", true, nullptr},
        {"ch(\"a\") + 1", true, nullptr},
        {"(", true, nullptr},
        {"`", false, nullptr},
        {"", true, nullptr},
        {nullptr, true, nullptr},
    };
    for (const Case &c : cases) {
        const char *label = c.text ? c.text : "null";
        KIT_String channel("untouched");
        EXPECT_EQ(ZEL_Instance::isChanRefString(c.text, c.bare, &channel), c.channel != nullptr)
            << label;
        EXPECT_EQ(ZEL_Instance::isChanRefString(c.text, c.bare, nullptr), c.channel != nullptr);
        EXPECT_EQ(textOf(channel), c.channel ? c.channel : "untouched") << label;
    }
    KIT_String channel;
    EXPECT_TRUE(ZEL_Instance::isObsoleteDirectChanRefString("!!ch(../tx)", &channel));
    EXPECT_EQ(textOf(channel), "../tx");
    EXPECT_FALSE(ZEL_Instance::isObsoleteDirectChanRefString("!!ch()", nullptr));
    EXPECT_FALSE(ZEL_Instance::isObsoleteDirectChanRefString("ch(\"tx\")", nullptr));
}

// ---------------------------------------------------------------------- //
// Time dependence and micro nodes
// ---------------------------------------------------------------------- //

TEST(Instances, TimeDependenceReachesTheListByTheBehaviourWord)
{
    struct Case
    {
        ZEL_Type type;
        bool list, cook;
    };
    const Case cases[] = {{ZEL_FLT, true, true},
                          {ZEL_FLT | ZEL_TYPE_NOCOOK, true, false},
                          {ZEL_FLT | ZEL_TYPE_NOREFRESH, false, false}};
    for (const Case &c : cases) {
        Rig rig(2, c.type);
        Probe &p = *rig.build().probe;
        ASSERT_TRUE(p.microNode(1));
        p.setTimeDependent(1, false);
        EXPECT_FALSE(rig.list->isTimeDependent());
        p.setTimeDependent(1, true);
        EXPECT_EQ(rig.list->isTimeDependent(), c.list);
        EXPECT_EQ(rig.list->isCookTimeDependent(), c.cook);
        EXPECT_EQ(p.isTimeDependent(1), c.list);
        EXPECT_FALSE(p.isTimeDependent(0));
        EXPECT_EQ(p.isTimeDependent(-1), c.list);
    }
    // The node's mark stands in front of the channel's answer.
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
    std::atomic<int> waiting{4};
    ZEL_ParmMicroNode *nodes[4] = {};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            --waiting;
            while (waiting != 0) {
            }
            nodes[t] = rig.instance->microNode(1);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(owner.count, 1);
    for (int t = 0; t < 4; ++t) {
        EXPECT_EQ(nodes[t], rig.instance->microNode(1));
    }
}

TEST(Instances, AdoptedMicroNodesBelongToTheNewParameter)
{
    Rig from(2), to(2);
    from.build();
    to.build();
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
        Rig rig(1, cookable ? ZEL_FLT : ZEL_FLT | ZEL_TYPE_NOCOOK);
        rig.build();
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
    Rig rig(1);
    rig.build();
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

    // Dirtiness goes through the companion.
    constNode.setDirty(false, false);
    behindConst.setDirty(false, false);
    node.propagateDirty(nullptr, false);
    EXPECT_TRUE(behindConst.isDirty());

    std::ostringstream text;
    node.setDirty(false, false);
    node.dump(text, nullptr, 1);
    EXPECT_EQ(text.str(), "  ZEL_ParmMicroNode\n    myParm(p:0)\n");
}

// ---------------------------------------------------------------------- //
// Small classes
// ---------------------------------------------------------------------- //

TEST(Instances, ReferenceIds)
{
    struct Case
    {
        ZEL_RefId left, right;
        bool equal, matches;
    };
    const Case cases[] = {
        {ZEL_RefId(3, 1), ZEL_RefId(3, 1), true, true},
        {ZEL_RefId(3, -1), ZEL_RefId(3, 1), false, true},
        {ZEL_RefId(3, 1), ZEL_RefId(3), false, true},
        {ZEL_RefId(3, 1), ZEL_RefId(3, 2), false, false},
        {ZEL_RefId(3), ZEL_RefId(4), false, false},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(c.left == c.right, c.equal);
        EXPECT_EQ(c.left.matches(c.right), c.matches);
        EXPECT_EQ(c.right.matches(c.left), c.matches);
    }
    EXPECT_FALSE(ZEL_RefId().isValid());
    EXPECT_EQ(ZEL_RefId(0, 0).hash(), 0xac85e9bdu);
    EXPECT_EQ(ZEL_RefId(7, 2).hash(), 0x29d8528eu);
    EXPECT_EQ(ZEL_RefId().hash(), 0xd1417eceu);

    Rig rig(2);
    rig.build();
    rig.instance->setChannelAlias("left", 0);
    KIT_String text;
    const auto token = [&](const ZEL_RefId &id) {
        id.getToken(*rig.list, text);
        return textOf(text);
    };
    const auto alias = [&](const ZEL_RefId &id) {
        id.getAlias(*rig.list, text);
        return textOf(text);
    };
    EXPECT_EQ(token(ZEL_RefId(0)), "p");
    EXPECT_EQ(token(ZEL_RefId(0, 1)), "p2");
    EXPECT_EQ(token(ZEL_RefId(0, 5)), "");
    EXPECT_EQ(token(ZEL_RefId(1)), "");
    EXPECT_EQ(token(ZEL_RefId()), "");
    EXPECT_EQ(alias(ZEL_RefId(0)), "p");
    EXPECT_EQ(alias(ZEL_RefId(0, 0)), "left");
    EXPECT_EQ(alias(ZEL_RefId(0, 1)), "p2");
}

TEST(Instances, ValuesTellTheLatestListenerFirst)
{
    std::string calls, payload = "!";
    struct Listener
    {
        std::string *calls;
        const char *name;
        static void call(void *data, void *payload)
        {
            const Listener *self = static_cast<Listener *>(data);
            *self->calls += self->name + *static_cast<std::string *>(payload);
        }
    };
    Listener a{&calls, "a"}, b{&calls, "b"}, c{&calls, "c"};
    ZEL_Value value(&payload);
    value.addInterest(&a, Listener::call);
    value.addInterest(&b, Listener::call);
    value.changed();
    EXPECT_EQ(calls, "b!a!");

    calls.clear();
    value.removeInterest(&a, Listener::call);
    EXPECT_FALSE(value.hasInterest(&a));
    EXPECT_FALSE(value.hasInterest(nullptr));
    value.changed();
    EXPECT_EQ(calls, "b!");
    EXPECT_EQ(value.getNumSlots(), 2);
    value.addInterest(&c, Listener::call); // into the empty slot
    EXPECT_EQ(value.getNumSlots(), 2);

    // A copy shares the records, and outlives the original.
    std::unique_ptr<ZEL_Value> original(new ZEL_Value(value));
    ZEL_Value copy(*original);
    original->removeInterest(&b, Listener::call);
    original.reset();
    std::string other = "?";
    copy = &other;
    calls.clear();
    copy.changed();
    EXPECT_EQ(calls, "c?");
}

TEST(Instances, BlockedErrorsLeaveNoTrace)
{
    takeMessages();
    KITaddWarning("ZEL", 1);
    EVL::theErrNo[BASgetSTID()] = EVL::EVL_DEPTH;
    {
        ZEL_AutoBlockErrors outer;
        KITaddError("ZEL", 9);
        {
            ZEL_AutoBlockErrors inner(BASgetSTID());
            EVL::theErrNo[BASgetSTID()] = EVL::EVL_CYCLE;
        }
        KITaddError("ZEL", 9);
        EXPECT_EQ(KITgetErrorSeverity(), KIT_ERROR_NONE);
        EXPECT_EQ(EVL::theErrNo[BASgetSTID()], EVL::EVL_DEPTH);
    }
    EXPECT_EQ(EVL::theErrNo[BASgetSTID()], EVL::EVL_DEPTH);
    EXPECT_EQ(takeMessages(), "ZEL 1");
    EVL::theErrNo[BASgetSTID()] = EVL::EVL_OK;
}
