/// \file DS_SwitcherPrivate.h
/// The folders or items of a record of a dialog command.
///
/// Threads:    one thread at a time.

#pragma once

#include <ZEL/ZEL_ScriptGroup.h>

class DS_Switcher : public ZEL_ScriptGroup
{
public:
    using ZEL_ScriptGroup::ZEL_ScriptGroup;
};
