/// \file ZELT_Session.h
/// A scene with what a command works on: the node of a dialog script, or the nodes of a scene or node file; its
/// values and changes.
///
/// Vocabulary: *address* = as in NOD_Address.h.
/// Units:      component indices from 0; times in seconds.
/// Ownership:  owns the scene.
/// Threads:    as NOD_Node: evaluation from any thread, the rest from the one that made it.
/// Errors:     operations on addresses return why they failed, "" for success. Files that are
///             wrong leave messages with the thread's error manager.
#pragma once

#include "ZELT_Script.h"

#include <NOD/NOD_Description.h>
#include <NOD/NOD_FileOptions.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_Scene.h>
#include <NOD/NOD_ValueFile.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

class NOD_Report;
class ZELT_Messages;

/// Some components of a parameter; null for no such parameter.
struct ZELT_Address
{
    ZEL_Parm *parm = nullptr;
    int first = 0; ///< the first component
    int end = 0;   ///< after the last
};

/// What a command offers where not all is carried (NOD_ValueFile::checkCarried).
inline constexpr const char *theZELTLossOffer = "written with --allow-loss only";
inline NOD_LossRule ZELTlossRule(bool allowLossFlag)
{
    return {allowLossFlag, theZELTLossOffer};
}

/// The values and changes of a node, as a command line gives them.
struct ZELT_Inputs
{
    std::vector<std::string> values; ///< files with values, of any kind; "-": standard input
    std::string channels;
    std::vector<std::string> sets;
    std::vector<std::string> expressions;
    std::vector<std::string> keys;
};

/// A node as a command line describes it.
struct ZELT_NodeCall
{
    std::string
        file; ///< a dialog script, or a scene or node file, with "?/PATH" for one of its nodes
    ZELT_Inputs inputs;
    std::string time = "0"; ///< when values are set and read: seconds, or a frame as `12f`
    std::optional<double> framesPerSecond; ///< none: those of the scene
};

/// What a node is an instance of, or a script describes.
struct ZELT_NodeInterface
{
    std::string name; ///< the file, with `?/PATH` behind it where it has several nodes
    std::string path; ///< the node's, "" for a script
    ZELT_ScriptPtr script;
    std::size_t first = 0; ///< which one of all was the first of this interface, from 0
    std::vector<NOD_DescribedParm> spares = {}; ///< parameters of the node alone
};

class ZELT_Session
{
public:
    explicit ZELT_Session(ZELT_ScriptPtr script);
    ~ZELT_Session();
    ZELT_Session(const ZELT_Session &) = delete;
    ZELT_Session &operator=(const ZELT_Session &) = delete;

    /// Reads a script and makes a node of it, or reads a scene; "-" is standard input. Null after a message.
    static std::unique_ptr<ZELT_Session> open(const std::string &file, ZELT_Messages &messages);
    /// The interface of a script, of the node that `file` names, or of each node of a node or scene file, in the
    /// order of the tree; "-" is standard input. None after a message. With `mistakes` all that the scripts have, and
    /// what the reader of nodes says, are added there, else what is read is told; `unread`
    /// returns the text of a script that can't be read.
    static std::vector<ZELT_NodeInterface> openInterfaces(const std::string &file,
                                                          ZELT_Messages &messages,
                                                          NOD_Report *mistakes = nullptr,
                                                          std::string *unread = nullptr);
    /// A node with its values and changes; null after a message if any of them is wrong.
    static std::unique_ptr<ZELT_Session> open(const ZELT_NodeCall &call, ZELT_Messages &messages);

    NOD_Scene &getScene() { return myScene; }
    /// The node, or the root of a scene with several.
    NOD_Node &getNode() { return *myNode; }
    const NOD_Node &getNode() const { return *myNode; }
    ZEL_ParmList &getParms() { return myNode->getParms(); }
    /// The node, or all nodes of a scene that have parameters, in the order of the tree.
    std::vector<NOD_Node *> getNodes();
    /// Whether it is about one node; else a message says how to choose one.
    bool isOneNode(ZELT_Messages &messages) const;
    /// What the call says.
    double getTime() const { return myTime; }
    void addLosses(const std::vector<NOD_FileLoss> &losses);
    /// What the files with values have, and that with nodes, and the nodes haven't. Of the latter its part about the
    /// session's node alone, where that is all that is written.
    std::vector<NOD_FileLoss> getLosses(bool wholeFileFlag = true) const;
    /// Those of one file.
    std::vector<NOD_FileLoss> getLossesOf(const std::string &file) const;
    /// Of the first file with values; none without one.
    const std::optional<NOD_ValueFile::Form> &getInputForm() const { return myInputForm; }
    void noteInput(const NOD_ValueFile &file);

    /// One parameter: a pattern must match no more. Why it is none, "" for success.
    std::string resolve(const std::string &text, ZELT_Address &address);
    /// Writes the whole scene, in the form of the file that was opened unless another is asked for; `out` is the
    /// file that it is for. False after an error in the report.
    bool saveScene(std::ostream &os, const std::string &out,
                   std::optional<NOD_SaveOptions::Form> form, NOD_Report &report);
    /// Brings the items of all blocks up to their counts.
    void growBlocks(double time);

private:
    struct Source;

    ZELT_Session() = default;

    void addNode(ZELT_ScriptPtr script);
    bool openNodes(const std::string &file, const Source &source, ZELT_Messages &messages,
                   NOD_Report *mistakes);
    static bool readSource(const std::string &file, Source &source, ZELT_Messages &messages);
    using Firsts = std::unordered_map<const NOD_Interface *, std::size_t>;
    void addInterfaces(const NOD_Node &node, Firsts &firsts,
                       std::vector<ZELT_NodeInterface> &all) const;
    static ZELT_ScriptPtr loadScript(const std::string &file, const Source &source,
                                     ZELT_Messages &messages, NOD_Report *mistakes);

    std::string myFile; ///< of a scene; "" for a script
    NOD_Scene myScene;
    NOD_Node *myNode = nullptr;
    double myTime = 0.0;
    std::vector<NOD_FileLoss> myLosses;
    std::optional<NOD_ValueFile::Form> myInputForm;
};

/// Reports what the library reported or, without that, the fault; false if there was an error. `file`
/// is the one that it concerns, "" for none.
bool ZELTtakeFault(const std::string &file, const std::string &fault, ZELT_Messages &messages);
/// A node of the script in a scene. It gets no presets: what a command prints depends on its arguments only.
NOD_Node *ZELTaddBareNode(NOD_Scene &scene, const std::string &name, const ZELT_ScriptPtr &script,
                          NOD_Report &report);
/// Files with values, "-" for standard input.
bool ZELTreadValues(NOD_ValueFile &file, const std::string &path, NOD_Report &report);
/// Which scripts a scene or node file may open.
NOD_LoadOptions ZELTloadOptions();
/// Reads and sets all of them at a time, in this order; false if any is wrong.
bool ZELTapplyInputs(ZELT_Session &session, const ZELT_Inputs &inputs, double time,
                     ZELT_Messages &messages);

/// The text of an evaluation's error number, on the thread that evaluated: for a Python expression
/// with the reason, which is the last line of its traceback.
std::string ZELTevaluationError(int error);
