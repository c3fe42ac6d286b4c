// A list's owner, and what a list does for its parameters as a whole.

#include <multi/MultiList.h>

#include <EVL/EVL.h>
#include <KIT/KIT_TokenString.h>
#include <TRK/TRK_ChannelRef.h>
#include <ZEL/ZEL_ParmMicroNode.h>
#include <ZEL/ZEL_ParmNameMap.h>

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace
{

/// Basic word 3 is none of the four kinds: the parameter gets no instance.
const ZEL_Type theUnknownType = ZEL_TYPE_ORDINAL | ZEL_TYPE_FLOAT;

struct Described
{
    const char *token;
    ZEL_Type type;
    int size;
    ZEL_Template::ZEL_Export exportLevel = ZEL_Template::ZEL_EXPORT_1;
};

struct Node : MultiList
{
    explicit Node(const std::vector<Described> &described) : all(described.size())
    {
        for (const Described &one : described) {
            all.put(ZEL_Template(one.type, one.exportLevel, one.size, all.name(one.token, "L")));
        }
        list =
            std::make_unique<ZEL_ParmList>(all.templates(), &channels, &owner, nullptr, "", false);
    }
    ~Node() { list.reset(); }

    ZEL_Parm *parm(const char *token) { return list->getParmPtr(token); }
    int index(const char *token) { return list->getParmIndex(KIT_StringRef(token)); }

    /// A parameter that isn't in the list.
    std::unique_ptr<ZEL_Parm> outside()
    {
        return std::make_unique<ZEL_Parm>(late.add(ZEL_FLT, 1, "outside"), list.get());
    }
    ZEL_Parm *appendSpare(const char *token) { return append(late.add(ZEL_XYZ, 3, token)); }
    /// Keys of value 1 on a component, made one after the other.
    void key(const char *token, int index, const std::vector<double> &times)
    {
        constexpr bool notify = false, commit = true, keyOnly = false;
        parm(token)->addChannel(index);
        for (double time : times) {
            parm(token)->getChannel(index)->setKeyValue(1.0, time, notify, commit, keyOnly);
        }
    }

    Block all;
};

std::vector<Described> transform()
{
    return {{"t", ZEL_XYZ, 3},
            {"unknown", theUnknownType, 1},
            {"s", ZEL_XYZ, 3},
            {"count", ZEL_INT, 1}};
}

TEST(Owner, PendingOverrideFollowsItsText)
{
    TestOwner owner;
    EXPECT_FALSE(owner.isPendingOverride());
    EXPECT_FALSE(owner.isParmPendingOverride("t", 0));

    owner.setPendingOverrideString("take2");
    EXPECT_TRUE(owner.isPendingOverride());
    EXPECT_TRUE(owner.isParmPendingOverride("t", 0));
    EXPECT_STREQ(owner.getPendingOverrideString().c_str(), "take2");
    EXPECT_GT(owner.getMemoryUsage(false), 0);
    EXPECT_EQ(owner.getMemoryUsage(true) - owner.getMemoryUsage(false),
              std::int64_t(sizeof(ZEL_ParmOwner)));

    for (const char *nothing : {"", static_cast<const char *>(nullptr)}) {
        owner.setPendingOverrideString("take2");
        owner.setPendingOverrideString(nothing);
        EXPECT_FALSE(owner.isPendingOverride());
        EXPECT_TRUE(owner.getPendingOverrideString().isEmpty());
    }
}

TEST(Owner, PathComesInThreeForms)
{
    const TestOwner owner("/obj/light");
    KIT_WorkBuffer buffer("before");
    EXPECT_STREQ(owner.getFullPath(buffer), "/obj/light");
    KIT_String text("before");
    owner.getFullPath(text);
    EXPECT_STREQ(text.c_str(), "/obj/light");
    EXPECT_STREQ(owner.getFullPath().c_str(), "/obj/light");
}

TEST(Owner, BaseMakesOneMicroNodeForEachComponent)
{
    Node node(transform());
    ZEL_Parm *parm = node.parm("t");
    std::unique_ptr<ZEL_ParmMicroNode[]> nodes(node.owner.createParmMicroNodes(*parm));
    ASSERT_TRUE(nodes);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(nodes[std::size_t(i)].parm(), parm);
        EXPECT_EQ(nodes[std::size_t(i)].subIndex(), i);
        EXPECT_EQ(nodes[std::size_t(i)].parmIndex(), 0);
    }
}

