/// \file ZELT_Shell.h
/// A session of `zel shell`: one line in, its reply out, and the table of its commands.
///
/// Vocabulary: *current time* = what commands without a time work at; 0 at first.
///             *subject* = a file of commands with their table: values, blocks, presets ...
/// Ownership:  owns its scene; borrows the messages, which must outlive it.
/// Threads:    one thread.
/// Errors:     a command that fails prints `! reason` and changes nothing, or as much as it says; as JSON
///             a reply is one line `{"line", "ok", "output", "errors"}`.
///             What the library reports stays with the thread's error manager until the command
///             `messages` prints it.
///
/// A new command is a function and a row in the table of its subject's file; the help comes from
/// the row. docs/tool.md has its usage, a session of tests/tool calls it. A new subject is a file
/// and a row in ZELT_ShellTables.def.
#pragma once

#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Address.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Graph.h>
#include <NOD/NOD_Snapshots.h>
#include <NOD/NOD_UndoStack.h>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class NOD_Report;
class ZELT_Messages;
class ZELT_Shell;

/// The words of a line, the command's own first.
using ZELT_ShellWords = std::vector<std::string>;

/// How a command is run; bits.
enum ZELT_ShellFlag : unsigned
{
    ZELT_SHELL_PLAIN = 0,
    ZELT_SHELL_EDITS = 1,         ///< a step that can be undone
    ZELT_SHELL_SEES_MESSAGES = 2, ///< the messages of earlier commands are in the error manager
    ZELT_SHELL_WRITES = 4 ///< what a node is kept in: takes theZELTAllowLoss as its last word
};

/// Write also where not all is carried: at a line's end, or for all of a session.
inline constexpr const char *theZELTAllowLoss = "--allow-loss";

/// A command, as a row of its subject's table.
struct ZELT_ShellCommand
{
    const char *name;
    const char *usage; ///< the words after the name, for the help
    std::size_t least; ///< how many of these are needed
    std::size_t most;  ///< and allowed
    unsigned flags;
    void (*call)(ZELT_Shell &shell, const ZELT_ShellWords &words);
};

/// What a command does for one word after its name, such as `add` of `spare add`.
struct ZELT_ShellAction
{
    const char *name;
    std::size_t least; ///< how many words after that one are needed
    std::size_t most;  ///< and allowed
    void (*call)(ZELT_Shell &shell, const ZELT_ShellWords &words);
};

/// The commands of a subject; borrows the rows.
class ZELT_ShellTable
{
public:
    template <std::size_t N>
    constexpr explicit ZELT_ShellTable(const ZELT_ShellCommand (&rows)[N])
        : myBegin(rows), myEnd(rows + N)
    {}

    const ZELT_ShellCommand *begin() const { return myBegin; }
    const ZELT_ShellCommand *end() const { return myEnd; }

private:
    const ZELT_ShellCommand *myBegin;
    const ZELT_ShellCommand *myEnd;
};

#define ZELT_SHELL_TABLE(NAME) extern const ZELT_ShellTable ZELTshell##NAME;
#include "ZELT_ShellTables.def"

/// All subjects, in the order of the help.
inline constexpr const ZELT_ShellTable *theZELTShellTables[] = {
#define ZELT_SHELL_TABLE(NAME) &ZELTshell##NAME,
#include "ZELT_ShellTables.def"
};

/// Null for a name that no command has.
const ZELT_ShellCommand *ZELTfindShellCommand(const std::string &name);

/// Of all subjects, and the words that end a session.
std::vector<std::string> ZELTshellCommandNames();

class ZELT_Shell
{
public:
    ZELT_Shell(std::unique_ptr<ZELT_Session> session, ZELT_Messages &messages);
    ~ZELT_Shell();

    void setJson(bool on) { myJsonFlag = on; }
    /// Whether lines without the word may lose something, too.
    void setAllowLoss(bool on) { myAllowLossFlag = on; }
    /// Runs one line; false if it ends the session.
    bool run(std::string_view line);
    /// How many lines have failed.
    int getFailureCount() const { return myFailures; }

    // ------------------------------------------------------------------ //
    /// \name What commands work on
    // ------------------------------------------------------------------ //
    ZELT_Session &getSession() { return *mySession; }
    NOD_Node &getNode() { return mySession->getNode(); }
    ZEL_ParmList &getParms() { return mySession->getParms(); }
    ZELT_Messages &getMessages() { return myMessages; }
    NOD_UndoStack &getUndo() { return mySession->getScene().getUndo(); }
    NOD_Snapshots &getSnapshots() { return mySnapshots; }
    NOD_Graph &getGraph() { return mySession->getScene().getGraph(); }
    double getTime() const { return myTime; }
    void setTime(double time) { myTime = time; }
    /// Of the line that runs.
    NOD_LossRule getLossRule() const { return ZELTlossRule(myAllowLossFlag || myLineAllowsFlag); }
    /// What the node's interface is made of; null, with a message, for none, as of a scene's root.
    const NOD_Interface *findScript();

    // ------------------------------------------------------------------ //
    /// \name Output and words   (what is wrong is printed)
    // ------------------------------------------------------------------ //
    void fail(const std::string &reason);
    /// With the nearest command that there is.
    void failUnknown(const std::string &command);
    /// Whether Ctrl-C was pressed, which is forgotten: what was evaluated since then has failed.
    static bool wasStopped();
    /// From here to its end the command isn't stopped by Ctrl-C, as before it writes a file. False if it was before:
    /// then it ends, and that it was interrupted is printed.
    static bool finish();
    /// Each error of a report is a reason; warnings are printed as they are.
    void tell(const NOD_Report &report);
    /// Fails with `fault`, after the name of the file that it concerns; does nothing for "".
    void settle(const std::string &fault, const std::string &file = "");
    /// Null if there is no such parameter.
    ZEL_Parm *findParm(const std::string &token);
    bool findComponents(const std::string &text, ZELT_Address &address);
    /// What an address names, by patterns too; none after a failure.
    std::vector<NOD_Place> findPlaces(const std::string &address);
    /// The word at that place as a time; the current one if the line is shorter.
    bool readTime(const ZELT_ShellWords &words, std::size_t place, double &time);
    /// A number from 0 on.
    bool readNumber(const std::string &word, int &number);
    /// Runs the action that the word after the command's own names; false if there is none that
    /// takes so many words.
    template <std::size_t N>
    bool runAction(const ZELT_ShellAction (&actions)[N], const ZELT_ShellWords &words)
    {
        return runAction(actions, actions + N, words);
    }

private:
    bool runLine(std::string_view line);
    bool runAction(const ZELT_ShellAction *begin, const ZELT_ShellAction *end,
                   const ZELT_ShellWords &words);
    void dispatch(ZELT_ShellWords &words, std::string_view line);
    void call(const ZELT_ShellCommand &command, const ZELT_ShellWords &words,
              std::string_view line);
    void takeInterrupt(const std::function<bool()> &takeBack);
    void callAndTell(const ZELT_ShellCommand &command, const ZELT_ShellWords &words);

    ZELT_Messages &myMessages;
    std::unique_ptr<ZELT_Session> mySession;
    NOD_Snapshots mySnapshots;
    double myTime = 0.0;
    bool myJsonFlag = false;
    bool myAllowLossFlag = false;
    bool myLineAllowsFlag = false;
    int myFailures = 0;
    std::vector<std::string> myReasons; ///< of the line that runs
};
