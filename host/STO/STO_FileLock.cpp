#include <STO/STO_FileLock.h>

#include <STO/STO_Info.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

bool isSameFile(int file, const std::string &path)
{
    struct stat open;
    struct stat named;
    return fstat(file, &open) == 0 && lstat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

/// False, with errno, for what is no file as for a lock that can't be had.
bool waitFor(int file)
{
    struct stat info;
    if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode)) {
        errno = EINVAL;
        return false;
    }
    int result;
    do {
        result = flock(file, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

} // namespace

STO_FileLock::STO_FileLock(const char *path)
    : myPath(STO_Info::followLinks(path ? path : "") + ".lock")
{
    constexpr mode_t everybody = 0666;
    while (path && *path) {
        // Open for reading: another user's lock file need not be writable to wait for it. A pipe
        // would keep us until somebody writes to it.
        constexpr int flags = O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        const int file = ::open(myPath.c_str(), flags, everybody);
        if (file < 0) {
            return;
        }
        if (!waitFor(file)) {
            const int why = errno;
            ::close(file);
            errno = why;
            return;
        }
        // The previous holder has removed the file that was waited for: a lock on it excludes
        // nothing.
        if (isSameFile(file, myPath)) {
            myFile = file;
            return;
        }
        ::close(file);
    }
}

STO_FileLock::~STO_FileLock()
{
    if (isHeld()) {
        ::unlink(myPath.c_str());
        ::close(myFile);
    }
}
