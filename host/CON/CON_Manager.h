/// \file CON_Manager.h
/// The part of the application's command language that parameters use: its variables, and the
/// quoting of its words.
///
/// Vocabulary: *variable* = a name with a text, set by the application or, failing that, taken from
///             the environment of the process. *protected word* = a text as written in a command:
///             in double quotes when it needs them to stay one word, with the quote, the backslash
///             and control bytes escaped by backslashes (KIT_String.h, quoted form).
/// Ownership:  one for the process. Copies what it is given.
/// Threads:    variables: any; readers don't wait for each other. The quoting of words: any.
/// Errors:     getEnv() and getVariable() return false for a variable that isn't set. A stream that
///             fails keeps its state.

#pragma once

#include <BAS/BAS_API.h>
#include <BAS/BAS_StripedLock.h>
#include <KIT/KIT_StringRef.h>

#include <tbb/cache_aligned_allocator.h>

#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

class KIT_API CON_Manager
{
public:
    static CON_Manager &getContext();

    // ---------------------------------------------------------------- //
    /// \name Variables
    // ---------------------------------------------------------------- //
    /// The text of a variable, or else of the process's environment. False leaves `value`
    /// unchanged.
    bool getEnv(const KIT_StringRef &name, KIT_String &value) const;
    /// The same without the process's environment.
    bool getVariable(const KIT_StringRef &name, KIT_String &value) const;
    /// Sets a variable; a null value removes it. A null or empty name is ignored.
    void setVariable(const KIT_StringRef &name, const char *value);

    // ---------------------------------------------------------------- //
    /// \name Words of commands
    // ---------------------------------------------------------------- //
    /// Writes the text as one protected word. A null text is written as the empty one.
    static void saveProtectedString(std::ostream &os, const char *text);
    /// Restores the text of a protected word: removes the double quotes around it, if they are
    /// still there, and resolves the escapes.
    static void expandControlSequences(KIT_String &word);

private:
    CON_Manager() = default;

    // All that threads read is on cache lines of its own: a neighbour in the heap might be data
    // that one of them writes all the time.
    template <class T>
    using Aligned = tbb::cache_aligned_allocator<T>;
    using Text = std::basic_string<char, std::char_traits<char>, Aligned<char>>;
    struct Variable
    {
        Text name;
        Text value;
    };
    using VariablePtr = std::shared_ptr<Variable>;
    using Entry = std::pair<const KIT_StringRef, VariablePtr>;

    mutable BAS_StripedLock myLock;
    std::unordered_map<KIT_StringRef, VariablePtr, std::hash<KIT_StringRef>,
                       std::equal_to<KIT_StringRef>, Aligned<Entry>>
        myVariables; // keys borrow the names
};
