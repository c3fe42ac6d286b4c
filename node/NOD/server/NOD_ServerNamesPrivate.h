/// \file NOD_ServerNamesPrivate.h
/// The parameters of a text, and where conditions and expressions name them.
///
/// Vocabulary: *use* = a name on the left side of a comparison, or in a call such as `ch("t")`, where it
///             is no path.
/// Units:      parameters by number from 0, -1 for none; offsets in bytes.
/// Ownership:  borrows the source.
/// Threads:    immutable once made.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class NOD_ServerSource;

/// What of a condition stands before an offset.
struct NOD_ServerConditionPlace
{
    enum Part
    {
        OUTSIDE, ///< of the braces of a group
        LEFT,
        OPERATOR,
        RIGHT
    };

    Part part = OUTSIDE;
    std::string left; ///< of the comparison
};

/// Reads the text of a condition, or what its tokens are, as far as it goes. `found` is called with the
/// beginning and end of each left side.
template <class FOUND>
NOD_ServerConditionPlace NODreadServerCondition(std::string_view text, const FOUND &found);

class NOD_ServerNames
{
public:
    struct Parm
    {
        int block;
        int token; ///< of its name
        std::string name;
    };
    struct Use
    {
        std::size_t begin;
        std::size_t end;
        std::string name;
    };

    explicit NOD_ServerNames(const NOD_ServerSource &source);

    /// Folders and blocks included, in the order of the text.
    const std::vector<Parm> &getParms() const { return myParms; }
    const std::vector<Use> &getUses() const { return myUses; }
    /// The parameter of that name, of that component (`tx`), or of an item (`weight2` of `weight#`).
    int find(const std::string &name) const;

private:
    void addUses(const NOD_ServerSource &source);
    void addCondition(std::string_view text, std::size_t begin);
    void addCalls(std::string_view raw, std::size_t begin);
    int findWhole(const std::string &name) const;

    std::vector<Parm> myParms;
    std::vector<Use> myUses;
    std::unordered_map<std::string, int> myNames;
    std::unordered_map<std::string, int> myShapes; ///< of names with `#`
};

template <class FOUND>
NOD_ServerConditionPlace NODreadServerCondition(std::string_view text, const FOUND &found)
{
    constexpr std::string_view theBlanks = " \t\r\n";
    constexpr std::string_view theOperators = "=!<>~";
    NOD_ServerConditionPlace place;
    std::size_t at = 0;
    while ((at = text.find_first_not_of(theBlanks, at)) != std::string_view::npos) {
        if (text[at] == '{' || text[at] == '}') {
            place = {text[at] == '{' ? NOD_ServerConditionPlace::LEFT
                                     : NOD_ServerConditionPlace::OUTSIDE,
                     {}};
            ++at;
            continue;
        }
        const std::size_t begin = at;
        if (place.part == NOD_ServerConditionPlace::OPERATOR) {
            at = std::min(text.find_first_not_of(theOperators, at), text.size());
            place.part = NOD_ServerConditionPlace::RIGHT;
            if (at > begin) {
                continue;
            }
        }
        const bool escapedFlag = text[at] == '\\' && at + 1 < text.size();
        const char quote = text[at + (escapedFlag ? 1 : 0)];
        if (quote == '"' || quote == '`') {
            at = text.find(quote, at + (escapedFlag ? 2 : 1));
            at = at == std::string_view::npos ? text.size() : at + 1;
        } else {
            at = std::min(text.find_first_of(" \t\r\n}", at), text.size());
        }
        if (at == text.size()) {
            return place; // what is being written
        }
        if (place.part == NOD_ServerConditionPlace::LEFT) {
            place.left = text.substr(begin, at - begin);
            found(begin, at);
            place.part = NOD_ServerConditionPlace::OPERATOR;
        } else if (place.part == NOD_ServerConditionPlace::RIGHT) {
            place.part = NOD_ServerConditionPlace::LEFT;
        }
    }
    return place;
}
