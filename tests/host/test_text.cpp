// The text classes: references and holders, strings, buffers, keys, name codes, formatting.

#include <KIT/KIT_Format.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_TokenString.h>
#include <KIT/KIT_VarEncode.h>
#include <KIT/KIT_WorkBuffer.h>
#include <common/Repeated.h>
#include <common/Threads.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <tuple>
#include <unordered_set>
#include <utility>

namespace
{
/// Bytes from 1 to 255, with many of those that quoting and coding treat specially.
std::string randomText(std::mt19937 &random, size_t maxLength)
{
    static const std::string theUsual = "\"\\'\n\r\t\x01\x1f\x7f _xn#a0b7\xff";
    std::string text(random() % (maxLength + 1), ' ');
    for (char &c : text) {
        c = random() % 2 ? theUsual[random() % theUsual.size()]
                         : static_cast<char>(random() % 255 + 1);
    }
    return text;
}

std::string partsOf(const KIT_StringArray &parts)
{
    std::string joined;
    for (const KIT_String &part : parts) {
        joined += "[" + part.toStdString() + "]";
    }
    return joined;
}

template <class Change>
std::string changed(const char *text, Change change)
{
    KIT_String s(text);
    change(s);
    return s.c_str() ? s.toStdString() : "unset";
}

const KIT_StringHolder &emptyBeforeMain = KIT_StringHolder::theEmptyString;
const bool emptyWasReady = !emptyBeforeMain.isNull() && emptyBeforeMain == KIT_StringRef("");
} // namespace

TEST(StringRef, NullIsNotEmpty)
{
    const KIT_StringRef null;
    const KIT_StringRef empty("");
    EXPECT_TRUE(null.isNull() && null.isEmpty());
    EXPECT_TRUE(!empty.isNull() && empty.isEmpty());
    EXPECT_NE(null, empty);
    EXPECT_EQ(null, KIT_StringRef(static_cast<const char *>(nullptr)));
    EXPECT_EQ(null.hash(), 0u);
    EXPECT_NE(empty.hash(), 0u);
    EXPECT_EQ(null.c_str(), nullptr);
    EXPECT_STREQ(null.nonNullStr(), "");
    EXPECT_TRUE(null < empty && empty < KIT_StringRef("a") && !(empty < null) && !(null < null));
    EXPECT_TRUE(null.equals(nullptr) && !null.equals("") && !empty.equals(nullptr));
    EXPECT_TRUE(emptyWasReady);
    EXPECT_TRUE(KIT_StringHolder(null).isNull());
    EXPECT_EQ(KIT_StringHolder(empty), KIT_StringHolder::theEmptyString);
}

TEST(StringRef, ComparesByContent)
{
    const std::string copy = "translate";
    const KIT_StringRef literal("translate");
    const KIT_StringHolder holder(copy);
    EXPECT_NE(literal.c_str(), copy.c_str());
    EXPECT_EQ(literal, KIT_StringRef(copy.c_str()));
    EXPECT_EQ(literal, holder);
    EXPECT_TRUE(literal == "translate");
    EXPECT_TRUE(literal != "translate2" && literal != "translat");
    EXPECT_TRUE(KIT_StringRef("a") < "b" && KIT_StringRef("a") < "ab");
    EXPECT_TRUE(KIT_StringRef("z") < "\xff") << "bytes are unsigned";

    // Bytes after a NUL count when the length says so.
    const KIT_StringRef withNul("a\0b", 3);
    EXPECT_EQ(withNul.length(), 3u);
    EXPECT_NE(withNul, KIT_StringRef("a\0c", 3));
    EXPECT_FALSE(withNul.equals("a"));
}

TEST(StringRef, HashReadsEveryByteAndNoneBehind)
{
    // Each text is allocated to its exact size, so that a sanitizer sees a read past its end. Changing
    // any one byte must change the hash.
    for (size_t length = 1; length <= 70; length++) {
        const std::unique_ptr<char[]> text(new char[length]);
        std::fill_n(text.get(), length, 'q');
        const uint32_t hash = KIThashText(text.get(), length);
        for (size_t i = 0; i < length; i++) {
            text[i] = 'r';
            EXPECT_NE(KIThashText(text.get(), length), hash) << length << " byte " << i;
            text[i] = 'q';
        }
    }
}

