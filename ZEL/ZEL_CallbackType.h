/// \file ZEL_CallbackType.h
/// What makes a type that of a button.
///
/// Threads:    pure function.
#pragma once

#include <ZEL/ZEL_Type.h>
#include <ZEL/ZEL_TypeConstants.h>

/// Whether the fields from basic to channel equal those of `ZEL_CALLBACK`. The only comparison that ignores the
/// interface and behaviour fields, the others compare all nine.
inline bool ZELisCallbackType(const ZEL_Type &type)
{
    return type.getBasicType() == ZEL_CALLBACK.getBasicType() &&
           type.getFloatType() == ZEL_CALLBACK.getFloatType() &&
           type.getOrdinalType() == ZEL_CALLBACK.getOrdinalType() &&
           type.getStringType() == ZEL_CALLBACK.getStringType() &&
           type.getDataType() == ZEL_CALLBACK.getDataType() &&
           type.getPathType() == ZEL_CALLBACK.getPathType() &&
           type.getChannelType() == ZEL_CALLBACK.getChannelType();
}
