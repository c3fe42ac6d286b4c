/// \file ZEL_ConstantDataPrivate.h
/// ZEL_CONSTANT_DATA before a variable: the compiler verifies that it is constant-initialized in
/// the library's data, without code that runs. Unlike a `constexpr` one, the variable may be
/// changed later.
#pragma once

#if defined(__clang__)
#define ZEL_CONSTANT_DATA [[clang::require_constant_initialization]]
#else
#define ZEL_CONSTANT_DATA __constinit
#endif
