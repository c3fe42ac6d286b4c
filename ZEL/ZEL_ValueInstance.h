/// \file ZEL_ValueInstance.h
/// What floats, ordinals and strings share: how a component with an optional channel takes
/// defaults, keys, streams and command arguments, whatever a value is.
///
/// Vocabulary: *frame* = a member template that walks the components, a stream or arguments and
///             calls back for each value; *plain* = an entry without a channel, *linked* = one
///             with a channel; *held* = a channel taken out of its slot while a load decides
///             whether the component links it again.
/// Units:      as the base.
/// Ownership:  no data of its own.
/// Threads:    as the base.
/// Errors:     each frame reports what does not depend on the kind of value: "ZEL" 2, 3, 9 and the
///             common errors of binary streams. What a kind deliberately does otherwise is an
///             argument, or stays with the caller.
/// Cost:       frames are templates: a callback costs no call.
#pragma once

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_TokenString.h>
#include <KIT/KIT_Write.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_EventManager.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_Overridable.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <ostream>
#include <vector>

class ZEL_API ZEL_ValueInstance : public ZEL_Overridable
{
public:
    ZEL_ValueInstance(ZEL_Template *templatePtr, ZEL_Parm *parm)
        : ZEL_Overridable(templatePtr, parm)
    {}

    /// `overwriteDefault` for each component.
    void overwriteDefaults(double time) override;

    using ZEL_Overridable::getValue;
    /// There is no map form: nothing is written.
    void getValue(ZEL_ParmList *list, double time, KIT_JSONValueMap &value, int index, bool expand,
                  int thread) const override;
    /// There is no data item: the pointer is emptied.
    void getValue(ZEL_ParmList *list, double time, std::shared_ptr<const ZEL_DataItem> &value,
                  int index, int thread) const override;

    using ZEL_Overridable::setValue;
    /// Sets the integer 0, whatever the item: what callers of the old data form rely on.
    void setValue(double time, const std::shared_ptr<const ZEL_DataItem> &value,
                  bool replaceExpression, int index, ZEL_AddKeyType addKey,
                  ZEL_KeySetType keySet) override;
    /// The int64 form.
    void setValue(double time, int value, bool replaceExpression, int index, ZEL_AddKeyType addKey,
                  ZEL_KeySetType keySet) override;
    /// Marks all dirty at once, then sets the components in ascending order.
    void setValues(double time, const std::int64_t *values, bool replaceExpression,
                   ZEL_AddKeyType addKey, ZEL_KeySetType keySet) override;
    void setValues(double time, const double *values, bool replaceExpression, ZEL_AddKeyType addKey,
                   ZEL_KeySetType keySet) override;

protected:
    ZEL_ValueInstance(const ZEL_ValueInstance &source, ZEL_Parm *parm)
        : ZEL_Overridable(source, parm)
    {}

    // ------------------------------------------------------------------ //
    /// \name Numbers
    // ------------------------------------------------------------------ //
    ///@{
    /// Toward zero; what no integer can hold becomes the nearest one, a NaN 0.
    template <class T>
    static T truncated(double value);
    /// floor(value + 0.5): 2.5 gives 3, -0.5 gives 0.
    static double halvesUp(double value) { return std::floor(value + 0.5); }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Channels and keys
    // ------------------------------------------------------------------ //
    ///@{
    /// The list's collection, else the channel's own.
    TRK_Collection *evaluationCollection(const TRK_Channel *channel) const;
    /// What `setKeyValue` and `setKeyString` get as commit.
    static bool commitFlag(ZEL_KeySetType keySet);
    /// The language of a text that is no value: a literal meaning stands for the collection's.
    TRK_ExprLanguage expressionLanguage(TRK_StringMeaning meaning) const;
    /// Replaces the expression of the segment at a time by "constant()". True if there is a
    /// segment: then `stored` is its value. The pending mark goes in any case.
    static bool makeConstant(TRK_Channel *channel, double time, double &stored);
    /// Gives the component that expression, in a fresh channel with `deleteChannel`. Null when the
    /// component has no channel and can't be given one.
    TRK_Channel *putExpression(double time, const char *text, TRK_ExprLanguage language, int index,
                               bool deleteChannel);
    /// Turns the old direct channel reference, as in `!!ch(tx)`, into a call of `function`: what
    /// stands between backticks loses them, else `quote` takes the place of each "!!". False, and
    /// nothing changed, for any other text.
    static bool rewriteObsoleteReference(KIT_String &text, const char *function,
                                         const char *quote = "");

