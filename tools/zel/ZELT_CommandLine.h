/// \file ZELT_CommandLine.h
/// The commands of the tool: how one adds itself, and which one was called.
///
/// Vocabulary: *call* = a struct of a command's own, which its arguments and options fill.
/// Ownership:  owns the calls; texts that are passed are copied.
/// Threads:    one thread.
/// Errors:     a command returns the exit code: 0, or 1 for wrong input. Wrong calls never reach it.
///             Results are written to standard output, messages through ZELT_Messages.
///
/// A new command is a file commands/ZELT_CommandNAME.cpp and the row ZELT_COMMAND(NAME) in
/// ZELT_Commands.def; docs/tool.md and docs/zel.1 name it, tests/tool calls it. The file:
///
///     namespace
///     {
///     struct Call
///     {
///         std::string file;
///     };
///     int count(const Call &call, const ZELT_Options &options, ZELT_Messages &messages);
///     } // namespace
///
///     void ZELTaddCount(ZELT_CommandLine &line)
///     {
///         const auto [command, call] =
///             line.add("count", "Count the parameters", "zel count examples/light.ds", count);
///         command.addOption("FILE", call.file, "A dialog script").required();
///     }
#pragma once

#include "ZELT_Command.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class ZELT_CommandLine;
class ZELT_Messages;
struct ZELT_NodeCall;

/// The options of every command.
struct ZELT_Options
{
    bool json = false;             ///< one JSON document, messages as JSON lines
    std::string messages = "auto"; ///< how messages look: "plain", "full" or "auto"
    /// Of the commands that have it, the file for what they print; "" and "-" are standard output.
    std::string out;
    bool noScripts = false; ///< no menu script and no Python expression runs; includes are confined
};

#define ZELT_COMMAND(NAME) void ZELTadd##NAME(ZELT_CommandLine &line);
#include "ZELT_Commands.def"

class ZELT_CommandLine
{
public:
    template <class CALL>
    using Function = int (*)(const CALL &call, const ZELT_Options &options,
                             ZELT_Messages &messages);
    template <class CALL>
    struct Added
    {
        ZELT_Command command;
        CALL &call;
    };

    /// With all commands.
    ZELT_CommandLine();
    ~ZELT_CommandLine();

    // ------------------------------------------------------------------ //
    /// \name For the commands' files
    // ------------------------------------------------------------------ //
    /// A command with its line in the help and an example.
    template <class CALL>
    Added<CALL> add(const char *name, const char *what, const char *example,
                    Function<CALL> function)
    {
        return addTo(ZELT_Command(*myApp), name, what, example, function);
    }
    /// The common first word of commands that belong together; they follow with addTo().
    ZELT_Command addGroup(const char *name, const char *what, const char *example);
    template <class CALL>
    Added<CALL> addTo(ZELT_Command group, const char *name, const char *what, const char *example,
                      Function<CALL> function)
    {
        const auto call = std::make_shared<CALL>();
        const ZELT_Command command =
            addCommand(group, name, what, example,
                       [call, function](const ZELT_Options &options, ZELT_Messages &messages) {
                           return function(*call, options, messages);
                       });
        return {command, *call};
    }

    /// `-o`: what the command prints is written to a file instead, whole or, where it failed before it printed
    /// anything, not at all.
    void addOutput(ZELT_Command command);

    // ------------------------------------------------------------------ //
    /// \name For the program
    // ------------------------------------------------------------------ //
    const CLI::App &getApp() const { return *myApp; }
    /// The exit code if no command is to run: help was requested, or the call is wrong.
    std::optional<int> parse(int argc, char **argv, ZELT_Messages &messages);
    /// What parse() read.
    const ZELT_Options &getOptions() const { return myOptions; }
    /// Runs the command that was called and returns its exit code.
    int run(ZELT_Messages &messages) const;

private:
    using Run = std::function<int(const ZELT_Options &options, ZELT_Messages &messages)>;

    ZELT_Command addCommand(ZELT_Command parent, const char *name, const char *what,
                            const char *example, Run run);

    std::unique_ptr<CLI::App> myApp;
    ZELT_Options myOptions;
    Run myCalled;
};

/// `--as`: one of the forms of values.
void ZELTaddForm(ZELT_Command command, std::string &form);
void ZELTaddAllowLoss(ZELT_Command command, bool &allowLossFlag, const char *what);
/// The arguments and options of a command that works on a node: FILE, and its values and changes.
void ZELTaddNode(ZELT_Command command, ZELT_NodeCall &node);
