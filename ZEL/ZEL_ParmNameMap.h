/// \file ZEL_ParmNameMap.h
/// Saved parameter names and the names to load them as.
///
/// Ownership:  shares the texts.
/// Threads:    one thread at a time.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>

#include <unordered_map>

class ZEL_API ZEL_ParmNameMap
{
public:
    /// A later entry for the same saved name replaces the earlier one.
    void add(const KIT_StringHolder &savedName, const KIT_StringHolder &loadAs);
    /// The name to load as, or null if the saved name has no entry.
    const KIT_StringHolder *find(const KIT_StringRef &savedName) const;
    bool isEmpty() const { return myNames.empty(); }

private:
    std::unordered_map<KIT_StringHolder, KIT_StringHolder> myNames;
};
