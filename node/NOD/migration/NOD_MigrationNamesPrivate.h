/// \file NOD_MigrationNamesPrivate.h
/// The tokens of an interface as steps name them: those of items with a `#` for each number. Not installed.
///
/// Ownership:  borrows the templates.
/// Threads:    any, while the interface exists.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

class ZEL_Template;

struct NOD_MigrationName
{
    std::string token; ///< as items have it: with a `#` for each level
    const ZEL_Template *description;
    std::string block; ///< the token of the block that it is an item of; "" for none
};

class NOD_MigrationNames
{
public:
    explicit NOD_MigrationNames(const ZEL_Template *templates) { add(templates, 0, ""); }

    /// In the order of the script, blocks before their items; those that have a value of somebody's.
    const std::vector<NOD_MigrationName> &getAll() const { return myNames; }
    /// By a token, or a pattern that it matches; null if there is none.
    const NOD_MigrationName *find(const std::string &token) const;

private:
    void add(const ZEL_Template *templates, int depth, const std::string &block);

    std::vector<NOD_MigrationName> myNames;
    std::unordered_map<std::string, std::size_t> myPlaces; ///< the first of each token
};

/// The tokens of a menu with a fixed table; none for others.
std::vector<std::string> NODfixedEntries(const ZEL_Template &description);
