// What a list writes: the text to the byte, the packets, and what happens when writing fails.

#include <persistence/StreamList.h>

#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_OByteStream.h>
#include <ZEL/ZEL_PresetInfo.h>

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <set>

namespace
{

const std::string theEmptyText = "{\nversion 0.8\n}\n";

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

/// The packets of a list's stream: "1 t f 0", an entry as its token.
std::string packetsOf(const std::string &data)
{
    KIT_IStream is(data.data(), data.size(), KIT_IStream::BINARY);
    KIT_Packet packet;
    int classId = 0;
    int packetId = 0;
    KIT_WorkBuffer token;
    std::string all;
    while (packet.beginRead(is, classId, packetId)) {
        all += all.empty() ? "" : " ";
        all += classId != KITgetClassPacketID("ZEL_ParmList") ? "?"
               : packetId == 2 && is.readTextAfter(token)     ? token.buffer()
                                                              : std::to_string(packetId);
        packet.endRead();
    }
    return all;
}

/// Takes a number of writes, then fails; never seeks.
class FailingBuffer : public std::streambuf
{
public:
    explicit FailingBuffer(int writes) : myLeft(writes) {}
    std::string taken;

protected:
    std::streamsize xsputn(const char *bytes, std::streamsize count) override
    {
        if (myLeft-- <= 0) {
            return 0;
        }
        taken.append(bytes, std::size_t(count));
        return count;
    }
    int_type overflow(int_type c) override
    {
        const char byte = char(c);
        return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
    }

private:
    int myLeft;
};

} // namespace

TEST(ListStreams, AnEmptyListIsItsFrame)
{
    ZEL_Template none[1];
    ZEL_ParmList list(none, nullptr, nullptr, nullptr, "", false);
    EXPECT_EQ(savedList(list), theEmptyText);
    const std::string marker("\0\0\0\x80", 4);
    EXPECT_EQ(savedList(list, true), marker + "\xc1\1" + bytesOf(0.8f) + '\0')
        << "a packet of the list's with an id of 1 and 4 bytes, and an empty one with 0";
}

TEST(ListStreams, GoldenFilesOfAllKinds)
{
    StreamList p;
    p.fill();
    p.instance("t").setExpression(0.0, "$F", TRK_LANGUAGE_NATIVE, 1, true, false);
    p.instance("f").setLockedFlag(0, true);
    p.instance("f").setAutoScopedFlag(0, true);
    const std::string folder = ZEL_TESTS_DIR "/golden/";
    for (const bool binary : {false, true}) {
        const std::string path =
            folder + (binary ? "all_kinds_plain_items.bstream" : "all_kinds.stream");
        if (ZEL_UPDATE_GOLDEN) {
            std::ofstream(path, std::ios::binary) << p.save(binary);
        }
        EXPECT_EQ(p.save(binary), readFile(path));
    }

    // What was read says the same again, directly and by way of the other form. Nothing writes the
    // others any more: plain headers throughout, and items in short packets.
    const std::string text = p.save(), narrow = p.save(true);
    const std::string wide = readFile(folder + "all_kinds_wide.bstream");
    const std::string bare = readFile(folder + "all_kinds.bstream");
    for (const std::string &data : {text, narrow, wide, bare, wide + narrow + bare, bare + wide}) {
        StreamList q;
        KIT_IStream is(data.data(), data.size(),
                       data == text ? KIT_IStream::TEXT : KIT_IStream::BINARY);
        do {
            q.list.clearAndDestroyChannels();
            q.channels.addChannel("ty");
            ASSERT_TRUE(q.list.load(is, nullptr, nullptr));
            EXPECT_EQ(q.save(), text);
            EXPECT_EQ(q.save(true), narrow);
        } while (data != text && !is.eof());
    }
    EXPECT_EQ(takeTexts(), "");
}

