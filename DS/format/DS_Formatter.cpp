#include <DS/DS_Formatter.h>

#include <DS/format/DS_FormatGrammarPrivate.h>
#include <DS/format/DS_FormatSorterPrivate.h>
#include <DS/format/DS_FormatWriterPrivate.h>
#include <KIT/KIT_IStream.h>

#include <algorithm>

namespace
{

std::string_view lineEndOf(std::string_view text)
{
    const std::size_t first = text.find('\n');
    const bool returnFlag = first != std::string_view::npos && first > 0 && text[first - 1] == '\r';
    return returnFlag ? "\r\n" : "\n";
}

} // namespace

bool DS_Formatter::format(std::string_view text, std::string &result)
{
    const std::size_t nul = text.find('\0');
    if (nul != std::string_view::npos) {
        const auto lines =
            std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(nul), '\n');
        return fail("has bytes of zero: it is no text", 1 + static_cast<int>(lines));
    }
    if (!text.empty() && text.back() == '\\') {
        // What it means depends on what follows the text.
        const auto lines = std::count(text.begin(), text.end(), '\n');
        return fail("ends in a backslash", 1 + static_cast<int>(lines));
    }
    const TOK_SourceTokens tokens(text);
    if (tokens.getFault()) {
        return fail(tokens.getFault(), tokens.getFaultLine());
    }
    std::vector<DS_FormatPiece> pieces(tokens.getTokens().size());
    std::transform(tokens.getTokens().begin(), tokens.getTokens().end(), pieces.begin(),
                   [](const TOK_SourceTokens::Token &token) {
                       DS_FormatPiece piece;
                       piece.text = token.text;
                       piece.lines = token.lines;
                       piece.kind = token.kind;
                       return piece;
                   });
    DS_FormatGrammar(pieces).place();
    if (myOptions.sort) {
        DS_FormatSorter(pieces).sort();
    }
    constexpr std::string_view theMark = KIT_IStream::theByteOrderMark;
    const std::string_view lineEnd = lineEndOf(text);
    result = DS_FormatWriter(pieces, lineEnd).write();
    if (text.substr(0, theMark.size()) == theMark) {
        result.insert(0, theMark);
    } else if (result.compare(0, theMark.size(), theMark) == 0) {
        result.insert(0, lineEnd); // a word that would count as the mark in front of all
    }
    return true;
}

bool DS_Formatter::fail(const std::string &fault, int line)
{
    myFault = fault;
    myFaultLine = line;
    return false;
}
