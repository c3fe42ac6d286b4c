/// \file FaultNode.h
/// A node with a parameter of each kind, two states of it that differ in every value, and targets that
/// fail after so many bytes.
///
/// Vocabulary: *state* = for each token what is saved of the parameter alone, and what its components
///             evaluate to; *entry* = a parameter in a stream, with the positions of its begin and end.
/// Ownership:  owns everything that the node borrows.
#pragma once

#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Node.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_DataFactory.h>
#include <multi/MultiList.h>
#include <persistence/StreamList.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

/// Drops the thread's messages; true if one was an error.
inline bool takeError()
{
    const bool isError = KITgetErrorSeverity() >= KIT_ERROR_ABORT;
    KITgetErrorManager().clearAndDestroyErrors();
    return isError;
}

/// Takes so many bytes; then a write fails, or throws as an application's own target may.
class LimitedTarget : public std::streambuf
{
public:
    enum Way
    {
        FAILS,
        THROWS
    };
    LimitedTarget(std::size_t room, Way way) : myRoom(room), myWay(way) {}

    std::string taken;

protected:
    int_type overflow(int_type c) override
    {
        const char byte = traits_type::to_char_type(c);
        return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
    }
    std::streamsize xsputn(const char *bytes, std::streamsize count) override
    {
        const std::size_t fits = std::min(std::size_t(count), myRoom - taken.size());
        taken.append(bytes, fits);
        if (fits < std::size_t(count) && myWay == THROWS) {
            throw std::runtime_error("no room");
        }
        return std::streamsize(fits);
    }

private:
    std::size_t myRoom;
    Way myWay;
};

class FaultNode
{
public:
    using State = std::map<std::string, std::string>;

    /// With other values for each `variant`, and other channels for each `channelVariant`.
    explicit FaultNode(int variant, int channelVariant = 1) : node(ours.all.templates(), nullptr)
    {
        ZEL_ParmList &list = node.getParms();
        node.setSpareParms(ours.spares.templates());
        grow("blocks");
        grow("nested2");
        setChannels(channelVariant);
        for (int i = 0; i < list.getEntries(); ++i) {
            ZEL_Parm &parm = *list.getParmPtr(i);
            for (int k = 0; k < parm.getVectorSize() && !parm.isMultiParm(); ++k) {
                setComponent(*parm.getInstance(), k, 2.5 * variant + i + 0.125 * k);
            }
        }
        set("kind", variant);
        list.getParmPtr("frac")->getInstance()->setLockedFlag(0, variant == 2);
        takeMessages();
    }

    ZEL_ParmList &list() { return node.getParms(); }
    State state()
    {
        State all;
        for (int i = 0; i < list().getEntries(); ++i) {
            ZEL_Parm &parm = *list().getParmPtr(i);
            std::ostringstream os;
            list().saveSingle(&parm, os, false);
            for (int k = 0; k < parm.getVectorSize() && !parm.isMultiParm(); ++k) {
                KIT_String text;
                parm.getValue(0.5, text, k, true, BASgetSTID());
                os << "|" << text.nonNullStr();
            }
            all[parm.getToken()] = os.str();
        }
        return all;
    }
    std::string channels() const
    {
        std::ostringstream os;
        node.getChannels().save(os);
        return os.str();
    }
    std::string save(bool binary, bool compact = false)
    {
        return savedList(list(), binary, compact);
    }
    bool load(const std::string &data, bool binary)
    {
        return loadList(list(), data, binary, "stream");
    }

private:
    /// No name begins another, so that a cut one is no other's.
    struct Templates
    {
        Templates()
        {
            inner.add(ZEL_FLT, 1, "weight#_#");
            items.add(ZEL_XYZ, 3, "at#");
            items.add(ZEL_FLT, 1, "size#");
            items.add(ZEL_STRING, 1, "title#");
            items.addMulti(ZEL_MULTITYPE_LIST, "nested#", inner.templates());
            all.add(ZEL_XYZ, 3, "move");
            all.add(ZEL_FLT, 1, "frac");
            all.add(ZEL_INT, 2, "whole");
            all.add(ZEL_TOGGLE, 1, "lit");
            all.put(ZEL_Template(ZEL_ORD, 1, all.name("kind", "Kind"), nullptr, &menu));
            all.add(ZEL_STRING, 2, "words");
            all.add(ZEL_KEY_VALUE_DICT, 1, "data");
            all.addMulti(ZEL_MULTITYPE_LIST, "blocks", items.templates());
            spares.add(ZEL_FLT, 2, "extra");
            spares.add(ZEL_STRING, 1, "note");
        }
        ZEL_Name kinds[5] = {
            {"none", "None"}, {"one", "One"}, {"pair", "Pair"}, {"more", "More"}, {}};
        ZEL_ChoiceList menu{ZEL_ChoiceListType(ZEL_CHOICELIST_REPLACE | ZEL_CHOICELIST_USE_TOKEN),
                            kinds};
        Block inner, items, all, spares;
    };

