/// \file ZEL_InstanceMatchPrivate.h
/// Whether a name matches a pattern with `#`, and for which item: the inverse of
/// ZEL_InstanceString.h. Not installed.
///
/// Threads:    any.
/// Cost:       none for a name that differs before the first `#`; else as documented at
///             `ZEL_Template::matchMultiInstance`, which forwards to it.
#pragma once

#include <KIT/KIT_ValArray.h>

bool ZELmatchInstance(const char *name, const char *pattern, int startOffset, int &instance,
                      const KIT_ValArray<int> *instances);
