// Memory refused at every single allocation of a piece of work, once and from there on: whatever the
// result, nothing is stuck afterwards, and the same work succeeds when repeated, as does the next.

#include "Refusal.h"

#include <DS/DS_DisableInfo.h>
#include <DS/DS_ParmInfo.h>
#include <DS/DS_ScriptReader.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_UndoStack.h>
#include <STO/STO_Writer.h>
#include <ZEL/ZEL_BatchParm.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_KeyValueDictDataItem.h>
#include <ZEL/ZEL_NameTable.h>
#include <ZEL/ZEL_PresetInfo.h>
#include <presets/PresetFolders.h>
#include <scripts/DialogText.h>
#include <spare/SpareRig.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>

namespace
{

/// A block with a nested one, texts, a condition and a menu.
class Points : public MultiList
{
public:
    Points()
    {
        static ZEL_ConditionalGroup theGroup{{"{ s# == none }", ZEL_CONDTYPE_DISABLE}};
        inner.add(ZEL_FLT, 1, "w#_#", "Weight #");
        items.add(ZEL_XYZ, 3, "at#", "At #");
        items.add(ZEL_STRING, 1, "s#", "Text #", defaults);
        items.add(ZEL_FILE, 1, "f#", "File #");
        items.templates()[1].setConditionalBasePtr(&theGroup);
        items.addMulti(ZEL_MULTITYPE_LIST, "in#", inner.templates(), 1);
        top.add(ZEL_XYZ, 3, "t");
        top.add(ZEL_STRING, 2, "words", "Words", defaults);
        top.add(ZEL_KEY_VALUE_DICT, 1, "data");
        top.add(ZEL_FILE, 1, "file");
        top.addMulti(ZEL_MULTITYPE_LIST, "points", items.templates(), 1);
        top.addMulti(ZEL_MULTITYPE_RAMP_FLT, "ramp", nullptr, 2);
    }

    /// Owners of tests write logs, which takes memory too.
    void build()
    {
        list.reset();
        list = std::make_unique<ZEL_ParmList>(top.templates(), &channels, nullptr, nullptr,
                                              "refused", false);
    }
    ~Points()
    {
        list.reset();
        ZEL_ParmList::removeOpSharedInfo("refused");
    }
    std::string text(Texts texts)
    {
        EXPECT_EQ(channels.getValueSource() != nullptr, list != nullptr);
        // Each listener must still exist.
        channels.deleteChannel(channels.addChannel("probe"));
        return list ? textOf(*list, texts) : "";
    }