TEST(StringRef, HashSpreadsParameterNames)
{
    std::unordered_set<uint32_t> hashes;
    size_t bucketMax = 0;
    std::map<uint32_t, size_t> buckets;
    const char *stems[] = {"parm", "t", "scale", "ramp_position_value_", "folder0"};
    for (const char *stem : stems) {
        for (int i = 0; i < 10000; i++) {
            const std::string name = stem + std::to_string(i) + "x";
            const uint32_t hash = KIT_StringRef(name.c_str()).hash();
            hashes.insert(hash);
            bucketMax = std::max(bucketMax, ++buckets[hash & 0xffff]);
        }
    }
    // 50,000 random 32-bit numbers collide about 0.3 times, and fill the fullest of 65,536 buckets
    // with about 8.
    EXPECT_GE(hashes.size(), 49995u);
    EXPECT_LE(bucketMax, 12u);
}

TEST(StringRef, OwnershipFollowsCopiesAndMoves)
{
    char text[] = "abc";
    KIT_StringRef borrowed(text);
    KIT_StringRef counted(borrowed);
    EXPECT_EQ(counted.c_str(), text);
    EXPECT_EQ(counted.getMemoryUsage(false), 0);
    counted.harden();
    EXPECT_TRUE(counted.isCounted() && !borrowed.isCounted());
    text[0] = 'x';
    EXPECT_STREQ(counted.c_str(), "abc");
    EXPECT_EQ(counted, KIT_StringRef("abc"));

    const KIT_StringHolder shared(counted);
    EXPECT_EQ(shared.c_str(), counted.c_str());
    EXPECT_GE(shared.getMemoryUsage(true), 16 + 4);
    const KIT_StringHolder copied(KIT_StringRef("lit"));
    EXPECT_TRUE(copied.isCounted());

    KIT_StringRef moved(std::move(counted));
    EXPECT_TRUE(counted.isNull() && counted.hash() == 0);
    EXPECT_EQ(moved.c_str(), shared.c_str());
    KIT_StringRef &self = moved;
    moved = self;
    moved = std::move(self);
    EXPECT_STREQ(moved.c_str(), "abc");
    moved.swap(borrowed);
    EXPECT_EQ(moved.c_str(), text);
    borrowed.clear();
    EXPECT_STREQ(shared.c_str(), "abc");
    EXPECT_STREQ(KIT_StringHolder("abcdef", 3).c_str(), "abc");
}

