// A float's values as arguments of a command line.

#include <ZEL/ZEL_Float.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>

#include <ostream>

double ZEL_Float::commandValue(int index) const
{
    const double time = commandTime();
    double value = 0.0;
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
    const TRK_Collection *collection = channel ? evaluationCollection(channel) : nullptr;
    return collection ? collection->evaluate(channel, time, false, BASgetSTID())
                      : storedValue(index);
}

void ZEL_Float::saveCommand(std::ostream &os, int values, int index) const
{
    ZEL_ValueFrames::saveCommand(*this, os, values, index, [&](int i) {
        KIT_Digits digits;
        digits.reset(commandValue(i), 0, -1);
        os << digits.buffer();
    });
    KITcheckOutStream(os, "Float Parameter Save", nullptr);
}

int ZEL_Float::loadCommand(int argc, const char *const argv[], int index, bool asSet,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    const auto read = [&](const char *argument, int i, HeldChannels &held) {
        loadArgument(argument, i, held, asSet, addKey, keySet);
    };
    return ZEL_ValueFrames::loadCommand(*this, argc, argv, index, asSet, read);
}

void ZEL_Float::loadArgument(const char *argument, int index, HeldChannels &held, bool asSet,
                             ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    const KIT_String text(argument);
    if (!text.isFloat()) {
        loadTokenAsChannelNameOrExpression(argument, index);
    } else if (asSet) {
        setValue(commandTime(), text.toFloat(), false, index, addKey, keySet);
    } else {
        ZEL_ValueFrames::deleteHeldChannel(*this, held, index);
        BASstore(values()[index], text.toFloat());
        setDirtyFlags(index);
    }
}
