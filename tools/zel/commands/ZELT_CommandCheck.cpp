#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Script.h"

#include <KIT/KIT_MessageCatalogue.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <iostream>

namespace
{

struct Call
{
    std::vector<std::string> files;
};

/// Tells the names that the text form of streams can't hold; in a block, those of its first item.
void tellNames(const ZEL_Template *from, bool blockFlag, const std::string &file,
               ZELT_Messages &messages)
{
    for (const ZEL_Template *at = from; at && !at->isTerminator(); ++at) {
        std::string name = at->getToken();
        if (blockFlag) {
            std::replace(name.begin(), name.end(), '#', '1');
        }
        if (at->getType().getBasicType() != ZEL_Type::ZEL_BASIC_NONE &&
            !ZEL_ParmList::isTextName(KIT_StringRef(name.c_str()))) {
            messages.add(KIT_ERROR_WARNING, ZEL_ERROR_CATEGORY, ZEL_ERR_TEXT_NAME, file, 0,
                         KITformatMessage(ZEL_ERROR_CATEGORY, ZEL_ERR_TEXT_NAME, name.c_str()));
        }
        if (at->isMultiType() && !at->isRampType()) {
            tellNames(at->getMultiParmTemplate(), true, file, messages);
        }
    }
}

int check(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZELT_Json results = ZELT_Json::array();
    ZELT_Progress progress("checking", std::int64_t(call.files.size()));
    bool good = true;
    for (const std::string &file : call.files) {
        ZELT_ScriptPtr script = ZELTloadScript(file, messages);
        good = good && script;
        if (script) {
            tellNames(script->getTemplates(), false, file, messages);
        }
        if (options.json) {
            ZELT_Json result;
            result["file"] = file;
            result["ok"] = script != nullptr;
            result["parameters"] = script ? ZELT_Json(script->getParmCount()) : ZELT_Json();
            results.push_back(result);
        } else if (script) {
            std::cout << file << ": ok, " << script->getParmCount() << " parameters\n";
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
    command.add_option("FILE", call.files, "Dialog scripts")->required();
}
