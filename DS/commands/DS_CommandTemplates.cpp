// The templates of a dialog command's records.

#include <DS/DS_Command.h>

#include <DS/commands/DS_CommandParmPrivate.h>
#include <DS/commands/DS_PagePrivate.h>
#include <DS/commands/DS_ParmPrivate.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>

namespace
{

struct MenuBuilders
{
    ZEL_ChoiceList::NameGenerator objects = nullptr;
    ZEL_ChoiceList::NameGenerator renderers = nullptr;
};
MenuBuilders theMenuBuilders;

ZEL_ChoiceList *findMenu(DS_Parm &parm)
{
    if (parm.getMenu() || parm.getMadeMenu()) {
        return parm.getMenu() ? parm.getMenu() : parm.getMadeMenu();
    }
    ZEL_ChoiceList::NameGenerator builder = nullptr;
    if (parm.getFlag(DS_Parm::OBJECT_MENU)) {
        builder = theMenuBuilders.objects;
    } else if (parm.getFlag(DS_Parm::RENDER_MENU)) {
        builder = theMenuBuilders.renderers;
    }
    if (builder) {
        parm.setMadeMenu(std::make_unique<ZEL_ChoiceList>(ZEL_CHOICELIST_REPLACE, builder));
    }
    return parm.getMadeMenu();
}

/// Templates borrow the record's parts; its accessors are const, the record isn't.
ZEL_Name *nameOf(ZEL_ScriptParm &parm)
{
    return const_cast<ZEL_Name *>(&parm.getName());
}
ZEL_Default *defaultsOf(ZEL_ScriptParm &parm)
{
    const KIT_ValArray<ZEL_Default> &defaults = parm.getDefaults();
    return defaults.isEmpty() ? nullptr : const_cast<ZEL_Default *>(defaults.data());
}
ZEL_ConditionalGroup *conditionsOf(ZEL_ScriptParm &parm)
{
    return const_cast<ZEL_ConditionalGroup *>(&parm.getConditionalGroup());
}

} // namespace

void DS_Command::setObjectMenuBuilder(ZEL_ChoiceList::NameGenerator builder)
{
    theMenuBuilders.objects = builder;
}

void DS_Command::setRenderMenuBuilder(ZEL_ChoiceList::NameGenerator builder)
{
    theMenuBuilders.renderers = builder;
}

ZEL_Template &DS_Command::nextTemplate()
{
    // Templates contain texts and may own a menu, so they are moved by assignment. The one after
    // the last is always a terminator.
    if (myTemplateCount + 1 >= myTemplateCapacity) {
        const int capacity = std::max(16, 2 * myTemplateCapacity);
        std::unique_ptr<ZEL_Template[]> grown(new ZEL_Template[static_cast<size_t>(capacity)]);
        std::copy_n(myTemplates.get(), myTemplateCount, grown.get());
        myTemplates = std::move(grown);
        myTemplateCapacity = capacity;
    }
    return myTemplates[static_cast<size_t>(myTemplateCount++)];
}

void DS_Command::addTemplate(DS_Parm *parm, bool withToggle)
{
    if (myParmList) {
        return;
    }
    if (!parm) {
        nextTemplate() = ZEL_Template();
        return;
    }
    if (const ZEL_ScriptGroup *const group = parm->getGroup()) {
        if (group->isMultiParm()) {
            addMulti(*parm);
        } else {
            addSwitcher(*parm);
        }
        return;
    }
    if (withToggle) {
        const char *const label = parm->getName().getLabel();
        if (parm->getFlag(DS_Parm::VECTOR)) {
            addVectorSwitch(*parm, label);
        } else {
            addToggle(*parm, label);
        }
    }
    addParm(*parm, withToggle);
}

void DS_Command::addMulti(ZEL_ScriptParm &parm)
{
    nextTemplate() = ZEL_Template(ZEL_MULTITYPE_LIST, parm.getMultiTemplate(), 1.0, nameOf(parm),
                                  defaultsOf(parm), parm.getRange(), parm.getSpareData(false));
}

void DS_Command::addSwitcher(ZEL_ScriptParm &parm)
{
    KIT_WorkBuffer token;
    token.sprintf("std_switcher_%d", mySwitcherCount++);
    ZEL_ScriptGroup &group = *parm.getGroup();
    group.buildSizes();
    nextTemplate() = ZEL_Template(ZEL_SWITCHER, group.getPageCount(),
                                  makeName(token.buffer(), token.buffer()), group.getDefaults());
}

