/// \file NOD_LintContextPrivate.h
/// What the rules read, and where they put what they find.
///
/// Ownership:  borrows the script.
/// Threads:    one thread at a time.
#pragma once

#include <KIT/KIT_MessageDetail.h>
#include <NOD/NOD_Lint.h>
#include <NOD/interface/NOD_InterfaceFaultsPrivate.h>
#include <NOD/lint/NOD_LintScriptPrivate.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

struct NOD_ExpressionFault;

/// The rules by name; each is the number of its row.
enum class NOD_LintCode
{
#define NOD_LINT_RULE(code, name, level, fix, sentence, example, mended) code,
#include <NOD/lint/NOD_LintRules.def>
};

class NOD_LintContext
{
public:
    using Block = NOD_LintScript::Block;
    using Entry = NOD_LintScript::Entry;

    /// A text for the bytes [begin, end) of a file.
    struct Edit
    {
        int file;
        std::size_t begin;
        std::size_t end;
        std::string text;
    };
    /// What is told of a place beside its text.
    struct Extra
    {
        std::string nearest;
        std::optional<Edit> fix;
        std::size_t offset = 0; ///< of what is meant, in the token as it is written
        std::size_t length = 0; ///< of that; 0: to the token's end
        int related = -1;       ///< a token that explains it
        std::string relatedText;
    };

    explicit NOD_LintContext(const NOD_LintScript &script);

    const NOD_LintScript &script() const { return myScript; }
    const NOD_LintTokens &tokens() const { return myTokens; }
    const std::vector<Block> &blocks() const { return myScript.getBlocks(); }
    const Block &block(int number) const { return blocks()[std::size_t(number)]; }
    const NOD_InterfaceFaults &faults() const { return myFaults; }
    std::string text(int token) const { return std::string(myTokens.text(token)); }

    /// A finding at a token of a block.
    void add(NOD_LintCode code, int block, int token, const std::string &text)
    {
        add(code, block, token, text, Extra());
    }
    void add(NOD_LintCode code, int block, int token, const std::string &text, Extra extra);
    /// One at the bytes [begin, end) of a file.
    void addAt(NOD_LintCode code, int file, int line, std::size_t begin, std::size_t end,
               const std::string &text, std::optional<Edit> fix = std::nullopt);
    std::vector<NOD_LintFinding> take() { return std::move(myFindings); }

    /// As KITnearestWord, as long as the rules haven't asked for more than can be compared in little time.
    std::string nearest(const std::string &word, const std::vector<std::string> &words);

    // ------------------------------------------------------------------ //
    /// \name Edits   (none where a macro or another file takes part)
    // ------------------------------------------------------------------ //
    ///@{
    /// Replaces the tokens [first, last), as they are written, by a text.
    std::optional<Edit> replace(int first, int last, const std::string &text) const;
    /// Takes them away, with the line if nothing else is on it. None if a comment is among them.
    std::optional<Edit> remove(int first, int last) const;
    /// Moves an entry behind a later one of its block.
    std::optional<Edit> moveBehind(const Entry &moved, const Entry &other) const;
    /// Part of a token as it is written.
    std::optional<Edit> replacePart(int token, std::size_t offset, std::size_t length,
                                    const std::string &text) const;
    ///@}

private:
    bool isPlain(int first, int last) const;
    std::string_view textBetween(int token, int next) const;
    void add(NOD_LintCode code, const KIT_MessagePlace &place, int file, std::string subject,
             const std::string &text, Extra extra);
    KIT_MessagePlace getPlace(int file, std::size_t begin, std::size_t end, int line) const;
    std::vector<KIT_MessagePlace> getIncluders(int file) const;
    int lineOf(const Edit &edit, const KIT_MessagePlace &place) const;

    const NOD_LintScript &myScript;
    const NOD_LintTokens &myTokens;
    NOD_InterfaceFaults myFaults;
    std::vector<NOD_LintFinding> myFindings;
    std::size_t myCompared = 0; ///< words
};

// The rules by subject; each adds what it finds.
void NODlintNames(NOD_LintContext &context);
void NODlintKeywords(NOD_LintContext &context);
void NODlintValues(NOD_LintContext &context);
void NODlintRamps(NOD_LintContext &context);
void NODlintMenus(NOD_LintContext &context);
void NODlintConditions(NOD_LintContext &context);
void NODlintFiles(NOD_LintContext &context);

/// Which expression can't be read, and why.
std::string NODfaultText(const std::string &expression, const NOD_ExpressionFault &fault);
/// Tells the parameters without a path that an expression in a token reads and the script doesn't have; `start`
/// is what the texts begin with.
void NODtellUnknownNames(NOD_LintContext &context, int block, int token,
                         const std::string &expression, const std::string &start = {});
/// The same of code in Python.
void NODtellUnknownPythonNames(NOD_LintContext &context, int block, int token,
                               const std::string &code, const std::string &start = {});
/// Where in a token it can't be read.
void NODsetFaultPlace(const NOD_LintContext &context, int token, const std::string &expression,
                      const NOD_ExpressionFault &fault, NOD_LintContext::Extra &extra);
