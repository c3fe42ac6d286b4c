/// \file Threads.h
/// Threads that start together, for tests of what they share.
#pragma once

#include <atomic>
#include <thread>
#include <vector>

/// Holds each thread until all have arrived.
class Barrier
{
public:
    explicit Barrier(int count) : myMissing(count) {}
    void wait()
    {
        --myMissing;
        while (myMissing > 0) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<int> myMissing;
};

/// Runs `work(i)` on that many threads at once.
template <class Work>
void onThreads(int count, const Work &work)
{
    Barrier start(count);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            start.wait();
            work(i);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}
