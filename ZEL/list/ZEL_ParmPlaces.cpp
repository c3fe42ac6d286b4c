#include <ZEL/list/ZEL_ParmPlacesPrivate.h>

#include <ZEL/ZEL_Parm.h>
#include <ZEL/list/ZEL_KindPrivate.h>
#include <ZEL/list/ZEL_PlaceMemoryPrivate.h>

#include <cstdint>

/// The head of a block. An instance keeps its place's distance from here.
struct ZEL_ParmPlaces::Block
{
    std::uint32_t held;
    std::uint32_t bytes;
};

namespace
{

constexpr std::size_t theUnit = ZEL_Instance::thePlaceUnit;
constexpr std::size_t theLineSize = ZEL_PlaceMemory::theLineSize;
/// The distances are small numbers.
constexpr std::size_t theMostBytes = ZEL_PlaceMemory::theMostBytes;
static_assert(theMostBytes / theUnit <= ZEL_Instance::thePlaceLimit);

/// Places in a block of several lines begin at a line.
std::size_t firstPlace(std::size_t bytes)
{
    return bytes >= theLineSize ? theLineSize : theUnit;
}

} // namespace

void ZEL_ParmDeleter::operator()(ZEL_Parm *parm) const
{
    ZEL_ParmPlaces::destroy(parm);
}

ZEL_ParmPlaces::~ZEL_ParmPlaces()
{
    release(myBlock);
}

std::size_t ZEL_ParmPlaces::placeBytes(const ZEL_Template &description, const ZEL_Kind &kind)
{
    const std::size_t bytes = kind.bytes(description);
    const std::size_t rounded = (sizeof(ZEL_Parm) + bytes + theUnit - 1) / theUnit * theUnit;
    return bytes != 0 && rounded + theLineSize <= theMostBytes ? rounded : 0;
}

/// Starts a block for the next parameter, which takes so many bytes, and those after it.
void ZEL_ParmPlaces::open(std::size_t bytes)
{
    for (const ZEL_Template *each = myNext + 1; each != myEnd; ++each) {
        const std::size_t more = placeBytes(*each, ZEL_Kind::findMaker(*each));
        if (theLineSize + bytes + more > theMostBytes) {
            break;
        }
        bytes += more;
    }
    release(myBlock);
    myBlock = nullptr;
    myUsed = firstPlace(bytes);
    const std::size_t all = myUsed + bytes;
    myBlock = static_cast<Block *>(ZEL_PlaceMemory::allocate(all));
    myBlock->held = 1;
    myBlock->bytes = std::uint32_t(all);
}

ZEL_OwnedParm ZEL_ParmPlaces::make(ZEL_ParmList *list)
{
    ZEL_Template *const description = myNext;
    const ZEL_Kind &kind = ZEL_Kind::findMaker(*description);
    const std::size_t bytes = placeBytes(*description, kind);
    if (bytes != 0 && (!myBlock || myUsed + bytes > myBlock->bytes)) {
        open(bytes);
    }
    ++myNext;
    if (bytes == 0) {
        return ZEL_OwnedParm(new ZEL_Parm(description, list));
    }
    char *const at = reinterpret_cast<char *>(myBlock) + myUsed;
    ZEL_Parm *const parm = new (static_cast<void *>(at)) ZEL_Parm(description, list, kind, myUsed);
    myUsed += bytes;
    ++myBlock->held;
    return ZEL_OwnedParm(parm);
}

void ZEL_ParmPlaces::destroy(ZEL_Parm *parm)
{
    const ZEL_Instance *const instance = parm ? parm->getInstance() : nullptr;
    const std::size_t distance = instance ? instance->getPlace() : 0;
    if (distance == 0) {
        delete parm;
        return;
    }
    Block *const block = reinterpret_cast<Block *>(reinterpret_cast<char *>(parm) - distance);
    parm->~ZEL_Parm();
    release(block);
}

void ZEL_ParmPlaces::release(Block *block)
{
    if (block && --block->held == 0) {
        ZEL_PlaceMemory::deallocate(block, block->bytes);
    }
}
