/// \file ZEL_SharedNames.h
/// The names that parameters of many nodes share, ZELangleName to ZELzExpName.
///
/// ZEL_SharedNames.def lists them by topic, each with its token and label. A template array takes
/// their addresses: `ZEL_Template(ZEL_FLT, 1, &ZELangleName, ZELzeroDefaults, nullptr,
/// &ZELangleRange)`.
///
/// Ownership:  statics that borrow literals; templates borrow them.
/// Threads:    built when the library is loaded, read-only from then on.
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Name.h>

#define ZEL_SHARED_NAME(symbol, token, label) extern ZEL_API ZEL_Name symbol;
#include <ZEL/ZEL_SharedNames.def>
#undef ZEL_SHARED_NAME

/// The labels of a node's inputs: "label1" to "label6".
extern ZEL_API ZEL_Name ZELinputLabelNames[6];
