/// \file NOD_LintScriptPrivate.h
/// What a script is made of, with places: blocks, their keywords, and what the library made of them.
///
/// Vocabulary: *entry* = a keyword with its values; *block* = the script itself, a folder, the items
///             of a block, an import or a parameter, with its entries; *record* = the parameter or
///             folder set as the library read it.
/// Units:      tokens and blocks by number, from 0; -1 is none.
/// Ownership:  borrows the interface.
/// Threads:    one thread at a time.
#pragma once

#include <NOD/lint/NOD_LintTokensPrivate.h>
#include <ZEL/scripts/ZEL_ScriptShapesPrivate.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class ZEL_ScriptPage;
class ZEL_ScriptParm;
class ZEL_Template;

class NOD_LintScript
{
public:
    enum class Kind
    {
        DIALOG,
        FOLDER,
        ITEMS,
        IMPORT,
        PARM
    };
    struct Entry
    {
        int keyword;
        int first; ///< of its values, with the braces of a block
        int last;  ///< behind them
        std::string_view word;
        ZEL_ScriptShape shape;
        int count() const { return last - first; }
    };
    struct Block
    {
        Kind kind;
        int keyword; ///< -1: the script
        int open = -1;
        int close = -1;
        int depth = 0; ///< how many blocks of items are around it, itself included
        int name = -1; ///< the token of what it is called; -1 without one
        std::vector<Entry> entries;
        const ZEL_ScriptParm *record = nullptr;    ///< null: none was kept
        const ZEL_Template *description = nullptr; ///< null: none was made

        /// The last entry of that keyword, which is the one that counts; null without one.
        const Entry *find(std::string_view word) const;
    };

    explicit NOD_LintScript(const NOD_Interface &script);

    const NOD_Interface &getInterface() const { return myInterface; }
    const NOD_LintTokens &getTokens() const { return myTokens; }
    const std::vector<Block> &getBlocks() const { return myBlocks; }
    /// The block of a template of the interface; -1 without one.
    int findBlock(const ZEL_Template *description) const;
    /// The token of its name; -1 without one.
    int nameOf(int block) const;
    /// The token that closes the script; -1 without one.
    int getEnd() const { return myEnd; }

private:
    friend class NOD_LintWalk;

    void collect(const ZEL_ScriptPage &page);
    void collect(const ZEL_ScriptParm &parm);
    void match(const ZEL_Template *templates);

    const NOD_Interface &myInterface;
    NOD_LintTokens myTokens;
    std::vector<Block> myBlocks;
    std::unordered_map<std::size_t, const ZEL_ScriptParm *> myRecords; ///< by their keyword
    std::unordered_map<const void *, int> myBlockOfName;               ///< by ZEL_Name
    int myEnd = -1;
};
