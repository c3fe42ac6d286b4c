/// \file ZELT_Messages.h
/// The tool's messages on standard error, each once.
///
/// Vocabulary: *place* = file and line; a message without one names its subject in its text.
/// Units:      lines from 1; 0 is none.
/// Threads:    messages from any thread at once; making and ending one belong to the main thread.
/// Errors:     hasErrors() decides between the exit codes 0 and 1.
///
/// Plain: `file(line): text`, with `warning: ` in front of the text if it is no error. Full: as compilers
/// print them, `file:line:column: error: text [category code]` at the place of the mistake, with the
/// line of the file, a caret under the mistake, and notes. JSON: one line
/// `{"severity", "category", "code", "file", "line", "text", "place", "subject", "hint", "found",
/// "expected", "related", "includedFrom", "fixes"}` each, null or empty where unknown.
#pragma once

#include "ZELT_Json.h"

#include <KIT/KIT_ErrorManager.h>

#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

class NOD_Report;
struct KIT_MessageDetail;
struct KIT_MessagePlace;
struct NOD_Message;

/// A message as it is printed with --json.
ZELT_Json ZELTmessageJson(const NOD_Message &message);
/// The lines below one that is printed on standard output, if messages there are full: its line of the file with
/// a caret, and related places.
std::string ZELTmessageNotes(const NOD_Message &message);

class ZELT_Messages
{
public:
    /// While it lives it receives what is reported of scripts (DS_Stream) and Python tracebacks.
    ZELT_Messages();
    ~ZELT_Messages();
    ZELT_Messages(const ZELT_Messages &) = delete;
    ZELT_Messages &operator=(const ZELT_Messages &) = delete;

    /// The command line, in whose words messages about one have their place: the first ones name the command.
    void setArguments(std::vector<std::string> words) { myArguments = std::move(words); }
    void setCommandWords(int count) { myCommandWords = count; }
    void setJson(bool on) { myJsonFlag = on; }
    /// "plain" or "full"; anything else, as at the beginning, is full on a terminal and plain elsewhere.
    void setForm(const std::string &form);
    bool hasErrors() const { return myErrors != 0; }
    int getErrorCount() const { return myErrors; }

    /// An error of the tool's own. An empty file is none.
    void error(const std::string &file, const std::string &text);
    /// One about a word of the command line; "" is none.
    void wordError(const std::string &word, const std::string &text);
    /// A message with all its parts; a place at the start of the text (`file(line): text`) counts when
    /// no file is given. A script's message, and one without a category, gets the code of its text.
    void add(KIT_ErrorSeverity severity, std::string category, int code, const std::string &file,
             int line, const std::string &text, const KIT_MessageDetail *detail = nullptr);
    void add(const NOD_Report &report);
    /// Moves what the calling thread's error manager holds here. `file` is put before messages
    /// that have no place of their own and don't name it.
    void takeErrors(const std::string &file);

private:
    static void takeScriptMessage(void *data, KIT_ErrorSeverity severity, const char *file,
                                  int line, const char *text);
    static void takeTraceback(void *data, const char *header, const char *detail);

    int argumentOf(const KIT_MessagePlace &place) const;

    std::mutex myLock;
    std::set<std::string> myNotRun; ///< scripts that were told once
    bool myJsonFlag = false;
    bool myFullFlag = false;
    std::vector<std::string> myArguments; ///< of the program; those of the tests have none
    int myCommandWords = 0;
    int myErrors = 0;
};
