// A float's values as arguments of a command line.

#include <ZEL/ZEL_Float.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Manager.h>

#include <cstring>
#include <ostream>
#include <vector>

namespace
{

double commandTime(const TRK_Collection *collection)
{
    return collection ? TRK_Manager::getContext().getEvaluateTime(BASgetSTID()) : 0.0;
}

} // namespace

double ZEL_Float::commandValue(int index) const
{
    const TRK_Collection *collection = getChannelGroupPtr();
    const double time = commandTime(collection);
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
    if (channel && !collection) {
        collection = channel->getCollection();
    }
    return channel && collection ? collection->evaluate(channel, time, false, BASgetSTID())
                                 : storedValue(index);
}

void ZEL_Float::saveCommand(std::ostream &os, int values, int index) const
{
    const int first = validIndex(index) ? index : 0;
    const int end = validIndex(index) ? index + 1 : getVectorSize();
    const std::streamsize precision = os.precision();
    os << " (";
    for (int i = first; i < end; ++i) {
        os << ' ';
        const TRK_Channel *channel = getChannel(i);
        if (values == 0 && channel) {
            os << channel->getName().nonNullStr();
        } else {
            KIT_Digits digits;
            digits.reset(commandValue(i), 0, -1);
            os << digits.buffer();
        }
    }
    os << " )";
    os.precision(precision);
    KITcheckOutStream(os, "Float Parameter Save", nullptr);
}

int ZEL_Float::loadCommand(int argc, const char *const argv[], int index, bool asSet,
                           ZEL_AddKeyType addKey, ZEL_KeySetType keySet)
{
    constexpr int theInlineSize = 8;
    TRK_Channel *inlineChannels[theInlineSize] = {};
    std::vector<TRK_Channel *> heapChannels;
    TRK_Channel **held = inlineChannels;
    const int first = validIndex(index) ? index : 0;
    const int end = validIndex(index) ? index + 1 : getVectorSize();
    if (getVectorSize() > theInlineSize) {
        heapChannels.resize(std::size_t(getVectorSize()));
        held = heapChannels.data();
    }
    for (int i = first; !asSet && i < end; ++i) {
        if (!getLockedFlag(i)) {
            held[i] = getChannel(i);
            setChannel(i, nullptr);
        }
    }
    return loadArguments(argc, argv, first, end, asSet, addKey, keySet, held);
}

int ZEL_Float::loadArguments(int argc, const char *const argv[], int first, int end, bool asSet,
                             ZEL_AddKeyType addKey, ZEL_KeySetType keySet, TRK_Channel **held)
{
    TRK_Collection *collection = getChannelGroupPtr();
    int used = 0;
    const bool opened = argc > 0 && argv[0][0] == '(';
    if (opened) {
        ++used;
    }
    for (int i = first; i < end && used < argc && std::strcmp(argv[used], ")") != 0; ++i) {
        const char *argument = argv[used++];
        if (getLockedFlag(i)) {
            continue;
        }
        const KIT_String text(argument);
        if (!text.isFloat(false, false, false)) {
            loadTokenAsChannelNameOrExpression(argument, i);
        } else if (asSet) {
            setValue(commandTime(collection), text.toFloat(), false, i, addKey, keySet);
        } else {
            if (held[i] && collection) {
                collection->deleteChannel(held[i]);
                held[i] = nullptr;
            }
            BASstore(myValues[i], text.toFloat());
            setDirtyFlags(i);
        }
    }
    // Unlike the loop's test of the whole word, the closing one looks at the first character only.
    if (opened && used < argc && argv[used][0] == ')') {
        ++used;
    }
    return used;
}
