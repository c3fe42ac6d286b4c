/// \file ZEL_ScriptImports.h
/// The parts of an interface that are to be imported from other nodes, and their places in it.
///
/// Vocabulary: *block* = one `import { ... }` of a script: the parameters written in it are
///             placeholders for what is to be imported. *Flattened* = as part of a template array.
/// Units:      offsets, sizes and indices count parameters from 0: in a page its records, once
///             flattened the templates of the array. -1 is "none".
/// Ownership:  owns its blocks and their texts.
/// Threads:    const calls from any thread; changes by one thread at a time.
/// Errors:     a missing block is null.
/// Cost:       a look-up scans the blocks.
#pragma once

#include <KIT/KIT_Array.h>
#include <KIT/KIT_String.h>
#include <ZEL/ZEL_API.h>

/// One imported part.
struct ZEL_ScriptImportBlock
{
    int offset = 0;         ///< where it begins
    int nestLevel = -1;     ///< how many folders and imports surround it
    int switcherIndex = -1; ///< the template of the set of folders around it
    int folder = -1;        ///< the folder in that set
    int size = 0;           ///< how many parameters the block declared
    KIT_String label;
    KIT_String source; ///< the node to import from
    KIT_String token;  ///< what to import from it
    KIT_String mask;   ///< which parameters of that
    bool enable = true;
};

class ZEL_API ZEL_ScriptImports
{
public:
    /// Appends a block with level, switcher and folder unset. Offsets must not decrease.
    ZEL_ScriptImportBlock &appendBlock(int offset, int size, const char *source, const char *token,
                                       const char *mask, const char *label, bool enable);
    ZEL_ScriptImportBlock &appendBlock(const ZEL_ScriptImportBlock &block);
    void clear() { myBlocks.clear(); }

    int entries() const { return int(myBlocks.entries()); }
    /// Null outside 0 .. entries - 1.
    ZEL_ScriptImportBlock *getBlock(int index);
    const ZEL_ScriptImportBlock *getBlock(int index) const;
    /// The first block of that label; null for a null or empty label.
    ZEL_ScriptImportBlock *findBlockWithLabel(const char *label);
    const ZEL_ScriptImportBlock *findBlockWithLabel(const char *label) const;

    /// The first template of the flattened page.
    int getNestBaseIndex() const { return myNestBaseIndex; }
    void setNestBaseIndex(int index) { myNestBaseIndex = index; }

private:
    KIT_Array<ZEL_ScriptImportBlock> myBlocks;
    int myNestBaseIndex = 0;
};
