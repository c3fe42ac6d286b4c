// Menus requested by many threads at once.

#include "MenuScene.h"

#include <common/Threads.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace
{

void generateByThread(void *data, ZEL_Item *out, int, const ZEL_SpareData *, const ZEL_Parm *)
{
    out[0].getName().setTokenAndLabel(static_cast<const char *>(data), "L");
    out[1] = ZEL_Item();
}

} // namespace

TEST(MenuThreads, EachKeepsItsOwnEntries)
{
    constexpr int theThreads = 40; // more than there are inline records
    MenuNode node;
    node.buildNode();
    const ZEL_Parm *parm = node.list->getParmPtr("menu");
    std::deque<ZEL_ChoiceList> scripts;
    for (int i = 0; i < theThreads; ++i) {
        const std::string script = "s" + std::to_string(i) + " S";
        scripts.emplace_back(ZEL_CHOICELIST_REPLACE, script.c_str(), TRK_SCRIPT_COMMAND);
    }
    const ZEL_ChoiceList items(ZEL_CHOICELIST_REPLACE, generateByThread);
    std::vector<std::string> texts(theThreads);
    Barrier scriptsAsked(theThreads);
    Barrier itemsAsked(theThreads);
    onThreads(theThreads, [&](int i) {
        const ZEL_Name *names = nullptr;
        scripts[i].getChoiceNames(names, nullptr, nullptr, parm, i % 2 == 0);
        scriptsAsked.wait();
        std::string text = entriesText(names);
        std::string token = "i" + std::to_string(i);
        const ZEL_Item *icons = nullptr;
        items.getChoiceItems(icons, token.data(), nullptr, nullptr, false);
        itemsAsked.wait();
        texts[i] = text + " " + entriesText(icons);
    });
    for (int i = 0; i < theThreads; ++i) {
        const std::string n = std::to_string(i);
        EXPECT_EQ("s" + n + "=S i" + n + "=L", texts[i]);
    }
}

namespace
{

ZEL_Item theLastItems[] = {{"x", "X", "icon"}, {nullptr, nullptr, nullptr}};

/// Exits with 3 if the menu still has its entries.
void askAtExit()
{
    const ZEL_ChoiceList items(ZEL_CHOICELIST_REPLACE, theLastItems);
    std::_Exit(namesOf(items) == "x=X" ? 3 : 1);
}

} // namespace

TEST(MenuThreadsDeathTest, AnswerWhileTheProcessEnds)
{
    // A process of its own, so that no menu is requested before the exit handler is installed.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            std::atexit(askAtExit);
            const ZEL_ChoiceList items(ZEL_CHOICELIST_REPLACE, theLastItems);
            std::exit(namesOf(items) == "x=X" ? 0 : 2);
        },
        ::testing::ExitedWithCode(3), "");
}

TEST(MenuThreads, PythonNeverWaitsWhileSomebodyWaitsForIt)
{
    if (!SNKisPythonBuiltIn()) {
        GTEST_SKIP() << "this build has no Python";
    }
    MenuNode node;
    node.buildNode();
    const ZEL_Parm *parm = node.list->getParmPtr("menu");
    MenuNodes nodes;
    nodes.add("/obj/test", node);
    Tracebacks tracebacks;
    TRK_Collection channels;
    TRK_Channel *channel = channels.addChannel("tx");
    channel->changeExpression(0, "sum(range(100)) + vmr.time()", TRK_LANGUAGE_PYTHON, false);

    // The application locks its nodes: code that holds the interpreter takes the lock here, and a
    // thread that has the lock requests the interpreter.
    std::mutex lock;
    nodes.evaluated = [&](const std::string &) { const std::lock_guard<std::mutex> guard(lock); };
    const ZEL_ChoiceList reading = pythonMenu("return [str(vmr.ch('n')), vmr.parm('menu').eval()]");
    const ZEL_ChoiceList plain = pythonMenu("return [str(sum(range(50))), kwargs['node'].name()]");
    std::atomic<int> wrong{0};
    onThreads(8, [&](int i) {
        // The first to come starts the interpreter.
        for (int round = 0; round < 50; ++round) {
            if (i % 2 == 0) {
                wrong += namesOf(reading, parm) != "0.5=picked";
            } else {
                const std::lock_guard<std::mutex> guard(lock);
                wrong += namesOf(plain, parm) != "1225=test";
                wrong += channels.evaluate(channel, round, false, BASgetSTID()) != 4950.0 + round;
            }
        }
    });
    EXPECT_EQ(0, wrong);
    EXPECT_EQ("", tracebacks.take());
}