TEST(Owner, NameMapAnswersTheLastEntry)
{
    ZEL_ParmNameMap map;
    EXPECT_EQ(map.findName("old"), nullptr);
    map.addMap("old", "first");
    map.addMap("old", "second");
    map.addMap(nullptr, "third");
    EXPECT_EQ(map.findName("other"), nullptr);
    EXPECT_EQ(map.findName(nullptr), nullptr);
    EXPECT_STREQ(map.findName("old"), "second");
    ZEL_ParmNameMap copy;
    copy = map;
    map.addMap("old", "fourth");
    EXPECT_STREQ(copy.findName("old"), "second");
}

TEST(ListAccess, MasksAndFolders)
{
    struct Case
    {
        const char *name;
        const ZEL_Type &type;
        unsigned mask, permissions, userMask, assetMask;
        bool access, ignoringAsset, onlyAsset;
    };
    const Case cases[] = {
        {"fresh list", ZEL_FLT, 0222, 0777, 0777, 0777, true, true, true},
        {"nothing asked", ZEL_FLT, 0, 0777, 0777, 0777, false, false, false},
        {"permissions", ZEL_FLT, 0222, 0444, 0777, 0777, false, false, true},
        {"user", ZEL_FLT, 0222, 0777, 0444, 0777, false, false, true},
        {"asset", ZEL_FLT, 0222, 0777, 0777, 0444, false, true, false},
        {"no common bit", ZEL_FLT, 0222, 0200, 0020, 0777, false, false, true},
        {"folders, all locked", ZEL_SWITCHER, 0222, 0, 0, 0, true, true, true},
        {"folders, nothing asked", ZEL_SWITCHER_REFRESH, 0, 0, 0, 0, true, true, true},
        {"exclusive folders", ZEL_SWITCHER_EXCLUSIVE, 0222, 0, 0, 0, false, false, false},
        {"toggle", ZEL_TOGGLE, 0222, 0, 0, 0, false, false, false},
    };
    Node node(transform());
    for (const Case &one : cases) {
        SCOPED_TRACE(one.name);
        node.list->setPermissions(one.permissions);
        node.list->setUserMask(one.userMask);
        node.list->setAssetPermissionMask(one.assetMask);
        EXPECT_EQ(node.list->canAccess(one.mask, one.type), one.access);
        EXPECT_EQ(node.list->canAccessIgnoringAssetMask(one.mask, one.type), one.ignoringAsset);
        EXPECT_EQ(node.list->canAccessCheckingOnlyAssetMask(one.mask, one.type), one.onlyAsset);
    }
}

TEST(ListEvents, IndexIsLookedUpAtEachEvent)
{
    Node node(transform());
    node.list->sendChangeEvent(TRK_CHANGE_VALUE, node.parm("s")); // no handler yet
    EventLog log(*node.list);
    const std::unique_ptr<ZEL_Parm> outside = node.outside();
    node.list->sendChangeEvent(TRK_CHANGE_VALUE, node.parm("s"));
    node.list->sendChangeEvent(TRK_CHANGE_LOCK, nullptr);
    node.list->sendChangeEvent(TRK_CHANGE_ENABLE, outside.get());
    node.list->clearParmOwner();
    node.list->sendChangeEvent(TRK_CHANGE_VISIBLE, node.parm("t"));
    EXPECT_EQ(log.take(), "4:2 8:-1 6:-1 7:0");
}

TEST(ListEvents, HandlerLeavesNoErrorOnTheThread)
{
    Node node(transform());
    const int thread = BASgetSTID();
    int calls = 0;
    node.list->setEventHandler(&calls, [](void *data, TRK_CHANGE_TYPE, int) {
        ++*static_cast<int *>(data);
        KITaddError("ZEL", ZEL_ERR_PARM, "from the handler");
        EVL::theErrNo[BASgetSTID()] = EVL::EVL_CYCLE;
    });
    KIT_ErrorManager::Scope scope(thread);
    EVL::theErrNo[thread] = EVL::EVL_SYNTAX;
    node.list->sendChangeEvent(TRK_CHANGE_VALUE, nullptr);
    EXPECT_EQ(EVL::theErrNo[thread], int(EVL::EVL_SYNTAX));
    EXPECT_EQ(scope.getManager().entries(), 0);
    EXPECT_EQ(calls, 1);
    EVL::theErrNo[thread] = EVL::EVL_OK;
}

