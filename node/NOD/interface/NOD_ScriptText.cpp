#include <NOD/NOD_ScriptText.h>

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_ScriptWriterPrivate.h>
#include <NOD/interface/NOD_TemplateFieldsPrivate.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>

namespace
{

/// Tells what differs between templates and those of their script.
class Losses
{
public:
    Losses(const NOD_ScriptWriter &writer, NOD_Report &report) : myWriter(writer), myReport(report)
    {}

    void compare(const ZEL_Template *from, const ZEL_Template *read)
    {
        for (; from && !from->isTerminator(); ++from) {
            const std::string token = from->getToken() ? from->getToken() : "";
            if (const char *const reason = myWriter.findLeftOut(from)) {
                myReport.error(token, reason);
                continue;
            }
            if (!read || read->isTerminator()) {
                myReport.error(token, "isn't read back from its script");
                continue;
            }
            compareFields(token, settled(*from), NODgetTemplateFields(*read));
            if (from->isMultiType()) {
                compare(from->getMultiParmTemplate(), read->getMultiParmTemplate());
            }
            ++read;
        }
    }

private:
    /// With what a script adds without a difference for anybody.
    static NOD_TemplateFields settled(const ZEL_Template &from)
    {
        NOD_TemplateFields fields = NODgetTemplateFields(from);
        if (from.isSwitcher()) {
            const std::string tabs(std::size_t(from.getVectorSize()), '1');
            fields.emplace(std::string("tag ") + ZEL_SpareData::getVisibleTabsToken(),
                           "\"" + tabs + "\"");
        }
        if (from.getType().hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOCOOK)) {
            fields.emplace(std::string("tag ") + ZEL_SpareData::getCookDependentToken(), "\"0\"");
        }
        return fields;
    }

    void compareFields(const std::string &token, const NOD_TemplateFields &from,
                       const NOD_TemplateFields &read)
    {
        for (const auto &[field, text] : from) {
            const auto found = read.find(field);
            if (found == read.end()) {
                myReport.error(token, field + " can't be written in a script: " + text);
            } else if (found->second != text) {
                myReport.error(token, field + " can't be written in a script: " + text +
                                          " is read back as " + found->second);
            }
        }
        for (const auto &[field, text] : read) {
            if (!from.count(field)) {
                myReport.error(token, "a script can't be without " + field + ": " + text);
            }
        }
    }

    const NOD_ScriptWriter &myWriter;
    NOD_Report &myReport;
};

/// Whether a line may be an `#include`: such a text is none without its files.
bool includesFiles(const std::string &text)
{
    for (std::size_t at = text.find("include"); at != std::string::npos;
         at = text.find("include", at + 1)) {
        const std::size_t before = text.find_last_not_of(" \t", at == 0 ? 0 : at - 1);
        if (at > 0 && before != std::string::npos && text[before] == '#') {
            return true;
        }
    }
    return false;
}

} // namespace

std::string NODscriptText(const ZEL_Template *templates, const std::string &name,
                          const std::string &label, NOD_Report &losses)
{
    NOD_ScriptWriter writer;
    writer.writeDialog(templates, name, label);
    NOD_Report reading;
    const auto read = NOD_Interface::fromText(writer.getText(), name, reading);
    if (read) {
        Losses(writer, losses).compare(templates, read->getTemplates());
    } else {
        losses.append(reading);
    }
    return writer.getText();
}

std::string NODscriptText(const NOD_Interface &interface, NOD_Report &losses)
{
    const bool madeFlag = interface.getSource() == NOD_Interface::Source::TEMPLATES;
    if (!madeFlag && !includesFiles(interface.getText())) {
        return interface.getText();
    }
    if (!madeFlag) {
        losses.warning(interface.getFile(),
                       "the script includes files: only its parameters are written");
    }
    return NODscriptText(interface.getTemplates(), interface.getTypeName(), interface.getLabel(),
                         losses);
}
