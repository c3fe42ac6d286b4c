#include <common/ListFixture.h>
#include <common/Packets.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>

namespace
{

double fromBits(std::uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::uint64_t toBits(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// A vector of three with a channel on the second component.
struct Animated : OneParm
{
    Animated() : OneParm(ZEL_XYZ, 3)
    {
        description.defaults[1] = ZEL_Default(0.5);
        build();
        set(1.0, 0);
        animate("$F", 1);
        set(-2.25, 2);
    }
};

std::string packet(int id, const std::string &payload = "")
{
    return packetOf("ZEL_Float", id, payload);
}

std::string number(double value)
{
    return bytesOf(value);
}

} // namespace

TEST(FloatStreams, TextIsExactToTheByte)
{
    Animated p;
    EXPECT_EQ(p.saved(), "\t[ 0\tlocks=0 ]\t(\t1\t[ py\t0.5 ] \t-2.25\t)\n")
        << "an animated component writes its default beside its channel";
    p.instance->setLockedFlag(2, true);
    p.instance->setAutoScopedFlag(0, true);
    p.instance->setExpressionState(true);
    EXPECT_EQ(p.saved(), "\t[ 8\tlocks=4\tautoscope=1 ]\t(\t1\t[ py\t0.5 ] \t-2.25\t)\n");
    ASSERT_TRUE(p.load(p.saved()));
    EXPECT_EQ(p.saved(), "\t[ 8\tlocks=4\tautoscope=1 ]\t(\t1\t[ py\t0.5 ] \t-2.25\t)\n");
    EXPECT_NE(p.instance->getChannel(1), nullptr);
    EXPECT_EQ(takeMessages(), "");
}

TEST(FloatStreams, EveryDoubleComesBackBitForBit)
{
    std::mt19937_64 random(42);
    OneParm p(ZEL_FLT, 4);
    OneParm q(ZEL_FLT, 4);
    p.build();
    q.build();
    const double edges[] = {0.0,
                            -0.0,
                            std::numeric_limits<double>::denorm_min(),
                            std::numeric_limits<double>::max(),
                            std::numeric_limits<double>::lowest(),
                            std::numeric_limits<double>::min(),
                            0.1,
                            1e23};
    for (int round = 0; round < 3000; ++round) {
        double values[4];
        for (int i = 0; i < 4; ++i) {
            do {
                values[i] = round < 2 ? edges[4 * round + i] : fromBits(random());
            } while (values[i] != values[i] || values[i] - values[i] != 0.0);
            p.set(values[i], i);
        }
        for (bool binary : {false, true}) {
            ASSERT_TRUE(q.load(p.saved(binary), binary));
            for (int i = 0; i < 4; ++i) {
                ASSERT_EQ(toBits(q.eval(i)), toBits(values[i])) << values[i] << binary;
            }
        }
    }
}

TEST(FloatStreams, TextLoads)
{
    struct Case
    {
        const char *text;
        bool loaded;
        const char *messages;
        double values[3];
    };
    const Case cases[] = {
        {"( 1 2 3 )", true, "", {1, 2, 3}},
        {"( 1 2 )", true, "ZEL 2", {1, 2, 7}},
        {"( )", true, "ZEL 2", {7, 7, 7}},
        {"( 1 2 3 4 5 )", true, "ZEL 3", {1, 2, 3}},
        {"[ 0 ] ( 1 2 3 )", true, "", {1, 2, 3}},
        {"[ 0 unknown other=5 locks=0 ] ( 1 2 3 )", true, "", {1, 2, 3}},
        {"1 2 3 )", false, "ZEL 9", {7, 7, 7}},
        {"", false, "ZEL 9", {7, 7, 7}},
        {"[ 0", false, "ZEL 9", {7, 7, 7}},
        {"( 1 2", false, "ZEL 9", {1, 2, 7}},
        {"( 1 nowhere 3 )", true, "ZEL 4", {1, 7, 3}},
        {"( [ nowhere 1 ] 2 3 )", true, "ZEL 4", {1, 2, 3}},
        {"( [ nowhere ] 2 3 )", true, "ZEL 4", {7, 2, 3}},
        {"( [ nowhere 1 2 3 )", false, "ZEL 4; ZEL 0", {1, 7, 7}},
        {"( [", false, "ZEL 0", {7, 7, 7}},
    };
    for (const Case &c : cases) {
        OneParm p(ZEL_XYZ, 3);
        for (int i = 0; i < 3; ++i) {
            p.description.defaults[i] = ZEL_Default(7.0);
        }
        p.build();
        EXPECT_EQ(p.load(c.text), c.loaded) << c.text;
        EXPECT_EQ(takeMessages(), c.messages) << c.text;
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(p.eval(i), c.values[i]) << c.text << " component " << i;
        }
    }
}

TEST(FloatStreams, ChannelsLinkByNameThenByToken)
{
    for (bool binary : {false, true}) {
        Animated p;
        const std::string data =
            binary ? packet(2, number(1)) + packet(1, std::string("\5\0\0\0other", 9) + number(3)) +
                         packet(2, number(5)) + packet(0)
                   : "( 1 [ other 3 ] 5 )";
        TRK_Channel *own = p.instance->getChannel(1);
        EXPECT_TRUE(p.load(data, binary));
        EXPECT_EQ(p.instance->getChannel(1), own) << "falls back to the component's token";
        EXPECT_EQ(takeMessages(), "");
    }
    OneParm lonely(ZEL_FLT, 1);
    lonely.build();
    lonely.list->setChannelGroupPtr(nullptr);
    EXPECT_TRUE(lonely.load("( [ p 4 ] )"));
    EXPECT_EQ(takeMessages(), "ZEL 14");
    EXPECT_EQ(lonely.eval(), 4.0);
}

TEST(FloatStreams, AChannelLinkedTwiceIsDeletedOnce)
{
    Animated p;
    // The first component takes the second one's channel over, then the second gets a number.
    EXPECT_TRUE(p.load("( [ py 1 ] 2 3 )"));
    EXPECT_EQ(p.channels.entries(), 0);
    EXPECT_EQ(p.instance->getChannel(0), nullptr);
    EXPECT_EQ(p.eval(0), 1.0);

    p.animate("$F", 1);
    EXPECT_TRUE(p.load("( py py py )"));
    EXPECT_EQ(p.instance->getChannel(0), p.instance->getChannel(2));
    ZEL_ParmList second(p.templates, &p.channels, nullptr, nullptr, "", false);
    second.reloadChannelPtrs();
    EXPECT_NE(second.getParmPtr(0)->getInstance()->getChannel(1), nullptr);
    p.instance->removeChannel(0);
    EXPECT_EQ(p.instance->getChannel(1), nullptr);
    EXPECT_EQ(second.getParmPtr(0)->getInstance()->getChannel(1), nullptr)
        << "other lists on the collection hear of it";
}

TEST(FloatStreams, MissingComponentsGetTheirDefaultExpression)
{
    OneParm p(ZEL_XYZ, 3);
    p.description.defaults[2] = ZEL_Default(0.0, "3 * 3", TRK_MEANING_NATIVE);
    p.build();
    p.set(1.0, 2);
    EXPECT_TRUE(p.load("( 1 2 )"));
    EXPECT_EQ(takeMessages(), "ZEL 2");
    EXPECT_EQ(p.eval(2), 9.0);
}

TEST(FloatStreams, OldFilesKeyTheComponentsOfTheirMask)
{
    Animated p;
    p.animate("bezier()", 1);
    EXPECT_TRUE(p.load("[ 0 2 ] ( 1 [ py 4 ] 3 )"));
    EXPECT_EQ(p.eval(1), 4.0);
    EXPECT_TRUE(p.instance->getChannel(1)->isAtKey(0.0));
}

TEST(FloatStreams, BinaryPackets)
{
    Animated p;
    EXPECT_TRUE(p.load(packet(7, "xx") + packet(2, number(1)) + packet(2, number(2)) +
                           packet(2, number(3)) + packet(2, number(4)) + packet(0),
                       true));
    EXPECT_EQ(takeMessages(), "Common 8; ZEL 3") << "an unknown id warns, a surplus value too";
    EXPECT_TRUE(p.load(packet(2, number(1)) + packet(0), true));
    EXPECT_EQ(takeMessages(), "ZEL 2");
    EXPECT_EQ(p.eval(1), 0.5);
    EXPECT_TRUE(p.load("", true)) << "no packet at all is no failure";
    EXPECT_FALSE(p.load(packetOf("ZEL_String", 2), true));
    EXPECT_EQ(takeMessages(), "Common 7");

    // The template's name takes a label.
    p.description.name.setLabel("Changed");
    p.instance->setSaveLabelFlag(true);
    Animated q;
    ASSERT_TRUE(q.load(p.saved(true), true));
    EXPECT_STREQ(q.instance->getLabel(), "Changed");
}
