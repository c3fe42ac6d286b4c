// Streams as their entries: converted without loss, written again byte for byte, compared.

#include <persistence/StreamList.h>

#include <ZEL/ZEL_ParmStream.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

namespace
{

constexpr auto theText = ZEL_ParmStream::Form::TEXT;
constexpr auto theBinary = ZEL_ParmStream::Form::BINARY;
constexpr auto theMarkedText = ZEL_ParmStream::Form::MARKED_TEXT;

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string framed(const std::string &entries)
{
    return "{\nversion 0.8\n" + entries + "}\n";
}

/// The ids of a binary stream's packets.
std::string idsOf(const std::string &data)
{
    KIT_IStream is(data.data(), data.size(), KIT_IStream::BINARY);
    KIT_Packet packet;
    int classId = 0;
    int packetId = 0;
    std::string ids;
    while (packet.beginRead(is, classId, packetId)) {
        ids += std::to_string(packetId) + " ";
        packet.endRead();
    }
    return ids;
}

/// The list after a load, or "" if the load failed.
std::string loaded(const std::string &data)
{
    StreamList p;
    p.channels.addChannel("ty");
    const bool good = p.load(data, isBinaryData(data));
    takeTexts();
    return good ? p.save() : "";
}

/// What may be in an entry, in the library's layout: right and wrong for the parameter.
const char *const theTokens[] = {"t",    "f",   "n",   "on",   "text",  "note",
                                 "dict", "pt3", "foo", "w2_1", "points"};
const char *const theBlocks[] = {"[ 0\tlocks=0 ]\t",
                                 "[ 8\tlocks=5 ]\t",
                                 "",
                                 "[ 0\tlocks=1\tautoscope=3\tautosel=0 ]\t",
                                 "[ 0\tlocks=0\tbypass=1 ]\t",
                                 "[ 0\tlocks=0\tzellabel=\"A \\\"b\\\" ] ( )\" ]\t",
                                 "[ 0\tlocks=0\tzellabel=\"\" ]\t",
                                 "[ 0\tlocks=0\tzelcolor=1;0.1;0.5;1; ]\t",
                                 "[ 0\tlocks=0\tfuture=2 ]\t",
                                 "[ 0\t7\tlocks=0 ]\t"};
const char *const theValues[] = {"1",
                                 "-0",
                                 "0.1",
                                 "1e+300",
                                 "nan",
                                 "inf",
                                 "7",
                                 "1099511627776",
                                 "\"off\"",
                                 "\"two words\"",
                                 "\"\"",
                                 "\"a\\tb\\n\\\"c\\\"\\\\\"",
                                 "\"a ) b\"",
                                 "\"!!ch(\\\"f\\\")\"",
                                 "\"a\"b\"",
                                 "word",
                                 "\"key_value_dict:{\\\"a\\\":[1,\\\"two\\\"]}\"",
                                 "\"key_value_dict:oops\"",
                                 "\"other:x\"",
                                 "[ ty\t0 ] ",
                                 "[ ty ] ",
                                 "[ nowhere\t1.5 ] ",
                                 "[ ty\t ] ",
                                 "[ ty\ttwo words ] ",
                                 "[ ty\t\"two words\" ] ",
                                 "[ ty\tone ] "};

template <class Table>
const char *any(const Table &table, std::mt19937 &random)
{
    return table[random() % std::size(table)];
}

std::string randomStream(std::mt19937 &random)
{
    std::string entries;
    for (unsigned count = random() % 4; count-- > 0;) {
        entries += std::string(any(theTokens, random)) + "\t" + any(theBlocks, random) + "(";
        for (unsigned values = random() % 4; values-- > 0;) {
            entries += std::string("\t") + any(theValues, random);
        }
        entries += "\t)\n";
    }
    return framed(entries);
}

} // namespace

