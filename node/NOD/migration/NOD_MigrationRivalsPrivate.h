/// \file NOD_MigrationRivalsPrivate.h
/// Of the steps of a version those that may be about the same parameter as another one. Not installed.
///
/// Vocabulary: *shape* = a name with one `#` for each run of digits and marks: a name that fits a pattern has its
///             shape.
/// Units:      places in the version's steps, from 0.
/// Threads:    one thread at a time.
/// Cost:       of a name that of finding it, and a pass over the patterns of its shape; of a pattern over all names of
///             its shape.
#pragma once

#include <NOD/NOD_MigrationStep.h>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

class NOD_MigrationRivals
{
public:
    void clear() { *this = NOD_MigrationRivals(); }
    /// The next step of the version.
    void add(const NOD_MigrationStep &step);
    /// In the order of the steps, each once. All that share a target, a source of moves, or the entry of a menu are
    /// among them.
    std::vector<std::size_t> find(const NOD_MigrationStep &step) const;

private:
    using Places = std::unordered_map<std::string, std::vector<std::size_t>>;

    Places myTargets;
    Places mySources;
    Places myPatterns; ///< sources with marks, by shape
    Places myNames;    ///< sources without, by shape
    std::size_t myCount = 0;
};
