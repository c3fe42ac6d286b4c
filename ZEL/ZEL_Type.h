/// \file ZEL_Type.h
/// What a parameter is: which of the four value kinds it holds, and how the value is read, shown,
/// named and treated.
///
/// Vocabulary: *word* = one of the nine 32-bit values that make a type, each with an enumeration of
///             its own; *basic word* = the value kind, one value compared for equality; the other
///             words are bit sets (the channel word holds one naming style). ZEL_FLT, an animatible
///             number, has the basic word 2 and the interface word 0x20, all else 0.
///             *Animatible* = may have a channel. *Cookable* = a change may recompute its owner.
/// Ownership:  a plain value of nine words (36 bytes).
/// Threads:    a value; no shared state. The published constants (ZEL_TypeConstants.h) are constant
///             data and complete before any code runs.
/// Errors:     loadBinary() returns false; nothing else can fail.
/// Cost:       every query is inline and reads one or two words.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>

class KIT_IStream;

class ZEL_API ZEL_Type
{
public:
    // ZEL_TypeConstants.def declares the enumerators, one row each with its value and meaning. All
    // of them are stored: append only.

    /// Word 0: the value kind. One value; a mix such as 3 is none of the four kinds.
    enum ZEL_BasicType : uint32_t
    {
#define ZEL_BASIC_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    /// Word 1: how a number is treated and shown.
    enum ZEL_FloatType : uint32_t
    {
#define ZEL_FLOAT_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    /// Word 2: what an ordinal is.
    enum ZEL_OrdinalType : uint32_t
    {
#define ZEL_ORDINAL_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    /// Word 3: what a string is.
    enum ZEL_StringType : uint32_t
    {
#define ZEL_STRING_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    /// Word 4: which data item.
    enum ZEL_DataType : uint32_t
    {
#define ZEL_DATA_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    /// Word 5: which file filter a path parameter uses.
    enum ZEL_PathType : uint32_t
    {
#define ZEL_PATH_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    /// Word 6: the naming style of a vector's channels; ZEL_Template::getChannelToken() describes
    /// the token that each gives.
    enum ZEL_ChannelType : uint32_t
    {
#define ZEL_CHANNEL_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    /// Word 7: how the parameter is presented, and whether it can be animated.
    enum ZEL_InterfaceType : uint32_t
    {
#define ZEL_INTERFACE_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    /// Word 8: what a change of the parameter causes.
    enum ZEL_BehaviorType : uint32_t
    {
#define ZEL_BEHAVIOR_FLAG(enumerator, value, dumps, constant) enumerator = value,
#include <ZEL/ZEL_TypeConstants.def>
    };

    // ---------------------------------------------------------------- //
    /// \name Making a type. Words that are not given are zero.
    // ---------------------------------------------------------------- //
    constexpr ZEL_Type() noexcept {}
    explicit constexpr ZEL_Type(const ZEL_BasicType &word) noexcept : myBasic(word) {}
    explicit constexpr ZEL_Type(const ZEL_FloatType &word) noexcept : myFloat(word) {}
    explicit constexpr ZEL_Type(const ZEL_OrdinalType &word) noexcept : myOrdinal(word) {}
    explicit constexpr ZEL_Type(const ZEL_StringType &word) noexcept : myString(word) {}
    explicit constexpr ZEL_Type(const ZEL_DataType &word) noexcept : myData(word) {}
    explicit constexpr ZEL_Type(const ZEL_PathType &word) noexcept : myPath(word) {}
    explicit constexpr ZEL_Type(const ZEL_ChannelType &word) noexcept : myChannel(word) {}
    explicit constexpr ZEL_Type(const ZEL_InterfaceType &word) noexcept : myInterface(word) {}
    explicit constexpr ZEL_Type(const ZEL_BehaviorType &word) noexcept : myBehavior(word) {}

    /// All nine words, in word order.
    constexpr ZEL_Type(const ZEL_BasicType &basic, const ZEL_FloatType &flt,
                       const ZEL_OrdinalType &ordinal, const ZEL_StringType &string,
                       const ZEL_DataType &data, const ZEL_PathType &path,
                       const ZEL_ChannelType &channel, const ZEL_InterfaceType &interface,
                       const ZEL_BehaviorType &behavior) noexcept
        : myBasic(basic), myFloat(flt), myOrdinal(ordinal), myString(string), myData(data),
          myPath(path), myChannel(channel), myInterface(interface), myBehavior(behavior)
    {}

