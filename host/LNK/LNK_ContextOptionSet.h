/// \file LNK_ContextOptionSet.h
/// The set type behind LNK_ContextOptionDeps.h.
///
/// Ownership:  as there. Its memory comes from the allocator of BASfastAllocate().
/// Threads:    added to and iterated over from any thread at once.

#pragma once

#include <BAS/BAS_Allocate.h>
#include <KIT/KIT_StringHolder.h>
#include <LNK/LNK_ContextOptionDeps.h>

#include <functional>
#include <memory>
#include <tbb/concurrent_unordered_set.h>
#include <tbb/tbb_allocator.h>

#ifdef BAS_PLAIN_MALLOC
using LNK_ContextOptionAllocator = std::allocator<KIT_StringHolder>;
#else
using LNK_ContextOptionAllocator = tbb::tbb_allocator<KIT_StringHolder>;
#endif

class LNK_ContextOptionDeps
    : public tbb::concurrent_unordered_set<KIT_StringHolder, KIT_StringRefHash,
                                           std::equal_to<KIT_StringHolder>,
                                           LNK_ContextOptionAllocator>
{};
