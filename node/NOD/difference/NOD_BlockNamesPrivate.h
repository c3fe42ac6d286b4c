/// \file NOD_BlockNamesPrivate.h
/// Which item of which block a name in a stream belongs to. Not installed.
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
        std::vector<int> levels;         ///< of each `#`, which block's number it is
    };

    NOD_BlockNames() = default;
    /// The blocks of an array up to its terminator; null has none.
    void add(const ZEL_Template *templates);
    /// The member that has such names, and its items; null if there is none.
    const Member *find(std::string_view name, std::vector<int> &items) const;
    /// By its pattern; null if there is none.
    const Member *findPattern(const std::string &pattern) const;
    /// Whether a parameter of this token or pattern is a block.
    bool isBlock(const std::string &pattern) const { return myBlocks.count(pattern) != 0; }
    static std::string nameOf(const Member &member, const std::vector<int> &items);

private:
    void addMembers(const ZEL_Template *templates, const Member &block, int depth);
    bool takeItems(const Member &member, const std::vector<std::string_view> &numbers,
                   std::vector<int> &items) const;

    std::unordered_map<std::string, Member> myMembers;
    std::unordered_map<std::string, int> myBlocks; ///< and where their items start
};