    ZEL_Default defaults[2]{ZEL_Default(0.0, "point # of many"), ZEL_Default(0.0, "another one")};
    Block inner;
};

/// Lists: a saved one read, with channels and items that aren't there yet.
struct LoadingAList : Points
{
    LoadingAList()
    {
        build();
        setCount(3);
        set("at2", 5);
        animate("t", "ch(\"tx\") + 2", 1);
        parm("words").setValue(0.0, "seven", TRK_MEANING_LITERAL, false, 0, ZEL_ADDKEY_PENDING,
                               false);
        std::ostringstream os;
        list->save(os, false, false);
        saved = os.str();
        setCount(1);
        parm("words").revertToDefaults(0.0);
    }
    bool run()
    {
        KIT_IStream is(saved.data(), saved.size(), KIT_IStream::TEXT);
        return list->load(is, "saved", nullptr);
    }
    std::string saved;
};

/// Lists: blocks in the middle that lose items in a load, of which one grows again.
struct LosingItems : Points
{
    LosingItems()
    {
        build();
        setCount(2.0 + refusalScale());
        setCount(3, "in1");
        setCount(4, "ramp");
        animate("at2", "1 + 2");
        std::ostringstream os;
        list->save(os, false, false);
        full = os.str();
    }
    bool run()
    {
        const bool isFull = load(full);
        return load("{ version 0.8 in1 [ 0 ] ( 1 ) ramp [ 0 ] ( 2 ) points [ 0 ] ( 1 )\n"
                    "points [ 0 ] ( 2 ) in2 [ 0 ] ( 2 ) w2_1 [ 0 ] ( 7 ) points [ 0 ] ( 1 ) }") &&
               isFull;
    }
    std::string full;
};

/// Lists: items that a load lets go, and that what it notifies wants again.
struct WantingItemsAgain : LosingItems
{
    WantingItemsAgain() { list->setEventHandler(this, react); }
    static void react(void *data, TRK_CHANGE_TYPE, int parmIndex)
    {
        auto &self = *static_cast<WantingItemsAgain *>(data);
        if (self.isArmed && parmIndex == 0) {
            self.isArmed = false;
            self.setCount(2);
        }
    }
    bool run()
    {
        isArmed = false;
        const bool isFull = load(full);
        isArmed = true;
        return load("{ version 0.8 points [ 0 ] ( 1 ) t [ 0 ] ( 1 2 3 ) }") && isFull;
    }
    bool isArmed = false;
};

/// Lists: made, and one that takes its place.
struct ReplacingAList : Points
{
    bool run()
    {
        build();
        setCount(2);
        set("at2", 5);
        animate("t", "3", 1);
        list = std::make_unique<ZEL_ParmList>(*list, top.templates(), nullptr, nullptr, "refused",
                                              false);
        return true;
    }
};

/// Multi-parameters: grown, an item inserted and another one removed.
struct MovingItems : Points
{
    MovingItems() { build(); }
    bool run()
    {
        // A second run must not depend on how far the first one moved items.
        setCount(1.0 + refusalScale());
        setCount(1, "in1");
        setCount(2, "in2");
        setCount(2);
        set("at1", 1);
        set("at2", 2);
        multi().insertInstanceBefore(1);
        multi().deleteInstance(0);
        multi().swapInstances(0, 1);
        return true;
    }
};

/// Spare parameters: the set replaced by another.
struct ReplacingSpares : Points
{
    ReplacingSpares()
    {
        build();
        first.add(ZEL_FLT, 1, "a");
        first.add(ZEL_XYZ, 3, "b");
        first.addMulti(ZEL_MULTITYPE_LIST, "m", innerItems.templates(), 1);
        innerItems.add(ZEL_STRING, 1, "ms#", "S #", defaults);
        second.add(ZEL_STRING, 1, "c", "C", defaults);
        second.addMulti(ZEL_MULTITYPE_LIST, "m", innerItems.templates(), 1);
        second.add(ZEL_FLT, 1, "a");
        list->updateSpareParmTemplates(first.templates(), false);
        set("a", 4);
        set("m", 2);
        animate("b", "3", 1);
    }
    ~ReplacingSpares() { list.reset(); }
    bool run()
    {
        list->updateSpareParmTemplates(second.templates(), false);
        return true;
    }

    Block innerItems, first, second;
};

/// Undo: a snapshot taken and restored.
struct UndoingAChange : Points
{
    UndoingAChange()
    {
        build();
        setCount(2);
        set("at2", 5);
        list->saveUndoData(before);
    }
    bool run()
    {
        list->loadUndoData(before, "undo", nullptr);
        ZEL_UndoDataArray now;
        list->saveUndoData(now);
        setCount(1);
        set("t", 9);
        list->loadUndoData(now, "undo", nullptr);
        return true;
    }

    ZEL_UndoDataArray before;
};

/// Undo: a step of a node recorded, undone and redone.
struct RecordingAStep
{
    RecordingAStep() : node((block.add(ZEL_FLT, 1, "t"), block.templates())), stack(node) {}
    bool run()
    {
        node.getParms().setFloat(1.0, "t", 0, 0.0, false);
        {
            NOD_Edit edit(stack, "move");
            edit.change(node, "t");
            node.getParms().setFloat(2.0, "t", 0, 0.0, false);
        }
        return stack.undo() && stack.redo() && stack.undo();
    }
    std::string text(Texts texts) { return textOf(node.getParms(), texts); }

