/// \file KIT_WorkBuffer.h
/// A growing text buffer in which texts are composed.
///
/// Vocabulary: *inline* = the first 2,000 bytes, inside the object; beyond that the heap, doubling.
/// Units:      bytes. The text always has a NUL after it that isn't counted; it may contain NULs.
/// Ownership:  owns its bytes. Pointers into it are valid until the next change.
/// Threads:    one thread at a time; meant for the stack.
/// Errors:     nothing throws. When memory is exhausted an append adds nothing.
/// Cost:       no heap below 2,000 bytes. The object itself is that large: don't store many.

#pragma once

#include <KIT/KIT_StringRef.h>

#include <cstdarg>

class KIT_API KIT_WorkBuffer
{
public:
    /// Bytes inside the object, the NUL included.
    static constexpr size_t theInlineSize = 2000;

    KIT_WorkBuffer() noexcept { myInline[0] = '\0'; }
    explicit KIT_WorkBuffer(const char *text) : KIT_WorkBuffer() { append(text); }
    KIT_WorkBuffer(const KIT_WorkBuffer &other) : KIT_WorkBuffer()
    {
        append(other.buffer(), other.length());
    }
    KIT_WorkBuffer &operator=(const KIT_WorkBuffer &other);
    ~KIT_WorkBuffer();

    // ---------------------------------------------------------------- //
    /// \name Appending   (a text inside this buffer is allowed)
    // ---------------------------------------------------------------- //
    /// Null appends nothing.
    void append(const char *text)
    {
        if (text) {
            append(text, std::strlen(text));
        }
    }
    void append(const char *text, size_t length);
    void append(const KIT_StringRef &text) { append(text.nonNullStr(), text.length()); }
    void append(const KIT_String &text);
    void append(const KIT_WorkBuffer &text) { append(text.buffer(), text.length()); }
    void append(std::string_view text) { append(text.data(), text.size()); }
    void append(char c)
    {
        if (myLength + 1 < myCapacity || grow(myLength + 1)) {
            myData[myLength++] = c;
            myData[myLength] = '\0';
        }
    }

    /// That many of the same character; none for a negative count.
    void appendRepeated(char c, int64_t count);

    /// The shortest text that reads back as the same number, the same in every locale.
    void appendNumber(double value);
    void appendNumber(int64_t value);

    /// The text in double quotes, with the escapes of KIT_String.h.
    void appendQuoted(std::string_view text);

    /// printf. `sprintf` replaces the present text. Floats follow the C locale of the program: use
    /// appendNumber for text that is read again. The arguments may lie inside this buffer.
    int sprintf(const char *format, ...) __attribute__((format(printf, 2, 3)));
    int appendSprintf(const char *format, ...) __attribute__((format(printf, 2, 3)));
    int appendVsprintf(const char *format, va_list args) __attribute__((format(printf, 2, 0)));

    // ---------------------------------------------------------------- //
    /// \name Reading
    // ---------------------------------------------------------------- //
    /// The text, never null.
    const char *buffer() const { return myData; }
    const char *c_str() const { return myData; }
    std::string_view view() const { return std::string_view(myData, myLength); }
    size_t length() const { return myLength; }
    bool isEmpty() const { return myLength == 0; }

    /// The last byte, 0 when empty.
    char lastChar() const { return myLength ? myData[myLength - 1] : '\0'; }

    /// The byte at the index, 0 outside the text.
    char operator[](size_t index) const { return index < myLength ? myData[index] : '\0'; }

    /// Gives the string an owned copy of the text (up to its first NUL, if it holds one).
    void copyIntoString(KIT_String &out) const;
    void copyIntoString(class KIT_StringHolder &out) const;

    // ---------------------------------------------------------------- //
    /// \name Changing
    // ---------------------------------------------------------------- //
    /// Empties it; the memory is kept.
    void clear()
    {
        myLength = 0;
        myData[0] = '\0';
    }

    /// Replaces the text.
    void strcpy(const char *text);

    /// Keeps the first `length` bytes; does nothing for a larger number.
    void truncate(size_t length);

    /// Removes the last byte, if there is one.
    void backUp()
    {
        if (myLength) {
            myData[--myLength] = '\0';
        }
    }

    /// Removes blanks from the end, or from the start.
    void removeTrailingSpace();
    void removeLeadingSpace();

    /// Allocates room for that many bytes at once. False when memory is exhausted.
    bool reserve(size_t length) { return length < myCapacity || grow(length); }

private:
    bool grow(size_t length);

    char *myData = myInline;
    size_t myLength = 0;
    size_t myCapacity = theInlineSize;
    char myInline[theInlineSize];
};
