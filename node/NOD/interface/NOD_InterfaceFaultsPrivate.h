/// \file NOD_InterfaceFaultsPrivate.h
/// What NODcheckInterface() finds, as data: for those who know where in a script a parameter is.
///
/// Ownership:  borrows the templates.
#pragma once

#include <NOD/interface/NOD_InterfaceNamesPrivate.h>

#include <string>
#include <string_view>
#include <vector>

class ZEL_ChoiceList;
class ZEL_Template;

enum class NOD_FaultKind
{
    NO_TOKEN,
    TEXT_NAME,       ///< the text form can't hold the name
    MARKS,           ///< not one `#` for each block
    SAME_TOKEN,      ///< the word is the token
    SAME_ITEM_TOKEN, ///< an item's name is another one's; the word is the other token
    SAME_CHANNEL,    ///< a component's; the word is the other token
    RANGE,
    DEFAULT_RANGE, ///< the word is the nearest number in the range
    DEFAULT_WORD,  ///< the word is no entry
    DEFAULT_INDEX, ///< the word is the number
    MENU_TWINS,    ///< the word is the entry
    CONDITION,     ///< the word is what is at fault
    FOLDERS,
    BLOCK
};

struct NOD_InterfaceFault
{
    NOD_FaultKind kind;
    const ZEL_Template *parm;
    std::string text;
    std::string word;  ///< as the kind says
    int component;     ///< of a default
    std::string hint;  ///< what would help; "" for nothing
    std::string found; ///< the number of a default in a range, the keyword of a condition
};

struct NOD_InterfaceFaults
{
    std::vector<NOD_InterfaceFault> faults; ///< by parameter
    NOD_InterfaceNames names;
};

/// An array up to its terminator, null is empty.
NOD_InterfaceFaults NODfindInterfaceFaults(const ZEL_Template *templates);

/// A static menu that offers these choices and no others; null if there is none.
const ZEL_ChoiceList *NODonlyChoices(const ZEL_Template &one);
bool NODhasEntry(const ZEL_ChoiceList &menu, std::string_view token);
