// The text form of channels: round trips, exact consumption, bad input.

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <TRK/TRK_Collection.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <tuple>

namespace
{

std::string saved(const TRK_Collection &collection)
{
    std::ostringstream out;
    EXPECT_TRUE(collection.save(out));
    return out.str();
}

/// Loads a text; the code and text of the first message, or "" and the collection's own text.
std::string message(const std::string &text, TRK_Collection &collection,
                    std::string *rest = nullptr)
{
    KIT_ErrorManager::Scope scope(0);
    KIT_IStream stream(text.data(), text.size(), KIT_IStream::TEXT);
    const bool good = collection.load(stream);
    if (rest != nullptr) {
        *rest = text.substr(static_cast<size_t>(stream.tellg()));
    }
    EXPECT_EQ(good, scope.getManager().entries() == 0);
    if (good || scope.getManager().entries() == 0) {
        return "";
    }
    const KIT_ErrorManager::Error &error = scope.getManager().getError(0);
    return std::to_string(error.code) + " " + error.text;
}

double doubleOf(uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

uint64_t bitsOf(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

const char *const theSample = R"(channels 1.0
{
    channel tx {
        alias "left"
        default -0
        text "\"a\\\"b\" + \"\n\t\""
        pending 1.5
        locked
        scope
        key 0 5 linear()
        key 1.5 7 in 6 slope 0.5 -0 accel 0.25 1e-300 "ch(\"ty\") * 2"
        key 2 inf python "1 + 1"
        key 3 4 python constant()
    }
    channel ty {
        default 0
        text python "'x'"
        key 0 0 bezier()
    }
    channel empty {
        default bits:7ff8000000000123
    }
}
)";

} // namespace

TEST(ChannelFiles, TheSampleComesBackByteForByte)
{
    TRK_Collection collection;
    std::string rest;
    EXPECT_EQ(message(std::string(theSample) + "more {", collection, &rest), "");
    EXPECT_EQ(rest, "\nmore {");
    EXPECT_EQ(saved(collection), theSample);
    const TRK_Channel *tx = collection.getChannel("tx");
    ASSERT_NE(tx, nullptr);
    EXPECT_TRUE(tx->getLocked() && tx->getScope() && tx->isPending(1.5));
    EXPECT_STREQ(tx->getDefaultString().c_str(), "\"a\\\"b\" + \"\n\t\"");
    EXPECT_EQ(tx->getSegment(0)->getOutValue(), 6.0);
    EXPECT_EQ(tx->getSegment(0)->getOutSlope(), 0.5);
    EXPECT_EQ(tx->getSegment(1)->getInAcceleration(), 1e-300);
    EXPECT_EQ(tx->getSegment(2)->getExprLanguage(), TRK_LANGUAGE_PYTHON);
    EXPECT_EQ(tx->getSegment(3)->getExprLanguage(), TRK_LANGUAGE_PYTHON);
    EXPECT_TRUE(tx->getSegment(3)->isInterpolated());
    EXPECT_TRUE(tx->isTimeDependent());
    EXPECT_EQ(bitsOf(collection.getChannel("empty")->getDefault()), 0x7ff8000000000123u);
}

TEST(ChannelFiles, EveryDoubleKeepsItsBits)
{
    std::mt19937_64 random(5);
    TRK_Collection first;
    for (int c = 0; c < 20; ++c) {
        TRK_Channel *channel = first.addChannel(("c" + std::to_string(c)).c_str());
        channel->setDefault(doubleOf(random()));
        TRK_FullKey key;
        for (int k = 0; k < 20; ++k) {
            key.time = std::uniform_real_distribution<double>(-1e3, 1e3)(random);
            for (double *slot : {&key.in.value, &key.in.slope, &key.in.acceleration, &key.out.value,
                                 &key.out.slope, &key.out.acceleration}) {
                *slot = doubleOf(random());
            }
            channel->putFullKey(key);
        }
    }
    for (double value : {5e-324, -5e-324, 1.7976931348623157e308, -0.0, 0.1}) {
        TRK_FullKey key;
        key.time = first.getChannel(0)->getNKeys() * 1e4;
        key.out.value = value;
        first.getChannel(0)->putFullKey(key);
    }
    const std::string text = saved(first);
    TRK_Collection second;
    ASSERT_EQ(message(text, second), "");
    ASSERT_EQ(saved(second), text);
    for (int c = 0; c < first.entries(); ++c) {
        const TRK_Channel *a = first.getChannel(c);
        const TRK_Channel *b = second.getChannel(c);
        ASSERT_EQ(a->getNSegments(), b->getNSegments());
        for (int i = 0; i < a->getNSegments(); ++i) {
            const TRK_Segment *x = a->getSegment(i);
            const TRK_Segment *y = b->getSegment(i);
            for (const auto get : {&TRK_Segment::getStart, &TRK_Segment::getInValue,
                                   &TRK_Segment::getInSlope, &TRK_Segment::getInAcceleration}) {
                EXPECT_EQ(bitsOf((x->*get)()), bitsOf((y->*get)()));
            }
            for (const auto get : {&TRK_Segment::getOutValue, &TRK_Segment::getOutSlope,
                                   &TRK_Segment::getOutAcceleration}) {
                EXPECT_TRUE(i + 1 == a->getNSegments() ||
                            bitsOf((x->*get)()) == bitsOf((y->*get)()));
            }
        }
    }
}

TEST(ChannelFiles, HandWrittenFormsAreRead)
{
    TRK_Collection collection;
    TRK_Channel *kept = collection.addChannel("kept");
    TRK_Channel *old = collection.addChannel("tx");
    old->initializeFirstSegment("99", TRK_LANGUAGE_NATIVE);
    EXPECT_EQ(message("# by hand\n channels 1.3{language python channel tx{key 2 20 # late\n"
                      "key 0 10 linear() default 4}}",
                      collection),
              "");
    EXPECT_EQ(collection.getChannel("kept"), kept);
    EXPECT_EQ(collection.getChannel("tx"), old); // contents change, the channel stays
    EXPECT_EQ(collection.getExprLanguage(), TRK_LANGUAGE_PYTHON);
    EXPECT_EQ(collection.evaluate(old, 1, false, 1), 15.0); // keys in any order
    EXPECT_STREQ(old->getSegment(1)->getExpression(), "bezier()");
}

TEST(ChannelFiles, BinaryFormInsideOtherData)
{
    TRK_Collection first;
    ASSERT_EQ(message(theSample, first), "");
    std::ostringstream out;
    EXPECT_TRUE(first.save(out, true));
    out << "tail";
    const std::string bytes = out.str();
    TRK_Collection second;
    KIT_IStream stream(bytes.data(), bytes.size(), KIT_IStream::BINARY);
    EXPECT_TRUE(second.load(stream));
    EXPECT_EQ(bytes.substr(static_cast<size_t>(stream.tellg())), "tail");
    EXPECT_EQ(saved(second), theSample);
}

TEST(ChannelFiles, BadInputNamesItsLine)
{
    const std::string start = "channels 1.0\n{\nchannel good {\n}\nchannel tx {\n";
    const std::tuple<std::string, std::string, int> cases[] = {
        {"", "20 line 1: the text is empty", 0},
        {"chans 1.0 {}", "20 line 1: \"chans\"", 0},
        {"channels 2.0 {}", "21 line 1: \"2.0\"", 0},
        {"channels 1.0\nkey", "22 line 2: \"{\" in place of \"key\"", 0},
        {"channels 1.0 {\n\nnope", "25 line 3: \"nope\"", 0},
        {"channels 1.0 { language perl }", "25 line 1: \"perl\"", 0},
        {"channels 1.0 {\nchannel 1x {", "24 line 2: \"1x\"", 0},
        {"channels 1.0 {\nchannel a {}\nchannel a {}}", "24 line 3: \"a\"", 1},
        {start + "key zero 1", "23 line 6: \"zero\"", 1},
        {start + "key 0 {", "23 line 6: \"{\"", 1},
        {start + "key inf 1", "23 line 6: a key's time must be finite", 1},
        {start + "key 0 1 slope 1 }", "23 line 6: \"}\"", 1},
        {start + "default bits:12x4", "23 line 6: \"bits:12x4\"", 1},
        {start + "key 0 1\nkey 0 2\n}", "28 line 8: tx at 0", 1},
        {start + "key 0 1 swing()\n}", "25 line 6: \"swing()\"", 1},
        {start + "\"text\"", "25 line 6: \"text\"", 1},
        {start + "key 0 1 \"1 + \n", "26 line 7: a text is not closed", 1},
        {start + "key 0 1", "26 line 6: \"}\" is missing", 1},
        {start + std::string(2000, 'x'), "27 line 6: a word is longer than 1024 bytes", 1},
        {start + "text \"" + std::string(70000, 'x'),
         "27 line 6: a text is longer than 65536 bytes", 1},
        {start + std::string("a\0b", 3), "22 line 6: a byte 0", 1},
    };
    for (const auto &[text, told, entries] : cases) {
        TRK_Collection collection;
        EXPECT_EQ(message(text, collection), told) << text.substr(0, 200);
        EXPECT_EQ(collection.entries(), entries) << text.substr(0, 200);
        EXPECT_EQ(collection.getChannel("tx"), nullptr); // nothing half read is stored
    }
}

TEST(ChannelFiles, EveryCutIsReported)
{
    const std::string text = theSample;
    for (size_t length = 0; length <= text.rfind('}'); ++length) {
        TRK_Collection collection;
        EXPECT_NE(message(text.substr(0, length), collection), "") << length;
    }
}
