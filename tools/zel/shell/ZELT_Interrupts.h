/// \file ZELT_Interrupts.h
/// Ctrl-C on a terminal, while it lives: it is asked for at the prompt, and stops the command that runs.
///
/// Threads:    one thread; one object at a time, since signals belong to the process. A thread of its own
///             waits for commands that run code in Python, which a signal handler can't stop.
/// Errors:     without that thread Python isn't stopped.
#pragma once

#include <csignal>
#include <thread>

class ZELT_Interrupts
{
public:
    ZELT_Interrupts();
    ~ZELT_Interrupts();
    ZELT_Interrupts(const ZELT_Interrupts &) = delete;
    ZELT_Interrupts &operator=(const ZELT_Interrupts &) = delete;

    /// A command that runs.
    class Command
    {
    public:
        Command();
        ~Command();
        Command(const Command &) = delete;
        Command &operator=(const Command &) = delete;

        /// From here to goOn() the command can't be stopped: it writes a file. False if it was stopped before.
        static bool finish();
        static void goOn();
    };

private:
    struct sigaction myBefore = {};
    std::thread myWatcher;
};
