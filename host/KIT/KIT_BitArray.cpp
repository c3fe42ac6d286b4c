#include <KIT/KIT_BitArray.h>

#include <algorithm>

KIT_BitArray::KIT_BitArray(int64_t size)
{
    setSize(size);
}

void KIT_BitArray::setSize(int64_t size)
{
    mySize = std::max<int64_t>(size, 0);
    myWords.setSize((mySize + 63) / 64);
    clearTail();
}

void KIT_BitArray::setBits(int64_t first, int64_t count, bool value)
{
    const int64_t begin = std::max<int64_t>(first, 0);
    const int64_t end = count > mySize - begin ? mySize : first + count;
    for (int64_t i = begin; i < end; ++i) {
        setBitFast(i, value);
    }
}

void KIT_BitArray::setAll(bool value)
{
    myWords.constant(value ? ~uint64_t(0) : 0);
    clearTail();
}

int64_t KIT_BitArray::numBitsSet() const
{
    int64_t count = 0;
    for (const uint64_t word : myWords) {
        count += __builtin_popcountll(word);
    }
    return count;
}

void KIT_BitArray::clearTail()
{
    if ((mySize & 63) != 0) {
        myWords.last() &= (uint64_t(1) << (mySize & 63)) - 1;
    }
}
