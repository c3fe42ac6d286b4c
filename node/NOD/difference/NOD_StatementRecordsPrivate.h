/// \file NOD_StatementRecordsPrivate.h
/// The text of a dialog script as records that have all of its bytes, and back. Not installed.
///
/// Vocabulary: *statement* = a keyword and what belongs to it; blocks of parameters, folders and items are
///             declarations. *blanks* = what is between two words, with *comments* if any are in it: those up to the
///             end of a line belong to what stands before, the others to what follows. Directives are comments, as is
///             what they leave out.
/// Threads:    one thread at a time.
/// Errors:     to the report.
#pragma once

#include <NOD/NOD_Record.h>

#include <string>
#include <string_view>

class NOD_Report;

/// Adds all that the text has. False, with an error at its line, if its braces and quotes aren't those of a script.
bool NODreadStatements(std::string_view text, const std::string &name, NOD_Record &top,
                       NOD_Report &report);
/// The text, of all of a script, a declaration or a statement. What comes without blanks of its own, such as the word of a patch, gets a blank where it needs one.
std::string NODstatementText(const NOD_Record &top);
/// Writes notes as a comment in front of a declaration, with the line end that its script has.
void NODaddNote(NOD_Record &declaration, const std::string &text, const char *lineEnd);

// ---------------------------------------------------------------------- //
// Names of records; stored in patches
// ---------------------------------------------------------------------- //

constexpr const char *theKindProperty = "kind"; ///< of a declaration: its keyword
constexpr const char *theOwnName =
    "own name"; ///< a word that is the declaration's, with the quote around it
constexpr const char *theOpenBrace = "{";
constexpr const char *theCloseBrace = "}";
constexpr const char *theBefore = "before";
constexpr const char *theAfter = "after";
constexpr const char *theBetween = "between"; ///< keyword and brace
constexpr const char *theBeforeEnd = "before the end";
constexpr const char *theAfterEnd = "after the end";
constexpr const char *theFollows = "follows"; ///< of a statement: the declaration in front of it

/// What is in front of the name in that of a record: folders have names of their own.
std::string NODdeclarationPrefix(std::string_view keyword);

/// What is between two words, up to where comments end.
struct NOD_Blanks
{
    std::size_t lineEnd = 0;   ///< after the first line feed outside of comments; 0 without one
    bool commentFlag = false;  ///< more than blanks
    bool openLineFlag = false; ///< ends in a comment or directive that a line feed must end

    explicit NOD_Blanks(std::string_view text);
};
