#include <DS/DS_DisableInfo.h>

#include <DS/writer/DS_OwnedPrivate.h>

#include <cstdlib>
#include <utility>

DS_DisableInfo::~DS_DisableInfo()
{
    for (const char *name : myParmNames) {
        std::free(const_cast<char *>(name));
    }
    for (const char *value : myValues) {
        std::free(const_cast<char *>(value));
    }
}

void DS_DisableInfo::addInfo(const char *name, const char *value)
{
    DS_OwnedText nameCopy = DScopyText(name ? name : "");
    DS_OwnedText valueCopy = DScopyText(value ? value : "");
    if (!nameCopy || !valueCopy) {
        return;
    }
    // With its slot made first, the second append can't fail: a name is never without its value.
    if (myValues.size() == myValues.capacity()) {
        myValues.setCapacity(KITbumpAlloc(myValues.capacity()));
    }
    DSappendOwned(myParmNames, std::move(nameCopy));
    DSappendOwned(myValues, std::move(valueCopy));
}
