// The menu of an ordinal: converts tokens to values and back.

#include <ZEL/values/ZEL_OrdinalPrivate.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Default.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <cstring>
#include <mutex>

namespace
{

/// Index of the token in a table, the number of its entries for a null token.
template <class T>
int findEntry(const T *table, const char *token)
{
    int index = 0;
    for (; table[index].getToken(); ++index) {
        if (token && std::strcmp(table[index].getToken(), token) == 0) {
            return index;
        }
    }
    return token ? -1 : index;
}

int findEntry(const ZEL_Name *names, const ZEL_Item *items, const char *token)
{
    if (items) {
        return findEntry(items, token);
    }
    if (names) {
        return findEntry(names, token);
    }
    return token ? -1 : 0;
}

/// Errors of a menu script are suppressed here: its menu is empty.
void askForChoices(const ZEL_ChoiceList &list, ZEL_ParmOwner *owner, const ZEL_SpareData *spare,
                   const ZEL_Parm *parm, const ZEL_Name *&names, const ZEL_Item *&items)
{
    constexpr bool quiet = true;
    if (list.usesItems()) {
        list.getChoiceItems(items, owner, spare, parm, quiet);
    } else {
        list.getChoiceNames(names, owner, spare, parm, quiet);
    }
}

bool usesTokens(const ZEL_ChoiceList *list)
{
    return list && (list->getType() & ZEL_CHOICELIST_USE_TOKEN) != 0;
}

} // namespace

std::int64_t ZELparseOrdinal(const char *text, bool &ok)
{
    std::int64_t value = 0;
    ok = BASisInt(text) && BASparseInteger(text, nullptr, value, 10, 0);
    return ok ? value : 0;
}

bool ZELisBareWord(const char *text)
{
    while (BASisWordChar(*text)) {
        ++text;
    }
    return *text == '\0';
}

// -------------------------------------------------------------------------- //
// Choices
// -------------------------------------------------------------------------- //

void ZEL_Ordinal::Choices::ask()
{
    myCount = 0;
    const ZEL_ChoiceList *list = myOrdinal.getChoiceListPtr();
    if (!list) {
        return;
    }
    // A dynamic menu gets the parameter only once its defaults are applied.
    ZEL_ParmOwner *owner = myOrdinal.getParmOwner();
    const ZEL_Parm *parm = nullptr;
    if (owner && owner->getParmList() && myOrdinal.getDefaultsInitFlag()) {
        parm = owner->getParmList()->getParmPtr(myOrdinal.getTokenRef());
    }
    askForChoices(*list, owner, myOrdinal.getTemplatePtr()->getSparePtr(), parm, myNames, myItems);
    myCount = findEntry(myNames, myItems, nullptr);
}

int ZEL_Ordinal::Choices::count()
{
    if (myCount < 0) {
        ask();
    }
    return myCount;
}

const char *ZEL_Ordinal::Choices::token(std::int64_t value)
{
    if (value < 0 || value >= count()) {
        return nullptr;
    }
    return myItems ? myItems[value].getToken() : myNames[value].getToken();
}

int ZEL_Ordinal::Choices::find(const char *text)
{
    return count() > 0 ? findEntry(myNames, myItems, text) : -1;
}

std::int64_t ZEL_Ordinal::Choices::parse(const char *text, bool &ok)
{
    ok = text != nullptr;
    if (!ok) {
        return 0;
    }
    if (!myOrdinal.usesTokenValue()) {
        const int index = find(text);
        if (index >= 0) {
            return index;
        }
    }
    return ZELparseOrdinal(text, ok);
}

const char *ZEL_Ordinal::Choices::word(std::int64_t value, KIT_WorkBuffer &buffer)
{
    if (!myOrdinal.usesTokenValue()) {
        return token(value);
    }
    buffer.clear();
    buffer.appendNumber(value);
    return buffer.buffer();
}

// -------------------------------------------------------------------------- //
// Tokens and values
// -------------------------------------------------------------------------- //

bool ZEL_Ordinal::isNamedBy(const ZEL_ChoiceList &list, const ZEL_Type &type)
{
    return !usesTokens(&list) && !type.hasOrdinalType(ZEL_Type::ZEL_ORD_BUTTONSTRIP) &&
           !type.hasOrdinalType(ZEL_Type::ZEL_ORD_ICONSTRIP);
}

bool ZEL_Ordinal::usesTokenValue() const
{
    return usesTokens(getChoiceListPtr());
}

