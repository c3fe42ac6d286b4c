/// \file TRK_LiteralPrivate.h
/// A literal text in a source: what it stands for, and how another path is written into it. Used by the
/// channel library alone.
///
/// Vocabulary: *value* = what the reader of the source gets; *field* = what is in braces in f'{...}' of
///             Python.
/// Ownership:  borrows source and literal.
/// Cost:       linear in the literal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class TRK_Collection;

/// Where it is written, and in which spelling.
struct TRK_Literal
{
    enum class Kind
    {
        TEXT,   ///< without quotes: a literal text
        NATIVE, ///< of the expression language
        PYTHON
    };

    /// All of a text.
    explicit TRK_Literal(const std::string &source)
        : kind(Kind::TEXT), end(source.size()), after(source.size())
    {}
    /// From its prefix on; its end isn't known yet. `outer` is the quote of the text in whose field it is.
    TRK_Literal(const std::string &source, Kind kind, std::size_t start, std::size_t quoteAt,
                char outer);

    Kind kind;
    std::size_t start = 0;   ///< with the prefix
    std::size_t quoteAt = 0; ///< of the first quote
    std::size_t begin = 0;   ///< of the contents
    std::size_t end = 0;     ///< the same
    std::size_t after = 0;   ///< behind the quotes
    char quote = '\0';
    char outer = '\0';
    bool rawFlag = false;
    bool bytesFlag = false;
    bool formatFlag = false;
    bool isResult = false; ///< it is all of an expression
    std::vector<std::pair<std::size_t, std::size_t>> fields;
};

/// Another path in place of a part of the value.
struct TRK_LiteralChange
{
    std::size_t from;
    std::size_t to;
    std::string path;
};

/// Other bytes in place of a part of the source.
struct TRK_LiteralEdit
{
    std::size_t from;
    std::size_t to;
    std::string text;
};

/// A text with `put` of each change in its place. The changes are in order and don't overlap.
template <class Change>
std::string TRKwithChanges(const std::string &text, const std::vector<Change> &changes,
                           std::string Change::*put)
{
    std::string out;
    std::size_t done = 0;
    for (const Change &change : changes) {
        out.append(text, done, change.from - done);
        out += change.*put;
        done = change.to;
    }
    return out.append(text, done, std::string::npos);
}

class TRK_LiteralValue
{
public:
    TRK_LiteralValue(const std::string &source, const TRK_Literal &literal,
                     const TRK_Collection *collection);

    /// Fields and known variables in it are as written.
    std::string text;

    /// Whether nothing there is computed.
    bool isPlain(std::size_t from, std::size_t to) const;
    /// Adds what is to be in the source; false, with the reason, if it can't be written.
    bool spell(const std::vector<TRK_LiteralChange> &changes, std::vector<TRK_LiteralEdit> &edits,
               const char *&why) const;

private:
    std::size_t take(std::size_t at);
    std::size_t takeText(std::size_t at);
    std::size_t takeNative(std::size_t at);
    std::size_t takePython(std::size_t at);
    std::size_t takeVariable(std::size_t at);
    std::size_t takeEscape(std::size_t at);
    void takeComputed(std::size_t at, std::size_t length);
    void add(char c, std::size_t place, bool computed = false);
    std::size_t placeOf(std::size_t index) const;
    void addCode(unsigned code, std::size_t place);

    bool canSplice(const TRK_LiteralChange &change) const;
    std::string spellPath(const std::string &path) const;
    bool respell(const std::vector<TRK_LiteralChange> &changes, std::string &written) const;
    bool fitsField(const TRK_LiteralEdit &edit) const;

    const std::string &mySource;
    const TRK_Literal &myLiteral;
    const TRK_Collection *myCollection;
    // Of each character of the value; both are empty where it is as the source has it.
    std::vector<std::size_t> myPlaces; ///< in the source, with that of the end
    std::vector<bool> myComputed;
    std::size_t myField = 0; ///< the next one
};
