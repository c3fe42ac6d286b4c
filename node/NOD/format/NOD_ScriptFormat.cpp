#include <NOD/NOD_ScriptFormat.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_InterfaceDifference.h>
#include <NOD/NOD_Report.h>

#include <memory>
#include <utility>

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
        if (!sorted || !isSame(*script, *sorted) ||
            again.getMessages().size() != found.getMessages().size()) {
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
