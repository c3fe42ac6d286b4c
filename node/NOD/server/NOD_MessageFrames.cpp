#include <NOD/NOD_MessageFrames.h>

#include <BAS/BAS_Character.h>

#include <algorithm>
#include <cctype>

namespace
{

constexpr std::string_view theName = "Content-Length:";
constexpr std::size_t theLongestHeader = 4096;
constexpr std::size_t theLongestLine = 64; ///< that is looked for behind a fault
constexpr std::size_t npos = std::string_view::npos;

bool sameLetters(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) ==
                      std::tolower(static_cast<unsigned char>(y));
           });
}

/// The next line `Content-Length: ...` from an offset on, whatever its length says. No JSON text has one:
/// line ends in its strings are escaped, so that a quote comes first.
std::size_t findHeader(std::string_view bytes, std::size_t from)
{
    for (std::size_t at = bytes.find(theName, from); at != npos;
         at = bytes.find(theName, at + theName.size())) {
        const std::string_view line = bytes.substr(at, theLongestLine);
        const std::size_t end = line.find_first_of("\r\n\"", theName.size());
        if (end != npos && line[end] != '"') {
            return at;
        }
    }
    return npos;
}

/// What is wrong with a length; null if nothing is.
const char *readLength(std::string_view value, std::size_t &length)
{
    length = 0;
    if (value.empty() || !std::all_of(value.begin(), value.end(), BASisDigit)) {
        return "the length of the message is no number";
    }
    for (const char c : value) {
        length = length * 10 + std::size_t(c - '0');
        if (length > NOD_MessageFrames::theMostBytes) {
            return "the message is longer than 256 MB";
        }
    }
    return nullptr;
}

} // namespace

void NOD_MessageFrames::add(std::string_view bytes)
{
    if (myBegin == myBytes.size()) {
        myBytes.clear();
        myBegin = 0;
    }
    myBytes += bytes;
}

void NOD_MessageFrames::drop(std::size_t count)
{
    constexpr std::size_t theWaste = 1 << 16;
    myBegin += count;
    mySearched = 0;
    if (myBegin > theWaste && myBegin > myBytes.size() / 2) {
        myBytes.erase(0, myBegin);
        myBegin = 0;
    }
}

NOD_MessageFrames::Header NOD_MessageFrames::readHeader() const
{
    const std::string_view bytes = rest();
    Header header;
    bool lengthFlag = false;
    for (std::size_t at = 0;;) {
        const std::size_t feed = bytes.find('\n', at);
        if (feed == npos || feed > theLongestHeader) {
            const bool longFlag = bytes.size() > theLongestHeader;
            header.fault = longFlag ? "the header of the message has no end" : nullptr;
            return header;
        }
        std::string_view line = bytes.substr(at, feed - at);
        at = feed + 1;
        line.remove_suffix(!line.empty() && line.back() == '\r' ? 1 : 0);
        if (line.empty()) {
            header.size = at;
            header.fault =
                header.fault || lengthFlag ? header.fault : "the message has no Content-Length";
            return header;
        }
        const std::size_t colon = line.find(':');
        if (colon == npos) {
            header.size = at;
            header.fault = "a line of the message's header has no colon";
            return header;
        }
        if (sameLetters(line.substr(0, colon + 1), theName)) {
            const std::size_t value = line.find_first_not_of(' ', colon + 1);
            header.fault = readLength(line.substr(std::min(value, line.size())), header.length);
            header.skip = at;
            lengthFlag = true;
        }
    }
}

/// Drops what is before the next header after an offset, or all but what may be the beginning of one.
NOD_MessageFrames::Result NOD_MessageFrames::skipToHeader(std::size_t from, const char *fault,
                                                          std::string &text)
{
    const std::string_view bytes = rest();
    const std::size_t found = findHeader(bytes, std::min(from, bytes.size()));
    mySkipFlag = found == npos;
    if (found != npos) {
        drop(found);
    } else {
        drop(bytes.size() -
             std::min({theLongestLine, bytes.size(), bytes.size() - std::min(from, bytes.size())}));
    }
    if (!fault) {
        return Result::NOTHING;
    }
    text = fault;
    return Result::FAULT;
}

NOD_MessageFrames::Result NOD_MessageFrames::next(std::string &text)
{
    if (mySkipFlag && (skipToHeader(0, nullptr, text), mySkipFlag)) {
        return Result::NOTHING;
    }
    const Header header = readHeader();
    if (header.fault) {
        return skipToHeader(header.skip, header.fault, text);
    }
    if (header.size == 0) {
        return Result::NOTHING;
    }
    const std::string_view bytes = rest();
    const std::size_t end = std::min(bytes.size(), header.size + header.length);
    // It may begin in the message and end behind it.
    const std::size_t reach = std::min(bytes.size(), end + theLongestLine);
    const std::size_t inner = findHeader(bytes.substr(0, reach), std::max(mySearched, header.size));
    if (inner < end) {
        return skipToHeader(inner, "the message is shorter than its length", text);
    }
    if (bytes.size() < header.size + header.length) {
        mySearched = bytes.size() - std::min(bytes.size(), theLongestLine);
        return Result::NOTHING;
    }
    text = bytes.substr(header.size, header.length);
    drop(header.size + header.length);
    return Result::MESSAGE;
}

std::string NOD_MessageFrames::frame(std::string_view message)
{
    std::string framed = std::string(theName) + " " + std::to_string(message.size()) + "\r\n\r\n";
    framed += message;
    return framed;
}