TEST(ListWalks, EmptyList)
{
    Node node({});
    EXPECT_TRUE(node.list->allDefaults());
    EXPECT_TRUE(node.list->areAllFlagsClean());
    EXPECT_FALSE(node.list->hasAnyChannels());
    EXPECT_FALSE(node.list->hasSpareOrMultiInstanceParms());
    EXPECT_EQ(node.list->getChanState(0.0), 0);
    EXPECT_EQ(node.list->findNextKey(2.0), 2.0);
    EXPECT_FALSE(node.list->checkTimeDependence(true));
}

TEST(ListWalks, DefaultsIgnoreLocksAndParametersWithoutInstance)
{
    Node node(transform());
    ASSERT_EQ(node.list->getParmPtr(1)->getInstance(), nullptr);
    EXPECT_TRUE(node.list->allDefaults());
    node.parm("s")->setLockedFlag(1, true);
    EXPECT_TRUE(node.list->allDefaults());
    node.parm("s")->setLockedFlag(1, false);

    node.list->setFloat(2.0, "t", 2, 0.0, false);
    EXPECT_FALSE(node.list->allDefaults());
    node.list->revertToDefaults(0.0);
    EXPECT_TRUE(node.list->allDefaults());
    EXPECT_EQ(node.list->evalFloat("t", 2, 0.0), 0.0);

    // An expression isn't the default even where its value is.
    node.animate("count", "1 - 1", 0);
    EXPECT_FALSE(node.list->allDefaults());
    node.list->revertValuesToFactoryDefaults();
    EXPECT_TRUE(node.list->allDefaults());
    EXPECT_FALSE(node.list->hasAnyChannels());
}

TEST(ListWalks, DirtyAndUndoMarks)
{
    Node node(transform());
    EXPECT_FALSE(node.list->areAllFlagsClean());
    node.list->clearAllDirtyFlags();
    EXPECT_TRUE(node.list->areAllFlagsClean());
    node.parm("t")->setDirtyFlags(1);
    EXPECT_FALSE(node.list->areAllFlagsClean());

    node.parm("t")->setUndoSavedFlag(true);
    node.parm("count")->setUndoSavedFlag(true);
    node.list->clearAllUndoSavedFlags();
    EXPECT_FALSE(node.parm("t")->getUndoSavedFlag());
    EXPECT_FALSE(node.parm("count")->getUndoSavedFlag());
}

TEST(ListWalks, NearestKeyAndStateOfAllChannels)
{
    Node node(transform());
    node.key("t", 0, {1.0 - 1e-6, 3.0 + 1e-6});
    node.key("s", 2, {1.0, 2.0, 3.0});
    EXPECT_TRUE(node.list->hasAnyChannels());

    EXPECT_EQ(node.list->findNextKey(0.0), 1.0) << "the later parameter's within the tolerance";
    EXPECT_EQ(node.list->findNextKey(1.5), 2.0);
    EXPECT_EQ(node.list->findNextKey(9.0), 9.0);
    EXPECT_EQ(node.list->findPrevKey(9.0), 3.0);
    EXPECT_EQ(node.list->findPrevKey(1.5), 1.0);
    EXPECT_EQ(node.list->findPrevKey(0.0), 0.0);

    node.list->setChannelGroupPtr(nullptr);
    EXPECT_EQ(node.list->findNextKey(0.0), 0.0);
    EXPECT_EQ(node.list->findPrevKey(9.0), 9.0);
    node.list->setChannelGroupPtr(&node.channels);

    // The state is the union of all.
    EXPECT_EQ(node.list->getChanState(2.0), ZEL_CHAN_KEY | ZEL_CHAN_NOKEY);
    EXPECT_EQ(node.list->getChanState(1.5), ZEL_CHAN_NOKEY);
    constexpr bool notify = false, commit = false, keyOnly = false;
    node.parm("s")->getChannel(2)->setKeyValue(5.0, 1.5, notify, commit, keyOnly);
    EXPECT_EQ(node.list->getChanState(1.5), ZEL_CHAN_PENDING | ZEL_CHAN_NOKEY);

    node.list->clearAndDestroyChannels();
    EXPECT_FALSE(node.list->hasAnyChannels());
    EXPECT_EQ(node.channels.entries(), 0);
}

