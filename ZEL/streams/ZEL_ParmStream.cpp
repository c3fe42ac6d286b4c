#include <ZEL/ZEL_ParmStream.h>

#include <BAS/BAS_Allocate.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>
#include <ZEL/streams/ZEL_ParmListReaderPrivate.h>
#include <ZEL/streams/ZEL_ParmListWriterPrivate.h>
#include <ZEL/streams/ZEL_StreamPacketsPrivate.h>
#include <ZEL/streams/ZEL_StreamTextPrivate.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <ostream>
#include <sstream>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace
{

using Kind = ZEL_StreamEntry::Kind;

Kind kindOf(const ZEL_Parm *parm)
{
    if (!isSaved(parm)) {
        return Kind::WORDS;
    }
    const ZEL_Type &type = parm->getType();
    return type.isFloatType()     ? Kind::FLOAT
           : type.isOrdinalType() ? Kind::ORDINAL
           : type.isStringType()  ? Kind::STRING
           : type.isDataType()    ? Kind::DATA
                                  : Kind::WORDS;
}

// ---------------------------------------------------------------------- //
// Comments that name kinds
// ---------------------------------------------------------------------- //

constexpr std::string_view theKindComment = "#kind";

/// What a text of a kind is; a menu's entries may look like expressions.
struct KindMark
{
    std::string_view word;
    Kind kind;
    bool tokensFlag;
};

constexpr KindMark theKindMarks[] = {
    {"float", Kind::FLOAT, false}, {"ordinal", Kind::ORDINAL, false},
    {"menu", Kind::ORDINAL, true}, {"string", Kind::STRING, false},
    {"data", Kind::DATA, false},   {"words", Kind::WORDS, false}}; // what has no mark
constexpr const KindMark *theNoMark = std::end(theKindMarks) - 1;

bool hasTokens(const ZEL_StreamEntry &entry)
{
    return entry.kind == Kind::ORDINAL &&
           std::any_of(entry.values.begin(), entry.values.end(), [](const ZEL_StreamValue &value) {
               return std::holds_alternative<std::string>(value.value);
           });
}

const KindMark *markFor(const ZEL_StreamEntry &entry)
{
    return entry.knownFlag
               ? theNoMark
               : std::find_if(std::begin(theKindMarks), theNoMark, [&](const KindMark &mark) {
                     return mark.kind == entry.kind && mark.tokensFlag == hasTokens(entry);
                 });
}

} // namespace

ZEL_ParmStream::ZEL_ParmStream(Entries entries, float version)
    : myVersion(version), myWholeFlag(true), myEntries(std::move(entries))
{}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

class ZEL_ParmStream::Reader
{
public:
    Reader(ZEL_ParmStream &to, KIT_IStream &is, const char *name, ZEL_ParmList *list)
        : myTo(to), myStream(is), mySource(is), myName(name), myBudget(is.remaining())
    {
        if (list) {
            myParms.emplace(*list, name, nullptr);
        }
    }

    bool readText()
    {
        myStream.skipByteOrderMark();
        for (const char *token : {"{", "version"}) {
            if (!myStream.checkToken(token)) {
                return isMissing(token, KIT_MessageSource::Word::NEXT);
            }
        }
        if (!myStream.aread(myTo.myVersion)) {
            return isMissing("a number after version");
        }
        tellVersion();
        std::string_view token;
        while (nextToken(token)) {
            if (token == theListEnd) {
                myTo.myWholeFlag = true;
                return true;
            }
            ZEL_StreamEntry entry;
            entry.token = token;
            mySource.setSubject(token);
            if (!takeText(myStream, entry)) {
                return isMissing("bracket of " + entry.token);
            }
            myTo.myEntries.push_back(std::move(entry));
        }
        return true;
    }

