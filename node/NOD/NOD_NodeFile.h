/// \file NOD_NodeFile.h
/// A node with all below it in one file, to be added to any scene.
///
/// Ownership, threads, errors, cost: as NOD_SceneFile.h.
///
/// References among the nodes of the file lead to each other wherever the node is added; what leads elsewhere
/// is as it was written.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_FileOptions.h>

#include <iosfwd>
#include <string>

class NOD_Node;
class NOD_Report;
class NOD_Scene;

class NOD_API NOD_NodeFile
{
public:
    /// As NOD_SceneFile::save. Not for the root.
    static bool save(NOD_Scene &scene, NOD_Node &node, const std::string &path,
                     const NOD_SaveOptions &options, NOD_Report &report);
    static bool save(NOD_Scene &scene, NOD_Node &node, std::ostream &os,
                     const NOD_SaveOptions &options, NOD_Report &report);

    /// The last child of `parent`, under its name or the first after it that is free
    /// (NOD_Scene::freeName). Null if there is no node of that file to be added.
    static NOD_Node *load(NOD_Scene &scene, NOD_Node &parent, const std::string &path,
                          const NOD_LoadOptions &options, NOD_Report &report);
    static NOD_Node *load(NOD_Scene &scene, NOD_Node &parent, std::istream &is,
                          const std::string &name, const NOD_LoadOptions &options,
                          NOD_Report &report);
};
