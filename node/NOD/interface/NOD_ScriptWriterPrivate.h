/// \file NOD_ScriptWriterPrivate.h
/// Writes templates as a dialog script.
///
/// Vocabulary: *words* = keyword and value of one line.
/// Ownership:  borrows the templates.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class ZEL_Conditional;
class ZEL_ConditionalBase;
class ZEL_Default;
class ZEL_SpareData;
class ZEL_Template;

class NOD_ScriptWriter
{
public:
    void writeDialog(const ZEL_Template *templates, const std::string &name,
                     const std::string &label);

    const std::string &getText() const { return myText; }
    /// Why the template has no place in the text; null if it has.
    const char *findLeftOut(const ZEL_Template *one) const
    {
        const auto found = myLeftOut.find(one);
        return found == myLeftOut.end() ? nullptr : found->second;
    }

private:
    struct TypeWord;
    using Tags = std::map<std::string, std::string>;

    // Lines.
    std::string &line(std::string_view keyword);
    void write(std::string_view keyword, std::string_view value);
    void writeText(std::string_view keyword, const char *text);
    void writeNames(const char *token, const char *label);
    void open(std::string_view keyword);
    void close();

    // Arrays.
    const ZEL_Template *writeMembers(const ZEL_Template *at, const ZEL_Template *end, int count);
    const ZEL_Template *writeOne(const ZEL_Template *at, const ZEL_Template *end,
                                 const ZEL_Template *before, bool lastFlag);
    const ZEL_Template *writeFolders(const ZEL_Template &set, const ZEL_Template *end,
                                     const ZEL_Template *before, bool lastFlag);
    void writeFolder(const ZEL_Template &set, std::string_view keyword, int folder);
    void writeBlock(const ZEL_Template &block);
    void writeBaseParm(const ZEL_Template &parm);
    void writeParm(const ZEL_Template &parm, bool endsLineFlag);

    // What they have.
    static std::string_view folderKeyword(const ZEL_Template &set, const ZEL_Template *before);
    static TypeWord findType(const ZEL_Template &parm);
    void writeLook(const ZEL_Template &parm);
    void writeMenu(const ZEL_Template &parm);
    void writeMenuScript(std::string_view script, const char *language);
    void writeDefaults(const ZEL_Template &parm);
    void writeRange(const ZEL_Template &parm);
    void writeConditions(const ZEL_ConditionalBase *base, const char *ending);
    void writeCondition(const std::string &keyword, const ZEL_Conditional &condition);
    /// Those but the ones that the block's keywords set.
    void writeTags(const ZEL_Template &parm, const Tags &implied);

    std::string myText;
    int myLevel = 0;
    std::unordered_map<const ZEL_Template *, const char *> myLeftOut; // with the reason
    std::vector<const ZEL_Template *> myPath;                         // items of the blocks around
};
