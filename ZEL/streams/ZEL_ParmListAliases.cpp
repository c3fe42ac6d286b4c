// The second names of channels, written and read.

#include <ZEL/ZEL_ParmList.h>

#include <KIT/KIT_ByteBuffer.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <KIT/KIT_Write.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_OpSharedInfo.h>
#include <ZEL/streams/ZEL_ParmListPrivate.h>

#include <ostream>
#include <vector>

namespace
{

/// Whether it is read back as one word: no comments here, but quotes.
bool isAliasToken(std::string_view token)
{
    return ZELisOneWord(token) && token.front() != '"' && token.front() != '\'';
}

} // namespace

void ZEL_ParmList::saveChannelAliases(std::ostream &os, bool)
{
    KIT_ByteBuffer text;
    std::vector<KIT_StringHolder> lost;
    text.append("{\n");
    for (const ZEL_Parm *parm : myParms) {
        const ZEL_Instance *instance = isSaved(parm) ? parm->getInstance() : nullptr;
        for (int i = 0; instance && i < instance->getVectorSize(); ++i) {
            const KIT_StringHolder &token = instance->getChannelToken(i);
            const KIT_StringHolder &alias = instance->getChannelAlias(i);
            if (alias != token && !isAliasToken(token.view())) {
                lost.push_back(token);
            } else if (alias != token) {
                text.append('\t');
                text.append(token.view());
                text.append(' ');
                text.append(alias.view());
                text.append('\n');
            }
        }
    }
    text.append("}\n");
    text.writeTo(os);
    KITcheckOutStream(os, "Channel Aliases Save (ASCII)", nullptr);
    for (const KIT_StringHolder &token : lost) {
        KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_TEXT_NAME, token.c_str());
    }
}

bool ZEL_ParmList::loadChannelAliases(KIT_IStream &is, const char *)
{
    KIT_WorkBuffer token;
    KIT_WorkBuffer alias;
    do {
        if (!is.getString(token)) {
            return false;
        }
    } while (token.view() != "{");
    while (is.getString(token)) {
        if (token.view() == "}") {
            return true;
        }
        if (!is.getString(alias)) {
            return false;
        }
        if (alias.view() == "}") {
            return true;
        }
        loadChannelAlias(token, alias);
    }
    return false;
}

void ZEL_ParmList::loadChannelAlias(const KIT_WorkBuffer &token, const KIT_WorkBuffer &alias)
{
    const KIT_StringRef name(token.buffer(), token.length());
    int index = mySharedInfo->channelTokens().find(name);
    for (const ZEL_NameTable *table : {&myInstanceChannels, &myChannelAliases}) {
        index = index < 0 ? table->find(name) : index;
    }
    ZEL_Parm *parm = getParmPtr(index);
    // Only the token itself identifies the component.
    const int subIndex = isSaved(parm) ? parm->findSubIndex(name, false) : -1;
    if (subIndex >= 0 && subIndex < parm->getVectorSize()) {
        setChannelAlias(parm, subIndex, KIT_StringHolder(alias.buffer()));
    }
}
