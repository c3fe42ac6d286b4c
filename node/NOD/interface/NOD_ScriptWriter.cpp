#include <NOD/interface/NOD_ScriptWriterPrivate.h>

#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/interface/NOD_TemplateFieldsPrivate.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_ScriptQuote.h>
#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/ZEL_SpareData.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <vector>

namespace
{

std::string quoted(const char *text)
{
    KIT_WorkBuffer out;
    out.append('"');
    ZELprotectString(out, text, false, false);
    out.append('"');
    return std::string(out.view());
}

std::string digits(double value)
{
    return KIT_Digits(value).buffer();
}

/// What ends a block or a bracket wherever it is read as a word, in quotes too.
bool isBracket(std::string_view word)
{
    return word == "}" || word == "[" || word == "]";
}

bool joinsNext(const ZEL_Template *one)
{
    return one && !one->isSwitcher() &&
           (one->getJoinNext() || one->getTypeExtended() == ZEL_TYPEX_JOINED_NODE);
}

const char *tagOf(const ZEL_Template &one, const char *token)
{
    const ZEL_SpareData *const spare = one.getSparePtr();
    return spare ? spare->getValue(KIT_StringRef(token)) : nullptr;
}

/// The menu that a script has to give; null if the type or the library does.
const ZEL_ChoiceList *writtenMenu(const ZEL_Template &parm)
{
    const ZEL_ChoiceList *const menu = parm.getChoiceListPtr();
    return menu && !parm.isAutomaticallyGeneratedChoiceList() && !menu->usesItems() &&
                   !menu->getChoiceGenerator()
               ? menu
               : nullptr;
}

const ZEL_Template *endOf(const ZEL_Template *templates)
{
    return templates ? templates + ZEL_Template::countTemplates(templates) : nullptr;
}

/// How many tabs the tag of hidden ones tells of: obsolete folders leave theirs in it.
int countTabs(const ZEL_Template &set)
{
    constexpr std::size_t theMost = 1000;
    const char *const tabs = tagOf(set, ZEL_SpareData::getVisibleTabsToken());
    return std::max(set.getVectorSize(),
                    tabs ? int(std::min(std::string_view(tabs).size(), theMost)) : 0);
}

void imply(std::map<std::string, std::string> &tags, const char *token, const char *value)
{
    if (value) {
        tags[token] = value;
    }
}

constexpr int theAllMembers = -1;
constexpr const char *theRadio = "groupradio";
constexpr const char *theTabs = "group";
constexpr const char *theCollection = "collection";
constexpr const char *theSimple = "groupsimple";
constexpr const char *theCollapsible = "groupcollapsible";

} // namespace

struct NOD_ScriptWriter::TypeWord
{
    const char *word;
    const ZEL_ScriptType *row;
    bool logarithmicFlag;
};

// ---------------------------------------------------------------------- //
// Lines
// ---------------------------------------------------------------------- //

std::string &NOD_ScriptWriter::line(std::string_view keyword)
{
    myText.append(std::size_t(myLevel) * 4, ' ');
    return myText += keyword;
}

void NOD_ScriptWriter::write(std::string_view keyword, std::string_view value)
{
    constexpr std::size_t theColumn = 8;
    line(keyword).append(std::max(theColumn, keyword.size() + 1) - keyword.size(), ' ');
    (myText += value) += '\n';
}

void NOD_ScriptWriter::writeText(std::string_view keyword, const char *text)
{
    write(keyword, quoted(text));
}

void NOD_ScriptWriter::writeNames(const char *token, const char *label)
{
    // A block without a name can't be read.
    const std::string_view name = token && *token ? token : "unnamed";
    writeText("name", std::string(name).c_str());
    if (label && name != label) {
        writeText("label", label);
    }
}

void NOD_ScriptWriter::open(std::string_view keyword)
{
    line(keyword) += keyword.empty() ? "{\n" : " {\n";
    ++myLevel;
}

void NOD_ScriptWriter::close()
{
    --myLevel;
    line("}\n");
}

