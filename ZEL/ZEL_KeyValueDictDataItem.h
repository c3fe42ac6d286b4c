/// \file ZEL_KeyValueDictDataItem.h
/// A dictionary of keys and JSON values, as a data item of the kind "key_value_dict".
///
/// Vocabulary: see KIT_JSONValueMap.h.
/// Ownership:  shares its map by reference count, with its copies and the map's creator.
/// Threads:    as the base: once the item is shared, the map must not change.
/// Errors:     saving fails for a dictionary that is nested too deep to be read again.
/// Cost:       constructing from a map, or copying, increments one count.

#pragma once

#include <ZEL/ZEL_DataItem.h>

class ZEL_API ZEL_KeyValueDictDataItem : public ZEL_DataItem
{
public:
    /// An empty map of its own.
    ZEL_KeyValueDictDataItem();
    /// Shares the map, which may be null: that saves as an empty one.
    explicit ZEL_KeyValueDictDataItem(KIT_JSONValueMap *map);
    ZEL_KeyValueDictDataItem(const ZEL_KeyValueDictDataItem &other);
    ZEL_KeyValueDictDataItem &operator=(const ZEL_KeyValueDictDataItem &) = delete;
    ~ZEL_KeyValueDictDataItem() override;

    ZEL_Type::ZEL_DataType getDataType() const override;
    const char *getDataTypeToken() const override;
    /// One line of JSON.
    bool saveAscii(std::ostream &os) const override;
    /// CBOR.
    bool saveBinary(std::ostream &os) const override;
    /// 16: the item without its map, which several may share.
    std::int64_t getMemoryUsage() const override;
    KIT_JSONValueMap *getKeyValueDict() const override;

private:
    KIT_JSONValueMap *myMap;
};
