/// \file NOD_NodePartsPrivate.h
/// What a node has besides its parameters: interface, spare parameters, variables, other channels. Not
/// installed.
///
/// Vocabulary: *texts* = variables, and sections that are kept; *other channels* = those that no parameter is linked to, and the language of new ones.
/// Ownership:  as NOD_NodeState.h.
/// Threads:    the thread that owns the node.
#pragma once

#include <NOD/NOD_Node.h>
#include <NOD/undo/NOD_ChannelMemoryPrivate.h>
#include <TRK/TRK_Types.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

class NOD_Interface;
class ZEL_Template;

/// A friend of the node.
struct NOD_NodeParts
{
    struct StructureParts
    {
        std::shared_ptr<const NOD_Interface> interface;
        ZEL_Template *plainTemplates;
        std::string plainType;
        NOD_SpareParms::Set spares;

        bool operator==(const StructureParts &other) const
        {
            return interface == other.interface && plainTemplates == other.plainTemplates &&
                   plainType == other.plainType && spares == other.spares;
        }
    };
    using Structure = std::shared_ptr<const StructureParts>;
    struct TextParts
    {
        std::map<std::string, std::string> variables;
        NOD_Node::Sections kept;
        bool operator==(const TextParts &other) const
        {
            return variables == other.variables && kept == other.kept;
        }
    };
    using Texts = std::shared_ptr<const TextParts>;
    struct ChannelParts
    {
        TRK_ExprLanguage language;
        NOD_ChannelMemories channels;
        bool operator==(const ChannelParts &other) const
        {
            return language == other.language && NODhasSameChannels(channels, other.channels);
        }
    };
    using OtherChannels = std::shared_ptr<const ChannelParts>;

    /// Kept with the node, so that one state after the other shares what stays.
    static NOD_ChannelTaker &channelTaker(NOD_Node &node);
    static Structure structure(const NOD_Node &node);
    static Texts texts(const NOD_Node &node);
    static OtherChannels otherChannels(NOD_Node &node);

    static void restore(NOD_Node &node, const StructureParts &structure);
    static void restore(NOD_Node &node, const Texts &texts);
    static void restore(NOD_Node &node, const OtherChannels &channels);

    static bool isSame(const OtherChannels &a, const OtherChannels &b);
    static std::int64_t getMemoryUsage(const Structure &structure, const Texts &texts,
                                       const OtherChannels &channels);
};
