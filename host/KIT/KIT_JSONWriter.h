/// \file KIT_JSONWriter.h
/// Writes JSON in its text form or its binary form (CBOR, RFC 8949).
///
/// Vocabulary: *document* = one value with all that is in it.
/// Units:      the binary form stores the numbers of entries first, so they must be right.
/// Ownership:  borrows what it writes to.
/// Threads:    one thread at a time.
/// Errors:     writing returns false, and nothing of the document is written, once the nesting
///             passes `KIT_AutoJSONParser::theMaxNesting` or memory is exhausted. Texts must be
///             UTF-8. The text form writes numbers that JSON cannot represent as null.
/// Cost:       a document is composed in memory and written in one piece when it is complete.
///
/// The text form is on one line, or with "json:prettyprint" one line for each entry. A writer to a
/// stream starts with that option on, one to a buffer with it off.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_Options.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string_view>

class KIT_WorkBuffer;

class KIT_API KIT_JSONWriter
{
public:
    static std::unique_ptr<KIT_JSONWriter> allocWriter(std::ostream &stream, bool binary);
    /// Appends to the buffer.
    static std::unique_ptr<KIT_JSONWriter> allocWriter(KIT_WorkBuffer &buffer, bool binary);
    virtual ~KIT_JSONWriter();
    KIT_JSONWriter(const KIT_JSONWriter &) = delete;
    KIT_JSONWriter &operator=(const KIT_JSONWriter &) = delete;

    const KIT_Options &getOptions() const { return myOptions; }
    void setOptions(const KIT_Options &options);

    bool writeNull();
    bool writeBool(bool value);
    bool writeInt(int64_t value);
    bool writeReal(double value);
    bool writeText(std::string_view text);
    bool beginArray(int64_t numEntries);
    bool endArray();
    /// Each entry is a key and a value.
    bool beginMap(int64_t numEntries);
    bool writeKey(std::string_view key);
    bool endMap();

protected:
    KIT_JSONWriter(std::ostream *stream, KIT_WorkBuffer *buffer);

    virtual void putNull(KIT_ByteBuffer &out) = 0;
    virtual void putBool(KIT_ByteBuffer &out, bool value) = 0;
    virtual void putInt(KIT_ByteBuffer &out, int64_t value) = 0;
    virtual void putReal(KIT_ByteBuffer &out, double value) = 0;
    virtual void putText(KIT_ByteBuffer &out, std::string_view text) = 0;
    virtual void putKey(KIT_ByteBuffer &out, std::string_view key) = 0;
    virtual void putBegin(KIT_ByteBuffer &out, bool map, int64_t numEntries) = 0;
    virtual void putEnd(KIT_ByteBuffer &out, bool map) = 0;

    int getDepth() const { return myDepth; }
    bool isPretty() const { return myPrettyFlag; }

private:
    bool begin(bool map, int64_t numEntries);
    bool end(bool map);
    /// Writes the document out when it is complete.
    bool finish();

    std::ostream *myStream;
    KIT_WorkBuffer *myBuffer;
    KIT_Options myOptions;
    KIT_ByteBuffer myBytes;
    int myDepth = 0;
    bool myPrettyFlag;
    bool myGoodFlag = true;
};
