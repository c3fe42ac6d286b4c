// Presets: their text, with an owner and without; where they are found; saving and deleting them.

#include <DS/DS_Stream.h>
#include <KIT/KIT_AutoJSONParser.h>
#include <KIT/KIT_JSONValue.h>
#include <NOD/NOD_Node.h>
#include <STO/STO_IndexFile.h>
#include <STO/STO_Reader.h>
#include <ZEL/ZEL_PresetInfo.h>
#include <common/ListFixture.h>
#include <common/TestOwner.h>
#include <presets/PresetFolders.h>
#include <presets/WriteSteps.h>

#include <csignal>
#include <functional>
#include <sstream>
#include <streambuf>
#include <sys/stat.h>
#include <tuple>

namespace
{

const std::string theHead = "#PSI_PRESET\nversion 2.0a\n";

std::string valuesOf(double value)
{
    std::ostringstream os;
    os << theHead << "values\n{\nversion 0.8\np\t[ 0\tlocks=0 ]\t(\t" << value << "\t)\n}\n";
    return os.str();
}

std::string indexOf(const std::vector<std::pair<std::string, std::string>> &sections)
{
    STO_IndexFile index;
    for (const auto &[name, text] : sections) {
        index.addSection(name.c_str(), text);
    }
    std::ostringstream os;
    index.write(os);
    return os.str();
}

std::string channelsOfOne()
{
    TRK_Collection channels;
    channels.addChannel("c");
    std::ostringstream os;
    channels.save(os);
    return os.str();
}

/// A list with one number "p".
struct Number : OneParm
{
    Number() : OneParm(ZEL_FLT, 1) { build(); }
};

class Presets : public PresetFolders
{
protected:
    void SetUp() override
    {
        PresetFolders::SetUp();
        takeMessages();
        presets.setNeedsRefresh();
    }
    void TearDown() override { STO_Reader::setDefinitionSource(nullptr, nullptr); }

    bool load(ZEL_ParmList *list, const std::string &text,
              KIT_IStream::Mode mode = KIT_IStream::TEXT)
    {
        KIT_IStream is(text.data(), text.size(), mode);
        const bool loaded = presets.loadPreset(list, is);
        EXPECT_EQ(is.isBinary(), mode == KIT_IStream::BINARY);
        return loaded;
    }
    /// "name name" in order.
    std::string names()
    {
        std::string out;
        for (int i = 0; i < presets.getNumPresets(); ++i) {
            out += (out.empty() ? "" : " ") + presets.getPresetName(i).toStdString();
        }
        return out;
    }
    double valueOf(const char *name)
    {
        Number loaded;
        const KIT_String path = presets.getPresetPath(presets.getPresetIndex(name));
        return presets.loadPresetFile(loaded.list.get(), path) ? loaded.eval() : -1.0;
    }

    static std::string fileIn(const std::string &folder)
    {
        return in(folder + "/presets/Obj/light.idx");
    }

    ZEL_PresetInfo presets{"Obj//", "light"};
    Number number;
};

/// Saves a section of its own, and loads it.
struct PresetOwner : TestOwner
{
    bool savePresetContents(std::ostream &os) override
    {
        os << "mine\n7\n";
        return saves && (!inside || inside());
    }
    bool loadPresetSection(const char *word, KIT_IStream &is) override
    {
        words += std::string(word) + " ";
        return std::string(word) == "mine" && is.aread(mine);
    }

    bool saves = true;
    std::function<bool()> inside; // runs within a save
    int mine = 0;
    std::string words;
};

} // namespace

// ---------------------------------------------------------------------- //
// The text of a preset
// ---------------------------------------------------------------------- //

