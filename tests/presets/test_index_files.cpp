// Index files and what surrounds them: any content, errors, every step of a write, two processes at
// once, paths of sections.

#include <KIT/KIT_Directory.h>
#include <KIT/KIT_OpUtils.h>
#include <STO/STO_FileLock.h>
#include <STO/STO_IndexFile.h>
#include <STO/STO_Info.h>
#include <STO/STO_Reader.h>
#include <STO/STO_Writer.h>
#include <common/ListFixture.h>
#include <presets/PresetFolders.h>
#include <presets/WriteSteps.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace
{

std::string written(const STO_IndexFile &index)
{
    std::ostringstream os;
    index.write(os);
    return os.str();
}

/// "name=text name=text"
std::string sections(const STO_IndexFile &index)
{
    std::string out;
    for (std::int64_t i = 0; i < index.getNumSections(); ++i) {
        out += (out.empty() ? "" : " ") + index.getSectionName(i).toStdString() + "=" +
               index.getSectionText(i);
    }
    return out;
}

bool writeAll(const std::string &path, const std::string &bytes)
{
    STO_Writer writer(path.c_str());
    if (!writer.getStream()) {
        return false;
    }
    *writer.getStream() << bytes;
    return writer.close();
}

using IndexFiles = PresetFolders;

// Longer than one piece, so that a write can end between two.
const std::string theOld = std::string(100000, 'o');
const std::string theNew = std::string(150000, 'n');

} // namespace

// ---------------------------------------------------------------------- //
// Content
// ---------------------------------------------------------------------- //

TEST_F(IndexFiles, AnyNameAndTextReadBack)
{
    std::string allBytes;
    for (int i = 0; i < 256; ++i) {
        allBytes += char(i);
    }
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"empty", ""},
        {"open", "no line feed"},
        {"line", "one line\n"},
        {"feeds", "\n\n"},
        {"tricks", "end\n#END\nsection \"x\"\n\topen\n"},
        {"returns\r", "a\r\nb\r"},
        {"bytes", allBytes},
        {"two words? \"q\" \\ \n\t/\x7f\x01\xff", "named"},
        {"..", "dots"}};
    STO_IndexFile index;
    for (const auto &[name, text] : cases) {
        ASSERT_TRUE(index.addSection(name.c_str(), text));
    }
    const std::string bytes = written(index);
    STO_IndexFile back;
    ASSERT_TRUE(back.read(bytes, "f")) << takeMessages();
    ASSERT_EQ(back.getNumSections(), std::int64_t(cases.size()));
    for (const auto &[name, text] : cases) {
        const std::int64_t found = back.findSection(name);
        ASSERT_GE(found, 0) << name;
        EXPECT_EQ(back.getSectionText(found), text) << name;
    }
    EXPECT_EQ(written(back), bytes);
    EXPECT_GE(back.guessStreamSize() + 600, std::int64_t(bytes.size()));
}

TEST_F(IndexFiles, CommentsAreWrittenWhereTheyWere)
{
    const auto section = [](const std::string &name) {
        return "section \"" + name + "\"\n\t# its own\nend\n";
    };
    const std::string start = "#STO_INDEX 1.0\n# all of them\n", end = "#last\n#END\n";
    const std::string bytes = start + section("a") + "# one\n# two\n" + section("b") + end;
    STO_IndexFile index;
    // A second file behind it, with a section that doesn't count.
    ASSERT_TRUE(index.read(bytes + "#STO_INDEX 1.0\n" + section("a") + "#behind\n#END\n", "f"));
    EXPECT_EQ(written(index),
              start + section("a") + "# one\n# two\n" + section("b") + "#last\n#behind\n#END\n");
    ASSERT_TRUE(index.read(bytes, "f"));
    EXPECT_EQ(written(index), bytes);
    EXPECT_GE(index.guessStreamSize(), std::int64_t(bytes.size()));
    ASSERT_TRUE(index.addSection("c", "# its own\n"));
    ASSERT_TRUE(index.removeSection("a"));
    EXPECT_EQ(written(index), start + "# one\n# two\n" + section("b") + section("c") + end);
    ASSERT_TRUE(index.removeSection("b") && index.removeSection("c"));
    EXPECT_EQ(written(index), start + "# one\n# two\n" + end);
    ASSERT_TRUE(index.read("", "f"));
    EXPECT_EQ(written(index), "#STO_INDEX 1.0\n#END\n");
}

