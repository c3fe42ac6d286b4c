#include <ZEL/ZEL_SpareData.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_BitArray.h>
#include <KIT/KIT_StringArray.h>
#include <ZEL/support/ZEL_NumberPrivate.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <strings.h>

namespace
{

constexpr const char *theColorTypes[] = {"val", "rgb", "hsv", "tmi", "hide"};
constexpr const char *theRampColorTypes[] = {"hsl", "hsv", "rgb", "xyz", "lab"};

bool isPositive(const char *value)
{
    return BASparseInteger(value, 10) > 0;
}

bool isNonZero(const char *value)
{
    return BASparseInteger(value, 10) != 0;
}

bool isTrueWord(const char *value)
{
    return value && !strcasecmp(value, "true");
}

/// The keyword's index in the row; `absent` when there is no keyword or it isn't in the row.
template <class Type, size_t N>
Type typeOf(const char *word, const char *const (&words)[N], Type absent)
{
    for (size_t i = 0; word && i < N; i++) {
        if (!std::strcmp(word, words[i])) {
            return static_cast<Type>(i);
        }
    }
    return absent;
}

template <class Type, size_t N>
const char *wordOf(Type type, const char *const (&words)[N], Type outside)
{
    const size_t index = static_cast<size_t>(type);
    return words[index < N ? index : static_cast<size_t>(outside)];
}

} // namespace

// -------------------------------------------------------------------- //
// Scripts, evaluation
// -------------------------------------------------------------------- //

TRK_ScriptLanguage ZEL_SpareData::getCallbackLanguage() const
{
    const char *word = getValue(getCallbackLanguageToken());
    return word ? TRKstringToScriptLanguage(word) : TRK_SCRIPT_COMMAND;
}

void ZEL_SpareData::setCallbackLanguage(TRK_ScriptLanguage language)
{
    addTokenValue(getCallbackLanguageToken(), TRKscriptLanguageAsString(language));
}

bool ZEL_SpareData::getCodeGenDependent() const
{
    const char *value = getValue(getCodeGenDependentToken());
    // "false" is no integer, and would read as false. Kept as true: scenes rely on it.
    return !value || !strcasecmp(value, "false") || isPositive(value);
}

void ZEL_SpareData::setCodeGenDependent(bool flag)
{
    addTokenValue(getCodeGenDependentToken(), flag ? nullptr : "0");
}

bool ZEL_SpareData::getCookDependent() const
{
    const char *value = getValue(getCookDependentToken());
    return isTrueWord(value) || isPositive(value);
}

void ZEL_SpareData::setCookDependent(bool flag)
{
    addTokenValue(getCookDependentToken(), flag ? "1" : nullptr);
}

bool ZEL_SpareData::getHasVaryingDefault() const
{
    const char *value = getValue(getVaryingDefaultToken());
    return isTrueWord(value) || isPositive(value);
}

void ZEL_SpareData::setHasVaryingDefault(bool flag)
{
    addTokenValue(getVaryingDefaultToken(), flag ? "1" : nullptr);
}

// -------------------------------------------------------------------- //
// Colours, ramps
// -------------------------------------------------------------------- //

bool ZEL_SpareData::getColorWheel() const
{
    const char *value = getValue(getColorWheelToken());
    return isTrueWord(value) || isNonZero(value);
}

void ZEL_SpareData::setColorWheel(bool flag)
{
    addTokenValue(getColorWheelToken(), flag ? "1" : nullptr);
}

bool ZEL_SpareData::getColorDynamic() const
{
    return isNonZero(getValue(getColorDynamicToken()));
}

void ZEL_SpareData::setColorDynamic(bool flag)
{
    addTokenValue(getColorDynamicToken(), flag ? "1" : nullptr);
}

ZEL_ColorType ZEL_SpareData::getColorType() const
{
    return typeOf(getValue(getColorTypeToken()), theColorTypes, ZEL_COLORTYPE_VAL);
}

void ZEL_SpareData::setColorType(ZEL_ColorType type)
{
    addTokenValue(getColorTypeToken(), getColorTypeValueToken(type));
}

const char *ZEL_SpareData::getColorTypeValueToken(ZEL_ColorType type)
{
    return wordOf(type, theColorTypes, ZEL_COLORTYPE_VAL);
}

KIT_ColorType ZEL_SpareData::getRampColorType() const
{
    return typeOf(getValue(getRampColorTypeToken()), theRampColorTypes, KIT_COLORTYPE_RGB);
}

void ZEL_SpareData::setRampColorType(KIT_ColorType type)
{
    addTokenValue(getRampColorTypeToken(), getRampColorTypeValueToken(type));
}

