#include <DS/DS_ScriptReader.h>

#include <DS/DS_ParmInfo.h>
#include <DS/DS_Stream.h>
#include <DS/writer/DS_OwnedPrivate.h>
#include <DS/writer/DS_ScriptReaderPrivate.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ScriptGroup.h>
#include <ZEL/ZEL_ScriptTypes.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <set>
#include <sstream>

namespace
{

/// A slash within a label is escaped, so that it doesn't start another folder. Two adjacent folders
/// with the same label get different escapes, because the writer would merge folders with equal
/// names.
std::string folderWord(const char *label, bool otherForm)
{
    std::string word = DSscriptWord(label);
    if (otherForm && *label) {
        char first[8];
        std::snprintf(first, sizeof(first), "\"\\%03o", static_cast<unsigned char>(*label));
        word = first + DSscriptQuoted(label + 1).substr(1);
    }
    for (size_t at = 0; (at = word.find('/', at)) != std::string::npos; at += 4) {
        word.replace(at, 1, "\\057");
    }
    return word;
}

/// A text with escapes but without quotes, which the writer adds.
KIT_String escaped(const char *text)
{
    return KIT_String(ZEL_ScriptParm::protectString(text, 0), true);
}

/// The names of folders as they are joined into a group path.
const char *labelOf(const ZEL_ScriptPage &page)
{
    return page.getLabel().isstring() ? page.getLabel().nonNullStr() : page.getToken().nonNullStr();
}

/// Keywords such as "vector" set a size above 1, and a size of 1 is never written.
void settleSingleNumber(DS_ParmInfo &info)
{
    const ZEL_ScriptType *const row = ZELgetScriptType(ZELlookupScriptType(info.getTypeToken()));
    if (info.size == 1 && row && row->size > 1) {
        const ZEL_Type look(info.type.getInterfaceType());
        info.type =
            (info.type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER) ? ZEL_INT_E : ZEL_FLT_E) | look;
    }
}

bool isWholeNumber(double value)
{
    return value == std::floor(value) && std::fabs(value) <= INT32_MAX;
}

int addAttribute(const char *token, const char *value, void *data)
{
    (*static_cast<std::map<std::string, std::string> *>(data))[token] = value;
    return 1;
}

} // namespace

// -------------------------------------------------------------------- //
// Life and reading
// -------------------------------------------------------------------- //

DS_ScriptReader::DS_ScriptReader(const char *source) : myDialog(std::make_unique<Dialog>())
{
    myDialog->source.harden(source);
}

DS_ScriptReader::~DS_ScriptReader() = default;

ZEL_ScriptPage &DS_ScriptReader::getPage()
{
    return myDialog->page;
}

bool DS_ScriptReader::parse(DS_Stream &stream)
{
    constexpr bool wantBrace = true;
    constexpr bool isImport = false;
    constexpr bool clearJoin = true;
    constexpr int depth = 0;
    return myDialog->page.parse(stream, wantBrace, nullptr, isImport, clearJoin, depth) != 0;
}

// -------------------------------------------------------------------- //
// The dialog
// -------------------------------------------------------------------- //

const char *DS_ScriptReader::getClassName() const
{
    return "DS_ScriptReader";
}

void DS_ScriptReader::subclassHook1() {}

void DS_ScriptReader::subclassHook2() {}

const char *DS_ScriptReader::getDialogName()
{
    return myDialog->page.getToken().nonNullStr();
}

const char *DS_ScriptReader::getDialogScript()
{
    return myDialog->script.isstring() ? myDialog->script.nonNullStr()
                                       : myDialog->source.nonNullStr();
}

const char *DS_ScriptReader::getDialogLabel()
{
    return labelOf(myDialog->page);
}

const char *DS_ScriptReader::getHelpText()
{
    return myDialog->help.nonNullStr();
}

const char *DS_ScriptReader::getInfoText()
{
    return myDialog->info.nonNullStr();
}

const char *DS_ScriptReader::getInputLabel(int input)
{
    const auto found = myDialog->inputLabels.find(input);
    return found == myDialog->inputLabels.end() ? "" : found->second.c_str();
}

int DS_ScriptReader::getNumInputLabels() const
{
    return myDialog->inputLabels.empty() ? 0 : myDialog->inputLabels.rbegin()->first + 1;
}

const char *DS_ScriptReader::getRenderMask()
{
    return myDialog->renderMask.nonNullStr();
}

// -------------------------------------------------------------------- //
// Records
// -------------------------------------------------------------------- //

