#include <NOD/NOD_Stats.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_TextEdit.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_Segment.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <map>
#include <set>

namespace
{

template <class Call>
void forEachBelow(NOD_Node &node, const Call &call)
{
    std::vector<NOD_Node *> open{&node};
    while (!open.empty()) {
        NOD_Node &one = *open.back();
        open.pop_back();
        call(one);
        for (auto child = one.getChildren().rbegin(); child != one.getChildren().rend(); ++child) {
            open.push_back(child->get());
        }
    }
}

int countConditions(const ZEL_ConditionalBase *base)
{
    int count = 0;
    for (const ZEL_ConditionalType type :
         {ZEL_CONDTYPE_DISABLE, ZEL_CONDTYPE_HIDE, ZEL_CONDTYPE_NOCOOK}) {
        const ZEL_Conditional *const one = base ? base->getConditional(type) : nullptr;
        count += one && one->entries() > 0;
    }
    return count;
}

int countConditions(const ZEL_Template &description)
{
    const ZEL_ConditionalBase *const base = description.getConditionalBasePtr();
    int count = countConditions(base);
    if (base && base->groupType() == ZEL_CONDGROUP_SWITCHER) {
        const auto &tabs = static_cast<const ZEL_ConditionalSwitcher &>(*base);
        for (int i = 0; description.isSwitcher() && i < description.getVectorSize(); ++i) {
            count += countConditions(tabs.getTabConditional(i));
        }
    }
    return count;
}

void addParm(const ZEL_Parm &parm, NOD_Stats &stats)
{
    const ZEL_Template *const description = parm.getTemplatePtr();
    if (!description) {
        return;
    }
    stats.conditions += countConditions(*description);
    if (description->isSwitcher()) {
        stats.folders += parm.getVectorSize();
        return;
    }
    if (!parm.getInstance()) {
        return;
    }
    ++stats.parameters;
    stats.components += parm.getVectorSize();
    stats.changed += !parm.isTrueFactoryDefault();
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        stats.locked += parm.getLockedFlag(i);
    }
    if (parm.isMultiParm()) {
        ++(description->isRampType() ? stats.ramps : stats.blocks);
        stats.items += parm.getMultiParmNumItems();
    }
    const ZEL_ChoiceList *const menu = description->getChoiceListPtr();
    if (menu && !description->isAutomaticallyGeneratedChoiceList()) {
        ++stats.menus;
        stats.menuScripts += menu->getScript().isstring();
    }
}

void addChannels(const TRK_Collection &channels, NOD_Stats &stats)
{
    stats.channels += channels.entries();
    stats.channelBytes += channels.getMemoryUsage(false);
    for (int i = 0; i < channels.entries(); ++i) {
        const TRK_Channel &channel = *channels.getChannel(i);
        stats.keys += channel.getNKeys();
        for (int k = 0; k < channel.getNSegments(); ++k) {
            stats.expressions += !channel.getSegment(k)->isInterpolated();
        }
    }
}

/// Blocks that are in themselves count once.
std::int64_t bytesOf(const ZEL_Template *templates, std::set<const ZEL_Template *> &counted)
{
    constexpr bool inclusive = true;
    std::int64_t bytes = 0;
    if (!templates || !counted.insert(templates).second) {
        return bytes;
    }
    for (const ZEL_Template *at = templates; !at->isTerminator(); ++at) {
        bytes += at->getMemoryUsage(inclusive);
        if (at->isMultiType() && !at->isRampType()) {
            bytes += bytesOf(at->getMultiParmTemplate(), counted);
        }
    }
    return bytes;
}

void addNode(NOD_Node &node, NOD_Stats &stats)
{
    const ZEL_ParmList &parms = node.getParms();
    const std::int64_t before = stats.parameters;
    for (int i = 0; i < parms.getEntries(); ++i) {
        addParm(*parms.getParmPtr(i), stats);
    }
    addChannels(node.getChannels(), stats);
    stats.spares += std::int64_t(node.getSpareParms().getDescriptions().size());
    stats.sectionsKept += std::int64_t(node.getKeptSections().size());
    stats.listBytes += parms.getMemoryUsage(true);
    if (parms.getEntries() == 0 && node.getTypeName().empty()) {
        return; // a root, or a node that only groups others
    }
    ++stats.nodes;
    const auto isOfType = [&](const NOD_Stats::Type &type) {
        return type.name == node.getTypeName();
    };
    auto type = std::find_if(stats.types.begin(), stats.types.end(), isOfType);
    if (type == stats.types.end()) {
        type = stats.types.insert(type, NOD_Stats::Type());
        type->name = node.getTypeName();
    }
    ++type->nodes;
    type->parameters += stats.parameters - before;
}

void evaluate(const ZEL_Parm &parm, int index, double time, int thread)
{
    const ZEL_Type &type = parm.getType();
    if (type.isFloatType()) {
        double value = 0.0;
        parm.getValue(time, value, index, thread);
    } else if (type.isOrdinalType()) {
        std::int64_t value = 0;
        parm.getValue(time, value, index, thread);
    } else {
        constexpr bool expand = true;
        KIT_String value;
        parm.getValue(time, value, index, expand, thread);
    }
}

} // namespace

NOD_Stats NOD_Stats::of(NOD_Node &node)
{
    NOD_Stats stats;
    std::set<const NOD_Interface *> interfaces;
    std::set<const ZEL_Template *> counted;
    forEachBelow(node, [&](NOD_Node &one) {
        addNode(one, stats);
        const NOD_Interface *const interface = one.getInterface().get();
        if (interface && interfaces.insert(interface).second) {
            stats.interfaceBytes += std::int64_t(interface->getText().size()) +
                                    bytesOf(interface->getTemplates(), counted);
        }
    });
    std::sort(stats.types.begin(), stats.types.end(),
              [](const Type &left, const Type &right) { return left.name < right.name; });
    return stats;
}

std::vector<NOD_Stats::Row> NOD_Stats::getCounts() const
{
    return {{"nodes", nodes},
            {"parameters", parameters},
            {"components", components},
            {"folders", folders},
            {"blocks", blocks},
            {"ramps", ramps},
            {"items", items},
            {"menus", menus},
            {"menu_scripts", menuScripts},
            {"conditions", conditions},
            {"spares", spares},
            {"changed", changed},
            {"locked", locked},
            {"channels", channels},
            {"keys", keys},
            {"expressions", expressions},
            {"sections_kept", sectionsKept}};
}

NOD_EvaluationCount NODevaluateAll(NOD_Node &node, double time)
{
    const int thread = BASgetSTID();
    const TRK_EvalContext::Scope context(thread, time);
    KIT_ErrorManager::Scope errors(thread);
    NOD_EvaluationCount count;
    int &number = EVL::theErrNo[thread];
    forEachBelow(node, [&](NOD_Node &one) {
        NODgrowBlocks(one, time);
        const ZEL_ParmList &parms = one.getParms();
        for (int i = 0; i < parms.getEntries(); ++i) {
            const ZEL_Parm &parm = *parms.getParmPtr(i);
            const bool hasValueFlag = parm.getInstance() && !parm.getType().isSwitcher();
            for (int k = 0; hasValueFlag && k < parm.getVectorSize(); ++k) {
                const std::int64_t before = errors.getManager().entries();
                number = EVL::EVL_OK;
                evaluate(parm, k, time, thread);
                ++count.components;
                count.failed += number != EVL::EVL_OK || errors.getManager().entries() > before;
            }
        }
    });
    number = EVL::EVL_OK;
    return count;
}
