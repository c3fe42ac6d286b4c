// Names of instances and their patterns, and the walks over switchers and arrays.
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_InstanceString.h>
#include <ZEL/ZEL_Template.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace
{

constexpr bool TOKEN = true;
constexpr bool LABEL = false;
constexpr bool REPEAT = true;
constexpr bool ONCE = false;

std::string instanced(const char *text, const std::vector<int> &numbers, bool token, bool repeat)
{
    KIT_WorkBuffer out("stale");
    ZELinstanceString(out, text, numbers.data(), static_cast<int>(numbers.size()), token, repeat);
    return out.buffer();
}

/// "no", or the number of the last mark.
std::string matched(const char *name, const char *pattern, int startOffset,
                    const std::vector<int> *numbers = nullptr)
{
    KIT_ValArray<int> entries;
    if (numbers) {
        entries.append(numbers->data(), static_cast<int64_t>(numbers->size()));
    }
    int instance = -99;
    const bool flag = ZEL_Template::matchMultiInstance(name, pattern, startOffset, instance,
                                                       numbers ? &entries : nullptr);
    if (!flag) {
        EXPECT_EQ(instance, startOffset - 1) << name << " " << pattern;
    }
    return flag ? std::to_string(instance) : "no";
}

/// The plain definition, by exhaustive search.
bool matchesByTrying(const char *name, const char *pattern)
{
    if (*pattern != '#') {
        return *pattern == *name && (!*pattern || matchesByTrying(name + 1, pattern + 1));
    }
    for (; *name >= '0' && *name <= '9'; name++) {
        if (matchesByTrying(name + 1, pattern + 1)) {
            return true;
        }
    }
    return false;
}

/// An array from a sketch: `(2,1` = a switcher with folders of 2 and 1 members, `.` = a parameter.
struct Sketch
{
    explicit Sketch(const char *text)
    {
        while (*text) {
            if (*text++ != '(') {
                templates.emplace_back(ZEL_FLT);
                continue;
            }
            int folders = 0;
            ZEL_Default *const first = defaults + used;
            for (char *end; (*text >= '0' && *text <= '9') || *text == '-' || *text == ',';) {
                text += *text == ',';
                defaults[used++] = ZEL_Default(static_cast<double>(std::strtol(text, &end, 10)));
                text = end;
                folders++;
            }
            templates.emplace_back(ZEL_SWITCHER, folders, nullptr, first);
        }
        templates.emplace_back();
    }

    long end(int index) const
    {
        return ZEL_Template::getEndOfSwitcher(&templates[size_t(index)]) - templates.data();
    }

    std::string folderOf(int index) const
    {
        int switcher = -1;
        int folder = -1;
        if (!ZEL_Template::getEnclosingSwitcherFolder(templates.data(), index, switcher, folder)) {
            return "none";
        }
        return std::to_string(switcher) + ":" + std::to_string(folder);
    }

    ZEL_Default defaults[32];
    int used = 0;
    std::vector<ZEL_Template> templates;
};

} // namespace

