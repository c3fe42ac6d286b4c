#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Lint.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <KIT/KIT_MessageCatalogue.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/NOD_InterfaceCheck.h>
#include <NOD/NOD_Report.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>

#include <iostream>
#include <unordered_map>
#include <utility>

namespace
{

struct Call
{
    std::vector<std::string> files;
    bool strict = false;
};

/// Tells the names of a script's parameters that can't be used everywhere; in a block, those of the
/// last item that it begins with.
class NameCheck
{
public:
    NameCheck(const NOD_Interface &script, const std::string &file, ZELT_Messages &messages)
        : myFile(file), myMessages(messages)
    {
        collect(*script.getPage());
        tell(script.getTemplates(), 0);
    }

private:
    void collect(const ZEL_ScriptPage &page);
    void tell(const ZEL_Template *from, int item);
    void tell(const ZEL_Template &at, int code, const std::string &name);

    const std::string &myFile;
    ZELT_Messages &myMessages;
    std::unordered_map<const ZEL_Name *, const ZEL_ScriptParm *> myParms;
};

void NameCheck::collect(const ZEL_ScriptPage &page)
{
    for (int i = 0; i < page.getParmEntries(); ++i) {
        const ZEL_ScriptParm &parm = *page.getParm(i);
        myParms[&parm.getName()] = &parm;
        const ZEL_ScriptGroup *const group = parm.getGroup();
        for (int k = 0; group && k < group->getPageCount(); ++k) {
            collect(*group->getPage(k));
        }
    }
}

/// The name of an item's parameter with the item's number; as it is outside of blocks.
std::string itemName(std::string name, int item)
{
    const std::string number = item > 0 ? std::to_string(item) : "#";
    for (std::size_t at = 0; (at = name.find('#', at)) != std::string::npos; at += number.size()) {
        name.replace(at, 1, number);
    }
    return name;
}

bool isExpression(const ZEL_Template &one, const ZEL_Default &value)
{
    const ZEL_Type &type = one.getType();
    return type.isStringType()
               ? ZEL_Parm::isStringExpression(value.getString(), value.getStringMeaning(), &one)
           : type.isOrdinalType() ? ZEL_Parm::isOrdinalExpression(value, &one)
                                  : type.isFloatType() && *value.getString();
}

/// The number of the last item that a new block has; of the first one, without any.
int lastItem(const ZEL_Template &block)
{
    constexpr double theMost = 1e6;
    const ZEL_Default *const count = block.getFactoryDefaults();
    const double items = count ? std::clamp(double(count->getFloat()), 1.0, theMost) : 1.0;
    return std::max(block.getMultiStartOffset() + int(items) - 1, 1);
}

/// Whether a component has an expression that no channel can hold.
bool hasNoChannel(const ZEL_Template &one, int item)
{
    const ZEL_Default *const defaults = one.isSwitcher() ? nullptr : one.getFactoryDefaults();
    for (int i = 0; defaults && i < one.getVectorSize(); ++i) {
        const std::string name = itemName(one.getChannelToken(i).nonNullStr(), item);
        if (!TRK_Collection::isValidChannelName(name.c_str()) && isExpression(one, defaults[i])) {
            return true;
        }
    }
    return false;
}

void NameCheck::tell(const ZEL_Template *from, int item)
{
    for (const ZEL_Template *at = from; at && !at->isTerminator(); ++at) {
        const std::string name = itemName(at->getToken(), item);
        if (at->getType().getBasicType() != ZEL_Type::ZEL_BASIC_NONE &&
            !ZEL_ParmList::isTextName(KIT_StringRef(name.c_str()))) {
            tell(*at, ZEL_ERR_TEXT_NAME, name);
        }
        if (hasNoChannel(*at, item)) {
            tell(*at, ZEL_ERR_CHANNEL_NAME, name);
        }
        if (at->isMultiType() && !at->isRampType()) {
            tell(at->getMultiParmTemplate(), lastItem(*at));
        }
    }
}

void NameCheck::tell(const ZEL_Template &at, int code, const std::string &name)
{
    const auto found = myParms.find(at.getNamePtr());
    const ZEL_ScriptParm *const parm = found == myParms.end() ? nullptr : found->second;
    const bool placedFlag = parm && parm->getLine() > 0;
    myMessages.add(KIT_ERROR_WARNING, ZEL_ERROR_CATEGORY, code,
                   placedFlag ? parm->getFile().c_str() : myFile, placedFlag ? parm->getLine() : 0,
                   KITformatMessage(ZEL_ERROR_CATEGORY, code, name.c_str()));
}

/// Tells what is wrong with what a script describes, though it can be read.
void tellFaults(const NOD_Interface &script, const std::string &file, ZELT_Messages &messages)
{
    NOD_Report faults;
    NODcheckInterface(script.getTemplates(), faults);
    NODcheckMenuScripts(script.getTemplates(), faults);
    NODcheckExpressions(script, faults);
    NOD_Report report;
    for (NOD_Message message : faults.getMessages()) {
        if (message.category == ZEL_ERROR_CATEGORY && message.code == ZEL_ERR_TEXT_NAME) {
            continue; // told with its line
        }
        message.file = message.file.empty() ? file : message.file;
        report.add(std::move(message));
    }
    messages.add(report);
}

int check(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZELT_Json results = ZELT_Json::array();
    ZELT_Progress progress("checking", std::int64_t(call.files.size()));
    bool good = true;
    for (const std::string &file : call.files) {
        ZELT_ScriptPtr script =
            ZELT_Session::openInterface(file, messages, ZELT_Session::Reading::ALL_MISTAKES);
        good = good && script;
        if (script) {
            const NameCheck names(*script, file, messages);
            tellFaults(*script, file, messages);
        }
        std::vector<NOD_LintFinding> findings;
        if (script && call.strict) {
            NOD_LintOptions judged;
            good = ZELTreadLintFile(file, judged, messages) && good;
            NOD_Report report;
            findings = NODlint(*script, judged, &report);
            messages.add(report);
            good = good && findings.empty() && !report.hasErrors();
        }
        if (options.json) {
            ZELT_Json result;
            result["file"] = file;
            result["ok"] = script != nullptr;
            result["parameters"] = script ? ZELT_Json(script->getParmCount()) : ZELT_Json();
            if (call.strict) {
                result["findings"] = ZELTlintJson(findings);
            }
            results.push_back(result);
        } else if (script) {
            std::cout << file << ": ok, " << script->getParmCount() << " parameters\n";
            ZELTprintLint(findings);
        } else {
            std::cout << file << ": failed\n";
        }
        progress.advance();
    }
    if (options.json) {
        ZELTprintJson(results);
    }
    return good ? 0 : 1;
}

} // namespace

void ZELTaddCheck(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add("check", "Parse dialog scripts and tell every message",
                                          "zel check examples/*.ds", check);
    command.add_option("FILE", call.files, "Dialog scripts, or node and scene files")->required();
    command.add_flag("--strict", call.strict, "Judge them as zel lint does, too");
}
