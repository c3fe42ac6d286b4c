/// \file ZELT_Progress.h
/// A progress bar for long work, on a terminal; nothing at all in a pipe or file.
///
/// Threads:    advance() from any thread.
/// Cost:       one relaxed addition a call, and at most ten lines a second.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>

class ZELT_Progress
{
public:
    /// `what` is borrowed.
    ZELT_Progress(const char *what, std::int64_t total);
    /// Erases the bar.
    ~ZELT_Progress();
    ZELT_Progress(const ZELT_Progress &) = delete;
    ZELT_Progress &operator=(const ZELT_Progress &) = delete;

    void advance(std::int64_t by = 1);

private:
    void draw(std::int64_t done);

    const char *myWhat;
    std::int64_t myTotal;
    bool myTerminalFlag;
    std::atomic<std::int64_t> myDone{0};
    std::mutex myLock;
    std::chrono::steady_clock::time_point myNext;
    bool myDrawnFlag = false;
};
