#include <STO/STO_Reader.h>

#include <KIT/KIT_OpUtils.h>
#include <STO/STO_IndexFile.h>

#include <fstream>
#include <sys/stat.h>

namespace
{

STO_Reader::DefinitionSource theSource = nullptr;
void *theSourceData = nullptr;

bool readFile(const char *path, std::string &bytes)
{
    // Pipes and devices would block the caller.
    struct stat info;
    if (stat(path, &info) != 0 || !S_ISREG(info.st_mode)) {
        return false;
    }
    std::ifstream file(path, std::ios::in | std::ios::binary);
    if (!file) {
        return false;
    }
    // Read through the stream, which records an error of the file; its buffer would throw.
    char chunk[16384];
    do {
        file.read(chunk, sizeof(chunk));
        bytes.append(chunk, static_cast<size_t>(file.gcount()));
    } while (file.good() && bytes.size() <= KIT_IStream::theMaxBytes);
    return !file.bad() && bytes.size() <= KIT_IStream::theMaxBytes;
}

bool readPath(const char *path, std::string &bytes, int depth)
{
    if (KIT_OpUtils::isDefinitionPath(path) && theSource && theSource(theSourceData, path, bytes)) {
        return true;
    }
    KIT_String file;
    KIT_String section;
    if (!STO_Reader::splitIndexFileSectionPath(path, file, section)) {
        return !KIT_OpUtils::isDefinitionPath(path) && readFile(path, bytes);
    }
    std::string outer;
    if (depth == STO_Reader::theMaxNesting || !readPath(file.nonNullStr(), outer, depth + 1)) {
        return false;
    }
    STO_IndexFile index;
    index.read(outer, file.nonNullStr());
    const int64_t found = index.findSection(section.view());
    if (found < 0) {
        return false;
    }
    bytes = index.getSectionText(found);
    return true;
}

} // namespace

STO_Reader::STO_Reader(const char *path, KIT_IStream::Mode mode)
{
    if (readBytes(path, myBytes)) {
        constexpr bool copy = false;
        myStream = std::make_unique<KIT_IStream>(myBytes.data(), myBytes.size(), mode, copy, path);
    }
}

bool STO_Reader::readBytes(const char *path, std::string &bytes)
{
    return path && *path && readPath(path, bytes, 0);
}

KIT_String STO_Reader::combineIndexFileSectionPath(const char *file, const char *section)
{
    return KIT_String(std::string(file ? file : "") + "?" +
                      KIT_OpUtils::encodeSectionName(section ? section : ""));
}

bool STO_Reader::splitIndexFileSectionPath(const char *path, KIT_String &file, KIT_String &section)
{
    const std::string whole(path ? path : "");
    const size_t mark = whole.rfind('?');
    section.clear();
    if (mark == std::string::npos || whole.find('/', mark) != std::string::npos) {
        file = whole;
        return false;
    }
    file = whole.substr(0, mark);
    section = KIT_OpUtils::decodeBytes(std::string_view(whole).substr(mark + 1));
    return true;
}

void STO_Reader::setDefinitionSource(DefinitionSource source, void *data)
{
    theSource = source;
    theSourceData = data;
}