TEST(ListStreams, BinaryIsAFlatRowOfPacketsSortedOnDemand)
{
    StreamList p;
    const std::string unsorted = p.save();
    EXPECT_EQ(packetsOf(p.save(true)), "1 t f n rule on text note press dict points 0");
    EXPECT_EQ(packetsOf(p.save(false, true)), "1 t f n on text press dict points 0")
        << "compact means binary, without separators and labels";
    EXPECT_EQ(p.save(false, true), p.save(true, true));

    KIT_EnvControl::setInt(KIT_ENV_SORTED_SAVE, 1);
    EXPECT_EQ(packetsOf(p.save(true)), "1 dict f n note on points press rule t text 0");
    EXPECT_EQ(p.save().substr(0, 20), "{\nversion 0.8\ndict\t[");
    KIT_EnvControl::setInt(KIT_ENV_SORTED_SAVE, 0);
    EXPECT_EQ(p.save(), unsorted) << "the list keeps its order";
}

TEST(ListStreams, OneParameterAlone)
{
    StreamList p;
    p.set("f", 0.125);
    std::ostringstream text;
    std::ostringstream binary;
    p.list.saveSingle(p.list.getParmPtr("f"), text, false);
    p.list.saveSingle(p.list.getParmPtr("f"), binary, true);
    EXPECT_EQ(text.str(), "{\nversion 0.8\nf\t[ 0\tlocks=0 ]\t(\t0.125\t)\n}\n");
    EXPECT_EQ(packetsOf(binary.str()), "1 f 0");

    std::ostringstream failed;
    failed.setstate(std::ios::failbit);
    p.list.saveSingle(nullptr, failed, false);
    EXPECT_EQ(takeTexts(), "") << "nothing is written for null, not even a look at the stream";
    p.list.saveSingle(p.list.getParmPtr("f"), failed, false);
    EXPECT_EQ(takeTexts(), "Common 10 Parameter List Save");
}

TEST(ListStreams, NamesThatTheTextFormCannotHoldAreTold)
{
    std::set<std::string> names = {"#c", "}", "a b", "{", "(", ")", "[", "c#", "\"a", "version"};
    std::mt19937 random(18);
    while (names.size() < 80) {
        std::string name;
        for (unsigned length = 1 + random() % 3; name.size() < length;) {
            name += "ab#} \t\n{)[\"'"[random() % 12];
        }
        names.insert(name);
    }
    std::vector<std::unique_ptr<OwnedTemplate>> owned;
    std::vector<ZEL_Template> templates;
    for (const std::string &name : names) {
        owned.push_back(std::make_unique<OwnedTemplate>(ZEL_FLT, 1, name.c_str()));
        templates.push_back(owned.back()->entry);
    }
    templates.emplace_back();
    ZEL_ParmList list(templates.data(), nullptr, nullptr, nullptr, "", false);
    int alias = 0;
    for (const std::string &name : names) {
        list.setFloat(++alias, name.c_str(), 0, 0.0, false);
        const KIT_StringHolder second(("alias" + std::to_string(alias)).c_str());
        EXPECT_TRUE(list.setChannelAlias(list.getParmPtr(name.c_str()), 0, second)) << name;
    }
    takeTexts();

    for (const bool binary : {false, true}) {
        const std::string saved = savedList(list, binary);
        const std::string told = takeTexts() + ";";
        std::ostringstream os;
        list.saveChannelAliases(os, false);
        const std::string aliases = os.str();
        const std::string toldAliases = takeTexts() + ";";
        ZEL_ParmList back(templates.data(), nullptr, nullptr, nullptr, "", false);
        EXPECT_TRUE(loadList(back, saved, binary));
        KIT_IStream is(aliases.data(), aliases.size(), KIT_IStream::TEXT);
        EXPECT_TRUE(back.loadChannelAliases(is, nullptr));
        EXPECT_EQ(takeTexts(), "");
        int lost = 0;
        for (const std::string &name : names) {
            const ZEL_Parm &parm = *list.getParmPtr(name.c_str());
            const ZEL_Parm &other = *back.getParmPtr(name.c_str());
            const std::string message = "ZEL 24 " + name + ";";
            const bool sameFlag =
                back.evalFloat(name.c_str(), 0, 0.0) == list.evalFloat(name.c_str(), 0, 0.0);
            EXPECT_EQ(sameFlag, told.find(message) == std::string::npos) << name;
            EXPECT_EQ(other.getChannelAlias(0) == parm.getChannelAlias(0),
                      toldAliases.find(message) == std::string::npos)
                << name;
            lost += !sameFlag;
        }
        EXPECT_EQ(lost > 0, !binary);
        EXPECT_LT(lost, int(names.size()));
    }
    std::ostringstream preset;
    EXPECT_FALSE(ZEL_PresetInfo("Node", "names").savePreset(&list, preset));
    EXPECT_NE(takeTexts().find("ZEL 24 #c;"), std::string::npos);
}

