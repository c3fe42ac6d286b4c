#include <ZEL/ZEL_ScriptGroup.h>

#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptParm.h>

ZEL_ScriptGroup::ZEL_ScriptGroup(ZEL_ScriptParm *owner, bool multi)
    : myOwner(owner), myIsMultiFlag(multi)
{}

ZEL_ScriptGroup::~ZEL_ScriptGroup() = default;

void ZEL_ScriptGroup::addPage(ZEL_ScriptPage *page)
{
    myPages.push_back(std::unique_ptr<ZEL_ScriptPage>(page));
}

int ZEL_ScriptGroup::computeTemplateSize() const
{
    int size = 0;
    for (const auto &page : myPages) {
        size += page->computeTemplateSize();
    }
    return size;
}

void ZEL_ScriptGroup::buildSizes()
{
    mySizes.clear();
    mySizes.setSize(getPageCount() + 1);
    for (int i = 0; i < getPageCount(); i++) {
        mySizes[i].set(getPage(i)->countParameters(), getPage(i)->getLabel().nonNullStr());
    }
}

void ZEL_ScriptGroup::buildConditionals()
{
    myConditional.reset();
    const ZEL_ConditionalGroup *const whole =
        myPages.empty() ? nullptr : myPages.front()->getGroupConditional();
    bool tabsFlag = false;
    for (const auto &page : myPages) {
        tabsFlag = tabsFlag || page->getPageConditional();
    }
    if (!whole && !tabsFlag) {
        return;
    }

    myConditional = std::make_unique<ZEL_ConditionalSwitcher>();
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        const ZEL_Conditional *const one = whole ? whole->getConditional(type) : nullptr;
        if (one) {
            myConditional->addConditional(*one);
        }
    }
    for (int i = 0; i < getPageCount(); i++) {
        if (const ZEL_ConditionalGroup *const tab = getPage(i)->getPageConditional()) {
            myConditional->setTabConditional(i, *tab);
        }
    }
}

void ZEL_ScriptGroup::fillTemplate(ZEL_Template *target, int &index, ZEL_ScriptImports *&imports,
                                   int depth)
{
    for (int i = 0; i < getPageCount(); i++) {
        getPage(i)->fillTemplate(target, index, imports, depth + 1, index - 1, i);
    }
}
