/// \file ZEL_ParmListPrivate.h
/// What the sources of the list's streams share. Not installed.
///
/// Threads:    constant data.
#pragma once

#include <ZEL/ZEL_Parm.h>

#include <string_view>

/// Packet ids of a list's stream. Stored: append only.
enum ZEL_ListPacket
{
    LIST_END = 0,
    LIST_VERSION = 1,
    LIST_PARM = 2,
    LIST_TEXT = 14 ///< a parameter as its text; the ids between are free
};

/// The class number of those packets.
int ZELlistPacketClass();

constexpr float theListFileVersion = 0.8f;

/// Words of the text form.
constexpr char theListComment = '#';
constexpr std::string_view theListEnd = "}";

/// Whether it is one word, and not the end.
bool ZELisOneWord(std::string_view name);
/// Whether it is read back from the text form as one name: it begins no comment either.
bool ZELisTextName(std::string_view name);

constexpr const char *theListSaveLabel = "Parameter List Save";
constexpr const char *theListLoadLabel = "Parameter List Load";

/// Parameters of an unknown basic type have no instance and no entry.
inline bool isSaved(const ZEL_Parm *parm)
{
    return parm && parm->getInstance();
}
