#include <NOD/difference/NOD_BlockNamesPrivate.h>

#include <BAS/BAS_Character.h>

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

/// The token as the library makes it, with a `#` for each number of an item. False if it has other numbers.
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
    if (member.pattern.find('#') != std::string::npos) {
        return false;
    }
    std::size_t at = 0;
    for (const int number : numbers) {
        const std::string digits = std::to_string(number);
        at = member.pattern.find(digits, at);
        if (at == std::string::npos) {
            return false;
        }
        member.pattern.replace(at++, digits.size(), "#");
    }
    return member.pattern.find(std::to_string(theMarkNumber).substr(0, 8)) == std::string::npos;
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

bool NOD_BlockNames::takeItems(const Member &member, const std::vector<std::string_view> &numbers,
                               std::vector<int> &items) const
{
    items.assign(member.blocks.size(), -1);
    if (numbers.size() != member.starts.size()) {
        return false;
    }
    for (std::size_t level = 0; level < numbers.size(); ++level) {
        const std::string_view digits = numbers[level];
        int number = 0;
        const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        const bool plainFlag = result.ec == std::errc() && (digits.size() == 1 || digits[0] != '0');
        const int item = plainFlag ? number - member.starts[level] : -1;
        if (item < 0) {
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
        while (i < name.size() && BASisDigit(name[i])) {
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
        const auto member = myMembers.find(pattern);
        if (member != myMembers.end() && takeItems(member->second, numbers, items)) {
            return &member->second;
        }
    }
    return nullptr;
}

std::string NOD_BlockNames::nameOf(const std::string &pattern, const std::vector<int> &numbers)
{
    std::string name;
    std::size_t mark = 0;
    for (const char c : pattern) {
        if (c == '#' && mark < numbers.size()) {
            name += std::to_string(numbers[mark++]);
        } else {
            name += c;
        }
    }
    return name;
}
