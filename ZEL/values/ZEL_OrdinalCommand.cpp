// An ordinal's values as arguments of a command line.

#include <ZEL/values/ZEL_OrdinalPrivate.h>

#include <BAS/BAS_Thread.h>
#include <CON/CON_Manager.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_Write.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>

#include <ostream>

std::int64_t ZEL_Ordinal::commandValue(int index) const
{
    const double time = commandTime();
    std::int64_t value = 0;
    int overridden = 0;
    saveCommandOverride(index, time, value, overridden);
    if (overridden) {
        return value;
    }
    if (!shouldSaveData()) {
        getDefaultValue(value, index);
        return value;
    }
    const TRK_Channel *channel = getChannel(index);
    if (!channel || !channelValue(channel, time, BASgetSTID(), value)) {
        value = getInternalValue(index);
    }
    return value;
}

void ZEL_Ordinal::saveCommand(std::ostream &os, int values, int index) const
{
    if (os.fail()) {
        return;
    }
    ZEL_ValueFrames::saveCommand(*this, os, values, index, [&](int i) {
        const std::int64_t value = commandValue(i);
        // Constructed after the evaluation, which may itself request menus.
        Choices choices(*this);
        KIT_WorkBuffer number;
        const char *word = choices.word(value, number);
        if (usesTokenValue()) {
            KIT_String(word).save(os, false);
        } else if (word) {
            CON_Manager::saveProtectedString(os, word);
        } else {
            number.appendNumber(value);
            os << number.buffer();
        }
    });
    KITcheckOutStream(os, "Ordinal Parameter Save", nullptr);
}

int ZEL_Ordinal::loadCommand(int argc, const char *const argv[], int index, bool asSet,
                             ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    const auto read = [&](const char *argument, int i, HeldChannels &held) {
        loadArgument(argument, i, held, asSet, addKey, keySet);
    };
    return ZEL_ValueFrames::loadCommand(*this, argc, argv, index, asSet, read);
}

void ZEL_Ordinal::loadArgument(const char *argument, int index, HeldChannels &held, bool asSet,
                               ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    setInternalValue(index, 0);
    KIT_String word(argument, true);
    if (word.isInteger(0)) {
        if (asSet) {
            setValue(commandTime(), word.toInteger(), false, index, addKey, keySet);
        } else {
            ZEL_ValueFrames::deleteHeldChannel(*this, held, index);
            setInternalValue(index, word.toInteger());
        }
        return;
    }
    CON_Manager::expandControlSequences(word);
    bool ok = false;
    const std::int64_t value = quietTokenToInt(word.nonNullStr(), ok);
    if (ok) {
        // Stored unchanged, whether the command sets or loads. No channel is deleted: after a set
        // it still drives the component, after a load its slot is empty.
        setInternalValue(index, value);
    } else {
        loadTokenAsChannelNameOrExpression(word.nonNullStr(), index);
    }
}
