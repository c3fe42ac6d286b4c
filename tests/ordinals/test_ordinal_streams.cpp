#include <common/Packets.h>
#include <common/Threads.h>
#include <ordinals/OrdinalParm.h>

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace
{

constexpr std::int64_t theHuge = std::int64_t(1) << 40;

struct OrdinalStreams : testing::Test, Menus
{
    ~OrdinalStreams() override { takeMessages(); }

    ZEL_ChoiceList scripted{ZEL_CHOICELIST_EXCLUSIVE, "menu", TRK_SCRIPT_COMMAND};
};

std::string packet(int id, const std::string &payload = "")
{
    return packetOf("ZEL_Ordinal", id, payload);
}

std::string integer(std::int32_t value)
{
    return bytesOf(value);
}

std::string counted(const std::string &text)
{
    return integer(std::int32_t(text.size())) + text;
}

const std::string theEnd = packet(0);

} // namespace

TEST_F(OrdinalStreams, BothFormsAreExactToTheByte)
{
    const std::string huge = packet(2, integer(INT32_MAX));
    const std::tuple<ZEL_Type, ZEL_ChoiceList *, std::int64_t, const char *, std::string> cases[] =
        {
            {ZEL_TOGGLE, nullptr, 1, "\"on\"", packet(1, counted("on"))},
            {ZEL_ORD, &exclusive, 1, "\"b\"", packet(1, counted("b"))},
            {ZEL_ORD, &exclusive, 5, "5", packet(2, integer(5))}, // raw, not limited
            {ZEL_ORD, &exclusive, -1, "-1", packet(2, integer(-1))},
            {ZEL_ORD, &tokenValued, 7, "\"7\"", packet(1, counted("7"))},
            {ZEL_ORD, nullptr, 7, "7", packet(2, integer(7))},
            {ZEL_ORD, nullptr, theHuge, "1099511627776", huge}, // 32 bits in packets
            {ZEL_BUTTONSTRIP, &exclusive, 1, "\"b\"", packet(1, counted("b"))},
            {ZEL_CALLBACK, &exclusive, 1, "0", packet(2, integer(0))},
        };
    for (const auto &[type, menu, value, text, packets] : cases) {
        OrdinalParm p(type, 1, menu);
        p.build().setInteger(value);
        EXPECT_EQ(p.saved(), "\t[ 0\tlocks=0 ]\t(\t" + std::string(text) + "\t)\n");
        EXPECT_EQ(p.saved(true), packets + theEnd) << text;
        for (bool binary : {false, true}) {
            OrdinalParm q(type, 1, menu);
            ASSERT_TRUE(q.build().load(p.saved(binary), binary)) << text;
            EXPECT_EQ(q.saved(binary), p.saved(binary)) << text;
        }
    }
}

TEST_F(OrdinalStreams, ChannelsAreSavedByName)
{
    OrdinalParm p(ZEL_ORD, 2, &exclusive);
    p.description.defaults[0] = ZEL_Default(0.0, "b");
    p.build().animate("$F * 0");
    p.setInteger(1, 1);
    const std::string name = p.instance->getChannel(0)->getName().c_str();
    EXPECT_EQ(p.saved(), "\t[ 0\tlocks=0 ]\t(\t[ " + name + "\t1 ] \t\"b\"\t)\n")
        << "the default as a number, for the channel tells the value";
    EXPECT_EQ(p.saved(true),
              packet(3, counted(name) + integer(1)) + packet(1, counted("b")) + theEnd);
    for (bool binary : {false, true}) {
        TRK_Channel *channel = p.instance->getChannel(0);
        ASSERT_TRUE(p.load(p.saved(binary), binary));
        EXPECT_EQ(p.instance->getChannel(0), channel);
        EXPECT_EQ(takeMessages(), "");
    }
    p.instance->setValue(1.0, std::int64_t(0), false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_NOCOMMIT);
    p.instance->setValue(1.0, std::int64_t(5), false, 0, ZEL_ADDKEY_PENDING, ZEL_KEYSET_NOCOMMIT);
    EXPECT_EQ(p.saved(), "\t[ 0\tlocks=0 ]\t(\t[ " + name + "\t5 ] \t\"b\"\t)\n")
        << "a pending value is saved";

    std::stringstream broken;
    broken.setstate(std::ios::badbit);
    EXPECT_FALSE(p.instance->save(broken, 0, false));
    EXPECT_EQ(takeMessages(), "") << "nothing was tried";
}

