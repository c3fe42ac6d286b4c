/// \file NOD_ValueFile.h
/// Values for a node from whatever file has them: a parameter stream, a channel file, a preset, a node or a
/// scene. And a node's values in each of these forms.
///
/// Vocabulary: *kind* = what a file is, by its first bytes; *section* = the part of a file with several
///             that is meant, named behind a `?`: a preset's name (`light.idx?Night`), a node's path
///             (`shot.scene?/rig/key`), with `%3F` and the like for other bytes.
/// Ownership:  owns the bytes.
/// Threads:    the thread that changes the node, while nothing evaluates.
/// Errors:     the report has a message with the file for each thing that can't be read or used; all else is.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_FileLoss.h>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class KIT_IStream;
class NOD_Node;
class NOD_Report;
class NOD_Scene;
class NOD_SectionFile;
class ZEL_Parm;

using NOD_ParmTest = std::function<bool(const ZEL_Parm &)>;

enum class NOD_FileKind
{
    NONE,
    SCRIPT,   ///< a dialog script, or another text
    JSON,     ///< of other programs, or a patch
    STREAM,   ///< of parameters, text or binary
    CHANNELS, ///< a collection of channels
    PRESET,   ///< one alone
    PRESETS,  ///< an index file of them
    NODE,
    SCENE
};

class NOD_API NOD_ValueFile
{
public:
    /// A text that is nothing else is a script.
    static NOD_FileKind kindOf(std::string_view start);
    /// By the first 64 KiB; NONE if there is no such file, or it is a pipe or device, which this doesn't read.
    static NOD_FileKind kindOf(const std::string &path);
    /// "a parameter stream" and so on.
    static const char *getKindName(NOD_FileKind kind);
    /// True, with an error, if a file that starts so is another one than a reader is for: of the kind `wanted`, or
    /// that which `words` call it. False for what may be of that kind with a mistake: a text where a script or a
    /// stream is wanted, sections of unknown names where a scene is.
    static bool isOther(std::string_view start, const std::string &name, NOD_FileKind wanted,
                        NOD_Report &report, const char *words = nullptr);
    /// The same of a file; false if there is none, or it is a pipe or device.
    static bool isOtherFile(const std::string &path, NOD_FileKind wanted, NOD_Report &report,
                            const char *words = nullptr);
    /// Whether a file that starts with these bytes is in a binary form: the numbers in front of it have bytes of
    /// zero, which no text has.
    static bool isBinary(std::string_view start);
    /// False if there is no such file.
    static bool isBinaryFile(const std::string &path);
    /// Where the `?` of a section is; npos for none. A file may have a `?` in its name.
    static std::size_t findSection(const std::string &path);
    /// False, with an error, if the bytes go on after what was read from them.
    static bool checkEnd(KIT_IStream &is, const std::string &name, NOD_Report &report);

    // ------------------------------------------------------------------ //
    /// \name In
    // ------------------------------------------------------------------ //
    ///@{
    /// False if there is no such file, or it has no values: a script.
    bool read(const std::string &path, NOD_Report &report);
    /// The same with a file's bytes; `name` is for messages, and may have a section behind it.
    bool read(std::string bytes, const std::string &name, NOD_Report &report);
    NOD_FileKind getKind() const { return myKind; }
    /// Without the section.
    const std::string &getName() const { return myName; }
    /// Of a node or scene file the path of the node that is meant, and of all below it; none after an error.
    std::vector<std::string> findNodes(NOD_Report &report) const;
    /// The version of its type that the node of a node or scene file says it is of (NOD_MigrationMap.h); "" if it
    /// doesn't, and of other files.
    std::string findNodeVersion() const;
    /// Gives the node what is in the file, as one step of undo. A stream and a preset change the parameters
    /// that they have, a channel file the channels; of a node or a scene it is all that NOD_NodeSections.h
    /// names, of the one node that is there or is meant. False if not all could be used, as a stream whose
    /// channels the node hasn't: they are in a file of their own, which comes first.
    bool apply(NOD_Node &node, NOD_Report &report) const;
    /// All of them, up to the first that can't be used. Values may refer to channels, so channel files come first;
    /// a plain value removes its channel, so they come again after the others: what they animate is animated. What a
    /// file has and the node now hasn't, as where anything was reported, is added to `losses`.
    static bool applyAll(const std::vector<NOD_ValueFile> &files, NOD_Node &node,
                         std::vector<NOD_FileLoss> &losses, NOD_Report &report);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Out
    // ------------------------------------------------------------------ //
    ///@{
    enum class Form
    {
        TEXT,    ///< a parameter stream
        BINARY,  ///< the same
        COMPACT, ///< the same, without what has no value to keep
        CHANNELS,
        NODE ///< all of the node, with the nodes below it, as text; paths of scripts as they are from `folder`
    };

    /// `text` and so on.
    static std::vector<std::string> getFormWords();
    /// By its word; false if there is none.
    static bool findForm(std::string_view word, Form &form);
    /// That of the file that was read; of a preset, which is none of them, that of a stream.
    Form getForm() const;
    /// Names of the node's channels that no parameter has: a reference may read them.
    static std::vector<std::string> findStrayChannels(NOD_Node &node);
    /// What the form has no place for: of a channel file, parameters with a value that isn't their default
    /// and no channel; of a stream, stray channels.
    static std::vector<std::string> findLeftOut(NOD_Node &node, Form form);
    /// Whether what is written has all that was loaded and set, or losses are allowed: else false, with an error for
    /// each loss. `losses` are those of applyAll(); a preset has no form, and may be of the parameters that count
    /// alone. save() warns of what isn't told here.
    static bool checkCarried(NOD_Node &node, std::optional<Form> form,
                             const std::vector<NOD_FileLoss> &losses, const NOD_LossRule &rule,
                             NOD_Report &report, const NOD_ParmTest &counts = {});
    /// False, with an error, for what the form can't hold: a stream with such a name isn't written. A
    /// warning each: channels that a stream refers to, what findLeftOut finds, aliases, spare parameters.
    static bool save(NOD_Scene &scene, NOD_Node &node, Form form, std::ostream &os,
                     const std::string &folder, NOD_Report &report);
    ///@}

private:
    bool take(std::string bytes, const std::string &name, std::size_t mark, NOD_Report &report);
    bool applyStream(NOD_Node &node, NOD_Report &report) const;
    bool applyPreset(NOD_Node &node, NOD_Report &report) const;
    bool applyNode(NOD_Node &node, NOD_Report &report) const;
    std::string pickSection(const NOD_SectionFile &file, const char *kind,
                            NOD_Report &report) const;

    NOD_FileKind myKind = NOD_FileKind::NONE;
    std::string myName;
    std::string mySection; ///< "" for none
    std::string myBytes;
};
