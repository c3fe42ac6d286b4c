#include <TOK/TOK_LexerPrivate.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace
{

enum ByteBit : unsigned char
{
    BLANK = 1, // ends a word
    BRACKET = 2,
    SPECIAL = 4, // has a meaning inside quotes
};

constexpr std::array<unsigned char, 256> makeBytes()
{
    std::array<unsigned char, 256> bytes{};
    for (const char c : {'\0', '\t', '\n', '\v', '\f', '\r', ' '}) {
        bytes[static_cast<unsigned char>(c)] |= BLANK;
    }
    for (const char c : {'{', '}', '[', ']'}) {
        bytes[static_cast<unsigned char>(c)] |= BRACKET;
    }
    for (const char c : {'"', '\\', '\n', '\0'}) {
        bytes[static_cast<unsigned char>(c)] |= SPECIAL;
    }
    return bytes;
}

constexpr std::array<unsigned char, 256> theBytes = makeBytes();

bool isByte(char c, ByteBit bit)
{
    return theBytes[static_cast<unsigned char>(c)] & bit;
}

bool isLetter(char c)
{
    return c >= 'a' && c <= 'z';
}

/// The word without the brackets at its end that have no counterpart in it.
std::string_view withoutLooseBrackets(std::string_view word)
{
    if (!isByte(word.back(), BRACKET) || word.find('"') != std::string_view::npos) {
        return word;
    }
    size_t keep = 0;
    size_t open = 0;
    for (size_t i = 0; i < word.size(); i++) {
        const char c = word[i];
        if (c == '{' || c == '[') {
            open++;
        } else if (c != '}' && c != ']') {
            keep = i + 1;
        } else if (open) {
            open--;
            keep = i + 1;
        }
    }
    return word.substr(0, keep);
}

/// The next quote that no backslash hides, or the end.
const char *findQuote(const char *at, const char *end)
{
    while (at < end && *at != '"') {
        at += *at == '\\' && end - at > 1 ? 2 : 1;
    }
    return std::min(at, end);
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isByte(text.back(), BLANK)) {
        text.remove_suffix(1);
    }
    return text;
}

/// Without the braces at its end that close what the text didn't open.
std::string_view withoutCloses(std::string_view text)
{
    for (;;) {
        text = trimmed(text);
        const auto opens = std::count(text.begin(), text.end(), '{');
        const auto closes = std::count(text.begin(), text.end(), '}');
        if (text.empty() || text.back() != '}' || closes <= opens) {
            return text;
        }
        text.remove_suffix(1);
    }
}

/// Whether what stands in front of a quote on its line looks like a keyword before its value, or a
/// value before another one: `    label `, `menu { `.
bool opensText(std::string_view before)
{
    const size_t first = std::min(before.find_first_not_of(" \t"), before.size());
    before.remove_prefix(first);
    const char last = before.empty() ? '\0' : before.back();
    return !before.empty() && isLetter(before[0]) && (isByte(last, BLANK) || isByte(last, BRACKET));
}

} // namespace

TOK_Lexer::TOK_Lexer(std::string_view text, bool directives)
    : myAt(text.data()), myTokenBegin(text.data()), myEnd(text.data() + text.size()),
      myDirectivesFlag(directives)
{}

bool TOK_Lexer::endsDirectiveWord(char next)
{
    return isByte(next, BLANK) || std::strchr("\"<(/!\\", next);
}

bool TOK_Lexer::isDirectiveWord(std::string_view word)
{
    static constexpr std::string_view theWords[] = {
#define TOK_DIRECTIVE(WORD, GROUP, RUN) WORD,
#include <TOK/TOK_DirectivesPrivate.def>
    };
    return std::find(std::begin(theWords), std::end(theWords), word) != std::end(theWords);
}

TOK_Lexer::Fault TOK_Lexer::takeFault(int &line, const char *&begin)
{
    const Fault fault = myFault;
    line = myFaultLine;
    begin = myFaultBegin;
    myFault = NO_FAULT;
    return fault;
}

