#include <ZEL/ZEL_KeyValueDictDataItem.h>

#include <KIT/KIT_AutoJSONParser.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_JSONValueMap.h>
#include <KIT/KIT_JSONWriter.h>
#include <KIT/KIT_Options.h>
#include <ZEL/ZEL_DataFactory.h>

namespace
{

constexpr const char *theToken = "key_value_dict";

bool saveMap(const KIT_JSONValueMap *map, KIT_JSONWriter &writer)
{
    return map ? map->save(writer) : KIT_JSONValueMap().save(writer);
}

/// Reads either form. A value that is no map, or that can't be read, becomes an empty dictionary.
class zelKeyValueDictDataParmFactory final : public ZEL_DataFactory
{
public:
    zelKeyValueDictDataParmFactory() { install(theToken, this); }

    std::shared_ptr<const ZEL_DataItem> createItem() override
    {
        return std::make_shared<ZEL_KeyValueDictDataItem>();
    }
    std::shared_ptr<const ZEL_DataItem> parseBinary(KIT_IStream &stream) override
    {
        return parseAscii(stream);
    }
    std::shared_ptr<const ZEL_DataItem> parseAscii(KIT_IStream &stream) override
    {
        KIT_AutoJSONParser parser(stream);
        KIT_JSONValue value;
        value.parseValue(parser);
        KIT_JSONValueMap *map = value.getMap();
        return map ? std::make_shared<ZEL_KeyValueDictDataItem>(map)
                   : std::make_shared<ZEL_KeyValueDictDataItem>();
    }
};

zelKeyValueDictDataParmFactory theFactory;

} // namespace

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

ZEL_KeyValueDictDataItem::ZEL_KeyValueDictDataItem()
    : ZEL_KeyValueDictDataItem(new KIT_JSONValueMap)
{}

ZEL_KeyValueDictDataItem::ZEL_KeyValueDictDataItem(KIT_JSONValueMap *map) : myMap(map)
{
    if (myMap) {
        myMap->bumpRef(1);
    }
}

ZEL_KeyValueDictDataItem::ZEL_KeyValueDictDataItem(const ZEL_KeyValueDictDataItem &other)
    : ZEL_DataItem(other), myMap(other.myMap)
{
    if (myMap) {
        myMap->bumpRef(1);
    }
}

ZEL_KeyValueDictDataItem::~ZEL_KeyValueDictDataItem()
{
    if (myMap) {
        myMap->bumpRef(-1);
    }
}

// -------------------------------------------------------------------------- //
// The kind
// -------------------------------------------------------------------------- //

ZEL_Type::ZEL_DataType ZEL_KeyValueDictDataItem::getDataType() const
{
    return ZEL_Type::ZEL_DATA_KEY_VALUE_DICT;
}

const char *ZEL_KeyValueDictDataItem::getDataTypeToken() const
{
    return theToken;
}

std::int64_t ZEL_KeyValueDictDataItem::getMemoryUsage() const
{
    return 16;
}

KIT_JSONValueMap *ZEL_KeyValueDictDataItem::getKeyValueDict() const
{
    return myMap;
}

bool ZEL_KeyValueDictDataItem::saveAscii(std::ostream &os) const
{
    constexpr bool binary = false;
    const auto writer = KIT_JSONWriter::allocWriter(os, binary);
    KIT_Options options = writer->getOptions();
    options.setOptionB("json:prettyprint", false);
    writer->setOptions(options);
    return saveMap(myMap, *writer);
}

bool ZEL_KeyValueDictDataItem::saveBinary(std::ostream &os) const
{
    constexpr bool binary = true;
    return saveMap(myMap, *KIT_JSONWriter::allocWriter(os, binary));
}
