/// \file ZEL_SharedDefaults.h
/// The defaults that parameters of many nodes share: objects and arrays, ZELzeroDefaults to
/// ZELinputLabelDefaults.
///
/// ZEL_SharedDefaults.def lists them by kind, each with its numbers and texts. A name in the plural
/// is an array, with one entry for each component. An array named after a number repeats it: 16
/// zeros, 12 of the others; a longer parameter needs an array of its own.
///
/// Ownership:  constant data, complete before any code runs; templates borrow it.
/// Threads:    read only.
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Default.h>

#define ZEL_DEFAULT_FILL(symbol, count, value) extern ZEL_API ZEL_Default symbol[count];
#define ZEL_DEFAULT_ARRAY(symbol, count, ...) extern ZEL_API ZEL_Default symbol[count];
#define ZEL_DEFAULT(symbol, value, text) extern ZEL_API ZEL_Default symbol;
#include <ZEL/ZEL_SharedDefaults.def>