TEST_F(OrdinalStreams, TextLoads)
{
    // `second`: the states of both components
    const std::tuple<ZEL_ChoiceList *, const char *, bool, const char *, const char *, const char *>
        cases[] = {
            {&exclusive, "( \"b\" a )", true, "", "1", "0"},
            {&exclusive, "( 1 0 )", true, "", "1", "0"},
            {&exclusive, "[ 0 ] ( b b )", true, "", "1", "1"},
            {&exclusive, "( b )", true, "ZEL 2", "1", "1"},
            {&exclusive, "( b a a a )", true, "ZEL 3", "1", "0"},
            {&exclusive, "( nope b )", true, "ZEL 6", "0", "1"},
            {&exclusive, "( \"\" b )", true, "ZEL 6", "0", "1"},
            {&exclusive, "( 3*(2-2) b )", true, "", "0 = 3*(2-2)", "1"},
            {&exclusive, "( !!ch(p2) b )", true, "", "0 = ch(p2)", "1"},
            {&numeric, "( \"20\" 1 )", true, "", "1", "1"},
            {&tokenValued, "( \"20\" nope )", true, "ZEL 6", "20", "0"},
            {nullptr, "( 1099511627776 -1 )", true, "", "1099511627776", "-1"},
            {&exclusive, "b a )", false, "ZEL 9", "1", "1"},
            {&exclusive, "( a", false, "ZEL 9", "0", "1"},
            {&exclusive, "( a \"b", false, "ZEL 9", "0", "1"},
            {&exclusive, "( [ gone a ] b )", true, "ZEL 4", "0", "1"},
            {&exclusive, "( [ gone ] a )", true, "ZEL 4", "1", "0"}, // the value stays
            {&exclusive, "( [ gone nope ] b )", true, "ZEL 4", "0", "1"},
            // The bracket is missing: reported, and unlike for a float reading continues.
            {&exclusive, "( [ gone a b )", true, "ZEL 4; ZEL 0", "0", "1"},
        };
    for (const auto &[menu, text, loaded, messages, first, second] : cases) {
        OrdinalParm p(ZEL_ORD, 2, menu);
        p.description.defaults[0] = p.description.defaults[1] = ZEL_Default(1.0);
        p.build();
        EXPECT_EQ(p.load(text), loaded) << text;
        EXPECT_EQ(takeMessages(), messages) << text;
        EXPECT_EQ(p.state(0), first) << text;
        EXPECT_EQ(p.state(1), second) << text;
        takeMessages();
    }
    OrdinalParm p(ZEL_ORD, 1, &exclusive);
    p.build().load("( nope )");
    EXPECT_NE(KITgetErrorManager().getError(0).text.find("nope in p"), std::string::npos);
}

TEST_F(OrdinalStreams, AValueInTheChannelsPlace)
{
    // Text deletes the channel, whatever word it is.
    for (const char *text : {"( b )", "( nope )"}) {
        OrdinalParm p(ZEL_ORD, 1, &exclusive);
        p.build().animate("$F");
        EXPECT_TRUE(p.load(text));
        EXPECT_EQ(p.channels.entries(), 0) << text;
    }
    // Two components hold one channel: it is deleted once, and what replaces it stays.
    OrdinalParm q(ZEL_ORD, 2);
    q.build().animate("$F");
    const std::string name = q.instance->getChannelToken(0).c_str();
    ASSERT_TRUE(q.load("( [ " + name + " 0 ] [ " + name + " 0 ] )"));
    ASSERT_EQ(q.instance->getChannel(0), q.instance->getChannel(1));
    ASSERT_TRUE(q.load("( 3*3 1 )"));
    EXPECT_EQ(q.state(0), "9 = 3*3");
    EXPECT_EQ(q.state(1), "1");
}

TEST_F(OrdinalStreams, WhatFloatsDoOtherwise)
{
    OrdinalParm p(ZEL_ORD);
    OneParm number(ZEL_FLT, 1);
    p.build().setInteger(1);
    number.build();
    for (OneParm *one : {static_cast<OneParm *>(&p), &number}) {
        one->animate("bezier()");
        ASSERT_TRUE(one->load("[ 0 1 ] ( [ p 4 ] )"));
    }
    EXPECT_EQ(p.value(), 1) << "an old file's mask keys floats only";
    EXPECT_EQ(number.eval(), 4.0);

    const std::string foreign = packetOf("ZEL_String", 2, integer(0));
    EXPECT_TRUE(p.load(packet(2, integer(3)) + foreign + packet(2, integer(9)), true));
    EXPECT_FALSE(number.load(foreign, true));
    EXPECT_EQ(takeMessages(), "Common 7; Common 7");
    EXPECT_EQ(p.value(), 3) << "reading stops";
}

