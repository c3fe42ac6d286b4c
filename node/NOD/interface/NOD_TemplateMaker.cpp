#include <NOD/interface/NOD_TemplateMakerPrivate.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_BitArray.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Report.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_ScriptParm.h>

#include <algorithm>

namespace
{

/// Those of a folder follow their set in the same array.
std::size_t countTemplates(const NOD_ParmRecords &members)
{
    std::size_t count = members.size();
    for (const auto &one : members) {
        for (const NOD_FolderRecord &folder : one->folders) {
            count += countTemplates(folder.members);
        }
    }
    return count;
}

bool isRamp(const NOD_ParmRecord &parm)
{
    return (parm.multiType & (ZEL_MULTITYPE_RAMP_FLT | ZEL_MULTITYPE_RAMP_RGB)) != 0;
}

bool isBlock(const NOD_ParmRecord &parm)
{
    return parm.multiType != ZEL_MULTITYPE_NONE;
}

ZEL_MultiType shownOrNot(const NOD_ParmRecord &block)
{
    return block.type.isVisible() ? block.multiType : block.multiType | ZEL_MULTITYPE_INVISIBLE;
}

ZEL_Template::ZEL_Export exportOf(const NOD_ParmRecord &parm)
{
    return parm.exportLevel == NOD_EXPORT_NONE     ? ZEL_Template::ZEL_EXPORT_0
           : parm.exportLevel == NOD_EXPORT_DIALOG ? ZEL_Template::ZEL_EXPORT_2
                                                   : ZEL_Template::ZEL_EXPORT_3;
}

/// The function that scripts call is the one that the application registered.
ZEL_Callback callbackOf(const NOD_ParmRecord &parm)
{
    return parm.callback.isSet() || !parm.spare.getCallbackData()
               ? parm.callback
               : ZEL_ScriptParm().getScriptParmCallback();
}

/// What the calls said that doesn't fit each other.
std::vector<std::string> findFaults(const NOD_ParmRecord &parm)
{
    std::vector<std::string> faults = parm.faults;
    const bool rangeFlag = parm.range.getMinFlag() != ZEL_RANGE_FREE;
    if ((parm.hardMinFlag || parm.hardMaxFlag) && !rangeFlag) {
        faults.emplace_back("a hard end without a range");
    }
    if (int(parm.defaults.size()) > parm.size) {
        faults.push_back(std::to_string(parm.defaults.size()) + " defaults for a size of " +
                         std::to_string(parm.size));
    }
    if (parm.logarithmicFlag &&
        (!parm.type.isFloatType() || parm.type.hasAnyOf(ZEL_TYPE_INTEGER))) {
        faults.emplace_back("only a float can be logarithmic");
    }
    if (isBlock(parm)) {
        if (parm.type.hasAnyOf(ZEL_TYPE_JOIN_NEXT | ZEL_TYPE_LABEL_NONE)) {
            faults.emplace_back("a block can't share a line or be without a label");
        }
        if (parm.size != 1 || parm.menu.source != NOD_MenuRecord::NONE) {
            faults.emplace_back("a block has no size and no menu");
        }
        if (!isRamp(parm) && !parm.defaults.empty() && parm.defaults.front().textFlag) {
            faults.emplace_back("the default of a block is how many items it has");
        }
    }
    if (parm.type.isSwitcher() && parm.folders.empty()) {
        faults.emplace_back("a set of folders has no page");
    }
    return faults;
}

} // namespace

// ---------------------------------------------------------------------- //
// Templates
// ---------------------------------------------------------------------- //

void NODsettleNoCook(ZEL_Template &one)
{
    one.setNoCook(false);
    if (const ZEL_SpareData *const spare = one.getSparePtr()) {
        constexpr bool noCookByDefault = false;
        one.setNoCook(*spare, noCookByDefault);
    }
}

ZEL_Template *NOD_TemplateMaker::make(const NOD_ParmRecords &members, NOD_Report &report)
{
    const std::size_t count = countTemplates(members);
    myArrays.emplace_back(new ZEL_Template[count + 1]);
    ZEL_Template *const first = myArrays.back().get();
    Place place{first, report};
    fill(members, place);
    return first;
}

void NOD_TemplateMaker::fill(const NOD_ParmRecords &members, Place &place)
{
    for (std::size_t i = 0; i < members.size(); ++i) {
        const NOD_ParmRecord &one = *members[i];
        for (const std::string &fault : findFaults(one)) {
            place.report.error(one.token, fault);
        }
        if (one.type.isSwitcher()) {
            fillFolders(one, place);
        } else if (isBlock(one)) {
            fillBlock(one, place);
        } else {
            const bool lastFlag = i + 1 == members.size();
            const bool endsLineFlag = lastFlag || members[i + 1]->type.isSwitcher();
            (this->*(one.baseParmFlag ? &NOD_TemplateMaker::fillBaseParm
                                      : &NOD_TemplateMaker::fillParm))(one, place, endsLineFlag);
        }
    }
}

