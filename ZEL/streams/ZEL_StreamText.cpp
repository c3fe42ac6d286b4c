#include <ZEL/streams/ZEL_StreamTextPrivate.h>

#include <BAS/BAS_Character.h>
#include <BAS/BAS_Number.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmIOToken.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>
#include <ZEL/streams/ZEL_StreamPacketsPrivate.h>

#include <algorithm>
#include <charconv>

namespace
{

using Kind = ZEL_StreamEntry::Kind;
using Item = ZEL_StreamText::Item;

// What this library writes around the values.
constexpr std::string_view theChannelStart = "[ ";
constexpr std::string_view theChannelEnd = " ] ";
constexpr std::string_view theUsualEnd = " ] \t";
constexpr std::string_view theLabelStart = "zellabel=";
/// How far the end of a text without escapes is sought, so that many bad ones take no time.
constexpr std::size_t theMostSought = 4096;

bool begins(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool take(std::string_view &text, std::string_view start)
{
    const bool found = begins(text, start);
    text.remove_prefix(found ? start.size() : 0);
    return found;
}

bool isQuote(int c)
{
    return c == '"' || c == '\'';
}

std::string_view wordAt(std::string_view text)
{
    const char *const end = KIT_IStream::wordEnd(text.data(), text.data() + text.size());
    return text.substr(0, std::size_t(end - text.data()));
}

std::string quoted(std::string_view text)
{
    KIT_WorkBuffer out;
    out.appendQuoted(text);
    return std::string(out.view());
}

/// As the loads do: a text in quotes, or a word. False if there is more.
bool decode(std::string_view all, std::string &text)
{
    KIT_IStream is(all.data(), all.size(), KIT_IStream::TEXT);
    KIT_WorkBuffer buffer;
    const bool found = is.getString(buffer);
    text = buffer.view();
    return found && is.eof();
}

} // namespace

// ---------------------------------------------------------------------- //
// As this library writes it
// ---------------------------------------------------------------------- //

namespace
{

/// After the closing quote; npos without one, or where a text isn't written with escapes.
std::size_t quotedEnd(std::string_view text)
{
    for (std::size_t i = 1; i < text.size() && text[i] != '\n' && text[i] != '\t'; ++i) {
        if (text[i] == '"') {
            return i + 1;
        }
        i += text[i] == '\\' ? 1 : 0;
    }
    return std::string_view::npos;
}

bool takeQuoted(std::string_view &at, Kind kind, Item &item)
{
    std::size_t end = quotedEnd(at);
    if (end == std::string_view::npos || !begins(at.substr(end), "\t")) {
        // The tokens of a menu have no escapes.
        const std::size_t close = at.substr(0, theMostSought).find("\"\t", 1);
        if (kind == Kind::STRING || kind == Kind::DATA || close == std::string_view::npos) {
            return false;
        }
        end = close + 1;
    }
    item.quotedFlag = true;
    item.all = at.substr(0, end);
    item.clearFlag = decode(item.all, item.text);
    at.remove_prefix(end);
    return true;
}

bool takeDriven(std::string_view &at, Kind kind, Item &item)
{
    std::string_view rest = at.substr(theChannelStart.size());
    const std::string_view name = wordAt(rest);
    rest.remove_prefix(name.size());
    item.drivenFlag = true;
    item.channel = name;
    item.clearFlag = !name.empty() && name != "]" && !(kind == Kind::ORDINAL && isQuote(name[0]));
    item.valueFlag = take(rest, "\t");
    if (item.valueFlag) {
        const std::size_t end = rest.substr(0, theMostSought).find(theUsualEnd);
        item.all = rest.substr(0, end);
        rest.remove_prefix(std::min(end, rest.size()));
        // An empty text, and what stands in front of the bracket.
        const bool anyFlag = kind == Kind::STRING && item.all.empty();
        item.clearFlag = (anyFlag || (decode(item.all, item.text) && item.all[0] != ']' &&
                                      (kind != Kind::FLOAT || !isQuote(item.all[0])))) &&
                         item.clearFlag;
    }
    if (name.empty() || !take(rest, theChannelEnd)) {
        return false;
    }
    at = rest;
    return true;
}

bool takeItem(std::string_view &at, Kind kind, Item &item)
{
    if (kind != Kind::FLOAT && begins(at, "\"")) {
        return takeQuoted(at, kind, item);
    }
    if (kind != Kind::DATA && begins(at, theChannelStart)) {
        return takeDriven(at, kind, item);
    }
    item.all = wordAt(at);
    item.text = item.all;
    at.remove_prefix(item.all.size());
    return !item.all.empty() && item.all != ")";
}

} // namespace

/// Exactly what a save writes. It may have texts that a load takes for something else: brackets among the
/// blanks of a driven text, quotes in a token.
bool ZEL_StreamText::readWritten(KIT_IStream &is, Kind kind)
{
    std::string_view rest = is.rest();
    take(rest, "\t");
    const char *const begin = rest.data();
    blockFlag = begins(rest, theChannelStart);
    if (blockFlag) {
        is.seekg(is.tellg() + is.remaining() - std::int64_t(rest.size()) + 1);
        if (!readOptions(is)) {
            return false;
        }
        rest = is.rest();
    }
    if (!take(rest, blockFlag ? "\t(" : "(")) {
        return false;
    }
    while (take(rest, "\t")) {
        if (rest == ")" || begins(rest, ")\n")) {
            all = std::string_view(begin, std::size_t(rest.data() + 1 - begin));
            return is.seekg(is.tellg() + is.remaining() - std::int64_t(rest.size()) + 1);
        }
        items.emplace_back();
        if (!takeItem(rest, kind, items.back())) {
            return false;
        }
    }
    return false;
}

// ---------------------------------------------------------------------- //
// As people write it
// ---------------------------------------------------------------------- //

namespace
{

enum class Found
{
    ITEM,
    END,
    CUT
};

std::string_view since(const KIT_IStream &is, const char *begin)
{
    return std::string_view(begin, std::size_t(is.rest().data() - begin));
}

bool readChannel(KIT_IStream &is, Kind kind, Item &item)
{
    KIT_WorkBuffer text;
    item.drivenFlag = true;
    if (!(kind == Kind::ORDINAL ? is.getString(text) : is.getWord(text))) {
        return false;
    }
    item.channel = text.view();
    item.clearFlag = item.channel != "]" && ZELisOneWord(item.channel);
    is.skipWhitespace();
    const char *const begin = is.rest().data();
    const bool endFlag = kind == Kind::STRING ? is.peek() == ']' : wordAt(is.rest()) == "]";
    item.valueFlag = !endFlag;
    if (item.valueFlag) {
        if (!(kind == Kind::FLOAT ? is.getWord(text) : is.getString(text))) {
            return false;
        }
        item.all = since(is, begin);
        item.text = text.view();
    }
    return is.checkToken("]");
}

/// The ends of items as the loads of each kind find them.
Found readItem(KIT_IStream &is, Kind kind, Item &item)
{
    is.skipWhitespace();
    const std::string_view rest = is.rest();
    const std::string_view word = wordAt(rest);
    const bool textFlag = kind == Kind::STRING || kind == Kind::DATA;
    if (textFlag ? begins(rest, ")") : word == ")") {
        is.get();
        return Found::END;
    }
    if (kind == Kind::STRING ? begins(rest, theChannelStart)
                             : kind != Kind::DATA && kind != Kind::WORDS && word == "[") {
        is.get();
        return readChannel(is, kind, item) ? Found::ITEM : Found::CUT;
    }
    item.quotedFlag = kind != Kind::FLOAT && isQuote(is.peek());
    KIT_WorkBuffer text;
    if (!(item.quotedFlag ? is.getString(text) : is.getWord(text))) {
        return Found::CUT;
    }
    item.all = since(is, rest.data());
    item.text = text.view();
    return Found::ITEM;
}

} // namespace

bool ZEL_StreamText::readLoose(KIT_IStream &is, Kind kind)
{
    is.skipWhitespace();
    const char *const begin = is.rest().data();
    std::string_view word;
    is.getWord(word);
    blockFlag = word == "[";
    if (!blockFlag && word != "(") {
        return false;
    }
    const std::int64_t afterBracket = is.tellg();
    clearFlag = !blockFlag || (readOptions(is) && is.getWord(word) && word == "(");
    for (Found found = Found::ITEM; clearFlag && found != Found::END;) {
        Item item;
        found = readItem(is, kind, item);
        clearFlag = found != Found::CUT;
        if (found == Found::ITEM) {
            items.push_back(std::move(item));
        }
    }
    if (!clearFlag) {
        // Not in the grammar of the kind: it ends as what a load skips does.
        is.seekg(afterBracket);
        do {
            if (!is.getWord(word)) {
                return false;
            }
        } while (word != ")");
    }
    all = since(is, begin);
    return true;
}

bool ZEL_StreamText::readOptions(KIT_IStream &is)
{
    for (;;) {
        is.skipWhitespace();
        const char *const begin = is.rest().data();
        std::string_view rest = is.rest();
        Option option;
        if (take(rest, theLabelStart) && !rest.empty() && isQuote(rest[0])) {
            KIT_WorkBuffer text;
            is.seekg(is.tellg() + std::int64_t(theLabelStart.size()));
            if (!is.getString(text)) {
                return false;
            }
            option.word = theLabelStart.substr(0, theLabelStart.size() - 1);
            option.text = text.view();
        } else {
            std::string_view word;
            if (!is.getWord(word)) {
                return false;
            }
            if (word == "]" || word == ")") {
                return word == "]";
            }
            const std::size_t equals = std::min(word.find('='), word.size());
            option.word = word.substr(0, equals);
            option.text = word.substr(std::min(equals + 1, word.size()));
        }
        option.all = since(is, begin);
        options.push_back(std::move(option));
    }
}

bool ZEL_StreamText::read(KIT_IStream &is, Kind kind)
{
    const std::int64_t start = is.tellg();
    *this = ZEL_StreamText();
    if (readWritten(is, kind)) {
        return true;
    }
    *this = ZEL_StreamText();
    return is.seekg(start) && readLoose(is, kind);
}

// ---------------------------------------------------------------------- //
// Spelling
// ---------------------------------------------------------------------- //

namespace
{

static_assert(ZEL_IO_TOKEN_COUNT == ZEL_IO_LOCKS + 6, "each option is in the functions below");

using Field = std::optional<std::uint32_t> ZEL_StreamOptions::*;

Field fieldOf(std::string_view word)
{
    constexpr std::pair<ZEL_ParmIOToken, Field> theFields[] = {
        {ZEL_IO_LOCKS, &ZEL_StreamOptions::locks},
        {ZEL_IO_AUTOSCOPE, &ZEL_StreamOptions::autoScope},
        {ZEL_IO_BYPASS, &ZEL_StreamOptions::bypass},
        {ZEL_IO_AUTOSELECT, &ZEL_StreamOptions::autoSelect}};
    for (const auto &[token, field] : theFields) {
        if (word == getPacketIOToken(token)) {
            return field;
        }
    }
    return nullptr;
}

std::string withWord(ZEL_ParmIOToken token, const std::string &text)
{
    return getPacketIOToken(token) + ("=" + text);
}

std::string colorText(const ZEL_StreamColor &color)
{
    std::string text = std::to_string(color.index);
    for (const float part : {color.red, color.green, color.blue}) {
        char digits[64];
        const auto end = std::to_chars(digits, digits + sizeof(digits), part);
        text.append(";").append(digits, end.ptr);
    }
    return withWord(ZEL_IO_COLOR, text + ";");
}

bool parseColor(std::string_view text, ZEL_StreamColor &color)
{
    const auto next = [&](double &number) {
        const std::size_t end = text.find(';');
        const bool good = end != std::string_view::npos && end > 0 &&
                          BASparseFloat(text.data(), end, number) == end;
        text.remove_prefix(good ? end + 1 : 0);
        return good;
    };
    double index = 0.0, red = 0.0, green = 0.0, blue = 0.0;
    if (!next(index) || !next(red) || !next(green) || !next(blue) || index < 0.0 ||
        index > 4294967295.0) {
        return false;
    }
    color = {std::uint32_t(index), float(red), float(green), float(blue)};
    return true;
}

/// As saveAsciiOptions() of an instance does.
std::vector<std::string> spelledOptions(const ZEL_StreamOptions &options)
{
    std::vector<std::string> words;
    const auto add = [&](ZEL_ParmIOToken token, const std::optional<std::uint32_t> &field) {
        if (field) {
            words.push_back(withWord(token, std::to_string(*field)));
        }
    };
    if (options.flags) {
        words.push_back(std::to_string(*options.flags));
    }
    add(ZEL_IO_LOCKS, options.locks);
    add(ZEL_IO_AUTOSCOPE, options.autoScope);
    add(ZEL_IO_BYPASS, options.bypass);
    if (options.label) {
        words.push_back(withWord(ZEL_IO_LABEL, quoted(*options.label)));
    }
    for (const ZEL_StreamColor &color : options.colors) {
        words.push_back(colorText(color));
    }
    add(ZEL_IO_AUTOSELECT, options.autoSelect);
    return words;
}

/// One that a load reads as it is: neither quotes nor escapes, nor more than a word.
bool isPlainWord(std::string_view text)
{
    return ZELisOneWord(text) && !isQuote(text[0]) && text[0] != ']';
}

bool hasNul(std::string_view text)
{
    return text.find('\0') != std::string_view::npos;
}

std::string spelledValue(Kind kind, const ZEL_StreamValue &value)
{
    if (const auto *number = std::get_if<double>(&value.value)) {
        return std::string(KIT_Digits(*number).view());
    }
    if (const auto *number = std::get_if<std::int64_t>(&value.value)) {
        return std::to_string(*number);
    }
    const auto &text = std::get<std::string>(value.value);
    if (value.drivenFlag) {
        return isPlainWord(text) || text.empty() ? text : quoted(text);
    }
    const bool bareFlag = kind == Kind::ORDINAL && text.find_first_of("\"\\") == std::string::npos;
    return bareFlag ? '"' + text + '"' : quoted(text);
}

} // namespace

std::optional<std::string> ZEL_StreamEntry::getText() const
{
    if (kind == Kind::PACKETS) {
        return std::nullopt;
    }
    if (kind == Kind::WORDS) {
        return bytes;
    }
    std::string text;
    const std::vector<std::string> words = spelledOptions(options);
    if (!words.empty()) {
        text = theChannelStart;
        for (std::size_t i = 0; i < words.size(); ++i) {
            text += (i > 0 ? "\t" : "") + words[i];
        }
        text += " ]\t";
    }
    text += '(';
    for (const ZEL_StreamValue &value : values) {
        const bool anyFlag = value.value.index() != 0;
        const std::string spelled = anyFlag ? spelledValue(kind, value) : "";
        if (value.drivenFlag) {
            text.append("\t").append(theChannelStart).append(value.channel);
            text.append(anyFlag ? "\t" : "").append(spelled).append(theChannelEnd);
        } else {
            text.append("\t").append(spelled);
        }
    }
    text += "\t)";

    // Held is what is read again: a channel's name with blanks isn't, nor is a zero byte.
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    ZEL_StreamText back;
    bool good = back.read(is, kind) && is.eof() && back.items.size() == values.size() &&
                !(options.label && hasNul(*options.label));
    for (std::size_t i = 0; good && i < values.size(); ++i) {
        const Item &item = back.items[i];
        const auto *held = std::get_if<std::string>(&values[i].value);
        good = item.clearFlag && item.drivenFlag == values[i].drivenFlag &&
               item.channel == values[i].channel &&
               (!held || (item.text == *held && !hasNul(*held)));
    }
    return good ? std::optional<std::string>(text) : std::nullopt;
}

// ---------------------------------------------------------------------- //
// Meaning
// ---------------------------------------------------------------------- //

namespace
{

bool isBareWord(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), BASisWordChar);
}

