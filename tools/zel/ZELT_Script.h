/// \file ZELT_Script.h
/// A dialog script read from a file, as the templates that it describes.
///
/// Ownership:  owns templates and what they point at: it must outlive every list made from them.
/// Threads:    reading belongs to one thread; afterwards as ZEL_Template.
/// Errors:     load() returns null at the first error; everything that is reported is a message with
///             its file and line.
#pragma once

#include <memory>
#include <string>

class KIT_IStream;
class ZELT_Messages;
class ZEL_ScriptImports;
class ZEL_ScriptPage;
class ZEL_Template;

class ZELT_Script
{
public:
    static std::unique_ptr<ZELT_Script> load(const std::string &file, ZELT_Messages &messages);
    /// The same for a text: a script, or the contents of a script's braces.
    static std::unique_ptr<ZELT_Script> loadText(const std::string &text, const std::string &name,
                                                 ZELT_Messages &messages);
    /// Reads a script into a page of the caller's; false at the first error.
    static bool parse(const std::string &file, ZEL_ScriptPage &page, ZELT_Messages &messages);
    ~ZELT_Script();
    ZELT_Script(const ZELT_Script &) = delete;
    ZELT_Script &operator=(const ZELT_Script &) = delete;

    const std::string &getFile() const { return myFile; }
    /// The name for a node of the script: the page's name, else the file's without its extension.
    const std::string &getName() const { return myName; }
    /// Up to a terminator.
    ZEL_Template *getTemplates() const { return myTemplates.get(); }
    /// Parameters, those of blocks once; folders don't count.
    int getParmCount() const;

private:
    ZELT_Script();

    static bool parseStream(KIT_IStream &is, const std::string &file, ZEL_ScriptPage &page,
                            ZELT_Messages &messages);
    void describe();

    std::string myFile;
    std::string myName;
    std::unique_ptr<ZEL_ScriptPage> myPage;
    std::unique_ptr<ZEL_ScriptImports> myImports;
    std::unique_ptr<ZEL_Template[]> myTemplates;
};