TEST_F(Presets, EveryReaderOfTextSkipsAByteOrderMark)
{
    const std::string mark = "\xEF\xBB\xBF";
    const std::pair<std::string, std::function<bool(KIT_IStream &)>> readers[] = {
        {valuesOf(3),
         [](KIT_IStream &is) {
             Number one;
             ZEL_PresetInfo info("Obj", "light");
             return info.loadPreset(one.list.get(), is) && one.list->evalFloat("p", 0, 0.0) == 3.0;
         }},
        {"{\nversion 0.8\np\t[ 0\tlocks=0 ]\t(\t3\t)\n}\n",
         [](KIT_IStream &is) {
             Number one;
             one.list->load(is, nullptr, nullptr);
             return one.list->evalFloat("p", 0, 0.0) == 3.0;
         }},
        {channelsOfOne(),
         [](KIT_IStream &is) {
             TRK_Collection channels;
             return channels.load(is) && channels.entries() == 1;
         }},
        {indexOf({{"one", "text"}}),
         [](KIT_IStream &is) {
             STO_IndexFile index;
             return index.read(is.rest(), "index") && index.findSection("one") == 0;
         }},
        {"[1]",
         [](KIT_IStream &is) {
             KIT_AutoJSONParser parser(is);
             KIT_JSONValue value;
             return value.parseValue(parser) && value.getArray();
         }},
        {"{ a b }",
         [](KIT_IStream &is) {
             DS_Stream stream(is, "s", true);
             return bool(stream.getOpenBrace());
         }},
    };
    for (const auto &[text, read] : readers) {
        for (const std::string &whole : {text, mark + text}) {
            KIT_IStream is(whole.data(), whole.size(), KIT_IStream::TEXT);
            EXPECT_TRUE(read(is)) << whole;
        }
        EXPECT_EQ(takeMessages(), "") << text;
    }
}

TEST_F(Presets, TheHeaderIsExact)
{
    // `message`: with the text after a bar
    const std::tuple<std::string, bool, const char *> cases[] = {
        {theHead, true, ""},
        {"  #PSI_PRESET version\n2.0", true, ""},
        {"#PSI_PRESET version 2", true, ""},
        {"", false, "ZEL 15|"},
        {"#PSI_PRESETS version 2.0a", false, "ZEL 15|"},
        {"version 2.0a\n#PSI_PRESET", false, "ZEL 15|"},
        {"#PSI_PRESET 2.0a", false, "ZEL 16|version"},
        {"#PSI_PRESET", false, "ZEL 16|version"},
        {"#PSI_PRESET version", false, "ZEL 17|"},
        {"#PSI_PRESET version two", false, "ZEL 17|"},
        {"#PSI_PRESET version 1.0", false, "ZEL 17|"},
        {"#PSI_PRESET version 2.1", false, "ZEL 17|"},
        {"#PSI_PRESET version 3.0a", false, "ZEL 17|"},
    };
    for (const auto &[text, loads, message] : cases) {
        for (const auto mode : {KIT_IStream::TEXT, KIT_IStream::BINARY}) {
            SCOPED_TRACE(text);
            EXPECT_EQ(load(number.list.get(), text, mode), loads);
            KIT_ErrorManager &manager = KITgetErrorManager();
            std::string told;
            if (manager.entries() > 0) {
                const KIT_ErrorManager::Error &error = manager.getError(0);
                told = error.category + " " + std::to_string(error.code) + "|" + error.text;
            }
            EXPECT_EQ(told, message);
            EXPECT_LE(manager.entries(), 1);
            takeMessages();
        }
    }
    EXPECT_FALSE(load(nullptr, theHead));
    std::istringstream none;
    none.setstate(std::ios::badbit);
    KIT_IStream unreadable(none, KIT_IStream::BINARY);
    EXPECT_FALSE(presets.loadPreset(number.list.get(), unreadable));
    EXPECT_TRUE(unreadable.isBinary());
    EXPECT_EQ(takeMessages(), "");
}