    /// The first half of `hardenChanges`: the channel that gets a key, null when nothing is left
    /// to do: nothing is pending, only the reference was collected, or the pattern excludes it.
    TRK_Channel *channelToHarden(double time, int index, bool force, const char *pattern,
                                 KIT_Array<TRK_ChannelRef> *collect);
    /// Its closing half: inserts a key and lets `change` fit what stands there, as one event.
    template <class Change>
    static void insertHardKey(TRK_Channel *channel, double time, const Change &change);
    /// Both cases of a number: sets the value of a hard key that is there, else inserts one.
    static void hardenNumber(TRK_Channel *channel, double time, double value);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Defaults
    // ------------------------------------------------------------------ //
    ///@{
    const ZEL_Default *currentDefault(int index) const
    {
        return getTemplatePtr()->getDefault(index);
    }
    /// Null for an invalid index, too.
    const ZEL_Default *factoryDefault(int index) const;
    /// The current default, else the factory's, else null. The index must be valid.
    const ZEL_Default *defaultOf(int index) const;
    /// The language of a default's text; 0 for a literal.
    static TRK_ExprLanguage defaultLanguage(const ZEL_Default &record);
    /// Whether the channel consists of the factory default's expression and nothing else.
    bool hasFactoryExpression(int index) const;
    /// The frame of `revertToDefaults`: `apply(index)` for each component.
    template <class Apply>
    void revertComponents(bool deleteChannels, const Apply &apply);
    /// The frame of `restoreFactoryDefault`: `clear()` where there are no factory defaults.
    template <class Clear>
    void restoreFactory(int index, const Clear &clear);
    /// `isDefault` of a number. `factory` may be null. `equals(record)` compares the stored value
    /// with a default, with 0 for null; `hasExpression(record)` tells a default's expression.
    template <class Equals, class HasExpression>
    bool isNumberDefault(int index, ZEL_DefaultType type, bool checkLocks,
                         const ZEL_Default *factory, const Equals &equals,
                         const HasExpression &hasExpression) const;
    ///@}

