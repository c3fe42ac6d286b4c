/// \file DS_OwnedPrivate.h
/// Appends records and copied texts to the plain arrays of the script writer's interface.
///
/// Ownership:  the array's owner owns what was appended; what couldn't be appended is freed.
/// Threads:    one thread at a time.
/// Errors:     out of memory throws std::bad_alloc.
#pragma once

#include <KIT/KIT_ValArray.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

struct DS_FreeText
{
    void operator()(char *text) const { std::free(text); }
};

/// A text made by malloc.
using DS_OwnedText = std::unique_ptr<char, DS_FreeText>;

/// Null if there is no memory for it.
inline DS_OwnedText DScopyText(const char *text)
{
    return DS_OwnedText(strdup(text));
}

/// Releases the record only once the array has it.
template <class T, class Record, class Deleter>
void DSappendOwned(KIT_ValArray<T *> &array, std::unique_ptr<Record, Deleter> record)
{
    array.append(record.get());
    static_cast<void>(record.release());
}
