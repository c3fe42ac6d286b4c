#include <NOD/NOD_Change.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

// Stored.
constexpr const char *theVerbs[] = {"added", "removed", "changed", "renamed", "moved"};

/// What a person knows without being told.
bool isSilent(NOD_RecordKind kind)
{
    return kind == NOD_RecordKind::CONTENTS || kind == NOD_RecordKind::VALUE ||
           kind == NOD_RecordKind::WORDS || kind == NOD_RecordKind::WORD;
}

bool isKnownByName(NOD_RecordKind kind)
{
    return kind == NOD_RecordKind::PARM || kind == NOD_RecordKind::DECLARATION ||
           kind == NOD_RecordKind::PROPERTY || kind == NOD_RecordKind::STATEMENT;
}

} // namespace

NOD_RecordPath NODpathOf(const NOD_Record &record)
{
    NOD_RecordPath path;
    for (const NOD_Record *at = &record; at->getParent(); at = at->getParent()) {
        const bool itemFlag = at->getKind() == NOD_RecordKind::ITEM;
        path.push_back({at->getKind(), at->getName(), itemFlag ? at->getItem() : 0});
    }
    std::reverse(path.begin(), path.end());
    return path;
}

NOD_Record *NODfindRecord(NOD_Record &top, const NOD_RecordPath &path)
{
    NOD_Record *at = &top;
    for (const NOD_PathStep &step : path) {
        at = step.kind == NOD_RecordKind::ITEM ? const_cast<NOD_Record *>(at->findItem(step.item))
                                               : at->find(step.kind, step.name);
        if (!at) {
            break;
        }
    }
    return at;
}

std::string NODpathText(const NOD_RecordPath &path)
{
    std::string nodes;
    std::string rest;
    for (const NOD_PathStep &step : path) {
        if (step.kind == NOD_RecordKind::NODE) {
            nodes += "/" + (step.name == "/" ? "" : step.name);
        } else if (step.kind == NOD_RecordKind::ITEM) {
            rest += "[" + std::to_string(step.item) + "]";
        } else if (isKnownByName(step.kind)) {
            rest += (rest.empty() ? "" : " ") + step.name;
        } else if (!isSilent(step.kind)) {
            rest += (rest.empty() ? "" : " ") + std::string(NODtraitsOf(step.kind).people);
            rest += step.name.empty() ? "" : " " + step.name;
        }
    }
    return nodes + (nodes.empty() || rest.empty() ? "" : ": ") + rest;
}

NOD_Change NOD_Change::inverse() const
{
    NOD_Change back = *this;
    std::swap(back.oldPath, back.newPath);
    std::swap(back.oldValue, back.newValue);
    std::swap(back.oldAfter, back.newAfter);
    back.verb = verb == Verb::ADDED ? Verb::REMOVED : verb == Verb::REMOVED ? Verb::ADDED : verb;
    return back;
}

const char *NOD_Change::getVerbName(Verb verb)
{
    return theVerbs[std::size_t(verb)];
}

bool NOD_Change::findVerb(std::string_view word, Verb &verb)
{
    const auto found = std::find(std::begin(theVerbs), std::end(theVerbs), word);
    verb = found == std::end(theVerbs) ? verb : Verb(found - std::begin(theVerbs));
    return found != std::end(theVerbs);
}
