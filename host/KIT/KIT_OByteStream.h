/// \file KIT_OByteStream.h
/// An output stream into a KIT_ByteBuffer, for operations that only write to streams.
///
/// Units:      positions in bytes from the start of the buffer; seeking works, so that a KIT_Packet
///             can be written to it.
/// Ownership:  borrows the buffer, which must outlive the stream. The buffer may be appended to,
///             and cleared, between writes.
/// Threads:    one thread at a time.
/// Errors:     a write without enough memory sets the stream's fail state.
/// Cost:       a write is one virtual call and a copy.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_ByteBuffer.h>

#include <ostream>
#include <streambuf>

class KIT_API KIT_OByteStream : public std::ostream
{
public:
    explicit KIT_OByteStream(KIT_ByteBuffer &bytes);
    ~KIT_OByteStream() override;

    /// The buffer behind a stream of this class that is positioned at its end, so that text for the
    /// stream can be composed directly in it. Null for any other stream.
    static KIT_ByteBuffer *findBytes(std::ostream &stream);

private:
    class Sink final : public std::streambuf
    {
    public:
        explicit Sink(KIT_ByteBuffer &bytes) : myBytes(bytes) {}
        KIT_ByteBuffer *bytesAtEnd() { return myPosition < 0 ? &myBytes : nullptr; }

    protected:
        int_type overflow(int_type c) override;
        std::streamsize xsputn(const char *bytes, std::streamsize count) override;
        pos_type seekoff(off_type offset, std::ios::seekdir way, std::ios::openmode mode) override;
        pos_type seekpos(pos_type position, std::ios::openmode mode) override;

    private:
        KIT_ByteBuffer &myBytes;
        off_type myPosition = -1; // below 0: at the end
    };

    Sink mySink;
};

/// Composes into the stream's own buffer if it has one, else into a temporary one that is then
/// written: `compose` is called once with a KIT_ByteBuffer.
template <class Compose>
void KITcompose(std::ostream &stream, const Compose &compose)
{
    if (KIT_ByteBuffer *bytes = KIT_OByteStream::findBytes(stream)) {
        compose(*bytes);
        if (!bytes->isGood()) {
            stream.setstate(std::ios::failbit);
        }
        return;
    }
    KIT_ByteBuffer bytes;
    compose(bytes);
    bytes.writeTo(stream);
}
