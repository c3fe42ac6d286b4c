/// \file TRK_ChannelContents.h
/// What a channel holds at one moment, kept apart from it: keys, default slots, pending state, locked and
/// scope marks, but no names.
///
/// Vocabulary: *run* = some keys that follow each other; contents that have the same ones share them.
/// Ownership:  owns what it keeps, or shares it with other contents; may outlive the channel.
/// Threads:    the one that changes the channel; contents that share runs belong to one thread.
/// Errors:     out of memory throws std::bad_alloc; a restore then changes nothing.
/// Cost:       time linear in the keys. Of a channel that was taken before, with those contents at hand,
///             memory for the keys around what has changed, and a pointer for each run.
#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class TRK_Channel;
class TRK_Segment;

class KIT_API TRK_ChannelContents
{
public:
    /// Shares what it can with `former`, null for none: mostly those of the same channel earlier.
    explicit TRK_ChannelContents(const TRK_Channel &channel,
                                 const TRK_ChannelContents *former = nullptr);
    ~TRK_ChannelContents();
    TRK_ChannelContents(const TRK_ChannelContents &) = delete;
    TRK_ChannelContents &operator=(const TRK_ChannelContents &) = delete;

    /// Makes a channel's contents these.
    void restore(TRK_Channel &channel) const;
    /// Whether a channel that has either is saved to the same bytes.
    bool isSame(const TRK_ChannelContents &other) const;
    /// Whether nothing of it is its own.
    bool isShared() const { return mySharedFlag; }
    /// With its runs. A shared one is counted for one of those that exist, the first to be asked.
    int64_t getMemoryUsage() const;

private:
    struct Key;
    struct Run;
    class Reading;

    void takeKeys(const TRK_Channel &channel, const TRK_ChannelContents *former);
    void addKeys(const TRK_Channel &channel, std::size_t first, std::size_t end);

    std::vector<std::shared_ptr<const Run>> myRuns;
    std::size_t myNumKeys = 0;
    double myDefault;
    double myPendingTime;
    KIT_StringHolder myDefaultText;
    TRK_ExprLanguage myDefaultLanguage;
    bool myPendingFlag;
    bool myLockFlag;
    bool myScopeFlag;
    bool mySharedFlag = false;
};
