#include <NOD/server/NOD_ServerJsonPrivate.h>

namespace
{

NOD_ServerJson asJson(NOD_ServerPosition position)
{
    return {{"line", position.line}, {"character", position.unit}};
}

long readNumber(const NOD_ServerJson &object, const char *name)
{
    const NOD_ServerJson &member = NODserverMember(object, name);
    if (!member.is_number_integer() || member < 0 || member > 0x7fffffff) {
        throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS,
                              std::string(name) + " is no number of the protocol"};
    }
    return member.get<long>();
}

} // namespace

NOD_ServerJson NODparseServerJson(std::string_view text, bool &goodFlag)
{
    constexpr int theDepth = 64;
    bool deepFlag = false;
    const auto keep = [&deepFlag](int depth, NOD_ServerJson::parse_event_t, NOD_ServerJson &) {
        deepFlag = deepFlag || depth > theDepth;
        return depth <= theDepth;
    };
    constexpr bool theThrows = false;
    NOD_ServerJson json = NOD_ServerJson::parse(text.begin(), text.end(), keep, theThrows);
    goodFlag = !json.is_discarded() && !deepFlag;
    return goodFlag ? json : NOD_ServerJson();
}

std::string NODserverJsonText(const NOD_ServerJson &json)
{
    constexpr int theOneLine = -1;
    return json.dump(theOneLine, ' ', false, NOD_ServerJson::error_handler_t::replace);
}

const NOD_ServerJson &NODserverMember(const NOD_ServerJson &object, const char *name)
{
    const NOD_ServerJson *const found = NODfindServerMember(object, {name});
    if (!found) {
        throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS, std::string(name) + " is missing"};
    }
    return *found;
}

std::string NODserverString(const NOD_ServerJson &object, const char *name)
{
    const NOD_ServerJson &member = NODserverMember(object, name);
    if (!member.is_string()) {
        throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS, std::string(name) + " is no text"};
    }
    return member.get<std::string>();
}

const NOD_ServerJson *NODfindServerMember(const NOD_ServerJson &object,
                                          std::initializer_list<const char *> names)
{
    const NOD_ServerJson *at = &object;
    for (const char *const name : names) {
        if (!at->is_object()) {
            return nullptr;
        }
        const auto found = at->find(name);
        if (found == at->end()) {
            return nullptr;
        }
        at = &*found;
    }
    return at;
}

std::size_t NODserverOffset(const NOD_ServerText &text, const NOD_ServerJson &position)
{
    const NOD_ServerPosition at = {readNumber(position, "line"), readNumber(position, "character")};
    const std::optional<std::size_t> offset = text.findOffset(at);
    if (!offset) {
        throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS,
                              "line " + std::to_string(at.line) +
                                  " isn't in the document, which has " +
                                  std::to_string(text.getLineCount())};
    }
    return *offset;
}

NOD_ServerJson NODserverRange(NOD_ServerTextWalk &text, std::size_t begin, std::size_t end)
{
    const NOD_ServerPosition from = text.find(begin);
    return {{"start", asJson(from)}, {"end", asJson(text.find(end))}};
}

NOD_ServerJson NODserverRange(const NOD_ServerText &text, std::size_t begin, std::size_t end)
{
    NOD_ServerTextWalk walk(text);
    return NODserverRange(walk, begin, end);
}

NOD_ServerJson NODserverEdit(NOD_ServerTextWalk &text, std::size_t begin, std::size_t end,
                             const std::string &newText)
{
    return {{"range", NODserverRange(text, begin, end)}, {"newText", newText}};
}
