/// \file KIT_AutoJSONParser.h
/// Reads one JSON document in its text form or its binary form (CBOR, RFC 8949), detecting which.
///
/// Vocabulary: *document* = one value with all that is in it.
/// Units:      the document is all that the stream has up to its limit.
/// Ownership:  borrows the stream.
/// Threads:    one thread at a time.
/// Errors:     a document that is malformed, nested deeper than `theMaxNesting`, or followed by
///             anything but white space, gives false and a null value; there is no message. The
///             stream is at its limit afterwards in any case. Without memory for it, std::bad_alloc.
/// Cost:       memory in proportion to the bytes that are there; a length that a binary document
///             only claims is never allocated.
///
/// A first byte of 0x80 to 0xBF means binary: an array or a map. Binary byte strings are refused,
/// tags are skipped. If a key is repeated, the last value counts.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_IStream.h>

class KIT_JSONValue;

class KIT_API KIT_AutoJSONParser
{
public:
    /// The most arrays and maps inside each other.
    static constexpr int theMaxNesting = 200;

    explicit KIT_AutoJSONParser(KIT_IStream &stream) : myStream(stream) {}
    KIT_AutoJSONParser(const KIT_AutoJSONParser &) = delete;
    KIT_AutoJSONParser &operator=(const KIT_AutoJSONParser &) = delete;

    /// Whether the document is in the binary form.
    bool isBinary() const;
    bool parse(KIT_JSONValue &value);
    /// Where the document that was parsed goes wrong, in bytes from its start; -1 if it doesn't.
    std::int64_t getFaultOffset() const { return myFaultOffset; }

private:
    KIT_IStream &myStream;
    std::int64_t myFaultOffset = -1;
};
