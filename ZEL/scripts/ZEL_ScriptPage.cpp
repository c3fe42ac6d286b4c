#include <ZEL/ZEL_ScriptPage.h>

#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>

const ZEL_ScriptPage::TokenParmCount ZEL_ScriptPage::theTokens[] = {
#define ZEL_PAGE_SKIPPED(word, count) {word, count},
#include <ZEL/scripts/ZEL_ScriptKeywords.def>
    {nullptr, 0},
};

// -------------------------------------------------------------------- //
// Life
// -------------------------------------------------------------------- //

ZEL_ScriptPage::ZEL_ScriptPage() = default;

ZEL_ScriptPage::~ZEL_ScriptPage() = default;

int ZEL_ScriptPage::countParameters() const
{
    return getParmEntries();
}

ZEL_ScriptParm *ZEL_ScriptPage::newParm()
{
    return new ZEL_ScriptParm;
}

ZEL_ScriptPage *ZEL_ScriptPage::newImportPage()
{
    return new ZEL_ScriptPage;
}

// -------------------------------------------------------------------- //
// Contents
// -------------------------------------------------------------------- //

void ZEL_ScriptPage::setEmptyDefault(const char *text)
{
    if (myDefaultText.isEmpty()) {
        myDefaultText.harden(text);
    }
}

ZEL_SpareData *ZEL_ScriptPage::getSpareData(bool create)
{
    if (!mySpareData && create) {
        mySpareData = std::make_unique<ZEL_SpareData>();
    }
    return mySpareData.get();
}

void ZEL_ScriptPage::enforceOptions()
{
    for (int i = getParmEntries(); i-- > 0;) {
        getParm(i)->enforceOptions();
    }
}

bool ZEL_ScriptPage::containsReservedName() const
{
    for (const auto &parm : myParms) {
        if (parm->getBaseParm()) {
            return true;
        }
        const ZEL_ScriptGroup *const folders = parm->getGroup();
        for (int i = 0; folders && !folders->isMultiParm() && i < folders->getPageCount(); i++) {
            if (folders->getPage(i)->containsReservedName()) {
                return true;
            }
        }
    }
    return false;
}

void ZEL_ScriptPage::appendScriptParms(KIT_ValArray<ZEL_ScriptParm *> &parms) const
{
    for (const auto &parm : myParms) {
        if (!parm->getBaseParm()) {
            parms.append(parm.get());
        } else if (parm->getType().isSwitcher()) {
            parm->appendScriptParms(parms);
        }
    }
}

// -------------------------------------------------------------------- //
// Templates
// -------------------------------------------------------------------- //

int ZEL_ScriptPage::computeTemplateSize() const
{
    int size = 0;
    for (const auto &parm : myParms) {
        size += parm->computeTemplateSize();
    }
    return size;
}

int ZEL_ScriptPage::computeObsoleteTemplateSize() const
{
    int size = 0;
    for (const auto &parm : myObsoleteParms) {
        size += parm->computeTemplateSize();
    }
    return size;
}

void ZEL_ScriptPage::fillTemplate(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports)
{
    const int base = index;
    fillTemplate(target, index, imports, 0, -1, -1);
    if (imports) {
        imports->setNestBaseIndex(base);
    }
}

void ZEL_ScriptPage::fillTemplate(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports,
                                  int depth, int switcherIndex, int folder)
{
    if (myImports && !imports) {
        imports = new ZEL_ScriptImports;
    }
    int block = 0;
    const auto copyBlocks = [&](int parm) {
        for (; myImports && block < myImports->entries() &&
               myImports->getBlock(block)->offset <= parm;
             block++) {
            ZEL_ScriptImportBlock &copy = imports->appendBlock(*myImports->getBlock(block));
            copy.offset = index;
            copy.nestLevel += depth;
            copy.switcherIndex = switcherIndex;
            copy.folder = folder;
        }
    };
    for (int i = 0; i < getParmEntries(); i++) {
        copyBlocks(i);
        getParm(i)->fillTemplate(target, index, imports, depth);
    }
    copyBlocks(getParmEntries());
}

void ZEL_ScriptPage::fillObsoleteTemplate(ZEL_Template *target)
{
    int index = 0;
    ZEL_ScriptImports *imports = nullptr;
    for (const auto &parm : myObsoleteParms) {
        parm->fillTemplate(target, index, imports, 0);
    }
    delete imports;
}
