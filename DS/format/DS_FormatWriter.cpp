#include <DS/format/DS_FormatWriterPrivate.h>

#include <algorithm>

namespace
{

constexpr std::size_t theValueColumn = 8;
constexpr std::size_t theLabelStep = 4;
constexpr std::size_t theLongestEntry = 32; ///< longer ones don't move the labels of others
constexpr std::size_t theListWidth = 90;

/// In columns: those of a text in UTF-8.
std::size_t widthOf(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

std::string_view withoutBlanksAtEnd(std::string_view text)
{
    const std::size_t end = text.find_last_not_of(" \t\v\f\r\n");
    return text.substr(0, end + 1); // 0 without one
}

/// Whether a list can't stand on one line with this in it.
bool breaksList(const DS_FormatPiece &piece)
{
    return !piece.isWord() && (piece.kind != TOK_SourceTokens::BLOCK_COMMENT || piece.lines > 0 ||
                               piece.text.find('\n') != std::string_view::npos);
}

} // namespace

std::string DS_FormatWriter::write()
{
    spreadLists();
    for (std::size_t i = 0; i < myPieces.size(); i++) {
        const DS_FormatPiece &piece = myPieces[i];
        if (piece.isComment()) {
            writeComment(piece);
        } else if (piece.kind == TOK_SourceTokens::DIRECTIVE) {
            writeDirective(piece);
        } else {
            writeWord(i);
            if (piece.role == DS_FormatPiece::OPEN && piece.block == DS_FormatBlock::RAW &&
                piece.match > 0) {
                // What is between the braces stays as it is written.
                const std::string_view &closing = myPieces[i + piece.match].text;
                const char *const start = piece.text.data() + piece.text.size();
                append(std::string_view(
                    start, static_cast<std::size_t>(closing.data() + closing.size() - start)));
                i += piece.match;
                myOpenedFlag = false;
            }
        }
    }
    if (!myText.empty()) {
        endLine();
    }
    return std::move(myText);
}

// ---------------------------------------------------------------------- //
// Lists on more than one line
// ---------------------------------------------------------------------- //

void DS_FormatWriter::spreadLists()
{
    for (std::size_t i = 0; i < myPieces.size(); i++) {
        const DS_FormatPiece &piece = myPieces[i];
        if (piece.role == DS_FormatPiece::OPEN && piece.match > 1 && DSisFormatList(piece.block)) {
            const auto first = myPieces.begin() + static_cast<std::ptrdiff_t>(i);
            const auto last = first + static_cast<std::ptrdiff_t>(piece.match);
            std::size_t width = 0;
            bool linesFlag = false;
            for (auto at = first + 1; at != last; ++at) {
                width += widthOf(at->text) + 1;
                linesFlag = linesFlag || at->lines > 0;
            }
            if ((linesFlag && width > theListWidth) || std::any_of(first + 1, last, breaksList)) {
                spreadList(i);
            }
        }
    }
}

/// Its lines are those of the text.
void DS_FormatWriter::spreadList(std::size_t open)
{
    const std::size_t close = open + myPieces[open].match;
    if (myPieces[open].where == DS_FormatPiece::VALUE) {
        myPieces[open].where = DS_FormatPiece::JOIN;
    }
    for (std::size_t i = open + 1; i < close; i++) {
        myPieces[i].where = i == open + 1 ? DS_FormatPiece::LINE : DS_FormatPiece::KEEP;
    }
    myPieces[close].where = DS_FormatPiece::LINE;
}

/// The column of labels of the menu that this brace opens.
std::size_t DS_FormatWriter::menuColumn(std::size_t open) const
{
    std::size_t widest = 0;
    for (std::size_t i = open + 1; i < open + myPieces[open].match; i++) {
        const DS_FormatPiece &piece = myPieces[i];
        const std::size_t width = widthOf(piece.text);
        if (piece.where == DS_FormatPiece::LINE && piece.isWord() && width <= theLongestEntry) {
            widest = std::max(widest, width);
        }
    }
    const std::size_t steps = (widest + 2 + theLabelStep - 1) / theLabelStep;
    return std::max(theValueColumn, steps * theLabelStep);
}

// ---------------------------------------------------------------------- //
// Pieces
// ---------------------------------------------------------------------- //

void DS_FormatWriter::writeComment(const DS_FormatPiece &piece)
{
    if (piece.lines > 0 || myText.empty()) {
        startLine(piece, piece.depth, true);
        myOpenedFlag = false;
    } else {
        append(" ");
    }
    if (piece.kind == TOK_SourceTokens::LINE_COMMENT) {
        append(withoutBlanksAtEnd(piece.text));
        myMustBreakFlag = true;
    } else {
        append(piece.text);
    }
}

void DS_FormatWriter::writeDirective(const DS_FormatPiece &piece)
{
    startLine(piece, piece.depth, true);
    append(piece.text);
    myOpenedFlag = false;
    myMustBreakFlag = true;
}

void DS_FormatWriter::writeWord(std::size_t index)
{
    const DS_FormatPiece &piece = myPieces[index];
    if (myTouchFlag) {
        // Only the bracket keeps the word before it from being a directive.
        myTouchFlag = false;
    } else if (myText.empty() || breaksBefore(piece)) {
        const bool indentFlag = piece.statement && piece.role != DS_FormatPiece::OPEN;
        const bool blankFlag =
            piece.role != DS_FormatPiece::CLOSE &&
            (piece.where == DS_FormatPiece::LINE || piece.where == DS_FormatPiece::KEEP);
        startLine(piece, piece.depth + (indentFlag ? 1u : 0u), blankFlag);
    } else {
        join(piece);
    }
    append(piece.text);
    myOpenedFlag = piece.role == DS_FormatPiece::OPEN;
    // A directive's word may follow in the next line, but not in this one.
    const bool startFlag = myFirstFlag && TOK_SourceTokens::startsDirective(piece.text);
    myFirstFlag = false;
    myHashFlag = startFlag && piece.text == "#";
    myTouchFlag = startFlag && !myHashFlag;
    if (myOpenedFlag && piece.block == DS_FormatBlock::MENU) {
        myMenuColumn = menuColumn(index);
    }
}

/// A word that is none, but would be a directive at the start of a line, stays behind another one.
bool DS_FormatWriter::breaksBefore(const DS_FormatPiece &piece) const
{
    if (myMustBreakFlag || TOK_SourceTokens::startsDirective(piece.text)) {
        return myMustBreakFlag;
    }
    return myHashFlag || piece.where == DS_FormatPiece::LINE ||
           (piece.where == DS_FormatPiece::KEEP && piece.lines > 0);
}

// ---------------------------------------------------------------------- //
// Lines
// ---------------------------------------------------------------------- //

void DS_FormatWriter::startLine(const DS_FormatPiece &piece, unsigned depth, bool blankFlag)
{
    if (!myText.empty()) {
        endLine();
        if (blankFlag && piece.lines > 1 && !myOpenedFlag) {
            myText.append(myLineEnd);
        }
    }
    myText.append(depth, '\t');
    myLineStart = myText.size();
    myFirstFlag = true;
    myHashFlag = false;
    myMustBreakFlag = false;
}

void DS_FormatWriter::endLine()
{
    if (!myText.empty() && myText.back() == '\\') {
        myText.push_back(' '); // else it would join the lines
    }
    myText.append(myLineEnd);
}

void DS_FormatWriter::join(const DS_FormatPiece &piece)
{
    const std::size_t column = piece.where == DS_FormatPiece::VALUE   ? theValueColumn
                               : piece.where == DS_FormatPiece::LABEL ? myMenuColumn
                                                                      : 0;
    // No column is further from the start of a line than these bytes.
    constexpr std::size_t theFarthest = 4 * (2 * theLongestEntry);
    const std::size_t start = std::max(
        myLineStart, myText.size() - std::min(myText.size(), column > 0 ? theFarthest : 0));
    const std::string_view line = std::string_view(myText).substr(start);
    const std::size_t end = line.rfind('\n');
    const std::size_t written =
        widthOf(end == std::string_view::npos ? line : line.substr(end + 1));
    myText.append(column > written + 1 ? column - written : 1, ' ');
}

void DS_FormatWriter::append(std::string_view text)
{
    myText.append(text);
}
