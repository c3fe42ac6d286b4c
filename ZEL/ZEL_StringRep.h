/// \file ZEL_StringRep.h
/// One text value: an owned copy, or nothing for the empty text.
///
/// Vocabulary: *reader* = a thread that copies or compares a text; it publishes a hazard pointer to
///             it on a cache line of its own, and a writer that replaced the text waits before
///             freeing it.
/// Ownership:  owns its text. The lock belongs to the instance and is passed to each operation that
///             needs it.
/// Threads:    operations that take a lock from any thread; all others while no other thread uses
///             the value: loading, construction, and queries between evaluations.
/// Errors:     none; when memory is exhausted the value becomes empty.
/// Cost:       one pointer. The first 32 threads read without the lock and without writing to
///             shared cache lines; the rest share the read lock. An evaluation whose result equals
///             the stored text doesn't write. A change takes the write lock and waits for readers
///             that are copying the old text.
#pragma once

#include <ZEL/ZEL_API.h>

#include <tbb/spin_rw_mutex.h>

#include <atomic>
#include <cstdint>
#include <string_view>

class KIT_String;
class KIT_WorkBuffer;

class ZEL_API ZEL_StringRep
{
public:
    using Lock = tbb::spin_rw_mutex;

    ZEL_StringRep() = default;
    ~ZEL_StringRep();
    ZEL_StringRep(const ZEL_StringRep &) = delete;
    ZEL_StringRep &operator=(const ZEL_StringRep &) = delete;

    // ------------------------------------------------------------------ //
    /// \name Under the instance's lock   (any thread)
    // ------------------------------------------------------------------ //
    ///@{
    /// A copy of the text; "" for the empty one.
    void get(Lock &lock, KIT_String &out) const;
    /// Replaces the buffer's contents.
    void get(Lock &lock, KIT_WorkBuffer &out) const;
    /// Replaces the text; null is the empty one.
    void harden(Lock &lock, const char *text);
    /// The same, with the write lock taken only if the text differs.
    void hardenIfNeeded(Lock &lock, const char *text);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Without a lock
    // ------------------------------------------------------------------ //
    ///@{
    void unsafeHarden(const char *text);
    /// A text without NULs.
    void unsafeHarden(std::string_view text);
    void unsafeHarden(const ZEL_StringRep &other) { unsafeHarden(other.unsafeText()); }
    /// Takes ownership of the string's text and leaves the string unset.
    void unsafeAdopt(KIT_String &text);
    /// The text, never null.
    const char *unsafeGet() const { return unsafeText() ? unsafeText() : ""; }
    bool isEmpty() const { return !unsafeText(); }
    bool findString(const char *text, bool fullWord, bool usePattern) const;
    /// Whether the text uses $NAME or ${NAME}.
    bool findVariable(const char *name) const;
    /// The pointer, the text and its end.
    std::int64_t getMemoryUsage() const;
    ///@}

private:
    static char *safeDup(const char *text);
    const char *unsafeText() const { return myText.load(std::memory_order_relaxed); }
    /// Calls the function with the text, which can't be freed meanwhile.
    template <class Use>
    void read(Lock &lock, const Use &use) const;

    std::atomic<char *> myText{nullptr}; // never an empty text
};
