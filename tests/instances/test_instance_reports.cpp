// What an instance writes and reports: option blocks, reports, access, and the small classes beside it.

#include <common/TestOwner.h>
#include <instances/InstanceRig.h>

#include <EVL/EVL.h>
#include <KIT/KIT_Color.h>
#include <KIT/KIT_Packet.h>
#include <LYR/LYR_Manager.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_ParmIOToken.h>
#include <ZEL/ZEL_RefId.h>
#include <ZEL/ZEL_UndoData.h>
#include <ZEL/ZEL_Value.h>

#include <gtest/gtest.h>

#include <fstream>
#include <tuple>

namespace
{

/// A probe with something to say in each of the options.
struct OptionRig : Rig
{
    OptionRig() : Rig(2)
    {
        build();
        probe->setExpressionState(true);
        probe->setLockedFlag(1, true);
        probe->setAutoScopedFlag(-1, true);
        probe->setSpareParm(true);
        probe->setBypassFlag(true);
        description.name.setLabel("a \"b\" ]");
        probe->setSaveLabelFlag(true);
        probe->setChannelCustomColor(1, KIT_Color(0.1f, 1.0f, 0.0f));
        probe->setAutoSelectFlag(-1, false);
    }
};

} // namespace

TEST(Instances, OptionsComeBackFromBothForms)
{
    KIT_Packet packet;
    std::stringstream none;
    Rig plain(2);
    EXPECT_EQ(plain.build().probe->options(), "[ 0\tlocks=0 ]");
    EXPECT_FALSE(plain.probe->saveBinaryOptions(77, packet, none));
    EXPECT_EQ(none.str(), "");

    OptionRig rig;
    Probe &p = *rig.probe;
    const std::string all = "[ 8\tlocks=2\tautoscope=3\tbypass=1\tzellabel=\"a \\\"b\\\" ]\""
                            "\tzelcolor=1;0.1;1;0;\tautosel=0 ]";
    EXPECT_EQ(p.options(), all);
    p.setExpressionState(false); // only texts have it
    std::stringstream data;
    EXPECT_TRUE(p.saveBinaryOptions(77, packet, data));

    Probe fromText(&rig.templates[0], rig.parm), fromPackets(&rig.templates[0], rig.parm);
    fromText.setSpareParm(true);
    fromPackets.setSpareParm(true);
    rig.description.name.setLabel(nullptr);
    unsigned mask = 0;
    ASSERT_TRUE(fromText.loadOptions(all.substr(1), mask));
    EXPECT_EQ(fromText.options(), all);

    rig.description.name.setLabel(nullptr);
    const std::string bytes = data.str();
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::BINARY);
    std::string ids;
    int classId = 0, id = 0;
    while (packet.beginRead(is, classId, id)) {
        EXPECT_EQ(classId, 77);
        ids += std::to_string(id) + " ";
        EXPECT_TRUE(fromPackets.loadBinaryOption(is, short(id))) << id;
        packet.endRead();
    }
    EXPECT_EQ(ids, "4 5 6 7 8 9 ");
    EXPECT_EQ(fromPackets.options(), p.options());
    EXPECT_STREQ(rig.description.name.getLabel(), "a \"b\" ]");
}

