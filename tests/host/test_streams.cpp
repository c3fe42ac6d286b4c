// Input streams over memory, binary output, and packets.

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <limits>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using Read = std::function<bool(KIT_IStream &, KIT_WorkBuffer &)>;

/// Calls the read until it fails; returns what it read as "[a][b]".
std::string readAll(const std::string &text, const Read &read)
{
    KIT_IStream stream(text.data(), text.size(), KIT_IStream::TEXT);
    KIT_WorkBuffer word;
    std::string all;
    while (read(stream, word)) {
        all += "[" + std::string(word.buffer(), size_t(word.length())) + "]";
    }
    return all;
}

template <class T>
std::string readNumber(const char *text)
{
    const std::string data = text;
    KIT_IStream stream(data.data(), data.size(), KIT_IStream::TEXT);
    T value = T(77);
    const bool ok = stream.aread(value);
    KIT_WorkBuffer rest;
    stream.getWord(rest);
    std::ostringstream out;
    out << (ok ? "ok " : "failed ") << value << " then " << rest.buffer();
    return out.str();
}

/// A stream buffer that takes a number of bytes and then fails, and can seek only if asked to.
class LimitedBuffer : public std::stringbuf
{
public:
    LimitedBuffer(std::streamsize limit, bool seekable)
        : std::stringbuf(std::ios::out), myLeft(limit), mySeekable(seekable)
    {}

protected:
    std::streamsize xsputn(const char *bytes, std::streamsize count) override
    {
        if (count > myLeft) {
            return 0;
        }
        myLeft -= count;
        return std::stringbuf::xsputn(bytes, count);
    }
    pos_type seekoff(off_type offset, std::ios::seekdir way, std::ios::openmode mode) override
    {
        return mySeekable ? std::stringbuf::seekoff(offset, way, mode) : pos_type(off_type(-1));
    }

private:
    std::streamsize myLeft;
    bool mySeekable;
};

/// Two packets; the first holds a word, a packet of its own, and another word.
bool writeSample(std::ostream &stream)
{
    KIT_Packet outer;
    KIT_Packet inner;
    bool ok = outer.beginWrite(stream, 40000, 2);
    KITwrite(stream, "name");
    ok = inner.beginWrite(stream, 5, -1) && ok;
    KITwrite(stream, 1.5);
    ok = inner.endWrite() && ok;
    KITwrite(stream, int32_t(-7));
    ok = outer.endWrite() && ok;
    ok = outer.beginWrite(stream, 40000, 0) && ok;
    return outer.endWrite() && ok;
}

std::string sampleBytes()
{
    std::ostringstream out;
    writeSample(out);
    return out.str();
}

/// Reads what writeSample() wrote as text.
std::string readSample(KIT_IStream &stream)
{
    std::string text;
    int classId = 0;
    int packetId = 0;
    KIT_Packet packet;
    while (packet.beginRead(stream, classId, packetId)) {
        text += std::to_string(classId) + "/" + std::to_string(packetId) + "(";
        KIT_WorkBuffer name;
        if (packetId == 2 && stream.readWorkBuffer(name, true)) {
            text += name.buffer();
            KIT_Packet inner;
            if (inner.beginRead(stream, classId, packetId)) {
                double number = 0.0;
                text += " " + std::to_string(classId) + "/" + std::to_string(packetId);
                text += stream.bread(number) && number == 1.5 ? " 1.5" : " ?";
                text += stream.bread(number) ? " too far" : "";
                inner.endRead();
            }
            int32_t word = 0;
            text += stream.bread(word) ? " " + std::to_string(word) : " ?";
        }
        packet.endRead();
        text += ")";
    }
    return text;
}

const char *const theSampleText = "40000/2(name 5/-1 1.5 -7)40000/0()";

} // namespace

