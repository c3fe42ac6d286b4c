#include <NOD/NOD_InterfaceCheck.h>

#include <KIT/KIT_Digits.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_Regex.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_InterfaceFaultsPrivate.h>
#include <NOD/interface/NOD_NoOperatorPrivate.h>
#include <NOD/interface/NOD_ScriptPlacesPrivate.h>
#include <NOD/interface/NOD_TemplateFieldsPrivate.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_InstanceString.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace
{

int countMarks(std::string_view name)
{
    return int(std::count(name.begin(), name.end(), '#'));
}

/// A token as items get it: numbers without a `#` are added at the end.
std::string withMarks(std::string_view name, int depth)
{
    std::string pattern(name);
    for (int marks = countMarks(name); marks < depth; ++marks) {
        pattern += marks ? "_#" : "#";
    }
    return pattern;
}

/// What is told of a name that another one has.
struct Twin
{
    NOD_FaultKind kind;
    std::string text;
    std::string other; ///< its token
};

/// A template with its place.
struct Placed
{
    const ZEL_Template *one;
    int depth;               ///< blocks around it
    int rest;                ///< templates after it in its array
    bool rampPartFlag;       ///< made by the library
    std::string pattern;     ///< the token with all `#`
    std::vector<Twin> twins; ///< of its names
};

class Check
{
public:
    explicit Check(NOD_InterfaceFaults &found) : myFound(found), myNames(found.names) {}

    void run(const ZEL_Template *templates);

private:
    struct Row;
    static const Row theRows[];

    void collect(const ZEL_Template *templates, int depth, bool rampPartFlag);
    void addNames(Placed &at);
    NOD_InterfaceFault &fault(const Placed &at, NOD_FaultKind kind, const std::string &text,
                              std::string word = {}, int component = 0, std::string hint = {});

    void checkToken(const Placed &at);
    void tellTwins(const Placed &at);
    void checkRange(const Placed &at);
    void checkDefaults(const Placed &at);
    void checkDefaultOfMenu(const Placed &at);
    void checkMenu(const Placed &at);
    void checkConditions(const Placed &at);
    void checkFolders(const Placed &at);

    void checkCondition(const Placed &at, const ZEL_ConditionalBase *base);
    void checkComparison(const Placed &at, const std::string &keyword,
                         const ZEL_ConditionalInfo &group, int index);
    const NOD_NoOperator *findNoOperator(const Placed &at, const ZEL_Conditional &one) const;
    std::string nearestHint(const std::string &name);

    NOD_InterfaceFaults &myFound;
    NOD_InterfaceNames &myNames;
    std::vector<const ZEL_Template *> myPath; ///< arrays around the one that is collected
    std::vector<Placed> myPlaced;
    std::size_t myCompared = 0; ///< names
};

// ---------------------------------------------------------------------- //
// The checks, in the order of their messages for one parameter
// ---------------------------------------------------------------------- //

struct Check::Row
{
    void (Check::*check)(const Placed &);
    bool rampPartsFlag; ///< parts of ramps are checked too
};

const Check::Row Check::theRows[] = {
    {&Check::checkToken, false},         {&Check::tellTwins, true},
    {&Check::checkRange, false},         {&Check::checkDefaults, false},
    {&Check::checkDefaultOfMenu, false}, {&Check::checkMenu, false},
    {&Check::checkConditions, false},    {&Check::checkFolders, false},
};

void Check::run(const ZEL_Template *templates)
{
    constexpr int theTop = 0;
    collect(templates, theTop, false);
    for (Placed &at : myPlaced) {
        addNames(at); // of all: conditions may name what follows
    }
    for (const Placed &at : myPlaced) {
        for (const Row &row : theRows) {
            if (row.rampPartsFlag || !at.rampPartFlag) {
                (this->*row.check)(at);
            }
        }
    }
}

void Check::collect(const ZEL_Template *templates, int depth, bool rampPartFlag)
{
    const int count = ZEL_Template::countTemplates(templates);
    myPath.push_back(templates);
    for (int i = 0; i < count; ++i) {
        const ZEL_Template &one = templates[i];
        const char *const token = one.getToken();
        myPlaced.push_back(
            {&one, depth, count - i - 1, rampPartFlag, withMarks(token ? token : "", depth), {}});
        if (!one.isMultiType()) {
            continue;
        }
        const ZEL_Template *const items = one.getMultiParmTemplate();
        if (std::find(myPath.begin(), myPath.end(), items) != myPath.end()) {
            fault(myPlaced.back(), NOD_FaultKind::BLOCK, "the block is in itself");
        } else {
            collect(items, depth + 1, one.isRampType());
        }
    }
    myPath.pop_back();
}

NOD_InterfaceFault &Check::fault(const Placed &at, NOD_FaultKind kind, const std::string &text,
                                 std::string word, int component, std::string hint)
{
    myFound.faults.push_back({kind, at.one, text, std::move(word), component, std::move(hint), {}});
    return myFound.faults.back();
}

void Check::checkToken(const Placed &at)
{
    const std::string token = at.one->getToken() ? at.one->getToken() : "";
    if (token.empty()) {
        fault(at, NOD_FaultKind::NO_TOKEN,
              std::string("a parameter has no token; its label is \"") +
                  (at.one->getLabel() ? at.one->getLabel() : "") + "\"");
        return;
    }
    if (at.one->getType().isBasicType(ZEL_Type::ZEL_BASIC_NONE)) {
        return; // it is not saved
    }
    std::string item = at.pattern;
    std::replace(item.begin(), item.end(), '#', '1');
    if (!ZEL_ParmList::isTextName(KIT_StringRef(item.c_str()))) {
        fault(at, NOD_FaultKind::TEXT_NAME,
              KITformatMessage(ZEL_ERROR_CATEGORY, ZEL_ERR_TEXT_NAME, item.c_str()));
    }
    if (const int marks = countMarks(token); marks != at.depth) {
        fault(at, NOD_FaultKind::MARKS,
              at.depth == 0
                  ? "a # in the token means an item's number, and no block is around it"
                  : "the token has " + std::to_string(marks) + " # and is in " +
                        std::to_string(at.depth) + (at.depth == 1 ? " block" : " blocks"));
    }
}

/// The channel's token of an item: from the item's, as the library makes it.
std::string channelPattern(const Placed &at, int component)
{
    std::string channel = at.one->getChannelToken(component).nonNullStr();
    const std::string token = at.one->getToken() ? at.one->getToken() : "";
    const std::size_t place = channel.find(token);
    return place == std::string::npos ? channel : channel.replace(place, token.size(), at.pattern);
}

void Check::addNames(Placed &at)
{
    const ZEL_Template &one = *at.one;
    if (at.pattern.empty()) {
        return;
    }
    if (const ZEL_Template *const other = myNames.addToken(at.pattern, &one)) {
        const std::string token = other->getToken();
        const bool itemsFlag = at.pattern.find('#') != std::string::npos;
        if (token == one.getToken()) {
            at.twins.push_back(
                {NOD_FaultKind::SAME_TOKEN, "another parameter has the same token", token});
        } else {
            at.twins.push_back({NOD_FaultKind::SAME_ITEM_TOKEN,
                                itemsFlag ? "an item has the token of " + token + " too"
                                          : "an item of " + token + " has the token too",
                                token});
        }
        return;
    }
    for (int i = 0; i < one.getVectorSize() && !one.isSwitcher(); ++i) {
        const std::string channel = channelPattern(at, i);
        if (const ZEL_Template *const other = myNames.addChannel(channel, &one)) {
            at.twins.push_back(
                {NOD_FaultKind::SAME_CHANNEL,
                 "its channel " + channel + " is " +
                     (other == &one ? "there twice"
                                    : std::string("one of ") + other->getToken() + " too"),
                 other->getToken()});
        }
    }
}

void Check::tellTwins(const Placed &at)
{
    for (const Twin &twin : at.twins) {
        fault(at, twin.kind, twin.text, twin.other);
    }
}

void Check::checkRange(const Placed &at)
{
    const ZEL_Range *const range = at.one->getRangePtr();
    if (range && range->getMinFlag() && range->getMaxFlag() &&
        !(range->getUIMin() <= range->getUIMax())) {
        fault(at, NOD_FaultKind::RANGE,
              std::string("the range begins at ") + KIT_Digits(range->getUIMin()).buffer() +
                  " and ends at " + KIT_Digits(range->getUIMax()).buffer());
    }
}

void Check::checkDefaults(const Placed &at)
{
    const ZEL_Template &one = *at.one;
    const ZEL_Range *const range = one.getRangePtr();
    for (int i = 0; range && !one.isSwitcher() && i < one.getVectorSize(); ++i) {
        const ZEL_Default *const value = NODgetDefault(one, i);
        if (!value || value->gotString() || one.getType().isStringType()) {
            continue;
        }
        if (range->constrain(value->getFloat()) != value->getFloat()) {
            const std::string number = KIT_Digits(value->getFloat()).buffer();
            fault(at, NOD_FaultKind::DEFAULT_RANGE,
                  "the default " + number + " is outside of the hard range",
                  KIT_Digits(range->constrain(value->getFloat())).buffer(), i)
                .found = number;
        }
    }
}

/// Neither an expression nor a reference.
bool isWord(std::string_view text, bool stringFlag)
{
    return text.find_first_of(stringFlag ? "`$" : "()`$+*/\" ") == std::string_view::npos;
}

void Check::checkDefaultOfMenu(const Placed &at)
{
    const ZEL_Template &one = *at.one;
    const ZEL_ChoiceList *const menu = NODonlyChoices(one);
    // The components of a strip are bits, its menu's entries.
    const bool maskFlag = one.getType().hasOrdinalType(ZEL_Type::ZEL_ORD_BUTTONSTRIP) ||
                          one.getType().hasOrdinalType(ZEL_Type::ZEL_ORD_ICONSTRIP);
    for (int i = 0; menu && !one.isSwitcher() && i < one.getVectorSize(); ++i) {
        const ZEL_Default *const value = NODgetDefault(one, i);
        if (!value) {
            continue;
        }
        const KIT_String text(value->getString());
        const bool literalFlag = value->getStringMeaning() == TRK_MEANING_LITERAL;
        if (value->gotString() && literalFlag &&
            isWord(text.view(), one.getType().isStringType()) && !text.isEmpty() &&
            !NODhasEntry(*menu, text.view()) &&
            !(one.getType().isOrdinalType() && text.isFloat())) {
            fault(at, NOD_FaultKind::DEFAULT_WORD,
                  "the default " + text.toStdString() + " is no entry of the menu",
                  text.toStdString(), i);
        }
        const int index = value->getOrdinal();
        if (!value->gotString() && one.getType().isOrdinalType() && !maskFlag &&
            (index < 0 || index >= menu->getStaticSize())) {
            fault(at, NOD_FaultKind::DEFAULT_INDEX,
                  "the default is entry " + std::to_string(index) + " of a menu of " +
                      std::to_string(menu->getStaticSize()),
                  std::to_string(index), i);
        }
    }
}

void Check::checkMenu(const Placed &at)
{
    const ZEL_ChoiceList *const menu = at.one->getChoiceListPtr();
    std::unordered_set<std::string_view> tokens;
    for (const ZEL_Name *entry = menu ? menu->choiceNamesPtr() : nullptr;
         entry && !entry->isSentinel(); ++entry) {
        const std::string_view token = entry->getToken();
        if (token != "_separator_" && !tokens.insert(token).second) {
            fault(at, NOD_FaultKind::MENU_TWINS,
                  "two entries of the menu are " + std::string(token), std::string(token));
        }
    }
}

void Check::checkConditions(const Placed &at)
{
    const ZEL_ConditionalBase *const base = at.one->getConditionalBasePtr();
    checkCondition(at, base);
    if (base && base->groupType() == ZEL_CONDGROUP_SWITCHER) {
        const auto *const tabs = static_cast<const ZEL_ConditionalSwitcher *>(base);
        for (int tab = 0; tab < std::max(at.one->getVectorSize(), 1); ++tab) {
            checkCondition(at, tabs->getTabConditional(tab));
        }
    }
}

void Check::checkCondition(const Placed &at, const ZEL_ConditionalBase *base)
{
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        const ZEL_Conditional *const one = base ? base->getConditional(type) : nullptr;
        if (!one) {
            continue;
        }
        const std::string keyword = ZEL_Conditional::getName(type, false);
        if (const NOD_NoOperator *const word = findNoOperator(at, *one)) {
            fault(at, NOD_FaultKind::CONDITION, keyword + ": " + word->getText(),
                  std::string(word->word), 0, word->getHint())
                .found = keyword;
            continue; // the rest is read as it wasn't meant
        }
        for (int i = 0; i < one->entries(); ++i) {
            for (int j = 0; j < (*one)(i)->entries(); ++j) {
                checkComparison(at, keyword, *(*one)(i), j);
            }
        }
    }
}

