/// \file STO_FileHistory.h
/// The files used last, by kind of file.
///
/// Vocabulary: *type* = a kind of file, with its number; *formatted name* = the file name with the
///             user's home folder written as "~".
/// Units:      indices from 0, the most recent first.
/// Ownership:  owns the names.
/// Threads:    main thread.
/// Errors:     an unknown type has no entries and accepts none; an index outside gives "".
/// Cost:       at most theMaxEntries names a type; adding moves them.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_Array.h>
#include <KIT/KIT_StringHolder.h>

/// The kinds of files. Stored: append only.
enum STO_FileHistoryType
{
    STO_HISTORY_PICTURE = 1,
    STO_HISTORY_GEOMETRY = 2,
    STO_HISTORY_RAMP = 3,
    STO_HISTORY_CAPTURE = 4,
    STO_HISTORY_CLIP = 5,
    STO_HISTORY_PAINT = 6,
    STO_HISTORY_LUT = 7,
    STO_HISTORY_COMMAND = 8,
    STO_HISTORY_MIDI = 9,
    STO_HISTORY_TEXT = 10,
    STO_HISTORY_I3D = 11,
    STO_HISTORY_CHANNEL = 12,
    STO_HISTORY_ANY = 15, ///< files of no other kind
    STO_HISTORY_SIM = 16,
    STO_HISTORY_SIM_DATA = 17,
    STO_HISTORY_DIRECTORY = 29
};

class KIT_API STO_FileHistoryManager
{
public:
    /// How many names a type keeps; the oldest are removed.
    static constexpr int64_t theMaxEntries = 64;

    STO_FileHistoryManager() = default;

    /// The process's history.
    static STO_FileHistoryManager &getInstance();
    static bool isValidType(int type);

    /// Puts a name first; an existing one moves. Empty names are refused with false.
    bool addFile(STO_FileHistoryType type, const char *name);
    int64_t entries(STO_FileHistoryType type) const;
    const KIT_StringHolder &getFileName(STO_FileHistoryType type, int64_t index) const;
    KIT_StringHolder getFormattedName(STO_FileHistoryType type, int64_t index) const;
    void clear(STO_FileHistoryType type);

private:
    static constexpr int theTypeCount = 30;

    KIT_Array<KIT_StringHolder> myFiles[theTypeCount];
};