TEST_F(Presets, SectionsOfAListWithoutOwner)
{
    number.set(3.5);
    std::ostringstream os;
    ASSERT_TRUE(presets.savePreset(number.list.get(), os));
    EXPECT_EQ(os.str(),
              theHead + "channels\nchannels 1.0\n{\n}\n" + valuesOf(3.5).substr(theHead.size()));

    Number animated;
    animated.animate("1 + 1");
    std::ostringstream moving;
    ASSERT_TRUE(presets.savePreset(animated.list.get(), moving));
    Number other;
    EXPECT_TRUE(load(other.list.get(), moving.str(), KIT_IStream::BINARY));
    EXPECT_EQ(other.eval(), 2.0);

    // The tokens of an unknown section are read as sections themselves.
    const std::string values = valuesOf(9.0).substr(theHead.size());
    EXPECT_TRUE(load(number.list.get(), theHead + "foreign { x 1 } " + values + "more\n"));
    EXPECT_EQ(number.eval(), 9.0);

    ZEL_ParmList noChannels(number.templates, nullptr, nullptr, nullptr, "", false);
    std::ostringstream plain;
    ASSERT_TRUE(presets.savePreset(&noChannels, plain));
    EXPECT_EQ(plain.str().find("channels"), std::string::npos);
    EXPECT_TRUE(load(&noChannels, os.str()));
    EXPECT_EQ(takeMessages(), "");
}

TEST_F(Presets, AFaultEndsTheLoadAndKeepsWhatWasSet)
{
    const std::string values = valuesOf(4.0).substr(theHead.size());
    EXPECT_FALSE(load(number.list.get(), theHead + values + "values\nbroken\n" +
                                             valuesOf(5.0).substr(theHead.size())));
    EXPECT_EQ(number.eval(), 4.0);
    EXPECT_EQ(takeMessages(), "ZEL 9");
    EXPECT_FALSE(load(number.list.get(), theHead + "channels\nbroken\n" + values));
    EXPECT_EQ(takeMessages(), "TRK 20");
    KIT_IStream is("", 0, KIT_IStream::TEXT);
    EXPECT_TRUE(ZEL_PresetInfo::loadPresetContents(number.list.get(), "other", is));
}

TEST_F(Presets, TheOwnerHasSectionsOfItsOwn)
{
    PresetOwner owner;
    ZEL_ParmList list(number.templates, nullptr, &owner, nullptr, "", false);
    std::ostringstream os;
    EXPECT_TRUE(presets.savePreset(&list, os));
    EXPECT_EQ(os.str(), theHead + "mine\n7\n");
    owner.saves = false;
    EXPECT_FALSE(presets.savePreset(&list, os));
    owner.saves = true;
    owner.inside = [&] {
        return presets.savePresetToDir(number.list.get(), "inner", in("a").c_str());
    };
    EXPECT_TRUE(presets.savePresetToDir(&list, "outer", in("a").c_str()));
    EXPECT_EQ(names(), "inner outer");
    owner.inside = nullptr;

    owner.takeCalls();
    EXPECT_TRUE(load(&list, theHead + "mine 5 " + valuesOf(2.0).substr(theHead.size()) + "mine 6"));
    EXPECT_EQ(owner.mine, 6);
    EXPECT_EQ(owner.words, "mine mine ");
    EXPECT_EQ(list.evalFloat("p", 0, 0.0), 2.0);
    EXPECT_EQ(owner.takeCalls(), "supplyFallbackList; settleFallbackList");

    EXPECT_FALSE(load(&list, theHead + "foreign mine 8"));
    EXPECT_EQ(owner.mine, 6);

    // What the live list doesn't have is loaded by the list that the owner supplies.
    OwnedTemplate old(ZEL_FLT, 1, "old");
    ZEL_Template oldTemplates[] = {old.entry, ZEL_Template()};
    ZEL_ParmList fallback(oldTemplates, nullptr, nullptr, nullptr, "", false);
    owner.fallbackList = &fallback;
    EXPECT_TRUE(load(&list, theHead + "values { version 0.8 old ( 6 ) }"));
    EXPECT_EQ(fallback.evalFloat("old", 0, 0.0), 6.0);
    list.clearParmOwner();
    EXPECT_EQ(takeMessages(), "");
}

