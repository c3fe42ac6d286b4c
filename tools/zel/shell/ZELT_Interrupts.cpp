#include "ZELT_Interrupts.h"

#include <BAS/BAS_Interrupt.h>
#include <SNK/SNK_Python.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>

namespace
{

std::atomic<bool> theHeedsFlag{true}; // what runs is the prompt, or a command that may be stopped
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler reads it");

std::mutex theLock;
std::condition_variable theChange;
bool theRunsFlag = false; // a command that may be stopped
bool theEndFlag = false;

void noteInterrupt(int)
{
    if (theHeedsFlag.load(std::memory_order_relaxed)) {
        BAS_Interrupt::request();
    }
}

/// A request may come before the code that it is to stop, or between two of them: so again and again.
void watch()
{
    constexpr std::chrono::milliseconds theWait(50);
    std::unique_lock<std::mutex> lock(theLock);
    while (!theEndFlag) {
        if (!theRunsFlag) {
            theChange.wait(lock);
            continue;
        }
        theChange.wait_for(lock, theWait);
        if (theRunsFlag && BAS_Interrupt::isRequested()) {
            lock.unlock();
            SNKinterruptPython();
            lock.lock();
        }
    }
}

void tellWatcher(bool runsFlag, bool endFlag = false)
{
    {
        const std::lock_guard<std::mutex> lock(theLock);
        theRunsFlag = runsFlag;
        theEndFlag = endFlag;
    }
    theChange.notify_one();
}

} // namespace

ZELT_Interrupts::ZELT_Interrupts()
{
    tellWatcher(false);
    sigset_t interrupt, before;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    // A read of this thread is to end by it.
    pthread_sigmask(SIG_BLOCK, &interrupt, &before);
    try {
        myWatcher = std::thread(watch);
    } catch (const std::system_error &) {
        // The rest works without it.
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    struct sigaction action = {};
    action.sa_handler = noteInterrupt; // without SA_RESTART
    sigaction(SIGINT, &action, &myBefore);
}

ZELT_Interrupts::~ZELT_Interrupts()
{
    sigaction(SIGINT, &myBefore, nullptr);
    tellWatcher(false, true);
    if (myWatcher.joinable()) {
        myWatcher.join();
    }
}

ZELT_Interrupts::Command::Command()
{
    tellWatcher(true);
}

bool ZELT_Interrupts::Command::finish()
{
    theHeedsFlag.store(false); // before it is asked for
    tellWatcher(false);
    if (BAS_Interrupt::isRequested()) {
        goOn();
        return false;
    }
    return true;
}

void ZELT_Interrupts::Command::goOn()
{
    tellWatcher(true);
    theHeedsFlag.store(true);
}

ZELT_Interrupts::Command::~Command()
{
    tellWatcher(false);
    theHeedsFlag.store(true, std::memory_order_relaxed);
}
