// Packets composed and read in all the ways that are open to a caller, at random.

#include <persistence/StreamList.h>

#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_OByteStream.h>
#include <ZEL/ZEL_DataItem.h>

#include <gtest/gtest.h>

#include <random>

namespace
{

constexpr int theNumLists = 6;

/// What stands in a stream or in a packet.
struct Node
{
    enum Kind
    {
        NUMBER,
        TEXT,
        PARM,
        LIST,
        PACKET,
        NUM_KINDS
    };
    Kind kind;
    int number; ///< also of a text its length, of the others the list
    int classId, packetId;
    std::vector<Node> nodes;
};
using Nodes = std::vector<Node>;

class Trees
{
public:
    explicit Trees(unsigned seed) : myRandom(seed) {}

    unsigned below(unsigned end) { return unsigned(myRandom() % end); }
    Nodes make(int depth)
    {
        const int classes[] = {0,
                               1,
                               255,
                               65535,
                               KITgetClassPacketID("ZEL_ParmList"),
                               KITgetClassPacketID("ZEL_Float")};
        const int packets[] = {0, 1, 2, 14, 15, -1, INT16_MIN, INT16_MAX};
        Nodes nodes(below(5));
        for (Node &node : nodes) {
            node.kind = Node::Kind(below(Node::NUM_KINDS));
            node.number = node.kind == Node::TEXT ? int(below(4) * below(100)) : int(below(6));
            node.classId = classes[below(6)];
            node.packetId = packets[below(8)];
            if (node.kind == Node::PACKET && depth > 0) {
                node.nodes = make(depth - 1);
            }
        }
        return nodes;
    }
    void write(std::ostream &os, const Nodes &nodes)
    {
        for (const Node &node : nodes) {
            writeNode(os, node);
        }
    }
    /// In order, and one of them again.
    bool read(KIT_IStream &is, const Nodes &nodes)
    {
        std::vector<std::int64_t> begins;
        for (const Node &node : nodes) {
            begins.push_back(is.tellg());
            if (!readNode(is, node)) {
                return false;
            }
        }
        const std::int64_t end = is.tellg();
        const std::size_t again = nodes.empty() ? 0 : below(unsigned(nodes.size()));
        return nodes.empty() ||
               (is.seekg(begins[again]) && readNode(is, nodes[again]) && is.seekg(end));
    }
    StreamList &list(int number) { return *myLists[std::size_t(number)].list; }
    void makeLists();

private:
    struct Known
    {
        std::unique_ptr<StreamList> list;
        Nodes item;
    };
    static const ZEL_Parm &parmOf(const StreamList &list, const Node &node)
    {
        const int ids[] = {0, 1, 2, 4, 5, 8};
        return *list.list.getParmPtr(ids[node.number]);
    }
    static std::string textOf(const ZEL_Parm &parm)
    {
        std::ostringstream os;
        parm.save(os, 0, false);
        return os.str();
    }

    void writeNode(std::ostream &os, const Node &node)
    {
        switch (node.kind) {
        case Node::NUMBER: KITwrite(os, double(node.number)); break;
        case Node::TEXT: KITwrite(os, std::string(std::size_t(node.number), 'x').c_str()); break;
        case Node::PARM: parmOf(list(node.number), node).save(os, 1, false); break;
        case Node::LIST: list(node.number).list.save(os, true, false); break;
        default: writePacket(os, node); break;
        }
    }
    void writePacket(std::ostream &os, const Node &node)
    {
        const auto whole = [&](std::ostream &out, bool isApart) {
            KIT_Packet packet;
            EXPECT_TRUE(packet.beginWrite(out, node.classId, node.packetId));
            std::ostringstream apart;
            write(isApart ? apart : out, node.nodes);
            out << apart.str();
            EXPECT_TRUE(packet.endWrite());
        };
        const unsigned way = below(4);
        KIT_ByteBuffer bytes;
        KIT_OByteStream memory(bytes);
        std::ostringstream text;
        if (way == 0) {
            // Used before, for something else that isn't finished.
            bytes.beginSeries();
            bytes.beginPacket(7, 7);
            bytes.clear();
        }
        std::ostream &out = way == 0 ? memory : way == 1 ? text : os;
        whole(out, way == 2);
        os << text.str() << bytes.view();
    }
    bool readNode(KIT_IStream &is, const Node &node)
    {
        switch (node.kind) {
        case Node::NUMBER: {
            double number = -1.0;
            return is.bread(number) && number == node.number;
        }
        case Node::TEXT: {
            KIT_WorkBuffer text;
            return is.readWorkBuffer(text, true) && int(text.length()) == node.number;
        }
        case Node::PARM: {
            StreamList other;
            ZEL_Parm &parm = const_cast<ZEL_Parm &>(parmOf(other, node));
            return parm.load(is) && textOf(parm) == textOf(parmOf(list(node.number), node));
        }
        case Node::LIST: {
            StreamList other;
            return walkList(is) && other.list.load(is, nullptr, nullptr) &&
                   other.save() == list(node.number).save();
        }
        default: return readPacket(is, node);
        }
    }
    bool readPacket(KIT_IStream &is, const Node &node)
    {
        KIT_Packet packet;
        int classId = -1;
        int packetId = -1;
        if (!packet.beginRead(is, classId, packetId) || classId != node.classId ||
            packetId != node.packetId) {
            return false;
        }
        const std::string_view rest = is.rest();
        KIT_IStream payload(rest.data(), rest.size(), KIT_IStream::BINARY);
        KIT_IStream &in = below(2) ? payload : is;
        return read(in, node.nodes) && in.eof();
    }
    /// Reads the packets of a list, one of them again, and returns to the first.
    bool walkList(KIT_IStream &is)
    {
        KIT_Packet packet;
        int classId = 0;
        int packetId = 1;
        std::vector<std::pair<std::int64_t, int>> begins;
        const int listClass = KITgetClassPacketID("ZEL_ParmList");
        for (std::int64_t at = is.tellg(); packetId != 0; at = is.tellg()) {
            if (!packet.beginRead(is, classId, packetId) || classId != listClass) {
                return false;
            }
            begins.emplace_back(at, packetId);
            packet.endRead();
        }
        const auto [at, id] = begins[below(unsigned(begins.size()))];
        if (!is.seekg(at) || !packet.beginRead(is, classId, packetId)) {
            return false;
        }
        packet.endRead();
        return classId == listClass && packetId == id && is.seekg(begins.front().first);
    }

