// Memory refused at every single allocation of a piece of work, once and from there on: whatever the
// result, nothing is stuck afterwards, and the same work succeeds when repeated, as does the next.

#include <BAS/BAS_Allocate.h>
#include <DS/DS_DisableInfo.h>
#include <DS/DS_ParmInfo.h>
#include <DS/DS_ScriptReader.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_PresetInfo.h>
#include <node/ZELX_Node.h>
#include <node/ZELX_UndoStack.h>
#include <presets/PresetFolders.h>
#include <scripts/DialogText.h>
#include <spare/SpareRig.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <functional>
#include <new>

namespace
{

// ---------------------------------------------------------------------- //
// Every way to the heap, for the thread that asks for refusals
// ---------------------------------------------------------------------- //

enum class Refusal
{
    ONE,     ///< a single allocation
    ALL_FROM ///< and all after it
};

struct Allocations
{
    long left = -1; ///< those that succeed until the first refusal; negative: none is refused
    Refusal refusal = Refusal::ONE;
    bool refusedFlag = false;

    bool refuse()
    {
        if (left != 0) {
            left -= left > 0 ? 1 : 0;
            return false;
        }
        refusedFlag = true;
        left = refusal == Refusal::ONE ? -1 : 0;
        return true;
    }
};

thread_local Allocations theAllocations;

} // namespace

#ifdef BAS_PLAIN_MALLOC
extern "C" void *__interceptor_malloc(std::size_t);
extern "C" void *malloc(std::size_t size)
{
    return theAllocations.refuse() ? nullptr : __interceptor_malloc(size);
}

/// The leak sanitizer knows blocks of the dynamic linker by their caller, which is this malloc now.
extern "C" __attribute__((visibility("default"))) const char *__lsan_default_suppressions()
{
    return "leak:ld-linux\n";
}
#else
extern "C" void *__libc_malloc(std::size_t);
extern "C" void *malloc(std::size_t size)
{
    return theAllocations.refuse() ? nullptr : __libc_malloc(size);
}

// Called by the libraries through the dynamic linker, which must see this one.
extern "C" __attribute__((visibility("default"))) void *scalable_malloc(std::size_t size)
{
    using Function = void *(*)(std::size_t);
    static const auto theReal = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "scalable_malloc"));
    return theAllocations.refuse() ? nullptr : theReal(size);
}
#endif

// All forms: a sanitizer would serve the others. Not inlined: a call of the one with the other's body in
// its place looks like a mismatch to GCC.
[[gnu::noinline]] void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return malloc(size ? size : 1);
}
[[gnu::noinline]] void *operator new(std::size_t size)
{
    void *const memory = operator new(size, std::nothrow);
    if (!memory) {
        throw std::bad_alloc();
    }
    return memory;
}
[[gnu::noinline]] void operator delete(void *memory) noexcept
{
    std::free(memory);
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return operator new(size, std::nothrow);
}
void *operator new[](std::size_t size)
{
    return operator new(size);
}
void operator delete(void *memory, std::size_t) noexcept
{
    operator delete(memory);
}
void operator delete(void *memory, const std::nothrow_t &) noexcept
{
    operator delete(memory);
}
void operator delete[](void *memory) noexcept
{
    operator delete(memory);
}
void operator delete[](void *memory, std::size_t) noexcept
{
    operator delete(memory);
}
void operator delete[](void *memory, const std::nothrow_t &) noexcept
{
    operator delete(memory);
}

namespace
{

/// Runs it with the n-th allocation refused. True if there was an n-th one.
bool runRefused(long n, Refusal refusal, const std::function<void()> &work)
{
    theAllocations = {n, refusal, false};
    try {
        work();
    } catch (const std::bad_alloc &) {
    }
    theAllocations.left = -1;
    takeMessages();
    return theAllocations.refusedFlag;
}

// ---------------------------------------------------------------------- //
// Pieces of work
// ---------------------------------------------------------------------- //

enum class Texts
{
    READ,
    PASS_OVER ///< a text that got no memory is empty: the count of refusals shows it
};

std::string componentText(const ZEL_ParmList &list, int parmIndex, int index, Texts texts)
{
    const ZEL_Parm &parm = *list.getParmPtr(parmIndex);
    KIT_String value;
    parm.getValue(0.0, value, index, true, BASgetSTID());
    const bool isFound =
        list.getParmIndexFromChannel(parm.getChannelToken(index), nullptr) == parmIndex;
    const bool isPassed = texts == Texts::PASS_OVER && parm.getType().isStringType();
    return (isPassed ? "..." : value.toStdString()) + (isFound ? "" : "!");
}

/// The list in its order; "!" after a name that doesn't find its parameter.
std::string textOf(const ZEL_ParmList &list, Texts texts)
{
    std::string text;
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm &parm = *list.getParmPtr(i);
        const bool isFound = list.getParmIndex(parm.getTokenRef()) == i;
        text += std::string(parm.getTokenRef().nonNullStr()) + (isFound ? "" : "!");
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            text += (k > 0 ? "," : "=") + componentText(list, i, k, texts);
        }
        text += " ";
    }
    return text;
}

