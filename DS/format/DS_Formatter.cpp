#include <DS/DS_Formatter.h>

#include <DS/format/DS_FormatGrammarPrivate.h>
#include <DS/format/DS_FormatSorterPrivate.h>
#include <DS/format/DS_FormatWriterPrivate.h>
#include <KIT/KIT_IStream.h>

#include <algorithm>

namespace
{

/// That of the first line that ends between words.
std::string_view lineEndOf(std::string_view text, const TOK_SourceTokens &tokens)
{
    std::size_t first = text.find('\n');
    for (const TOK_SourceTokens::Token &token : tokens.getTokens()) {
        const auto begin = static_cast<std::size_t>(token.text.data() - text.data());
        const std::size_t end = begin + token.text.size();
        if (first < begin) {
            break;
        }
        first = first < end ? text.find('\n', end) : first;
    }
    const bool returnFlag = first != std::string_view::npos && first > 0 && text[first - 1] == '\r';
    return returnFlag ? "\r\n" : "\n";
}

} // namespace

/// Where braces don't match, it isn't certain what a comment or a keyword belongs to: what wouldn't stay as it is
/// when it is sorted again keeps its order.
bool DS_Formatter::format(std::string_view text, std::string &result)
{
    std::string laid;
    if (!layOut(text, false, laid)) {
        return false;
    }
    std::string sorted;
    std::string again;
    const bool sortedFlag = myOptions.sort && layOut(laid, true, sorted) &&
                            layOut(sorted, true, again) && again == sorted &&
                            layOut(sorted, false, again) && again == sorted;
    result = sortedFlag ? sorted : laid;
    return true;
}

bool DS_Formatter::layOut(std::string_view text, bool sort, std::string &result)
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
    if (sort) {
        DS_FormatSorter(pieces).sort();
    }
    constexpr std::string_view theMark = KIT_IStream::theByteOrderMark;
    const std::string_view lineEnd = lineEndOf(text, tokens);
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
