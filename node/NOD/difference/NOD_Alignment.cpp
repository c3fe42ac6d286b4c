#include <NOD/difference/NOD_AlignmentPrivate.h>

#include <algorithm>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace
{

constexpr std::size_t theMostMatches = 4000000; ///< pairs of equal elements
constexpr int theMostEdits = 2500;              ///< their square is what is remembered
constexpr std::size_t theMostCells = 250000;    ///< of pairs of items that are compared

using Places = std::unordered_map<std::uint64_t, std::vector<int>>;

Places placesOf(const NOD_Hashes &hashes, int first, int end)
{
    Places places;
    for (int i = first; i < end; ++i) {
        places[hashes[std::size_t(i)]].push_back(i);
    }
    return places;
}

/// What is left of two sequences without their common ends.
struct Range
{
    int left = 0;
    int leftEnd = 0;
    int right = 0;
    int rightEnd = 0;
};

/// Longest ascending run of matches, as Hunt and Szymanski do it: best where few elements are equal.
void appendByMatches(const NOD_Hashes &left, const Range &range, const Places &places,
                     NOD_Pairs &pairs)
{
    struct Link
    {
        int left;
        int right;
        int before;
    };
    std::vector<Link> links;
    std::vector<int> tails; // of the best run of each length, its last link
    for (int i = range.left; i < range.leftEnd; ++i) {
        const auto found = places.find(left[std::size_t(i)]);
        if (found == places.end()) {
            continue;
        }
        for (auto j = found->second.rbegin(); j != found->second.rend(); ++j) {
            const auto at =
                std::lower_bound(tails.begin(), tails.end(), *j, [&](int link, int place) {
                    return links[std::size_t(link)].right < place;
                });
            links.push_back({i, *j, at == tails.begin() ? -1 : *(at - 1)});
            const int link = int(links.size()) - 1;
            if (at == tails.end()) {
                tails.push_back(link);
            } else {
                *at = link;
            }
        }
    }
    const std::size_t first = pairs.size();
    for (int link = tails.empty() ? -1 : tails.back(); link >= 0;
         link = links[std::size_t(link)].before) {
        pairs.emplace_back(links[std::size_t(link)].left, links[std::size_t(link)].right);
    }
    std::reverse(pairs.begin() + std::ptrdiff_t(first), pairs.end());
}

/// Shortest way through the edits, as Myers does it: best where much is equal. False if there are too many.
bool appendByEdits(const NOD_Hashes &left, const NOD_Hashes &right, const Range &range,
                   NOD_Pairs &pairs)
{
    const int n = range.leftEnd - range.left;
    const int m = range.rightEnd - range.right;
    const int most = std::min(n + m, theMostEdits);
    std::vector<int> reach(std::size_t(2 * most + 3), 0);
    std::vector<std::vector<int>> trace;
    const auto at = [&](std::vector<int> &row, int k) -> int & {
        return row[std::size_t(k + most + 1)];
    };
    const auto goes = [&](int x, int y) {
        return x < n && y < m &&
               left[std::size_t(range.left + x)] == right[std::size_t(range.right + y)];
    };
    int edits = 0;
    for (bool found = false; !found; ++edits) {
        if (edits > most) {
            return false;
        }
        for (int k = -edits; k <= edits && !found; k += 2) {
            const bool down = k == -edits || (k != edits && at(reach, k - 1) < at(reach, k + 1));
            int x = down ? at(reach, k + 1) : at(reach, k - 1) + 1;
            while (goes(x, x - k)) {
                ++x;
            }
            at(reach, k) = x;
            found = x >= n && x - k >= m;
        }
        trace.emplace_back(reach.begin() + (most + 1 - edits), reach.begin() + (most + 2 + edits));
    }
    const std::size_t first = pairs.size();
    int x = n;
    int y = m;
    for (int d = edits - 1; d >= 0; --d) {
        const int k = x - y;
        int fromX = 0;
        int fromY = 0;
        if (d > 0) {
            const std::vector<int> &row = trace[std::size_t(d - 1)];
            const auto of = [&](int which) {
                const int place = which + d - 1;
                return place < 0 || place >= int(row.size()) ? -1 : row[std::size_t(place)];
            };
            const bool down = k == -d || (k != d && of(k - 1) < of(k + 1));
            fromX = down ? of(k + 1) : of(k - 1);
            fromY = fromX - (down ? k + 1 : k - 1);
        }
        while (x > fromX && y > fromY && goes(x - 1, y - 1)) {
            pairs.emplace_back(range.left + --x, range.right + --y);
        }
        x = fromX;
        y = fromY;
    }
    std::reverse(pairs.begin() + std::ptrdiff_t(first), pairs.end());
    return true;
}

/// By the elements that both have once.
void appendByUniques(const NOD_Hashes &left, const Range &range, const Places &places,
                     NOD_Pairs &pairs)
{
    Places unique;
    for (const auto &[hash, where] : placesOf(left, range.left, range.leftEnd)) {
        const auto found = places.find(hash);
        if (where.size() == 1 && found != places.end() && found->second.size() == 1) {
            unique[hash] = found->second;
        }
    }
    appendByMatches(left, range, unique, pairs);
}

NOD_Pairs commonPlaces(const NOD_Hashes &left, const NOD_Hashes &right)
{
    NOD_Pairs pairs;
    Range range{0, int(left.size()), 0, int(right.size())};
    while (range.left < range.leftEnd && range.right < range.rightEnd &&
           left[std::size_t(range.left)] == right[std::size_t(range.right)]) {
        pairs.emplace_back(range.left++, range.right++);
    }
    int ends = 0;
    while (range.left < range.leftEnd && range.right < range.rightEnd &&
           left[std::size_t(range.leftEnd - 1)] == right[std::size_t(range.rightEnd - 1)]) {
        --range.leftEnd;
        --range.rightEnd;
        ++ends;
    }
    const Places places = placesOf(right, range.right, range.rightEnd);
    std::size_t matches = 0;
    for (int i = range.left; i < range.leftEnd; ++i) {
        const auto found = places.find(left[std::size_t(i)]);
        matches += found == places.end() ? 0 : found->second.size();
    }
    if (matches <= theMostMatches) {
        appendByMatches(left, range, places, pairs);
    } else if (!appendByEdits(left, right, range, pairs)) {
        appendByUniques(left, range, places, pairs);
    }
    for (int i = 0; i < ends; ++i) {
        pairs.emplace_back(range.leftEnd + i, range.rightEnd + i);
    }
    return pairs;
}

NOD_Pairs exchanged(NOD_Pairs pairs)
{
    for (auto &[left, right] : pairs) {
        std::swap(left, right);
    }
    return pairs;
}

} // namespace