    std::mt19937 myRandom;
    std::vector<Known> myLists;

    friend class TreeItem;
    friend class TreeFactory;
};

Trees *theTrees = nullptr;

/// An item whose payload is made of anything, as an application's may be.
class TreeItem : public ZEL_DataItem
{
public:
    explicit TreeItem(int number) : myNumber(number) {}
    ZEL_Type::ZEL_DataType getDataType() const override
    {
        return ZEL_Type::ZEL_DATA_KEY_VALUE_DICT;
    }
    const char *getDataTypeToken() const override { return "test_tree"; }
    bool saveAscii(std::ostream &os) const override { return bool(os << myNumber); }
    bool saveBinary(std::ostream &os) const override
    {
        KITwrite(os, std::int32_t(myNumber));
        theTrees->write(os, theTrees->myLists[std::size_t(myNumber)].item);
        return bool(os);
    }
    std::int64_t getMemoryUsage() const override { return 0; }

private:
    int myNumber;
};

class TreeFactory : public ZEL_DataFactory
{
    std::shared_ptr<const ZEL_DataItem> createItem() override { return nullptr; }
    std::shared_ptr<const ZEL_DataItem> parseAscii(KIT_IStream &) override { return nullptr; }
    std::shared_ptr<const ZEL_DataItem> parseBinary(KIT_IStream &is) override
    {
        std::int32_t number = 0;
        const bool good = is.bread(number) && number < theNumLists &&
                          theTrees->read(is, theTrees->myLists[std::size_t(number)].item) &&
                          is.eof();
        return good ? std::make_shared<TreeItem>(number) : nullptr;
    }
};

/// Each has an item that holds packets, and lists of those before it.
void Trees::makeLists()
{
    for (int i = 0; i < theNumLists; ++i) {
        Known known;
        known.list = std::make_unique<StreamList>();
        StreamList &made = *known.list;
        made.fill();
        made.set("f", i + below(3) * 0.1);
        made.list.setString(KIT_String(std::string(below(3) * 100, 'y').c_str()),
                            TRK_MEANING_LITERAL, "text", 0, 0.0, false);
        if (i > 0) {
            known.item = make(2);
            const auto limit = [&](auto &&self, Nodes &nodes) -> void {
                for (Node &node : nodes) {
                    node.number = node.kind == Node::TEXT ? node.number : node.number % i;
                    self(self, node.nodes);
                }
            };
            limit(limit, known.item);
            made.instance("dict").setValue(0.0, std::make_shared<TreeItem>(i), false, 0,
                                           ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        }
        myLists.push_back(std::move(known));
    }
}

} // namespace

TEST(Packets, ReadBackHoweverTheyWereComposed)
{
    static TreeFactory factory;
    ZEL_DataFactory::install("test_tree", &factory);
    for (unsigned seed = 0; seed < 300; ++seed) {
        Trees trees(seed);
        theTrees = &trees;
        trees.makeLists();
        const Nodes nodes = trees.make(4);
        std::ostringstream os;
        KIT_ByteBuffer bytes;
        KIT_OByteStream memory(bytes);
        trees.write(seed % 2 ? static_cast<std::ostream &>(memory) : os, nodes);
        const std::string data = os.str() + std::string(bytes.view());
        KIT_IStream is(data.data(), data.size(), KIT_IStream::BINARY);
        ASSERT_TRUE(trees.read(is, nodes) && is.eof()) << seed << ": " << takeTexts();
        ASSERT_EQ(takeTexts(), "") << seed;
    }
}

TEST(Packets, AListsBytesDependOnItsContentsAlone)
{
    StreamList p;
    p.fill();
    const std::string before = p.save(true);
    for (const char *token : {"t", "f", "n", "text", "dict"}) {
        p.instance(token).setLockedFlag(0, true);
        p.instance(token).setLockedFlag(0, false);
        p.instance(token).microNode(0);
    }
    EXPECT_EQ(p.save(true), before);
    EXPECT_TRUE(ZEL_ParmList::canBeStream(before));
    EXPECT_FALSE(ZEL_ParmList::canBeStream(packetOf("Other", 1)));
}