    Block block;
    NOD_Node node;
    NOD_UndoStack stack;
};

/// Undo: a step of a scene with all kinds of changes.
struct RecordingASceneStep
{
    RecordingASceneStep()
    {
        NOD_Report report;
        const auto item =
            NOD_Interface::fromText("{ name item parm { name v type float }\n"
                                    "multiparm { name n default 1 parm { name w# type float } } }",
                                    "item", report);
        a = scene.add("/a", item, report);
        b = scene.add("/b", item, report);
    }
    /// As at the start, whatever an earlier run has left.
    void reset(NOD_Report &report)
    {
        scene.rename(*a, "a", report);
        if (NOD_Node *const extra = scene.find("/extra")) {
            scene.remove(*extra, report);
        }
        NOD_Edit edit(scene, "reset");
        edit.removeChannel(*a, "v");
        edit.set(*a, "v", 1);
        edit.set(*a, "n", 1);
        edit.set(*a, "w1", 0);
        edit.removeChannel(*b, "v");
        edit.expression(*b, "v", "ch('../a/v')");
        a->removeSpareParm("spare");
    }
    bool run()
    {
        NOD_Report report;
        reset(report);
        {
            NOD_Edit edit(scene, "all");
            edit.key(*a, "v", 1.0, 2.0);
            edit.insertItem(*a, "n", 0);
            edit.set(*a, "w1", 3.0);
            a->addSpareParm(spare);
            scene.rename(*a, "renamed", report);
            scene.copy(*b, scene.getRoot(), "extra", report);
        }
        NOD_UndoStack &undo = scene.getUndo();
        return undo.undo() && undo.redo() && undo.undo();
    }
    std::string text(Texts texts)
    {
        return textOf(a->getParms(), texts) + textOf(b->getParms(), texts) + a->getName();
    }

    ZEL_Name name{"spare", "Spare"};
    ZEL_Template spare{ZEL_FLT, 1, &name};
    NOD_Scene scene;
    NOD_Node *a, *b;
};

/// Dialog scripts: read, made templates of, and a list of those.
struct BuildingAScript
{
    ~BuildingAScript() { list.reset(); }
    bool run()
    {
        static const std::string theScript =
            "{ name dialog label Dialog help { \"what it does\" }\n"
            "parm { name t label T type vector3 size 3 default { 1 2 3 } range { 0! 10 }\n"
            " help \"moves\" disablewhen \"{ kind == one }\" }\n"
            "group { name more label More\n"
            " parm { name kind type ordinal menu { one One two Two } default { two } }\n"
            " parm { name file type file default { \"a file of some length\" } parmtag { a b } } }\n"
            "multiparm { name n label N default 2 parm { name x# type float }\n"
            " parm { name y# type string default { \"text of item # here\" } } } }\n";
        list.reset();
        templates.reset();
        page = std::make_unique<ZEL_ScriptPage>();
        const bool isRead = parseScript(*page, theScript, true, nullptr, false, true, 0);
        templates.reset(new ZEL_Template[std::size_t(page->computeTemplateSize()) + 1]);
        ZEL_ScriptImports *imports = nullptr;
        int count = 0;
        page->fillTemplate(templates.get(), count, imports);
        list =
            std::make_unique<ZEL_ParmList>(templates.get(), nullptr, nullptr, nullptr, "", false);
        delete imports;
        return isRead;
    }
    std::string text(Texts texts) { return list ? textOf(*list, texts) : ""; }

