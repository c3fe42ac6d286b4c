#include <ZEL/instance/ZEL_ChannelReferenceTextPrivate.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_String.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace
{
void strip(std::string_view &text)
{
    while (!text.empty() && BASisBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && BASisBlank(text.back())) {
        text.remove_suffix(1);
    }
}

bool isReferenceText(std::string_view text)
{
    for (const char c : text) {
        if (!BASisWordChar(c) && c != '.' && c != '/') {
            return false;
        }
    }
    return true;
}

/// The functions that form a plain reference, with the shortest possible text of each.
struct ReferenceFunction
{
    std::string_view opening;
    std::size_t minimum;
};

constexpr ReferenceFunction theReferenceFunctions[] = {
    {"ch(", 7},
    {"chs(", 8},
    {"chsop(", 10},
};

/// Reduces a call of a reference function to its argument; false if the text isn't such a call.
bool stripFunction(std::string_view &text)
{
    for (const ReferenceFunction &function : theReferenceFunctions) {
        if (text.size() >= function.minimum && text.back() == ')' &&
            text.substr(0, function.opening.size()) == function.opening) {
            text.remove_prefix(function.opening.size());
            text.remove_suffix(1);
            return true;
        }
    }
    return false;
}

void assign(KIT_String *channel, std::string_view name)
{
    if (channel) {
        channel->harden(name.data(), name.size());
    }
}
} // namespace

bool ZELisChannelReference(const char *text, bool bare, KIT_String *channel)
{
    if (!text || !*text) {
        return false;
    }
    std::string_view rest(text);
    strip(rest);
    if (!bare) {
        if (rest.size() < 2 || rest.front() != '`' || rest.back() != '`') {
            return false;
        }
        rest = rest.substr(1, rest.size() - 2);
    }
    while (rest.size() >= 2 && rest.front() == '(' && rest.back() == ')') {
        rest = rest.substr(1, rest.size() - 2);
    }
    if (!stripFunction(rest) || rest.size() < 2) {
        return false;
    }
    const char quote = rest.front();
    if ((quote != '"' && quote != '\'') || rest.back() != quote) {
        return false;
    }
    rest = rest.substr(1, rest.size() - 2);
    if (!isReferenceText(rest)) {
        return false;
    }
    assign(channel, rest);
    return true;
}

bool ZELisObsoleteChannelReference(const char *text, KIT_String *channel)
{
    static constexpr std::string_view theOpening = "!!ch(";
    static constexpr std::string_view theClosing = "!!";
    std::string_view rest(text ? text : "");
    strip(rest);
    const bool backticks = rest.size() >= 2 && rest.front() == '`' && rest.back() == '`';
    if (backticks) {
        rest = rest.substr(1, rest.size() - 2);
    }
    const std::size_t bare = rest.size() - std::min(rest.size(), theClosing.size());
    if (rest.substr(bare) == theClosing) {
        rest.remove_suffix(theClosing.size());
    } else if (backticks) {
        return false;
    }
    if (rest.size() <= theOpening.size() + 1 || rest.back() != ')' ||
        rest.substr(0, theOpening.size()) != theOpening) {
        return false;
    }
    rest = rest.substr(theOpening.size(), rest.size() - theOpening.size() - 1);
    const char quote = rest.front();
    if (rest.size() > 2 && (quote == '"' || quote == '\'') && rest.back() == quote) {
        rest = rest.substr(1, rest.size() - 2);
    }
    if (!isReferenceText(rest)) {
        return false;
    }
    assign(channel, rest);
    return true;
}
