// The stream of a whole list with nested multi-parameters and a fallback list. Of the first byte, bit 0
// makes it binary, bit 1 gives the list an owner, bit 2 reads the bytes as an alias block first. The
// list loads or fails; what it then saves loads again, in text to the same bytes. As entries, a stream in either
// form has the same bytes when it is read again, also by way of the other one.

#include "FuzzLimits.h"
#include "FuzzMemory.h"

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmStream.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>
#include <common/TestOwner.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace
{

/// A value of each kind and two levels of items.
struct Lists
{
    explicit Lists(ZEL_ParmOwner *owner)
        : inner{ZEL_Template(ZEL_FLT, 1, &weight), ZEL_Template()},
          items{ZEL_Template(ZEL_XYZ, 3, &point),
                ZEL_Template(ZEL_MULTITYPE_LIST, inner, 0.0, &weights, &none), ZEL_Template()},
          templates{ZEL_Template(ZEL_XYZ, 3, &translate),
                    ZEL_Template(ZEL_INT, 1, &number),
                    ZEL_Template(ZEL_TOGGLE, 1, &toggle),
                    ZEL_Template(ZEL_STRING, 1, &text),
                    ZEL_Template(ZEL_LABEL, 1, &note),
                    ZEL_Template(ZEL_MULTITYPE_LIST, items, 0.0, &points, &none),
                    ZEL_Template()},
          fallbackTemplates{ZEL_Template(ZEL_FLT, 1, &old), ZEL_Template()},
          list(templates, &channels, owner, nullptr, "", false),
          fallback(fallbackTemplates, nullptr, nullptr, nullptr, "", false)
    {}

    bool load(const std::string &data, bool binary)
    {
        KIT_IStream is(data.data(), data.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
        return list.load(is, "fuzz", &fallback);
    }
    std::string save(bool binary) const
    {
        std::ostringstream os;
        list.save(os, binary, false);
        return os.str();
    }

    ZEL_Name translate{"t", "Translate"}, number{"n", "Number"}, toggle{"on", "On"},
        text{"text", "Text"}, note{"note", "Note"}, points{"points", "Points"},
        point{"pt#", "Point"}, weights{"weights#", "Weights"}, weight{"w#_#", "Weight"},
        old{"old", "Old"};
    ZEL_Default none{0.0};
    ZEL_Template inner[2], items[3], templates[7], fallbackTemplates[2];
    TRK_Collection channels;
    ZEL_ParmList list, fallback;
};

bool take(ZEL_ParmStream &stream, const std::string &data, bool binary,
          ZEL_ParmList *list = nullptr)
{
    KIT_IStream is(data.data(), data.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    return stream.read(is, "fuzz", list);
}

using Form = ZEL_ParmStream::Form;

/// "" for what the form can't hold.
std::string written(const ZEL_ParmStream &stream, Form form)
{
    std::ostringstream os;
    stream.write(os, form);
    return os.str();
}

void checkEntries(const std::string &data, bool binary, ZEL_ParmList *list)
{
    ZEL_ParmStream stream;
    if (!take(stream, data, binary, list)) {
        return;
    }
    for (const Form form : {Form::TEXT, Form::MARKED_TEXT, Form::BINARY}) {
        const std::string once = written(stream, form);
        ZEL_ParmStream back, other;
        if (!once.empty() &&
            (!take(back, once, form == Form::BINARY) || written(back, form) != once)) {
            std::abort();
        }
        const std::string packets =
            once.empty() || form == Form::BINARY ? "" : written(back, Form::BINARY);
        if (!packets.empty() && (!take(other, packets, true) || written(other, form) != once)) {
            std::abort();
        }
        if (form == Form::MARKED_TEXT && !list && !once.empty() &&
            packets != written(stream, Form::BINARY)) {
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    if (size == 0) {
        return 0;
    }
    setFuzzLimits(100, 16);
    const bool binary = data[0] & 1;
    const std::string bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    TestOwner owner;
    Lists lists(data[0] & 2 ? &owner : nullptr);
    if (data[0] & 4) {
        KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
        lists.list.loadChannelAliases(is, nullptr);
    }
    checkEntries(bytes, binary, nullptr);
    checkEntries(bytes, binary, &lists.list);
    lists.load(bytes, binary);
    KITgetErrorManager().clearAndDestroyErrors();

    const std::string first = lists.save(false);
    // A stream can link one channel twice; each load then gives it another name.
    const bool linked = lists.channels.entries() > 0;
    if (!lists.load(first, false) || (!linked && lists.save(false) != first)) {
        std::abort();
    }
    KITgetErrorManager().clearAndDestroyErrors();
    if (!lists.load(lists.save(true), true)) {
        std::abort();
    }
    KITgetErrorManager().clearAndDestroyErrors();
    std::ostringstream aliases;
    lists.list.saveChannelAliases(aliases, false);
    lists.list.saveSingle(lists.list.getParmPtr(0), aliases, binary);
    return 0;
}
