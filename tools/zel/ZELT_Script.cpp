#include "ZELT_Script.h"

#include "ZELT_File.h"
#include "ZELT_Messages.h"

#include <NOD/NOD_MigrationMap.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>

namespace
{

/// Runs what reads a script, and says what it reports.
template <class Read>
auto reported(ZELT_Messages &messages, const Read &read)
{
    NOD_Report report;
    auto result = read(report);
    messages.add(report);
    return result;
}

} // namespace

ZELT_ScriptPtr ZELTloadScript(const std::string &file, ZELT_Messages &messages)
{
    return reported(messages, [&](NOD_Report &report) { return ZELTloadScript(file, report); });
}

ZELT_ScriptPtr ZELTloadScript(const std::string &file, NOD_Report &report)
{
    if (file == "-") {
        std::string text;
        return ZELTreadInput(text, report) &&
                       !NOD_ValueFile::isOther(text, file, NOD_FileKind::SCRIPT, report)
                   ? NOD_Interface::fromText(text, file, report)
                   : nullptr;
    }
    return NOD_ValueFile::isOtherFile(file, NOD_FileKind::SCRIPT, report)
               ? nullptr
               : NOD_Interface::fromFile(file, report);
}

ZELT_ScriptPtr ZELTloadScriptText(const std::string &text, const std::string &name,
                                  ZELT_Messages &messages)
{
    return reported(
        messages, [&](NOD_Report &report) { return NOD_Interface::fromText(text, name, report); });
}

bool ZELTreadMap(NOD_MigrationMap &map, const std::string &file, NOD_Report &report)
{
    NOD_Report found;
    const bool readFlag = map.read(file, found);
    // Any words may begin a map, so what it is else counts where they make none.
    if (readFlag ||
        !NOD_ValueFile::isOtherFile(file, NOD_FileKind::NONE, report, "a migration map")) {
        report.append(found);
    }
    return readFlag;
}
