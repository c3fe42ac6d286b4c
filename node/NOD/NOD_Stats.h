/// \file NOD_Stats.h
/// How much there is of a node, and of all below it.
///
/// Units:      bytes.
/// Ownership:  plain numbers.
/// Threads:    as reading of NOD_Node.
/// Cost:       linear in parameters, channels and templates.
#pragma once

#include <NOD/NOD_API.h>

#include <cstdint>
#include <string>
#include <vector>

class NOD_Node;

struct NOD_API NOD_Stats
{
    struct NOD_API Type
    {
        std::string name; ///< "" for nodes without a type
        std::int64_t nodes = 0;
        std::int64_t parameters = 0;
    };

    /// A row of the table of numbers.
    struct NOD_API Row
    {
        const char *name; ///< of a key: "menu_scripts"
        std::int64_t number;
    };

    std::int64_t nodes = 0;      ///< with a type or parameters
    std::int64_t parameters = 0; ///< with a value, items' included; no folders
    std::int64_t components = 0; ///< of these
    std::int64_t folders = 0;    ///< each tab
    std::int64_t blocks = 0;     ///< without ramps
    std::int64_t ramps = 0;
    std::int64_t items = 0;       ///< of blocks, and keys of ramps
    std::int64_t menus = 0;       ///< without those that the library supplies
    std::int64_t menuScripts = 0; ///< of these, those by a script
    std::int64_t conditions = 0;  ///< those of items one by one
    std::int64_t spares = 0;      ///< spare parameters
    std::int64_t changed = 0;     ///< away from the default
    std::int64_t locked = 0;      ///< components
    std::int64_t channels = 0;
    std::int64_t keys = 0;
    std::int64_t expressions = 0;  ///< segments of channels that an expression drives
    std::int64_t sectionsKept = 0; ///< that nobody knows here
    std::int64_t listBytes = 0;    ///< of parameters and their values
    std::int64_t channelBytes = 0;
    std::int64_t interfaceBytes = 0; ///< of templates and texts of scripts, each interface once
    std::vector<Type> types;         ///< by name

    static NOD_Stats of(NOD_Node &node);

    std::int64_t getBytes() const { return listBytes + channelBytes + interfaceBytes; }
    /// The counts, in the order above.
    std::vector<Row> getCounts() const;
};

/// What an evaluation of everything came to.
struct NOD_API NOD_EvaluationCount
{
    std::int64_t components = 0;
    std::int64_t failed = 0; ///< an expression, or one in a text, failed
};

/// Evaluates each component of a node and all below it once, as whoever reads them all, and drops the values.
/// Errors of the evaluations are counted, not reported. Items that the counts of blocks ask for are made first,
/// under the limits of an input.
NOD_API NOD_EvaluationCount NODevaluateAll(NOD_Node &node, double time);