/// A word that can only have been meant as an operator: it stands for a name, or is a value of `==` behind which
/// stands what is no name.
const NOD_NoOperator *Check::findNoOperator(const Placed &at, const ZEL_Conditional &one) const
{
    const auto isName = [&](const KIT_String &left) {
        return left.lastChar() == ')' || myNames.isKnown(left.toStdString(), at.depth);
    };
    for (int i = 0; i < one.entries(); ++i) {
        const ZEL_ConditionalInfo &group = *one(i);
        for (int j = 0; j < group.entries(); ++j) {
            const KIT_String &left = group.getControlParms()(j);
            const NOD_NoOperator *found = isName(left) ? nullptr : NODfindNoOperator(left.view());
            if (!found && group.getOperators()(j) == ZEL_CONDOP_EQ && j + 1 < group.entries() &&
                !isName(group.getControlParms()(j + 1))) {
                found = NODfindNoOperator(group.getControlValues()(j).view());
            }
            if (NODisUnequalSign(group.getOperators()(j), group.getControlValues()(j).view())) {
                found = NODfindNoOperator("<>");
            }
            if (found) {
                return found;
            }
        }
    }
    return nullptr;
}

void Check::checkComparison(const Placed &at, const std::string &keyword,
                            const ZEL_ConditionalInfo &group, int index)
{
    const KIT_String &left = group.getControlParms()(index);
    if (left.lastChar() != ')' && !myNames.isKnown(left.toStdString(), at.depth)) {
        const bool wordFlag = isWord(left.view(), false);
        fault(at, NOD_FaultKind::CONDITION,
              keyword + ": there is no parameter " + left.toStdString() +
                  (wordFlag ? "" : "; an expression is one that ends in a parenthesis"),
              left.toStdString(), 0, wordFlag ? nearestHint(left.toStdString()) : "")
            .found = keyword;
    }
    const ZEL_ConditionalOperator op = group.getOperators()(index);
    if (op == ZEL_CONDOP_MATCH || op == ZEL_CONDOP_NOMATCH) {
        const KIT_String &value = group.getControlValues()(index);
        const KIT_Regex pattern(value.nonNullStr());
        if (!pattern.isValid()) {
            fault(at, NOD_FaultKind::CONDITION,
                  keyword + ": " + value.toStdString() +
                      " is no regular expression: " + pattern.getErrorText().nonNullStr(),
                  value.toStdString())
                .found = keyword;
        }
    }
}