    bool readBinary()
    {
        KIT_Packet packet;
        int classId = 0;
        int packetId = 0;
        while (!myTo.myWholeFlag && packet.beginRead(myStream, classId, packetId)) {
            const bool good = classId == ZELlistPacketClass() ? readPacket(packetId)
                                                              : keep(classId, packetId, "");
            packet.endRead();
            if (!good) {
                KITaddCommonError(KIT_COMMON_CUT_PACKET, theListLoadLabel);
                return false;
            }
        }
        return true; // that the last packet is cut has been reported
    }

private:
    bool isMissing(std::string what, KIT_MessageSource::Word word = KIT_MessageSource::Word::LAST)
    {
        const std::shared_ptr<KIT_MessageDetail> detail = KIT_MessageSource::makeDetail(word);
        if (detail) {
            detail->expected = {what};
        }
        what += myName ? " (" + std::string(myName) + ")" : "";
        KITgetErrorManager().add(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, what.c_str(),
                                 KIT_ERROR_ABORT, detail);
        return false;
    }
    void tellVersion()
    {
        if (myTo.myVersion > theListFileVersion) {
            KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_NEWER_STREAM, myName);
        }
    }

    bool nextToken(std::string_view &token)
    {
        while (myStream.getWord(token)) {
            if (token.front() != theListComment) {
                return true;
            }
            const bool kindFlag = token == theKindComment;
            std::string comment(token);
            KIT_WorkBuffer rest;
            // The comment may be its line's last word.
            if (myStream.peek() != '\n') {
                myStream.getLine(rest);
                comment += rest.view();
            }
            if (!kindFlag || !takeKinds(rest.view())) {
                myTo.myComments.push_back(std::move(comment));
            }
        }
        return false;
    }

    /// The rest of a comment; false if it names no kind, or nothing that is of it.
    bool takeKinds(std::string_view line)
    {
        KIT_IStream is(line.data(), line.size(), KIT_IStream::TEXT);
        std::string_view word;
        const KindMark *mark = std::end(theKindMarks);
        if (is.getWord(word)) {
            mark = std::find_if(std::begin(theKindMarks), std::end(theKindMarks),
                                [&](const KindMark &one) { return one.word == word; });
        }
        bool namesFlag = false;
        while (mark != std::end(theKindMarks) && is.getWord(word)) {
            myMarks[std::string(word)] = mark;
            namesFlag = true;
        }
        return namesFlag;
    }

    /// Blocks grow for the name of an item; what can't grow is unknown.
    const ZEL_Parm *findParm(const std::string &token)
    {
        if (!myParms) {
            return nullptr;
        }
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        constexpr bool useMap = false;
        return myParms->findParm(KIT_StringRef(token.c_str()), useMap);
    }

    bool takeText(KIT_IStream &is, ZEL_StreamEntry &entry)
    {
        const ZEL_Parm *const parm = findParm(entry.token);
        const auto mark = parm ? myMarks.end() : myMarks.find(entry.token);
        const bool markFlag = mark != myMarks.end() && mark->second != theNoMark;
        const Kind kind = markFlag ? mark->second->kind : kindOf(parm);
        ZEL_StreamText text;
        if (!text.read(is, kind)) {
            return false;
        }
        text.makeEntry(kind, parm, entry, markFlag && mark->second->tokensFlag);
        entry.knownFlag = !markFlag;
        return true;
    }

    /// The packet as it is, with the payload from here.
    bool keep(int classId, int packetId, const std::string &token)
    {
        ZEL_StreamEntry entry;
        entry.token = token;
        entry.kind = Kind::PACKETS;
        entry.classId = classId;
        entry.packetId = packetId;
        entry.plainFlag = !myStream.isInShortPacket();
        entry.bytes = myStream.rest();
        entry.bytes.append(myStream.packets().zeros, '\0');
        myTo.myEntries.push_back(std::move(entry));
        return true;
    }

    bool readPacket(int packetId)
    {
        switch (packetId) {
        case LIST_END: myTo.myWholeFlag = true; return true;
        case LIST_VERSION:
            if (!myStream.bread(myTo.myVersion)) {
                return false;
            }
            tellVersion();
            return true;
        case LIST_PARM: return readParm();
        case LIST_TEXT: return readTextParm();
        default: return keep(ZELlistPacketClass(), packetId, "");
        }
    }
    bool readParm()
    {
        const std::int64_t start = myStream.tellg();
        if (!myStream.readTextAfter(myToken)) {
            return false;
        }
        const std::string token(myToken.view());
        const std::int64_t afterToken = myStream.tellg();
        ZEL_StreamEntry entry;
        entry.token = token;
        if (ZELreadStreamPackets(myStream, entry)) {
            entry.knownFlag = kindOf(findParm(token)) == entry.kind;
            myTo.myEntries.push_back(std::move(entry));
            return true;
        }
        myStream.seekg(myStream.isInShortPacket() ? afterToken : start);
        return keep(ZELlistPacketClass(), LIST_PARM, token);
    }
    bool readTextParm()
    {
        const std::int64_t start = myStream.tellg();
        std::string_view token, text;
        if (!myStream.readText(token) || !myStream.readText(text)) {
            return false;
        }
        ZEL_StreamEntry entry;
        entry.token = token;
        if (takeWhole(text, entry)) {
            myTo.myEntries.push_back(std::move(entry));
            return true;
        }
        myStream.seekg(start);
        return keep(ZELlistPacketClass(), LIST_TEXT, std::string(token));
    }

    /// A body of any kind: of one that isn't known, a text stream may have had it.
    bool takeWhole(std::string_view text, ZEL_StreamEntry &entry)
    {
        KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
        if (takeText(is, entry) && is.eof()) {
            return true;
        }
        for (const Kind kind : {Kind::STRING, Kind::ORDINAL, Kind::FLOAT, Kind::DATA}) {
            ZEL_StreamText body;
            is.seekg(0);
            if (body.read(is, kind) && is.eof()) {
                const std::string token = entry.token;
                entry = ZEL_StreamEntry();
                entry.token = token;
                entry.bytes = text;
                return true;
            }
        }
        return false;
    }

    ZEL_ParmStream &myTo;
    KIT_IStream &myStream;
    KIT_MessageSource mySource;
    const char *myName;
    const ZEL_InputBudget myBudget;
    std::optional<ZEL_ParmListReader> myParms;
    std::unordered_map<std::string, const KindMark *> myMarks;
    KIT_WorkBuffer myToken; // of the parameter's packet before
};

