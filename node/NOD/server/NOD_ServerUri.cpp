#include <NOD/server/NOD_ServerUriPrivate.h>

#include <cctype>
#include <filesystem>
#include <string_view>

namespace
{

constexpr std::string_view theScheme = "file://";

int digitOf(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
           : c >= 'a' && c <= 'f'                      ? c - 'a' + 10
           : c >= 'A' && c <= 'F'                      ? c - 'A' + 10
                                                       : -1;
}

} // namespace

std::string NODserverPath(const std::string &uri)
{
    if (uri.compare(0, theScheme.size(), theScheme) != 0) {
        return {};
    }
    const std::size_t slash = uri.find('/', theScheme.size()); // after the host, if there is one
    std::string path;
    for (std::size_t at = slash; at < uri.size(); ++at) {
        const bool codeFlag = uri[at] == '%' && at + 2 < uri.size() && digitOf(uri[at + 1]) >= 0 &&
                              digitOf(uri[at + 2]) >= 0;
        path += codeFlag ? char(digitOf(uri[at + 1]) * 16 + digitOf(uri[at + 2])) : uri[at];
        at += codeFlag ? 2 : 0;
    }
    return path.find('\0') == std::string::npos ? path : std::string();
}

std::string NODserverUri(const std::string &path)
{
    constexpr std::string_view theDigits = "0123456789ABCDEF";
    constexpr std::string_view thePlain = "/-._~";
    std::error_code fault;
    const std::string whole = std::filesystem::absolute(path, fault).lexically_normal().string();
    std::string uri(theScheme);
    for (const char c : whole) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < 0x80 && std::isalnum(byte)) || thePlain.find(c) != std::string_view::npos) {
            uri += c;
        } else {
            uri += {'%', theDigits[byte >> 4], theDigits[byte & 15]};
        }
    }
    return uri;
}
