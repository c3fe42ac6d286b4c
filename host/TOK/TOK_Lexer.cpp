#include <TOK/TOK_LexerPrivate.h>

#include <algorithm>
#include <array>
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

} // namespace

TOK_Lexer::TOK_Lexer(std::string_view text, bool directives)
    : myAt(text.data()), myEnd(text.data() + text.size()), myTokenAt(myAt),
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

TOK_Lexer::Fault TOK_Lexer::takeFault(int &line)
{
    const Fault fault = myFault;
    line = myFaultLine;
    myFault = NO_FAULT;
    return fault;
}

TOK_Lexer::Kind TOK_Lexer::next(std::string_view &token)
{
    const bool moreFlag = skipBlanks();
    myTokenLine = myLine;
    myTokenAt = myAt;
    if (!moreFlag) {
        return END;
    }
    myFirstFlag = myLineStartFlag;
    if (*myAt == '#' && myLineStartFlag && myDirectivesFlag && readDirective(token)) {
        return DIRECTIVE;
    }
    myLineStartFlag = false;
    if (*myAt == '"') {
        token = readQuoted();
        return QUOTED;
    }
    token = readWord();
    return WORD;
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
    } else {
        myAt++;
    }
    return myScratch;
}
