#include <data/DataParm.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_SpinLockScope.h>
#include <ZEL/ZEL_UndoData.h>
#include <common/Packets.h>
#include <common/Threads.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

namespace
{

constexpr auto theAddKey = ZEL_ADDKEY_PENDING;
constexpr auto theKeySet = ZEL_KEYSET_PREFERENCE;

std::string packet(int id, const std::string &payload, const char *className = "ZEL_Data")
{
    return packetOf(className, id, payload);
}

std::string typePacket(const char *token)
{
    std::ostringstream os;
    KITwrite(os, token);
    return packet(1, os.str());
}

/// What the packets of values hold: "1 key_value_dict; 2 a1616101; 0".
std::string valuePackets(const std::string &bytes)
{
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::BINARY);
    KIT_Packet in;
    std::string all;
    int classId = 0;
    int id = 0;
    while (in.beginRead(is, classId, id)) {
        if (id >= 0 && id <= 2) {
            KIT_WorkBuffer token;
            all += (all.empty() ? "" : "; ") + std::to_string(id);
            if (id == 1 && is.readWorkBuffer(token, true)) {
                all += " " + std::string(token.view());
            } else if (id == 2) {
                all += " " + toHex(std::string(is.rest()));
            }
        }
        in.endRead();
    }
    return all;
}

} // namespace

TEST(DataItems, KindsAreFoundByTheirToken)
{
    const OneData withNotes;
    const struct
    {
        const char *text;
        const char *item;
    } cases[] = {
        {"\"key_value_dict:{\\\"a\\\":[1]}\"", "key_value_dict:{\"a\":[1]}"},
        {"key_value_dict:{\"a\":1}", "key_value_dict:{\"a\":1}"},
        {"key_value_dict:broken", "key_value_dict:{}"},
        {"key_value_dict:[1]", "key_value_dict:{}"},
        {"key_value_dict:", "key_value_dict:{}"},
        {"test_note:a:b", "test_note:a:b"},
        {"nobodys:{}", "-"},
        {"no_colon", "-"},
        {"", "-"},
    };
    for (const auto &c : cases) {
        KIT_IStream is(c.text, std::strlen(c.text), KIT_IStream::TEXT);
        EXPECT_EQ(typedText(ZEL_DataFactory::loadTypedAscii(is)), c.item) << c.text;
    }
    KIT_IStream unknown("{}", 2, KIT_IStream::TEXT);
    EXPECT_EQ(ZEL_DataFactory::parseAscii("nobodys", unknown), nullptr);
    EXPECT_EQ(ZEL_DataFactory::parseBinary(nullptr, unknown), nullptr);
    EXPECT_EQ(takeMessages(), "");
}

TEST(DataItems, DictionariesShareTheirMap)
{
    auto *map = new KIT_JSONValueMap;
    auto first = std::make_unique<ZEL_KeyValueDictDataItem>(map);
    const ZEL_KeyValueDictDataItem second(*first);
    first.reset();
    map->insert("k", KIT_JSONValue(1));
    ASSERT_EQ(second.getKeyValueDict(), map);
    EXPECT_EQ(second.getDataType(), ZEL_Type::ZEL_DATA_KEY_VALUE_DICT);
    EXPECT_EQ(second.getMemoryUsage(), 16);
    std::ostringstream text;
    std::ostringstream binary;
    EXPECT_TRUE(second.saveAscii(text));
    EXPECT_TRUE(second.saveBinary(binary));
    EXPECT_EQ(text.str(), "{\"k\":1}");
    EXPECT_EQ(toHex(binary.str()), "a1616b01");

    const ZEL_KeyValueDictDataItem none(static_cast<KIT_JSONValueMap *>(nullptr));
    EXPECT_TRUE(none.saveAscii(text));
    EXPECT_TRUE(none.saveBinary(binary));
    EXPECT_EQ(text.str(), "{\"k\":1}{}");
    EXPECT_EQ(toHex(binary.str()), "a1616b01a0");
    EXPECT_NE(ZEL_KeyValueDictDataItem().getKeyValueDict(), nullptr);
}