    std::unique_ptr<ZEL_ScriptPage> page;
    std::unique_ptr<ZEL_Template[]> templates;
    std::unique_ptr<ZEL_ParmList> list;
};

/// Records: made for the writer from a script that was read.
struct MakingRecords
{
    MakingRecords() : reader("refused")
    {
        static const std::string theScript =
            "{ name d bindhandle a t l d s bindhandlereserved a t l d s\n"
            "bindselector t d p mask 3 m 1 bindselectorreserved parm t d p 1 0 mask 2 m 1\n"
            "group { name g label \"Group with a long label\" parm { name a type string\n"
            " menu { m M n N } parmtag { a b } parmtag { c d } bindhandle a t l d s } } }\n";
        EXPECT_TRUE(parseScript(reader, theScript));
    }
    bool run()
    {
        reader.prepareParms();
        return true;
    }
    std::string text(Texts)
    {
        std::int64_t all = reader.getGroups().size() + reader.getBoundHandles().size() +
                           reader.getReservedHandles().size() +
                           reader.getUnboundSelectors().size() +
                           reader.getReservedSelectors().size();
        for (int i = 0; i < reader.numParms(); ++i) {
            const DS_ParmInfo &info = *reader.getParmInfo(i);
            all += 1 + info.menuChoices.size() + info.attributes.size() + info.handles.size();
        }
        return std::to_string(all);
    }

    DS_ScriptReader reader;
};

/// Presets: listed, loaded and saved.
struct UsingPresets : MultiList
{
    UsingPresets() : presets("Table", "op")
    {
        fs::remove_all(theFolder);
        fs::create_directories(theFolder);
        top.add(ZEL_FLT, 1, "t");
        top.add(ZEL_STRING, 1, "words");
        list =
            std::make_unique<ZEL_ParmList>(top.templates(), &channels, nullptr, nullptr, "", false);
        // The file that the first of all saved, without the wait for the disk.
        const std::string file = theFolder + "/" + presets.getPresetFile().toStdString();
        if (theFirst.empty()) {
            set("t", 5);
            presets.savePresetToDir(list.get(), "first", theFolder.c_str());
            theFirst = readFile(file);
            set("t", 0);
        }
        writeFile(file, theFirst);
        presets.setNeedsRefresh();
    }
    bool run()
    {
        const bool isLoaded =
            presets.loadPresetFile(list.get(), presets.getPresetPath(0).nonNullStr());
        return presets.savePresetToDir(list.get(), "second", theFolder.c_str()) && isLoaded;
    }
    std::string text(Texts texts)
    {
        std::string all = textOf(*list, texts);
        for (int i = 0; i < presets.getNumPresets(); ++i) {
            all += presets.getPresetName(i).toStdString() + " ";
        }
        return all;
    }

