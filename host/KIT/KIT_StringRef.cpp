#include <KIT/KIT_StringRef.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_Write.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <ostream>

namespace
{
/// Precedes every counted text in memory.
struct Block
{
    std::atomic<uint64_t> uses{1};
};

Block *blockOf(const char *text)
{
    return reinterpret_cast<Block *>(const_cast<char *>(text)) - 1;
}
} // namespace

KIT_StringRef::KIT_StringRef(const KIT_String &text) noexcept
{
    if (text.c_str()) {
        borrow(text.c_str(), text.length());
    } else {
        forget();
    }
}

// -------------------------------------------------------------------- //
// Counted storage
// -------------------------------------------------------------------- //

void KIT_StringRef::makeCounted(const char *text, size_t length) noexcept
{
    forget();
    if (!text) {
        return;
    }
    length = std::min<size_t>(length, theMaxLength);
    if (length == 0) {
        borrow("", 0);
        return;
    }
    void *const memory = BASfastAllocate(sizeof(Block) + length + 1);
    if (!memory) {
        return;
    }
    char *const copy = reinterpret_cast<char *>(new (memory) Block + 1);
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    borrow(copy, length);
    myLength |= theCountedBit;
}

void KIT_StringRef::borrowCut(const char *text) noexcept
{
    // The NUL would be in the wrong place, so a text this long can't be borrowed.
    makeCounted(text, theMaxLength);
}

void KIT_StringRef::retain() const noexcept
{
    blockOf(myText)->uses.fetch_add(1, std::memory_order_relaxed);
}

void KIT_StringRef::release() noexcept
{
    Block *const block = blockOf(myText);
    if (block->uses.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        block->~Block();
        BASfastFree(block);
    }
}

void KIT_StringRef::harden()
{
    if (myText && !isCounted()) {
        makeCounted(myText, length());
    }
}

// -------------------------------------------------------------------- //
// Comparing, streams, accounts
// -------------------------------------------------------------------- //

bool KIT_StringRef::operator<(const KIT_StringRef &other) const
{
    if (!myText || !other.myText) {
        return !myText && other.myText;
    }
    return view() < other.view();
}

void KIT_StringRef::saveBinary(std::ostream &os) const
{
    KITwriteText(os, view());
}

int64_t KIT_StringRef::getMemoryUsage(bool inclusive) const
{
    int64_t bytes = inclusive ? static_cast<int64_t>(sizeof(*this)) : 0;
    if (isCounted()) {
        bytes += static_cast<int64_t>(sizeof(Block)) + length() + 1;
    }
    return bytes;
}

std::ostream &operator<<(std::ostream &os, const KIT_StringRef &text)
{
    return os << text.view();
}
