// Reads and writes the text of one preset.

#include <ZEL/ZEL_PresetInfo.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <STO/STO_Reader.h>
#include <STO/STO_Writer.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_SaveParms.h>

#include <cstring>
#include <ostream>

namespace
{

constexpr const char *theHeader = "#PSI_PRESET";
constexpr const char *theVersionWord = "version";
constexpr const char *theVersion = "2.0a";
constexpr std::string_view theChannels = "channels";
constexpr std::string_view theValues = "values";
constexpr const char *theSaveLabel = "Preset Save";

/// A preset is text, whatever mode the stream was opened in.
class TextMode
{
public:
    explicit TextMode(KIT_IStream &is) : myStream(is), myBinaryFlag(is.isBinary())
    {
        is.setBinary(false);
    }
    ~TextMode() { myStream.setBinary(myBinaryFlag); }
    TextMode(const TextMode &) = delete;
    TextMode &operator=(const TextMode &) = delete;

private:
    KIT_IStream &myStream;
    bool myBinaryFlag;
};

bool isWithoutError()
{
    return KITgetErrorSeverity() < KIT_ERROR_ABORT;
}

bool fail(ZEL_ErrorCode code, const char *text, const char *expected,
          KIT_MessageSource::Word word = KIT_MessageSource::Word::NEXT)
{
    const std::shared_ptr<KIT_MessageDetail> detail = KIT_MessageSource::makeDetail(word);
    if (detail) {
        detail->expected = {expected};
    }
    KITgetErrorManager().add(ZEL_ERROR_CATEGORY, code, text, KIT_ERROR_ABORT, detail);
    return false;
}

bool loadHeader(KIT_IStream &is)
{
    is.skipByteOrderMark();
    if (!is.checkToken(theHeader)) {
        return fail(ZEL_ERR_PRESET_HEADER, nullptr, theHeader);
    }
    if (!is.checkToken(theVersionWord)) {
        return fail(ZEL_ERR_PRESET_WORD, theVersionWord, theVersionWord);
    }
    // Exact match, not a minimum: the format of other versions is unknown.
    float version = 0.0f;
    if (!is.aread(version) || version != static_cast<float>(BASparseFloat(theVersion))) {
        return fail(ZEL_ERR_PRESET_VERSION, nullptr, theVersion, KIT_MessageSource::Word::LAST);
    }
    return true;
}

void loadValues(ZEL_ParmList &list, KIT_IStream &is)
{
    ZEL_ParmOwner *const owner = list.getParmOwner();
    if (!owner) {
        list.load(is, nullptr, nullptr);
        return;
    }
    KIT_WorkBuffer path;
    owner->getFullPath(path);
    ZEL_ParmList *fallback = owner->supplyFallbackList();
    list.load(is, path.buffer(), fallback);
    owner->settleFallbackList(&fallback);
}

/// Expands the variables of a path up to its first "?".
KIT_String expandPath(const char *path)
{
    const char *const whole = path ? path : "";
    const std::size_t length = std::strcspn(whole, "?");
    KIT_String out;
    out.harden(whole, length);
    out.expandVariables();
    out += whole + length;
    return out;
}

} // namespace

bool ZEL_PresetInfo::loadPreset(ZEL_ParmList *list, KIT_IStream &is)
{
    if (!list || !is.isReadable()) {
        return false;
    }
    const TextMode text(is);
    KIT_MessageSource source(is);
    if (!loadHeader(is)) {
        return false;
    }
    KIT_WorkBuffer word;
    while (is.getWord(word)) {
        source.setSubject(word.view());
        const bool isOwn = word.view() == theChannels || word.view() == theValues;
        ZEL_ParmOwner *const owner = list->getParmOwner();
        const bool loaded = isOwn   ? loadPresetContents(list, word.buffer(), is)
                            : owner ? owner->loadPresetSection(word.buffer(), is)
                                    : true;
        if (!loaded) {
            return false;
        }
    }
    return true;
}

bool ZEL_PresetInfo::loadPresetContents(ZEL_ParmList *list, const char *word, KIT_IStream &is)
{
    const std::string_view section(word ? word : "");
    if (!list || (section != theChannels && section != theValues)) {
        return true;
    }
    if (section == theValues) {
        loadValues(*list, is);
    } else if (TRK_Collection *const channels = list->getChannelGroupPtr()) {
        channels->load(is);
    }
    return isWithoutError();
}

bool ZEL_PresetInfo::loadPresetFile(ZEL_ParmList *list, const char *path)
{
    const KIT_String name = expandPath(path);
    STO_Reader reader(name);
    return reader.getStream() && loadPreset(list, *reader.getStream());
}

namespace
{

bool saveHeader(std::ostream &os)
{
    os << theHeader << '\n' << theVersionWord << ' ' << theVersion << '\n';
    return KITcheckOutStream(os, theSaveLabel, nullptr) && isWithoutError();
}

} // namespace

bool ZEL_PresetInfo::savePreset(const std::vector<const ZEL_Parm *> &parms, std::ostream &os)
{
    if (!os || !saveHeader(os)) {
        return false;
    }
    TRK_Collection channels;
    for (const ZEL_Parm *parm : parms) {
        for (int i = 0; i < parm->getVectorSize(); ++i) {
            const TRK_Channel *const from = parm->getChannel(i);
            TRK_Channel *const to = from ? channels.addChannel(from->getName()) : nullptr;
            if (to) {
                to->copyContents(*from);
                to->setLocked(from->getLocked());
                to->setScope(from->getScope());
                channels.setChannelAlias(to, from->getAlias());
            }
        }
    }
    constexpr bool binary = false;
    os << theChannels << '\n';
    channels.save(os, binary);
    os << theValues << '\n';
    ZELsaveParms(parms, os, binary);
    return KITcheckOutStream(os, theSaveLabel, nullptr) && isWithoutError();
}

bool ZEL_PresetInfo::savePreset(ZEL_ParmList *list, std::ostream &os)
{
    if (!list || !os) {
        return false;
    }
    if (!saveHeader(os)) {
        return false;
    }
    if (ZEL_ParmOwner *const owner = list->getParmOwner()) {
        return owner->savePresetContents(os) && KITcheckOutStream(os, theSaveLabel, nullptr) &&
               isWithoutError();
    }
    constexpr bool binary = false;
    constexpr bool compact = false;
    if (TRK_Collection *const channels = list->getChannelGroupPtr()) {
        os << theChannels << '\n';
        channels->save(os, binary);
    }
    os << theValues << '\n';
    list->save(os, binary, compact);
    return KITcheckOutStream(os, theSaveLabel, nullptr) && isWithoutError();
}

bool ZEL_PresetInfo::savePresetFile(ZEL_ParmList *list, const char *path)
{
    const KIT_String name = expandPath(path);
    STO_Writer writer(name);
    std::ostream *const os = writer.getStream();
    if (!os || !savePreset(list, *os)) {
        return false;
    }
    return writer.close() || KITcheckOutStream(*os, theSaveLabel, nullptr);
}