    static std::string theFolder, theFirst;
    ZEL_PresetInfo presets;
};
std::string UsingPresets::theFolder, UsingPresets::theFirst;

REFUSE_EACH(LoadingAList)
REFUSE_EACH(LosingItems)
REFUSE_EACH(WantingItemsAgain)
REFUSE_EACH(ReplacingAList)
REFUSE_EACH(MovingItems)
REFUSE_EACH(ReplacingSpares)
REFUSE_EACH(UndoingAChange)
REFUSE_EACH(RecordingAStep)
REFUSE_EACH(RecordingASceneStep)
REFUSE_EACH(BuildingAScript)
REFUSE_EACH(MakingRecords)

TEST(RefusedMemory, AllRecordsAreCounted)
{
    MakingRecords whole;
    whole.run();
    EXPECT_EQ(whole.text(Texts::READ), "11");
}

TEST(RefusedMemory, AConditionOfTheWriterHasAValueForEachName)
{
    untilNoneIsRefused([](long n) {
        DS_DisableInfo info;
        const auto add = [&] {
            info.addInfo("name", "value");
            return true;
        };
        const bool isRefused = runRefused(n, Refusal::ONE, add).refused;
        EXPECT_EQ(info.getParmNames().size(), info.getValues().size()) << n;
        EXPECT_EQ(info.entries(), isRefused ? 0 : 1) << n;
        return isRefused;
    });
}

TEST(RefusedMemory, AStreamFailsAndATextIsCounted)
{
    const std::string large(100000, 'x');
    untilNoneIsRefused([&](long n) {
        KIT_ByteBuffer bytes;
        KIT_OByteStream os(bytes);
        KIT_WorkBuffer buffer;
        const Refused written =
            runRefused(n, Refusal::ALL_FROM, [&] { return bool(os << large << large); });
        EXPECT_EQ(os.fail(), written.refused) << n;
        EXPECT_EQ(bytes.isGood(), !written.refused) << n;
        const Refused appended = runRefused(n, Refusal::ALL_FROM, [&] {
            buffer.append(large);
            buffer.append(large);
            return true;
        });
        EXPECT_EQ(appended.lost, appended.refused) << n;
        return written.refused || appended.refused;
    });
    KIT_StringHolder copy;
    const std::uint64_t before = BASfailedAllocations();
    runRefused(0, Refusal::ALL_FROM, [&] {
        copy = KIT_StringHolder(large);
        return true;
    });
    EXPECT_TRUE(copy.isNull());
    EXPECT_EQ(BASfailedAllocations(), before + 1);
}

TEST(RefusedMemory, APacketThatCouldNotBeBegunIsReadAgain)
{
    KIT_ByteBuffer bytes;
    bytes.beginSeries();
    bytes.appendPacket(7, 1, 2.5f);
    bytes.appendPacket(7, 0);
    untilNoneIsRefused([&](long n) {
        KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::BINARY);
        KIT_Packet packet;
        int classId = 0;
        int packetId = 0;
        const auto read = [&] { return packet.beginRead(is, classId, packetId); };
        const Refused begun = runRefused(n, Refusal::ONE, read);
        packet.endRead();
        EXPECT_TRUE(is.seekg(0) && read()) << n;
        EXPECT_EQ(packetId, 1) << n;
        return begun.refused;
    });
    EXPECT_EQ(takeMessages(), "");
}

TEST(RefusedMemory, ABatchParameterHasAllItsSlotsOrNone)
{
    for (const ZEL_BatchType type : {ZEL_BATCH_INT, ZEL_BATCH_REAL, ZEL_BATCH_STRING}) {
        untilNoneIsRefused([&](long n) {
            ZEL_BatchParm parm;
            EXPECT_TRUE(parm.init("p", type, 3, nullptr));
            bool done = false;
            const auto init = [&] { return done = parm.init("p", type, 1000, nullptr); };
            const bool isRefused = runRefused(n, Refusal::ONE, init).refused;
            EXPECT_EQ(done, !isRefused) << n;
            EXPECT_EQ(parm.getVectorSize(), isRefused ? 0 : 1000) << n;
            EXPECT_TRUE(parm.init("p", type, 3, nullptr) && parm.getVectorSize() == 3);
            return isRefused;
        });
    }
}

TEST(RefusedMemory, AFirstChannelMovesTheValueEvenOnTheSecondTry)
{
    std::int64_t wanted = -1;
    untilNoneIsRefused([&](long n) {
        OneParm p(ZEL_TOGGLE, 1);
        p.build();
        TRK_Channel *channel = p.channels.addChannel("p");
        const auto link = [&] {
            p.instance->setChannel(0, channel);
            return true;
        };
        const bool isRefused = runRefused(n, Refusal::ONE, link).refused;
        EXPECT_EQ(p.instance->getChannel(0), isRefused ? nullptr : channel);
        link();
        const std::int64_t bytes = p.instance->getMemoryUsage(true);
        wanted = wanted < 0 ? bytes : wanted;
        EXPECT_EQ(bytes, wanted) << n;
        return isRefused;
    });
}

