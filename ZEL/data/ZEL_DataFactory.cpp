#include <ZEL/ZEL_DataFactory.h>

#include <KIT/KIT_IStream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_DataItem.h>
#include <ZEL/ZEL_Multi.h>

#include <ostream>
#include <string>
#include <unordered_map>

namespace
{

using Registry = std::unordered_map<std::string, ZEL_DataFactory *>;

/// Never destroyed: other libraries may look up their kinds while the process ends.
Registry &registry()
{
    static Registry *const theRegistry = new Registry;
    return *theRegistry;
}

ZEL_DataFactory *findFactory(const char *type)
{
    const auto at = registry().find(type ? type : "");
    return at == registry().end() ? nullptr : at->second;
}

} // namespace

ZEL_DataFactory::~ZEL_DataFactory() = default;

void ZEL_DataFactory::install(const char *type, ZEL_DataFactory *factory)
{
    if (type) {
        registry()[type] = factory;
    }
}

std::shared_ptr<const ZEL_DataItem> ZEL_DataFactory::parseAscii(const char *type,
                                                                KIT_IStream &stream)
{
    ZEL_DataFactory *factory = findFactory(type);
    const ZEL_Multi::KeepItems keep;
    return factory ? factory->parseAscii(stream) : nullptr;
}

std::shared_ptr<const ZEL_DataItem> ZEL_DataFactory::parseBinary(const char *type,
                                                                 KIT_IStream &stream)
{
    ZEL_DataFactory *factory = findFactory(type);
    const ZEL_Multi::KeepItems keep;
    return factory ? factory->parseBinary(stream) : nullptr;
}

bool ZEL_DataFactory::parseTyped(std::string_view text, std::shared_ptr<const ZEL_DataItem> &item)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        return false;
    }
    const std::string type(text.substr(0, colon));
    const std::string_view payload = text.substr(colon + 1);
    KIT_IStream stream(payload.data(), payload.size(), KIT_IStream::TEXT);
    item = parseAscii(type.c_str(), stream);
    return true;
}

std::shared_ptr<const ZEL_DataItem> ZEL_DataFactory::loadTypedAscii(KIT_IStream &stream)
{
    KIT_WorkBuffer text;
    std::shared_ptr<const ZEL_DataItem> item;
    if (stream.readWorkBuffer(text, stream.isBinary())) {
        parseTyped(text.view(), item);
    }
    return item;
}

bool ZEL_DataFactory::saveTypedAscii(const std::shared_ptr<const ZEL_DataItem> &item,
                                     std::ostream &os)
{
    if (!item) {
        return true;
    }
    const ZEL_Multi::KeepItems keep;
    os << item->getDataTypeToken() << ':';
    return item->saveAscii(os);
}