void NOD_TemplateMaker::fillFolders(const NOD_ParmRecord &set, Place &place)
{
    const auto folders = int(set.folders.size());
    std::vector<ZEL_Default> &sizes = myDefaults.emplace_back();
    KIT_BitArray visible;
    visible.setSize(folders);
    for (int i = 0; i < folders; ++i) {
        const NOD_FolderRecord &folder = set.folders[std::size_t(i)];
        sizes.emplace_back(double(folder.members.size()), keep(folder.label));
        visible.setBit(i, !folder.hiddenFlag);
    }
    sizes.emplace_back();
    ZEL_SpareData spare(set.spare);
    spare.setVisibleTabs(visible);
    ZEL_Template &one = *place.next++;
    constexpr int parmGroup = 1;
    one.initialize(set.type, ZEL_TYPEX_NONE, ZEL_Template::ZEL_EXPORT_0, folders, makeName(set, ""),
                   sizes.data(), nullptr, nullptr, callbackOf(set), makeSpare(spare), parmGroup,
                   nullptr, makeConditions(set));
    NODsettleNoCook(one);
    if (set.baseParmFlag) {
        one.setBaseParm(true);
    }
    for (const NOD_FolderRecord &folder : set.folders) {
        fill(folder.members, place);
    }
}

void NOD_TemplateMaker::fillBlock(const NOD_ParmRecord &block, Place &place)
{
    ZEL_Template &one = *place.next++;
    ZEL_ConditionalBase *conditions = nullptr;
    if (isRamp(block)) {
        myConditions.push_back(std::make_unique<ZEL_ConditionalGroup>(block.conditions));
        conditions = myConditions.back().get();
    } else {
        conditions = makeConditions(block);
    }
    const std::string &label = block.label.empty() ? block.token : block.label;
    constexpr double multiSize = 1.0;
    one.initMulti(shownOrNot(block), isRamp(block) ? nullptr : make(block.items, place.report),
                  exportOf(block), multiSize, makeName(block, label),
                  makeDefaults(block, ZEL_INT_E), makeRange(block), makeSpare(block.spare),
                  block.help.empty() ? nullptr : block.help.c_str(), conditions, callbackOf(block));
    NODsettleNoCook(one);
}

void NOD_TemplateMaker::fillBaseParm(const NOD_ParmRecord &parm, Place &place, bool endsLineFlag)
{
    ZEL_Type type = ZEL_TYPE_BASEPARM |
                    (parm.type & (ZEL_TYPE_INVISIBLE | ZEL_TYPE_JOIN_NEXT | ZEL_TYPE_LABEL_NONE));
    if (endsLineFlag) {
        type.clear(ZEL_TYPE_JOIN_NEXT);
    }
    constexpr int size = 1;
    constexpr int parmGroup = 1;
    const std::string &label = parm.label.empty() ? parm.token : parm.label;
    (place.next++)
        ->initialize(type, ZEL_TYPEX_NONE, exportOf(parm), size, makeName(parm, label), nullptr,
                     nullptr, nullptr, ZEL_Callback(), nullptr, parmGroup, nullptr, nullptr);
}

void NOD_TemplateMaker::fillParm(const NOD_ParmRecord &parm, Place &place, bool endsLineFlag)
{
    ZEL_Type type = parm.type;
    if (parm.spare.getUnquotedState() && type.isStringType()) {
        type |= ZEL_TYPE_UNQUOTED;
    }
    if (!type.hasAnyOf(ZEL_TYPE_SEPARATOR)) {
        type |= ZEL_TYPE_CHANNEL;
    }
    if (parm.logarithmicFlag) {
        type |= ZEL_TYPE_LOGARITHMIC;
    }
    ZEL_TypeExtended extended = parm.extended;
    if (parm.menu.source != NOD_MenuRecord::NONE) {
        extended = parm.menu.kind == NOD_MENU_MINI   ? ZEL_TYPEX_MINI_MENU
                   : parm.menu.kind == NOD_MENU_JOIN ? ZEL_TYPEX_JOINED_NODE
                                                     : extended;
    }
    if (endsLineFlag && type.hasAnyOf(ZEL_TYPE_JOIN_NEXT)) {
        type.clear(ZEL_TYPE_JOIN_NEXT);
        extended = extended == ZEL_TYPEX_JOINED ? ZEL_TYPEX_NONE : extended;
    } else if (endsLineFlag && extended == ZEL_TYPEX_JOINED_NODE) {
        extended = ZEL_TYPEX_NONE;
    }
    myConditions.push_back(std::make_unique<ZEL_ConditionalGroup>(parm.conditions));
    const std::string &label = parm.label.empty() ? parm.token : parm.label;
    constexpr int parmGroup = 1;
    ZEL_Template &one = *place.next++;
    one.initialize(type, extended, exportOf(parm), parm.size, makeName(parm, label),
                   makeDefaults(parm, type), makeMenu(parm), makeRange(parm), callbackOf(parm),
                   makeSpare(parm.spare), parmGroup,
                   parm.help.empty() ? nullptr : parm.help.c_str(), myConditions.back().get());
    NODsettleNoCook(one);
}