// ---------------------------------------------------------------------- //
// Arrays
// ---------------------------------------------------------------------- //

void NOD_ScriptWriter::writeDialog(const ZEL_Template *templates, const std::string &name,
                                   const std::string &label)
{
    open("");
    writeNames(name.c_str(), label.empty() ? nullptr : label.c_str());
    writeMembers(templates, endOf(templates), theAllMembers);
    close();
}

const ZEL_Template *NOD_ScriptWriter::writeMembers(const ZEL_Template *at, const ZEL_Template *end,
                                                   int count)
{
    const ZEL_Template *before = nullptr;
    for (int i = 0; at != end && (count == theAllMembers || i < count); ++i) {
        const ZEL_Template *const one = at;
        at = writeOne(one, end, before, i + 1 == count);
        before = one;
    }
    return at;
}

const ZEL_Template *NOD_ScriptWriter::writeOne(const ZEL_Template *at, const ZEL_Template *end,
                                               const ZEL_Template *before, bool lastFlag)
{
    if (at->isSwitcher()) {
        return writeFolders(*at, end, before, lastFlag);
    }
    if (at->isMultiType() && !at->isRampType()) {
        writeBlock(*at);
    } else if (at->getType().hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_BASEPARM)) {
        writeBaseParm(*at);
    } else {
        const ZEL_Template *const after = at + 1;
        const bool endsLineFlag =
            lastFlag || after == end ||
            (after->isSwitcher() && folderKeyword(*after, at) != theCollection);
        writeParm(*at, endsLineFlag);
    }
    return at + 1;
}

std::string_view NOD_ScriptWriter::folderKeyword(const ZEL_Template &set,
                                                 const ZEL_Template *before)
{
    if (set.getType().hasInterfaceType(ZEL_Type::ZEL_INTERFACE_EXCLUSIVE)) {
        return theRadio;
    }
    if (countTabs(set) != 1) {
        return theTabs;
    }
    // Any other word would take the join from the parameter before.
    if (joinsNext(before)) {
        return theCollection;
    }
    // A hidden tab hides the whole set of these words.
    const ZEL_SpareData *const spare = set.getSparePtr();
    if (spare && (set.getInvisible() || spare->getVisibleTab(0))) {
        if (spare->containsAll(ZEL_SpareData::groupTypeSimple)) {
            return theSimple;
        }
        if (spare->containsAll(ZEL_SpareData::groupTypeCollapsible)) {
            return theCollapsible;
        }
    }
    return theTabs;
}

const ZEL_Template *NOD_ScriptWriter::writeFolders(const ZEL_Template &set, const ZEL_Template *end,
                                                   const ZEL_Template *before, bool lastFlag)
{
    const std::string_view keyword = folderKeyword(set, before);
    const ZEL_Template *const after = ZEL_Template::getEndOfSwitcher(&set);
    const bool chainFlag = (keyword == theTabs || keyword == theRadio) && !lastFlag &&
                           after != end && after->isSwitcher() &&
                           folderKeyword(*after, &set) == keyword;
    const ZEL_Template *at = &set + 1;
    const int folders = set.getVectorSize();
    if (folders == 0) {
        myLeftOut[&set] = "a set without folders can't be written in a script";
    }
    const int tabs = folders ? countTabs(set) : 0;
    for (int i = 0; i < tabs; ++i) {
        open(keyword);
        writeFolder(set, keyword, i);
        if (chainFlag && i + 1 == tabs) {
            line("tabbreak\n");
        }
        const ZEL_Default *const folder = i < folders ? NODgetDefault(set, i) : nullptr;
        at = writeMembers(at, end, folder ? std::max(folder->getOrdinal(), 0) : 0);
        close();
    }
    return at;
}

