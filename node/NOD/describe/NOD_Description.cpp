#include <NOD/NOD_Description.h>

#include <KIT/KIT_String.h>
#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Node.h>
#include <NOD/interface/NOD_HelpPagePrivate.h>
#include <NOD/interface/NOD_TemplateFieldsPrivate.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_Item.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <algorithm>
#include <sstream>

namespace
{

std::string textOf(const char *text)
{
    return text ? text : "";
}

// ---------------------------------------------------------------------- //
// The word of a type
// ---------------------------------------------------------------------- //

/// Without what other keywords set.
ZEL_Type withoutFlags(ZEL_Type type)
{
    type.clear(ZEL_TYPE_INVISIBLE | ZEL_TYPE_JOIN_NEXT | ZEL_TYPE_LABEL_NONE | ZEL_TYPE_CHANNEL |
               ZEL_TYPE_NOCOOK | ZEL_TYPE_UNQUOTED);
    type.clear(ZEL_Type(ZEL_Type::ZEL_BehaviorType(ZEL_Type::ZEL_BEHAVIOR_NORESIM |
                                                   ZEL_Type::ZEL_BEHAVIOR_BASEPARM)));
    return type;
}

bool matches(const ZEL_Template &description, const ZEL_ScriptType &row, bool withSize)
{
    const ZEL_TypeExtended extended = description.getTypeExtended();
    const bool pathFlag = extended == ZEL_TYPEX_NODE_PATH || extended == ZEL_TYPEX_NODE_PATHS;
    const ZEL_SpareData *const spare = description.getSparePtr();
    const char *const filter = spare ? spare->getOpFilter() : nullptr;
    return row.multiType == ZEL_MULTITYPE_NONE &&
           withoutFlags(description.getType()) == withoutFlags(*row.type) &&
           (row.extended == extended || (row.extended == ZEL_TYPEX_NONE && !pathFlag)) &&
           (!withSize || row.size == 0 || row.size == description.getVectorSize()) &&
           (!row.opFilter || textOf(filter) == row.opFilter);
}

/// The word of a row that the template has all of; of several, one that says more: a filter, a size.
const char *parmWord(const ZEL_Template &description)
{
    for (const bool withSize : {true, false}) {
        const char *found = nullptr;
        for (int i = 0; const ZEL_ScriptType *const row = ZELgetScriptType(i); ++i) {
            if (matches(description, *row, withSize) && (!found || row->opFilter)) {
                found = ZELgetScriptTypeWord(i);
            }
        }
        if (found) {
            return found;
        }
    }
    return "custom";
}

const char *folderWord(const ZEL_Template &description)
{
    if (description.getType().hasInterfaceType(ZEL_Type::ZEL_INTERFACE_EXCLUSIVE)) {
        return "groupradio";
    }
    const ZEL_SpareData *const spare = description.getSparePtr();
    const auto isOf = [spare](const ZEL_SpareData &kind) {
        return spare && spare->containsAll(kind);
    };
    return isOf(ZEL_SpareData::groupTypeSimple)        ? "groupsimple"
           : isOf(ZEL_SpareData::groupTypeCollapsible) ? "groupcollapsible"
                                                       : "group";
}

const char *typeWord(const ZEL_Template &description)
{
    if (description.isMultiType()) {
        switch (description.getMultiType() & ZEL_MULTITYPE_KIND_MASK) {
        case ZEL_MULTITYPE_SCROLL: return "multiscroll";
        case ZEL_MULTITYPE_SWITCHER: return "multiswitcher";
        case ZEL_MULTITYPE_RAMP_FLT: return "ramp_flt";
        case ZEL_MULTITYPE_RAMP_RGB: return "ramp_rgb";
        default: return "multiparm";
        }
    }
    return description.isSwitcher() ? folderWord(description)
           : description.getType().hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_BASEPARM)
               ? "baseparm"
               : parmWord(description);
}

const char *valueWord(const ZEL_Type &type)
{
    return type.isFloatType()     ? "float"
           : type.isOrdinalType() ? "integer"
           : type.isStringType()  ? "text"
           : type.isDataType()    ? "data"
                                  : "none";
}

// ---------------------------------------------------------------------- //
// Parts
// ---------------------------------------------------------------------- //

NOD_DescribedTags tagsOf(const ZEL_SpareData *spare)
{
    NOD_DescribedTags tags;
    if (spare) {
        spare->traverseConst(
            [](const char *token, const char *value, void *data) {
                (*static_cast<NOD_DescribedTags *>(data))[token] = value;
                return 1;
            },
            &tags);
    }
    return tags;
}

