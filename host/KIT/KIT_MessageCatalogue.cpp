#include <KIT/KIT_MessageCatalogue.h>

#include <KIT/KIT_ErrorManager.h>

#include <cstring>

namespace
{

struct Message
{
    const char *category;
    int code;
    const char *sentence;
};

constexpr char theZEL[] = "ZEL";
constexpr char theSTO[] = "STO";
constexpr char theTRK[] = "TRK";
constexpr const char *theCommon = theKITCommonCategory;

constexpr Message theMessages[] = {
    // Parameters
    {theZEL, 0, "The closing \"]\" of a channel entry is missing: {}"},
    {theZEL, 1, "Parameter: {}"},
    {theZEL, 2, "Fewer values than components; the rest go back to their defaults: {}"},
    {theZEL, 3, "More values than components; the surplus is left out: {}"},
    {theZEL, 4, "The channel was not found: {}"},
    {theZEL, 5, "Unknown parameter: {}"},
    {theZEL, 6, "Unknown token: {}"},
    {theZEL, 9, "An expected token is missing: {}"},
    {theZEL, 12, "A parameter cannot be copied from nothing"},
    {theZEL, 13, "The data is newer than this library: {}"},
    {theZEL, 14, "A value refers to a channel, but there is no channel collection: {}"},
    {theZEL, 15, "The data is not a preset: {}"},
    {theZEL, 16, "A word of the preset header is missing: {}"},
    {theZEL, 17, "The preset has a version that cannot be read: {}"},
    {theZEL, 18, "The channel of a parameter that cannot be animated depends on time: {}"},
    {theZEL, 19, "The token exists already: {}"},
    {theZEL, 20, "A base parameter stands inside a multi-parameter: {}"},
    {theZEL, 21, "The component index is not valid: {}"},
    {theZEL, 22, "A multi-parameter would get more items than a stream may ask for: {}"},

    // Index files (the codes are those of STO_IndexFile.h)
    {theSTO, 1, "The file is no index file: {}"},
    {theSTO, 2, "The index file has a version that cannot be read: {}"},
    {theSTO, 3, "The index file is damaged: {}"},
    {theSTO, 4, "A damaged index file is not written over: {}"},
    {theSTO, 5, "The index file cannot be read: {}"},
    {theSTO, 6, "The file cannot be written: {}"},

    // Every class
    {theCommon, KIT_COMMON_WRONG_CLASS, "Data of another kind than expected: {}"},
    {theCommon, KIT_COMMON_UNKNOWN_PACKET, "An unknown packet was skipped: {}"},
    {theCommon, KIT_COMMON_CUT_PACKET, "A packet is damaged: {}"},
    {theCommon, KIT_COMMON_OUTPUT_FAILED, "Writing failed: {}"},
    {theCommon, KIT_COMMON_BAD_SCRIPT, "Script: {}"},
    {theCommon, KIT_COMMON_DROPPED, "Further messages were dropped: {}"},

    // Expressions (the codes are those of EVL.h)
    {theTRK, 1, "The expression cannot be read: {}"},
    {theTRK, 2, "The value depends on itself: {}"},
    {theTRK, 3, "An expression refers to an unknown channel: {}"},
    {theTRK, 4, "An expression uses an unknown variable: {}"},
    {theTRK, 5, "An expression calls an unknown function: {}"},
    {theTRK, 6, "A function has a wrong argument: {}"},
    {theTRK, 7, "An expression is nested too deep or takes too many steps: {}"},
    {theTRK, 8, "The language of an expression is not available: {}"},
    {theTRK, 9, "A Python expression failed: {}"},

    // Channel files
    {theTRK, 20, "The text does not start with \"channels\": {}"},
    {theTRK, 21, "The channels have a version that cannot be read: {}"},
    {theTRK, 22, "Channels: another token is expected: {}"},
    {theTRK, 23, "Channels: a number is expected: {}"},
    {theTRK, 24, "Channels: the name is not valid or stands twice: {}"},
    {theTRK, 25, "Channels: the word is not known here: {}"},
    {theTRK, 26, "Channels: the text ends too early: {}"},
    {theTRK, 27, "Channels: a word or text is too long: {}"},
    {theTRK, 28, "Channels: two keys stand at the same time: {}"},
};

} // namespace

const char *KITgetMessageText(const char *category, int code)
{
    for (const Message &message : theMessages) {
        if (message.code == code && category && std::strcmp(message.category, category) == 0) {
            return message.sentence;
        }
    }
    return nullptr;
}

std::string KITformatMessage(const char *category, int code, const char *text)
{
    static const std::string thePlace = ": {}";
    const char *sentence = KITgetMessageText(category, code);
    if (!sentence) {
        return text ? text : "";
    }
    std::string line = sentence;
    const size_t at = line.rfind(thePlace);
    const bool hasPlace = at != std::string::npos && at + thePlace.size() == line.size();
    if (hasPlace) {
        line.erase(at);
    }
    if (text && *text) {
        line += ": ";
        line += text;
    }
    return line;
}

void KITforEachMessage(void (*visit)(const char *category, int code, const char *sentence,
                                     void *data),
                       void *data)
{
    for (const Message &message : theMessages) {
        visit(message.category, message.code, message.sentence, data);
    }
}
