#include <KIT/KIT_IFStream.h>

#include <fstream>

KIT_IFStream::KIT_IFStream(const char *path, Mode mode) : KIT_IStream(mode)
{
    if (!path || !*path) {
        return;
    }
    std::ifstream file(path, std::ios::in | std::ios::binary);
    std::string data;
    if (readAll(file, data)) {
        adoptData(std::move(data), path);
    }
}
