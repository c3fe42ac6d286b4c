/// \file TRK_ChannelRef.h
/// A reference to a channel that stays valid without the channel: collection and name.
///
/// Ownership: borrows the collection, which must outlive the reference; holds the name.
/// Threads:   one thread at a time.
/// Errors:    a channel that no longer exists gives a null pointer.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringHolder.h>

class TRK_Channel;
class TRK_Collection;

class KIT_API TRK_ChannelRef
{
public:
    TRK_ChannelRef() = default;
    TRK_ChannelRef(TRK_Collection *collection, const KIT_StringHolder &name);

    /// True once TRK_Manager::fillChannelRef has filled it.
    bool isValid() const { return myCollection != nullptr; }
    TRK_Collection *getCollection() const { return myCollection; }
    const KIT_StringHolder &getName() const { return myName; }
    /// The channel that has that name in the collection now; null if there is none.
    TRK_Channel *getChannel() const;
    bool operator==(const TRK_ChannelRef &other) const
    {
        return myCollection == other.myCollection && myName == other.myName;
    }

private:
    TRK_Collection *myCollection = nullptr;
    KIT_StringHolder myName;
};