TEST(Streams, Words)
{
    const auto word = [](KIT_IStream &s, KIT_WorkBuffer &w) { return s.getWord(w); };
    const auto plain = [](KIT_IStream &s, KIT_WorkBuffer &w) {
        return s.getNonCommentWord(w, '#');
    };
    const auto string = [](KIT_IStream &s, KIT_WorkBuffer &w) { return s.getString(w); };
    const auto line = [](KIT_IStream &s, KIT_WorkBuffer &w) { return s.getLine(w); };
    const auto plainLine = [](KIT_IStream &s, KIT_WorkBuffer &w) {
        return s.getNonCommentLine(w, '#');
    };
    const std::tuple<Read, const char *, const char *> cases[] = {
        {word, "", ""},
        {word, " \t\n\v\f\r", ""},
        {word, " tx\t(\n 1.5\v'a b'\f\"c\"\r)", "[tx][(][1.5]['a][b'][\"c\"][)]"},
        {plain, "# all\n a#1 #b c\n#d", "[a#1]"},
        {plain, "a #x\nb", "[a][b]"},
        {plain, "#", ""},
        {string, "a 'b c' \"d\te\" x\"y z\" ''", "[a][b c][d\te][x\"y][z\"][]"},
        {string, R"("a\"b\\c\n\r\t\101\7z\1018" 'it\'s "so"' "\q")",
         "[a\"b\\c\n\r\tA\7zA8][it's \"so\"][q]"},
        {string, "'a''b'c", "[a][b][c]"},
        {string, "a 'no end", "[a]"},
        {string, "a \"no end\\", "[a]"},
        {line, "a b\r\n\nc\rd\n e", "[a b][][c\rd][ e]"},
        {line, "\r\n\r", "[][\r]"},
        {plainLine, "# x\na\n  # y\n\nb # z\n#", "[a][][b # z]"},
    };
    for (const auto &[read, text, expected] : cases) {
        EXPECT_EQ(readAll(text, read), expected) << text;
    }
}

TEST(Streams, NumbersSwallowTheirWord)
{
    EXPECT_EQ(readNumber<double>(" 2.0a next"), "ok 2 then next");
    EXPECT_EQ(readNumber<double>("-1e3,x next"), "ok -1000 then next");
    EXPECT_EQ(readNumber<double>("+.5 next"), "ok 0.5 then next");
    EXPECT_EQ(readNumber<double>("1e999 next"), "ok inf then next");
    EXPECT_EQ(readNumber<double>("a2.0 next"), "failed 77 then next");
    EXPECT_EQ(readNumber<double>(""), "failed 77 then ");
    EXPECT_EQ(readNumber<int32_t>("12.7 next"), "ok 12 then next");
    EXPECT_EQ(readNumber<int32_t>("+12) next"), "ok 12 then next");
    EXPECT_EQ(readNumber<int32_t>("3000000000 next"), "ok 2147483647 then next");
    EXPECT_EQ(readNumber<int32_t>("-99999999999999999999 next"), "ok -2147483648 then next");
    EXPECT_EQ(readNumber<uint32_t>("4294967295 next"), "ok 4294967295 then next");
    EXPECT_EQ(readNumber<uint32_t>("99999999999999999999 next"), "ok 4294967295 then next");
    EXPECT_EQ(readNumber<uint32_t>("-3 next"), "ok 0 then next");
    EXPECT_EQ(readNumber<uint32_t>("+-3 next"), "failed 77 then next");
    EXPECT_EQ(readNumber<int32_t>("( next"), "failed 77 then next");
}

TEST(Streams, TokensAreConsumedOnlyOnMatch)
{
    const std::string text = "  {version 0.8 ]]versions_x";
    KIT_IStream stream(text.data(), text.size(), KIT_IStream::TEXT);
    EXPECT_FALSE(stream.checkToken("version"));
    EXPECT_EQ(stream.tellg(), 0);
    EXPECT_TRUE(stream.checkToken("{"));
    EXPECT_FALSE(stream.checkToken("ver")) << "half a word is no match";
    EXPECT_TRUE(stream.checkToken("version"));
    double version = 0.0;
    EXPECT_TRUE(stream.aread(version));
    EXPECT_EQ(version, 0.8);
    EXPECT_TRUE(stream.checkToken("]"));
    EXPECT_TRUE(stream.checkToken("]"));
    EXPECT_FALSE(stream.checkToken("versions"));
    EXPECT_FALSE(stream.checkToken("versions_x_and_more"));
    EXPECT_FALSE(stream.checkToken(""));
    EXPECT_TRUE(stream.checkToken("versions_x"));
    EXPECT_TRUE(stream.eof());
    EXPECT_FALSE(stream.checkToken("x"));
}

