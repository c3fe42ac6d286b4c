/// \file NOD_ServerTextPrivate.h
/// The text of a document, with its lines, as an editor changes it.
///
/// Vocabulary: *unit* = what a position counts in a line: bytes, or the 16-bit units of UTF-16. Lines end
///             with LF, CR LF or CR.
/// Units:      lines from 0, offsets in bytes from 0.
/// Threads:    as the standard library's containers.
/// Errors:     a position in a character is at its beginning, one after a line's end at its end; one in a line
///             that isn't there is none.
/// Cost:       a change moves what is after it and reads the lines that it touches.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct NOD_ServerPosition
{
    long line = 0;
    long unit = 0;
};

class NOD_ServerText
{
public:
    enum class Encoding
    {
        UTF8,
        UTF16
    };

    NOD_ServerText(std::string text, Encoding encoding);

    /// Another text with the same positions.
    NOD_ServerText makeLike(std::string text) const { return {std::move(text), myEncoding}; }

    const std::string &get() const { return myText; }
    std::size_t getLineCount() const { return myLines.size(); }
    /// Without its end.
    std::string_view getLine(std::size_t line) const;
    std::size_t getLineBegin(std::size_t line) const { return myLines[line]; }
    std::size_t findLine(std::size_t offset) const;

    /// One line after the last is the end of the text.
    std::optional<std::size_t> findOffset(NOD_ServerPosition position) const;
    NOD_ServerPosition findPosition(std::size_t offset) const;
    /// The units of the bytes [begin, end) of a line.
    long countUnits(std::size_t begin, std::size_t end) const;

    void replace(std::size_t begin, std::size_t end, std::string_view text);

private:
    void addLines(std::size_t begin, std::size_t end, std::vector<std::size_t> &lines) const;

    std::string myText;
    std::vector<std::size_t> myLines; ///< where each begins
    Encoding myEncoding;
};

/// Positions of offsets that mostly are near the one before: a long line is counted once.
class NOD_ServerTextWalk
{
public:
    explicit NOD_ServerTextWalk(const NOD_ServerText &text) : myText(text) {}

    NOD_ServerPosition find(std::size_t offset);

private:
    const NOD_ServerText &myText;
    std::size_t myOffset = 0;
    NOD_ServerPosition myPosition;
};
