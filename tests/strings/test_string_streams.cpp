#include <common/Packets.h>
#include <strings/StringFixture.h>

#include <ZEL/ZEL_SharedMenus.h>
#include <ZEL/ZEL_SpareData.h>

#include <gtest/gtest.h>

#include <tuple>

namespace
{

/// The components' stored texts, a channel's name in front of those that have one.
std::string contents(const OneString &p)
{
    std::string text;
    for (int i = 0; i < p.instance->getVectorSize(); ++i) {
        const TRK_Channel *channel = p.instance->getChannel(i);
        p.instance->setChannel(i, nullptr);
        text += (i > 0 ? "|" : "") + std::string(channel ? channel->getName().c_str() : "") +
                (channel ? "=" : "") + p.raw(i);
        p.instance->setChannel(i, const_cast<TRK_Channel *>(channel));
    }
    return text;
}

std::string packet(int id, const std::string &payload = "")
{
    return packetOf("ZEL_String", id, payload);
}

std::string counted(const std::string &text)
{
    return bytesOf(std::int32_t(text.size())) + text;
}

std::string textPacket(const char *text)
{
    return packet(1, counted(text));
}

std::string linkPacket(const char *name, const char *text)
{
    return packet(2, counted(name) + counted(text));
}

} // namespace

TEST(StringStreams, TextFormToTheByte)
{
    BuiltString p(ZEL_STRING, 3);
    p.setText("a \"b\"\\\t", 0);
    p.setText("\"x y\"", 1, TRK_MEANING_NATIVE);
    const std::string options = "\t[ 0\tlocks=0 ]\t(\t\"a \\\"b\\\"\\\\\\t\"\t";
    const std::string saved = p.saved();
    EXPECT_EQ(saved, options + "[ " + p.instance->getChannelToken(1).c_str() + "\t ] \t\"\"\t)\n")
        << "beside a channel stands the default, without quotes";

    p.channel(1)->setKeyString("\"y\"", 1.0, true, false, false);
    EXPECT_EQ(p.saved(),
              options + "[ " + p.instance->getChannelToken(1).c_str() + "\tx y ] \t\"\"\t)\n")
        << "while a change is pending the stored text is saved";

    BuiltString other(ZEL_STRING, 3);
    other.channels.addChannel(p.instance->getChannelToken(1));
    ASSERT_TRUE(other.load(saved));
    EXPECT_EQ(contents(other),
              "a \"b\"\\\t|" + std::string(p.instance->getChannelToken(1).c_str()) + "=|");
    EXPECT_EQ(takeMessages(), "");
}

TEST(StringStreams, BinaryFormToTheByte)
{
    BuiltString p(ZEL_STRING, 2);
    p.setText("a\nb", 0);
    p.setText("\"x\"", 1, TRK_MEANING_NATIVE);
    const char *name = p.instance->getChannelToken(1).c_str();
    const std::string values = textPacket("a\nb") + linkPacket(name, "") + packet(0);
    const std::string saved = p.saved(true);
    ASSERT_GE(saved.size(), values.size());
    EXPECT_EQ(saved.substr(saved.size() - values.size()), values);
    std::stringstream compiled;
    p.instance->save(compiled, 0, true);
    EXPECT_EQ(compiled.str(), saved) << "the compiled flag asks for the same form";

    BuiltString other(ZEL_STRING, 2);
    TRK_Channel *channel = other.channels.addChannel(name);
    ASSERT_TRUE(other.load(saved, true));
    EXPECT_EQ(contents(other), "a\nb|" + std::string(name) + "=");
    EXPECT_EQ(other.channel(1), channel);
}

TEST(StringStreams, TextLoad)
{
    const std::tuple<const char *, const char *, const char *, bool> cases[] = {
        {"( a b )", "a|b", "", true},
        {"( \"(\" \")\" )", "(|)", "", true},
        {"( [abc \"[ x ]\" )", "[abc|[ x ]", "", true}, // a text that begins with a bracket
        {"( [ p1 old ] b )", "p1=old|b", "", true},
        {"( [ p1 ] b )", "p1=|b", "", true},
        {"( [ p1 \"two words\" ] b )", "p1=two words|b", "", true},
        {"( [ p1 two words ] b )", "p1=two|words", "ZEL 0; ZEL 3", true}, // reading continues
        {"( [ nowhere x ] b )", "p1=x|b", "", true}, // the component's own channel
        {"( a [ nowhere x ] )", "a|x", "ZEL 4", true},
        {"( a )", "a|", "ZEL 2", true},
        {"( a b c d )", "a|b", "ZEL 3", true},
        {"a )", "|", "ZEL 9", false},
        {"( a b", "a|b", "ZEL 9", false},
        {"( a \"b", "a|", "ZEL 9", false},
        {"[ 0 locks=2 ] ( a b )", "a|b", "", true},
        {"[ 0 7 ] ( a b )", "a|b", "", true}, // a mask of old files keys nothing here
    };
    for (const auto &[text, wanted, messages, loads] : cases) {
        BuiltString p(ZEL_STRING, 2);
        p.channels.addChannel("p1");
        EXPECT_EQ(p.load(text), loads) << text;
        EXPECT_EQ(contents(p), wanted) << text;
        EXPECT_EQ(takeMessages(), messages) << text;
    }
}