TEST_F(IndexFiles, SectionsAreReplacedAndRemovedInPlace)
{
    STO_IndexFile index;
    index.addSection("a", "1");
    index.addSection("b", "2");
    index.addSection("c", "3");
    index.addSection("a", "4");
    EXPECT_EQ(sections(index), "a=4 b=2 c=3");
    EXPECT_TRUE(index.removeSection("b"));
    EXPECT_FALSE(index.removeSection("b"));
    index.addSection("c", "5");
    EXPECT_EQ(sections(index), "a=4 c=5");
    EXPECT_FALSE(index.addSection("", "x"));
    EXPECT_FALSE(index.addSection(nullptr, "x"));
}

TEST_F(IndexFiles, FaultsAreToldAndWholeSectionsKept)
{
    const std::string head = "#STO_INDEX 1.0\n";
    const std::string one = "section \"a\"\n\t1\nopen\n";
    const std::string two = "section \"b\"\n\t2\nopen\n";
    const std::string last = "#END\n";
    const std::tuple<const char *, std::string, const char *, const char *> cases[] = {
        {"nothing", "", "", ""},
        {"whole", head + one + two + last, "a=1 b=2", ""},
        {"joined", head + one + last + head + two + last, "a=1 b=2", ""},
        {"empty lines", head + "\n" + one + "\n# words\n" + last + "\n", "a=1", ""},
        {"other line ends", "#STO_INDEX 1.0\r\nsection \"a\"\r\n\t1\nopen\r\n#END\r\n", "a=1", ""},
        {"twice", head + one + "section \"a\"\n\t9\nend\n" + last, "a=1", ""},
        {"no header", one + last, "", "STO 1"},
        {"other file", "{\nversion 0.8\n}\n", "", "STO 1"},
        {"version", "#STO_INDEX 1.1\n" + one + last, "", "STO 2"},
        {"no version", "#STO_INDEX \n" + one + last, "", "STO 2"},
        {"merge marks", head + "<<<<<<< ours\n" + one + last, "a=1", "STO 3"},
        {"no end between", head + "section \"a\"\n\t1\n" + two + last, "b=2", "STO 3"},
        {"no end twice", head + "section \"x\"\nsection \"y\"\n" + two + last, "b=2",
         "STO 3; STO 3"},
        {"line inside", head + "section \"a\"\n\t1\nfoo\n\t2\nend\n" + two + last, "b=2", "STO 3"},
        {"line inside, line outside", head + "section \"a\"\nfoo\n\t2\nbar\n" + two + last, "b=2",
         "STO 3; STO 3"},
        {"cut inside", head + one + "section \"b\"\n\t2\n", "a=1", "STO 3"},
        {"no end at the end", head + one + "section \"b\"\n\t2\n" + last, "a=1", "STO 3"},
        {"open without text", head + "section \"a\"\nopen\n" + two + last, "b=2", "STO 3"},
        {"name not quoted", head + "section a\n\t1\nend\n" + two + last, "b=2", "STO 3"},
        {"name not closed", head + "section \"a\n\t1\nend\n" + two + last, "b=2", "STO 3"},
        {"zero byte in the name", head + "section \"a\\0b\"\n\t1\nend\n" + two + last, "b=2",
         "STO 3"},
        {"no name", head + "section \"\"\n\t1\nend\n" + two + last, "b=2", "STO 3"},
        {"no last line", head + one, "a=1", "STO 3"},
    };
    for (const auto &[what, bytes, expected, messages] : cases) {
        SCOPED_TRACE(what);
        takeMessages();
        STO_IndexFile index;
        const bool whole = index.read(bytes, "f");
        EXPECT_EQ(sections(index), expected);
        EXPECT_EQ(takeMessages(), messages);
        EXPECT_EQ(whole, *messages == '\0');
        EXPECT_EQ(index.canWrite(), whole);
    }
    takeMessages();
}

TEST_F(IndexFiles, ACutFileGivesOnlyWholeSections)
{
    STO_IndexFile index;
    index.addSection("a", "first\n");
    index.addSection("b", "second\nend\n");
    index.addSection("c", "third");
    const std::string bytes = written(index);
    // A text without the very last line feed still counts as whole.
    for (std::size_t length = 1; length + 1 < bytes.size(); ++length) {
        STO_IndexFile cut;
        EXPECT_FALSE(cut.read(bytes.substr(0, length), "f")) << length;
        for (std::int64_t i = 0; i < cut.getNumSections(); ++i) {
            EXPECT_EQ(cut.getSectionText(i), index.getSectionText(i)) << length;
        }
        EXPECT_NE(takeMessages(), "") << length;
    }
}

