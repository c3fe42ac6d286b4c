#include <TRK/TRK_NodePaths.h>

#include <TRK/TRK_ExpressionFunctions.h>
#include <TRK/TRK_LiteralPrivate.h>

#include <BAS/BAS_Character.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_TextScanPrivate.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using Kind = TRK_Literal::Kind;

constexpr const char *theBlanks = " \t\r\n";
/// Of fields in texts in fields. No danger to a thread's stack.
constexpr int theMostFields = 100;

enum class Argument
{
    NONE,
    PARM,
    NODE
};

/// What the first argument of a function is.
Argument argumentOf(std::string_view name, Kind kind)
{
    if (kind == Kind::PYTHON) {
        return name == "ch" || name == "chs" || name == "parm" ? Argument::PARM
               : name == "node"                                ? Argument::NODE
                                                               : Argument::NONE;
    }
    const TRK_FunctionEntry *const entry = TRKfindFunction(name.data(), name.size());
    const bool channelFlag = entry && (entry->kind == TRK_FunctionKind::CHANNEL ||
                                       entry->kind == TRK_FunctionKind::CHANNEL_INT ||
                                       entry->kind == TRK_FunctionKind::CHANNEL_TEXT);
    return channelFlag ? Argument::PARM : Argument::NONE;
}

bool isWordByte(char c)
{
    return BASisWordChar(c) || static_cast<unsigned char>(c) >= 0x80;
}

/// So that it is read as a path: with a "/", and not as the home folder.
std::string asWord(const std::string &path)
{
    if (path == "." || path == "..") {
        return path + "/";
    }
    return path.find('/') == std::string::npos || path[0] == '~' ? "./" + path : path;
}

/// The name in front of a place, with those that it is a part of: "vmr.ch".
std::string_view functionBefore(std::string_view source, std::size_t place)
{
    std::size_t begin = source.find_last_not_of(theBlanks, place - 1) + 1;
    const std::size_t end = begin;
    while (begin > 0 && (isWordByte(source[begin - 1]) || source[begin - 1] == '.')) {
        --begin;
    }
    return source.substr(begin, end - begin);
}

class Finder
{
public:
    Finder(const std::string &source, const TRK_Collection *collection,
           const TRK_NodePaths::Call &call, TRK_NodePaths::Part part)
        : mySource(source), myCollection(collection), myCall(call), myPart(part)
    {}

    /// Reads code up to its end, or to the brace that closes a field; returns the position there.
    std::size_t scan(Kind kind, std::size_t at, std::size_t end, char outer = '\0');
    /// All of the text, or the contents of one literal.
    void readText(const TRK_Literal &literal, bool isOfPaths = false);
    /// Whether all of the source is one literal.
    bool isOneLiteral(Kind kind, TRK_Literal &literal);
    /// The names of parameters without a path are given to `call`.
    void setNameCall(const TRK_NodePaths::NameCall &call) { myNameCall = &call; }
    const TRK_NodePaths::Result &getResult() const { return myResult; }
    /// The source with all changes.
    std::string write();

private:
    char at(std::size_t place) const { return place < mySource.size() ? mySource[place] : '\0'; }
    std::size_t skipBlanks(std::size_t place) const
    {
        return std::min(mySource.find_first_not_of(theBlanks, place), mySource.size());
    }
    bool isPrefix(std::string_view word) const;
    bool findEnd(TRK_Literal &literal, std::size_t end);
    void readArgument(const TRK_Literal &literal, Argument argument);
    void readName(const TRK_LiteralValue &value, const TRK_Literal &literal);
    void readParm(const TRK_LiteralValue &value, std::vector<TRK_LiteralChange> &changes);
    void readReference(const TRK_LiteralValue &value, std::vector<TRK_LiteralChange> &changes);
    void change(const TRK_LiteralValue &value, const std::vector<TRK_LiteralChange> &changes);