bool ZEL_Ordinal::hasMenuScript() const
{
    const ZEL_ChoiceList *list = getChoiceListPtr();
    return list && list->getScript().isstring();
}

std::int64_t ZEL_Ordinal::tokenToInt(const char *text, bool &ok) const
{
    return Choices(*this).parse(text, ok);
}

std::int64_t ZEL_Ordinal::quietTokenToInt(const char *text, bool &ok) const
{
    ZEL_AutoBlockErrors blockErrors;
    return tokenToInt(text, ok);
}

void ZEL_Ordinal::intToToken(std::int64_t value, KIT_String &text) const
{
    Choices choices(*this);
    const ZEL_ChoiceList *list = getChoiceListPtr();
    const char *token = list && isNamedBy(*list, getType()) ? choices.token(value) : nullptr;
    if (token) {
        text.harden(token);
    } else {
        text.itoa(value);
    }
}

bool ZEL_Ordinal::isToken(const char *text, const ZEL_Template *templatePtr)
{
    const ZEL_ChoiceList *list = templatePtr->getChoiceListPtr();
    if (!text || !list) {
        return false;
    }
    const ZEL_Name *names = nullptr;
    const ZEL_Item *items = nullptr;
    askForChoices(*list, nullptr, nullptr, nullptr, names, items);
    return findEntry(names, items, text) >= 0;
}

bool ZEL_Ordinal::isExpression(const char *text, const ZEL_Template *templatePtr)
{
    return text && *text && !isToken(text, templatePtr);
}

bool ZEL_Ordinal::isExpression(const ZEL_Default &record, const ZEL_Template *templatePtr)
{
    const char *text = record.getString();
    if (record.getStringMeaning() == TRK_MEANING_LITERAL && ZELisBareWord(text)) {
        return false;
    }
    return isExpression(text, templatePtr);
}

// -------------------------------------------------------------------------- //
// Held tokens
// -------------------------------------------------------------------------- //

std::int64_t ZEL_Ordinal::getInternalValue(int index) const
{
    if (hasHeldTokens()) {
        Choices choices(*this);
        resolveLoadedStrValue(index, choices);
    }
    return BASload(values()[index]);
}

std::int64_t ZEL_Ordinal::getInternalValue(int index, Choices &choices) const
{
    if (hasHeldTokens()) {
        resolveLoadedStrValue(index, choices);
    }
    return BASload(values()[index]);
}

void ZEL_Ordinal::setInternalValue(int index, std::int64_t value) const
{
    BASstore(values()[index], value);
    if (hasHeldTokens()) {
        const std::lock_guard<BAS_ByteLock> guard(myHeldLock);
        if (!myLoadedStrings[std::size_t(index)].isNull()) {
            myLoadedStrings[std::size_t(index)] = KIT_StringHolder();
            __atomic_fetch_sub(&myNumHeld, 1, __ATOMIC_RELEASE);
        }
    }
}

KIT_StringHolder ZEL_Ordinal::heldToken(int index) const
{
    const std::lock_guard<BAS_ByteLock> guard(myHeldLock);
    return myLoadedStrings ? myLoadedStrings[std::size_t(index)] : KIT_StringHolder();
}

void ZEL_Ordinal::copyComponent(const ZEL_Ordinal &source, int index)
{
    // Read the token first: once it is cleared, the value is set.
    const KIT_StringHolder token = source.heldToken(index);
    setInternalValue(index, BASload(source.values()[index]));
    if (!token.isNull()) {
        holdToken(index, token.c_str());
    }
}

void ZEL_Ordinal::holdToken(int index, const char *token)
{
    const std::lock_guard<BAS_ByteLock> guard(myHeldLock);
    if (!myLoadedStrings) {
        myLoadedStrings = std::make_unique<KIT_StringHolder[]>(std::size_t(getVectorSize()));
    }
    KIT_StringHolder &held = myLoadedStrings[std::size_t(index)];
    if (held.isNull()) {
        __atomic_fetch_add(&myNumHeld, 1, __ATOMIC_RELEASE);
    }
    held = KIT_StringHolder(token);
}

void ZEL_Ordinal::resolveLoadedStrValue(int index, Choices &choices) const
{
    const KIT_StringHolder token = heldToken(index);
    if (token.isNull() || TRK_EvalContext::NoScripts::isOpen()) {
        return;
    }
    // Outside the lock: a script may be slow and read other parameters, or this one. Threads that
    // get here at the same time find the same value.
    ZEL_AutoBlockErrors blockErrors;
    bool ok = false;
    setInternalValue(index, choices.parse(token.c_str(), ok));
}