TEST_F(Presets, AWriteThatFailsIsToldWhereverItDoes)
{
    struct Short : std::streambuf
    {
        explicit Short(std::size_t bytes) : left(bytes) {}
        int_type overflow(int_type c) override
        {
            return left-- > 0 ? c : (left = 0, traits_type::eof());
        }
        std::size_t left;
    };
    std::ostringstream whole;
    ASSERT_TRUE(presets.savePreset(number.list.get(), whole));
    for (std::size_t left = 0; left < whole.str().size(); ++left) {
        Short buffer(left);
        std::ostream os(&buffer);
        EXPECT_FALSE(presets.savePreset(number.list.get(), os)) << left;
        EXPECT_NE(takeMessages().find("Common 10"), std::string::npos) << left;
        EXPECT_FALSE(presets.savePreset(number.list.get(), os)) << left;
        EXPECT_EQ(takeMessages(), "") << left;
    }
    EXPECT_FALSE(presets.savePreset(nullptr, whole));
}

// ---------------------------------------------------------------------- //
// Finding
// ---------------------------------------------------------------------- //

TEST_F(Presets, TheFirstFileWinsAndTheDefinitionLoses)
{
    EXPECT_EQ(presets.getPresetFile(), "presets/Obj/light.idx");
    EXPECT_EQ(presets.getPresetSection(), "opdef:/Obj/light?Presets");
    EXPECT_EQ(presets.getDefaultPreset(), -1);

    writeFile(fileIn("a"), indexOf({{"z", valuesOf(1)}, {"\xc3\xa9", valuesOf(2)}}));
    writeFile(fileIn("b"), indexOf({{"z", valuesOf(3)}, {"Z", valuesOf(4)}, {"s", valuesOf(5)}}));
    const std::string definition =
        indexOf({{"s", valuesOf(6)}, {"Permanent Defaults", valuesOf(7)}});
    STO_Reader::setDefinitionSource(
        [](void *data, const char *path, std::string &bytes) {
            bytes = *static_cast<const std::string *>(data);
            return std::string(path) == "opdef:/Obj/light?Presets";
        },
        const_cast<std::string *>(&definition));
    EXPECT_EQ(names(), ""); // until it is asked to look again
    presets.setNeedsRefresh();
    EXPECT_EQ(names(), "Permanent Defaults Z s z \xc3\xa9");
    EXPECT_EQ(presets.getDefaultPreset(), 0);
    EXPECT_EQ(presets.getPresetIndex("z"), 3);
    for (const char *none : {"", "zz", "P", "\xff", "q"}) {
        EXPECT_EQ(presets.getPresetIndex(none), -1) << none;
    }
    EXPECT_EQ(presets.getPresetIndex(nullptr), -1);
    EXPECT_EQ(valueOf("z"), 1.0);
    EXPECT_EQ(valueOf("\xc3\xa9"), 2.0);
    EXPECT_EQ(valueOf("s"), 5.0);
    EXPECT_EQ(valueOf("Permanent Defaults"), 7.0);
    for (const int outside : {-1, 5, 99}) {
        EXPECT_EQ(presets.getPresetName(outside), "");
        EXPECT_EQ(presets.getPresetPath(outside), "");
    }
    EXPECT_EQ(takeMessages(), "");

    writeFile(in("b/other.idx"), indexOf({{"o", valuesOf(8)}}));
    presets.setIndexFile("other.idx");
    EXPECT_EQ(names(), "Permanent Defaults o s");
    presets.setIndexFile(nullptr);
    EXPECT_EQ(presets.getPresetFile(), "presets/Obj/light.idx");
}

