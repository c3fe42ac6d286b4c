#include <NOD/NOD_Difference.h>

#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_Report.h>
#include <NOD/difference/NOD_RecordJsonPrivate.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>
#include <vector>

namespace
{

using Json = nlohmann::ordered_json;

// Stored.
constexpr const char *theFormat = "zel difference";
constexpr int theVersion = 1;
constexpr int theDeepest = 1000; ///< records in records; a scene has fewer levels

struct Fault : std::runtime_error
{
    using std::runtime_error::runtime_error;
    /// A word that is none of those there are, as it stands in the text: after its key, or a key itself.
    Fault(const std::string &text, std::string ofKey, std::string wrong,
          std::vector<std::string> words)
        : std::runtime_error(text), key(std::move(ofKey)), found(std::move(wrong)),
          candidates(std::move(words))
    {}

    std::string key;
    std::string found;
    std::vector<std::string> candidates;
};

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

bool isUtf8(const std::string &text)
{
    try {
        Json(text).dump();
        return true;
    } catch (const Json::type_error &) {
        return false;
    }
}

std::string hexOf(std::string_view bytes)
{
    constexpr char theDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex += theDigits[static_cast<unsigned char>(c) >> 4U];
        hex += theDigits[static_cast<unsigned char>(c) & 15U];
    }
    return hex;
}

/// A text as it is, or its bytes where it is none.
Json jsonOf(const std::string &text)
{
    return isUtf8(text) ? Json(text) : Json{{"bytes", hexOf(text)}};
}

Json jsonOf(const NOD_Value &value)
{
    if (const auto *whole = std::get_if<std::int64_t>(&value)) {
        return *whole;
    }
    if (const auto *text = std::get_if<std::string>(&value)) {
        return jsonOf(*text);
    }
    const auto *number = std::get_if<double>(&value);
    if (!number) {
        return nullptr;
    }
    if (std::isfinite(*number)) {
        return *number;
    }
    std::uint64_t bits = 0;
    std::memcpy(&bits, number, sizeof bits);
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8) {
        bytes += char((bits >> unsigned(shift)) & 0xffU);
    }
    return {{"bits", hexOf(bytes)}};
}

Json jsonOf(const NOD_RecordPath &path)
{
    Json steps = Json::array();
    for (const NOD_PathStep &step : path) {
        Json name = step.kind == NOD_RecordKind::ITEM ? Json(step.item) : jsonOf(step.name);
        steps.push_back(Json::array({NODtraitsOf(step.kind).word, std::move(name)}));
    }
    return steps;
}

Json jsonOf(const NOD_Record &record)
{
    Json out;
    out["kind"] = record.getTraits().word;
    if (!record.getName().empty()) {
        out["name"] = jsonOf(record.getName());
    }
    if (!std::holds_alternative<std::monostate>(record.getValue())) {
        out["value"] = jsonOf(record.getValue());
    }
    for (const auto &part : record.getParts()) {
        out["parts"].push_back(jsonOf(*part));
    }
    return out;
}

Json jsonOf(const NOD_Change &change)
{
    using Verb = NOD_Change::Verb;
    Json out;
    out["kind"] = NODtraitsOf(change.getKind()).word;
    out["verb"] = NOD_Change::getVerbName(change.verb);
    out["address"] = jsonOf(NODpathText(change.getPath()));
    if (!change.oldPath.empty()) {
        out["path"] = jsonOf(change.oldPath);
    }
    if (!change.newPath.empty() && change.newPath != change.oldPath) {
        out["newPath"] = jsonOf(change.newPath);
    }
    if (change.verb == Verb::CHANGED) {
        out["old"] = jsonOf(change.oldValue);
        out["new"] = jsonOf(change.newValue);
    }
    if (change.record) {
        out[change.verb == Verb::REMOVED ? "old" : "new"] = jsonOf(*change.record);
    }
    if (change.oldAfter) {
        out["oldAfter"] = jsonOf(*change.oldAfter);
    }
    if (change.newAfter) {
        out["newAfter"] = jsonOf(*change.newAfter);
    }
    return out;
}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

