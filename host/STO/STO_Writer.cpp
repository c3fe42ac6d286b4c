#include <STO/STO_Writer.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_OpUtils.h>
#include <STO/STO_FileLock.h>
#include <STO/STO_IndexFile.h>
#include <STO/STO_Info.h>
#include <STO/STO_Reader.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{

constexpr size_t theWriteSize = 65536;

STO_Writer::StepHook theHook = nullptr;
void *theHookData = nullptr;

bool mayStep(const char *step)
{
    return !theHook || theHook(theHookData, step);
}

/// A rename is durable only after the folder that holds the name is synced.
bool syncFolderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int file = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const bool synced = ::fsync(file) == 0;
    ::close(file);
    return synced;
}

} // namespace

STO_Writer::STO_Writer(const char *path, const STO_FileLock *held, PathForm form)
    : myFailedBefore(BASfailedAllocations())
{
    if (!path || !*path || (form == ANY_PATH && KIT_OpUtils::isDefinitionPath(path))) {
        return;
    }
    KIT_String file;
    if (form == ANY_PATH && STO_Reader::splitIndexFileSectionPath(path, file, mySection)) {
        myPath = file.toStdString();
        myStream = mySection.isEmpty() ? nullptr : std::make_unique<KIT_OByteStream>(myBytes);
        return;
    }
    myPath = STO_Info::followLinks(path);
    const bool isOwn = held && held->isHeld();
    // Made first: nothing would close and remove the file if there were no memory for it.
    auto stream = std::make_unique<KIT_OByteStream>(myBytes);
    if (mayStep("open") && openPart(isOwn)) {
        myStream = std::move(stream);
    }
}

STO_Writer::~STO_Writer()
{
    if (myFile >= 0) {
        ::close(myFile);
        ::unlink(myPart.c_str());
    }
}

bool STO_Writer::openPart(bool isOwn)
{
    static std::atomic<unsigned> theCount{0};
    constexpr mode_t everybody = 0666;
    struct stat old;
    const bool exists = ::stat(myPath.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        errno = S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    myPart = myPath + ".part";
    if (isOwn) {
        // Left by a killed holder of the lock. It may be another user's, so remove it instead of
        // writing into it.
        ::unlink(myPart.c_str());
    } else {
        myPart =
            myPath + "." + std::to_string(::getpid()) + "." + std::to_string(++theCount) + ".part";
    }
    myFile =
        ::open(myPart.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, everybody);
    if (myFile >= 0 && exists) {
        // Who may not give a file away keeps it, in the group of the old one if that may be.
        const bool givenFlag = ::fchown(myFile, old.st_uid, old.st_gid) == 0;
        [[maybe_unused]] int ignored =
            givenFlag ? 0 : ::fchown(myFile, static_cast<uid_t>(-1), old.st_gid);
        // A file of another user is usable without its permissions.
        ignored = ::fchmod(myFile, old.st_mode & (givenFlag ? 07777 : 0777));
    }
    return myFile >= 0;
}

bool STO_Writer::writeBytes()
{
    const char *at = myBytes.data();
    size_t left = myBytes.size();
    while (left > 0) {
        if (!mayStep("write")) {
            return false;
        }
        const ssize_t written = ::write(myFile, at, std::min(left, theWriteSize));
        if (written < 0 && errno != EINTR) {
            return false;
        }
        const size_t count = written > 0 ? static_cast<size_t>(written) : 0;
        at += count;
        left -= count;
    }
    return true;
}

bool STO_Writer::closeFile()
{
    const bool whole = writeBytes() && mayStep("sync") && ::fsync(myFile) == 0;
    const int why = errno;
    const bool closed = ::close(myFile) == 0;
    myFile = -1;
    if (whole && closed && mayStep("rename") && std::rename(myPart.c_str(), myPath.c_str()) == 0) {
        // The new file is visible already; without this step it may not survive a power failure.
        if (mayStep("folder")) {
            syncFolderOf(myPath);
        }
        return true;
    }
    const int last = whole ? errno : why;
    ::unlink(myPart.c_str());
    errno = last;
    return false;
}

bool STO_Writer::closeSection()
{
    const STO_FileLock lock(myPath.c_str());
    if (!lock.isHeld()) {
        return false;
    }
    STO_IndexFile index;
    index.open(myPath.c_str());
    if (!index.canWrite() || !index.addSection(mySection.c_str(), myBytes.view())) {
        errno = EINVAL;
        return false;
    }
    // A section whose name was lost would be missing from the file that is written.
    if (BASfailedAllocations() != myFailedBefore) {
        errno = ENOMEM;
        return false;
    }
    STO_Writer file(myPath.c_str(), &lock);
    if (!file.getStream()) {
        return false;
    }
    index.write(*file.getStream());
    return file.close();
}

bool STO_Writer::close()
{
    if (!myStream) {
        return false;
    }
    const bool hadMemory = BASfailedAllocations() == myFailedBefore;
    const bool whole = myStream->good() && myBytes.isGood() && hadMemory;
    if (!hadMemory) {
        errno = ENOMEM;
    }
    if (!whole || !(mySection.isEmpty() ? closeFile() : closeSection())) {
        myStream->setstate(std::ios::failbit);
        return false;
    }
    myStream.reset();
    return true;
}

void STO_Writer::setStepHook(StepHook hook, void *data)
{
    theHook = hook;
    theHookData = data;
}