TOK_Lexer::Kind TOK_Lexer::next(std::string_view &token)
{
    const bool moreFlag = skipBlanks();
    myTokenLine = myLine;
    if (!moreFlag) {
        return END;
    }
    myTokenBegin = myAt;
    myFirstFlag = myLineStartFlag;
    myOpenFlag = false;
    Kind kind = DIRECTIVE;
    if (*myAt != '#' || !myLineStartFlag || !myDirectivesFlag || !readDirective(token)) {
        myLineStartFlag = false;
        kind = *myAt == '"' ? QUOTED : WORD;
        token = kind == QUOTED ? readQuoted() : readWord();
        myOpenFlag = kind == QUOTED && myFault == OPEN_QUOTE;
    }
    myTokenEnd = myAt;
    return kind;
}

// -------------------------------------------------------------------- //
// Between tokens
// -------------------------------------------------------------------- //

/// The bytes of a backslash and the line end after it; 0 if there is none.
size_t TOK_Lexer::jointLength(const char *at) const
{
    if (*at != '\\' || myEnd - at < 2) {
        return 0;
    }
    if (at[1] == '\n') {
        return 2;
    }
    return at[1] == '\r' && myEnd - at > 2 && at[2] == '\n' ? 3 : 0;
}

bool TOK_Lexer::skipBlanks()
{
    while (myAt < myEnd) {
        if (*myAt == '\n') {
            myLine++;
            myLineStartFlag = true;
            myAt++;
        } else if (isByte(*myAt, BLANK)) {
            myAt++;
        } else if (const size_t joint = jointLength(myAt)) {
            myLine++;
            myAt += joint;
        } else if (*myAt == '/' && myEnd - myAt > 1 && myAt[1] == '/') {
            myAt = std::find(myAt, myEnd, '\n');
        } else if (*myAt == '/' && myEnd - myAt > 1 && myAt[1] == '*') {
            skipBlockComment();
        } else {
            return true;
        }
    }
    return false;
}

void TOK_Lexer::skipBlockComment()
{
    static constexpr char theClose[] = {'*', '/'};
    const char *const close = std::search(myAt + 2, myEnd, theClose, theClose + 2);
    if (close == myEnd) {
        myFault = OPEN_COMMENT;
        myFaultLine = myLine;
        myFaultBegin = myAt;
    }
    const char *const behind = close == myEnd ? myEnd : close + 2;
    myLine += static_cast<int>(std::count(myAt, behind, '\n'));
    myAt = behind;
}

// -------------------------------------------------------------------- //
// Directives
// -------------------------------------------------------------------- //

bool TOK_Lexer::readDirective(std::string_view &line)
{
    const char *word = myAt + 1;
    while (word < myEnd && (*word == ' ' || *word == '\t')) {
        word++;
    }
    const char *end = word;
    while (end < myEnd && isLetter(*end)) {
        end++;
    }
    const bool wholeFlag = end == myEnd || endsDirectiveWord(*end);
    if (!wholeFlag || !isDirectiveWord(std::string_view(word, static_cast<size_t>(end - word)))) {
        return false;
    }
    myScratch.assign(word, end);
    myAt = end;
    readDirectiveLine();
    line = myScratch;
    return true;
}

void TOK_Lexer::readDirectiveLine()
{
    bool quotedFlag = false;
    while (myAt < myEnd && *myAt != '\n') {
        const bool startFlag = !quotedFlag && isByte(myScratch.back(), BLANK);
        const bool slashFlag = *myAt == '/' && myEnd - myAt > 1;
        if (const size_t joint = jointLength(myAt)) {
            myLine++;
            myAt += joint;
            myScratch += ' ';
        } else if (startFlag && slashFlag && myAt[1] == '/') {
            myAt = std::find(myAt, myEnd, '\n');
        } else if (startFlag && slashFlag && myAt[1] == '*') {
            skipBlockComment();
            myScratch += ' ';
        } else {
            if (quotedFlag && *myAt == '\\' && myEnd - myAt > 1 && myAt[1] != '\n') {
                myScratch += *myAt++;
            } else if (*myAt == '"') {
                quotedFlag = !quotedFlag;
            }
            myScratch += *myAt++;
        }
    }
    while (isByte(myScratch.back(), BLANK)) {
        myScratch.pop_back();
    }
}

// -------------------------------------------------------------------- //
// Tokens
// -------------------------------------------------------------------- //