void DS_Command::addToggle(ZEL_ScriptParm &parm, const char *label)
{
    KIT_WorkBuffer token;
    token.sprintf("tog.%s", parm.getName().getToken());
    nextTemplate() = ZEL_Template(ZEL_TOGGLE, 1, makeName(token.buffer(), label));
}

void DS_Command::addVectorSwitch(ZEL_ScriptParm &parm, const char *label)
{
    KIT_WorkBuffer text;
    text.sprintf("%s (off)", label);
    ZEL_Default *const folders = makeDefaults(3);
    folders[DS_CommandParm::OFF].set(1.0, makeText(text.buffer()));
    folders[DS_CommandParm::SLIDERS].set(1.0, "sliders");
    folders[DS_CommandParm::EXPRESSIONS].set(parm.getSize(), "expressions");
    text.sprintf("tog.%s", parm.getName().getToken());
    nextTemplate() =
        ZEL_Template(ZEL_SWITCHER_EXCLUSIVE, 3, makeName(text.buffer(), label), folders);

    text.sprintf("%s.InV", parm.getName().getToken());
    nextTemplate() =
        ZEL_Template(ZEL_INT_E | ZEL_TYPE_INVISIBLE, 1, makeName(text.buffer(), label));
}

void DS_Command::addParm(DS_Parm &parm, bool companionFlag)
{
    const bool vectorFlag = parm.getFlag(DS_Parm::VECTOR) != 0;
    ZEL_Type type = parm.getType();
    ZEL_Default *defaults = defaultsOf(parm);
    ZEL_Name *name = nameOf(parm);
    if (DS_CommandParm::findKind(parm) == DS_CommandParm::Kind::NUMBER_FIELD) {
        if (!type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER)) {
            parm.getSpareData(true)->setXCFMode(ZEL_SpareData::getXCFModeFloatValToken());
        }
        type = ZEL_STRING | (type & DS_CommandParm::getLooks());
        defaults = numberDefaults(parm);
    }
    if (companionFlag && !vectorFlag) {
        name = makeName(parm.getName().getToken(), "");
    }
    ZEL_SpareData *const spare = parm.getSpareData(false);
    const ZEL_Callback callback =
        spare && spare->getCallbackData() ? parm.getScriptParmCallback() : ZEL_Callback();
    nextTemplate() =
        ZEL_Template(type, parm.getTypeExtended(), parm.getSize(), name, defaults, findMenu(parm),
                     parm.getRange(), callback, spare, 1, parm.getHelpText(), conditionsOf(parm));
    if (vectorFlag) {
        addComponents(parm, numberDefaults(parm));
    }
}

void DS_Command::addComponents(ZEL_ScriptParm &parm, ZEL_Default *defaults)
{
    KIT_WorkBuffer token;
    for (int i = 0; i < parm.getSize(); ++i) {
        token.sprintf("%s.v%d", parm.getName().getToken(), i);
        nextTemplate() = ZEL_Template(
            ZEL_STRING, 1, makeName(token.buffer(), parm.getName().getLabel()), defaults + i);
    }
}

ZEL_Name *DS_Command::makeName(const char *token, const char *label)
{
    myNames.push_back(std::make_unique<ZEL_Name>());
    myNames.back()->setTokenAndLabel(token, label);
    return myNames.back().get();
}

const char *DS_Command::makeText(const char *text)
{
    return makeName(text, nullptr)->getToken();
}

ZEL_Default *DS_Command::makeDefaults(int count)
{
    const size_t size = static_cast<size_t>(std::max(count, 0)) + 1;
    myAllocatedDefaults.push_back(std::make_unique<ZEL_Default[]>(size));
    return myAllocatedDefaults.back().get();
}

ZEL_Default *DS_Command::numberDefaults(ZEL_ScriptParm &parm)
{
    if (ZEL_Default *const defaults = defaultsOf(parm)) {
        return defaults;
    }
    // A text parameter would start empty, but a number starts at 0.
    ZEL_Default *const zeros = makeDefaults(parm.getSize());
    std::fill_n(zeros, std::max(parm.getSize(), 0), ZEL_Default(0.0, "0"));
    return zeros;
}