// ---------------------------------------------------------------------- //
// Writing
// ---------------------------------------------------------------------- //

TEST_F(IndexFiles, AStepThatFailsOrIsTheLastLeavesTheOldFile)
{
    const std::string path = in("a/file");
    int steps = 0;
    {
        const Steps counted;
        ASSERT_TRUE(writeAll(path, theNew));
        EXPECT_EQ(counted.names, "open write write write sync rename folder");
        steps = counted.count;
    }
    for (int at = 0; at < steps; ++at) {
        SCOPED_TRACE(at);
        writeFile(path, theOld);
        const pid_t child = ::fork();
        if (child == 0) {
            const Steps killing(at, [] { return ::raise(SIGKILL) != 0; });
            writeAll(path, theNew);
            ::_exit(0);
        }
        EXPECT_TRUE(WIFSIGNALED(waitFor(child)));
        EXPECT_EQ(readFile(path), at == steps - 1 ? theNew : theOld);
        fs::remove_all(in("a")); // the killed process left its part file
        writeFile(path, theOld);
        const Steps failing(at, [] {
            errno = EIO;
            return false;
        });
        const bool saved = writeAll(path, theNew);
        EXPECT_EQ(saved, at == steps - 1); // the new file is in place by then
        EXPECT_EQ(readFile(path), saved ? theNew : theOld);
        EXPECT_EQ(std::distance(fs::directory_iterator(in("a")), fs::directory_iterator()), 1);
    }
}

TEST_F(IndexFiles, ProcessesThatSaveAtOnceLoseNothing)
{
    const std::string path = in("a/file.idx");
    constexpr int processes = 4;
    constexpr int each = 25;
    std::vector<pid_t> children;
    for (int p = 0; p < processes; ++p) {
        children.push_back(::fork());
        if (children.back() == 0) {
            bool all = true;
            for (int i = 0; i < each; ++i) {
                const std::string name = std::to_string(p) + "_" + std::to_string(i);
                all = writeAll(STO_Reader::combineIndexFileSectionPath(path.c_str(), name.c_str())
                                   .toStdString(),
                               name) &&
                      all;
            }
            ::_exit(all ? 0 : 1);
        }
    }
    for (const pid_t child : children) {
        EXPECT_EQ(waitFor(child), 0);
    }
    STO_IndexFile index;
    EXPECT_TRUE(index.open(path.c_str()));
    EXPECT_EQ(index.getNumSections(), processes * each);
    EXPECT_EQ(std::distance(fs::directory_iterator(in("a")), fs::directory_iterator()), 1);
}

TEST_F(IndexFiles, ALockLeftByAKilledProcessIsFree)
{
    const std::string path = in("a/file");
    const pid_t child = ::fork();
    if (child == 0) {
        const STO_FileLock lock(path.c_str());
        ::_exit(lock.isHeld() && ::raise(SIGKILL) == 0 ? 0 : 1);
    }
    EXPECT_TRUE(WIFSIGNALED(waitFor(child)));
    ASSERT_TRUE(fs::exists(path + ".lock"));
    writeFile(path + ".part", "half");
    {
        const STO_FileLock lock(path.c_str());
        ASSERT_TRUE(lock.isHeld());
        STO_Writer writer(path.c_str(), &lock);
        ASSERT_NE(writer.getStream(), nullptr);
        *writer.getStream() << "whole";
        EXPECT_TRUE(writer.close());
    }
    EXPECT_EQ(contents("a"), "file: whole\n");
    EXPECT_FALSE(STO_FileLock(in("nowhere/file").c_str()).isHeld());
}

TEST_F(IndexFiles, ALinkIsLockedWhereItLeads)
{
    writeFile(in("b/real"), "old");
    fs::create_symlink(in("b/real"), in("a/link"));
    // A part file that can't be written into is replaced, and the file that it links to is unchanged.
    writeFile(in("outside/theirs"), "theirs");
    fs::create_symlink(in("outside/theirs"), in("b/real.part"));
    const STO_FileLock lock(in("a/link").c_str());
    ASSERT_TRUE(lock.isHeld());
    EXPECT_TRUE(fs::exists(in("b/real.lock")));
    STO_Writer writer(in("a/link").c_str(), &lock);
    ASSERT_NE(writer.getStream(), nullptr);
    *writer.getStream() << "new";
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(readFile(in("b/real")), "new");
    EXPECT_EQ(readFile(in("outside/theirs")), "theirs");
}

