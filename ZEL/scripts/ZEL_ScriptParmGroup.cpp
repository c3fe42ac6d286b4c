#include <ZEL/ZEL_ScriptParm.h>

#include <BAS/BAS_Number.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_BitArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/scripts/ZEL_ScriptPrivate.h>

int ZEL_ScriptParm::parseGroup(DS_Stream &stream, ZEL_ScriptPage *page, const char *keyword,
                               int depth)
{
    const KIT_String word(keyword);
    myType = word == "groupradio" ? ZEL_SWITCHER_EXCLUSIVE : ZEL_SWITCHER;
    const bool simpleFlag = word == "groupsimple";
    const bool singleFlag = simpleFlag || word == "groupcollapsible";
    if (singleFlag) {
        getSpareData(true)->mergeFrom(simpleFlag ? ZEL_SpareData::groupTypeSimple
                                                 : ZEL_SpareData::groupTypeCollapsible);
    }
    beginParse(stream);
    myGroup.reset(newGroup(false));
    KIT_BitArray visibleTabs;
    KIT_String token;
    do {
        std::unique_ptr<ZEL_ScriptPage> folder(newPage());
        folder->nestIn(*page, ZEL_ScriptPage::INVISIBLE | ZEL_ScriptPage::INVISIBLE_TAB);
        if (!folder->parse(stream, true, this, false, true, depth)) {
            myGroup.reset();
            myObsoleteGroup.reset();
            return 0;
        }
        const int64_t tab = visibleTabs.size();
        visibleTabs.setSize(tab + 1);
        visibleTabs.setBit(tab, !folder->getFlag(ZEL_ScriptPage::INVISIBLE_TAB));
        if (tab == 0) {
            adoptFirstPage(*folder, singleFlag);
        }
        const bool endsFlag = singleFlag || folder->getTabBreak();
        addGroupPage(std::move(folder));
        if (!ZELreadScriptToken(stream, token, "missing closing brace on group")) {
            return 0;
        }
        if (endsFlag) {
            break;
        }
    } while (token == word);

    if (myGroup->getPageCount() == 0) {
        myGroup.reset();
    }
    getSpareData(true)->setVisibleTabs(visibleTabs);
    stream.ungetToken(token);
    return 1;
}

void ZEL_ScriptParm::adoptFirstPage(ZEL_ScriptPage &page, bool singleFlag)
{
    myName.setTokenAndLabel(page.getToken().nonNullStr(), "");
    const unsigned hides =
        ZEL_ScriptPage::INVISIBLE | (singleFlag ? ZEL_ScriptPage::INVISIBLE_TAB : 0u);
    if (page.getFlag(hides)) {
        myType |= ZEL_TYPE_INVISIBLE;
    }
    myBaseParmFlag = page.getBaseParm();
    if (const ZEL_SpareData *const spare = page.getSpareData(false)) {
        getSpareData(true)->mergeFrom(*spare);
    }
}

void ZEL_ScriptParm::addGroupPage(std::unique_ptr<ZEL_ScriptPage> page)
{
    if (!page->getFlag(ZEL_ScriptPage::OBSOLETE)) {
        myGroup->addPage(page.release());
        return;
    }
    if (!myObsoleteGroup) {
        myObsoleteGroup.reset(newGroup(false));
    }
    myObsoleteGroup->addPage(page.release());
}

int ZEL_ScriptParm::parseGroupAttribute(DS_Stream &stream)
{
    if (!myGroup) {
        stream.error("Expecting group for grouptag");
        return 0;
    }
    KIT_String name;
    KIT_String value;
    if (!ZELreadScriptTag(stream, "Expecting open brace for grouptag", name, value)) {
        return 0;
    }
    if (!name.c_str()) {
        return 1;
    }
    const int folder = myGroup->getPageCount();
    ZEL_SpareData *const spare = getSpareData(true);
    if (folder == 0 && name != ZEL_SpareData::getGroupTypeToken() &&
        !ZELaddScriptTag(stream, spare, name, value)) {
        return 0;
    }
    KIT_WorkBuffer numbered;
    numbered.sprintf("%s:%d", name.nonNullStr(), folder);
    return ZELaddScriptTag(stream, spare, numbered.buffer(), value);
}

bool ZEL_ScriptParm::parseMultiParm(DS_Stream &stream, ZEL_MultiType type, ZEL_ScriptPage *page,
                                    int depth)
{
    beginParse(stream);
    myGroup.reset(newGroup(true));
    std::unique_ptr<ZEL_ScriptPage> items(newPage());
    items->nestIn(*page, ZEL_ScriptPage::INVISIBLE);
    if (!items->parse(stream, true, this, false, true, depth + 1)) {
        myGroup.reset();
        return false;
    }
    if (const ZEL_SpareData *const spare = items->getSpareData(false)) {
        getSpareData(true)->mergeFrom(*spare);
    }
    const bool hiddenFlag = items->getFlag(ZEL_ScriptPage::INVISIBLE) != 0;
    myGroup->setMultiType(hiddenFlag ? type | ZEL_MULTITYPE_INVISIBLE : type);
    myName.setTokenAndLabel(items->getToken().nonNullStr(), items->getLabel().nonNullStr());
    mySize = 1;
    if (items->getDefault().isstring()) {
        clearDefaults();
        myDefaults.append(ZEL_Default(BASparseFloat(items->getDefault())));
    }
    myGroup->addPage(items.release());
    return true;
}
