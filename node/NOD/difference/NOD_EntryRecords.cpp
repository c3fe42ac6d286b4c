#include <NOD/difference/NOD_EntryRecordsPrivate.h>

#include <NOD/difference/NOD_BlockNamesPrivate.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <iterator>
#include <sstream>

namespace
{

using Kind = NOD_RecordKind;
using EntryKind = ZEL_StreamEntry::Kind;

// Stored.
constexpr const char *theForms[] = {"words", "float", "ordinal", "string", "data"};
constexpr const char *thePacketsForm = "packets";
constexpr const char *theNamelessStart = "packet ";

std::string formOf(const ZEL_StreamEntry &entry)
{
    if (entry.kind != EntryKind::PACKETS) {
        return theForms[int(entry.kind)];
    }
    return std::string(thePacketsForm) + " " + std::to_string(entry.classId) + " " +
           std::to_string(entry.packetId) + (entry.plainFlag ? " plain" : "");
}

void takeForm(const std::string &form, ZEL_StreamEntry &entry)
{
    const auto known = std::find(std::begin(theForms), std::end(theForms),
                                 form == theCountForm ? std::string("float") : form);
    if (known != std::end(theForms)) {
        entry.kind = EntryKind(known - std::begin(theForms));
        return;
    }
    std::istringstream words(form);
    std::string word;
    std::string plain;
    if (words >> word >> entry.classId >> entry.packetId && word == thePacketsForm) {
        entry.kind = EntryKind::PACKETS;
        entry.plainFlag = bool(words >> plain);
    }
}

std::string colorText(const ZEL_StreamColor &color)
{
    std::string text;
    for (const float part : {color.red, color.green, color.blue}) {
        char digits[48];
        const char *const end = std::to_chars(digits, std::end(digits), part).ptr;
        text += (text.empty() ? "" : " ") + std::string(digits, std::size_t(end - digits));
    }
    return text;
}

bool takeColor(const NOD_Record &record, ZEL_StreamColor &color)
{
    const std::string text = NODtextOf(record.getValue());
    const char *at = text.data();
    const char *const end = at + text.size();
    for (float *part : {&color.red, &color.green, &color.blue}) {
        at += at < end && *at == ' ' ? 1 : 0;
        const auto result = std::from_chars(at, end, *part);
        if (result.ec != std::errc()) {
            return false;
        }
        at = result.ptr;
    }
    const std::string &name = record.getName();
    return std::from_chars(name.data(), name.data() + name.size(), color.index).ec == std::errc();
}

NOD_Value valueOf(const ZEL_StreamValue &value)
{
    return std::visit([](const auto &one) { return NOD_Value(one); }, value.value);
}

struct Option
{
    Kind kind;
    std::optional<std::uint32_t> ZEL_StreamOptions::*field;
};

constexpr Option theOptions[] = {{Kind::FLAGS, &ZEL_StreamOptions::flags},
                                 {Kind::LOCKS, &ZEL_StreamOptions::locks},
                                 {Kind::AUTOSCOPE, &ZEL_StreamOptions::autoScope},
                                 {Kind::BYPASS, &ZEL_StreamOptions::bypass},
                                 {Kind::AUTOSELECT, &ZEL_StreamOptions::autoSelect}};

constexpr int theMostComponents = 65536;

/// The place that a component's name says; -1 for none.
int componentOf(const std::string &name)
{
    int component = -1;
    const auto result = std::from_chars(name.data(), name.data() + name.size(), component);
    return result.ec == std::errc() && component < theMostComponents ? component : -1;
}

void takeOption(const NOD_Record &part, ZEL_StreamOptions &options)
{
    const auto *whole = std::get_if<std::int64_t>(&part.getValue());
    for (const Option &option : theOptions) {
        if (option.kind == part.getKind() && whole) {
            options.*option.field = std::uint32_t(*whole);
        }
    }
    ZEL_StreamColor color;
    if (part.getKind() == Kind::PARM_LABEL) {
        options.label = NODtextOf(part.getValue());
    } else if (part.getKind() == Kind::COLOR && takeColor(part, color)) {
        options.colors.push_back(color);
    }
}

/// There are no more components than `most`.
void takePart(const NOD_Record &part, int most, ZEL_StreamEntry &entry)
{
    const bool valueFlag = part.getKind() == Kind::VALUE;
    if (!valueFlag && part.getKind() != Kind::DRIVER) {
        takeOption(part, entry.options);
        return;
    }
    const int component = componentOf(part.getName());
    if (component < 0 || component >= most) {
        return; // such a gap is told once it is read again
    }
    if (entry.values.size() <= std::size_t(component)) {
        entry.values.resize(std::size_t(component) + 1);
    }
    ZEL_StreamValue &value = entry.values[std::size_t(component)];
    if (valueFlag) {
        std::visit([&](const auto &one) { value.value = one; }, part.getValue());
    } else {
        value.drivenFlag = true;
        value.channel = NODtextOf(part.getValue());
    }
}

ZEL_StreamEntry entryOf(const NOD_Record &parm, const std::string &token)
{
    ZEL_StreamEntry entry;
    const std::string form = NODtextOf(parm.valueOf(Kind::FORM));
    entry.token = token;
    takeForm(form, entry);
    if (entry.kind == EntryKind::PACKETS &&
        token.compare(0, std::string(theNamelessStart).size(), theNamelessStart) == 0) {
        entry.token.clear();
    }
    int items = 0;
    for (const auto &part : parm.getParts()) {
        items += part->getKind() == Kind::ITEM ? 1 : 0;
        takePart(*part, int(parm.getParts().size()), entry);
    }
    entry.bytes = NODtextOf(parm.valueOf(Kind::WORDS));
    std::sort(entry.options.colors.begin(), entry.options.colors.end(),
              [](const ZEL_StreamColor &a, const ZEL_StreamColor &b) { return a.index < b.index; });
    if (form == theCountForm) {
        entry.values.resize(std::max<std::size_t>(entry.values.size(), 1));
        entry.values[0].value = double(items);
    }
    return entry;
}

using Use = std::function<void(const NOD_Record &parm, const std::string &token)>;

/// `numbers` are those of the items around.
void forEntries(const NOD_Record &record, std::vector<int> &numbers, const Use &use)
{
    for (const auto &part : record.getParts()) {
        if (part->getKind() != Kind::PARM) {
            continue;
        }
        if (NODtextOf(part->valueOf(Kind::FORM)) != theAbsentForm) {
            use(*part, NOD_BlockNames::nameOf(part->getName(), numbers));
        }
        numbers.push_back(NODfirstNumber(*part));
        for (const auto &item : part->getParts()) {
            if (item->getKind() == Kind::ITEM) {
                forEntries(*item, numbers, use);
                ++numbers.back();
            }
        }
        numbers.pop_back();
    }
}

} // namespace

