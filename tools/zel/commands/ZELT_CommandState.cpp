#include "ZELT_CommandLine.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <NOD/NOD_Conditions.h>
#include <TRK/TRK_EvalContext.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <iostream>
#include <map>

namespace
{

/// What a person sees of all parameters. Reports a number that a condition compares and whose evaluation
/// fails; a text reports its own.
std::vector<NOD_ShownParm> statesOf(const ZEL_ParmList &parms, ZELT_Messages &messages)
{
    int &error = EVL::theErrNo[BASgetSTID()];
    error = EVL::EVL_OK;
    return NOD_Conditions::shownOf(parms, [&](const ZEL_Parm &parm) {
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

/// A parameter or tab with its state.
struct Subject
{
    const ZEL_ParmList &parms;
    int parm;
    int tab; ///< -1: the parameter itself
    const NOD_ShownState &state;

    bool hasOwn(const NOD_StateReason &reason) const
    {
        return reason.parmIndex == parm && reason.tab == tab;
    }
};

/// What a member says of conditions around it is short: many may lie in a folder with a long one.
constexpr std::size_t theLongest = 200;

/// Each condition's text is made once.
class ReasonTexts
{
public:
    /// As a script has it.
    const std::string &find(const NOD_StateReason &reason)
    {
        std::string &text = myTexts[reason.condition];
        if (text.empty() || !reason.condition) {
            text = reason.asText();
        }
        return text;
    }

    /// Own reasons as they are, others with the folder or block that they are of.
    std::string join(const Subject &of)
    {
        std::string text;
        for (const NOD_StateReason &reason : of.state.reasons) {
            const std::string &one = find(reason);
            text += text.empty() ? "" : "; ";
            if (of.hasOwn(reason)) {
                text += one;
                continue;
            }
            const ZEL_Parm &owner = *of.parms.getParmPtr(reason.parmIndex);
            text += one.size() > theLongest ? one.substr(0, theLongest) + "..." : one;
            text += std::string(" of ") + owner.getToken();
            if (reason.tab >= 0) {
                text += ", tab " + ZELTquote(folderLabel(owner, reason.tab));
            }
        }
        return text;
    }

private:
    std::map<const ZEL_Conditional *, std::string> myTexts;
};

std::vector<std::string> asRow(const std::string &name, const Subject &of, ReasonTexts &texts)
{
    return {name, of.state.disabledFlag ? "disabled" : "enabled",
            of.state.hiddenFlag ? "hidden" : "visible", of.state.noCookFlag ? "nocook" : "cook",
            texts.join(of)};
}

const char *byWord(const NOD_StateReason &reason)
{
    switch (reason.by) {
    case NOD_StateReason::By::CONDITION: return ZEL_Conditional::getName(reason.type, false);
    case NOD_StateReason::By::INVISIBLE: return "invisible";
    case NOD_StateReason::By::INVISIBLE_TAB: break;
    }
    return "invisibletab";
}

ZELT_Json asJson(const Subject &of, ReasonTexts &texts)
{
    ZELT_Json out;
    out["disabled"] = of.state.disabledFlag;
    out["hidden"] = of.state.hiddenFlag;
    out["nocook"] = of.state.noCookFlag;
    out["why"] = ZELT_Json::array();
    for (const NOD_StateReason &reason : of.state.reasons) {
        const ZEL_Parm &owner = *of.parms.getParmPtr(reason.parmIndex);
        ZELT_Json json;
        json["by"] = byWord(reason);
        json["of"] = owner.getToken();
        json["tab"] = reason.tab < 0 ? ZELT_Json() : ZELT_Json(reason.tab);
        json["folder"] = reason.tab < 0 ? ZELT_Json() : ZELT_Json(folderLabel(owner, reason.tab));
        // Without the keyword in front.
        const std::string text = reason.condition ? texts.find(reason) : "";
        const bool toldFlag = !text.empty() && (of.hasOwn(reason) || text.size() <= theLongest);
        json["condition"] = toldFlag ? ZELT_Json(text.substr(text.find(' ') + 1)) : ZELT_Json();
        out["why"].push_back(json);
    }
    return out;
}

void printText(const ZEL_ParmList &parms, const std::vector<NOD_ShownParm> &states)
{
    ReasonTexts texts;
    std::vector<std::vector<std::string>> rows;
    for (int i = 0; i < int(states.size()); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        const NOD_ShownParm &state = states[std::size_t(i)];
        if (!parm.getTemplatePtr()) {
            continue; // a base parameter has no state
        }
        rows.push_back(asRow(parm.getToken(), {parms, i, -1, state}, texts));
        for (int tab = 0; tab < int(state.tabs.size()); ++tab) {
            rows.push_back(asRow("  tab " + ZELTquote(folderLabel(parm, tab)),
                                 {parms, i, tab, state.tabs[std::size_t(tab)]}, texts));
        }
    }
    std::cout << ZELTtable(rows);
}

void printJson(const ZEL_ParmList &parms, const std::vector<NOD_ShownParm> &states)
{
    ReasonTexts texts;
    ZELT_Json out = ZELT_Json::array();
    for (int i = 0; i < int(states.size()); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        const NOD_ShownParm &state = states[std::size_t(i)];
        if (!parm.getTemplatePtr()) {
            continue;
        }
        ZELT_Json json;
        json["token"] = parm.getToken();
        json.update(asJson({parms, i, -1, state}, texts));
        if (parm.getTemplatePtr()->isSwitcher()) {
            json["tabs"] = ZELT_Json::array();
        }
        for (int tab = 0; tab < int(state.tabs.size()); ++tab) {
            ZELT_Json one;
            one["label"] = folderLabel(parm, tab);
            one.update(asJson({parms, i, tab, state.tabs[std::size_t(tab)]}, texts));
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
    const std::vector<NOD_ShownParm> states = statesOf(parms, messages);
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
        line.add("state", "Tell what is enabled and shown of parameters and folders, and why",
                 "zel state examples/scatter.ds --set usedensity=1", showState);
    ZELTaddNode(command, call.node);
    line.addOutput(command);
}
