#include <KIT/KIT_Write.h>

#include <KIT/KIT_Error.h>
#include <KIT/KIT_OByteStream.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <string>

template <class T>
static void writeNumber(std::ostream &stream, T value)
{
    char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    std::reverse(bytes, bytes + sizeof(T));
#endif
    stream.write(bytes, sizeof(T));
}

void KITwrite(std::ostream &stream, int16_t value)
{
    writeNumber(stream, value);
}

void KITwrite(std::ostream &stream, uint16_t value)
{
    writeNumber(stream, value);
}

void KITwrite(std::ostream &stream, int32_t value)
{
    writeNumber(stream, value);
}

void KITwrite(std::ostream &stream, uint32_t value)
{
    writeNumber(stream, value);
}

void KITwrite(std::ostream &stream, int64_t value)
{
    writeNumber(stream, value);
}

void KITwrite(std::ostream &stream, uint64_t value)
{
    writeNumber(stream, value);
}

void KITwrite(std::ostream &stream, float value)
{
    writeNumber(stream, value);
}

void KITwrite(std::ostream &stream, double value)
{
    writeNumber(stream, value);
}

void KITwrite(std::ostream &stream, const char *text)
{
    KITwriteText(stream, std::string_view(text ? text : ""));
}

void KITwriteText(std::ostream &stream, std::string_view text)
{
    const size_t length = std::min<size_t>(text.size(), UINT32_MAX);
    writeNumber(stream, static_cast<uint32_t>(length));
    if (length > 0) {
        stream.write(text.data(), static_cast<std::streamsize>(length));
    }
}

void KITwriteShortText(std::ostream &stream, std::string_view text)
{
    KIT_ByteBuffer *const bytes = KIT_OByteStream::findBytes(stream);
    if (!bytes || !bytes->isShort()) {
        KITwriteText(stream, text);
        return;
    }
    bytes->appendText(text);
    if (!bytes->isGood()) {
        stream.setstate(std::ios::failbit);
    }
}

bool KITcheckOutStream(std::ostream &stream, const char *label, const char *detail)
{
    if (stream.good()) {
        return true;
    }
    std::string text = label ? label : "";
    if (detail && *detail) {
        text += text.empty() ? "" : ": ";
        text += detail;
    }
    KITaddCommonError(KIT_COMMON_OUTPUT_FAILED, text.c_str());
    return false;
}
