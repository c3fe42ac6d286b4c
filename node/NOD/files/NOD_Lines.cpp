#include <NOD/files/NOD_LinesPrivate.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <cmath>
#include <utility>

std::vector<NOD_Line> NODreadLines(std::string_view text)
{
    std::vector<NOD_Line> lines;
    KIT_WorkBuffer word;
    for (int number = 0; !text.empty(); ++number) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        KIT_IStream is(text.data(), length, KIT_IStream::TEXT);
        std::vector<std::string> words;
        while (is.getString(word)) {
            words.emplace_back(word.view());
        }
        if (!words.empty() && text[0] != '#') {
            lines.push_back({number, std::move(words)});
        }
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return lines;
}

std::string NODquoted(std::string_view text)
{
    KIT_WorkBuffer quoted;
    KITappendQuoted(quoted, text.data(), text.size());
    return std::string(quoted.view());
}

std::string NODnumberText(double value)
{
    return KIT_Digits(value).buffer();
}

bool NODreadNumber(const std::string &text, double &value)
{
    double number = 0.0;
    if (text.empty() || BASparseFloat(text.data(), text.size(), number) != text.size() ||
        !std::isfinite(number)) {
        return false;
    }
    value = number;
    return true;
}