    const std::string &mySource;
    const TRK_Collection *myCollection;
    const TRK_NodePaths::Call &myCall;
    const TRK_NodePaths::Part myPart;
    std::vector<TRK_LiteralEdit> myEdits;
    TRK_NodePaths::Result myResult;
    const TRK_NodePaths::NameCall *myNameCall = nullptr;
    std::string_view myFunction; ///< whose argument is read, with the module: "vmr.ch"
    int myFields = 0;
};

// ---------------------------------------------------------------- //
// Code
// ---------------------------------------------------------------- //

bool Finder::isPrefix(std::string_view word) const
{
    return word.size() <= 2 && word.find_first_not_of("rRbBuUfF") == std::string_view::npos;
}

std::size_t Finder::scan(Kind kind, std::size_t place, std::size_t end, char outer)
{
    std::string_view name;              // right before the place
    Argument argument = Argument::NONE; // which begins at the place
    int depth = 0;
    while (place < end) {
        const char c = mySource[place];
        std::size_t quote = place;
        if (isWordByte(c)) {
            while (quote < end && isWordByte(mySource[quote])) {
                ++quote;
            }
            name = std::string_view(mySource).substr(place, quote - place);
            const bool isQuoted = quote < end && (at(quote) == '"' || at(quote) == '\'');
            if (kind == Kind::NATIVE || !isQuoted || !isPrefix(name)) {
                const std::size_t next = skipBlanks(quote);
                const bool isKeyword = name == "path" && at(next) == '=' && at(next + 1) != '=';
                argument = isKeyword ? argument : Argument::NONE;
                place = isKeyword ? next + 1 : quote;
                continue;
            }
        }
        if (mySource[quote] == '"' || mySource[quote] == '\'') {
            TRK_Literal literal(mySource, kind, place, quote, outer);
            if (!findEnd(literal, end)) {
                return end;
            }
            readArgument(literal, argument);
            place = literal.after;
            name = {};
            argument = Argument::NONE;
            continue;
        }
        if (c == '#' && kind == Kind::PYTHON && outer == '\0') {
            place = std::min(mySource.find('\n', place), end);
            continue;
        }
        if (outer != '\0' && c == '}' && depth-- == 0) {
            return place;
        }
        depth += c == '{' ? 1 : 0;
        if (!BASisBlank(c)) {
            argument = c == '(' ? argumentOf(name, kind) : Argument::NONE;
            myFunction = argument == Argument::NONE ? myFunction : functionBefore(mySource, place);
            name = {};
        }
        ++place;
    }
    return end;
}

/// False if it has none: nothing more can be read then.
bool Finder::findEnd(TRK_Literal &literal, std::size_t end)
{
    const std::size_t width = literal.begin - literal.quoteAt;
    const std::string_view source = std::string_view(mySource).substr(0, end);
    const std::string_view quotes = source.substr(literal.quoteAt, width);
    for (std::size_t place = literal.begin; place < end;) {
        const char c = source[place];
        const char next = at(place + 1);
        if (source.substr(place, width) == quotes) {
            literal.end = place;
            literal.after = place + width;
            return true;
        }
        if (c == '\\') {
            place += literal.formatFlag && next == '{' ? 1 : 2;
        } else if (literal.formatFlag && c == '{' && next != '{') {
            if (++myFields > theMostFields) {
                return false;
            }
            const std::size_t closing = scan(Kind::PYTHON, place + 1, end, literal.quote);
            --myFields;
            literal.fields.emplace_back(place, closing + 1);
            place = closing + 1;
        } else if (literal.kind == Kind::PYTHON && width == 1 && c == '\n') {
            return false;
        } else {
            place += literal.formatFlag && c == '{' ? 2 : 1;
        }
    }
    return false;
}

bool Finder::isOneLiteral(Kind kind, TRK_Literal &literal)
{
    const std::size_t start = skipBlanks(0);
    const std::size_t quote = mySource.find_first_of("\"'", start);
    const std::size_t last = mySource.find_last_not_of(theBlanks);
    if (quote == std::string::npos || (kind == Kind::NATIVE && quote != start) ||
        !isPrefix(std::string_view(mySource).substr(start, quote - start))) {
        return false;
    }
    literal = TRK_Literal(mySource, kind, start, quote, '\0');
    literal.isResult = true;
    return !literal.formatFlag && !literal.bytesFlag && findEnd(literal, mySource.size()) &&
           literal.after == last + 1;
}

