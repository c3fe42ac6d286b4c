/// \file ZEL_StreamLimitPrivate.h
/// Limits the items of multi-parameters that a stream may request: a few bytes must not exhaust
/// memory.
///
/// Vocabulary: *budget* = the number of items that one load may create beyond the existing ones; or
///             one default, together with the blocks in its items.
/// Units:      items. The budget is the limit KIT_ENV_MAX_STREAM_ITEMS plus one for each byte of the
///             stream, so that a stream that names its items always fits.
/// Threads:    the loading thread's only.
/// Errors:     a request beyond the budget is refused with an error that names the setting; one
///             error per default, whose blocks are all alike.
#pragma once

#include <cstdint>

class ZEL_StreamLimit
{
public:
    /// Opens the budget of one load, or with 0 of a default; a nested one shares the outer budget.
    explicit ZEL_StreamLimit(std::int64_t streamBytes);
    ~ZEL_StreamLimit();
    ZEL_StreamLimit(const ZEL_StreamLimit &) = delete;
    ZEL_StreamLimit &operator=(const ZEL_StreamLimit &) = delete;

    /// Whether the multi-parameter `token` may create `items` more; deducts them from the budget,
    /// or reports an error. Outside a load only the setting counts.
    static bool allow(std::int64_t items, const char *token);
    /// Whether the budget of a load is open on this thread, rather than none or a default's.
    static bool isInLoad();

private:
    bool myOuterFlag;
};
