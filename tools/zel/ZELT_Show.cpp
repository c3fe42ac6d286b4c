#include "ZELT_Show.h"

#include "ZELT_Format.h"

#include <KIT/KIT_String.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <map>
#include <sstream>

namespace
{

// -------------------------------------------------------------------- //
// Types
// -------------------------------------------------------------------- //

ZEL_Type withoutFlags(ZEL_Type type)
{
    type.clear(ZEL_Type(ZEL_Type::ZEL_InterfaceType(
        ZEL_Type::ZEL_INTERFACE_INVISIBLE | ZEL_Type::ZEL_INTERFACE_JOIN_NEXT |
        ZEL_Type::ZEL_INTERFACE_LABEL_NONE | ZEL_Type::ZEL_INTERFACE_CHANNEL)));
    type.clear(ZEL_Type(ZEL_Type::ZEL_BehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOCOOK |
                                                   ZEL_Type::ZEL_BEHAVIOR_NORESIM |
                                                   ZEL_Type::ZEL_BEHAVIOR_BASEPARM)));
    type.clear(ZEL_Type(ZEL_Type::ZEL_STR_UNQUOTED));
    return type;
}

bool isNodePath(const ZEL_Template &description)
{
    return description.getTypeExtended() == ZEL_TYPEX_NODE_PATH ||
           description.getTypeExtended() == ZEL_TYPEX_NODE_PATHS;
}

/// The flags that other keywords set don't count.
bool matches(const ZEL_Template &description, const ZEL_ScriptType &row, bool withSize)
{
    const ZEL_SpareData *const spare = description.getSparePtr();
    const char *const filter = spare ? spare->getOpFilter() : nullptr;
    return row.multiType == ZEL_MULTITYPE_NONE &&
           withoutFlags(description.getType()) == withoutFlags(*row.type) &&
           (row.extended == description.getTypeExtended() ||
            (row.extended == ZEL_TYPEX_NONE && !isNodePath(description))) &&
           (!withSize || row.size == 0 || row.size == description.getVectorSize()) &&
           (!row.opFilter || (filter && std::string(filter) == row.opFilter));
}

const char *multiWord(const ZEL_Template &description)
{
    switch (description.getMultiType() & ZEL_MULTITYPE_KIND_MASK) {
    case ZEL_MULTITYPE_LIST: return "multiparm";
    case ZEL_MULTITYPE_SCROLL: return "multiscroll";
    case ZEL_MULTITYPE_SWITCHER: return "multiswitcher";
    case ZEL_MULTITYPE_RAMP_FLT: return "ramp_flt";
    case ZEL_MULTITYPE_RAMP_RGB: return "ramp_rgb";
    default: return nullptr;
    }
}

/// A folder's members end here; `at` itself may be a set of folders.
const ZEL_Template *afterMember(const ZEL_Template *at)
{
    return at->isSwitcher() ? ZEL_Template::getEndOfSwitcher(at) : at + 1;
}

// -------------------------------------------------------------------- //
// Parts
// -------------------------------------------------------------------- //

std::string defaultText(const ZEL_Template &description, int index)
{
    const ZEL_Default *const record = description.getFactoryDefaults();
    if (!record) {
        const ZEL_Type &type = description.getType();
        return type.isStringType() || type.isDataType() ? "\"\"" : "0";
    }
    if (!record[index].gotString()) {
        return ZELTnumber(record[index].getFloat());
    }
    std::string text = ZELTquote(record[index].getString());
    if (record[index].getStringMeaning() != TRK_MEANING_LITERAL) {
        text = "[" + text + " " + TRKmeaningToString(record[index].getStringMeaning()) + "]";
    }
    return text;
}

