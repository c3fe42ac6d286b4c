#include <KIT/KIT_IFStream.h>

#include <fstream>

namespace
{

bool hasWords(std::string_view start)
{
    return start.find('\0') == std::string_view::npos;
}

} // namespace

KIT_IFStream::KIT_IFStream(const char *path, Mode mode, Contents contents)
    : KIT_IFStream(path, mode, contents == WORDS ? hasWords : nullptr)
{}

KIT_IFStream::KIT_IFStream(const char *path, Mode mode, Test test) : KIT_IStream(mode)
{
    if (!path || !*path) {
        return;
    }
    std::ifstream file(path, std::ios::in | std::ios::binary);
    std::string data;
    if (readAll(file, data, test)) {
        adoptData(std::move(data), path);
    }
}
