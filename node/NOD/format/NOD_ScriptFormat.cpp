#include <NOD/NOD_ScriptFormat.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceDifference.h>
#include <NOD/NOD_Report.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Script = std::shared_ptr<const NOD_Interface>;

bool isSame(const NOD_Interface &one, const NOD_Interface &other)
{
    NOD_Report differences;
    NODcompareInterfaces(one.getTemplates(), other.getTemplates(), differences);
    NODcompareInterfaces(other.getTemplates(), one.getTemplates(), differences);
    return differences.isEmpty() && one.getTypeName() == other.getTypeName() &&
           one.getLabel() == other.getLabel() && one.getHelp() == other.getHelp();
}

/// Messages without their places, which change.
std::vector<std::string> saidIn(const NOD_Report &report)
{
    std::vector<std::string> said;
    for (NOD_Message message : report.getMessages()) {
        message.line = 0;
        said.push_back(message.asText());
    }
    std::sort(said.begin(), said.end());
    return said;
}

} // namespace

bool NODformatScript(std::string_view text, const std::string &name,
                     const DS_FormatOptions &options, std::string &result, NOD_Report &report,
                     NOD_Interface::Includes includes)
{
    NOD_Report found;
    const Script script = NOD_Interface::fromText(text, name, found, includes);
    if (!script) {
        report.append(found);
        return false;
    }
    DS_Formatter formatter(options);
    std::string formatted;
    if (!formatter.format(text, formatted)) {
        report.add(
            {KIT_ERROR_ABORT, name, formatter.getFaultLine(), {}, formatter.getFault(), {}, 0});
        return false;
    }
    if (options.sort && formatted != text) {
        NOD_Report again;
        const Script sorted = NOD_Interface::fromText(formatted, name, again, includes);
        if (!sorted || !isSame(*script, *sorted) || saidIn(again) != saidIn(found)) {
            report.add({KIT_ERROR_ABORT,
                        name,
                        0,
                        {},
                        "its keywords can't be sorted: it would mean something else",
                        {},
                        0});
            return false;
        }
    }
    result = std::move(formatted);
    return true;
}
