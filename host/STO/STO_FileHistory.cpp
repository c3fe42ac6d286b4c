#include <STO/STO_FileHistory.h>

#include <KIT/KIT_EnvControl.h>

#include <cstring>
#include <string>

STO_FileHistoryManager &STO_FileHistoryManager::getInstance()
{
    static STO_FileHistoryManager theManager;
    return theManager;
}

bool STO_FileHistoryManager::isValidType(int type)
{
    return (type >= STO_HISTORY_PICTURE && type <= STO_HISTORY_CHANNEL) ||
           (type >= STO_HISTORY_ANY && type <= STO_HISTORY_SIM_DATA) ||
           type == STO_HISTORY_DIRECTORY;
}

bool STO_FileHistoryManager::addFile(STO_FileHistoryType type, const char *name)
{
    if (!isValidType(type) || !name || !*name) {
        return false;
    }
    KIT_Array<KIT_StringHolder> &files = myFiles[type];
    const KIT_StringHolder file(name);
    files.findAndRemove(file);
    files.insert(file, 0);
    if (files.entries() > theMaxEntries) {
        files.removeLast();
    }
    return true;
}

int64_t STO_FileHistoryManager::entries(STO_FileHistoryType type) const
{
    return isValidType(type) ? myFiles[type].entries() : 0;
}

const KIT_StringHolder &STO_FileHistoryManager::getFileName(STO_FileHistoryType type,
                                                            int64_t index) const
{
    const bool valid = isValidType(type) && myFiles[type].isValidIndex(index);
    return valid ? myFiles[type][index] : KIT_StringHolder::theEmptyString;
}

KIT_StringHolder STO_FileHistoryManager::getFormattedName(STO_FileHistoryType type,
                                                          int64_t index) const
{
    const KIT_StringHolder &name = getFileName(type, index);
    const char *home = KITgetEnv(KIT_VAR_HOME);
    const char *file = name.nonNullStr();
    size_t length = home ? std::strlen(home) : 0;
    while (length > 0 && home[length - 1] == '/') {
        --length;
    }
    const bool belowHome = length > 0 && std::strncmp(file, home, length) == 0 &&
                           (file[length] == '/' || file[length] == '\0');
    if (!belowHome) {
        return name;
    }
    return KIT_StringHolder("~" + std::string(file + length));
}

void STO_FileHistoryManager::clear(STO_FileHistoryType type)
{
    if (isValidType(type)) {
        myFiles[type].clear();
    }
}
