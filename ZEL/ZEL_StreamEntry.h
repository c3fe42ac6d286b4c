/// \file ZEL_StreamEntry.h
/// What a parameter stream has of one parameter, apart from any list.
///
/// Vocabulary: *kind* = which class of values wrote the entry. A binary stream tells it, a text doesn't: there
///             it is known from a list that has the parameter. *driven* = by a channel that the entry names.
/// Ownership:  plain values.
/// Threads:    const calls from any thread.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// One component.
struct ZEL_StreamValue
{
    bool drivenFlag = false;
    std::string channel; ///< what drives it
    /// A float's number, an ordinal's, a text: an ordinal's token, a string, or data as typed text. Nothing
    /// where only a channel is named.
    std::variant<std::monostate, double, std::int64_t, std::string> value;
};

/// A component's channel colour.
struct ZEL_StreamColor
{
    std::uint32_t index = 0;
    float red = 0.0f;
    float green = 0.0f;
    float blue = 0.0f;
};

/// Those that the entry has.
struct ZEL_StreamOptions
{
    std::optional<std::uint32_t> flags;
    std::optional<std::uint32_t> locks;
    std::optional<std::uint32_t> autoScope;
    std::optional<std::uint32_t> bypass;
    std::optional<std::string> label;
    std::vector<ZEL_StreamColor> colors;
    std::optional<std::uint32_t> autoSelect;
};

struct ZEL_API ZEL_StreamEntry
{
    enum class Kind
    {
        WORDS, ///< a text that is kept as it is: of a parameter that nobody knows, or in another grammar
        FLOAT,
        ORDINAL,
        STRING,
        DATA,
        PACKETS ///< bytes that are kept as they are: of a class or version that isn't known here
    };

    /// The entry's text from its first bracket to the last, as a list writes it: `[ 0\tlocks=0 ]\t(\t1\t)`.
    /// Nothing if the text form can't hold it; the token doesn't count.
    std::optional<std::string> getText() const;
    /// Whether packets of the kind's own hold all of it. An entry that they don't is a text in a binary stream.
    bool fitsPackets() const;

    std::string token; ///< "" for a packet that isn't a parameter's
    Kind kind = Kind::WORDS;
    ZEL_StreamOptions options;           // of the known kinds
    std::vector<ZEL_StreamValue> values; // of the known kinds
    std::string bytes;                   ///< of WORDS and PACKETS
    int classId = 0;                     ///< of PACKETS
    int packetId = 0;                    ///< of PACKETS
    bool plainFlag = false; ///< PACKETS: what they are doesn't depend on where they are
    bool knownFlag = false; ///< a list knew the kind when it was read
};
