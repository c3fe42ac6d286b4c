#include <DS/DS_DisableInfo.h>

#include <cstdlib>
#include <cstring>

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
    char *const nameCopy = strdup(name ? name : "");
    char *const valueCopy = strdup(value ? value : "");
    if (!nameCopy || !valueCopy) {
        std::free(nameCopy);
        std::free(valueCopy);
        return;
    }
    myParmNames.append(nameCopy);
    myValues.append(valueCopy);
}