/// In a table, that is: no script runs.
bool hasToken(const ZEL_Parm *parm, std::string_view token)
{
    const ZEL_ChoiceList *const menu = parm ? parm->getChoiceListPtr() : nullptr;
    KIT_String text;
    for (int i = 0; menu && i < menu->getStaticSize(); ++i) {
        if (menu->tokenFromIndex(text, i, nullptr, nullptr, nullptr) && text.view() == token) {
            return true;
        }
    }
    return false;
}

bool parseInteger(std::string_view all, std::int64_t &number)
{
    const auto end = std::from_chars(all.data(), all.data() + all.size(), number);
    return end.ec == std::errc() && std::to_string(number) == all;
}

bool takeNumber(const Item &item, ZEL_StreamValue &value)
{
    double number = 0.0;
    if (BASparseFloat(item.text.data(), item.text.size(), number) != item.text.size()) {
        return false;
    }
    value.value = number;
    return true;
}

/// A load looks in the menu first, and makes an expression of what is neither there nor a word.
bool takeOrdinal(const Item &item, const ZEL_Parm *parm, bool tokensFlag, ZEL_StreamValue &value)
{
    std::int64_t number = 0;
    if (!item.quotedFlag && parseInteger(item.all, number)) {
        value.value = number;
        return item.drivenFlag || !hasToken(parm, item.all);
    }
    const bool spelledFlag =
        !item.quotedFlag || item.all == '"' + item.text + '"' || item.all == quoted(item.text);
    value.value = item.text;
    return spelledFlag && !item.drivenFlag && !hasNul(item.text) &&
           (tokensFlag || isBareWord(item.text) || parseInteger(item.text, number) ||
            hasToken(parm, item.text));
}

