/// \file BAS_Thread.h
/// The small number that per-thread records are indexed by.
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