TEST(Instances, TextOptionsForgiveWhatTheyDoNotKnow)
{
    const std::tuple<const char *, const char *, bool, unsigned> cases[] = {
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
    for (const auto &[text, wanted, ok, wantedMask] : cases) {
        Rig rig(2);
        Probe &p = *rig.build().probe;
        unsigned mask = 99;
        EXPECT_EQ(p.loadOptions(text, mask), ok) << text;
        EXPECT_EQ(mask, wantedMask) << text;
        EXPECT_EQ(p.options(), wanted) << text;
    }
}

TEST(Instances, EveryOptionIsDocumented)
{
    std::ifstream is(ZEL_TESTS_DIR "/../docs/stream.md");
    std::stringstream text;
    text << is.rdbuf();
    for (int i = ZEL_IO_LOCKS; i < ZEL_IO_TOKEN_COUNT; ++i) {
        const std::string word = getPacketIOToken(ZEL_ParmIOToken(i));
        EXPECT_NE(text.str().find('`' + word + '='), std::string::npos) << word;
    }
}

TEST(Instances, BinaryOptionsRefuseWhatIsCutOrUnknown)
{
    const std::string one("\x01\0\0\0", 4);
    const std::tuple<short, std::string, bool> cases[] = {
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
    for (const auto &[id, payload, ok] : cases) {
        Rig rig(2);
        Probe &p = *rig.build().probe;
        EXPECT_EQ(p.loadPacket(id, payload), ok) << id << " " << payload.size();
        EXPECT_EQ(p.options(), "[ 0\tlocks=0 ]") << id;
    }
}

TEST(Instances, UndoDataIsTheTextForm)
{
    BuiltParm p(ZEL_FLT, 2);
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

TEST(Instances, ReportsCarryThePath)
{
    TestOwner owner("/obj/box");
    Rig rig(2, ZEL_FLT, "size");
    Probe &p = *rig.build(&owner).probe;
    // The label falls back to the token, so only a nameless parameter has no label.
    EXPECT_EQ(pathOf(p), "/obj/box size");
    rig.description.name.setLabel("Size of it");
    EXPECT_EQ(pathOf(p), "/obj/box Size of it");
    rig.templates[0].setTypeExtended(ZEL_TYPEX_TOKEN_PATH);
    EXPECT_EQ(pathOf(p), "/obj/box/size");

    for (const int code : {0, 1, 2, 3, 14, 18, 4, 9, 19}) {
        const bool withPath = code != 4 && code != 9 && code != 19;
        takeMessages();
        p.addParmWarning(ZEL_ErrorCode(code));
        ASSERT_EQ(KITgetErrorManager().entries(), 1);
        EXPECT_EQ(KITgetErrorManager().getError(0).text, withPath ? "/obj/box/size" : "") << code;
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
    const std::tuple<const char *, bool> cases[] = {{nullptr, true}, {"1", true}, {"0", false},
                                                    {"00", true},    {"", true},  {"False", false},
                                                    {"no", true}};
    for (const auto &[value, save] : cases) {
        ZEL_SpareData spare;
        spare.addTokenValue("orvane::save_value", value);
        Rig rig(1, ZEL_FLT, "p", &spare);
        EXPECT_EQ(rig.build().probe->shouldSaveData(), save) << (value ? value : "absent");
    }
}

TEST(Instances, PlainReferencesToChannels)
{
    const std::tuple<const char *, bool, const char *> cases[] = {
        {"ch(\"tx\")", true, "tx"},
        {"ch(\"tx\")", false, nullptr},
        {" `ch(\"tx\")`\n", false, "tx"},
        {"((ch('../a_1/tx')))", true, "../a_1/tx"},
        {"chs(\"a\")", true, "a"},
        {"chsop('a.b')", true, "a.b"},
        {"`", false, nullptr},
        {nullptr, true, nullptr},
    };
    for (const auto &[text, bare, wanted] : cases) {
        const char *label = text ? text : "null";
        KIT_String channel("untouched");
        EXPECT_EQ(ZEL_Instance::isChanRefString(text, bare, &channel), wanted != nullptr) << label;
        EXPECT_EQ(ZEL_Instance::isChanRefString(text, bare, nullptr), wanted != nullptr);
        EXPECT_EQ(channel.toStdString(), wanted ? wanted : "untouched") << label;
    }
    for (const char *text : {"`ch(\"tx\")`", "chf(\"a\")", "ch(\"\")", "ch(\"a')", "ch(a)",
                             "ch(\"a b\")", "ch(\"a\")+ch(\"b\")", "ch(\"a\") + 1", "(", ""}) {
        KIT_String channel("untouched");
        EXPECT_FALSE(ZEL_Instance::isChanRefString(text, true, &channel)) << text;
        EXPECT_FALSE(ZEL_Instance::isChanRefString(text, true, nullptr)) << text;
        EXPECT_EQ(channel.toStdString(), "untouched") << text;
    }
    KIT_String channel;
    EXPECT_TRUE(ZEL_Instance::isObsoleteDirectChanRefString("!!ch(../tx)", &channel));
    EXPECT_EQ(channel.toStdString(), "../tx");
    EXPECT_FALSE(ZEL_Instance::isObsoleteDirectChanRefString("!!ch()", nullptr));
    EXPECT_FALSE(ZEL_Instance::isObsoleteDirectChanRefString("ch(\"tx\")", nullptr));
}

TEST(Instances, ReferenceIds)
{
    const std::tuple<ZEL_RefId, ZEL_RefId, bool, bool> cases[] = {
        {ZEL_RefId(3, 1), ZEL_RefId(3, 1), true, true},
        {ZEL_RefId(3, -1), ZEL_RefId(3, 1), false, true},
        {ZEL_RefId(3, 1), ZEL_RefId(3), false, true},
        {ZEL_RefId(3, 1), ZEL_RefId(3, 2), false, false},
        {ZEL_RefId(3), ZEL_RefId(4), false, false},
    };
    for (const auto &[left, right, equal, matches] : cases) {
        EXPECT_EQ(left == right, equal);
        EXPECT_EQ(left.matches(right), matches);
        EXPECT_EQ(right.matches(left), matches);
    }
    EXPECT_FALSE(ZEL_RefId().isValid());
    EXPECT_EQ(ZEL_RefId(0, 0).hash(), 0xac85e9bdu);
    EXPECT_EQ(ZEL_RefId(7, 2).hash(), 0x29d8528eu);
    EXPECT_EQ(ZEL_RefId().hash(), 0xd1417eceu);

    BuiltParm rig(ZEL_FLT, 2);
    rig.instance->setChannelAlias("left", 0);
    const std::tuple<ZEL_RefId, const char *, const char *> names[] = {
        {ZEL_RefId(0), "p", "p"},  {ZEL_RefId(0, 0), "p1", "left"}, {ZEL_RefId(0, 1), "p2", "p2"},
        {ZEL_RefId(0, 5), "", ""}, {ZEL_RefId(1), "", ""},          {ZEL_RefId(), "", ""}};
    for (const auto &[id, token, alias] : names) {
        KIT_String text;
        id.getToken(*rig.list, text);
        EXPECT_EQ(text.toStdString(), token);
        id.getAlias(*rig.list, text);
        EXPECT_EQ(text.toStdString(), alias) << token;
    }
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