TEST(Streams, AQuotedWordCanBeReadAgainFromItsMiddle)
{
    const std::string text = "x zellabel=\"my label\"\tnext";
    KIT_IStream stream(text.data(), text.size(), KIT_IStream::TEXT);
    KIT_WorkBuffer word;
    stream.getString(word);
    EXPECT_TRUE(stream.getString(word));
    EXPECT_STREQ(word.buffer(), "zellabel=\"my");
    EXPECT_TRUE(stream.seekg(stream.tellg() - 3));
    KIT_String label;
    EXPECT_TRUE(stream.readString(label));
    EXPECT_STREQ(label.nonNullStr(), "my label");
    EXPECT_TRUE(stream.checkToken("next"));
}

TEST(Streams, PositionsStayInsideTheLimit)
{
    const std::string text = "one two three\nfour";
    KIT_IStream stream(text.data(), text.size(), KIT_IStream::TEXT, true, "name");
    KIT_WorkBuffer word;
    EXPECT_STREQ(stream.getName(), "name");
    EXPECT_FALSE(stream.seekg(-1));
    EXPECT_FALSE(stream.seekg(19));
    EXPECT_TRUE(stream.seekg(4));
    stream.pushLimit(9);
    stream.pushLimit(100); // cannot widen
    EXPECT_EQ(stream.remaining(), 5);
    EXPECT_FALSE(stream.seekg(10));
    EXPECT_TRUE(stream.getWord(word));
    EXPECT_TRUE(stream.getWord(word));
    EXPECT_STREQ(word.buffer(), "t");
    EXPECT_FALSE(stream.getWord(word));
    EXPECT_EQ(stream.peek(), -1);
    EXPECT_EQ(stream.get(), -1);
    stream.popLimit();
    EXPECT_TRUE(stream.eof());
    stream.popLimit();
    stream.popLimit(); // one too many
    EXPECT_EQ(stream.get(), 'h');
    EXPECT_EQ(stream.getLineNumber(), 1);
    EXPECT_EQ(stream.getLineNumber(14), 2);
}

TEST(Streams, NumbersAndLengthsOfTextsAreLittleEndian)
{
    std::ostringstream out;
    KITwrite(out, int16_t(-2));
    KITwrite(out, uint32_t(0x01020304));
    KITwrite(out, 1.0f);
    KITwrite(out, "tx");
    KITwrite(out, static_cast<const char *>(nullptr));
    EXPECT_EQ(out.str(), std::string("\xfe\xff\4\3\2\1\0\0\x80\x3f\2\0\0\0tx\0\0\0\0", 20));
}

TEST(Streams, FailedBinaryReadsStoreNothing)
{
    std::ostringstream out;
    KITwrite(out, int64_t(std::numeric_limits<int64_t>::min()));
    KITwrite(out, 2.5);
    KITwrite(out, uint16_t(65535));
    KITwrite(out, int32_t(7));
    KITwrite(out, uint64_t(9));
    const std::string data = out.str();
    KIT_IStream stream(data.data(), data.size(), KIT_IStream::BINARY);
    int64_t a = 0;
    double b = 0.0;
    uint16_t c = 0;
    int32_t d[2] = {1, 2};
    EXPECT_TRUE(stream.read(a) && stream.read(b) && stream.bread(c));
    EXPECT_EQ(a, std::numeric_limits<int64_t>::min());
    EXPECT_EQ(b, 2.5);
    EXPECT_EQ(c, 65535);
    EXPECT_TRUE(stream.bread(d, 1));
    EXPECT_EQ(d[0], 7);
    EXPECT_FALSE(stream.bread(&a, 2));
    EXPECT_EQ(a, std::numeric_limits<int64_t>::min());
    EXPECT_FALSE(stream.bread(c)) << "what follows a failed read fails too";
    EXPECT_FALSE(stream.bread(d, std::numeric_limits<size_t>::max()));
    EXPECT_EQ(d[1], 2);
    EXPECT_TRUE(stream.bread(d, 0));
}

