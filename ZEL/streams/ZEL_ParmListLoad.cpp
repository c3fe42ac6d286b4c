// The parameter stream, read.

#include <ZEL/ZEL_ParmList.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_Packet.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_EventManager.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmNameMap.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>
#include <ZEL/support/ZEL_StreamLimitPrivate.h>

#include <string>

namespace
{

constexpr char theComment = '#';

KIT_StringRef refTo(const KIT_WorkBuffer &word)
{
    return KIT_StringRef(word.buffer(), word.length());
}

bool opensGroup(const KIT_WorkBuffer &word)
{
    return word.view() == "(" || word.view() == "[";
}

/// Reads to the ")" that ends an entry's body, options included. False at the end of the stream.
bool skipBody(KIT_IStream &is, KIT_WorkBuffer &word)
{
    while (is.getWord(word)) {
        if (word.view() == ")") {
            return true;
        }
    }
    return false;
}

/// The text with the stream's name in brackets, if it has one.
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

void missingToken(const char *token, const char *name)
{
    KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, withName(token, " ", name).c_str());
}

void unknownParm(const KIT_WorkBuffer &token, const std::string &text)
{
    // Folder parameters that every old scene carries and no list has.
    const std::string_view view = token.view();
    constexpr std::string_view thePrefix = "stdswitcher";
    if (view != "standardfolder" && view.substr(0, thePrefix.size()) != thePrefix) {
        KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_UNKNOWN_PARM, text.c_str());
    }
}

/// A packet's header, for a look ahead: what is wrong with it is told when it is read for good.
bool peekPacket(KIT_Packet &packet, KIT_IStream &is, int &classId, int &packetId)
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    return packet.beginRead(is, classId, packetId);
}

} // namespace

// ---------------------------------------------------------------------- //
// Whose entry is it
// ---------------------------------------------------------------------- //

ZEL_Parm *ZEL_ParmList::findLoadParm(const KIT_StringRef &name, ZEL_ParmList *fallbackList,
                                     ZEL_ParmNameMap *map, bool useMap)
{
    if (!name.isEmpty()) {
        ZEL_Parm *parm = getParmPtr(getParmIndex(name));
        if (!isSaved(parm) && checkMultiParmInstance(name, false)) {
            parm = getParmPtr(getParmIndex(name));
        }
        if (isSaved(parm)) {
            return parm;
        }
    }
    if (fallbackList) {
        ZEL_Parm *parm = fallbackList->getParmPtr(name);
        if (isSaved(parm)) {
            return parm;
        }
    }
    const char *loadAs = useMap && map ? map->findName(name.c_str()) : nullptr;
    return loadAs ? findLoadParm(KIT_StringRef(loadAs), fallbackList, map, false) : nullptr;
}

bool ZEL_ParmList::isKnownForLoad(const KIT_StringRef &name, const ZEL_ParmList *fallbackList)
{
    return getParmIndex(name) >= 0 || checkMultiParmInstance(name, false) ||
           (fallbackList && fallbackList->getParmIndex(name) >= 0);
}

void ZEL_ParmList::loadUnknownParmNames(KIT_IStream &is, KIT_StringArray &names,
                                        ZEL_ParmList *fallbackList)
{
    const std::int64_t start = is.tellg();
    KIT_WorkBuffer word;
    const auto test = [&] {
        if (!isKnownForLoad(refTo(word), fallbackList)) {
            names.append(word.buffer());
        }
    };
    if (is.isBinary()) {
        KIT_Packet packet;
        int classId = 0;
        int packetId = 0;
        while (peekPacket(packet, is, classId, packetId) && classId == classPacketId() &&
               packetId != LIST_END) {
            if (packetId == LIST_PARM && is.readWorkBuffer(word, true)) {
                test();
            }
            packet.endRead();
        }
    } else {
        float version = 0.0f;
        bool skipsBodies = is.checkToken("{") && is.checkToken("version") && is.aread(version) &&
                           !(version > theFileVersion);
        while (is.getNonCommentWord(word, theComment) && word.view() != "}") {
            test();
            if (!is.getWord(word) || !opensGroup(word)) {
                break;
            }
            // Bodies of a newer version may end elsewhere: their words are offered as names.
            skipsBodies = skipsBodies && skipBody(is, word);
        }
    }
    is.seekg(start);
}

void ZEL_ParmList::offerUnknownNames(KIT_StringArray &names, const char *name, ZEL_ParmNameMap &map)
{
    KIT_String errors;
    if (names.size() == 0 || myOwner->createSpareParametersForLoad(names, map, errors)) {
        return;
    }
    std::string text = withName("Parameter List Load Conversion Error", " ", name);
    if (errors.length() > 0) {
        text += " - ";
        text += errors.c_str();
    }
    KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, text.c_str());
}

