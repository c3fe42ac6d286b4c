/// \file KIT_String.h
/// A string that is changed in place.
///
/// Vocabulary: *unset* = no text at all (c_str is null); it compares as "". *borrowed* = points at
///             a text that the caller keeps; *hardened* = owns its text. *word* = a run of ASCII
///             letters, digits and underscores. *quoted form* = the text between double quotes,
///             with the escapes \" \\ \n \r \t and a three-digit octal \ooo for other bytes below
///             32 and for 127.
/// Units:      lengths and positions in bytes. Text is bytes without NUL: a text given with a
///             length ends at its first NUL. Only ASCII is ever interpreted.
/// Ownership:  a borrowed text must outlive the string or exist until the next change; every change
///             hardens first. Copies own their text, moves transfer it.
/// Threads:    one thread at a time; const calls from any.
/// Errors:     nothing throws. When memory is exhausted a change leaves the string as it was.
/// Cost:       a hardened string knows its length; a borrowed one counts it at each call.

#pragma once

#include <BAS/BAS_API.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>

class KIT_StringArray;
class KIT_StringRef;
class KIT_WorkArgs;
class KIT_WorkBuffer;

/// Bits for KIT_String::isInteger.
enum KIT_IsIntegerFlag : int
{
    KIT_INTEGER_SKIP_BLANKS = 1, ///< blanks before and after the number are allowed
};

/// Where KIT_String::changeQuotedWord replaces.
enum KIT_QuotedWhere : int
{
    KIT_OUTSIDE_QUOTES = 0, ///< words outside of quoted runs
    KIT_INSIDE_QUOTES = 1,  ///< words inside of quoted runs
};

class KIT_API KIT_String
{
public:
    // ---------------------------------------------------------------- //
    /// \name Making, borrowing, owning
    // ---------------------------------------------------------------- //
    /// Unset.
    KIT_String() noexcept = default;

    /// Borrows the text, or owns a copy.
    KIT_String(const char *text, bool copy = false);

    /// Owns a copy.
    explicit KIT_String(const KIT_StringRef &text);
    explicit KIT_String(const std::string &text);
    KIT_String(const KIT_String &other);
    KIT_String(KIT_String &&other) noexcept;
    ~KIT_String();

    /// All of these own a copy. The text may lie inside this string. Null gives unset.
    KIT_String &operator=(const char *text);
    KIT_String &operator=(const KIT_StringRef &text);
    KIT_String &operator=(const std::string &text);
    KIT_String &operator=(const KIT_String &other);
    KIT_String &operator=(KIT_String &&other) noexcept;

    /// Owns a copy of what it borrows.
    void harden();

    /// Owns a copy of the text.
    void harden(const char *text);

    /// Owns a copy of that many bytes.
    void harden(const char *text, size_t length);

    /// Same as harden().
    void hardenIfNeeded() { harden(); }
    void hardenIfNeeded(const char *text) { harden(text); }

    /// Frees its own text and borrows this one, which must not lie inside the own text.
    void borrow(const char *text);

    /// Takes over the other's text, which is left unset.
    void adopt(KIT_String &other);

    /// Transfers its text (a copy of a borrowed one) to the caller and becomes unset. Null if it
    /// was unset or memory is exhausted. Free it with BASfastFree.
    char *steal();

    /// Makes it unset.
    void clear();

    void swap(KIT_String &other) noexcept;

    // ---------------------------------------------------------------- //
    /// \name Reading
    // ---------------------------------------------------------------- //
    /// The text, a null pointer when unset.
    const char *c_str() const { return myText; }
    const char *buffer() const { return myText; }

    /// The text, "" when unset.
    const char *nonNullStr() const { return myText ? myText : ""; }
    operator const char *() const { return myText; }
    std::string_view view() const { return std::string_view(nonNullStr(), length()); }
    std::string toStdString() const { return std::string(view()); }

    size_t length() const;

    /// Whether it owns its text. An unset string doesn't.
    bool isHard() const { return myCapacity != 0; }

    /// Unset or of length 0.
    bool isEmpty() const { return !myText || !*myText; }

    /// The opposite of isEmpty.
    bool isstring() const { return !isEmpty(); }

    /// The byte at the index, 0 outside the text.
    template <class Index, class = std::enable_if_t<std::is_integral_v<Index>>>
    char operator[](Index index) const
    {
        return charAt(index < 0 ? SIZE_MAX : static_cast<size_t>(index));
    }

