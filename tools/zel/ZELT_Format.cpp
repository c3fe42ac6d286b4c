#include "ZELT_Format.h"

#include <BAS/BAS_Number.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace
{

/// The bytes of the character in front; 0 if it would drive a terminal, or is no UTF-8.
std::size_t printableLength(std::string_view text)
{
    const auto at = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const unsigned first = at(0);
    if (first < 0x80) {
        return (first < ' ' && first != '\n' && first != '\t') || first == 0x7f ? 0 : 1;
    }
    const std::size_t length = first < 0xc2   ? 0
                               : first < 0xe0 ? 2
                               : first < 0xf0 ? 3
                               : first < 0xf5 ? 4
                                              : 0;
    for (std::size_t i = 1; i < length; ++i) {
        if (at(i) < 0x80 || at(i) > 0xbf) {
            return 0;
        }
    }
    // Controls above 127, also as a longer form than they have.
    const bool controlFlag = (first == 0xc2 && at(1) < 0xa0) || (first == 0xe0 && at(1) < 0xa0) ||
                             (first == 0xf0 && at(1) < 0x90);
    return controlFlag ? 0 : length;
}

} // namespace

std::string ZELTnumber(double value)
{
    KIT_WorkBuffer text;
    text.appendNumber(value);
    return std::string(text.view());
}

std::string ZELTquote(std::string_view text)
{
    KIT_WorkBuffer quoted;
    quoted.appendQuoted(text);
    return std::string(quoted.view());
}

std::string ZELTprintable(std::string_view text)
{
    std::string out;
    while (!text.empty()) {
        const std::size_t length = printableLength(text);
        if (length > 0) {
            out += text.substr(0, length);
            text.remove_prefix(length);
        } else {
            char code[8];
            std::snprintf(code, sizeof(code), "\\%03o", static_cast<unsigned>(text[0]) & 0xffu);
            out += code;
            text.remove_prefix(1);
        }
    }
    return out;
}

// -------------------------------------------------------------------- //
// Words
// -------------------------------------------------------------------- //

namespace
{

char unescape(char c)
{
    return c == 'n' ? '\n' : c == 't' ? '\t' : c;
}

/// Reads the text between two quotes; `at` is after the opening one and ends up after the closing
/// one.
bool readQuoted(std::string_view line, std::size_t &at, char quote, std::string &word)
{
    for (; at < line.size() && line[at] != quote; ++at) {
        if (quote == '"' && line[at] == '\\' && at + 1 < line.size()) {
            word += unescape(line[++at]);
        } else {
            word += line[at];
        }
    }
    return at++ < line.size();
}

} // namespace

bool ZELTsplitWords(std::string_view line, std::vector<std::string> &words)
{
    words.clear();
    std::size_t at = 0;
    while (true) {
        while (at < line.size() && BASisBlank(line[at])) {
            ++at;
        }
        if (at >= line.size() || line[at] == '#') {
            return true;
        }
        std::string word;
        while (at < line.size() && !BASisBlank(line[at])) {
            const char c = line[at++];
            if (c == '"' || c == '\'') {
                if (!readQuoted(line, at, c, word)) {
                    return false;
                }
            } else if (c == '\\' && at < line.size()) {
                word += line[at++];
            } else {
                word += c;
            }
        }
        words.push_back(word);
    }
}

bool ZELTparseNumber(const std::string &text, double &value)
{
    if (!BASisFloat(text.c_str())) {
        return false;
    }
    value = BASparseFloat(text.c_str());
    return true;
}

bool ZELTparseInteger(const std::string &text, int &value)
{
    constexpr std::int64_t most = std::numeric_limits<int>::max();
    if (!BASisInt(text.c_str())) {
        return false;
    }
    const std::int64_t number = BASparseInteger(text.c_str());
    value = static_cast<int>(std::clamp(number, -most, most));
    return true;
}

std::string ZELTtable(const std::vector<std::vector<std::string>> &rows)
{
    std::vector<std::size_t> widths;
    for (const std::vector<std::string> &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string out;
    for (const std::vector<std::string> &row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            line.append(widths[i] - row[i].size() + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out += line + '\n';
    }
    return out;
}