/// `theSharesFlag`: the work uses what the process keeps, such as the names of a node type, so that
/// anything left half made would show in the next work of its kind.

/// A block with a nested one, texts, a condition and a menu.
class Points : public MultiList
{
public:
    static constexpr bool theSharesFlag = true;

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

/// Lists: made.
struct MakingAList : Points
{
    void run() { build(); }
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
    void run()
    {
        KIT_IStream is(saved.data(), saved.size(), KIT_IStream::TEXT);
        list->load(is, "saved", nullptr);
    }
    std::string saved;
};

/// Lists: one that takes another's place.
struct ReplacingAList : Points
{
    ReplacingAList()
    {
        build();
        setCount(2);
        set("at2", 5);
        animate("t", "3", 1);
    }
    void run()
    {
        list = std::make_unique<ZEL_ParmList>(*list, top.templates(), nullptr, nullptr, "refused",
                                              false);
    }
};

/// Multi-parameters: grown.
struct GrowingItems : Points
{
    GrowingItems() { build(); }
    void run()
    {
        setCount(3);
        setCount(2, "in2");
    }
};

/// Multi-parameters: an item inserted and another one removed.
struct MovingItems : Points
{
    MovingItems() { build(); }
    void run()
    {
        setCount(2);
        set("at1", 1);
        set("at2", 2);
        multi().insertInstanceBefore(1);
        multi().deleteInstance(0);
        multi().swapInstances(0, 1);
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
    void run() { list->updateSpareParmTemplates(second.templates(), false); }

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
    void run()
    {
        list->loadUndoData(before, "undo", nullptr);
        ZEL_UndoDataArray now;
        list->saveUndoData(now);
        setCount(1);
        set("t", 9);
        list->loadUndoData(now, "undo", nullptr);
    }

    ZEL_UndoDataArray before;
};

/// Undo: a step of the reference node recorded, undone and redone.
struct RecordingAStep
{
    static constexpr bool theSharesFlag = false;

    RecordingAStep() : node((block.add(ZEL_FLT, 1, "t"), block.templates())), stack(node) {}
    void run()
    {
        node.getParms().setFloat(1.0, "t", 0, 0.0, false);
        {
            const ZELX_UndoStack::Step step(stack, "move");
            node.getParms().setFloat(2.0, "t", 0, 0.0, false);
        }
        stack.undo();
        stack.redo();
        stack.undo();
    }
    std::string text(Texts texts) { return textOf(node.getParms(), texts); }

    Block block;
    ZELX_Node node;
    ZELX_UndoStack stack;
};

/// Dialog scripts: read, made templates of, and a list of those.
struct BuildingAScript
{
    static constexpr bool theSharesFlag = true;

    ~BuildingAScript() { list.reset(); }
    void run()
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
        KIT_IStream memory(theScript.data(), theScript.size(), KIT_IStream::TEXT);
        DS_Stream stream(memory, "refused", true);
        page->parse(stream, true, nullptr, false, true, 0);
        templates.reset(new ZEL_Template[std::size_t(page->computeTemplateSize()) + 1]);
        ZEL_ScriptImports *imports = nullptr;
        int count = 0;
        page->fillTemplate(templates.get(), count, imports);
        list =
            std::make_unique<ZEL_ParmList>(templates.get(), nullptr, nullptr, nullptr, "", false);
        delete imports;
    }
    std::string text(Texts texts) { return list ? textOf(*list, texts) : ""; }

    std::unique_ptr<ZEL_ScriptPage> page;
    std::unique_ptr<ZEL_Template[]> templates;
    std::unique_ptr<ZEL_ParmList> list;
};

/// Records: made for the writer from a script that was read.
struct MakingRecords
{
    static constexpr bool theSharesFlag = false;