/// Moves the tags of one folder, `name:2`, out of those of the set.
NOD_DescribedTags takeFolderTags(NOD_DescribedTags &tags, int folder)
{
    const std::string ending = ":" + std::to_string(folder);
    NOD_DescribedTags taken;
    for (auto at = tags.begin(); at != tags.end();) {
        const std::string &token = at->first;
        if (token.size() > ending.size() &&
            token.compare(token.size() - ending.size(), ending.size(), ending) == 0) {
            taken[token.substr(0, token.size() - ending.size())] = at->second;
            at = tags.erase(at);
        } else {
            ++at;
        }
    }
    return taken;
}

std::vector<NOD_DescribedCondition> conditionsOf(const ZEL_ConditionalBase *base)
{
    std::vector<NOD_DescribedCondition> out;
    for (const ZEL_ConditionalType type :
         {ZEL_CONDTYPE_DISABLE, ZEL_CONDTYPE_HIDE, ZEL_CONDTYPE_NOCOOK}) {
        if (const ZEL_Conditional *const condition = base ? base->getConditional(type) : nullptr) {
            out.push_back(NODdescribe(*condition));
        }
    }
    return out;
}

const ZEL_ConditionalSwitcher *asSwitcher(const ZEL_ConditionalBase *base)
{
    return base && base->groupType() == ZEL_CONDGROUP_SWITCHER
               ? static_cast<const ZEL_ConditionalSwitcher *>(base)
               : nullptr;
}

template <class Record>
void addEntries(const Record *records, std::vector<NOD_DescribedEntry> &entries)
{
    for (; records && !records->isSentinel(); ++records) {
        entries.push_back({textOf(records->getToken()), textOf(records->getLabel())});
    }
}

std::optional<NOD_DescribedMenu> menuOf(const ZEL_Template &description)
{
    const ZEL_ChoiceList *const menu = description.getChoiceListPtr();
    if (!menu || description.isAutomaticallyGeneratedChoiceList()) {
        return std::nullopt;
    }
    NOD_DescribedMenu out;
    out.mode = menu->getType() & ZEL_CHOICELIST_TOGGLE          ? "toggle"
               : menu->getType() & ZEL_CHOICELIST_EXCLUSIVE_BIT ? "exclusive"
                                                                : "replace";
    out.usesToken = (menu->getType() & ZEL_CHOICELIST_USE_TOKEN) != 0;
    out.isDynamic = menu->isDynamic();
    if (menu->getScript().isstring()) {
        out.language = TRKscriptLanguageAsString(menu->getScriptLanguage());
        out.script = menu->getScript().nonNullStr();
    } else if (menu->usesItems()) {
        addEntries(menu->choiceItemsPtr(), out.entries);
    } else {
        addEntries(menu->choiceNamesPtr(), out.entries);
    }
    return out;
}

void describeRange(const ZEL_Template &description, NOD_DescribedParm &out)
{
    const ZEL_Range *const range = description.getRangePtr();
    out.hasRange = range != nullptr;
    if (range && range->getMinFlag() != ZEL_RANGE_FREE) {
        out.min = NOD_DescribedLimit{range->getUIMin(), range->hasParmMin()};
    }
    if (range && range->getMaxFlag() != ZEL_RANGE_FREE) {
        out.max = NOD_DescribedLimit{range->getUIMax(), range->hasParmMax()};
    }
}

void describeDefaults(const ZEL_Template &description, NOD_DescribedParm &out)
{
    for (int i = 0; i < description.getVectorSize(); ++i) {
        const ZEL_Default *const record = NODgetDefault(description, i);
        if (!record && !description.getFactoryDefaults() && out.defaults.empty()) {
            continue;
        }
        NOD_DescribedDefault one;
        one.number = record ? record->getFloat() : 0.0;
        if (record && record->gotString()) {
            one.text = record->getString();
            one.meaning = TRKmeaningToString(record->getStringMeaning());
        }
        out.defaults.push_back(std::move(one));
    }
}

/// What a new list has: the default, held to the range.
std::optional<int> countItems(const ZEL_Template &block)
{
    const ZEL_Default *const record = NODgetDefault(block, 0);
    if (record && record->gotString() && record->getStringMeaning() != TRK_MEANING_LITERAL) {
        return std::nullopt;
    }
    double count = record ? record->getFloat() : 0.0;
    if (const ZEL_Range *const range = block.getRangePtr()) {
        count = range->constrain(count);
    }
    return std::max(0, ZEL_Default(count).getOrdinal());
}

// ---------------------------------------------------------------------- //
// The tree
// ---------------------------------------------------------------------- //

std::string helpOf(const ZEL_ScriptPage *page)
{
    const auto *const withHelp = dynamic_cast<const NOD_HelpPage *>(page);
    return withHelp ? withHelp->getHelp() : "";
}

