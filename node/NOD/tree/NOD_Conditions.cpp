#include <NOD/NOD_Conditions.h>

#include <NOD/NOD_Graph.h>
#include <NOD/tree/NOD_ConditionPlanPrivate.h>
#include <NOD/tree/NOD_GraphScopesPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_LostReferencesPrivate.h>
#include <NOD/tree/NOD_WholeNodePrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_AutoBlockErrors.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <new>
#include <utility>

/// The conditions of one node, and what they said last.
struct NOD_Conditions::NodeState
{
    std::shared_ptr<const NOD_ConditionPlan> plan;
    NOD_ConditionPlan::Results results;
    std::vector<int> marked;
    std::vector<char> markedFlags; ///< by number
    std::vector<char> timedFlags;  ///< reads something time dependent
    /// Of conditions with expressions, by number: null for others, empty if there are none.
    std::vector<std::unique_ptr<NOD_ConditionNode>> readers;
    bool staleFlag = true; ///< the plan isn't the list's any more
    bool queuedFlag = false;
    std::size_t place = 0;     ///< in the queue
    std::uint64_t version = 0; ///< of the plan; no two have the same
};

void NOD_ConditionNode::becameDirty()
{
    myConditions.mark(myNode, myNumber);
}

// ---------------------------------------------------------------------- //
// Life
// ---------------------------------------------------------------------- //

NOD_Conditions::NOD_Conditions(NOD_Graph &graph) : myGraph(&graph)
{
    graph.myConditions = this;
    if (graph.myRoot) {
        NODforEachNode(*graph.myRoot, [&](NOD_Node &node) { structureChanged(node); });
    }
    updateUnlessInBatch();
}

NOD_Conditions::~NOD_Conditions()
{
    if (myGraph) {
        myGraph->myConditions = nullptr;
    }
}

void NOD_Conditions::nodeRemoved(NOD_Node &node)
{
    if (const NodeState *const state = find(node)) {
        myTimed.erase(state->version);
        if (state->queuedFlag) {
            myQueue[state->place] = nullptr;
        }
    }
    myStates.erase(&node);
}

void NOD_Conditions::treeRemoved()
{
    myStates.clear();
    myQueue.clear();
    myNext = 0;
    myTimed.clear();
    myGraph->myConditions = nullptr;
    myGraph = nullptr;
}

NOD_Conditions::NodeState *NOD_Conditions::find(NOD_Node &node) const
{
    const auto state = myStates.find(&node);
    return state == myStates.end() ? nullptr : state->second.get();
}

// ---------------------------------------------------------------------- //
// Marks
// ---------------------------------------------------------------------- //

void NOD_Conditions::queue(NOD_Node &node, NodeState &state)
{
    if (!state.queuedFlag) {
        state.place = myQueue.size();
        myQueue.push_back(&node);
        state.queuedFlag = true;
    }
}

void NOD_Conditions::structureChanged(NOD_Node &node)
{
    std::unique_ptr<NodeState> &state = myStates[&node];
    if (!state) {
        state = std::make_unique<NodeState>();
    }
    state->staleFlag = true;
    state->plan.reset(); // plans are shared by what templates they are of, which may end now
    queue(node, *state);
}

void NOD_Conditions::mark(NOD_Node &node, NodeState &state, int number)
{
    if (!state.staleFlag && !state.markedFlags[std::size_t(number)]) {
        state.marked.push_back(number);
        state.markedFlags[std::size_t(number)] = 1;
        queue(node, state);
    }
}

void NOD_Conditions::mark(NOD_Node &node, int number)
{
    if (NodeState *const state = find(node)) {
        mark(node, *state, number);
    }
}

void NOD_Conditions::markExpressions(NOD_Node &node)
{
    NodeState *const state = find(node);
    for (int i = 0; state && i < int(state->readers.size()); ++i) {
        if (state->readers[std::size_t(i)]) {
            mark(node, *state, i);
        }
    }
}

void NOD_Conditions::changed(NOD_Node &node, int parmIndex, int component)
{
    NodeState *const state = find(node);
    if (state && !state->staleFlag) {
        state->plan->forEachReader(parmIndex, component,
                                   [&](int number) { mark(node, *state, number); });
    }
}

void NOD_Conditions::timeChanged()
{
    for (const auto &[version, node] : myTimed) {
        NodeState *const state = find(*node);
        for (int i = 0; state && i < int(state->timedFlags.size()); ++i) {
            if (state->timedFlags[std::size_t(i)]) {
                mark(*node, *state, i);
            }
        }
    }
    updateUnlessInBatch();
}

void NOD_Conditions::evaluateAll()
{
    if (!myGraph || !myGraph->myRoot) {
        return;
    }
    NODforEachNode(*myGraph->myRoot, [&](NOD_Node &node) {
        NodeState *const state = find(node);
        for (int i = 0; state && i < int(state->results.size()); ++i) {
            mark(node, *state, i);
        }
    });
    updateUnlessInBatch();
}