TEST(ListWalks, HardenChangesReachesEveryComponent)
{
    Node node(transform());
    constexpr bool notify = false, commit = false, keyOnly = false;
    for (const char *token : {"t", "s"}) {
        for (int i = 0; i < 2; ++i) {
            node.key(token, i, {});
            node.parm(token)->getChannel(i)->setKeyValue(5.0, 2.0, notify, commit, keyOnly);
        }
    }
    KIT_Array<TRK_ChannelRef> changed;
    node.list->hardenChanges(2.0, false, nullptr, &changed);
    std::string names;
    for (const TRK_ChannelRef &ref : changed) {
        names += std::string(ref.getName().c_str()) + " ";
    }
    EXPECT_EQ(names, "sy sx ty tx ");
    EXPECT_EQ(node.list->getChanState(2.0), int(ZEL_CHAN_PENDING));

    node.list->hardenChanges(2.0, false, nullptr, nullptr);
    EXPECT_EQ(node.list->getChanState(2.0), int(ZEL_CHAN_KEY));
    EXPECT_EQ(node.list->evalFloat("s", 1, 2.0), 5.0);
}

TEST(ListWalks, ChannelsByName)
{
    Node node(transform());
    EXPECT_EQ(node.list->addChannel("ty"), 1);
    EXPECT_EQ(node.list->addChannel("unheard"), 0);
    EXPECT_EQ(node.list->addChannel(KIT_StringRef()), 0);
    EXPECT_NE(node.parm("t")->getChannel(1), nullptr);

    // A channel that is put into the collection without the list's knowledge.
    TRK_Channel *channel = node.channels.addChannel("sz");
    EXPECT_EQ(node.parm("s")->getChannel(2), nullptr);
    EXPECT_EQ(node.list->channelPtrModified("sz"), 1);
    EXPECT_EQ(node.parm("s")->getChannel(2), channel);
    EXPECT_EQ(node.list->channelPtrModified("unheard"), 0);

    TRK_Channel *another = node.channels.addChannel("count");
    node.list->reloadChannelPtrs();
    EXPECT_EQ(node.parm("count")->getChannel(0), another);
}

TEST(ListWalks, TextInExpressions)
{
    Node node(transform());
    node.animate("t", "ch(\"sz\") + 1", 0);
    EXPECT_TRUE(node.list->findString("sz", false, false));
    EXPECT_FALSE(node.list->findString("sx", false, false));
    EXPECT_EQ(node.list->changeString("sz", "sx", false), 1);
    KIT_String text;
    node.parm("t")->getExpressionOnly(0.0, text, 0, BASgetSTID());
    EXPECT_STREQ(text.c_str(), "ch(\"sx\") + 1");
}

TEST(ListWalks, EvaluationTimeNeedsACollection)
{
    Node node(transform());
    TRK_Manager &manager = TRK_Manager::getContext();
    const double before = manager.getCurrentTime();
    manager.setCurrentTime(2.5);
    EXPECT_EQ(node.list->getEvalTime(BASgetSTID()), 2.5);
    node.list->setChannelGroupPtr(nullptr);
    EXPECT_EQ(node.list->getEvalTime(BASgetSTID()), 0.0);
    node.list->setChannelGroupPtr(&node.channels);
    manager.setCurrentTime(before);
}

/// Returns another node's channels for any path.
class OneOtherNode : public TRK_PathResolver
{
public:
    explicit OneOtherNode(TRK_Collection &other) : myOther(other) {}
    TRK_Collection *findCollection(const KIT_StringRef &) override { return &myOther; }
    bool getVariable(const KIT_StringRef &, KIT_String &) override { return false; }
    void getPath(KIT_WorkBuffer &path) override { path.append("/obj/test"); }

private:
    TRK_Collection &myOther;
};

TEST(ListTimeDependence, ReferenceIsNoticedByEvaluatingAndSticks)
{
    Node moving(transform()), node(transform());
    OneOtherNode resolver(moving.channels);
    node.channels.setPathResolver(&resolver);
    moving.animate("t", "$T", 0);
    node.animate("s", "ch(\"../moving/tx\")", 1);

    EXPECT_FALSE(node.list->checkTimeDependence(false));
    EXPECT_TRUE(node.list->checkTimeDependence(true));
    EXPECT_TRUE(node.list->isTimeDependent());

    node.parm("s")->removeChannel(1);
    EXPECT_TRUE(node.list->checkTimeDependence(true));
    node.list->clearTimeDependent();
    EXPECT_FALSE(node.list->checkTimeDependence(true));
    node.channels.setPathResolver(nullptr);

    // Evaluating leaves no error.
    node.animate("t", "ch(\"nowhere\")", 0);
    const int thread = BASgetSTID();
    KIT_ErrorManager::Scope scope(thread);
    EVL::theErrNo[thread] = EVL::EVL_OK;
    EXPECT_FALSE(node.list->checkTimeDependence(true));
    EXPECT_EQ(EVL::theErrNo[thread], int(EVL::EVL_OK));
    EXPECT_EQ(scope.getManager().entries(), 0);
}