/// As long as there is no more to compare than takes little time.
std::string Check::nearestHint(const std::string &name)
{
    constexpr std::size_t theMost = 1000000;
    myCompared += myNames.getTokens().size();
    const std::string *const near =
        myCompared > theMost ? nullptr : KITnearestWord(name, myNames.getTokens());
    return near ? "did you mean '" + *near + "'?" : "";
}

void Check::checkFolders(const Placed &at)
{
    const ZEL_Template &set = *at.one;
    if (!set.isSwitcher()) {
        return;
    }
    // Where the set would end if no array did.
    int rest = at.rest;
    const ZEL_Template *next = &set + 1;
    for (int i = 0; i < set.getVectorSize(); ++i) {
        const ZEL_Default *const folder = NODgetDefault(set, i);
        const double count = folder ? folder->getFloat() : 0.0;
        if (!folder || !(count >= 0.0) || count != std::floor(count)) {
            fault(at, NOD_FaultKind::FOLDERS,
                  "folder " + std::to_string(i + 1) + " has no count of members");
            return;
        }
        for (double member = 0.0; member < count; ++member) {
            if (rest <= 0) {
                fault(at, NOD_FaultKind::FOLDERS,
                      "folder " + std::to_string(i + 1) + " has fewer members than it says");
                return;
            }
            const ZEL_Template *const end =
                next->isSwitcher() ? ZEL_Template::getEndOfSwitcher(next) : next + 1;
            rest -= int(end - next);
            next = end;
        }
    }
}

} // namespace