void NOD_ScriptWriter::writeFolder(const ZEL_Template &set, std::string_view keyword, int folder)
{
    const bool obsoleteFlag = folder >= set.getVectorSize();
    const ZEL_Default *const record = obsoleteFlag ? nullptr : NODgetDefault(set, folder);
    const char *const label = record ? record->getString() : "";
    const std::string token = set.getToken() ? set.getToken() : "";
    if (folder == 0) {
        writeNames(token.c_str(), label);
        if (set.getInvisible()) {
            line("invisible\n");
        }
        if (set.getType().hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_BASEPARM)) {
            line("baseparm\n");
        }
        writeConditions(set.getConditionalBasePtr(), "");
        Tags implied;
        imply(implied, ZEL_SpareData::getVisibleTabsToken(),
              tagOf(set, ZEL_SpareData::getVisibleTabsToken()));
        if (keyword == theSimple || keyword == theCollapsible) {
            imply(implied, ZEL_SpareData::getGroupTypeToken(),
                  tagOf(set, ZEL_SpareData::getGroupTypeToken()));
        }
        writeTags(set, implied);
    } else {
        // The templates don't have the names of later folders.
        writeNames((token + "_" + std::to_string(folder + 1)).c_str(),
                   obsoleteFlag ? nullptr : label);
    }
    if (obsoleteFlag) {
        line("obsolete\n");
    }
    if (set.getSparePtr() && !set.getSparePtr()->getVisibleTab(folder)) {
        line("invisibletab\n");
    }
    const ZEL_ConditionalBase *const conditions = set.getConditionalBasePtr();
    if (conditions && conditions->groupType() == ZEL_CONDGROUP_SWITCHER) {
        writeConditions(
            static_cast<const ZEL_ConditionalSwitcher *>(conditions)->getTabConditional(folder),
            "tab");
    }
}

void NOD_ScriptWriter::writeBlock(const ZEL_Template &block)
{
    const ZEL_Template *const items = block.getMultiParmTemplate();
    if (std::find(myPath.begin(), myPath.end(), items) != myPath.end()) {
        myLeftOut[&block] = "a block in itself can't be written in a script";
        return;
    }
    const ZEL_MultiType kind = block.getMultiType() & ZEL_MULTITYPE_KIND_MASK;
    open(kind == ZEL_MULTITYPE_SWITCHER ? "multiswitcher"
         : kind == ZEL_MULTITYPE_SCROLL ? "multiscroll"
                                        : "multiparm");
    writeNames(block.getToken(), block.getLabel());
    if (block.getInvisible()) {
        line("invisible\n");
    }
    if (const ZEL_Default *const count = NODgetDefault(block, 0)) {
        write("default", digits(count->getFloat()));
    }
    writeRange(block);
    const ZEL_ConditionalBase *const conditions = block.getConditionalBasePtr();
    writeConditions(conditions, "");
    if (conditions && conditions->groupType() == ZEL_CONDGROUP_SWITCHER) {
        constexpr int theOnlyTab = 0;
        writeConditions(
            static_cast<const ZEL_ConditionalSwitcher *>(conditions)->getTabConditional(theOnlyTab),
            "tab");
    }
    writeTags(block, {});
    myPath.push_back(items);
    writeMembers(items, endOf(items), theAllMembers);
    myPath.pop_back();
    close();
}

void NOD_ScriptWriter::writeBaseParm(const ZEL_Template &parm)
{
    open("parm");
    writeNames(parm.getToken(), parm.getLabel());
    line("baseparm\n");
    writeLook(parm);
    close();
}

