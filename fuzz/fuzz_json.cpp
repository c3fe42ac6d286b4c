// JSON in either form: what was read is written in both forms and read again to the same, no
// malformed document gives a value, and none is nested too deep. Then the bytes as a data parameter's text
// and as the payload of its packets.

#include "FuzzMemory.h"

#include <KIT/KIT_AutoJSONParser.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_JSONValueMap.h>
#include <KIT/KIT_JSONWriter.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
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

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

bool parse(const std::string &bytes, KIT_JSONValue &value)
{
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
    KIT_AutoJSONParser parser(is);
    const bool goodFlag = value.parseValue(parser);
    require(is.eof());
    require(goodFlag || value.getType() == KIT_JSONValue::JSON_NULL);
    return goodFlag;
}

std::string written(const KIT_JSONValue &value, bool binary)
{
    KIT_WorkBuffer out;
    require(value.save(*KIT_JSONWriter::allocWriter(out, binary)));
    return std::string(out.view());
}

void checkDocument(const std::string &bytes)
{
    KIT_JSONValue value;
    if (!parse(bytes, value)) {
        return;
    }
    const std::string text = written(value, false);
    KIT_JSONValue again;
    require(parse(text, again) && written(again, false) == text);
    if (value.getArray() || value.getMap()) {
        const std::string binary = written(value, true);
        KIT_JSONValue third;
        require(parse(binary, third) && written(third, true) == binary);
        require(written(third, false) == text);
    }
}

void checkLoad(ZEL_Instance &instance, const std::string &bytes, bool binary)
{
    KIT_IStream is(bytes.data(), bytes.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    instance.load(is);
    std::ostringstream saved;
    require(instance.save(saved, binary, false));
    const std::string first = saved.str();
    KIT_IStream back(first.data(), first.size(), binary ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    KITgetErrorManager().clearAndDestroyErrors();
    require(instance.load(back));
    std::ostringstream again;
    require(instance.save(again, binary, false) && again.str() == first);
    KITgetErrorManager().clearAndDestroyErrors();
}

std::string packets(const std::string &payload)
{
    const int classId = KITgetClassPacketID("ZEL_Data");
    std::ostringstream os;
    KIT_Packet packet;
    packet.beginWrite(os, classId, 1);
    KITwrite(os, "key_value_dict");
    packet.endWrite();
    packet.beginWrite(os, classId, 2);
    os << payload;
    packet.endWrite();
    return os.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    checkDocument(bytes);

    static ZEL_Name name("p", "P");
    static ZEL_Template templates[] = {ZEL_Template(ZEL_KEY_VALUE_DICT, 2, &name), ZEL_Template()};
    TRK_Collection channels;
    ZEL_ParmList list(templates, &channels, nullptr, nullptr, "", false);
    ZEL_Instance &instance = *list.getParmPtr(0)->getInstance();
    checkLoad(instance, bytes, false);
    checkLoad(instance, bytes, true);
    checkLoad(instance, packets(bytes), true);
    return 0;
}
