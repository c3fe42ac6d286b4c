/// \file DS_FormatSorterPrivate.h
/// Puts the statements of blocks in the canonical order, where their order means nothing.
///
/// Vocabulary: *statement* = a keyword with what belongs to it: the comments in the lines above it, its words
///             and block, a comment at its end. *run* = statements of one block with nothing between them
///             that must stay where it is.
#pragma once

#include <DS/format/DS_FormatPiecePrivate.h>

#include <cstddef>
#include <vector>

class DS_FormatSorter
{
public:
    /// Of pieces that are placed.
    explicit DS_FormatSorter(std::vector<DS_FormatPiece> &pieces) : myPieces(pieces) {}

    void sort();

private:
    struct Statement
    {
        std::size_t begin;
        std::size_t end;
        const DS_FormatKeyword *keyword;
    };

    std::size_t withComments(std::size_t keyword) const;
    std::size_t endOf(std::size_t keyword) const;
    bool isWhole(std::size_t open) const;
    bool takesMore(std::size_t from) const;
    void finishRun();

    std::vector<DS_FormatPiece> &myPieces;
    std::vector<Statement> myRun;
};
