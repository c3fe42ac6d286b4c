/// \file KIT_AutoJSONParser.h
/// Reads one JSON document in its text form or its binary one (CBOR, RFC 8949), whichever is there.
///
/// Vocabulary: *document* = one value with all that is in it.
/// Units:      the document is all that the stream has up to its limit.
/// Ownership:  borrows the stream.
/// Threads:    one thread at a time.
/// Errors:     a document at fault, nested deeper than `theMaxNesting`, or with anything but white
///             space behind it, gives false and a null value; there is no message. The stream stands
///             at its limit in any case.
/// Cost:       memory in proportion to the bytes that are there; a length that a binary document only
///             claims is never allocated.
///
/// A first byte of 0x80 to 0xBF makes it binary: an array or a map. Binary byte strings are refused,
/// tags are skipped. Of a key that comes twice, the last value counts.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_IStream.h>

class KIT_JSONValue;

class KIT_API KIT_AutoJSONParser
{
public:
    /// Arrays and maps inside of each other.
    static constexpr int theMaxNesting = 200;

    explicit KIT_AutoJSONParser(KIT_IStream &stream) : myStream(stream) {}
    KIT_AutoJSONParser(const KIT_AutoJSONParser &) = delete;
    KIT_AutoJSONParser &operator=(const KIT_AutoJSONParser &) = delete;

    /// Whether the document is in the binary form.
    bool isBinary() const;
    bool parse(KIT_JSONValue &value);

private:
    KIT_IStream &myStream;
};