int NODfirstNumber(const NOD_Record &block)
{
    const NOD_Value start = block.valueOf(Kind::START);
    const auto *first = std::get_if<std::int64_t>(&start);
    constexpr std::int64_t theMost = 1000000000;
    return first ? int(std::clamp(*first, -theMost, theMost)) : theUsualStart;
}

std::string NODentryKey(const ZEL_StreamEntry &entry)
{
    return entry.kind == EntryKind::PACKETS && entry.token.empty()
               ? theNamelessStart + std::to_string(entry.classId) + " " +
                     std::to_string(entry.packetId)
               : entry.token;
}

void NODaddEntry(const ZEL_StreamEntry &entry, NOD_Record &parm)
{
    if (NOD_Record *const absent = parm.find(Kind::FORM)) {
        absent->setValue(formOf(entry));
    } else {
        parm.add(Kind::FORM, {}, formOf(entry));
    }
    // Items stay at the end.
    NOD_Record::Parts items;
    NOD_Record::Parts &parts = parm.changeParts();
    const auto first = std::find_if(parts.begin(), parts.end(),
                                    [](const auto &part) { return part->getKind() == Kind::ITEM; });
    std::move(first, parts.end(), std::back_inserter(items));
    parts.erase(first, parts.end());
    for (const Option &option : theOptions) {
        if (const auto &value = entry.options.*option.field) {
            parm.add(option.kind, {}, std::int64_t(*value));
        }
    }
    if (entry.options.label) {
        parm.add(Kind::PARM_LABEL, {}, *entry.options.label);
    }
    for (const ZEL_StreamColor &color : entry.options.colors) {
        parm.add(Kind::COLOR, std::to_string(color.index), colorText(color));
    }
    for (std::size_t i = 0; i < entry.values.size(); ++i) {
        const ZEL_StreamValue &value = entry.values[i];
        if (value.drivenFlag) {
            parm.add(Kind::DRIVER, std::to_string(i), value.channel);
        }
        if (value.value.index() != 0) {
            parm.add(Kind::VALUE, std::to_string(i), valueOf(value));
        }
    }
    if (!entry.bytes.empty()) {
        parm.add(Kind::WORDS, {}, entry.bytes);
    }
    for (auto &item : items) {
        parm.add(std::move(item));
    }
}

int NODplainCount(const NOD_Record &parm)
{
    const NOD_Value value = parm.valueOf(Kind::VALUE, "0");
    const auto *count = std::get_if<double>(&value);
    constexpr double theMost = 1e9;
    return count && !parm.find(Kind::DRIVER, "0") && !parm.find(Kind::VALUE, "1") &&
                   *count >= 0.0 && *count < theMost && *count == std::floor(*count) &&
                   !std::signbit(*count) && NODtextOf(parm.valueOf(Kind::FORM)) == "float"
               ? int(*count)
               : -1;
}

void NODdropCount(NOD_Record &parm, int count)
{
    NOD_Record::Parts &parts = parm.changeParts();
    const auto isItem = [](const auto &part) { return part->getKind() == Kind::ITEM; };
    if (std::count_if(parts.begin(), parts.end(), isItem) != count) {
        return;
    }
    parts.erase(std::remove_if(parts.begin(), parts.end(),
                               [](const auto &part) { return part->getKind() == Kind::VALUE; }),
                parts.end());
    parm.find(Kind::FORM)->setValue(std::string(theCountForm));
}

void NODlistTokens(const NOD_Record &contents, std::vector<std::string> &tokens)
{
    std::vector<int> numbers;
    forEntries(contents, numbers,
               [&](const NOD_Record &, const std::string &token) { tokens.push_back(token); });
}

std::vector<ZEL_StreamEntry> NODentriesOf(const NOD_Record &contents)
{
    std::vector<ZEL_StreamEntry> entries;
    std::vector<int> numbers;
    forEntries(contents, numbers, [&](const NOD_Record &parm, const std::string &token) {
        entries.push_back(entryOf(parm, token));
    });
    return entries;
}
