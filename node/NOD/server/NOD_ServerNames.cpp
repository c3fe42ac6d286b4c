#include <NOD/server/NOD_ServerNamesPrivate.h>

#include <NOD/server/NOD_ServerSourcePrivate.h>
#include <TRK/TRK_NodePaths.h>

#include <algorithm>
#include <cctype>

namespace
{

bool isWordByte(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

bool isName(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return isWordByte(c) || c == '#' || c == ':' || c == '.' || c == '-';
    });
}

/// A name with `#` in the place of each number.
std::string shapeOf(std::string_view name)
{
    std::string shape;
    bool numberFlag = false;
    for (const char c : name) {
        const bool digitFlag = std::isdigit(static_cast<unsigned char>(c)) || c == '#';
        if (!digitFlag || !numberFlag) {
            shape += digitFlag ? '#' : c;
        }
        numberFlag = digitFlag;
    }
    return shape;
}

/// Whether what stands before a parenthesis is a function that refers to a parameter, and not one of another node.
bool refersToOwnParm(std::string_view before)
{
    const std::size_t end = before.find_last_not_of(' ') + 1;
    std::size_t begin = end;
    while (begin > 0 && isWordByte(before[begin - 1])) {
        --begin;
    }
    const std::string_view owner = before.substr(0, begin);
    constexpr std::string_view theModule = "vmr.";
    const bool moduleFlag = owner.size() >= theModule.size() &&
                            owner.substr(owner.size() - theModule.size()) == theModule;
    return (owner.empty() || owner.back() != '.' || moduleFlag) &&
           TRK_NodePaths::refersToParm(before.substr(begin, end - begin));
}

} // namespace

NOD_ServerNames::NOD_ServerNames(const NOD_ServerSource &source)
{
    for (int block = 1; block < int(source.getBlocks().size()); ++block) {
        const int token = source.findName(block);
        if (token < 0) {
            continue;
        }
        const std::string name(source.text(token));
        const int number = int(myParms.size());
        myParms.push_back({block, token, name});
        myNames.try_emplace(name, number);
        if (name.find('#') != std::string::npos) {
            myShapes.try_emplace(shapeOf(name), number);
        }
    }
    addUses(source);
}

void NOD_ServerNames::addUses(const NOD_ServerSource &source)
{
    for (const NOD_ServerSource::Statement &statement : source.getStatements()) {
        const bool conditionFlag =
            statement.word && statement.word->form == NOD_ScriptWord::CONDITION;
        const int end = statement.opens < 0 ? statement.end : statement.keyword;
        bool bracesFlag = false;
        for (int i = statement.keyword + 1; i < end; ++i) {
            if (!source.isCode(i)) {
                continue;
            }
            const std::string_view text = source.text(i);
            addCalls(text, source.textBegin(i));
            if (conditionFlag && !bracesFlag && source.raw(i) == "{") {
                const std::size_t begin = source.token(i).end;
                const std::size_t last = std::max(source.token(end - 1).end, begin);
                addCondition(source.getText().substr(begin, last - begin), begin);
                bracesFlag = true;
            } else if (conditionFlag && !bracesFlag) {
                addCondition(text, source.textBegin(i));
            }
        }
    }
    std::sort(myUses.begin(), myUses.end(),
              [](const Use &a, const Use &b) { return a.begin < b.begin; });
}

void NOD_ServerNames::addCondition(std::string_view text, std::size_t begin)
{
    NODreadServerCondition(text, [&](std::size_t from, std::size_t to) {
        const std::string_view name = text.substr(from, to - from);
        if (isName(name)) {
            myUses.push_back({begin + from, begin + to, std::string(name)});
        }
    });
}

/// Names in calls of functions that refer to parameters, in either language.
void NOD_ServerNames::addCalls(std::string_view raw, std::size_t begin)
{
    for (std::size_t at = raw.find('('); at != std::string_view::npos; at = raw.find('(', at + 1)) {
        if (!refersToOwnParm(raw.substr(0, at))) {
            continue;
        }
        std::size_t from = raw.find_first_not_of(" \\", at + 1);
        if (from == std::string_view::npos || (raw[from] != '"' && raw[from] != '\'')) {
            continue;
        }
        ++from;
        const std::size_t to = raw.find_first_of("\\\"'", from);
        if (to != std::string_view::npos && isName(raw.substr(from, to - from)) &&
            raw[from] != '.') {
            myUses.push_back({begin + from, begin + to, std::string(raw.substr(from, to - from))});
        }
    }
}

int NOD_ServerNames::findWhole(const std::string &name) const
{
    const auto found = myNames.find(name);
    if (found != myNames.end()) {
        return found->second;
    }
    const auto shaped = myShapes.find(shapeOf(name));
    return shaped == myShapes.end() ? -1 : shaped->second;
}

int NOD_ServerNames::find(const std::string &name) const
{
    constexpr std::string_view theComponents = "xyzwuvrgba123456789";
    const int whole = findWhole(name);
    const bool partFlag =
        whole < 0 && name.size() > 1 && theComponents.find(name.back()) != std::string_view::npos;
    return partFlag ? findWhole(name.substr(0, name.size() - 1)) : whole;
}
