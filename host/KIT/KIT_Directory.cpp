#include <KIT/KIT_Directory.h>

#include <cerrno>
#include <string>
#include <sys/stat.h>

namespace
{

bool isFolder(const std::string &path)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        return false;
    }
    errno = ENOTDIR;
    return S_ISDIR(info.st_mode);
}

bool makeFolder(const std::string &path)
{
    constexpr mode_t everybody = 0777; // minus the process's umask
    return mkdir(path.c_str(), everybody) == 0 || (errno == EEXIST && isFolder(path));
}

} // namespace

bool KITcreateDirectoryForFile(const char *path)
{
    const std::string file(path ? path : "");
    const size_t last = file.rfind('/');
    if (file.empty() || last == 0 || last == std::string::npos) {
        return !file.empty();
    }
    if (isFolder(file.substr(0, last))) {
        return true;
    }
    for (size_t slash = file.find('/', 1); slash != std::string::npos && slash <= last;
         slash = file.find('/', slash + 1)) {
        if (!makeFolder(file.substr(0, slash))) {
            return false;
        }
    }
    return true;
}
