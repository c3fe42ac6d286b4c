#include <ZEL/ZEL_Parm.h>

#include <BAS/BAS_Thread.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/list/ZEL_KindPrivate.h>

#include <algorithm>

namespace
{

constexpr int theAllComponents = -1;

} // namespace

// ---------------------------------------------------------------------- //
// Values out
// ---------------------------------------------------------------------- //

void ZEL_Parm::getValue(double time, KIT_String &value, int index, bool expand, int thread) const
{
    if (myInstance) {
        myInstance->getValue(myParmList, time, value, index, expand, thread);
    } else {
        value = "";
    }
}

void ZEL_Parm::getValue(double time, KIT_StringHolder &value, int index, bool expand,
                        int thread) const
{
    KIT_String text;
    getValue(time, text, index, expand, thread);
    value = KIT_StringHolder(text);
}

void ZEL_Parm::getValue(double time, std::shared_ptr<const ZEL_DataItem> &value, int index,
                        int thread) const
{
    if (myInstance) {
        myInstance->getValue(myParmList, time, value, index, thread);
    } else {
        value.reset();
    }
}

void ZEL_Parm::getValue(double time, KIT_JSONValueMap &value, int index, bool expand,
                        int thread) const
{
    if (myInstance) {
        myInstance->getValue(myParmList, time, value, index, expand, thread);
    }
}

void ZEL_Parm::getExpressionOnly(double time, KIT_String &text, int index, int thread) const
{
    if (myInstance) {
        myInstance->getExpression(time, text, index, false, thread);
    } else {
        text = "";
    }
}

void ZEL_Parm::getExpressionOrValue(double time, KIT_String &text, int index, int thread) const
{
    if (myInstance) {
        myInstance->getExpression(time, text, index, true, thread);
    } else {
        text = "";
    }
}

void ZEL_Parm::getExpressionStringForUI(double time, KIT_String &text, int index, int thread) const
{
    if (myInstance) {
        myInstance->getExpressionStringForUI(time, text, index, thread);
    } else {
        text = "";
    }
}

// ---------------------------------------------------------------------- //
// Values in
// ---------------------------------------------------------------------- //

bool ZEL_Parm::acceptsChange(double time, int index) const
{
    return myInstance && !myInstance->getLockedFlag(index) &&
           myInstance->isEditable(myParmList, time, index);
}

template <class T>
bool ZEL_Parm::applyValue(double time, const T &value, bool replaceExpression, int index,
                          ZEL_AddKeyType addKey, bool propagate)
{
    if (!acceptsChange(time, index)) {
        return false;
    }
    myInstance->setValue(time, value, replaceExpression, index, getAddKeyValue(addKey),
                         ZEL_KEYSET_PREFERENCE);
    if (propagate) {
        announceValue(index);
    }
    return true;
}

bool ZEL_Parm::setValue(double time, double value, bool replaceExpression, int index,
                        ZEL_AddKeyType addKey, bool propagate)
{
    return applyValue(time, value, replaceExpression, index, addKey, propagate);
}

bool ZEL_Parm::setValue(double time, std::int64_t value, bool replaceExpression, int index,
                        ZEL_AddKeyType addKey, bool propagate)
{
    return applyValue(time, value, replaceExpression, index, addKey, propagate);
}

bool ZEL_Parm::setValue(double time, int value, bool replaceExpression, int index,
                        ZEL_AddKeyType addKey, bool propagate)
{
    return applyValue(time, value, replaceExpression, index, addKey, propagate);
}

bool ZEL_Parm::setValue(double time, const std::shared_ptr<const ZEL_DataItem> &value,
                        bool replaceExpression, int index, ZEL_AddKeyType addKey, bool propagate)
{
    return applyValue(time, value, replaceExpression, index, addKey, propagate);
}

bool ZEL_Parm::setValue(double time, const char *text, TRK_StringMeaning meaning,
                        bool replaceExpression, int index, ZEL_AddKeyType addKey, bool propagate)
{
    if (!acceptsChange(time, index)) {
        return false;
    }
    myInstance->setValue(time, text, meaning, replaceExpression, index, getAddKeyValue(addKey),
                         ZEL_KEYSET_PREFERENCE);
    if (propagate) {
        announceValue(index);
    }
    return true;
}

template <class T>
bool ZEL_Parm::applyValues(double time, const T *values, bool replaceExpression,
                           ZEL_AddKeyType addKey, bool propagate)
{
    if (!myInstance) {
        return false;
    }
    const ZEL_AddKeyType key = getAddKeyValue(addKey);
    bool changed = false;
    if (!myInstance->getLockedFlag(-1)) {
        myInstance->setValues(time, values, replaceExpression, key, ZEL_KEYSET_PREFERENCE);
        changed = getVectorSize() > 0;
    } else {
        for (int i = getVectorSize() - 1; i >= 0; --i) {
            if (!myInstance->getLockedFlag(i)) {
                myInstance->setValue(time, values[i], replaceExpression, i, key,
                                     ZEL_KEYSET_PREFERENCE);
                changed = true;
            }
        }
    }
    if (propagate) {
        announceValue(theAllComponents);
    }
    return changed;
}

bool ZEL_Parm::setValues(double time, const double *values, bool replaceExpression,
                         ZEL_AddKeyType addKey, bool propagate)
{
    return applyValues(time, values, replaceExpression, addKey, propagate);
}

