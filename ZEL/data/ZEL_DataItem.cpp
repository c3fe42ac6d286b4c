#include <ZEL/ZEL_DataItem.h>

// Out of line, so that the class has one table and one type record.
ZEL_DataItem::~ZEL_DataItem() = default;

KIT_JSONValueMap *ZEL_DataItem::getKeyValueDict() const
{
    return nullptr;
}