// ---------------------------------------------------------------- //
// Paths
// ---------------------------------------------------------------- //

void Finder::readArgument(const TRK_Literal &literal, Argument argument)
{
    if (argument == Argument::NONE) {
        return;
    }
    const TRK_LiteralValue value(mySource, literal, myCollection);
    if (myNameCall) {
        readName(value, literal);
        return;
    }
    std::vector<TRK_LiteralChange> changes;
    if (myPart == TRK_NodePaths::Part::ALL) {
        readReference(value, changes);
    } else if (argument == Argument::PARM) {
        readParm(value, changes);
    } else {
        const char next = at(skipBlanks(literal.after));
        std::string path = value.text;
        if (value.isPlain(0, path.size()) && (next == ')' || next == ',') && myCall(path) &&
            path != value.text) {
            changes.push_back({0, value.text.size(), path});
        }
    }
    change(value, changes);
}

void Finder::readName(const TRK_LiteralValue &value, const TRK_Literal &literal)
{
    const std::size_t next = skipBlanks(literal.after);
    const bool readFlag = myFunction == "vmr.ch" || myFunction == "vmr.chs" ||
                          (myFunction == "vmr.parm" && at(skipBlanks(next + 1)) == '.');
    if (readFlag && at(next) == ')' && value.isPlain(0, value.text.size()) &&
        value.text.find('/') == std::string::npos) {
        (*myNameCall)(literal.begin, literal.end, value.text);
    }
}

void Finder::readParm(const TRK_LiteralValue &value, std::vector<TRK_LiteralChange> &changes)
{
    std::size_t slash = value.text.rfind('/');
    while (slash != std::string::npos && slash > 0 && !value.isPlain(slash, slash + 1)) {
        slash = value.text.rfind('/', slash - 1);
    }
    if (slash == std::string::npos) {
        return;
    }
    const std::size_t length = std::max<std::size_t>(slash, 1);
    const std::string former = value.text.substr(0, length);
    std::string path = former;
    if (value.isPlain(0, length) && myCall(path) && path != former) {
        const bool isRoot = slash == 0 && path.back() != '/';
        changes.push_back({0, length, isRoot ? path + "/" : path});
    }
}

/// What is at the end of both, the name and more, stays as it is written.
void Finder::readReference(const TRK_LiteralValue &value, std::vector<TRK_LiteralChange> &changes)
{
    const std::string &former = value.text;
    std::string path = former;
    if (!myCall(path) || path == former) {
        return;
    }
    const auto same = std::mismatch(former.rbegin(), former.rend(), path.rbegin(), path.rend());
    const auto length = std::size_t(former.rend() - same.first);
    if (value.isPlain(0, length)) {
        changes.push_back({0, length, path.substr(0, std::size_t(path.rend() - same.second))});
    }
}

void Finder::readText(const TRK_Literal &literal, bool isOfPaths)
{
    const TRK_LiteralValue value(mySource, literal, myCollection);
    const std::string &text = value.text;
    std::vector<TRK_LiteralChange> changes;
    const auto ask = [&](std::size_t from, std::size_t to) {
        const std::string former = text.substr(from, to - from);
        std::string path = former;
        if ((!isOfPaths && former.find('/') == std::string::npos) || !value.isPlain(from, to) ||
            !myCall(path)) {
            return false;
        }
        const bool isAll = from == 0 && to == text.size();
        if (path != former && !isAll && path.find_first_of(theBlanks) != std::string::npos) {
            ++myResult.refused;
            myResult.why = "a path with a blank can only be all of a text";
        } else if (path != former) {
            const bool bareFlag = isOfPaths && path[0] != '~';
            changes.push_back({from, to, bareFlag ? path : asWord(path)});
        }
        return true;
    };
    if (text.find_first_of(theBlanks) == std::string::npos || !ask(0, text.size())) {
        for (std::size_t from = 0, to = 0; to < text.size();) {
            from = std::min(text.find_first_not_of(theBlanks, to), text.size());
            to = std::min(text.find_first_of(theBlanks, from), text.size());
            ask(from, to);
        }
    }
    change(value, changes);
}

