#include <ZEL/ZEL_String.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Relaxed.h>
#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_PathSearch.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_TokenString.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/support/ZEL_NumberPrivate.h>
#include <ZEL/values/ZEL_ValueInstancePrivate.h>

#include <algorithm>
#include <strings.h>

// -------------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------------- //

ZEL_String::ZEL_String(ZEL_Template *templatePtr, ZEL_Parm *parm)
    : ZEL_ValueInstance(templatePtr, parm)
{
    makeTexts();
}

ZEL_String::ZEL_String(const ZEL_String &source, ZEL_Parm *parm)
    : ZEL_ValueInstance(source, parm), myTimeDependent(BASload(source.myTimeDependent))
{
    makeTexts();
    for (int i = 0, size = getVectorSize(); i < size; ++i) {
        texts()[i].unsafeHarden(source.texts()[i]);
    }
}

ZEL_String::~ZEL_String()
{
    if (getVectorSize() > 1) {
        delete[] myTexts.several;
    } else {
        myTexts.only.~ZEL_StringRep();
    }
}

void ZEL_String::makeTexts()
{
    if (getVectorSize() > 1) {
        myTexts.several = new ZEL_StringRep[std::size_t(getVectorSize())];
    }
}

ZEL_Instance *ZEL_String::duplicateSelf(ZEL_Parm *parm) const
{
    return new ZEL_String(*this, parm);
}

void ZEL_String::adopt(ZEL_Instance &source)
{
    ZEL_ValueInstance::adopt(source);
    if (const auto *other = dynamic_cast<const ZEL_String *>(&source)) {
        const int size = std::min(getVectorSize(), other->getVectorSize());
        for (int i = 0; i < size; ++i) {
            texts()[i].unsafeHarden(other->texts()[i]);
        }
        tellTextsChanged();
    }
    setDefaultsInitFlag(true);
}

// -------------------------------------------------------------------------- //
// Evaluation
// -------------------------------------------------------------------------- //

void ZEL_String::noteTimeDependent(bool timeDependent) const
{
    BASstoreIfDifferent(myTimeDependent, timeDependent);
}

void ZEL_String::setTimeDependent(int index, bool timeDependent) const
{
    ZEL_ValueInstance::setTimeDependent(index, timeDependent);
    noteTimeDependent(timeDependent);
}

bool ZEL_String::isTimeDependent(int index) const
{
    return ZEL_ValueInstance::isTimeDependent(index) || BASload(myTimeDependent);
}

void ZEL_String::evalValue(ZEL_ParmList *list, double time, int index, int thread,
                           KIT_String &out) const
{
    const bool animatible = getType().isAnimatible();
    if (!animatible) {
        time = 0.0;
    }
    if (evalOverrideValue(list, time, index, thread, out) != 0 || !validIndex(index)) {
        return;
    }
    const TRK_Channel *channel = getChannel(index);
    const TRK_Collection *collection = evaluationCollection(channel);
    bool timeDependent = false;
    if (channel && collection) {
        collection->evaluateString(out, channel, time, thread);
        timeDependent = list && (channel->getPendingFlag() || channel->isTimeDependent());
        texts()[index].hardenIfNeeded(myLock, out.nonNullStr());
    } else {
        texts()[index].get(myLock, out);
    }
    setTimeDependent(index, timeDependent);
    if (timeDependent && !animatible && channel->isStringTimeDependentSlow(thread)) {
        addParmWarning(ZEL_ERR_TIME_DEPENDENT);
    }
}

