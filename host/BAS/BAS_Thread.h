/// \file BAS_Thread.h
/// The small number by which per-thread records are found.
///
/// Vocabulary: *thread id* = 1, 2, 3 ... dense over the threads that live at the same time; the
///             thread that loads the library has 1.
/// Units:      1-based; 0 is nobody.
/// Ownership:  an id belongs to its thread until that thread ends; then the lowest free id goes to
///             the next thread that asks.
/// Threads:    any.
/// Cost:       one read of a thread-local word after the first call on a thread.

#pragma once

#include <BAS/BAS_API.h>

/// The calling thread's id, 0 before its first use. Read it through BASgetSTID.
extern KIT_API __thread int theBASThreadId __attribute__((tls_model("initial-exec")));

/// Gives the calling thread an id if it has none, and answers it.
KIT_API int BASregisterThread();

/// The calling thread's id, the `thread` of every evaluation call.
inline int BASgetSTID()
{
    const int id = theBASThreadId;
    return id != 0 ? id : BASregisterThread();
}