TEST(InstanceString, PutsNumbersIntoMarks)
{
    const std::tuple<const char *, std::vector<int>, bool, bool, const char *> rows[] = {
        {"t#_#", {1, 2}, TOKEN, ONCE, "t1_2"},
        {"t#_#", {1}, TOKEN, ONCE, "t1__"},
        {"t#_#", {1}, TOKEN, REPEAT, "t1__"}, // repeat is for texts that are no tokens
        {"foo", {3, 2}, TOKEN, ONCE, "foo3_2"},
        {"foo#", {3, 2}, TOKEN, ONCE, "foo3_2"},
        {"#", {-7}, TOKEN, ONCE, "-7"},
        {"", {4}, TOKEN, ONCE, "4"},
        {"a\\#b#", {5}, TOKEN, ONCE, "a\\_b5"}, // even a protected mark may not stay
        {"a\\\\#", {5}, TOKEN, ONCE, "a\\\\5"}, // the backslash protects the second one only
        {"a\\", {5}, TOKEN, ONCE, "a\\5"},
        {"t#", {}, TOKEN, ONCE, "t_"},
        {"Key # of #", {3}, LABEL, ONCE, "Key 3 of #"},
        {"Key # of #", {3}, LABEL, REPEAT, "Key 3 of 3"},
        {"#-#-#-#x", {1, 2}, LABEL, REPEAT, "1-2-1-2x"},
        {"#", {1, 2}, LABEL, REPEAT, "1"},
        {"Key", {3, 2}, LABEL, ONCE, "Key"},
        {"Key", {3, 2}, LABEL, REPEAT, "Key"},
        {"a\\#b", {5}, LABEL, ONCE, "a\\#b"},
        {"Key #", {}, LABEL, REPEAT, "Key #"},
    };
    for (const auto &[text, entries, token, repeat, result] : rows) {
        EXPECT_EQ(instanced(text, entries, token, repeat), result) << text;
    }

    KIT_StringHolder own("t#");
    KIT_ValArray<int> numbers;
    numbers.append(12);
    ZELinstanceString(own, own, numbers, TOKEN, ONCE);
    EXPECT_STREQ(own.c_str(), "t12") << "out of itself";
}

TEST(MatchInstance, FindsTheLastNumber)
{
    const std::vector<int> one{1};
    const std::vector<int> two{2, 7};
    const std::vector<int> zero{0};
    const std::tuple<const char *, const char *, int, const std::vector<int> *, const char *>
        rows[] = {
            {"a12", "a#", 1, nullptr, "12"},
            {"a0", "a#", 1, nullptr, "no"},
            {"a0", "a#", 0, nullptr, "0"},
            {"a007", "a#", 7, nullptr, "7"},
            {"a#", "a#", 0, nullptr, "no"},
            {"a1", "a1", 5, nullptr, "4"}, // no mark: equality, and the offset less 1
            {"a1", "a2", 5, nullptr, "no"},
            {"", "", 0, nullptr, "-1"},
            {"a1_2", "a#_#", 1, nullptr, "2"},
            {"a0_2", "a#_#", 1, nullptr, "no"}, // every number is checked against the offset
            {"a1b3x", "a#b#x", 0, nullptr, "3"},
            {"a11", "a#1", 0, nullptr, "1"},
            {"a111", "a#1", 0, nullptr, "11"}, // the run gives up the digits that the pattern needs
            {"a12", "a##", 0, nullptr, "2"},
            {"a1_2", "a#_#", 1, &one, "2"},
            {"a2_2", "a#_#", 1, &one, "no"},
            {"a2_7", "a#_#", 1, &two, "7"},
            {"a2_8", "a#_#", 1, &two, "no"},
            {"a2_7", "a#_#", 8, &two, "7"}, // an entry decides, not the offset
            {"a02", "a#", 1, &two, "2"},
            {"a00", "a#", 0, &zero, "no"}, // a run ends where it has reached its entry
            {"a99999999999999999999", "a#", 1, nullptr, "2147483647"},
            {"a-1", "a#", -5, nullptr, "no"},
        };
    for (const auto &[name, pattern, offset, entries, result] : rows) {
        EXPECT_EQ(matched(name, pattern, offset, entries), result) << name << " with " << pattern;
    }
    const std::vector<int> largest{2147483647};
    EXPECT_EQ(matched("a2147483647", "a#", 0, &largest), "2147483647");
    EXPECT_EQ(matched("a2147483648", "a#", 0, &largest), "no") << "not the same number";
    EXPECT_EQ(matched(nullptr, "a#", 0), "no");
    EXPECT_EQ(matched("a", nullptr, 0), "no");
}

