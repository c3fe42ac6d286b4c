#include <NOD/NOD_NodeState.h>

#include <NOD/NOD_Node.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <ZEL/ZEL_Data.h>
#include <ZEL/ZEL_Parm.h>

#include <algorithm>
#include <new>
#include <sstream>
#include <string_view>

namespace
{

/// What was written. A stream swallows std::bad_alloc, and half a text would be restored as the
/// whole one.
std::string wholeText(const std::ostringstream &os)
{
    if (!os) {
        throw std::bad_alloc();
    }
    return os.str();
}

std::string channelText(NOD_Node &node)
{
    std::ostringstream os;
    node.getChannels().save(os);
    return wholeText(os);
}

std::string aliasText(NOD_Node &node)
{
    constexpr bool binary = false;
    std::ostringstream os;
    node.getParms().saveChannelAliases(os, binary);
    return wholeText(os);
}

KIT_IStream streamOf(const std::string &text)
{
    return KIT_IStream(text.data(), text.size(), KIT_IStream::TEXT);
}

void replaceChannels(NOD_Node &node, const std::string &text)
{
    TRK_Collection &channels = node.getChannels();
    while (channels.entries() > 0) {
        channels.deleteChannel(channels.getChannel(channels.entries() - 1));
    }
    channels.setExprLanguage(TRK_LANGUAGE_NATIVE);
    KIT_IStream is = streamOf(text);
    channels.load(is);
}

void replaceAliases(NOD_Node &node, const std::string &text)
{
    ZEL_ParmList &parms = node.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        ZEL_Parm &parm = *parms.getParmPtr(i);
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            if (parm.getChannelAlias(k) != parm.getChannelToken(k)) {
                parms.setChannelAlias(&parm, k, KIT_StringHolder::theEmptyString);
            }
        }
    }
    KIT_IStream is = streamOf(text);
    parms.loadChannelAliases(is, nullptr);
}

/// Restores the counts of blocks alone; that their channels don't exist yet is not reported.
void restoreItems(ZEL_ParmList &parms, const ZEL_UndoDataArray &values)
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    for (const auto &[token, data] : values) {
        ZEL_Parm *const parm = parms.getParmPtr(token);
        if (parm && parm->isMultiParm()) {
            parm->loadUndoData(data);
        }
    }
}

bool isSameData(const ZEL_UndoData *a, const ZEL_UndoData *b)
{
    const auto *const items = dynamic_cast<const ZEL_DataUndoData *>(a);
    const auto *const others = dynamic_cast<const ZEL_DataUndoData *>(b);
    if (items && others) {
        return std::equal(items->getItems().begin(), items->getItems().end(),
                          others->getItems().begin(), others->getItems().end());
    }
    const auto *const first = dynamic_cast<const ZEL_InstanceUndoData *>(a);
    const auto *const second = dynamic_cast<const ZEL_InstanceUndoData *>(b);
    return first && second &&
           std::string_view(first->data(), first->length()) ==
               std::string_view(second->data(), second->length());
}

} // namespace

NOD_NodeState::NOD_NodeState(NOD_Node &node)
    : myWholeFlag(true), myChannels(channelText(node)), myAliases(aliasText(node))
{
    constexpr bool binary = true; // as text, some names can't be held
    constexpr bool compact = false;
    // A save stops at an error that is still in the error manager.
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    node.getParms().saveUndoData(myValues);
    std::ostringstream os;
    node.getParms().save(os, binary, compact);
    myText = wholeText(os);
}

bool NOD_NodeState::isSame(const NOD_NodeState &other) const
{
    return myWholeFlag && other.myWholeFlag && myText == other.myText &&
           myChannels == other.myChannels && myAliases == other.myAliases;
}

std::int64_t NOD_NodeState::getMemoryUsage() const
{
    auto bytes = std::int64_t(sizeof(*this) + myText.capacity() + myChannels.capacity() +
                              myAliases.capacity());
    for (const auto &[token, data] : myValues) {
        bytes += std::int64_t(sizeof(token) + sizeof(data)) + (data ? data->getMemoryUsage() : 0);
    }
    return bytes;
}

void NOD_NodeState::restore(NOD_Node &node) const
{
    ZEL_ParmList &parms = node.getParms();
    if (myWholeFlag && channelText(node) != myChannels) {
        // A new item starts without channels, so it must be there before them.
        restoreItems(parms, myValues);
        replaceChannels(node, myChannels);
    }
    parms.loadUndoData(myValues, nullptr, nullptr);
    if (aliasText(node) != myAliases) {
        replaceAliases(node, myAliases);
    }
}

void NOD_NodeState::cutDown(ZEL_UndoDataArray values)
{
    myWholeFlag = false;
    myValues = std::move(values);
    myText.clear();
    myChannels.clear();
}

void NOD_NodeState::keepDifference(NOD_NodeState &before, NOD_NodeState &after)
{
    const ZEL_UndoDataArray &from = before.myValues;
    const ZEL_UndoDataArray &to = after.myValues;
    const auto isSameParm = [](const auto &a, const auto &b) { return a.first == b.first; };
    if (before.myChannels != after.myChannels ||
        !std::equal(from.begin(), from.end(), to.begin(), to.end(), isSameParm)) {
        return;
    }
    ZEL_UndoDataArray changedFrom;
    ZEL_UndoDataArray changedTo;
    for (std::int64_t i = 0; i < from.size(); ++i) {
        if (!isSameData(from[i].second.get(), to[i].second.get())) {
            changedFrom.append(from[i]);
            changedTo.append(to[i]);
        }
    }
    before.cutDown(std::move(changedFrom));
    after.cutDown(std::move(changedTo));
}
