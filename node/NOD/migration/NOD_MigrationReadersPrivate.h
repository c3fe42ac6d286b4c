/// \file NOD_MigrationReadersPrivate.h
/// What expressions make of parameters of other nodes, before these get other interfaces and after. Not installed.
///
/// Vocabulary: *target* = a node that gets another interface; *reader* = a parameter with a reference to one of another
///             node, which is a target.
/// Ownership:  borrows the nodes, which live until the end.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Cost:       one pass over the tree, and two evaluations of each reader.
#pragma once

#include <NOD/NOD_Migration.h>
#include <NOD/migration/NOD_MigrationComponentsPrivate.h>

#include <unordered_map>
#include <unordered_set>

class NOD_MigrationWalk;

class NOD_MigrationReaders
{
public:
    using Targets = std::unordered_set<const NOD_Node *>;
    struct Change
    {
        NOD_Node *node;
        NOD_Migration::Entry entry;
    };

    /// Evaluates all that are in the tree of the node.
    NOD_MigrationReaders(NOD_Node &root, const Targets &targets, double time);
    /// A target that may have readers, too, once it is done: what its steps have changed is told by its own account.
    void follow(const NOD_Node &node, const NOD_MigrationWalk &walk);
    /// Those that have another value now, or fail, in the order of the tree.
    std::vector<Change> findChanges() const;

private:
    struct Reader
    {
        NOD_Node *node;
        std::string former;
        std::string token; ///< "" where its own node's account has it
        NOD_MigrationComponents components;
    };

    double myTime;
    std::vector<Reader> myReaders;
    std::unordered_map<const NOD_Node *, std::vector<std::size_t>> myOf; ///< by node
};
