#include <ZEL/streams/ZEL_ParmListReaderPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_PacketHeader.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>

#include <cstring>
#include <string>

namespace
{

constexpr bool theEvaluateChildren = false;
constexpr bool theUseMap = true;

KIT_StringRef refTo(const KIT_WorkBuffer &word)
{
    return KIT_StringRef(word.buffer(), word.length());
}

bool opensGroup(std::string_view word)
{
    return word.size() == 1 && (word[0] == '(' || word[0] == '[');
}

/// Moves behind the word ")" that ends an entry's body, options included. False at the end of the
/// stream.
bool skipBody(KIT_IStream &is)
{
    const std::string_view rest = is.rest();
    const char *const begin = rest.data();
    const char *const end = begin + rest.size();
    const char *at = begin;
    const auto next = [&] {
        return static_cast<const char *>(std::memchr(at, ')', std::size_t(end - at)));
    };
    for (; (at = next()) != nullptr; ++at) {
        if ((at == begin || KIT_IStream::isWhitespace(at[-1])) &&
            (at + 1 == end || KIT_IStream::isWhitespace(at[1]))) {
            return is.seekg(is.tellg() + (at + 1 - begin));
        }
    }
    is.seekg(is.tellg() + is.remaining());
    return false;
}

/// The text followed by the stream's name in brackets, if it has one.
std::string withName(std::string text, const char *separator, const char *name)
{
    if (name) {
        text += separator;
        text += "(";
        text += name;
        text += ")";
    }
    return text;
}

void missingToken(const char *token, const char *name, bool astray,
                  KIT_MessageSource::Word word = KIT_MessageSource::Word::NEXT)
{
    const std::shared_ptr<KIT_MessageDetail> detail = KIT_MessageSource::makeDetail(word);
    if (detail) {
        detail->expected = {token};
        detail->followsFlag = astray;
        detail->endsFlag = true;
    }
    KITgetErrorManager().add(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING,
                             withName(token, " ", name).c_str(), KIT_ERROR_ABORT, detail);
}

} // namespace

void ZEL_ParmListReader::unknownParm(const KIT_WorkBuffer &token, const std::string &text,
                                     bool astray)
{
    // Folder parameters that every old scene contains and no list has.
    const std::string_view view = token.view();
    constexpr std::string_view thePrefix = "stdswitcher";
    if (view != "standardfolder" && view.substr(0, thePrefix.size()) != thePrefix) {
        const std::shared_ptr<KIT_MessageDetail> detail = KIT_MessageSource::makeDetail();
        if (detail) {
            addNearest(token.view(), *detail);
            detail->followsFlag = astray;
        }
        KITgetErrorManager().add(ZEL_ERROR_CATEGORY, ZEL_ERR_UNKNOWN_PARM, text.c_str(),
                                 KIT_ERROR_WARNING, detail);
    }
}

/// A stream is made by a program: names that differ are those of another version, so none is a fix. A hint
/// is given as long as there is no more to compare than takes little time.
void ZEL_ParmListReader::addNearest(std::string_view name, KIT_MessageDetail &detail)
{
    constexpr std::size_t theMost = 1000000;
    detail.found = name;
    myCompared += std::size_t(myList.getEntries());
    if (myCompared > theMost) {
        return;
    }
    std::vector<std::string> names;
    for (int i = 0; i < myList.getEntries(); ++i) {
        const ZEL_Parm *const parm = myList.getParmPtr(i);
        if (isSaved(parm)) {
            names.emplace_back(parm->getInstance()->getTokenRef().view());
        }
    }
    const std::string *const nearest = KITnearestWord(std::string(name), names);
    if (nearest) {
        detail.hint = "did you mean '" + *nearest + "'?";
        detail.expected = {*nearest};
    }
}

// ---------------------------------------------------------------------- //
// Finding the parameter of an entry
// ---------------------------------------------------------------------- //

/// In the list, which nothing has to grow for. The name needs no NUL after it: it is only compared.
/// Entries that this library wrote are in list order. An empty name isn't looked up.
ZEL_Parm *ZEL_ParmListReader::findListed(std::string_view name)
{
    const int index = name.empty() ? -1 : myList.getLikelyParmIndex(name, myNext);
    ZEL_Parm *const parm = myList.getParmPtr(index);
    if (!isSaved(parm) || parm->getInstance()->isLeaving()) {
        return nullptr;
    }
    myNext = index + 1;
    return parm;
}

/// The same, whether it is saved or not.
bool ZEL_ParmListReader::isInList(std::string_view name, int &next) const
{
    const int index = myList.getLikelyParmIndex(name, next);
    next = index >= 0 ? index + 1 : next;
    return index >= 0;
}

ZEL_Parm *ZEL_ParmListReader::findParm(const KIT_StringRef &name, bool useMap)
{
    if (!name.isEmpty()) {
        ZEL_Parm *parm = myList.findSettledParm(name);
        if (!isSaved(parm) && growFor(name)) {
            int index = -1;
            parm = myList.findStayingParm(name, index);
        }
        if (isSaved(parm)) {
            return parm;
        }
    }
    if (myFallbackList) {
        ZEL_Parm *parm = myFallbackList->getParmPtr(name);
        if (isSaved(parm)) {
            return parm;
        }
    }
    const char *loadAs = useMap ? myMap.findName(name.c_str()) : nullptr;
    // A replacement name isn't looked up in the map again.
    constexpr bool useMapAgain = false;
    return loadAs ? findParm(KIT_StringRef(loadAs), useMapAgain) : nullptr;
}

