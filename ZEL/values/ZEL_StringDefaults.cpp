// The defaults of a string.

#include <ZEL/ZEL_String.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/support/ZEL_NumberPrivate.h>
#include <ZEL/values/ZEL_ValueInstancePrivate.h>

#include <cstring>

void ZEL_String::getDefaultValue(KIT_String &value, int index) const
{
    if (validIndex(index)) {
        const ZEL_Default *record = defaultOf(index);
        value.harden(record ? record->getString() : "");
    }
}

void ZEL_String::getDefaultValue(double &value, int index) const
{
    if (validIndex(index)) {
        KIT_String text;
        getDefaultValue(text, index);
        value = BASparseFloat(text.c_str());
    }
}

void ZEL_String::getDefaultValue(std::int64_t &value, int index) const
{
    if (validIndex(index)) {
        KIT_String text;
        getDefaultValue(text, index);
        value = BASparseInteger(text.c_str(), 10);
    }
}

void ZEL_String::getDefaultValue(int &value, int index) const
{
    std::int64_t wide = value;
    getDefaultValue(wide, index);
    value = ZELclampToInt(wide);
}

void ZEL_String::revertToDefaultWithoutRemovingChannel(double time, int index,
                                                       ZEL_AddKeyType addKey)
{
    if (!validIndex(index)) {
        return;
    }
    const ZEL_Default *record = defaultOf(index);
    const char *text = record ? record->getString() : "";
    const TRK_StringMeaning meaning = record ? record->getStringMeaning() : TRK_MEANING_LITERAL;
    if (!getChannel(index) && meaning == TRK_MEANING_LITERAL) {
        storeText(index, text);
    } else {
        setValue(time, text, meaning, false, index, addKey, ZEL_KEYSET_PREFERENCE);
    }
}

void ZEL_String::revertToDefault(int index)
{
    if (!validIndex(index)) {
        return;
    }
    removeChannel(index);
    const double time = getChannelGroupPtr() ? TRK_Manager::getContext().getCurrentTime() : 0.0;
    revertToDefaultWithoutRemovingChannel(time, index, ZEL_ADDKEY_PENDING);
    setDefaultsInitFlag(true);
}

void ZEL_String::revertToDefaults(bool deleteChannels)
{
    const double time = getChannelGroupPtr() ? TRK_Manager::getContext().getCurrentTime() : 0.0;
    revertComponents(deleteChannels, [this, time](int index) {
        revertToDefaultWithoutRemovingChannel(time, index, ZEL_ADDKEY_PENDING);
    });
}

void ZEL_String::setValueToDefault(double time, int index, ZEL_AddKeyType addKey)
{
    if (validIndex(index)) {
        revertToDefaultWithoutRemovingChannel(time, index, addKey);
        setDefaultsInitFlag(true);
    }
}

void ZEL_String::restoreFactoryDefault(int index)
{
    restoreFactory(index, [this, index] { getTemplatePtr()->setStringDefault(index, ""); });
}

void ZEL_String::overwriteDefault(double, int index)
{
    if (validIndex(index)) {
        getTemplatePtr()->setStringDefault(index, texts()[index].unsafeGet());
    }
}

bool ZEL_String::isFactoryText(const TRK_Channel &channel, const ZEL_Default &factory) const
{
    return *factory.getString() && factory.getStringMeaning() != TRK_MEANING_LITERAL &&
           std::strcmp(channel.getFirstSegment()->getExpression(), factory.getString()) == 0;
}

bool ZEL_String::isDefault(int index, ZEL_DefaultType type, bool checkLocks) const
{
    if (!validIndex(index) || !ZEL_ValueInstance::isDefault(index, type, checkLocks)) {
        return false;
    }
    const TRK_Channel *channel = getChannel(index);
    if (channel && channel->getNSegments() != 1) {
        return false;
    }
    const TRK_StringMeaning meaning = getStringMeaning(0.0, index);
    KIT_WorkBuffer stored;
    getStored(index, stored);
    const ZEL_Default *current = currentDefault(index);
    if ((type & ZEL_DEFAULT_CURRENT) && current) {
        return stored.view() == current->getString() && meaning == current->getStringMeaning();
    }
    const ZEL_Default *factory = factoryDefault(index);
    if (type & ZEL_DEFAULT_FACTORY_EXPRESSION) {
        if (factory ? factory->getStringMeaning() != meaning : channel != nullptr) {
            return false;
        }
        if (channel) {
            return isFactoryText(*channel, *factory);
        }
    }
    if ((type & ZEL_DEFAULT_FACTORY_VALUE) && factory) {
        return stored.view() == factory->getString();
    }
    return stored.isEmpty();
}