TEST(MatchInstance, AgreesWithTryingEverything)
{
    std::mt19937 random(3);
    const auto text = [&random](const char *letters, size_t longest) {
        std::string made;
        for (size_t i = random() % (longest + 1); i > 0; i--) {
            made += letters[random() % std::strlen(letters)];
        }
        return made;
    };
    int matches = 0;
    for (int i = 0; i < 200000; i++) {
        const std::string name = text("012a", 6);
        const std::string pattern = text("##1a", 5);
        const bool wanted = matchesByTrying(name.c_str(), pattern.c_str());
        ASSERT_EQ(matched(name.c_str(), pattern.c_str(), 0) != "no", wanted)
            << name << " with " << pattern;
        matches += wanted;
    }
    EXPECT_GT(matches, 5000);
}

TEST(MatchInstance, ReadsBackWhatWasPutIn)
{
    std::mt19937 random(4);
    for (const char *pattern : {"k#", "k#pos", "a#b#", "x#_#_#y"}) {
        for (int i = 0; i < 200; i++) {
            std::vector<int> numbers;
            for (const char *c = pattern; *c; c++) {
                if (*c == '#') {
                    numbers.push_back(static_cast<int>(random() % 1000000));
                }
            }
            const std::string name = instanced(pattern, numbers, TOKEN, ONCE);
            EXPECT_EQ(matched(name.c_str(), pattern, 0, &numbers), std::to_string(numbers.back()));
            std::vector<int> others = numbers;
            others[random() % others.size()]++;
            EXPECT_EQ(matched(name.c_str(), pattern, 0, &others), "no") << name;
        }
    }
}

TEST(MatchInstance, AmbiguousPatternsStayLinear)
{
    // An exhaustive search would take longer than the whole test run.
    std::string pattern;
    for (int i = 0; i < 60; i++) {
        pattern += "#";
    }
    const std::string name(2000, '1');
    EXPECT_NE(matched(name.c_str(), pattern.c_str(), 0), "no");
    EXPECT_EQ(matched((name + "x").c_str(), pattern.c_str(), 0), "no");
}

TEST(Switchers, EndBehindTheirLastMember)
{
    const std::tuple<const char *, int, long> rows[] = {
        {".(2,1....", 0, 0},    {".(2,1....", 1, 5},
        {"(0,0..", 0, 1},       {"(..", 0, 1},
        {"(1,1(2,1....", 0, 6}, {"(1,1(2,1....", 1, 5},
        {"((((", 0, 1},         {"(2(1(1..", 0, 5},
        {"(-3,1..", 0, 2},      {"(9..", 0, 3}, // ends at the terminator
        {"(1(9..", 0, 4},       {"(2000000000,2000000000..", 0, 3},
    };
    for (const auto &[text, index, wanted] : rows) {
        const Sketch sketch(text);
        EXPECT_EQ(sketch.end(index), wanted) << text;

        std::vector<ZEL_Template> copies = sketch.templates;
        KIT_Array<ZEL_Template *> pointers;
        for (size_t i = 0; i + 1 < copies.size(); i++) {
            pointers.append(&copies[i]);
        }
        EXPECT_EQ(ZEL_Template::getEndOfSwitcher(pointers, index), wanted) << text;
    }
}

TEST(Switchers, TheInnermostFolderAnswers)
{
    // 0 switcher: folder 0 = 1 and 2 (a switcher over 3 | 4 5), folder 1 = 6; 7 is outside.
    const Sketch sketch("(2,1.(1,2.....");
    const char *const folders[] = {"none", "0:0", "0:0", "2:0", "2:1", "2:1", "0:1", "none"};
    for (int i = 0; i < 8; i++) {
        EXPECT_EQ(sketch.folderOf(i), folders[i]) << i;
    }
    EXPECT_EQ(sketch.folderOf(1000), "none");
    EXPECT_EQ(sketch.folderOf(-1), "none");

    KIT_ValArray<int> switchers;
    KIT_ValArray<int> others;
    ZEL_Template::getSwitcherStats(&sketch.templates[0], switchers, others);
    ASSERT_EQ(switchers.entries(), 2);
    EXPECT_EQ(switchers(0), 1);
    EXPECT_EQ(others(0), 1);
    EXPECT_EQ(switchers(1), 0);
    EXPECT_EQ(others(1), 1);
    ZEL_Template::getSwitcherStats(&sketch.templates[1], switchers, others);
    EXPECT_EQ(switchers.entries() + others.entries(), 0);
}

