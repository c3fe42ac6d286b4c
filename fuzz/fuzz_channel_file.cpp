// Fuzzes the text form of channels: load anything; what was kept must save, load and save to the
// same bytes.

#include "FuzzMemory.h"

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <TRK/TRK_Collection.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const FuzzMemory oracle(size);
    KIT_ErrorManager::Scope scope(1);
    TRK_Collection first;
    KIT_IStream stream(reinterpret_cast<const char *>(data), size, KIT_IStream::TEXT);
    const bool goodFlag = first.load(stream);
    if (goodFlag == (scope.getManager().entries() > 0)) {
        std::abort(); // a message if and only if it failed
    }
    std::ostringstream written;
    first.save(written);
    const std::string text = written.str();

    TRK_Collection second;
    KIT_IStream again(text.data(), text.size(), KIT_IStream::TEXT);
    std::ostringstream rewritten;
    if (!second.load(again) || !second.save(rewritten) || rewritten.str() != text) {
        std::abort();
    }
    for (int i = 0; i < first.entries(); ++i) {
        first.evaluate(first.getChannel(i), 0.75, false, 1);
    }
    return 0;
}
