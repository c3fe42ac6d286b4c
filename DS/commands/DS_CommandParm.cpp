#include <DS/commands/DS_CommandParmPrivate.h>

#include <BAS/BAS_Thread.h>
#include <DS/commands/DS_ParmPrivate.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptPage.h>

#include <algorithm>
#include <cstring>

namespace
{

constexpr double theTime = 0.0;
constexpr int theAllComponents = -1;

/// Numbers that are written unchanged; "" isn't one.
bool isNumber(const std::string &text)
{
    return KIT_String(text.c_str()).isFloat();
}

/// Whether a toggle's word turns it on.
bool isSet(const char *word)
{
    return *word && std::strcmp(word, "0") != 0 && std::strcmp(word, "off") != 0;
}

std::string shortest(const std::string &number)
{
    return KIT_Digits(KIT_String(number.c_str()).toFloat()).buffer();
}

} // namespace

// -------------------------------------------------------------------- //
// Backticks
// -------------------------------------------------------------------- //

bool DSisBacktickRun(const char *text)
{
    if (*text != '`') {
        return false;
    }
    const char *at = text + 1;
    while (*at && *at != '`') {
        at += *at == '\\' && at[1] ? 2 : 1;
    }
    return *at && !at[1];
}

std::string DSstripBackticks(const char *word)
{
    if (!DSisBacktickRun(word)) {
        return word;
    }
    const std::string inside(word + 1, std::strlen(word) - 2);
    std::string text;
    for (size_t i = 0; i < inside.size(); ++i) {
        const bool escapeFlag = inside[i] == '\\' && i + 1 < inside.size();
        if (escapeFlag && (inside[i + 1] == '\\' || inside[i + 1] == '`')) {
            text += inside[++i];
        } else if (escapeFlag &&
                   (inside.compare(i, 4, "\\133") == 0 || inside.compare(i, 4, "\\135") == 0)) {
            text += inside[i + 3] == '3' ? '[' : ']';
            i += 3;
        } else {
            text += inside[i];
        }
    }
    return text;
}

// -------------------------------------------------------------------- //
// Records
// -------------------------------------------------------------------- //

DS_CommandParm::DS_CommandParm(ZEL_ScriptParm &record, ZEL_ParmList &list)
    : myRecord(record), myList(list), myKind(findKind(record))
{
    const char *const token = record.getName().getToken();
    myParm = list.getParmPtr(token);
    if (!isRequired() && record.getType() != ZEL_TOGGLE_E) {
        KIT_WorkBuffer name;
        name.sprintf("tog.%s", token);
        myCompanion = list.getParmPtr(name.buffer());
    }
}

void DS_CommandParm::collect(const ZEL_ScriptPage &page, KIT_ValArray<ZEL_ScriptParm *> &records)
{
    for (int i = 0; i < page.getParmEntries(); ++i) {
        ZEL_ScriptParm *const parm = page.getParm(i);
        const ZEL_ScriptGroup *const group = parm->getGroup();
        if (!group || group->isMultiParm()) {
            records.append(parm);
            continue;
        }
        for (int folder = 0; folder < group->getPageCount(); ++folder) {
            collect(*group->getPage(folder), records);
        }
    }
}

ZEL_Type DS_CommandParm::getLooks()
{
    return ZEL_TYPE_INVISIBLE | ZEL_TYPE_JOIN_NEXT | ZEL_TYPE_LABEL_NONE;
}

DS_CommandParm::Kind DS_CommandParm::findKind(const ZEL_ScriptParm &record)
{
    ZEL_Type type = record.getType();
    type.clear(getLooks());
    if (record.getGroup() || type.hasAnyOf(ZEL_TYPE_SEPARATOR) || type.hasAnyOf(ZEL_TYPE_LABEL)) {
        return Kind::NONE;
    }
    if (type == ZEL_FLT_E || type == ZEL_INT_E) {
        return Kind::NUMBER_FIELD;
    }
    if (type.isFloatType()) {
        return record.getFlag(DS_Parm::VECTOR) ? Kind::VECTOR : Kind::NUMBER;
    }
    if (type.isOrdinalType()) {
        if (type.hasAnyOf(ZEL_TYPE_CALLBACK)) {
            return Kind::NONE;
        }
        return type.hasAnyOf(ZEL_TYPE_TOGGLE) ? Kind::TOGGLE : Kind::ORDINAL;
    }
    return type.isStringType() ? Kind::TEXT : Kind::NONE;
}

