/// \file KIT_JSONValueMap.h
/// A map of JSON values by key, reference-counted by those that share it.
///
/// Vocabulary: *count* = how many share the map; a map that was never counted is on the stack or
///             owned by its creator.
/// Units:      keys are texts as values are (KIT_JSONValue.h). They are kept in bytewise order, so
///             that equal maps have equal texts.
/// Ownership:  owns keys and values; removing the last count deletes the map.
/// Threads:    changed by one thread at a time; const calls and the count from any.
/// Errors:     a key that isn't there gives null.
/// Cost:       look-up and insertion take logarithmic time on any keys.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_Array.h>
#include <KIT/KIT_JSONValue.h>
#include <KIT/KIT_StringHolder.h>

#include <atomic>
#include <map>

class KIT_API KIT_JSONValueMap
{
public:
    KIT_JSONValueMap();
    ~KIT_JSONValueMap();
    KIT_JSONValueMap(const KIT_JSONValueMap &) = delete;
    KIT_JSONValueMap &operator=(const KIT_JSONValueMap &) = delete;

    int64_t entries() const { return int64_t(myValues.size()); }
    /// Replaces `keys` by those of the map, in order.
    void getKeys(KIT_Array<KIT_StringHolder> &keys) const;
    const KIT_JSONValue *get(const KIT_StringRef &key) const;
    /// Adds the value, or replaces the one of an existing key.
    void insert(const KIT_StringRef &key, KIT_JSONValue value);
    void clear();

    /// False when the writer has failed, or the map is nested too deeply to be read again.
    bool save(KIT_JSONWriter &writer) const;

    /// Adds to the count; if a negative `count` brings it to zero, the map is deleted.
    void bumpRef(int count);

private:
    struct Less
    {
        bool operator()(const KIT_StringHolder &a, const KIT_StringHolder &b) const
        {
            return a.view() < b.view();
        }
    };

    std::map<KIT_StringHolder, KIT_JSONValue, Less> myValues;
    std::atomic<int> myRefCount{0};
};
