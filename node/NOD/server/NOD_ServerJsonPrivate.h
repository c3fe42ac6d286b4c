/// \file NOD_ServerJsonPrivate.h
/// JSON as the protocol has it: errors, positions and ranges.
///
/// Threads:    as the standard library's containers.
/// Errors:     what isn't as the protocol says throws a NOD_ServerError, which becomes the answer.
#pragma once

#include <NOD/server/NOD_ServerTextPrivate.h>

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

using NOD_ServerJson = nlohmann::json;

/// Why a request can't be answered.
struct NOD_ServerError
{
    enum Code
    {
        PARSE_ERROR = -32700,
        INVALID_REQUEST = -32600,
        METHOD_NOT_FOUND = -32601,
        INVALID_PARAMS = -32602,
        NOT_INITIALIZED = -32002,
        REQUEST_FAILED = -32803,
        REQUEST_CANCELLED = -32800
    };

    Code code;
    std::string text;
};

/// Null if it isn't a JSON text, or is nested deeper than any message of the protocol.
NOD_ServerJson NODparseServerJson(std::string_view text, bool &goodFlag);
std::string NODserverJsonText(const NOD_ServerJson &json);

/// A member of an object, which must be there.
const NOD_ServerJson &NODserverMember(const NOD_ServerJson &object, const char *name);
std::string NODserverString(const NOD_ServerJson &object, const char *name);
/// The member at the end of a path of names; null if one isn't there.
const NOD_ServerJson *NODfindServerMember(const NOD_ServerJson &object,
                                          std::initializer_list<const char *> names);

/// The offset of a position.
std::size_t NODserverOffset(const NOD_ServerText &text, const NOD_ServerJson &position);
NOD_ServerJson NODserverRange(NOD_ServerTextWalk &text, std::size_t begin, std::size_t end);
NOD_ServerJson NODserverRange(const NOD_ServerText &text, std::size_t begin, std::size_t end);
NOD_ServerJson NODserverEdit(NOD_ServerTextWalk &text, std::size_t begin, std::size_t end,
                             const std::string &newText);
