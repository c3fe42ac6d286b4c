/// \file KIT_Write.h
/// Binary output: numbers as little endian bytes, strings preceded by their length.
///
/// Threads:    one thread at a time for each stream.
/// Errors:     a failed write leaves the stream's own fail state set; KITcheckOutStream() turns
///             that into a message.

#pragma once

#include <BAS/BAS_API.h>

#include <cstdint>
#include <iosfwd>
#include <string_view>

KIT_API void KITwrite(std::ostream &stream, int16_t value);
KIT_API void KITwrite(std::ostream &stream, uint16_t value);
KIT_API void KITwrite(std::ostream &stream, int32_t value);
KIT_API void KITwrite(std::ostream &stream, uint32_t value);
KIT_API void KITwrite(std::ostream &stream, int64_t value);
KIT_API void KITwrite(std::ostream &stream, uint64_t value);
KIT_API void KITwrite(std::ostream &stream, float value);
KIT_API void KITwrite(std::ostream &stream, double value);
/// A length and the bytes, as KIT_IStream::readWorkBuffer(text, true) reads them. Null is written as
/// "".
KIT_API void KITwrite(std::ostream &stream, const char *text);
/// The same for a text that may have bytes of zero.
KIT_API void KITwriteText(std::ostream &stream, std::string_view text);
/// The same in a packet of KIT_Packet::beginWriteShort(), in its form.
KIT_API void KITwriteShortText(std::ostream &stream, std::string_view text);
/// A boolean has no binary form of its own: write the number that is meant.
void KITwrite(std::ostream &stream, bool value) = delete;

/// True for a stream in good state. For a failed one it adds a common error (severity 4) with the
/// label, and with the detail unless that is null, to the thread's error manager.
KIT_API bool KITcheckOutStream(std::ostream &stream, const char *label, const char *detail);