NOD_InterfaceFaults NODfindInterfaceFaults(const ZEL_Template *templates)
{
    NOD_InterfaceFaults found;
    Check(found).run(templates);
    return found;
}

const ZEL_ChoiceList *NODonlyChoices(const ZEL_Template &one)
{
    const ZEL_ChoiceList *const menu = one.getChoiceListPtr();
    const bool kindFlag = one.getType().isOrdinalType() || one.getType().isStringType();
    return menu && kindFlag && menu->getStaticSize() > 0 && menu->choiceNamesPtr() &&
                   (menu->getType() & ZEL_CHOICELIST_EXCLUSIVE_BIT)
               ? menu
               : nullptr;
}

bool NODhasEntry(const ZEL_ChoiceList &menu, std::string_view token)
{
    for (const ZEL_Name *at = menu.choiceNamesPtr(); !at->isSentinel(); ++at) {
        if (token == at->getToken()) {
            return true;
        }
    }
    return false;
}

namespace
{

/// Parameters by token, those of a token in their order.
using ParmsByToken = std::unordered_map<std::string, std::vector<const ZEL_Template *>>;

void collect(const ZEL_Template *templates, std::vector<const ZEL_Template *> &path,
             ParmsByToken &parms)
{
    if (std::find(path.begin(), path.end(), templates) != path.end()) {
        return;
    }
    path.push_back(templates);
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        if (at->getToken()) {
            parms[at->getToken()].push_back(at);
        }
        if (at->isMultiType() && !at->isRampType()) {
            collect(at->getMultiParmTemplate(), path, parms);
        }
    }
    path.pop_back();
}

