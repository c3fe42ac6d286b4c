/// \file ZEL_ParmPlacesPrivate.h
/// The memory of a run of parameters: few blocks, in which each parameter lies before its instance,
/// in list order, so that a look-up touches one cache line of a plain number and a walk over the list
/// runs forward in memory. Not installed.
///
/// Vocabulary: *place* = a parameter, its instance and the values of a vector, one after the other;
///             *block* = a piece of memory with some places.
/// Ownership:  a block is freed with its last parameter; what owns a parameter destroys it by
///             ZEL_ParmDeleter, however it was made.
/// Threads:    one thread at a time for the parameters of a list.
/// Errors:     out of memory throws std::bad_alloc.
#pragma once

#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <cstddef>

class ZEL_Instance;
struct ZEL_Kind;

class ZEL_ParmPlaces
{
public:
    /// For parameters of these descriptions, made one by one and in this order.
    ZEL_ParmPlaces(ZEL_Template *templates, int count) : myTemplates(templates), myCount(count) {}
    /// For so many items that are like each other; each is begun.
    explicit ZEL_ParmPlaces(int items) : myItemsLeft(items) {}
    /// For copies of these.
    ZEL_ParmPlaces(ZEL_Parm *const *originals, int count) : myOriginals(originals), myCount(count)
    {}
    ~ZEL_ParmPlaces();
    ZEL_ParmPlaces(const ZEL_ParmPlaces &) = delete;
    ZEL_ParmPlaces &operator=(const ZEL_ParmPlaces &) = delete;

    /// From here on for these descriptions.
    void begin(ZEL_Template *templates, int count);
    /// Makes the next one. One without an instance lies by itself.
    ZEL_OwnedParm make(ZEL_ParmList *list);
    /// Leaves the next one out.
    void skip() { ++myNext; }

    static void destroy(ZEL_Parm *parm);

private:
    struct Block;

    void open(std::size_t bytes);
    const ZEL_Instance *originalAt(int index) const;
    /// 0 bytes for one that has no place in a block; else the kind, too.
    std::size_t placeBytes(int index, const ZEL_Kind *&kind) const;
    static void release(Block *block);

    ZEL_Template *myTemplates = nullptr;
    ZEL_Parm *const *myOriginals = nullptr;
    int myCount = 0;
    int myNext = 0;
    int myItemsLeft = 0;      // after the present one
    Block *myBlock = nullptr; // held as if a parameter more were in it
    std::size_t myUsed = 0;   // bytes of the block
};

/// While it lives, the items that a list makes lie in common blocks.
class ZEL_ItemPlaces
{
public:
    /// `slot` is the list's.
    ZEL_ItemPlaces(ZEL_ParmPlaces *&slot, int items) : myPlaces(items), mySlot(slot), myOuter(slot)
    {
        mySlot = &myPlaces;
    }
    ~ZEL_ItemPlaces() { mySlot = myOuter; }
    ZEL_ItemPlaces(const ZEL_ItemPlaces &) = delete;
    ZEL_ItemPlaces &operator=(const ZEL_ItemPlaces &) = delete;

private:
    ZEL_ParmPlaces myPlaces;
    ZEL_ParmPlaces *&mySlot;
    ZEL_ParmPlaces *myOuter;
};
