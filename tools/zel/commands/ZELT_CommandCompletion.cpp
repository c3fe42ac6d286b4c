#include "ZELT_CommandLine.h"
#include "ZELT_Completion.h"
#include "ZELT_Json.h"

#include <iostream>

namespace
{

struct Call
{
    const CLI::App *program = nullptr;
    std::string shell;
};

int complete(const Call &call, const ZELT_Options &options, ZELT_Messages &)
{
    const std::string script = ZELTcompletionScript(*call.program, call.shell);
    if (options.json) {
        ZELT_Json json;
        json["shell"] = call.shell;
        json["script"] = script;
        ZELTprintJson(json);
    } else {
        std::cout << script;
    }
    return 0;
}

} // namespace

void ZELTaddCompletion(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add("completion", "Print what completes commands in a shell",
                                          "zel completion bash > zel.bash", complete);
    call.program = &line.getApp();
    command.addOption("SHELL", call.shell, "bash, zsh or fish")
        .required()
        .oneOf({"bash", "zsh", "fish"});
}
