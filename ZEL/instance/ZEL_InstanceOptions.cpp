// The options of the saved form: one table, shared by the text form, the binary form and that of a
// float.

#include <ZEL/ZEL_Instance.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_ParmIOToken.h>
#include <ZEL/instance/ZEL_InstancePrivate.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>

namespace
{
/// The block that nearly every parameter has: written and read in one piece.
constexpr std::string_view theUsualOptions = "[ 0\tlocks=0 ]";

bool isLabelLoadDisabled()
{
    static const bool theDisabledFlag = KITgetEnv(KIT_VAR_NO_LABEL_LOAD) != nullptr;
    return theDisabledFlag;
}

/// The shortest text that reads back as the same number.
void writeColorPart(KIT_ByteBuffer &out, float part)
{
    char text[64];
    const std::to_chars_result end = std::to_chars(text, text + sizeof(text), part);
    out << ';' << std::string_view(text, std::size_t(end.ptr - text));
}

std::uint32_t parseField(const char *text)
{
    return std::uint32_t(std::strtoul(text, nullptr, 0));
}
} // namespace

// ---------------------------------------------------------------------- //
// The options
// ---------------------------------------------------------------------- //

/// One struct for each row of ZEL_InstanceOptions.def. Writers call `emit` for each occurrence of
/// the option, with a function that writes the text after "WORD=", or the packet's payload.
struct ZEL_Instance::Options
{
    enum class Form
    {
        TEXT,
        BINARY,
        FLOAT
    };

    struct Locks;
    struct AutoScope;
    struct Bypass;
    struct Label;
    struct Color;
    struct AutoSelect;

    template <class Row_, ZEL_ParmIOToken token_, int packet_, int floatPacket_>
    struct Entry
    {
        using Row = Row_;
        static constexpr ZEL_ParmIOToken token = token_;
        /// The id of the option's packet, below 0 if that form has no such option.
        static constexpr int packetIn(Form form)
        {
            return form == Form::FLOAT ? floatPacket_ : packet_;
        }
    };

    /// Visit the rows in order; `visit` and `test` get an Entry.
    template <class, class... Entries>
    struct Table
    {
        template <class Visit>
        static void forEach(const Visit &visit)
        {
            (visit(Entries()), ...);
        }
        template <class Test>
        static bool any(const Test &test)
        {
            return (test(Entries()) || ...);
        }
    };
#define ZEL_INSTANCE_OPTION(name, word, packet, floatPacket, row)                                  \
    , Entry<row, ZEL_IO_##name, packet, floatPacket>
    using All = Table<void
#include <ZEL/ZEL_InstanceOptions.def>
                      >;
#undef ZEL_INSTANCE_OPTION

    template <class Emit, class EmitUnset>
    static void writePackets(const ZEL_Instance &from, Form form, const Emit &emit,
                             const EmitUnset &emitUnset);
    static OptionRead readPacket(ZEL_Instance &to, KIT_IStream &is, Form form, int id);
};

namespace
{
/// Saved where it is set, and not passed on to an instance that takes over.
struct OptionRow
{
    static constexpr KIT_PacketHeader::Size theUnset = KIT_PacketHeader::EMPTY;
    template <class Form>
    static constexpr bool isAlwaysIn(Form)
    {
        return false;
    }
    static void adopt(ZEL_Instance &, const ZEL_Instance &) {}
};

/// An option that is a number of 32 bits: `Row::get` and `Row::set`.
template <class Row>
struct FieldRow : OptionRow
{
    template <class Emit>
    static void writeText(const ZEL_Instance &from, const Emit &emit)
    {
        emit([&](KIT_ByteBuffer &out) { out.appendDecimal(Row::get(from)); });
    }
    static void readText(ZEL_Instance &to, KIT_IStream &, const char *text)
    {
        Row::set(to, parseField(text));
    }
    template <class Emit>
    static void writeBinary(const ZEL_Instance &from, const Emit &emit)
    {
        emit([&](KIT_ByteBuffer &out) { out.appendNumber(Row::get(from)); });
    }
    template <class Form>
    static bool readBinary(ZEL_Instance &to, KIT_IStream &is, Form)
    {
        std::uint32_t field = 0;
        if (!is.bread(field)) {
            return false;
        }
        Row::set(to, field);
        return true;
    }
};
} // namespace

