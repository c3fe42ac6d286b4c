/// \file ZELT_ShellCommands.h
/// The commands of `zel shell`: one line in, plain text out.
///
/// Vocabulary: *current time* = what commands without a time work at; 0 at first.
/// Ownership:  borrows script and messages, which must outlive it; owns the scripts that commands read.
/// Threads:    one thread.
/// Errors:     a command that fails prints `! reason` and changes nothing, or as much as it says.
///             What the library reports stays with the thread's error manager until the command
///             `messages` prints it.
#pragma once

#include "ZELT_Session.h"

#include <map>
#include <memory>
#include <node/ZELX_NodeGraph.h>
#include <node/ZELX_NodeState.h>
#include <node/ZELX_UndoStack.h>
#include <string>
#include <string_view>
#include <vector>

class ZELT_Messages;
class ZELT_Script;
class ZEL_PresetInfo;

class ZELT_ShellCommands
{
public:
    ZELT_ShellCommands(const ZELT_Script &script, ZELT_Messages &messages);

    /// Runs one line; false if it ends the session.
    bool run(std::string_view line);

private:
    using Words = std::vector<std::string>;
    using Call = void (ZELT_ShellCommands::*)(const Words &words);
    /// A row of the table of commands; words count without the command's own.
    struct Command
    {
        const char *name;
        const char *usage;
        std::size_t least;
        std::size_t most;
        Call call;
        bool editFlag = false; ///< a step that can be undone
    };
    static const Command theCommands[];

    void dispatch(const Words &words, std::string_view line);
    void call(const Command &command, const Words &words, std::string_view line);
    void fail(const std::string &reason);
    /// Null, with the reason printed, if there is no such parameter.
    ZEL_Parm *findParm(const std::string &token);
    bool find(const std::string &text, ZELT_Address &address);
    bool readTime(const Words &words, std::size_t place, double &time);
    bool readNumber(const std::string &word, int &number);
    /// Prints why something failed, with the file that it is about; nothing for "".
    void settle(const std::string &fault, const std::string &file = "");

    void help(const Words &words);
    void list(const Words &words);
    void tree(const Words &words);
    void show(const Words &words);
    void type(const Words &words);
    void time(const Words &words);
    void set(const Words &words);
    void raw(const Words &words);
    void eval(const Words &words);
    void text(const Words &words);
    void expression(const Words &words);
    void key(const Words &words);
    void unkey(const Words &words);
    void revert(const Words &words);
    void lock(const Words &words);
    void unlock(const Words &words);
    void setLocked(const std::string &text, bool locked);
    void alias(const Words &words);
    void menu(const Words &words);
    void insert(const Words &words);
    void removeItem(const Words &words);
    void swapItems(const Words &words);
    void count(const Words &words);
    void enabled(const Words &words);
    void hidden(const Words &words);
    void noCook(const Words &words);
    void dirty(const Words &words);
    void timeDependent(const Words &words);
    void overrideValue(const Words &words);
    void magic(const Words &words);
    void permissions(const Words &words);
    void save(const Words &words);
    void load(const Words &words);
    void channels(const Words &words);
    void snapshot(const Words &words);
    void restore(const Words &words);
    void undo(const Words &words);
    void redo(const Words &words);
    void graph(const Words &words);
    void spare(const Words &words);
    void addSpares(const std::string &source);
    void removeSpare(const std::string &token);
    void listSpares();
    void adopt(const Words &words);
    void preset(const Words &words);
    void listPresets(ZEL_PresetInfo &presets, const Words &words);
    void loadPreset(ZEL_PresetInfo &presets, const Words &words);
    void savePreset(ZEL_PresetInfo &presets, const Words &words);
    void deletePreset(ZEL_PresetInfo &presets, const Words &words);
    void events(const Words &words);
    void printMessages(const Words &words);

    const ZELT_Script *myScript;
    ZELT_Messages &myMessages;
    std::vector<std::unique_ptr<ZELT_Script>> myScripts; ///< those that came later
    ZELT_Session mySession;
    ZELX_UndoStack myUndo;
    std::map<std::string, ZELX_NodeState> mySnapshots;
    std::unique_ptr<ZELX_NodeGraph> myGraph; // from its first use on
    double myTime = 0.0;
};
