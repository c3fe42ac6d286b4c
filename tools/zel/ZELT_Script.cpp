#include "ZELT_Script.h"

#include "ZELT_File.h"
#include "ZELT_Messages.h"

#include <NOD/NOD_Report.h>

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
        return ZELTreadInput(text, report) ? NOD_Interface::fromText(text, file, report) : nullptr;
    }
    return NOD_Interface::fromFile(file, report);
}

ZELT_ScriptPtr ZELTloadScriptText(const std::string &text, const std::string &name,
                                  ZELT_Messages &messages)
{
    return reported(
        messages, [&](NOD_Report &report) { return NOD_Interface::fromText(text, name, report); });
}
