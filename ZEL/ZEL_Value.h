/// \file ZEL_Value.h
/// A payload with listeners that are notified when it changes.
///
/// Vocabulary: *interest* = one (data, callback) record; *slot* = its place, kept when emptied.
/// Ownership:  owns its records, borrows payload and listener data. A copy shares the records:
///             the last sharer frees them, and `removeInterest` on one empties the slot for all.
/// Threads:    one thread at a time.
#pragma once

#include <ZEL/ZEL_API.h>

#include <memory>
#include <vector>

class ZEL_API ZEL_Value
{
public:
    using Callback = void (*)(void *data, void *payload);

    explicit ZEL_Value(void *payload = nullptr) : myPayload(payload) {}

    /// Sets the payload; the listeners stay and aren't called.
    ZEL_Value &operator=(void *payload)
    {
        myPayload = payload;
        return *this;
    }

    void *getPayload() const { return myPayload; }

    /// Reuses the first empty slot, else appends one.
    void addInterest(void *data, Callback callback);
    /// Empties every slot that matches both.
    void removeInterest(void *data, Callback callback);
    /// Whether a live slot has that data; false for null.
    bool hasInterest(const void *data) const;

    /// Calls each live slot from the last to the first with its data and the payload.
    void changed();

    /// The number of slots, empty ones included.
    int getNumSlots() const { return int(myInterests.size()); }

private:
    struct Interest
    {
        void *data = nullptr;
        Callback callback = nullptr;
    };

    void *myPayload;
    std::vector<std::shared_ptr<Interest>> myInterests;
};
