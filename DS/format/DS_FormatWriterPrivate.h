/// \file DS_FormatWriterPrivate.h
/// Writes placed pieces as text.
#pragma once

#include <DS/format/DS_FormatPiecePrivate.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class DS_FormatWriter
{
public:
    /// `lineEnd` is "\n" or "\r\n". Both are borrowed.
    DS_FormatWriter(std::vector<DS_FormatPiece> &pieces, std::string_view lineEnd)
        : myPieces(pieces), myLineEnd(lineEnd)
    {}

    std::string write();

private:
    void spreadLists();
    void spreadList(std::size_t open);
    void writeWord(std::size_t index);
    void writeComment(const DS_FormatPiece &piece);
    void writeDirective(const DS_FormatPiece &piece);
    bool breaksBefore(const DS_FormatPiece &piece) const;
    void startLine(const DS_FormatPiece &piece, unsigned depth, bool blankFlag);
    void join(const DS_FormatPiece &piece);
    void endLine();
    void append(std::string_view text);
    std::size_t menuColumn(std::size_t open) const;

    std::vector<DS_FormatPiece> &myPieces;
    std::string_view myLineEnd;
    std::string myText;
    std::size_t myLineStart = 0;  ///< of the last line, behind its tabs
    std::size_t myMenuColumn = 0; ///< of the menu that is being written
    bool myOpenedFlag = true;     ///< nothing since a brace, or at all
    bool myFirstFlag = true;      ///< the line has only comments so far
    bool myHashFlag = false;      ///< the last word is the first of its line, and a "#"
    bool myTouchFlag = false;     ///< the next word follows without a blank
    bool myMustBreakFlag = false; ///< the line can't go on
};