int ZEL_String::getExpandFlags() const
{
    constexpr int theBoth = TRK_EXPAND_VARIABLES | TRK_EXPAND_EXPRESSIONS;
    if (getType().hasStringType(
            ZEL_Type::ZEL_StringType(ZEL_Type::ZEL_STR_CMD | ZEL_Type::ZEL_STR_PATH))) {
        return theBoth | TRK_EXPAND_HOME;
    }
    static const KIT_StringHolder theToken(ZEL_SpareData::getEditorLanguageToken());
    const ZEL_SpareData *spare = getTemplatePtr()->getSparePtr();
    const char *language = spare ? spare->getValue(theToken) : nullptr;
    const bool shaderCode = language && ::strcasecmp(language, "ksl") == 0;
    return shaderCode ? theBoth | TRK_EXPAND_CODE : theBoth;
}

void ZEL_String::expandStored(ZEL_ParmList *list, double time, KIT_String &out, int index,
                              int thread, TRK_Collection *collection) const
{
    KIT_WorkBuffer text;
    getStored(index, text);
    if (text.isEmpty()) {
        noteTimeDependent(false);
        out.harden("");
        return;
    }
    TRK_EvalContext::Scope context(thread);
    context.setCollection(collection);
    context.setChannelName(getChannelToken(index).nonNullStr());
    const EVL::ErrorScope error(thread, EVL::ErrorScope::CLEARED);
    // The text's variables may be the application's.
    const ZEL_Multi::KeepItems keep;
    const int result = TRK_Manager::getContext().expandString(
        text.buffer(), out, time, collection, thread, getExpandFlags(), &texts()[index]);
    if (error.number() != EVL::EVL_OK) {
        evaluationError(list, index, error.number(), thread);
    }
    setTimeDependent(index, (result & TRK_EXPAND_TIME_DEPENDENT) != 0);
}

/// Inlined, as each read of a text passes here.
inline __attribute__((always_inline)) bool ZEL_String::readValue(ZEL_ParmList *list, double time,
                                                                 KIT_String &out, int index,
                                                                 bool expand, int thread) const
{
    if (ownerFails(list, time, index, thread)) {
        out.clear();
        return true;
    }
    // Only now: the owner may just have made an override. Without a record there is none, nor a channel.
    const Rare *const record = rare();
    // The owner is asked at the caller's time, an override at that of the value.
    if (record && hasOverrideData() &&
        evalOverrideValueImpl(list, getType().isAnimatible() ? time : 0.0, index, thread, out)) {
        return false;
    }
    if (getVectorSize() == 0) {
        out.harden("");
        return true;
    }
    if (!validIndex(index) || (record && record->channel(index))) {
        evalValue(list, time, index, thread, out);
    } else if (!expand) {
        texts()[index].get(myLock, out);
    } else if (TRK_Collection *collection = getChannelGroupPtr()) {
        expandStored(list, time, out, index, thread, collection);
    } else {
        evalValue(list, time, index, thread, out);
    }
    return true;
}

void ZEL_String::getValue(ZEL_ParmList *list, double time, KIT_String &value, int index,
                          bool expand, int thread) const
{
    if (!readValue(list, time, value, index, expand, thread)) {
        return;
    }
    const ZEL_Type &type = getType();
    if (type.hasStringType(ZEL_Type::ZEL_STR_ALPHA)) {
        value.forceAlphaNumeric();
    }
    if (expand && type.getStringType() == ZEL_Type::ZEL_STR_PATH) {
        if (ZEL_ParmOwner *owner = getParmOwner()) {
            const ZEL_Multi::KeepItems keep;
            owner->adjustExpandedPath(value);
        }
    }
}

KIT_String ZEL_String::textOfNumber(ZEL_ParmList *list, double time, int index, int thread) const
{
    KIT_String text;
    getValue(list, time, text, index, true, thread);
    if (!TRK_Manager::countTextRead(text.nonNullStr(), thread)) {
        text.clear();
    }
    return text;
}

void ZEL_String::getValue(ZEL_ParmList *list, double time, double &value, int index,
                          int thread) const
{
    const KIT_String text = textOfNumber(list, time, index, thread);
    value = BASparseFloat(text.c_str());
}

