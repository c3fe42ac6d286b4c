/// \file ZEL_RefId.h
/// Names one component of one parameter by index, or the whole parameter.
///
/// Vocabulary: *parm index* = place in the list, 0-based, -1 for none;
///             *sub index*  = component, 0-based, -1 for the parameter as a whole.
/// Ownership:  two ints, copied by value.
/// Threads:    const calls from any thread.
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstddef>

class KIT_String;
class ZEL_ParmList;

class ZEL_API ZEL_RefId
{
public:
    constexpr ZEL_RefId() = default;
    constexpr explicit ZEL_RefId(int parmIndex, int subIndex = -1)
        : myIndex(parmIndex), mySubIndex(subIndex)
    {}

    int index() const { return myIndex; }
    int subIndex() const { return mySubIndex; }

    /// Whether the parm index isn't negative.
    bool isValid() const { return myIndex >= 0; }

    bool operator==(const ZEL_RefId &other) const
    {
        return myIndex == other.myIndex && mySubIndex == other.mySubIndex;
    }
    bool operator!=(const ZEL_RefId &other) const { return !(*this == other); }

    /// Same parameter, and same component unless either id means the whole parameter.
    bool matches(const ZEL_RefId &other) const
    {
        return myIndex == other.myIndex &&
               (mySubIndex == other.mySubIndex || mySubIndex == -1 || other.mySubIndex == -1);
    }

    /// A 32-bit integer mix (Thomas Wang's hash32shift family) of both indices.
    unsigned hash() const;

    /// The parameter's token, or with a sub index its channel token; empty for an invalid id
    /// or one that isn't in `list`.
    void getToken(const ZEL_ParmList &list, KIT_String &token) const;
    /// The same, but the component's alias if it has one.
    void getAlias(const ZEL_ParmList &list, KIT_String &alias) const;

private:
    int myIndex = -1;
    int mySubIndex = -1;
};

/// Hash functor for standard containers.
struct ZEL_RefIdHash
{
    std::size_t operator()(const ZEL_RefId &id) const { return id.hash(); }
};