    void set(const char *token, double value) { list().setFloat(value, token, 0, 0.0, false); }
    void grow(const char *token)
    {
        set(token, 2);
        list().evalFloat(token, 0, 0.0);
    }
    /// For the first two components.
    void setChannels(int variant)
    {
        ZEL_Instance &instance = *list().getParmPtr("move")->getInstance();
        const std::string expressions[] = {std::to_string(variant) + " * $T",
                                           "ch(\"movex\") + " + std::to_string(variant)};
        for (int k = 0; k < 2; ++k) {
            instance.setExpression(0.0, expressions[k].c_str(), TRK_LANGUAGE_NATIVE, k, true,
                                   false);
        }
    }
    void setComponent(ZEL_Instance &instance, int index, double value)
    {
        const std::string token = instance.getTokenRef().nonNullStr();
        if (token == "data") {
            const std::string json = "{\"a\":[" + std::to_string(value) + ",\"two\"]}";
            KIT_IStream is(json.data(), json.size(), KIT_IStream::TEXT);
            instance.setValue(0.0, ZEL_DataFactory::parseAscii("key_value_dict", is), false, index,
                              ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        } else if (list().getParmPtr(token.c_str())->getType().isStringType()) {
            const std::string text = "a \"" + std::to_string(value) + "\"\n\tb";
            instance.setValue(0.0, text.c_str(), TRK_MEANING_LITERAL, false, index,
                              ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        } else if (!instance.getChannel(index)) {
            instance.setValue(0.0, value, false, index, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        }
    }

    Templates ours;

public:
    // Last, so that it is destroyed before what it borrows.
    mutable NOD_Node node;
};

/// A parameter in a stream.
struct Entry
{
    std::string token;
    std::size_t begin, end; ///< in text without the line feed
};

/// Of a text that starts with two lines of its own.
inline std::vector<Entry> entriesOfText(const std::string &text)
{
    std::vector<Entry> entries;
    std::size_t line = 0;
    for (std::size_t at = 0, number = 0; at < text.size(); at = line + 1, ++number) {
        line = std::min(text.find('\n', at), text.size());
        const std::string token = text.substr(at, text.find('\t', at) - at);
        if (number > 1 && text[at] != '}') {
            entries.push_back({token, at, line});
        }
    }
    return entries;
}

inline std::vector<Entry> entriesOfBinary(const std::string &bytes)
{
    constexpr int theEntry = 2;
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::BINARY);
    KIT_Packet packet;
    KIT_WorkBuffer token;
    int classId = 0;
    int packetId = 0;
    std::vector<Entry> entries;
    for (std::int64_t begin = 0; packet.beginRead(is, classId, packetId); begin = is.tellg()) {
        const std::int64_t end = is.tellg() + is.remaining();
        if (packetId == theEntry && is.readTextAfter(token)) {
            entries.push_back({token.buffer(), std::size_t(begin), std::size_t(end)});
        }
        packet.endRead();
    }
    return entries;
}

/// What wasn't reached is as it was, and what was read is as in the stream.
inline void expectReached(const std::vector<Entry> &entries, std::size_t length,
                          const FaultNode::State &now, const FaultNode::State &before,
                          const FaultNode::State &after)
{
    ASSERT_EQ(now.size(), before.size());
    for (const Entry &entry : entries) {
        if (entry.end <= length) {
            ASSERT_EQ(now.at(entry.token), after.at(entry.token)) << length;
        } else if (entry.begin >= length) {
            ASSERT_EQ(now.at(entry.token), before.at(entry.token)) << length;
        }
    }
}
