/// \file NOD_BlockNamesPrivate.h
/// Which item of which block a name in a stream belongs to. Not installed.
///
/// Members whose names have not each number once, the outermost block's first, count as parameters outside of blocks.
///
/// Vocabulary: *pattern* = a member's name with a `#` for each number in it: `pt#`, `weight#_#`.
/// Ownership:  owns its texts.
/// Threads:    const calls from any thread.
/// Cost:       of a name, a look-up for each way to take its numbers; names with more than six don't count.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class ZEL_Template;

class NOD_BlockNames
{
public:
    /// A member of a block, maybe of one in another one.
    struct Member
    {
        std::string pattern;
        std::vector<std::string> blocks; ///< patterns of the blocks it is in, the outermost first
        std::vector<int> starts;         ///< of each, the number of its first item
    };

    NOD_BlockNames() = default;
    /// The blocks of an array up to its terminator; null has none.
    void add(const ZEL_Template *templates);
    /// The member that has such names, and its items; null if there is none.
    const Member *find(std::string_view name, std::vector<int> &items) const;
    /// Whether a parameter of this token or pattern is a block.
    bool isBlock(const std::string &pattern) const { return myBlocks.count(pattern) != 0; }
    /// The number of a block's first item.
    int startOf(const std::string &pattern) const { return myBlocks.at(pattern); }
    /// Each `#` of the pattern becomes a number, in this order.
    static std::string nameOf(const std::string &pattern, const std::vector<int> &numbers);

private:
    void addMembers(const ZEL_Template *templates, const Member &block, int depth);
    bool takeItems(const Member &member, const std::vector<std::string_view> &numbers,
                   std::vector<int> &items) const;

    std::unordered_map<std::string, Member> myMembers;
    std::unordered_map<std::string, int> myBlocks; ///< and where their items start
};