TEST_F(IndexFiles, WritersKeepPermissionsAndFollowLinks)
{
    writeFile(in("b/real"), "old");
    ASSERT_EQ(::chmod(in("b/real").c_str(), 0640), 0);
    fs::create_symlink(in("b/real"), in("a/link"));
    EXPECT_TRUE(writeAll(in("a/link"), "new"));
    EXPECT_EQ(readFile(in("b/real")), "new");
    EXPECT_TRUE(fs::is_symlink(in("a/link")));
    struct stat info;
    ASSERT_EQ(::stat(in("b/real").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
    if (::geteuid() == 0) { // others can't give files away
        ASSERT_EQ(::chown(in("b/real").c_str(), 1234, 5678), 0);
        EXPECT_TRUE(writeAll(in("a/link"), "newer"));
        ASSERT_EQ(::stat(in("b/real").c_str(), &info), 0);
        EXPECT_EQ(info.st_uid, 1234u);
        EXPECT_EQ(info.st_gid, 5678u);
    }

    EXPECT_FALSE(writeAll(in("b"), "a folder"));
    EXPECT_FALSE(writeAll(in("nowhere/file"), "x"));
    EXPECT_FALSE(writeAll("opdef:/T/op?Presets", "x"));
    EXPECT_FALSE(writeAll("", "x"));
    {
        STO_Writer dropped(in("a/dropped").c_str());
        *dropped.getStream() << "x";
    }
    EXPECT_FALSE(fs::exists(in("a/dropped")));
}

// ---------------------------------------------------------------------- //
// Paths
// ---------------------------------------------------------------------- //

TEST_F(IndexFiles, SectionPathsLeadThroughFilesInFiles)
{
    STO_IndexFile inner;
    inner.addSection("what? 50%/2", "found\n");
    STO_IndexFile outer;
    outer.addSection("Presets", written(inner));
    writeFile(in("a/q?x/f.idx"), written(outer));

    const KIT_String file =
        STO_Reader::combineIndexFileSectionPath(in("a/q?x/f.idx").c_str(), "Presets");
    const KIT_String path = STO_Reader::combineIndexFileSectionPath(file, "what? 50%/2");
    std::string bytes;
    ASSERT_TRUE(STO_Reader::readBytes(path, bytes));
    EXPECT_EQ(bytes, "found\n");
    STO_Reader reader(path);
    ASSERT_NE(reader.getStream(), nullptr);
    EXPECT_STREQ(reader.getStream()->getName(), path.c_str());

    KIT_String half, section;
    EXPECT_TRUE(STO_Reader::splitIndexFileSectionPath(path, half, section));
    EXPECT_EQ(half, file);
    EXPECT_EQ(section, "what? 50%/2");
    EXPECT_FALSE(STO_Reader::splitIndexFileSectionPath("a?b/c", half, section));
    EXPECT_EQ(half, "a?b/c");
    EXPECT_EQ(section.c_str(), nullptr);

    for (const std::string &none :
         {path.toStdString() + "x", path.toStdString() + "?deeper", in("a"), in("a/nothing"),
          std::string(), in("a/q?x/f.idx") + "?", std::string("?"), std::string("opdef:/T/op?x"),
          in("a/q?x/f.idx") + std::string(1000, '?'),
          std::string("/proc/self/mem")}) { // its first byte can't be read
        EXPECT_EQ(STO_Reader(none.c_str()).getStream(), nullptr) << none;
    }
    takeMessages();
}

TEST_F(IndexFiles, NodeTypesBecomeFileNames)
{
    const std::pair<const char *, const char *> cases[] = {
        {"light", "light"},
        {"user::light-1.0", "user%3A%3Alight-1.0"},
        {"..", "%2E."},
        {".", "%2E"},
        {"../../etc", "%2E.%2F..%2Fetc"},
        {"a%3Ab", "a%253Ab"},
        {"\xc3\xa9\n", "%C3%A9%0A"},
        {"", "%"},
    };
    for (const auto &[name, file] : cases) {
        KIT_String out(name);
        KIT_OpUtils::ensureValidOpBasedFileName(out);
        EXPECT_EQ(out, file);
    }
}

TEST_F(IndexFiles, PlainNamesStayInTheirFolder)
{
    for (const char *name : {"a", "presets/Obj/light.idx", "a/.b", "..a/b..", "a\n"}) {
        EXPECT_TRUE(KIT_PathSearch::isPlainName(name)) << name;
    }
    for (const char *name : {"", "/a", "a/", "a//b", ".", "..", "../a", "a/../b", "a/./b"}) {
        EXPECT_FALSE(KIT_PathSearch::isPlainName(name)) << name;
    }
    EXPECT_TRUE(KIT_PathSearch::isBelow("/opt/app", "/opt/app/"));
    EXPECT_TRUE(KIT_PathSearch::isBelow("/opt/app/x", "/opt/app"));
    EXPECT_FALSE(KIT_PathSearch::isBelow("/opt/app2", "/opt/app"));
    EXPECT_FALSE(KIT_PathSearch::isBelow("/Opt/App", "/opt/app"));
    EXPECT_TRUE(KIT_PathSearch::isBelow("/Opt/App", "/opt/app", true));
    EXPECT_FALSE(KIT_PathSearch::isBelow("/opt", ""));

    writeFile(in("outside/f"), "x");
    writeFile(in("b/f"), "x");
    writeFile(in("install/data/f"), "x");
    fs::create_directories(in("a/f"));
    KIT_StringArray files;
    KIT_PathSearch &search = KIT_PathSearch::getInstance(0);
    EXPECT_EQ(search.findAllFiles("f", files), 2);
    EXPECT_EQ(files[0], in("b/f").c_str());
    EXPECT_EQ(files[1], in("install/data/f").c_str());
    EXPECT_EQ(search.findAllFiles("../outside/f", files), 0);

    // A variable that is empty is no folder.
    ::setenv("ZEL_TEST_EMPTY", "", 1);
    search.setComponents("$ZEL_TEST_EMPTY:/opt/app");
    ASSERT_EQ(search.getNumComponents(), 1);
    EXPECT_STREQ(search.getComponent(0).nonNullStr(), "/opt/app");
}

TEST_F(IndexFiles, VariablesInTexts)
{
    ::setenv("ZEL_TEST_VAR", "v/w", 1);
    ::setenv("HOME", "/home/me", 1);
    ::unsetenv("ZEL_TEST_NONE");
    const std::pair<const char *, const char *> cases[] = {
        {"$ZEL_TEST_VAR/x", "v/w/x"},
        {"a${ZEL_TEST_VAR}b", "av/wb"},
        {"$ZEL_TEST_NONE $", "$ZEL_TEST_NONE $"},
        {"${ZEL_TEST_VAR", "${ZEL_TEST_VAR"},
        {"\\$ZEL_TEST_VAR", "\\$ZEL_TEST_VAR"},
        {"~", "/home/me"},
        {"~/x", "/home/me/x"},
        {"~you/x", "~you/x"},
        {"a~/x", "a~/x"},
        {"", ""},
    };
    for (const auto &[text, expected] : cases) {
        KIT_String out(text);
        EXPECT_EQ(out.expandVariables(), std::string(text) != expected);
        EXPECT_EQ(out, expected);
    }
}

TEST_F(IndexFiles, FoldersAreMadeAndLinksSeenThrough)
{
    EXPECT_TRUE(KITcreateDirectoryForFile(in("a/x/y/z").c_str()));
    EXPECT_TRUE(fs::is_directory(in("a/x/y")));
    EXPECT_FALSE(fs::exists(in("a/x/y/z")));
    EXPECT_TRUE(KITcreateDirectoryForFile("file"));
    EXPECT_FALSE(KITcreateDirectoryForFile(""));
    writeFile(in("a/plain"), "x");
    EXPECT_FALSE(KITcreateDirectoryForFile(in("a/plain/y/z").c_str()));

    fs::create_directory_symlink(in("outside"), in("a/out"));
    fs::create_directory_symlink(in("a/x"), in("a/inner"));
    EXPECT_FALSE(STO_Info::leadsBelow(in("a/out/new/file").c_str(), in("a").c_str()));
    EXPECT_TRUE(STO_Info::leadsBelow(in("a/inner/new/file").c_str(), in("a").c_str()));
    EXPECT_FALSE(STO_Info::leadsBelow(in("a/../b").c_str(), in("a").c_str()));
    EXPECT_FALSE(STO_Info::canWriteDirectory(in("a/plain").c_str()));
    EXPECT_TRUE(STO_Info::canWriteDirectory(in("a").c_str()));
}
