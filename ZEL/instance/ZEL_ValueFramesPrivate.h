/// \file ZEL_ValueFramesPrivate.h
/// The frame of both saved forms and of commands: what every kind of value writes and reads around
/// its components. Not installed.
///
/// Vocabulary: *frame* = walks the components, a stream or arguments, and calls back for each value;
///             *plain* = an entry without a channel, *linked* = one with a channel; *held* = a
///             channel taken out of its slot while a load decides whether the component links it
///             again.
/// Ownership:  no data of its own.
/// Threads:    as the instance.
/// Errors:     each frame reports what does not depend on the kind of value: "ZEL" 2, 3, 9 and the
///             common errors of binary streams. What a kind deliberately does otherwise is an
///             argument, or stays with the caller.
/// Cost:       frames are templates: a callback costs no call.
#pragma once

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_SmallArray.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_Instance.h>

#include <climits>
#include <cstring>
#include <ostream>

/// How a load differs by the kind of value. Members that don't concern a form are ignored.
struct ZEL_LoadRules
{
    int classId = 0;              ///< binary: of every packet
    int firstValueId = INT_MIN;   ///< binary: lower packet ids are options
    int lastValueId = 0;          ///< binary: higher packet ids are options
    int payloadId = INT_MIN;      ///< binary: a packet that may follow on the last component's
    const char *label = "";       ///< binary: names the load in common messages
    bool warnTooFew = true;       ///< code 2 when components are missing
    bool warnTooMany = true;      ///< code 3 for entries past the last component
    bool wrongClassFails = false; ///< binary: a foreign packet fails the load or just ends it
    bool stopOnError = false;     ///< binary: look at the error severity after each packet
};

/// The result of reading one entry of the text form.
enum class ZEL_LoadEntry : int
{
    VALUE, ///< an entry was read, or skipped if the index is past the last component
    END,   ///< ")" was read
    CUT,   ///< the stream ended
    FAILED ///< the load fails; the reader has reported why
};

/// Free functions; in a struct because the instance grants it access to its option block.
struct ZEL_ValueFrames
{
    // ------------------------------------------------------------------ //
    /// \name Held channels
    // ------------------------------------------------------------------ //
    ///@{
    /// Null for a component that had none.
    using HeldChannels = KIT_SmallArray<TRK_Channel *, 8>;

