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

/// Where a statement ends, with the comments behind it in its line; 0 if a directive is in it.
std::size_t DS_FormatSorter::endOf(std::size_t keyword) const
{
    std::size_t end = keyword + 1;
    for (std::size_t i = end; i < myPieces.size(); i++) {
        const DS_FormatPiece &piece = myPieces[i];
        if (piece.isComment()) {
            continue;
        }
        if (!piece.statement) {
            break;
        }
        if (piece.role == DS_FormatPiece::OPEN) {
            const std::size_t close = i + piece.match;
            const auto at = [&](std::size_t k) {
                return myPieces.begin() + static_cast<std::ptrdiff_t>(k);
            };
            if (piece.match == 0 || std::any_of(at(i), at(close), [](const DS_FormatPiece &one) {
                    return one.kind == TOK_SourceTokens::DIRECTIVE;
                })) {
                return 0;
            }
            i = close;
        }
        end = i + 1;
    }
    while (end < myPieces.size() && myPieces[end].isComment() && myPieces[end].lines == 0) {
        end++;
    }
    return end;
}

void DS_FormatSorter::finishRun()
{
    if (myRun.size() > 1) {
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
