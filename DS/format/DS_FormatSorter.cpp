#include <DS/format/DS_FormatSorterPrivate.h>

#include <algorithm>
#include <deque>
#include <map>

namespace
{

bool isPlain(const DS_FormatKeyword &keyword)
{
    return !keyword.skipped && keyword.block != DS_FormatBlock::PARM &&
           keyword.block != DS_FormatBlock::PAGE;
}

/// Statements of one rank, in their order; each may go as soon as none that is before it and whose order
/// with it means something is left.
template <class STATEMENT>
class Choice
{
public:
    explicit Choice(const std::vector<STATEMENT> &statements)
    {
        for (const STATEMENT &one : statements) {
            myWaiting[one.keyword->word].push_back(&one);
        }
    }

    const STATEMENT *take()
    {
        const STATEMENT *best = nullptr;
        for (const auto &[word, waiting] : myWaiting) {
            const STATEMENT *const one = waiting.front();
            if ((!best || one->keyword->rank < best->keyword->rank) && isFree(*one)) {
                best = one;
            }
        }
        if (best) {
            const auto taken = myWaiting.find(best->keyword->word);
            taken->second.pop_front();
            if (taken->second.empty()) {
                myWaiting.erase(taken);
            }
        }
        return best;
    }

private:
    bool isFree(const STATEMENT &one) const
    {
        return std::none_of(myWaiting.begin(), myWaiting.end(), [&](const auto &other) {
            const STATEMENT &first = *other.second.front();
            return first.begin < one.begin && DSisFormatOrder(*first.keyword, *one.keyword);
        });
    }

    std::map<std::string_view, std::deque<const STATEMENT *>> myWaiting;
};

} // namespace

void DS_FormatSorter::sort()
{
    for (std::size_t i = 0; i < myPieces.size(); i++) {
        const DS_FormatPiece &piece = myPieces[i];
        if (piece.isComment()) {
            continue;
        }
        const std::size_t end = piece.keyword && isPlain(*piece.keyword) ? endOf(i) : 0;
        if (end == 0) {
            finishRun();
            continue;
        }
        myRun.push_back({withComments(i), end, piece.keyword});
        i = end - 1;
    }
    finishRun();
}

/// Where a statement begins: with the comments in the lines above its keyword.
std::size_t DS_FormatSorter::withComments(std::size_t keyword) const
{
    std::size_t begin = keyword;
    for (std::size_t i = keyword; i > 0 && myPieces[i - 1].isComment(); i--) {
        if (myPieces[i - 1].lines > 0) {
            begin = i - 1;
        }
    }
    return begin;
}

/// Where a statement ends, with the comments behind it in its line; 0 if a directive is in it, or it isn't whole.
std::size_t DS_FormatSorter::endOf(std::size_t keyword) const
{
    const DS_FormatKeyword &known = *myPieces[keyword].keyword;
    std::size_t end = keyword + 1;
    int words = 0;
    bool blockFlag = false;
    for (std::size_t i = end; i < myPieces.size(); i++) {
        const DS_FormatPiece &piece = myPieces[i];
        if (piece.isComment()) {
            continue;
        }
        if (!piece.statement) {
            break;
        }
        if (TOK_SourceTokens::startsDirective(piece.text)) {
            return 0; // it depends on what is around it
        }
        if (piece.role == DS_FormatPiece::OPEN) {
            if (!isWhole(i)) {
                return 0;
            }
            blockFlag = true;
            i += piece.match;
        } else {
            words++;
        }
        end = i + 1;
    }
    const bool needsFlag = known.block != DS_FormatBlock::NONE && !blockFlag;
    if (words < known.values || (needsFlag && !(known.optional && words > 0)) ||
        (known.optional && words == 0 && !blockFlag && takesMore(end))) {
        return 0;
    }
    while (end < myPieces.size() && myPieces[end].isComment() && myPieces[end].lines == 0) {
        end++;
    }
    return end;
}

/// Whether the block of this brace has its end, and no directive before it.
bool DS_FormatSorter::isWhole(std::size_t open) const
{
    const auto first = myPieces.begin() + static_cast<std::ptrdiff_t>(open);
    const auto last = first + static_cast<std::ptrdiff_t>(first->match);
    return first != last && std::none_of(first, last, [](const DS_FormatPiece &piece) {
               return piece.kind == TOK_SourceTokens::DIRECTIVE;
           });
}

/// Whether a word that no grammar knows follows, which a keyword with an optional value might take.
bool DS_FormatSorter::takesMore(std::size_t from) const
{
    const auto next =
        std::find_if(myPieces.begin() + static_cast<std::ptrdiff_t>(from), myPieces.end(),
                     [](const DS_FormatPiece &piece) { return piece.isWord(); });
    return next != myPieces.end() && !next->keyword && next->role != DS_FormatPiece::CLOSE;
}

void DS_FormatSorter::finishRun()
{
    // One whose value is optional could come to stand before a word that it takes.
    const bool mayTakeFlag =
        std::any_of(myRun.begin(), myRun.end(),
                    [](const Statement &one) { return one.keyword->optional; }) &&
        takesMore(myRun.back().end);
    if (myRun.size() > 1 && !mayTakeFlag) {
        std::vector<DS_FormatPiece> sorted;
        Choice choice(myRun);
        while (const Statement *const next = choice.take()) {
            sorted.insert(sorted.end(), myPieces.begin() + static_cast<std::ptrdiff_t>(next->begin),
                          myPieces.begin() + static_cast<std::ptrdiff_t>(next->end));
        }
        std::copy(sorted.begin(), sorted.end(),
                  myPieces.begin() + static_cast<std::ptrdiff_t>(myRun.front().begin));
    }
    myRun.clear();
}
