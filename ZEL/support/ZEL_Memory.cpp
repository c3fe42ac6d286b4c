#include <ZEL/ZEL_Memory.h>

#include <BAS/BAS_Memory.h>
#include <KIT/KIT_Memory.h>

#include <iterator>

namespace
{

// Indexed by ZEL_MemoryCategory.
BAS_MemoryUser theUsers[] = {BAS_MemoryUser("Debug"), BAS_MemoryUser("SetValueData")};

BAS_MemoryTable theTable(theUsers, int(std::size(theUsers)));

constexpr int thePrintLevel = 3;

} // namespace

void *ZEL_Memory::Malloc(ZEL_MemoryCategory category, size_t size)
{
    return BAS_Memory::Malloc(theTable, category, size);
}

void *ZEL_Memory::Calloc(ZEL_MemoryCategory category, size_t size)
{
    return BAS_Memory::Calloc(theTable, category, size);
}

void *ZEL_Memory::Realloc(ZEL_MemoryCategory category, void *memory, size_t oldSize, size_t newSize)
{
    return BAS_Memory::Realloc(theTable, category, memory, oldSize, newSize);
}

void ZEL_Memory::Free(ZEL_MemoryCategory category, void *memory, size_t size)
{
    BAS_Memory::Free(theTable, category, memory, size);
}

void ZEL_Memory::acquire(ZEL_MemoryCategory category, size_t size)
{
    BAS_Memory::acquire(theTable, category, size);
}

void ZEL_Memory::release(ZEL_MemoryCategory category, size_t size)
{
    BAS_Memory::release(theTable, category, size);
}

BAS_MemoryTable &ZEL_Memory::getTable()
{
    return theTable;
}

void ZEL_Memory::printUsage(KIT_WorkBuffer &buffer)
{
    KIT_Memory::printMemory(theTable, buffer, thePrintLevel, false);
}
