/// \file KIT_Prime.h
/// Prime sizes for hash tables.

#pragma once

#include <BAS/BAS_API.h>

#include <cstddef>

/// The least prime that is not less than `wanted`; 2 for 0 and 1. A `wanted` above the greatest
/// prime of the type gives that prime. Costs up to the square root of the number.
KIT_API size_t KITbumpAllocToPrime(size_t wanted);
