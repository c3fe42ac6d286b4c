#include <KIT/KIT_MessageCatalogue.h>

#include <cstring>

namespace
{

struct Message
{
    const char *category;
    int code;
    const char *sentence;
};

#define KIT_MESSAGE(category, enumerator, number, severity, sentence) {category, number, sentence},
constexpr Message theMessages[] = {
#include <KIT/KIT_Messages.def>
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
