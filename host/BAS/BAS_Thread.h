/// \file BAS_Thread.h
/// The small number that per-thread records are indexed by, and what is done when a thread ends.
///
/// Vocabulary: *thread id* = 1, 2, 3 ... dense over the threads that exist at the same time; the
///             thread that loads the library has 1.
/// Units:      1-based; 0 is no thread.
/// Ownership:  an id belongs to its thread until that thread ends; after that the next thread that
///             asks gets the lowest free id.
/// Threads:    any.
/// Cost:       one read of a thread-local integer after the first call on a thread.

#pragma once

#include <BAS/BAS_API.h>

/// The calling thread's id, 0 before its first use. Read it through BASgetSTID.
extern KIT_API __thread int theBASThreadId __attribute__((tls_model("initial-exec")));

/// Assigns the calling thread an id if it has none, and returns it.
KIT_API int BASregisterThread();

/// The calling thread's id, the `thread` of every evaluation call.
inline int BASgetSTID()
{
    const int id = theBASThreadId;
    return id != 0 ? id : BASregisterThread();
}

/// While it lives, a function is called on each thread that ends and had an id, after the destructors
/// of its thread_local objects. What a thread owns is a plain thread-local pointer and one of these:
/// the first use of a thread_local object with a destructor aborts the process when memory is refused.
/// For statics of a library; there is room for a few. The main thread ends with the process, and calls
/// none.
class KIT_API BAS_ThreadEnd
{
public:
    explicit BAS_ThreadEnd(void (*function)());
    ~BAS_ThreadEnd();
    BAS_ThreadEnd(const BAS_ThreadEnd &) = delete;
    BAS_ThreadEnd &operator=(const BAS_ThreadEnd &) = delete;

private:
    void (*myFunction)();
};
