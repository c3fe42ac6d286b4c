#include <NOD/NOD_PresetText.h>

#include <KIT/KIT_StringHolder.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_NodeState.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>
#include <NOD/files/NOD_FilesPrivate.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_PresetInfo.h>
#include <ZEL/ZEL_Template.h>

#include <ostream>
#include <set>
#include <string_view>

namespace
{

using Tokens = std::set<std::string>;

/// The token of the parameter, or of the outermost block that it is in.
std::string outermost(const ZEL_Parm &parm)
{
    std::string token = parm.getToken();
    for (const ZEL_Multi *at = parm.getMultiParmOwner(); at; at = at->getMultiParmOwner()) {
        token = at->getTemplatePtr()->getToken();
    }
    return token;
}

bool findTokens(NOD_Node &node, const std::vector<std::string> &only, Tokens &tokens,
                NOD_Report &report)
{
    const int before = report.getErrorCount();
    for (const std::string &address : only) {
        for (const NOD_Place &place : NODfindPlaces(node, address, report)) {
            const ZEL_Parm *const parm = place.node == &node ? place.find() : nullptr;
            if (!parm) {
                report.error("", address + " is of another node");
                break;
            }
            tokens.insert(outermost(*parm));
        }
    }
    return report.getErrorCount() == before;
}

/// Of the parameters that the preset is about. Borrows both.
NOD_ParmTest testOf(const std::vector<std::string> &only, const Tokens &tokens)
{
    return [&](const ZEL_Parm &parm) { return only.empty() || tokens.count(outermost(parm)) > 0; };
}

} // namespace

bool NODcheckPreset(NOD_Node &node, const std::vector<std::string> &only,
                    const std::vector<NOD_FileLoss> &losses, const NOD_LossRule &rule,
                    NOD_Report &report)
{
    Tokens tokens;
    return findTokens(node, only, tokens, report) &&
           NOD_ValueFile::checkCarried(node, std::nullopt, losses, rule, report,
                                       testOf(only, tokens));
}

bool NODsavePreset(NOD_Node &node, const std::vector<std::string> &only, std::ostream &os,
                   NOD_Report &report)
{
    Tokens tokens;
    if (!findTokens(node, only, tokens, report)) {
        return false;
    }
    const int before = report.getErrorCount();
    const NOD_ParmTest isSaved = testOf(only, tokens);
    constexpr bool theAllowedFlag = true;
    NODtellUnheld(node, isSaved, {theAllowedFlag}, report);
    bool saved = false;
    {
        const NOD_ReportScope scope(report);
        if (only.empty()) {
            ZEL_PresetInfo presets(NOD_Node::thePresetTable, node.getTypeName().c_str());
            saved = presets.savePreset(&node.getParms(), os);
        } else {
            std::vector<const ZEL_Parm *> parms;
            for (const ZEL_Parm *parm : NODparmsInOrder(node.getParms())) {
                if (parm->getInstance() && isSaved(*parm)) {
                    parms.push_back(parm);
                }
            }
            saved = ZEL_PresetInfo::savePreset(parms, os);
        }
    }
    if (!saved && report.getErrorCount() == before) {
        report.error("", "the preset isn't written as a whole");
    }
    return report.getErrorCount() == before;
}

bool NODapplyPreset(NOD_Node &node, const std::string &path, const std::vector<std::string> &only,
                    NOD_Report &report)
{
    Tokens tokens;
    if (!findTokens(node, only, tokens, report)) {
        return false;
    }
    const int before = report.getErrorCount();
    NOD_Edit edit(node, "Apply preset " + path);
    edit.change(node);
    NOD_NodeState others;
    for (const ZEL_Parm *parm : NODparmsInOrder(node.getParms())) {
        if (!only.empty() && parm->getInstance() && !parm->getMultiParmOwner() &&
            tokens.count(parm->getToken()) == 0) {
            others.add(node, *node.getParms().getParmPtr(parm->getToken()));
        }
    }
    NOD_ValueFile file; // which knows the places in it
    const bool loaded = file.read(path, report) && file.apply(node, report);
    if (!only.empty()) {
        others.restore(node);
    }
    return loaded && report.getErrorCount() == before;
}
