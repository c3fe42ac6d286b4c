/// \file NOD_MigrationStep.h
/// One thing that becomes of a parameter from a version of a node type to the next: a line of a map.
///
/// Vocabulary: *former*, *present* = the version that a step leads from, and the one that it leads to. A *source*
///             is a name of the former, a *target* one of the present; with a `#` for each number in the tokens
///             of items. *value step* = one that changes a value and not its place: RETYPE, UNIT, MENU.
/// Ownership:  owns its texts.
/// Threads:    a plain value.
///
/// All steps of a version hold at once: their sources are names of the former version, whatever other steps
/// rename. Value steps of one parameter work in the order in which they are written, and then it moves.
#pragma once

#include <NOD/NOD_API.h>

#include <string>
#include <string_view>
#include <vector>

struct NOD_API NOD_MigrationStep
{
    enum class Kind
    {
        RENAME, ///< is called otherwise
        RETYPE, ///< is of another kind of value
        UNIT,   ///< counts in another unit: a factor, an offset
        MENU,   ///< an entry has another token
        SPLIT,  ///< the components of a vector are parameters of their own
        JOIN,   ///< parameters of one component are a vector
        FREEZE, ///< a value at its default keeps the former default
        DROP    ///< the value is given up, and why
    };
    /// The kinds of value that a step can tell apart.
    enum class Value
    {
        FLOAT,
        INT,
        TOGGLE,
        MENU,
        STRING
    };
    /// `* 0.01` of a unit.
    struct Operation
    {
        char sign; ///< one of `*`, `/`, `+`, `-`
        double number;
    };

    Kind kind = Kind::RENAME;
    std::vector<std::string> sources; ///< one, but for a join
    std::vector<std::string>
        targets;               ///< none where the parameter keeps its name; several of a split
    Value from = Value::FLOAT; ///< of a retype
    Value to = Value::FLOAT;
    std::vector<Operation> operations; ///< of a unit, in the order of their work
    bool undoFlag =
        false; ///< of a unit: gives the shortest number that the other direction made this of
    std::string entry;    ///< of a menu: the former token
    std::string newEntry; ///< and the present one
    std::string reason;   ///< of a drop
    int line = 0;         ///< in the map; 0 for none
    int column = 0;

    static NOD_MigrationStep rename(const std::string &former, const std::string &present);

    /// As a map has it: `unit life * 0.01`.
    std::string asText() const;
    bool isValueStep() const
    {
        return kind == Kind::RETYPE || kind == Kind::UNIT || kind == Kind::MENU;
    }
    /// Of which a parameter has one at most.
    bool isMove() const { return !isValueStep() && kind != Kind::FREEZE; }
    /// Whether a token of the former version is one of a source's; the place of that source, -1 for none.
    int findSource(const std::string &token) const;
    /// The target with the numbers that the token has in the source; the token itself without targets.
    std::string targetOf(const std::string &token, int source, int target) const;

    // ------------------------------------------------------------------ //
    /// \name Words
    // ------------------------------------------------------------------ //
    ///@{
    static const char *getKindWord(Kind kind);
    static bool findKind(std::string_view word, Kind &kind);
    static std::vector<std::string> getKindWords();
    static const char *getValueWord(Value value);
    static bool findValue(std::string_view word, Value &value);
    static std::vector<std::string> getValueWords();
    ///@}
};

/// The steps that lead back, for a present version's steps in the order of the map. Of what can't be undone the
/// place in `steps` is added to `faults`, and nothing takes its place.
NOD_API std::vector<NOD_MigrationStep> NODundoSteps(const std::vector<NOD_MigrationStep> &steps,
                                                    std::vector<std::size_t> &faults);
/// The operations of a unit that lead back.
NOD_API std::vector<NOD_MigrationStep::Operation>
NODundoOperations(std::vector<NOD_MigrationStep::Operation> operations);
