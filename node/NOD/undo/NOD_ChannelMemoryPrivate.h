/// \file NOD_ChannelMemoryPrivate.h
/// Channels as they were at one moment. Not installed.
///
/// Ownership:  owns what it keeps, or shares it with other states.
/// Threads:    the thread that owns the node.
/// Errors:     out of memory throws std::bad_alloc.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_ChannelContents.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

class TRK_Channel;

struct NOD_ChannelMemory
{
    bool operator==(const NOD_ChannelMemory &other) const
    {
        return name == other.name && alias == other.alias && contents->isSame(*other.contents);
    }

    KIT_StringHolder name;
    KIT_StringHolder alias;
    std::shared_ptr<const TRK_ChannelContents> contents;
};
using NOD_ChannelMemories = std::vector<NOD_ChannelMemory>;

/// Null if there is none of that name.
const NOD_ChannelMemory *NODfindChannel(const NOD_ChannelMemories &channels,
                                        const KIT_StringRef &name);
/// However they are ordered.
bool NODhasSameChannels(const NOD_ChannelMemories &a, const NOD_ChannelMemories &b);
std::int64_t NODmemoryOf(const NOD_ChannelMemories &channels);

/// Takes channels of a node, and shares what is as it was when it was taken or restored last.
class NOD_ChannelTaker
{
public:
    NOD_ChannelMemory take(const TRK_Channel &channel);
    /// The same for a moment: what is taken next shares nothing with it.
    NOD_ChannelMemory peek(const TRK_Channel &channel) const;
    void restore(const NOD_ChannelMemory &kept, TRK_Channel &channel);

private:
    using Contents = std::shared_ptr<const TRK_ChannelContents>;

    Contents lastOf(const TRK_Channel &channel) const;
    void keep(const TRK_Channel &channel, const Contents &contents);

    /// By channels of the moment, which may be others now.
    std::unordered_map<const TRK_Channel *, std::weak_ptr<const TRK_ChannelContents>> myLast;
    std::size_t mySweep = 64; ///< so many, and those that nobody has any more are dropped
};
