/// \file NOD_Lint.h
/// Judges dialog scripts that can be read: what in them can't have been meant.
///
/// Vocabulary: *rule* = what is judged, a row of NOD_LintRules.def with a code that stays the same;
///             *finding* = a place that a rule objects to; *fix* = an edit after which the rule is
///             content, there where only one edit can be meant.
/// Units:      those of KIT_MessageDetail.h; edits in bytes of the file as it was read.
/// Ownership:  findings are copies.
/// Threads:    one thread at a time, as reading scripts.
/// Errors:     a script that can't be judged gives no findings and an error in the report. Included files
///             are read again; one that changed since gives findings at wrong places.
/// Cost:       of reading the script once more, and of its words. One of more than four million words
///             isn't judged. Python that a script holds is compiled, never run.
///
/// A comment `zel-lint: disable=CODE,CODE` after `//` silences rules on its line, `disable-file=` in
/// its file. All of it is described in docs/lint.md.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// How bad it is.
enum class NOD_LintLevel
{
    HINT,    ///< works, but people will stumble
    WARNING, ///< has no effect, or another one than it says
    ERROR    ///< the interface isn't what the script says, or values get lost
};

struct NOD_LintRule
{
    const char *code; ///< "Z101": stays the same, and isn't used again
    const char *name; ///< "duplicate-token"
    NOD_LintLevel level;
    bool fixFlag;        ///< its findings usually come with a fix
    const char *changes; ///< what of a parameter a fix may change, in words with blanks; "" nothing
    const char *sentence; ///< what it objects to, and what comes of it
    const char *example;  ///< contents of a script's braces, with the code in a comment on the line
    const char *mended;   ///< the same as it should be
};

/// All rules, by code.
NOD_API const std::vector<NOD_LintRule> &NODlintRules();
/// "hint", "warning" or "error".
NOD_API const char *NODlintLevelWord(NOD_LintLevel level);
/// False for any other word.
NOD_API bool NODreadLintLevel(const std::string &word, NOD_LintLevel &level);

/// The category of findings as messages. Their code is the number in the rule's: 101 of Z101.
constexpr const char *theNODLintCategory = "LINT";

struct NOD_API NOD_LintFinding
{
    const NOD_LintRule *rule = nullptr;
    /// What is wrong, as any reader tells it: an error, a warning, or a message for a hint. The subject is the token
    /// of the parameter, folder or block, "" for the script. There always is a detail, with the place, the word
    /// that may have been meant as the expected one, and the fix if there is one.
    NOD_Message message;

    /// `file:line:column: level: subject: text; did you mean word? [code name]`
    std::string asText() const;
    bool hasFix() const;
};

/// Which rules judge.
class NOD_API NOD_LintOptions
{
public:
    /// Codes or names, with commas or blanks between them. False, and nothing changed, if one is of no
    /// rule, which `unknown` returns.
    bool disable(std::string_view rules, std::string &unknown);
    /// From now on only these, in place of those before; false, with "" as unknown, if there are none.
    bool only(std::string_view rules, std::string &unknown);
    void setLevel(NOD_LintLevel level) { myLevel = level; }
    NOD_LintLevel getLevel() const { return myLevel; }
    /// Adds what a configuration file says: a line `disable: CODES`, `only: CODES` or `level: WORD` each,
    /// with `#` before comments. Lines that say nothing are errors, and the rest is added.
    void readFile(std::string_view text, const std::string &file, NOD_Report &report);
    /// The same of the file `.zel-lint` in the folder of a script, if there is one. False after an error.
    bool readFolder(const std::string &script, NOD_Report &report);

    /// Whether findings of the rule are to be told.
    bool isOn(const NOD_LintRule &rule) const;

private:
    std::vector<const NOD_LintRule *> myDisabled;
    std::vector<const NOD_LintRule *> myOnly;
    bool myOnlyFlag = false;
    NOD_LintLevel myLevel = NOD_LintLevel::HINT;
};

/// What the rules object to, by file (the script first), line and column. The interface is one that
/// was read from a whole script; any other can't be judged. `report` may be null.
NOD_API std::vector<NOD_LintFinding> NODlint(const NOD_Interface &script,
                                             const NOD_LintOptions &options = {},
                                             NOD_Report *report = nullptr);

/// What a script's readers and the rules say of it, each mistake once.
struct NOD_Judgement
{
    bool judgedFlag = false; ///< false after an error in the rest: then of all that is sound
    std::vector<NOD_LintFinding> findings;
    NOD_Report rest; ///< what was said and no rule says, whether the rule is on or not
};
/// The findings, and what else was said when the script was read and checked.
NOD_API NOD_Judgement NODjudge(const NOD_Interface &script, const NOD_LintOptions &options,
                               const NOD_Report &said);

/// The same of a script that can't be read, of which `said` is what NODcheckScript() says: of the script without what
/// is at fault. What may follow from what is left out isn't found.
NOD_API NOD_Judgement NODjudgeSoundPart(
    std::string_view text, const std::string &name, const NOD_LintOptions &options,
    const NOD_Report &said, NOD_Interface::Includes includes = NOD_Interface::Includes::ANY);

/// A file's text after the fixes of the findings in it; those that overlap an earlier one are left
/// for another round. `applied` returns how many were made. What they do to the interface is not looked at.
NOD_API std::string NODapplyLintFixes(const std::vector<NOD_LintFinding> &findings,
                                      const std::string &file, std::string_view text, int &applied);

/// A script after its fixes.
struct NOD_MendedScript
{
    std::shared_ptr<const NOD_Interface> script;
    int fixed = 0;
    std::vector<NOD_LintFinding> findings; ///< those that are left
};
/// Makes the fixes of the findings in the script's own file, judges it again, and goes on until none is left. A fix
/// after which the script can't be read, or means something else than before in more than its rule says, is
/// not made, with a warning. `name` is the file that the script is from. Nothing is written.
NOD_API NOD_MendedScript NODmendScript(std::shared_ptr<const NOD_Interface> script,
                                       const std::string &name, const NOD_LintOptions &options,
                                       NOD_Report &report);
