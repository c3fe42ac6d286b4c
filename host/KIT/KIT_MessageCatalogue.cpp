#include <KIT/KIT_MessageCatalogue.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace
{

struct Message
{
    const char *category;
    int code;
    const char *severity;
    const char *sentence;
};

// As the columns have them.
constexpr const char *NONE = "varies";
[[maybe_unused]] constexpr const char *MESSAGE = "message";
constexpr const char *WARNING = "warning";
constexpr const char *ABORT = "error";
constexpr const char *FATAL = "fatal";

#define KIT_MESSAGE(category, enumerator, number, severity, sentence)                              \
    {category, number, severity, sentence},
constexpr Message theMessages[] = {
#include <KIT/KIT_Messages.def>
};

#define KIT_MESSAGE_HELP(category, number, cause, remedy, kind, example)                           \
    {category, number, "", "", cause, remedy, #kind, example, false},
constexpr KIT_MessageEntry theHelp[] = {
#include <KIT/KIT_MessageHelp.def>
};

#define KIT_TEXT_MESSAGE(category, number, severity, sentence, cause, remedy, kind, example)       \
    {category, number, severity, sentence, cause, remedy, #kind, example, true},
constexpr KIT_MessageEntry theTexts[] = {
#include <KIT/KIT_TextMessages.def>
};

constexpr std::string_view theHole = "{}";

/// Whether a text is a sentence with something in each of its holes.
bool isOf(std::string_view sentence, std::string_view text)
{
    const std::size_t first = sentence.find(theHole);
    if (first == std::string_view::npos || text.substr(0, first) != sentence.substr(0, first)) {
        return text == sentence;
    }
    sentence.remove_prefix(first + theHole.size());
    text.remove_prefix(first);
    for (;;) {
        const std::size_t next = sentence.find(theHole);
        const std::string_view part = sentence.substr(0, next);
        if (next == std::string_view::npos) { // the last part ends the text
            return text.size() >= part.size() && text.substr(text.size() - part.size()) == part;
        }
        const std::size_t at = text.find(part);
        if (at == std::string_view::npos) {
            return false;
        }
        text.remove_prefix(at + part.size());
        sentence.remove_prefix(next + theHole.size());
    }
}

/// Which of two sentences that fit a text says more by itself. What a text begins with counts first: in a hole
/// there may be a name from outside, and that name may read like another sentence.
bool isCloser(std::string_view sentence, std::string_view other)
{
    const auto weight = [](std::string_view one) {
        const std::size_t start = std::min(one.find(theHole), one.size());
        std::size_t bytes = one.size();
        for (std::size_t at = one.find(theHole); at != std::string_view::npos;
             at = one.find(theHole, at + theHole.size())) {
            bytes -= theHole.size();
        }
        return std::make_pair(start, bytes);
    };
    return weight(sentence) > weight(other);
}

KIT_MessageEntry withHelp(const Message &message)
{
    KIT_MessageEntry entry = {message.category, message.code, message.severity,
                              message.sentence, "",           "",
                              "NONE",           "",           false};
    for (const KIT_MessageEntry &help : theHelp) {
        if (help.code == message.code && std::strcmp(help.category, message.category) == 0) {
            entry.cause = help.cause;
            entry.remedy = help.remedy;
            entry.kind = help.kind;
            entry.example = help.example;
        }
    }
    return entry;
}

} // namespace

const KIT_MessageEntry *KITfindTextMessage(std::string_view text, std::string_view category)
{
    const KIT_MessageEntry *found = nullptr;
    for (const KIT_MessageEntry &entry : theTexts) {
        if ((category.empty() || category == entry.category) && isOf(entry.sentence, text) &&
            (!found || isCloser(entry.sentence, found->sentence))) {
            found = &entry;
        }
    }
    return found;
}

const std::vector<KIT_MessageEntry> &KITgetMessageEntries()
{
    static const std::vector<KIT_MessageEntry> theEntries = [] {
        std::vector<KIT_MessageEntry> entries;
        for (const Message &message : theMessages) {
            entries.push_back(withHelp(message));
        }
        entries.insert(entries.end(), std::begin(theTexts), std::end(theTexts));
        return entries;
    }();
    return theEntries;
}

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