NOD_Pairs NODcommonPlaces(const NOD_Hashes &left, const NOD_Hashes &right)
{
    // Among equally long ones it depends on the direction which is found.
    return right < left ? exchanged(commonPlaces(right, left)) : commonPlaces(left, right);
}

// ---------------------------------------------------------------------- //
// Items
// ---------------------------------------------------------------------- //

namespace
{

/// The items between two common ones that have no partner yet.
struct Gap
{
    std::vector<int> left;
    std::vector<int> right;
};

std::vector<Gap> gapsOf(const NOD_Hashes &left, const NOD_Hashes &right, const NOD_ItemPairs &found)
{
    std::vector<char> leftMoved(left.size(), 0);
    std::vector<char> rightMoved(right.size(), 0);
    for (const auto &[i, j] : found.moved) {
        leftMoved[std::size_t(i)] = 1;
        rightMoved[std::size_t(j)] = 1;
    }
    std::vector<Gap> gaps;
    int i = 0;
    int j = 0;
    const auto close = [&](int leftEnd, int rightEnd) {
        Gap gap;
        for (; i < leftEnd; ++i) {
            if (!leftMoved[std::size_t(i)]) {
                gap.left.push_back(i);
            }
        }
        for (; j < rightEnd; ++j) {
            if (!rightMoved[std::size_t(j)]) {
                gap.right.push_back(j);
            }
        }
        if (!gap.left.empty() && !gap.right.empty()) {
            gaps.push_back(std::move(gap));
        }
        ++i;
        ++j;
    };
    for (const auto &[leftPlace, rightPlace] : found.staying) {
        close(leftPlace, rightPlace);
    }
    close(int(left.size()), int(right.size()));
    return gaps;
}

/// The cheapest way from one side of a gap to the other.
void pairInGap(const Gap &gap, const std::function<double(int, int)> &cost, NOD_Pairs &pairs)
{
    const std::size_t n = gap.left.size();
    const std::size_t m = gap.right.size();
    if (n * m > theMostCells) {
        for (std::size_t i = 0; i < std::min(n, m); ++i) {
            if (cost(gap.left[i], gap.right[i]) <= 2.0) {
                pairs.emplace_back(gap.left[i], gap.right[i]);
            }
        }
        return;
    }
    const std::size_t width = m + 1;
    std::vector<double> best((n + 1) * width, 0.0); // from each pair of places to the ends
    std::vector<float> each(n * m + 1, 0.0F);
    for (std::size_t i = n + 1; i-- > 0;) {
        for (std::size_t j = m + 1; j-- > 0;) {
            if (i == n || j == m) {
                best[i * width + j] = double(n - i + m - j);
                continue;
            }
            const double one = cost(gap.left[i], gap.right[j]);
            each[i * m + j] = float(one);
            best[i * width + j] =
                std::min({best[(i + 1) * width + j + 1] + one, best[(i + 1) * width + j] + 1.0,
                          best[i * width + j + 1] + 1.0});
        }
    }
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < n && j < m) {
        const double here = best[i * width + j];
        const double paired = best[(i + 1) * width + j + 1] + double(each[i * m + j]);
        if (paired <= here + 1e-6 && double(each[i * m + j]) <= 2.0) {
            pairs.emplace_back(gap.left[i++], gap.right[j++]);
        } else if (best[(i + 1) * width + j] + 1.0 <= here + 1e-6) {
            ++i;
        } else {
            ++j;
        }
    }
}

