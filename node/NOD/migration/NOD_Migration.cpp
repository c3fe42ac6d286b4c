#include <NOD/NOD_Migration.h>

#include <BAS/BAS_Thread.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_NodeState.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/migration/NOD_MigrationComponentsPrivate.h>
#include <NOD/migration/NOD_MigrationConvertPrivate.h>
#include <NOD/text/NOD_NumberTextPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <NOD/tree/NOD_LoadingPrivate.h>
#include <NOD/tree/NOD_ParmRenamesPrivate.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>

namespace
{

using Step = NOD_MigrationStep;
using Converter = NOD_MigrationConverter;

/// Where a component goes.
struct Goal
{
    std::string token;
    int component;
};

/// What decides whether a parameter continues, and with what.
struct Former
{
    std::string token;
    std::vector<Goal> goals;         ///< of each component; none if it is dropped
    std::vector<const Step *> steps; ///< of the map, about it
    Converter::Steps values;         ///< those that change values
    unsigned kind = 0;
    bool multiFlag = false;
    bool defaultFlag = false;
    bool copyFlag = false; ///< its value goes over
    bool movedFlag =
        false; ///< adoption doesn't find it: it, or a block that it is in, has a step; or it is locked
    NOD_MigrationComponents components;
    std::vector<bool> entryFlags; ///< of each component: whether the value is an entry of the menu
    std::vector<Converter::Result> results; ///< of each component, once it is converted
    std::vector<std::string> channels;      ///< of each component, what references call it
    bool rewrittenFlag = false;             ///< its expressions have present names now

    bool isDropped() const { return goals.empty(); }
    /// Whether all of it is one parameter of the same name.
    bool keepsName() const { return !goals.empty() && goals[0].token == token; }
};

/// The names that its components go to, each once.
std::string targetsOf(const Former &former)
{
    std::string names;
    for (std::size_t k = 0; k < former.goals.size(); ++k) {
        if (k == 0 || former.goals[k].token != former.goals[k - 1].token) {
            names += (names.empty() ? "" : " ") + former.goals[k].token;
        }
    }
    return names;
}

bool fits(const Former &former, const ZEL_Parm &parm)
{
    const bool retypeFlag =
        std::any_of(former.values.begin(), former.values.end(),
                    [](const Step *step) { return step->kind == Step::Kind::RETYPE; });
    return parm.getInstance() &&
           (retypeFlag || unsigned(parm.getType().getBasicType()) == former.kind) &&
           (!parm.isMultiParm() || former.multiFlag);
}

} // namespace

// ---------------------------------------------------------------------- //
// One migration
// ---------------------------------------------------------------------- //

class NOD_Migration::Run
{
public:
    Run(NOD_Migration &migration, NOD_Node &node, double time)
        : myMigration(migration), myNode(node), myTime(time)
    {}

    void takeFormer();
    /// What adoption doesn't find, from a copy of the node as it was.
    void moveOthers(NOD_Node &former);
    void findEntries();
    /// References by names that were renamed, in this node and, unless somebody gathers them, all others of its tree.
    void rename(NOD_Node &former, NOD_Edit &edit);
    void tell();
    bool hasMoved() const
    {
        return std::any_of(myFormer.begin(), myFormer.end(),
                           [](const Former &one) { return one.movedFlag; });
    }

private:
    ZEL_Parm *find(const std::string &token) const
    {
        return myNode.getParms().getParmPtr(token.c_str());
    }
    void plan(const ZEL_Parm &parm, Former &former) const;
    bool isPushedOut(const Former &former) const;
    void dropWith(const std::string &block, Former &former) const;
    void clearLeft();
    void reset(ZEL_Parm &parm) const;
    void resetOnce(ZEL_Parm &parm);
    void move(Former &one, NOD_Node &former);
    Converter::Result copy(const Former &one, const ZEL_Parm &from, int index, ZEL_Parm &to,
                           int toIndex) const;
    Entry fateOf(const Former &former) const;
    Entry compared(const Former &former, const NOD_MigrationComponents &present,
                   const ZEL_Parm &parm) const;
    NOD_ParmRenames::Names findRenames() const;
    std::string menuFault(const Former &former, const ZEL_Parm &parm) const;
    std::string deviation(const Former &former, const NOD_MigrationComponent &was,
                          const NOD_MigrationComponent &is) const;

