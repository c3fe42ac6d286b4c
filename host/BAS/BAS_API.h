/// \file BAS_API.h
/// The export mark of the host library.
///
/// Vocabulary: *exported* = seen by programs that link the shared library; everything else is built
///             with hidden visibility.

#pragma once

/// Marks a class or function of the host library as exported.
#define KIT_API __attribute__((visibility("default")))