/// Walks templates and, beside them, the pages of the script that they come from.
class Describer
{
public:
    explicit Describer(NOD_Description *whole) : myWhole(whole) {}

    std::vector<NOD_DescribedParm> describe(const ZEL_Template *templates, ZEL_ScriptPage *page)
    {
        constexpr int theAll = -1;
        const ZEL_Template *at = templates;
        return members(at, theAll, page);
    }

    void addPage(const ZEL_ScriptPage &page, const std::string &folder)
    {
        const ZEL_ScriptImports *const imports = page.getImports();
        for (int i = 0; imports && i < imports->entries(); ++i) {
            addImport(page, *imports->getBlock(i), folder);
        }
        for (int i = 0; i < page.getObsoleteParmEntries(); ++i) {
            addObsolete(*page.getObsoleteParm(i));
        }
    }

private:
    void addImport(const ZEL_ScriptPage &page, const ZEL_ScriptImportBlock &block,
                   const std::string &folder)
    {
        NOD_DescribedImport out;
        out.label = block.label.nonNullStr();
        out.source = block.source.nonNullStr();
        out.token = block.token.nonNullStr();
        out.mask = block.mask.nonNullStr();
        out.isEnabled = block.enable;
        out.level = block.nestLevel + myDepth;
        out.folder = folder;
        for (int i = block.offset; i < block.offset + block.size; ++i) {
            if (const ZEL_ScriptParm *const parm = page.getParm(i)) {
                out.tokens.push_back(textOf(parm->getName().getToken()));
            }
        }
        myWhole->imports.push_back(std::move(out));
    }

    /// Of obsolete folders those that are in them.
    void addObsolete(const ZEL_ScriptParm &parm)
    {
        const ZEL_ScriptGroup *const group = parm.getGroup();
        if (!group || group->isMultiParm()) {
            myWhole->obsolete.push_back(textOf(parm.getName().getToken()));
            return;
        }
        for (int i = 0; i < group->getPageCount(); ++i) {
            for (int k = 0; k < group->getPage(i)->getParmEntries(); ++k) {
                addObsolete(*group->getPage(i)->getParm(k));
            }
        }
    }

    /// So many members from `at`, which ends up after them; all up to the terminator for a count below 0.
    std::vector<NOD_DescribedParm> members(const ZEL_Template *&at, int count, ZEL_ScriptPage *page)
    {
        std::vector<NOD_DescribedParm> out;
        for (int i = 0; at && !at->isTerminator() && i != count; ++i) {
            const ZEL_ScriptParm *record = page ? page->getParm(i) : nullptr;
            if (record && textOf(record->getName().getToken()) != textOf(at->getToken())) {
                record = nullptr;
            }
            out.push_back(member(at, record));
        }
        return out;
    }

    NOD_DescribedParm member(const ZEL_Template *&at, const ZEL_ScriptParm *record)
    {
        const ZEL_Template &description = *at++;
        NOD_DescribedParm out = NODdescribeOne(description);
        if (record) {
            out.option = record->getOption().nonNullStr();
            out.isRequired = record->getFlag(ZEL_ScriptParm::REQUIRED) != 0;
        }
        const ZEL_ScriptGroup *const group = record ? record->getGroup() : nullptr;
        ++myDepth;
        if (out.kind == NOD_DescribedParm::Kind::FOLDERS) {
            addFolders(description, group, at, out);
        } else if (out.kind == NOD_DescribedParm::Kind::BLOCK && !description.isRampType()) {
            addItems(description, group, out);
        }
        --myDepth;
        return out;
    }

    void addFolders(const ZEL_Template &set, const ZEL_ScriptGroup *group, const ZEL_Template *&at,
                    NOD_DescribedParm &out)
    {
        const ZEL_ConditionalSwitcher *const tabs = asSwitcher(set.getConditionalBasePtr());
        for (int i = 0; i < set.getVectorSize(); ++i) {
            const ZEL_Default *const record = NODgetDefault(set, i);
            ZEL_ScriptPage *const page = group ? group->getPage(i) : nullptr;
            NOD_DescribedFolder folder;
            folder.name = page ? page->getToken().nonNullStr() : "";
            folder.label = record ? record->getString() : "";
            folder.isTabInvisible = set.getSparePtr() && !set.getSparePtr()->getVisibleTab(i);
            folder.help = helpOf(page);
            folder.conditions = conditionsOf(tabs ? tabs->getTabConditional(i) : nullptr);
            folder.tags = takeFolderTags(out.tags, i);
            if (page && i > 0) {
                const NOD_DescribedTags own = tagsOf(page->getSpareData(false));
                folder.tags.insert(own.begin(), own.end()); // the set has the first one's
            }
            if (page && myWhole) {
                addPage(*page, folder.name);
            }
            folder.members = members(at, record ? std::max(record->getOrdinal(), 0) : 0, page);
            out.folders.push_back(std::move(folder));
        }
    }