// ---------------------------------------------------------------------- //
// What they borrow
// ---------------------------------------------------------------------- //

ZEL_Name *NOD_TemplateMaker::makeName(const NOD_ParmRecord &parm, const std::string &label)
{
    myNames.emplace_back();
    myNames.back().setTokenAndLabel(parm.token.c_str(), label.c_str());
    return &myNames.back();
}

const char *NOD_TemplateMaker::keep(const std::string &text)
{
    return myTexts.emplace_back(text).c_str();
}

/// A number is its text too, as in a script.
ZEL_Default *NOD_TemplateMaker::makeDefaults(const NOD_ParmRecord &parm, const ZEL_Type &type)
{
    if (parm.defaults.empty()) {
        return nullptr;
    }
    std::vector<ZEL_Default> &made = myDefaults.emplace_back();
    for (std::size_t i = 0; i < std::size_t(std::max(parm.size, 1)); ++i) {
        const NOD_DefaultRecord from =
            i < parm.defaults.size() ? parm.defaults[i] : NOD_DefaultRecord();
        std::string text = from.text;
        if (type.isStringType() && from.givenFlag && !from.textFlag) {
            text = KIT_Digits(from.number).buffer();
        }
        const bool numberFlag = KIT_String(text.c_str()).isFloat();
        const double number = numberFlag ? BASparseFloat(text.c_str()) : from.number;
        if (type.isStringType() || (from.textFlag && !numberFlag)) {
            made.emplace_back(number, keep(text), from.meaning);
        } else {
            made.emplace_back(number);
        }
    }
    return made.data();
}

ZEL_ChoiceList *NOD_TemplateMaker::makeMenu(const NOD_ParmRecord &parm)
{
    ZEL_Type bare = parm.type;
    bare.stripUiType();
    const bool ordinalFlag = bare == ZEL_ORD_E;
    const NOD_MenuRecord &menu = parm.menu;
    if (menu.source == NOD_MenuRecord::NONE && !ordinalFlag) {
        return nullptr;
    }
    ZEL_ChoiceListType type = ZEL_CHOICELIST_EXCLUSIVE;
    if (!ordinalFlag && (menu.kind == NOD_MENU_REPLACE || menu.kind == NOD_MENU_TOGGLE)) {
        const bool manyFlag = parm.type.isStringType() ||
                              parm.type.hasAnyOf(ZEL_TYPE_BUTTONSTRIP | ZEL_TYPE_ICONSTRIP);
        type = menu.kind == NOD_MENU_TOGGLE && manyFlag ? ZEL_CHOICELIST_TOGGLE
                                                        : ZEL_CHOICELIST_REPLACE;
    }
    if (menu.tokensFlag) {
        type = ZEL_ChoiceListType(type | ZEL_CHOICELIST_USE_TOKEN);
    }
    if (menu.source == NOD_MenuRecord::SCRIPT) {
        return &myMenus.emplace_back(type, menu.script.c_str(), menu.language);
    }
    if (menu.source == NOD_MenuRecord::FUNCTION) {
        return &myMenus.emplace_back(type, menu.generator);
    }
    std::vector<ZEL_Name> &names = myEntries.emplace_back(menu.entries.size() + 1);
    for (std::size_t i = 0; i < menu.entries.size(); ++i) {
        names[i].setTokenAndLabel(menu.entries[i].first.c_str(), menu.entries[i].second.c_str());
    }
    return &myMenus.emplace_back(type, names.data());
}

ZEL_Range *NOD_TemplateMaker::makeRange(const NOD_ParmRecord &parm)
{
    if (parm.range.getMinFlag() == ZEL_RANGE_FREE) {
        return nullptr;
    }
    return &myRanges.emplace_back(
        parm.hardMinFlag ? ZEL_RANGE_HARD : ZEL_RANGE_UI, parm.range.getUIMin(),
        parm.hardMaxFlag ? ZEL_RANGE_HARD : ZEL_RANGE_UI, parm.range.getUIMax());
}

ZEL_SpareData *NOD_TemplateMaker::makeSpare(const ZEL_SpareData &from)
{
    return from.entries() ? &mySpares.emplace_back(from) : nullptr;
}

ZEL_ConditionalBase *NOD_TemplateMaker::makeConditions(const NOD_ParmRecord &set)
{
    const bool tabsFlag =
        std::any_of(set.folders.begin(), set.folders.end(),
                    [](const NOD_FolderRecord &folder) { return !folder.conditions.isEmpty(); });
    if (set.conditions.isEmpty() && !tabsFlag) {
        return nullptr;
    }
    auto made = std::make_unique<ZEL_ConditionalSwitcher>();
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        if (const ZEL_Conditional *const one = set.conditions.getConditional(type)) {
            made->addConditional(*one);
        }
    }
    for (std::size_t i = 0; i < set.folders.size(); ++i) {
        if (!set.folders[i].conditions.isEmpty()) {
            made->setTabConditional(int(i), set.folders[i].conditions);
        }
    }
    myConditions.push_back(std::move(made));
    return myConditions.back().get();
}
