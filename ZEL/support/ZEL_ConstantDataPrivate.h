/// \file ZEL_ConstantDataPrivate.h
/// ZEL_CONSTANT_DATA in front of a variable: the compiler proves that it lies in the library's data as
/// it is, and no code runs to make it. Unlike `constexpr`, the variable may be changed later.
#pragma once

#if defined(__clang__)
#define ZEL_CONSTANT_DATA [[clang::require_constant_initialization]]
#else
#define ZEL_CONSTANT_DATA __constinit
#endif
