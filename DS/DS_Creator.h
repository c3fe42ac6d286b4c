/// \file DS_Creator.h
/// Writes a dialog script from what a DS_ParmReader supplies.
///
/// Vocabulary: *group* = a folder, named by a path with slashes. *record* = a DS_ParmInfo. *script
///             form* = a text as it stands in a script, quotes and escapes included.
/// Units:      an indent of level n is n + 1 steps of four columns, two steps to a tab.
/// Ownership:  borrows the reader and the stream, which must outlive their use. A copy has the
///             reader and the texts but no open output, so that the trailer is written once.
/// Threads:    one writer at a time in the whole process: the open groups, the indent and the buffer
///             of escapes are shared.
/// Errors:     none of its own; a failed write shows in the stream's state. Without an open output
///             nothing is written.
///
/// The writer covers less than the reader. This is kept, because scripts are compared as text and
/// their readers rely on the form:
///
///     name, label          of a parameter, the label of a group, conditions, lines of a menu script
///                          and input labels are written as they are: to be readable again they
///                          must be in script form
///     group                is the only keyword for folders; their names are generated: g0, g1 ...
///     type                 of a parameter with a menu is integer, buttonstrip or string
///     size                 isn't written if there is a menu
///     default              a text with a meaning lacks its closing quote
///     disablewhen          given as records has no operators
///     help                 braces in a line count when the block is read again
///     never written        nocookwhen, required, obsolete, experimental, logarithmic, baseparm,
///                          menumini, menujoin, usetokenvalue, blocks of items

#pragma once

#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <ZEL/ZEL_API.h>

#include <iosfwd>

class DS_HandleBinding;
class DS_ParmInfo;
class DS_ParmReader;
class DS_SelectorBinding;

class ZEL_API DS_Creator
{
public:
    /// A null `creator` is "DScreator".
    DS_Creator(DS_ParmReader &reader, const char *creator);
    DS_Creator(const DS_Creator &other);
    DS_Creator &operator=(const DS_Creator &) = delete;

    // ---------------------------------------------------------------- //
    /// \name For derived classes   (called while a script is written; they write to myOutput)
    // ---------------------------------------------------------------- //
    /// Writes the trailer of this class if an output is open.
    virtual ~DS_Creator();
    /// Lines of the application's own after name, script and label. Base: none.
    virtual void writeContextSpecific();
    /// Whether the reader's info text is written. Base: 1.
    virtual int writeInfo();
    /// What precedes the dialog. Base: a comment with the creator, the source and the time.
    virtual void writeHeader(const char *creator, const char *source);
    /// What follows the last dialog. Base: nothing.
    virtual void writeTrailer(const char *creator, const char *source);

    // ---------------------------------------------------------------- //
    /// \name Writing   (all return 1)
    // ---------------------------------------------------------------- //
    /// Ends the open output with its trailer and opens this one.
    int openOutput(std::ostream &os);
    /// Ends the open output.
    int closeOutput();
    /// Lets the reader fill its records.
    int prepareToWriteOutput();
    /// Writes the dialog; any number of times.
    int writeOutput();
    /// A text to write instead of all parameters; null or "" for none.
    void setParmDSOverride(const char *text) { myParmOverride.harden(text); }

    /// A text to write in the header in place of the time, so that every run writes the same; null for
    /// the time.
    void setStamp(const char *text) { myStamp.harden(text); }

    // ---------------------------------------------------------------- //
    /// \name Pieces
    // ---------------------------------------------------------------- //
    /// Writes one parameter's block, indented by the open groups; nothing for an array.
    static void printParm(std::ostream &os, const DS_ParmInfo &info);
    /// The same to the standard error stream.
    static void dumpParm(const DS_ParmInfo *info);
    /// The indent of a line of that level; valid until the next call.
    static const char *getIndent(int level);
    /// Old grouping iterates over the group names, new grouping (the default) over the parameters
    /// in their order. Old grouping writes parameters without a group into the last group.
    /// Process-wide: set it before starting threads.
    static bool getUseOldGrouping() { return theUseOldGroupingFlag; }
    static void setUseOldGrouping(bool on) { theUseOldGroupingFlag = on; }
    /// The keywords of the export levels 0, 1 and 2.
    static const char *const theToolboxLabels[3];

protected:
    DS_ParmReader &myReader;
    KIT_String myCreatorName;
    std::ostream *myOutput = nullptr;
    KIT_String myParmOverride;
    KIT_String myStamp; ///< unset: the time

private:
    void endOutput();
    void writeMetaInfo(std::ostream &os);
    void printHelp(std::ostream &os);
    void printInfo(std::ostream &os);
    void writeUnboundSelectors(std::ostream &os);
    void writeReservedSelectors(std::ostream &os);
    void writeHandles(std::ostream &os, const char *keyword, bool reserved);
    void writeInputLabels(std::ostream &os);
    void writeParms(std::ostream &os);
    int writeGrouped(std::ostream &os, int &groupCount);
    void writePages(std::ostream &os, int &groupCount);

    static void startGroup(std::ostream &os, int &groupCount, const char *path);

    static KIT_StringArray theGroupStack;
    static bool theUseOldGroupingFlag;
};