/// Equal items of both sides that aren't common ones.
void pairMoved(const NOD_Hashes &left, const NOD_Hashes &right, NOD_ItemPairs &found)
{
    std::vector<char> leftTaken(left.size(), 0);
    std::vector<char> rightTaken(right.size(), 0);
    for (const auto &[i, j] : found.staying) {
        leftTaken[std::size_t(i)] = 1;
        rightTaken[std::size_t(j)] = 1;
    }
    Places places;
    for (std::size_t j = right.size(); j-- > 0;) {
        if (!rightTaken[j]) {
            places[right[j]].push_back(int(j));
        }
    }
    for (std::size_t i = 0; i < left.size(); ++i) {
        const auto same = places.find(left[i]);
        if (!leftTaken[i] && same != places.end() && !same->second.empty()) {
            found.moved.emplace_back(int(i), same->second.back());
            same->second.pop_back();
        }
    }
}

/// Places that are in no pair yet.
std::vector<int> restOf(std::size_t size, const NOD_ItemPairs &found,
                        int NOD_Pairs::value_type::*side)
{
    std::vector<char> taken(size, 0);
    for (const NOD_Pairs *pairs : {&found.staying, &found.moved}) {
        for (const auto &pair : *pairs) {
            taken[std::size_t(pair.*side)] = 1;
        }
    }
    std::vector<int> rest;
    for (std::size_t i = 0; i < size; ++i) {
        if (!taken[i]) {
            rest.push_back(int(i));
        }
    }
    return rest;
}

/// Items that have moved and changed, the most alike first.
void pairAlike(const NOD_Hashes &left, const NOD_Hashes &right,
               const std::function<double(int, int)> &likeness, NOD_ItemPairs &found)
{
    constexpr double theLeast = 0.5;
    const std::vector<int> ofLeft = restOf(left.size(), found, &NOD_Pairs::value_type::first);
    const std::vector<int> ofRight = restOf(right.size(), found, &NOD_Pairs::value_type::second);
    if (ofLeft.size() * ofRight.size() > theMostCells) {
        return; // which of them were looked at would be chance
    }
    std::vector<std::tuple<double, int, int>> candidates;
    for (const int i : ofLeft) {
        for (const int j : ofRight) {
            const double alike = likeness(i, j);
            if (alike > theLeast) {
                candidates.emplace_back(-alike, i, j);
            }
        }
    }
    std::sort(candidates.begin(), candidates.end());
    std::unordered_set<int> takenLeft;
    std::unordered_set<int> takenRight;
    for (const auto &[alike, i, j] : candidates) {
        if (takenLeft.count(i) == 0 && takenRight.count(j) == 0) {
            takenLeft.insert(i);
            takenRight.insert(j);
            found.moved.emplace_back(i, j);
        }
    }
    std::sort(found.moved.begin(), found.moved.end());
}

NOD_ItemPairs pairItems(const NOD_Hashes &left, const NOD_Hashes &right,
                        const NOD_ItemMeasures &measures)
{
    NOD_ItemPairs found;
    found.staying = commonPlaces(left, right);
    pairMoved(left, right, found);
    const std::size_t common = found.staying.size();
    for (const Gap &gap : gapsOf(left, right, found)) {
        pairInGap(gap, measures.cost, found.staying);
    }
    std::inplace_merge(found.staying.begin(), found.staying.begin() + std::ptrdiff_t(common),
                       found.staying.end());
    pairAlike(left, right, measures.likeness, found);
    return found;
}

} // namespace

NOD_ItemPairs NODpairItems(const NOD_Hashes &left, const NOD_Hashes &right,
                           const NOD_ItemMeasures &measures)
{
    if (!(right < left)) {
        return pairItems(left, right, measures);
    }
    const NOD_ItemMeasures exchange = {[&](int i, int j) { return measures.cost(j, i); },
                                       [&](int i, int j) { return measures.likeness(j, i); }};
    NOD_ItemPairs found = pairItems(right, left, exchange);
    found.staying = exchanged(std::move(found.staying));
    found.moved = exchanged(std::move(found.moved));
    std::sort(found.moved.begin(), found.moved.end());
    return found;
}