void ZEL_String::getValue(ZEL_ParmList *list, double time, std::int64_t &value, int index,
                          int thread) const
{
    const KIT_String text = textOfNumber(list, time, index, thread);
    value = BASparseInteger(text.c_str(), 10);
}

void ZEL_String::getValue(ZEL_ParmList *list, double time, int &value, int index, int thread) const
{
    const KIT_String text = textOfNumber(list, time, index, thread);
    value = ZELparseInt(text.c_str());
}

// -------------------------------------------------------------------------- //
// Expressions
// -------------------------------------------------------------------------- //

bool ZEL_String::isExpression(const char *, TRK_StringMeaning meaning, const ZEL_Template *)
{
    return meaning == TRK_MEANING_NATIVE || meaning == TRK_MEANING_PYTHON ||
           meaning == TRK_MEANING_COLLECTION;
}

void ZEL_String::getExpression(double time, KIT_String &text, int index, bool expand,
                               int thread) const
{
    const int overridden = getExpressionOverride(time, text, index, thread, false);
    if (overridden == -1 || !validIndex(index)) {
        return;
    }
    const TRK_Channel *channel = getChannel(index);
    if (getType().hasStringType(ZEL_Type::ZEL_STR_LABEL)) {
        texts()[index].get(myLock, text);
    } else if (channel && overridden != 1) {
        if (channel->getPendingFlag()) {
            text = channel->getDefaultString();
        } else {
            channel->getExpression(time, text);
        }
    } else if (overridden == 1 && expand) {
        getValue(getParmList(), time, text, index, true, thread);
    } else {
        KIT_WorkBuffer stored;
        KIT_WorkBuffer expression;
        getStored(index, stored);
        convertToExprLanguage(stored.buffer(), expression);
        expression.copyIntoString(text);
    }
}

void ZEL_String::getExpressionStringForUI(double time, KIT_String &text, int index,
                                          int thread) const
{
    if (getExpressionOverride(time, text, index, thread, true) != 0) {
        return;
    }
    if (validIndex(index) && getChannel(index)) {
        getExpression(time, text, index, true, thread);
    } else {
        getValue(getParmList(), time, text, index, true, thread);
    }
}

bool ZEL_String::rewriteMenuReference(KIT_String &text, bool bare) const
{
    if (!hasMenu() || !isChanRefString(text.nonNullStr(), bare, nullptr)) {
        return false;
    }
    text.substitute("ch(", "chs(");
    return true;
}

void ZEL_String::setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                               bool evaluate, bool deleteChannel)
{
    if (!validIndex(index)) {
        indexError(index);
        return;
    }
    if (!getChannel(index) && language == TRK_LANGUAGE_NATIVE) {
        setValue(time, text, TRK_MEANING_NATIVE, false, index, ZEL_ADDKEY_PENDING,
                 ZEL_KEYSET_PREFERENCE);
        return;
    }
    KIT_String expression(text ? text : "", true);
    if (language != TRK_LANGUAGE_PYTHON && !rewriteObsoleteReference(expression, "chs")) {
        rewriteMenuReference(expression, true);
    }
    TRK_Channel *channel =
        putExpression(time, expression.nonNullStr(), language, index, deleteChannel);
    const TRK_Collection *collection = getChannelGroupPtr();
    if (channel && evaluate && collection) {
        KIT_String result;
        collection->evaluateString(result, channel, time, BASgetSTID());
        storeText(index, result.c_str());
    }
}

// -------------------------------------------------------------------------- //
// Setting
// -------------------------------------------------------------------------- //

void ZEL_String::setValue(double time, const std::shared_ptr<const ZEL_DataItem> &,
                          bool replaceExpression, int index, ZEL_AddKeyType addKey,
                          ZEL_KeySetType keySet)
{
    setValue(time, static_cast<const char *>(nullptr), TRK_MEANING_LITERAL, replaceExpression,
             index, addKey, keySet);
}

