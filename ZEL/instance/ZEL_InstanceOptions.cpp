#include <ZEL/ZEL_Instance.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_EnvControl.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_OByteStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
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

/// A tab, the option's word and "=".
void writeOption(KIT_ByteBuffer &out, ZEL_ParmIOToken token)
{
    out << getPacketIOToken(ZEL_IO_TAB) << getPacketIOToken(token) << '=';
}

void writeFieldOption(KIT_ByteBuffer &out, ZEL_ParmIOToken token, std::uint32_t field)
{
    writeOption(out, token);
    out.appendDecimal(field);
}

/// The shortest text that reads back as the same number.
void writeColorPart(KIT_ByteBuffer &out, float part)
{
    char text[64];
    const std::to_chars_result end = std::to_chars(text, text + sizeof(text), part);
    out << ';' << std::string_view(text, std::size_t(end.ptr - text));
}

void writeFieldPacket(int classId, KIT_Packet &packet, std::ostream &os, ZEL_ParmIOToken token,
                      std::uint32_t field)
{
    packet.beginWrite(os, classId, getPacketIOBinaryId(token));
    KITwrite(os, field);
    packet.endWrite();
}

std::uint32_t parseField(const char *text)
{
    return std::uint32_t(std::strtoul(text, nullptr, 0));
}
} // namespace

void ZEL_Instance::setLabel(const char *label)
{
    // The name is the template's: every parameter of that template shows the new label.
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
    if (getSaveFlags() == 0 && myLockField == 0 && !getSaveAutoScopeFlag() && !getBypassFlag() &&
        !getSaveLabelFlag() && !myChannelColors && !getSaveAutoSelectFlag()) {
        out << theUsualOptions;
        return;
    }
    out << getPacketIOToken(ZEL_IO_OPEN) << getPacketIOToken(ZEL_IO_BLANK);
    out.appendDecimal(getSaveFlags());
    writeFieldOption(out, ZEL_IO_LOCKS, myLockField);
    if (getSaveAutoScopeFlag()) {
        writeFieldOption(out, ZEL_IO_AUTOSCOPE, myAutoScopeField);
    }
    if (getBypassFlag()) {
        writeFieldOption(out, ZEL_IO_BYPASS, 1);
    }
    if (getSaveLabelFlag()) {
        KIT_WorkBuffer label;
        label.appendQuoted(KIT_String(getLabel()).view());
        writeOption(out, ZEL_IO_LABEL);
        out << label.view();
    }
    for (int i = 0, size = getVectorSize(); i < size; ++i) {
        if (hasChannelCustomColor(i)) {
            const KIT_Color &color = getChannelCustomColor(i);
            writeOption(out, ZEL_IO_COLOR);
            out.appendDecimal(std::uint32_t(i));
            writeColorPart(out, color.red());
            writeColorPart(out, color.green());
            writeColorPart(out, color.blue());
            out << ';';
        }
    }
    if (getSaveAutoSelectFlag()) {
        writeFieldOption(out, ZEL_IO_AUTOSELECT, myAutoSelectField);
    }
    out << getPacketIOToken(ZEL_IO_BLANK) << getPacketIOToken(ZEL_IO_CLOSE);
}

bool ZEL_Instance::loadAsciiOptions(KIT_IStream &is, unsigned int &mask)
{
    // Behind the bracket, which is read by now.
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
            loadAsciiOption(is, text, equals);
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

void ZEL_Instance::loadAsciiOption(KIT_IStream &is, const char *word, const char *equals)
{
    const std::size_t length = std::size_t(equals - word);
    const char *text = equals + 1;
    if (comparePacketIOToken(ZEL_IO_LOCKS, word, length)) {
        setLockedField(parseField(text));
    } else if (comparePacketIOToken(ZEL_IO_AUTOSCOPE, word, length)) {
        setAutoScopeField(parseField(text));
    } else if (comparePacketIOToken(ZEL_IO_AUTOSELECT, word, length)) {
        setAutoSelectField(parseField(text));
    } else if (comparePacketIOToken(ZEL_IO_BYPASS, word, length)) {
        setBypassFlag(parseField(text) != 0);
    } else if (comparePacketIOToken(ZEL_IO_COLOR, word, length)) {
        loadAsciiColor(text);
    } else if (comparePacketIOToken(ZEL_IO_LABEL, word, length) && *text) {
        // The label may hold blanks and quotes, so it is read again as the quoted text that it is.
        loadAsciiLabel(is, is.tellg() - std::int64_t(std::strlen(text)));
    }
}

bool ZEL_Instance::loadAsciiLabel(KIT_IStream &is, std::int64_t textStart)
{
    const std::int64_t wordEnd = is.tellg();
    KIT_String label;
    if (!is.seekg(textStart) || !is.readString(label)) {
        is.seekg(wordEnd);
        return false;
    }
    // A label that isn't wanted is still read to its end, so that none of it counts as an option.
    if (!isLabelLoadDisabled()) {
        setLabel(label.isstring() ? label.c_str() : nullptr);
    }
    return true;
}

void ZEL_Instance::loadAsciiColor(const char *text)
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
        if (index >= 0 && index < getVectorSize()) {
            setChannelCustomColor(int(index), KIT_Color(float(BASparseFloat(pieces[1].c_str())),
                                                        float(BASparseFloat(pieces[2].c_str())),
                                                        float(BASparseFloat(pieces[3].c_str()))));
        }
    }
}