TEST(ListStreams, AnErrorEndsTheEntriesButNotTheFrame)
{
    StreamList p;
    KITaddError("ZEL", 9, "before");
    EXPECT_EQ(p.save(), "{\nversion 0.8\nt\t[ 0\tlocks=0 ]\t(\t0\t0\t0\t)\n}\n");
    EXPECT_EQ(packetsOf(p.save(true)), "1 t 0");
    EXPECT_EQ(takeTexts(), "ZEL 9 before");
}

TEST(ListStreams, WhereverWritingFailsItIsTold)
{
    // Large enough for several pieces.
    StreamList p;
    p.set("points", 3000);
    p.evaluate("points");
    for (const bool binary : {false, true}) {
        const std::string whole = p.save(binary);
        for (int writes = 0;; ++writes) {
            FailingBuffer buffer(writes);
            std::ostream os(&buffer);
            p.list.save(os, binary, false);
            ASSERT_EQ(buffer.taken, whole.substr(0, buffer.taken.size()));
            if (buffer.taken == whole) {
                EXPECT_GE(writes, 3);
                EXPECT_EQ(takeTexts(), "");
                break;
            }
            ASSERT_EQ(takeTexts(), "Common 10 Parameter List Save") << writes;
        }
    }
}

TEST(ListStreams, BytesComposedInMemory)
{
    KIT_ByteBuffer bytes;
    KIT_OByteStream os(bytes);
    KIT_Packet outer;
    KIT_Packet inner;
    const std::string filler(3000, 'x');
    EXPECT_TRUE(outer.beginWrite(os, 7, 1));
    KITwrite(os, filler.c_str());
    EXPECT_TRUE(inner.beginWrite(os, 8, -2));
    os << 'c';
    EXPECT_TRUE(inner.endWrite());
    EXPECT_TRUE(outer.endWrite());

    KIT_ByteBuffer direct;
    const KIT_ByteBuffer::Packet start = direct.beginPacket(7, 1);
    direct.appendText(filler);
    direct.appendPacket(8, -2, char('c'));
    direct.endPacket(start);
    EXPECT_EQ(bytes.view(), direct.view()) << "seeking and composing agree";
    EXPECT_TRUE(direct.isGood());

    os.seekp(2);
    os << "ab";
    EXPECT_EQ(bytes.view().substr(2, 2), "ab");
    os.seekp(-1, std::ios::end);
    os << "yz";
    EXPECT_EQ(bytes.size(), direct.size() + 1) << "writing over the end appends the rest";
    EXPECT_FALSE(os.seekp(std::streamoff(bytes.size()) + 1));

    direct.appendPacket(70000, 0);
    EXPECT_FALSE(direct.isGood());
    std::ostringstream target;
    direct.writeTo(target);
    EXPECT_FALSE(target.good()) << "an id of more than 16 bits can't be written";
    direct.clear();
    EXPECT_TRUE(direct.isGood());
}
