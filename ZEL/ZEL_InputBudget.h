/// \file ZEL_InputBudget.h
/// Limits the items of multi-parameters that an input may request: a few bytes must not exhaust
/// memory.
///
/// Vocabulary: *budget* = how many items, and how many bytes of them, one input may make beyond
///             those that exist. *input* = a stream, a preset, a script that is built into a list,
///             a command line, or one read of an animated count.
/// Units:      the limits KIT_ENV_MAX_STREAM_ITEMS and KIT_ENV_MAX_STREAM_MEGABYTES, and for each
///             byte of the input one item and `theBytesPerByte` bytes more, so that a stream that
///             names its items always fits. Bytes are estimated from the block.
/// Threads:    a budget belongs to the thread that opened it.
/// Errors:     a request beyond the budget is refused as a whole with "ZEL" error 22 for the items
///             or 27 for the bytes, which names the setting; nothing grows. What is refused while
///             errors are blocked, as where a value is set, is reported when a budget ends.
///
/// Loading, building a list and reading an animated count open a budget by themselves. An
/// application that sets counts by itself is free to; one that passes on what its user or a file
/// asked for opens a budget first:
///
///     const ZEL_InputBudget budget(text.length());
///     parm->setValue(time, number, ...);
#pragma once

#include <ZEL/ZEL_API.h>

#include <cstdint>

class ZEL_API ZEL_InputBudget
{
public:
    enum Kind
    {
        INPUT,    ///< counts that are set are limited too
        DEFAULTS, ///< of a description: counts that are set are not
        NO_LIMIT, ///< for what existed before, whatever budget is open
        RESTORED  ///< defaults inside a NO_LIMIT, which share one budget: they may not have existed
    };

    /// What one multi-parameter asks for.
    struct Request
    {
        const char *token;
        std::int64_t items; ///< that count as items
        std::int64_t bytes;
    };

    /// An entry of a saved list takes at least 22 bytes of text and makes at most 1 kB; each further
    /// component takes 2 and makes about 100.
    static constexpr std::int64_t theBytesPerByte = 64;

    /// Opens the budget of an input. A nested one adds its bytes' share to the open budget.
    explicit ZEL_InputBudget(std::int64_t inputBytes) : ZEL_InputBudget(INPUT, inputBytes) {}
    ZEL_InputBudget(Kind kind, std::int64_t inputBytes);
    ~ZEL_InputBudget();
    ZEL_InputBudget(const ZEL_InputBudget &) = delete;
    ZEL_InputBudget &operator=(const ZEL_InputBudget &) = delete;

    /// Deducts the request from the open budget, or reports why it is refused. Without an open
    /// budget it is compared with the settings alone.
    static bool allow(const Request &request);
    /// The same for what a script describes without a multi-parameter; the caller reports.
    static bool allowBytes(std::int64_t bytes);
    /// Whether the budget of an input is open on this thread, rather than none or a description's.
    static bool isInInput();
    /// A description's next default at the top: its items are counted anew and its error is
    /// reported, while the bytes are those of all. One default's blocks are alike, and report once.
    static void beginDefault();

private:
    struct State
    {
        bool open = false;
        bool unlimited = false;
        bool reported = false;
        int inputs = 0; // nested ones
        std::int64_t items = 0;
        std::int64_t bytes = 0;
        std::int64_t restoredItems = 0; // of an unlimited one
        std::int64_t restoredBytes = 0;
    };

    static thread_local State theState;

    bool isInRestored() const;

    State myOuter;
    Kind myKind;
    bool myOwnFlag;
};