TEST(Data, ItemsComeBackAsTheyAre)
{
    OneData p(2);
    const DataItem dict = makeDict("{\"a\":\"$F\",\"n\":[2.5]}");
    p.instance->clearAllDirtyFlags();
    EXPECT_TRUE(p.data().setData(dict, 5.0, 1));
    EXPECT_FALSE(p.instance->isDirty(0));
    EXPECT_TRUE(p.instance->isDirty(1));
    EXPECT_EQ(p.item(1), dict);
    EXPECT_EQ(p.data().getData(0.0, 1), dict);
    EXPECT_EQ(p.text(1), "{\"a\":\"$F\",\"n\":[2.5]}");
    EXPECT_EQ(p.map(false, 1), "{\"a\":\"$F\",\"n\":[2.5]}");
    EXPECT_EQ(p.eval(1), 0.0);
    EXPECT_EQ(p.text(0), "");
    EXPECT_EQ(p.map(false, 0), "{}");
    for (const int index : {-1, 2}) {
        p.instance->clearAllDirtyFlags();
        EXPECT_FALSE(p.data().setData(dict, 0.0, index));
        EXPECT_TRUE(p.instance->areAllFlagsClean());
        EXPECT_EQ(p.item(index), nullptr);
        EXPECT_EQ(p.data().getData(0.0, index), nullptr);
        EXPECT_EQ(p.text(index), "");
    }
    p.data().setData(std::make_shared<NoteItem>("x"), 0.0, 0);
    EXPECT_EQ(p.text(0), "") << "only dictionaries have a text";
    EXPECT_EQ(p.map(true, 0), "{}");
    const std::int64_t items = p.instance->getMemoryUsage(false);
    p.data().setData(nullptr, 0.0, 0);
    EXPECT_EQ(items - p.instance->getMemoryUsage(false), 1000);
}

TEST(Data, NumbersAndTextsEmptyAComponent)
{
    OneData p(2);
    const auto check = [&p](const char *what, const auto &set) {
        p.setDict("{\"a\":1}", 0);
        p.setDict("{\"b\":1}", 1);
        p.instance->clearAllDirtyFlags();
        set(1);
        set(2);
        EXPECT_EQ(p.contents(), "key_value_dict:{\"a\":1}|-") << what;
        EXPECT_TRUE(p.instance->isDirty(1) && !p.instance->isDirty(0)) << what;
    };
    ZEL_Instance &to = *p.instance;
    check("int64",
          [&](int i) { to.setValue(0.0, std::int64_t(3), false, i, theAddKey, theKeySet); });
    check("int", [&](int i) { to.setValue(0.0, 3, false, i, theAddKey, theKeySet); });
    check("double", [&](int i) { to.setValue(0.0, 3.0, false, i, theAddKey, theKeySet); });
    check("text", [&](int i) {
        to.setValue(0.0, "key_value_dict:{}", TRK_MEANING_LITERAL, false, i, theAddKey, theKeySet);
    });
    check("no item", [&](int i) { to.setValue(0.0, nullptr, false, i, theAddKey, theKeySet); });
}

TEST(Data, NothingIsTheDefault)
{
    OneData p(3);
    const ZEL_DefaultType all = ZEL_DEFAULT_MAGIC;
    EXPECT_TRUE(p.instance->isDefault(2, all, true));
    p.setDict("{}", 0);
    EXPECT_FALSE(p.instance->isDefault(1, all, true)) << "the index selects no component";
    EXPECT_FALSE(p.instance->isDefault(0, all, false));

    for (int i = 0; i < 3; ++i) {
        p.setDict("{}", i);
        p.instance->setExpression(0.0, "1", TRK_LANGUAGE_NATIVE, i, true, false);
    }
    p.instance->setDefaultsInitFlag(false);
    p.instance->setValueToDefault(0.0, 0, theAddKey);
    p.instance->revertToDefault(1);
    p.instance->revertToDefault(7);
    EXPECT_TRUE(p.instance->getDefaultsInitFlag());
    EXPECT_EQ(p.contents(), "-|-|key_value_dict:{}");
    EXPECT_TRUE(p.instance->getChannel(0));
    EXPECT_FALSE(p.instance->getChannel(1));
    p.instance->revertToDefaults(false);
    EXPECT_EQ(p.contents(), "-|-|-");
    EXPECT_EQ(p.instance->getChannelCount(), 2);
    p.instance->revertToDefaults(true);
    EXPECT_EQ(p.instance->getChannelCount(), 0);
    EXPECT_TRUE(p.instance->isDefault(1, all, true));
    p.instance->setLockedFlag(1, true);
    EXPECT_FALSE(p.instance->isDefault(1, ZEL_DEFAULT_UNLOCKED, true));
}