TEST_F(OrdinalStreams, BinaryPackets)
{
    OrdinalParm p(ZEL_ORD, 2, &exclusive);
    p.description.defaults[1] = ZEL_Default(1.0);
    p.build();
    const std::string one = packet(2, integer(1));
    EXPECT_TRUE(p.load(packet(77, "xx") + one + one + one + theEnd, true));
    EXPECT_EQ(takeMessages(), "Common 8; ZEL 3");
    EXPECT_TRUE(p.load(packet(1, counted("nope")) + theEnd, true));
    EXPECT_EQ(takeMessages(), "ZEL 2") << "an unknown token is a silent 0 here";
    EXPECT_EQ(p.value(0), 0);
    EXPECT_EQ(p.value(1), 1) << "the default";
    EXPECT_FALSE(p.load(packet(2, "xx") + theEnd, true));
    EXPECT_NE(takeMessages(), "");
    EXPECT_FALSE(p.load(packet(1, "\x7f") + theEnd, true));
    EXPECT_NE(takeMessages(), "");

    // After an error tokens aren't looked up any more, but the packets are read to the end.
    KITaddCommonError(KIT_COMMON_CUT_PACKET, "before");
    p.setInteger(1, 0);
    p.setInteger(0, 1);
    EXPECT_FALSE(p.load(packet(1, counted("a")) + one + theEnd, true));
    EXPECT_EQ(p.state(0) + p.state(1), "11");
    takeMessages();
}

TEST_F(OrdinalStreams, ASwitcherMayChangeItsFolders)
{
    const std::string one = packet(2, integer(1));
    for (const std::string &text : {std::string("( 1 1 1 )"), std::string("( 1 )")}) {
        OrdinalParm p(ZEL_SWITCHER, 2);
        EXPECT_TRUE(p.build().load(text));
        EXPECT_EQ(p.value(), 1);
        EXPECT_TRUE(p.load(text.size() > 5 ? one + one + one + theEnd : one + theEnd, true));
        EXPECT_EQ(takeMessages(), "") << text;
    }
}

TEST_F(OrdinalStreams, AScriptIsAskedWhenTheValueIsWanted)
{
    MenuOwner owner;
    OrdinalParm p(ZEL_ORD, 4, &scripted);
    p.build(&owner);
    owner.runs = 0;
    ASSERT_TRUE(p.load("( b \"7\" gone 1 )"));
    EXPECT_EQ(owner.runs, 0);
    EXPECT_EQ(takeMessages(), "");
    const std::string saved = p.saved();
    EXPECT_EQ(saved, "\t[ 0\tlocks=0 ]\t(\t\"b\"\t\"7\"\t\"a\"\t\"b\"\t)\n");
    EXPECT_EQ(owner.runs, 1) << "once for all components of a save";
    // A token that reads like a number is found as a token.
    std::int64_t folder = 0;
    ASSERT_TRUE(p.load(saved));
    owner.runs = 0;
    p.instance->getDefaultValue(folder, 0);
    EXPECT_EQ(p.text(1), "7");
    EXPECT_EQ(p.value(1), 2);

    // Reading a pending token costs one run, and the limits of an exclusive menu one for each read.
    ZEL_ChoiceList loose(ZEL_CHOICELIST_REPLACE, "menu", TRK_SCRIPT_COMMAND);
    MenuOwner second;
    OrdinalParm q(ZEL_ORD, 1, &loose);
    q.build(&second);
    ASSERT_TRUE(q.load("( b )"));
    second.runs = 0;
    EXPECT_EQ(q.value(), 1);
    EXPECT_EQ(q.value(), 1);
    EXPECT_EQ(second.runs, 1);
    EXPECT_EQ(takeMessages(), "");
    ASSERT_TRUE(q.load("( 7 )"));
    EXPECT_EQ(q.value(), 2) << "the next token waits like the first";
    ASSERT_TRUE(q.load("( b )"));
    q.setInteger(0);
    EXPECT_EQ(q.value(), 0) << "a write ends the wait";
    q.setInteger(1);

    // Until the parameter has its defaults no script runs for it.
    q.instance->setDefaultsInitFlag(false);
    second.runs = 0;
    EXPECT_EQ(q.text(), "1");
    EXPECT_EQ(second.runs, 0);
    q.instance->setDefaultsInitFlag(true);
    EXPECT_EQ(q.text(), "b");

    // The form that only old files have is passed to the channels at once.
    ASSERT_TRUE(q.load("( !!ch(p) )"));
    EXPECT_EQ(q.expression(), "ch(p)");
    // The binary form runs the script at once.
    second.runs = 0;
    ASSERT_TRUE(q.load(packet(1, counted("b")) + theEnd, true));
    EXPECT_EQ(second.runs, 1);
    EXPECT_EQ(q.value(), 1);
}

