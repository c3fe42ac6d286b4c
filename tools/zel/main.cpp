// zel: reads, shows, evaluates, converts and compares the parameters of dialog scripts.

#include "ZELT_Command.h"
#include "ZELT_Commands.h"
#include "ZELT_Messages.h"
#include "ZELT_Preset.h"

#include <BAS/BAS_Allocate.h>
#include <SNK/SNK_Python.h>

#include <CLI/CLI.hpp>

#include <exception>
#include <functional>
#include <iostream>
#include <new>

namespace
{

constexpr int theWrongCall = 2;

/// The calls of all commands, and the one that was made.
struct Calls
{
    ZELT_Options options;
    ZELT_CheckCall check;
    ZELT_ShowCall show;
    ZELT_EvalCall eval;
    ZELT_StateCall state;
    ZELT_ConvertCall convert;
    ZELT_DiffCall diff;
    ZELT_RewriteCall rewrite;
    ZELT_RampCall ramp;
    ZELT_ShellCall shell;
    ZELT_PresetCall preset;
    ZELT_CommandCall command;
    std::function<int(ZELT_Messages &)> run;
};

CLI::App *addCommand(CLI::App &app, Calls &calls, const char *name, const char *what,
                     const char *example, std::function<int(ZELT_Messages &)> run)
{
    CLI::App *const command = app.add_subcommand(name, what);
    command->footer(std::string("Example:\n  ") + example);
    command->add_flag("--json", calls.options.json,
                      "One JSON document, and messages as JSON lines");
    command->add_flag("--no-scripts", calls.options.noScripts,
                      "Run no menu script and no Python expression");
    command->callback([&calls, run] { calls.run = run; });
    return command;
}

/// `extra_args` would swallow the words behind: each option takes exactly one.
void addList(CLI::App &command, const char *name, std::vector<std::string> &list, const char *what)
{
    command.add_option(name, list, what)->expected(1)->allow_extra_args(false)->take_all();
}

void addInputs(CLI::App &command, ZELT_Inputs &inputs, double &time)
{
    command.add_option("--values", inputs.values, "A parameter stream, in either form");
    command.add_option("--channels", inputs.channels, "A channel file");
    addList(command, "--set", inputs.sets, "TOKEN[:INDEX]=VALUE");
    addList(command, "--expr", inputs.expressions, "TOKEN[:INDEX]=TEXT, an expression");
    addList(command, "--key", inputs.keys, "TOKEN[:INDEX]@TIME=VALUE");
    command.add_option("--time", time, "Seconds; frame 1 is 0");
}

void addCheckAndShow(CLI::App &app, Calls &calls)
{
    CLI::App *const check =
        addCommand(app, calls, "check", "Parse dialog scripts and tell every message",
                   "zel check examples/*.ds", [&calls](ZELT_Messages &messages) {
                       return ZELTcheck(calls.check, calls.options, messages);
                   });
    check->add_option("FILE", calls.check.files, "Dialog scripts")->required();

    CLI::App *const show =
        addCommand(app, calls, "show", "Show the interface that a script describes",
                   "zel show --json examples/light.ds", [&calls](ZELT_Messages &messages) {
                       return ZELTshow(calls.show, calls.options, messages);
                   });
    show->add_option("FILE", calls.show.file, "A dialog script")->required();
}

void addEvalAndState(CLI::App &app, Calls &calls)
{
    CLI::App *const eval = addCommand(
        app, calls, "eval", "Evaluate parameters",
        "zel eval examples/transform.ds t --channels examples/transform.chan --frames 1:48:12",
        [&calls](ZELT_Messages &messages) {
            return ZELTeval(calls.eval, calls.options, messages);
        });
    eval->add_option("FILE", calls.eval.file, "A dialog script")->required();
    eval->add_option("TOKEN", calls.eval.tokens, "TOKEN[:INDEX] or a channel; all without one");
    addInputs(*eval, calls.eval.inputs, calls.eval.time);
    eval->add_option("--frames", calls.eval.frames, "A:B or A:B:STEP, a row for each frame");
    eval->add_option("--threads", calls.eval.threads, "Threads; 0 for one a core")
        ->check(CLI::Range(0, 256));

    CLI::App *const state = addCommand(
        app, calls, "state", "Tell what conditions say of parameters and folders",
        "zel state examples/scatter.ds --set usedensity=1", [&calls](ZELT_Messages &messages) {
            return ZELTstate(calls.state, calls.options, messages);
        });
    state->add_option("FILE", calls.state.file, "A dialog script")->required();
    addInputs(*state, calls.state.inputs, calls.state.time);
}

void addStreams(CLI::App &app, Calls &calls)
{
    CLI::App *const convert =
        addCommand(app, calls, "convert", "Write a parameter stream in the other form",
                   "zel convert examples/light.ds examples/light.parms light.bparms --to binary",
                   [&calls](ZELT_Messages &messages) {
                       return ZELTconvert(calls.convert, calls.options, messages);
                   });
    convert->add_option("FILE", calls.convert.file, "A dialog script")->required();
    convert->add_option("IN", calls.convert.from, "A stream in either form")->required();
    convert->add_option("OUT", calls.convert.to, "The stream to write")->required();
    convert->add_option("--to", calls.convert.form, "text or binary")
        ->required()
        ->check(CLI::IsMember({"text", "binary"}));
    convert->add_flag("--compact", calls.convert.compact,
                      "Binary, without what has no value to keep");

    CLI::App *const diff =
        addCommand(app, calls, "diff", "Tell the parameters whose saved values differ",
                   "zel diff examples/light.ds examples/light.parms examples/light_night.parms",
                   [&calls](ZELT_Messages &messages) {
                       return ZELTdiff(calls.diff, calls.options, messages);
                   });
    diff->add_option("FILE", calls.diff.file, "A dialog script")->required();
    diff->add_option("A", calls.diff.left, "A stream in either form")->required();
    diff->add_option("B", calls.diff.right, "Another one")->required();
}

void addRewrite(CLI::App &app, Calls &calls)
{
    CLI::App *const rewrite =
        addCommand(app, calls, "rewrite", "Write a script anew, as the library writes scripts",
                   "zel rewrite examples/light.ds", [&calls](ZELT_Messages &messages) {
                       return ZELTrewrite(calls.rewrite, calls.options, messages);
                   });
    rewrite->add_option("FILE", calls.rewrite.file, "A dialog script")->required();
}

void addRamp(CLI::App &app, Calls &calls)
{
    CLI::App *const ramp = addCommand(
        app, calls, "ramp", "Draw a ramp: its curve or its band of colours, with its keys",
        "zel ramp examples/shader.ds palette --values examples/shader.parms --svg out.svg",
        [&calls](ZELT_Messages &messages) {
            return ZELTramp(calls.ramp, calls.options, messages);
        });
    ramp->add_option("FILE", calls.ramp.file, "A dialog script")->required();
    ramp->add_option("TOKEN", calls.ramp.token, "The ramp")->required();
    addInputs(*ramp, calls.ramp.inputs, calls.ramp.time);
    ramp->add_option("--svg", calls.ramp.svg, "The picture to write")->required();
}

void addShell(CLI::App &app, Calls &calls)
{
    CLI::App *const shell = addCommand(
        app, calls, "shell", "A session on a terminal, or commands on standard input",
        "echo 'eval t' | zel shell examples/transform.ds", [&calls](ZELT_Messages &messages) {
            return ZELTshell(calls.shell, calls.options, messages);
        });
    shell->add_option("FILE", calls.shell.file, "A dialog script")->required();
}

void addDialogCommand(CLI::App &app, Calls &calls)
{
    CLI::App *const command = addCommand(
        app, calls, "command", "List dialog commands, show one, or read and write its line",
        "zel command examples/commands/image.cmd \"resize -v -q 80 in.pic out.pic\"",
        [&calls](ZELT_Messages &messages) {
            return ZELTcommand(calls.command, calls.options, messages);
        });
    command->add_option("FILE", calls.command.file, "A file of dialog commands")->required();
    command->add_option("LINE", calls.command.line,
                        "A command's name for its form, or its line; the list without one");
}

using PresetCommand = int (*)(const ZELT_PresetCall &, const ZELT_Options &, ZELT_Messages &);

/// A command on the presets of a node type.
CLI::App &addPresetCommand(CLI::App &presets, Calls &calls, const char *name, const char *what,
                           const char *example, PresetCommand function)
{
    CLI::App *const command = addCommand(presets, calls, name, what, example,
                                         [&calls, function](ZELT_Messages &messages) {
                                             return function(calls.preset, calls.options, messages);
                                         });
    command->add_option("TABLE", calls.preset.table, "The family of node types")->required();
    command->add_option("OPNAME", calls.preset.opName, "The node type")->required();
    return *command;
}

void addPresets(CLI::App &app, Calls &calls)
{
    ZELT_PresetCall &call = calls.preset;
    CLI::App &presets = *app.add_subcommand("preset", "Presets on the search path (ZEL_PATH)");
    presets.footer("Example:\n  zel preset list Node light");
    presets.require_subcommand(1);
    addPresetCommand(presets, calls, "list", "List them by name", "zel preset list Node light",
                     ZELTpresetList);
    CLI::App &show = addPresetCommand(presets, calls, "show", "Print the text of one",
                                      "zel preset show Node light Night", ZELTpresetShow);
    CLI::App &apply =
        addPresetCommand(presets, calls, "apply", "Load one and print the values",
                         "zel preset apply Node light Night examples/light.ds", ZELTpresetApply);
    CLI::App &save = addPresetCommand(
        presets, calls, "save", "Save values as one",
        "zel preset save Node light Night examples/light.ds --values examples/light_night.parms",
        ZELTpresetSave);
    CLI::App &remove = addPresetCommand(presets, calls, "delete", "Delete one",
                                        "zel preset delete Node light Night", ZELTpresetDelete);
    for (CLI::App *const command : {&show, &apply, &save, &remove}) {
        command->add_option("NAME", call.name, "The preset")->required();
    }
    for (CLI::App *const command : {&apply, &save}) {
        command->add_option("FILE", call.file, "A dialog script")->required();
        addInputs(*command, call.inputs, call.time);
    }
    for (CLI::App *const command : {&save, &remove}) {
        command->add_option("--dir", call.folder, "A folder of the search path");
    }
    apply.add_option("--out", call.out, "A file for the values, as text");
}

/// The exit code of a call that never ran, or -1.
int parse(CLI::App &app, int argc, char **argv, ZELT_Messages &messages)
{
    try {
        app.parse(argc, argv);
        return -1;
    } catch (const CLI::Success &asked) {
        app.exit(asked);
        return 0;
    } catch (const CLI::ParseError &fault) {
        messages.error("", std::string(fault.what()) + " (see --help)");
        return theWrongCall;
    }
}

int run(int argc, char **argv)
{
    ZELT_Messages messages;
    Calls calls;
    CLI::App app("Reads, shows, evaluates, converts and compares parameters of dialog scripts.",
                 "zel");
    app.set_version_flag("--version", ZELT_VERSION);
    app.require_subcommand(1);
    addCheckAndShow(app, calls);
    addEvalAndState(app, calls);
    addStreams(app, calls);
    addRewrite(app, calls);
    addRamp(app, calls);
    addShell(app, calls);
    addPresets(app, calls);
    addDialogCommand(app, calls);
    const int ended = parse(app, argc, argv, messages);
    if (ended >= 0) {
        return ended;
    }
    messages.setJson(calls.options.json);
    SNKsetPythonEnabled(!calls.options.noScripts);
    const int result = calls.run(messages);
    std::cout.flush();
    if (!std::cout) {
        messages.error("", "the output can't be written: " + ZELTsystemError());
        return 1;
    }
    if (BASfailedAllocations() > 0) {
        messages.error("", "there was not enough memory: texts may be missing");
        return 1;
    }
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc &) {
        std::cerr << "zel: there is not enough memory\n";
        return 1;
    } catch (const std::exception &fault) {
        std::cerr << "zel: " << fault.what() << '\n';
        return 1;
    }
}