bool ZEL_ParmStream::read(KIT_IStream &is, const char *name, ZEL_ParmList *list)
{
    *this = ZEL_ParmStream();
    myVersion = theListFileVersion;
    KIT_ErrorManager::Scope reported(BASgetSTID());
    Reader reader(*this, is, name, list);
    const bool found = is.isBinary() ? reader.readBinary() : reader.readText();
    const bool good = found && KITgetErrorSeverity() < KIT_ERROR_ABORT;
    reported.getOuterManager().stealErrors(reported.getManager());
    return good;
}

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

class ZEL_ParmStream::Writer
{
public:
    explicit Writer(const ZEL_ParmStream &from) : myFrom(from) {}

    /// False if the form can't hold an entry; all of them are reported.
    bool write(Form form) { return form == Form::BINARY ? writeBinary() : writeText(form); }

    const KIT_ByteBuffer &getBytes() const { return myBytes; }

private:
    bool writeText(Form form)
    {
        char digits[32];
        const char *const end = std::to_chars(digits, std::end(digits), myFrom.myVersion).ptr;
        myBytes << "{\nversion " << std::string_view(digits, std::size_t(end - digits)) << '\n';
        if (form == Form::MARKED_TEXT) {
            writeKinds();
        }
        for (const ZEL_StreamEntry &entry : myFrom.myEntries) {
            const std::optional<std::string> text =
                ZELisTextName(entry.token) ? entry.getText() : std::nullopt;
            if (text) {
                if (form == Form::MARKED_TEXT) {
                    writeKindOf(entry);
                }
                myBytes << entry.token << '\t' << *text << '\n';
            } else {
                refuse(entry);
            }
        }
        myBytes << theListEnd << '\n';
        return myGoodFlag;
    }

