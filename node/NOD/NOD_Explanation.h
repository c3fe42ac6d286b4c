/// \file NOD_Explanation.h
/// Why a component of a snapshot has its value at a time: what it read, directly and on the whole way, with values and
/// times; why it is another one at other times; the cycle that it leads into.
///
///     const NOD_Explanation why = NODexplain(*snapshot, snapshot->find("/light", "power", 0), time, thread);
///     std::cout << why.asText(snapshot->getFrameRate());
///
/// What reads it in turn: NOD_ReadGraph.h.
///
/// Units:      times in seconds; the texts for people tell frames, of which the first is at 0 s.
/// Ownership:  texts of its own; handles borrow the snapshot.
/// Threads:    as reading the snapshot.
/// Errors:     what can't be evaluated has the value that a read gives, and its EVL number. What a reference doesn't
///             find is a value, too, of source LOST.
/// Cost:       an evaluation of each component on the way at each time that is read, each with all that it reads, and
///             one of how long it holds. TRK_EvalContext::Work bounds all of it.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_SnapshotHandle.h>
#include <NOD/NOD_SnapshotOptions.h>
#include <TRK/TRK_Interval.h>

#include <cstddef>
#include <string>
#include <vector>

class NOD_Snapshot;

struct NOD_ExplainedValue
{
    enum class Source : unsigned char
    {
        CONSTANT,
        KEYS,       ///< a curve between them
        EXPRESSION, ///< of a channel
        TEXT,       ///< with variables or expressions in it
        FOREIGN,    ///< see NOD_SnapshotOptions.h
        LOST        ///< there is nothing of that name
    };

    NOD_SnapshotHandle handle; ///< false for a channel that no parameter has, and for what is lost
    std::string address;       ///< "/light/tx"; of what is lost the name that was read
    double time = 0.0;
    std::string value; ///< as text: a token where a menu has one
    Source source = Source::CONSTANT;
    NOD_Foreign foreign = NOD_Foreign::OVERRIDE; ///< with FOREIGN
    std::string text;                            ///< of EXPRESSION and TEXT: as it was written
    TRK_Interval held;                           ///< the times around this one with this value
    /// What makes it another one at other times: "keys", "$F", the address of what it read; "error" of what
    /// fails. Empty if it stays.
    std::vector<std::string> movers;
    int error = 0;                  ///< EVL's, of this value
    std::vector<std::size_t> reads; ///< what it read itself, in that order: places of values
};

struct NOD_API NOD_Explanation
{
    std::vector<NOD_ExplainedValue>
        values; ///< the first is the one that was asked for; none for no handle
    /// Addresses in reading order, the first one again at the end; empty for none.
    std::vector<std::string> cycle;
    bool cutFlag = false; ///< there are more than theMost

    static constexpr std::size_t theMost = 10000;

    /// Where it goes wrong: the first failing one on the way that reads none that fails, though perhaps what is lost;
    /// null if nothing does.
    const NOD_ExplainedValue *findFault() const;
    /// For people: a line for each value, indented below what read it; what was told already once more by its name.
    std::string asText(double frameRate) const;
    /// An object: {"values": [{"address", "time", "value", "source", "held", "movers", "reads", ...}], "cycle", "cut"}.
    std::string asJson() const;
    /// In the DOT language: an edge from what is read to what reads it. What moves in time has a double edge.
    std::string asDOT(double frameRate) const;
};

NOD_API NOD_Explanation NODexplain(const NOD_Snapshot &snapshot, const NOD_SnapshotHandle &handle,
                                   double time, int thread);
/// "constant", "keys" ...
NOD_API const char *NODsourceName(NOD_ExplainedValue::Source source);
/// "override", "python" ...
NOD_API const char *NODforeignName(NOD_Foreign kind);
