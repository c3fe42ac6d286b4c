#include <BAS/BAS_Memory.h>

#include <cstdlib>

namespace
{
void count(BAS_MemoryTable &table, int category, int64_t bytes, int64_t blocks)
{
    if (BAS_MemoryUser *const user = table.getUser(category)) {
        user->count(bytes, blocks);
    }
}
} // namespace

void *BAS_Memory::Malloc(BAS_MemoryTable &table, int category, size_t size)
{
    void *const memory = std::malloc(size ? size : 1);
    if (memory) {
        acquire(table, category, size);
    }
    return memory;
}

void *BAS_Memory::Calloc(BAS_MemoryTable &table, int category, size_t size)
{
    void *const memory = std::calloc(size ? size : 1, 1);
    if (memory) {
        acquire(table, category, size);
    }
    return memory;
}

void *BAS_Memory::Realloc(BAS_MemoryTable &table, int category, void *memory, size_t oldSize,
                          size_t newSize)
{
    if (!memory) {
        return newSize ? Malloc(table, category, newSize) : nullptr;
    }
    if (newSize == 0) {
        Free(table, category, memory, oldSize);
        return nullptr;
    }
    void *const moved = std::realloc(memory, newSize);
    if (moved) {
        count(table, category, static_cast<int64_t>(newSize) - static_cast<int64_t>(oldSize), 0);
    }
    return moved;
}

void BAS_Memory::Free(BAS_MemoryTable &table, int category, void *memory, size_t size)
{
    if (memory) {
        std::free(memory);
        release(table, category, size);
    }
}

void BAS_Memory::acquire(BAS_MemoryTable &table, int category, size_t size)
{
    count(table, category, static_cast<int64_t>(size), 1);
}

void BAS_Memory::release(BAS_MemoryTable &table, int category, size_t size)
{
    count(table, category, -static_cast<int64_t>(size), -1);
}
