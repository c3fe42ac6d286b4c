/// \file ZEL_InstancePrivate.h
/// What the sources of the instance share. Not installed.
///
/// Ownership:  plain values.
#pragma once

#include <KIT/KIT_Color.h>
#include <ZEL/ZEL_Instance.h>

/// A component's custom channel colour.
struct ZEL_Instance::ColorRecord
{
    KIT_Color color = KIT_Color::theNoColor;
    bool set = false;
};
