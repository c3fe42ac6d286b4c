#include <KIT/KIT_Nearest.h>

#include <algorithm>
#include <numeric>

namespace
{

/// How many letters must be added, removed, exchanged or swapped with the next one.
std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> before;
    std::vector<std::size_t> last(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t(0));
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::vector<std::size_t> row(b.size() + 1, i);
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({row[j - 1] + 1, last[j] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        before = std::move(last);
        last = std::move(row);
    }
    return last[b.size()];
}

} // namespace

const std::string *KITnearestWord(std::string_view word, const std::vector<std::string> &words,
                                  std::size_t share)
{
    constexpr std::size_t theLongest = 64; // of a word that anybody types
    std::size_t least = std::max(word.size() / share, std::size_t(1)) + 1;
    const std::string *nearest = nullptr;
    for (const std::string &other : words) {
        const std::size_t more = std::max(word.size(), other.size());
        const std::size_t less = std::min(word.size(), other.size());
        const bool farFlag = more > theLongest || more - less >= least;
        const std::size_t far = farFlag ? least : distance(word, other);
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
