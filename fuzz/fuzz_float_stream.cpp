// The body of a float, text or binary by the first byte: loads or fails, and what it loaded saves and
// loads again to the same bytes.

#include "FuzzMemory.h"

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace
{

bool load(ZEL_Instance &instance, const std::string &data, bool binary)
{
    KIT_IStream is(data.data(), data.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    return instance.load(is);
}

std::string saved(const ZEL_Instance &instance, bool binary)
{
    std::stringstream os;
    instance.save(os, binary ? 1 : 0, false);
    return os.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    if (size == 0) {
        return 0;
    }
    const bool binary = data[0] & 1;
    ZEL_Name name("t", "Translate");
    ZEL_Template templates[] = {ZEL_Template(ZEL_XYZ, 3, &name), ZEL_Template()};
    TRK_Collection channels;
    ZEL_ParmList list(templates, &channels, nullptr, nullptr, "", false);
    ZEL_Instance &instance = *list.getParmPtr(0)->getInstance();
    instance.setExpression(0.0, "$F", TRK_LANGUAGE_NATIVE, 1, true, false);

    load(instance, std::string(reinterpret_cast<const char *>(data) + 1, size - 1), binary);
    KITgetErrorManager().clearAndDestroyErrors();
    const std::string first = saved(instance, binary);
    if (!load(instance, first, binary) || saved(instance, binary) != first) {
        std::abort();
    }
    KITgetErrorManager().clearAndDestroyErrors();
    return 0;
}
