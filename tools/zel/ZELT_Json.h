/// \file ZELT_Json.h
/// JSON as the tool prints it: keys in the order in which they were added, a line for each element.
///
/// Errors:     bytes that are no UTF-8 are printed as U+FFFD; numbers that JSON lacks (infinities,
///             not a number) as null.
#pragma once

#include <nlohmann/json.hpp>

#include <iostream>
#include <string>

using ZELT_Json = nlohmann::ordered_json;

inline std::string ZELTjsonText(const ZELT_Json &json)
{
    constexpr int oneLine = -1;
    return json.dump(oneLine, ' ', false, ZELT_Json::error_handler_t::replace);
}

/// The document of a command: arrays with one element a line, objects with one key a line.
inline std::string ZELTjsonDocument(const ZELT_Json &json, const std::string &indent = "")
{
    if (!json.is_structured() || json.empty()) {
        return ZELTjsonText(json);
    }
    std::string out;
    for (const auto &[key, value] : json.items()) {
        out += out.empty() ? "\n" : ",\n";
        out += indent + "  ";
        out += json.is_object() ? ZELTjsonText(key) + ": " + ZELTjsonDocument(value, indent + "  ")
                                : ZELTjsonText(value);
    }
    return (json.is_object() ? "{" : "[") + out + "\n" + indent + (json.is_object() ? "}" : "]");
}

/// The one document of a command, on standard output.
inline void ZELTprintJson(const ZELT_Json &json)
{
    std::cout << ZELTjsonDocument(json) << '\n';
}
