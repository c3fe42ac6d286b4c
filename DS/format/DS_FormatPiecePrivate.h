/// \file DS_FormatPiecePrivate.h
/// A piece of a script that is laid out: a word, a comment or a directive, and its place.
#pragma once

#include <DS/format/DS_FormatKeywordsPrivate.h>
#include <TOK/TOK_SourceTokens.h>

#include <cstdint>
#include <string_view>

struct DS_FormatPiece
{
    enum Break : unsigned char
    {
        JOIN,  ///< on the line of what is before it
        VALUE, ///< the same, in the column of values
        LABEL, ///< the same, in the column of the menu's labels
        LINE,  ///< on a line of its own
        KEEP   ///< as in the text
    };
    enum Role : unsigned char
    {
        PLAIN,
        OPEN,
        CLOSE
    };

    bool isComment() const
    {
        return kind == TOK_SourceTokens::LINE_COMMENT || kind == TOK_SourceTokens::BLOCK_COMMENT;
    }
    bool isWord() const { return !isComment() && kind != TOK_SourceTokens::DIRECTIVE; }

    std::string_view text;
    const DS_FormatKeyword *keyword = nullptr; ///< of the first word of a statement
    std::uint32_t match = 0; ///< OPEN: how many pieces further its CLOSE is; 0 if there is none
    int lines = 0;           ///< line ends before it
    TOK_SourceTokens::Kind kind = TOK_SourceTokens::WORD;
    Break where = JOIN;
    Role role = PLAIN;
    DS_FormatBlock block = DS_FormatBlock::NONE; ///< of OPEN and CLOSE
    unsigned char depth = 0;                     ///< tabs in front of its line
    bool statement = false;                      ///< it belongs to the keyword before it
};