/// The first parameter of that token but `one`; null if there is none.
const ZEL_Template *findOther(const ParmsByToken &parms, const std::string &token,
                              const ZEL_Template &one)
{
    const auto row = parms.find(token);
    if (row == parms.end()) {
        return nullptr;
    }
    const auto found = std::find_if(row->second.begin(), row->second.end(),
                                    [&](const ZEL_Template *at) { return at != &one; });
    return found == row->second.end() ? nullptr : *found;
}

/// Where the script says what a fault is about.
std::shared_ptr<KIT_MessageDetail> findFault(NOD_ScriptPlaces &places,
                                             const NOD_InterfaceFault &fault)
{
    const ZEL_Template &one = *fault.parm;
    const std::string token = one.getToken() ? one.getToken() : "";
    switch (fault.kind) {
    case NOD_FaultKind::RANGE: return places.findWord(one, "range", {});
    case NOD_FaultKind::DEFAULT_RANGE: return places.findWord(one, "default", fault.found);
    case NOD_FaultKind::DEFAULT_WORD:
    case NOD_FaultKind::DEFAULT_INDEX: return places.findWord(one, "default", fault.word);
    case NOD_FaultKind::MENU_TWINS: return places.findWord(one, "menu", fault.word);
    case NOD_FaultKind::CONDITION: return places.findOperand(one, fault.found, fault.word);
    case NOD_FaultKind::FOLDERS:
    case NOD_FaultKind::BLOCK: return places.findWord(one, "", {});
    default: return places.findWord(one, "name", token);
    }
}

