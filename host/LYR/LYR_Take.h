/// \file LYR_Take.h
/// A take: a named layer of parameter values, in a tree under the master take.
///
/// Vocabulary: *definition* = the take's own value for a parameter, stored by its data id.
/// Ownership:  owns its children.
/// Threads:    main thread.
/// Errors:     names are not checked for duplicates.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_Array.h>
#include <KIT/KIT_StringHolder.h>

#include <unordered_set>

class KIT_API LYR_Take
{
public:
    explicit LYR_Take(const char *name, LYR_Take *parent = nullptr);
    ~LYR_Take();
    LYR_Take(const LYR_Take &) = delete;
    LYR_Take &operator=(const LYR_Take &) = delete;

    const KIT_StringHolder &getName() const { return myName; }
    void setName(const char *name) { myName = KIT_StringHolder(name); }
    /// Null for the master take.
    LYR_Take *getParent() const { return myParent; }

    /// The children in the order of their creation.
    const KIT_Array<LYR_Take *> &getChildren() const { return myChildren; }
    /// Creates a child at the end.
    LYR_Take *addChild(const char *name);
    /// Destroys a child and all below it; false if it is not a child of this take.
    bool removeChild(LYR_Take *child);
    /// Whether `take` is this take or is below it.
    bool contains(const LYR_Take *take) const;
    /// The take of that name here or below, in depth-first order, or null.
    LYR_Take *find(const char *name);

    bool hasDefinition(const void *dataId) const { return myDefinitions.count(dataId) != 0; }
    void addDefinition(const void *dataId) { myDefinitions.insert(dataId); }
    void removeDefinition(const void *dataId) { myDefinitions.erase(dataId); }

private:
    KIT_StringHolder myName;
    LYR_Take *myParent;
    KIT_Array<LYR_Take *> myChildren;
    std::unordered_set<const void *> myDefinitions;
};