/// What the list should return, composed from its parameters.
template <class Index>
KIT_TokenString composeMagic(Node &node, const std::vector<int> &indices)
{
    KIT_TokenString tokens;
    for (int i : indices) {
        node.list->getParmPtr(i)->getMagicString(tokens, 0.0, BASgetSTID());
        tokens.append(Index(i));
    }
    return tokens;
}

TEST(ListMagic, IndexGrowsToTwoBytesAt255Parameters)
{
    for (int count : {254, 255}) {
        SCOPED_TRACE(count);
        std::deque<std::string> tokens;
        std::vector<Described> described;
        for (int i = 0; i < count; ++i) {
            tokens.push_back("p" + std::to_string(i));
            described.push_back({tokens.back().c_str(), ZEL_FLT, 1});
        }
        Node node(described);
        node.list->setFloat(1.0, "p3", 0, 0.0, false);
        node.list->setFloat(2.0, "p253", 0, 0.0, false);
        KIT_TokenString magic;
        node.list->getMagicString(magic, 0.0, 0xff);
        EXPECT_EQ(magic == composeMagic<std::uint8_t>(node, {3, 253}), count == 254);
        EXPECT_EQ(magic == composeMagic<std::uint16_t>(node, {3, 253}), count == 255);
    }
}

TEST(ListMagic, OnlyCookableParametersOfTheLevel)
{
    Node node({{"one", ZEL_FLT, 1, ZEL_Template::ZEL_EXPORT_1},
               {"two", ZEL_FLT, 1, ZEL_Template::ZEL_EXPORT_2},
               {"none", ZEL_FLT, 1, ZEL_Template::ZEL_EXPORT_0},
               {"quiet", ZEL_FLT | ZEL_TYPE_NOCOOK, 1, ZEL_Template::ZEL_EXPORT_3},
               {"still", ZEL_FLT | ZEL_TYPE_NOREFRESH, 1, ZEL_Template::ZEL_EXPORT_3},
               {"again", ZEL_FLT | ZEL_TYPE_NORESIM, 1, ZEL_Template::ZEL_EXPORT_3},
               {"default", ZEL_FLT, 1, ZEL_Template::ZEL_EXPORT_3},
               {"unknown", theUnknownType, 1, ZEL_Template::ZEL_EXPORT_3}});
    for (const char *token : {"one", "two", "none", "quiet", "still", "again"}) {
        node.list->setFloat(7.0, token, 0, 0.0, false);
    }
    struct Case
    {
        unsigned mask;
        std::vector<int> indices;
    };
    const Case cases[] = {{1, {0, 5}}, {2, {1, 5}}, {3, {0, 1, 5}}, {0x100, {}}};
    for (const Case &one : cases) {
        SCOPED_TRACE(one.mask);
        KIT_TokenString magic;
        node.list->getMagicString(magic, 0.0, one.mask);
        EXPECT_TRUE(magic == composeMagic<std::uint8_t>(node, one.indices));
    }
}

TEST(ListStructure, OnlySpareAndItemParametersLeave)
{
    Node node(transform());
    EXPECT_FALSE(node.list->hasSpareOrMultiInstanceParms());
    node.appendSpare("u");
    ZEL_Parm *last = node.appendSpare("v");
    EXPECT_TRUE(node.list->hasSpareOrMultiInstanceParms());
    last->addChannel(1);
    node.parm("u")->addChannel(0);
    const std::uint32_t count = node.list->getAddRemoveCount();

    for (int index : {-1, 0, 1, 99}) {
        node.list->removeAndDestroyParm(index);
    }
    EXPECT_EQ(node.owner.takeCalls(), "");
    EXPECT_EQ(node.list->getEntries(), 6);

    node.list->removeAndDestroyParm(4);
    EXPECT_EQ(node.owner.takeCalls(), "parmRemoved 4");
    EXPECT_EQ(node.list->getAddRemoveCount(), count + 1);
    EXPECT_EQ(node.index("u"), -1);
    EXPECT_EQ(node.list->getParmIndexFromChannel("ux", nullptr), -1);
    EXPECT_EQ(node.channels.getChannel("ux"), nullptr);
    // What follows moved down, names, channels and all.
    int subIndex = -1;
    EXPECT_EQ(node.index("v"), 4);
    EXPECT_EQ(node.list->getParmIndexFromChannel("vy", &subIndex), 4);
    EXPECT_EQ(subIndex, 1);
    EXPECT_EQ(node.list->getParmPtr(4), last);
    EXPECT_NE(node.channels.getChannel("vy"), nullptr);

    node.list->clearParmOwner();
    node.list->removeAndDestroyParm(4);
    EXPECT_FALSE(node.list->hasSpareOrMultiInstanceParms());

    // A name that a later parameter has taken stays.
    node.appendSpare("u");
    ZEL_Parm *second = node.appendSpare("u");
    node.list->removeAndDestroyParm(4);
    EXPECT_EQ(node.index("u"), 4);
    EXPECT_EQ(node.parm("u"), second);
    EXPECT_EQ(node.list->getParmIndexFromChannel("uz", nullptr), 4);
}

