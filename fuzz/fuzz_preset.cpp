// An index file with presets in it. What is whole of the file is written and read back to the same
// sections; every section, and the bytes as they are, are loaded as a preset, with an owner and
// without. What loads is saved and loads again.

#include "FuzzMemory.h"

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <STO/STO_IndexFile.h>
#include <STO/STO_Reader.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>
#include <common/TestOwner.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace
{

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

struct Owner : TestOwner
{
    bool loadPresetSection(const char *, KIT_IStream &) override { return true; }
};

bool load(ZEL_PresetInfo &presets, ZEL_ParmList &list, const std::string &text)
{
    KIT_IStream is(text.data(), text.size(), KIT_IStream::BINARY);
    const bool loaded = presets.loadPreset(&list, is);
    require(is.isBinary());
    KITgetErrorManager().clearAndDestroyErrors();
    return loaded;
}

void loadBothWays(const std::string &text)
{
    ZEL_PresetInfo presets("T", "op");
    ZEL_Name translate("t", "Translate"), note("text", "Text");
    ZEL_Template templates[] = {ZEL_Template(ZEL_XYZ, 3, &translate),
                                ZEL_Template(ZEL_STRING, 1, &note), ZEL_Template()};
    TRK_Collection channels, others;
    ZEL_ParmList list(templates, &channels, nullptr, nullptr, "", false);
    if (load(presets, list, text)) {
        std::ostringstream os;
        require(presets.savePreset(&list, os));
        require(load(presets, list, os.str()));
    }
    Owner owner;
    ZEL_ParmList owned(templates, &others, &owner, nullptr, "", false);
    load(presets, owned, text);
}

void checkPaths(const STO_IndexFile &index, std::int64_t i)
{
    const KIT_String &name = index.getSectionName(i);
    KIT_String file, section;
    const KIT_String path = STO_Reader::combineIndexFileSectionPath("d/f?x/y", name);
    require(STO_Reader::splitIndexFileSectionPath(path, file, section));
    require(file == "d/f?x/y" && section == name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    const std::string text(reinterpret_cast<const char *>(data), size);
    STO_IndexFile index;
    const bool whole = index.read(text, "fuzz");
    require(whole == (KITgetErrorManager().entries() == 0));
    KITgetErrorManager().clearAndDestroyErrors();
    std::ostringstream os;
    index.write(os);
    STO_IndexFile again;
    require(again.read(os.str(), "again"));
    require(again.getNumSections() == index.getNumSections());
    constexpr std::int64_t enough = 4;
    for (std::int64_t i = 0; i < index.getNumSections(); ++i) {
        require(again.getSectionName(i) == index.getSectionName(i));
        require(again.getSectionText(i) == index.getSectionText(i));
        checkPaths(index, i);
        if (i < enough) {
            loadBothWays(index.getSectionText(i));
        }
    }
    loadBothWays(text);
    return 0;
}