// ---------------------------------------------------------------------- //
// Evaluation
// ---------------------------------------------------------------------- //

void NOD_Conditions::updateUnlessInBatch()
{
    if (myGraph && myGraph->myDepth == 0) {
        update();
    }
}

void NOD_Conditions::update()
{
    if (myNext == myQueue.size()) {
        return;
    }
    const ZEL_AutoBlockErrors block(BASgetSTID());
    const ZEL_Multi::KeepItems keep;
    try {
        while (myNext < myQueue.size()) {
            if (NOD_Node *const node = myQueue[myNext++]) {
                updateNode(*node);
            }
        }
    } catch (const std::bad_alloc &) {
        myGraph->myBrokenFlag = true;
        throw;
    }
    myQueue.clear();
    myNext = 0;
}

void NOD_Conditions::updateNode(NOD_Node &node)
{
    NodeState *const state = find(node);
    if (!state) {
        return;
    }
    state->queuedFlag = false;
    if (state->staleFlag) {
        replan(node, *state);
        if (!state->plan) {
            myStates.erase(&node);
            return;
        }
    }
    std::vector<int> parms;
    evaluateMarked(node, *state, parms);
    setStates(node, parms);
}

/// Reads the list anew; all conditions are marked.
void NOD_Conditions::replan(NOD_Node &node, NodeState &state)
{
    for (std::size_t i = 0; i < state.readers.size(); ++i) {
        if (state.readers[i]) {
            myGraph->myLost->forget(node, NOD_GraphReader::tokenOfCondition(int(i)));
        }
    }
    state.readers.clear();
    myTimed.erase(state.version);
    state.plan = NOD_ConditionPlan::of(node.getParms());
    state.version = ++myLastVersion;
    if (!state.plan) {
        return;
    }
    const std::vector<NOD_ConditionPlan::Condition> &conditions = state.plan->getConditions();
    state.results.assign(conditions.size(), 0);
    state.timedFlags.assign(conditions.size(), 0);
    state.markedFlags.assign(conditions.size(), 1);
    state.marked.clear();
    for (int i = 0; i < int(conditions.size()); ++i) {
        state.marked.push_back(i);
        if (conditions[std::size_t(i)].expressionFlag) {
            state.readers.resize(conditions.size());
            state.readers[std::size_t(i)] = std::make_unique<NOD_ConditionNode>(*this, node, i);
        }
    }
    state.staleFlag = false;
}

/// Adds the parameters that what has changed governs; of a fresh plan all governed ones.
void NOD_Conditions::evaluateMarked(NOD_Node &node, NodeState &state, std::vector<int> &parms)
{
    const std::shared_ptr<const NOD_ConditionPlan> plan = state.plan;
    const bool freshFlag = state.marked.size() == state.results.size();
    std::vector<int> marked = std::move(state.marked);
    state.marked.clear();
    std::sort(marked.begin(), marked.end());
    for (const int number : marked) {
        state.markedFlags[std::size_t(number)] = 0;
        const bool changedFlag = evaluate(node, state, number);
        if (state.staleFlag) {
            return; // reading has made items: it is queued again
        }
        if (changedFlag || freshFlag) {
            plan->addGoverned(plan->getConditions()[std::size_t(number)].parm, parms);
        }
    }
    std::sort(parms.begin(), parms.end());
    parms.erase(std::unique(parms.begin(), parms.end()), parms.end());
}

/// Whether the result is another one.
bool NOD_Conditions::evaluate(NOD_Node &node, NodeState &state, int number)
{
    const std::shared_ptr<const NOD_ConditionPlan> plan = state.plan;
    const NOD_ConditionPlan::Condition &condition = plan->getConditions()[std::size_t(number)];
    ZEL_Parm &parm = *node.getParms().getParmPtr(condition.parm);
    ++myNumEvaluated;
    const bool holdsFlag = condition.expressionFlag
                               ? evaluateExpressions(node, state, number, parm)
                               : condition.test->eval(parm, node.getParms(), nullptr);
    if (state.staleFlag) {
        return false;
    }
    bool timedFlag = condition.expressionFlag; // it may read the time
    for (auto at = plan->beginControls(number); at != plan->endControls(number); ++at) {
        timedFlag = timedFlag || node.getParms().getParmPtr(at->first)->isTimeDependent(at->second);
    }
    state.timedFlags[std::size_t(number)] = timedFlag;
    if (timedFlag) {
        myTimed[state.version] = &node;
    }
    const bool changedFlag = (state.results[std::size_t(number)] != 0) != holdsFlag;
    state.results[std::size_t(number)] = holdsFlag;
    return changedFlag;
}