bool ZEL_Parm::setValues(double time, const std::int64_t *values, bool replaceExpression,
                         ZEL_AddKeyType addKey, bool propagate)
{
    return applyValues(time, values, replaceExpression, addKey, propagate);
}

bool ZEL_Parm::setExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                             bool evaluate, bool deleteChannel, bool propagate)
{
    if (!acceptsChange(time, index)) {
        return false;
    }
    myInstance->setExpression(time, text, language, index, evaluate, deleteChannel);
    if (propagate) {
        announceValue(index);
    }
    return true;
}

// ---------------------------------------------------------------------- //
// Defaults
// ---------------------------------------------------------------------- //

void ZEL_Parm::revertToDefault(double time, int index, bool propagate)
{
    if (!myInstance || myInstance->getLockedFlag(index)) {
        return;
    }
    if (!getType().isVisible() && !getRevertInvisibleToDefaultsFlag()) {
        return;
    }
    if (getDestructiveRevertToDefaultFlag()) {
        myInstance->revertToDefault(index);
    } else {
        myInstance->setValueToDefault(time, index, getAddKeyValue(ZEL_ADDKEY_PENDING));
    }
    if (propagate) {
        announceValue(index);
    }
}

void ZEL_Parm::revertToDefaults(double time)
{
    for (int i = 0; i < getVectorSize(); ++i) {
        revertToDefault(time, i, true);
    }
}

void ZEL_Parm::restoreFactoryDefaults()
{
    if (myInstance) {
        myInstance->getTemplatePtr()->restoreFactoryDefaults();
    }
}

void ZEL_Parm::overwriteDefault(double time, int index)
{
    if (myInstance) {
        myInstance->overwriteDefault(time, index);
    }
}

void ZEL_Parm::overwriteDefaults(double time)
{
    if (myInstance) {
        myInstance->overwriteDefaults(time);
    }
}

bool ZEL_Parm::isTrueFactoryDefault() const
{
    constexpr ZEL_DefaultType theFactory =
        ZEL_DefaultType(ZEL_DEFAULT_FACTORY_EXPRESSION | ZEL_DEFAULT_FACTORY_VALUE);
    for (int i = 0; i < getVectorSize(); ++i) {
        if (!myInstance->isDefault(i, theFactory, true)) {
            return false;
        }
    }
    return true;
}

// ---------------------------------------------------------------------- //
// Copying
// ---------------------------------------------------------------------- //

bool ZEL_Parm::isCompatible(const ZEL_Parm &other) const
{
    return getTokenRef() == other.getTokenRef() && getType() == other.getType() &&
           getVectorSize() == other.getVectorSize();
}

void ZEL_Parm::copyParm(const ZEL_Parm &source)
{
    ZEL_Multi *multi = asMulti();
    const ZEL_Multi *sourceMulti = source.asMulti();
    if (multi && sourceMulti) {
        multi->copy(sourceMulti);
        return;
    }
    const int size = std::min(getVectorSize(), source.getVectorSize());
    for (int i = 0; i < size; ++i) {
        constexpr bool replaceExpression = false;
        constexpr bool propagate = false;
        constexpr bool copyChannels = false;
        copyValue(0.0, i, source, i, replaceExpression, propagate, copyChannels, ZEL_ADDKEY_PENDING,
                  ZEL_KEYSET_PREFERENCE);
    }
}

bool ZEL_Parm::copyChannel(int index, const TRK_Channel &channel)
{
    myInstance->addChannel(getChannelToken(index));
    TRK_Channel *target = getChannel(index);
    if (!target) {
        return false;
    }
    target->copyContents(channel);
    return true;
}

void ZEL_Parm::copyValue(double time, int index, const ZEL_Parm &source, int sourceIndex,
                         bool replaceExpression, bool propagate, bool copyChannels,
                         ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    const int thread = BASgetSTID();
    if (!myInstance || !myInstance->validIndex(index)) {
        return;
    }
    {
        // Either one may belong to an item of the other.
        const ZEL_Multi::KeepItems keep;
        const bool hasSource = source.myInstance && source.myInstance->validIndex(sourceIndex);
        const TRK_Channel *channel = copyChannels ? source.getChannel(sourceIndex) : nullptr;
        if (channel && copyChannel(index, *channel)) {
            // The channel contains everything that there is to copy.
        } else if (!hasSource) {
            revertToDefaults(time);
        } else {
            ZEL_Kind::find(source.getType())
                .copyComponent({time, source, sourceIndex, *myInstance, index, replaceExpression,
                                addKey, keySet, thread});
        }

        const KIT_StringHolder &alias = source.getChannelAlias(sourceIndex);
        if (myParmList && alias != source.getChannelToken(sourceIndex)) {
            myParmList->setChannelAlias(this, index, alias);
        }
    }
    if (propagate) {
        announceValue(index);
    }
}

bool ZEL_Parm::isParmValueEqual(int index, const ZEL_Parm &other, int otherIndex, double time,
                                int thread) const
{
    const ZEL_Kind &kind = ZEL_Kind::find(getType());
    const ZEL_Kind &otherKind = ZEL_Kind::find(other.getType());
    const ZEL_Multi::KeepItems keep;
    const ZEL_Kind &broader = kind.breadth > otherKind.breadth ? kind : otherKind;
    return broader.equal({*this, index, other, otherIndex, time, thread});
}