    /// Those of all names; what a later entry of a name has else stands before it.
    void writeKinds()
    {
        constexpr std::size_t theMost = 100;
        for (const ZEL_StreamEntry &entry : myFrom.myEntries) {
            myMarks.emplace(entry.token, markFor(entry));
        }
        for (const KindMark *mark = theKindMarks; mark != theNoMark; ++mark) {
            std::string line;
            for (const ZEL_StreamEntry &entry : myFrom.myEntries) {
                if (markFor(entry) == mark && myMarks[entry.token] == mark) {
                    line += ' ' + entry.token;
                }
                const bool lastFlag = &entry == &myFrom.myEntries.back();
                if (!line.empty() && (lastFlag || line.size() > theMost)) {
                    myBytes << theKindComment << ' ' << mark->word << line << '\n';
                    line.clear();
                }
            }
        }
    }
    void writeKindOf(const ZEL_StreamEntry &entry)
    {
        const KindMark *&mark = myMarks[entry.token];
        if (mark != markFor(entry)) {
            mark = markFor(entry);
            myBytes << theKindComment << ' ' << mark->word << ' ' << entry.token << '\n';
        }
    }

    bool writeBinary()
    {
        const int classId = ZELlistPacketClass();
        myBytes.beginSeries();
        myBytes.appendPacket(classId, LIST_VERSION, myFrom.myVersion);
        for (const ZEL_StreamEntry &entry : myFrom.myEntries) {
            if (entry.kind == Kind::PACKETS) {
                appendKept(entry);
            } else if (entry.fitsPackets()) {
                const KIT_ByteBuffer::Packet packet = myBytes.beginPacket(classId, LIST_PARM);
                appendToken(entry);
                ZELappendStreamPackets(myBytes, entry);
                myBytes.endPacket(packet);
            } else {
                appendAsText(entry);
            }
        }
        myBytes.appendPacket(classId, LIST_END);
        myBytes.endSeries();
        return myGoodFlag;
    }

    void refuse(const ZEL_StreamEntry &entry)
    {
        myGoodFlag = false;
        const std::string name = entry.classId != 0 && entry.token.empty()
                                     ? "packet " + std::to_string(entry.packetId)
                                     : entry.token;
        KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_FORM, name.c_str());
    }
    void appendToken(const ZEL_StreamEntry &entry)
    {
        myBytes.appendTextAfter(entry.token, myTokenBefore);
        myTokenBefore = entry.token;
    }
    /// In full, so that readers that don't know these packets lose none of the names around them.
    void appendAsText(const ZEL_StreamEntry &entry)
    {
        const std::optional<std::string> text = entry.getText();
        if (!text) {
            refuse(entry);
            return;
        }
        const KIT_ByteBuffer::Packet packet = myBytes.beginPacket(ZELlistPacketClass(), LIST_TEXT);
        myBytes.appendText(entry.token);
        myBytes.appendText(*text);
        myBytes.endPacket(packet);
    }
    void appendKept(const ZEL_StreamEntry &entry)
    {
        const bool parmFlag = entry.packetId == LIST_PARM && entry.classId == ZELlistPacketClass();
        if (entry.plainFlag) {
            const KIT_ByteBuffer::Packet packet =
                myBytes.beginPlainPacket(entry.classId, entry.packetId);
            myBytes << entry.bytes;
            myBytes.endPacket(packet);
            if (parmFlag) {
                myTokenBefore = entry.token;
            }
            return;
        }
        const KIT_ByteBuffer::Packet packet = myBytes.beginPacket(entry.classId, entry.packetId);
        if (parmFlag) {
            appendToken(entry);
        }
        myBytes << entry.bytes;
        myBytes.endPacket(packet);
    }

    const ZEL_ParmStream &myFrom;
    KIT_ByteBuffer myBytes;
    std::string_view myTokenBefore;
    std::unordered_map<std::string_view, const KindMark *> myMarks; ///< that count so far
    bool myGoodFlag = true;
};