std::string DS_CommandParm::getToken() const
{
    return myRecord.getName().getToken();
}

const KIT_String &DS_CommandParm::getOption() const
{
    return myRecord.getOption();
}

bool DS_CommandParm::isRequired() const
{
    return myRecord.getFlag(ZEL_ScriptParm::REQUIRED) != 0;
}

int DS_CommandParm::getSize() const
{
    return myKind == Kind::NONE ? 0 : std::max(myRecord.getSize(), 0);
}

ZEL_Parm *DS_CommandParm::findTextOf(int component) const
{
    KIT_WorkBuffer name;
    name.sprintf("%s.v%d", myRecord.getName().getToken(), component);
    return myList.getParmPtr(name.buffer());
}

// -------------------------------------------------------------------- //
// On and off
// -------------------------------------------------------------------- //

bool DS_CommandParm::isOn() const
{
    if (myCompanion && getInt(myCompanion, 0) == 0) {
        return false;
    }
    // Of a record without words, such as a button, the option alone.
    if (myKind == Kind::NONE) {
        return !isPositional() && !myRecord.getGroup();
    }
    // A toggle with an option is on the line when it is set; it has no word for a value.
    return myKind != Kind::TOGGLE || isPositional() || getInt(myParm, 0) != 0;
}

void DS_CommandParm::reset()
{
    // A toggle without an option is reset by its word.
    const bool optionFlag = myKind == Kind::TOGGLE && !myCompanion && !isPositional();
    if (myRecord.getType() == ZEL_TOGGLE_E || optionFlag) {
        setInt(myParm, theAllComponents, 0);
    }
    setInt(myCompanion, 0, OFF);
}

void DS_CommandParm::turnOn()
{
    setInt(myCompanion, 0, SLIDERS);
    if (myKind == Kind::TOGGLE && !isPositional()) {
        setInt(myParm, theAllComponents, 1);
    }
}

bool DS_CommandParm::disable()
{
    if (!myCompanion) {
        return false;
    }
    const int folder = getInt(myCompanion, 0);
    const bool onFlag = myKind == Kind::VECTOR ? folder == SLIDERS : folder != OFF;
    bool changed = myParm && myParm->setEnableState(onFlag, theAllComponents);
    for (int i = 0; myKind == Kind::VECTOR && i < getSize(); ++i) {
        ZEL_Parm *const text = findTextOf(i);
        changed |= text && text->setEnableState(folder == EXPRESSIONS, theAllComponents);
    }
    return changed;
}

// -------------------------------------------------------------------- //
// Reading words
// -------------------------------------------------------------------- //

void DS_CommandParm::setWords(const char *const *words, int count)
{
    turnOn();
    if (myKind == Kind::VECTOR) {
        setVector(words, count);
        return;
    }
    for (int i = 0; i < count; ++i) {
        switch (myKind) {
        case Kind::TOGGLE: setInt(myParm, i, isSet(words[i])); break;
        case Kind::NUMBER: setNumber(i, words[i]); break;
        case Kind::NUMBER_FIELD: setText(myParm, i, DSstripBackticks(words[i]).c_str()); break;
        default: setText(myParm, i, words[i]); break;
        }
    }
}

void DS_CommandParm::setVector(const char *const *words, int count)
{
    bool slidersFlag = true;
    for (int i = 0; i < count; ++i) {
        const std::string text = DSstripBackticks(words[i]);
        setText(findTextOf(i), 0, text.c_str());
        if (!isNumber(text)) {
            slidersFlag = false;
            continue;
        }
        // A range may clamp the slider.
        setNumber(i, text.c_str());
        slidersFlag = slidersFlag && getNumber(i) == shortest(text);
    }
    setInt(myCompanion, 0, slidersFlag ? SLIDERS : EXPRESSIONS);
}