    /// Heap bytes of an owned text, and the object's own size when inclusive.
    int64_t getMemoryUsage(bool inclusive) const;

    // ---------------------------------------------------------------- //
    /// \name Appending   (a text inside this string is allowed)
    // ---------------------------------------------------------------- //
    KIT_String &operator+=(const char *text);
    KIT_String &operator+=(char c);
    KIT_String &operator+=(const KIT_String &text);
    KIT_String &operator+=(const KIT_StringRef &text);
    void append(const char *text, size_t length);

    // ---------------------------------------------------------------- //
    /// \name Comparing   (bytewise; unset and null compare as "")
    // ---------------------------------------------------------------- //
    /// Below 0, 0 or above 0. `ignoreCase` ignores the case of ASCII letters only.
    int compare(const char *text, bool ignoreCase = false) const;
    bool equal(const char *text) const { return compare(text) == 0; }
    bool operator<(const KIT_String &other) const;

    /// Natural order: runs of digits compare by their number, however long, all other bytes as
    /// `compare` does. Texts that differ in leading zeros only are ordered bytewise, so that 0
    /// means equal texts.
    static int compareNumberedString(const char *a, const char *b, bool ignoreCase = false);

    /// Whether the whole text matches a pattern: `*` any run, `?` any byte, `[a-z]` one of a set,
    /// `[^a-z]` or `[!a-z]` none of it, `\x` the byte x. A set that isn't closed is literal text.
    bool match(const char *pattern) const;
    static bool matchPattern(const char *text, const char *pattern);

    /// Whether the text contains this one; with `word` only as whole words; with `pattern` the
    /// words (or the whole text, without `word`) are matched as `match` does.
    bool findString(const char *text, bool word, bool pattern) const;

    bool startsWith(const char *prefix) const;
    bool endsWith(const char *suffix) const;

    // ---------------------------------------------------------------- //
    /// \name Looking at bytes
    // ---------------------------------------------------------------- //
    int countChar(char c) const;

    /// The last byte, 0 when empty.
    char lastChar() const;

    /// Whether it contains a blank.
    bool hasWhiteSpace() const;

    /// The first such byte, null if there is none.
    const char *findChar(char c) const;

    // ---------------------------------------------------------------- //
    /// \name Numbers   (the same in every locale)
    // ---------------------------------------------------------------- //
    /// Whether the text is a number and nothing else. `skipBlanks` allows blanks around it, `loose`
    /// anything after it, `allowUnderscore` single underscores between digits. False when empty.
    bool isFloat(bool skipBlanks = false, bool loose = false, bool allowUnderscore = false) const;

    /// Whether the text is an integer with an optional sign and nothing else (KIT_IsIntegerFlag).
    bool isInteger(int flags = 0) const;

    /// The numeric prefix, else 0.
    double toFloat() const;

    /// The integer prefix, clamped to 64 bits, else 0.
    int64_t toInteger() const;

    /// Becomes the number's decimal text.
    void itoa(int64_t value);

    // ---------------------------------------------------------------- //
    /// \name Changing
    // ---------------------------------------------------------------- //
    void removeTrailingSpace();
    void removeLeadingSpace();
    void trim();

    /// Keeps the first `length` bytes.
    void truncate(size_t length);

    /// Replaces the first or every occurrence, left to right; the replacement isn't searched again.
    /// Returns how many. An empty `from` replaces nothing.
    int substitute(const char *from, const char *to, bool all = true);

    /// The same for every occurrence; with `word` only whole words.
    int changeString(const char *from, const char *to, bool word);

    /// Replaces whole words inside (or outside, KIT_QuotedWhere) of runs between two `quote`
    /// characters; a backslash escapes the next character, an unclosed run ends with the text.
    /// Returns how many.
    int changeQuotedWord(const char *from, const char *to, char quote, int where);

    /// Replaces every byte that is no ASCII letter, digit or underscore by an underscore.
    void forceAlphaNumeric();

    /// Whether a byte of the text would be escaped between such quotes.
    static bool needsEscapes(std::string_view text, char quote);
    /// Becomes a literal in quotes of the given kind, as Python and the expression language read
    /// it: the quote and the backslash get a backslash, control bytes their escapes. Every text is
    /// quoted, even one that is in quotes already.
    void makeSmartQuotedString(char quote = '"');