TEST(Data, DictionariesExpandKeyAndValue)
{
    OneData p;
    p.setDict("{\"a`1+1`\":\"$F.x\",\"b\":2.5,\"c\":[\"`3`\"],\"d\":\"\\\\$F\"}");
    const double time = TRK_Manager::getContext().frameToTime(7);
    EXPECT_EQ(p.map(true, 0, time),
              "{\"a2\":\"7.x\",\"b\":\"2.5\",\"c\":\"[\\\"3\\\"]\",\"d\":\"$F\"}");
    EXPECT_EQ(takeMessages(), "");

    EVL::theErrNo[1] = EVL::EVL_DEPTH;
    p.setDict("{\"a\":\"1\",\"b\":\"`nosuch(1)`\",\"c\":\"3\"}");
    EXPECT_EQ(p.map(true), "{\"a\":\"1\"}") << "the first fault ends it";
    EXPECT_EQ(EVL::theErrNo[1], int(EVL::EVL_DEPTH));
    EVL::theErrNo[1] = EVL::EVL_OK;
    EXPECT_NE(takeMessages(), "");
    p.setDict("{\"`nosuch(1)`\":\"1\"}");
    EXPECT_EQ(p.map(true), "{}");
    EXPECT_NE(takeMessages(), "");

    ASSERT_NE(p.instance->microNode(0), nullptr);
    for (const bool timeFlag : {true, false}) {
        p.setDict(timeFlag ? "{\"$F\":\"a\"}" : "{\"b\":\"a\"}");
        p.map(true);
        EXPECT_EQ(p.instance->isTimeDependent(0), timeFlag);
    }
}

TEST(Data, AChannelIsAReferenceThatTheOwnerFollows)
{
    OneData p(2);
    OneData other(2);
    DataOwner &owner = p.owner;
    owner.referencedParm = other.parm;
    owner.referencedComponent = 1;
    p.setDict("{\"own\":1}", 0);
    other.setDict("{\"there\":1}", 1);

    p.instance->setExpression(0.0, "chs(\"../x\") \n", TRK_LANGUAGE_NATIVE, 0, true, false);
    KIT_String expression;
    p.instance->getExpression(0.0, expression, 0, true, 1);
    EXPECT_EQ(expression.toStdString(), "chs(\"../x\")");
    KIT_String shown("untouched");
    p.instance->getExpressionStringForUI(0.0, shown, 0, 1);
    EXPECT_EQ(shown, expression);
    p.instance->getExpressionStringForUI(0.0, shown, 1, 1);
    EXPECT_EQ(shown, "");
    TRK_Channel *const channel = p.instance->getChannel(0);
    p.instance->setExpression(0.0, "2", TRK_LANGUAGE_NATIVE, 0, true, false);
    EXPECT_EQ(p.instance->getChannel(0), channel);

    EXPECT_EQ(p.item(0, 3.0), other.item(1));
    EXPECT_EQ(owner.calls, "0 0 0 at 3;");
    EXPECT_EQ(p.text(0), "{\"there\":1}");
    EXPECT_EQ(p.contents(), "key_value_dict:{\"own\":1}|-");
    DataItem item = other.item(1);
    p.instance->getValue(nullptr, 0.0, item, 0, 1);
    EXPECT_EQ(item, nullptr) << "without a list nobody is asked";
    owner.referencedParm = nullptr;
    EXPECT_EQ(p.item(0), nullptr);

    p.instance->setValue(0.0, makeDict("{}"), false, 0, theAddKey, theKeySet);
    EXPECT_TRUE(p.instance->getChannel(0));
    p.instance->setValue(0.0, makeDict("{}"), true, 0, theAddKey, theKeySet);
    EXPECT_FALSE(p.instance->getChannel(0));
    p.instance->setExpression(0.0, "2", TRK_LANGUAGE_NATIVE, 5, true, false);
    EXPECT_EQ(takeMessages(), "ZEL 21");
}