    void addItems(const ZEL_Template &block, const ZEL_ScriptGroup *group, NOD_DescribedParm &out)
    {
        const ZEL_Template *items = block.getMultiParmTemplate();
        out.isRecursive = std::find(myPath.begin(), myPath.end(), items) != myPath.end();
        if (out.isRecursive) {
            return;
        }
        ZEL_ScriptPage *const page = group ? group->getPage(0) : nullptr;
        if (page) {
            out.help = helpOf(page);
        }
        if (page && myWhole) {
            addPage(*page, out.token);
        }
        myPath.push_back(items);
        out.members = describe(items, page);
        myPath.pop_back();
    }

    NOD_Description *myWhole; ///< null for templates alone
    int myDepth = 0;
    std::vector<const ZEL_Template *> myPath; ///< blocks around
};

} // namespace

NOD_DescribedCondition NODdescribe(const ZEL_Conditional &condition)
{
    NOD_DescribedCondition out;
    KIT_String text;
    condition.getStringFromList(text);
    text.trim();
    out.keyword = condition.getName(false);
    out.text = text.nonNullStr();
    for (int i = 0; i < condition.entries(); ++i) {
        const ZEL_ConditionalInfo &info = *condition(i);
        std::vector<NOD_DescribedCondition::Comparison> group;
        for (int k = 0; k < info.entries(); ++k) {
            group.push_back({info.getControlParms()(k).nonNullStr(),
                             textOf(ZEL_Conditional::getOperatorString(info.getOperators()(k))),
                             info.getControlValues()(k).nonNullStr()});
        }
        out.groups.push_back(std::move(group));
    }
    return out;
}

NOD_DescribedParm NODdescribeOne(const ZEL_Template &description)
{
    NOD_DescribedParm out;
    out.token = textOf(description.getToken());
    out.label = textOf(description.getLabel());
    out.type = typeWord(description);
    std::ostringstream flags;
    description.getType().saveASCII(flags);
    out.flags = flags.str();
    out.value = description.isSwitcher() ? "none" : valueWord(description.getType());
    out.extended = int(description.getTypeExtended());
    out.size = description.getVectorSize();
    out.conditions = conditionsOf(description.getConditionalBasePtr());
    out.tags = tagsOf(description.getSparePtr());
    out.exportLevel = int(description.exportLevel());
    out.help = textOf(description.getHelpText());
    out.isInvisible = description.getInvisible();
    out.joinsNext = description.getJoinNext();
    out.hasNoLabel = description.getLabelNone();
    out.isNoCook = description.getType().hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOCOOK);
    if (description.isSwitcher()) {
        out.kind = NOD_DescribedParm::Kind::FOLDERS;
        return out;
    }
    for (int i = 0; i < out.size; ++i) {
        out.channels.push_back(description.getChannelToken(i).nonNullStr());
    }
    describeDefaults(description, out);
    describeRange(description, out);
    out.menu = menuOf(description);
    if (description.isMultiType()) {
        out.kind = NOD_DescribedParm::Kind::BLOCK;
        out.items = countItems(description);
        out.start = description.getMultiStartOffset();
    }
    return out;
}

std::vector<NOD_DescribedParm> NODdescribe(const ZEL_Template *templates)
{
    return Describer(nullptr).describe(templates, nullptr);
}

NOD_Description NODdescribe(const NOD_Interface &interface)
{
    NOD_Description out;
    out.label = interface.getLabel();
    out.typeName = interface.getTypeName();
    out.file = interface.getFile();
    out.help = interface.getHelp();
    // Reading a page changes nothing of it; it has no const access to its spare data.
    auto *const page = const_cast<ZEL_ScriptPage *>(interface.getPage());
    Describer describer(&out);
    if (page) {
        out.name = page->getToken().nonNullStr();
        out.tags = tagsOf(page->getSpareData(false));
        out.isRenderMan = page->getFlag(ZEL_ScriptPage::RENDERMAN) != 0;
        out.isShading = page->getFlag(ZEL_ScriptPage::SHADING) != 0;
        describer.addPage(*page, "");
    }
    out.parms = describer.describe(interface.getTemplates(), page);
    return out;
}

std::vector<NOD_DescribedParm> NODdescribeSpares(const NOD_Node &node)
{
    const NOD_SpareParms::Set set = node.getSpareParms().getSet();
    if (!set) {
        return {};
    }
    std::vector<ZEL_Template> templates = set->templates;
    templates.emplace_back(); // the terminator
    return NODdescribe(templates.data());
}
