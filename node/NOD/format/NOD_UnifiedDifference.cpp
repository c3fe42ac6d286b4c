#include <NOD/NOD_UnifiedDifference.h>

#include <algorithm>
#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

namespace
{

using Lines = std::vector<std::string_view>;

/// With their line ends, but for the last one that may have none.
Lines linesOf(std::string_view text)
{
    Lines lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::size_t length = end == std::string_view::npos ? text.size() : end + 1;
        lines.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return lines;
}

/// Lines [begin, end) of each of both texts.
struct Part
{
    std::size_t from;
    std::size_t fromEnd;
    std::size_t to;
    std::size_t toEnd;

    bool isEmpty() const { return from == fromEnd && to == toEnd; }
};

/// Finds the parts that differ, from first to last.
class Comparison
{
public:
    Comparison(const Lines &from, const Lines &to) : myFrom(from), myTo(to)
    {
        std::vector<Part> parts{{0, from.size(), 0, to.size()}};
        while (!parts.empty()) {
            Part part = parts.back();
            parts.pop_back();
            trim(part);
            if (part.from == part.fromEnd || part.to == part.toEnd) {
                add(part);
            } else {
                split(part, parts);
            }
        }
    }

    const std::vector<Part> &getChanges() const { return myChanges; }

private:
    using Pair = std::pair<std::size_t, std::size_t>;

    void trim(Part &part) const;
    void split(const Part &part, std::vector<Part> &parts);
    std::vector<Pair> uniqueLines(const Part &part) const;
    std::vector<Pair> commonLines(const Part &part) const;
    void add(const Part &part);