TEST_F(Presets, DamagedFilesAreToldAndListedAsFarAsTheyGo)
{
    const std::string whole = indexOf({{"one", valuesOf(1)}, {"two", valuesOf(2)}});
    writeFile(fileIn("a"), whole.substr(0, whole.size() - 30));
    writeFile(fileIn("b"), indexOf({{"two", valuesOf(3)}, {"three", "no preset"}}));
    EXPECT_EQ(names(), "one three two");
    EXPECT_EQ(takeMessages(), "STO 3");
    EXPECT_EQ(valueOf("two"), 3.0);
    EXPECT_EQ(valueOf("three"), -1.0);
    EXPECT_EQ(takeMessages(), "ZEL 15");

    // A file that can't be read whole isn't written over.
    const std::string before = contents("a");
    EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "new", in("a").c_str()));
    EXPECT_NE(takeMessages().find("STO 4"), std::string::npos);
    EXPECT_FALSE(presets.deletePresetFromDir("one", in("a").c_str()));
    EXPECT_NE(takeMessages().find("STO 4"), std::string::npos);
    EXPECT_EQ(contents("a"), before);
    fs::remove(fileIn("a"));
    fs::create_directories(fileIn("a"));
    EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "new", in("a").c_str()));
    EXPECT_NE(takeMessages().find("STO 5"), std::string::npos);
    EXPECT_TRUE(fs::is_directory(fileIn("a")));
}

// ---------------------------------------------------------------------- //
// Saving and deleting
// ---------------------------------------------------------------------- //

TEST_F(Presets, SaveKeepsTheOthersAndDeleteTakesOne)
{
    EXPECT_EQ(names(), "");
    const std::string odd = "odd? \"name\"\n/../\xff";
    for (const auto &[name, value] :
         {std::pair<std::string, double>{"one", 1}, {odd, 2}, {"three", 3}, {"one", 4}}) {
        number.set(value);
        EXPECT_TRUE(presets.savePresetToDir(number.list.get(), name.c_str(), in("a/").c_str()));
    }
    EXPECT_EQ(names(), odd + " one three");
    EXPECT_EQ(valueOf("one"), 4.0);
    EXPECT_EQ(valueOf(odd.c_str()), 2.0);
    EXPECT_EQ(valueOf("three"), 3.0);
    EXPECT_TRUE(presets.savePresetToDir(number.list.get(), "one", in("b").c_str()));

    EXPECT_TRUE(presets.deletePresetFromDir("one", nullptr));
    EXPECT_EQ(STO_IndexFile(fileIn("a").c_str()).findSection("one"), -1);
    EXPECT_EQ(presets.getPresetPath(presets.getPresetIndex("one")), (fileIn("b") + "?one").c_str());
    EXPECT_TRUE(presets.deletePresetFromDir("one", in("b").c_str()));
    EXPECT_EQ(names(), odd + " three");
    const std::string before = contents("");
    EXPECT_FALSE(presets.deletePresetFromDir("one", nullptr));
    EXPECT_FALSE(presets.deletePresetFromDir("one", in("a").c_str()));
    EXPECT_FALSE(presets.deletePresetFromDir(nullptr, in("a").c_str()));
    EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "", in("a").c_str()));
    EXPECT_FALSE(presets.savePresetToDir(nullptr, "null", in("a").c_str()));
    EXPECT_EQ(contents(""), before);
    EXPECT_EQ(takeMessages(), "");
}

