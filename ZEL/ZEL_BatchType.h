/// \file ZEL_BatchType.h
/// What the slots of a batch parameter hold.
#pragma once

/// Stored: append only.
enum ZEL_BatchType : int
{
    ZEL_BATCH_INT = 0,      ///< 32-bit integers
    ZEL_BATCH_REAL = 1,     ///< doubles
    ZEL_BATCH_STRING = 2,   ///< texts, expanded
    ZEL_BATCH_RAWSTRING = 3 ///< texts, raw
};