void ZEL_String::setValue(double time, std::int64_t value, bool replaceExpression, int index,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    KIT_String text;
    text.itoa(value);
    setValue(time, text.c_str(), TRK_MEANING_LITERAL, replaceExpression, index, addKey, keySet);
}

void ZEL_String::setValue(double time, double value, bool replaceExpression, int index,
                          ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    KIT_Digits digits;
    digits.reset(value, 0, -1);
    setValue(time, digits.buffer(), TRK_MEANING_LITERAL, replaceExpression, index, addKey, keySet);
}

void ZEL_String::setValue(double time, const char *text, TRK_StringMeaning meaning,
                          bool replaceExpression, int index, ZEL_AddKeyType addKey,
                          ZEL_KeySetType keySet)
{
    if (!validIndex(index)) {
        indexError(index);
        return;
    }
    // Copy first: `text` may be the stored text.
    const KIT_String given(text ? text : "", true);
    if (!setOverrideString(time, given.nonNullStr(), replaceExpression, index, addKey, keySet)) {
        return;
    }
    if (meaning != TRK_MEANING_LITERAL && !getChannel(index)) {
        const int thread = BASgetSTID();
        {
            ZEL_AutoBlockErrors blockErrors(thread);
            addChannel(index, given.nonNullStr(), stringMeaningToExprLanguage(meaning));
        }
        if (!getChannel(index) && getChannelGroupPtr()) {
            addParmWarning(ZEL_ERR_CHANNEL_NAME);
        }
        if (getDefaultsInitFlag()) {
            // Compile the expression now, with its errors suppressed.
            ZEL_AutoBlockErrors blockErrors(thread);
            tryExpression(time, index, thread);
        }
    }
    if (TRK_Channel *channel = getChannel(index)) {
        setChannelText({channel, time, replaceExpression, index, addKey, keySet},
                       given.nonNullStr(), meaning);
    } else {
        storeLiteral(index, given.nonNullStr());
    }
    condenseStored(index);
}

void ZEL_String::tryExpression(double time, int index, int thread)
{
    // Of the value nothing is used but what stays stored, so no script need run for it.
    const TRK_EvalContext::NoScripts noScripts;
    KIT_String unused;
    evalValue(nullptr, time, index, thread, unused);
}

void ZEL_String::storeLiteral(int index, const char *text)
{
    KIT_String literal(text, true);
    if (!rewriteMenuReference(literal, false)) {
        rewriteObsoleteReference(literal, "chs", "`");
    }
    storeText(index, literal.c_str());
}

void ZEL_String::buildKeyText(const TRK_Channel *channel, double time, const char *text,
                              KIT_WorkBuffer &out) const
{
    const TRK_ExprLanguage language = channel->getExprLanguageAtTime(time);
    if (language == TRK_LANGUAGE_NATIVE) {
        KIT_String literal(text, true);
        rewriteMenuReference(literal, false);
        convertToExprLanguage(literal.c_str(), out);
    } else if (language == TRK_LANGUAGE_PYTHON) {
        createPythonExpressionEvaluatingToStringLiteral(text, out);
    } else {
        out.append(text);
    }
}

void ZEL_String::setChannelText(const ChannelSet &set, const char *text, TRK_StringMeaning meaning)
{
    const bool literal = meaning == TRK_MEANING_LITERAL;
    KIT_WorkBuffer key;
    if (literal) {
        buildKeyText(set.channel, set.time, text, key);
    } else {
        key.append(text);
    }
    const int thread = BASgetSTID();
    ZEL_AutoBlockErrors blockErrors(thread);
    KIT_String current;
    if (literal) {
        evalValue(nullptr, set.time, set.index, thread, current);
    } else {
        tryExpression(set.time, set.index, thread);
    }
    if (!literal) {
        set.channel->setKeyString(key.buffer(), set.time, stringMeaningToExprLanguage(meaning),
                                  true, commitFlag(set.keySet), false);
    } else if (current.compare(text) != 0) {
        set.channel->setKeyString(key.buffer(), set.time, true, commitFlag(set.keySet), false);
    } else {
        return;
    }
    // Strings aren't keyed as a whole tuple, as numbers are.
    hardenSet(set);
}