// ---------------------------------------------------------------------- //
// Binary form
// ---------------------------------------------------------------------- //

bool ZEL_Instance::saveBinaryOptions(int classId, KIT_Packet &packet, std::ostream &os) const
{
    bool any = false;
    if (myLockField != 0) {
        writeFieldPacket(classId, packet, os, ZEL_IO_LOCKS, myLockField);
        any = true;
    }
    if (getSaveAutoScopeFlag()) {
        writeFieldPacket(classId, packet, os, ZEL_IO_AUTOSCOPE, myAutoScopeField);
        any = true;
    }
    if (getBypassFlag()) {
        writeFieldPacket(classId, packet, os, ZEL_IO_BYPASS, 1);
        any = true;
    }
    if (getSaveLabelFlag()) {
        packet.beginWrite(os, classId, getPacketIOBinaryId(ZEL_IO_LABEL));
        KIT_String(getLabel()).save(os, true);
        packet.endWrite();
        any = true;
    }
    for (int i = 0, size = getVectorSize(); i < size; ++i) {
        if (hasChannelCustomColor(i)) {
            const KIT_Color &color = getChannelCustomColor(i);
            packet.beginWrite(os, classId, getPacketIOBinaryId(ZEL_IO_COLOR));
            KITwrite(os, std::int32_t(i));
            KITwrite(os, color.red());
            KITwrite(os, color.green());
            KITwrite(os, color.blue());
            packet.endWrite();
            any = true;
        }
    }
    if (getSaveAutoSelectFlag()) {
        writeFieldPacket(classId, packet, os, ZEL_IO_AUTOSELECT, myAutoSelectField);
        any = true;
    }
    return any;
}

bool ZEL_Instance::loadBinaryOption(KIT_IStream &is, short id)
{
    if (id == getPacketIOBinaryId(ZEL_IO_LABEL)) {
        return loadBinaryLabel(is);
    }
    if (id == getPacketIOBinaryId(ZEL_IO_COLOR)) {
        return loadBinaryColor(is);
    }
    const bool locks = id == getPacketIOBinaryId(ZEL_IO_LOCKS);
    const bool autoScope = id == getPacketIOBinaryId(ZEL_IO_AUTOSCOPE);
    const bool bypass = id == getPacketIOBinaryId(ZEL_IO_BYPASS);
    const bool autoSelect = id == getPacketIOBinaryId(ZEL_IO_AUTOSELECT);
    std::uint32_t field = 0;
    if (!(locks || autoScope || bypass || autoSelect) || !is.bread(field)) {
        return false;
    }
    if (locks) {
        setLockedField(field);
    } else if (autoScope) {
        setAutoScopeField(field);
    } else if (bypass) {
        setBypassFlag(field != 0);
    } else {
        setAutoSelectField(field);
    }
    return true;
}

bool ZEL_Instance::loadBinaryLabel(KIT_IStream &is)
{
    if (isLabelLoadDisabled()) {
        return true;
    }
    KIT_WorkBuffer label;
    if (!is.readWorkBuffer(label, true)) {
        return false;
    }
    if (*label.buffer()) {
        setLabel(label.buffer());
    }
    return true;
}

bool ZEL_Instance::loadBinaryColor(KIT_IStream &is)
{
    std::int32_t index = -1;
    float parts[3] = {0.0f, 0.0f, 0.0f};
    // A cut packet colours with what is there: a colour isn't worth failing a load.
    (void)(is.bread(index) && is.bread(parts[0]) && is.bread(parts[1]) && is.bread(parts[2]));
    if (validIndex(index)) {
        setChannelCustomColor(index, KIT_Color(parts[0], parts[1], parts[2]));
    }
    return true;
}
