/// \file KIT_WorkArgs.h
/// The words that a text was split into.
///
/// Units:      indices from 0.
/// Ownership:  owns the words, one after the other in one buffer. A pointer to a word is valid
///             until the next change.
/// Threads:    one thread at a time; meant for the stack.
/// Errors:     an index outside the words gives null.
/// Cost:       no heap for the words of a short text.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ValArray.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>

class KIT_API KIT_WorkArgs
{
public:
    int64_t entries() const { return myStarts.entries(); }
    const char *operator[](int64_t index) const
    {
        return myStarts.isValidIndex(index) ? myText.buffer() + myStarts[index] : nullptr;
    }

    /// Adds a copy of the word, cut at its first NUL.
    void append(std::string_view word)
    {
        const size_t start = myText.length();
        const size_t length = std::min(word.find('\0'), word.size());
        myText.append(word.substr(0, length));
        myText.append('\0');
        if (myText.length() == start + length + 1) {
            myStarts.append(static_cast<int64_t>(start));
        } else {
            myText.truncate(start);
        }
    }
    /// Removes all words; the memory is kept.
    void clear()
    {
        myText.clear();
        myStarts.clear();
    }

private:
    KIT_WorkBuffer myText; // each word with its NUL
    KIT_ValArray<int64_t> myStarts;
};