struct ZEL_Instance::Options::Locks : FieldRow<Locks>
{
    static constexpr bool isAlwaysIn(Form form) { return form != Form::BINARY; }
    static constexpr KIT_PacketHeader::Size theUnset = KIT_PacketHeader::ZERO_4;
    static bool isSet(const ZEL_Instance &from) { return from.getLockedField() != 0; }
    static std::uint32_t get(const ZEL_Instance &from) { return from.getLockedField(); }
    static void set(ZEL_Instance &to, std::uint32_t field) { to.setLockedField(field); }
    static void adopt(ZEL_Instance &to, const ZEL_Instance &from)
    {
        to.setLockedField(from.getLockedField());
    }
};

struct ZEL_Instance::Options::AutoScope : FieldRow<AutoScope>
{
    static bool isSet(const ZEL_Instance &from) { return from.getSaveAutoScopeFlag(); }
    static std::uint32_t get(const ZEL_Instance &from) { return from.getAutoScopeField(); }
    static void set(ZEL_Instance &to, std::uint32_t field) { to.setAutoScopeField(field); }
    static void adopt(ZEL_Instance &to, const ZEL_Instance &from)
    {
        to.putAutoScope(from.getAutoScopeField());
        to.setFlag(from.myFlags & ZEL_INST_SAVE_AUTOSCOPE, true);
    }
};

struct ZEL_Instance::Options::AutoSelect : FieldRow<AutoSelect>
{
    static bool isSet(const ZEL_Instance &from) { return from.getSaveAutoSelectFlag(); }
    static std::uint32_t get(const ZEL_Instance &from) { return from.getAutoSelectField(); }
    static void set(ZEL_Instance &to, std::uint32_t field) { to.setAutoSelectField(field); }
    static void adopt(ZEL_Instance &to, const ZEL_Instance &from)
    {
        to.putAutoSelect(from.getAutoSelectField());
        to.setFlag(from.myFlags & ZEL_INST_SAVE_AUTOSELECT, true);
    }
};

struct ZEL_Instance::Options::Bypass : FieldRow<Bypass>
{
    static bool isSet(const ZEL_Instance &from) { return from.getBypassFlag(); }
    static std::uint32_t get(const ZEL_Instance &) { return 1; }
    static void set(ZEL_Instance &to, std::uint32_t field) { to.setBypassFlag(field != 0); }
};

struct ZEL_Instance::Options::Label : OptionRow
{
    static constexpr bool isAlwaysIn(Form form) { return form == Form::FLOAT; }
    static constexpr KIT_PacketHeader::Size theUnset = KIT_PacketHeader::ZERO_1; // an empty text
    static bool isSet(const ZEL_Instance &from) { return from.getSaveLabelFlag(); }
    static void adopt(ZEL_Instance &to, const ZEL_Instance &from)
    {
        to.setFlag(from.myFlags & ZEL_INST_SAVE_LABEL, true);
    }

    template <class Emit>
    static void writeText(const ZEL_Instance &from, const Emit &emit)
    {
        KIT_WorkBuffer label;
        label.appendQuoted(KIT_String(from.getLabel()).view());
        emit([&](KIT_ByteBuffer &out) { out << label.view(); });
    }
    static void readText(ZEL_Instance &to, KIT_IStream &is, const char *text)
    {
        if (!*text) {
            return;
        }
        // The label may contain blanks and quotes, so it is read again as a quoted text.
        const std::int64_t wordEnd = is.tellg();
        KIT_String label;
        if (!is.seekg(wordEnd - std::int64_t(std::strlen(text))) || !is.readString(label)) {
            is.seekg(wordEnd);
            return;
        }
        // An unwanted label is still read to its end, so that none of it is taken for an option.
        if (!isLabelLoadDisabled()) {
            to.setLabel(label.isstring() ? label.c_str() : nullptr);
        }
    }
    template <class Emit>
    static void writeBinary(const ZEL_Instance &from, const Emit &emit)
    {
        const KIT_String label(from.getLabel());
        emit([&](KIT_ByteBuffer &out) { out.appendText(label.nonNullStr()); });
    }
    static bool readBinary(ZEL_Instance &to, KIT_IStream &is, Form form)
    {
        if (form != Form::FLOAT && isLabelLoadDisabled()) {
            return true;
        }
        KIT_WorkBuffer label;
        if (!is.readWorkBuffer(label, true)) {
            return false;
        }
        if (*label.buffer()) {
            to.setLabel(label.buffer());
        }
        return true;
    }
};

