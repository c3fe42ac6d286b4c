#include <KIT/KIT_TokenString.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_StringRef.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

KIT_TokenString::KIT_TokenString(const KIT_TokenString &other)
{
    *this = other;
}

KIT_TokenString::KIT_TokenString(KIT_TokenString &&other) noexcept
{
    steal(other);
}

KIT_TokenString &KIT_TokenString::operator=(const KIT_TokenString &other)
{
    if (this != &other) {
        clear();
        if (reserve(other.mySize)) {
            std::memcpy(myData, other.myData, other.mySize);
            mySize = other.mySize;
        }
    }
    return *this;
}

KIT_TokenString &KIT_TokenString::operator=(KIT_TokenString &&other) noexcept
{
    if (this != &other) {
        release();
        steal(other);
    }
    return *this;
}

KIT_TokenString::~KIT_TokenString()
{
    release();
}

void KIT_TokenString::release()
{
    if (myData != myInline) {
        std::free(myData);
    }
}

void KIT_TokenString::steal(KIT_TokenString &other)
{
    mySize = other.mySize;
    if (other.myData == other.myInline) {
        myData = myInline;
        myCapacity = theInlineSize;
        std::memcpy(myInline, other.myInline, mySize);
    } else {
        myData = other.myData;
        myCapacity = other.myCapacity;
        other.myData = other.myInline;
        other.myCapacity = theInlineSize;
    }
    other.mySize = 0;
}

bool KIT_TokenString::reserve(size_t size)
{
    if (size <= myCapacity) {
        return true;
    }
    const size_t wanted = std::max(size, myCapacity * 2);
    char *const grown = static_cast<char *>(std::malloc(wanted));
    if (!grown) {
        BASnoteFailedAllocation();
        return false;
    }
    std::memcpy(grown, myData, mySize);
    release();
    myData = grown;
    myCapacity = wanted;
    return true;
}

// -------------------------------------------------------------------- //
// Appending: a tag, then a size that is implied by the tag or precedes the text
// -------------------------------------------------------------------- //

void KIT_TokenString::add(char tag, const void *value, size_t size, const void *more,
                          size_t moreSize)
{
    const size_t added = 1 + size + moreSize;
    if (added < moreSize || added > SIZE_MAX / 2 - mySize || !reserve(mySize + added)) {
        return;
    }
    char *at = myData + mySize;
    *at++ = tag;
    if (size) {
        std::memcpy(at, value, size);
    }
    if (moreSize) {
        std::memcpy(at + size, more, moreSize);
    }
    mySize += added;
}

void KIT_TokenString::append(double value)
{
    add('d', &value, sizeof(value));
}

void KIT_TokenString::append(int value)
{
    add('i', &value, sizeof(value));
}

void KIT_TokenString::append(int value, bool wide)
{
    if (wide) {
        append(static_cast<int64_t>(value));
    } else {
        append(value);
    }
}

void KIT_TokenString::append(int64_t value)
{
    add('l', &value, sizeof(value));
}

void KIT_TokenString::append(char value)
{
    add('c', &value, sizeof(value));
}

void KIT_TokenString::append(uint8_t value)
{
    add('b', &value, sizeof(value));
}

void KIT_TokenString::append(uint16_t value)
{
    add('w', &value, sizeof(value));
}

void KIT_TokenString::append(const char *text)
{
    append(text, text ? std::strlen(text) : 0);
}

void KIT_TokenString::append(const char *text, size_t length)
{
    if (!text) {
        add('n', nullptr, 0);
        return;
    }
    const uint64_t size = length;
    add('s', &size, sizeof(size), text, length);
}

uint32_t KIT_TokenString::hash() const
{
    return KIThashText(myData, mySize);
}

int64_t KIT_TokenString::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    if (myData != myInline) {
        bytes += static_cast<int64_t>(myCapacity);
    }
    return bytes;
}