TEST(StreamEntries, ByWayOfTheOtherFormTheBytesAreTheSame)
{
    std::mt19937 random(7);
    int compared = 0;
    int refused = 0;
    for (int i = 0; i < 500; ++i) {
        const std::string text = randomStream(random);
        StreamList p;
        EXPECT_EQ(converted(converted(text, theBinary), theText), text);
        // A list that knows the kind of a value spells it as it would save it.
        // A fresh one each time: entries make items, whose kinds are then known.
        StreamList q, r;
        const std::string spelled = converted(text, theText, &p.list);
        const std::string binary = converted(text, theBinary, &q.list);
        EXPECT_EQ(converted(spelled, theText, &r.list), spelled);
        EXPECT_EQ(converted(binary, theText), spelled);
        EXPECT_EQ(converted(binary, theBinary), binary);
        const std::string marked = converted(binary, theMarkedText);
        if (marked != "refused") {
            EXPECT_EQ(converted(marked, theBinary), binary);
            EXPECT_EQ(converted(marked, theText), spelled);
            EXPECT_EQ(converted(marked, theMarkedText), marked);
            EXPECT_EQ(converted(text, theMarkedText, &r.list), spelled) << "the list knows it";
        } else {
            // A quote that isn't closed: another entry's text goes on.
            ++refused;
            EXPECT_NE(converted(spelled, theBinary), binary);
            EXPECT_EQ(takeTexts().substr(0, 6), "ZEL 29");
        }
        // They say the same to a list. In binary a load ends at the first failure.
        const std::string direct = loaded(text);
        if (!direct.empty()) {
            ++compared;
            EXPECT_EQ(loaded(spelled), direct) << text;
            EXPECT_EQ(loaded(binary), direct) << text;
            EXPECT_TRUE(marked == "refused" || loaded(marked) == direct) << text;
            EXPECT_EQ(loaded(converted(text, theBinary)), direct) << text;
        }
        ASSERT_FALSE(HasFailure()) << text << takeTexts();
    }
    EXPECT_GT(compared, 50);
    EXPECT_LT(refused, 50);
    // A token that ends in a backslash has no closing quote to a load.
    StreamList p;
    const std::string open = framed("on\t[ 0\tlocks=0 ]\t(\t\"a\\\"\t)\nfoo\t(\t\"b\"\t)\n");
    EXPECT_EQ(converted(converted(open, theBinary), theText), open);
    EXPECT_EQ(converted(converted(open, theBinary, &p.list), theText), open);
    EXPECT_EQ(takeTexts(), "");
}

TEST(StreamEntries, GoldenFilesInBothForms)
{
    const std::string folder = ZEL_TESTS_DIR "/golden/";
    const std::string text = readFile(folder + "all_kinds.stream");
    const std::string binary = readFile(folder + "all_kinds_plain_items.bstream");
    StreamList p;
    EXPECT_EQ(converted(text, theBinary, &p.list), binary);
    for (const char *name :
         {"all_kinds_plain_items.bstream", "all_kinds_wide.bstream", "all_kinds.stream"}) {
        const std::string data = readFile(folder + name);
        EXPECT_EQ(converted(data, theText), text) << name;
        EXPECT_EQ(converted(data, theBinary, &p.list), binary) << name;
    }
    EXPECT_EQ(takeTexts(), "");
}