    static void holdChannel(ZEL_Instance &instance, HeldChannels &held, int index);
    static void holdAllChannels(ZEL_Instance &instance, HeldChannels &held);
    /// Deletes the component's held channel from the collection, if there are both.
    static void deleteHeldChannel(ZEL_Instance &instance, HeldChannels &held, int index);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Saving
    // ------------------------------------------------------------------ //
    ///@{
    /// Option block and values: `writeEntry(index)` for each component. `os` is a stream or a
    /// KIT_ByteBuffer.
    template <class Out, class WriteEntry>
    static void saveAscii(const ZEL_Instance &instance, Out &os, const WriteEntry &writeEntry)
    {
        os << '\t';
        instance.saveAsciiOptions(os);
        os << "\t(";
        for (int i = 0; i < instance.getVectorSize(); ++i) {
            os << '\t';
            writeEntry(i);
        }
        os << "\t)\n";
    }
    /// The same with channels: `writePlain(index)` writes an entry, `writeLinked(index)` the value
    /// between a channel's name and its closing bracket.
    template <class Out, class WritePlain, class WriteLinked>
    static void saveAscii(const ZEL_Instance &instance, Out &os, const WritePlain &writePlain,
                          const WriteLinked &writeLinked)
    {
        saveAscii(instance, os, [&](int index) {
            if (const TRK_Channel *channel = instance.getChannel(index)) {
                os << "[ " << channel->getName().nonNullStr() << '\t';
                writeLinked(index);
                os << " ] ";
            } else {
                writePlain(index);
            }
        });
    }
    /// What saveAscii() writes of a parameter without options, composed in one piece: `put(at)` writes
    /// the values, at most so many bytes, and returns their end.
    template <class Put>
    static void savePlainAscii(KIT_ByteBuffer &out, std::size_t most, const Put &put)
    {
        if (char *at = out.room(thePlainOpening.size() + most + thePlainClosing.size())) {
            at = put(putText(at, thePlainOpening));
            out.setEnd(putText(at, thePlainClosing));
        }
    }
    /// Copies a text and returns its end.
    __attribute__((always_inline)) static char *putText(char *at, std::string_view text)
    {
        return static_cast<char *>(std::memcpy(at, text.data(), text.size())) + text.size();
    }
    /// Options, `writePacket(packet, index)` for each component, the closing packet. All are short
    /// where a list's series is composed.
    template <class WritePacket>
    static void saveBinary(const ZEL_Instance &instance, std::ostream &os, int classId,
                           const WritePacket &writePacket)
    {
        KIT_Packet packet;
        instance.saveBinaryOptions(classId, packet, os);
        for (int i = 0; i < instance.getVectorSize(); ++i) {
            writePacket(packet, i);
        }
        packet.beginWriteShort(os, classId, 0);
        packet.endWrite();
    }
    /// The values as command arguments, all or one: channel names where there are channels and
    /// `values` is 0, else `writeValue(index)`.
    template <class WriteValue>
    static void saveCommand(const ZEL_Instance &instance, std::ostream &os, int values, int index,
                            const WriteValue &writeValue)
    {
        const int first = instance.validIndex(index) ? index : 0;
        const int end = instance.validIndex(index) ? index + 1 : instance.getVectorSize();
        os << " (";
        for (int i = first; i < end; ++i) {
            os << ' ';
            const TRK_Channel *channel = instance.getChannel(i);
            if (values == 0 && channel) {
                os << channel->getName().nonNullStr();
            } else {
                writeValue(i);
            }
        }
        os << " )";
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Loading
    // ------------------------------------------------------------------ //
    ///@{
    /// What this library writes before and after the values of a parameter without options: takes it
    /// off. False, with nothing taken off, for anything else.
    static bool takePlainOpening(std::string_view &rest)
    {
        const bool found = begins(rest, thePlainOpening);
        rest.remove_prefix(found ? thePlainOpening.size() : 0);
        return found;
    }
    static bool takePlainClosing(std::string_view &rest)
    {
        // The end of the line stays, as it does after any other entry.
        const bool found = begins(rest, thePlainClosing);
        rest.remove_prefix(found ? thePlainClosing.size() - 1 : 0);
        return found;
    }
    static constexpr std::string_view thePlainOpening = "\t[ 0\tlocks=0 ]\t(";
    static constexpr std::string_view thePlainClosing = "\t)\n";
    /// The tokens before the values: an option block if there is one, and "(". False with code 9
    /// when one is missing. `keyMask` takes the mask of old files.
    static bool openAscii(ZEL_Instance &instance, KIT_IStream &is, unsigned &keyMask);
    /// The values up to ")", which the reader consumes; after `openAscii`. `readEntry(index)` returns
    /// a ZEL_LoadEntry; the index isn't valid for a surplus entry, which it must skip. Missing
    /// components revert to their defaults.
    template <class ReadEntry>
    static bool loadAscii(ZEL_Instance &instance, const ZEL_LoadRules &rules,
                          const ReadEntry &readEntry);
    /// The packets up to the closing one. `readPacket(id, numRead)` returns false for a failed read
    /// and counts the components; it isn't called once all are read, but for the options of a
    /// parameter that has none.
    template <class ReadPacket>
    static bool loadBinary(ZEL_Instance &instance, KIT_IStream &is, const ZEL_LoadRules &rules,
                           const ReadPacket &readPacket);
    /// An option's packet; common warning 8 for one that isn't.
    static void loadOptionPacket(ZEL_Instance &instance, KIT_IStream &is, int packetId,
                                 const ZEL_LoadRules &rules);
    /// Reads a channel's name from a packet and links the channel. False for a failed read.
    static bool loadBinaryLink(ZEL_Instance &instance, KIT_IStream &is, int index);
    /// The arguments that are used of a command's: `readArgument(text, index, held)` for each
    /// unlocked component. Without `asSet` the components' channels are held.
    template <class ReadArgument>
    static int loadCommand(ZEL_Instance &instance, int argc, const char *const argv[], int index,
                           bool asSet, const ReadArgument &readArgument);
    ///@}

private:
    /// Inlined, so that the length is known where the bytes are compared.
    __attribute__((always_inline)) static bool begins(std::string_view rest, std::string_view text)
    {
        return rest.size() >= text.size() &&
               std::memcmp(rest.data(), text.data(), text.size()) == 0;
    }
    static void revertMissing(ZEL_Instance &instance, int numRead, const ZEL_LoadRules &rules);
    static bool reportCut(const char *token);
};

// ---------------------------------------------------------------------- //
// Templates
// ---------------------------------------------------------------------- //

template <class ReadEntry>
bool ZEL_ValueFrames::loadAscii(ZEL_Instance &instance, const ZEL_LoadRules &rules,
                                const ReadEntry &readEntry)
{
    const int size = instance.getVectorSize();
    int numRead = 0;
    for (;;) {
        switch (readEntry(numRead)) {
        case ZEL_LoadEntry::END: revertMissing(instance, numRead, rules); return true;
        case ZEL_LoadEntry::CUT: return reportCut(")");
        case ZEL_LoadEntry::FAILED: return false;
        case ZEL_LoadEntry::VALUE: break;
        }
        if (numRead < size) {
            ++numRead;
        } else if (numRead == size) {
            // Warn once, however many there are.
            if (rules.warnTooMany) {
                instance.addParmWarning(ZEL_ERR_TOO_MANY_VALUES);
            }
            ++numRead;
        }
    }
}

template <class ReadPacket>
bool ZEL_ValueFrames::loadBinary(ZEL_Instance &instance, KIT_IStream &is,
                                 const ZEL_LoadRules &rules, const ReadPacket &readPacket)
{
    const int size = instance.getVectorSize();
    KIT_Packet packet;
    int readClass = 0;
    int packetId = 0;
    int numRead = 0;
    bool payloadDue = false;
    bool finished = false;
    while (!finished && packet.beginRead(is, readClass, packetId)) {
        if (readClass != rules.classId) {
            KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, rules.label);
            packet.endRead();
            return !rules.wrongClassFails;
        }
        bool read = true;
        const bool isPayload = packetId == rules.payloadId;
        const bool isOption = packetId < rules.firstValueId || packetId > rules.lastValueId;
        if (packetId == 0) {
            revertMissing(instance, numRead, rules);
            finished = true;
        } else if (numRead < size || (isPayload && payloadDue) || (size == 0 && isOption)) {
            const int before = numRead;
            read = readPacket(packetId, numRead);
            payloadDue = numRead > before || (payloadDue && !isPayload);
        } else {
            payloadDue = false;
            if (rules.warnTooMany) {
                instance.addParmWarning(ZEL_ERR_TOO_MANY_VALUES);
            }
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
int ZEL_ValueFrames::loadCommand(ZEL_Instance &instance, int argc, const char *const argv[],
                                 int index, bool asSet, const ReadArgument &readArgument)
{
    const int first = instance.validIndex(index) ? index : 0;
    const int end = instance.validIndex(index) ? index + 1 : instance.getVectorSize();
    HeldChannels held(instance.getVectorSize());
    for (int i = first; !asSet && i < end; ++i) {
        if (!instance.getLockedFlag(i)) {
            holdChannel(instance, held, i);
        }
    }
    int used = 0;
    const bool opened = argc > 0 && argv[0][0] == '(';
    if (opened) {
        ++used;
    }
    for (int i = first; i < end && used < argc && std::strcmp(argv[used], ")") != 0; ++i) {
        const char *argument = argv[used++];
        if (!instance.getLockedFlag(i)) {
            readArgument(argument, i, held);
        }
    }
    // Unlike the loop's test of the whole word, the closing one looks at the first character only.
    if (opened && used < argc && argv[used][0] == ')') {
        ++used;
    }
    return used;
}