TEST(Streams, ALengthBeyondTheDataFails)
{
    for (const uint32_t length : {4u, 0x7fffffffu, 0xffffffffu}) {
        std::ostringstream out;
        KITwrite(out, length);
        out << "abc";
        const std::string data = out.str();
        KIT_IStream stream(data.data(), data.size(), KIT_IStream::BINARY);
        KIT_WorkBuffer text;
        EXPECT_FALSE(stream.readWorkBuffer(text, true));
        EXPECT_EQ(text.length(), 0u);
        EXPECT_TRUE(stream.eof());
    }
}

TEST(Streams, FilesAndStreamsAreReadWhole)
{
    const std::string data = std::string(40000, 'x') + " \0 end" + std::string(1, '\0');
    std::istringstream input("skipped " + data);
    std::string first;
    input >> first;
    KIT_IStream stream(input, KIT_IStream::TEXT);
    EXPECT_TRUE(stream.isReadable());
    EXPECT_EQ(stream.remaining(), int64_t(data.size()) + 1);

    const std::string path = testing::TempDir() + "zel_test_streams.bin";
    std::ofstream(path, std::ios::binary) << data;
    KIT_IFStream file(path.c_str());
    EXPECT_TRUE(file.isReadable());
    EXPECT_EQ(file.getName(), path);
    EXPECT_EQ(file.remaining(), int64_t(data.size()));
    std::remove(path.c_str());

    const std::string folder = testing::TempDir();
    for (const char *bad : {path.c_str(), folder.c_str(), "", static_cast<const char *>(nullptr)}) {
        KIT_IFStream none(bad);
        KIT_WorkBuffer word;
        EXPECT_FALSE(none.isReadable());
        EXPECT_TRUE(none.eof());
        EXPECT_FALSE(none.getString(word));
        EXPECT_FALSE(none.getLine(word));
        EXPECT_EQ(none.getLineNumber(), 1);
    }
}

TEST(Streams, EndReadLandsBehindThePacket)
{
    const std::string data = sampleBytes();
    KIT_IStream stream(data.data(), data.size(), KIT_IStream::BINARY);
    int classId = 0;
    int packetId = 0;
    {
        KIT_Packet packet;
        ASSERT_TRUE(packet.beginRead(stream, classId, packetId));
        EXPECT_FALSE(stream.seekg(int64_t(data.size()))) << "the limit is the packet's end";
        stream.seekg(8 + 8);
        KIT_Packet inner;
        ASSERT_TRUE(inner.beginRead(stream, classId, packetId));
        packet.endRead(); // before the packet inside it
        EXPECT_EQ(stream.remaining(), 8);
        ASSERT_TRUE(packet.beginRead(stream, classId, packetId));
        EXPECT_EQ(packetId, 0);
        stream.seekg(0); // back and not forth, and left open
    }
    EXPECT_TRUE(stream.eof());
    EXPECT_EQ(stream.getLimitDepth(), 0u);
}

TEST(Streams, PacketsNestAndCutOnesAreReported)
{
    const std::string data = sampleBytes();
    for (size_t length = 0; length <= data.size(); ++length) {
        KIT_ErrorManager::Scope errors(BASgetSTID());
        const std::string cut = data.substr(0, length); // its own storage, for memory checkers
        KIT_IStream stream(cut.data(), cut.size(), KIT_IStream::BINARY, true);
        EXPECT_EQ(readSample(stream) == theSampleText, length == data.size());
        const bool whole = length == 0 || length == data.size() - 8 || length == data.size();
        EXPECT_EQ(KITgetErrorSeverity(), whole ? KIT_ERROR_NONE : KIT_ERROR_ABORT) << length;
        EXPECT_EQ(errors.getManager().entries(), whole ? 0 : 1) << length;
        EXPECT_TRUE(stream.eof());
        EXPECT_EQ(stream.getLimitDepth(), 0u);
    }
}

