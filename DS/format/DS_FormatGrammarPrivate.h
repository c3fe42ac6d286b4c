/// \file DS_FormatGrammarPrivate.h
/// Follows the grammar of dialog scripts over the words as they are written, and gives each piece its place.
///
/// A directive's groups are followed one by one, each from where its `#if` stands; what comes after them is
/// as after the first. The grammar can be lost by macros: then the places are poor, and nothing else is.
#pragma once

#include <DS/format/DS_FormatPiecePrivate.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class DS_FormatGrammar
{
public:
    explicit DS_FormatGrammar(std::vector<DS_FormatPiece> &pieces);

    /// Places all pieces, from first to last.
    void place();

private:
    struct Frame
    {
        DS_FormatBlock block;
        bool first;           ///< nothing is in it yet
        bool script;          ///< of a menu: made by a script
        int skip;             ///< words that are taken whatever they are, or a comparison's part
        int braces;           ///< of texts
        std::uint32_t opened; ///< the piece that opened it
    };
    enum class Wait : unsigned char
    {
        NOTHING,
        VALUES,
        NUMBER,
        VALUE_OR_BLOCK,
        BLOCK
    };
    struct State
    {
        std::vector<Frame> frames;
        const DS_FormatKeyword *keyword = nullptr;
        Wait wait = Wait::NOTHING;
        int values = 0;
        int beyond = 0; ///< braces that are too deep to be followed
    };
    struct Group
    {
        State start;
        std::optional<State> end;
    };

    void placeDirective(DS_FormatPiece &piece);
    void placeComment(DS_FormatPiece &piece) const;
    void placeWord(DS_FormatPiece &piece);
    bool placeAwaited(DS_FormatPiece &piece);
    void placeStatement(DS_FormatPiece &piece);
    void placeUnknown(DS_FormatPiece &piece);
    void placeInMenu(DS_FormatPiece &piece);
    void placeInList(DS_FormatPiece &piece);
    void placeInComparisons(DS_FormatPiece &piece);
    void placeInTexts(DS_FormatPiece &piece);
    void placeInOther(DS_FormatPiece &piece);
    void open(DS_FormatPiece &piece, DS_FormatBlock block);
    void close(DS_FormatPiece &piece, DS_FormatPiece::Break where);
    Frame &frame() { return myState.frames.back(); }
    unsigned char depth() const;
    bool is(std::string_view word) const { return myText == word; }
    std::uint32_t indexOf(const DS_FormatPiece &piece) const
    {
        return static_cast<std::uint32_t>(&piece - myPieces.data());
    }

    std::vector<DS_FormatPiece> &myPieces;
    State myState;
    std::vector<Group> myGroups;
    int myGroupsBeyond = 0; ///< too deep to be followed
    std::string myText;     ///< of the word, as the script means it
};
