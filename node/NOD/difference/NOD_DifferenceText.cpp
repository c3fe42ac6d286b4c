#include <NOD/NOD_DifferenceText.h>

#include <NOD/difference/NOD_BriefTextPrivate.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Difference.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <utility>

namespace
{

using Verb = NOD_Change::Verb;
using Kind = NOD_RecordKind;

constexpr std::size_t theLongest = 100; ///< bytes of what is added or removed, in a line
constexpr char theMarks[] = {'+', '-', '~', '>', '>'};

char markOf(const NOD_Change &change)
{
    return theMarks[int(change.verb)];
}

std::string shown(const NOD_Value &value)
{
    const auto *text = std::get_if<std::string>(&value);
    if (!text) {
        return NODvalueText(value);
    }
    KIT_WorkBuffer quoted;
    quoted.appendQuoted(*text);
    return std::string(quoted.view());
}

/// Texts that are values are in quotes, words aren't.
std::string shown(Kind kind, const NOD_Value &value)
{
    const bool quoteFlag = kind == Kind::VALUE || kind == Kind::EXPRESSION ||
                           kind == Kind::DEFAULT_TEXT || kind == Kind::VARIABLE ||
                           kind == Kind::PARM_LABEL || kind == Kind::TAG ||
                           kind == Kind::CONDITION || kind == Kind::PROPERTY ||
                           kind == Kind::DEFAULT_VALUE || kind == Kind::MENU_ENTRY;
    const auto *text = std::get_if<std::string>(&value);
    const bool curveFlag =
        kind == Kind::EXPRESSION && text && text->size() > 2 && text->find('(') == text->size() - 2;
    if (quoteFlag && !curveFlag) {
        return shown(value);
    }
    std::string words; // of whole scripts and the like, by a blank each
    for (const char c : NODvalueText(value)) {
        const bool blankFlag = BASisBlank(c);
        if (!blankFlag || (!words.empty() && words.back() != ' ')) {
            words += blankFlag ? ' ' : c;
        }
    }
    words.erase(words.find_last_not_of(' ') + 1);
    return words;
}

/// Texts of files may have any bytes.
std::string onOneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
    return text;
}

// ---------------------------------------------------------------------- //
// What was added or removed, in a line
// ---------------------------------------------------------------------- //

/// Components as a stream has them; "" without any.
std::string components(const NOD_Record &parm)
{
    std::map<int, std::string> all;
    for (const auto &part : parm.getParts()) {
        const int component = std::atoi(part->getName().c_str());
        if (part->getKind() == Kind::DRIVER) {
            all[component] = "[ " + NODvalueText(part->getValue()) + " ]";
        } else if (part->getKind() == Kind::VALUE && !parm.find(Kind::DRIVER, part->getName())) {
            all[component] = shown(Kind::VALUE, part->getValue());
        }
    }
    std::string text;
    for (const auto &[component, value] : all) {
        text += value + " ";
    }
    return text.empty() ? text : "( " + text + ")";
}

void appendBrief(const NOD_Record &record, std::string &text)
{
    const auto add = [&](const std::string &word) {
        text += text.empty() || word.empty() ? word : " " + word;
    };
    if (record.getKind() == Kind::PARM) {
        add(components(record));
    } else if (record.getKind() != Kind::STATEMENT) { // its keyword is its name
        add(shown(record.getKind(), record.getValue()));
    }
    for (const auto &part : record.getParts()) {
        if (text.size() > theLongest) {
            return;
        }
        switch (part->getKind()) {
        case Kind::ITEM: appendBrief(*part, text); break;
        case Kind::NODE:
        case Kind::PARM:
        case Kind::DECLARATION:
            if (record.getKind() != Kind::CONTENTS) {
                add(part->getName());
                appendBrief(*part, text);
            }
            break;
        case Kind::WORD:
        case Kind::ENTRY:
        case Kind::CONTENTS: appendBrief(*part, text); break;
        case Kind::KEY: add("key " + part->getName()); [[fallthrough]];
        case Kind::TYPE:
        case Kind::KEY_VALUE:
        case Kind::EXPRESSION:
        case Kind::WORDS:
            if (record.getKind() != Kind::PARM || part->getKind() == Kind::WORDS) {
                appendBrief(*part, text);
            }
            break;
        case Kind::PROPERTY:
            if (part->getName() == "label" || part->getName() == "type") {
                appendBrief(*part, text);
            }
            break;
        default: break;
        }
    }
}

std::string brief(const NOD_Record &record)
{
    std::string text;
    appendBrief(record, text);
    return NODcutText(std::move(text), theLongest);
}

// ---------------------------------------------------------------------- //
// Groups
// ---------------------------------------------------------------------- //

