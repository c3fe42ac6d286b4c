/// \file StreamList.h
/// The list on which the stream tests run: a parameter of each kind, and nested multi-parameters.
///
/// Vocabulary: *contents* = the list as one line of text, made by evaluation and not by saving.
/// Ownership:  owns everything but the owner, which a test may hand in.
#pragma once

#include <common/ListFixture.h>

#include <KIT/KIT_Digits.h>
#include <KIT/KIT_StringArray.h>
#include <ZEL/ZEL_DataFactory.h>
#include <ZEL/ZEL_ParmNameMap.h>
#include <ZEL/ZEL_ParmStream.h>
#include <common/Packets.h>
#include <common/TestOwner.h>

#include <string>
#include <vector>

/// Takes the thread's messages with their texts: "ZEL 5 foo; Common 7 bar".
inline std::string takeTexts()
{
    return takeMessages(true);
}

inline std::string savedList(const ZEL_ParmList &list, bool binary = false, bool compact = false)
{
    std::ostringstream os;
    list.save(os, binary, compact);
    return os.str();
}

inline bool loadList(ZEL_ParmList &list, const std::string &data, bool binary = false,
                     const char *name = nullptr, ZEL_ParmList *fallback = nullptr)
{
    KIT_IStream is(data.data(), data.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    return list.load(is, name, fallback);
}

inline bool isBinaryData(const std::string &data)
{
    return data.find('\0') != std::string::npos;
}

inline bool parseStream(ZEL_ParmStream &stream, const std::string &data,
                        ZEL_ParmList *list = nullptr)
{
    KIT_IStream is(data.data(), data.size(),
                   isBinaryData(data) ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    return stream.read(is, nullptr, list);
}

/// The stream in a form; "refused" if it can't have it.
inline std::string converted(const std::string &data, ZEL_ParmStream::Form form,
                             ZEL_ParmList *list = nullptr)
{
    ZEL_ParmStream stream;
    std::ostringstream os;
    if (!parseStream(stream, data, list)) {
        return "unreadable";
    }
    return stream.write(os, form) ? os.str() : "refused" + os.str();
}

struct StreamList
{
    explicit StreamList(ZEL_ParmOwner *owner = nullptr)
        : inner{ZEL_Template(ZEL_FLT, 1, &nameWeight), ZEL_Template()},
          items{ZEL_Template(ZEL_XYZ, 3, &namePoint), ZEL_Template(ZEL_FLT, 1, &nameSize),
                ZEL_Template(ZEL_MULTITYPE_LIST, inner, 0.0, &nameWeights, &defaultNone),
                ZEL_Template()},
          templates{ZEL_Template(ZEL_XYZ, 3, &nameT),
                    ZEL_Template(ZEL_FLT, 1, &nameF),
                    ZEL_Template(ZEL_INT, 1, &nameN),
                    ZEL_Template(ZEL_SEPARATOR, 1, &nameRule),
                    ZEL_Template(ZEL_TOGGLE, 1, &nameOn),
                    ZEL_Template(ZEL_STRING, 1, &nameText),
                    ZEL_Template(ZEL_LABEL, 1, &nameNote),
                    ZEL_Template(ZEL_CALLBACK, 1, &namePress),
                    ZEL_Template(ZEL_KEY_VALUE_DICT, 1, &nameDict),
                    ZEL_Template(ZEL_MULTITYPE_LIST, items, 0.0, &namePoints, &defaultNone),
                    ZEL_Template()},
          list(templates, &channels, owner, nullptr, "", false)
    {
        takeMessages();
    }

    ZEL_Instance &instance(const char *token) { return *list.getParmPtr(token)->getInstance(); }
    void set(const char *token, double value, int index = 0)
    {
        list.setFloat(value, token, index, 0.0, false);
    }
    /// Two points, the second with two weights, and a value in every component.
    void fill()
    {
        set("points", 2);
        evaluate("points");
        set("weights2", 2);
        evaluate("weights2");
        double value = 0.0;
        for (const char *token : {"t", "pt1", "pt2"}) {
            for (int i = 0; i < 3; ++i) {
                set(token, value += 0.5, i);
            }
        }
        for (const char *token : {"f", "size1", "size2", "w2_1", "w2_2"}) {
            set(token, value += 0.25);
        }
        set("n", 7);
        const std::string json = "{\"a\":[1,\"two\"]}";
        KIT_IStream is(json.data(), json.size(), KIT_IStream::TEXT);
        instance("dict").setValue(0.0, ZEL_DataFactory::parseAscii("key_value_dict", is), false, 0,
                                  ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    }
    double evaluate(const char *token, int index = 0) { return list.evalFloat(token, index, 0.0); }

    std::string save(bool binary = false, bool compact = false) const
    {
        return savedList(list, binary, compact);
    }
    bool load(const std::string &data, bool binary = false, const char *name = nullptr,
              ZEL_ParmList *fallback = nullptr)
    {
        return loadList(list, data, binary, name, fallback);
    }
    /// "t=1,2,3 f=4 ..." for all that hold numbers.
    std::string contents()
    {
        std::string all;
        for (int i = 0; i < list.getEntries(); ++i) {
            const ZEL_Parm &parm = *list.getParmPtr(i);
            if (!parm.getType().isFloatType()) {
                continue;
            }
            all += (all.empty() ? "" : " ") + std::string(parm.getToken()) + "=";
            for (int c = 0; c < parm.getVectorSize(); ++c) {
                all += c ? "," : "";
                all += KIT_Digits(list.evalFloat(parm.getToken(), c, 0.0)).view();
            }
        }
        return all;
    }

    ZEL_Name nameT{"t", "Translate"}, nameF{"f", "Fraction"}, nameN{"n", "Number"},
        nameRule{"rule", "Rule"}, nameOn{"on", "On"}, nameText{"text", "Text"},
        nameNote{"note", "Note"}, namePress{"press", "Press"}, nameDict{"dict", "Dict"},
        namePoints{"points", "Points"}, namePoint{"pt#", "Point"}, nameSize{"size#", "Size"},
        nameWeights{"weights#", "Weights"}, nameWeight{"w#_#", "Weight"};
    ZEL_Default defaultNone{0.0};
    ZEL_Template inner[2];
    ZEL_Template items[4];
    ZEL_Template templates[11];
    TRK_Collection channels;
    ZEL_ParmList list;
};

/// An owner that records which names it is offered, and returns what a test has set.
struct LoadOwner : TestOwner
{
    bool createSpareParametersForLoad(KIT_StringArray &names, ZEL_ParmNameMap &map,
                                      KIT_String &texts) override
    {
        for (const KIT_String &name : names) {
            offered += (offered.empty() ? "" : " ") + std::string(name.c_str());
        }
        for (const auto &entry : renamed) {
            map.addMap(entry.first.c_str(), entry.second.c_str());
        }
        texts.harden(errors.c_str());
        return accepts;
    }

    std::string offered;
    std::vector<std::pair<std::string, std::string>> renamed;
    std::string errors;
    bool accepts = true;
};

/// One packet of the list's class, or of another.
inline std::string listPacket(int packetId, const std::string &payload,
                              const char *className = "ZEL_ParmList")
{
    return packetOf(className, packetId, payload);
}

/// A token as a binary stream has it.
inline std::string bytesOf(const std::string &text)
{
    std::ostringstream os;
    KITwrite(os, std::uint32_t(text.size()));
    return os.str() + text;
}