ZELT_Json defaultsJson(const ZEL_Template &description)
{
    ZELT_Json out = ZELT_Json::array();
    const ZEL_Default *const records = description.getFactoryDefaults();
    for (int i = 0; records && i < description.getVectorSize(); ++i) {
        ZELT_Json record = records[i].getFloat();
        if (records[i].gotString()) {
            record = ZELT_Json::object();
            record["number"] = records[i].getFloat();
            record["text"] = records[i].getString();
            record["meaning"] = TRKmeaningToString(records[i].getStringMeaning());
        }
        out.push_back(record);
    }
    return out;
}

std::string rangeEnd(double value, ZEL_RangeFlag flag)
{
    return flag == ZEL_RANGE_FREE ? ""
                                  : ZELTnumber(value) + ((flag & ZEL_RANGE_PARM) != 0 ? "!" : "");
}

ZELT_Json rangeJson(const ZEL_Range *range)
{
    if (!range) {
        return ZELT_Json();
    }
    const auto end = [](double value, ZEL_RangeFlag flag) {
        ZELT_Json json;
        json["value"] = value;
        json["hard"] = (flag & ZEL_RANGE_PARM) != 0;
        return flag == ZEL_RANGE_FREE ? ZELT_Json() : json;
    };
    ZELT_Json out;
    out["min"] = end(range->getUIMin(), range->getMinFlag());
    out["max"] = end(range->getUIMax(), range->getMaxFlag());
    return out;
}

const char *menuMode(const ZEL_ChoiceList &menu)
{
    return (menu.getType() & ZEL_CHOICELIST_TOGGLE) != 0          ? "toggle"
           : (menu.getType() & ZEL_CHOICELIST_EXCLUSIVE_BIT) != 0 ? "exclusive"
                                                                  : "replace";
}

const ZEL_ChoiceList *shownMenu(const ZEL_Template &description)
{
    return description.isAutomaticallyGeneratedChoiceList() ? nullptr
                                                            : description.getChoiceListPtr();
}

ZELT_Json menuJson(const ZEL_ChoiceList *menu)
{
    if (!menu) {
        return ZELT_Json();
    }
    ZELT_Json out;
    out["mode"] = menuMode(*menu);
    out["usetokenvalue"] = (menu->getType() & ZEL_CHOICELIST_USE_TOKEN) != 0;
    if (menu->getScript().isstring()) {
        out["language"] = TRKscriptLanguageAsString(menu->getScriptLanguage());
        out["script"] = menu->getScript().nonNullStr();
        return out;
    }
    out["items"] = ZELT_Json::array();
    for (const ZEL_Name *name = menu->choiceNamesPtr(); name && !name->isSentinel(); ++name) {
        ZELT_Json item;
        item["token"] = name->getToken();
        item["label"] = name->getLabel();
        out["items"].push_back(item);
    }
    return out;
}

std::string menuText(const ZEL_ChoiceList &menu)
{
    std::string text = std::string("menu ") + menuMode(menu);
    if (menu.getScript().isstring()) {
        return text + " by a script (" + TRKscriptLanguageAsString(menu.getScriptLanguage()) + ")";
    }
    const char *separator = " ";
    for (const ZEL_Name *name = menu.choiceNamesPtr(); name && !name->isSentinel(); ++name) {
        text += separator + std::string(name->getToken());
        separator = "|";
    }
    return text;
}

void addConditions(ZELT_Json &out, const ZEL_ConditionalBase *base)
{
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        const ZEL_Conditional *const condition = base ? base->getConditional(type) : nullptr;
        if (condition) {
            KIT_String text;
            condition->getStringFromList(text);
            out[condition->getName(false)] = text.nonNullStr();
        }
    }
}

const ZEL_ConditionalSwitcher *asSwitcher(const ZEL_ConditionalBase *base)
{
    return base && base->groupType() == ZEL_CONDGROUP_SWITCHER
               ? static_cast<const ZEL_ConditionalSwitcher *>(base)
               : nullptr;
}

