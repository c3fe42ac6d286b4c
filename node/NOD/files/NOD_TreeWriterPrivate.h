/// \file NOD_TreeWriterPrivate.h
/// Nodes with their interfaces as sections. Not installed.
///
/// Vocabulary: *key* = what the nodes of an interface call it in the file: its type name, or that with a
///             number for the second of that name.
/// Ownership:  borrows all it is given.
/// Threads:    the thread that owns the nodes.
#pragma once

#include <NOD/NOD_FileOptions.h>
#include <NOD/NOD_Report.h>
#include <NOD/files/NOD_SectionFilePrivate.h>
#include <NOD/tree/NOD_FreshValuesPrivate.h>

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

class NOD_Node;
class NOD_Scene;
struct NOD_NodeSections;

class NOD_TreeWriter
{
public:
    NOD_TreeWriter(NOD_Scene &scene, std::ostream &os, const NOD_SaveOptions &options,
                   NOD_Report &report);

    /// Whether a reading takes all levels below the node; else there is an error.
    static bool isReadable(NOD_Node &top, NOD_Report &report);
    /// The first section.
    void writeHead(const std::string &name, const std::string &text) { mySections.add(name, text); }
    /// A node and all below it, a node of a parent under the path "/NAME".
    void writeTree(NOD_Node &top);
    /// The last section. Tells if nodes need more memory than a reading gives them.
    void end();

private:
    struct Place
    {
        NOD_Node *node;
        std::string path;
    };

    void collect(NOD_Node &top);
    void nameInterfaces();
    std::string interfaceText(const std::string &key, NOD_Node &node);
    void writeInterfaces();
    void writeNode(const Place &place);
    void write(const std::string &kind, const std::string &path, const std::string &text);
    void take(const NOD_Report &found, const std::string &path);

    NOD_Scene &myScene;
    const NOD_SaveOptions &myOptions;
    NOD_Report &myReport;
    NOD_SectionWriter mySections;
    NOD_FreshValues myFresh;
    std::vector<Place> myPlaces;
    std::unordered_map<const void *, std::string> myKeys;
    std::map<std::string, std::string> myInterfaces; ///< texts by key
    std::int64_t myNodeBytes = 0;
};
