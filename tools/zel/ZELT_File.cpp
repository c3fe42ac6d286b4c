#include "ZELT_File.h"

#include "ZELT_Messages.h"

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>
#include <STO/STO_Writer.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sys/stat.h>

namespace
{

bool fail(const std::string &file, ZELT_Messages &messages)
{
    messages.error(file, "can't be written: " + KITsystemReason());
    return false;
}

bool writeBytes(const std::string &file, const std::string &bytes)
{
    std::ofstream os(file, std::ios::binary);
    os << bytes;
    os.close();
    return bool(os);
}

} // namespace

bool ZELTreadInput(std::string &bytes, NOD_Report &report)
{
    static bool isTaken = false;
    if (isTaken) {
        report.add({KIT_ERROR_ABORT, "-", 0, {}, "standard input is read already", {}, 0});
        return false;
    }
    isTaken = true;
    errno = 0;
    const KIT_IStream is(std::cin, KIT_IStream::BINARY);
    // A folder tells it at its first byte.
    const bool readFlag = is.isReadable() && !(is.rest().empty() && errno == EISDIR);
    if (readFlag) {
        bytes = is.rest();
        return true;
    }
    report.add({KIT_ERROR_ABORT, "-", 0, {}, "can't be read: " + KITsystemReason(), {}, 0});
    return false;
}

bool ZELTreadBytes(const std::string &file, std::string &bytes, NOD_Report &report,
                   ZELT_FileTest test)
{
    if (file == "-") {
        return ZELTreadInput(bytes, report);
    }
    errno = 0;
    const std::string path = file.substr(0, NOD_ValueFile::findSection(file));
    const KIT_IFStream is(path.c_str(), KIT_IStream::BINARY, test);
    if (is.isReadable()) {
        bytes = is.rest();
        return true;
    }
    report.add({KIT_ERROR_ABORT, file, 0, {}, "can't be read: " + KITsystemReason(), {}, 0});
    return false;
}

bool ZELTreadBytes(const std::string &file, std::string &bytes, ZELT_Messages &messages,
                   ZELT_FileTest test)
{
    NOD_Report report;
    const bool readFlag = ZELTreadBytes(file, bytes, report, test);
    messages.add(report);
    return readFlag;
}

bool ZELTwriteFile(const std::string &file, const std::string &bytes, ZELT_Messages &messages)
{
    errno = 0;
    if (BASfailedAllocations() > 0) {
        // Texts may be missing: a file that is whole isn't replaced by one that may not be.
        errno = ENOMEM;
        return fail(file, messages);
    }
    if (file == "-") {
        std::cout << bytes; // what fails is told at the program's end
        return true;
    }
    struct stat old;
    const bool thereFlag = stat(file.c_str(), &old) == 0;
    const std::size_t mark = file.find('?');
    if (!thereFlag && mark != std::string::npos && stat(file.substr(0, mark).c_str(), &old) == 0) {
        messages.error(file, "is a part of a file: only whole files are written");
        return false;
    }
    if (thereFlag && !S_ISREG(old.st_mode) && !S_ISDIR(old.st_mode)) {
        // A pipe or device stays what it is.
        return writeBytes(file, bytes) || fail(file, messages);
    }
    STO_Writer writer(file.c_str(), nullptr, STO_Writer::FILE_PATH);
    if (std::ostream *os = writer.getStream()) {
        *os << bytes;
    }
    return writer.close() || fail(file, messages);
}

std::string ZELTfolderOf(const std::string &file)
{
    return std::filesystem::absolute(file == "-" ? "./x" : file).parent_path().string();
}