    NOD_Migration &myMigration;
    NOD_Node &myNode;
    double myTime;
    std::vector<Former> myFormer;
    std::set<std::string> myClaimed; ///< names that steps give
    std::set<std::string> myReset;   ///< parameters that are as new ones, or were
};

/// What the steps say of it.
void NOD_Migration::Run::plan(const ZEL_Parm &parm, Former &former) const
{
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        former.goals.push_back({former.token, k});
    }
    for (const Step &step : myMigration.mySteps) {
        const int source = step.findSource(former.token);
        if (source < 0) {
            continue;
        }
        former.steps.push_back(&step);
        if (step.isValueStep()) {
            former.values.push_back(&step);
        }
        for (std::size_t k = 0; k < former.goals.size() && !step.targets.empty(); ++k) {
            const bool splitFlag = step.kind == Step::Kind::SPLIT;
            const bool joinFlag = step.kind == Step::Kind::JOIN;
            const int target = splitFlag ? int(k) : 0;
            former.goals[k] = {std::size_t(target) < step.targets.size()
                                   ? step.targetOf(former.token, source, target)
                                   : std::string(),
                               joinFlag    ? source
                               : splitFlag ? 0
                                           : int(k)};
        }
        if (step.kind == Step::Kind::DROP) {
            former.goals.clear();
        }
    }
}

/// Whether another one has its name now.
bool NOD_Migration::Run::isPushedOut(const Former &former) const
{
    return former.keepsName() && myClaimed.count(former.token) > 0 &&
           std::all_of(former.steps.begin(), former.steps.end(),
                       [](const Step *step) { return step->targets.empty(); });
}

/// The items of a block that is given up are too.
void NOD_Migration::Run::dropWith(const std::string &block, Former &former) const
{
    for (const Step &step : myMigration.mySteps) {
        if (step.kind == Step::Kind::DROP && step.findSource(block) >= 0) {
            former.goals.clear();
            former.steps.push_back(&step);
            former.movedFlag = true;
        }
    }
}

void NOD_Migration::Run::takeFormer()
{
    std::set<const ZEL_Multi *> moved; // blocks that are filled anew, and so are their items
    for (const ZEL_Parm *parm : NODparmsInOrder(myNode.getParms())) {
        if (!NODhasValue(*parm)) {
            continue;
        }
        Former former;
        former.token = parm->getToken();
        plan(*parm, former);
        former.kind = unsigned(parm->getType().getBasicType());
        former.multiFlag = parm->isMultiParm();
        // A lock says that the value is meant to stay, though adoption takes the default for none.
        const bool lockedFlag = parm->getLockedField() != 0;
        const bool frozenFlag =
            std::any_of(former.steps.begin(), former.steps.end(),
                        [](const Step *step) { return step->kind == Step::Kind::FREEZE; });
        former.defaultFlag = parm->isTrueFactoryDefault() && !lockedFlag && !frozenFlag;
        former.movedFlag = !former.steps.empty() || lockedFlag;
        const ZEL_Multi *const block = parm->getMultiParmOwner();
        for (const ZEL_Multi *at = block; at; at = at->getMultiParmOwner()) {
            former.movedFlag |= moved.count(at) > 0;
            dropWith(at->getTemplatePtr()->getToken(), former);
        }
        if (former.multiFlag && former.movedFlag) {
            moved.insert(static_cast<const ZEL_Multi *>(parm->getInstance()));
        }
        former.copyFlag = !former.defaultFlag || former.multiFlag ||
                          (block && block->getTemplatePtr()->isRampType());
        former.components = NODcomponentsOf(*parm, myTime);
        former.results.resize(former.components.size());
        for (int k = 0; k < parm->getVectorSize(); ++k) {
            former.channels.emplace_back(parm->getChannelToken(k).nonNullStr());
            former.entryFlags.push_back(!parm->getChannel(k) &&
                                        NODfindEntry(*parm, NODrawText(*parm, k, myTime)) >= 0);
        }
        for (const Goal &goal : former.goals) {
            if (goal.token != former.token) {
                myClaimed.insert(goal.token);
            }
        }
        myFormer.push_back(std::move(former));
    }
}