TEST_F(Presets, ASaveThatIsKilledLeavesTheOldFileOrTheNewOne)
{
    const std::string old = indexOf({{"one", valuesOf(1)}, {"two", valuesOf(2)}});
    const std::string both = indexOf({{"one", valuesOf(1)}, {"two", valuesOf(3)}});
    int steps = 0;
    {
        writeFile(fileIn("a"), old);
        const Steps counted;
        ASSERT_TRUE(presets.deletePresetFromDir("one", in("a").c_str()));
        steps = counted.count;
    }
    int replaced = 0;
    for (int at = 0; at < steps; ++at) {
        SCOPED_TRACE(at);
        writeFile(fileIn("a"), old);
        const pid_t child = ::fork();
        if (child == 0) {
            const Steps killing(at, [] { return ::raise(SIGKILL) != 0; });
            ZEL_ParmList list(number.templates, nullptr, nullptr, nullptr, "", false);
            list.setFloat(3.0, "p", 0, 0.0, false);
            presets.savePresetToDir(&list, "two", in("a").c_str());
            ::_exit(0);
        }
        EXPECT_TRUE(WIFSIGNALED(waitFor(child)));
        const std::string now = readFile(fileIn("a"));
        EXPECT_TRUE(now == old || now == both) << now;
        replaced += now == both ? 1 : 0;
        // The file that it left blocks no other save, and is removed.
        EXPECT_TRUE(presets.deletePresetFromDir("one", in("a").c_str()));
        EXPECT_EQ(
            std::distance(fs::directory_iterator(in("a/presets/Obj")), fs::directory_iterator()),
            1);
    }
    EXPECT_GE(steps, 5);
    EXPECT_EQ(replaced, 1) << "all at once, with the last step";
}

TEST_F(Presets, ProcessesThatSaveAndDeleteAtOnceLoseNothing)
{
    constexpr int processes = 4;
    constexpr int each = 20;
    std::vector<pid_t> children;
    for (int p = 0; p < processes; ++p) {
        children.push_back(::fork());
        if (children.back() == 0) {
            bool all = true;
            for (int i = 0; i < each; ++i) {
                const std::string name = std::to_string(p) + "_" + std::to_string(i);
                for (const std::string &one : {name, name + "_gone"}) {
                    all =
                        presets.savePresetToDir(number.list.get(), one.c_str(), in("a").c_str()) &&
                        all;
                }
                all = presets.deletePresetFromDir((name + "_gone").c_str(), in("a").c_str()) && all;
            }
            ::_exit(all ? 0 : 1);
        }
    }
    for (const pid_t child : children) {
        EXPECT_EQ(waitFor(child), 0);
    }
    EXPECT_EQ(presets.getNumPresets(), processes * each);
    EXPECT_EQ(takeMessages(), "");
}

TEST_F(Presets, WhatStandsInTheWayOfASaveIsTold)
{
    for (const char *ending : {".part", ".lock"}) {
        writeFile(fileIn("a"), indexOf({{"one", valuesOf(1)}}));
        // A folder isn't removed, nor is a file of another user.
        writeFile(fileIn("a") + ending + "/theirs", "x");
        const std::string before = contents("a");
        EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "two", in("a").c_str()));
        EXPECT_EQ(takeMessages(), "STO 6") << ending;
        EXPECT_FALSE(presets.deletePresetFromDir("one", in("a").c_str()));
        EXPECT_EQ(takeMessages(), "STO 6") << ending;
        EXPECT_EQ(contents("a"), before);
        fs::remove_all(fileIn("a") + ending);
    }
    ASSERT_EQ(::mkfifo((fileIn("a") + ".lock").c_str(), 0600), 0);
    EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "two", in("a").c_str()));
    EXPECT_EQ(takeMessages(), "STO 6") << "nobody writes to a pipe in the lock's place";
}

