#include <NOD/undo/NOD_ChannelMemoryPrivate.h>

#include <TRK/TRK_Channel.h>

#include <algorithm>
#include <iterator>

const NOD_ChannelMemory *NODfindChannel(const NOD_ChannelMemories &channels,
                                        const KIT_StringRef &name)
{
    const auto found = std::find_if(channels.begin(), channels.end(),
                                    [&](const auto &channel) { return channel.name == name; });
    return found == channels.end() ? nullptr : &*found;
}

bool NODhasSameChannels(const NOD_ChannelMemories &a, const NOD_ChannelMemories &b)
{
    return a.size() == b.size() &&
           std::all_of(a.begin(), a.end(), [&, i = std::size_t(0)](const auto &channel) mutable {
               // Mostly in the same order.
               const NOD_ChannelMemory &likely = b[i++];
               const NOD_ChannelMemory *const other =
                   likely.name == channel.name ? &likely : NODfindChannel(b, channel.name);
               return other && channel == *other;
           });
}

std::int64_t NODmemoryOf(const NOD_ChannelMemories &channels)
{
    auto bytes = std::int64_t(channels.capacity() * sizeof(NOD_ChannelMemory));
    for (const NOD_ChannelMemory &channel : channels) {
        bytes += channel.contents->getMemoryUsage();
    }
    return bytes;
}

NOD_ChannelTaker::Contents NOD_ChannelTaker::lastOf(const TRK_Channel &channel) const
{
    const auto last = myLast.find(&channel);
    return last == myLast.end() ? nullptr : last->second.lock();
}

void NOD_ChannelTaker::keep(const TRK_Channel &channel, const Contents &contents)
{
    myLast[&channel] = contents;
    if (myLast.size() > mySweep) {
        for (auto at = myLast.begin(); at != myLast.end();) {
            at = at->second.expired() ? myLast.erase(at) : std::next(at);
        }
        mySweep = 2 * myLast.size() + 64;
    }
}

NOD_ChannelMemory NOD_ChannelTaker::peek(const TRK_Channel &channel) const
{
    return {channel.getName(), channel.getAlias(),
            std::make_shared<TRK_ChannelContents>(channel, lastOf(channel).get())};
}

NOD_ChannelMemory NOD_ChannelTaker::take(const TRK_Channel &channel)
{
    NOD_ChannelMemory taken = peek(channel);
    // One that has nothing of its own may end before the one that it shares everything with.
    if (!taken.contents->isShared()) {
        keep(channel, taken.contents);
    }
    return taken;
}

void NOD_ChannelTaker::restore(const NOD_ChannelMemory &kept, TRK_Channel &channel)
{
    kept.contents->restore(channel);
    keep(channel, kept.contents);
}
