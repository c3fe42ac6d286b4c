/// \file NOD_SceneFile.h
/// A scene in one file: its time, variables, interfaces and all its nodes.
///
/// Vocabulary: *section* = a named part of the file: "scene", "interface TYPE", "node PATH", "values PATH" and
///             so on; docs/scene-files.md describes all.
/// Ownership:  borrows scene, streams and report.
/// Threads:    the thread that changes the scene, while nothing evaluates.
/// Errors:     the report has a message with file, section and line for each thing that can't be written
///             or read; all else is. The results say whether there is a file, or was a scene in it;
///             NOD_Report::hasErrors() whether something was left out.
/// Cost:       linear in the scene, or in the file and the nodes in it. The memory of both is limited, as
///             docs/security.md says: a file counts as one input.
///
/// Equal scenes have equal bytes, whatever their history. What was loaded of a saved file is saved to the
/// same bytes again, in either form. A node of a type that nobody knows here is there without parameters and
/// keeps its sections, and so are sections kept that this version doesn't know: saving writes them again.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_FileOptions.h>

#include <iosfwd>
#include <string>

class NOD_Report;
class NOD_Scene;

class NOD_API NOD_SceneFile
{
public:
    /// Replaces the file at once or, after an error, leaves it as it was; false then. A scene with more
    /// levels than a reading takes isn't saved; one whose nodes need more memory than a reading with
    /// options of their defaults gives them is, with a warning.
    static bool save(NOD_Scene &scene, const std::string &path, const NOD_SaveOptions &options,
                     NOD_Report &report);
    /// False after a failed write.
    static bool save(NOD_Scene &scene, std::ostream &os, const NOD_SaveOptions &options,
                     NOD_Report &report);

    /// Everything in the scene but its interfaces is replaced. False if there is no such file or it is
    /// none of a scene; the scene is then as it was.
    static bool load(NOD_Scene &scene, const std::string &path, const NOD_LoadOptions &options,
                     NOD_Report &report);
    /// `name` is for messages.
    static bool load(NOD_Scene &scene, std::istream &is, const std::string &name,
                     const NOD_LoadOptions &options, NOD_Report &report);
};