void NOD_ScriptWriter::writeParm(const ZEL_Template &parm, bool endsLineFlag)
{
    const TypeWord type = findType(parm);
    open("parm");
    writeNames(parm.getToken(), parm.getLabel());
    write("type", type.word);
    const int size = parm.getVectorSize();
    if (size != std::max(type.row->size, 1) && !parm.getType().hasAllOf(ZEL_SEPARATOR)) {
        write("size", std::to_string(size));
    }
    writeLook(parm);
    // The end of a line takes one join away: a look makes other menus of an ordinal possible, and a
    // joined menu stays one.
    const ZEL_ChoiceList *const menu = writtenMenu(parm);
    const bool otherMenuFlag =
        menu && !(menu->getType() & ZEL_CHOICELIST_EXCLUSIVE_BIT) && *type.row->type == ZEL_ORD_E;
    if (endsLineFlag && (otherMenuFlag || parm.getTypeExtended() == ZEL_TYPEX_JOINED_NODE)) {
        line("joinnext\n");
    }
    if (type.logarithmicFlag) {
        line("logarithmic\n");
    }
    writeMenu(parm);
    writeDefaults(parm);
    writeRange(parm);
    if (parm.getHelpText() && *parm.getHelpText()) {
        writeText("help", parm.getHelpText());
    }
    writeConditions(parm.getConditionalBasePtr(), "");
    Tags implied;
    imply(implied, ZEL_SpareData::getOpFilterToken(), type.row->opFilter);
    imply(implied, ZEL_SpareData::getOpRelativeToken(), type.row->opRelative);
    if (const char *const script = tagOf(parm, ZEL_SpareData::getCallbackToken())) {
        writeText("callback", script);
        imply(implied, ZEL_SpareData::getCallbackToken(), script);
    }
    if (tagOf(parm, ZEL_SpareData::getUnquotedToken())) {
        line("unquoted\n");
        imply(implied, ZEL_SpareData::getUnquotedToken(), "1");
    }
    writeTags(parm, implied);
    close();
}

// ---------------------------------------------------------------------- //
// The type
// ---------------------------------------------------------------------- //

namespace
{

int countEqualWords(const ZEL_Type &left, const ZEL_Type &right)
{
    return (left.getBasicType() == right.getBasicType()) * 10 +
           (left.getFloatType() == right.getFloatType()) +
           (left.getOrdinalType() == right.getOrdinalType()) +
           (left.getStringType() == right.getStringType()) +
           (left.getDataType() == right.getDataType()) +
           (left.getPathType() == right.getPathType()) +
           (left.getChannelType() == right.getChannelType()) +
           (left.getInterfaceType() == right.getInterfaceType()) +
           (left.getBehaviorType() == right.getBehaviorType());
}

/// Above 0 if the word sets the tag as the template has it; below if the template has none.
int rateTag(const char *implied, const char *value)
{
    if (!implied) {
        return 0;
    }
    return !value ? -4 : std::string_view(value) == implied ? 2 : -1;
}

/// How near a word comes to the template; higher is nearer.
int rateType(const ZEL_ScriptType &row, const ZEL_Template &parm, const ZEL_Type &type)
{
    ZEL_Type offered = *row.type;
    if (!offered.hasAnyOf(ZEL_TYPE_SEPARATOR)) {
        offered |= ZEL_TYPE_CHANNEL;
    }
    const ZEL_TypeExtended extended = parm.getTypeExtended();
    const bool menuFlag =
        writtenMenu(parm) && (extended == ZEL_TYPEX_MINI_MENU || extended == ZEL_TYPEX_JOINED_NODE);
    return 100 * countEqualWords(offered, type) + 10 * (row.extended == extended || menuFlag) +
           (row.size != 0 && row.size == parm.getVectorSize()) -
           (row.size != 0 && row.size != parm.getVectorSize()) +
           rateTag(row.opFilter, tagOf(parm, ZEL_SpareData::getOpFilterToken())) +
           rateTag(row.opRelative, tagOf(parm, ZEL_SpareData::getOpRelativeToken()));
}

} // namespace

