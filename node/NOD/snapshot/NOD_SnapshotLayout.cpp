#include <NOD/snapshot/NOD_SnapshotLayoutPrivate.h>

#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

NOD_SnapshotLayout::NOD_SnapshotLayout(const ZEL_ParmList &list)
{
    const int count = list.getEntries();
    myParms.resize(std::size_t(count));
    for (int i = 0; i < count; ++i) {
        const ZEL_Parm *const parm = list.getParmPtr(i);
        NOD_SnapshotParm &made = myParms[std::size_t(i)];
        made.first = std::uint32_t(myNumNumbers);
        made.text = std::uint32_t(myNumTexts);
        if (!parm) {
            continue;
        }
        made.token = parm->getTokenRef();
        made.rules = ZEL_ValueRules(*parm);
        made.size = parm->getVectorSize();
        myNumNumbers += std::size_t(made.size);
        myNames.resize(myNumNumbers, theNone);
        myNumTexts +=
            made.rules.getKind() == ZEL_ValueRules::Kind::STRING ? std::size_t(made.size) : 0;
        // What the list itself finds under a name counts: the first of several.
        if (list.getParmPtr(made.token) == parm) {
            myByToken.emplace(made.token.view(), i);
        }
        for (int k = 0; k < made.size; ++k) {
            for (const KIT_StringHolder *name :
                 {&parm->getChannelToken(k), &parm->getChannelAlias(k)}) {
                int component = -1;
                if (name->length() > 0 && list.getParmPtrFromChannel(*name, &component) == parm &&
                    component == k && myByChannel.find(name->view()) == myByChannel.end()) {
                    std::uint32_t &own = myNames[made.first + std::uint32_t(k)];
                    own = own == theNone ? std::uint32_t(myAliases.size()) : own;
                    myAliases.push_back(*name);
                    myByChannel.emplace(myAliases.back().view(), NOD_SnapshotComponent{i, k});
                }
            }
        }
    }
}

std::string_view NOD_SnapshotLayout::nameOf(NOD_SnapshotComponent component) const
{
    const NOD_SnapshotParm &parm = myParms[std::size_t(component.parm)];
    const std::uint32_t own = myNames[parm.first + std::uint32_t(component.component)];
    return own != theNone ? myAliases[own].view() : parm.token.view();
}

int NOD_SnapshotLayout::findParm(std::string_view token) const
{
    const auto found = myByToken.find(token);
    return found != myByToken.end() ? found->second : -1;
}

NOD_SnapshotComponent NOD_SnapshotLayout::findChannel(std::string_view name) const
{
    const auto found = myByChannel.find(name);
    return found != myByChannel.end() ? found->second : NOD_SnapshotComponent();
}

std::int64_t NOD_SnapshotLayout::getMemoryUsage() const
{
    constexpr std::size_t theLinks =
        3 * sizeof(void *); // of an entry of a map, with its place in the table
    std::size_t bytes = sizeof(*this) + myParms.capacity() * sizeof(NOD_SnapshotParm) +
                        myNames.capacity() * sizeof(std::uint32_t) +
                        myByToken.size() * (sizeof(*myByToken.begin()) + theLinks) +
                        myByChannel.size() * (sizeof(*myByChannel.begin()) + theLinks);
    for (const NOD_SnapshotParm &parm : myParms) {
        bytes += std::size_t(parm.rules.getMemoryUsage(false));
    }
    for (const KIT_StringHolder &name : myAliases) {
        bytes += std::size_t(name.getMemoryUsage(true));
    }
    return std::int64_t(bytes);
}