TEST(RefusedMemory, ATableThatCantGrowIsAsItWas)
{
    ZEL_NameTable table;
    const auto name = [](int i) { return KIT_StringHolder(("name" + std::to_string(i)).c_str()); };
    for (int i = 0; i < 100; ++i) {
        table.insert(name(i), i);
    }
    const std::uint32_t capacity = table.capacity();
    const auto grow = [&] {
        table.reserve(100000);
        return true;
    };
    EXPECT_TRUE(runRefused(0, Refusal::ALL_FROM, grow).reported);
    EXPECT_EQ(table.capacity(), capacity);
    EXPECT_EQ(table.entries(), 100u);
    table.insert(name(100), 100);
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(table.find(name(i)), i <= 100 ? i : -1);
    }
}

/// An item that some text of it gets no memory for.
struct CutItem : ZEL_KeyValueDictDataItem
{
    bool saveAscii(std::ostream &os) const override
    {
        BASnoteFailedAllocation();
        return ZEL_KeyValueDictDataItem::saveAscii(os);
    }
    bool saveBinary(std::ostream &os) const override
    {
        BASnoteFailedAllocation();
        return ZEL_KeyValueDictDataItem::saveBinary(os);
    }
};

TEST(RefusedMemory, TheStreamOfASavedListFails)
{
    OneParm one(ZEL_KEY_VALUE_DICT, 1);
    one.build();
    for (const bool binary : {false, true}) {
        std::ostringstream whole, cut;
        one.list->save(whole, binary, false);
        EXPECT_TRUE(whole.good());
        one.instance->setValue(0.0, std::make_shared<CutItem>(), false, 0, ZEL_ADDKEY_PENDING,
                               ZEL_KEYSET_PREFERENCE);
        EXPECT_EQ(takeMessages(), "");
        one.list->save(cut, binary, false);
        EXPECT_TRUE(cut.fail());
        EXPECT_NE(takeMessages(), "");
        one.list->revertToDefaults(0.0);
    }
}

using RefusedMemoryFolders = PresetFolders;
TEST_F(RefusedMemoryFolders, UsingPresets)
{
    UsingPresets::theFolder = in("a");
    refuseEach(workType<UsingPresets>("UsingPresets"));
    UsingPresets last;
    last.run();
    EXPECT_EQ(last.text(Texts::READ), "t=5 words= first second ");
}

TEST_F(RefusedMemoryFolders, AFileOfWhichSomeWasLostReplacesNone)
{
    const std::string path = in("a/kept");
    writeFile(path, "old");
    STO_Writer writer(path.c_str());
    *writer.getStream() << "new";
    BASnoteFailedAllocation();
    EXPECT_FALSE(writer.close());
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(readFile(path), "old");
}

TEST(RefusedMemory, DestroyingTakesNone)
{
    const auto destroy = [](auto &work) {
        const auto reset = [&] {
            work.list.reset();
            return true;
        };
        EXPECT_FALSE(runRefused(0, Refusal::ALL_FROM, reset).refused);
    };
    MovingItems items;
    items.run();
    items.animate("t", "3", 1);
    destroy(items);
    ReplacingSpares spares;
    spares.run();
    destroy(spares);
}

// An application's generator that throws is called again.
bool theGeneratorThrowsFlag = false;

void generateItem(void *, ZEL_Item *items, int, const ZEL_SpareData *, const ZEL_Parm *)
{
    if (theGeneratorThrowsFlag) {
        throw std::bad_alloc();
    }
    items[0] = ZEL_Item("one", "One", nullptr);
    items[1] = ZEL_Item();
}

TEST(RefusedMemory, AMenuWhoseGeneratorThrew)
{
    const ZEL_ChoiceList menu(ZEL_CHOICELIST_REPLACE, generateItem);
    const ZEL_Item *items = nullptr;
    theGeneratorThrowsFlag = true;
    EXPECT_THROW(menu.getChoiceItems(items, nullptr, nullptr, nullptr, false), std::bad_alloc);
    theGeneratorThrowsFlag = false;
    menu.getChoiceItems(items, nullptr, nullptr, nullptr, false);
    ASSERT_NE(items, nullptr);
    EXPECT_STREQ(items[0].getToken(), "one");
}

} // namespace
