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

/// Which of the keys beside a time is meant.
enum class ZEL_KeyDirection
{
    PREVIOUS,
    NEXT
};

/// Whether the first time comes after the second on the way from a time to its neighbour.
inline bool ZELisFurther(ZEL_KeyDirection direction, double first, double second)
{
    return direction == ZEL_KeyDirection::NEXT ? first > second : first < second;
}
