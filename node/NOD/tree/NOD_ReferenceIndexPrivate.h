/// \file NOD_ReferenceIndexPrivate.h
/// Which nodes of a tree have literal paths (NOD_References.h), by the names that these consist of, so that
/// a change of the tree looks at what concerns it and at nothing else. Not installed.
///
/// Vocabulary: *reader* = a node with what may be a path; *unread* = said of one whose texts may have changed since they
///             were read here.
/// Ownership:  borrows the tree; a node is forgotten before it ends or leaves.
/// Threads:    the thread that changes the tree; `note` any.
/// Errors:     out of memory throws std::bad_alloc and loses nothing.
/// Cost:       a change of a text sets a mark of its node. The next question reads the texts of such nodes,
///             and looks up the paths that have the name in question.
///
/// Of a path only the names are kept up to date, not where it leads: that differs with each change of the
/// tree, whereas the names differ only with the text.
#pragma once

#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

class NOD_Node;

class NOD_ReferenceIndex
{
public:
    /// All that is below the root is unread. The root tells of its tree from now on.
    explicit NOD_ReferenceIndex(NOD_Node &root);
    ~NOD_ReferenceIndex();
    NOD_ReferenceIndex(const NOD_ReferenceIndex &) = delete;
    NOD_ReferenceIndex &operator=(const NOD_ReferenceIndex &) = delete;

    /// That of the node's tree; null without one.
    static NOD_ReferenceIndex *of(NOD_Node &node);

    /// The node is unread.
    void note(NOD_Node &node) noexcept;
    void forget(NOD_Node &node) noexcept;
    /// The same for all below it.
    void forgetTree(NOD_Node &node) noexcept;

    using Nodes = std::vector<NOD_Node *>;
    /// Readers with a path that enters the node by its name: to reach it, or what is below it, or what it
    /// leaves by `..`. In the order of their paths.
    Nodes findReaders(NOD_Node &target);
    /// Readers among the node and all below it, parents first.
    Nodes findReadersBelow(NOD_Node &node);

private:
    using Readers = std::list<NOD_Node *>;
    struct Entry
    {
        std::vector<std::pair<std::size_t, Readers::iterator>> names; ///< by their hashes
        std::string paths;                                            ///< each ended by a NUL
    };

    void refresh();
    void read(NOD_Node &node);
    void drop(NOD_Node &node) noexcept;
    bool entersByName(NOD_Node &reader, const NOD_Node &target) const;

    NOD_Node &myRoot;
    std::unordered_map<std::size_t, Readers> myReaders; ///< by the hash of a name
    std::unordered_map<const NOD_Node *, Entry> myEntries;
    std::unordered_set<NOD_Node *>
        myOpaque;      ///< with texts whose form isn't known: may refer to anything
    std::mutex myLock; ///< of what is unread
    std::unordered_set<NOD_Node *> myUnread;
    bool myLostFlag = false; ///< some of those that are unread are not in there
};
