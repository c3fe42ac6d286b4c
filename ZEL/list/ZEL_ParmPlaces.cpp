#include <ZEL/list/ZEL_ParmPlacesPrivate.h>

#include <ZEL/ZEL_Parm.h>
#include <ZEL/list/ZEL_KindPrivate.h>
#include <ZEL/support/ZEL_PlaceMemoryPrivate.h>

#include <algorithm>
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

const ZEL_Instance *ZEL_ParmPlaces::originalAt(int index) const
{
    const ZEL_Parm *parm = myOriginals ? myOriginals[index] : nullptr;
    return parm ? parm->getInstance() : nullptr;
}

// Asked for each parameter when its block is opened and when it is made.
inline __attribute__((always_inline)) std::size_t
ZEL_ParmPlaces::placeBytes(int index, const ZEL_Kind *&kind) const
{
    const ZEL_Instance *original = originalAt(index);
    if (myOriginals && !original) {
        return 0;
    }
    const ZEL_Template &description = original ? *original->getTemplatePtr() : myTemplates[index];
    kind = &ZEL_Kind::findMaker(description);
    // The description may have got another type.
    const std::size_t bytes =
        original && !kind->making.makes(*original) ? 0 : kind->making.bytes(description);
    const std::size_t rounded = (sizeof(ZEL_Parm) + bytes + theUnit - 1) / theUnit * theUnit;
    return bytes != 0 && rounded + theLineSize <= theMostBytes ? rounded : 0;
}

void ZEL_ParmPlaces::begin(ZEL_Template *templates, int count)
{
    myTemplates = templates;
    myCount = count;
    myNext = 0;
    --myItemsLeft;
}

/// Starts a block for the next parameter, which takes so many bytes, and those after it.
void ZEL_ParmPlaces::open(std::size_t bytes)
{
    const auto bytesOf = [this](int index) {
        const ZEL_Kind *kind = nullptr;
        return placeBytes(index, kind);
    };
    const auto fits = [&](std::size_t more) { return theLineSize + bytes + more <= theMostBytes; };
    int each = myNext + 1;
    for (std::size_t more = 0; each < myCount && fits(more = bytesOf(each)); ++each) {
        bytes += more;
    }
    if (each == myCount && myItemsLeft > 0) {
        std::size_t item = 0;
        for (each = 0; each < myCount; ++each) {
            item += bytesOf(each);
        }
        const std::size_t most = item != 0 ? (theMostBytes - theLineSize - bytes) / item : 0;
        bytes += item * std::min(most, std::size_t(myItemsLeft));
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
    const ZEL_Kind *kind = nullptr;
    const std::size_t bytes = placeBytes(myNext, kind);
    if (bytes != 0 && (!myBlock || myUsed + bytes > myBlock->bytes)) {
        open(bytes);
    }
    const int index = myNext++;
    const ZEL_Instance *original = originalAt(index);
    if (bytes == 0) {
        return ZEL_OwnedParm(myOriginals ? new ZEL_Parm(myOriginals[index], list)
                                         : new ZEL_Parm(&myTemplates[index], list));
    }
    void *const at = reinterpret_cast<char *>(myBlock) + myUsed;
    ZEL_Parm *const parm = original ? new (at) ZEL_Parm(*original, list, *kind, myUsed)
                                    : new (at) ZEL_Parm(&myTemplates[index], list, *kind, myUsed);
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