TEST(Switchers, FoldersAreFoundByLabel)
{
    ZEL_Default folders[] = {{1, nullptr}, {0, "Shape"}, {2, "Look"}, {1, "Look"}};
    const ZEL_Template switcher(ZEL_SWITCHER_EXCLUSIVE, 4, nullptr, folders);
    EXPECT_EQ(switcher.findSwitcherFolderWithLabel("Look"), 2);
    EXPECT_EQ(switcher.findSwitcherFolderWithLabel("look"), -1);
    EXPECT_EQ(switcher.findSwitcherFolderWithLabel(""), -1);
    EXPECT_EQ(switcher.findSwitcherFolderWithLabel(nullptr), -1);
    EXPECT_EQ(ZEL_Template(ZEL_FLT, 4, nullptr, folders).findSwitcherFolderWithLabel("Look"), -1);
}

TEST(Arrays, CountsLeaveOutWhatIsAsked)
{
    // A switcher over two folders, the second holding a nested one, then one more.
    const Sketch sketch("(2,1..(1,1...");
    const ZEL_Template *templates = sketch.templates.data();
    EXPECT_EQ(ZEL_Template::countTemplates(templates), 7);
    EXPECT_EQ(ZEL_Template::countTemplates(templates, true), 2);
    EXPECT_EQ(ZEL_Template::countTemplates(nullptr), 0);
    EXPECT_EQ(ZEL_Template::countTemplates(Sketch("(9.").templates.data(), true), 0)
        << "never below zero";

    ZEL_Template joined[] = {{ZEL_FLT | ZEL_TYPE_JOIN_NEXT}, {ZEL_FLT, ZEL_TYPEX_JOINED},
                             {ZEL_FLT, ZEL_TYPEX_JOIN_NEXT}, {ZEL_FLT, ZEL_TypeExtended(24)},
                             {ZEL_FLT, ZEL_TYPEX_NODE_PATH}, {}};
    EXPECT_EQ(ZEL_Template::countTemplates(joined), 5);
    EXPECT_EQ(ZEL_Template::countTemplates(joined, false, true), 2);
    EXPECT_EQ(ZEL_Template::countTemplates(joined, false, false, true), 4);
    EXPECT_EQ(ZEL_Template::countTemplates(joined, true, true, true), 1);
}

TEST(Arrays, TokensAndExportLevelsAreScannedToTheTerminator)
{
    ZEL_Name names[] = {{"a"}, {"B"}, {"a"}, {"behind"}};
    ZEL_Template templates[] = {{ZEL_FLT, ZEL_Template::ZEL_EXPORT_1, 1, &names[0]},
                                {ZEL_FLT, ZEL_Template::ZEL_EXPORT_2, 1, &names[1]},
                                {ZEL_FLT, 1, &names[2]},
                                {},
                                {ZEL_FLT, ZEL_Template::ZEL_EXPORT_3, 1, &names[3]}};
    EXPECT_EQ(ZEL_Template::getTemplateIndexByToken(templates, "a"), 0);
    EXPECT_EQ(ZEL_Template::getTemplateIndexByToken(templates, "b"), -1);
    EXPECT_EQ(ZEL_Template::getTemplateIndexByToken(templates, "behind"), -1);
    EXPECT_EQ(ZEL_Template::getTemplateIndexByToken(nullptr, "a"), -1);
    EXPECT_EQ(ZEL_Template::getTemplateIndexByToken(templates, nullptr), -1);
    EXPECT_EQ(ZEL_Template::getHighestExportLevel(templates), ZEL_Template::ZEL_EXPORT_2);
    EXPECT_EQ(ZEL_Template::getHighestExportLevel(nullptr), ZEL_Template::ZEL_EXPORT_0);
}
