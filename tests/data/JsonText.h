/// \file JsonText.h
/// JSON documents as text and as bytes in hexadecimal digits.
#pragma once

#include <KIT/KIT_AutoJSONParser.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_JSONValueMap.h>
#include <KIT/KIT_JSONWriter.h>
#include <KIT/KIT_WorkBuffer.h>
#include <common/Repeated.h>

#include <cstdio>
#include <string>

inline std::string toHex(const std::string &bytes)
{
    std::string digits;
    for (const char byte : bytes) {
        char pair[3];
        std::snprintf(pair, sizeof(pair), "%02x", unsigned(static_cast<unsigned char>(byte)));
        digits += pair;
    }
    return digits;
}

inline std::string fromHex(const std::string &digits)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += char(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

inline bool parseJson(const std::string &bytes, KIT_JSONValue &value)
{
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
    KIT_AutoJSONParser parser(is);
    return value.parseValue(parser) && is.eof();
}

/// One line of text, or the bytes; "failed" when the writer says so.
inline std::string writtenJson(const KIT_JSONValue &value, bool binary = false)
{
    KIT_WorkBuffer out;
    const bool good = value.save(*KIT_JSONWriter::allocWriter(out, binary));
    return good ? std::string(out.view()) : "failed";
}

/// What reading and writing gives; "refused" for a malformed document.
inline std::string rewrittenJson(const std::string &bytes, bool binary = false)
{
    KIT_JSONValue value(7);
    if (parseJson(bytes, value)) {
        return writtenJson(value, binary);
    }
    return value.getType() == KIT_JSONValue::JSON_NULL ? "refused" : "refused, with a value";
}