TEST_F(OrdinalStreams, ThreadsMeetAtAHeldToken)
{
    ZEL_ChoiceList loose(ZEL_CHOICELIST_REPLACE, "menu", TRK_SCRIPT_COMMAND);
    MenuOwner owner;
    OrdinalParm p(ZEL_ORD, 2, &loose);
    p.build(&owner);
    ASSERT_TRUE(p.load("( b 7 )"));
    p.instance->adopt(*p.instance);
    EXPECT_EQ(p.value(), 1) << "adopting itself keeps the token";
    for (int round = 0; round < 200; ++round) {
        ASSERT_TRUE(p.load("( b 7 )"));
        std::atomic<int> wrong{0};
        std::unique_ptr<ZEL_Instance> copy; // made meanwhile, it has the token or the value
        onThreads(5, [&](int thread) {
            if (thread == 0) {
                copy.reset(p.instance->duplicateSelf(p.parm));
            } else {
                wrong += p.value(0) != 1 || p.value(1) != 2 ? 1 : 0;
            }
        });
        ASSERT_EQ(wrong, 0);
        copy->setDefaultsInitFlag(true);
        std::int64_t copied = 0;
        copy->getValue(p.list.get(), 0.0, copied, 1, 1);
        ASSERT_EQ(copied, 2);
    }
}

TEST_F(OrdinalStreams, CommandsSetAndLoad)
{
    // `state`: of both components, from 1 and 1
    const std::tuple<ZEL_ChoiceList *, std::vector<const char *>, int, const char *> cases[] = {
        {&exclusive, {"a", "b"}, 2, "0 1"},
        {&exclusive, {"(", "0", "a", ")", "more"}, 4, "0 0"},
        {&exclusive, {"(", "a", ")"}, 3, "0 1"},
        {&exclusive, {"\"a\"", "0"}, 2, "0 0"}, // a protected word
        {&exclusive, {"2 - 1"}, 1, "1 = 2 - 1 1"},
        {&numeric, {"20"}, 1, "1 1"}, // a number is a number here: 20, limited
        {&tokenValued, {"20"}, 1, "20 1"},
        {&exclusive, {}, 0, "1 1"},
    };
    for (const auto &[menu, arguments, used, state] : cases) {
        for (bool asSet : {false, true}) {
            OrdinalParm p(ZEL_ORD, 2, menu);
            p.build().setInteger(1, 0);
            p.setInteger(1, 1);
            EXPECT_EQ(p.loadCommand(arguments, asSet), used) << state;
            EXPECT_EQ(p.state(0) + " " + p.state(1), state) << asSet;
        }
    }
    OrdinalParm locked(ZEL_ORD);
    locked.build().setInteger(4);
    locked.instance->setLockedFlag(0, true);
    EXPECT_EQ(locked.loadCommand({"0"}, true), 1);
    EXPECT_EQ(locked.value(), 4);

    // The value is 0 before the argument is looked at, and no channel can take this one.
    locked.instance->setLockedFlag(0, false);
    locked.list->setChannelGroupPtr(nullptr);
    locked.loadCommand({"2 - 1"}, true);
    EXPECT_EQ(locked.value(), 0);
}

TEST_F(OrdinalStreams, AChannelUnderACommand)
{
    const std::tuple<const char *, bool, bool, int> cases[] = {
        {"1", false, false, 0}, // deleted
        {"b", false, false, 1}, // only unlinked
        {"1", true, true, 1},
        {"b", true, true, 1}, // left alone
    };
    for (const auto &[argument, asSet, linked, channels] : cases) {
        OrdinalParm p(ZEL_ORD, 1, &exclusive);
        p.build().animate("$F");
        p.loadCommand({argument}, asSet);
        EXPECT_EQ(p.instance->getChannel(0) != nullptr, linked) << argument << asSet;
        EXPECT_EQ(p.channels.entries(), channels) << argument << asSet;
    }
}

TEST_F(OrdinalStreams, CommandsAreWritten)
{
    ZEL_Name odd[] = {{"two words", "T"}, {}};
    ZEL_ChoiceList oddMenu(ZEL_CHOICELIST_REPLACE, odd);
    const std::tuple<ZEL_ChoiceList *, std::int64_t, const char *> cases[] = {
        {&exclusive, 1, " ( b )"},
        {&exclusive, 5, " ( 5 )"},
        {nullptr, -2, " ( -2 )"},
        {&tokenValued, 20, " ( \"20\" )"},
        {&oddMenu, 0, " ( \"two words\" )"},
    };
    for (const auto &[menu, value, text] : cases) {
        OrdinalParm p(ZEL_ORD, 1, menu);
        p.build().setInteger(value);
        EXPECT_EQ(p.savedCommand(0), text);
    }
    OrdinalParm p(ZEL_ORD, 2, &exclusive);
    p.build().animate("0.7", 1);
    EXPECT_EQ(p.savedCommand(0), " ( a p2 )");
    EXPECT_EQ(p.savedCommand(1, 1), " ( b )");
}