TEST(StreamEntries, CommentsNameKinds)
{
    const std::string marked = "{ version 0.8 #kind float a b\n#kind menu m\n#kind string s\n"
                               " a ( 1 ) b ( \"x\" ) m ( \"two words\" ) s ( \"1\" ) c ( 1 ) }";
    ZEL_ParmStream stream;
    ASSERT_TRUE(parseStream(stream, marked));
    EXPECT_FALSE(stream.hasComments());
    using Kind = ZEL_StreamEntry::Kind;
    const Kind kinds[] = {Kind::FLOAT, Kind::WORDS, Kind::ORDINAL, Kind::STRING, Kind::WORDS};
    for (std::size_t i = 0; i < std::size(kinds); ++i) {
        EXPECT_EQ(stream.getEntries()[i].kind, kinds[i]) << "b is no number any more";
    }
    EXPECT_EQ(idsOf(converted(marked, theBinary)), "1 2 14 2 2 14 0 ");
    // A list knows better, and other comments are none of kinds.
    StreamList p;
    EXPECT_EQ(converted("{ version 0.8 #kind string f\n f ( 1 ) }", theMarkedText, &p.list),
              framed("f\t(\t1\t)\n"));
    for (const char *comment :
         {"#kind", "#kind float", "#kind of f", "#kinds float f", "# kind float f"}) {
        ASSERT_TRUE(parseStream(stream, framed(std::string(comment) + "\nf ( 1 )\n")));
        EXPECT_EQ(stream.getComments(), std::vector<std::string>{comment});
        EXPECT_EQ(stream.getEntries()[0].kind, Kind::WORDS) << comment;
    }
    // Many names are several lines; what a name has later stands there.
    std::string many;
    for (int i = 0; i < 100; ++i) {
        many += "parameter" + std::to_string(i) + " ";
    }
    std::string text = "{ version 0.8 #kind float " + many + "\n";
    std::istringstream names(many);
    for (std::string name; names >> name;) {
        text += name + " ( 1 )\n";
    }
    const std::string binary = converted(text + "}", theBinary);
    EXPECT_EQ(converted(converted(binary, theMarkedText), theBinary), binary);
    const std::string twice = framed("#kind string s\ns\t[ 0\tlocks=0 ]\t(\t\"a\"\t)\n"
                                     "#kind words s\ns\t(\t2\t)\n#kind float s\ns\t(\t1\t)\n");
    EXPECT_EQ(idsOf(converted(twice, theBinary)), "1 2 14 2 0 ");
    EXPECT_EQ(converted(converted(twice, theBinary), theMarkedText), twice);
    EXPECT_EQ(takeTexts(), "");
}

TEST(StreamEntries, WhatPeopleWriteKeepsItsWords)
{
    const std::string text = "{ version 0.8 # 1\n#two\n t ( 1.50 [ ty ] .5 ) on ( on )\n"
                             "text [ locks=0x1 zellabel='A b' 0 ] ( a\n  'b c' ) foo ( 'x ) y' )\n";
    StreamList p;
    ZEL_ParmStream stream;
    ASSERT_TRUE(parseStream(stream, text, &p.list));
    EXPECT_TRUE(stream.hasComments());
    EXPECT_FALSE(stream.isWhole());
    EXPECT_EQ(converted(text, theText, &p.list),
              framed("t\t(\t1.5\t[ ty ] \t0.5\t)\n"
                     "on\t[ 0\tlocks=0 ]\t(\t\"on\"\t)\n"
                     "text\t[ locks=0x1 zellabel='A b' 0 ] ( a\n  'b c' )\n"
                     "foo\t( 'x ) y' )\n"));
    EXPECT_EQ(takeTexts(), "");

    // A version that is newer is kept, with a warning; what has no frame is none.
    EXPECT_EQ(converted("{ version 0.9 }", theText), "{\nversion 0.9\n}\n");
    EXPECT_EQ(takeTexts(), "ZEL 13");
    for (const char *broken : {"version 0.8", "{ version", "{ version 0.8 t", "{ version 0.8 t 1 )",
                               "{ version 0.8 t [ 0", "{ version 0.8 t ( 1"}) {
        EXPECT_EQ(converted(broken, theText), "unreadable") << broken;
        EXPECT_EQ(takeTexts().substr(0, 5), "ZEL 9") << broken;
    }
}