TEST(Data, AReferenceToItselfEnds)
{
    OneData p;
    p.instance->setExpression(0.0, "1", TRK_LANGUAGE_NATIVE, 0, true, false);
    p.owner.referencedParm = p.parm;
    EXPECT_EQ(p.item(), nullptr);
    EXPECT_NE(takeMessages(), "") << "and is told";
    // The count restarts.
    OneData other;
    other.setDict("{\"a\":1}");
    p.owner.referencedParm = other.parm;
    EXPECT_EQ(typedText(p.item()), "key_value_dict:{\"a\":1}");
}

TEST(Data, SavesItemsAndNoChannels)
{
    OneData p(4);
    p.setDict("{\"a\":\"x y\"}", 0);
    p.data().setData(std::make_shared<NoteItem>("n"), 0.0, 1);
    p.setDict("{\"hidden\":1}", 2);
    p.instance->setExpression(0.0, "1", TRK_LANGUAGE_NATIVE, 2, true, false);
    p.instance->setLockedFlag(1, true);
    EXPECT_EQ(p.saved(), "\t[ 0\tlocks=2 ]\t(\t\"key_value_dict:{\\\"a\\\":\\\"x y\\\"}\""
                         "\t\"test_note:n\"\t\"\"\t\"\"\t)\n");
    EXPECT_EQ(valuePackets(p.saved(true)),
              "1 key_value_dict; 2 a1616163782079; 1 test_note; 2 6e; 1 ; 1 ; 0");
    EXPECT_EQ(toHex(p.saved(true)),
              "f97a04000400000002000000"                             // the option: locks
              "f97a0100120000000e0000006b65795f76616c75655f64696374" // key_value_dict
              "f97a020007000000a1616163782079"                       // {"a":"x y"}
              "f97a01000d00000009000000746573745f6e6f7465"           // test_note
              "f97a0200010000006e"                                   // n
              "f97a01000400000000000000f97a01000400000000000000"     // two without an item
              "f97a000000000000");

    for (const bool binary : {false, true}) {
        OneData q(4);
        q.setDict("{\"kept\":1}", 3);
        EXPECT_TRUE(q.load(p.saved(binary), binary));
        EXPECT_EQ(q.contents(), "key_value_dict:{\"a\":\"x y\"}|test_note:n|-|"
                                "key_value_dict:{\"kept\":1}");
        EXPECT_EQ(q.instance->getLockedField(), 2u);
        EXPECT_EQ(takeMessages(), "");
    }
}

TEST(Data, SavesNothingWhenItIsToldSo)
{
    OneData p;
    ZEL_SpareData spare;
    spare.setSaveValue(false);
    p.parm->getTemplatePtr()->setSparePtr(&spare);
    p.setDict("{\"a\":1}");
    EXPECT_EQ(p.saved(), "\t[ 0\tlocks=0 ]\t(\t\"\"\t)\n");
    EXPECT_EQ(valuePackets(p.saved(true)), "1 ; 2 a1616101; 0") << "the payload stays";
    OneData q;
    q.setDict("{\"b\":1}");
    EXPECT_TRUE(q.load(p.saved(true), true));
    EXPECT_EQ(q.contents(), "-");
    p.parm->getTemplatePtr()->setSparePtr(nullptr);
}

TEST(Data, TellsWhatCantBeSaved)
{
    OneData p;
    p.data().setData(std::make_shared<NoteItem>("unsaveable"), 0.0, 0);
    for (const bool binary : {false, true}) {
        std::ostringstream os;
        EXPECT_FALSE(p.instance->save(os, binary, false));
        EXPECT_EQ(takeTexts(), "Common 10 Data Parameter Save");
    }
    EXPECT_EQ(p.saved(), "\t[ 0\tlocks=0 ]\t(\t\"\"\t)\n");
}

