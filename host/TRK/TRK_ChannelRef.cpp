#include <TRK/TRK_ChannelRef.h>

#include <TRK/TRK_Collection.h>

TRK_ChannelRef::TRK_ChannelRef(TRK_Collection *collection, const KIT_StringHolder &name)
    : myCollection(collection), myName(name)
{}

TRK_Channel *TRK_ChannelRef::getChannel() const
{
    return myCollection != nullptr ? myCollection->getChannel(myName) : nullptr;
}