    /// The frame of `getMagicString`: `read(index, value)` for the components from the last to the
    /// first, then `append(index, value)` for those that aren't plain.
    template <class T, class Read, class Append>
    bool buildMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size, bool addIfDefault,
                          int thread, const Read &read, const Append &append) const;

    // ------------------------------------------------------------------ //
    /// \name Held channels
    // ------------------------------------------------------------------ //
    ///@{
    /// Channels taken out of their slots for the length of a load; no heap up to 8 components.
    class HeldChannels
    {
    public:
        explicit HeldChannels(int size);
        HeldChannels(const HeldChannels &) = delete;
        HeldChannels &operator=(const HeldChannels &) = delete;

        TRK_Channel *&operator[](int index) { return myChannels[index]; }
        /// No component holds the channel any longer.
        void forget(const TRK_Channel *channel);

    private:
        static constexpr int theInlineSize = 8;

        TRK_Channel *myInline[theInlineSize] = {};
        std::vector<TRK_Channel *> myHeap;
        TRK_Channel **myChannels = myInline;
        int mySize;
    };

    void holdChannel(HeldChannels &held, int index);
    void holdAllChannels(HeldChannels &held);
    /// Deletes the component's held channel from the collection, if there are both.
    void deleteHeldChannel(HeldChannels &held, int index);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Saving
    // ------------------------------------------------------------------ //
    ///@{
    /// Whether the stored value is saved and not the default: unless a channel drives it.
    bool savesStoredValue(int index) const
    {
        const TRK_Channel *channel = getChannel(index);
        return shouldSaveData() && (!channel || channel->getPendingFlag());
    }
    /// Option block and values. `writePlain(index)` writes an entry, `writeLinked(index)` the value
    /// between a channel's name and its closing bracket.
    /// `os` is a stream or a KIT_ByteBuffer.
    template <class Out, class WritePlain, class WriteLinked>
    void saveAsciiValues(Out &os, const WritePlain &writePlain,
                         const WriteLinked &writeLinked) const;
    /// `writePacket(packet, index)` for each component, then the closing packet. Options are the
    /// caller's.
    template <class WritePacket>
    void saveBinaryValues(std::ostream &os, int classId, const WritePacket &writePacket) const;
    /// The values as command arguments, all or one: channel names where there are channels and
    /// `values` is 0, else `writeValue(index)`.
    template <class WriteValue>
    void saveCommandValues(std::ostream &os, int values, int index, const char *label,
                           const WriteValue &writeValue) const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Loading
    // ------------------------------------------------------------------ //
    ///@{
    /// What the kinds of value do differently. Members that don't concern a form are ignored.
    struct LoadRules
    {
        int classId = 0;              ///< binary: of every packet
        int lastValueId = 0;          ///< binary: higher packet ids are options
        const char *label = "";       ///< binary: names the load in common messages
        bool warnTooFew = true;       ///< code 2 when components are missing
        bool warnTooMany = true;      ///< code 3 for what is past the last component
        bool wrongClassFails = false; ///< binary: a foreign packet fails the load or just ends it
        bool stopOnError = false;     ///< binary: look at the error severity after each packet
    };

    /// What reading one entry of the text form came to.
    enum class Entry
    {
        VALUE, ///< an entry was read, or skipped if the index is past the last component
        END,   ///< ")" was read
        CUT,   ///< the stream ended
        FAILED ///< the load fails; the reader has reported why
    };

    /// The words before the values: an option block if there is one, and "(". False with code 9
    /// when one is missing. `keyMask` takes the mask of old files.
    bool openAsciiValues(KIT_IStream &is, unsigned &keyMask);
    /// The values up to ")", which the reader consumes; behind `openAsciiValues`.
    /// `readEntry(index)` answers an Entry; the index isn't valid for a surplus entry, which it must
    /// skip. Missing components revert to their defaults.
    template <class ReadEntry>
    bool loadAsciiValues(const LoadRules &rules, const ReadEntry &readEntry);
    /// The packets up to the closing one. `readPacket(id, numRead)` answers false for a failed read
    /// and counts the components; it isn't called once all are read, but for the options of a
    /// parameter that has none.
    template <class ReadPacket>
    bool loadBinaryValues(KIT_IStream &is, const LoadRules &rules, const ReadPacket &readPacket);
    /// An option's packet; common warning 8 for one that isn't.
    void loadOptionPacket(KIT_IStream &is, int packetId, const LoadRules &rules);
    /// A channel's name, read from a packet and linked. False for a failed read.
    bool loadBinaryLink(KIT_IStream &is, int index);

    /// The arguments that are used of a command's: `readArgument(text, index, held)` for each
    /// unlocked component. Without `asSet` the components' channels are held.
    template <class ReadArgument>
    int loadCommandValues(int argc, const char *const argv[], int index, bool asSet,
                          const ReadArgument &readArgument);
    ///@}

private:
    void revertMissing(int numRead, const LoadRules &rules);
    static bool reportCut(const char *token);
};

// ---------------------------------------------------------------------- //
// Templates
// ---------------------------------------------------------------------- //

