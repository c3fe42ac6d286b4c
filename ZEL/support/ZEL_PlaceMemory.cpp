#include <ZEL/support/ZEL_PlaceMemoryPrivate.h>

#include <KIT/KIT_SmallObjectAllocator.h>

#ifdef BAS_PLAIN_MALLOC

void *ZEL_PlaceMemory::allocate(std::size_t bytes)
{
    return KIT_SmallObjectAllocator::allocate(bytes);
}

void ZEL_PlaceMemory::deallocate(void *memory, std::size_t bytes) noexcept
{
    KIT_SmallObjectAllocator::deallocate(memory, bytes);
}

#else

#include <cstdint>
#include <mutex>
#include <new>
#include <sys/mman.h>

namespace
{

constexpr std::size_t theLine = ZEL_PlaceMemory::theLineSize;
constexpr std::size_t theSizes = ZEL_PlaceMemory::theMostBytes / theLine;
constexpr std::size_t theChunkBytes = std::size_t(2) << 20;
/// A scene that is made again after one was destroyed: the system takes longer to give fresh pages than
/// a list takes to be made.
constexpr std::size_t theMostSpares = 32;

struct FreeBlock
{
    FreeBlock *next;
};

/// At the start of its memory.
struct Chunk
{
    /// The free blocks of one size, and the neighbours in the list of chunks that have some.
    struct Size
    {
        FreeBlock *free;
        Chunk *before;
        Chunk *after;
    };

    std::size_t used; // bytes from the start that were ever given out
    std::size_t held; // blocks
    std::uint64_t sizesWithFree;
    Chunk *nextSpare;
    Size sizes[theSizes];

    static Chunk *of(void *block)
    {
        return reinterpret_cast<Chunk *>(reinterpret_cast<std::uintptr_t>(block) &
                                         ~(theChunkBytes - 1));
    }
    void *cut(std::size_t bytes)
    {
        void *const block = reinterpret_cast<char *>(this) + used;
        used += bytes;
        return block;
    }
    bool hasRoom(std::size_t bytes) const { return theChunkBytes - used >= bytes; }
};
constexpr std::size_t theFirstBlock = (sizeof(Chunk) + theLine - 1) / theLine * theLine;
static_assert(theSizes <= 64, "a bit for each size");

/// Memory that is zero. Null if there is none. Not of huge pages: on a machine whose hypervisor takes
/// free ones back, the first touch of one was measured at three times that of all its small pages.
Chunk *mapChunk()
{
    // More than is needed, since only an aligned chunk is found from its blocks.
    void *const all = mmap(nullptr, 2 * theChunkBytes, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) {
        return nullptr;
    }
    char *const start = static_cast<char *>(all);
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(start) & (theChunkBytes - 1);
    if (before != 0) {
        munmap(start, before);
    }
    munmap(start + before + theChunkBytes, theChunkBytes - before);
    Chunk *const chunk = reinterpret_cast<Chunk *>(start + before);
    chunk->used = theFirstBlock;
    return chunk;
}

class Pool
{
public:
    void *allocate(std::size_t size)
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        Chunk *chunk = myWithFree[size];
        void *const block = chunk ? takeFree(*chunk, size) : cut((size + 1) * theLine, chunk);
        if (block) {
            ++chunk->held;
        }
        return block;
    }

    void deallocate(void *memory, std::size_t size) noexcept
    {
        Chunk *const chunk = Chunk::of(memory);
        {
            const std::lock_guard<std::mutex> lock(myMutex);
            putFree(*chunk, size, memory);
            if (--chunk->held != 0 || keepEmpty(*chunk)) {
                return;
            }
        }
        munmap(chunk, theChunkBytes);
    }

private:
    void *cut(std::size_t bytes, Chunk *&chunk)
    {
        if (!myCurrent || !myCurrent->hasRoom(bytes)) {
            Chunk *const next = mySpares ? mySpares : mapChunk();
            if (!next) {
                return nullptr;
            }
            if (mySpares) {
                mySpares = next->nextSpare;
                --mySpareCount;
            }
            myCurrent = next;
        }
        chunk = myCurrent;
        return chunk->cut(bytes);
    }

    void *takeFree(Chunk &chunk, std::size_t size)
    {
        FreeBlock *const block = chunk.sizes[size].free;
        chunk.sizes[size].free = block->next;
        if (!block->next) {
            unlink(chunk, size);
        }
        return block;
    }

    void putFree(Chunk &chunk, std::size_t size, void *memory)
    {
        Chunk::Size &blocks = chunk.sizes[size];
        if (!blocks.free) {
            chunk.sizesWithFree |= std::uint64_t(1) << size;
            blocks.before = nullptr;
            blocks.after = myWithFree[size];
            if (blocks.after) {
                blocks.after->sizes[size].before = &chunk;
            }
            myWithFree[size] = &chunk;
        }
        blocks.free = new (memory) FreeBlock{blocks.free};
    }

    void unlink(Chunk &chunk, std::size_t size)
    {
        const Chunk::Size &blocks = chunk.sizes[size];
        (blocks.before ? blocks.before->sizes[size].after : myWithFree[size]) = blocks.after;
        if (blocks.after) {
            blocks.after->sizes[size].before = blocks.before;
        }
        chunk.sizesWithFree &= ~(std::uint64_t(1) << size);
    }

    /// Makes a chunk without blocks as new. False if it is to go back to the system.
    bool keepEmpty(Chunk &chunk)
    {
        while (chunk.sizesWithFree != 0) {
            const std::size_t size = std::size_t(__builtin_ctzll(chunk.sizesWithFree));
            chunk.sizes[size].free = nullptr;
            unlink(chunk, size);
        }
        chunk.used = theFirstBlock;
        if (&chunk == myCurrent) {
            return true;
        }
        if (mySpareCount == theMostSpares) {
            return false;
        }
        chunk.nextSpare = mySpares;
        mySpares = &chunk;
        ++mySpareCount;
        return true;
    }

    std::mutex myMutex;
    Chunk *myCurrent = nullptr; // the one that blocks are cut from
    Chunk *mySpares = nullptr;  // without blocks
    std::size_t mySpareCount = 0;
    Chunk *myWithFree[theSizes] = {};
};

/// Never destroyed: lists may be by what is destroyed later.
Pool thePool;

std::size_t sizeOf(std::size_t bytes)
{
    return (bytes - 1) / theLine;
}

} // namespace

void *ZEL_PlaceMemory::allocate(std::size_t bytes)
{
    void *const memory = thePool.allocate(sizeOf(bytes));
    if (!memory) {
        BASnoteFailedAllocation();
        throw std::bad_alloc();
    }
    return memory;
}

void ZEL_PlaceMemory::deallocate(void *memory, std::size_t bytes) noexcept
{
    thePool.deallocate(memory, sizeOf(bytes));
}

#endif