/// As a new one is.
void NOD_Migration::Run::reset(ZEL_Parm &parm) const
{
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        parm.setLockedFlag(k, false);
        parm.removeChannel(k);
        myNode.getParms().setChannelAlias(&parm, k, KIT_StringHolder());
    }
    parm.revertToDefaults(myTime);
}

/// Several may become components of one.
void NOD_Migration::Run::resetOnce(ZEL_Parm &parm)
{
    if (myReset.insert(parm.getToken()).second) {
        reset(parm);
    }
}

Converter::Result NOD_Migration::Run::copy(const Former &one, const ZEL_Parm &from, int index,
                                           ZEL_Parm &to, int toIndex) const
{
    if (!one.values.empty()) {
        return Converter(one.values, myTime).convert(from, index, to, toIndex);
    }
    constexpr bool replaceExpression = true;
    constexpr bool propagate = true;
    constexpr bool copyChannels = true;
    to.copyValue(myTime, toIndex, from, index, replaceExpression, propagate, copyChannels,
                 ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
    to.setLockedFlag(toIndex, from.getLockedFlag(index));
    return {};
}

/// Adoption goes by tokens: a name that means another parameter now has been given the wrong value.
void NOD_Migration::Run::clearLeft()
{
    for (const Former &one : myFormer) {
        ZEL_Parm *const left = one.keepsName() ? nullptr : find(one.token);
        if (left && left->isSpareParm() && myClaimed.count(one.token) == 0) {
            myNode.removeSpareParm(one.token.c_str());
        } else if (left && unsigned(left->getType().getBasicType()) == one.kind) {
            reset(*left);
        }
    }
}

void NOD_Migration::Run::move(Former &one, NOD_Node &former)
{
    const ZEL_Parm *const from = former.getParms().getParmPtr(one.token.c_str());
    for (std::size_t k = 0; from && k < one.goals.size(); ++k) {
        ZEL_Parm *const to = find(one.goals[k].token);
        if (!to || !fits(one, *to)) {
            continue;
        }
        resetOnce(*to);
        if (one.copyFlag && one.goals[k].component < to->getVectorSize()) {
            one.results[k] = copy(one, *from, int(k), *to, one.goals[k].component);
        }
        if (to->isMultiParm()) {
            int count = 0;
            to->getValue(myTime, count, 0, BASgetSTID()); // its items follow it
        }
    }
}

void NOD_Migration::Run::moveOthers(NOD_Node &former)
{
    // What existed before needs no limit.
    const ZEL_InputBudget noLimit(ZEL_InputBudget::NO_LIMIT, 0);
    clearLeft();
    for (Former &one : myFormer) {
        if (one.movedFlag && !isPushedOut(one)) {
            move(one, former);
        }
    }
}

/// An ordinal's value is a place in its menu, which may be another one's now.
void NOD_Migration::Run::findEntries()
{
    for (const Former &one : myFormer) {
        const bool wholeFlag = !one.defaultFlag && one.values.empty();
        for (std::size_t k = 0; wholeFlag && k < one.goals.size(); ++k) {
            ZEL_Parm *const parm = find(one.goals[k].token);
            const int index = one.goals[k].component;
            if (!parm || !fits(one, *parm) || !parm->getType().isOrdinalType() ||
                index >= parm->getVectorSize()) {
                continue;
            }
            const std::string &token = one.components[k].text;
            if (!one.entryFlags[k] || parm->getChannel(index) ||
                NODrawText(*parm, index, myTime) == token || NODfindEntry(*parm, token) < 0) {
                continue;
            }
            constexpr bool replaceExpression = true;
            constexpr bool propagate = true;
            const bool lockedFlag = parm->getLockedFlag(index);
            parm->setLockedFlag(index, false);
            parm->setValue(myTime, token.c_str(), TRK_MEANING_LITERAL, replaceExpression, index,
                           ZEL_ADDKEY_PENDING, propagate);
            parm->setLockedFlag(index, lockedFlag);
        }
    }
}

/// Of parameters and of their components.
NOD_ParmRenames::Names NOD_Migration::Run::findRenames() const
{
    NOD_ParmRenames::Names names;
    for (const Former &one : myFormer) {
        const bool wholeFlag =
            std::all_of(one.goals.begin(), one.goals.end(),
                        [&](const Goal &goal) { return goal.token == one.goals[0].token; });
        for (std::size_t k = 0; k < one.goals.size() && k < one.channels.size(); ++k) {
            const ZEL_Parm *const to = isPushedOut(one) ? nullptr : find(one.goals[k].token);
            if (!to || one.goals[k].component >= to->getVectorSize()) {
                continue;
            }
            const std::string present = to->getChannelToken(one.goals[k].component).nonNullStr();
            if (present != one.channels[k]) {
                names.emplace(one.channels[k], present);
            }
            if (wholeFlag && one.token != one.goals[k].token) {
                names.emplace(one.token, one.goals[k].token);
            }
        }
    }
    return names;
}

/// `former`, too, so that what is compared with the present node differs in nothing but what a step has changed.
void NOD_Migration::Run::rename(NOD_Node &former, NOD_Edit &edit)
{
    const NOD_ParmRenames::Names names = findRenames();
    myMigration.myRenamed = names;
    NOD_ParmRenames renames;
    renames.add(myNode, names);
    for (Former &one : myFormer) {
        ZEL_Parm *const parm =
            renames.isEmpty() ? nullptr : former.getParms().getParmPtr(one.token.c_str());
        if (parm && renames.rewrite(myNode, *parm)) {
            one.rewrittenFlag = true;
            for (std::size_t k = 0; k < one.components.size(); ++k) {
                one.components[k].body = NODcomponentOf(*parm, int(k), myTime).body;
            }
        }
    }
    const auto announce = [&](NOD_Node &node, ZEL_Parm &parm) { edit.change(node, parm); };
    if (myMigration.myRenames) {
        renames.rewriteOwn(announce);
        myMigration.myRenames->add(myNode, names);
    } else {
        renames.rewrite(announce);
    }
}

// ---------------------------------------------------------------------- //
// The account
// ---------------------------------------------------------------------- //

/// Why a value isn't what it was: a menu that has its entry no more. "" for another reason.
std::string NOD_Migration::Run::menuFault(const Former &former, const ZEL_Parm &parm) const
{
    const bool stringFlag = parm.getType().isStringType();
    for (int k = 0; NODhasFixedMenu(parm) && k < parm.getVectorSize(); ++k) {
        if (std::size_t(k) >= former.components.size() || !former.entryFlags[std::size_t(k)]) {
            continue;
        }
        const std::string &text = former.components[std::size_t(k)].text;
        const std::string token = stringFlag ? NODrawText(parm, k, myTime) : text;
        if (NODfindEntry(parm, token) < 0) {
            return text + " is no entry of the menu now";
        }
    }
    return "";
}

/// Why a converted component doesn't evaluate to the converted value; "" if it does.
std::string NOD_Migration::Run::deviation(const Former &former, const NOD_MigrationComponent &was,
                                          const NOD_MigrationComponent &is) const
{
    double before = 0.0;
    double after = 0.0;
    const bool numbersFlag = !former.values.empty() && former.copyFlag &&
                             NODreadFloat(was.value, before) && NODreadFloat(is.value, after);
    return numbersFlag ? Converter(former.values, myTime).deviation(before, after) : "";
}

NOD_Migration::Entry NOD_Migration::Run::compared(const Former &former,
                                                  const NOD_MigrationComponents &present,
                                                  const ZEL_Parm &parm) const
{
    Entry entry;
    entry.fate = Fate::CARRIED;
    entry.token = former.token;
    entry.newToken = targetsOf(former);
    entry.before = NODtextOf(former.components);
    entry.after = NODtextOf(present);
    entry.defaultFlag = former.defaultFlag;
    const std::size_t both = std::min(present.size(), former.components.size());
    bool sameFlag = true;
    for (std::size_t k = 0; k < both; ++k) {
        const NOD_MigrationComponent &was = former.components[k];
        const NOD_MigrationComponent &is = present[k];
        const Converter::Result &result = former.results[k];
        sameFlag &= was.body == is.body && was.value == is.value && was.failedFlag == is.failedFlag;
        if (is.failedFlag && !was.failedFlag) {
            entry.reason = "its evaluation fails now";
        } else if (result.outcome != Converter::Outcome::EXACT) {
            entry.reason = result.reason;
        } else if (entry.reason.empty()) {
            entry.reason = deviation(former, was, is);
        }
    }
    if (present.size() < former.components.size()) {
        entry.reason = "has " + std::to_string(present.size()) + " of " +
                       std::to_string(former.components.size()) + " components now";
        sameFlag = false;
    }
    const bool convertedFlag = !former.values.empty() && former.copyFlag;
    const std::string fault = convertedFlag ? "" : menuFault(former, parm);
    if (convertedFlag && entry.reason.empty()) {
        entry.fate = sameFlag ? Fate::CARRIED : Fate::CONVERTED;
        return entry;
    }
    if (sameFlag && entry.reason.empty() && (fault.empty() || former.defaultFlag)) {
        entry.fate = former.rewrittenFlag ? Fate::CONVERTED : Fate::CARRIED;
        return entry;
    }
    entry.fate = former.defaultFlag && !former.copyFlag ? Fate::DEFAULT : Fate::CHANGED;
    entry.reason = entry.fate == Fate::DEFAULT ? "" : fault.empty() ? entry.reason : fault;
    if (entry.before == entry.after && fault.empty()) {
        // What is written is the same, and means something else.
        entry.before = NODvaluesOf(former.components);
        entry.after = NODvaluesOf(present);
    }
    return entry;
}

NOD_Migration::Entry NOD_Migration::Run::fateOf(const Former &former) const
{
    Entry lost;
    lost.fate = Fate::LOST;
    lost.token = former.token;
    lost.before = NODtextOf(former.components);
    lost.defaultFlag = former.defaultFlag;
    if (former.isDropped()) {
        lost.fate = Fate::DROPPED;
        lost.reason = former.steps.back()->reason;
        return lost;
    }
    if (isPushedOut(former)) {
        lost.reason = "another parameter has its name now";
        return lost;
    }
    NOD_MigrationComponents present;
    const ZEL_Parm *last = nullptr;
    for (std::size_t k = 0; k < former.goals.size(); ++k) {
        const Goal &goal = former.goals[k];
        const ZEL_Parm *const parm = find(goal.token);
        const Converter::Result &result = former.results[k];
        if (!parm || !NODhasValue(*parm)) {
            lost.reason = "there is none now";
        } else if (!fits(former, *parm)) {
            lost.reason = "it is of another kind now";
        } else if (result.outcome == Converter::Outcome::LOST) {
            lost.reason = result.reason;
        } else {
            last = parm;
            if (goal.component < parm->getVectorSize()) {
                present.push_back(NODcomponentOf(*parm, goal.component, myTime));
            }
        }
    }
    return last ? compared(former, present, *last) : lost;
}

void NOD_Migration::Run::tell()
{
    std::set<std::string> known;
    for (const Former &former : myFormer) {
        Entry entry = fateOf(former);
        for (const Step *step : former.steps) {
            entry.steps.push_back(*step);
        }
        if (entry.fate != Fate::LOST) {
            for (const Goal &goal : former.goals) {
                known.insert(goal.token);
            }
        }
        myMigration.myEntries.push_back(std::move(entry));
    }
    for (const ZEL_Parm *parm : NODparmsInOrder(myNode.getParms())) {
        if (NODhasValue(*parm) && known.insert(parm->getToken()).second) {
            Entry entry;
            entry.fate = Fate::NEW;
            entry.token = parm->getToken();
            entry.newToken = parm->getToken();
            entry.after = NODtextOf(NODcomponentsOf(*parm, myTime));
            entry.defaultFlag = true;
            myMigration.myEntries.push_back(std::move(entry));
        }
    }
}

// ---------------------------------------------------------------------- //
// Work
// ---------------------------------------------------------------------- //

namespace
{

NOD_Node &copyOf(NOD_Node &node, NOD_Node &root)
{
    constexpr const char *theName = "former";
    const NOD_Loading loading;
    NOD_Node *const copy = node.getInterface() ? root.addChild(theName, node.getInterface())
                                               : root.addChild(theName, node.getPlainTemplates());
    NOD_NodeState(node).restore(*copy);
    return *copy;
}

} // namespace

bool NOD_Migration::run(NOD_Node &node, std::shared_ptr<const NOD_Interface> description,
                        double time, NOD_Report &report)
{
    return run(node, description ? description->getTemplates() : nullptr, time, report,
               [&] { node.renewParms(description); });
}

bool NOD_Migration::run(NOD_Node &node, ZEL_Template *templates, double time, NOD_Report &report)
{
    return run(node, templates, time, report, [&] { node.renewParms(templates); });
}

template <class Renew>
bool NOD_Migration::run(NOD_Node &node, const ZEL_Template *templates, double time,
                        NOD_Report &report, const Renew &renew)
{
    myEntries.clear();
    myRenamed.clear();
    if (!checkNames(node, templates, report)) {
        return false;
    }
    const NOD_ReportScope scope(report);
    NOD_Edit edit(node, "Adopt an interface");
    edit.change(node);
    Run work(*this, node, time);
    work.takeFormer();
    NOD_Node root;
    NOD_Node *const former = work.hasMoved() ? &copyOf(node, root) : nullptr;
    renew();
    NODgrowBlocks(node, time);
    if (former) {
        work.moveOthers(*former);
    }
    work.findEntries();
    NODgrowBlocks(node, time);
    if (former) {
        work.rename(*former, edit);
    }
    work.tell();
    return true;
}

void NODtellFormerReaders(NOD_Scene &scene, const std::string &path,
                          const std::vector<NOD_Migration::Names> &renames, NOD_Report &report)
{
    NOD_Node *const target = scene.getRoot().findNode(path.c_str());
    NOD_ParmRenames all;
    for (const NOD_Migration::Names &names : renames) {
        if (target && !names.empty()) {
            all.add(*target, names);
        }
    }
    if (all.isEmpty()) {
        return;
    }
    std::unordered_map<NOD_Node *, NOD_Node::Sections> kept;
    NODforEachNode(scene.getRoot(),
                   [&](NOD_Node &node) { kept.emplace(&node, node.getKeptSections()); });
    std::unordered_set<NOD_Node *> readers;
    all.rewriteOthers([&](NOD_Node &node, ZEL_Parm &) { readers.insert(&node); });
    NODforEachNode(scene.getRoot(), [&](NOD_Node &node) {
        if (readers.count(&node) != 0 || node.getKeptSections() != kept[&node]) {
            report.warning(NODpathOf(node),
                           "reads values of " + path + " by names that they no longer have");
        }
    });
}
