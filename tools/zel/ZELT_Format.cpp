#include "ZELT_Format.h"

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Utf8.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>

std::string ZELTnumber(double value)
{
    KIT_WorkBuffer text;
    text.appendNumber(value);
    return std::string(text.view());
}

std::string ZELTcounted(std::int64_t count, const std::string &what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
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
        const std::size_t length = BASprintableLength(text);
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