/// As `ZEL_ParmList::checkMultiParmInstance`, for many names.
bool ZEL_ParmListReader::growFor(const KIT_StringRef &name)
{
    int number = -1;
    ZEL_Multi *const multi = myBlocks.find(name, number);
    if (multi) {
        myList.growToNumber(*multi, number, theEvaluateChildren);
    }
    return multi != nullptr;
}

void ZEL_ParmListReader::testName(std::string_view name, KIT_StringArray &names)
{
    KIT_WorkBuffer text;
    text.append(name);
    const KIT_StringRef ref = refTo(text);
    if (!growFor(ref) && !(myFallbackList && myFallbackList->getParmIndex(ref) >= 0)) {
        names.append(text.buffer());
    }
}

void ZEL_ParmListReader::readUnknownText(KIT_IStream &is, KIT_StringArray &names)
{
    float version = 0.0f;
    bool skipsBodies = is.checkToken("{") && is.checkToken("version") && is.aread(version) &&
                       !(version > theListFileVersion);
    int next = 0;
    std::string_view word;
    while (is.getNonCommentWord(word, theListComment) && word != theListEnd) {
        if (!isInList(word, next)) {
            testName(word, names);
        }
        if (!is.getWord(word) || !opensGroup(word)) {
            break;
        }
        // Bodies of a newer version may end elsewhere: their tokens are tried as names.
        skipsBodies = skipsBodies && skipBody(is);
    }
}

/// Moves past entries of this list, as long as they begin as most of a series do: does what KIT_Packet
/// would, without keeping a packet for each.
void ZEL_ParmListReader::skipUsual(KIT_IStream &is, KIT_WorkBuffer &name, int &next) const
{
    using Header = KIT_PacketHeader;
    constexpr char theHead = char(Header::first(LIST_PARM, Header::LENGTH_1, false));
    constexpr std::size_t theHeadBytes = 2;
    const int classId = ZELlistPacketClass();
    KIT_IStream::PacketSeries &series = is.series();
    const bool isNested = is.isInShortPacket();
    const bool goesOn = isNested ? is.packets().classId == classId
                                 : series.begin >= 0 && !series.isOver &&
                                       series.next == is.tellg() && series.classId == classId;
    std::string_view rest = goesOn ? is.rest() : std::string_view();
    while (rest.size() > theHeadBytes && rest[0] == theHead) {
        const std::size_t length = static_cast<unsigned char>(rest[1]);
        const std::size_t head = static_cast<unsigned char>(rest[theHeadBytes]);
        const std::size_t shared = head >> 4;
        const std::size_t own = head & KIT_ByteBuffer::theLongTextAfter;
        if (length > rest.size() - theHeadBytes || own >= length ||
            own == KIT_ByteBuffer::theLongTextAfter || shared > name.length()) {
            return;
        }
        // Whoever reads the entry again takes the same part of the name before from this one.
        name.truncate(shared);
        name.append(rest.data() + theHeadBytes + 1, own);
        if (!isInList(name.view(), next)) {
            return;
        }
        rest.remove_prefix(theHeadBytes + length);
        is.seekg(is.tellg() + std::int64_t(theHeadBytes + length));
        series.next = isNested ? series.next : is.tellg();
    }
}

/// Reads to the next entry that isn't of this list. False at the end of the list.
bool ZEL_ParmListReader::skipListed(KIT_IStream &is, KIT_Packet &packet, KIT_WorkBuffer &name,
                                    int &next, std::string_view &unknown)
{
    // Errors are reported when the packets are read for good.
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    for (;;) {
        int classId = 0;
        int packetId = 0;
        packet.endRead();
        skipUsual(is, name, next);
        if (!packet.beginRead(is, classId, packetId) || classId != ZELlistPacketClass() ||
            packetId == LIST_END) {
            return false;
        }
        if (packetId == LIST_PARM && is.readTextAfter(name) && !isInList(name.view(), next)) {
            unknown = name.view();
            return true;
        }
        // Its name doesn't share with those around it.
        if (packetId == LIST_TEXT && is.readText(unknown) && !isInList(unknown, next)) {
            return true;
        }
    }
}

void ZEL_ParmListReader::readUnknownNames(KIT_IStream &is, KIT_StringArray &names)
{
    const std::int64_t start = is.tellg();
    if (is.isBinary()) {
        KIT_Packet packet;
        KIT_WorkBuffer name;
        int next = 0;
        std::string_view unknown;
        while (skipListed(is, packet, name, next, unknown)) {
            testName(unknown, names);
        }
    } else {
        readUnknownText(is, names);
    }
    is.seekg(start);
}

