#include <TRK/TRK_LiteralPrivate.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_TextScanPrivate.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>

namespace
{

using Kind = TRK_Literal::Kind;

constexpr char theHexDigits[] = "0123456789abcdef";
/// Letters behind a backslash in Python, and what they stand for.
constexpr char theLetters[] = "\\'\"abfnrtv";
constexpr char theBytes[] = "\\'\"\a\b\f\n\r\t\v";
static_assert(sizeof(theLetters) == sizeof(theBytes), "one byte for each letter");

bool isUtf8(std::string_view text)
{
    return KITjsonText(text).view() == text;
}

/// As Python writes it in that quote; bytes above 127 too if `bytesFlag`.
std::string inPython(std::string_view text, char quote, bool bytesFlag, bool formatFlag)
{
    std::string out;
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (c == quote || c == '\\') {
            out += '\\';
            out += c;
        } else if (byte < 32 || byte == 127 || (bytesFlag && byte > 127)) {
            out += "\\x";
            out += theHexDigits[byte >> 4];
            out += theHexDigits[byte & 15];
        } else {
            out.append(formatFlag && (c == '{' || c == '}') ? 2 : 1, c);
        }
    }
    return out;
}

std::string inNative(std::string_view text, char quote)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        const bool variable = c == '$' && quote == '"' && (next == '{' || BASisNameStart(next));
        out.append(variable || c == quote || c == '\\' ? "\\" : "");
        out += c;
    }
    return out;
}

/// In a literal text only what it would expand is escaped, and backslashes right before that.
std::string inText(const std::string &text)
{
    std::string out;
    std::string_view name;
    std::size_t backslashes = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '`' ||
            (c == '$' && (backslashes > 0 || TRKscanVariable(text.c_str() + i, name) > 0))) {
            out.append(backslashes + 1, '\\');
        }
        backslashes = c == '\\' ? backslashes + 1 : 0;
        out += c;
    }
    return out;
}

} // namespace

TRK_Literal::TRK_Literal(const std::string &source, Kind literalKind, std::size_t first,
                         std::size_t firstQuote, char outerQuote)
    : kind(literalKind), start(first), quoteAt(firstQuote), begin(firstQuote + 1),
      quote(source[firstQuote]), outer(outerQuote)
{
    if (kind == Kind::PYTHON && source.compare(quoteAt, 3, std::string(3, quote)) == 0) {
        begin += 2;
    }
    for (std::size_t i = start; i < quoteAt; ++i) {
        rawFlag |= std::tolower(source[i]) == 'r';
        bytesFlag |= std::tolower(source[i]) == 'b';
        formatFlag |= std::tolower(source[i]) == 'f';
    }
}

// ---------------------------------------------------------------- //
// Reading
// ---------------------------------------------------------------- //

TRK_LiteralValue::TRK_LiteralValue(const std::string &source, const TRK_Literal &literal,
                                   const TRK_Collection *collection)
    : mySource(source), myLiteral(literal), myCollection(collection)
{
    const std::string_view contents =
        std::string_view(source).substr(literal.begin, literal.end - literal.begin);
    if (contents.find_first_of("\\$`{}") == std::string_view::npos) {
        text = contents;
        return;
    }
    for (std::size_t at = literal.begin; at < literal.end;) {
        at += take(at);
    }
    myPlaces.push_back(literal.end);
}

std::size_t TRK_LiteralValue::placeOf(std::size_t index) const
{
    return myPlaces.empty() ? myLiteral.begin + index : myPlaces[index];
}

void TRK_LiteralValue::add(char c, std::size_t place, bool computed)
{
    text += c;
    myPlaces.push_back(place);
    myComputed.push_back(computed);
}

void TRK_LiteralValue::takeComputed(std::size_t at, std::size_t length)
{
    for (std::size_t i = 0; i < length; ++i) {
        add(mySource[at + i], at + i, true);
    }
}

bool TRK_LiteralValue::isPlain(std::size_t from, std::size_t to) const
{
    const auto begin = myComputed.begin();
    return myComputed.empty() || std::find(begin + std::ptrdiff_t(from), begin + std::ptrdiff_t(to),
                                           true) == begin + std::ptrdiff_t(to);
}

/// Each of these returns the bytes that were used.
std::size_t TRK_LiteralValue::take(std::size_t at)
{
    switch (myLiteral.kind) {
    case Kind::TEXT: return takeText(at);
    case Kind::NATIVE: return takeNative(at);
    default: return takePython(at);
    }
}

