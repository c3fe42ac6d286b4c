// The small services: takes, file history, settings, help, memory reports.

#include "DocTables.h"

#include <BAS/BAS_Memory.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_HelpManager.h>
#include <KIT/KIT_Memory.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <LYR/LYR_Manager.h>
#include <STO/STO_FileHistory.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

namespace
{

/// The names of a type, most recent first, as "b a ".
std::string names(const STO_FileHistoryManager &history, STO_FileHistoryType type)
{
    std::string text;
    for (int64_t i = 0; i < history.entries(type); ++i) {
        text += std::string(history.getFileName(type, i).nonNullStr()) + " ";
    }
    return text;
}

/// The digits with which a cell of a table begins: "100000" of "100,000, and one more".
std::string leadingNumber(const std::string &cell)
{
    std::string digits;
    for (size_t i = 0; i < cell.size(); ++i) {
        if (std::isdigit(static_cast<unsigned char>(cell[i]))) {
            digits += cell[i];
        } else if (cell[i] != ',' || cell[i + 1] == ' ') {
            break;
        }
    }
    return digits;
}

} // namespace

TEST(Services, TakesStartAtTheMasterTake)
{
    LYR_Manager manager;
    EXPECT_STREQ(manager.getMasterTake()->getName().c_str(), "Main");
    EXPECT_EQ(manager.getCurrentTake(), manager.getMasterTake());
    EXPECT_FALSE(manager.getOverrideFlag() || manager.getAutoIncludeFlag() ||
                 manager.getAutoIncludeLockedAssetsFlag());

    LYR_Take *light = manager.getMasterTake()->addChild("light");
    LYR_Take *night = light->addChild("night");
    LYR_Take *wide = manager.getMasterTake()->addChild("wide");
    EXPECT_EQ(manager.getMasterTake()->find("night"), night);
    EXPECT_EQ(manager.getMasterTake()->find("day"), nullptr);

    const int parm = 0;
    manager.addDefinition(&parm, night);
    EXPECT_EQ(manager.findDefinition(&parm), nullptr) << "the current take holds none";
    EXPECT_TRUE(manager.setCurrentTake(night));
    EXPECT_EQ(manager.findDefinition(&parm), night);
    manager.removeDefinitions(&parm);
    EXPECT_EQ(manager.findDefinition(&parm), nullptr);

    LYR_Take stranger("stranger");
    EXPECT_FALSE(manager.setCurrentTake(&stranger));
    EXPECT_FALSE(manager.removeTake(manager.getMasterTake()));
    EXPECT_FALSE(manager.removeTake(&stranger));
    EXPECT_TRUE(manager.removeTake(light)); // takes the current take with it
    EXPECT_EQ(manager.getCurrentTake(), manager.getMasterTake());
    ASSERT_EQ(manager.getMasterTake()->getChildren().entries(), 1);
    EXPECT_EQ(manager.getMasterTake()->getChildren()[0], wide);
}

TEST(Services, FileHistoryPutsTheMostRecentFirst)
{
    STO_FileHistoryManager history;
    for (const char *name : {"a", "b", "c", "a", "b"}) {
        EXPECT_TRUE(history.addFile(STO_HISTORY_PICTURE, name));
    }
    EXPECT_EQ(names(history, STO_HISTORY_PICTURE), "b a c ");
    EXPECT_EQ(history.entries(STO_HISTORY_RAMP), 0);
    EXPECT_FALSE(history.addFile(STO_HISTORY_PICTURE, ""));
    EXPECT_FALSE(history.addFile(STO_HISTORY_PICTURE, nullptr));
    for (const int type : {0, 13, 14, 18, 28, 30, -1}) {
        EXPECT_FALSE(history.addFile(static_cast<STO_FileHistoryType>(type), "a")) << type;
    }
    EXPECT_TRUE(history.getFileName(STO_HISTORY_PICTURE, 3).isEmpty());

    for (int i = 0; i < 200; ++i) {
        history.addFile(STO_HISTORY_PICTURE, std::to_string(i).c_str());
    }
    EXPECT_EQ(history.entries(STO_HISTORY_PICTURE), STO_FileHistoryManager::theMaxEntries);
    EXPECT_STREQ(history.getFileName(STO_HISTORY_PICTURE, 0).c_str(), "199");
}

TEST(Services, FileHistoryShortensTheHomeFolder)
{
    const char *old = std::getenv("HOME");
    const std::string saved = old ? old : "";
    STO_FileHistoryManager history;
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"/home/ann", "/home/ann/a.pic", "~/a.pic"},
        {"/home/ann/", "/home/ann/a.pic", "~/a.pic"},
        {"/home/ann", "/home/ann", "~"},
        {"/home/ann", "/home/anna/a.pic", "/home/anna/a.pic"},
        {"/home/ann", "x/home/ann/a.pic", "x/home/ann/a.pic"},
        {"", "/a.pic", "/a.pic"},
        {"/", "/a.pic", "/a.pic"},
    };
    for (const auto &[home, name, formatted] : cases) {
        setenv("HOME", home, 1);
        history.addFile(STO_HISTORY_ANY, name);
        EXPECT_STREQ(history.getFormattedName(STO_HISTORY_ANY, 0).c_str(), formatted);
    }
    old ? setenv("HOME", saved.c_str(), 1) : unsetenv("HOME");
}

