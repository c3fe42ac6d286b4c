#include <DS/DS_ParmInfo.h>

#include <ZEL/ZEL_TypeConstants.h>

DS_ParmInfo::DS_ParmInfo(const char *text) : name(text, true), label(text, true), type(ZEL_FLT_E) {}

DS_ParmInfo::~DS_ParmInfo()
{
    const auto destroy = [](const auto &records) {
        for (const auto *record : records) {
            delete record;
        }
    };
    destroy(menuChoices);
    destroy(attributes);
    destroy(handles);
}

bool DS_ParmInfo::isSingleNumber() const
{
    return type.isFloatType() && size == 1;
}

bool DS_ParmInfo::isLogarithmic() const
{
    return isSingleNumber() && getFlag(theLogarithmicFlag);
}

void DS_ParmInfo::setLogarithmic(bool logarithmic)
{
    if (!isSingleNumber()) {
        return;
    }
    if (logarithmic) {
        setFlag(theLogarithmicFlag);
    } else {
        clearFlag(theLogarithmicFlag);
    }
}

bool DS_ParmInfo::isInvisible() const
{
    return !type.isVisible();
}

void DS_ParmInfo::setInvisible()
{
    type |= ZEL_TYPE_INVISIBLE;
}