ZELT_Json conditionsJson(const ZEL_Template &description)
{
    ZELT_Json out = ZELT_Json::object();
    const ZEL_ConditionalBase *const base = description.getConditionalBasePtr();
    addConditions(out, base);
    const ZEL_ConditionalSwitcher *const tabs = asSwitcher(base);
    for (int i = 0; tabs && i < description.getVectorSize(); ++i) {
        if (tabs->getTabConditional(i)) {
            ZELT_Json tab;
            tab["tab"] = i;
            addConditions(tab, tabs->getTabConditional(i));
            out["tabs"].push_back(tab);
        }
    }
    return out;
}

using Tags = std::map<std::string, std::string>;

/// Sorted: the record's own order isn't defined.
Tags tagsOf(const ZEL_Template &description)
{
    Tags tags;
    if (const ZEL_SpareData *const spare = description.getSparePtr()) {
        spare->traverseConst(
            [](const char *token, const char *value, void *data) {
                (*static_cast<Tags *>(data))[token] = value;
                return 1;
            },
            &tags);
    }
    return tags;
}

ZELT_Json multiJson(const ZEL_Template &description)
{
    if (!description.isMultiType()) {
        return ZELT_Json();
    }
    ZELT_Json out;
    out["kind"] = multiWord(description);
    out["items"] = description.getMultiSize();
    out["start"] = description.getMultiStartOffset();
    return out;
}

ZELT_Json templateJson(const ZEL_Template &description)
{
    ZELT_Json out;
    out["token"] = description.getToken();
    out["label"] = description.getLabel();
    out["type"] = ZELTtypeDump(description);
    out["extended"] = int(description.getTypeExtended());
    out["size"] = description.getVectorSize();
    out["channels"] = ZELT_Json::array();
    for (int i = 0; i < description.getVectorSize(); ++i) {
        out["channels"].push_back(description.getChannelToken(i).nonNullStr());
    }
    out["defaults"] = defaultsJson(description);
    out["range"] = rangeJson(description.getRangePtr());
    out["menu"] = menuJson(shownMenu(description));
    out["conditions"] = conditionsJson(description);
    out["tags"] = tagsOf(description);
    out["export"] = int(description.exportLevel());
    out["multi"] = multiJson(description);
    out["help"] = description.getHelpText() ? ZELT_Json(description.getHelpText()) : ZELT_Json();
    if (description.isMultiType()) {
        out["children"] = ZELTdescribeJson(description.getMultiParmTemplate());
    }
    return out;
}

// -------------------------------------------------------------------- //
// Tree
// -------------------------------------------------------------------- //

std::string channelsText(const ZEL_Template &description)
{
    std::string text = "channels";
    for (int i = 0; i < description.getVectorSize(); ++i) {
        text += std::string(" ") + description.getChannelToken(i).nonNullStr();
    }
    return text;
}

std::string defaultsText(const ZEL_Template &description)
{
    std::string text = "default";
    for (int i = 0; i < description.getVectorSize(); ++i) {
        text += " " + defaultText(description, i);
    }
    return text;
}

/// A condition keeps its braces: `disablewhen { a == 1 }`.
std::string conditionsText(const ZEL_ConditionalBase *base)
{
    std::string text;
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        const ZEL_Conditional *const condition = base ? base->getConditional(type) : nullptr;
        if (condition) {
            KIT_String list;
            condition->getStringFromList(list);
            list.trim();
            text += std::string("  ") + condition->getName(false) + " " + list.nonNullStr();
        }
    }
    return text;
}

void appendTree(std::string &out, const ZEL_Template *from, const ZEL_Template *end, int level);

