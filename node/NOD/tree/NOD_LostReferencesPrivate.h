/// \file NOD_LostReferencesPrivate.h
/// What is referred to and doesn't exist: who waits for it, by the names it would have.
///
/// Vocabulary: *reader* = a component, or a condition, whose references are known; *watched path* = the
///             absolute path of a node: the first missing one on the way to a target, or one on the way
///             that `..` leaves again.
/// Ownership:  borrows nodes as keys; a node is forgotten before it ends.
/// Threads:    the one that changes the tree.
/// Cost:       memory by what is lost; look-ups by name.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class NOD_Node;

/// A component of a parameter, or the node's condition of number `component` under a token that no
/// parameter has.
struct NOD_GraphReader
{
    NOD_Node *node;
    std::string token;
    int component;

    static std::string tokenOfCondition(int number) { return "?" + std::to_string(number); }
    bool isCondition() const { return token[0] == '?'; }
};

class NOD_LostReferences
{
public:
    using Readers = std::vector<NOD_GraphReader>;

    void watchPath(const NOD_GraphReader &reader, const std::string &path);
    void waitForName(const NOD_GraphReader &reader, const NOD_Node &target, std::string_view name);

    /// What the parameter's components, or the condition, wait for.
    void forget(const NOD_Node &node, const std::string &token);
    /// What all of the node waits for.
    void forget(const NOD_Node &node);
    void clear();
    bool isEmpty() const { return myReaders.empty(); }
    /// Bytes, about.
    std::int64_t getMemoryUsage() const;

    // ------------------------------------------------------------------ //
    /// \name Who waits; in the order in which they began
    // ------------------------------------------------------------------ //
    ///@{
    void addWatchers(const std::string &path, Readers &readers) const;
    /// Those that wait for a name of the node for which `appears(name)` holds.
    void addWaiting(const NOD_Node &node, Readers &readers,
                    const std::function<bool(const std::string &name)> &appears) const;
    ///@}

private:
    using Waiting = std::map<std::uint64_t, NOD_GraphReader>; ///< by their order
    using Names = std::map<std::string, Waiting>;
    struct Wait
    {
        const NOD_Node *target; ///< null: a path
        std::string key;
        int component;
        std::uint64_t order;
    };
    using Waits = std::map<std::string, std::vector<Wait>>; ///< by token

    void wait(const NOD_GraphReader &reader, const NOD_Node *target, const std::string &key,
              Names &names);
    void drop(const std::vector<Wait> &waits);
    static void add(const Waiting &waiting, Readers &readers);

    Names myPaths;
    std::unordered_map<const NOD_Node *, Names> myNames;
    std::unordered_map<const NOD_Node *, Waits> myReaders;
    std::uint64_t myLast = 0;
};
