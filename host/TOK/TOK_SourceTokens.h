/// \file TOK_SourceTokens.h
/// The tokens of one text as they are written, with its comments and directives: for programs that write a
/// script anew, or show it, rather than read what it means.
///
/// Vocabulary: *token*, *directive* as in TOK_TokenStream.h. Nothing is included, replaced or skipped.
/// Units:      lines from 1.
/// Ownership:  borrows the text, of which its tokens are parts.
/// Threads:    constant after construction.
/// Errors:     what is never closed extends to the end of the text, and getFault() says so. A byte order mark
///             at the start is no part of any token.
/// Cost:       of reading the text once; 24 bytes for each token.

#pragma once

#include <BAS/BAS_API.h>

#include <string_view>
#include <vector>

class KIT_API TOK_SourceTokens
{
public:
    enum Kind : unsigned char
    {
        WORD,      ///< a word or a bracket
        QUOTED,    ///< with its quotes and backslashes
        DIRECTIVE, ///< from its `#`, with comments and joined line ends, but for blanks at its end
        LINE_COMMENT, ///< from its `//`
        BLOCK_COMMENT
    };
    struct Token
    {
        std::string_view text;
        /// Line ends between this and what is before it; one with a backslash before it is none.
        int lines;
        Kind kind;
    };

    explicit TOK_SourceTokens(std::string_view text);

    const std::vector<Token> &getTokens() const { return myTokens; }
    /// What is never closed, as a sentence; null if all is.
    const char *getFault() const { return myFault; }
    int getFaultLine() const { return myFaultLine; }

    /// Whether a word would be a directive, or the start of one, as the first of its line.
    static bool startsDirective(std::string_view word);

private:
    int addComments(std::string_view gap, int lines);

    std::vector<Token> myTokens;
    const char *myFault = nullptr;
    int myFaultLine = 0;
};
