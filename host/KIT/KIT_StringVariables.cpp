// Environment variables inside texts.

#include <KIT/KIT_String.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_EnvControl.h>

#include <string>
#include <string_view>

namespace
{

/// The name of the variable at a "$", and the length of both; an empty name if there is none.
std::string_view nameAt(std::string_view text, size_t &length)
{
    const bool braces = text.size() > 1 && text[1] == '{';
    const size_t begin = braces ? 2 : 1;
    size_t end = begin;
    while (end < text.size() && BASisWordChar(text[end])) {
        ++end;
    }
    if (braces && (end == text.size() || text[end] != '}')) {
        return {};
    }
    length = braces ? end + 1 : end;
    return text.substr(begin, end - begin);
}

} // namespace

bool KIT_String::expandVariables()
{
    const std::string_view text = view();
    std::string out;
    bool replaced = false;
    size_t at = 0;
    const char *home = KITgetEnv(KIT_VAR_HOME);
    if (home && !text.empty() && text[0] == '~' && (text.size() == 1 || text[1] == '/')) {
        out = home;
        replaced = true;
        at = 1;
    }
    while (at < text.size()) {
        size_t length = 1;
        if (text[at] == '\\' && at + 1 < text.size()) {
            length = 2;
        } else if (text[at] == '$') {
            const std::string name(nameAt(text.substr(at), length));
            if (const char *value = name.empty() ? nullptr : KITgetEnv(name.c_str())) {
                out += value;
                replaced = true;
                at += length;
                continue;
            }
        }
        out += text.substr(at, length);
        at += length;
    }
    if (replaced) {
        *this = out;
    }
    return replaced;
}
