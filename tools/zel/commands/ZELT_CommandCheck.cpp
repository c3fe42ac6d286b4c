#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Progress.h"
#include "ZELT_Script.h"

#include <iostream>

namespace
{

struct Call
{
    std::vector<std::string> files;
};

int check(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZELT_Json results = ZELT_Json::array();
    ZELT_Progress progress("checking", std::int64_t(call.files.size()));
    bool good = true;
    for (const std::string &file : call.files) {
        const std::unique_ptr<ZELT_Script> script = ZELT_Script::load(file, messages);
        good = good && script;
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