    MakingRecords() : reader("refused")
    {
        static const std::string theScript =
            "{ name d bindhandle a t l d s bindhandlereserved a t l d s\n"
            "bindselector t d p mask 3 m 1 bindselectorreserved parm t d p 1 0 mask 2 m 1\n"
            "group { name g label \"Group with a long label\" parm { name a type string\n"
            " menu { m M n N } parmtag { a b } parmtag { c d } bindhandle a t l d s } } }\n";
        KIT_IStream memory(theScript.data(), theScript.size(), KIT_IStream::TEXT);
        DS_Stream stream(memory, "refused", true);
        EXPECT_TRUE(reader.parse(stream));
    }
    void run() { reader.prepareParms(); }
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
    static constexpr bool theSharesFlag = false;

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
    void run()
    {
        presets.loadPresetFile(list.get(), presets.getPresetPath(0).nonNullStr());
        presets.savePresetToDir(list.get(), "second", theFolder.c_str());
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

// ---------------------------------------------------------------------- //
// Each allocation in turn
// ---------------------------------------------------------------------- //

/// Refuses the n-th allocation; false if there are fewer.
template <class Work>
void refuse(long n, Refusal refusal, const std::string (&good)[2], bool &isRefused)
{
    Work work;
    const std::uint64_t lostBefore = BASfailedAllocations();
    isRefused = runRefused(n, refusal, [&] { work.run(); });
    const bool isLost = BASfailedAllocations() != lostBefore;
    ASSERT_FALSE(ZEL_ParmList::isLoading());
    ASSERT_FALSE(ZEL_Parm::getIsAddingOrRemovingMultiParms());
    std::string halfway;
    if (isRefused) {
        halfway = work.text(Texts::READ);
        work.run();
    }
    const Texts texts = isLost ? Texts::PASS_OVER : Texts::READ;
    ASSERT_EQ(work.text(texts), good[int(texts)]) << "after " << halfway;
    takeMessages();
    if constexpr (Work::theSharesFlag) {
        Work next;
        next.run();
        ASSERT_EQ(next.text(Texts::READ), good[int(Texts::READ)]);
    }
}

template <class Work>
void refuseEach()
{
    std::string good[2];
    for (const Texts texts : {Texts::READ, Texts::PASS_OVER}) {
        Work work;
        work.run();
        good[int(texts)] = work.text(texts);
    }
    for (const Refusal refusal : {Refusal::ONE, Refusal::ALL_FROM}) {
        bool isRefused = true;
        for (long n = 0; isRefused && !testing::Test::HasFatalFailure(); ++n) {
            SCOPED_TRACE(testing::Message() << (refusal == Refusal::ONE ? "only " : "from ") << n);
            refuse<Work>(n, refusal, good, isRefused);
        }
    }
}

template <class Work>
class RefusedMemoryOf : public testing::Test
{};
using Works =
    testing::Types<MakingAList, LoadingAList, ReplacingAList, GrowingItems, MovingItems,
                   ReplacingSpares, UndoingAChange, RecordingAStep, BuildingAScript, MakingRecords>;
TYPED_TEST_SUITE(RefusedMemoryOf, Works, );

TYPED_TEST(RefusedMemoryOf, EachAllocation)
{
    refuseEach<TypeParam>();
}

TEST(RefusedMemory, AllRecordsAreCounted)
{
    MakingRecords whole;
    whole.run();
    EXPECT_EQ(whole.text(Texts::READ), "11");
}

TEST(RefusedMemory, AConditionOfTheWriterHasAValueForEachName)
{
    bool isRefused = true;
    for (long n = 0; isRefused; ++n) {
        DS_DisableInfo info;
        isRefused = runRefused(n, Refusal::ONE, [&] { info.addInfo("name", "value"); });
        EXPECT_EQ(info.getParmNames().size(), info.getValues().size()) << n;
        EXPECT_EQ(info.entries(), isRefused ? 0 : 1) << n;
    }
}

using RefusedMemoryFolders = PresetFolders;
TEST_F(RefusedMemoryFolders, UsingPresets)
{
    UsingPresets::theFolder = in("a");
    refuseEach<UsingPresets>();
    UsingPresets last;
    last.run();
    EXPECT_EQ(last.text(Texts::READ), "t=5 words= first second ");
}

TEST(RefusedMemory, DestroyingTakesNone)
{
    const auto destroy = [](auto &work) {
        EXPECT_FALSE(runRefused(0, Refusal::ALL_FROM, [&] { work.list.reset(); }));
    };
    GrowingItems items;
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