/// Adds a message about a parameter, with its place if it has one.
void tell(NOD_Message message, const std::shared_ptr<KIT_MessageDetail> &detail, NOD_Report &report)
{
    if (detail) {
        message.file = detail->place.file;
        message.line = detail->place.line;
        message.detail = detail;
    }
    report.add(std::move(message));
}

/// `places` is null without a script.
int tellFaults(const ZEL_Template *templates, NOD_ScriptPlaces *places, NOD_Report &report,
               KIT_ErrorSeverity severity)
{
    const NOD_InterfaceFaults found = NODfindInterfaceFaults(templates);
    ParmsByToken parms; // once one is asked for
    for (const NOD_InterfaceFault &fault : found.faults) {
        const bool libraryFlag = fault.kind == NOD_FaultKind::TEXT_NAME;
        const char *const token = fault.parm->getToken();
        const auto detail = places ? findFault(*places, fault) : nullptr;
        if (detail) {
            detail->hint = fault.hint;
        }
        const bool twinFlag =
            detail && !fault.word.empty() && fault.kind <= NOD_FaultKind::SAME_CHANNEL;
        if (twinFlag && parms.empty()) {
            std::vector<const ZEL_Template *> path;
            collect(templates, path, parms);
        }
        const ZEL_Template *const other =
            twinFlag ? findOther(parms, fault.word, *fault.parm) : nullptr;
        const auto twin = other ? places->findWord(*other, "name", fault.word) : nullptr;
        if (twin) {
            detail->related.push_back({twin->place, "'" + fault.word + "' is here"});
        }
        tell({severity,
              {},
              0,
              token ? token : "",
              fault.text,
              libraryFlag ? ZEL_ERROR_CATEGORY : "",
              libraryFlag ? int(ZEL_ERR_TEXT_NAME) : 0},
             detail, report);
    }
    return int(found.faults.size());
}

int tellMenuScripts(const ZEL_Template *templates, NOD_ScriptPlaces *places, NOD_Report &report,
                    KIT_ErrorSeverity severity)
{
    int faults = 0;
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        const ZEL_ChoiceList *const menu = at->getChoiceListPtr();
        if (menu && menu->getScript().isstring() &&
            menu->getScriptLanguage() == TRK_SCRIPT_COMMAND) {
            tell({severity,
                  {},
                  0,
                  at->getToken() ? at->getToken() : "",
                  "the menu stays empty: its script is in no language that is known here; "
                  "`language python` says it is Python",
                  {},
                  0},
                 places ? places->findWord(*at, "menu", "[") : nullptr, report);
            ++faults;
        }
        if (at->isMultiType() && !at->isRampType()) {
            faults += tellMenuScripts(at->getMultiParmTemplate(), places, report, severity);
        }
    }
    return faults;
}

} // namespace

int NODcheckInterface(const ZEL_Template *templates, NOD_Report &report, KIT_ErrorSeverity severity)
{
    return tellFaults(templates, nullptr, report, severity);
}

int NODcheckInterface(const NOD_Interface &script, NOD_Report &report, KIT_ErrorSeverity severity)
{
    NOD_ScriptPlaces places(script);
    return NODcheckInterface(places, report, severity);
}

int NODcheckInterface(NOD_ScriptPlaces &places, NOD_Report &report, KIT_ErrorSeverity severity)
{
    return tellFaults(places.getScript().getTemplates(), &places, report, severity);
}

int NODcheckMenuScripts(const ZEL_Template *templates, NOD_Report &report,
                        KIT_ErrorSeverity severity)
{
    return tellMenuScripts(templates, nullptr, report, severity);
}

int NODcheckMenuScripts(const NOD_Interface &script, NOD_Report &report, KIT_ErrorSeverity severity)
{
    NOD_ScriptPlaces places(script);
    return NODcheckMenuScripts(places, report, severity);
}

int NODcheckMenuScripts(NOD_ScriptPlaces &places, NOD_Report &report, KIT_ErrorSeverity severity)
{
    return tellMenuScripts(places.getScript().getTemplates(), &places, report, severity);
}