// ---------------------------------------------------------------------- //
// Load
// ---------------------------------------------------------------------- //

bool ZEL_ParmList::load(KIT_IStream &is, const char *name, ZEL_ParmList *fallbackList)
{
    const ZEL_StreamLimit limit(is.remaining());
    const TRK_AutoEventHandler events;
    ZEL_ParmNameMap map;
    if (myOwner) {
        KIT_StringArray names;
        loadUnknownParmNames(is, names, fallbackList);
        offerUnknownNames(names, name, map);
    }
    const LoadResult result = is.isBinary() ? loadBinary(is, name, fallbackList, map)
                                            : loadText(is, name, fallbackList, map);
    if (result == LoadResult::ABANDONED) {
        return false;
    }
    validateChannelNames();
    for (int i = getEntries(); i-- > 0 && !isTimeDependent();) {
        const ZEL_Parm *parm = getParmPtr(i);
        if (isSaved(parm) && parm->isTimeDependent(-1)) {
            setTimeDependent();
        }
    }
    return result == LoadResult::LOADED && KITgetErrorSeverity() < KIT_ERROR_ABORT;
}

ZEL_ParmList::LoadResult ZEL_ParmList::loadText(KIT_IStream &is, const char *name,
                                                ZEL_ParmList *fallbackList, ZEL_ParmNameMap &map)
{
    for (const char *token : {"{", "version"}) {
        if (!is.checkToken(token)) {
            missingToken(token, name);
            return LoadResult::ABANDONED;
        }
    }
    float version = 0.0f;
    if (!is.aread(version)) {
        return LoadResult::ABANDONED;
    }
    if (version > theFileVersion) {
        KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_NEWER_STREAM, nullptr);
    }
    bool failed = false;
    KIT_WorkBuffer word;
    while (is.getNonCommentWord(word, theComment) && word.view() != "}") {
        if (ZEL_Parm *parm = findLoadParm(refTo(word), fallbackList, &map, true)) {
            failed = !parm->load(is) || failed;
            continue;
        }
        unknownParm(word, word.buffer());
        if (!is.getWord(word)) {
            failed = true;
            break;
        }
        if (!opensGroup(word)) {
            missingToken("(", name);
            return LoadResult::ABANDONED;
        }
        // Behind a failure it is no longer sure where bodies end: nothing is skipped, and the words
        // are tried as names.
        failed = failed || !skipBody(is, word);
    }
    return failed ? LoadResult::FAILED : LoadResult::LOADED;
}

ZEL_ParmList::LoadResult ZEL_ParmList::loadBinary(KIT_IStream &is, const char *name,
                                                  ZEL_ParmList *fallbackList, ZEL_ParmNameMap &map)
{
    KIT_Packet packet;
    int classId = 0;
    int packetId = 0;
    while (packet.beginRead(is, classId, packetId)) {
        if (classId != classPacketId()) {
            const std::string text =
                std::string(theListLoadLabel) + ": " + (name ? name : "wrong ID");
            KITaddCommonWarning(KIT_COMMON_WRONG_CLASS, text.c_str());
            packet.endRead();
            continue;
        }
        const bool loaded = loadBinaryPacket(is, packetId, name, fallbackList, map);
        packet.endRead();
        if (!loaded) {
            return LoadResult::FAILED;
        }
        if (packetId == LIST_END || KITgetErrorSeverity() >= KIT_ERROR_ABORT) {
            break;
        }
    }
    return LoadResult::LOADED;
}

bool ZEL_ParmList::loadBinaryPacket(KIT_IStream &is, int packetId, const char *name,
                                    ZEL_ParmList *fallbackList, ZEL_ParmNameMap &map)
{
    if (packetId == LIST_END) {
        return true;
    }
    if (packetId == LIST_VERSION) {
        float version = 0.0f;
        if (!is.bread(version)) {
            return false;
        }
        if (version > theFileVersion) {
            KITaddWarning(ZEL_ERROR_CATEGORY, ZEL_ERR_NEWER_STREAM, name ? name : "");
        }
        return true;
    }
    if (packetId != LIST_PARM) {
        KITaddCommonWarning(KIT_COMMON_UNKNOWN_PACKET, name ? name : theListLoadLabel);
        return true;
    }
    KIT_WorkBuffer token;
    if (!is.readWorkBuffer(token, true)) {
        return false;
    }
    if (ZEL_Parm *parm = findLoadParm(refTo(token), fallbackList, &map, true)) {
        return parm->load(is);
    }
    unknownParm(token, withName(token.buffer(), ": ", name));
    return true;
}