void DS_ScriptReader::clearRecords()
{
    const auto clear = [](auto &records) {
        for (const auto *record : records) {
            delete record;
        }
        records.clear();
    };
    clear(myParms);
    clear(myBoundHandles);
    clear(myReservedHandles);
    clear(myUnboundSelectors);
    clear(myReservedSelectors);
    for (const char *group : myGroups) {
        std::free(const_cast<char *>(group));
    }
    myGroups.clear();
    myLosses.clear();
}

void DS_ScriptReader::prepareParms()
{
    clearRecords();
    for (const DS_HandleBinding &handle : myDialog->boundHandles) {
        DSappendOwned(myBoundHandles, std::make_unique<DS_HandleBinding>(handle));
    }
    for (const DS_HandleBinding &handle : myDialog->reservedHandles) {
        DSappendOwned(myReservedHandles, std::make_unique<DS_HandleBinding>(handle));
    }
    for (const DS_SelectorBinding &selector : myDialog->unboundSelectors) {
        DSappendOwned(myUnboundSelectors, std::make_unique<DS_SelectorBinding>(selector));
    }
    for (const DS_SelectorBinding &selector : myDialog->reservedSelectors) {
        DSappendOwned(myReservedSelectors, std::make_unique<DS_SelectorBinding>(selector));
    }
    addPage(myDialog->page, "");
    std::set<std::string> groups;
    for (const DS_ParmInfo *info : myParms) {
        if (info->group.isstring() && groups.insert(info->group.toStdString()).second) {
            DS_OwnedText group = DScopyText(info->group.c_str());
            if (!group) {
                throw std::bad_alloc();
            }
            DSappendOwned(myGroups, std::move(group));
        }
    }
    myDoingGroups = !myGroups.isEmpty();
}

/// The recursion is as deep as the pages are nested, which the parser limits.
void DS_ScriptReader::addPage(const ZEL_ScriptPage &page, const std::string &path)
{
    std::string lastFolder;
    for (int i = 0; i < page.getParmEntries(); i++) {
        ZEL_ScriptParm &parm = *page.getParm(i);
        const ZEL_ScriptGroup *const group = parm.getGroup();
        if (group && !group->isMultiParm()) {
            for (int folder = 0; folder < group->getPageCount(); folder++) {
                addFolder(*group->getPage(folder), path, lastFolder);
            }
            continue;
        }
        const int before = numParms();
        if (group) {
            addBlock(parm, path);
        } else {
            addRecord(parm, path);
        }
        if (numParms() != before) {
            lastFolder.clear();
        }
    }
    for (int i = 0; i < page.getObsoleteParmEntries(); i++) {
        const ZEL_ScriptParm &parm = *page.getObsoleteParm(i);
        if (!parm.getGroup() || parm.getGroup()->isMultiParm()) {
            addLoss(parm.getName().getToken(), "an obsolete parameter isn't written");
            continue;
        }
        for (int folder = 0; folder < parm.getGroup()->getPageCount(); folder++) {
            addLoss(labelOf(*parm.getGroup()->getPage(folder)), "an obsolete folder isn't written");
        }
    }
}

/// `last` is the preceding folder on the page, "" for none.
void DS_ScriptReader::addFolder(const ZEL_ScriptPage &folder, const std::string &path,
                                std::string &last)
{
    const char *const label = labelOf(folder);
    if (folder.getPageConditional() || folder.getGroupConditional()) {
        addLoss(label, "conditions of a folder aren't written");
    }
    if (folder.getFlag(ZEL_ScriptPage::INVISIBLE | ZEL_ScriptPage::INVISIBLE_TAB)) {
        addLoss(label, "an invisible folder is written as a visible one");
    }
    const std::string plain = folderWord(label, false);
    last = plain == last ? folderWord(label, true) : plain;
    const std::string inner = (path.empty() ? "" : path + "/") + last;
    const int before = numParms();
    addPage(folder, inner);
    if (numParms() == before) {
        addUnwritten("", inner);
    }
}

void DS_ScriptReader::addLoss(const char *name, const char *what)
{
    KIT_WorkBuffer text;
    text.append(name);
    text.append(": ");
    text.append(what);
    myLosses.append(text.buffer());
}

/// A quoted bracket that is alone in a block would be read as a bare one; a trailing blank keeps it
/// a text.
KIT_String DS_ScriptReader::blockText(const ZEL_ScriptParm &parm, const char *text,
                                      const char *brackets)
{
    const bool bracketFlag = text[0] && !text[1] && std::strchr(brackets, text[0]);
    if (bracketFlag) {
        addLoss(parm.getName().getToken(), "a bracket alone in a block is written with a blank");
    }
    return KIT_String(bracketFlag ? std::string(text) + " " : std::string(text));
}