TEST(Data, LoadsText)
{
    const struct
    {
        const char *text;
        bool loaded;
        const char *contents; // before: x and y
        const char *messages;
    } cases[] = {
        {"[ 0 locks=1 ] ( test_note:a test_note:b )", true, "test_note:a|test_note:b", ""},
        {"( test_note:a )", true, "test_note:a|-", ""},
        {"( )", true, "-|-", ""},
        {"(\t\"\"\tword )", true, "test_note:x|test_note:y", ""},
        {"( nobodys:1 test_note:b )", true, "-|test_note:b", ""},
        {"( key_value_dict:{ test_note:b )", true, "key_value_dict:{}|test_note:b", ""},
        {"( test_note:a test_note:b test_note:c test_note:d )", true, "test_note:a|test_note:b",
         "ZEL 3 /obj/test p"},
        {"( test_note:a", false, "test_note:a|test_note:y", "ZEL 9 )"},
        {"test_note:a )", false, "test_note:x|test_note:y", "ZEL 9 ("},
        {"[ 0 ( )", false, "test_note:x|test_note:y", "ZEL 9 ]"},
        {"", false, "test_note:x|test_note:y", "ZEL 9 ("},
    };
    for (const auto &c : cases) {
        OneData p(2);
        p.data().setData(std::make_shared<NoteItem>("x"), 0.0, 0);
        p.data().setData(std::make_shared<NoteItem>("y"), 0.0, 1);
        p.instance->setLockedFlag(1, true);
        EXPECT_EQ(p.load(c.text), c.loaded) << c.text;
        EXPECT_EQ(p.contents(), c.contents) << c.text;
        EXPECT_EQ(takeTexts(), c.messages) << c.text;
        EXPECT_EQ(p.instance->getLockedField(), c.text[0] == '[' && c.loaded ? 1u : 0u) << c.text;
    }
}

TEST(Data, LoadsPackets)
{
    const std::string dict = fromHex("a1616101");
    const std::string a = typePacket("key_value_dict") + packet(2, dict);
    const std::string none = typePacket("");
    const std::string end = packet(0, "");
    const char *const tooMany = "ZEL 3 /obj/test p; ZEL 3 /obj/test p";
    const char *const label = " String Parameter Load";
    const struct
    {
        const char *name;
        std::string bytes;
        bool loaded;
        const char *contents; // before: x and y
        std::string messages;
    } cases[] = {
        {"whole", a + a + end, true, "D|D", ""},
        {"no item", none + a + end, true, "x|D", ""},
        {"payload without type", none + packet(2, dict) + none + end, true, "-|y", ""},
        {"payload first", packet(2, dict) + a + a + end, true, "D|D", ""},
        {"too few", a + end, true, "D|-", "ZEL 2 /obj/test p"},
        {"too many", a + a + a + end, true, "D|D", tooMany},
        {"a payload of nobody", a + a + packet(2, "x") + end, true, "D|D", "ZEL 3 /obj/test p"},
        {"text in the payload", typePacket("key_value_dict") + packet(2, "{\"a\":1}") + none + end,
         true, "D|y", ""},
        {"broken payload", typePacket("key_value_dict") + packet(2, "\xa1") + none + end, true,
         "E|y", ""},
        {"unknown packet", packet(77, "zz") + a + a + end, true, "D|D",
         std::string("Common 8") + label},
        {"foreign class", a + packet(1, "", "ZEL_Float") + end, true, "D|y",
         std::string("Common 7") + label},
        {"cut type", packet(1, "abc") + end, false, "x|y", std::string("Common 9") + label},
        {"no end", a, true, "D|y", ""},
    };
    for (const auto &c : cases) {
        OneData p(2);
        p.data().setData(std::make_shared<NoteItem>("x"), 0.0, 0);
        p.data().setData(std::make_shared<NoteItem>("y"), 0.0, 1);
        EXPECT_EQ(p.load(c.bytes, true), c.loaded) << c.name;
        std::string contents = p.contents();
        for (const auto &word :
             {std::make_pair("key_value_dict:{\"a\":1}", "D"),
              std::make_pair("key_value_dict:{}", "E"), std::make_pair("test_note:", "")}) {
            for (std::size_t at; (at = contents.find(word.first)) != std::string::npos;) {
                contents.replace(at, std::strlen(word.first), word.second);
            }
        }
        EXPECT_EQ(contents, c.contents) << c.name;
        EXPECT_EQ(takeTexts(), c.messages) << c.name;
    }
}