/// What a broken stream holds may read as something else where it is written. Such is told, not written.
bool ZEL_ParmStream::isReadAgain(const KIT_ByteBuffer &bytes, Form form) const
{
    const std::string once(bytes.view());
    ZEL_ParmStream back;
    bool same = false;
    {
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        KIT_IStream is(once.data(), once.size(),
                       form == Form::BINARY ? KIT_IStream::BINARY : KIT_IStream::TEXT);
        Writer again(back);
        same = back.read(is, nullptr) && again.write(form) && once == again.getBytes().view();
    }
    if (!same) {
        const auto differences = compare(*this, back);
        KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_FORM,
                    differences.empty() ? "" : differences.front().token.c_str());
    }
    return same && (form != Form::MARKED_TEXT || givesPackets(back));
}

/// Whether the text, read again without a list, makes the packets of the version and of the entries that no list
/// knew; each that doesn't is reported.
bool ZEL_ParmStream::givesPackets(const ZEL_ParmStream &text) const
{
    const auto packetsOf = [](const ZEL_StreamEntry &entry) {
        const KIT_ErrorManager::Scope quiet(BASgetSTID());
        ZEL_ParmStream alone;
        alone.myEntries = {entry};
        Writer writer(alone);
        return writer.write(Form::BINARY) ? std::string(writer.getBytes().view()) : std::string();
    };
    const auto isThere = [&](std::size_t i) {
        return i < std::min(myEntries.size(), text.myEntries.size()) &&
               text.myEntries[i].token == myEntries[i].token &&
               (myEntries[i].knownFlag || packetsOf(text.myEntries[i]) == packetsOf(myEntries[i]));
    };
    // The bits of a NaN aren't in its text.
    bool same = std::memcmp(&myVersion, &text.myVersion, sizeof myVersion) == 0;
    if (!same) {
        KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_FORM, "version");
    }
    for (std::size_t i = 0; i < std::max(myEntries.size(), text.myEntries.size()); ++i) {
        if (!isThere(i)) {
            const Entries &entries = i < myEntries.size() ? myEntries : text.myEntries;
            KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_FORM, entries[i].token.c_str());
            same = false;
        }
    }
    return same;
}

bool ZEL_ParmStream::write(std::ostream &os, Form form) const
{
    const std::uint64_t refusedBefore = BASfailedAllocations();
    Writer writer(*this);
    if (!writer.write(form) || !isReadAgain(writer.getBytes(), form)) {
        return false;
    }
    writer.getBytes().writeTo(os);
    if (BASfailedAllocations() != refusedBefore) {
        os.setstate(std::ios::failbit);
    }
    return KITcheckOutStream(os, theListSaveLabel, nullptr);
}

void ZEL_ParmStream::leaveOutValueless(const ZEL_ParmList &list)
{
    const auto hasNone = [&](const ZEL_StreamEntry &entry) {
        const ZEL_Parm *const parm = list.getParmPtr(entry.token.c_str());
        return parm && ZELisLeftOutOfCompact(*parm);
    };
    myEntries.erase(std::remove_if(myEntries.begin(), myEntries.end(), hasNone), myEntries.end());
}

// ---------------------------------------------------------------------- //
// Comparing
// ---------------------------------------------------------------------- //

namespace
{

using Places = std::unordered_map<std::string_view, std::size_t>;

/// The last entry of each token.
Places placesOf(const ZEL_ParmStream::Entries &entries)
{
    Places places;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        places[entries[i].token] = i;
    }
    return places;
}

/// The token of a menu's number, as a save would write it.
void useTokens(const ZEL_Parm &parm, ZEL_StreamEntry &entry)
{
    const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
    if (!menu || menu->getStaticSize() < 0 ||
        parm.getType().hasOrdinalType(ZEL_Type::ZEL_ORD_CALLBACK)) {
        return;
    }
    for (ZEL_StreamValue &value : entry.values) {
        const auto *number = std::get_if<std::int64_t>(&value.value);
        KIT_String token;
        if (!number || value.drivenFlag) {
            continue;
        }
        if ((menu->getType() & ZEL_CHOICELIST_USE_TOKEN) != 0) {
            value.value = std::to_string(*number);
        } else if (menu->tokenFromIndex(token, *number, nullptr, nullptr, nullptr)) {
            value.value = std::string(token.view());
        }
    }
}

