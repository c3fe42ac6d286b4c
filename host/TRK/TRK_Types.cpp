#include <TRK/TRK_Types.h>

#include <BAS/BAS_Character.h>
#include <BAS/BAS_Number.h>

#include <cstring>

namespace
{

struct Word
{
    const char *text;
    int value;
};

constexpr Word theMeanings[] = {
    {"literal", TRK_MEANING_LITERAL},       {"expression", TRK_MEANING_NATIVE},
    {"python", TRK_MEANING_PYTHON},         {"unused", TRK_MEANING_UNUSED},
    {"collection", TRK_MEANING_COLLECTION},
};

constexpr Word theScriptLanguages[] = {
    {"command", TRK_SCRIPT_COMMAND},
    {"python", TRK_SCRIPT_PYTHON},
};

constexpr Word theInterpolators[] = {
#define TRK_INTERPOLATOR(ENUMERATOR, WORD, FUNCTION) {WORD "()", TRK_INTERP_##ENUMERATOR},
#include <TRK/TRK_Interpolators.def>
};

template <size_t N>
bool findValue(const Word (&words)[N], const char *text, int &value)
{
    if (text == nullptr) {
        return false;
    }
    const int64_t number = BASisInt(text) ? BASparseInteger(text) : -1;
    for (const Word &word : words) {
        if (std::strcmp(word.text, text) == 0 || number == word.value) {
            value = word.value;
            return true;
        }
    }
    return false;
}

template <size_t N>
const char *findText(const Word (&words)[N], int value)
{
    for (const Word &word : words) {
        if (word.value == value) {
            return word.text;
        }
    }
    return nullptr;
}

const char *skipBlanks(const char *at)
{
    while (BASisBlank(*at)) {
        ++at;
    }
    return at;
}

/// Whether a text is this call, "word()". Blanks are allowed anywhere except inside the word.
bool isCall(const char *text, const char *call)
{
    for (text = skipBlanks(text); *call != '\0'; ++call, ++text) {
        if (*call == '(' || *call == ')') {
            text = skipBlanks(text);
        }
        if (*text != *call) {
            return false;
        }
    }
    return *skipBlanks(text) == '\0';
}

} // namespace

TRK_ExprLanguage TRKstringMeaningToExprLanguage(TRK_StringMeaning meaning,
                                                TRK_ExprLanguage collectionLanguage)
{
    switch (meaning) {
    case TRK_MEANING_PYTHON: return TRK_LANGUAGE_PYTHON;
    case TRK_MEANING_COLLECTION: return collectionLanguage;
    default: return TRK_LANGUAGE_NATIVE;
    }
}

bool TRKstringToMeaning(const char *word, TRK_StringMeaning &meaning)
{
    int value = 0;
    if (!findValue(theMeanings, word, value)) {
        return false;
    }
    meaning = static_cast<TRK_StringMeaning>(value);
    return true;
}

TRK_StringMeaning TRKstringToMeaning(const char *word)
{
    TRK_StringMeaning meaning = TRK_MEANING_LITERAL;
    TRKstringToMeaning(word, meaning);
    return meaning;
}

const char *TRKmeaningToString(TRK_StringMeaning meaning)
{
    const char *text = findText(theMeanings, meaning);
    return text != nullptr ? text : theMeanings[0].text;
}

bool TRKstringToScriptLanguage(const char *word, TRK_ScriptLanguage &language)
{
    int value = 0;
    if (!findValue(theScriptLanguages, word, value)) {
        return false;
    }
    language = static_cast<TRK_ScriptLanguage>(value);
    return true;
}

TRK_ScriptLanguage TRKstringToScriptLanguage(const char *word)
{
    TRK_ScriptLanguage language = TRK_SCRIPT_COMMAND;
    TRKstringToScriptLanguage(word, language);
    return language;
}

const char *TRKscriptLanguageAsString(TRK_ScriptLanguage language)
{
    const char *text = findText(theScriptLanguages, language);
    return text != nullptr ? text : theScriptLanguages[0].text;
}

const char *TRKinterpolatorToString(TRK_Interpolator interpolator)
{
    return findText(theInterpolators, interpolator);
}

TRK_Interpolator TRKstringToInterpolator(const char *text)
{
    for (const Word &word : theInterpolators) {
        if (text != nullptr && isCall(text, word.text)) {
            return static_cast<TRK_Interpolator>(word.value);
        }
    }
    return TRK_INTERP_EXPRESSION;
}
