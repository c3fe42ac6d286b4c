/// \file NOD_Document.h
/// A file, or a node or scene in memory, as the records that are compared, and back.
///
/// Vocabulary: *exact* = to be written again to the same bytes, as a patch needs it. Else what it means is read: a
///             stream is completed by what a new node of its interface has, and menu entries are tokens.
/// Ownership:  owns its records and what they are read from.
/// Threads:    one thread at a time; of a node or scene, the one that owns it.
/// Errors:     false, after an error in the report with the file.
/// Cost:       of a file, a pass over its bytes: the nodes of a scene are taken apart once they are looked at.
///
/// Of a script, an exact document has its text, statement by statement, with comments and blanks; else what it declares
/// is read. In other files comments, and the blanks that people write between words, aren't kept. A part of a file that
/// can't be taken apart is compared as the text it is.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Conflict.h>
#include <NOD/NOD_FileLoss.h>
#include <NOD/NOD_FileOptions.h>
#include <NOD/NOD_Record.h>
#include <NOD/NOD_ValueFile.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

class NOD_Interface;
class NOD_Node;
class NOD_NodeRecords;
class NOD_Report;
class NOD_Scene;

struct NOD_API NOD_DocumentOptions
{
    bool isExact = false;
    /// That a stream, channel file or preset is of; null knows no parameters: values are the words they are.
    std::shared_ptr<const NOD_Interface> interface;
    /// Of nodes whose interfaces a scene file leaves to the application, by their type names.
    std::map<std::string, std::shared_ptr<const NOD_Interface>> interfaces;
    NOD_LoadOptions load; ///< of scene and node files; its `scripts` also of what a script includes
    /// A file of any kind is what it makes of a node of the interface.
    bool asNode = false;
};

class NOD_API NOD_Document
{
public:
    NOD_Document();
    ~NOD_Document();
    NOD_Document(NOD_Document &&other) noexcept;
    NOD_Document &operator=(NOD_Document &&other) noexcept;

    // ------------------------------------------------------------------ //
    /// \name In
    // ------------------------------------------------------------------ //
    ///@{
    /// A file of any kind, a dialog script too, whose braces and quotes must be sound. `?NAME` or `?/PATH` behind the path means a
    /// part, as in NOD_ValueFile.h.
    bool read(const std::string &path, const NOD_DocumentOptions &options, NOD_Report &report);
    /// The same of a file's bytes; `name` is for messages, and has the part behind it.
    bool read(std::string bytes, const std::string &name, const NOD_DocumentOptions &options,
              NOD_Report &report);
    /// All that a user has made of a node.
    void take(NOD_Node &node, bool isExact, NOD_Report &report);
    bool take(NOD_Scene &scene, bool isExact, NOD_Report &report);
    /// What it declares, which can't be written again.
    void take(const NOD_Interface &interface);
    NOD_FileKind getKind() const { return myKind; }
    bool isBinary() const { return myBinaryFlag; }
    const NOD_Record &getTop() const { return *myTop; }
    /// What of the file isn't in the records, and so not in what is written.
    const std::vector<NOD_FileLoss> &getLosses() const { return myLosses; }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Out   (of an exact one)
    // ------------------------------------------------------------------ //
    ///@{
    /// Another state of what was read, such as NOD_Difference::apply() makes of it.
    void setTop(std::unique_ptr<NOD_Record> top);
    /// The bytes of the file in the form that was read; a stream or a channel file also in the other one. False, with an error, for what such a file
    /// can't have.
    bool write(std::string &bytes, NOD_Report &report) const;
    bool write(std::string &bytes, bool binary, NOD_Report &report) const;
    /// As the first one, with conflicts as comments in front of what they are about: in the text of a stream and in a
    /// script. Comments that wouldn't be read as such are left out.
    bool write(std::string &bytes, const std::vector<NOD_Conflict> &notes,
               NOD_Report &report) const;
    /// Gives a node the state, as one step of undo.
    bool give(NOD_Node &node, NOD_Report &report);
    /// The same of a scene: nodes stay the objects that they are, renamed and moved ones too, and those that differ are
    /// edited. Interfaces that the scene's nodes have aren't read again; the options are for others. The current
    /// time follows, too, but is no part of the step. False with the scene as it was, but within an open block with what was
    /// done until the error.
    bool give(NOD_Scene &scene, const NOD_LoadOptions &options, NOD_Report &report);
    ///@}

private:
    bool readStream(const std::string &bytes, const std::string &name,
                    const NOD_DocumentOptions &options, NOD_Report &report);
    bool readAsNode(const std::string &bytes, const std::string &name,
                    const NOD_DocumentOptions &options, NOD_Report &report);
    bool readPresets(const std::string &bytes, const std::string &name, const std::string &section,
                     const NOD_DocumentOptions &options, NOD_Report &report);
    bool choose(const std::string &section, const std::string &name, NOD_Report &report);
    bool writeText(std::string &bytes, NOD_Report &report) const;
    bool writeChannels(bool binary, std::string &bytes, NOD_Report &report) const;
    bool writeAny(bool binary, std::string &bytes, NOD_Report &report) const;
    bool isReadAgain(const std::string &bytes, NOD_Report &report) const;
    bool readScene(std::string bytes, const std::string &name, const std::string &section,
                   const NOD_DocumentOptions &options, NOD_Report &report);
    bool readScript(const std::string &bytes, const std::string &name, NOD_Report &report);

    NOD_DocumentOptions myOptions;
    NOD_FileKind myKind = NOD_FileKind::NONE;
    bool myBinaryFlag = false;
    bool myTakenApartFlag = false; ///< a text of which the records have all
    std::unique_ptr<NOD_Record> myTop;
    std::vector<NOD_FileLoss> myLosses;
    std::shared_ptr<NOD_NodeRecords> myNodes;
};