/// What a load makes of options that aren't there, in a list that has none.
void useDefaults(const ZEL_Parm &parm, ZEL_StreamEntry &entry)
{
    if (entry.kind == Kind::FLOAT) {
        entry.options.flags = entry.options.flags.value_or(0);
        entry.options.locks = entry.options.locks.value_or(0);
    } else if (entry.kind == Kind::ORDINAL) {
        useTokens(parm, entry);
    }
}

/// In one line; of bytes that have no text, what they are.
std::string lineOf(const ZEL_StreamEntry &entry)
{
    const std::optional<std::string> text = entry.getText();
    if (!text) {
        return "( " + std::to_string(entry.bytes.size()) + " bytes that have no text )";
    }
    std::string line;
    bool quotedFlag = false;
    for (std::size_t i = 0; i < text->size(); ++i) {
        const char c = (*text)[i];
        const bool blankFlag = KIT_IStream::isWhitespace(c) && !quotedFlag;
        if (c == '\\' && quotedFlag && i + 1 < text->size()) {
            line += c;
            line += (*text)[++i];
            continue;
        }
        quotedFlag = c == '"' ? !quotedFlag : quotedFlag;
        if (!blankFlag) {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    return line;
}

/// Numbers by their texts, which are as exact.
bool isSame(const ZEL_StreamEntry &left, const ZEL_StreamEntry &right)
{
    const std::optional<std::string> text = left.getText();
    return text == right.getText() && (text || left.bytes == right.bytes);
}

} // namespace

void ZEL_ParmStream::complete(const ZEL_ParmList &list)
{
    std::ostringstream os;
    constexpr bool binary = true;
    constexpr bool compact = false;
    {
        KIT_ErrorManager::Scope reported(BASgetSTID()); // a save ends at what was reported before
        list.save(os, binary, compact);
        reported.getOuterManager().stealErrors(reported.getManager());
    }
    const std::string bytes = os.str();
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::BINARY);
    ZEL_ParmStream whole;
    if (!whole.read(is, nullptr)) {
        return;
    }
    const Places listed = placesOf(whole.myEntries);
    const Places own = placesOf(myEntries);
    Entries entries;
    for (ZEL_StreamEntry &entry : whole.myEntries) {
        const auto found = own.find(entry.token);
        entries.push_back(found == own.end() ? entry : myEntries[found->second]);
        if (const ZEL_Parm *const parm = list.getParmPtr(entry.token.c_str())) {
            useDefaults(*parm, entries.back());
        }
    }
    for (std::size_t i = 0; i < myEntries.size(); ++i) {
        if (listed.count(myEntries[i].token) == 0 && own.at(myEntries[i].token) == i) {
            entries.push_back(myEntries[i]);
        }
    }
    myEntries = std::move(entries);
}

std::vector<ZEL_StreamDifference> ZEL_ParmStream::compare(const ZEL_ParmStream &left,
                                                          const ZEL_ParmStream &right)
{
    const Places inLeft = placesOf(left.myEntries);
    const Places inRight = placesOf(right.myEntries);
    std::vector<ZEL_StreamDifference> differences;
    for (std::size_t i = 0; i < left.myEntries.size(); ++i) {
        const ZEL_StreamEntry &entry = left.myEntries[i];
        if (inLeft.at(entry.token) != i) {
            continue; // a later one counts
        }
        const auto found = inRight.find(entry.token);
        const ZEL_StreamEntry *const other =
            found == inRight.end() ? nullptr : &right.myEntries[found->second];
        if (!other) {
            differences.push_back({entry.token, lineOf(entry), std::nullopt});
        } else if (!isSame(entry, *other)) {
            differences.push_back({entry.token, lineOf(entry), lineOf(*other)});
        }
    }
    for (std::size_t i = 0; i < right.myEntries.size(); ++i) {
        const ZEL_StreamEntry &entry = right.myEntries[i];
        if (inRight.at(entry.token) == i && inLeft.count(entry.token) == 0) {
            differences.push_back({entry.token, std::nullopt, lineOf(entry)});
        }
    }
    return differences;
}
