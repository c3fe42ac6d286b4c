#include <STO/STO_Info.h>

#include <KIT/KIT_PathSearch.h>

#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

bool STO_Info::canWriteDirectory(const char *path)
{
    struct stat info;
    return path && stat(path, &info) == 0 && S_ISDIR(info.st_mode) &&
           access(path, W_OK | X_OK) == 0;
}

bool STO_Info::leadsBelow(const char *path, const char *folder)
{
    namespace fs = std::filesystem;
    if (!path || !folder) {
        return false;
    }
    std::error_code failure;
    const fs::path place = fs::canonical(folder, failure);
    if (failure) {
        return false;
    }
    const fs::path target = fs::weakly_canonical(fs::absolute(path, failure), failure);
    return !failure && KIT_PathSearch::isBelow(target.c_str(), place.c_str());
}

std::string STO_Info::followLinks(const char *path)
{
    namespace fs = std::filesystem;
    std::error_code failure;
    fs::path target = fs::canonical(path, failure);
    if (failure) {
        const fs::path file(path);
        const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
        target = fs::canonical(folder, failure) / file.filename();
    }
    return failure ? path : target.string();
}
