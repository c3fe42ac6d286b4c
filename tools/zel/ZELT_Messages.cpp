#include "ZELT_Messages.h"

#include "ZELT_Format.h"
#include "ZELT_Json.h"

#include <DS/DS_Stream.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Report.h>
#include <SNK/SNK_Python.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <set>
#include <string>
#include <unistd.h>

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

/// Which word of the command line a place is in, from 1; 0 if it is none.
using ArgumentOf = std::function<int(const KIT_MessagePlace &place)>;

int inNoArgument(const KIT_MessagePlace &)
{
    return 0;
}

/// Whether a word of the command line has a text whole: as its end, as the value of an option, in a list with commas.
bool holds(const std::string &word, const std::string &text)
{
    const auto isEnd = [&](std::size_t at) { return at >= word.size() || word[at] == ','; };
    for (std::size_t at = word.find(text); at != std::string::npos; at = word.find(text, at + 1)) {
        if ((at == 0 || word[at - 1] == '=' || word[at - 1] == ',') && isEnd(at + text.size())) {
            return true;
        }
    }
    return false;
}

ZELT_Json asJson(const KIT_MessagePlace &place, const ArgumentOf &argumentOf)
{
    const auto known = [](std::int64_t number, std::int64_t least) {
        return number >= least ? ZELT_Json(number) : ZELT_Json();
    };
    ZELT_Json json;
    json["file"] = place.file.empty() ? ZELT_Json() : ZELT_Json(place.file);
    if (const int argument = argumentOf(place)) {
        json["argument"] = argument;
    }
    json["line"] = known(place.line, 1);
    json["column"] = known(place.column, 1);
    json["character"] = known(place.character, 1);
    json["endLine"] = known(place.endLine, 1);
    json["endColumn"] = known(place.endColumn, 1);
    json["endCharacter"] = known(place.endCharacter, 1);
    json["offset"] = known(place.offset, 0);
    json["endOffset"] = known(place.endOffset, 0);
    return json;
}

void addDetail(ZELT_Json &json, const KIT_MessageDetail &detail, const ArgumentOf &argumentOf)
{
    json["place"] = asJson(detail.place, argumentOf);
    json["subject"] = detail.subject;
    json["hint"] = detail.hint;
    json["found"] = detail.found;
    json["expected"] = detail.expected;
    json["related"] = ZELT_Json::array();
    for (const KIT_MessageRelated &related : detail.related) {
        json["related"].push_back(
            {{"place", asJson(related.place, argumentOf)}, {"text", related.text}});
    }
    json["includedFrom"] = ZELT_Json::array();
    for (const KIT_MessagePlace &place : detail.includedFrom) {
        json["includedFrom"].push_back(asJson(place, argumentOf));
    }
    json["fixes"] = ZELT_Json::array();
    for (const KIT_MessageFix &fix : detail.fixes) {
        ZELT_Json edits = ZELT_Json::array();
        for (const KIT_MessageEdit &edit : fix.edits) {
            edits.push_back({{"place", asJson(edit.place, argumentOf)}, {"text", edit.text}});
        }
        json["fixes"].push_back({{"what", fix.what}, {"edits", edits}});
    }
}

ZELT_Json asJson(const std::string &severity, const std::string &category, int code,
                 const std::string &file, int line, const std::string &text,
                 const KIT_MessageDetail *detail, const ArgumentOf &argumentOf)
{
    ZELT_Json json;
    json["severity"] = severity;
    json["category"] = category;
    json["code"] = code;
    json["file"] = file.empty() ? ZELT_Json() : ZELT_Json(file);
    json["line"] = line > 0 ? ZELT_Json(line) : ZELT_Json();
    json["text"] = text;
    const KIT_MessageDetail none;
    addDetail(json, detail ? *detail : none, argumentOf);
    if (json["place"]["file"].is_null()) {
        json["place"]["file"] = json["file"];
    }
    if (json["place"]["line"].is_null() && json["place"]["offset"].is_null()) {
        json["place"]["line"] = json["line"];
    }
    return json;
}

/// `file:line:column`, as much of it as is known; of a binary `file: byte offset`.
std::string asPosition(const KIT_MessagePlace &place)
{
    if (place.file.empty()) {
        return "zel"; // of a word of the command line
    }
    std::string out = place.file;
    if (place.line > 0) {
        out += ":" + std::to_string(place.line);
        out += place.column > 0 ? ":" + std::to_string(place.column) : "";
    } else if (place.offset >= 0) {
        out += ": byte " + std::to_string(place.offset);
    }
    return out;
}

