// A string's values as arguments of a command line.

#include <ZEL/ZEL_String.h>

#include <BAS/BAS_Thread.h>
#include <CON/CON_Manager.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/instance/ZEL_ValueFramesPrivate.h>

void ZEL_String::commandText(int index, KIT_String &text) const
{
    const double time = commandTime();
    KIT_StringHolder overriding;
    int overridden = 0;
    saveCommandOverride(index, time, overriding, overridden);
    if (overridden) {
        text = overriding;
        return;
    }
    const TRK_Channel *channel = getChannel(index);
    const TRK_Collection *collection = evaluationCollection(channel);
    if (!shouldSaveData()) {
        getDefaultValue(text, index);
    } else if (channel && collection) {
        collection->evaluateString(text, channel, time, BASgetSTID());
    } else {
        text = texts()[index].unsafeGet();
    }
}

void ZEL_String::saveCommand(std::ostream &os, int values, int index) const
{
    ZEL_ValueFrames::saveCommand(*this, os, values, index, [&](int i) {
        KIT_String text;
        commandText(i, text);
        CON_Manager::saveProtectedString(os, text.nonNullStr());
    });
    KITcheckOutStream(os, "String Parameter Save", nullptr);
}

int ZEL_String::loadCommand(int argc, const char *const argv[], int index, bool asSet,
                            ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    const auto read = [&](const char *argument, int i, HeldChannels &held) {
        KIT_String token(argument, true);
        if (isChannelToken(token, i)) {
            loadTokenAsChannelNameOrExpression(argument, i);
        } else if (asSet) {
            setValue(commandTime(), argument, TRK_MEANING_LITERAL, false, i, addKey, keySet);
        } else {
            ZEL_ValueFrames::deleteHeldChannel(*this, held, i);
            CON_Manager::expandControlSequences(token);
            storeText(i, token.c_str());
        }
    };
    return ZEL_ValueFrames::loadCommand(*this, argc, argv, index, asSet, read);
}