template <class T>
T ZEL_ValueInstance::truncated(double value)
{
    // 2^31 and 2^63 are doubles; the largest int64 isn't.
    const double limit = -double(std::numeric_limits<T>::min());
    if (value >= limit) {
        return std::numeric_limits<T>::max();
    }
    if (value >= -limit) {
        return T(value);
    }
    return value < -limit ? std::numeric_limits<T>::min() : T(0);
}

template <class Change>
void ZEL_ValueInstance::insertHardKey(TRK_Channel *channel, double time, const Change &change)
{
    TRK_AutoEventHandler batch;
    channel->insertKeyFrame(time, true);
    change();
}

template <class Apply>
void ZEL_ValueInstance::revertComponents(bool deleteChannels, const Apply &apply)
{
    if (deleteChannels) {
        clearAndDestroyChannels();
    }
    for (int i = 0; i < getVectorSize(); ++i) {
        apply(i);
    }
    setDefaultsInitFlag(true);
}

template <class Clear>
void ZEL_ValueInstance::restoreFactory(int index, const Clear &clear)
{
    if (!currentDefault(index)) {
        return;
    }
    if (const ZEL_Default *factory = factoryDefault(index)) {
        getTemplatePtr()->setDefault(index, *factory);
    } else {
        clear();
    }
}

template <class Equals, class HasExpression>
bool ZEL_ValueInstance::isNumberDefault(int index, ZEL_DefaultType type, bool checkLocks,
                                        const ZEL_Default *factory, const Equals &equals,
                                        const HasExpression &hasExpression) const
{
    // The base agrees with anything while locks aren't checked, so the index is ours to test.
    if (!validIndex(index) || !ZEL_Overridable::isDefault(index, type, checkLocks)) {
        return false;
    }
    const ZEL_Default *current = currentDefault(index);
    if ((type & ZEL_DEFAULT_CURRENT) && current) {
        return equals(current);
    }
    if (type & ZEL_DEFAULT_FACTORY_EXPRESSION) {
        if (getChannel(index)) {
            return factory && hasFactoryExpression(index);
        }
        if (factory && hasExpression(*factory)) {
            return false;
        }
    }
    if ((type & ZEL_DEFAULT_FACTORY_VALUE) && factory) {
        return equals(factory);
    }
    return equals(nullptr);
}

template <class T, class Read, class Append>
bool ZEL_ValueInstance::buildMagicString(KIT_TokenString &tokens, ZEL_ParmList *list, int size,
                                         bool addIfDefault, int thread, const Read &read,
                                         const Append &append) const
{
    constexpr int theInlineSize = 4;
    T inlineValues[theInlineSize] = {};
    std::unique_ptr<T[]> heapValues;
    T *values = inlineValues;
    if (size > theInlineSize) {
        heapValues.reset(new T[std::size_t(size)]());
        values = heapValues.get();
    }
    for (int i = size - 1; i >= 0; --i) {
        read(i, values[i]);
        checkForExpressionErrors(list, i, thread);
    }
    const bool plain = isAllDefault(ZEL_DEFAULT_MAGIC) && !isTimeDependent(-1);
    for (int i = size - 1; i >= 0 && (addIfDefault || !plain); --i) {
        if (isDefault(i, ZEL_DEFAULT_MAGIC, true) && !isTimeDependent(i)) {
            tokens.append('d');
        } else {
            append(i, values[i]);
        }
    }
    return !plain;
}

template <class Out, class WritePlain, class WriteLinked>
void ZEL_ValueInstance::saveAsciiValues(Out &os, const WritePlain &writePlain,
                                        const WriteLinked &writeLinked) const
{
    os << '\t';
    saveAsciiOptions(os);
    os << "\t(";
    for (int i = 0; i < getVectorSize(); ++i) {
        os << '\t';
        if (const TRK_Channel *channel = getChannel(i)) {
            os << "[ " << channel->getName().nonNullStr() << '\t';
            writeLinked(i);
            os << " ] ";
        } else {
            writePlain(i);
        }
    }
    os << "\t)\n";
}

