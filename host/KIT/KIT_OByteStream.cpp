#include <KIT/KIT_OByteStream.h>

#include <algorithm>
#include <typeinfo>

KIT_OByteStream::KIT_OByteStream(KIT_ByteBuffer &bytes) : std::ostream(nullptr), mySink(bytes)
{
    rdbuf(&mySink);
}

KIT_OByteStream::~KIT_OByteStream() = default;

KIT_ByteBuffer *KIT_OByteStream::findBytes(std::ostream &stream)
{
    std::streambuf *buffer = stream.good() ? stream.rdbuf() : nullptr;
    return buffer && typeid(*buffer) == typeid(Sink) ? static_cast<Sink *>(buffer)->bytesAtEnd()
                                                     : nullptr;
}

KIT_OByteStream::Sink::int_type KIT_OByteStream::Sink::overflow(int_type c)
{
    if (traits_type::eq_int_type(c, traits_type::eof())) {
        return traits_type::not_eof(c);
    }
    const char byte = traits_type::to_char_type(c);
    return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
}

std::streamsize KIT_OByteStream::Sink::xsputn(const char *bytes, std::streamsize count)
{
    std::string_view left(bytes, static_cast<size_t>(count));
    if (myPosition >= 0) {
        const size_t at = static_cast<size_t>(myPosition);
        const size_t inside = std::min(left.size(), myBytes.size() - std::min(at, myBytes.size()));
        myBytes.overwrite(at, left.substr(0, inside));
        left.remove_prefix(inside);
        myPosition = at + inside < myBytes.size() ? static_cast<off_type>(at + inside) : -1;
    }
    myBytes.append(left);
    return myBytes.isGood() ? count : 0;
}

KIT_OByteStream::Sink::pos_type
KIT_OByteStream::Sink::seekoff(off_type offset, std::ios::seekdir way, std::ios::openmode)
{
    const off_type size = static_cast<off_type>(myBytes.size());
    const off_type present = myPosition < 0 ? size : std::min(myPosition, size);
    const off_type base = way == std::ios::beg ? 0 : way == std::ios::cur ? present : size;
    const off_type target = base + offset;
    if (target < 0 || target > size) {
        return pos_type(off_type(-1));
    }
    myPosition = target < size ? target : -1;
    return pos_type(target);
}

KIT_OByteStream::Sink::pos_type KIT_OByteStream::Sink::seekpos(pos_type position,
                                                               std::ios::openmode mode)
{
    return seekoff(off_type(position), std::ios::beg, mode);
}