std::size_t TRK_LiteralValue::takeText(std::size_t at)
{
    const char c = mySource[at];
    if (c == '$') {
        return takeVariable(at);
    }
    if (c != '\\') {
        add(c, at);
        return 1;
    }
    const std::size_t after = std::min(mySource.find_first_not_of('\\', at), mySource.size());
    const std::size_t count = after - at;
    const char next = after < myLiteral.end ? mySource[after] : '\0';
    const bool protectFlag = next == '$' || next == '`';
    for (std::size_t i = 0; i < (protectFlag ? count / 2 : count); ++i) {
        add('\\', at + (protectFlag ? 2 * i : i));
    }
    if (!protectFlag || count % 2 == 0) {
        return count;
    }
    add(next, after - 1);
    return count + 1;
}

std::size_t TRK_LiteralValue::takeNative(std::size_t at)
{
    const char c = mySource[at];
    const char next = at + 1 < myLiteral.end ? mySource[at + 1] : '\0';
    const bool inDouble = myLiteral.quote == '"';
    if (c == '$' && inDouble) {
        return takeVariable(at);
    }
    const bool protectFlag = c == '\\' && (next == myLiteral.quote || next == '\\' ||
                                           (inDouble && (next == '$' || next == '`')));
    add(protectFlag ? next : c, at);
    return protectFlag ? 2 : 1;
}

/// An unknown variable stays as it is written.
std::size_t TRK_LiteralValue::takeVariable(std::size_t at)
{
    std::string_view name;
    const std::size_t length = TRKscanVariable(mySource.c_str() + at, name);
    if (length == 0) {
        add('$', at);
        return 1;
    }
    KIT_String value;
    bool timeDependent = false;
    if (TRK_Manager::getContext().getVariable(KIT_StringHolder(name.data(), name.size()), 0.0,
                                              myCollection, value, timeDependent)) {
        takeComputed(at, length);
    } else {
        for (std::size_t i = 0; i < length; ++i) {
            add(mySource[at + i], at + i);
        }
    }
    return length;
}

std::size_t TRK_LiteralValue::takePython(std::size_t at)
{
    const char c = mySource[at];
    if (c == '\\' && !myLiteral.rawFlag) {
        return takeEscape(at);
    }
    while (myField < myLiteral.fields.size() && myLiteral.fields[myField].first < at) {
        ++myField;
    }
    if (myField < myLiteral.fields.size() && myLiteral.fields[myField].first == at) {
        const std::size_t length = myLiteral.fields[myField].second - at;
        takeComputed(at, length);
        return length;
    }
    add(c, at);
    return myLiteral.formatFlag && (c == '{' || c == '}') ? 2 : 1;
}

std::size_t TRK_LiteralValue::takeEscape(std::size_t at)
{
    const auto digits = [&](std::size_t from, std::size_t most, int base, unsigned &number) {
        std::size_t count = 0;
        for (number = 0; count < most && from + count < myLiteral.end; ++count) {
            const char *const found =
                std::strchr(theHexDigits, std::tolower(mySource[from + count]));
            if (found == nullptr || *found == '\0' || found - theHexDigits >= base) {
                break;
            }
            number = number * unsigned(base) + unsigned(found - theHexDigits);
        }
        return count;
    };
    const char next = at + 1 < myLiteral.end ? mySource[at + 1] : '\0';
    const char *const letter = next != '\0' ? std::strchr(theLetters, next) : nullptr;
    if (letter != nullptr) {
        add(theBytes[letter - theLetters], at);
        return 2;
    }
    if (next == '\n') {
        return 2;
    }
    unsigned code = 0;
    if (const std::size_t octal = digits(at + 1, 3, 8, code)) {
        addCode(code, at);
        return 1 + octal;
    }
    const std::size_t hex = next == 'x'           ? 2
                            : myLiteral.bytesFlag ? 0
                            : next == 'u'         ? 4
                            : next == 'U'         ? 8
                                                  : 0;
    if (hex > 0 && digits(at + 2, hex, 16, code) == hex) {
        addCode(code, at);
        return 2 + hex;
    }
    if (next == 'N' && !myLiteral.bytesFlag) {
        const std::size_t end = std::min(mySource.find('}', at), myLiteral.end - 1) + 1;
        takeComputed(at, end - at);
        return end - at;
    }
    add('\\', at);
    return 1;
}

