/// \file BAS_StripedLock.h
/// A lock for data that all threads read all the time and that hardly ever changes.
///
/// Vocabulary: *stripe* = one of 32 small locks, each on cache lines of its own; a reader takes
///             the one of its thread, a writer takes all of them in order.
/// Ownership:  guards live on the stack. About 4 KB: use one for a table, not one for each entry.
/// Threads:    any. Readers of up to 32 threads share no cache line. A reader must not write, and
///             no thread may take the lock twice.
/// Cost:       reading: one exchange on the thread's own line. Writing: 32 of them.

#pragma once

#include <BAS/BAS_SpinLock.h>
#include <BAS/BAS_Thread.h>

class BAS_StripedLock
{
public:
    BAS_StripedLock() = default;
    BAS_StripedLock(const BAS_StripedLock &) = delete;
    BAS_StripedLock &operator=(const BAS_StripedLock &) = delete;

    class Reader
    {
    public:
        explicit Reader(BAS_StripedLock &lock)
            : myLock(lock.myStripes[static_cast<unsigned>(BASgetSTID()) % theCount].lock)
        {
            myLock.lock();
        }
        ~Reader() { myLock.unlock(); }
        Reader(const Reader &) = delete;
        Reader &operator=(const Reader &) = delete;

    private:
        BAS_ByteLock &myLock;
    };

    class Writer
    {
    public:
        explicit Writer(BAS_StripedLock &lock) : myLock(lock)
        {
            for (Stripe &stripe : myLock.myStripes) {
                stripe.lock.lock();
            }
        }
        ~Writer()
        {
            for (Stripe &stripe : myLock.myStripes) {
                stripe.lock.unlock();
            }
        }
        Writer(const Writer &) = delete;
        Writer &operator=(const Writer &) = delete;

    private:
        BAS_StripedLock &myLock;
    };

private:
    static constexpr unsigned theCount = 32;

    struct alignas(128) Stripe
    {
        BAS_ByteLock lock;
    };

    Stripe myStripes[theCount];
};
