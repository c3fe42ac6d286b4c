/// \file NOD_MessagePage.h
/// What there is to say of every code of a message: of the catalogue (KIT_MessageCatalogue.h), and of lint's rules.
///
/// Vocabulary: *code* = a category and a number, "ZEL 5"; of lint, "Z101".
/// Threads:    any.
#pragma once

#include <NOD/NOD_API.h>

#include <string>
#include <vector>

struct NOD_MessageHelp
{
    std::string code;
    std::string severity; ///< "error", "warning", "hint", "varies" ...
    std::string sentence; ///< with {} for what differs
    std::string cause;
    std::string remedy;
    std::string kind; ///< what the example is of: a word of KIT_MessageHelp.def, "NONE" without one
    std::string example; ///< input that gives the message
};

/// Those of a code, with or without a blank in it and in capitals or not, or of a category. "" is for all.
NOD_API std::vector<NOD_MessageHelp> NODfindMessages(const std::string &code);
/// As a person reads it, some lines.
NOD_API std::string NODmessageText(const NOD_MessageHelp &help);
/// docs/messages.md: all of them, in Markdown.
NOD_API std::string NODmessagePage();