struct ZEL_Instance::Options::Color : OptionRow
{
    static bool isSet(const ZEL_Instance &from)
    {
        bool any = false;
        forEachColor(from, [&](int, const KIT_Color &) { any = true; });
        return any;
    }
    template <class Visit>
    static void forEachColor(const ZEL_Instance &from, const Visit &visit)
    {
        const int size = from.rare() && from.rare()->colors ? from.getVectorSize() : 0;
        for (int i = 0; i < size; ++i) {
            if (from.hasChannelCustomColor(i)) {
                visit(i, from.getChannelCustomColor(i));
            }
        }
    }

    template <class Emit>
    static void writeText(const ZEL_Instance &from, const Emit &emit)
    {
        forEachColor(from, [&](int index, const KIT_Color &color) {
            emit([&](KIT_ByteBuffer &out) {
                out.appendDecimal(std::uint32_t(index));
                writeColorPart(out, color.red());
                writeColorPart(out, color.green());
                writeColorPart(out, color.blue());
                out << ';';
            });
        });
    }
    static void readText(ZEL_Instance &to, KIT_IStream &, const char *text)
    {
        static constexpr int thePieceCount = 4; // index, red, green, blue
        std::string pieces[thePieceCount];
        int count = 0;
        while (*text) {
            const std::size_t length = std::strcspn(text, ";");
            if (count == thePieceCount) {
                return;
            }
            pieces[count++].assign(text, length);
            text += text[length] ? length + 1 : length;
        }
        if (count == thePieceCount) {
            const std::int64_t index = BASparseInteger(pieces[0].c_str());
            if (index >= 0 && index < to.getVectorSize()) {
                to.setChannelCustomColor(int(index),
                                         KIT_Color(float(BASparseFloat(pieces[1].c_str())),
                                                   float(BASparseFloat(pieces[2].c_str())),
                                                   float(BASparseFloat(pieces[3].c_str()))));
            }
        }
    }
    template <class Emit>
    static void writeBinary(const ZEL_Instance &from, const Emit &emit)
    {
        forEachColor(from, [&](int index, const KIT_Color &color) {
            emit([&](KIT_ByteBuffer &out) {
                out.appendNumber(std::int32_t(index));
                out.appendNumber(color.red());
                out.appendNumber(color.green());
                out.appendNumber(color.blue());
            });
        });
    }
    static bool readBinary(ZEL_Instance &to, KIT_IStream &is, Form)
    {
        std::int32_t index = -1;
        float parts[3] = {0.0f, 0.0f, 0.0f};
        // A truncated packet sets the colour as far as it was read: a colour isn't worth failing a
        // load.
        (void)(is.bread(index) && is.bread(parts[0]) && is.bread(parts[1]) && is.bread(parts[2]));
        if (to.validIndex(index)) {
            to.setChannelCustomColor(index, KIT_Color(parts[0], parts[1], parts[2]));
        }
        return true;
    }
};

void ZEL_Instance::adoptOptions(const ZEL_Instance &source)
{
    Options::All::forEach([&](auto entry) { decltype(entry)::Row::adopt(*this, source); });
}

void ZEL_Instance::setLabel(const char *label)
{
    // The name belongs to the template: every parameter of that template shows the new label.
    myTemplate->getNamePtr()->setLabel(label);
    setSaveLabelFlag(true);
}

// ---------------------------------------------------------------------- //
// Text form
// ---------------------------------------------------------------------- //

void ZEL_Instance::saveAsciiOptions(std::ostream &os) const
{
    KITcompose(os, [&](KIT_ByteBuffer &out) { saveAsciiOptions(out); });
}

void ZEL_Instance::saveAsciiOptions(KIT_ByteBuffer &out) const
{
    const auto isSet = [&](auto entry) { return decltype(entry)::Row::isSet(*this); };
    if (getSaveFlags() == 0 && !Options::All::any(isSet)) {
        out << theUsualOptions;
        return;
    }
    out << getPacketIOToken(ZEL_IO_OPEN) << getPacketIOToken(ZEL_IO_BLANK);
    out.appendDecimal(getSaveFlags());
    Options::All::forEach([&](auto entry) {
        using Entry = decltype(entry);
        if (Entry::Row::isAlwaysIn(Options::Form::TEXT) || isSet(entry)) {
            Entry::Row::writeText(*this, [&](const auto &write) {
                out << getPacketIOToken(ZEL_IO_TAB) << getPacketIOToken(Entry::token) << '=';
                write(out);
            });
        }
    });
    out << getPacketIOToken(ZEL_IO_BLANK) << getPacketIOToken(ZEL_IO_CLOSE);
}

