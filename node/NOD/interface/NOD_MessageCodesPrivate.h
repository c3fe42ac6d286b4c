/// \file NOD_MessageCodesPrivate.h
/// Numbers of KIT_TextMessages.def on which more depends than the text that people read.
#pragma once

#include <KIT/KIT_MessageCatalogue.h>
#include <NOD/NOD_Report.h>

/// Of category "DS": the readers of dialog scripts.
enum NOD_ScriptCode
{
    NOD_SCRIPT_NO_PAGE_NAME = 7,
    NOD_SCRIPT_NO_PAGE_WORD = 8,
    NOD_SCRIPT_NO_LANGUAGE = 20,
    NOD_SCRIPT_NO_PARM_WORD = 24,
    NOD_SCRIPT_NO_PARM_NAME = 25,
    NOD_SCRIPT_DEFAULTS_BEFORE_TYPE = 26,
    NOD_SCRIPT_NO_TYPE = 27,
    NOD_SCRIPT_DEFAULTS_BEFORE_SIZE = 31,
    NOD_SCRIPT_NO_EXPORT = 32,
    NOD_SCRIPT_NO_MEANING = 33,
    NOD_SCRIPT_SURPLUS_DEFAULTS = 34,
    NOD_SCRIPT_EMPTY_RANGE = 37,
    NOD_SCRIPT_REST = 44,
    NOD_SCRIPT_ITEM_MARKS = 49,
    NOD_SCRIPT_NO_GROUP = 60,
    NOD_SCRIPT_OPEN_IF = 73,
    NOD_SCRIPT_IF_WITHOUT_NAME = 79,
    NOD_SCRIPT_BAD_IF = 80,
    NOD_SCRIPT_OPEN_COMMENT = 89,
    NOD_SCRIPT_OPEN_TEXT = 100,
    NOD_SCRIPT_OPEN_BLOCK = 101,
    NOD_SCRIPT_OPENING_BRACE = 102,
    NOD_SCRIPT_CLOSING_BRACE = 103,
    NOD_SCRIPT_NO_VALUE = 104,
    NOD_SCRIPT_NO_BLOCK = 105,
    NOD_SCRIPT_SURPLUS_OPENING = 106,
    NOD_SCRIPT_NO_ENTRY_LABEL = 107,
    NOD_SCRIPT_NO_TAG_VALUE = 108,
    NOD_SCRIPT_MORE_MISTAKES = 109,
    NOD_SCRIPT_NO_DIRECTIVE = 110,
    NOD_SCRIPT_STRAY_QUOTE = 111
};

constexpr const char *theNODCategory = "NOD";

/// Of category "NOD".
enum NOD_MessageCode
{
    NOD_SURPLUS_MARK = 2,
    NOD_ITEM_MARKS = 3,
    NOD_DEFAULT_RANGE = 11,
    NOD_DEFAULT_WORD = 12,
    NOD_NO_CONDITION_PARM = 15,
    NOD_NO_MENU_LANGUAGE = 19,
    NOD_NO_OPERATOR = 20
};

inline bool NODisMessage(const NOD_Message &message, NOD_ScriptCode code)
{
    return message.code == code && message.category == theKITScriptCategory;
}

inline bool NODisMessage(const NOD_Message &message, NOD_MessageCode code)
{
    return message.code == code && message.category == theNODCategory;
}
