#include <ZEL/instance/ZEL_ValueFramesPrivate.h>

#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_EvalContext.h>

#include <algorithm>
#include <string_view>

// -------------------------------------------------------------------------- //
// Held channels
// -------------------------------------------------------------------------- //

void ZEL_ValueFrames::holdChannel(ZEL_Instance &instance, HeldChannels &held, int index)
{
    held[index] = instance.getChannel(index);
    instance.setChannel(index, nullptr);
}

void ZEL_ValueFrames::holdAllChannels(ZEL_Instance &instance, HeldChannels &held)
{
    for (int i = 0; i < instance.getVectorSize(); ++i) {
        holdChannel(instance, held, i);
    }
}

void ZEL_ValueFrames::deleteHeldChannel(ZEL_Instance &instance, HeldChannels &held, int index)
{
    TRK_Channel *channel = held[index];
    TRK_Collection *collection = instance.getChannelGroupPtr();
    if (channel && collection) {
        // Two components may hold the same channel.
        std::replace(held.begin(), held.end(), channel, static_cast<TRK_Channel *>(nullptr));
        collection->deleteChannel(channel);
    }
}

// -------------------------------------------------------------------------- //
// Loading
// -------------------------------------------------------------------------- //

bool ZEL_ValueFrames::reportCut(const char *token)
{
    const std::shared_ptr<KIT_MessageDetail> detail = KIT_MessageSource::makeDetail();
    if (detail) {
        detail->expected = {token};
    }
    KITgetErrorManager().add(ZEL_ERROR_CATEGORY, ZEL_ERR_TOKEN_MISSING, token, KIT_ERROR_ABORT,
                             detail);
    return false;
}

void ZEL_ValueFrames::revertMissing(ZEL_Instance &instance, int numRead, const ZEL_LoadRules &rules)
{
    if (numRead >= instance.getVectorSize()) {
        return;
    }
    if (rules.warnTooFew) {
        instance.addParmWarning(ZEL_ERR_TOO_FEW_VALUES);
    }
    const TRK_EvalContext::NoScripts noScripts;
    for (int i = numRead; i < instance.getVectorSize(); ++i) {
        instance.revertToDefault(i);
    }
}

bool ZEL_ValueFrames::openAscii(ZEL_Instance &instance, KIT_IStream &is, unsigned &keyMask)
{
    std::string_view word;
    is.getWord(word);
    if (word == "[") {
        if (!instance.loadAsciiOptions(is, keyMask)) {
            return reportCut("]");
        }
        is.getWord(word);
    }
    return word == "(" || reportCut("(");
}

void ZEL_ValueFrames::loadOptionPacket(ZEL_Instance &instance, KIT_IStream &is, int packetId,
                                       const ZEL_LoadRules &rules)
{
    if (!instance.loadBinaryOption(is, short(packetId))) {
        KITaddCommonWarning(KIT_COMMON_UNKNOWN_PACKET, rules.label);
    }
}

bool ZEL_ValueFrames::loadBinaryLink(ZEL_Instance &instance, KIT_IStream &is, int index)
{
    KIT_WorkBuffer name;
    if (!is.readWorkBuffer(name, true)) {
        return false;
    }
    instance.setChannel(index, instance.linkChannel(name.buffer(), index));
    return true;
}