bool ZEL_Instance::loadAsciiOptions(KIT_IStream &is, unsigned int &mask)
{
    // After the bracket, which has already been read.
    const std::string_view usual = theUsualOptions.substr(1);
    const std::string_view rest = is.rest();
    if (rest.size() > usual.size() && rest.substr(0, usual.size()) == usual &&
        KIT_IStream::isWhitespace(rest[usual.size()])) {
        setLockedField(0);
        return is.seekg(is.tellg() + std::int64_t(usual.size()));
    }
    int numPositional = 0;
    KIT_WorkBuffer word;
    while (is.getString(word)) {
        const char *text = word.buffer();
        if (comparePacketIOToken(ZEL_IO_CLOSE, text, word.length())) {
            return true;
        }
        if (const char *equals = std::strchr(text, '=')) {
            const std::size_t length = std::size_t(equals - text);
            Options::All::any([&](auto entry) {
                using Entry = decltype(entry);
                const bool found = comparePacketIOToken(Entry::token, text, length);
                if (found) {
                    Entry::Row::readText(*this, is, equals + 1);
                }
                return found;
            });
            continue;
        }
        ++numPositional;
        if (numPositional == 1) {
            setSaveFlags(parseField(text));
        } else if (numPositional == 2) {
            mask = parseField(text);
        }
    }
    return false;
}

// ---------------------------------------------------------------------- //
// Binary form, and that of a float
// ---------------------------------------------------------------------- //

/// `emit` gets the packet's id and a function that writes the payload; `emitUnset` gets the id and the
/// zeros of an option that is there although it isn't set.
template <class Emit, class EmitUnset>
void ZEL_Instance::Options::writePackets(const ZEL_Instance &from, Form form, const Emit &emit,
                                         const EmitUnset &emitUnset)
{
    All::forEach([&](auto entry) {
        using Entry = decltype(entry);
        const int id = Entry::packetIn(form);
        if (id >= 0 && Entry::Row::isSet(from)) {
            Entry::Row::writeBinary(from, [&](const auto &write) { emit(id, write); });
        } else if (id >= 0 && Entry::Row::isAlwaysIn(form)) {
            emitUnset(id, Entry::Row::theUnset);
        }
    });
}

ZEL_Instance::OptionRead ZEL_Instance::Options::readPacket(ZEL_Instance &to, KIT_IStream &is,
                                                           Form form, int id)
{
    OptionRead result = OptionRead::UNKNOWN;
    All::any([&](auto entry) {
        using Entry = decltype(entry);
        const bool found = id >= 0 && id == Entry::packetIn(form);
        if (found) {
            result = Entry::Row::readBinary(to, is, form) ? OptionRead::DONE : OptionRead::FAILED;
        }
        return found;
    });
    return result;
}

bool ZEL_Instance::saveBinaryOptions(int classId, KIT_Packet &packet, std::ostream &os) const
{
    bool any = false;
    Options::writePackets(
        *this, Options::Form::BINARY,
        [&](int id, const auto &write) {
            packet.beginWriteShort(os, classId, id);
            KITcompose(os, write);
            packet.endWrite();
            any = true;
        },
        [](int, KIT_PacketHeader::Size) {});
    return any;
}

bool ZEL_Instance::loadBinaryOption(KIT_IStream &is, short id)
{
    return Options::readPacket(*this, is, Options::Form::BINARY, id) == OptionRead::DONE;
}

void ZEL_Instance::saveFloatOptions(int classId, KIT_ByteBuffer &out) const
{
    Options::writePackets(
        *this, Options::Form::FLOAT,
        [&](int id, const auto &write) {
            const KIT_ByteBuffer::Packet start = out.beginPacket(classId, id);
            write(out);
            out.endPacket(start);
        },
        [&](int id, KIT_PacketHeader::Size zeros) { out.appendZeroPacket(classId, id, zeros); });
}

ZEL_Instance::OptionRead ZEL_Instance::loadFloatOption(KIT_IStream &is, int id)
{
    return Options::readPacket(*this, is, Options::Form::FLOAT, id);
}
