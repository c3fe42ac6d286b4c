#include <ZEL/ZEL_Item.h>

ZEL_Item::ZEL_Item() = default;
ZEL_Item::ZEL_Item(const ZEL_Item &) = default;
ZEL_Item &ZEL_Item::operator=(const ZEL_Item &) = default;
ZEL_Item::~ZEL_Item() = default;

ZEL_Item::ZEL_Item(const char *token, const char *label, const char *icon)
    : myName(token, label), myIcon(icon)
{}

void ZEL_Item::setIcon(const char *icon)
{
    myIcon.harden(icon);
}

int64_t ZEL_Item::getMemoryUsage(bool inclusive) const
{
    return (inclusive ? static_cast<int64_t>(sizeof(*this)) : 0) + myName.getMemoryUsage(false) +
           myIcon.getMemoryUsage(false);
}