template <class WritePacket>
void ZEL_ValueInstance::saveBinaryValues(std::ostream &os, int classId,
                                         const WritePacket &writePacket) const
{
    KIT_Packet packet;
    for (int i = 0; i < getVectorSize(); ++i) {
        writePacket(packet, i);
    }
    packet.beginWrite(os, classId, 0);
    packet.endWrite();
}

template <class WriteValue>
void ZEL_ValueInstance::saveCommandValues(std::ostream &os, int values, int index,
                                          const char *label, const WriteValue &writeValue) const
{
    const int first = validIndex(index) ? index : 0;
    const int end = validIndex(index) ? index + 1 : getVectorSize();
    os << " (";
    for (int i = first; i < end; ++i) {
        os << ' ';
        const TRK_Channel *channel = getChannel(i);
        if (values == 0 && channel) {
            os << channel->getName().nonNullStr();
        } else {
            writeValue(i);
        }
    }
    os << " )";
    KITcheckOutStream(os, label, nullptr);
}

template <class ReadEntry>
bool ZEL_ValueInstance::loadAsciiValues(const LoadRules &rules, const ReadEntry &readEntry)
{
    const int size = getVectorSize();
    int numRead = 0;
    for (;;) {
        switch (readEntry(numRead)) {
        case Entry::END: revertMissing(numRead, rules); return true;
        case Entry::CUT: return reportCut(")");
        case Entry::FAILED: return false;
        case Entry::VALUE: break;
        }
        if (numRead < size) {
            ++numRead;
        } else if (numRead == size) {
            // Once, however many there are.
            if (rules.warnTooMany) {
                addParmWarning(ZEL_ERR_TOO_MANY_VALUES);
            }
            ++numRead;
        }
    }
}

template <class ReadPacket>
bool ZEL_ValueInstance::loadBinaryValues(KIT_IStream &is, const LoadRules &rules,
                                         const ReadPacket &readPacket)
{
    const int size = getVectorSize();
    KIT_Packet packet;
    int readClass = 0;
    int packetId = 0;
    int numRead = 0;
    bool finished = false;
    while (!finished && packet.beginRead(is, readClass, packetId)) {
        if (readClass != rules.classId) {
            KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, rules.label);
            packet.endRead();
            return !rules.wrongClassFails;
        }
        bool read = true;
        if (packetId == 0) {
            revertMissing(numRead, rules);
            finished = true;
        } else if (numRead < size || (size == 0 && packetId > rules.lastValueId)) {
            read = readPacket(packetId, numRead);
        } else if (rules.warnTooMany) {
            addParmWarning(ZEL_ERR_TOO_MANY_VALUES);
        }
        packet.endRead();
        if (!read) {
            KITaddCommonError(KIT_COMMON_CUT_PACKET, rules.label);
            return false;
        }
        if (rules.stopOnError && KITgetErrorSeverity() >= KIT_ERROR_ABORT) {
            return false;
        }
    }
    return true;
}

template <class ReadArgument>
int ZEL_ValueInstance::loadCommandValues(int argc, const char *const argv[], int index, bool asSet,
                                         const ReadArgument &readArgument)
{
    const int first = validIndex(index) ? index : 0;
    const int end = validIndex(index) ? index + 1 : getVectorSize();
    HeldChannels held(getVectorSize());
    for (int i = first; !asSet && i < end; ++i) {
        if (!getLockedFlag(i)) {
            holdChannel(held, i);
        }
    }
    int used = 0;
    const bool opened = argc > 0 && argv[0][0] == '(';
    if (opened) {
        ++used;
    }
    for (int i = first; i < end && used < argc && std::strcmp(argv[used], ")") != 0; ++i) {
        const char *argument = argv[used++];
        if (!getLockedFlag(i)) {
            readArgument(argument, i, held);
        }
    }
    // Unlike the loop's test of the whole word, the closing one looks at the first character only.
    if (opened && used < argc && argv[used][0] == ')') {
        ++used;
    }
    return used;
}
