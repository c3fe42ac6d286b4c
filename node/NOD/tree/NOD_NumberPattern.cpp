#include <NOD/tree/NOD_NumberPatternPrivate.h>

#include <BAS/BAS_Character.h>

bool NODmatchNumbers(const std::string &token, const std::string &pattern,
                     std::vector<std::string> &numbers)
{
    std::size_t at = 0;
    for (const char c : pattern) {
        if (c != '#') {
            if (at >= token.size() || token[at++] != c) {
                return false;
            }
            continue;
        }
        const std::size_t start = at;
        if (at < token.size() && token[at] == '#') {
            ++at;
        } else {
            while (at < token.size() && BASisDigit(token[at])) {
                ++at;
            }
        }
        if (at == start) {
            return false;
        }
        numbers.push_back(token.substr(start, at - start));
    }
    return at == token.size();
}

std::string NODwithNumbers(const std::string &pattern, const std::vector<std::string> &numbers)
{
    std::string token;
    std::size_t next = 0;
    for (const char c : pattern) {
        token += c == '#' && next < numbers.size() ? numbers[next++] : std::string(1, c);
    }
    return token;
}
