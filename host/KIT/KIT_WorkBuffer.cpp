#include <KIT/KIT_WorkBuffer.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Number.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>

KIT_WorkBuffer &KIT_WorkBuffer::operator=(const KIT_WorkBuffer &other)
{
    if (this != &other) {
        clear();
        append(other.buffer(), other.length());
    }
    return *this;
}

KIT_WorkBuffer::~KIT_WorkBuffer()
{
    if (myData != myInline) {
        std::free(myData);
    }
}

bool KIT_WorkBuffer::grow(size_t length)
{
    if (length >= SIZE_MAX / 2) {
        BASnoteFailedAllocation();
        return false;
    }
    const size_t wanted = std::max(length + 1, myCapacity * 2);
    const bool inlineFlag = myData == myInline;
    char *const grown = static_cast<char *>(std::realloc(inlineFlag ? nullptr : myData, wanted));
    if (!grown) {
        BASnoteFailedAllocation();
        return false;
    }
    if (inlineFlag) {
        std::memcpy(grown, myInline, myLength + 1);
    }
    myData = grown;
    myCapacity = wanted;
    return true;
}

// -------------------------------------------------------------------- //
// Appending
// -------------------------------------------------------------------- //

void KIT_WorkBuffer::append(const char *text, size_t length)
{
    if (!text || length == 0) {
        return;
    }
    if (length >= myCapacity - myLength) {
        const uintptr_t offset =
            reinterpret_cast<uintptr_t>(text) - reinterpret_cast<uintptr_t>(myData);
        const bool insideFlag = offset <= myLength;
        if (length > SIZE_MAX - myLength || !grow(myLength + length)) {
            return;
        }
        if (insideFlag) {
            text = myData + offset;
        }
    }
    std::memmove(myData + myLength, text, length);
    myLength += length;
    myData[myLength] = '\0';
}

void KIT_WorkBuffer::append(const KIT_String &text)
{
    append(text.c_str(), text.length());
}

void KIT_WorkBuffer::appendRepeated(char c, int64_t count)
{
    if (count <= 0) {
        return;
    }
    const size_t added = static_cast<size_t>(count);
    if (added > SIZE_MAX - myLength || !reserve(myLength + added)) {
        return;
    }
    std::memset(myData + myLength, c, added);
    myLength += added;
    myData[myLength] = '\0';
}

void KIT_WorkBuffer::appendNumber(double value)
{
    append(KIT_Digits(value).view());
}

void KIT_WorkBuffer::appendNumber(int64_t value)
{
    char digits[24];
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof(digits), value);
    append(digits, static_cast<size_t>(result.ptr - digits));
}

void KIT_WorkBuffer::appendQuoted(std::string_view text)
{
    KITappendQuoted(*this, text.data(), text.size());
}

int KIT_WorkBuffer::sprintf(const char *format, ...)
{
    // Formatted into a second buffer, as the arguments may lie in the text that is replaced.
    KIT_WorkBuffer made;
    va_list args;
    va_start(args, format);
    const int length = made.appendVsprintf(format, args);
    va_end(args);
    *this = made;
    return length;
}

int KIT_WorkBuffer::appendSprintf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    const int length = appendVsprintf(format, args);
    va_end(args);
    return length;
}

int KIT_WorkBuffer::appendVsprintf(const char *format, va_list args)
{
    char few[512];
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(few, sizeof(few), format, args);
    const size_t size = length > 0 ? static_cast<size_t>(length) : 0;
    if (size < sizeof(few)) {
        append(few, size);
    } else if (char *const many = static_cast<char *>(std::malloc(size + 1))) {
        std::vsnprintf(many, size + 1, format, again);
        append(many, size);
        std::free(many);
    } else {
        BASnoteFailedAllocation();
    }
    va_end(again);
    return static_cast<int>(size);
}

// -------------------------------------------------------------------- //
// Reading and changing
// -------------------------------------------------------------------- //

void KIT_WorkBuffer::copyIntoString(KIT_String &out) const
{
    out.harden(myData, myLength);
}

void KIT_WorkBuffer::copyIntoString(KIT_StringHolder &out) const
{
    out = KIT_StringHolder(myData, std::strlen(myData));
}

void KIT_WorkBuffer::strcpy(const char *text)
{
    const size_t length = text ? std::strlen(text) : 0;
    if (length < myCapacity) {
        // Also reached for every text inside this buffer.
        std::memmove(myData, text ? text : "", length);
        myLength = length;
        myData[length] = '\0';
    } else {
        clear();
        append(text, length);
    }
}

void KIT_WorkBuffer::truncate(size_t length)
{
    if (length < myLength) {
        myLength = length;
        myData[length] = '\0';
    }
}

void KIT_WorkBuffer::removeTrailingSpace()
{
    while (BASisBlank(lastChar())) {
        backUp();
    }
}

void KIT_WorkBuffer::removeLeadingSpace()
{
    size_t blanks = 0;
    while (blanks < myLength && BASisBlank(myData[blanks])) {
        blanks++;
    }
    myLength -= blanks;
    std::memmove(myData, myData + blanks, myLength + 1);
}