void appendFolders(std::string &out, const ZEL_Template *folders, int level)
{
    const ZEL_Default *const records = folders->getFactoryDefaults();
    const ZEL_ConditionalSwitcher *const tabs = asSwitcher(folders->getConditionalBasePtr());
    const ZEL_Template *member = folders + 1;
    for (int folder = 0; records && folder < folders->getVectorSize(); ++folder) {
        out += std::string(std::size_t(level) * 2, ' ') + "folder " +
               ZELTquote(records[folder].getString());
        out += conditionsText(tabs ? tabs->getTabConditional(folder) : nullptr) + '\n';
        const ZEL_Template *end = member;
        for (int i = 0; i < records[folder].getOrdinal() && !end->isTerminator(); ++i) {
            end = afterMember(end);
        }
        appendTree(out, member, end, level + 1);
        member = end;
    }
}

void appendTree(std::string &out, const ZEL_Template *from, const ZEL_Template *end, int level)
{
    for (const ZEL_Template *at = from; at != end && !at->isTerminator(); at = afterMember(at)) {
        out += std::string(std::size_t(level) * 2, ' ') + ZELTdescribeLine(*at) + '\n';
        if (at->isSwitcher()) {
            appendFolders(out, at, level + 1);
        } else if (at->isMultiType() && at->getMultiParmTemplate()) {
            appendTree(out, at->getMultiParmTemplate(), nullptr, level + 1);
        }
    }
}

} // namespace

std::string ZELTtypeWord(const ZEL_Template &description)
{
    if (const char *const word = multiWord(description)) {
        return word;
    }
    if (description.getType().hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_BASEPARM) &&
        !description.isSwitcher()) {
        return "baseparm";
    }
    if (description.isSwitcher()) {
        return description.getType().hasInterfaceType(ZEL_Type::ZEL_INTERFACE_EXCLUSIVE)
                   ? "groupradio"
                   : "group";
    }
    for (const bool withSize : {true, false}) {
        for (int i = 0; const ZEL_ScriptType *const row = ZELgetScriptType(i); ++i) {
            if (matches(description, *row, withSize)) {
                return ZELgetScriptTypeWord(i);
            }
        }
    }
    return "custom";
}

std::string ZELTtypeDump(const ZEL_Template &description)
{
    std::ostringstream os;
    description.getType().saveASCII(os);
    return os.str();
}

std::string ZELTdescribeLine(const ZEL_Template &description)
{
    std::string line = std::string(description.getToken()) + "  " +
                       ZELTquote(description.getLabel() ? description.getLabel() : "") + "  " +
                       ZELTtypeWord(description);
    const int size = description.getVectorSize();
    if (!description.isSwitcher() && !description.isMultiType()) {
        if (size > 1) {
            line += "  size " + std::to_string(size) + "  " + channelsText(description);
        }
        if (size > 0) {
            line += "  " + defaultsText(description);
        }
    }
    if (description.isMultiType()) {
        line += "  items " + (description.getFactoryDefaults()
                                  ? defaultText(description, 0)
                                  : ZELTnumber(description.getMultiSize()));
    }
    if (const ZEL_Range *const range = description.getRangePtr()) {
        line += "  range " + rangeEnd(range->getUIMin(), range->getMinFlag()) + ".." +
                rangeEnd(range->getUIMax(), range->getMaxFlag());
    }
    if (const ZEL_ChoiceList *const menu = shownMenu(description)) {
        line += "  " + menuText(*menu);
    }
    line += conditionsText(description.getConditionalBasePtr());
    for (const auto &[token, value] : tagsOf(description)) {
        line += "  tag " + token + "=" + ZELTquote(value);
    }
    if (!description.getType().isVisible()) {
        line += "  invisible";
    }
    if (description.exportLevel() != ZEL_Template::ZEL_EXPORT_0) {
        line += "  export " + std::to_string(int(description.exportLevel()));
    }
    return line;
}

std::string ZELTdescribeTree(const ZEL_Template *templates)
{
    std::string out;
    appendTree(out, templates, nullptr, 0);
    return out;
}

ZELT_Json ZELTdescribeJson(const ZEL_Template *templates)
{
    ZELT_Json out = ZELT_Json::array();
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        out.push_back(templateJson(*at));
    }
    return out;
}
