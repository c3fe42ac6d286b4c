/// \file KIT_OByteStream.h
/// An output stream into a KIT_ByteBuffer: what is composed in memory can be handed to operations
/// that know streams only.
///
/// Units:      positions in bytes from the start of the buffer; seeking works, so that a KIT_Packet
///             can be written to it.
/// Ownership:  borrows the buffer, which must outlive the stream. The buffer may be appended to, and
///             cleared, between writes.
/// Threads:    one thread at a time.
/// Errors:     a write for which there is no memory sets the stream's fail state.
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

    /// The buffer behind any stream, when it is one of this class that stands at its end: what is
    /// composed for such a stream can go there directly. Else null.
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

/// Composes into the stream's own buffer, or into one of its own that is then written: `compose` is
/// called once with a KIT_ByteBuffer.
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