TEST(Data, UndoKeepsTheItemsThemselves)
{
    OneData p(2);
    const DataItem first = makeDict("{\"a\":1}");
    p.data().setData(first, 0.0, 0);
    std::shared_ptr<ZEL_UndoData> undo;
    ASSERT_TRUE(p.instance->saveUndoData(undo));
    p.setDict("{}", 0);
    p.setDict("{}", 1);
    p.instance->setExpression(0.0, "1", TRK_LANGUAGE_NATIVE, 1, true, false);
    EXPECT_TRUE(p.instance->loadUndoData(undo));
    EXPECT_EQ(p.data().getData(0.0, 0), first);
    EXPECT_EQ(p.data().getData(0.0, 1), nullptr);
    EXPECT_EQ(p.channels.getChannel("px"), nullptr);
    EXPECT_EQ(p.instance->getChannelCount(), 0);

    OneData wider(3);
    wider.setDict("{\"w\":1}", 2);
    EXPECT_TRUE(wider.instance->loadUndoData(undo));
    EXPECT_EQ(wider.contents(), "key_value_dict:{\"a\":1}|-|-");
    OneData narrower(1);
    EXPECT_TRUE(narrower.instance->loadUndoData(undo));
    EXPECT_EQ(narrower.contents(), "key_value_dict:{\"a\":1}");
    EXPECT_FALSE(p.instance->loadUndoData(std::make_shared<ZEL_InstanceUndoData>("\t( )")));
    EXPECT_FALSE(p.instance->loadUndoData(nullptr));
    EXPECT_EQ(p.data().getData(0.0, 0), first);
}

TEST(Data, CopiesShareTheItems)
{
    OneData p(2);
    p.setDict("{\"a\":1}", 1);
    const std::unique_ptr<ZEL_Instance> copy(p.instance->duplicateSelf(p.parm));
    EXPECT_EQ(dynamic_cast<ZEL_Data &>(*copy).getData(0.0, 1), p.item(1));

    OneData wider(3);
    wider.setDict("{}", 0);
    wider.setDict("{\"w\":1}", 2);
    p.instance->setLockedFlag(0, true);
    wider.instance->setDefaultsInitFlag(false);
    wider.instance->adopt(*p.instance);
    EXPECT_EQ(wider.contents(), "-|key_value_dict:{\"a\":1}|key_value_dict:{\"w\":1}");
    EXPECT_TRUE(wider.instance->getLockedFlag(0)) << "what the base takes over";
    EXPECT_TRUE(wider.instance->getDefaultsInitFlag());
}

TEST(Data, CommandsCarryTypedTexts)
{
    OneData p(3);
    p.setDict("{\"a\":\"x y\"}", 0);
    p.data().setData(std::make_shared<NoteItem>("n"), 0.0, 1);
    OneData other;
    other.setDict("{\"o\":1}");
    p.owner.referencedParm = other.parm;
    p.instance->setExpression(0.0, "1", TRK_LANGUAGE_NATIVE, 2, true, false);
    const std::string name = p.instance->getChannelToken(2).nonNullStr();
    const std::string dict = "\"key_value_dict:{\\\"a\\\":\\\"x y\\\"}\"";
    EXPECT_EQ(p.savedCommand(0), " ( " + dict + " test_note:n " + name + " )");
    EXPECT_EQ(p.savedCommand(1, 2), " ( \"key_value_dict:{\\\"o\\\":1}\" )");
    p.data().setData(nullptr, 0.0, 0);
    EXPECT_EQ(p.savedCommand(0, 0), " ( \"\" )");

    // Set: the channel stays, locked components are skipped, and an argument without ":" empties.
    p.instance->setLockedFlag(1, true);
    p.instance->clearAllDirtyFlags();
    EXPECT_EQ(p.loadCommand({"(", dict.c_str(), "test_note:m", "word", ")", "rest"}, true), 5);
    EXPECT_EQ(p.contents(), "key_value_dict:{\"a\":\"x y\"}|test_note:n|-");
    EXPECT_TRUE(p.instance->getChannel(2) && p.instance->isDirty(0) && !p.instance->isDirty(1));

    // Load: the channel's name links it, and a value deletes it.
    EXPECT_EQ(p.loadCommand({"test_note:q", "-", name.c_str()}, false), 3);
    EXPECT_TRUE(p.instance->getChannel(2));
    EXPECT_EQ(p.loadCommand({"test_note:r"}, false, 2), 1);
    EXPECT_EQ(p.contents(), "test_note:q|test_note:n|test_note:r");
    EXPECT_FALSE(p.instance->getChannel(2));
    EXPECT_EQ(p.channels.getChannel(name.c_str()), nullptr);
    EXPECT_EQ(takeMessages(), "");
}