/// As wide as a text on a terminal: its tabs, and a blank for each other character.
std::string asBlanks(const std::string &text)
{
    std::string out;
    for (const char c : text) {
        const bool innerFlag = (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
        out += innerFlag ? "" : c == '\t' ? "\t" : " ";
    }
    return out;
}

/// The line of the file with the mistake underlined; of a long line, the part around it.
std::string asSource(const KIT_MessagePlace &place)
{
    constexpr std::size_t theBefore = 60;
    constexpr std::size_t theWidth = 120;
    if (place.column <= 0) {
        return {};
    }
    const std::size_t begin = std::min(std::size_t(place.column) - 1, place.source.size());
    const std::size_t last = place.endLine == place.line && place.endColumn > place.column
                                 ? std::size_t(place.endColumn) - 1
                             : place.endLine > place.line ? place.source.size()
                                                          : begin + 1;
    const std::size_t from =
        place.source.size() > theWidth && begin > theBefore ? begin - theBefore : 0;
    const std::size_t end = std::min({last, from + theWidth, place.source.size()});
    const std::string mark = ZELTprintable(place.source.substr(begin, end - std::min(begin, end)));
    const std::string number = std::to_string(place.line);
    const std::string tildes(std::max(asBlanks(mark).size(), std::size_t(1)) - 1, '~');
    return "  " + number + " | " + ZELTprintable(place.source.substr(from, theWidth)) + "\n  " +
           std::string(number.size(), ' ') + " | " +
           asBlanks(ZELTprintable(place.source.substr(from, begin - from))) + "^" + tildes + "\n";
}

/// Whether a text has a name as a word of its own.
bool names(const std::string &text, const std::string &name)
{
    const auto isPart = [&](std::size_t at) {
        const auto c = static_cast<unsigned char>(at < text.size() ? text[at] : ' ');
        return std::isalnum(c) != 0 || c == '_';
    };
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
        if ((at == 0 || !isPart(at - 1)) && !isPart(at + name.size())) {
            return true;
        }
    }
    return false;
}

std::string asRelated(const KIT_MessageDetail &detail)
{
    std::string out;
    for (const KIT_MessageRelated &related : detail.related) {
        out += ZELTprintable(asPosition(related.place) + ": note: " + related.text) + "\n" +
               asSource(related.place);
    }
    return out;
}

/// As compilers print it.
std::string asFull(const std::string &severity, const KIT_MessagePlace &place,
                   const std::string &text, const std::string &code,
                   const KIT_MessageDetail *detail)
{
    std::string out;
    for (std::size_t i = 0; detail && i < detail->includedFrom.size(); ++i) {
        out += (i ? "                 from " : "In file included from ") +
               asPosition(detail->includedFrom[i]) + "\n";
    }
    out +=
        asPosition(place) + ": " + severity + ": " + text + (code.empty() ? "" : " [" + code + "]");
    out = ZELTprintable(out) + "\n" + asSource(place);
    if (!detail) {
        return out;
    }
    if (!detail->subject.empty() && !names(text, detail->subject)) {
        out += "  note: in '" + ZELTprintable(detail->subject) + "'\n";
    }
    if (!detail->hint.empty()) {
        out += "  note: " + ZELTprintable(detail->hint) + "\n";
    }
    return out + asRelated(*detail);
}

bool theFullOutputFlag = false; ///< of what is printed on standard output

} // namespace

std::string ZELTmessageNotes(const NOD_Message &message)
{
    return theFullOutputFlag && message.detail
               ? asSource(message.detail->place) + asRelated(*message.detail)
               : "";
}

ZELT_Json ZELTmessageJson(const NOD_Message &message)
{
    return asJson(severityWord(message.severity), message.category, message.code, message.file,
                  message.line, message.text, message.detail.get(), inNoArgument);
}

ZELT_Messages::ZELT_Messages()
{
    setForm("auto");
    KITgetErrorManager().setFlags(KIT_ErrorManager::theDetailsFlag);
    DS_Stream::setAllDetails(true);
    DS_Stream::setMessageSink(takeScriptMessage, this);
    SNKsetTracebackHandler(takeTraceback, this);
}

