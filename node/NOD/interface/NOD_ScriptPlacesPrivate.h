/// \file NOD_ScriptPlacesPrivate.h
/// Where in a script its parameters, and what is said of them, are written.
///
/// Ownership:  borrows the interface.
/// Threads:    one thread at a time.
/// Cost:       nothing until the first place is asked for; then the script is read again, once.
#pragma once

#include <NOD/interface/NOD_ScriptParmsPrivate.h>
#include <NOD/interface/NOD_ScriptShapePrivate.h>

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

class ZEL_Template;
struct KIT_MessageDetail;
struct KIT_MessagePlace;

class NOD_ScriptPlaces
{
public:
    explicit NOD_ScriptPlaces(const NOD_Interface &script) : myScript(script) {}

    const NOD_Interface &getScript() const { return myScript; }

    /// The text in a statement of a parameter whose keyword begins with `keyword`, at `offset` bytes
    /// of what the text means; else that statement's keyword, else that of the parameter's block. Null
    /// for an interface without a script, and for what the script doesn't describe.
    std::shared_ptr<KIT_MessageDetail> find(const ZEL_Template &one, const std::string &keyword,
                                            const std::string &text, std::size_t offset);
    /// The word that is `word`, all of it, in such a statement; else as find().
    std::shared_ptr<KIT_MessageDetail> findWord(const ZEL_Template &one, const std::string &keyword,
                                                const std::string &word);
    /// The same of what a condition compares, or with what: a word by itself in the text of the condition.
    std::shared_ptr<KIT_MessageDetail>
    findOperand(const ZEL_Template &one, const std::string &keyword, const std::string &word);

private:
    using Statement = NOD_ScriptShape::Statement;

    void open();
    const NOD_ScriptShape::Block *findBlock(const ZEL_Template &one);
    /// Calls `take` for each word after the keyword of such a statement until it returns true.
    template <class Take>
    std::shared_ptr<KIT_MessageDetail> search(const ZEL_Template &one, const std::string &keyword,
                                              const Take &take);

    const NOD_Interface &myScript;
    NOD_ScriptParms myParms;
    std::optional<NOD_ScriptTokens> myTokens;
    std::optional<NOD_ScriptShape> myShape;
    /// The last of each line and name: thousands may begin on one line, with one name.
    std::unordered_map<std::string, const NOD_ScriptShape::Block *> myBlocks;
};

// The checks of NOD_InterfaceCheck.h and NOD_ExpressionCheck.h, for those who make several of one script.
void NODcheckNames(NOD_ScriptPlaces &places, NOD_Report &report);
int NODcheckInterface(NOD_ScriptPlaces &places, NOD_Report &report,
                      KIT_ErrorSeverity severity = KIT_ERROR_WARNING);
int NODcheckMenuScripts(NOD_ScriptPlaces &places, NOD_Report &report,
                        KIT_ErrorSeverity severity = KIT_ERROR_WARNING);
int NODcheckExpressions(NOD_ScriptPlaces &places, NOD_Report &report,
                        KIT_ErrorSeverity severity = KIT_ERROR_WARNING);