NOD_ScriptWriter::TypeWord NOD_ScriptWriter::findType(const ZEL_Template &parm)
{
    ZEL_Type type = parm.getType();
    type.clear(ZEL_TYPE_INVISIBLE | ZEL_TYPE_JOIN_NEXT | ZEL_TYPE_LABEL_NONE | ZEL_TYPE_NOCOOK);
    if (tagOf(parm, ZEL_SpareData::getUnquotedToken())) {
        type.clear(ZEL_TYPE_UNQUOTED);
    }
    ZEL_Type plain = type;
    plain.clear(ZEL_TYPE_LOGARITHMIC);
    const bool canLogFlag = type.isFloatType() && type != plain;
    const ZEL_MultiType ramp =
        parm.isRampType() ? parm.getMultiType() & (ZEL_MULTITYPE_RAMP_FLT | ZEL_MULTITYPE_RAMP_RGB)
                          : ZEL_MULTITYPE_NONE;
    TypeWord best{};
    int bestRate = -1;
    for (int i = 0; ZELgetScriptType(i); ++i) {
        const ZEL_ScriptType &row = *ZELgetScriptType(i);
        if (row.multiType != ramp) {
            continue;
        }
        const auto consider = [&](const ZEL_Type &wanted, bool logarithmicFlag) {
            const int rate = rateType(row, parm, wanted) - logarithmicFlag;
            if (rate > bestRate) {
                bestRate = rate;
                best = {ZELgetScriptTypeWord(i), &row, logarithmicFlag};
            }
        };
        consider(type, false);
        if (canLogFlag && !row.type->hasAnyOf(ZEL_TYPE_INTEGER)) {
            consider(plain, true);
        }
    }
    return best;
}

// ---------------------------------------------------------------------- //
// The rest of a parameter
// ---------------------------------------------------------------------- //

void NOD_ScriptWriter::writeLook(const ZEL_Template &parm)
{
    if (parm.getInvisible()) {
        line("invisible\n");
    }
    if (parm.getLabelNone()) {
        line("nolabel\n");
    }
    if (parm.getJoinNext()) {
        line("joinnext\n");
    }
    if (parm.exportLevel() >= ZEL_Template::ZEL_EXPORT_2) {
        write("export", parm.exportLevel() == ZEL_Template::ZEL_EXPORT_2 ? "dialog" : "all");
    }
}

void NOD_ScriptWriter::writeMenu(const ZEL_Template &parm)
{
    const ZEL_ChoiceList *const menu = writtenMenu(parm);
    // An ordinal has a menu without entries in any case.
    if (!menu || (parm.getType().isOrdinalType() && menu->getStaticSize() == 0)) {
        return;
    }
    const ZEL_ChoiceListType kind = menu->getType();
    std::string keyword = "menu";
    if (kind & ZEL_CHOICELIST_EXCLUSIVE_BIT) {
        keyword += parm.getTypeExtended() == ZEL_TYPEX_MINI_MENU     ? "mini"
                   : parm.getTypeExtended() == ZEL_TYPEX_JOINED_NODE ? "join"
                                                                     : "";
    } else {
        keyword += kind & ZEL_CHOICELIST_TOGGLE ? "toggle" : "replace";
    }
    open(keyword + (kind & ZEL_CHOICELIST_USE_TOKEN ? " usetokenvalue" : ""));
    if (menu->getStaticSize() < 0) {
        writeMenuScript(menu->getScript().view(),
                        menu->getScriptLanguage() == TRK_SCRIPT_COMMAND
                            ? nullptr
                            : TRKscriptLanguageAsString(menu->getScriptLanguage()));
    }
    for (const ZEL_Name *at = menu->choiceNamesPtr(); at && !at->isSentinel(); ++at) {
        if (!isBracket(at->getToken()) && std::string_view(at->getLabel()) != "}") {
            write(quoted(at->getToken()), quoted(at->getLabel()));
        }
    }
    close();
}

void NOD_ScriptWriter::writeMenuScript(std::string_view script, const char *language)
{
    // A line that is one bracket would end the script: it goes with the line before, else the next.
    std::vector<std::string> parts;
    while (true) {
        const std::size_t end = script.find('\n');
        const std::string one(script.substr(0, end));
        if (!parts.empty() && (isBracket(one) || isBracket(parts.back()))) {
            parts.back() += "\n" + one;
        } else {
            parts.push_back(one);
        }
        if (end == std::string_view::npos) {
            break;
        }
        script.remove_prefix(end + 1);
    }
    if (parts.size() == 1 && isBracket(parts.front())) {
        parts.front() += " ";
    }
    for (const std::string &part : parts) {
        line("[ ") += quoted(part.c_str()) + " ]\n";
    }
    if (language) {
        write("language", language);
    }
}

