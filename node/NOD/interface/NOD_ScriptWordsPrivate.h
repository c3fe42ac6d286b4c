/// \file NOD_ScriptWordsPrivate.h
/// What each keyword of dialog scripts is followed by, from the table of the readers.
///
/// Threads:    immutable.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct NOD_ScriptWord
{
    /// What follows the keyword.
    enum Form
    {
        ALONE,
        NUMBER,    ///< a number, if there is one
        WORD,      ///< a text
        CONDITION, ///< a text, or a block of blocks
        TEXT,      ///< a text, in braces or not
        BLOCK,     ///< a block of texts
        PAIRS,     ///< a block of a name and a value
        MENU,
        LINES,  ///< a block with blocks in it
        PARM,   ///< a parameter's block
        PAGE,   ///< a page's block
        SKIPPED ///< some texts, and after them a block if `blockFlag` is set
    };

    const char *word;
    Form form;
    int count = 0; ///< of texts that are skipped
    bool blockFlag = false;
};

/// The keyword of a parameter's block, or of a page; null if it is none.
const NOD_ScriptWord *NODfindScriptWord(std::string_view word, bool inParm);
/// All of them, for those who look for the nearest.
const std::vector<std::string> &NODgetScriptWords(bool inParm);
const std::vector<std::string> &NODgetScriptTypeWords();
/// The words after a default in brackets, which say how it is read.
const std::vector<std::string> &NODgetMeaningWords();
/// Those after `language` of a menu.
const std::vector<std::string> &NODgetLanguageWords();
const std::vector<std::string> &NODgetExportWords();
