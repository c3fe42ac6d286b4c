/// \file ZEL_ParmListPrivate.h
/// What the sources of the list's streams share. Not installed.
///
/// Threads:    constant data.
#pragma once

#include <ZEL/ZEL_Parm.h>

/// Packet ids of a list's stream. Stored: append only.
enum ZEL_ListPacket
{
    LIST_END = 0,
    LIST_VERSION = 1,
    LIST_PARM = 2
};

/// The class number of those packets.
int ZELlistPacketClass();

constexpr float theListFileVersion = 0.8f;

constexpr const char *theListSaveLabel = "Parameter List Save";
constexpr const char *theListLoadLabel = "Parameter List Load";

/// Parameters of an unknown basic type have no instance and no entry.
inline bool isSaved(const ZEL_Parm *parm)
{
    return parm && parm->getInstance();
}