void NOD_ScriptWriter::writeDefaults(const ZEL_Template &parm)
{
    const bool stringFlag = parm.getType().isStringType();
    std::string values;
    bool anyFlag = false;
    for (int i = 0; i < parm.getVectorSize(); ++i) {
        const ZEL_Default *const found = NODgetDefault(parm, i);
        anyFlag = anyFlag || found;
        const ZEL_Default value = found ? *found : ZEL_Default();
        if (!value.gotString()) {
            values += " " + (stringFlag ? "\"\"" : digits(value.getFloat()));
            continue;
        }
        const char *const text = value.getString();
        const bool plainFlag = value.getStringMeaning() == TRK_MEANING_LITERAL && !isBracket(text);
        values += plainFlag ? " " + quoted(text)
                            : " [ " + quoted(text) + " " +
                                  TRKmeaningToString(value.getStringMeaning()) + " ]";
    }
    if (anyFlag) {
        write("default", "{" + values + " }");
    }
}

void NOD_ScriptWriter::writeRange(const ZEL_Template &parm)
{
    const ZEL_Range *const range = parm.getRangePtr();
    // A ramp has this one without a word.
    const bool givenFlag = parm.isRampType() && range && range->getMinFlag() == ZEL_RANGE_HARD &&
                           range->getUIMin() == 1.0 && range->getMaxFlag() == ZEL_RANGE_UI &&
                           range->getUIMax() == 10.0;
    if (!range || givenFlag) {
        return;
    }
    const auto end = [](double value, bool hardFlag) {
        return digits(value) + (hardFlag ? "!" : "");
    };
    write("range", "{ " + end(range->getUIMin(), range->hasParmMin()) + " " +
                       end(range->getUIMax(), range->hasParmMax()) + " }");
}

void NOD_ScriptWriter::writeConditions(const ZEL_ConditionalBase *base, const char *ending)
{
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        const ZEL_Conditional *const one = base ? base->getConditional(type) : nullptr;
        if (one) {
            writeCondition(std::string(ZEL_Conditional::getName(type, false)) + ending, *one);
        }
    }
}

void NOD_ScriptWriter::writeCondition(const std::string &keyword, const ZEL_Conditional &condition)
{
    KIT_String text;
    condition.getStringFromList(text);
    const ZEL_Conditional again(text.nonNullStr(), condition.getType());
    if (NODconditionText(&again) == NODconditionText(&condition)) {
        writeText(keyword, text.nonNullStr());
        return;
    }
    // Groups without comparisons, and operands that the text form takes apart.
    open(keyword);
    for (int i = 0; i < condition.entries(); ++i) {
        const ZEL_ConditionalInfo &group = *condition(i);
        line("{");
        for (int j = 0; j < group.entries(); ++j) {
            const KIT_String &left = group.getControlParms()(j);
            const KIT_String &right = group.getControlValues()(j);
            const char *const op = ZEL_Conditional::getOperatorString(group.getOperators()(j));
            if (op && left != "}" && right != "}") {
                myText += " " + quoted(left) + " " + op + " " + quoted(right);
            }
        }
        myText += " }\n";
    }
    close();
}

void NOD_ScriptWriter::writeTags(const ZEL_Template &parm, const Tags &implied)
{
    Tags tags;
    if (const ZEL_SpareData *const spare = parm.getSparePtr()) {
        spare->traverseConst(
            [](const char *token, const char *value, void *data) {
                (*static_cast<Tags *>(data))[token] = value;
                return 1;
            },
            &tags);
    }
    if (parm.getType().hasBehaviorType(ZEL_Type::ZEL_BEHAVIOR_NOCOOK)) {
        tags.emplace(ZEL_SpareData::getCookDependentToken(), "0");
    }
    for (const auto &[token, value] : tags) {
        const auto found = implied.find(token);
        if (token != "}" && (found == implied.end() || found->second != value)) {
            write("parmtag", "{ " + quoted(token.c_str()) + " " + quoted(value.c_str()) + " }");
        }
    }
}
