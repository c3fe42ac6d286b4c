/// \file NOD_ParmMemoryPrivate.h
/// All that a user has made of one parameter at one moment. Not installed.
///
/// Vocabulary: *body* = what a stream has of the parameter; *link* = the name of a component's channel.
/// Ownership:  owns everything, or shares it with other states; may outlive the parameter.
/// Threads:    the thread that owns the node.
/// Errors:     out of memory throws std::bad_alloc. What a body can't restore is reported as a load
///             would.
#pragma once

#include <KIT/KIT_Color.h>
#include <KIT/KIT_StringHolder.h>
#include <NOD/undo/NOD_ChannelMemoryPrivate.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

class ZEL_Parm;
class ZEL_UndoData;

struct NOD_ParmMemory
{
    /// What few parameters have, by component.
    struct Rare
    {
        std::vector<std::pair<int, KIT_StringHolder>> links;
        std::vector<std::pair<int, KIT_StringHolder>> aliases;
        std::vector<std::pair<int, KIT_Color>> colors;
        NOD_ChannelMemories channels;
    };
    struct Masks
    {
        std::uint32_t locks;
        std::uint32_t autoScope;
        std::uint32_t autoSelect;
        std::uint32_t flags;
        bool operator==(const Masks &other) const
        {
            return locks == other.locks && autoScope == other.autoScope &&
                   autoSelect == other.autoSelect && flags == other.flags;
        }
    };

    bool isSame(const NOD_ParmMemory &other) const;
    bool hasSameChannels(const NOD_ParmMemory &other) const;
    std::int64_t getMemoryUsage() const;

    /// Nothing for a parameter of another kind.
    void restore(ZEL_Parm &parm, const NOD_ParmMemory &present, NOD_ChannelTaker &channels) const;
    /// The aliases that differ, once those of all parameters that are restored are cleared: one may
    /// have been another's. Whether there were or are any.
    bool clearAliases(ZEL_Parm &parm) const;
    bool restoreAliases(ZEL_Parm &parm) const;

    KIT_StringHolder token;
    std::string body;
    std::shared_ptr<ZEL_UndoData> items; ///< of a data parameter, in place of a body
    std::shared_ptr<const Rare> rare;
    Masks masks{};
    int basicType = 0;
    int blockDepth = -1; ///< of a block: in how many others it is; -1 for no block

private:
    void restoreLinked(ZEL_Parm &parm, const NOD_ParmMemory &present,
                       NOD_ChannelTaker &channels) const;
    void dropUnlinked(ZEL_Parm &parm) const;
    void restoreChannels(ZEL_Parm &parm, const NOD_ParmMemory &present,
                         NOD_ChannelTaker &channels) const;
    void restoreBody(ZEL_Parm &parm) const;
    void restoreMasks(ZEL_Parm &parm) const;
    void linkChannels(ZEL_Parm &parm) const;
};

/// Takes the states of parameters, one after the other, with one stream.
class NOD_ParmTaker
{
public:
    explicit NOD_ParmTaker(NOD_ChannelTaker &channels) : myChannels(channels) {}

    NOD_ParmMemory take(const ZEL_Parm &parm);
    /// For a moment, as NOD_ChannelTaker::peek.
    NOD_ParmMemory peek(const ZEL_Parm &parm);

private:
    NOD_ParmMemory takeAll(const ZEL_Parm &parm, bool momentFlag);

    NOD_ChannelTaker &myChannels;
    std::ostringstream myStream;
};
