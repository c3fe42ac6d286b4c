/// \file ZEL_ParmNameMap.h
/// Saved parameter names and the names to load them as.
///
/// Ownership:  copies the texts.
/// Threads:    one thread at a time.
/// Errors:     null texts are ignored.
/// Cost:       an empty map is one null pointer.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>

#include <memory>
#include <unordered_map>

class ZEL_API ZEL_ParmNameMap
{
public:
    ZEL_ParmNameMap();
    ZEL_ParmNameMap(const ZEL_ParmNameMap &other);
    ZEL_ParmNameMap &operator=(const ZEL_ParmNameMap &other);
    ~ZEL_ParmNameMap();

    /// A later call with the same `from` replaces the name.
    void addMap(const char *from, const char *to);
    /// The name to load as; null without an entry. Valid until the map changes.
    const char *findName(const char *from) const;

private:
    using Names = std::unordered_map<KIT_StringHolder, KIT_StringHolder>;

    std::unique_ptr<Names> myNames;
};
