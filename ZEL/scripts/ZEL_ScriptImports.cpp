#include <ZEL/ZEL_ScriptImports.h>

ZEL_ScriptImportBlock &ZEL_ScriptImports::appendBlock(int offset, int size, const char *source,
                                                      const char *token, const char *mask,
                                                      const char *label, bool enable)
{
    ZEL_ScriptImportBlock block;
    block.offset = offset;
    block.size = size;
    block.source = source;
    block.token = token;
    block.mask = mask;
    block.label = label;
    block.enable = enable;
    return appendBlock(block);
}

ZEL_ScriptImportBlock &ZEL_ScriptImports::appendBlock(const ZEL_ScriptImportBlock &block)
{
    return myBlocks[myBlocks.append(block)];
}

ZEL_ScriptImportBlock *ZEL_ScriptImports::getBlock(int index)
{
    return myBlocks.isValidIndex(index) ? &myBlocks[index] : nullptr;
}

const ZEL_ScriptImportBlock *ZEL_ScriptImports::getBlock(int index) const
{
    return myBlocks.isValidIndex(index) ? &myBlocks[index] : nullptr;
}

ZEL_ScriptImportBlock *ZEL_ScriptImports::findBlockWithLabel(const char *label)
{
    if (!label || !*label) {
        return nullptr;
    }
    for (ZEL_ScriptImportBlock &block : myBlocks) {
        if (block.label == label) {
            return &block;
        }
    }
    return nullptr;
}

const ZEL_ScriptImportBlock *ZEL_ScriptImports::findBlockWithLabel(const char *label) const
{
    return const_cast<ZEL_ScriptImports *>(this)->findBlockWithLabel(label);
}
