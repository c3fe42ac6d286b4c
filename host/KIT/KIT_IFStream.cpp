#include <KIT/KIT_IFStream.h>

#include <fstream>

KIT_IFStream::KIT_IFStream(const char *path, Mode mode, Contents contents) : KIT_IStream(mode)
{
    if (!path || !*path) {
        return;
    }
    std::ifstream file(path, std::ios::in | std::ios::binary);
    std::string data;
    if (readAll(file, data, contents == WORDS)) {
        adoptData(std::move(data), path);
    }
}
