#include <NOD/difference/NOD_BlockNamesPrivate.h>

#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_InstanceString.h>
#include <ZEL/ZEL_Template.h>

#include <charconv>

namespace
{

constexpr int theDeepest = 16;
constexpr std::size_t theMostNumbers = 6;
/// Numbers that no token has by itself.
constexpr int theMarkNumber = 1987654300;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The token as the library makes it, with a `#` for each number of an item. False if it has not all of them.
bool makePattern(const char *token, NOD_BlockNames::Member &member)
{
    std::vector<int> numbers;
    for (std::size_t level = 0; level < member.blocks.size(); ++level) {
        numbers.push_back(theMarkNumber + int(level));
    }
    KIT_WorkBuffer made;
    constexpr bool fillToken = true;
    constexpr bool repeat = false;
    ZELinstanceString(made, token, numbers.data(), int(numbers.size()), fillToken, repeat);
    member.pattern = std::string(made.view());
    member.levels.clear();
    std::size_t at = 0;
    std::vector<char> found(numbers.size(), 0);
    while (at < member.pattern.size()) {
        bool markFlag = false;
        for (std::size_t level = 0; level < numbers.size() && !markFlag; ++level) {
            const std::string digits = std::to_string(numbers[level]);
            markFlag = member.pattern.compare(at, digits.size(), digits) == 0;
            if (markFlag) {
                member.pattern.replace(at, digits.size(), "#");
                member.levels.push_back(int(level));
                found[level] = 1;
            }
        }
        ++at;
    }
    return std::string(found.begin(), found.end()).find('\0') == std::string::npos;
}

} // namespace

void NOD_BlockNames::add(const ZEL_Template *templates)
{
    for (; templates && !templates->isTerminator(); ++templates) {
        if (templates->isMultiType()) {
            Member block;
            block.pattern = templates->getToken();
            block.starts.push_back(templates->getMultiStartOffset());
            myBlocks[block.pattern] = block.starts.back();
            block.blocks.push_back(block.pattern);
            addMembers(templates->getMultiParmTemplate(), block, 1);
        }
    }
}

void NOD_BlockNames::addMembers(const ZEL_Template *templates, const Member &block, int depth)
{
    for (; templates && !templates->isTerminator() && depth < theDeepest; ++templates) {
        Member member = block;
        if (!makePattern(templates->getToken(), member) ||
            !myMembers.emplace(member.pattern, member).second) {
            continue; // two of one pattern can't be told apart
        }
        if (templates->isMultiType()) {
            Member inner = member;
            inner.starts.push_back(templates->getMultiStartOffset());
            myBlocks[member.pattern] = inner.starts.back();
            inner.blocks.push_back(member.pattern);
            addMembers(templates->getMultiParmTemplate(), inner, depth + 1);
        }
    }
}

const NOD_BlockNames::Member *NOD_BlockNames::findPattern(const std::string &pattern) const
{
    const auto found = myMembers.find(pattern);
    return found == myMembers.end() ? nullptr : &found->second;
}

bool NOD_BlockNames::takeItems(const Member &member, const std::vector<std::string_view> &numbers,
                               std::vector<int> &items) const
{
    items.assign(member.blocks.size(), -1);
    if (numbers.size() != member.levels.size()) {
        return false;
    }
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const std::string_view digits = numbers[i];
        const std::size_t level = std::size_t(member.levels[i]);
        int number = 0;
        const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        const bool plainFlag = result.ec == std::errc() && (digits.size() == 1 || digits[0] != '0');
        const int item = plainFlag ? number - member.starts[level] : -1;
        if (item < 0 || (items[level] >= 0 && items[level] != item)) {
            return false;
        }
        items[level] = item;
    }
    return true;
}

const NOD_BlockNames::Member *NOD_BlockNames::find(std::string_view name,
                                                   std::vector<int> &items) const
{
    std::vector<std::pair<std::size_t, std::size_t>> runs;
    for (std::size_t i = 0; i < name.size() && !myMembers.empty();) {
        const std::size_t start = i;
        while (i < name.size() && isDigit(name[i])) {
            ++i;
        }
        if (i > start) {
            runs.emplace_back(start, i);
        } else {
            ++i;
        }
    }
    if (runs.empty() || runs.size() > theMostNumbers) {
        return nullptr;
    }
    // The numbers that stand last are an item's most often.
    for (unsigned taken = (1U << runs.size()) - 1; taken > 0; --taken) {
        std::string pattern;
        std::vector<std::string_view> numbers;
        std::size_t done = 0;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if ((taken >> i) & 1U) {
                pattern.append(name.substr(done, runs[i].first - done)).append("#");
                numbers.push_back(name.substr(runs[i].first, runs[i].second - runs[i].first));
                done = runs[i].second;
            }
        }
        pattern.append(name.substr(done));
        const Member *const member = findPattern(pattern);
        if (member && takeItems(*member, numbers, items)) {
            return member;
        }
    }
    return nullptr;
}

std::string NOD_BlockNames::nameOf(const Member &member, const std::vector<int> &items)
{
    std::string name;
    std::size_t mark = 0;
    for (const char c : member.pattern) {
        if (c == '#' && mark < member.levels.size()) {
            const std::size_t level = std::size_t(member.levels[mark++]);
            name += std::to_string(items[level] + member.starts[level]);
        } else {
            name += c;
        }
    }
    return name;
}
