/// \file NOD_Migration.h
/// A node gets another interface and takes its values over, with a true account of each of them.
///
///     NOD_Migration migration;
///     migration.addRename("birthrate", "rate", report);
///     migration.addRename("strength#", "force#", report);
///     if (migration.run(node, present, 0.0, report) && migration.hasLoss()) {
///         for (const NOD_Migration::Entry &entry : migration.getEntries()) ...
///
/// Vocabulary: *rename* = a token of the former interface, and what it is called in the present one; with a
///             `#` for each number in the tokens of items. *at its default* = never set nor locked: it
///             begins from the present default, as NOD_Node::renewParms has it.
/// Units:      values are those at a time, in seconds.
/// Ownership:  owns its texts.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     false, with nothing done, after an error in the report: a step whose names neither interface has, or
///             two renames of one name. What a load would report of values, adoption reports too.
/// Cost:       linear in the node; with steps that of a copy of it.
///
/// What renewParms does, and in addition: what is renamed goes over with channels, locks and aliases, a block
/// with its items; a locked parameter keeps lock and value, also one at its default; an entry of a menu is found by its token, wherever it is in the new menu. References to a
/// renamed parameter get its present name, in all nodes of the tree; one to a name that is gone fails, and is then told
/// as changed.
/// NOD_MigrationStep.h has what else a step can do; NOD_MigrationWalk.h goes through the versions of a map.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_MigrationStep.h>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class NOD_Interface;
class NOD_MigrationMap;
class NOD_Node;
class NOD_ParmRenames;
class NOD_Report;
class NOD_Scene;
class ZEL_Template;

class NOD_API NOD_Migration
{
public:
    enum class Fate
    {
        CARRIED, ///< it has the value that it had
        DEFAULT, ///< it was at its default, and has another one now
        CHANGED, ///< it is there and has another value: clamped, cut, an entry that the menu hasn't
        LOST,    ///< there is no place for its value
        NEW,     ///< of the present interface alone
        CONVERTED, ///< it means the same, and is written otherwise: what a step is for
        DROPPED    ///< a step gives it up, and says why
    };
    struct Entry
    {
        Fate fate = Fate::CARRIED;
        std::string token; ///< in the former interface; of a new one in the present
        std::string
            newToken; ///< in the present interface, several with blanks between; "" if it is lost
        std::string before; ///< the value that it had, all components; "" if it is new
        std::string after;  ///< the value that it has; "" if it is lost
        std::string reason; ///< why it is lost or changed, as far as that is known
        bool defaultFlag =
            false; ///< it was at its default: with it nothing is lost that anybody has set
        std::vector<NOD_MigrationStep> steps; ///< those that were about it

        /// `changed life 12 -> 10: ...`
        std::string asText() const;
    };
    using Entries = std::vector<Entry>;
    /// What references call parameters and components: present names by former ones.
    using Names = std::unordered_map<std::string, std::string>;

    /// "carried" and so on.
    static const char *getFateName(Fate fate);

    // ------------------------------------------------------------------ //
    /// \name Steps   (false after an error in the report)
    // ------------------------------------------------------------------ //
    ///@{
    bool addStep(const NOD_MigrationStep &step, NOD_Report &report);
    bool addRename(const std::string &former, const std::string &present, NOD_Report &report);
    /// `FORMER=PRESENT`
    bool addRename(const std::string &text, NOD_Report &report);
    /// A line for each: `FORMER PRESENT`. A `#` before or behind them begins a comment.
    bool readRenames(std::string_view text, const std::string &name, NOD_Report &report);
    bool readRenames(const std::string &path, NOD_Report &report);
    /// Those of a plain map.
    bool addRenames(const NOD_MigrationMap &map, NOD_Report &report);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Work   (one step of undo)
    // ------------------------------------------------------------------ //
    ///@{
    bool run(NOD_Node &node, std::shared_ptr<const NOD_Interface> description, double time,
             NOD_Report &report);
    /// Of an array, borrowed as by NOD_Node::renewParms.
    bool run(NOD_Node &node, ZEL_Template *templates, double time, NOD_Report &report);
    /// Of many nodes at once: what other nodes say of names is only gathered, to be rewritten in one pass. Borrowed;
    /// null: it is rewritten with each node.
    void setRenames(NOD_ParmRenames *renames) { myRenames = renames; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name What became of them   (in the order of the former list, then what is new)
    // ------------------------------------------------------------------ //
    ///@{
    const Entries &getEntries() const { return myEntries; }
    int count(Fate fate) const;
    /// Those that are called otherwise now.
    const Names &getRenames() const { return myRenamed; }
    /// Whether a value that was set is lost or changed.
    bool hasLoss() const;
    ///@}

private:
    class Run;

    template <class Renew>
    bool run(NOD_Node &node, const ZEL_Template *templates, double time, NOD_Report &report,
             const Renew &renew);
    void keep(NOD_MigrationStep step);
    bool checkNames(NOD_Node &node, const ZEL_Template *templates, NOD_Report &report) const;

    std::vector<NOD_MigrationStep> mySteps;
    NOD_ParmRenames *myRenames = nullptr;
    std::unordered_map<std::string, std::string> myPresentNames; ///< of renames, by the former name
    std::unordered_map<std::string, std::string> myFormerNames;
    Entries myEntries;
    Names myRenamed;
};

/// A warning for each node of a scene that reads values of the node at `path` by names that they have lost where that node
/// was migrated alone; `renames` are those of each version on the way. The scene is one to be thrown away: its references
/// get the present names.
NOD_API void NODtellFormerReaders(NOD_Scene &scene, const std::string &path,
                                  const std::vector<NOD_Migration::Names> &renames,
                                  NOD_Report &report);