TEST_F(Presets, OnlySaveFoldersAreWritten)
{
    const auto dirs = [] {
        std::string out;
        for (const KIT_String &dir : ZEL_PresetInfo::getValidSaveDirs()) {
            out += dir.toStdString() + " ";
        }
        return out;
    };
    EXPECT_EQ(dirs(), in("a") + " " + in("b") + " ");
    fs::create_directories(in("later"));
    searchIn({"outside"});
    EXPECT_EQ(dirs(), in("a") + " " + in("b") + " "); // once for the process
    searchIn({"a", "b", "install/data", "later"});

    writeFile(fileIn("install/data"), indexOf({{"theirs", valuesOf(1)}}));
    presets.setNeedsRefresh();
    ASSERT_EQ(names(), "theirs");
    const std::string before = contents("");
    const std::string refused[] = {in("outside"),      in("install/data"), in("later"), root(),
                                   in("a/../outside"), in("a/."),          in("A"),     "",
                                   in("a") + "\n",     "opdef:",           "/",         ".."};
    for (const std::string &dir : refused) {
        EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "x", dir.c_str())) << dir;
        EXPECT_FALSE(presets.deletePresetFromDir("theirs", dir.c_str())) << dir;
    }
    EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "x", nullptr));
    EXPECT_FALSE(presets.deletePresetFromDir("theirs", nullptr));
    for (const char *table : {"../../outside", "..", "a/../../..", ".", "", "/", "a//b", "$HOME",
                              "a/${ZEL_TEST_NOT_SET}", "Obj$_x"}) {
        ZEL_PresetInfo other(table, "light");
        EXPECT_FALSE(other.savePresetToDir(number.list.get(), "x", in("a").c_str())) << table;
    }
    for (const char *file : {"../outside/x.idx", "/x.idx", "a/../../x.idx", "x?y.idx"}) {
        presets.setIndexFile(file);
        EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "x", in("a").c_str())) << file;
    }
    EXPECT_EQ(contents(""), before);
    EXPECT_EQ(takeMessages(), "");

    ZEL_PresetInfo climbing("Obj", "../../../outside/x");
    EXPECT_TRUE(climbing.savePresetToDir(number.list.get(), "x", in("a").c_str()));
    EXPECT_TRUE(fs::is_empty(in("outside")));
    EXPECT_TRUE(fs::exists(in("a/presets/Obj/%2E.%2F..%2F..%2Foutside%2Fx.idx")));
}

TEST_F(Presets, LinksLeadNowhereElse)
{
    writeFile(in("outside/light.idx"), indexOf({{"theirs", valuesOf(1)}}));
    const std::string before = contents("outside");
    const auto refuses = [&] {
        presets.setNeedsRefresh();
        EXPECT_FALSE(presets.savePresetToDir(number.list.get(), "x", in("a").c_str()));
        EXPECT_FALSE(presets.deletePresetFromDir("theirs", in("a").c_str()));
        EXPECT_EQ(contents("outside"), before);
        takeMessages();
        fs::remove_all(in("a/presets"));
    };
    fs::create_directory_symlink(in("outside"), in("a/presets"));
    refuses();
    fs::create_directories(in("a/presets"));
    fs::create_directory_symlink(in("outside"), in("a/presets/Obj"));
    refuses();
    fs::create_directories(in("a/presets/Obj"));
    fs::create_symlink(in("outside/light.idx"), fileIn("a"));
    refuses();
    // Dangling links.
    fs::create_directory_symlink(in("outside/new"), in("a/presets"));
    refuses();
    fs::create_directories(in("a/presets/Obj"));
    fs::create_symlink(in("outside/stolen"), fileIn("a") + ".lock");
    refuses();

    // A link to a file inside the folder counts as that file.
    writeFile(in("a/kept.idx"), indexOf({{"mine", valuesOf(1)}}));
    fs::create_directories(in("a/presets/Obj"));
    fs::create_symlink(in("a/kept.idx"), fileIn("a"));
    EXPECT_TRUE(presets.savePresetToDir(number.list.get(), "x", in("a").c_str()));
    EXPECT_EQ(STO_IndexFile(in("a/kept.idx").c_str()).getNumSections(), 2);
    takeMessages();
}

