/// \file ZEL_StreamLimitPrivate.h
/// How many items of multi-parameters a stream may ask for: a few bytes must not fill the memory.
///
/// Vocabulary: *budget* = the items that one load, or one default with those of the blocks in its items,
///             may make beyond those that exist.
/// Units:      items. The budget is the limit KIT_ENV_MAX_STREAM_ITEMS plus one for each byte of the
///             stream, so that a stream that names its items always fits.
/// Threads:    loading is one thread's business.
/// Errors:     what exceeds the budget is refused with an error that names the setting; once for a
///             default, whose blocks are all alike.
#pragma once

#include <cstdint>

class ZEL_StreamLimit
{
public:
    /// Opens the budget of one load, or of a default with 0; an inner one shares the outer one's.
    explicit ZEL_StreamLimit(std::int64_t streamBytes);
    ~ZEL_StreamLimit();
    ZEL_StreamLimit(const ZEL_StreamLimit &) = delete;
    ZEL_StreamLimit &operator=(const ZEL_StreamLimit &) = delete;

    /// Whether the multi-parameter `token` may get `items` more; takes them off the budget, or
    /// reports. Outside a load the setting alone counts.
    static bool allow(std::int64_t items, const char *token);

private:
    bool myOuterFlag;
};