void DS_CommandParm::setNumber(int component, const char *word)
{
    if (!myParm) {
        return;
    }
    const KIT_String text(word);
    if (myRecord.getType().hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER)) {
        myParm->setValue(theTime, text.toInteger(), true, component, ZEL_ADDKEY_PENDING, true);
    } else {
        myParm->setValue(theTime, text.toFloat(), true, component, ZEL_ADDKEY_PENDING, true);
    }
}

void DS_CommandParm::setText(ZEL_Parm *parm, int component, const char *text)
{
    if (parm) {
        parm->setValue(theTime, text, TRK_MEANING_LITERAL, true, component, ZEL_ADDKEY_PENDING,
                       true);
    }
}

void DS_CommandParm::setInt(ZEL_Parm *parm, int component, int value)
{
    if (!parm) {
        return;
    }
    const int first = component < 0 ? 0 : component;
    const int end = component < 0 ? parm->getVectorSize() : component + 1;
    for (int i = first; i < end; ++i) {
        parm->setValue(theTime, value, true, i, ZEL_ADDKEY_PENDING, true);
    }
}

// -------------------------------------------------------------------- //
// Writing words
// -------------------------------------------------------------------- //

int DS_CommandParm::getInt(const ZEL_Parm *parm, int component)
{
    int value = 0;
    if (parm) {
        parm->getValue(theTime, value, component, BASgetSTID());
    }
    return value;
}

std::string DS_CommandParm::getText(const ZEL_Parm *parm, int component)
{
    KIT_String text;
    if (parm) {
        constexpr bool expand = false;
        parm->getValue(theTime, text, component, expand, BASgetSTID());
    }
    return text.toStdString();
}

std::string DS_CommandParm::getNumber(int component) const
{
    if (!myParm) {
        return "0";
    }
    if (myRecord.getType().hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER)) {
        std::int64_t value = 0;
        myParm->getValue(theTime, value, component, BASgetSTID());
        return std::to_string(value);
    }
    double value = 0.0;
    myParm->getValue(theTime, value, component, BASgetSTID());
    return KIT_Digits(value).buffer();
}

DS_CommandParm::Word DS_CommandParm::getWord(int component) const
{
    switch (myKind) {
    case Kind::TOGGLE: return {getInt(myParm, component) != 0 ? "1" : "0"};
    case Kind::NUMBER: return {getNumber(component)};
    case Kind::NUMBER_FIELD: return getFieldWord(getText(myParm, component));
    case Kind::VECTOR: return getVectorWord(component);
    default: return {getText(myParm, component), false, true};
    }
}

bool DS_CommandParm::holds(int component, const char *word) const
{
    if (component >= getSize()) {
        return false;
    }
    const std::string text = DSstripBackticks(word);
    const std::string now = getWord(component).text;
    if (now == text || now == word) {
        return true;
    }
    switch (myKind) {
    case Kind::TOGGLE: return std::strcmp(word, isSet(now.c_str()) ? "on" : "off") == 0;
    case Kind::ORDINAL: return text == std::to_string(getInt(myParm, component));
    default: return isNumber(text) && isNumber(now) && shortest(text) == shortest(now);
    }
}

DS_CommandParm::Word DS_CommandParm::getFieldWord(const std::string &text) const
{
    if (isNumber(text)) {
        return {text};
    }
    const bool wordFlag = text.empty() || (text[0] != '`' && isMenuToken(text));
    return {text, !wordFlag, wordFlag};
}

DS_CommandParm::Word DS_CommandParm::getVectorWord(int component) const
{
    const std::string text = getText(findTextOf(component), 0);
    if (myCompanion && getInt(myCompanion, 0) == EXPRESSIONS) {
        return isNumber(text) ? Word{shortest(text)} : Word{text, !text.empty(), true};
    }
    // Without a companion only the text itself shows that it is an expression.
    const bool expressionFlag = !myCompanion && !text.empty() && !isNumber(text);
    return expressionFlag ? Word{text, true} : Word{getNumber(component)};
}

bool DS_CommandParm::isMenuToken(const std::string &text) const
{
    const ZEL_ChoiceList *const menu = myRecord.getMenu();
    const ZEL_Name *entry = menu ? menu->choiceNamesPtr() : nullptr;
    for (; entry && !entry->isSentinel(); ++entry) {
        if (text == entry->getToken()) {
            return true;
        }
    }
    return false;
}