TEST(Streams, DamagedLengthsAreRefused)
{
    const size_t outerLength = 4;
    const size_t innerLength = 8 + 8 + 4;
    const std::tuple<size_t, unsigned char, const char *> cases[] = {
        {outerLength, 0xff, ""},
        {outerLength, 0x7f, ""},
        {innerLength, 0xff, "40000/2(name ?)40000/0()"},
        {innerLength, 0x01, "40000/2(name ?)40000/0()"},
    };
    for (const auto &[at, high, expected] : cases) {
        KIT_ErrorManager::Scope errors(BASgetSTID());
        std::string data = sampleBytes();
        data[at + 3] = static_cast<char>(high);
        KIT_IStream stream(data.data(), data.size(), KIT_IStream::BINARY);
        EXPECT_EQ(readSample(stream), expected);
        ASSERT_EQ(errors.getManager().entries(), 1);
        EXPECT_EQ(errors.getManager().getError(0).code, KIT_COMMON_CUT_PACKET);
    }
}

TEST(Streams, FailedWritesAreTold)
{
    for (std::streamsize limit = 0;; ++limit) {
        KIT_ErrorManager::Scope errors(BASgetSTID());
        LimitedBuffer buffer(limit, true);
        std::ostream stream(&buffer);
        const bool written = writeSample(stream);
        EXPECT_EQ(KITcheckOutStream(stream, "Sample Save", nullptr), written) << limit;
        EXPECT_EQ(KITgetErrorSeverity(), written ? KIT_ERROR_NONE : KIT_ERROR_ABORT) << limit;
        if (written) {
            EXPECT_GT(limit, 40);
            break;
        }
        ASSERT_LT(limit, 1000);
        EXPECT_EQ(errors.getManager().getError(0).text, "Sample Save");
    }
    KIT_ErrorManager::Scope errors(BASgetSTID());
    std::ostringstream failed;
    failed.setstate(std::ios::badbit);
    EXPECT_FALSE(KITcheckOutStream(failed, "Save", "a.zel"));
    EXPECT_EQ(errors.getManager().getError(0).text, "Save: a.zel");
    EXPECT_EQ(errors.getManager().getError(0).code, KIT_COMMON_OUTPUT_FAILED);
}

TEST(Streams, StreamsThatCannotSeekTakeNoPackets)
{
    LimitedBuffer buffer(1000, false);
    std::ostream pipe(&buffer);
    KIT_Packet packet;
    EXPECT_FALSE(packet.beginWrite(pipe, 1, 1));
    EXPECT_TRUE(pipe.fail());
    EXPECT_FALSE(packet.endWrite());

    std::ostringstream out;
    EXPECT_FALSE(packet.beginWrite(out, 65536, 1));
    EXPECT_TRUE(out.fail());
    EXPECT_EQ(out.str(), "");
}

TEST(Streams, ClassIdsAreStableAndTellClassesApart)
{
    std::set<int> ids;
    const std::vector<const char *> names = {"ZEL_Float",    "ZEL_Ordinal",  "ZEL_String",
                                             "ZEL_Data",     "ZEL_Multi",    "ZEL_ParmList",
                                             "ZEL_Callback", "ZEL_Instance", ""};
    for (const char *name : names) {
        const int id = KITgetClassPacketID(name);
        EXPECT_GE(id, 1);
        EXPECT_LE(id, 65535);
        ids.insert(id);
    }
    EXPECT_EQ(ids.size(), names.size());
    // It is stored in files: must never change.
    EXPECT_EQ(KITgetClassPacketID("ZEL_Float"), 41404);
}