/// What the expressions on the left read becomes the condition's inputs; what a comparison leaves out, it
/// reads once another result has it evaluated.
bool NOD_Conditions::evaluateExpressions(NOD_Node &node, NodeState &state, int number,
                                         ZEL_Parm &parm)
{
    const ZEL_Conditional &test = *state.plan->getConditions()[std::size_t(number)].test;
    LNK_MicroNode &own = *state.readers[std::size_t(number)];
    const NOD_Graph::Reader reader{&node, nullptr, number, &own};
    own.clearInputs();
    myGraph->myLost->forget(node, NOD_GraphReader::tokenOfCondition(number));
    const NOD_Graph::Reading reading(*myGraph, reader);
    return test.eval(parm, node.getParms(), nullptr);
}

// ---------------------------------------------------------------------- //
// States
// ---------------------------------------------------------------------- //

namespace
{

/// Sets all components alike, or each tab for itself. `says(component)` is true for those to be off.
template <class Says, class Set>
void setComponents(const ZEL_Parm &parm, const Says &says, const Set &set)
{
    const int size = parm.getType().isSwitcher() ? parm.getVectorSize() : 0;
    bool sameFlag = true;
    for (int i = 1; i < size; ++i) {
        sameFlag = sameFlag && says(i) == says(0);
    }
    if (sameFlag) {
        set(!says(size > 0 ? 0 : NOD_ConditionPlan::theParm), -1);
        return;
    }
    for (int i = 0; i < size; ++i) {
        set(!says(i), i);
    }
}

} // namespace

/// Sets what conditions say; an event handler may change anything.
void NOD_Conditions::setStates(NOD_Node &node, const std::vector<int> &parms)
{
    const NodeState *const state = find(node);
    const std::uint64_t version = state ? state->version : 0;
    const auto isValid = [&] {
        const NodeState *const present = find(node);
        return present && present->version == version && !present->staleFlag;
    };
    for (const int index : parms) {
        for (const ZEL_ConditionalType type : {ZEL_CONDTYPE_DISABLE, ZEL_CONDTYPE_HIDE}) {
            if (!isValid()) {
                return;
            }
            ZEL_Parm &parm = *node.getParms().getParmPtr(index);
            const auto says = [&](int tab) {
                return isValid() && state->plan->says(state->results, index, tab, type);
            };
            setComponents(parm, says, [&](bool onFlag, int component) {
                if (!isValid()) {
                    return;
                }
                if (type == ZEL_CONDTYPE_DISABLE) {
                    parm.setEnableState(onFlag, component);
                } else {
                    parm.setVisibleState(onFlag, component);
                }
            });
        }
    }
}

// ---------------------------------------------------------------------- //
// Without a tree
// ---------------------------------------------------------------------- //

namespace
{

constexpr bool theNoCookFlag = true;

NOD_ParmState stateIn(const NOD_ConditionPlan &plan, const NOD_ConditionPlan::Results &results,
                      int index, const ZEL_Parm &parm)
{
    const auto stateOf = [&](int tab) {
        return NOD_ConditionState{plan.says(results, index, tab, ZEL_CONDTYPE_DISABLE),
                                  plan.says(results, index, tab, ZEL_CONDTYPE_HIDE),
                                  plan.saysOwn(results, index, tab, ZEL_CONDTYPE_NOCOOK)};
    };
    NOD_ParmState state;
    static_cast<NOD_ConditionState &>(state) = stateOf(NOD_ConditionPlan::theParm);
    for (int tab = 0; parm.getType().isSwitcher() && tab < parm.getVectorSize(); ++tab) {
        state.tabs.push_back(stateOf(tab));
    }
    return state;
}

/// Of all conditions. Calls after those of each of the first `count` parameters: reading one may make items.
NOD_ConditionPlan::Results evaluatePlan(const NOD_ConditionPlan &plan, const ZEL_ParmList &parms,
                                        int count, const NOD_Conditions::Evaluated &evaluated)
{
    NOD_ConditionPlan::Results results;
    auto condition = plan.getConditions().begin();
    for (int i = 0; i < count; ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        for (; condition != plan.getConditions().end() && condition->parm == i; ++condition) {
            results.push_back(condition->test->eval(parm, parms, nullptr));
        }
        if (evaluated) {
            evaluated(parm);
        }
    }
    return results;
}

/// Finds what a person sees, from a parameter or tab outwards.
class Shown
{
public:
    Shown(const ZEL_ParmList &parms, const NOD_ConditionPlan &plan,
          const NOD_ConditionPlan::Results &results)
        : myParms(parms), myPlan(plan), myResults(results)
    {}

