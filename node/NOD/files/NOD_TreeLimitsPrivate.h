/// \file NOD_TreeLimitsPrivate.h
/// What a reading of a scene or node file takes: reader and writer share it, so that the writer can tell.
/// Not installed.
///
/// Vocabulary: *room* = the bytes of memory that the nodes of one file may take, without the values that
///             the file has for them.
/// Units:      bytes, estimated; levels from 1 for what is at the top of the file.
/// Threads:    any.
#pragma once

#include <NOD/NOD_FileOptions.h>

#include <cstddef>
#include <cstdint>
#include <string>

class NOD_Node;

/// Deeper than any scene, and no danger to a thread's stack where trees are walked.
constexpr std::ptrdiff_t theMostLevels = 1000;

/// What a node takes.
struct NOD_NodeBytes
{
    /// Of a node with so many parameters of one number.
    explicit NOD_NodeBytes(std::int64_t parms);
    /// As it is now.
    explicit NOD_NodeBytes(NOD_Node &node);

    std::int64_t all;
    std::int64_t items; ///< what of it the items of blocks may take
};

/// The room for a file of that length.
std::int64_t NODroomForNodes(std::int64_t length, const NOD_LoadOptions &options);
/// What sets it: "ZEL_MAX_STREAM_MEGABYTES is 256".
std::string NODroomSetting(const NOD_LoadOptions &options);
/// "25 MB"
std::string NODmegabytes(std::int64_t bytes);
