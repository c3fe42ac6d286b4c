#include <PIX/PIX_Format.h>

#include <KIT/KIT_String.h>

#include <cstring>
#include <iterator>
#include <string>
#include <strings.h>

namespace
{

// clang-format off
constexpr PIX_Format theFormats[] = {
    // name   label                 extensions        depths                        compressions      quality
    {"pic",   "Picture",            "pic",            "int8 int16 float16 float32", "none rle zip",   false},
    {"exr",   "OpenEXR",            "exr",            "float16 float32 int32",      "zip none rle piz", false},
    {"tiff",  "TIFF",               "tif tiff",       "int8 int16 int32 float32",   "lzw none zip rle", false},
    {"png",   "PNG",                "png",            "int8 int16",                 "zip",            false},
    {"jpeg",  "JPEG",               "jpg jpeg",       "int8",                       "jpeg",           true},
    {"targa", "Targa",              "tga targa",      "int8",                       "rle none",       false},
    {"sgi",   "SGI",                "sgi rgb rgba",   "int8 int16",                 "rle none",       false},
    {"hdr",   "Radiance",           "hdr",            "float32",                    "rle",            false},
    {"dpx",   "DPX",                "dpx",            "int8 int16",                 "none",           false},
    {"cin",   "Cineon",             "cin",            "int16",                      "none",           false},
    {"bmp",   "Windows Bitmap",     "bmp",            "int8",                       "none rle",       false},
    {"ppm",   "Portable Pixmap",    "ppm pnm pgm",    "int8 int16",                 "none",           false},
};
// clang-format on

constexpr int theCount = static_cast<int>(std::size(theFormats));

std::string_view takeWord(std::string_view &words)
{
    const std::string_view word = words.substr(0, words.find(' '));
    words.remove_prefix(word.size() < words.size() ? word.size() + 1 : word.size());
    return word;
}

bool hasWord(std::string_view words, std::string_view sought)
{
    while (!words.empty()) {
        const std::string_view word = takeWord(words);
        if (word.size() == sought.size() && !strncasecmp(word.data(), sought.data(), word.size())) {
            return true;
        }
    }
    return false;
}

/// The text after the last dot of a path's last name; empty without a dot, and for a name whose
/// only dot is its first character.
std::string_view findExtension(std::string_view path)
{
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const size_t dot = name.rfind('.');
    return dot == name.npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

} // namespace

int PIX_Format::getNFormats()
{
    return theCount;
}

const PIX_Format *PIX_Format::getFormat(int index)
{
    return index >= 0 && index < theCount ? &theFormats[index] : nullptr;
}

const PIX_Format *PIX_Format::findByName(const char *name)
{
    for (const PIX_Format &format : theFormats) {
        if (name && !std::strcmp(format.myName, name)) {
            return &format;
        }
    }
    return nullptr;
}

const PIX_Format *PIX_Format::findByFilename(const char *fileName)
{
    const std::string_view extension = findExtension(fileName ? fileName : "");
    for (const PIX_Format &format : theFormats) {
        if (hasWord(format.myExtensions, extension)) {
            return &format;
        }
    }
    return nullptr;
}

std::string_view PIX_Format::getExtension() const
{
    std::string_view words(myExtensions);
    return takeWord(words);
}

bool PIX_Format::replaceExtension(KIT_String &fileName) const
{
    const std::string_view name = fileName.view();
    const std::string_view extension = findExtension(name);
    const PIX_Format *const format = findByFilename(fileName.c_str());
    if (extension.empty() || format == this) {
        return false;
    }
    std::string changed(name.substr(0, name.size() - (format ? extension.size() + 1 : 0)));
    changed += '.';
    changed += getExtension();
    fileName = changed;
    return true;
}

bool PIX_Format::hasDepth(std::string_view depth) const
{
    return hasWord(myDepths, depth);
}

bool PIX_Format::hasCompression(std::string_view compression) const
{
    return hasWord(myCompressions, compression);
}
