/// \file TOK_LexerPrivate.h
/// Splits one text into tokens and directive lines, by the rules of TOK_TokenStream.h.
///
/// Vocabulary: *directive line* = a directive without its `#`, comments and joined line ends.
/// Units:      lines from the first line's number.
/// Ownership:  borrows the text. A token is part of it, or kept in the lexer until the next call.
/// Threads:    one thread at a time.
/// Errors:     what is never closed extends to the end of the text; takeFault() then reports it. With
///             setEndsOpenTexts(), so does a quoted token whose closing quote seems to be missing, and
///             it ends where it seems to end.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

class TOK_Lexer
{
public:
    enum Kind
    {
        END,
        WORD,   ///< a word or a bracket
        QUOTED, ///< without its quotes, backslashes unresolved
        DIRECTIVE
    };
    enum Fault
    {
        NO_FAULT,
        OPEN_QUOTE,
        OPEN_COMMENT
    };

    /// With `directives` false every `#` is ordinary.
    TOK_Lexer(std::string_view text, bool directives);

    void setEndsOpenTexts(bool ends) { myEndsOpenFlag = ends; }
    bool endsOpenTexts() const { return myEndsOpenFlag; }

    Kind next(std::string_view &token);
    /// Where the token of the last next() that found one begins, with its quotes or its `#`, and where
    /// reading goes on.
    const char *getBegin() const { return myTokenBegin; }
    const char *getReadEnd() const { return myAt; }
    /// Where that token ends, with its quotes, and whether its closing quote is or seems to be missing.
    const char *getEnd() const { return myTokenEnd; }
    bool isOpen() const { return myOpenFlag; }
    /// The line that the token of the last next() begins on.
    int getLine() const { return myTokenLine; }
    /// Whether that token is the first of its line.
    bool isFirstOnLine() const { return myFirstFlag; }
    static bool isDirectiveWord(std::string_view word);
    /// Whether a directive's word ends before this byte.
    static bool endsDirectiveWord(char next);
    /// The error of the last next(), returned once, and where what isn't closed begins.
    Fault takeFault(int &line, const char *&begin);

private:
    bool skipBlanks();
    void skipBlockComment();
    size_t jointLength(const char *at) const;
    bool readDirective(std::string_view &line);
    void readDirectiveLine();
    std::string_view readWord();
    std::string_view readQuoted();
    std::string_view copyQuoted(const char *begin);
    const char *findOpenEnd(const char *begin);
    const char *findLineEnd(const char *begin);

    const char *myAt;
    const char *myTokenBegin;
    const char *myTokenEnd = nullptr;
    const char *myEnd;
    std::string myScratch;
    int myLine = 1;
    int myTokenLine = 1;
    int myFaultLine = 0;
    const char *myFaultBegin = nullptr;
    Fault myFault = NO_FAULT;
    bool myDirectivesFlag;
    bool myEndsOpenFlag = false;
    bool myLineStartFlag = true;
    bool myFirstFlag = false;
    bool myOpenFlag = false;
    const char *myLineBegin = nullptr; // the part of a line whose end was looked for last
    const char *myLineEnd = nullptr;
};
