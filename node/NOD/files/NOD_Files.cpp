#include <NOD/files/NOD_FilesPrivate.h>

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Report.h>
#include <NOD/files/NOD_InterfacePathsPrivate.h>
#include <STO/STO_Writer.h>

#include <cerrno>
#include <new>
#include <ostream>

namespace
{

void tell(NOD_Report &report, const std::string &file, const std::string &text)
{
    report.add({KIT_ERROR_ABORT, file, 0, {}, text, {}, 0});
}

} // namespace

bool NODwriteTo(std::ostream &os, const std::string &name, NOD_Report &report,
                const std::function<void()> &write)
{
    const std::uint64_t refusedBefore = BASfailedAllocations();
    write();
    os.flush();
    if (BASfailedAllocations() != refusedBefore) {
        throw std::bad_alloc();
    }
    if (!os) {
        tell(report, "", "the " + name + " can't be written");
    }
    return bool(os);
}

bool NODwriteFile(const std::string &path, const NOD_SaveOptions &options, NOD_Report &report,
                  const std::function<bool(std::ostream &, const NOD_SaveOptions &)> &write)
{
    NOD_SaveOptions placed = options;
    if (placed.folder.empty()) {
        placed.folder = NODfolderOf(path);
    }
    errno = 0;
    STO_Writer writer(path.c_str(), nullptr, STO_Writer::FILE_PATH);
    if (!writer.getStream()) {
        tell(report, path, "can't be written: " + KITsystemReason());
        return false;
    }
    if (!write(*writer.getStream(), placed)) {
        return false;
    }
    errno = 0;
    if (!writer.close()) {
        tell(report, path, "can't be written: " + KITsystemReason());
        return false;
    }
    return true;
}

bool NODreadFile(const std::string &path, std::string &bytes, NOD_Report &report,
                 bool (*canBe)(std::string_view start))
{
    errno = 0;
    KIT_IFStream is(path.c_str(), KIT_IStream::BINARY, canBe);
    if (!is.isReadable()) {
        tell(report, path, "can't be read: " + KITsystemReason());
        return false;
    }
    bytes = is.rest();
    return true;
}

bool NODreadStream(std::istream &is, const std::string &name, std::string &bytes,
                   NOD_Report &report)
{
    const KIT_IStream all(is, KIT_IStream::BINARY);
    if (!all.isReadable()) {
        tell(report, name, "can't be read");
        return false;
    }
    bytes = all.rest();
    return true;
}

NOD_LoadOptions NODplaced(const NOD_LoadOptions &options, const std::string &path)
{
    NOD_LoadOptions placed = options;
    if (placed.folder.empty()) {
        placed.folder = NODfolderOf(path);
    }
    return placed;
}
