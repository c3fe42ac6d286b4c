#include <NOD/tree/NOD_ConditionPlanPrivate.h>

#include <KIT/KIT_String.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <mutex>
#include <tuple>
#include <unordered_map>

namespace
{

const ZEL_Conditional *conditionOf(const ZEL_Template &description, int tab,
                                   ZEL_ConditionalType type)
{
    const ZEL_ConditionalBase *const base = description.getConditionalBasePtr();
    if (!base) {
        return nullptr;
    }
    if (tab == NOD_ConditionPlan::theParm) {
        return base->getConditional(type);
    }
    return base->groupType() == ZEL_CONDGROUP_SWITCHER
               ? static_cast<const ZEL_ConditionalSwitcher *>(base)->getTabConditional(tab, type)
               : nullptr;
}

bool hasConditions(const ZEL_ParmList &parms)
{
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        const ZEL_Template *const description = parm.getTemplatePtr();
        if (!description || !description->getConditionalBasePtr()) {
            continue;
        }
        const int tabs = description->isSwitcher() ? parm.getVectorSize() : 0;
        for (int tab = NOD_ConditionPlan::theParm; tab < tabs; ++tab) {
            if (conditionOf(*description, tab, ZEL_CONDTYPE_DISABLE) ||
                conditionOf(*description, tab, ZEL_CONDTYPE_HIDE)) {
                return true;
            }
        }
    }
    return false;
}

bool hasAliases(const ZEL_ParmList &parms)
{
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            if (parm.getChannelAlias(k) != parm.getChannelToken(k)) {
                return true;
            }
        }
    }
    return false;
}

/// The plans of lists that have only what their templates say, by the first of these.
struct SharedPlans
{
    std::mutex lock;
    std::unordered_map<const ZEL_Template *, std::weak_ptr<const NOD_ConditionPlan>> plans;

    static SharedPlans &get()
    {
        static SharedPlans theShared;
        return theShared;
    }
};

} // namespace

// ---------------------------------------------------------------------- //
// Making
// ---------------------------------------------------------------------- //

std::shared_ptr<const NOD_ConditionPlan> NOD_ConditionPlan::of(const ZEL_ParmList &parms)
{
    constexpr bool noCookFlag = false;
    if (!hasConditions(parms)) {
        return nullptr;
    }
    if (parms.hasSpareOrMultiInstanceParms() || hasAliases(parms)) {
        const auto plan = std::make_shared<const NOD_ConditionPlan>(parms, noCookFlag);
        return plan->myConditions.empty() ? nullptr : plan;
    }
    SharedPlans &shared = SharedPlans::get();
    const std::lock_guard<std::mutex> guard(shared.lock);
    std::weak_ptr<const NOD_ConditionPlan> &known =
        shared.plans[parms.getParmPtr(0)->getTemplatePtr()];
    std::shared_ptr<const NOD_ConditionPlan> plan = known.lock();
    if (!plan) {
        plan = std::make_shared<const NOD_ConditionPlan>(parms, noCookFlag);
        known = plan;
    }
    return plan->myConditions.empty() ? nullptr : plan;
}

NOD_ConditionPlan::NOD_ConditionPlan(const ZEL_ParmList &parms, bool noCookFlag, bool placesFlag)
{
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        const ZEL_Template *const description = parm.getTemplatePtr();
        if (!description || !description->getConditionalBasePtr()) {
            continue;
        }
        addConditions(parms, i, theParm, noCookFlag);
        for (int tab = 0; description->isSwitcher() && tab < parm.getVectorSize(); ++tab) {
            addConditions(parms, i, tab, noCookFlag);
        }
    }
    for (int number = 0; number < int(myConditions.size()); ++number) {
        for (const Control *at = beginControls(number); at != endControls(number); ++at) {
            myReaders.emplace_back(*at, number);
        }
    }
    std::sort(myReaders.begin(), myReaders.end());
    myReaders.erase(std::unique(myReaders.begin(), myReaders.end()), myReaders.end());
    if (!myConditions.empty() || placesFlag) {
        findPlaces(parms);
    }
}

void NOD_ConditionPlan::addConditions(const ZEL_ParmList &parms, int parmIndex, int tab,
                                      bool noCookFlag)
{
    const ZEL_Template &description = *parms.getParmPtr(parmIndex)->getTemplatePtr();
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        const ZEL_Conditional *const test = conditionOf(description, tab, type);
        if (test && test->entries() > 0 && (noCookFlag || type != ZEL_CONDTYPE_NOCOOK)) {
            myConditions.push_back({parmIndex, tab, type, test, false, myControls.size()});
            addControls(parms, myConditions.back());
        }
    }
}