void Finder::change(const TRK_LiteralValue &value, const std::vector<TRK_LiteralChange> &changes)
{
    const char *why = nullptr;
    if (!value.spell(changes, myEdits, why)) {
        myResult.refused += int(changes.size());
        myResult.why = why;
    } else {
        myResult.changed += int(changes.size());
    }
}

std::string Finder::write()
{
    // Fields of a text come before the text that they are in.
    std::sort(myEdits.begin(), myEdits.end(),
              [](const auto &a, const auto &b) { return a.from < b.from; });
    return TRKwithChanges(mySource, myEdits, &TRK_LiteralEdit::text);
}

/// Of the whole with all changes; null if it reads as what was meant.
const char *whyNot(const std::string &former, const std::string &written, bool literalFlag)
{
    if (!literalFlag) {
        return written.size() > TRK_Limits::theExpressionLength ? "the expression would be too long"
                                                                : nullptr;
    }
    // A quote between two backticks decides whether they are an expression.
    return TRK_NodePaths::hasExpression(written.c_str()) !=
                   TRK_NodePaths::hasExpression(former.c_str())
               ? "its quotes would change what is in backticks"
               : nullptr;
}

} // namespace

// ---------------------------------------------------------------- //
// The whole
// ---------------------------------------------------------------- //

TRK_NodePaths::Result TRK_NodePaths::forEach(std::string &text, Form form,
                                             const TRK_Collection *collection, const Call &call,
                                             Part part)
{
    if (text.find('\0') != std::string::npos) {
        return {}; // no text of a parameter or channel has one
    }
    const bool pythonFlag = form == Form::PYTHON || form == Form::PYTHON_TEXT;
    if (!pythonFlag && form != Form::PATHS && part == Part::NODE &&
        text.find('/') == std::string::npos) {
        return {};
    }
    Finder finder(text, collection, call, part);
    const bool literalFlag = form == Form::TEXT || form == Form::PATHS;
    const bool textFlag = form == Form::NATIVE_TEXT || form == Form::PYTHON_TEXT;
    const Kind kind = pythonFlag ? Kind::PYTHON : Kind::NATIVE;
    TRK_Literal literal(text);
    if (literalFlag) {
        if (hasExpression(text.c_str())) {
            TRKforEachBacktick(text.c_str(), [&](const char *begin, const char *end) {
                finder.scan(kind, std::size_t(begin - text.c_str()),
                            std::size_t(end - text.c_str()));
            });
        } else {
            finder.readText(literal, form == Form::PATHS);
        }
    } else if (textFlag && finder.isOneLiteral(kind, literal)) {
        finder.readText(literal);
    } else {
        finder.scan(kind, 0, text.size());
    }
    const Result result = finder.getResult();
    if (result.changed == 0) {
        return result;
    }
    std::string written = finder.write();
    const char *const why = whyNot(text, written, literalFlag);
    if (why != nullptr) {
        return {0, result.refused + result.changed, why};
    }
    text.swap(written);
    return result;
}

void TRK_NodePaths::forEachPythonName(const std::string &text, const NameCall &call)
{
    const Call none;
    Finder finder(text, nullptr, none, Part::ALL);
    finder.setNameCall(call);
    finder.scan(Kind::PYTHON, 0, text.size());
}

bool TRK_NodePaths::refersToParm(std::string_view function)
{
    return argumentOf(function, Kind::NATIVE) == Argument::PARM ||
           argumentOf(function, Kind::PYTHON) == Argument::PARM;
}

bool TRK_NodePaths::hasExpression(const char *text)
{
    bool found = false;
    if (text == nullptr || std::strchr(text, '`') == nullptr) {
        return false;
    }
    TRKforEachBacktick(text, [&](const char *, const char *) { found = true; });
    return found;
}
