#include "ZELT_CommandLine.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"
#include "ZELT_State.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <iostream>

namespace
{

/// A row of the table: what is said of a parameter or tab.
struct State
{
    bool disabled;
    bool hidden;
    bool noCook;
};

/// Reports a number that a condition compares and whose evaluation fails; a text reports its own.
template <class HOLDS>
State evaluate(const ZEL_Parm &parm, ZELT_Messages &messages, const HOLDS &holds)
{
    int &error = EVL::theErrNo[BASgetSTID()];
    error = EVL::EVL_OK;
    const State state = {holds(ZEL_CONDTYPE_DISABLE), holds(ZEL_CONDTYPE_HIDE),
                         holds(ZEL_CONDTYPE_NOCOOK)};
    if (error != EVL::EVL_OK) {
        messages.add(KIT_ERROR_ABORT, "TRK", error, "", 0,
                     parm.getToken() + std::string(": a condition: ") + ZELTevaluationError(error));
        error = EVL::EVL_OK;
    }
    return state;
}

State stateOf(const ZEL_Parm &parm, ZELT_Messages &messages)
{
    return evaluate(parm, messages,
                    [&](ZEL_ConditionalType type) { return ZELTholds(parm, type); });
}

State stateOfTab(const ZEL_Parm &parm, int tab, ZELT_Messages &messages)
{
    return evaluate(parm, messages,
                    [&](ZEL_ConditionalType type) { return ZELTtabHolds(parm, tab, type); });
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

void printText(const ZEL_ParmList &parms, ZELT_Messages &messages)
{
    std::vector<std::vector<std::string>> rows;
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        const ZEL_Template *const description = parm.getTemplatePtr();
        if (!description) {
            continue; // a base parameter has no state
        }
        rows.push_back(asRow(parm.getToken(), stateOf(parm, messages)));
        for (int tab = 0; description->isSwitcher() && tab < parm.getVectorSize(); ++tab) {
            rows.push_back(asRow("  tab " + ZELTquote(folderLabel(parm, tab)),
                                 stateOfTab(parm, tab, messages)));
        }
    }
    std::cout << ZELTtable(rows);
}

void printJson(const ZEL_ParmList &parms, ZELT_Messages &messages)
{
    ZELT_Json out = ZELT_Json::array();
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        const ZEL_Template *const description = parm.getTemplatePtr();
        if (!description) {
            continue;
        }
        ZELT_Json json;
        json["token"] = parm.getToken();
        json.update(asJson(stateOf(parm, messages)));
        if (description->isSwitcher()) {
            json["tabs"] = ZELT_Json::array();
            for (int tab = 0; tab < parm.getVectorSize(); ++tab) {
                ZELT_Json one;
                one["label"] = folderLabel(parm, tab);
                one.update(asJson(stateOfTab(parm, tab, messages)));
                json["tabs"].push_back(one);
            }
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
    if (!session) {
        return 1;
    }
    const TRK_EvalContext::Scope context(BASgetSTID(), call.node.time);
    if (options.json) {
        printJson(session->getParms(), messages);
    } else {
        printText(session->getParms(), messages);
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
