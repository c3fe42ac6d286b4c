#include "ZELT_Messages.h"

#include "ZELT_Format.h"
#include "ZELT_Json.h"

#include <DS/DS_Stream.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <NOD/NOD_Report.h>
#include <SNK/SNK_Python.h>

#include <cstdlib>
#include <iostream>
#include <set>
#include <string>

namespace
{

constexpr const char *theToolCategory = "zel";

/// Splits `file(line): text`; false for any other text.
bool splitPlace(const std::string &whole, std::string &file, int &line, std::string &text)
{
    const std::size_t close = whole.find("): ");
    const std::size_t open = close == std::string::npos ? close : whole.rfind('(', close);
    if (open == std::string::npos || open == 0 || open + 1 == close ||
        whole.find_first_not_of("0123456789", open + 1) != close || close - open > 10) {
        return false;
    }
    file = whole.substr(0, open);
    line = std::atoi(whole.c_str() + open + 1);
    text = whole.substr(close + 3);
    return true;
}

const char *severityWord(KIT_ErrorSeverity severity)
{
    return severity >= KIT_ERROR_ABORT     ? "error"
           : severity == KIT_ERROR_WARNING ? "warning"
                                           : "message";
}

std::string asText(const std::string &severity, const std::string &file, int line,
                   const std::string &text)
{
    std::string out = file.empty() ? "zel" : file;
    if (line > 0) {
        out += "(" + std::to_string(line) + ")";
    }
    return out + ": " + (severity == "warning" ? "warning: " : "") + text;
}

} // namespace

ZELT_Messages::ZELT_Messages()
{
    DS_Stream::setMessageSink(takeScriptMessage, this);
    SNKsetTracebackHandler(takeTraceback, this);
}

ZELT_Messages::~ZELT_Messages()
{
    SNKsetTracebackHandler(nullptr, nullptr);
    DS_Stream::setMessageSink(nullptr, nullptr);
}

void ZELT_Messages::takeScriptMessage(void *data, KIT_ErrorSeverity severity, const char *file,
                                      int line, const char *text)
{
    static_cast<ZELT_Messages *>(data)->add(severity, theKITCommonCategory, KIT_COMMON_BAD_SCRIPT,
                                            file ? file : "", line, text);
}

void ZELT_Messages::takeTraceback(void *data, const char *header, const char *detail)
{
    ZELT_Messages &messages = *static_cast<ZELT_Messages *>(data);
    const std::string text = std::string(header) + "\n" + detail;
    if (SNKisPythonEnabled()) {
        messages.error("", text);
    } else if (messages.myNotRun.insert(text).second) {
        // It isn't run by request, so it is no fault.
        messages.add(KIT_ERROR_WARNING, theToolCategory, 0, "", 0, text);
    }
}

void ZELT_Messages::error(const std::string &file, const std::string &text)
{
    add(KIT_ERROR_ABORT, theToolCategory, 0, file, 0, text);
}

void ZELT_Messages::add(KIT_ErrorSeverity severity, const std::string &category, int code,
                        const std::string &file, int line, const std::string &text)
{
    std::string place = file;
    std::string rest = text;
    int number = line;
    if (line == 0) {
        splitPlace(text, place, number, rest);
    }
    while (!rest.empty() && rest.back() == '\n') {
        rest.pop_back();
    }
    const std::lock_guard<std::mutex> lock(myLock);
    myErrors += severity >= KIT_ERROR_ABORT;
    const std::string word = severityWord(severity);
    if (!myJsonFlag) {
        std::cerr << ZELTprintable(asText(word, place, number, rest)) << '\n';
        return;
    }
    ZELT_Json json;
    json["severity"] = word;
    json["category"] = category;
    json["code"] = code;
    json["file"] = place.empty() ? ZELT_Json() : ZELT_Json(place);
    json["line"] = number > 0 ? ZELT_Json(number) : ZELT_Json();
    json["text"] = rest;
    std::cerr << ZELTjsonText(json) << '\n';
}

void ZELT_Messages::add(const NOD_Report &report)
{
    // A file that is read twice is reported once.
    std::set<std::string> reported;
    for (const NOD_Message &message : report.getMessages()) {
        const std::string text =
            (message.subject.empty() ? "" : message.subject + ": ") + message.text;
        if (reported.insert(message.asText()).second) {
            add(message.severity, message.category.empty() ? theToolCategory : message.category,
                message.code, message.file, message.line, text);
        }
    }
}

void ZELT_Messages::takeErrors(const std::string &file)
{
    KIT_ErrorManager &manager = KITgetErrorManager();
    // A file that is read twice is reported once.
    std::set<std::string> reported;
    for (std::int64_t i = 0; i < manager.entries(); ++i) {
        const KIT_ErrorManager::Error &entry = manager.getError(i);
        // A script reader's text is already a sentence with its position.
        const bool placedFlag =
            entry.category == theKITCommonCategory && entry.code == KIT_COMMON_BAD_SCRIPT;
        const std::string text =
            placedFlag ? entry.text
                       : KITformatMessage(entry.category.c_str(), entry.code, entry.text.c_str());
        if (reported.insert(text).second) {
            const bool namedFlag = text.find(file) != std::string::npos;
            add(entry.severity, entry.category, entry.code, namedFlag ? "" : file, 0, text);
        }
    }
    manager.clearAndDestroyErrors();
}
