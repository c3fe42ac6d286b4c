#include <NOD/server/NOD_ServerTextPrivate.h>

#include <algorithm>
#include <utility>

namespace
{

unsigned char byteAt(std::string_view text, std::size_t at)
{
    return static_cast<unsigned char>(text[at]);
}

/// The bytes of the character at an offset; of a byte that begins none, 1.
std::size_t charSize(std::string_view text, std::size_t at)
{
    const unsigned char first = byteAt(text, at);
    const std::size_t size = first < 0xc2 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    for (std::size_t i = 1; i < size; ++i) {
        if (at + i >= text.size() || (byteAt(text, at + i) & 0xc0) != 0x80) {
            return 1;
        }
    }
    return size;
}

} // namespace

NOD_ServerText::NOD_ServerText(std::string text, Encoding encoding)
    : myText(std::move(text)), myLines{0}, myEncoding(encoding)
{
    addLines(0, myText.size(), myLines);
}

/// Those that the bytes [begin, end) start.
void NOD_ServerText::addLines(std::size_t begin, std::size_t end,
                              std::vector<std::size_t> &lines) const
{
    const std::size_t most = std::min(end, myText.size());
    for (std::size_t i = begin; i < most; ++i) {
        const char c = myText[i];
        if (c == '\n' || (c == '\r' && (i + 1 == myText.size() || myText[i + 1] != '\n'))) {
            lines.push_back(i + 1);
        }
    }
}

std::string_view NOD_ServerText::getLine(std::size_t line) const
{
    const std::size_t begin = myLines[line];
    std::size_t end = line + 1 < myLines.size() ? myLines[line + 1] : myText.size();
    while (end > begin && (myText[end - 1] == '\n' || myText[end - 1] == '\r')) {
        --end;
    }
    return std::string_view(myText).substr(begin, end - begin);
}

std::size_t NOD_ServerText::findLine(std::size_t offset) const
{
    const auto after = std::upper_bound(myLines.begin(), myLines.end(), offset);
    return std::size_t(after - myLines.begin()) - 1;
}

std::optional<std::size_t> NOD_ServerText::findOffset(NOD_ServerPosition position) const
{
    if (position.line < 0 || position.unit < 0 || std::size_t(position.line) > myLines.size()) {
        return std::nullopt;
    }
    const auto line = std::size_t(position.line);
    if (line == myLines.size()) {
        return position.unit == 0 ? std::optional(myText.size()) : std::nullopt;
    }
    const std::string_view text = getLine(line);
    long units = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t size = charSize(text, at);
        units += myEncoding == Encoding::UTF8 ? long(size) : size == 4 ? 2 : 1;
        if (units > position.unit) {
            break;
        }
        at += size;
    }
    return myLines[line] + at;
}

NOD_ServerPosition NOD_ServerText::findPosition(std::size_t offset) const
{
    return NOD_ServerTextWalk(*this).find(offset);
}

long NOD_ServerText::countUnits(std::size_t begin, std::size_t end) const
{
    if (myEncoding == Encoding::UTF8) {
        return long(end - begin);
    }
    // Without branches: lines may be long.
    long units = 0;
    for (std::size_t at = begin; at < end; ++at) {
        const auto byte = static_cast<unsigned char>(myText[at]);
        units += ((byte & 0xc0) != 0x80) + (byte >= 0xf0);
    }
    return units;
}

NOD_ServerPosition NOD_ServerTextWalk::find(std::size_t offset)
{
    offset = std::min(offset, myText.get().size());
    const std::size_t line = myText.findLine(offset);
    const std::size_t begin = myText.getLineBegin(line);
    std::size_t end = begin + std::min(offset - begin, myText.getLine(line).size());
    const std::string &text = myText.get();
    while (end > begin && end < text.size() && (byteAt(text, end) & 0xc0) == 0x80) {
        --end; // the beginning of a character
    }
    // From the last one, or the line's begin, whichever is nearer.
    const bool sameFlag = long(line) == myPosition.line && myOffset >= begin;
    if (sameFlag && myOffset <= end) {
        myPosition.unit += myText.countUnits(myOffset, end);
    } else if (sameFlag && myOffset - end < end - begin) {
        myPosition.unit -= myText.countUnits(end, myOffset);
    } else {
        myPosition = {long(line), myText.countUnits(begin, end)};
    }
    myOffset = end;
    return myPosition;
}

void NOD_ServerText::replace(std::size_t begin, std::size_t end, std::string_view text)
{
    // A line end before the change may become a part of CR LF, and so may one after it.
    const bool joinFlag = begin > 0 && myText[begin - 1] == '\r';
    const std::size_t first = findLine(joinFlag ? begin - 1 : begin);
    const auto from = myLines.begin() + long(first) + 1;
    const auto after = std::upper_bound(from, myLines.end(), end + 1);
    const std::size_t kept = std::size_t(after - myLines.begin());

    myText.replace(begin, end - begin, text);
    std::vector<std::size_t> lines;
    addLines(myLines[first], begin + text.size() + 1, lines);
    for (std::size_t i = kept; i < myLines.size(); ++i) {
        myLines[i] += text.size() - (end - begin);
    }
    const auto to = myLines.begin() + long(kept);
    myLines.insert(myLines.erase(myLines.begin() + long(first) + 1, to), lines.begin(),
                   lines.end());
}
