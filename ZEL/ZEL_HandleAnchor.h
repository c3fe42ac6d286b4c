/// \file ZEL_HandleAnchor.h
/// What handles hold on to instead of a list: it outlives the list, and follows its parameters to the list
/// that takes its place.
///
/// Ownership:  shared by the handles (ZEL_Handle.h) and the list, which has one if there ever was a handle
///             on it.
/// Threads:    read and shared by any thread; what it says changes only where parameters may be added
///             and removed.
#pragma once

#include <cstdint>

class ZEL_ParmList;

class ZEL_HandleAnchor
{
public:
    /// Of no list. Lists have theirs.
    constexpr ZEL_HandleAnchor() = default;
    ZEL_HandleAnchor(const ZEL_HandleAnchor &) = delete;
    ZEL_HandleAnchor &operator=(const ZEL_HandleAnchor &) = delete;

    /// Null once the list is gone.
    ZEL_ParmList *getList() const { return myList; }
    /// Another one after parameters were added or removed, and when the list is another one or gone.
    std::uint32_t getChangeCount() const { return myChangeCount; }

private:
    friend class ZEL_HandleAnchorPtr;
    friend class ZEL_ParmList;

    explicit ZEL_HandleAnchor(ZEL_ParmList &list) : myList(&list) {}

    void setList(ZEL_ParmList *list)
    {
        myList = list;
        ++myChangeCount;
    }
    void hold() { __atomic_fetch_add(&myHolders, 1, __ATOMIC_RELAXED); }
    void release()
    {
        if (__atomic_sub_fetch(&myHolders, 1, __ATOMIC_ACQ_REL) == 0) {
            delete this;
        }
    }

    ZEL_ParmList *myList = nullptr;
    ZEL_HandleAnchor *myNext = nullptr; ///< of the same list: that of one that it took the place of
    std::uint32_t myChangeCount = 1;
    std::uint32_t myHolders = 1; ///< who made it
};

/// That of handles on no list.
inline ZEL_HandleAnchor theZELNoAnchor;

/// A share of an anchor; never null.
class ZEL_HandleAnchorPtr
{
public:
    explicit ZEL_HandleAnchorPtr(ZEL_HandleAnchor &anchor = theZELNoAnchor) : myAnchor(&anchor)
    {
        myAnchor->hold();
    }
    ZEL_HandleAnchorPtr(const ZEL_HandleAnchorPtr &other) : ZEL_HandleAnchorPtr(*other.myAnchor) {}
    ZEL_HandleAnchorPtr &operator=(const ZEL_HandleAnchorPtr &other)
    {
        other.myAnchor->hold();
        myAnchor->release();
        myAnchor = other.myAnchor;
        return *this;
    }
    ~ZEL_HandleAnchorPtr() { myAnchor->release(); }

    const ZEL_HandleAnchor *operator->() const { return myAnchor; }

private:
    ZEL_HandleAnchor *myAnchor;
};