    // The rows included above make the formatter take the queries for free functions.
    // clang-format off
    // ---------------------------------------------------------------- //
    /// \name The words
    // ---------------------------------------------------------------- //
    constexpr const ZEL_BasicType &getBasicType() const { return myBasic; }
    constexpr const ZEL_FloatType &getFloatType() const { return myFloat; }
    constexpr const ZEL_OrdinalType &getOrdinalType() const { return myOrdinal; }
    constexpr const ZEL_StringType &getStringType() const { return myString; }
    constexpr const ZEL_DataType &getDataType() const { return myData; }
    constexpr const ZEL_PathType &getPathType() const { return myPath; }
    constexpr const ZEL_ChannelType &getChannelType() const { return myChannel; }
    constexpr const ZEL_InterfaceType &getInterfaceType() const { return myInterface; }
    constexpr const ZEL_BehaviorType &getBehaviorType() const { return myBehavior; }

    // ---------------------------------------------------------------- //
    /// \name Whole words: equal to the argument, never a bit test
    // ---------------------------------------------------------------- //
    constexpr bool isBasicType(ZEL_BasicType word) const { return myBasic == word; }
    constexpr bool isChannelType(ZEL_ChannelType word) const { return myChannel == word; }
    constexpr bool isOrdinalType() const { return myBasic == ZEL_BASIC_ORDINAL; }
    constexpr bool isFloatType() const { return myBasic == ZEL_BASIC_FLOAT; }
    constexpr bool isStringType() const { return myBasic == ZEL_BASIC_STRING; }
    constexpr bool isDataType() const { return myBasic == ZEL_BASIC_DATA; }

    // ---------------------------------------------------------------- //
    /// \name Bits: at least one bit shared with the argument
    // ---------------------------------------------------------------- //
    constexpr bool hasFloatType(ZEL_FloatType bits) const { return shares(myFloat, bits); }
    constexpr bool hasOrdinalType(ZEL_OrdinalType bits) const { return shares(myOrdinal, bits); }
    constexpr bool hasStringType(ZEL_StringType bits) const { return shares(myString, bits); }
    constexpr bool hasDataType(ZEL_DataType bits) const { return shares(myData, bits); }
    constexpr bool hasPathType(ZEL_PathType bits) const { return shares(myPath, bits); }
    constexpr bool hasInterfaceType(ZEL_InterfaceType bits) const
    {
        return shares(myInterface, bits);
    }
    constexpr bool hasBehaviorType(ZEL_BehaviorType bits) const { return shares(myBehavior, bits); }

    // ---------------------------------------------------------------- //
    /// \name What follows from the words
    // ---------------------------------------------------------------- //
    /// A set of folders: basic ordinal with ZEL_ORD_SWITCHERLIST.
    constexpr bool isSwitcher() const
    {
        return isOrdinalType() && hasOrdinalType(ZEL_ORD_SWITCHERLIST);
    }
    /// May have a channel.
    constexpr bool isAnimatible() const { return hasInterfaceType(ZEL_INTERFACE_CHANNEL); }
    constexpr bool isVisible() const { return !hasInterfaceType(ZEL_INTERFACE_INVISIBLE); }
    /// A change may recompute the owner: neither NOREFRESH nor NOCOOK. NORESIM does not count.
    constexpr bool isCookable() const
    {
        return !hasBehaviorType(ZEL_BEHAVIOR_NOREFRESH) && !hasBehaviorType(ZEL_BEHAVIOR_NOCOOK);
    }
    /// True if any bit of any word is shared with the other type.
    constexpr bool hasAnyOf(const ZEL_Type &bits) const { return bool(*this & bits); }
    /// True if every bit of every word of the other type is set here.
    constexpr bool hasAllOf(const ZEL_Type &bits) const { return (*this & bits) == bits; }

    constexpr bool operator==(const ZEL_Type &other) const
    {
        return myBasic == other.myBasic && myFloat == other.myFloat &&
               myOrdinal == other.myOrdinal && myString == other.myString &&
               myData == other.myData && myPath == other.myPath && myChannel == other.myChannel &&
               myInterface == other.myInterface && myBehavior == other.myBehavior;
    }
    constexpr bool operator!=(const ZEL_Type &other) const { return !(*this == other); }
    /// Any word is not zero.
    explicit constexpr operator bool() const
    {
        return *this != ZEL_Type();
    }

