#include <KIT/KIT_ByteBuffer.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_Digits.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ostream>

KIT_ByteBuffer::~KIT_ByteBuffer()
{
    if (myData != myInline) {
        std::free(myData);
    }
}

bool KIT_ByteBuffer::grow(size_t length)
{
    const size_t used = size();
    const size_t capacity = static_cast<size_t>(myLimit - myData);
    const bool inlineFlag = myData == myInline;
    char *grown = nullptr;
    if (length < SIZE_MAX / 4 && capacity < SIZE_MAX / 4) {
        const size_t wanted = std::max(used + length, capacity * 2);
        grown = static_cast<char *>(std::realloc(inlineFlag ? nullptr : myData, wanted));
        if (grown) {
            myLimit = grown + wanted;
        }
    }
    if (!grown) {
        BASnoteFailedAllocation();
        myGoodFlag = false;
        return false;
    }
    if (inlineFlag) {
        std::memcpy(grown, myInline, used);
    }
    myData = grown;
    myEnd = grown + used;
    return true;
}

void KIT_ByteBuffer::appendDecimal(double value)
{
    if (char *at = room(KIT_Digits::theMostBytes)) {
        myEnd = KIT_Digits::write(at, value);
    }
}

void KIT_ByteBuffer::appendDecimal(uint32_t value)
{
    constexpr size_t theMostDigits = 10;
    if (char *at = room(theMostDigits)) {
        myEnd = std::to_chars(at, at + theMostDigits, value).ptr;
    }
}

void KIT_ByteBuffer::overwrite(size_t at, std::string_view bytes)
{
    if (at <= size() && bytes.size() <= size() - at && !bytes.empty()) {
        std::memcpy(myData + at, bytes.data(), bytes.size());
    }
}

void KIT_ByteBuffer::writeTo(std::ostream &stream) const
{
    if (size() > 0) {
        stream.write(myData, static_cast<std::streamsize>(size()));
    }
    if (!myGoodFlag) {
        stream.setstate(std::ios::failbit);
    }
}
