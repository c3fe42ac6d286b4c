/// \file SNK_PythonEnd.h
/// Calls into Python on threads that may be there when the interpreter ends.
///
/// CPython ends a thread that waits for the interpreter while this is finalized, right where it waits, by unwinding its
/// frames. Those of C++ would run their destructors without the interpreter, or may not be unwound at all: the process
/// would abort.
///
/// Threads:    any.

#pragma once

#include <cstddef> // which says whose the standard library is

#include <unistd.h>
#ifdef __GLIBCXX__
#include <cxxabi.h>
#endif

/// What `call` returns. A thread that CPython would end in there stays until the process ends.
template <class Call>
#ifdef __GLIBCXX__
__attribute__((no_sanitize("undefined"))) // there is no object that the handler's reference could be of
#endif
auto SNKstayAtEnd(const Call &call) -> decltype(call())
{
#ifdef __GLIBCXX__
    try {
        return call();
    } catch (abi::__forced_unwind &) {
        for (;;) {
            pause();
        }
    }
#else
    return call();
#endif
}
