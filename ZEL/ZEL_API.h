/// \file ZEL_API.h
/// The export mark of the library's classes and functions.
///
/// The library is built with hidden symbols: only what carries `ZEL_API` can be used from outside.
#pragma once

#define ZEL_API __attribute__((visibility("default")))