TEST(StringRef, CountSurvivesManyThreads)
{
    KIT_StringHolder shared("shared text");
    std::atomic<int> wrong{0};
    std::vector<KIT_StringHolder> given(4, shared);
    shared.clear();
    onThreads(4, [&given, &wrong](int i) {
        const KIT_StringHolder mine(std::move(given[size_t(i)]));
        KIT_StringHolder held;
        for (int step = 0; step < 5000; step++) {
            KIT_StringHolder copy(mine);
            held = copy;
            wrong += held != KIT_StringRef("shared text");
            held.clear();
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(String, BorrowsUntilChanged)
{
    char text[] = "abc";
    KIT_String s(text);
    EXPECT_FALSE(s.isHard());
    EXPECT_EQ(s.c_str(), text);
    const KIT_String copy(s);
    text[0] = 'X';
    EXPECT_STREQ(copy, "abc");
    EXPECT_STREQ(s, "Xbc");
    s += 'd';
    EXPECT_STREQ(s, "Xbcd");
    EXPECT_STREQ(text, "Xbc");

    KIT_String taken(std::move(s));
    EXPECT_EQ(s.c_str(), nullptr);
    EXPECT_TRUE(s == "" && s == KIT_String("") && s.isEmpty() && !s.isstring());
    s.adopt(taken);
    EXPECT_STREQ(s, "Xbcd");
    s = static_cast<const char *>(nullptr);
    EXPECT_EQ(s.c_str(), nullptr);
    EXPECT_EQ(KIT_StringRef(s).c_str(), nullptr);
}

TEST(String, OwnTextAsArgument)
{
    KIT_String s("0123456789", true);
    s = s.c_str() + 5;
    EXPECT_STREQ(s, "56789");
    for (int i = 0; i < 6; i++) {
        s += s;
    }
    EXPECT_EQ(s.length(), 320u);
    EXPECT_EQ(s.countChar('7'), 64);
    s += s.c_str() + 315;
    EXPECT_TRUE(s.endsWith("5678956789"));
    const KIT_String &self = s;
    s = self;
    EXPECT_EQ(s.length(), 325u);
    EXPECT_EQ(s.substitute("5", s.c_str()), 65);
    EXPECT_EQ(s.length(), 65u * 325 + 65 * 4);
    s.harden("a\0b", 3);
    EXPECT_EQ(s.length(), 1u);
}

TEST(String, NumberTests)
{
    const struct
    {
        const char *text;
        bool strict, blanks, loose, underscore, integer;
    } cases[] = {
        {nullptr, false, false, false, false, false}, {"", false, false, false, false, false},
        {"1", true, true, true, true, true},          {"-1.5e3", true, true, true, true, false},
        {" 1", false, true, false, false, false},     {"1 ", false, true, true, false, false},
        {"1 2", false, false, true, false, false},    {"1cm", false, false, true, false, false},
        {"1_000", false, false, true, true, false},   {"1_", false, false, true, false, false},
        {"_1", false, false, false, false, false},    {"1__0", false, false, true, false, false},
        {"tx", false, false, false, false, false},    {"0x1", false, false, true, false, false},
        {"inf", true, true, true, true, false},       {"+5", true, true, true, true, true},
    };
    for (const auto &c : cases) {
        const KIT_String s(c.text);
        const char *const name = c.text ? c.text : "null";
        EXPECT_EQ(s.isFloat(false, false, false), c.strict) << name;
        EXPECT_EQ(s.isFloat(true, false, false), c.blanks) << name;
        EXPECT_EQ(s.isFloat(false, true, false), c.loose) << name;
        EXPECT_EQ(s.isFloat(false, false, true), c.underscore) << name;
        EXPECT_EQ(s.isInteger(0), c.integer) << name;
    }
    EXPECT_TRUE(KIT_String(" 7\n").isInteger(KIT_INTEGER_SKIP_BLANKS));
    KIT_String s;
    s.itoa(INT64_MIN);
    EXPECT_STREQ(s, "-9223372036854775808");
    EXPECT_EQ(s.toInteger(), INT64_MIN);
    EXPECT_EQ(s.toFloat(), -9223372036854775808.0);
}

TEST(String, Replacing)
{
    const struct
    {
        const char *text, *from, *to, *all, *word;
        int allCount, wordCount;
    } cases[] = {
        {"aaa", "a", "aa", "aaaaaa", "aaa", 3, 0},
        {"aaa", "aa", "b", "ba", "aaa", 1, 0},
        {"tx + tx2 * tx", "tx", "ty", "ty + ty2 * ty", "ty + tx2 * ty", 3, 2},
        {"/obj/a/b", "/obj/a", "/x", "/x/b", "/x/b", 1, 1},
        {"/obj/ab", "/obj/a", "/x", "/xb", "/obj/ab", 1, 0},
        {"abc", "", "x", "abc", "abc", 0, 0},
        {"abc", "c", nullptr, "ab", "abc", 1, 0},
        {nullptr, "a", "b", "unset", "unset", 0, 0},
        {"a_b b", "b", "c", "a_c c", "a_b c", 2, 1},
    };
    for (const auto &c : cases) {
        int count = -1;
        EXPECT_EQ(changed(c.text, [&](KIT_String &s) { count = s.substitute(c.from, c.to); }),
                  c.all);
        EXPECT_EQ(count, c.allCount) << c.all;
        EXPECT_EQ(
            changed(c.text, [&](KIT_String &s) { count = s.changeString(c.from, c.to, true); }),
            c.word);
        EXPECT_EQ(count, c.wordCount) << c.word;
    }
    EXPECT_EQ(changed("a.a.a", [](KIT_String &s) { s.substitute("a", "b", false); }), "b.a.a");
}

TEST(String, ReplacingInsideQuotes)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"a `a` a", "a `X` a", "X `a` X"},
        {"`a + ab` a `a", "`X + ab` a `X", "`a + ab` X `a"},
        {"\\`a` a", "\\`a` X", "\\`X` a"},
        {"`a\\` a` a", "`X\\` X` a", "`a\\` a` X"},
    };
    for (const auto &[text, inside, outside] : cases) {
        const auto replaced = [&text = text](auto where) {
            return changed(text, [&](KIT_String &s) { s.changeQuotedWord("a", "X", '`', where); });
        };
        EXPECT_EQ(replaced(KIT_INSIDE_QUOTES), inside);
        EXPECT_EQ(replaced(KIT_OUTSIDE_QUOTES), outside);
    }
}

TEST(String, Finding)
{
    const KIT_String s("ch(\"../box1/tx\") + offset");
    EXPECT_TRUE(s.findString("box", false, false));
    EXPECT_FALSE(s.findString("box", true, false));
    EXPECT_TRUE(s.findString("box1", true, false));
    EXPECT_TRUE(s.findString("box?", true, true));
    EXPECT_FALSE(s.findString("box?", false, true));
    EXPECT_TRUE(s.findString("*box*", false, true));
    EXPECT_FALSE(s.findString("", false, false));
    EXPECT_FALSE(s.findString(nullptr, true, true));
    EXPECT_TRUE(KIT_String("ab b").findString("b", true, false));
    EXPECT_STREQ(s.findChar('"'), "\"../box1/tx\") + offset");
    EXPECT_EQ(s.findChar('\0'), nullptr);
    EXPECT_TRUE(s.hasWhiteSpace() && !KIT_String("a").hasWhiteSpace());
    EXPECT_EQ(s.lastChar(), 't');
    EXPECT_EQ(KIT_String().lastChar(), '\0');
    EXPECT_EQ(s[0], 'c');
    EXPECT_EQ(s[-1], '\0');
    EXPECT_EQ(s[1000L], '\0');
    EXPECT_EQ(KIT_String("Abc").compare("aBC", true), 0);
    EXPECT_LT(KIT_String("ab").compare("ABC", true), 0);
    EXPECT_GT(KIT_String("a").compare("B"), 0);
}

TEST(String, Patterns)
{
    const std::tuple<const char *, const char *, bool> cases[] = {
        {"", "", true},          {"", "*", true},        {"a", "", false},
        {"abc", "a*c", true},    {"abc", "a?c", true},   {"abc", "a*d", false},
        {"abcbc", "a*bc", true}, {"t5", "t[0-9]", true}, {"tx", "t[0-9]", false},
        {"tx", "t[!0-9]", true}, {"tx", "t[^x]", false}, {"t]", "t[]]", true},
        {"t-", "t[a-]", true},   {"t[x", "t[x", true},   {"t*", "t\\*", true},
        {"tx", "t\\*", false},   {"t\\", "t\\", true},   {"\xe9", "[\xe0-\xef]", true},
        {"abc", "***", true},    {"abc", "a*b", false},  {"ab", "a[", false},
    };
    for (const auto &[text, pattern, matchFlag] : cases) {
        EXPECT_EQ(KIT_String(text).match(pattern), matchFlag) << text << " " << pattern;
    }
    EXPECT_TRUE(KIT_String().match(nullptr));
    // Exponential back-tracking would never return from this.
    const std::string stars = repeated("*a", 100) + "b";
    EXPECT_FALSE(KIT_String(std::string(2000, 'a')).match(stars.c_str()));
}

TEST(String, SpaceAndSplitting)
{
    EXPECT_EQ(changed(" \ta b\r\n", [](KIT_String &s) { s.removeTrailingSpace(); }), " \ta b");
    EXPECT_EQ(changed(" \ta b\r\n", [](KIT_String &s) { s.removeLeadingSpace(); }), "a b\r\n");
    EXPECT_EQ(changed("  ", [](KIT_String &s) { s.trim(); }), "");
    EXPECT_EQ(changed(nullptr, [](KIT_String &s) { s.trim(); }), "unset");
    EXPECT_EQ(changed("a-b c\xff", [](KIT_String &s) { s.forceAlphaNumeric(); }), "a_b_c_");

    KIT_StringArray parts;
    EXPECT_EQ(KIT_String("  a bb\t\tc ").tokenize(parts, " \t"), 3);
    EXPECT_EQ(KIT_String().tokenize(parts, " "), 0);
    EXPECT_EQ(KIT_String("d e").tokenize(parts, nullptr), 1);
    EXPECT_EQ(partsOf(parts), "[a][bb][c][d e]");
    parts.sort(false);
    EXPECT_EQ(partsOf(parts), "[d e][c][bb][a]");
    EXPECT_EQ(parts.find("bb"), 2);
    EXPECT_EQ(parts.find("bb", 3), -1);
    KIT_String joined;
    parts.join(", ", joined);
    EXPECT_STREQ(joined, "d e, c, bb, a");
}

TEST(String, QuotedForms)
{
    const struct
    {
        const char *text;
        char quote;
        const char *literal;
    } cases[] = {
        {"plain", '\'', "'plain'"},     {"", '"', "\"\""},
        {nullptr, '\'', "''"},          {"a \"b\"", '"', "\"a \\\"b\\\"\""},
        {"a \"b\"", '\'', "'a \"b\"'"}, {"it's", '\'', "'it\\'s'"},
        {"'it'", '\'', "'\\'it\\''"},   {"c:\\new\n", '\'', "'c:\\\\new\\n'"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(changed(c.text, [&](KIT_String &s) { s.makeSmartQuotedString(c.quote); }),
                  c.literal);
    }
    std::ostringstream os;
    os << KIT_String("q\" b\\ \n\r\t\x01\x7f\xc3\xa9");
    EXPECT_EQ(os.str(), "\"q\\\" b\\\\ \\n\\r\\t\\001\\177\xc3\xa9\"");
}

TEST(String, ControlSequences)
{
    const std::tuple<const char *, const char *, int> cases[] = {
        {"a\\nb\\tc", "a\nb\tc", 2},
        {"\\\\n", "\\n", 1},
        {"\\\"\\'\\`", "\"'`", 3},
        {"\\101\\0011", "A\0011", 2},
        {"\\000\\400\\18", "\\000\\400\\18", 0},
        {"\\q\\", "\\q\\", 0},
        {"\\q\\n", "\\q\n", 1},
        {"", "", 0},
    };
    for (const auto &[given, expanded, count] : cases) {
        KIT_String s(given);
        EXPECT_EQ(s.expandControlSequences(0), count) << given;
        EXPECT_STREQ(s, expanded);
        EXPECT_EQ(s.length(), std::strlen(expanded));
    }
}

TEST(String, SavedTextReadsBackToTheSameBytes)
{
    std::mt19937 random(3);
    for (int i = 0; i < 3000; i++) {
        const std::string text = randomText(random, 60);
        const KIT_String s(text);
        for (const bool binary : {false, true}) {
            std::ostringstream os;
            s.save(os, binary);
            os << " next";
            const std::string data = os.str();
            KIT_IStream is(data.data(), data.size(),
                           binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
            KIT_String again;
            ASSERT_TRUE(is.readString(again)) << data;
            ASSERT_EQ(again.toStdString(), text) << data;
            KIT_WorkBuffer next;
            ASSERT_TRUE(is.getWord(next));
            ASSERT_EQ(next.view(), "next");
            if (!binary) {
                const size_t quotedSize = data.size() - 5;
                KIT_String inside(data.substr(1, quotedSize - 2));
                inside.expandControlSequences();
                ASSERT_EQ(inside.toStdString(), text) << data;
            }
        }
        std::ostringstream os;
        KIT_StringHolder(text).saveBinary(os);
        const std::string data = os.str();
        KIT_IStream is(data.data(), data.size(), KIT_IStream::BINARY);
        KIT_WorkBuffer again;
        ASSERT_TRUE(is.readWorkBuffer(again, true));
        ASSERT_EQ(again.view(), text);
    }
}

TEST(WorkBuffer, GrowsBeyondItsInlinePart)
{
    KIT_WorkBuffer buffer;
    std::string expected;
    for (int i = 0; i < 3000; i++) {
        buffer.append(static_cast<char>('a' + i % 26));
        expected += static_cast<char>('a' + i % 26);
        ASSERT_EQ(buffer.buffer()[buffer.length()], '\0');
    }
    EXPECT_EQ(buffer.view(), expected);
    for (const size_t size : {size_t{1998}, size_t{1999}, size_t{2000}, size_t{2001}}) {
        KIT_WorkBuffer exact;
        exact.append(expected.data(), size);
        EXPECT_EQ(exact.view(), expected.substr(0, size));
        const KIT_WorkBuffer copy(exact);
        EXPECT_EQ(copy.view(), exact.view());
    }
    buffer.truncate(5);
    buffer.truncate(900);
    EXPECT_EQ(buffer.view(), "abcde");
    EXPECT_EQ(buffer[4], 'e');
    EXPECT_EQ(buffer[5], '\0');
}

TEST(WorkBuffer, OwnTextAsArgument)
{
    KIT_WorkBuffer buffer;
    buffer.appendRepeated('x', 1500);
    buffer.append(buffer.buffer());
    EXPECT_EQ(buffer.view(), std::string(3000, 'x'));
    buffer.strcpy("abc");
    buffer.sprintf("<%s%s>", buffer.buffer(), buffer.buffer() + 1);
    EXPECT_EQ(buffer.view(), "<abcbc>");
    buffer.appendSprintf("%s", buffer.buffer());
    EXPECT_EQ(buffer.view(), "<abcbc><abcbc>");
    buffer.strcpy(buffer.buffer() + 7);
    EXPECT_EQ(buffer.view(), "<abcbc>");
}

TEST(WorkBuffer, Composing)
{
    KIT_WorkBuffer buffer;
    buffer.append(static_cast<const char *>(nullptr));
    buffer.append(KIT_String());
    buffer.append(KIT_StringRef());
    buffer.appendRepeated('x', -5);
    EXPECT_TRUE(buffer.isEmpty());
    buffer.appendNumber(0.5);
    buffer.append(' ');
    buffer.appendNumber(INT64_MIN);
    buffer.append(' ');
    buffer.appendQuoted("a\"b");
    EXPECT_EQ(buffer.view(), "0.5 -9223372036854775808 \"a\\\"b\"");
    EXPECT_EQ(buffer.sprintf("%*d", 5000, 7), 5000);
    EXPECT_EQ(buffer.length(), 5000u);
    EXPECT_EQ(buffer.lastChar(), '7');
    buffer.strcpy(" \ta b \n");
    buffer.removeLeadingSpace();
    buffer.removeTrailingSpace();
    KIT_String out;
    buffer.copyIntoString(out);
    buffer.clear();
    EXPECT_STREQ(out, "a b");
}

TEST(TokenString, DifferentSequencesDiffer)
{
    const auto key = [](auto... values) {
        KIT_TokenString made;
        (made.append(values), ...);
        return made;
    };
    const char *const none = nullptr;
    const KIT_TokenString keys[] = {
        key(),
        key(""),
        key("", ""),
        key(none),
        key("ab"),
        key("a", "b"),
        key("b", "a"),
        key('a', 'b'),
        key('a'),
        key(uint8_t{'a'}),
        key(uint16_t{'a'}),
        key(97),
        key(int64_t{97}),
        key(97.0),
        key(0.0),
        key(-0.0),
        key(1, 2),
        key(1, 2, 0),
    };
    for (const KIT_TokenString &a : keys) {
        for (const KIT_TokenString &b : keys) {
            EXPECT_EQ(a == b, &a == &b) << &a - keys << " " << &b - keys;
        }
    }
    EXPECT_EQ(key("x", 1, 2.5), key("x", 1, 2.5));
    KIT_TokenString narrow;
    narrow.append(97, false);
    KIT_TokenString wide;
    wide.append(97, true);
    EXPECT_EQ(narrow, key(97));
    EXPECT_EQ(wide, key(int64_t{97}));
    EXPECT_EQ(key("x", 1, 2.5).hash(), key("x", 1, 2.5).hash());
}

TEST(TokenString, CopiesAndMovesKeepLongKeys)
{
    for (const int count : {3, 40}) {
        KIT_TokenString made;
        for (int i = 0; i < count; i++) {
            made.append(i);
        }
        const std::string bytes(made.view());
        KIT_TokenString copy(made);
        KIT_TokenString moved(std::move(made));
        EXPECT_TRUE(made.isEmpty());
        EXPECT_EQ(moved.view(), bytes);
        made = copy;
        copy = std::move(moved);
        EXPECT_EQ(copy.view(), bytes);
        EXPECT_EQ(made, copy);
        made.append("more");
        EXPECT_NE(made, copy);
    }
}

TEST(VarEncode, Codes)
{
    const std::pair<const char *, const char *> cases[] = {
        {"", ""},
        {"tx", "tx"},
        {"ramp#pos_1", "ramp#pos_1"},
        {"9a", "9a"},
        {"a:b", "xn__a_3ab"},
        {"a_b:#", "xn__a__b_3a#"},
        {"xn__", "xn__xn____"},
        {"xn_", "xn_"},
        {"\xff", "xn___ff"},
    };
    for (const auto &[text, code] : cases) {
        EXPECT_EQ(changed(text, [](KIT_String &s) { KIT_VarEncode::encodeParm(s); }), code);
        EXPECT_EQ(changed(code, [](KIT_String &s) { KIT_VarEncode::decodeParm(s); }), text);
    }
    for (const char *text : {"xn__abc", "xn__a_3", "xn__a_3A", "xn__a_00", "xn___",
                             "xn__a_5fb:", "a_3ab", "xn__a_41:"}) {
        EXPECT_EQ(changed(text, [](KIT_String &s) { KIT_VarEncode::decodeParm(s); }), text);
    }
    EXPECT_EQ(changed(nullptr, [](KIT_String &s) { KIT_VarEncode::encodeParm(s); }), "unset");
}

TEST(VarEncode, EveryTextComesBackFromAValidName)
{
    std::mt19937 random(11);
    for (int i = 0; i < 20000; i++) {
        std::string text = randomText(random, 24);
        if (i % 3 == 0) {
            text = "xn__" + text;
        }
        KIT_WorkBuffer code;
        KIT_VarEncode::encodeParm(text.c_str(), code);
        for (const char c : code.view()) {
            ASSERT_TRUE(isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '#') << text;
        }
        KIT_WorkBuffer again;
        KIT_VarEncode::decodeParm(code.buffer(), again);
        ASSERT_EQ(again.view(), text) << code.buffer();
    }
}

TEST(Format, PlaceholdersAndLimits)
{
    char buffer[64];
    EXPECT_EQ(
        KITformat(buffer, sizeof(buffer), "[{0}, {1}, {2}]", "tok", KIT_StringRef("Label"), 3),
        15u);
    EXPECT_STREQ(buffer, "[tok, Label, 3]");
    KITformat(buffer, sizeof(buffer), "{1}{0}{{}} {2} {3:.2f}", 'a', true, uint64_t{~0ULL}, 2.5);
    EXPECT_STREQ(buffer, "truea{} 18446744073709551615 2.50");

    EXPECT_EQ(KITformat(buffer, 4, "{}", "abcdef"), 6u);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(KITformat(buffer, 1, "{}", 5), 1u);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(KITformat(nullptr, 0, "{}", 12345), 5u);
    EXPECT_EQ(KITformat(buffer, sizeof(buffer), "{}{}", KIT_StringRef(), KIT_String()), 0u);

    for (const char *bad : {"ab{", "ab}", "ab{1}", "{:d}", "{:.x}", "{9999999999999}"}) {
        std::strcpy(buffer, "old");
        EXPECT_EQ(KITformat(buffer, sizeof(buffer), bad, "text"), 0u) << bad;
        EXPECT_STREQ(buffer, "") << bad;
    }
    KIT_WorkBuffer out("kept ");
    KITformatAppend(out, "{", 1);
    KITformatAppend(out, "{0} {0}", KIT_StringHolder("x"));
    EXPECT_EQ(out.view(), "kept x x");
}