    // ---------------------------------------------------------------- //
    /// \name Changes, word by word over all nine words
    // ---------------------------------------------------------------- //
    constexpr ZEL_Type &operator|=(const ZEL_Type &other)
    {
        myBasic = ZEL_BasicType(myBasic | other.myBasic);
        myFloat = ZEL_FloatType(myFloat | other.myFloat);
        myOrdinal = ZEL_OrdinalType(myOrdinal | other.myOrdinal);
        myString = ZEL_StringType(myString | other.myString);
        myData = ZEL_DataType(myData | other.myData);
        myPath = ZEL_PathType(myPath | other.myPath);
        myChannel = ZEL_ChannelType(myChannel | other.myChannel);
        myInterface = ZEL_InterfaceType(myInterface | other.myInterface);
        myBehavior = ZEL_BehaviorType(myBehavior | other.myBehavior);
        return *this;
    }
    constexpr ZEL_Type &operator&=(const ZEL_Type &other)
    {
        myBasic = ZEL_BasicType(myBasic & other.myBasic);
        myFloat = ZEL_FloatType(myFloat & other.myFloat);
        myOrdinal = ZEL_OrdinalType(myOrdinal & other.myOrdinal);
        myString = ZEL_StringType(myString & other.myString);
        myData = ZEL_DataType(myData & other.myData);
        myPath = ZEL_PathType(myPath & other.myPath);
        myChannel = ZEL_ChannelType(myChannel & other.myChannel);
        myInterface = ZEL_InterfaceType(myInterface & other.myInterface);
        myBehavior = ZEL_BehaviorType(myBehavior & other.myBehavior);
        return *this;
    }
    friend constexpr ZEL_Type operator|(ZEL_Type left, const ZEL_Type &right)
    {
        return left |= right;
    }
    friend constexpr ZEL_Type operator&(ZEL_Type left, const ZEL_Type &right)
    {
        return left &= right;
    }
    /// Each word becomes its complement.
    constexpr void invert()
    {
        myBasic = ZEL_BasicType(~uint32_t(myBasic));
        myFloat = ZEL_FloatType(~uint32_t(myFloat));
        myOrdinal = ZEL_OrdinalType(~uint32_t(myOrdinal));
        myString = ZEL_StringType(~uint32_t(myString));
        myData = ZEL_DataType(~uint32_t(myData));
        myPath = ZEL_PathType(~uint32_t(myPath));
        myChannel = ZEL_ChannelType(~uint32_t(myChannel));
        myInterface = ZEL_InterfaceType(~uint32_t(myInterface));
        myBehavior = ZEL_BehaviorType(~uint32_t(myBehavior));
    }
    /// Clears the interface word alone. This clears the animatible bit too.
    constexpr void stripUiType() { myInterface = ZEL_InterfaceType(0); }
    /// All words zero.
    constexpr void init() { *this = ZEL_Type(); }
    /// Clears the bits of the other type.
    constexpr void clear(ZEL_Type bits)
    {
        bits.invert();
        *this &= bits;
    }

    // ---------------------------------------------------------------- //
    /// \name Persistence and text
    // ---------------------------------------------------------------- //
    /// Nine 32-bit unsigned values in word order, nothing else.
    void saveBinary(std::ostream &os) const;
    /// Reads what saveBinary() wrote, in the mode of the stream. False at the first value that
    /// cannot be read; the words read before it stay replaced.
    bool loadBinary(KIT_IStream &is);
    /// The basic word's enumerator, then "|" and the enumerator of each flag that belongs to that
    /// kind, then those of the channel, interface and behavior words; no line end. ZEL_FLT gives
    /// "ZEL_BASIC_FLOAT". Flags of another kind are not shown, path flags only with ZEL_STR_PATH,
    /// and a basic word that is none of the kinds writes no name and no kind flags.
    void saveASCII(std::ostream &os) const;

private:
    static constexpr bool shares(uint32_t word, uint32_t bits) { return (word & bits) != 0; }

    ZEL_BasicType myBasic = ZEL_BasicType(0);
    ZEL_FloatType myFloat = ZEL_FloatType(0);
    ZEL_OrdinalType myOrdinal = ZEL_OrdinalType(0);
    ZEL_StringType myString = ZEL_StringType(0);
    ZEL_DataType myData = ZEL_DataType(0);
    ZEL_PathType myPath = ZEL_PathType(0);
    ZEL_ChannelType myChannel = ZEL_ChannelType(0);
    ZEL_InterfaceType myInterface = ZEL_InterfaceType(0);
    ZEL_BehaviorType myBehavior = ZEL_BehaviorType(0);
};
// clang-format on

static_assert(sizeof(ZEL_Type) == 9 * sizeof(uint32_t), "a type is its nine words");

/// Writes the dump of the type to `buffer`, truncated to `size`, for the host's formatted printing;
/// returns the count as KITformat() does.
ZEL_API size_t format(char *buffer, size_t size, const ZEL_Type &type);

#include <ZEL/ZEL_TypeConstants.h> // pair: either includes the other