    NOD_ShownState find(int parm, int tab) const
    {
        NOD_ShownState state;
        add(state, parm, tab, ZEL_CONDTYPE_NOCOOK);
        state.noCookFlag = !state.reasons.empty();
        while (parm >= 0) {
            state.disabledFlag = add(state, parm, tab, ZEL_CONDTYPE_DISABLE) || state.disabledFlag;
            state.hiddenFlag = add(state, parm, tab, ZEL_CONDTYPE_HIDE) || state.hiddenFlag;
            state.hiddenFlag = addInvisible(state, parm, tab) || state.hiddenFlag;
            if (tab != NOD_ConditionPlan::theParm) {
                tab = NOD_ConditionPlan::theParm;
                continue;
            }
            const NOD_ConditionPlan::Place place = myPlan.getPlace(parm);
            parm = place.parm;
            tab = place.tab;
        }
        return state;
    }

private:
    bool add(NOD_ShownState &state, int parm, int tab, ZEL_ConditionalType type) const
    {
        int number = 0;
        const ZEL_Conditional *const own = myPlan.findOwn(parm, tab, type, number);
        if (!own || !myResults[std::size_t(number)]) {
            return false;
        }
        state.reasons.push_back({NOD_StateReason::By::CONDITION, type, parm, tab, own});
        return true;
    }

    bool addInvisible(NOD_ShownState &state, int parm, int tab) const
    {
        using By = NOD_StateReason::By;
        const ZEL_Template *const description = myParms.getParmPtr(parm)->getTemplatePtr();
        const ZEL_SpareData *const spare = description ? description->getSparePtr() : nullptr;
        const bool tabFlag = tab != NOD_ConditionPlan::theParm;
        const bool hiddenFlag =
            tabFlag ? spare && description->isSwitcher() && !spare->getVisibleTab(tab)
                    : description && description->getInvisible();
        if (hiddenFlag) {
            state.reasons.push_back({tabFlag ? By::INVISIBLE_TAB : By::INVISIBLE, ZEL_CONDTYPE_HIDE,
                                     parm, tab, nullptr});
        }
        return hiddenFlag;
    }

    const ZEL_ParmList &myParms;
    const NOD_ConditionPlan &myPlan;
    const NOD_ConditionPlan::Results &myResults;
};

} // namespace

std::string NOD_StateReason::asText() const
{
    if (by != By::CONDITION) {
        return by == By::INVISIBLE ? "invisible" : "invisibletab";
    }
    KIT_String text;
    condition->getStringFromList(text);
    text.trim();
    return ZEL_Conditional::getName(type, false) +
           std::string(tab == NOD_ConditionPlan::theParm ? " " : "tab ") + text.nonNullStr();
}

std::vector<NOD_ShownParm> NOD_Conditions::shownOf(const ZEL_ParmList &parms,
                                                   const Evaluated &evaluated)
{
    constexpr bool placesFlag = true;
    const NOD_ConditionPlan plan(parms, theNoCookFlag, placesFlag);
    const ZEL_Multi::KeepItems keep;
    const int count = parms.getEntries();
    const NOD_ConditionPlan::Results results = evaluatePlan(plan, parms, count, evaluated);
    const Shown shown(parms, plan, results);
    std::vector<NOD_ShownParm> states;
    for (int i = 0; i < count; ++i) {
        NOD_ShownParm state;
        static_cast<NOD_ShownState &>(state) = shown.find(i, NOD_ConditionPlan::theParm);
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        for (int tab = 0; parm.getType().isSwitcher() && tab < parm.getVectorSize(); ++tab) {
            state.tabs.push_back(shown.find(i, tab));
        }
        states.push_back(std::move(state));
    }
    return states;
}

std::vector<NOD_ParmState> NOD_Conditions::statesOf(const ZEL_ParmList &parms,
                                                    const Evaluated &evaluated)
{
    const NOD_ConditionPlan plan(parms, theNoCookFlag);
    const ZEL_Multi::KeepItems keep;
    const int count = parms.getEntries();
    const NOD_ConditionPlan::Results results = evaluatePlan(plan, parms, count, evaluated);
    std::vector<NOD_ParmState> states;
    for (int i = 0; i < count; ++i) {
        states.push_back(stateIn(plan, results, i, *parms.getParmPtr(i)));
    }
    return states;
}

NOD_ParmState NOD_Conditions::stateOf(const ZEL_ParmList &parms, int parmIndex)
{
    const ZEL_Parm *const parm = parms.getParmPtr(parmIndex);
    if (!parm) {
        return NOD_ParmState(); // the index of one that isn't found by its token
    }
    const NOD_ConditionPlan plan(parms, theNoCookFlag);
    const ZEL_Multi::KeepItems keep;
    NOD_ConditionPlan::Results results;
    for (const NOD_ConditionPlan::Condition &condition : plan.getConditions()) {
        results.push_back(plan.liesIn(parmIndex, condition.parm) &&
                          condition.test->eval(*parms.getParmPtr(condition.parm), parms, nullptr));
    }
    return stateIn(plan, results, parmIndex, *parm);
}