int digitOf(char c)
{
    return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::string bytesOf(const Json &json)
{
    const std::string *const hex = json.get_ptr<const std::string *>();
    std::string bytes;
    for (std::size_t i = 0; hex && i + 1 < hex->size(); i += 2) {
        const int high = digitOf((*hex)[i]);
        const int low = digitOf((*hex)[i + 1]);
        if (high < 0 || low < 0) {
            break;
        }
        bytes += char(high * 16 + low);
    }
    if (!hex || bytes.size() * 2 != hex->size()) {
        throw Fault("expected pairs of hexadecimal digits");
    }
    return bytes;
}

/// The member of an object that has only it; null if it isn't one.
const Json *onlyMember(const Json &json, const char *name)
{
    const bool fits = json.is_object() && json.size() == 1 && json.contains(name);
    return fits ? &json[name] : nullptr;
}

std::string textOf(const Json &json)
{
    if (const Json *const bytes = onlyMember(json, "bytes")) {
        return bytesOf(*bytes);
    }
    if (!json.is_string()) {
        throw Fault("expected a text");
    }
    return json.get<std::string>();
}

NOD_Value valueOf(const Json &json)
{
    if (json.is_null()) {
        return {};
    }
    if (json.is_number_unsigned() && json.get<std::uint64_t>() > std::uint64_t(INT64_MAX)) {
        throw Fault("a whole number is too large");
    }
    if (json.is_number_integer()) {
        return json.get<std::int64_t>();
    }
    if (json.is_number_float()) {
        return json.get<double>();
    }
    const Json *const digits = onlyMember(json, "bits");
    if (!digits) {
        return textOf(json);
    }
    const std::string bytes = bytesOf(*digits);
    std::uint64_t bits = 0;
    for (const char c : bytes) {
        bits = (bits << 8U) | static_cast<unsigned char>(c);
    }
    if (bytes.size() != sizeof bits) {
        throw Fault("expected the 16 digits of a number");
    }
    double number = 0.0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

const Json &memberOf(const Json &json, const char *name)
{
    if (!json.is_object() || !json.contains(name)) {
        std::vector<std::string> keys;
        if (json.is_object()) {
            for (const auto &member : json.items()) {
                keys.push_back(member.key());
            }
        }
        const std::string *const nearest = KITnearestWord(name, keys);
        throw Fault(std::string("\"") + name + "\" is missing", "", nearest ? *nearest : "",
                    {name});
    }
    return json[name];
}

NOD_RecordKind kindOf(const Json &json)
{
    NOD_RecordKind kind = NOD_RecordKind::DOCUMENT;
    const std::string word = textOf(json);
    if (!NODfindRecordKind(word, kind)) {
        throw Fault("\"" + word + "\" is no kind of what is compared");
    }
    return kind;
}

NOD_RecordPath pathOf(const Json &json)
{
    NOD_RecordPath path;
    if (!json.is_array() || json.empty() || json.size() > std::size_t(theDeepest)) {
        throw Fault("expected a path");
    }
    for (const Json &step : json) {
        if (!step.is_array() || step.size() != 2) {
            throw Fault("expected steps of a kind and a name");
        }
        NOD_PathStep made;
        made.kind = kindOf(step[0]);
        if (made.kind != NOD_RecordKind::ITEM) {
            made.name = textOf(step[1]);
        } else if (!step[1].is_number_unsigned() || step[1].get<std::uint64_t>() > INT32_MAX) {
            throw Fault("expected the place of an item");
        } else {
            made.item = step[1].get<int>();
        }
        path.push_back(std::move(made));
    }
    return path;
}

std::unique_ptr<NOD_Record> recordOf(const Json &json, int depth)
{
    if (depth > theDeepest) {
        throw Fault("there are too many levels");
    }
    auto record = std::make_unique<NOD_Record>(
        kindOf(memberOf(json, "kind")), json.contains("name") ? textOf(json["name"]) : "",
        json.contains("value") ? valueOf(json["value"]) : NOD_Value());
    if (json.contains("parts")) {
        if (!json["parts"].is_array()) {
            throw Fault("expected a list of parts");
        }
        for (const Json &part : json["parts"]) {
            record->add(recordOf(part, depth + 1));
        }
    }
    record->numberItems();
    return record;
}

NOD_Change changeOf(const Json &json)
{
    using Verb = NOD_Change::Verb;
    NOD_Change change;
    const std::string verb = textOf(memberOf(json, "verb"));
    if (!NOD_Change::findVerb(verb, change.verb)) {
        using Named = NOD_Change;
        throw Fault("\"" + verb + "\" is nothing that happens to anything", "verb", verb,
                    {Named::getVerbName(Verb::ADDED), Named::getVerbName(Verb::REMOVED),
                     Named::getVerbName(Verb::CHANGED), Named::getVerbName(Verb::RENAMED),
                     Named::getVerbName(Verb::MOVED)});
    }
    if (change.verb != Verb::ADDED) {
        change.oldPath = pathOf(memberOf(json, "path"));
    }
    if (change.verb != Verb::REMOVED) {
        change.newPath = json.contains("newPath") || change.verb == Verb::ADDED
                             ? pathOf(memberOf(json, "newPath"))
                             : change.oldPath;
    }
    if (change.verb == Verb::CHANGED) {
        change.oldValue = valueOf(memberOf(json, "old"));
        change.newValue = valueOf(memberOf(json, "new"));
    } else if (change.verb == Verb::ADDED || change.verb == Verb::REMOVED) {
        change.record = recordOf(memberOf(json, change.verb == Verb::ADDED ? "new" : "old"), 0);
    }
    if (json.contains("oldAfter")) {
        change.oldAfter = textOf(json["oldAfter"]);
    }
    if (json.contains("newAfter")) {
        change.newAfter = textOf(json["newAfter"]);
    }
    return change;
}

/// Where `"word"` is in a text, after `"key":` if there is a key; npos for nowhere.
std::size_t findWord(std::string_view text, const std::string &key, const std::string &word)
{
    constexpr const char *theBlanks = " \t\r\n";
    const std::string quotedKey = '"' + key + '"';
    const std::string quoted = '"' + word + '"';
    if (key.empty()) {
        return text.find(quoted);
    }
    for (std::size_t at = text.find(quotedKey); at != std::string_view::npos;
         at = text.find(quotedKey, at + 1)) {
        std::size_t next = text.find_first_not_of(theBlanks, at + quotedKey.size());
        if (next != std::string_view::npos && text[next] == ':') {
            next = text.find_first_not_of(theBlanks, next + 1);
            if (next != std::string_view::npos && text.substr(next, quoted.size()) == quoted) {
                return next;
            }
        }
    }
    return std::string_view::npos;
}

/// Without a place if the word stands there in another form, with escapes.
std::shared_ptr<const KIT_MessageDetail> detailOf(std::string_view text, const std::string &name,
                                                  const Fault &fault)
{
    const std::size_t at =
        fault.found.empty() ? std::string_view::npos : findWord(text, fault.key, fault.found);
    if (fault.candidates.empty()) {
        return nullptr;
    }
    const bool knownFlag = at != std::string_view::npos;
    auto detail = knownFlag
                      ? KIT_MessageDetail::ofText(text, name, at + 1, at + 1 + fault.found.size())
                      : std::make_shared<KIT_MessageDetail>();
    detail->place.file = name;
    detail->found = fault.found;
    detail->expected = fault.candidates;
    KITaddNearest(*detail, fault.found, fault.candidates);
    return detail;
}

void addFault(const std::string &name, const std::string &subject, const std::string &what,
              std::shared_ptr<const KIT_MessageDetail> detail, NOD_Report &report)
{
    const int line = detail ? detail->place.line : 0;
    report.add({KIT_ERROR_ABORT, name, line, subject, what, {}, 0, std::move(detail)});
}

} // namespace

/// A line for each edit.
std::string NOD_Difference::toJson() const
{
    constexpr int theOneLine = -1;
    std::string out = std::string("{\"format\": \"") + theFormat +
                      "\", \"version\": " + std::to_string(theVersion) +
                      ", \"exact\": " + (myExactFlag ? "true" : "false") + ",\n \"edits\": [";
    const char *separator = "\n  ";
    for (const NOD_Change &change : myChanges) {
        out += separator + jsonOf(change).dump(theOneLine);
        separator = ",\n  ";
    }
    return out + "]}\n";
}

bool NOD_Difference::fromJson(std::string_view text, const std::string &name, NOD_Report &report)
{
    std::size_t number = 0;
    bool listFlag = false;
    try {
        const Json json = Json::parse(text);
        if (textOf(memberOf(json, "format")) != theFormat) {
            throw Fault("isn't a patch of parameters");
        }
        if (memberOf(json, "version") != Json(theVersion)) {
            const Json &version = json["version"];
            throw Fault("is a patch of version " +
                        (version.is_number() ? version.dump() : std::string("none")) +
                        "; this can read version " + std::to_string(theVersion));
        }
        if (memberOf(json, "exact") != Json(true)) {
            throw Fault("is a comparison that leaves out what has no meaning, and no patch");
        }
        Changes changes;
        const Json &edits = memberOf(json, "edits");
        if (!edits.is_array()) {
            throw Fault("expected a list of edits");
        }
        listFlag = true;
        for (const Json &edit : edits) {
            changes.push_back(changeOf(edit));
            ++number;
        }
        myChanges.swap(changes);
        return true;
    } catch (const Json::parse_error &fault) {
        const std::size_t end = std::min(fault.byte, text.size());
        addFault(name, "", "is no JSON: reading ends here",
                 KIT_MessageDetail::ofText(text, name, end - (end > 0), end), report);
    } catch (const Json::exception &) {
        addFault(name, listFlag ? "edit " + std::to_string(number + 1) : "",
                 "isn't of the form of a patch", nullptr, report);
    } catch (const Fault &fault) {
        addFault(name, listFlag ? "edit " + std::to_string(number + 1) : "", fault.what(),
                 detailOf(text, name, fault), report);
    }
    return false;
}

nlohmann::ordered_json NODjsonOf(const NOD_Record &record)
{
    return jsonOf(record);
}

nlohmann::ordered_json NODjsonOf(const NOD_RecordPath &path)
{
    return jsonOf(path);
}

nlohmann::ordered_json NODjsonOf(const std::string &text)
{
    return jsonOf(text);
}