DS_ParmInfo &DS_ScriptReader::appendParm(const char *name)
{
    DSappendOwned(myParms, std::make_unique<DS_ParmInfo>(name));
    return *myParms.last();
}

/// A record of which only the folder is written.
DS_ParmInfo &DS_ScriptReader::addUnwritten(const char *name, const std::string &path)
{
    DS_ParmInfo &info = appendParm(name);
    info.group = path;
    info.setIsArray(true);
    return info;
}

void DS_ScriptReader::addBlock(const ZEL_ScriptParm &parm, const std::string &path)
{
    DS_ParmInfo &info = addUnwritten(parm.getName().getToken(), path);
    info.label = parm.getName().getLabel();
    info.multiType = parm.getGroup()->getMultiType();
    addLoss(parm.getName().getToken(), "a block of items isn't written");
}

void DS_ScriptReader::addRecord(ZEL_ScriptParm &parm, const std::string &path)
{
    if (parm.getBaseParm()) {
        addLoss(parm.getName().getToken(), "a parameter of the base interface isn't written");
        return;
    }
    DS_ParmInfo &info = appendParm(parm.getName().getToken());
    info.name = DSscriptWord(parm.getName().getToken());
    info.label = escaped(parm.getName().getLabel());
    info.group = path;
    info.type = parm.getType();
    info.multiType = parm.getMultiType();
    info.size = parm.getSize();
    if (parm.getTypeExtended() == ZEL_TYPEX_NODE_PATH && info.type.isStringType()) {
        info.type |= ZEL_TYPE_OP_REF_NAME;
    }
    settleSingleNumber(info);
    info.setLogarithmic(info.type.hasAnyOf(ZEL_TYPE_LOGARITHMIC));
    info.exportLevel = parm.getExportLevel();
    if (const ZEL_Range *const range = parm.getRange()) {
        info.range = std::make_unique<ZEL_Range>(*range);
    }
    takeTexts(info, parm);
    takeMenu(info, parm);
    takeDefaults(info, parm);
    takeConditions(info, parm);
    if (const auto *const bound = dynamic_cast<const Parm *>(&parm)) {
        for (const DS_HandleBinding &handle : bound->getHandles()) {
            DSappendOwned(info.handles, std::make_unique<DS_HandleBinding>(handle));
        }
        if (bound->getSelector()) {
            info.selector = std::make_unique<DS_SelectorBinding>(*bound->getSelector());
        }
    }
}

/// Texts with their own keyword are written with it, the others as tags in the order of their
/// names.
void DS_ScriptReader::takeTexts(DS_ParmInfo &info, ZEL_ScriptParm &parm)
{
    info.help = parm.getHelpText();
    const ZEL_SpareData *const spare = parm.getSpareData(false);
    if (!spare) {
        return;
    }
    std::map<std::string, std::string> tags;
    spare->traverseConst(addAttribute, &tags);
    const auto take = [&tags](KIT_String &to, const char *token, const char *value) {
        if (value && *value) {
            to.harden(value);
            tags.erase(token);
        }
    };
    take(info.callback, ZEL_SpareData::getCallbackToken(), spare->getCallbackData());
    take(info.rmanType, ZEL_SpareData::getRenderManTypeToken(), spare->getRenderManType());
    // The keyword also sets the relative path, and accepts filters by name.
    const char *const key = spare->getOpFilter();
    const bool anyFlag = key && !*key; // of any node; no name has an empty key but this one
    const char *const name = anyFlag ? "all" : ZEL_SpareData::getOpFilterNameFromKey(key);
    const char *const again = ZEL_SpareData::getOpFilterKeyFromName(name);
    if (key && again && spare->getOpRelative() && std::strcmp(key, again) == 0) {
        take(info.opFilter, ZEL_SpareData::getOpFilterToken(), name);
    }
    for (const auto &[token, value] : tags) {
        DSappendOwned(info.attributes,
                      std::make_unique<DS_AttributeValue>(token.c_str(), value.c_str()));
    }
}

