#include <PIX/PIX_TileOptions.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_WorkArgs.h>
#include <PIX/PIX_Format.h>

#include <string>
#include <string_view>

namespace
{

bool isQuality(std::string_view value)
{
    double quality = 0.0;
    return BASparseFloat(value.data(), value.size(), quality) == value.size() && quality >= 0.0 &&
           quality <= 100.0;
}

bool isPossible(const PIX_Format &format, std::string_view key, std::string_view value)
{
    if (key == "depth") {
        return format.hasDepth(value);
    }
    if (key == "compression") {
        return format.hasCompression(value);
    }
    return key != "quality" || (format.hasQuality() && isQuality(value));
}

} // namespace

PIX_TileOptions::PIX_TileOptions(const char *fileName)
    : myFormat(PIX_Format::findByFilename(fileName))
{}

void PIX_TileOptions::setPlaneInfo(const char *options)
{
    KIT_WorkArgs words;
    KIT_String(options).parse(words, 0, "\"'", true);
    std::string packed;
    for (int64_t i = 0; i + 1 < words.entries(); i += 2) {
        if (!myFormat || isPossible(*myFormat, words[i], words[i + 1])) {
            packed.append(packed.empty() ? "" : " ").append(words[i]).append(" ");
            packed.append(words[i + 1]);
        }
    }
    myOptions = packed;
}
