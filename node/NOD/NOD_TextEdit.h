/// \file NOD_TextEdit.h
/// Edits as people write them, on a command line or a terminal: an address, and a value as text.
///
///     NOD_Report report;
///     NOD_TextEdit edit(node, 0.0, report);
///     edit.assign("up=0 1 0");
///     edit.assignKey("tx@12f=2.5");
///     edit.assignExpression("lw*=2 * ch(\"intensity\")");
///
/// Vocabulary: *address* = as in NOD_Address.h.
/// Units:      components from 0. Time in seconds, or as NOD_TimeText.h has it where it is a text.
/// Ownership:  borrows node and report.
/// Threads:    the thread that changes the tree, while nothing evaluates.
/// Errors:     false, after an error in the report: no such thing, a locked or protected component, a text
///             that is no value of it: no number, an infinite one, no entry of the menu, more than 1 of a toggle.
///             A number that a range or a whole number changes is a warning with what it became. Of several places those before the fault keep their edit.
///             What expressions and texts can't evaluate is no fault here.
/// Cost:       limits of ZEL_InputBudget hold, as for a file: a count of items comes from outside.
///
/// Each call is a step of the tree's undo (NOD_Edit.h), or part of an open block.
#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <NOD/NOD_API.h>
#include <NOD/NOD_Address.h>
#include <TRK/TRK_Types.h>

#include <string>
#include <string_view>
#include <vector>

class NOD_Edit;
class NOD_Node;
class NOD_Report;
class ZEL_Parm;
struct NOD_EditFault;

class NOD_API NOD_TextEdit
{
public:
    /// Values and expressions are set at the time. Addresses without a path are the node's.
    NOD_TextEdit(NOD_Node &node, double time, NOD_Report &report);

    // ------------------------------------------------------------------ //
    /// \name Address and text
    // ------------------------------------------------------------------ //
    ///@{
    /// By the kind of the parameter: a number, the token of an entry of the menu, `on` or `off` of a toggle, a
    /// JSON object of a dictionary, or the text of a string as it is. All components get it; of a vector of
    /// numbers it may also be as many values, with blanks between them. What an expression drives is
    /// replaced, a curve between keys gets a pending value.
    bool set(const std::string &address, const std::string &value);
    /// One that can't be read is set all the same, and a warning tells what is wrong and where.
    bool setExpression(const std::string &address, const std::string &text,
                       TRK_ExprLanguage language = TRK_LANGUAGE_NATIVE);
    /// A key with a straight line to the next; of a string, its text up to the next. The values are as for set().
    bool key(const std::string &address, double time, const std::string &value);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name In one text
    // ------------------------------------------------------------------ //
    ///@{
    bool assign(const std::string &text); ///< `ADDRESS=VALUE`
    bool assignExpression(
        const std::string &text);            ///< `ADDRESS=TEXT`; one that can't be read is an error
    bool assignKey(const std::string &text); ///< `ADDRESS@TIME=VALUE`
    ///@}

private:
    bool setExpression(const std::string &address, const std::string &text,
                       TRK_ExprLanguage language, KIT_ErrorSeverity unreadable);
    template <class Run>
    bool within(const std::string &text, const Run &run);
    bool fail(const NOD_EditFault &fault, const std::string &value);
    template <class Apply>
    bool forEach(const char *what, const std::string &address, const std::string &value,
                 const Apply &apply);

    NOD_Node &myNode;
    double myTime;
    NOD_Report &myReport;
};

/// The words of a component's numbers, from 0 on, as NOD_TextEdit takes them: the tokens of its menu, which is
/// made if a script makes it, or `off` and `on` of a toggle. None for other kinds, and where a pick is a bit.
NOD_API std::vector<std::string> NODordinalWords(const ZEL_Parm &parm);

/// Brings the items of all blocks of the node up to their counts at a time, under the limits of an input.
NOD_API void NODgrowBlocks(NOD_Node &node, double time);
