/// \file NOD_Lint.h
/// Judges dialog scripts that can be read: what in them can't have been meant.
///
/// Vocabulary: *rule* = what is judged, a row of NOD_LintRules.def with a code that stays the same;
///             *finding* = a place that a rule objects to; *fix* = an edit after which the rule is
///             content, there where only one edit can be meant.
/// Units:      lines and columns from 1, columns in characters; edits in bytes of the file as it was
///             read.
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

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class NOD_Report;

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
    bool fixFlag;         ///< its findings usually come with a fix
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

/// `replacement` for the bytes [begin, end) of a file.
struct NOD_LintEdit
{
    std::string file;
    std::size_t begin = 0;
    std::size_t end = 0;
    std::string replacement;
};

struct NOD_API NOD_LintFinding
{
    const NOD_LintRule *rule = nullptr;
    std::string file;
    int line = 0;
    int column = 0;      ///< 0 where unknown
    std::string parm;    ///< the token of the parameter, folder or block; "" for the script
    std::string text;    ///< what is wrong, without the place
    std::string nearest; ///< the word that may have been meant; "" for none
    std::optional<NOD_LintEdit> fix;

    /// `file:line:column: level: parm: text; did you mean nearest? [code name]`
    std::string asText() const;
};

/// Which rules judge, and which files may be read.
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
    /// Which files the script may include: as it was read.
    void setIncludes(NOD_Interface::Includes includes) { myIncludes = includes; }
    NOD_Interface::Includes getIncludes() const { return myIncludes; }
    /// Adds what a configuration file says: a line `disable: CODES`, `only: CODES` or `level: WORD` each,
    /// with `#` before comments. Lines that say nothing are errors, and the rest is added.
    void readFile(std::string_view text, const std::string &file, NOD_Report &report);

    /// Whether findings of the rule are to be told.
    bool isOn(const NOD_LintRule &rule) const;

private:
    std::vector<const NOD_LintRule *> myDisabled;
    std::vector<const NOD_LintRule *> myOnly;
    bool myOnlyFlag = false;
    NOD_LintLevel myLevel = NOD_LintLevel::HINT;
    NOD_Interface::Includes myIncludes = NOD_Interface::Includes::ANY;
};

/// What the rules object to, by file (the script first), line and column. The interface is one that
/// was read from a whole script; any other can't be judged. `report` may be null.
NOD_API std::vector<NOD_LintFinding> NODlint(const NOD_Interface &script,
                                             const NOD_LintOptions &options = {},
                                             NOD_Report *report = nullptr);
/// A file's text after the fixes of the findings in it; those that overlap an earlier one are left
/// for another round. `applied` returns how many were made.
NOD_API std::string NODapplyLintFixes(const std::vector<NOD_LintFinding> &findings,
                                      const std::string &file, std::string_view text, int &applied);