TEST(StreamEntries, WhatAFormCannotHoldIsRefused)
{
    const std::string end = listPacket(0, "", "ZEL_String");
    const auto entry = [&](const std::string &token, const std::string &packets) {
        return listPacket(2, bytesOf(token) + packets + end);
    };
    const auto text = [&](const std::string &value) {
        return listPacket(1, bytesOf(value), "ZEL_String");
    };
    const std::string version = listPacket(1, bytesOf(0.8f));
    const std::pair<std::string, const char *> cases[] = {
        {entry("two words", text("a")), "two words"},
        {entry("#c", text("a")), "#c"},
        {entry("}", text("a")), "}"},
        {entry("s", text(std::string(1, '\0'))), "s"},
        {entry("s", listPacket(2, bytesOf("a b") + bytesOf("v"), "ZEL_String")), "s"},
        {entry("s", listPacket(17, "new", "ZEL_String")), "s"},
        {listPacket(2, bytesOf("s") + listPacket(2, "x", "other")), "s"},
        {listPacket(14, bytesOf("s") + bytesOf("(")), "s"},
        {listPacket(9, "abc"), "packet 9"},
        {listPacket(7, "abc", "other"), "packet 7"}};
    for (const auto &[packets, name] : cases) {
        const std::string data = version + packets + entry("k", text("b")) + listPacket(0, "");
        EXPECT_EQ(converted(data, theText), "refused");
        EXPECT_EQ(takeTexts(), std::string("ZEL 29 ") + name);
        const std::string series = converted(data, theBinary);
        EXPECT_EQ(idsOf(series), idsOf(data)) << name;
        EXPECT_EQ(converted(series, theBinary), series) << name;
        EXPECT_EQ(takeTexts(), "");
    }
    EXPECT_EQ(converted(version + listPacket(2, "ab"), theText), "unreadable");
    EXPECT_EQ(takeTexts().substr(0, 8), "Common 9");
    EXPECT_EQ(converted((version + entry("k", text("b"))).substr(0, 40), theText), "unreadable");
    EXPECT_EQ(takeTexts().substr(0, 8), "Common 9");
}

TEST(StreamEntries, TextsInABinaryStreamAreOfferedAndLoaded)
{
    const std::string binary =
        converted(framed("foo\t(\t1\t)\nf\t(\t2\t)\npt2\t(\t1\t2\t3\t)\nf2\t(\t9\t)\n"), theBinary);
    EXPECT_EQ(idsOf(binary), "1 14 14 14 14 0 ");
    LoadOwner owner;
    owner.renamed = {{"f2", "f"}};
    StreamList p(&owner);
    EXPECT_TRUE(p.load(binary, true, "scene"));
    EXPECT_EQ(owner.offered, "foo f2");
    EXPECT_EQ(takeTexts(), "ZEL 5 foo: (scene)");
    EXPECT_EQ(p.evaluate("f"), 9.0);
    EXPECT_EQ(p.evaluate("pt2", 2), 3.0);
}

TEST(StreamEntries, NoDifferenceGoesUnseen)
{
    StreamList p;
    const std::string left = framed("t\t(\t1\t2\t3\t)\non\t(\t1\t)\nfoo\t(\t1\t)\nbar\t(\t1\t)\n");
    const auto differences = [&](const std::string &right) {
        ZEL_ParmStream a, b;
        EXPECT_TRUE(parseStream(a, left, &p.list) && parseStream(b, right, &p.list));
        a.complete(p.list);
        b.complete(p.list);
        std::string all;
        for (const ZEL_StreamDifference &one : ZEL_ParmStream::compare(a, b)) {
            all +=
                one.token + ": " + one.left.value_or("-") + " | " + one.right.value_or("-") + "\n";
        }
        return all;
    };
    EXPECT_EQ(differences(left), "");
    EXPECT_EQ(differences(converted(left, theBinary, &p.list)), "");
    EXPECT_EQ(differences(framed("bar ( 1 )\nfoo\t(\t2\t)\nfoo\t(\t1\t)\non ( on )\n"
                                 "t [ 0 locks=0 ] ( 1 2 3 )\nf ( 0 )\nbar\t(\t1\t)\n")),
              "");
    EXPECT_EQ(differences(framed("t ( [ ty 1 ] 2 3 )\non\t(\t1\t)\nnew ( \"a  b\" )\n"
                                 "bar\t(\t2\t)\n")),
              "t: [ 0 locks=0 ] ( 1 2 3 ) | [ 0 locks=0 ] ( [ ty 1 ] 2 3 )\n"
              "foo: ( 1 ) | -\n"
              "bar: ( 1 ) | ( 2 )\n"
              "new: - | ( \"a  b\" )\n");
    EXPECT_EQ(takeTexts(), "");
}
