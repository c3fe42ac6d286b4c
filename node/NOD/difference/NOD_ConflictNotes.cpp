#include <NOD/NOD_ConflictNotes.h>

#include <NOD/NOD_FileLoss.h>
#include <NOD/difference/NOD_BlockNamesPrivate.h>
#include <NOD/difference/NOD_EntryRecordsPrivate.h>
#include <NOD/difference/NOD_StatementRecordsPrivate.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <vector>

namespace
{

using Kind = NOD_RecordKind;

constexpr const char *theBlanks = " \t";

/// The token of the entry that the path is in; "" if it is in none.
std::string tokenOf(const NOD_Record &top, const NOD_RecordPath &path)
{
    std::string token;
    std::vector<int> numbers;
    NOD_RecordPath at;
    for (const NOD_PathStep &step : path) {
        if (step.kind == Kind::ITEM) {
            const NOD_Record *const block = NODfindRecord(const_cast<NOD_Record &>(top), at);
            numbers.push_back((block ? NODfirstNumber(*block) : theUsualStart) + step.item);
        } else if (step.kind == Kind::PARM) {
            token = NOD_BlockNames::nameOf(step.name, numbers);
        }
        at.push_back(step);
    }
    return token;
}

/// On one line.
std::string noteOf(const NOD_Conflict &conflict)
{
    std::string text = theNODConflictMark + conflict.asText();
    std::replace_if(
        text.begin(), text.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, ' ');
    return text;
}

/// The innermost declaration that the path leads to, or the script.
NOD_Record &declarationOf(NOD_Record &top, const NOD_RecordPath &path)
{
    NOD_Record *at = &top;
    for (const NOD_PathStep &step : path) {
        NOD_Record *const next =
            step.kind == Kind::DECLARATION ? at->find(step.kind, step.name) : nullptr;
        if (!next) {
            break;
        }
        at = next;
    }
    return *at;
}

std::string firstWord(const std::string &line)
{
    const std::size_t first = line.find_first_not_of(theBlanks);
    return first == std::string::npos
               ? std::string()
               : line.substr(first, line.find_first_of(theBlanks, first) - first);
}

} // namespace

std::string NODaddConflictNotes(const std::string &text, const NOD_Record &top,
                                const NOD_Merge::Conflicts &conflicts)
{
    std::map<std::string, std::string> notes; // by token
    for (const NOD_Conflict &conflict : conflicts) {
        notes[tokenOf(top, conflict.path)] += "# " + noteOf(conflict) + "\n";
    }
    std::vector<std::string> lines;
    std::istringstream is(text);
    for (std::string line; std::getline(is, line);) {
        lines.push_back(line);
    }
    for (const auto &row : std::map<std::string, std::string>(notes)) {
        const std::string &token = row.first;
        const auto isIt = [&](const std::string &line) { return firstWord(line) == token; };
        if (!token.empty() && std::none_of(lines.begin(), lines.end(), isIt)) {
            notes[""] += row.second;
            notes.erase(token);
        }
    }
    std::string all;
    for (const std::string &line : lines) {
        const auto note = notes.find(firstWord(line));
        if (note != notes.end() && !note->first.empty()) {
            all += note->second;
            notes.erase(note);
        }
        all += line + "\n";
        if (firstWord(line) == "version" && notes.count("") != 0) {
            all += notes[""];
            notes.erase("");
        }
    }
    return all;
}

std::string NODnotedScript(const NOD_Record &top, const NOD_Merge::Conflicts &conflicts)
{
    const std::unique_ptr<NOD_Record> noted = top.copy();
    const std::string text = NODstatementText(top);
    const std::size_t feed = text.find('\n');
    const bool dosFlag = feed != std::string::npos && feed > 0 && text[feed - 1] == '\r';
    for (const NOD_Conflict &conflict : conflicts) {
        NODaddNote(declarationOf(*noted, conflict.path), noteOf(conflict), dosFlag ? "\r\n" : "\n");
    }
    return NODstatementText(*noted);
}