void DS_ScriptReader::takeMenu(DS_ParmInfo &info, const ZEL_ScriptParm &parm)
{
    const ZEL_ChoiceList *const menu = parm.getMenu();
    if (!menu) {
        return;
    }
    switch (menu->getType() & ~ZEL_CHOICELIST_USE_TOKEN) {
    case ZEL_CHOICELIST_REPLACE: info.menuType = 1; break;
    case ZEL_CHOICELIST_TOGGLE: info.menuType = 2; break;
    default: info.menuType = 0; break;
    }
    for (const ZEL_Name *name = menu->choiceNamesPtr(); name && !name->isSentinel(); name++) {
        const KIT_String token = blockText(parm, name->getToken(), "[}");
        const KIT_String label = blockText(parm, name->getLabel(), "}");
        DSappendOwned(info.menuChoices,
                      std::make_unique<DS_MenuChoice>(token.nonNullStr(), label.nonNullStr()));
    }
    std::istringstream script(menu->getScript().toStdString());
    for (std::string line; std::getline(script, line);) {
        info.menuScript += DSscriptQuoted(blockText(parm, line.c_str(), "]}")).c_str();
        info.menuScript += '\n';
    }
    if (script.bad()) {
        throw std::bad_alloc();
    }
    info.menuLanguage = menu->getScriptLanguage();
    if (info.size > 1 && (!info.menuChoices.isEmpty() || info.menuScript.isstring())) {
        addLoss(parm.getName().getToken(), "of a parameter with a menu one component is written");
        info.size = 1;
    }
}

void DS_ScriptReader::takeDefaults(DS_ParmInfo &info, const ZEL_ScriptParm &parm)
{
    if (takeChoices(info, parm)) {
        return;
    }
    const KIT_ValArray<ZEL_Default> &defaults = parm.getDefaults();
    bool textFlag = info.type.isStringType();
    bool wholeFlag = info.type.isOrdinalType() || info.type.hasAnyOf(ZEL_TYPE_INTEGER);
    KIT_StringArray texts;
    KIT_ValArray<double> numbers;
    KIT_ValArray<int> integers;
    const int count = std::min(static_cast<int>(defaults.entries()), std::max(info.size, 0));
    for (int i = 0; i < count; i++) {
        const ZEL_Default &value = defaults[i];
        const double number = value.getFloat();
        textFlag = textFlag || value.gotString();
        wholeFlag = wholeFlag && isWholeNumber(number);
        texts.append(value.gotString() ? blockText(parm, value.getString(), "[}")
                                       : KIT_String(KIT_Digits(number).buffer(), true));
        numbers.append(number);
        integers.append(value.getOrdinal());
        // The text of a number is an expression of the native language in any case.
        const TRK_StringMeaning meaning = value.getStringMeaning();
        const bool sameFlag = meaning == TRK_MEANING_LITERAL ||
                              (meaning == TRK_MEANING_NATIVE && info.type.isFloatType());
        if (!sameFlag) {
            addLoss(parm.getName().getToken(), "the meaning of a default isn't written");
        }
    }
    if (count == 0) {
        return;
    }
    if (textFlag) {
        info.defaults = std::make_unique<DS_DefaultValue>(texts, DS_DefaultValue::Meanings());
    } else if (wholeFlag) {
        info.defaults = std::make_unique<DS_DefaultValue>(integers);
    } else {
        info.defaults = std::make_unique<DS_DefaultValue>(numbers);
    }
}

/// An ordinal with a menu is written as a text, with a token as default. False for anything else.
bool DS_ScriptReader::takeChoices(DS_ParmInfo &info, const ZEL_ScriptParm &parm)
{
    const int count = static_cast<int>(info.menuChoices.entries());
    if (!info.type.isOrdinalType() || info.type.hasAnyOf(ZEL_TYPE_BUTTONSTRIP) || count == 0) {
        return false;
    }
    KIT_StringArray texts;
    for (int i = 0; i < std::max(info.size, 0); i++) {
        const KIT_ValArray<ZEL_Default> &defaults = parm.getDefaults();
        const ZEL_Default value = i < defaults.entries() ? defaults[i] : ZEL_Default();
        const int choice = std::clamp(value.getOrdinal(), 0, count - 1);
        texts.append(value.gotString() ? blockText(parm, value.getString(), "[}")
                                       : KIT_String(info.menuChoices[choice]->getValue(), true));
    }
    info.defaults = std::make_unique<DS_DefaultValue>(texts, DS_DefaultValue::Meanings());
    return true;
}

void DS_ScriptReader::takeConditions(DS_ParmInfo &info, const ZEL_ScriptParm &parm)
{
    const auto take = [&parm](KIT_String &to, ZEL_ConditionalType type) {
        const ZEL_Conditional *const condition = parm.getConditionalGroup().getConditional(type);
        if (condition && condition->entries() > 0) {
            KIT_String text;
            condition->getStringFromList(text);
            to = DSscriptQuoted(text);
        }
    };
    take(info.disableWhen, ZEL_CONDTYPE_DISABLE);
    take(info.hideWhen, ZEL_CONDTYPE_HIDE);
    KIT_String noCook;
    take(noCook, ZEL_CONDTYPE_NOCOOK);
    if (noCook.isstring()) {
        addLoss(parm.getName().getToken(), "nocookwhen isn't written");
    }
}
