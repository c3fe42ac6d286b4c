/// \file DS_CommandList.h
/// The commands of dialog-command files.
///
/// Units:      indices from 0, in the order in which the files have them.
/// Ownership:  owns its commands.
/// Threads:    one thread at a time.
/// Errors:     a command that can't be read is left out; the stream has its message. The list is
///             never empty: when no command could be read, it holds one that says so.
///
/// A file has a block for each command, optionally preceded by the keyword `command`. Other tokens
/// between the blocks are ignored.

#pragma once

#include <KIT/KIT_Array.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>
#include <memory>

class DS_Command;
class DS_Stream;
class KIT_IStream;

class ZEL_API DS_CommandList
{
public:
    explicit DS_CommandList(const char *file);
    /// Reads an open stream, which includes no files; `name` is the file's in messages and of presets.
    DS_CommandList(KIT_IStream &stream, const char *name);
    /// Reads a stream of the caller's, which has its messages; `name` is the file's of presets.
    DS_CommandList(DS_Stream &stream, const char *name);
    /// Reads several; a null name ends the array.
    explicit DS_CommandList(const char *const *files);
    ~DS_CommandList();
    DS_CommandList(const DS_CommandList &) = delete;
    DS_CommandList &operator=(const DS_CommandList &) = delete;

    int getEntries() const { return int(myCommands.entries()); }
    /// Null outside 0 .. entries - 1.
    DS_Command *getCommand(int index) const
    {
        return myCommands.isValidIndex(index) ? myCommands[index].get() : nullptr;
    }
    /// The first of that name, null if there is none.
    DS_Command *getCommand(const char *name) const;
    /// Its index. 0 if there is none, so that the caller always gets a dialog.
    int findCommand(const char *name) const;
    /// The file read last.
    const KIT_String &getFileName() const { return myFileName; }

    /// On each command.
    void enforceOptions();
    /// Sets the syntax of all commands: 1 RenderMan, 2 shading language, any other plain; 0 changes
    /// nothing.
    void setSyntax(int syntax);

private:
    void load(const char *file);
    void load(DS_Stream &stream);
    void readCommand(DS_Stream &stream, const char *file);
    void defaultEntry();
    std::int64_t find(const char *name) const;

    KIT_Array<std::unique_ptr<DS_Command>> myCommands;
    KIT_String myFileName;
};
