/// \file NOD_TreeVersionsPrivate.h
/// Nodes of a file that are of an older version of their type, by the maps of the scene. Not installed.
///
/// Vocabulary: *version* = as in NOD_MigrationMap.h. A node whose version nobody can bring up keeps it, and says it
///             when it is saved.
/// Ownership:  borrows scene and nodes; shares maps and interfaces.
/// Threads:    the thread that owns the nodes.
/// Errors:     a warning for what isn't carried, with its node; the node is then there with all else. The same for an
///             expression of another node that makes something else of it.
#pragma once

#include <NOD/NOD_Node.h>

#include <memory>
#include <string>
#include <vector>

class NOD_Interface;
class NOD_MigrationMap;
class NOD_MigrationWalk;
class NOD_Report;
class NOD_Scene;

/// What the node says when it is saved: the version that it kept, else the last of its type's map, else "".
std::string NODversionToSave(const NOD_Scene &scene, const NOD_Node &node);

class NOD_TreeVersions
{
public:
    explicit NOD_TreeVersions(NOD_Scene &scene) : myScene(scene) {}

    /// The interface that a node is to be made with: that of its version, or the present one. `version` becomes ""
    /// where the node needn't keep it.
    std::shared_ptr<const NOD_Interface> interfaceFor(std::shared_ptr<const NOD_Interface> present,
                                                      std::string &version, std::string &warning);
    /// The node that was made with the interface that was asked for last.
    void made(NOD_Node *node, const std::string &path);
    /// Once all values are there.
    void bringUp(const std::string &file, NOD_Report &report);

private:
    struct Older
    {
        NOD_Node *node = nullptr;
        std::string path;
        std::shared_ptr<const NOD_MigrationMap> map; ///< null: of the present version
        int version = -1;
        std::shared_ptr<const NOD_Interface> present;
    };

    void bringUp(const Older &older, NOD_MigrationWalk &walk, const std::string &file,
                 NOD_Report &report);

    NOD_Scene &myScene;
    Older myNext;
    std::vector<Older> myOlder;
};