/// How many of the steps name the group: those of nodes, and what is looked for in the last one.
std::size_t groupLength(const NOD_RecordPath &path)
{
    const auto isOuter = [](const NOD_PathStep &step) {
        return step.kind == Kind::NODE || step.kind == Kind::CONTENTS || step.kind == Kind::PRESET;
    };
    const auto inner = std::find_if_not(path.begin(), path.end(), isOuter);
    return std::size_t(inner - path.begin()) + (inner == path.end() ? 0 : 1);
}

std::string groupOf(const NOD_Change &change)
{
    const NOD_RecordPath &path = change.getPath();
    const std::string name =
        NODpathText(NOD_RecordPath(path.begin(), path.begin() + std::ptrdiff_t(groupLength(path))));
    return name.empty() ? "/" : name; // the root's own contents
}

/// Whether the component is its parameter's only one.
bool isOnly(const NOD_RecordPath &path, const NOD_Record *top)
{
    if (!top || path.back().name != "0") {
        return false;
    }
    NOD_RecordPath parent = path;
    parent.pop_back();
    const NOD_Record *const parm = NODfindRecord(const_cast<NOD_Record &>(*top), parent);
    return parm && !parm->find(Kind::VALUE, "1") && !parm->find(Kind::DRIVER, "1");
}

std::string placeIn(const NOD_RecordPath &path, const NOD_Record *top)
{
    NOD_RecordPath rest(path.begin() + std::ptrdiff_t(groupLength(path)), path.end());
    std::string text = NODpathText(rest);
    if (!path.empty() && path.back().kind == Kind::VALUE) {
        text += (text.empty() ? "" : " ") +
                (isOnly(path, top) ? std::string("value") : "[" + path.back().name + "]");
    }
    return text;
}

std::string textOf(const NOD_Change &change, const NOD_Record *top)
{
    const Kind kind = change.getKind();
    std::string text = "  " + std::string(1, markOf(change));
    const std::string place = placeIn(change.getPath(), top);
    text += place.empty() ? "" : " " + place;
    switch (change.verb) {
    case Verb::CHANGED:
        return text + (place.empty() ? " " : ": ") + shown(kind, change.oldValue) + " -> " +
               shown(kind, change.newValue);
    case Verb::RENAMED: return text + " renamed, was " + NODpathText(change.oldPath);
    case Verb::MOVED: {
        const bool hereFlag = change.oldPath == change.newPath;
        const std::string after = !change.newAfter           ? ""
                                  : change.newAfter->empty() ? " to the front"
                                                             : " after " + *change.newAfter;
        return text + " moved" + after + (hereFlag ? "" : ", was " + NODpathText(change.oldPath));
    }
    default: {
        const std::string what = brief(*change.record);
        const std::string alone = change.verb == Verb::ADDED ? " added" : " removed";
        return text + (what.empty() ? (place.empty() ? alone : "") : " " + what);
    }
    }
}

} // namespace

std::vector<NOD_DifferenceLine> NODdifferenceLines(const NOD_Difference &difference,
                                                   const NOD_Record *top)
{
    std::vector<NOD_DifferenceLine> lines;
    std::vector<std::string> order;
    std::map<std::string, std::vector<NOD_DifferenceLine>> groups;
    for (const NOD_Change &change : difference.getChanges()) {
        std::vector<NOD_DifferenceLine> &group = groups[groupOf(change)];
        if (group.empty()) {
            order.push_back(groupOf(change));
        }
        group.push_back({markOf(change), onOneLine(textOf(change, top))});
    }
    for (const std::string &name : order) {
        lines.push_back({' ', onOneLine(name)});
        for (NOD_DifferenceLine &line : groups[name]) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

std::vector<NOD_DifferenceLine> NODdifferenceStat(const NOD_Difference &difference)
{
    constexpr const char *theWords[] = {"added", "removed", "changed", "renamed", "moved"};
    using Counts = std::array<int, std::size(theWords)>;
    std::vector<std::string> order;
    std::map<std::string, Counts> groups;
    Counts all = {};
    for (const NOD_Change &change : difference.getChanges()) {
        const std::size_t which = std::size_t(change.verb);
        const auto [group, newFlag] = groups.try_emplace(groupOf(change), Counts{});
        ++group->second[which];
        ++all[which];
        if (newFlag) {
            order.push_back(group->first);
        }
    }
    const auto textOfCounts = [&](const Counts &counts) {
        std::string text;
        for (std::size_t i = 0; i < counts.size(); ++i) {
            text += counts[i] == 0 ? ""
                                   : (text.empty() ? "" : ", ") + std::to_string(counts[i]) + " " +
                                         theWords[i];
        }
        return text;
    };
    std::vector<NOD_DifferenceLine> lines;
    for (const std::string &name : order) {
        lines.push_back({' ', onOneLine(name) + ": " + textOfCounts(groups[name])});
    }
    const std::size_t count = difference.getChanges().size();
    lines.push_back({' ', std::to_string(count) + (count == 1 ? " edit" : " edits") +
                              (count == 0 ? "" : ": " + textOfCounts(all))});
    return lines;
}
