#include <TOK/TOK_SourceTokens.h>

#include <KIT/KIT_IStream.h>
#include <TOK/TOK_LexerPrivate.h>

#include <algorithm>

namespace
{

/// Of a gap between tokens.
std::string_view commentAt(std::string_view rest, bool block)
{
    if (!block) {
        return rest.substr(0, rest.find('\n'));
    }
    const size_t close = rest.find("*/", 2);
    return rest.substr(0, close == std::string_view::npos ? close : close + 2);
}

/// Line ends that are joined to nothing are blanks, as they are for the reader.
std::string_view withoutBlanksAtEnd(std::string_view text)
{
    for (;;) {
        const size_t end = text.find_last_not_of(" \t\v\f\r\n") + 1;
        const std::string_view rest = text.substr(end);
        text = text.substr(0, end);
        const bool joinFlag = rest.substr(0, 1) == "\n" || rest.substr(0, 2) == "\r\n";
        if (text.empty() || text.back() != '\\' || !joinFlag) {
            return text;
        }
        text.remove_suffix(1);
    }
}

} // namespace

TOK_SourceTokens::TOK_SourceTokens(std::string_view text)
{
    if (text.substr(0, KIT_IStream::theByteOrderMark.size()) == KIT_IStream::theByteOrderMark) {
        text.remove_prefix(KIT_IStream::theByteOrderMark.size());
    }
    TOK_Lexer lexer(text, true);
    const char *at = text.data();
    for (bool moreFlag = true; moreFlag;) {
        std::string_view token;
        const TOK_Lexer::Kind kind = lexer.next(token);
        const char *const begin = kind == TOK_Lexer::END ? lexer.getReadEnd() : lexer.getBegin();
        const std::string_view written(begin, static_cast<size_t>(lexer.getReadEnd() - begin));
        const int lines =
            addComments(std::string_view(at, static_cast<size_t>(written.data() - at)), 0);
        moreFlag = kind != TOK_Lexer::END;
        if (moreFlag) {
            const bool directiveFlag = kind == TOK_Lexer::DIRECTIVE;
            myTokens.push_back({directiveFlag ? withoutBlanksAtEnd(written) : written, lines,
                                kind == TOK_Lexer::WORD     ? WORD
                                : kind == TOK_Lexer::QUOTED ? QUOTED
                                                            : DIRECTIVE});
        }
        at = written.data() + written.size();
        int line = 0;
        const char *open = nullptr;
        const TOK_Lexer::Fault fault = lexer.takeFault(line, open);
        if (fault != TOK_Lexer::NO_FAULT) {
            myFault = fault == TOK_Lexer::OPEN_QUOTE ? "a quote is never closed"
                                                     : "a comment is never closed";
            myFaultLine = line;
        }
    }
}

/// Adds those of a gap between tokens; returns the line ends after the last one.
int TOK_SourceTokens::addComments(std::string_view gap, int lines)
{
    while (!gap.empty()) {
        if (gap[0] == '/') {
            const bool blockFlag = gap[1] == '*';
            const std::string_view comment = commentAt(gap, blockFlag);
            gap.remove_prefix(comment.size());
            myTokens.push_back({comment, lines, blockFlag ? BLOCK_COMMENT : LINE_COMMENT});
            lines = 0;
        } else if (gap[0] == '\\') {
            gap.remove_prefix(gap.find('\n') + 1); // joins two lines
        } else {
            lines += gap[0] == '\n';
            gap.remove_prefix(1);
        }
    }
    return lines;
}

bool TOK_SourceTokens::startsDirective(std::string_view word)
{
    if (word.empty() || word[0] != '#') {
        return false;
    }
    const auto end =
        std::find_if(word.begin() + 1, word.end(), [](char c) { return c < 'a' || c > 'z'; });
    const auto length = static_cast<size_t>(end - word.begin());
    return word.size() == 1 || (TOK_Lexer::isDirectiveWord(word.substr(1, length - 1)) &&
                                (length == word.size() || TOK_Lexer::endsDirectiveWord(*end)));
}
