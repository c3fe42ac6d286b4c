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
bool isComparedAt(const NOD_Record &record, const NOD_Record *following, std::string_view text,
                  std::size_t end)
{
    std::size_t next = text.find_first_not_of(" \t", end);
    std::string after;
    if (next == std::string_view::npos && record.getKind() == Kind::ENTRY && following) {
        after = NODtextOf(following->getValue());
        text = after;
        next = text.empty() ? std::string_view::npos : 0;
    }
    return next != std::string_view::npos &&
           std::string_view("=!<>").find(text[next]) != std::string_view::npos;
}

/// `ch("name")` or `ch("./name")`: a path leads to another script's.
bool isArgumentAt(std::string_view text, std::size_t begin, std::size_t nameEnd)
{
    const std::size_t open = text.substr(0, begin).find_last_not_of(" \\\"'./");
    if (open == std::string_view::npos || text[open] != '(' ||
        (nameEnd < text.size() && text[nameEnd] == '/')) {
        return false;
    }
    const std::string_view between = text.substr(open + 1, begin - open - 1);
    const std::size_t path = between.find_first_of("./");
    if (between.find_first_of("\"'") == std::string_view::npos ||
        (path != std::string_view::npos && between.substr(path) != "./")) {
        return false;
    }
    std::size_t end = open;
    while (end > 0 && BASisBlank(text[end - 1])) {
        --end;
    }
    std::size_t start = end;
    while (start > 0 && BASisWordChar(text[start - 1])) {
        --start;
    }
    const std::string_view call = text.substr(start, end - start);
    return call.substr(0, 2) == "ch" || call == "parm";
}

/// The names, of some, that a word of a statement refers to; with the word that follows it, or null.
Names namesIn(const NOD_Record &record, const NOD_Record *following, const Names &names)
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
        if (!name.empty() && ((conditionFlag && isComparedAt(record, following, text, end)) ||
                              isArgumentAt(text, i, end))) {
            found.insert(name);
        }
        i = end;
    }
    return found;
}

void addReaders(NOD_Record &record, const Names &lost, const NOD_MergeJudge &judge,
                std::vector<NOD_Record *> &readers)
{
    const NOD_Record::Parts &parts = record.getParts();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const NOD_Record *const following = i + 1 < parts.size() ? parts[i + 1].get() : nullptr;
        if (!namesIn(*parts[i], following, lost).empty() && !judge.hasPlace(*parts[i])) {
            readers.push_back(parts[i].get());
        }
        addReaders(*parts[i], lost, judge, readers);
    }
}

const NOD_Record *followingOf(const NOD_Record &record)
{
    const NOD_Record::Parts &parts = record.getParent()->getParts();
    const auto at = std::find_if(parts.begin(), parts.end(),
                                 [&](const auto &part) { return part.get() == &record; });
    return at == parts.end() || at + 1 == parts.end() ? nullptr : at[1].get();
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
        const Names used = namesIn(record, followingOf(record), lost);
        const Names &all = names[std::size_t(side)];
        return std::any_of(used.begin(), used.end(),
                           [&](const std::string &name) { return all.count(name) != 0; });
    });
}
