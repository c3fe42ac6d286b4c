#include <KIT/KIT_MessageDetail.h>

#include <algorithm>

namespace
{

/// How many characters begin in a text.
int countCharacters(std::string_view text)
{
    return int(std::count_if(text.begin(), text.end(), [](char c) {
        constexpr unsigned theMask = 0xC0;
        constexpr unsigned theContinuation = 0x80;
        return (static_cast<unsigned char>(c) & theMask) != theContinuation;
    }));
}

constexpr std::string_view theMark = "\xef\xbb\xbf"; ///< of the byte order

/// The line around an offset; false if it is too long.
bool findLine(std::string_view text, std::size_t at, std::size_t &begin, std::size_t &end)
{
    constexpr std::size_t theLongest = KIT_MessagePlace::theLongestLine;
    const std::size_t from = at > theLongest ? at - theLongest : 0;
    const std::string_view before = text.substr(from, at - from);
    const std::size_t feed = before.rfind('\n');
    if (feed == std::string_view::npos && from > 0) {
        return false;
    }
    begin = feed == std::string_view::npos ? 0 : from + feed + 1;
    if (begin == 0 && at >= theMark.size() && text.substr(0, theMark.size()) == theMark) {
        begin = theMark.size(); // it is no column
    }
    const std::string_view after = text.substr(at, theLongest);
    const std::size_t close = after.find('\n');
    if (close == std::string_view::npos && after.size() == theLongest) {
        return false;
    }
    end = at + std::min(close, after.size());
    return true;
}

} // namespace

void KIT_MessagePlace::setFromText(std::string_view text, std::size_t begin, std::size_t end,
                                   int textLine)
{
    begin = std::min(begin, text.size());
    end = std::max(begin, std::min(end, text.size()));
    const auto countLines = [text](std::size_t from, std::size_t to) {
        return int(std::count(text.begin() + std::ptrdiff_t(from),
                              text.begin() + std::ptrdiff_t(to), '\n'));
    };
    offset = int64_t(begin);
    endOffset = int64_t(end);
    line = textLine > 0 ? textLine : countLines(0, begin) + 1;
    endLine = line + countLines(begin, end);
    column = character = endColumn = endCharacter = 0;
    source.clear();
    std::size_t first = 0;
    std::size_t last = 0;
    if (!findLine(text, begin, first, last)) {
        return;
    }
    source = text.substr(first, last - first);
    if (!source.empty() && source.back() == '\r') {
        source.pop_back();
    }
    column = int(begin - first) + 1;
    character = countCharacters(text.substr(first, begin - first)) + 1;
    if (findLine(text, end, first, last)) {
        endColumn = int(end - first) + 1;
        endCharacter = countCharacters(text.substr(first, end - first)) + 1;
    }
}

std::shared_ptr<KIT_MessageDetail> KIT_MessageDetail::ofText(std::string_view text,
                                                             std::string_view file,
                                                             std::size_t begin, std::size_t end,
                                                             std::string_view subject)
{
    constexpr std::size_t theLongestFound = 80;
    auto detail = std::make_shared<KIT_MessageDetail>();
    detail->place.file = file;
    detail->place.setFromText(text, begin, end);
    const auto first = std::size_t(detail->place.offset);
    const auto last = std::size_t(detail->place.endOffset);
    detail->found = text.substr(first, std::min(last - first, theLongestFound));
    detail->subject = subject;
    return detail;
}