/// Names mean here what they mean to the evaluation.
void NOD_ConditionPlan::addControls(const ZEL_ParmList &parms, Condition &condition)
{
    for (int group = 0; group < condition.test->entries(); ++group) {
        for (const KIT_String &left : (*condition.test)(group)->getControlParms()) {
            if (left.lastChar() == ')') {
                condition.expressionFlag = true;
                continue;
            }
            int component = 0;
            int parm = parms.getParmIndexFromChannel(left.nonNullStr(), &component, true);
            if (parm < 0) {
                component = 0;
                parm = parms.getParmIndex(left.nonNullStr());
            }
            if (parm >= 0) {
                myControls.emplace_back(parm, component);
            }
        }
    }
}

void NOD_ConditionPlan::findPlaces(const ZEL_ParmList &parms)
{
    std::unordered_map<const ZEL_Template *, int> indices;
    bool anyFlag = false;
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        indices[parm.getTemplatePtr()] = i;
        anyFlag = anyFlag || parm.getMultiParmOwner() || parm.getType().isSwitcher();
    }
    if (!anyFlag) {
        return;
    }
    myPlaces.resize(std::size_t(parms.getEntries()));
    for (int i = 0; i < parms.getEntries(); ++i) {
        if (const ZEL_Multi *const block = parms.getParmPtr(i)->getMultiParmOwner()) {
            myPlaces[std::size_t(i)].parm = parms.getParmIndex(block->getTokenRef());
        }
    }
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Template *const folders = parms.getParmPtr(i)->getTemplatePtr();
        if (!folders || !folders->isSwitcher()) {
            continue;
        }
        KIT_ValArray<int> switchers;
        KIT_ValArray<int> others;
        ZEL_Template::getSwitcherStats(folders, switchers, others);
        const ZEL_Template *member = folders + 1;
        for (int tab = 0; tab < int(switchers.entries()); ++tab) {
            for (int left = switchers(tab) + others(tab); left > 0 && !member->isTerminator();
                 --left) {
                const auto place = indices.find(member);
                if (place != indices.end()) {
                    myPlaces[std::size_t(place->second)] = {i, tab};
                }
                member = member->isSwitcher() ? ZEL_Template::getEndOfSwitcher(member) : member + 1;
            }
        }
    }
    for (int i = 0; i < parms.getEntries(); ++i) {
        if (myPlaces[std::size_t(i)].parm >= 0) {
            myMembers.emplace_back(myPlaces[std::size_t(i)].parm, i);
        }
    }
    std::sort(myMembers.begin(), myMembers.end());
}

// ---------------------------------------------------------------------- //
// What conditions say
// ---------------------------------------------------------------------- //

const ZEL_Conditional *NOD_ConditionPlan::findOwn(int parm, int tab, ZEL_ConditionalType type,
                                                  int &number) const
{
    const auto key = std::make_tuple(parm, tab, type);
    const auto keyOf = [](const Condition &one) {
        return std::make_tuple(one.parm, one.tab, one.type);
    };
    const auto at = std::lower_bound(
        myConditions.begin(), myConditions.end(), key,
        [&](const Condition &one, const auto &other) { return keyOf(one) < other; });
    number = int(at - myConditions.begin());
    return at != myConditions.end() && keyOf(*at) == key ? at->test : nullptr;
}

bool NOD_ConditionPlan::saysOwn(const Results &results, int parm, int tab,
                                ZEL_ConditionalType type) const
{
    int number = 0;
    return findOwn(parm, tab, type, number) && results[std::size_t(number)] != 0;
}

bool NOD_ConditionPlan::says(const Results &results, int parm, int tab,
                             ZEL_ConditionalType type) const
{
    while (!saysOwn(results, parm, tab, type)) {
        if (tab != theParm) {
            tab = theParm;
            continue;
        }
        const Place place = getPlace(parm);
        if (place.parm < 0) {
            return false;
        }
        parm = place.parm;
        tab = place.tab;
    }
    return true;
}

bool NOD_ConditionPlan::liesIn(int parm, int around) const
{
    while (parm != around && parm >= 0) {
        parm = myPlaces.empty() ? -1 : myPlaces[std::size_t(parm)].parm;
    }
    return parm >= 0;
}

void NOD_ConditionPlan::addGoverned(int parm, std::vector<int> &parms) const
{
    const std::size_t first = parms.size();
    parms.push_back(parm);
    for (std::size_t i = first; i < parms.size(); ++i) {
        const int around = parms[i];
        for (auto at =
                 std::lower_bound(myMembers.begin(), myMembers.end(), std::make_pair(around, 0));
             at != myMembers.end() && at->first == around; ++at) {
            parms.push_back(at->second);
        }
    }
}