TEST(ListStructure, AliasesLeaveAndMoveWithTheirParameters)
{
    MultiList p;
    p.late.add(ZEL_XYZ, 3, "o#");
    p.top.addMulti(ZEL_MULTITYPE_LIST, "others", p.late.templates());
    p.build();
    p.setCount(1.0);
    p.setCount(1.0, "others");
    ASSERT_TRUE(p.list->setChannelAlias(&p.parm("pt1"), 0, KIT_StringHolder("first")));
    ASSERT_TRUE(p.list->setChannelAlias(&p.parm("o1"), 2, KIT_StringHolder("second")));
    EXPECT_EQ(p.list->getParmIndexFromChannel("first", nullptr), 2);
    EXPECT_EQ(p.list->getParmIndexFromChannel("second", nullptr), 3);
    p.setCount(0.0);
    EXPECT_EQ(p.list->getParmIndexFromChannel("first", nullptr), -1);
    int subIndex = -1;
    EXPECT_EQ(p.list->getParmIndexFromChannel("second", &subIndex), 2);
    EXPECT_EQ(subIndex, 2);
}

TEST(ListAliases, SetReplacedClearedAndRefused)
{
    Node node(transform());
    ZEL_Parm *t = node.parm("t");
    t->addChannel(0);
    ASSERT_TRUE(node.list->setChannelAlias(t, 0, KIT_StringHolder("slide")));
    int subIndex = -1;
    EXPECT_EQ(node.list->getParmPtrFromChannel("slide", &subIndex), t);
    EXPECT_EQ(subIndex, 0);
    EXPECT_EQ(node.list->getParmIndexFromChannel("slide", nullptr, false), -1);
    EXPECT_STREQ(t->getChannel(0)->getAlias().c_str(), "slide");

    ASSERT_TRUE(node.list->setChannelAlias(t, 0, KIT_StringHolder("glide")));
    EXPECT_EQ(node.list->getParmIndexFromChannel("slide", nullptr), -1);
    EXPECT_EQ(node.list->getParmIndexFromChannel("glide", nullptr), 0);

    ASSERT_TRUE(node.list->setChannelAlias(t, 0, KIT_StringHolder("")));
    EXPECT_EQ(node.list->getParmIndexFromChannel("glide", nullptr), -1);
    EXPECT_STREQ(t->getChannelAlias(0).c_str(), "tx");

    // What is refused.
    ZEL_Parm *spare = node.appendSpare("u");
    const std::unique_ptr<ZEL_Parm> outside = node.outside();
    ASSERT_TRUE(node.list->setChannelAlias(t, 0, KIT_StringHolder("slide")));

    struct Case
    {
        const char *name;
        ZEL_Parm *parm;
        int index;
        const char *alias;
    };
    const Case cases[] = {
        {"no parameter", nullptr, 0, "free"},  {"no instance", node.list->getParmPtr(1), 0, "free"},
        {"spare", spare, 0, "free"},           {"not in the list", outside.get(), 0, "free"},
        {"index below", t, -1, "free"},        {"index above", t, 3, "free"},
        {"a channel token", t, 1, "sz"},       {"an alias", t, 1, "slide"},
        {"no channel name", t, 1, "two words"}};
    for (const Case &one : cases) {
        SCOPED_TRACE(one.name);
        EXPECT_FALSE(node.list->setChannelAlias(one.parm, one.index, KIT_StringHolder(one.alias)));
    }
    node.list->setPermissions(0444);
    EXPECT_FALSE(node.list->setChannelAlias(t, 1, KIT_StringHolder("free")));
    EXPECT_EQ(node.list->getParmIndexFromChannel("free", nullptr), -1);
    EXPECT_EQ(node.list->getParmIndexFromChannel("slide", nullptr), 0);
}

} // namespace
