/// \file NOD_TreeReaderPrivate.h
/// Nodes with their interfaces from sections. Not installed.
///
/// Vocabulary: *key* = as in NOD_TreeWriterPrivate.h. *place* = a node and its path in the file.
/// Ownership:  borrows all it is given.
/// Threads:    the thread that owns the nodes.
/// Errors:     each section that can't be used, or not whole, has a message.
#pragma once

#include <NOD/NOD_FileOptions.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Report.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <NOD/files/NOD_SectionFilePrivate.h>
#include <NOD/files/NOD_TreeLimitsPrivate.h>
#include <NOD/files/NOD_TreeVersionsPrivate.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class NOD_Interface;
class NOD_Scene;
struct NOD_NodeSections;

class NOD_TreeReader
{
public:
    using Section = NOD_SectionFile::Section;

    NOD_TreeReader(NOD_Scene &scene, const NOD_SectionFile &file, const std::string &name,
                   const NOD_LoadOptions &options, NOD_Report &report);

    /// The section and marks it as used; null if there is none.
    const Section *use(const std::string &name);
    void error(const Section &section, int line, const std::string &text);
    void warning(const Section &section, int line, const std::string &text);
    /// A line of a version: false, with a message, if it is a newer one.
    bool checkVersion(const Section &section, const NOD_Line &line);

    void readInterfaces();
    /// Those of the file by key, null where there is none.
    const std::map<std::string, std::shared_ptr<const NOD_Interface>> &getInterfaces() const
    {
        return myInterfaces;
    }
    /// All nodes of the file below `above`, whose path in the file is "/". Of a part there is one at
    /// the top, which gets a free name.
    void readNodes(NOD_Node &above, bool isPart);
    /// The sections that nobody has used.
    void readRest();
    /// By its path in the file; null if there is none.
    NOD_Node *find(const std::string &path) const;
    /// The name that the file's top node has there; "" without one.
    const std::string &getTopName() const { return myTopName; }
    /// The nodes that were made, parents first.
    const std::vector<NOD_Node *> &getNodes() const { return myNodes; }

private:
    struct Missing
    {
        const Section *section;
        int nodes;
    };

    void add(KIT_ErrorSeverity severity, const Section &section, int line, const std::string &text);
    std::shared_ptr<const NOD_Interface> readInterface(const std::string &key,
                                                       const Section &section);
    bool maySet(const std::shared_ptr<const NOD_Interface> &present) const;
    std::shared_ptr<const NOD_Interface> readScript(const Section &section,
                                                    const std::string &path);
    std::shared_ptr<const NOD_Interface> findInterface(const std::string &key);
    void keepInterface(const Section &section, const std::string &path);
    NOD_Node *makeNode(const Section &section, const std::string &path, NOD_Node &above,
                       bool isPart, NOD_NodeSections &head);
    NOD_Node *findParent(const Section &section, const std::string &path, bool isPart);
    NOD_NodeSections readHead(const Section &section);
    bool isAllowed(const Section &section, std::int64_t bytes);
    void readNode(const std::string &path, NOD_Node &node, NOD_NodeSections sections);
    void take(const NOD_Report &found, const std::string &path);

    NOD_Scene &myScene;
    const NOD_SectionFile &myFile;
    const std::string &myName;
    const NOD_LoadOptions &myOptions;
    NOD_Report &myReport;
    std::unordered_map<std::string, std::size_t> myByName;
    std::vector<bool> myUsedFlags;
    std::int64_t myRoom; ///< bytes that nodes may still take
    std::unordered_map<const NOD_Interface *, NOD_NodeBytes> myBytes; ///< of the first node of each
    std::map<std::string, std::shared_ptr<const NOD_Interface>> myInterfaces; ///< by key
    std::map<std::string, std::shared_ptr<const NOD_Interface>> myScripts;    ///< by path
    std::map<std::string, Missing> myMissing;                                 ///< by key
    NOD_Node::Sections myKept;                                                ///< the scene's
    std::unordered_map<std::string, NOD_Node *> myByPath;
    std::vector<NOD_Node *> myNodes;
    std::string myTopName;
    /// Further messages have a line alone: the text of each place is looked for.
    static constexpr int theMostDetails = 1000;
    int myDetails = 0;
    NOD_TreeVersions myVersions;
};
