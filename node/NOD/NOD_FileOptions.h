/// \file NOD_FileOptions.h
/// How scene and node files are written, and what reading one may open.
///
/// Ownership:  owns its texts.
/// Threads:    plain values.
#pragma once

#include <NOD/NOD_API.h>

#include <map>
#include <memory>
#include <string>

class NOD_Interface;

struct NOD_API NOD_SaveOptions
{
    enum class Form
    {
        TEXT,  ///< for people and version control
        BINARY ///< the same, smaller and faster; docs/scene-files.md has both
    };
    enum class Values
    {
        ALL,
        CHANGED ///< those that differ from a new node's; they change where the interface's defaults do
    };
    enum class Interfaces
    {
        AS_MADE, ///< scripts of files by their paths, texts as texts, the application's by their names
        AS_TEXTS ///< all in the file, as dialog scripts
    };

    Form form = Form::TEXT;
    Values values = Values::ALL;
    Interfaces interfaces = Interfaces::AS_MADE;
    /// The folder that paths of scripts below it are relative to: that of the file. Needed only where a
    /// stream is written; without it the paths are absolute.
    std::string folder;
};

struct NOD_API NOD_LoadOptions
{
    enum class Scripts
    {
        ANYWHERE, ///< scripts of interfaces are opened wherever the file says they are
        IN_FOLDER, ///< those in the file's folder and below, links followed, and what they include there
        NONE ///< no script is read: types that the file leaves to the application have parameters
    };

    /// Descriptions of spare parameters are read in any case, and include nothing. For files of strangers
    /// IN_FOLDER or NONE, and SNKsetPythonEnabled(false). Reading a file runs nothing
    /// in any case but what docs/security.md says of values.
    Scripts scripts = Scripts::ANYWHERE;
    /// Memory that nodes may take beside what grows with the file's length, in 1,048,576 bytes: of a file
    /// of one's own as much as it needs. 0: as docs/security.md says.
    int nodeMegabytes = 0;
    /// As in NOD_SaveOptions, where a stream is read; without it relative paths are of the current folder.
    std::string folder;
    /// What interfaces of the file are, by the names that its sections have for them: these aren't read.
    std::map<std::string, std::shared_ptr<const NOD_Interface>> interfaces;
};
