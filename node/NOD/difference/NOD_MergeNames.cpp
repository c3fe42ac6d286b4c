#include <NOD/difference/NOD_MergeNamesPrivate.h>

#include <BAS/BAS_Character.h>
#include <NOD/difference/NOD_MergeJudgePrivate.h>

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace
{

using Kind = NOD_RecordKind;
using Names = std::unordered_set<std::string>;

void addNames(const NOD_Record &record, Names &names)
{
    for (const auto &part : record.getParts()) {
        if (part->getKind() == Kind::DECLARATION) {
            names.insert(part->getName());
            addNames(*part, names);
        }
    }
}

bool isNameChar(char c)
{
    return BASisWordChar(c) || c == '#';
}

/// What a word refers to: the name, or that of which it is a component; "" for none.
std::string nameIn(const Names &names, std::string_view word)
{
    for (const std::size_t less : {0U, 1U, 3U}) { // "tx", "tmin"
        const std::string name(word.substr(0, word.size() - std::min(less, word.size())));
        if (names.count(name) != 0) {
            return name;
        }
    }
    return {};
}

/// `{ name == 1 }`, whose words may be one record or one each.
bool isComparedAt(const NOD_Record &record, std::string_view text, std::size_t end)
{
    std::size_t next = text.find_first_not_of(" \t", end);
    std::string following;
    if (next == std::string_view::npos && record.getKind() == Kind::ENTRY) {
        const NOD_Record::Parts &parts = record.getParent()->getParts();
        const auto at = std::find_if(parts.begin(), parts.end(),
                                     [&](const auto &part) { return part.get() == &record; });
        following =
            at == parts.end() || at + 1 == parts.end() ? "" : NODtextOf((at[1])->getValue());
        text = following;
        next = text.empty() ? std::string_view::npos : 0;
    }
    return next != std::string_view::npos &&
           std::string_view("=!<>").find(text[next]) != std::string_view::npos;
}

/// `ch("../node/name")`
bool isArgumentAt(std::string_view text, std::size_t begin)
{
    const std::size_t open = text.substr(0, begin).rfind('(');
    if (open == std::string_view::npos) {
        return false;
    }
    const std::string_view between = text.substr(open + 1, begin - open - 1);
    std::size_t end = open;
    while (end > 0 && BASisBlank(text[end - 1])) {
        --end;
    }
    std::size_t start = end;
    while (start > 0 && BASisWordChar(text[start - 1])) {
        --start;
    }
    const std::string_view call = text.substr(start, end - start);
    return (call.substr(0, 2) == "ch" || call == "parm") &&
           between.find_first_of("\"'") != std::string_view::npos &&
           between.find_first_not_of(" \\\"'./") == std::string_view::npos;
}

/// The names, of some, that a word of a statement refers to.
Names namesIn(const NOD_Record &record, const Names &names)
{
    Names found;
    const NOD_Record *const statement = record.getParent();
    const bool wordFlag = record.getKind() == Kind::WORD || record.getKind() == Kind::ENTRY;
    if (!wordFlag || !statement || statement->getKind() != Kind::STATEMENT) {
        return found;
    }
    const std::string text = NODtextOf(record.getValue());
    const bool conditionFlag = NODtextOf(statement->getValue()).find("when") != std::string::npos;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!isNameChar(text[i])) {
            continue;
        }
        std::size_t end = i;
        while (end < text.size() && isNameChar(text[end])) {
            ++end;
        }
        const std::string name = nameIn(names, std::string_view(text).substr(i, end - i));
        if (!name.empty() &&
            ((conditionFlag && isComparedAt(record, text, end)) || isArgumentAt(text, i))) {
            found.insert(name);
        }
        i = end;
    }
    return found;
}

void addReaders(NOD_Record &record, const Names &lost, const NOD_MergeJudge &judge,
                std::vector<NOD_Record *> &readers)
{
    for (const auto &part : record.getParts()) {
        if (!namesIn(*part, lost).empty() && !judge.hasPlace(*part)) {
            readers.push_back(part.get());
        }
        addReaders(*part, lost, judge, readers);
    }
}

} // namespace

void NODtellLostNames(NOD_Record &made, const NOD_States &states, NOD_MergeJudge &judge)
{
    std::array<Names, 3> names;
    Names present, lost;
    addNames(made, present);
    for (std::size_t side = 0; side < 3; ++side) {
        addNames(*states[side], names[side]);
        std::copy_if(names[side].begin(), names[side].end(), std::inserter(lost, lost.end()),
                     [&](const std::string &name) { return present.count(name) == 0; });
    }
    std::vector<NOD_Record *> readers;
    if (!lost.empty()) {
        addReaders(made, lost, judge, readers);
    }
    NODtellLost(readers, states, judge, [&](NOD_MergeSide side, const NOD_Record &record) {
        const Names used = namesIn(record, lost);
        const Names &all = names[std::size_t(side)];
        return std::any_of(used.begin(), used.end(),
                           [&](const std::string &name) { return all.count(name) != 0; });
    });
}
