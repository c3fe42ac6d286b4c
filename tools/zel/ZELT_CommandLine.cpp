#include "ZELT_CommandLine.h"

#include "ZELT_Captured.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <KIT/KIT_Nearest.h>
#include <NOD/NOD_ValueFile.h>
#include <TRK/TRK_EvalContext.h>

#include <CLI/CLI.hpp>

#include <algorithm>

namespace
{

constexpr int theWrongCall = 2;

constexpr void (*theCommands[])(ZELT_CommandLine &line) = {
#define ZELT_COMMAND(NAME) ZELTadd##NAME,
#include "ZELT_Commands.def"
};

std::string exampleText(const char *example)
{
    return std::string("Example:\n  ") + example;
}

std::vector<std::string> commandNames(const CLI::App &app)
{
    std::vector<std::string> names;
    for (const CLI::App *command : app.get_subcommands({})) {
        names.push_back(command->get_name());
    }
    return names;
}

std::vector<std::string> optionNames(const CLI::App &app)
{
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options()) {
        for (const std::string &name : option->get_lnames()) {
            names.push_back("--" + name);
        }
        for (const std::string &name : option->get_snames()) {
            names.push_back("-" + name);
        }
    }
    return names;
}

bool isOneOf(const std::string &word, const std::vector<std::string> &words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// A word of the command line that nothing takes.
struct Unknown
{
    std::string word;
    std::string text; ///< "" if there is none
};

/// The first word that no command has: a command or an option.
Unknown findUnknown(const CLI::App &app, const std::vector<std::string> &words)
{
    const CLI::App *at = &app;
    std::string path;
    for (std::size_t i = 0; i < words.size() && words[i] != "--"; ++i) {
        const std::string word = words[i].substr(0, words[i].find('='));
        const std::vector<std::string> commands = commandNames(*at);
        if (word.size() > 1 && word[0] == '-') {
            const std::vector<std::string> options = optionNames(*at);
            const bool togetherFlag = word[1] != '-' && isOneOf(word.substr(0, 2), options);
            if (!isOneOf(word, options) && !togetherFlag) {
                return {words[i],
                        "zel" + path + " has no option " + word + KITdidYouMean(word, options)};
            }
            const CLI::Option *const option = at->get_option_no_throw(word);
            i += option && option->get_items_expected_min() > 0 &&
                 words[i].find('=') == std::string::npos;
        } else if (!commands.empty()) {
            if (!isOneOf(word, commands)) {
                return {words[i],
                        "there is no command" + path + " " + word + KITdidYouMean(word, commands)};
            }
            at = at->get_subcommand(word);
            path += " " + word;
        }
    }
    return {};
}

/// They stand in front of all others.
int countCommandWords(const CLI::App &app)
{
    const std::vector<CLI::App *> called = app.get_subcommands();
    return called.empty() ? 0 : 1 + countCommandWords(*called[0]);
}

} // namespace

ZELT_CommandLine::ZELT_CommandLine()
    : myApp(std::make_unique<CLI::App>(
          "Reads, shows, evaluates, converts and compares parameters of dialog scripts.", "zel"))
{
    myApp->set_version_flag("--version", ZELT_VERSION);
    myApp->require_subcommand(1);
    for (const auto add : theCommands) {
        add(*this);
    }
}

ZELT_CommandLine::~ZELT_CommandLine() = default;

ZELT_Command ZELT_CommandLine::addGroup(const char *name, const char *what, const char *example)
{
    CLI::App &group = *myApp->add_subcommand(name, what);
    group.footer(exampleText(example));
    group.require_subcommand(1);
    return ZELT_Command(group);
}

ZELT_Command ZELT_CommandLine::addCommand(ZELT_Command parent, const char *name, const char *what,
                                          const char *example, Run run)
{
    CLI::App &app = *parent.getApp().add_subcommand(name, what);
    const ZELT_Command command(app);
    app.footer(exampleText(example));
    command.addFlag("--json", myOptions.json, "One JSON document, and messages as JSON lines");
    command
        .addOption("--messages", myOptions.messages,
                   "How messages look: plain, full, or auto, which is full on a terminal")
        .oneOf({"auto", "plain", "full"});
    command.addFlag("--no-scripts", myOptions.noScripts,
                    "Run no menu script and no Python expression; include no file from elsewhere");
    app.callback([this, run = std::move(run)] { myCalled = run; });
    return command;
}

void ZELT_CommandLine::addOutput(ZELT_Command command)
{
    command.addOption("-o,--out", myOptions.out,
                      "A file for what is printed; - for standard output");
}

std::optional<int> ZELT_CommandLine::parse(int argc, char **argv, ZELT_Messages &messages)
{
    try {
        myApp->parse(argc, argv);
        messages.setCommandWords(countCommandWords(*myApp));
        return std::nullopt;
    } catch (const CLI::Success &asked) {
        myApp->exit(asked);
        return 0;
    } catch (const CLI::ParseError &fault) {
        // What was to be read stands behind the fault.
        messages.setJson(
            isOneOf("--json", {argv + 1, std::find(argv + 1, argv + argc, std::string("--"))}));
        const Unknown unknown = findUnknown(*myApp, {argv + 1, argv + argc});
        messages.wordError(unknown.word,
                           (unknown.text.empty() ? fault.what() : unknown.text) + " (see --help)");
        return theWrongCall;
    }
}

int ZELT_CommandLine::run(ZELT_Messages &messages) const
{
    const TRK_EvalContext::Work work;
    if (myOptions.out.empty() || myOptions.out == "-") {
        return myCalled(myOptions, messages);
    }
    ZELT_Captured printed;
    const int result = myCalled(myOptions, messages);
    const std::string bytes = printed.end();
    if (result != 0 && bytes.empty()) {
        return result;
    }
    return ZELTwriteFile(myOptions.out, bytes, messages) ? result : 1;
}

void ZELTaddForm(ZELT_Command command, std::string &form)
{
    command.addOption("--as", form, "text, binary, compact, channels or node")
        .oneOf(NOD_ValueFile::getFormWords());
}

void ZELTaddAllowLoss(ZELT_Command command, bool &allowLossFlag, const char *what)
{
    command.addFlag("--allow-loss", allowLossFlag, what);
}

void ZELTaddNode(ZELT_Command command, ZELT_NodeCall &node)
{
    command.addOption("FILE", node.file, "A dialog script, or a scene or node file").required();
    command.addList("--values", node.inputs.values,
                    "A stream, channel file, preset, or node or scene file; - for standard input");
    command.addOption("--channels", node.inputs.channels, "A channel file");
    command.addList("--set", node.inputs.sets, "ADDRESS=VALUE");
    command.addList("--expr", node.inputs.expressions, "ADDRESS=TEXT, an expression");
    command.addList("--key", node.inputs.keys, "ADDRESS@TIME=VALUE");
    command.addOption("--time", node.time, "Seconds, or a frame such as 12f; frame 1 is 0");
    command.addOption("--fps", node.framesPerSecond, "Frames a second; 24 without a scene");
}
