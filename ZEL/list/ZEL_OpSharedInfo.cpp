#include <ZEL/ZEL_OpSharedInfo.h>

#include <BAS/BAS_LostText.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <unordered_map>

namespace
{

std::size_t tableSize(std::size_t count)
{
    const std::size_t wanted = 2 * count + 1;
    return wanted > 2 ? wanted : 0;
}

std::size_t channelCount(const ZEL_Template *templates, int count)
{
    std::size_t channels = 0;
    for (int i = 0; i < count; ++i) {
        channels += std::size_t(templates[i].getVectorSize());
    }
    return channels;
}

using Register = std::unordered_map<KIT_StringHolder, std::shared_ptr<ZEL_OpSharedInfo>>;

Register &theRegister()
{
    static Register theInfos;
    return theInfos;
}

const std::shared_ptr<ZEL_OpSharedInfo> &emptyInfo()
{
    static const std::shared_ptr<ZEL_OpSharedInfo> theEmptyInfo =
        std::make_shared<ZEL_OpSharedInfo>();
    return theEmptyInfo;
}

} // namespace

ZEL_OpSharedInfo::ZEL_OpSharedInfo(const ZEL_Template *templates, int count)
    : myParmTokens(tableSize(std::size_t(count))),
      myChannelTokens(tableSize(channelCount(templates, count)))
{
    const BAS_LostText lost;
    for (int i = 0; i < count; ++i) {
        const ZEL_Template &entry = templates[i];
        myParmTokens.insert(entry.getTokenRef(), i);
        const KIT_StringHolder *channels = entry.getChannelTokens();
        for (int c = 0; c < entry.getVectorSize(); ++c) {
            myChannelTokens.insert(channels[c], i);
        }
    }
    myFoundTokens.resize(std::size_t(std::max(count, 0)));
    for (int i = 0; i < count; ++i) {
        const KIT_StringRef &token = templates[i].getTokenRef();
        if (myParmTokens.find(token) == i) {
            myFoundTokens[std::size_t(i)] = KIT_StringHolder(token);
        }
    }
    lost.check();
}

std::int64_t ZEL_OpSharedInfo::getMemoryUsage(bool inclusive) const
{
    return (inclusive ? std::int64_t(sizeof(*this)) : 0) + myParmTokens.getMemoryUsage(false) +
           myChannelTokens.getMemoryUsage(false) +
           std::int64_t(myFoundTokens.capacity() * sizeof(KIT_StringHolder));
}

std::shared_ptr<ZEL_OpSharedInfo> ZEL_OpSharedInfo::get(const KIT_StringRef &sharedName,
                                                        const ZEL_Template *templates, int count)
{
    if (!sharedName.isEmpty()) {
        const auto found = theRegister().find(KIT_StringHolder(sharedName));
        if (found != theRegister().end()) {
            return found->second;
        }
    }
    if (count < 1) {
        return emptyInfo();
    }
    auto info = std::make_shared<ZEL_OpSharedInfo>(templates, count);
    if (!sharedName.isEmpty()) {
        const BAS_LostText lost;
        KIT_StringHolder key(sharedName);
        lost.check();
        theRegister().emplace(std::move(key), info);
    }
    return info;
}

void ZEL_OpSharedInfo::remove(const KIT_StringRef &sharedName)
{
    if (!sharedName.isEmpty()) {
        theRegister().erase(KIT_StringHolder(sharedName));
    }
}

void ZEL_OpSharedInfo::rename(const KIT_StringRef &oldName, const KIT_StringHolder &newName)
{
    if (oldName.isEmpty() || newName.isEmpty()) {
        return;
    }
    const auto found = theRegister().find(KIT_StringHolder(oldName));
    if (found == theRegister().end()) {
        return;
    }
    // Move the node itself, which allocates nothing.
    auto entry = theRegister().extract(found);
    theRegister().erase(newName);
    entry.key() = newName;
    theRegister().insert(std::move(entry));
}
