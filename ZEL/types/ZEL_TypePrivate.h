/// \file ZEL_TypePrivate.h
/// The two elementary types that parameter tables may not use: they appear in published types only.
#pragma once

#include <ZEL/ZEL_Type.h>

extern const ZEL_Type ZEL_TYPE_ICON;     ///< ZEL_PATH_ICON
extern const ZEL_Type ZEL_TYPE_JOIN_EXT; ///< ZEL_INTERFACE_JOIN_EXT
