#include "ZELT_CommandLine.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <NOD/NOD_Conditions.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <iostream>

namespace
{

/// What conditions say of all parameters. Reports a number that a condition compares and whose evaluation
/// fails; a text reports its own.
std::vector<NOD_ParmState> statesOf(const ZEL_ParmList &parms, ZELT_Messages &messages)
{
    int &error = EVL::theErrNo[BASgetSTID()];
    error = EVL::EVL_OK;
    return NOD_Conditions::statesOf(parms, [&](const ZEL_Parm &parm) {
        if (error != EVL::EVL_OK) {
            messages.add(KIT_ERROR_ABORT, "TRK", error, "", 0,
                         parm.getToken() + std::string(": a condition: ") +
                             ZELTevaluationError(error));
            error = EVL::EVL_OK;
        }
    });
}

std::string folderLabel(const ZEL_Parm &parm, int tab)
{
    const ZEL_Default *const folders = parm.getTemplatePtr()->getFactoryDefaults();
    return folders ? folders[tab].getString() : "";
}

std::vector<std::string> asRow(const std::string &name, const NOD_ConditionState &state)
{
    return {name, state.disabledFlag ? "disabled" : "enabled",
            state.hiddenFlag ? "hidden" : "visible", state.noCookFlag ? "nocook" : "cook"};
}

ZELT_Json asJson(const NOD_ConditionState &state)
{
    ZELT_Json out;
    out["disabled"] = state.disabledFlag;
    out["hidden"] = state.hiddenFlag;
    out["nocook"] = state.noCookFlag;
    return out;
}

void printText(const ZEL_ParmList &parms, const std::vector<NOD_ParmState> &states)
{
    std::vector<std::vector<std::string>> rows;
    for (int i = 0; i < int(states.size()); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        const NOD_ParmState &state = states[std::size_t(i)];
        if (!parm.getTemplatePtr()) {
            continue; // a base parameter has no state
        }
        rows.push_back(asRow(parm.getToken(), state));
        for (int tab = 0; tab < int(state.tabs.size()); ++tab) {
            rows.push_back(
                asRow("  tab " + ZELTquote(folderLabel(parm, tab)), state.tabs[std::size_t(tab)]));
        }
    }
    std::cout << ZELTtable(rows);
}

void printJson(const ZEL_ParmList &parms, const std::vector<NOD_ParmState> &states)
{
    ZELT_Json out = ZELT_Json::array();
    for (int i = 0; i < int(states.size()); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        const NOD_ParmState &state = states[std::size_t(i)];
        if (!parm.getTemplatePtr()) {
            continue;
        }
        ZELT_Json json;
        json["token"] = parm.getToken();
        json.update(asJson(state));
        if (parm.getTemplatePtr()->isSwitcher()) {
            json["tabs"] = ZELT_Json::array();
        }
        for (int tab = 0; tab < int(state.tabs.size()); ++tab) {
            ZELT_Json one;
            one["label"] = folderLabel(parm, tab);
            one.update(asJson(state.tabs[std::size_t(tab)]));
            json["tabs"].push_back(one);
        }
        out.push_back(json);
    }
    ZELTprintJson(out);
}

struct Call
{
    ZELT_NodeCall node;
};

int showState(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const ZEL_InputBudget budget(0);
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(call.node, messages);
    if (!session || !session->isOneNode(messages)) {
        return 1;
    }
    const TRK_EvalContext::Scope context(BASgetSTID(), session->getTime());
    const ZEL_ParmList &parms = session->getParms();
    const std::vector<NOD_ParmState> states = statesOf(parms, messages);
    if (options.json) {
        printJson(parms, states);
    } else {
        printText(parms, states);
    }
    messages.takeErrors("");
    return messages.hasErrors() ? 1 : 0;
}

} // namespace

void ZELTaddState(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("state", "Tell what conditions say of parameters and folders",
                 "zel state examples/scatter.ds --set usedensity=1", showState);
    ZELTaddNode(command, call.node);
}