const char *ZEL_SpareData::getRampColorTypeValueToken(KIT_ColorType type)
{
    return wordOf(type, theRampColorTypes, KIT_COLORTYPE_RGB);
}

bool ZEL_SpareData::getRampShowControlsDefault() const
{
    const char *value = getValue(getRampShowControlsDefaultToken());
    return !value || *value != '0';
}

void ZEL_SpareData::setRampShowControlsDefault(bool flag)
{
    addTokenValue(getRampShowControlsDefaultToken(), flag ? "1" : "0");
}

// -------------------------------------------------------------------- //
// Text editors
// -------------------------------------------------------------------- //

bool ZEL_SpareData::getUseEditor() const
{
    return isNonZero(getValue(getEditorToken()));
}

void ZEL_SpareData::getEditorLinesRange(int &min, int &max) const
{
    min = getEditorLinesRangeDefaultMin();
    max = getEditorLinesRangeDefaultMax();
    const char *value = getValue(getEditorLinesToken());
    if (!value) {
        return;
    }
    KIT_String text(value);
    KIT_StringArray words;
    text.tokenize(words, " \t\n\r,");
    if (words.entries() == 1) {
        // A dash separates two numbers; before the first one it is a minus sign.
        const std::string word(words[0].c_str());
        const size_t dash = word.find('-', 1);
        if (dash != std::string::npos) {
            words.clear();
            words.append(word.substr(0, dash).c_str());
            words.append(word.substr(dash + 1).c_str());
        }
    }
    for (const KIT_String &word : words) {
        if (!BASisInt(word.c_str())) {
            return;
        }
    }
    if (words.entries() == 1 || words.entries() == 2) {
        const int first = std::max(1, ZELparseInt(words[0].c_str()));
        const int second = std::max(1, ZELparseInt(words.last().c_str()));
        min = std::min(first, second);
        max = std::max(first, second);
    }
}

// -------------------------------------------------------------------- //
// Multi-parameters, key-value tables, folders
// -------------------------------------------------------------------- //

int ZEL_SpareData::getMultiStartOffset() const
{
    const char *value = getValue(getMultiStartOffsetToken());
    return value && *value ? ZELparseInt(value) : 1;
}

void ZEL_SpareData::setMultiStartOffset(int offset)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%d", offset);
    addTokenValue(getMultiStartOffsetToken(), text);
}

void ZEL_SpareData::setKeyValueDictKeyLabel(const char *label)
{
    addTokenValue(getKeyValueDictKeyLabelToken(), label);
}

const char *ZEL_SpareData::getKeyValueDictValueLabel() const
{
    return getValue(getKeyValueDictValueLabelToken());
}

void ZEL_SpareData::setKeyValueDictValueLabel(const char *label)
{
    addTokenValue(getKeyValueDictValueLabelToken(), label);
}

bool ZEL_SpareData::getKeyValueDictUseChooser() const
{
    return isNonZero(getValue(getKeyValueDictUseChooserToken()));
}

void ZEL_SpareData::setKeyValueDictUseChooser(bool flag)
{
    addTokenValue(getKeyValueDictUseChooserToken(), flag ? "1" : nullptr);
}

const char *ZEL_SpareData::getKeyValueDictChooserLabel() const
{
    return getValue(getKeyValueDictChooserLabelToken());
}

void ZEL_SpareData::setKeyValueDictChooserLabel(const char *label)
{
    addTokenValue(getKeyValueDictChooserLabelToken(), label);
}

const char *ZEL_SpareData::getKeyValueDictChooserCallback() const
{
    return getValue(getKeyValueDictChooserCallbackToken());
}

void ZEL_SpareData::setKeyValueDictChooserCallback(const char *script)
{
    addTokenValue(getKeyValueDictChooserCallbackToken(), script);
}

bool ZEL_SpareData::getVisibleTab(int tab) const
{
    const char *value = getValue(getVisibleTabsToken());
    return !value || tab < 0 || strnlen(value, size_t(tab) + 1) <= size_t(tab) || value[tab] == '1';
}

void ZEL_SpareData::getVisibleTabs(KIT_BitArray &tabs) const
{
    const char *value = getValue(getVisibleTabsToken());
    const int64_t count = value ? static_cast<int64_t>(std::strlen(value)) : 0;
    tabs.setSize(count);
    for (int64_t i = 0; i < count; i++) {
        tabs.setBit(i, value[i] == '1');
    }
}

void ZEL_SpareData::setVisibleTabs(const KIT_BitArray &tabs)
{
    std::string value;
    for (int64_t i = 0; i < tabs.size(); i++) {
        value += tabs.getBit(i) ? '1' : '0';
    }
    addTokenValue(getVisibleTabsToken(), value.empty() ? nullptr : value.c_str());
}
