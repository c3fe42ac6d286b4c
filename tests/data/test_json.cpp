#include <data/JsonText.h>

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace
{

/// `{"a":{"a": ... 1}}`, that many maps.
std::string nestedText(int depth)
{
    return repeated("{\"a\":", depth) + "1" + repeated("}", depth);
}

} // namespace

TEST(Json, BothFormsSayTheSame)
{
    const struct
    {
        const char *text;
        const char *written;
        const char *hex;
    } cases[] = {
        {"{}", "{}", "a0"},
        {" [ ] \n", "[]", "80"},
        {"{\"b\" : 1, \"a\" : -1}", "{\"a\":-1,\"b\":1}", "a2616120616201"},
        {"{\"a\":1,\"a\":\"last\"}", "{\"a\":\"last\"}", "a16161646c617374"},
        {"[23,24,255,256,65536,4294967296]", "[23,24,255,256,65536,4294967296]",
         "8617181818ff1901001a000100001b0000000100000000"},
        {"[-24,-25,-257]", "[-24,-25,-257]", "83373818390100"},
        {"[9223372036854775807,-9223372036854775808]", "[9223372036854775807,-9223372036854775808]",
         "821b7fffffffffffffff3b7fffffffffffffff"},
        {"[18446744073709551615]", "[18446744073709551616.0]", "81fb43f0000000000000"},
        {"[2.0,1e3,-0.1]", "[2.0,1000.0,-0.1]",
         "83fb4000000000000000fb408f400000000000fbbfb999999999999a"},
        {"[true,false,null]", "[true,false,null]", "83f5f4f6"},
        {"[\"\",\"a\\\"\\\\\\n\\u00e9\"]", "[\"\",\"a\\\"\\\\\\n\xc3\xa9\"]", "82606661225c0ac3a9"},
        {"{\"m\":{\"l\":[1,[2]]}}", "{\"m\":{\"l\":[1,[2]]}}", "a1616da1616c82018102"},
        // A text ends at its first NUL, a key too.
        {"{\"k\\u0000x\":\"v\\u0000x\"}", "{\"k\":\"v\"}", "a1616b6176"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(rewrittenJson(c.text), c.written) << c.text;
        EXPECT_EQ(toHex(rewrittenJson(c.text, true)), c.hex) << c.text;
        EXPECT_EQ(rewrittenJson(fromHex(c.hex)), c.written) << c.text;
        EXPECT_EQ(toHex(rewrittenJson(fromHex(c.hex), true)), c.hex) << c.text;
    }
}

TEST(Json, ReadsBinaryOfOtherWriters)
{
    const struct
    {
        const char *hex;
        const char *text;
    } cases[] = {
        {"9f0102ff", "[1,2]"},                                        // an array with a stop
        {"bf616101ff", "{\"a\":1}"},                                  // a map with a stop
        {"817f6161626263ff", "[\"abc\"]"},                            // a text in pieces
        {"81c001", "[1]"},                                            // a tag
        {"83f93c00f90001f9c000", "[1.0,5.960464477539063e-08,-2.0]"}, // half precision
        {"82f97c00f97e00", "[null,null]"}, // numbers that JSON can't write
        {"81fa3fc00000", "[1.5]"},         // single precision
        {"81f7", "[null]"},                // undefined
        {"811bffffffffffffffff", "[18446744073709551616.0]"},
        {"813bffffffffffffffff", "[-18446744073709551616.0]"},
        {"a2616101616102", "{\"a\":2}"},
        {"8162ff41", "[\"\xef\xbf\xbd"
                     "A\"]"}, // no UTF-8
    };
    for (const auto &c : cases) {
        EXPECT_EQ(rewrittenJson(fromHex(c.hex)), c.text) << c.hex;
    }
}

TEST(Json, DocumentsAtFaultGiveNull)
{
    for (const char *text :
         {"", " ", "{", "{\"a\"", "{\"a\":}", "{\"a\":1,}", "{a:1}", "[1 2]", "{}{}", "[1]x", "nul",
          "{\"a\":1e999}", "\"\xff\"", "[01]", "{\"a\":NaN}"}) {
        EXPECT_EQ(rewrittenJson(text), "refused") << text;
    }
    for (const char *hex : {"81", "8201", "9f01", "a1", "a16161", "a10101", "bf6161ff", "8161",
                            "817f6161", "8141ff", "81ff", "811c", "81f8", "811901", "8101ff",
                            "a0a0", "815f41ffff", "81c0", "81fb00", "811f", "a1f600",
                            // A claimed length is not believed.
                            "9b7fffffffffffffff", "bb7fffffffffffffff", "817b7fffffffffffffff61",
                            "9bffffffffffffffff01", "9affffffff0102"}) {
        EXPECT_EQ(rewrittenJson(fromHex(hex)), "refused") << hex;
    }
}

TEST(Json, NestingHasALimit)
{
    constexpr int limit = KIT_AutoJSONParser::theMaxNesting;
    EXPECT_EQ(rewrittenJson(nestedText(limit)), nestedText(limit));
    const std::string deepest = rewrittenJson(nestedText(limit), true);
    EXPECT_EQ(rewrittenJson(deepest), nestedText(limit));

    EXPECT_EQ(rewrittenJson(nestedText(limit + 1)), "refused");
    EXPECT_EQ(rewrittenJson("\x81" + deepest), "refused");
    for (const char *piece : {"[", "{\"a\":"}) {
        EXPECT_EQ(rewrittenJson(repeated(piece, 200000)), "refused") << piece;
    }
    for (const char *hex : {"81", "9f", "bf6161", "817f", "c0"}) {
        EXPECT_EQ(rewrittenJson("\x81" + repeated(fromHex(hex), 200000)), "refused") << hex;
    }
    EXPECT_EQ(rewrittenJson("\x81" + std::string(200000, '\x7f')), "refused")
        << "pieces of pieces of a text";
}

TEST(Json, StreamsGetLinesAndBuffersOne)
{
    KIT_JSONValue value;
    ASSERT_TRUE(parseJson("{\"a\":[1,{}],\"b\":[]}", value));
    std::ostringstream lines;
    EXPECT_TRUE(value.save(*KIT_JSONWriter::allocWriter(lines, false)));
    EXPECT_EQ(lines.str(), "{\n\t\"a\": [\n\t\t1,\n\t\t{}\n\t],\n\t\"b\": []\n}");
    EXPECT_EQ(rewrittenJson(lines.str()), "{\"a\":[1,{}],\"b\":[]}");

    std::ostringstream line;
    const auto writer = KIT_JSONWriter::allocWriter(line, false);
    KIT_Options options = writer->getOptions();
    EXPECT_TRUE(options.hasOption("json:prettyprint"));
    options.setOptionB("json:prettyprint", false);
    writer->setOptions(options);
    EXPECT_TRUE(value.save(*writer));
    EXPECT_EQ(line.str(), "{\"a\":[1,{}],\"b\":[]}");
}

TEST(Json, WhatCantBeReadAgainIsNotWritten)
{
    KIT_JSONValue value(1);
    for (int i = 0; i <= KIT_AutoJSONParser::theMaxNesting; ++i) {
        KIT_JSONValue::Array items;
        items.append(value);
        value = KIT_JSONValue(std::move(items));
    }
    for (const bool binary : {false, true}) {
        std::ostringstream os;
        EXPECT_FALSE(value.save(*KIT_JSONWriter::allocWriter(os, binary)));
        EXPECT_EQ(os.str(), "");
        os.setstate(std::ios::failbit);
        EXPECT_FALSE(KIT_JSONValue(1).save(*KIT_JSONWriter::allocWriter(os, binary)));
    }
    EXPECT_EQ(writtenJson(KIT_JSONValue("a\xff"
                                        "b\x01")),
              "\"a\xef\xbf\xbd"
              "b\\u0001\"");
    EXPECT_EQ(writtenJson(KIT_JSONValue(std::numeric_limits<double>::infinity())), "null");
}

TEST(Json, EveryValueHasAText)
{
    KIT_JSONValue value;
    ASSERT_TRUE(parseJson("[null,true,-3,2.5,\"x y\",[1,\"a\"],{\"k\":{}}]", value));
    std::string texts;
    for (const KIT_JSONValue &item : *value.getArray()) {
        texts += item.getS().nonNullStr() + std::string(";");
    }
    EXPECT_EQ(texts, ";true;-3;2.5;x y;[1,\"a\"];{\"k\":{}};");
    EXPECT_EQ(value.getMap(), nullptr);
    EXPECT_EQ((*value.getArray())[2].getF(), -3.0);
    EXPECT_EQ((*value.getArray())[3].getI(), 0);
}

TEST(Json, MapsKeepKeysInOrderAndAreShared)
{
    auto *map = new KIT_JSONValueMap;
    map->bumpRef(1);
    KIT_JSONValue holder(map);
    KIT_JSONValue copy;
    {
        const KIT_JSONValue shared(holder);
        copy = shared;
        holder = KIT_JSONValue(1);
    }
    map->bumpRef(-1);
    map->insert("b", KIT_JSONValue(2));
    map->insert("a", KIT_JSONValue("x"));
    map->insert("b", KIT_JSONValue(true));
    ASSERT_EQ(copy.getMap(), map) << "the last value keeps it";
    KIT_Array<KIT_StringHolder> keys;
    map->getKeys(keys);
    ASSERT_EQ(keys.size(), 2);
    EXPECT_STREQ(keys[0].c_str(), "a");
    EXPECT_EQ(map->get("c"), nullptr);
    EXPECT_TRUE(map->get("b")->getB());
    EXPECT_EQ(writtenJson(copy), "{\"a\":\"x\",\"b\":true}");
    map->clear();
    EXPECT_EQ(writtenJson(copy), "{}");
}

TEST(Json, AFaultHasItsPlace)
{
    const struct
    {
        std::string text;
        std::int64_t offset;
    } cases[] = {{"[1,x]", 3},
                 {"[1,\nx]", 4},
                 {"[1,2", 4},
                 {"[1]x", 3},
                 {"", 0},
                 {"[1,2]", -1},
                 {fromHex("820102"), -1},
                 {fromHex("8201"), 2},
                 {fromHex("8101ff"), 2}};
    for (const auto &c : cases) {
        KIT_IStream stream(c.text.data(), c.text.size(), KIT_IStream::TEXT);
        KIT_AutoJSONParser parser(stream);
        KIT_JSONValue value;
        EXPECT_EQ(parser.parse(value), c.offset < 0) << c.text;
        EXPECT_EQ(parser.getFaultOffset(), c.offset) << c.text;
    }
}