/// A load makes a reference of some texts.
bool takeString(const Item &item, const ZEL_Parm *parm, ZEL_StreamValue &value)
{
    if (hasNul(item.text) ||
        ZEL_Instance::isObsoleteDirectChanRefString(item.text.c_str(), nullptr) ||
        (parm && parm->getChoiceListPtr() && item.text.find("ch(") != std::string::npos)) {
        return false;
    }
    value.value = item.text;
    // A driven one has no form of its own for a text in quotes.
    return !item.drivenFlag ||
           item.all ==
               (isPlainWord(item.text) || item.text.empty() ? item.text : quoted(item.text));
}

bool takeValue(Kind kind, const Item &item, const ZEL_Parm *parm, bool tokensFlag,
               ZEL_StreamValue &value)
{
    value.drivenFlag = item.drivenFlag;
    value.channel = item.channel;
    if (!item.clearFlag || !item.valueFlag) {
        return item.clearFlag;
    }
    switch (kind) {
    case Kind::FLOAT: return takeNumber(item, value);
    case Kind::ORDINAL: return takeOrdinal(item, parm, tokensFlag, value);
    case Kind::STRING: return takeString(item, parm, value);
    default: value.value = item.text; return !hasNul(item.text);
    }
}

} // namespace

bool ZEL_StreamText::takeOptions(ZEL_StreamOptions &to) const
{
    for (const Option &option : options) {
        const Field field =
            option.word == option.all ? &ZEL_StreamOptions::flags : fieldOf(option.word);
        if (field) {
            const std::string &digits =
                field == &ZEL_StreamOptions::flags ? option.all : option.text;
            std::uint32_t number = 0;
            const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
            if (to.*field || end.ec != std::errc()) {
                return false;
            }
            to.*field = number;
        } else if (option.word == getPacketIOToken(ZEL_IO_LABEL) && !to.label) {
            to.label = option.text;
        } else if (option.word == getPacketIOToken(ZEL_IO_COLOR)) {
            to.colors.emplace_back();
            if (!parseColor(option.text, to.colors.back())) {
                return false;
            }
        } else {
            return false;
        }
    }
    // All that was read is written again, perhaps in another order.
    std::vector<std::string> before;
    for (const Option &option : options) {
        before.push_back(option.all);
    }
    std::vector<std::string> after = spelledOptions(to);
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    return before == after && !(to.label && hasNul(*to.label));
}

void ZEL_StreamText::makeEntry(Kind kind, const ZEL_Parm *parm, ZEL_StreamEntry &entry,
                               bool tokensFlag) const
{
    entry.kind = kind;
    bool good = kind != Kind::WORDS && clearFlag && takeOptions(entry.options);
    for (std::size_t i = 0; good && i < items.size(); ++i) {
        entry.values.emplace_back();
        good = takeValue(kind, items[i], parm, tokensFlag, entry.values.back());
    }
    if (good && kind != Kind::FLOAT) {
        // Their loads unlock what has no locks.
        entry.options.flags = entry.options.flags.value_or(0);
        entry.options.locks = entry.options.locks.value_or(0);
    }
    if (!good) {
        entry.kind = Kind::WORDS;
        entry.options = ZEL_StreamOptions();
        entry.values.clear();
        entry.bytes = all;
    }
}
