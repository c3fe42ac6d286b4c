#include <NOD/NOD_Migration.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_NodeState.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TextEdit.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Instance.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <set>
#include <sstream>

namespace
{

// ---------------------------------------------------------------------- //
// What a component has
// ---------------------------------------------------------------------- //

struct Component
{
    std::string text;  ///< for people
    std::string body;  ///< all that is made of it; equal ones are the same
    std::string value; ///< what it evaluates to at the time
    bool failedFlag = false;
};

std::string quoted(std::string_view text)
{
    KIT_WorkBuffer buffer;
    buffer.appendQuoted(text);
    return std::string(buffer.view());
}

/// Keeps what an evaluation reports to itself, and knows whether there was anything.
class Evaluation
{
public:
    Evaluation() : myThread(BASgetSTID()), myErrors(myThread)
    {
        EVL::theErrNo[myThread] = EVL::EVL_OK;
    }
    ~Evaluation() { EVL::theErrNo[myThread] = EVL::EVL_OK; }
    Evaluation(const Evaluation &) = delete;
    Evaluation &operator=(const Evaluation &) = delete;

    bool failed()
    {
        return EVL::theErrNo[myThread] != EVL::EVL_OK || myErrors.getManager().entries() > 0;
    }

private:
    int myThread;
    KIT_ErrorManager::Scope myErrors;
};

std::string valueOf(const ZEL_Parm &parm, int index, double time, bool expand)
{
    if (parm.getType().isDataType()) {
        constexpr int text = 0;
        constexpr bool compiled = false;
        std::ostringstream os;
        parm.save(os, text, compiled);
        return os.str();
    }
    KIT_String value;
    parm.getValue(time, value, index, expand, BASgetSTID());
    return parm.getType().isStringType() ? quoted(value.view()) : value.toStdString();
}

/// The channel under a name that doesn't tell whose it is.
std::string bodyOf(const TRK_Channel &channel)
{
    TRK_Collection alone;
    alone.addChannel("c")->copyContents(channel);
    std::ostringstream os;
    alone.save(os);
    return os.str();
}

std::string textOf(const TRK_Channel &channel, double time)
{
    const TRK_Segment *const segment = channel.getExpressionSegment(time);
    if (channel.getNKeys() > 1 || !segment || segment->isInterpolated()) {
        return std::to_string(channel.getNKeys()) + (channel.getNKeys() == 1 ? " key" : " keys");
    }
    KIT_String text;
    channel.getExpression(time, text);
    return "[" + text.toStdString() + "]";
}

Component componentOf(const ZEL_Parm &parm, int index, double time)
{
    Component component;
    {
        Evaluation evaluation;
        component.value = valueOf(parm, index, time, true);
        component.failedFlag = evaluation.failed();
    }
    if (const TRK_Channel *const channel = parm.getChannel(index)) {
        component.text = textOf(*channel, time);
        component.body = bodyOf(*channel);
    } else {
        component.text = valueOf(parm, index, time, false);
        component.body = component.text;
    }
    component.body += parm.getLockedFlag(index) ? "\nlocked" : "";
    if (parm.getChannelAlias(index) != parm.getChannelToken(index)) {
        component.body += "\nalias " + std::string(parm.getChannelAlias(index).view());
    }
    return component;
}

std::vector<Component> componentsOf(const ZEL_Parm &parm, double time)
{
    std::vector<Component> components;
    for (int k = 0; k < parm.getVectorSize(); ++k) {
        components.push_back(componentOf(parm, k, time));
    }
    return components;
}

std::string textOf(const std::vector<Component> &components)
{
    std::string text;
    for (const Component &component : components) {
        text += (text.empty() ? "" : " ") + component.text;
    }
    return text;
}

std::string valuesOf(const std::vector<Component> &components)
{
    std::string text;
    for (const Component &component : components) {
        text += (text.empty() ? "" : " ") + component.value + (component.failedFlag ? "!" : "");
    }
    return text;
}

// ---------------------------------------------------------------------- //
// Parameters
// ---------------------------------------------------------------------- //

/// Base parameters, folders, buttons and labels have no value of anybody's.
bool hasValue(const ZEL_Parm &parm)
{
    const ZEL_Type &type = parm.getType();
    return parm.getInstance() && parm.getVectorSize() > 0 && !parm.getTemplatePtr()->isSwitcher() &&
           !parm.isCallbackType() &&
           !(type.isStringType() && type.hasStringType(ZEL_TYPE_LABEL.getStringType()));
}

/// The place of a token in the menu; -1 if it has none.
int findEntry(const ZEL_Parm &parm, const std::string &token)
{
    const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
    const ZEL_Name *names = nullptr;
    if (menu) {
        menu->getChoiceNames(names, parm.getParmOwner(), parm.getSparePtr(), &parm, false);
    }
    for (int i = 0; names && !names[i].isSentinel(); ++i) {
        if (names[i].getTokenRef() == KIT_StringRef(token.c_str())) {
            return i;
        }
    }
    return -1;
}

/// A menu of these entries and no others.
bool hasFixedMenu(const ZEL_Parm &parm)
{
    const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
    return menu && menu->choiceNamesPtr() && menu->getStaticSize() > 0 &&
           (menu->getType() & ZEL_CHOICELIST_EXCLUSIVE_BIT) != 0;
}

/// What decides whether a parameter continues, and with what.
struct Former
{
    std::string token;
    std::string target; ///< what it is called now
    unsigned kind = 0;
    bool multiFlag = false;
    bool defaultFlag = false;
    bool copyFlag = false; ///< its value goes over
    bool movedFlag =
        false; ///< adoption doesn't find it: it, or a block that it is in, is renamed; or it is locked
    std::vector<Component> components;
    std::vector<bool> entryFlags; ///< of each component: whether the value is an entry of the menu
};

bool fits(const Former &former, const ZEL_Parm &parm)
{
    return parm.getInstance() && unsigned(parm.getType().getBasicType()) == former.kind &&
           (!parm.isMultiParm() || former.multiFlag);
}

/// The text of a string without its quotes.
std::string rawText(const ZEL_Parm &parm, int index, double time)
{
    KIT_String value;
    parm.getValue(time, value, index, false, BASgetSTID());
    return value.toStdString();
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
    void moveRenamed(NOD_Node &former);
    void findEntries();
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
    void reset(ZEL_Parm &parm) const;
    void copy(const ZEL_Parm &from, ZEL_Parm &to) const;
    Entry fateOf(const Former &former) const;
    Entry compared(const Former &former, const ZEL_Parm &parm) const;
    std::string menuFault(const Former &former, const ZEL_Parm &parm) const;

    NOD_Migration &myMigration;
    NOD_Node &myNode;
    double myTime;
    std::vector<Former> myFormer;
    std::set<std::string> myClaimed; ///< names that renames give
};

void NOD_Migration::Run::takeFormer()
{
    for (const ZEL_Parm *parm : NODparmsInOrder(myNode.getParms())) {
        if (!hasValue(*parm)) {
            continue;
        }
        Former former;
        former.token = parm->getToken();
        former.target = myMigration.targetOf(former.token);
        former.kind = unsigned(parm->getType().getBasicType());
        former.multiFlag = parm->isMultiParm();
        // A lock says that the value is meant to stay, though adoption takes the default for none.
        const bool lockedFlag = parm->getLockedField() != 0;
        former.defaultFlag = parm->isTrueFactoryDefault() && !lockedFlag;
        former.movedFlag = former.target != former.token || lockedFlag;
        const ZEL_Multi *const block = parm->getMultiParmOwner();
        for (const ZEL_Multi *at = block; at; at = at->getMultiParmOwner()) {
            former.movedFlag |= myMigration.targetOf(at->getTemplatePtr()->getToken()) !=
                                at->getTemplatePtr()->getToken();
        }
        former.copyFlag = !former.defaultFlag || former.multiFlag ||
                          (block && block->getTemplatePtr()->isRampType());
        former.components = componentsOf(*parm, myTime);
        for (int k = 0; k < parm->getVectorSize(); ++k) {
            former.entryFlags.push_back(!parm->getChannel(k) &&
                                        findEntry(*parm, rawText(*parm, k, myTime)) >= 0);
        }
        if (former.target != former.token) {
            myClaimed.insert(former.target);
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

void NOD_Migration::Run::copy(const ZEL_Parm &from, ZEL_Parm &to) const
{
    constexpr bool replaceExpression = true;
    constexpr bool propagate = true;
    constexpr bool copyChannels = true;
    const int size = std::min(from.getVectorSize(), to.getVectorSize());
    for (int k = 0; k < size; ++k) {
        to.copyValue(myTime, k, from, k, replaceExpression, propagate, copyChannels,
                     ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        to.setLockedFlag(k, from.getLockedFlag(k));
    }
    if (to.isMultiParm()) {
        int count = 0;
        to.getValue(myTime, count, 0, BASgetSTID()); // its items follow it
    }
}

void NOD_Migration::Run::moveRenamed(NOD_Node &former)
{
    // What existed before needs no limit.
    const ZEL_InputBudget noLimit(ZEL_InputBudget::NO_LIMIT, 0);
    // Adoption goes by tokens: a name that means another parameter now has been given the wrong value.
    for (const Former &one : myFormer) {
        ZEL_Parm *const left = one.target == one.token ? nullptr : find(one.token);
        if (left && left->isSpareParm() && myClaimed.count(one.token) == 0) {
            myNode.removeSpareParm(one.token.c_str());
        } else if (left && fits(one, *left)) {
            reset(*left);
        }
    }
    for (const Former &one : myFormer) {
        ZEL_Parm *const to = one.movedFlag ? find(one.target) : nullptr;
        const ZEL_Parm *const from = former.getParms().getParmPtr(one.token.c_str());
        if (!to || !from || !fits(one, *to)) {
            continue;
        }
        reset(*to);
        if (one.copyFlag) {
            copy(*from, *to);
        }
    }
}

/// An ordinal's value is a place in its menu, which may be another one's now.
void NOD_Migration::Run::findEntries()
{
    for (const Former &one : myFormer) {
        ZEL_Parm *const parm = one.defaultFlag ? nullptr : find(one.target);
        if (!parm || !fits(one, *parm) || !parm->getType().isOrdinalType()) {
            continue;
        }
        const int size = std::min(parm->getVectorSize(), int(one.components.size()));
        for (int k = 0; k < size; ++k) {
            const std::string &token = one.components[std::size_t(k)].text;
            if (!one.entryFlags[std::size_t(k)] || parm->getChannel(k) ||
                rawText(*parm, k, myTime) == token || findEntry(*parm, token) < 0) {
                continue;
            }
            constexpr bool replaceExpression = true;
            constexpr bool propagate = true;
            const bool lockedFlag = parm->getLockedFlag(k);
            parm->setLockedFlag(k, false);
            parm->setValue(myTime, token.c_str(), TRK_MEANING_LITERAL, replaceExpression, k,
                           ZEL_ADDKEY_PENDING, propagate);
            parm->setLockedFlag(k, lockedFlag);
        }
    }
}

// ---------------------------------------------------------------------- //
// The account
// ---------------------------------------------------------------------- //

/// Why a value isn't what it was: a menu that has its entry no more. "" for another reason.
std::string NOD_Migration::Run::menuFault(const Former &former, const ZEL_Parm &parm) const
{
    const bool stringFlag = parm.getType().isStringType();
    for (int k = 0; hasFixedMenu(parm) && k < parm.getVectorSize(); ++k) {
        if (std::size_t(k) >= former.components.size() || !former.entryFlags[std::size_t(k)]) {
            continue;
        }
        const std::string &text = former.components[std::size_t(k)].text;
        const std::string token = stringFlag ? rawText(parm, k, myTime) : text;
        if (findEntry(parm, token) < 0) {
            return text + " is no entry of the menu now";
        }
    }
    return "";
}

NOD_Migration::Entry NOD_Migration::Run::compared(const Former &former, const ZEL_Parm &parm) const
{
    const std::vector<Component> present = componentsOf(parm, myTime);
    Entry entry{Fate::CARRIED,   former.token, former.target,     textOf(former.components),
                textOf(present), {},           former.defaultFlag};
    const std::size_t both = std::min(present.size(), former.components.size());
    bool sameFlag = true;
    for (std::size_t k = 0; k < both; ++k) {
        const Component &was = former.components[k];
        const Component &is = present[k];
        sameFlag &= was.body == is.body && was.value == is.value && was.failedFlag == is.failedFlag;
        if (is.failedFlag && !was.failedFlag) {
            entry.reason = "its evaluation fails now";
        }
    }
    if (present.size() < former.components.size()) {
        entry.reason = "has " + std::to_string(present.size()) + " of " +
                       std::to_string(former.components.size()) + " components now";
        sameFlag = false;
    }
    const std::string fault = menuFault(former, parm);
    if (sameFlag && (fault.empty() || former.defaultFlag)) {
        return entry;
    }
    entry.fate = former.defaultFlag && !former.copyFlag ? Fate::DEFAULT : Fate::CHANGED;
    entry.reason = entry.fate == Fate::DEFAULT ? "" : fault.empty() ? entry.reason : fault;
    if (entry.before == entry.after && fault.empty()) {
        // What is written is the same, and means something else.
        entry.before = valuesOf(former.components);
        entry.after = valuesOf(present);
    }
    return entry;
}

NOD_Migration::Entry NOD_Migration::Run::fateOf(const Former &former) const
{
    const ZEL_Parm *const parm = find(former.target);
    Entry lost{Fate::LOST, former.token, {}, textOf(former.components), {}, {}, former.defaultFlag};
    if (former.target == former.token && myClaimed.count(former.token) > 0) {
        lost.reason = "another parameter has its name now";
    } else if (!parm || !hasValue(*parm)) {
        lost.reason = "there is none now";
    } else if (!fits(former, *parm)) {
        lost.reason = "it is of another kind now";
    } else {
        return compared(former, *parm);
    }
    return lost;
}

void NOD_Migration::Run::tell()
{
    std::set<std::string> known;
    for (const Former &former : myFormer) {
        myMigration.myEntries.push_back(fateOf(former));
        if (myMigration.myEntries.back().fate != Fate::LOST) {
            known.insert(former.target);
        }
    }
    for (const ZEL_Parm *parm : NODparmsInOrder(myNode.getParms())) {
        if (hasValue(*parm) && known.insert(parm->getToken()).second) {
            myMigration.myEntries.push_back({Fate::NEW,
                                             parm->getToken(),
                                             parm->getToken(),
                                             {},
                                             textOf(componentsOf(*parm, myTime)),
                                             {},
                                             true});
        }
    }
}

// ---------------------------------------------------------------------- //
// Work
// ---------------------------------------------------------------------- //

namespace
{

/// While it lives, nodes that are made get no presets.
struct Loading
{
    Loading() { ZEL_ParmList::beginLoading(); }
    ~Loading() { ZEL_ParmList::endLoading(); }
    Loading(const Loading &) = delete;
    Loading &operator=(const Loading &) = delete;
};

NOD_Node &copyOf(NOD_Node &node, NOD_Node &root)
{
    constexpr const char *theName = "former";
    const Loading loading;
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
    if (!checkRenames(node, templates, report)) {
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
        work.moveRenamed(*former);
    }
    work.findEntries();
    NODgrowBlocks(node, time);
    work.tell();
    return true;
}

// ---------------------------------------------------------------------- //
// Entries
// ---------------------------------------------------------------------- //

const char *NOD_Migration::getFateName(Fate fate)
{
    switch (fate) {
    case Fate::CARRIED: return "carried";
    case Fate::DEFAULT: return "default";
    case Fate::CHANGED: return "changed";
    case Fate::LOST: return "lost";
    default: return "new";
    }
}

std::string NOD_Migration::Entry::asText() const
{
    std::string text = std::string(getFateName(fate)) + " " + token;
    text += newToken.empty() || newToken == token ? "" : " as " + newToken;
    text += " " + (fate == Fate::NEW ? after : before);
    if (fate == Fate::CHANGED || fate == Fate::DEFAULT) {
        text += " -> " + after;
    }
    text += fate == Fate::LOST && defaultFlag ? " (its default)" : "";
    return text + (reason.empty() ? "" : ": " + reason);
}

int NOD_Migration::count(Fate fate) const
{
    return int(std::count_if(myEntries.begin(), myEntries.end(),
                             [&](const Entry &entry) { return entry.fate == fate; }));
}

bool NOD_Migration::hasLoss() const
{
    return std::any_of(myEntries.begin(), myEntries.end(), [](const Entry &entry) {
        return entry.fate == Fate::CHANGED || (entry.fate == Fate::LOST && !entry.defaultFlag);
    });
}
