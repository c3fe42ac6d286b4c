/// \file NOD_Description.h
/// An interface as data: what programs show, compare or document of it, nested as people see it.
///
/// Vocabulary: *type* = the word that a dialog script has for it: "float", "vector", "groupradio",
///             "multiparm"; "baseparm" for one of the base interface, "custom" if there is no word.
///             *flags* = the text dump of the type. *set* = folders that belong together; *block* = a
///             multi-parameter, ramps included.
/// Units:      as in the templates: export levels 0 to 3, item numbers from `start`.
/// Ownership:  owns all its texts, borrows nothing.
/// Threads:    plain values; NODdescribe() any, of an immutable interface. No menu script runs.
///
/// A script's page says more than its templates: names and help of folders, imports, options, obsolete
/// parameters. Of templates alone these are empty.
#pragma once

#include <NOD/NOD_API.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

class NOD_Interface;
class NOD_Node;
class ZEL_Conditional;
class ZEL_Template;

using NOD_DescribedTags = std::map<std::string, std::string>;

struct NOD_API NOD_DescribedDefault
{
    double number = 0.0;
    std::optional<std::string> text;
    std::string meaning; ///< of the text: "literal", "expression", "python"

    bool isExpression() const { return text && meaning != "literal"; }
};

/// One end of a range.
struct NOD_API NOD_DescribedLimit
{
    double value = 0.0;
    bool isHard = false; ///< limits the value, not just the slider
};

struct NOD_API NOD_DescribedEntry
{
    std::string token;
    std::string label;
};

struct NOD_API NOD_DescribedMenu
{
    std::string mode;       ///< "exclusive", "replace" or "toggle"
    bool usesToken = false; ///< the value is the entry's token
    bool isDynamic = false; ///< by a script, or by a function of the application
    std::string language;   ///< of the script; "" for a function
    std::string script;
    std::vector<NOD_DescribedEntry> entries;
};

/// What `{ a == 1 b != 2 } { c > 3 }` is made of.
struct NOD_API NOD_DescribedCondition
{
    struct NOD_API Comparison
    {
        std::string left; ///< a parameter or component; an expression ends in ")"
        std::string op;   ///< "==", "=~" and so on
        std::string right;
    };

    std::string keyword; ///< "disablewhen", "hidewhen" or "nocookwhen"
    std::string text;
    std::vector<std::vector<Comparison>> groups; ///< one of them must hold, with all that is in it
};

struct NOD_DescribedFolder;

/// A parameter, a set of folders, or a block.
struct NOD_API NOD_DescribedParm
{
    enum class Kind
    {
        PARAMETER,
        FOLDERS,
        BLOCK
    };

    Kind kind = Kind::PARAMETER;
    std::string token;
    std::string label;
    std::string type;
    std::string flags;
    std::string value; ///< "float", "integer", "text", "data" or "none"
    int extended = 0;  ///< ZEL_TypeExtended
    int size = 0;
    std::vector<std::string> channels;
    std::vector<NOD_DescribedDefault> defaults; ///< empty, or one for each component
    std::optional<NOD_DescribedLimit> min;
    std::optional<NOD_DescribedLimit> max;
    bool hasRange = false;
    std::optional<NOD_DescribedMenu> menu;
    std::vector<NOD_DescribedCondition> conditions;
    NOD_DescribedTags tags; ///< without those of single folders
    int exportLevel = 0;
    std::string help;
    std::string option; ///< in a tool's command line
    bool isRequired = false;
    bool isInvisible = false;
    bool joinsNext = false;
    bool hasNoLabel = false;
    bool isNoCook = false;

    std::vector<NOD_DescribedFolder> folders; ///< of a set
    std::optional<int> items; ///< how many a block starts with; none if an expression decides
    int start = 1;            ///< the number of a block's first item
    bool isRecursive = false; ///< the block is in itself: it has no members here
    std::vector<NOD_DescribedParm> members; ///< of a block: those of one item
};

struct NOD_API NOD_DescribedFolder
{
    std::string name; ///< "" for templates alone
    std::string label;
    bool isTabInvisible = false;
    std::string help;
    std::vector<NOD_DescribedCondition> conditions;
    NOD_DescribedTags tags;
    std::vector<NOD_DescribedParm> members;
};

struct NOD_API NOD_DescribedImport
{
    std::string label;
    std::string source; ///< the node to import from
    std::string token;  ///< what to import from it
    std::string mask;   ///< which parameters of that
    bool isEnabled = true;
    int level = 0;                   ///< how many folders, blocks and imports are around it
    std::string folder;              ///< the name of the folder or block around it
    std::vector<std::string> tokens; ///< of what its block declares
};

struct NOD_API NOD_Description
{
    std::string name; ///< what the script says; "" if nothing
    std::string label;
    std::string typeName;
    std::string file;
    std::string help;
    NOD_DescribedTags tags;
    bool isRenderMan = false; ///< "rman"
    bool isShading = false;   ///< "ksl"
    std::vector<NOD_DescribedImport> imports;
    std::vector<std::string> obsolete; ///< tokens that are kept apart for old files
    std::vector<NOD_DescribedParm> parms;
    std::vector<NOD_DescribedParm>
        spares; ///< of a node; NODdescribe() of an interface leaves it empty
};

NOD_API NOD_Description NODdescribe(const NOD_Interface &interface);
/// The spare parameters of a node, which its interface doesn't have.
NOD_API std::vector<NOD_DescribedParm> NODdescribeSpares(const NOD_Node &node);
/// Up to the terminator; null is nothing.
NOD_API std::vector<NOD_DescribedParm> NODdescribe(const ZEL_Template *templates);
/// One of them, without what it contains.
NOD_API NOD_DescribedParm NODdescribeOne(const ZEL_Template &description);
NOD_API NOD_DescribedCondition NODdescribe(const ZEL_Conditional &condition);

/// The document `{"dialog": {...}, "parameters": [...]}` of docs/interface.schema.json, with a line end. Bytes
/// that are no UTF-8 are U+FFFD in it.
NOD_API std::string NODdescriptionJson(const NOD_Description &description);
