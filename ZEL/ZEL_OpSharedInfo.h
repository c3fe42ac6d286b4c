/// \file ZEL_OpSharedInfo.h
/// The name tables of one node type, built once from its templates and shared by all its lists.
///
/// Vocabulary: *shared name* = the node type's name under which the tables are kept; lists with
///             an empty one get their own tables. The first list of a name builds them.
/// Ownership:  lists hold it by `std::shared_ptr` and keep it when the name is dropped.
/// Threads:    read from any thread; the registry of names changes on the thread that builds
///             lists, with no lock.
#pragma once

#include <ZEL/ZEL_NameTable.h>

#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

class ZEL_Template;

class ZEL_API ZEL_OpSharedInfo
{
public:
    ZEL_OpSharedInfo() = default;
    /// Fills both tables; the last template wins among equal tokens. Builds channel tokens.
    ZEL_OpSharedInfo(const ZEL_Template *templates, int count);

    const ZEL_NameTable &parmTokens() const { return myParmTokens; }
    /// Whether parmTokens() has the index for that token: quicker to ask than to find it.
    bool isTokenOf(std::string_view token, int index) const
    {
        if (token.empty() || std::size_t(index) >= myFoundTokens.size()) {
            return false;
        }
        const KIT_StringHolder &found = myFoundTokens[std::size_t(index)];
        return found.length() == token.size() &&
               std::memcmp(found.nonNullStr(), token.data(), token.size()) == 0;
    }
    const ZEL_NameTable &channelTokens() const { return myChannelTokens; }
    std::int64_t getMemoryUsage(bool inclusive) const;

    /// The tables for a list: the name's if it is known, shared empty ones without templates, else
    /// new ones, which are registered if the name isn't empty.
    static std::shared_ptr<ZEL_OpSharedInfo> get(const KIT_StringRef &sharedName,
                                                 const ZEL_Template *templates, int count);
    /// Removes a name; lists that hold the tables keep them.
    static void remove(const KIT_StringRef &sharedName);
    /// Moves the entry; nothing if either name is empty or the old one is unknown.
    static void rename(const KIT_StringRef &oldName, const KIT_StringHolder &newName);

private:
    ZEL_NameTable myParmTokens;
    ZEL_NameTable myChannelTokens;
    std::vector<KIT_StringHolder> myFoundTokens; // by index; null if another index has the token
};
