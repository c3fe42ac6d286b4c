#include <ZEL/ZEL_DataItem.h>

// Out of line, so that the class has exactly one vtable and type record.
ZEL_DataItem::~ZEL_DataItem() = default;

KIT_JSONValueMap *ZEL_DataItem::getKeyValueDict() const
{
    return nullptr;
}
