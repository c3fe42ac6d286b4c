/// \file TRK_ReferenceScope.h
/// Reports what an evaluation reads by reference: open a scope around it to be notified of each.
///
/// Vocabulary: *direct* = read by the evaluated text itself, not by what it reads in turn.
/// Ownership:  a scope lives on the C++ stack and borrows its listener.
/// Threads:    a scope is notified of evaluations of the thread that opened it only.
/// Errors:     none. A name that doesn't exist is reported like one that does. What a listener throws ends
///             the evaluation; the scope stays open.
/// Cost:       without a scope a reference costs one check of a thread-local pointer.
///
/// Only this finds names that are computed; for the literal ones in a text see
/// TRK_Manager::forEachReference.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringRef.h>

class TRK_Collection;

/// Notified of references.
class KIT_API TRK_ReferenceListener
{
public:
    virtual ~TRK_ReferenceListener();
    /// The name was read in that collection, as a channel, an alias, or a parameter of its list.
    virtual void referenceRead(const TRK_Collection &collection, const KIT_StringRef &name) = 0;
    /// The same with the time at which it was read. Base: calls referenceRead().
    virtual void referenceReadAt(const TRK_Collection &collection, const KIT_StringRef &name,
                                 double time);
    /// The path, from that collection's node on, leads to none. Base: does nothing.
    virtual void pathLost(const TRK_Collection &collection, const KIT_StringRef &path);
};

class KIT_API TRK_ReferenceScope
{
public:
    /// Hides the thread's present scope until this one ends.
    explicit TRK_ReferenceScope(TRK_ReferenceListener &listener);
    ~TRK_ReferenceScope();
    TRK_ReferenceScope(const TRK_ReferenceScope &) = delete;
    TRK_ReferenceScope &operator=(const TRK_ReferenceScope &) = delete;

private:
    TRK_ReferenceListener *myOuter;
};
