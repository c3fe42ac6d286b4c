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

NOD_ChannelMemory NOD_ChannelTaker::take(const TRK_Channel &channel)
{
    std::weak_ptr<const TRK_ChannelContents> &last = myLast[&channel];
    const std::shared_ptr<const TRK_ChannelContents> former = last.lock();
    NOD_ChannelMemory taken{channel.getName(), channel.getAlias(),
                            std::make_shared<TRK_ChannelContents>(channel, former.get())};
    if (!taken.contents->isShared()) {
        last = taken.contents;
    }
    if (myLast.size() > mySweep) {
        for (auto at = myLast.begin(); at != myLast.end();) {
            at = at->second.expired() ? myLast.erase(at) : std::next(at);
        }
        mySweep = 2 * myLast.size() + 64;
    }
    return taken;
}