ZELT_Messages::~ZELT_Messages()
{
    SNKsetTracebackHandler(nullptr, nullptr);
    DS_Stream::setMessageSink(nullptr, nullptr);
    DS_Stream::setAllDetails(false);
}

int ZELT_Messages::argumentOf(const KIT_MessagePlace &place) const
{
    if (!place.file.empty() || place.source.empty()) {
        return 0;
    }
    const auto first = myArguments.begin() +
                       std::min(std::ptrdiff_t(myCommandWords), std::ptrdiff_t(myArguments.size()));
    const auto found = std::find_if(first, myArguments.end(), [&](const std::string &word) {
        return holds(word, place.source);
    });
    return found == myArguments.end() ? 0 : int(found - myArguments.begin()) + 1;
}

void ZELT_Messages::setForm(const std::string &form)
{
    const auto isFull = [&](int stream) {
        return form == "full" || (form != "plain" && isatty(stream) == 1);
    };
    myFullFlag = isFull(STDERR_FILENO);
    theFullOutputFlag = isFull(STDOUT_FILENO);
}

void ZELT_Messages::takeScriptMessage(void *data, KIT_ErrorSeverity severity, const char *file,
                                      int line, const char *text)
{
    const DS_Stream *const stream = DS_Stream::getReporting();
    const std::shared_ptr<const KIT_MessageDetail> detail = stream ? stream->makeDetail() : nullptr;
    static_cast<ZELT_Messages *>(data)->add(severity, theKITCommonCategory, KIT_COMMON_BAD_SCRIPT,
                                            file ? file : "", line, text, detail.get());
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
    add(KIT_ERROR_ABORT, "", 0, file, 0, text);
}

void ZELT_Messages::wordError(const std::string &word, const std::string &text)
{
    const auto detail = KIT_MessageDetail::ofText(word, "", 0, word.size());
    add(KIT_ERROR_ABORT, "", 0, "", 0, text, word.empty() ? nullptr : detail.get());
}

void ZELT_Messages::add(KIT_ErrorSeverity severity, std::string category, int code,
                        const std::string &file, int line, const std::string &text,
                        const KIT_MessageDetail *detail)
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
    if (category == theKITCommonCategory && code == KIT_COMMON_BAD_SCRIPT) {
        if (const KIT_MessageEntry *const own = KITfindTextMessage(rest, theKITScriptCategory)) {
            category = own->category;
            code = own->code;
        }
    }
    if (category.empty()) {
        const KIT_MessageEntry *const known = KITfindTextMessage(rest);
        category = known ? known->category : theToolCategory;
        code = known ? known->code : 0;
    }
    const std::lock_guard<std::mutex> lock(myLock);
    myErrors += severity >= KIT_ERROR_ABORT;
    const std::string word = severityWord(severity);
    if (!myJsonFlag && myFullFlag) {
        KIT_MessagePlace told;
        told.file = place;
        told.line = number;
        if (detail && detail->place.isKnown()) {
            told = detail->place;
            told.file = told.file.empty() ? place : told.file;
        }
        std::cerr << asFull(
            word, told, rest,
            category == theToolCategory ? "" : category + " " + std::to_string(code), detail);
        return;
    }
    if (!myJsonFlag) {
        std::cerr << ZELTprintable(asText(word, place, number, rest)) << '\n';
        return;
    }
    std::cerr << ZELTjsonText(asJson(word, category, code, place, number, rest, detail,
                                     [this](const KIT_MessagePlace &at) { return argumentOf(at); }))
              << '\n';
}

void ZELT_Messages::add(const NOD_Report &report)
{
    // A file that is read twice is reported once.
    std::set<std::string> reported;
    for (const NOD_Message &message : report.getMessages()) {
        const std::string text =
            (message.subject.empty() ? "" : message.subject + ": ") + message.text;
        // On one line plain text can't tell two places.
        const bool placedFlag = (myJsonFlag || myFullFlag) && message.detail;
        const std::string place =
            placedFlag ? "@" + std::to_string(message.detail->place.offset) : "";
        if (reported.insert(message.asText() + place).second) {
            add(message.severity, message.category.empty() ? theToolCategory : message.category,
                message.code, message.file, message.line, text, message.detail.get());
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
            add(entry.severity, entry.category, entry.code, namedFlag ? "" : file, 0, text,
                entry.detail.get());
        }
    }
    manager.clearAndDestroyErrors();
}
