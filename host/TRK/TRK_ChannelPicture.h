/// \file TRK_ChannelPicture.h
/// A channel as it was, to read: keys, expressions, default slots and what is pending, in no collection.
///
///     const TRK_ChannelPicture picture(channel);
///     bool timeDependent = false;
///     const double value = picture.get().evaluate(&collection, time, thread, timeDependent);
///
/// Ownership:  owns a copy, and may outlive the channel and its collection. References are resolved in the
///             collection that the read names.
/// Threads:    made on the thread that changes the channel; read and destroyed on any. Reading writes nothing.
/// Errors:     as evaluation. Out of memory throws std::bad_alloc.
/// Cost:       linear in the keys; expressions are compiled at once.
#pragma once

#include <BAS/BAS_API.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Expression.h>

#include <functional>
#include <memory>

class KIT_API TRK_ChannelPicture
{
public:
    explicit TRK_ChannelPicture(const TRK_Channel &channel);
    ~TRK_ChannelPicture();
    TRK_ChannelPicture(const TRK_ChannelPicture &) = delete;
    TRK_ChannelPicture &operator=(const TRK_ChannelPicture &) = delete;

    const TRK_Channel &get() const { return myChannel; }
    using MakeReader =
        std::function<std::unique_ptr<const TRK_ReferenceReader>(const TRK_Expression &)>;
    /// Gives each expression with references who answers for them, null for nobody. Before it is shared.
    void link(const MakeReader &make);
    int64_t getMemoryUsage(bool inclusive) const;

private:
    TRK_Channel myChannel;
};
