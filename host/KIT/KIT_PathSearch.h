/// \file KIT_PathSearch.h
/// Paths as the application stores them.
///
/// Vocabulary: *scene folder* = where the scene's file lies; the variable $SCN.
/// Threads:    any. The environment may not change at the same time.
/// Errors:     false where nothing was done.

#pragma once

#include <BAS/BAS_API.h>

class KIT_WorkBuffer;

class KIT_API KIT_PathSearch
{
public:
    /// Puts "$SCN" in the place of the scene folder at the start of a path: with the folder "/a/b",
    /// "/a/b/tex.pic" becomes "$SCN/tex.pic" and "/a/bc" stays. Whether it did.
    static bool condenseScn(KIT_WorkBuffer &path);
};