TEST(StringStreams, OldReferencesAndMenusAreRewritten)
{
    BuiltString p;
    ASSERT_TRUE(p.load("( !!ch(q) )"));
    ASSERT_NE(p.channel(), nullptr);
    EXPECT_EQ(p.expression(), "chs(q)");
    ASSERT_TRUE(p.load("( \"!!ch('r')!!\" )"));
    EXPECT_EQ(p.expression(), "chs('r')");

    BuiltString menu;
    menu.parm->getTemplatePtr()->setChoiceListPtr(&ZELtoggleMenu);
    ASSERT_TRUE(menu.load("( \"`ch('q')`\" )"));
    EXPECT_EQ(menu.raw(), "`chs('q')`");
    ASSERT_TRUE(menu.load(textPacket("`ch('q')`") + packet(0), true));
    EXPECT_EQ(menu.raw(), "`ch('q')`") << "the binary form takes texts as they are";
}

TEST(StringStreams, MissingValuesOfTheOldShaderParameterAreSilent)
{
    BuiltString p(ZEL_STRING, 2, "coshaderadef");
    ASSERT_TRUE(p.load("( a )"));
    EXPECT_EQ(takeMessages(), "");
    ASSERT_TRUE(p.load(textPacket("a") + packet(0), true));
    EXPECT_EQ(takeMessages(), "ZEL 2") << "no exception in the binary form";
}

TEST(StringStreams, BinaryLoadTellsForeignAndMissingPackets)
{
    const std::string a = textPacket("a"), b = textPacket("b"), end = packet(0);
    const std::tuple<std::string, const char *, const char *, bool> cases[] = {
        {a + end, "a|", "ZEL 2", true},
        {a + b + a + a + end, "a|b", "ZEL 3; ZEL 3", true}, // one for each
        {packet(99) + a + b + end, "a|b", "Common 8", true},
        {a + packetOf("ZEL_Float", 1) + end, "a|", "Common 7", true},
        {linkPacket("p1", "t") + linkPacket("no", "u") + end, "p1=t|u", "ZEL 4", true},
        {a.substr(0, a.size() - 1), "|", "Common 9", false},
    };
    for (const auto &[data, wanted, messages, loads] : cases) {
        BuiltString p(ZEL_STRING, 2);
        p.channels.addChannel("p1");
        EXPECT_EQ(p.load(data, true), loads) << messages;
        EXPECT_EQ(contents(p), wanted);
        EXPECT_EQ(takeMessages(), messages);
    }
}

TEST(StringStreams, WithoutSavedDataTheDefaultIsWritten)
{
    OneString p;
    p.description.defaults[0] = ZEL_Default(0.0, "std");
    ZEL_SpareData spare;
    spare.setSaveValue(false);
    p.description.entry.setSparePtr(&spare);
    p.build();
    p.setText("mine");
    EXPECT_NE(p.saved().find("\"std\""), std::string::npos);
    EXPECT_EQ(p.savedCommand(0), " ( std )");
}

TEST(StringStreams, CommandArguments)
{
    BuiltString p(ZEL_STRING, 2);
    p.setText("a b", 0);
    p.setText("\"x\"+$F", 1, TRK_MEANING_NATIVE);
    const std::string name = p.instance->getChannelToken(1).c_str();
    EXPECT_EQ(p.savedCommand(0, -1), " ( \"a b\" " + name + " )");
    EXPECT_EQ(p.savedCommand(1, -1), " ( \"a b\" x1 )");
    EXPECT_EQ(p.savedCommand(1, 1), " ( x1 )");

    EXPECT_EQ(p.loadCommand({"(", "\"c \\\"d\"", name.c_str(), ")", "more"}, false), 4);
    EXPECT_EQ(contents(p), "c \"d|" + name + "=x1");
    const std::string quoted = "\"" + name + "\"";
    EXPECT_EQ(p.loadCommand({"e", quoted.c_str()}, false), 2);
    EXPECT_EQ(contents(p), "e|" + name) << "in quotes it is a text, and the channel goes";
    EXPECT_EQ(p.channels.entries(), 0);
    EXPECT_EQ(p.loadCommand({"(", name.c_str(), ")"}, true, 1), 3);
    EXPECT_EQ(contents(p), "e|" + name) << "no such channel: a text";
    EXPECT_EQ(p.loadCommand({"\"q\\n\""}, true), 1);
    EXPECT_EQ(p.raw(0), "\"q\\n\"") << "a set takes the word as it stands";
    p.instance->setLockedFlag(0, true);
    EXPECT_EQ(p.loadCommand({"no", "yes"}, false), 2);
    EXPECT_EQ(contents(p), "\"q\\n\"|yes");
    EXPECT_EQ(p.loadCommand({}, false), 0);
}
