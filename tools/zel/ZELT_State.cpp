#include "ZELT_State.h"

#include "ZELT_Commands.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"

#include <BAS/BAS_Thread.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <iostream>

namespace
{

bool holds(const ZEL_Conditional *condition, const ZEL_Parm &parm)
{
    return condition && condition->eval(parm, *parm.getParmList(), nullptr);
}

/// A row of the table: what is said of a parameter or tab.
struct State
{
    bool disabled;
    bool hidden;
    bool noCook;
};

State stateOf(const ZEL_Parm &parm)
{
    return {ZELTholds(parm, ZEL_CONDTYPE_DISABLE), ZELTholds(parm, ZEL_CONDTYPE_HIDE),
            ZELTholds(parm, ZEL_CONDTYPE_NOCOOK)};
}

State stateOfTab(const ZEL_Parm &parm, int tab)
{
    return {ZELTtabHolds(parm, tab, ZEL_CONDTYPE_DISABLE),
            ZELTtabHolds(parm, tab, ZEL_CONDTYPE_HIDE),
            ZELTtabHolds(parm, tab, ZEL_CONDTYPE_NOCOOK)};
}

std::string folderLabel(const ZEL_Parm &parm, int tab)
{
    const ZEL_Default *const folders = parm.getTemplatePtr()->getFactoryDefaults();
    return folders ? folders[tab].getString() : "";
}

std::vector<std::string> asRow(const std::string &name, const State &state)
{
    return {name, state.disabled ? "disabled" : "enabled", state.hidden ? "hidden" : "visible",
            state.noCook ? "nocook" : "cook"};
}

ZELT_Json asJson(const State &state)
{
    ZELT_Json out;
    out["disabled"] = state.disabled;
    out["hidden"] = state.hidden;
    out["nocook"] = state.noCook;
    return out;
}

void printText(const ZEL_ParmList &parms)
{
    std::vector<std::vector<std::string>> rows;
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        rows.push_back(asRow(parm.getToken(), stateOf(parm)));
        for (int tab = 0; parm.getTemplatePtr()->isSwitcher() && tab < parm.getVectorSize();
             ++tab) {
            rows.push_back(
                asRow("  tab " + ZELTquote(folderLabel(parm, tab)), stateOfTab(parm, tab)));
        }
    }
    std::cout << ZELTtable(rows);
}

void printJson(const ZEL_ParmList &parms)
{
    ZELT_Json out = ZELT_Json::array();
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        ZELT_Json json;
        json["token"] = parm.getToken();
        json.update(asJson(stateOf(parm)));
        if (parm.getTemplatePtr()->isSwitcher()) {
            json["tabs"] = ZELT_Json::array();
            for (int tab = 0; tab < parm.getVectorSize(); ++tab) {
                ZELT_Json one;
                one["label"] = folderLabel(parm, tab);
                one.update(asJson(stateOfTab(parm, tab)));
                json["tabs"].push_back(one);
            }
        }
        out.push_back(json);
    }
    ZELTprintJson(out);
}

} // namespace

bool ZELTholds(const ZEL_Parm &parm, ZEL_ConditionalType type)
{
    return holds(parm.getTemplatePtr()->getConditionalPtr(type), parm);
}

bool ZELTtabHolds(const ZEL_Parm &parm, int tab, ZEL_ConditionalType type)
{
    const ZEL_ConditionalBase *const base = parm.getTemplatePtr()->getConditionalBasePtr();
    if (!base || base->groupType() != ZEL_CONDGROUP_SWITCHER) {
        return false;
    }
    return holds(static_cast<const ZEL_ConditionalSwitcher *>(base)->getTabConditional(tab, type),
                 parm);
}

int ZELTstate(const ZELT_StateCall &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const std::unique_ptr<ZELT_Script> script = ZELT_Script::load(call.file, messages);
    if (!script) {
        return 1;
    }
    ZELT_Session session(*script);
    if (!ZELTapplyInputs(session, call.inputs, call.time, messages)) {
        return 1;
    }
    const TRK_EvalContext::Scope context(BASgetSTID(), call.time);
    if (options.json) {
        printJson(session.getParms());
    } else {
        printText(session.getParms());
    }
    messages.takeErrors("");
    return messages.hasErrors() ? 1 : 0;
}
