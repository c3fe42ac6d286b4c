/// \file NOD_MigrationMap.h
/// What a node type ships so that values of its older versions go on: its versions in order, the script of each,
/// and what becomes of the parameters from one to the next.
///
///     NOD_MigrationMap map;
///     if (map.read("emitter.map", report) && map.loadScripts(report)) {
///         NOD_MigrationWalk walk;
///         walk.run(node, map, map.findVersion("1"), map.getLast(), 0.0, report);
///     }
///
/// Vocabulary: *version* = a name without blanks; the order in the map is their order. *plain* = a file of lines
///             `FORMER PRESENT`: one step between two versions without names and scripts.
/// Units:      versions by their places, from 0; lines and columns from 1.
/// Ownership:  owns its texts; shares the interfaces of its versions.
/// Threads:    one thread at a time; const calls from any thread.
/// Errors:     false, after all that is wrong in the report, each with file, line and column. A map with a
///             fault is empty.
///
/// docs/migration.md describes the file.
#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_API.h>
#include <NOD/NOD_MigrationStep.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class NOD_Interface;
class NOD_Node;
class NOD_Report;

/// Values of a former version, and what they are in a present one.
struct NOD_API NOD_MigrationTest
{
    enum class Kind
    {
        SET,        ///< a value of the former version
        KEY,        ///< a key of it
        EXPRESSION, ///< what drives it
        EXPECT      ///< a value of the present version
    };
    struct Line
    {
        Kind kind;
        std::string address;
        std::string value;
        double time = 0.0; ///< of a key, and of an expected value
        int line = 0;
    };

    std::string name;
    std::string from; ///< a version; "" for the one before
    std::vector<Line> lines;
    int line = 0;

    static const char *getKindWord(Kind kind);
};

struct NOD_API NOD_MigrationVersion
{
    std::string name;
    std::string script;                   ///< a path, relative to the map's folder; "" for none
    std::vector<NOD_MigrationStep> steps; ///< from the version before
    std::vector<NOD_MigrationTest> tests;
    std::shared_ptr<const NOD_Interface> interface; ///< null until it is loaded or set
    int line = 0;
};

class NOD_API NOD_MigrationMap
{
public:
    /// More bytes are refused.
    static constexpr std::size_t theMostBytes = std::size_t(1) << 20;
    /// In all versions together.
    static constexpr int theMostSteps = 4096;
    static constexpr int theMostTests = 1024;

    // ------------------------------------------------------------------ //
    /// \name In and out
    // ------------------------------------------------------------------ //
    ///@{
    bool read(const std::string &path, NOD_Report &report);
    /// `name` is for messages, and its folder that of the scripts.
    bool read(std::string_view text, const std::string &name, NOD_Report &report);
    /// What read() reads back to the same. Comments aren't kept.
    std::string asText() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name What it has
    // ------------------------------------------------------------------ //
    ///@{
    const std::string &getName() const { return myName; }
    bool isPlain() const { return myPlainFlag; }
    /// The type of the nodes; "" for any.
    const std::string &getType() const { return myType; }
    /// That of a saved node that doesn't say its version; -1 for the last.
    int getUnmarked() const { return findVersion(myUnmarked); }
    const std::vector<NOD_MigrationVersion> &getVersions() const { return myVersions; }
    /// -1 if there is none of that name.
    int findVersion(const std::string &name) const;
    int getLast() const { return int(myVersions.size()) - 1; }
    /// "1, 2, 3"
    std::string getVersionNames() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Scripts
    // ------------------------------------------------------------------ //
    ///@{
    /// Reads those of the versions that have no interface yet.
    bool loadScripts(NOD_Report &report);
    void setInterface(int version, std::shared_ptr<const NOD_Interface> interface);
    /// Gives a node of the last version the names that its parameters had in all others, for streams that are loaded
    /// directly: they say no version, so nothing else of the steps is done.
    void addRenames(NOD_Node &node) const;
    /// An error, or another message, at the line of a version or of one of its steps.
    void tell(int line, const std::string &subject, const std::string &text, NOD_Report &report,
              KIT_ErrorSeverity severity = KIT_ERROR_ABORT) const;
    ///@}

private:
    friend class NOD_MigrationMapReader;

    std::string myName;
    std::string myText; ///< for the places of messages
    std::string myType;
    std::string myUnmarked;
    std::vector<NOD_MigrationVersion> myVersions;
    bool myPlainFlag = false;
};