void ZEL_ParmListReader::offerUnknownNames(KIT_StringArray &names)
{
    KIT_String errors;
    if (names.size() == 0 ||
        myList.getParmOwner()->createSpareParametersForLoad(names, myMap, errors)) {
        return;
    }
    std::string text = withName("Parameter List Load Conversion Error", " ", myName);
    if (errors.length() > 0) {
        text += " - ";
        text += errors.c_str();
    }
    KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, text.c_str());
}

// ---------------------------------------------------------------------- //
// The stream
// ---------------------------------------------------------------------- //

ZEL_ParmListReader::Result ZEL_ParmListReader::read(KIT_IStream &is)
{
    KIT_MessageSource source(is);
    mySource = &source;
    if (!is.isBinary()) {
        is.skipByteOrderMark();
    }
    if (myList.getParmOwner()) {
        KIT_StringArray names;
        readUnknownNames(is, names);
        offerUnknownNames(names);
    }
    const Result result = is.isBinary() ? readBinary(is) : readText(is);
    mySource = nullptr;
    return result;
}

ZEL_ParmListReader::Result ZEL_ParmListReader::readText(KIT_IStream &is)
{
    for (const char *token : {"{", "version"}) {
        if (!is.checkToken(token)) {
            missingToken(token, myName, false);
            return Result::ABANDONED;
        }
    }
    float version = 0.0f;
    if (!is.aread(version)) {
        return Result::ABANDONED;
    }
    if (version > theListFileVersion) {
        KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_NEWER_STREAM, nullptr);
    }
    bool failed = false;
    std::string_view name;
    KIT_WorkBuffer word;
    while (is.getNonCommentWord(name, theListComment) && name != theListEnd) {
        mySource->setSubject(name);
        mySource->setOpening(name, "the entry begins here");
        ZEL_Parm *parm = findListed(name);
        if (!parm) {
            word.clear();
            word.append(name);
            parm = findParm(refTo(word), theUseMap);
        }
        if (parm) {
            failed = !parm->load(is) || failed;
            continue;
        }
        const bool astray = failed && KITgetErrorSeverity() >= KIT_ERROR_ABORT;
        unknownParm(word, word.buffer(), astray);
        if (!is.getWord(word)) {
            failed = true;
            break;
        }
        if (!opensGroup(word.view())) {
            missingToken("(", myName, astray, KIT_MessageSource::Word::LAST);
            return Result::ABANDONED;
        }
        // After a failure it is unknown where bodies end: nothing is skipped, and the tokens
        // are tried as names.
        failed = failed || !skipBody(is);
        mySource->setSubject({});
    }
    return failed ? Result::FAILED : Result::LOADED;
}

ZEL_ParmListReader::Result ZEL_ParmListReader::readBinary(KIT_IStream &is)
{
    KIT_Packet packet;
    int classId = 0;
    int packetId = 0;
    while (packet.beginRead(is, classId, packetId)) {
        if (classId != ZELlistPacketClass()) {
            const std::string text =
                std::string(theListLoadLabel) + ": " + (myName ? myName : "wrong ID");
            KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, text.c_str());
            packet.endRead();
            continue;
        }
        const bool loaded = readPacket(is, packetId);
        packet.endRead();
        mySource->setSubject({});
        if (!loaded) {
            return Result::FAILED;
        }
        if (packetId == LIST_END || KITgetErrorSeverity() >= KIT_ERROR_ABORT) {
            break;
        }
    }
    return Result::LOADED;
}

bool ZEL_ParmListReader::readPacket(KIT_IStream &is, int packetId)
{
    if (packetId == LIST_END) {
        return true;
    }
    if (packetId == LIST_VERSION) {
        float version = 0.0f;
        if (!is.bread(version)) {
            return false;
        }
        if (version > theListFileVersion) {
            KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_NEWER_STREAM, myName ? myName : "");
        }
        return true;
    }
    if (packetId == LIST_TEXT) {
        return readTextParm(is);
    }
    if (packetId != LIST_PARM) {
        KITaddCommonWarning(KIT_COMMON_UNKNOWN_PACKET, myName ? myName : theListLoadLabel);
        return true;
    }
    if (!is.readTextAfter(myToken)) {
        return false;
    }
    mySource->setSubject(myToken.view());
    ZEL_Parm *const listed = findListed(myToken.view());
    if (ZEL_Parm *parm = listed ? listed : findParm(refTo(myToken), theUseMap)) {
        return parm->load(is);
    }
    unknownParm(myToken, withName(myToken.buffer(), ": ", myName));
    return true;
}

/// An entry of which no one knew a kind when the stream was made of a text.
bool ZEL_ParmListReader::readTextParm(KIT_IStream &is)
{
    std::string_view token, text;
    if (!is.readText(token) || !is.readText(text)) {
        return false;
    }
    KIT_WorkBuffer name;
    name.append(token);
    mySource->setSubject(token);
    ZEL_Parm *const listed = findListed(token);
    if (ZEL_Parm *const parm = listed ? listed : findParm(refTo(name), theUseMap)) {
        KIT_IStream words(text.data(), text.size(), KIT_IStream::TEXT);
        return parm->load(words);
    }
    unknownParm(name, withName(name.buffer(), ": ", myName));
    return true;
}
