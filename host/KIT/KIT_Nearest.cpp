#include <KIT/KIT_Nearest.h>

#include <KIT/KIT_MessageDetail.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace
{

constexpr std::size_t theLongest = 64; // of a word that anybody types
constexpr std::size_t theSlips = theLongest / 3 + 1;

/// How many letters must be added, removed, exchanged or swapped with the next one; `least` or more once it can't be
/// less. Neither word is longer than a row.
std::size_t distance(std::string_view a, std::string_view b, std::size_t least)
{
    using Row = std::array<std::uint8_t, theLongest + theSlips + 1>;
    std::array<Row, 3> rows; // of the last two letters of `a`, and the present one
    std::iota(rows[0].begin(), rows[0].begin() + std::ptrdiff_t(b.size()) + 1, std::uint8_t(0));
    std::size_t before = 0; // the least of the row before
    for (std::size_t i = 1; i <= a.size(); ++i) {
        Row &row = rows[i % 3];
        const Row &last = rows[(i - 1) % 3];
        row[0] = std::uint8_t(i);
        std::size_t here = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            int one = std::min(
                {row[j - 1] + 1, last[j] + 1, last[j - 1] + (a[i - 1] != b[j - 1] ? 1 : 0)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                one = std::min(one, rows[(i - 2) % 3][j - 2] + 1);
            }
            row[j] = std::uint8_t(one);
            here = std::min(here, std::size_t(one));
        }
        // A swap reaches back two rows.
        if (here >= least && before >= least) {
            return least;
        }
        before = here;
    }
    return rows[a.size() % 3][b.size()];
}

} // namespace

const std::string *KITnearestWord(std::string_view word, const std::vector<std::string> &words,
                                  std::size_t share)
{
    std::size_t least = std::max(word.size() / share, std::size_t(1)) + 1;
    const std::string *nearest = nullptr;
    for (const std::string &other : words) {
        const std::size_t more = std::max(word.size(), other.size());
        const std::size_t less = std::min(word.size(), other.size());
        const bool farFlag = more > theLongest || more - less >= least;
        const std::size_t far = farFlag ? least : distance(word, other, least);
        if (far < least && far < word.size()) {
            least = far;
            nearest = &other;
        }
    }
    return least > 0 ? nearest : nullptr;
}

std::string KITdidYouMean(std::string_view word, const std::vector<std::string> &words)
{
    const std::string *const nearest = KITnearestWord(word, words);
    return nearest ? "; did you mean " + *nearest + "?" : "";
}

bool KITaddNearest(KIT_MessageDetail &detail, std::string_view word,
                   const std::vector<std::string> &words)
{
    const std::string *const nearest = KITnearestWord(word, words);
    if (!nearest) {
        return false;
    }
    detail.hint = "did you mean '" + *nearest + "'?";
    detail.expected = {*nearest};
    if (detail.place.isKnown()) {
        detail.fixes.push_back({"replace it by " + *nearest, {{detail.place, *nearest}}});
    }
    return true;
}
