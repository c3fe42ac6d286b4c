#include <NOD/files/NOD_TreeLimitsPrivate.h>

#include <KIT/KIT_EnvControl.h>
#include <NOD/NOD_Node.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>

namespace
{

constexpr std::int64_t theNode = 1024;
constexpr std::int64_t theParm = 224;
constexpr std::int64_t theItemParm = 1024; // it has a description of its own
constexpr std::int64_t theComponent = 32;
constexpr std::int64_t theChannel = 768;
// What a byte of a file may make of nodes beside what it may in any input, up to so many times the setting: a
// short section makes a node, and of a file that is small enough to be sent around not all of the memory.
constexpr std::int64_t theNodeBytesPerByte = 1024;
constexpr std::int64_t theMostTimes = 8;
constexpr int theMegabyteBits = 20;

int megabytesOf(const NOD_LoadOptions &options)
{
    return options.nodeMegabytes > 0 ? options.nodeMegabytes
                                     : KIT_EnvControl::getLimit(KIT_ENV_MAX_STREAM_MEGABYTES);
}

} // namespace

NOD_NodeBytes::NOD_NodeBytes(std::int64_t parms)
    : all(theNode + parms * (theParm + theComponent)), items(0)
{}

NOD_NodeBytes::NOD_NodeBytes(NOD_Node &node) : all(theNode), items(0)
{
    const ZEL_ParmList &list = node.getParms();
    for (int i = 0; i < list.getEntries(); ++i) {
        const ZEL_Parm *const parm = list.getParmPtr(i);
        const bool isItem = parm && parm->getMultiParmOwner();
        const std::int64_t components = parm ? parm->getVectorSize() * theComponent : 0;
        (isItem ? items : all) += components + (isItem ? theItemParm : theParm);
    }
    const std::int64_t channels = node.getChannels().entries() * theChannel;
    all += items + channels;
    items += items > 0 ? channels : 0;
}

std::int64_t NODroomForNodes(std::int64_t length, const NOD_LoadOptions &options)
{
    const std::int64_t set = std::int64_t(megabytesOf(options)) << theMegabyteBits;
    return set + length * ZEL_InputBudget::theBytesPerByte +
           std::min(length * theNodeBytesPerByte, set * theMostTimes);
}

std::string NODroomSetting(const NOD_LoadOptions &options)
{
    return (options.nodeMegabytes > 0 ? "NOD_LoadOptions::nodeMegabytes"
                                      : KIT_EnvControl::getVariable(KIT_ENV_MAX_STREAM_MEGABYTES)) +
           (" is " + std::to_string(megabytesOf(options)));
}

std::string NODmegabytes(std::int64_t bytes)
{
    return std::to_string(bytes >> theMegabyteBits) + " MB";
}
