#include "ZELT_Stream.h"

#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageSource.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmStream.h>

bool ZELTparseStream(const std::string &bytes, const std::string &file, ZEL_ParmList *list,
                     ZEL_ParmStream &stream, ZELT_Messages &messages)
{
    NOD_Report report;
    if (NOD_ValueFile::isOther(bytes, file, NOD_FileKind::STREAM, report)) {
        messages.add(report);
        return false;
    }
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
    is.setBinary(NOD_ValueFile::isBinary(bytes));
    const KIT_MessageSource source(bytes, file, is.isBinary());
    if (!ZELTtakeFault(file, stream.read(is, nullptr, list) ? "" : "isn't a parameter stream",
                       messages)) {
        return false;
    }
    const bool endFlag = NOD_ValueFile::checkEnd(is, file, report);
    messages.add(report);
    return endFlag;
}