void TRK_LiteralValue::addCode(unsigned code, std::size_t place)
{
    if (code < 0x80 || myLiteral.bytesFlag) {
        add(char(code), place);
        return;
    }
    const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    const unsigned first = more == 1 ? 0xc0 : more == 2 ? 0xe0 : 0xf0;
    add(char(first | (code >> (6 * more))), place);
    for (int i = more - 1; i >= 0; --i) {
        add(char(0x80 | ((code >> (6 * i)) & 0x3f)), place);
    }
}

// ---------------------------------------------------------------- //
// Writing
// ---------------------------------------------------------------- //

bool TRK_LiteralValue::spell(const std::vector<TRK_LiteralChange> &changes,
                             std::vector<TRK_LiteralEdit> &edits, const char *&why) const
{
    std::vector<TRK_LiteralEdit> made;
    if (std::all_of(changes.begin(), changes.end(),
                    [&](const TRK_LiteralChange &change) { return canSplice(change); })) {
        for (const TRK_LiteralChange &change : changes) {
            made.push_back({placeOf(change.from), placeOf(change.to), spellPath(change.path)});
        }
    } else {
        made.push_back({myLiteral.start, myLiteral.after, {}});
        if (!respell(changes, made[0].text)) {
            why = myLiteral.isResult ? "a text of Python's is UTF-8"
                                     : "what is computed beside it can't be in its spelling";
            return false;
        }
    }
    if (!std::all_of(made.begin(), made.end(),
                     [&](const TRK_LiteralEdit &edit) { return fitsField(edit); })) {
        why = "braces in a formatted text can't have its quotes or backslashes";
        return false;
    }
    std::move(made.begin(), made.end(), std::back_inserter(edits));
    return true;
}

/// Older versions of Python have neither the outer quotes nor backslashes in a field.
bool TRK_LiteralValue::fitsField(const TRK_LiteralEdit &edit) const
{
    const auto isForbidden = [&](char c) { return c == '\\' || c == myLiteral.outer; };
    const auto count = [&](std::string_view bytes) {
        return std::count_if(bytes.begin(), bytes.end(), isForbidden);
    };
    const std::string_view former =
        std::string_view(mySource).substr(edit.from, edit.to - edit.from);
    return myLiteral.outer == '\0' || count(edit.text) <= count(former);
}

/// Whether the path can be written with the prefix that is there.
bool TRK_LiteralValue::canSplice(const TRK_LiteralChange &change) const
{
    const std::string &path = change.path;
    if (myLiteral.kind != Kind::PYTHON) {
        return true;
    }
    if (!myLiteral.bytesFlag && !isUtf8(path)) {
        return false;
    }
    const auto backslashes = std::size_t(std::count(path.begin(), path.end(), '\\'));
    const bool atEnd = change.to == text.size();
    return !myLiteral.rawFlag ||
           (inPython(path, myLiteral.quote, myLiteral.bytesFlag, false).size() ==
                path.size() + backslashes &&
            !(atEnd && path.back() == '\\'));
}

std::string TRK_LiteralValue::spellPath(const std::string &path) const
{
    switch (myLiteral.kind) {
    case Kind::TEXT: return inText(path);
    case Kind::NATIVE: return inNative(path, myLiteral.quote);
    default: break;
    }
    if (!myLiteral.rawFlag) {
        return inPython(path, myLiteral.quote, myLiteral.bytesFlag, myLiteral.formatFlag);
    }
    std::string out;
    for (const char c : path) {
        out.append(myLiteral.formatFlag && (c == '{' || c == '}') ? 2 : 1, c);
    }
    return out;
}

/// The whole literal anew, in a spelling that has all; false if there is none.
bool TRK_LiteralValue::respell(const std::vector<TRK_LiteralChange> &changes,
                               std::string &written) const
{
    if (!isPlain(0, text.size())) {
        return false;
    }
    const std::string value = TRKwithChanges(text, changes, &TRK_LiteralChange::path);
    const bool bytesFlag = myLiteral.bytesFlag || !isUtf8(value);
    if (bytesFlag && myLiteral.isResult) {
        return false;
    }
    constexpr bool formatFlag = false;
    written.assign(bytesFlag ? "b" : "");
    written += myLiteral.quote;
    written += inPython(value, myLiteral.quote, bytesFlag, formatFlag);
    written += myLiteral.quote;
    return true;
}