TEST_F(Presets, FilesOfOnePreset)
{
    ::setenv("ZEL_TEST_ROOT", root().c_str(), 1);
    number.set(6.0);
    EXPECT_TRUE(presets.savePresetFile(number.list.get(), "$ZEL_TEST_ROOT/a/one.preset"));
    EXPECT_EQ(readFile(in("a/one.preset")).substr(0, theHead.size()), theHead);
    // After a "?" a "$" is an ordinary character.
    EXPECT_TRUE(presets.savePresetFile(number.list.get(), "$ZEL_TEST_ROOT/a/i.idx?$ZEL_TEST_ROOT"));
    EXPECT_GE(STO_IndexFile(in("a/i.idx").c_str()).findSection("$ZEL_TEST_ROOT"), 0);
    for (const char *path :
         {"$ZEL_TEST_ROOT/a/one.preset", "$ZEL_TEST_ROOT/a/i.idx?$ZEL_TEST_ROOT"}) {
        Number other;
        EXPECT_TRUE(presets.loadPresetFile(other.list.get(), path)) << path;
        EXPECT_EQ(other.eval(), 6.0) << path;
    }
    for (const char *path :
         {"$ZEL_TEST_ROOT/none", "$ZEL_TEST_ROOT/a", "", "$ZEL_TEST_ROOT/a/i.idx?"}) {
        EXPECT_FALSE(presets.loadPresetFile(number.list.get(), path)) << path;
    }
    EXPECT_FALSE(presets.loadPresetFile(number.list.get(), nullptr));
    EXPECT_FALSE(presets.savePresetFile(number.list.get(), "$ZEL_TEST_ROOT/none/file"));
    EXPECT_FALSE(presets.savePresetFile(number.list.get(), nullptr));
    EXPECT_EQ(takeMessages(), "");

    const std::pair<const char *, const char *> names[] = {
        {"foo", "foo.preset"},          {"foo.bar", "foo.bar.preset"},       {"foo.", "foo.preset"},
        {"foo.preset", "foo.preset"},   {"foo.PRESET", "foo.PRESET.preset"}, {"", ""},
        {"$ZEL_TEST_FILE", "f.preset"}, {"a.preset/b", "a.preset/b.preset"},
    };
    ::setenv("ZEL_TEST_FILE", "f.", 1);
    for (const auto &[name, valid] : names) {
        KIT_String out(name);
        ZEL_PresetInfo::makeValidPresetFileName(out);
        EXPECT_EQ(out, valid);
    }
}

TEST_F(Presets, ANodeStartsWithItsPermanentDefaults)
{
    NOD_Node root;
    EXPECT_EQ(root.getPresets(), nullptr);
    NOD_Node *first = root.addChild("first", number.templates, "light");
    ASSERT_NE(first, nullptr);
    first->getParms().setFloat(8.0, "p", 0, 0.0, false);
    EXPECT_TRUE(first->getPresets()->savePresetToDir(
        &first->getParms(), ZEL_PresetInfo::theDefaultName, in("a").c_str()));
    // An error that is already in the error manager isn't this node's.
    KITaddError("ZEL", 15);
    NOD_Node *second = root.addChild("second", number.templates, "light");
    EXPECT_EQ(takeMessages(), "ZEL 15");
    EXPECT_EQ(second->getParms().evalFloat("p", 0, 0.0), 8.0);
    EXPECT_EQ(second->getParms().getPresetInfo(), second->getPresets());
    NOD_Node *other = root.addChild("other", number.templates, "dark");
    EXPECT_EQ(other->getParms().evalFloat("p", 0, 0.0), 0.0);
    EXPECT_EQ(takeMessages(), "");
    // What is wrong with them is reported.
    writeFile(in("a/presets/Node/torn.idx"), indexOf({{ZEL_PresetInfo::theDefaultName, "torn"}}));
    EXPECT_NE(root.addChild("torn", number.templates, "torn"), nullptr);
    EXPECT_EQ(takeMessages(), "ZEL 15");
}