std::string_view TOK_Lexer::readWord()
{
    const char *const begin = myAt;
    if (isByte(*begin, BRACKET)) {
        myAt++;
        return std::string_view(begin, 1);
    }
    while (myAt < myEnd && !isByte(*myAt, BLANK) && (*myAt != '\\' || !jointLength(myAt))) {
        myAt++;
    }
    const std::string_view word =
        withoutLooseBrackets(std::string_view(begin, static_cast<size_t>(myAt - begin)));
    myAt = begin + word.size();
    return word;
}

/// Most quoted tokens can be returned in place; only others are copied.
std::string_view TOK_Lexer::readQuoted()
{
    const char *const begin = ++myAt;
    if (myEndsOpenFlag) {
        if (const char *const end = findOpenEnd(begin)) {
            myFault = OPEN_QUOTE;
            myFaultLine = myTokenLine;
            myFaultBegin = myTokenBegin;
            myAt = end;
            return std::string_view(begin, static_cast<size_t>(end - begin));
        }
    }
    while (myAt < myEnd) {
        if (!isByte(*myAt, SPECIAL)) {
            myAt++;
        } else if (*myAt == '"') {
            return std::string_view(begin, static_cast<size_t>(myAt++ - begin));
        } else if (*myAt == '\n') {
            myLine++;
            myAt++;
        } else if (*myAt == '\\' && !jointLength(myAt) && myEnd - myAt > 1 && myAt[1] != '\0') {
            myAt += 2;
        } else {
            return copyQuoted(begin);
        }
    }
    return copyQuoted(begin);
}

const char *TOK_Lexer::findLineEnd(const char *begin)
{
    if (begin < myLineBegin || begin > myLineEnd) {
        myLineBegin = begin;
        const void *const feed = std::memchr(begin, '\n', static_cast<size_t>(myEnd - begin));
        myLineEnd = feed ? static_cast<const char *>(feed) : myEnd;
    }
    return myLineEnd;
}

/// Where a quoted token ends whose closing quote seems to be missing: the quote that closes it is
/// followed by more of a word, as the first one of another text is, or stands in a later line where a
/// text would begin. Null if it seems to be there.
const char *TOK_Lexer::findOpenEnd(const char *begin)
{
    const char *const lineEnd = findLineEnd(begin);
    const char *const close = findQuote(begin, myEnd);
    const bool wordFlag =
        myEnd - close > 1 && !isByte(close[1], BLANK) && !isByte(close[1], BRACKET);
    const std::string_view rest(begin, static_cast<size_t>(lineEnd - begin));
    if (close < lineEnd) {
        // The rest of a longer line would be looked at for each of its texts.
        constexpr std::ptrdiff_t theLongestRest = 4096;
        const std::string_view text = rest.substr(0, static_cast<size_t>(close - begin));
        if (!wordFlag || text.empty() || !isByte(text.back(), BLANK) ||
            lineEnd - close > theLongestRest || std::count(close, lineEnd, '"') % 2 != 0) {
            return nullptr;
        }
        const auto isBlank = [](char c) { return isByte(c, BLANK); };
        return std::find_if(text.begin(), text.end(), isBlank);
    }
    const std::string_view text(begin, static_cast<size_t>(close - begin));
    const size_t feed = text.rfind('\n');
    if (close == myEnd || wordFlag || opensText(text.substr(feed + 1))) {
        const std::string_view kept = withoutCloses(rest);
        return kept.data() + kept.size();
    }
    return nullptr;
}

/// Continues where the text can't be used in place: joins lines, and replaces NUL bytes by blanks.
std::string_view TOK_Lexer::copyQuoted(const char *begin)
{
    myScratch.assign(begin, myAt);
    while (myAt < myEnd && *myAt != '"') {
        if (const size_t joint = jointLength(myAt)) {
            myLine++;
            myAt += joint;
            continue;
        }
        if (*myAt == '\\' && myEnd - myAt > 1) {
            myScratch += *myAt++;
        }
        myLine += *myAt == '\n';
        myScratch += *myAt ? *myAt : ' ';
        myAt++;
    }
    if (myAt == myEnd) {
        myFault = OPEN_QUOTE;
        myFaultLine = myTokenLine;
        myFaultBegin = myTokenBegin;
    } else {
        myAt++;
    }
    return myScratch;
}
