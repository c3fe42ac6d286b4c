#include "PYZ_Report.h"

#include <EVL/EVL.h>
#include <KIT/KIT_MessageDetail.h>

namespace
{

py::object errors(const char *name)
{
    return py::module_::import("zel.errors").attr(name);
}

const char *severityWord(KIT_ErrorSeverity severity)
{
    switch (severity) {
    case KIT_ERROR_NONE: return "none";
    case KIT_ERROR_MESSAGE: return "hint";
    case KIT_ERROR_PROMPT:
    case KIT_ERROR_WARNING: return "warning";
    default: return "error";
    }
}

py::tuple texts(const std::vector<std::string> &list)
{
    py::tuple result(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        result[i] = PYZtext(list[i]);
    }
    return result;
}

bool isError(const NOD_Message &message)
{
    return message.severity >= KIT_ERROR_ABORT;
}

/// Within a change that goes on, when that is done: who shows warnings may run anything.
void warn(const NOD_Message &message)
{
    const py::object warning = errors("MessageWarning")(PYZmessage(message));
    const py::object show = py::module_::import("warnings").attr("warn");
    if (PYZ_Changing::isNested()) {
        PYZ_Changing::callLater(py::make_tuple(show), py::make_tuple(warning));
        return;
    }
    const PYZ_Changing::Pause pause;
    SNKstayAtEnd([&] { return show(warning); });
}

} // namespace

py::object PYZmessage(const NOD_Message &message)
{
    const KIT_MessageDetail none;
    const KIT_MessageDetail &detail = message.detail ? *message.detail : none;
    const KIT_MessagePlace &place = detail.place;
    py::dict fields;
    fields["severity"] = severityWord(message.severity);
    fields["text"] = PYZtext(message.text);
    fields["file"] = PYZtext(place.file.empty() ? message.file : place.file);
    fields["line"] = place.line > 0 ? place.line : message.line;
    fields["column"] = place.column;
    fields["end_line"] = place.endLine;
    fields["end_column"] = place.endColumn;
    fields["parameter"] = PYZtext(message.subject);
    fields["category"] = PYZtext(message.category);
    fields["code"] = message.code;
    fields["found"] = PYZtext(detail.found);
    fields["expected"] = texts(detail.expected);
    fields["hint"] = PYZtext(detail.hint);
    fields["line_text"] = PYZtext(message.asText());
    return errors("Message")(**fields);
}

py::tuple PYZmessages(const NOD_Report &report)
{
    const std::vector<NOD_Message> &messages = report.getMessages();
    py::tuple result(messages.size());
    for (std::size_t i = 0; i < messages.size(); ++i) {
        result[i] = PYZmessage(messages[i]);
    }
    return result;
}

void PYZraise(const char *className, std::string_view text)
{
    const py::object type = errors(className);
    PyErr_SetObject(type.ptr(), type(PYZtext(text)).ptr());
    throw py::error_already_set();
}

void PYZtell(const NOD_Report &report, const char *className, bool done, std::string_view text)
{
    const bool raiseFlag = className && (!done || report.hasErrors());
    if (!raiseFlag) {
        for (const NOD_Message &message : report.getMessages()) {
            warn(message);
        }
        return;
    }
    std::string all;
    for (const NOD_Message &message : report.getMessages()) {
        if (isError(message)) {
            all += (all.empty() ? "" : "\n") + message.asText();
        }
    }
    if (all.empty()) {
        all = text.empty() ? "it couldn't be done" : std::string(text);
    }
    const py::object type = errors(className);
    PyErr_SetObject(type.ptr(), type(PYZtext(all), PYZmessages(report)).ptr());
    throw py::error_already_set();
}

void PYZtakeTraceback(void *report, const char *header, const char *detail)
{
    static_cast<NOD_Report *>(report)->warning("", std::string(header) + '\n' + detail);
}

void PYZraiseEvaluation(const std::string &path, int code, const std::string &more,
                        const NOD_Report &report)
{
    const bool knownFlag = code != EVL::EVL_OK;
    NOD_Message message;
    message.subject = path;
    message.text = (knownFlag ? EVL::getErrorText(code) : "it can't be evaluated") + more;
    message.category = "TRK";
    message.code = code;
    NOD_Report all;
    if (knownFlag || report.isEmpty()) {
        all.add(message);
    }
    all.append(report);
    PYZtell(all, "EvaluationError", false, path + ": " + message.text);
    throw py::error_already_set(); // which that has done
}