    /// Resolves the escapes of the quoted form and \a \b \f \v \' \`. Anything else after a
    /// backslash stays together with it, as does \000. Returns how many were resolved. The argument
    /// is reserved; pass 0.
    int expandControlSequences(int flags = 0);

    /// Replaces $NAME and ${NAME} by the environment's variables, and a "~" at the start, alone or
    /// before a "/", by $HOME. A variable that isn't set stays as written, as does the character
    /// after a backslash. Returns whether anything was replaced.
    bool expandVariables();

    /// Splits at any of the separator characters; runs of them count once. Appends the parts and
    /// returns how many there were.
    int tokenize(KIT_StringArray &parts, const char *separators = " \t\n\r") const;

    /// Splits at blanks into words, which replace those in `words`, and returns how many there are.
    /// A run between two equal characters out of `quotes` belongs to its word, blanks included;
    /// inside, a backslash escapes that quote or another backslash. An unclosed run ends with the
    /// text. The quotes are removed, unless `keepQuotes` leaves the word as written. A word that
    /// starts with `comment` ends the text; 0 for none.
    int parse(KIT_WorkArgs &words, char comment = 0, const char *quotes = "\"\'",
              bool keepQuotes = false) const;

    /// The same words, at most `most` of them, within the string's own text, which it owns
    /// afterwards: `fields` gets pointers to them, valid until the next change. The rest of a
    /// longer text is left out. Returns how many there are.
    int parseInPlace(char **fields, int most, const char *quotes = "\"\'", char comment = 0);

    /// Splits a command line into words as `parse` does, by the rules of a command shell: '...' is
    /// literal; in "..." a backslash escapes `"`, `\`, `$` and a backtick, and \ooo is the byte of
    /// three octal digits, other than 0; `...` keeps its backticks, and in it a backslash keeps the
    /// next byte from closing it; elsewhere a backslash escapes the next byte. An unclosed run ends
    /// with the text. Adjacent runs and other bytes form one word, and an empty run is an empty
    /// word. `keepQuotes` leaves the words as written.
    int cshParse(KIT_WorkArgs &words, bool keepQuotes = false) const;

    // ---------------------------------------------------------------- //
    /// \name Streams
    // ---------------------------------------------------------------- //
    /// Binary: a little-endian 32-bit length and the bytes. Text: the quoted form, which
    /// KIT_IStream reads back to the same bytes.
    void save(std::ostream &os, bool binary) const;

private:
    char charAt(size_t index) const;
    char *writable() { return const_cast<char *>(myText); }
    bool reserve(size_t length);
    void assign(const char *text, size_t length);
    void release() noexcept;
    template <class Accept>
    int replaceWhere(const char *from, const char *to, int limit, Accept accept);

    const char *myText = nullptr;
    size_t myLength = 0;   // of owned text only
    size_t myCapacity = 0; // bytes owned; 0: unset or borrowed
};

inline bool operator==(const KIT_String &a, const KIT_String &b)
{
    return a.view() == b.view();
}
inline bool operator!=(const KIT_String &a, const KIT_String &b)
{
    return !(a == b);
}
inline bool operator==(const KIT_String &a, const char *b)
{
    return a.compare(b) == 0;
}
inline bool operator!=(const KIT_String &a, const char *b)
{
    return a.compare(b) != 0;
}
inline bool operator==(const char *a, const KIT_String &b)
{
    return b.compare(a) == 0;
}
inline bool operator!=(const char *a, const KIT_String &b)
{
    return b.compare(a) != 0;
}
KIT_API bool operator==(const KIT_String &a, const KIT_StringRef &b);
KIT_API bool operator!=(const KIT_String &a, const KIT_StringRef &b);
KIT_API bool operator==(const KIT_StringRef &a, const KIT_String &b);
KIT_API bool operator!=(const KIT_StringRef &a, const KIT_String &b);

/// Writes the quoted form. For the plain text, stream c_str or view.
KIT_API std::ostream &operator<<(std::ostream &os, const KIT_String &text);

/// Appends the quoted form of that many bytes, in quotes of the given kind.
KIT_API void KITappendQuoted(KIT_WorkBuffer &out, const char *text, size_t length,
                             char quote = '"');