TEST(DataThreads, EachReaderCountsItsOwnCopies)
{
    OneData p(2);
    DataItem item = makeDict("{}");
    const std::weak_ptr<const ZEL_DataItem> watched = item;
    p.data().setData(item, 0.0, 0);
    const long alone = item.use_count();
    EXPECT_EQ(p.item().use_count(), alone + 1); // nobody to share with
    // All at once, so that the last ones have no slot for reading.
    std::vector<DataItem> given(40);
    Barrier all(int(given.size()));
    onThreads(int(given.size()), [&](int i) {
        BASgetSTID();
        all.wait();
        DataItem &mine = given[std::size_t(i)];
        mine = p.item();
        const std::vector<DataItem> more(10, p.data().getData(0.0, 0));
        EXPECT_TRUE(BASgetSTID() > 32 || mine.use_count() == 12);
        EXPECT_TRUE(mine == item);
    });
    // What is set again is the item, not the share of a reader.
    const auto share = std::find_if(given.begin(), given.end(), [&](const DataItem &each) {
        return each.owner_before(item) || item.owner_before(each);
    });
    ASSERT_NE(share, given.end());
    const long shared = share->use_count();
    p.data().setData(*share, 0.0, 1);
    EXPECT_EQ(share->use_count(), shared);
    EXPECT_EQ(p.data().getData(0.0, 1), item);

    // Whoever has it last frees it.
    p.data().setData(nullptr, 0.0, 0);
    p.data().setData(nullptr, 0.0, 1);
    item.reset();
    given.resize(1);
    EXPECT_EQ(typedText(given[0]), "key_value_dict:{}");
    given.clear();
    EXPECT_TRUE(watched.expired());
}

TEST(DataThreads, AReaderSeesTheItemFromBeforeOrAfter)
{
    OneData p(2);
    const DataItem items[2] = {makeDict("{\"k\":\"one\"}"), makeDict("{\"k\":\"two\"}")};
    p.data().setData(items[0], 0.0, 0);
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    const auto write = [&] {
        // The last holder of an item may be a reader.
        for (int round = 0; round < 2000; ++round) {
            p.data().setData(items[round % 2], 0.0, 0);
            p.data().setData(makeDict("{\"short\":\"lived\"}"), 0.0, 1);
            std::shared_ptr<ZEL_UndoData> undo;
            p.instance->saveUndoData(undo);
        }
        stop = true;
    };
    const auto read = [&] {
        const int thread = BASgetSTID();
        while (!stop) {
            DataItem item;
            KIT_String text;
            KIT_JSONValueMap map;
            p.instance->getValue(p.list.get(), 0.0, item, 0, thread);
            p.instance->getValue(p.list.get(), 0.0, text, 0, true, thread);
            p.instance->getValue(p.list.get(), 0.0, map, 0, false, thread);
            const KIT_JSONValue *value = map.get("k");
            wrong += !value || (item != items[0] && item != items[1]) ||
                     text.length() != std::strlen("{\"k\":\"one\"}");
        }
    };
    onThreads(4, [&](int i) { i == 0 ? write() : read(); });
    EXPECT_EQ(wrong, 0);
}

TEST(DataThreads, ScopesShareAndUpgrade)
{
    tbb::spin_rw_mutex mutex;
    {
        ZEL_SpinLockReadScope reader(mutex);
        ZEL_SpinLockReadScope other;
        EXPECT_FALSE(mutex.try_lock());
        other.acquire(mutex);
    }
    {
        ZEL_SpinLockReadScope reader(mutex);
        EXPECT_TRUE(reader.upgradeToWriter());
        EXPECT_TRUE(reader.upgradeToWriter());
        EXPECT_FALSE(mutex.try_lock_shared());
    }
    {
        const ZEL_SpinLockWriteScope writer(mutex);
        EXPECT_FALSE(mutex.try_lock_shared());
    }
    ASSERT_TRUE(mutex.try_lock());
    mutex.unlock();
}
