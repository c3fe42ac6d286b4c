/// \file NOD_NodeSections.h
/// All that a user has made of one node, as named texts: for files, and to bring back a node that was
/// removed.
///
/// Vocabulary: *canonical order* = fixed parameters in the order of their descriptions, then the spare ones
///             in the order of their set, the items of a block right behind it. It doesn't depend on the
///             node's history, so that equal nodes have equal sections. *kept* = a section that nobody
///             knows here, see NOD_Node::keepSections.
/// Ownership:  owns its texts; may outlive the node.
/// Threads:    the thread that owns the node.
/// Errors:     the report has the section as its subject, with the parameter where there is one: nothing
///             that can't be written or read is silent. std::bad_alloc is thrown without memory.
/// Cost:       linear in the node; one with blocks is loaded twice, as items must be there before their
///             channels.
///
/// Not in the sections are overrides, flags of an application's, labels and colours of a process, and
/// what the application tells a node: callbacks, renames, known spare templates.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Node.h>

#include <map>
#include <string>
#include <string_view>

class NOD_FreshValues;
class NOD_Report;

struct NOD_API NOD_NodeSections
{
    enum class Form
    {
        TEXT,
        BINARY ///< the values only: the others are texts in either form
    };

    std::string type; ///< "" for a node without one
    std::string
        version; ///< of the type, as a file says it (NOD_MigrationMap.h); load() doesn't look at it
    std::map<std::string, std::string> variables; ///< the node's own
    std::string spares;   ///< a dialog script of the spare parameters' descriptions
    std::string channels; ///< as TRK_Collection::save
    std::string values;   ///< as ZEL_ParmList::save; binary if it begins with a byte of 0
    std::string aliases;  ///< as ZEL_ParmList::saveChannelAliases
    NOD_Node::Sections kept;

    /// The text of a section's kind, "values" and so on; null for one that isn't among these.
    std::string *findText(std::string_view kind);

    /// What the node is like now. Sections without content are empty. With `fresh`, which learns what
    /// nodes of each interface begin with, the values are only those that differ from it. Values with a
    /// name that the text form can't hold are binary in either form.
    static NOD_NodeSections take(NOD_Node &node, Form form, NOD_Report &report,
                                 NOD_FreshValues *fresh = nullptr);
    /// Gives it all to a node of the same interface: what isn't in the sections, the node is without
    /// afterwards, but values keep what they have. So for values that were cut down to what differs, the
    /// node must be a new one, made while ZEL_ParmList::isLoading: without presets.
    void load(NOD_Node &node, NOD_Report &report) const;
    /// Loads what a node kept while its type was missing. The rest stays kept.
    static void loadKept(NOD_Node &node, NOD_Report &report);
};

/// The parameters of a node in canonical order, once the counts of its blocks are as their values say.
NOD_API std::vector<const ZEL_Parm *> NODparmsInOrder(ZEL_ParmList &parms);
