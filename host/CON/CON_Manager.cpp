#include <CON/CON_Manager.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>

#include <algorithm>
#include <ostream>

namespace
{
bool needsQuotes(std::string_view text)
{
    constexpr std::string_view theSpecials = "\"'`\\;#$&|<>()[]{}*?~!";
    return text.empty() || std::any_of(text.begin(), text.end(), [=](char c) {
               const unsigned byte = static_cast<unsigned char>(c);
               return BASisBlank(c) || byte < 32 || byte == 127 ||
                      theSpecials.find(c) != theSpecials.npos;
           });
}

/// Whether the text is one quoted word: the closing quote is its last character.
bool isQuotedWord(std::string_view text)
{
    if (text.size() < 2 || text[0] != '"') {
        return false;
    }
    size_t at = 1;
    while (at < text.size() && text[at] != '"') {
        at += text[at] == '\\' ? 2 : 1;
    }
    return at + 1 == text.size();
}
} // namespace

CON_Manager &CON_Manager::getContext()
{
    // Never destroyed: threads may still evaluate while the process ends.
    static CON_Manager *const theManager = new CON_Manager;
    return *theManager;
}

// -------------------------------------------------------------------- //
// Variables
// -------------------------------------------------------------------- //

bool CON_Manager::getEnv(const KIT_StringRef &name, KIT_String &value) const
{
    if (getVariable(name, value)) {
        return true;
    }
    const char *const text = KITgetEnv(name.c_str());
    if (text) {
        value = text;
    }
    return text != nullptr;
}

bool CON_Manager::getVariable(const KIT_StringRef &name, KIT_String &value) const
{
    const BAS_StripedLock::Reader lock(myLock);
    const auto found = myVariables.find(name);
    if (found == myVariables.end()) {
        return false;
    }
    const Text &text = found->second->value;
    value.harden(text.data(), text.size());
    return true;
}

void CON_Manager::setVariable(const KIT_StringRef &name, const char *value)
{
    if (name.isEmpty()) {
        return;
    }
    const BAS_StripedLock::Writer lock(myLock);
    if (!value) {
        myVariables.erase(name);
    } else if (const auto found = myVariables.find(name); found != myVariables.end()) {
        found->second->value = value;
    } else {
        const auto variable = std::allocate_shared<Variable>(
            Aligned<Variable>(), Variable{Text(name.c_str(), name.length()), value});
        myVariables.emplace(KIT_StringRef(variable->name.data(), variable->name.size()), variable);
    }
}

// -------------------------------------------------------------------- //
// Words of commands
// -------------------------------------------------------------------- //

void CON_Manager::saveProtectedString(std::ostream &os, const char *text)
{
    const std::string_view word(text ? text : "");
    KIT_WorkBuffer quoted;
    if (needsQuotes(word)) {
        quoted.appendQuoted(word);
    } else {
        quoted.append(word);
    }
    os.write(quoted.buffer(), static_cast<std::streamsize>(quoted.length()));
}

void CON_Manager::expandControlSequences(KIT_String &word)
{
    const std::string_view text = word.view();
    if (isQuotedWord(text)) {
        word.harden(text.data() + 1, text.size() - 2);
    }
    word.expandControlSequences();
}
