/// \file NOD_Interface.h
/// What the parameters of one node type are: a dialog script or a template array, with all that the
/// templates borrow, shared by the nodes of the type.
///
/// Vocabulary: *type name* = the name of the node type, under which its presets are kept; *source* =
///             where the description comes from.
/// Ownership:  shared: each node and whoever else keeps a pointer keeps it alive. Owns what a script
///             describes; of an array it was given it borrows the records, or shares those that come
///             with an owner.
/// Threads:    immutable once made; any thread. Making one belongs to one thread at a time.
/// Errors:     a source that can't be read gives null and an error with its place.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <NOD/NOD_API.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

class KIT_IStream;
class NOD_Report;
class ZEL_ScriptImports;
class ZEL_ScriptPage;
class ZEL_Template;

class NOD_API NOD_Interface
{
public:
    enum class Source
    {
        SCRIPT_FILE, ///< a dialog script in a file
        SCRIPT_TEXT, ///< the text of a dialog script
        TEMPLATES    ///< an array of the application's
    };
    /// Which files an `#include` of a script may open.
    enum class Includes
    {
        ANY,      ///< unless the process confines all (TOK_TokenStream::setAllIncludesConfined)
        CONFINED, ///< those in the script's folder and on the search path
        NONE
    };

    // ------------------------------------------------------------------ //
    /// \name Making one   (null after an error in the report)
    // ------------------------------------------------------------------ //
    ///@{
    static std::shared_ptr<const NOD_Interface>
    fromFile(const std::string &path, NOD_Report &report, Includes includes = Includes::ANY);
    /// A script, or the contents of a script's braces; `name` is shown in messages, and is the type
    /// name of a script without a name.
    static std::shared_ptr<const NOD_Interface> fromText(std::string_view text,
                                                         const std::string &name,
                                                         NOD_Report &report,
                                                         Includes includes = Includes::ANY);
    /// An array up to its terminator; null templates are an interface without parameters. What the
    /// templates borrow must outlive the interface, or `keep` owns it. Without a label the type name
    /// takes its place.
    static std::shared_ptr<const NOD_Interface>
    fromTemplates(ZEL_Template *templates, const std::string &typeName,
                  std::shared_ptr<const void> keep = nullptr, const std::string &label = {});
    /// Reads a script into a page of the caller's, such as that of a DS_ScriptReader. False after an
    /// error.
    static bool parse(KIT_IStream &is, const std::string &name, ZEL_ScriptPage &page,
                      NOD_Report &report, Includes includes = Includes::ANY);
    /// The same of a file.
    static bool parseFile(const std::string &path, ZEL_ScriptPage &page, NOD_Report &report);
    ///@}

    ~NOD_Interface();
    NOD_Interface(const NOD_Interface &) = delete;
    NOD_Interface &operator=(const NOD_Interface &) = delete;

    // ------------------------------------------------------------------ //
    /// \name What it is
    // ------------------------------------------------------------------ //
    ///@{
    Source getSource() const { return mySource; }
    /// Which files it was allowed to include; ANY for templates.
    Includes getIncludes() const { return myIncludes; }
    /// The script's name, else its file's without the extension; never empty, without "/".
    const std::string &getTypeName() const { return myTypeName; }
    /// What people read of it; never empty.
    const std::string &getLabel() const { return myLabel; }
    /// The help text of a script's dialog; "" for none.
    const std::string &getHelp() const { return myHelp; }
    /// The file of a script, or the name it was given in messages; "" for templates.
    const std::string &getFile() const { return myFile; }
    /// The text of a script; "" for templates.
    const std::string &getText() const { return myText; }
    /// Up to a terminator; never null.
    ZEL_Template *getTemplates() const { return myTemplates; }
    /// The imports of a script, null if there are none.
    const ZEL_ScriptImports *getImports() const { return myImports.get(); }
    /// The page of a script; null for templates.
    const ZEL_ScriptPage *getPage() const { return myPage.get(); }
    /// Parameters, those of blocks once; folders don't count.
    int getParmCount() const;
    /// Their tokens in the order of the script, in items with the `#`.
    std::vector<std::string> getParmNames() const;
    /// A literal path of a node in the interface itself: in a condition, menu script, callback or default.
    struct NodePath
    {
        std::string parm;  ///< the token of the parameter
        const char *place; ///< what has it: "disablewhen", "default" and so on
        std::string path;
    };
    /// All that there are, whether they lead anywhere or not. Found when they are first asked for.
    const std::vector<NodePath> &getNodePaths() const;
    /// The name under which lists made of this interface share their tables: no other interface of
    /// the process has it.
    const KIT_StringHolder &getSharedName() const { return mySharedName; }
    ///@}

private:
    NOD_Interface(Source source, const std::string &file);

    bool read(KIT_IStream &is, NOD_Report &report, Includes includes);
    void describe();
    void nameTables();

    Source mySource;
    Includes myIncludes = Includes::ANY;
    std::string myTypeName;
    std::string myLabel;
    std::string myHelp;
    std::string myFile;
    std::string myText;
    KIT_StringHolder mySharedName;
    std::shared_ptr<const void> myKept;
    std::unique_ptr<ZEL_ScriptPage> myPage;
    std::unique_ptr<ZEL_ScriptImports> myImports;
    std::unique_ptr<ZEL_Template[]> myOwnTemplates;
    ZEL_Template *myTemplates = nullptr;
    mutable std::unique_ptr<const std::vector<NodePath>> myNodePaths; ///< null: not found yet
};
