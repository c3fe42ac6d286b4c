#include <ZEL/ZEL_ScriptParm.h>

#include <BAS/BAS_Thread.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptQuote.h>

namespace
{

/// Set once, before any script is read.
ZEL_Callback &defaultCallback()
{
    static ZEL_Callback theCallback;
    return theCallback;
}

} // namespace

const char *const ZEL_ScriptParm::theTokens[] = {
#define ZEL_PARM_SKIPPED(word, count, writer) word,
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
    nullptr,
};
const int ZEL_ScriptParm::theNumParms[] = {
#define ZEL_PARM_SKIPPED(word, count, writer) count,
#include <ZEL/scripts/ZEL_ScriptKeywords.def>

    -1,
};

// -------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------- //

ZEL_ScriptParm::ZEL_ScriptParm() : myType(ZEL_FLT_E) {}

ZEL_ScriptParm::~ZEL_ScriptParm() = default;

ZEL_ScriptGroup *ZEL_ScriptParm::newGroup(bool multi)
{
    return new ZEL_ScriptGroup(this, multi);
}

ZEL_ScriptPage *ZEL_ScriptParm::newPage()
{
    return new ZEL_ScriptPage;
}

int ZEL_ScriptParm::handleUnknown(DS_Stream &stream, KIT_String &token)
{
    for (int i = 0; theTokens[i]; i++) {
        if (token == theTokens[i]) {
            KIT_String skipped;
            for (int n = 0; n < theNumParms[i] && stream.getToken(skipped); n++) {
            }
            return 1;
        }
    }
    return 0;
}

ZEL_Callback ZEL_ScriptParm::getScriptParmCallback() const
{
    return defaultCallback();
}

bool ZEL_ScriptParm::wantsParametersAnimatable() const
{
    return true;
}

// -------------------------------------------------------------------- //
// Statics
// -------------------------------------------------------------------- //

void ZEL_ScriptParm::registerDefaultScriptCallback(ZEL_Callback callback)
{
    defaultCallback() = callback;
}

void ZEL_ScriptParm::protectStrcat(KIT_WorkBuffer &out, const char *text, int quoteEmpty,
                                   bool smartQuotes)
{
    ZELprotectString(out, text, quoteEmpty != 0, smartQuotes);
}

namespace
{
__thread KIT_WorkBuffer *theProtected __attribute__((tls_model("initial-exec")));

const BAS_ThreadEnd theProtectedEnd([] {
    delete theProtected;
    theProtected = nullptr;
});
} // namespace

const char *ZEL_ScriptParm::protectString(const char *text, int quoteEmpty, bool smartQuotes)
{
    if (!text || !*text) {
        return quoteEmpty ? "\"\"" : "";
    }
    if (!theProtected) {
        BASgetSTID(); // a thread without an id isn't known to end
        theProtected = new KIT_WorkBuffer;
    }
    theProtected->clear();
    protectStrcat(*theProtected, text, quoteEmpty, smartQuotes);
    return theProtected->buffer();
}

// -------------------------------------------------------------------- //
// Contents
// -------------------------------------------------------------------- //

ZEL_SpareData *ZEL_ScriptParm::getSpareData(bool create)
{
    if (!mySpareData && create) {
        mySpareData = std::make_unique<ZEL_SpareData>();
    }
    return mySpareData.get();
}

bool ZEL_ScriptParm::clearJoinNext()
{
    if (myType.hasAnyOf(ZEL_TYPE_JOIN_NEXT)) {
        myType.clear(ZEL_TYPE_JOIN_NEXT);
        if (myTypeExtended == ZEL_TYPEX_JOINED) {
            myTypeExtended = ZEL_TYPEX_NONE;
        }
        return true;
    }
    if (myTypeExtended == ZEL_TYPEX_JOINED_NODE) {
        myTypeExtended = ZEL_TYPEX_NONE;
    }
    return false;
}

void ZEL_ScriptParm::enforceOptions()
{
    if (myGroup) {
        for (int i = myGroup->getPageCount(); i-- > 0;) {
            myGroup->getPage(i)->enforceOptions();
        }
    } else if (myOption.isEmpty()) {
        myOption.harden(myName.getToken());
    }
}

ZEL_ScriptParm *ZEL_ScriptParm::createObsoleteGroupParm()
{
    if (!myObsoleteGroup) {
        return nullptr;
    }
    auto *parm = new ZEL_ScriptParm;
    parm->myType = myType;
    parm->myName = myName;
    parm->myGroup = std::move(myObsoleteGroup);
    parm->myGroup->setOwner(parm);
    return parm;
}

void ZEL_ScriptParm::appendScriptParms(KIT_ValArray<ZEL_ScriptParm *> &parms) const
{
    for (int i = 0; myGroup && i < myGroup->getPageCount(); i++) {
        myGroup->getPage(i)->appendScriptParms(parms);
    }
}