void ZEL_String::condenseStored(int index)
{
    if (KIT_EnvControl::getInt(KIT_ENV_CONDENSE_PATHS) == 0 || !getChannelGroupPtr()) {
        return;
    }
    KIT_WorkBuffer path;
    getStored(index, path);
    if (KIT_PathSearch::condenseScn(path)) {
        storeText(index, path.buffer());
    }
}

void ZEL_String::setDefaultChannelValue(TRK_Channel *channel, int index)
{
    if (validIndex(index)) {
        KIT_WorkBuffer stored;
        KIT_WorkBuffer expression;
        getStored(index, stored);
        convertToExprLanguage(stored.buffer(), expression);
        channel->setDefaultString(expression.buffer());
    }
}

void ZEL_String::hardenChanges(double time, int index, bool force, const char *pattern,
                               KIT_Array<TRK_ChannelRef> *collect)
{
    TRK_Channel *channel = channelToHarden(time, index, force, pattern, collect);
    if (!channel) {
        return;
    }
    KIT_WorkBuffer expression;
    if (channel->isPending(time)) {
        expression.append(channel->getDefaultString());
    } else {
        KIT_String value;
        evalValue(nullptr, time, index, BASgetSTID(), value);
        convertToExprLanguage(value.c_str(), expression);
    }
    storeText(index, expression.buffer());
    constexpr bool notify = true;
    constexpr bool commit = true;
    constexpr bool keyOnly = true;
    if (channel->isAtHardKey(time) &&
        channel->setKeyString(expression.buffer(), time, notify, commit, keyOnly) == 0) {
        return;
    }
    insertHardKey(channel, time, [&] {
        channel->changeExpression(time, expression.buffer(), channel->getExprLanguageAtTime(time),
                                  false);
    });
}

// -------------------------------------------------------------------------- //
// Queries
// -------------------------------------------------------------------------- //

bool ZEL_String::getMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, double time,
                                bool addIfDefault, int thread) const
{
    if (size == 0) {
        return false;
    }
    const auto read = [&](int index, KIT_String &value) {
        getValue(list, time, value, index, true, thread);
    };
    const auto append = [&](int index, const KIT_String &value) {
        tokens.append(value.nonNullStr());
        KIT_String raw;
        getValue(list, time, raw, index, false, thread);
        if (raw != value) {
            tokens.append(raw.nonNullStr());
        }
    };
    return buildMagicString<KIT_String>(tokens, list, size, addIfDefault, thread, read, append);
}

bool ZEL_String::isEditable(ZEL_ParmList *, double, int) const
{
    constexpr int theReadOnlyState = 1;
    ZEL_ParmOwner *owner = getValueState() ? getParmOwner() : nullptr;
    const ZEL_Multi::KeepItems keep;
    return !owner || owner->getParmEditState() != theReadOnlyState;
}

bool ZEL_String::isEditableByUI(ZEL_ParmList *list, double time, int index) const
{
    if (!getValueState()) {
        return true;
    }
    const int thread = BASgetSTID();
    KIT_String raw;
    KIT_String expanded;
    getValue(list, time, raw, index, false, thread);
    getValue(list, time, expanded, index, true, thread);
    return raw == expanded;
}

std::int64_t ZEL_String::getMemoryUsage(bool inclusive) const
{
    std::int64_t bytes = inclusive ? std::int64_t(sizeof(*this)) : 0;
    for (int i = 0; i < getVectorSize(); ++i) {
        bytes += texts()[i].getMemoryUsage();
    }
    return bytes + ZEL_ValueInstance::getMemoryUsage(false);
}
