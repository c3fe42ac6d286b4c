/// \file DS_Formatter.h
/// Lays a dialog script out anew: tabs, one keyword a line, aligned menus.
///
/// Vocabulary: *words* = the tokens of a script as they are written, with quotes and backslashes.
/// Units:      lines from 1.
/// Threads:    one thread at a time.
/// Errors:     format() is false, with a sentence, for what has no end or isn't text.
/// Cost:       a few passes over the words.
///
/// Words, comments and directives stay as they are and in their order, so that what is read of the script
/// stays as it was; only blanks and line ends between them change. A word that no grammar knows, as those of
/// macros, stays on its line; so do the texts of `code` and its kin. Formatting a second time changes
/// nothing.
///
/// The text may be a whole script, the contents of one's braces, or what is included in either. It isn't
/// parsed: who wants to know whether it can be read reads it first.

#pragma once

#include <ZEL/ZEL_API.h>

#include <string>
#include <string_view>

struct DS_FormatOptions
{
    /// Puts the keywords of a block in the order of the language's table, with their comments, as far as the
    /// order means nothing. Parameters, folders, directives and words of macros stay where they are, and no
    /// keyword passes them. A script whose braces leave that open keeps its order.
    bool sort = false;
};

class ZEL_API DS_Formatter
{
public:
    explicit DS_Formatter(const DS_FormatOptions &options = {}) : myOptions(options) {}

    /// Replaces `result` by the text laid out; false, with `result` as it was, if it can't be done.
    bool format(std::string_view text, std::string &result);
    /// Why format() was false, and where; 0 is no line.
    const std::string &getFault() const { return myFault; }
    int getFaultLine() const { return myFaultLine; }

private:
    bool layOut(std::string_view text, bool sort, std::string &result);
    bool fail(const std::string &fault, int line);

    DS_FormatOptions myOptions;
    std::string myFault;
    int myFaultLine = 0;
};