TEST(Services, SettingsAreKeptByNumber)
{
    const int old = KIT_EnvControl::getInt(KIT_ENV_SORTED_SAVE);
    EXPECT_TRUE(KIT_EnvControl::setInt(KIT_ENV_SORTED_SAVE, 5));
    EXPECT_EQ(KIT_EnvControl::getInt(307), 5);
    EXPECT_TRUE(KIT_EnvControl::setInt(KIT_ENV_SORTED_SAVE, old));
    EXPECT_FALSE(KIT_EnvControl::setInt(-1, 5));
    EXPECT_FALSE(KIT_EnvControl::setInt(512, 5));
    EXPECT_EQ(KIT_EnvControl::getInt(-1), 0);
    EXPECT_EQ(KIT_EnvControl::getInt(512), 0);
    EXPECT_STREQ(KIT_EnvControl::getVariable(307), "VELMORA_SORTED_SAVE");
    EXPECT_EQ(KIT_EnvControl::getVariable(1), nullptr);

    EXPECT_EQ(KIT_EnvControl::getLimit(KIT_ENV_MAX_VECTOR_SIZE), 256);
    EXPECT_TRUE(KIT_EnvControl::setInt(KIT_ENV_MAX_VECTOR_SIZE, 7));
    EXPECT_EQ(KIT_EnvControl::getLimit(KIT_ENV_MAX_VECTOR_SIZE), 7);
    EXPECT_TRUE(KIT_EnvControl::setInt(KIT_ENV_MAX_VECTOR_SIZE, -1));
    EXPECT_EQ(KIT_EnvControl::getLimit(KIT_ENV_MAX_VECTOR_SIZE), 256);
    EXPECT_TRUE(KIT_EnvControl::setInt(KIT_ENV_MAX_VECTOR_SIZE, 0));
    EXPECT_EQ(KIT_EnvControl::getLimit(512), 0);

    const int most = KIT_EnvControl::getUpperBound(KIT_ENV_MAX_SCRIPT_NESTING);
    EXPECT_TRUE(KIT_EnvControl::setInt(KIT_ENV_MAX_SCRIPT_NESTING, most + 1));
    EXPECT_EQ(KIT_EnvControl::getLimit(KIT_ENV_MAX_SCRIPT_NESTING), most) << "held at its bound";
    EXPECT_TRUE(KIT_EnvControl::setInt(KIT_ENV_MAX_SCRIPT_NESTING, 0));
    EXPECT_EQ(KIT_EnvControl::getUpperBound(1), 0);
}

TEST(Services, ThePagesOfSettingsHaveEachOfThem)
{
    std::string rows;
    std::string limits;
    std::string bounds;
#define KIT_SETTING(enumerator, number, variable, byDefault, most)                                 \
    rows += "`" variable "` " #byDefault "\n";                                                     \
    bounds += byDefault > 0 ? "`" variable "` " #most "\n" : "";                                   \
    limits += byDefault > 0 ? "the setting `" variable "` " #byDefault "\n" : "";
#define KIT_VARIABLE(constant, variable) rows += "`" variable "`\n";
#include <KIT/KIT_Settings.def>

    std::string page;
    std::string most;
    for (const std::vector<std::string> &cells : readDocTables("settings.md")) {
        // The table of settings has two cells more, the default and a limit's upper bound.
        const bool isSetting = cells.size() == 5;
        if (cells[0][0] == '`') {
            page += cells[0] + (isSetting ? " " + leadingNumber(cells[1]) : "") + "\n";
            most += isSetting && !cells[2].empty() ? cells[0] + " " + leadingNumber(cells[2]) + "\n"
                                                   : "";
        }
    }
    EXPECT_EQ(page, rows);
    EXPECT_EQ(most, bounds);

    std::string security;
    for (const std::vector<std::string> &cells : readDocTables("security.md")) {
        if (cells.size() == 4 && cells[2].compare(0, 11, "the setting") == 0) {
            security += cells[2] + " " + leadingNumber(cells[1]) + "\n";
        }
    }
    EXPECT_EQ(security, limits);
}

TEST(Services, AHelpManagerThatGoesIsForgotten)
{
    class Help : public KIT_HelpManager
    {
    public:
        bool getText(const char *path, const char *token, KIT_String &out) override
        {
            out = (std::string(path) + ":" + token).c_str();
            return true;
        }
    };
    ASSERT_EQ(KIT_HelpManager::get(), nullptr);
    {
        Help help;
        KIT_HelpManager::set(&help);
        KIT_String text;
        EXPECT_TRUE(KIT_HelpManager::get()->getText("/obj/a", "tx", text));
        EXPECT_STREQ(text.nonNullStr(), "/obj/a:tx");
        EXPECT_FALSE(KIT_HelpManager::get()->getTitle("/obj/a", "tx", text));
    }
    EXPECT_EQ(KIT_HelpManager::get(), nullptr);
}

TEST(Services, MemoryReportsListTheCategories)
{
    BAS_MemoryUser users[] = {BAS_MemoryUser("Names"), BAS_MemoryUser("Values")};
    BAS_MemoryTable table(users, 2);
    void *block = BAS_Memory::Malloc(table, 1, 100);
    BAS_Memory::acquire(table, 1, 20);
    BAS_Memory::release(table, 1, 20);

    KIT_WorkBuffer text;
    KIT_Memory::printMemory(table, text, 3, false);
    EXPECT_STREQ(text.buffer(), "Names: 0 bytes, 0 at most, 0 blocks\n"
                                "Values: 100 bytes, 120 at most, 1 blocks\n"
                                "Total: 100 bytes, 120 at most, 1 blocks\n");
    text.clear();
    KIT_Memory::printMemory(table, text, 1, true);
    EXPECT_STREQ(text.buffer(), "Values: 100 bytes\nTotal: 100 bytes\n");
    text.clear();
    KIT_Memory::printMemory(table, text, 0, false);
    EXPECT_STREQ(text.buffer(), "Total: 100 bytes\n");
    BAS_Memory::Free(table, 1, block, 100);
}
