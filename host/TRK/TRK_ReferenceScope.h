/// \file TRK_ReferenceScope.h
/// Tells what an evaluation reads by reference: open one around it, and hear of each.
///
/// Vocabulary: *direct* = read by what is evaluated itself, not by what that reads in turn.
/// Ownership:  a scope lives on the C++ stack and borrows its listener.
/// Threads:    a scope hears of the evaluations of the thread that opened it, and of no other.
/// Errors:     none. A path that leads nowhere is not told, a name that leads nowhere is.
/// Cost:       without a scope a reference costs one look at a word of the thread.
///
/// Names that are computed come out only here: the literal ones a text tells by itself, see
/// TRK_Manager::forEachReference.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringRef.h>

class TRK_Collection;

/// Hears of references.
class KIT_API TRK_ReferenceListener
{
public:
    virtual ~TRK_ReferenceListener();
    /// The name was read in that collection, as a channel, an alias, or a parameter of its list.
    virtual void referenceRead(const TRK_Collection &collection, const KIT_StringRef &name) = 0;
};

class KIT_API TRK_ReferenceScope
{
public:
    /// Hides the scope that is open on the thread until its own end.
    explicit TRK_ReferenceScope(TRK_ReferenceListener &listener);
    ~TRK_ReferenceScope();
    TRK_ReferenceScope(const TRK_ReferenceScope &) = delete;
    TRK_ReferenceScope &operator=(const TRK_ReferenceScope &) = delete;

private:
    TRK_ReferenceListener *myOuter;
};