    const Lines &myFrom;
    const Lines &myTo;
    std::vector<Part> myChanges;
};

void Comparison::trim(Part &part) const
{
    while (part.from < part.fromEnd && part.to < part.toEnd && myFrom[part.from] == myTo[part.to]) {
        part.from++;
        part.to++;
    }
    while (part.from < part.fromEnd && part.to < part.toEnd &&
           myFrom[part.fromEnd - 1] == myTo[part.toEnd - 1]) {
        part.fromEnd--;
        part.toEnd--;
    }
}

/// Puts what lies between the matches of a part on the stack, the first on top.
void Comparison::split(const Part &part, std::vector<Part> &parts)
{
    constexpr std::size_t theMostCells = std::size_t{1} << 20;
    std::vector<Pair> matches = uniqueLines(part);
    const std::size_t cells = (part.fromEnd - part.from) * (part.toEnd - part.to);
    if (matches.empty() && cells <= theMostCells) {
        matches = commonLines(part);
    }
    if (matches.empty()) {
        add(part);
        return;
    }
    Part rest = part;
    for (auto match = matches.rbegin(); match != matches.rend(); ++match) {
        parts.push_back({match->first + 1, rest.fromEnd, match->second + 1, rest.toEnd});
        rest.fromEnd = match->first;
        rest.toEnd = match->second;
    }
    parts.push_back(rest);
}

/// The longest series of lines that both have once, in the order of both.
std::vector<Comparison::Pair> Comparison::uniqueLines(const Part &part) const
{
    struct Place
    {
        std::size_t from = 0, to = 0;
        int froms = 0, tos = 0;
    };
    std::unordered_map<std::string_view, Place> places;
    for (std::size_t i = part.from; i < part.fromEnd; i++) {
        Place &place = places[myFrom[i]];
        place.from = i;
        place.froms++;
    }
    for (std::size_t i = part.to; i < part.toEnd; i++) {
        Place &place = places[myTo[i]];
        place.to = i;
        place.tos++;
    }
    // Patience sorting: piles of growing `to`, each card with the one below it in the pile before.
    std::vector<Pair> cards;
    std::vector<std::size_t> below;
    std::vector<std::size_t> piles;
    for (std::size_t i = part.from; i < part.fromEnd; i++) {
        const Place &place = places[myFrom[i]];
        if (place.froms != 1 || place.tos != 1) {
            continue;
        }
        const auto pile = std::lower_bound(
            piles.begin(), piles.end(), place.to,
            [&](std::size_t card, std::size_t to) { return cards[card].second < to; });
        below.push_back(pile == piles.begin() ? cards.size() : *(pile - 1));
        if (pile == piles.end()) {
            piles.push_back(cards.size());
        } else {
            *pile = cards.size();
        }
        cards.emplace_back(i, place.to);
    }
    std::vector<Pair> series;
    for (std::size_t card = piles.empty() ? 0 : piles.back(); series.size() < piles.size();
         card = below[card]) {
        series.push_back(cards[card]);
    }
    std::reverse(series.begin(), series.end());
    return series;
}

/// The longest common series of lines, by a table of all pairs.
std::vector<Comparison::Pair> Comparison::commonLines(const Part &part) const
{
    const std::size_t rows = part.fromEnd - part.from;
    const std::size_t columns = part.toEnd - part.to;
    std::vector<unsigned> longest((rows + 1) * (columns + 1));
    const auto cell = [&](std::size_t i, std::size_t k) -> unsigned & {
        return longest[i * (columns + 1) + k];
    };
    for (std::size_t i = rows; i-- > 0;) {
        for (std::size_t k = columns; k-- > 0;) {
            cell(i, k) = myFrom[part.from + i] == myTo[part.to + k]
                             ? cell(i + 1, k + 1) + 1
                             : std::max(cell(i + 1, k), cell(i, k + 1));
        }
    }
    std::vector<Pair> series;
    for (std::size_t i = 0, k = 0; i < rows && k < columns;) {
        if (myFrom[part.from + i] == myTo[part.to + k]) {
            series.emplace_back(part.from + i++, part.to + k++);
        } else if (cell(i + 1, k) >= cell(i, k + 1)) {
            i++;
        } else {
            k++;
        }
    }
    return series;
}

void Comparison::add(const Part &part)
{
    if (part.isEmpty()) {
        return;
    }
    if (!myChanges.empty() && myChanges.back().fromEnd == part.from &&
        myChanges.back().toEnd == part.to) {
        myChanges.back().fromEnd = part.fromEnd;
        myChanges.back().toEnd = part.toEnd;
    } else {
        myChanges.push_back(part);
    }
}

void addLines(std::string &text, char mark, const Lines &lines, std::size_t begin, std::size_t end)
{
    for (std::size_t i = begin; i < end; i++) {
        text += mark;
        text += lines[i];
        if (lines[i].back() != '\n') {
            text += "\n\\ No newline at end of file\n";
        }
    }
}

/// Lines are counted from 1; of none, the one before them counts.
std::string rangeOf(std::size_t begin, std::size_t end)
{
    const std::size_t first = begin == end ? begin : begin + 1;
    return std::to_string(first) + (end - begin == 1 ? "" : ',' + std::to_string(end - begin));
}

} // namespace

std::string NODunifiedDifference(std::string_view before, std::string_view after,
                                 const std::string &nameBefore, const std::string &nameAfter,
                                 int context)
{
    const Lines from = linesOf(before);
    const Lines to = linesOf(after);
    const Comparison comparison(from, to);
    const std::vector<Part> &changes = comparison.getChanges();
    const auto around = static_cast<std::size_t>(std::max(context, 0));
    std::string text;
    for (std::size_t first = 0; first < changes.size();) {
        std::size_t last = first;
        while (last + 1 < changes.size() &&
               changes[last + 1].from - changes[last].fromEnd <= 2 * around) {
            last++;
        }
        const std::size_t ahead = std::min(around, changes[first].from);
        const std::size_t behind = std::min(around, from.size() - changes[last].fromEnd);
        if (text.empty()) {
            text = "--- " + nameBefore + "\n+++ " + nameAfter + '\n';
        }
        text += "@@ -" + rangeOf(changes[first].from - ahead, changes[last].fromEnd + behind) +
                " +" + rangeOf(changes[first].to - ahead, changes[last].toEnd + behind) + " @@\n";
        std::size_t at = changes[first].from - ahead;
        for (; first <= last; first++) {
            addLines(text, ' ', from, at, changes[first].from);
            addLines(text, '-', from, changes[first].from, changes[first].fromEnd);
            addLines(text, '+', to, changes[first].to, changes[first].toEnd);
            at = changes[first].fromEnd;
        }
        addLines(text, ' ', from, at, at + behind);
    }
    return text;
}
