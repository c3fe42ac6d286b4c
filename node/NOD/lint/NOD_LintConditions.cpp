// Rules of conditions: Z401 to Z406 and Z410.

#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/interface/NOD_NoOperatorPrivate.h>
#include <NOD/lint/NOD_LintContextPrivate.h>

#include <KIT/KIT_Regex.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>
#include <ZEL/ZEL_TypeConstants.h>

#include <algorithm>
#include <map>

namespace
{

using Block = NOD_LintContext::Block;
using Entry = NOD_LintContext::Entry;
using Extra = NOD_LintContext::Extra;

bool isCondition(std::string_view word)
{
    return word.substr(0, 8) == "hidewhen" || word.substr(0, 11) == "disablewhen" ||
           word.substr(0, 10) == "nocookwhen";
}

struct Comparison
{
    std::string left;
    std::string right;
    ZEL_ConditionalOperator op;
};

/// One condition of a block: what the library makes of it, and where its words are.
struct Condition
{
    int block;
    const Entry *entry;
    std::vector<std::vector<Comparison>> groups;
};

/// As the reader of scripts takes it; empty if it can't be read.
void read(const NOD_LintContext &context, Condition &condition)
{
    const Entry &entry = *condition.entry;
    ZEL_Conditional made(ZEL_CONDTYPE_HIDE);
    if (context.tokens().text(entry.first) != "{") {
        KIT_StringHolder message;
        made.setListFromString(context.text(entry.first).c_str(), message);
        for (int i = 0; i < made.entries(); ++i) {
            const ZEL_ConditionalInfo &info = *made(i);
            condition.groups.emplace_back();
            for (int k = 0; k < info.entries(); ++k) {
                condition.groups.back().push_back({info.getControlParms()(k).toStdString(),
                                                   info.getControlValues()(k).toStdString(),
                                                   info.getOperators()(k)});
            }
        }
        return;
    }
    for (int i = entry.first + 1; i < entry.last - 1; ++i) {
        if (context.tokens().text(i) == "{") {
            condition.groups.emplace_back();
            continue;
        }
        if (context.tokens().text(i) == "}" || condition.groups.empty()) {
            continue;
        }
        Comparison one{context.text(i), "", ZEL_CONDOP_EQ};
        if (ZEL_Conditional::getOperatorFromString(context.text(i + 1).c_str(), one.op)) {
            ++i;
        }
        if (++i >= entry.last - 1 || context.tokens().text(i) == "}") {
            break;
        }
        one.right = context.text(i);
        condition.groups.back().push_back(one);
    }
}

/// The choices that a comparison's left side has; empty if it may be anything.
std::vector<std::string> choicesOf(const ZEL_Template *control)
{
    std::vector<std::string> words;
    if (!control || control->isSwitcher() || control->isMultiType()) {
        return words;
    }
    const ZEL_Type &type = control->getType();
    if (type.hasOrdinalType(ZEL_Type::ZEL_ORD_TOGGLE)) {
        return {"off", "on"};
    }
    const ZEL_ChoiceList *const menu = type.hasOrdinalType(ZEL_Type::ZEL_ORD_BUTTONSTRIP) ||
                                               type.hasOrdinalType(ZEL_Type::ZEL_ORD_ICONSTRIP)
                                           ? nullptr
                                           : NODonlyChoices(*control);
    for (const ZEL_Name *entry = menu ? menu->choiceNamesPtr() : nullptr;
         entry && !entry->isSentinel(); ++entry) {
        words.emplace_back(entry->getToken() ? entry->getToken() : "");
    }
    return words;
}

bool isToggle(const ZEL_Template *control)
{
    return control && control->getType().hasOrdinalType(ZEL_Type::ZEL_ORD_TOGGLE);
}

/// Of the one type whose off and on equal 0 and 1: the toggles of scripts can be animated, which is another.
bool isBareToggle(const ZEL_Template *control)
{
    return control && control->getType() == ZEL_TOGGLE_E;
}

enum class Truth
{
    NO,
    YES,
    UNKNOWN
};

/// What all conditions of a script have in common.
struct Shared
{
    std::map<const ZEL_Template *, std::vector<std::string>> choices;
    std::size_t work = 0; ///< comparisons tried
};

class Check
{
public:
    Check(NOD_LintContext &context, const Condition &condition, Shared &shared)
        : myContext(context), myCondition(condition), myNames(context.faults().names),
          myShared(shared)
    {}

    void run();

private:
    static constexpr std::size_t theMostCases = 4096;
    static constexpr std::size_t theMostWork = 200000; ///< comparisons of all of them

    void checkComparison(const Comparison &one);
    bool checkOperators(const Comparison &one);
    bool followsOperator(const std::string &word) const;
    bool tellNoOperator(const std::string &word);
    bool tellJoinedOperator(const std::string &left);
    void checkLeft(const Comparison &one);
    void checkChoice(const Comparison &one);
    void checkPattern(const Comparison &one);

    void checkCases();
    Truth valueOf(const std::map<std::string, std::string> &values) const;
    Truth valueOf(const Comparison &one, const std::map<std::string, std::string> &values) const;

    const ZEL_Template *find(const std::string &left) const { return myNames.find(left); }
    /// Those of choicesOf(), made once.
    const std::vector<std::string> &choices(const ZEL_Template *control);
    /// The place of a word of the condition: its token, and the offset in it.
    int locate(const std::string &word, std::size_t &offset) const;
    void tell(NOD_LintCode code, const std::string &word, const std::string &text,
              const std::string &nearest = {}, const char *instead = nullptr);

    NOD_LintContext &myContext;
    const Condition &myCondition;
    const NOD_InterfaceNames &myNames;
    Shared &myShared;
    bool myToldFlag = false;
};

void Check::run()
{
    for (const std::vector<Comparison> &group : myCondition.groups) {
        for (const Comparison &one : group) {
            if (checkOperators(one)) {
                return; // the rest is read as it wasn't meant
            }
        }
    }
    for (const std::vector<Comparison> &group : myCondition.groups) {
        for (const Comparison &one : group) {
            checkComparison(one);
        }
    }
    if (!myToldFlag && !myCondition.groups.empty()) {
        checkCases();
    }
}

int Check::locate(const std::string &word, std::size_t &offset) const
{
    constexpr std::string_view theEnds = " \t\r\n{}\"`\\=!<>~";
    const Entry &entry = *myCondition.entry;
    offset = 0;
    if (myContext.tokens().text(entry.first) == "{") {
        for (int i = entry.first; i < entry.last; ++i) {
            if (myContext.tokens().text(i) == word) {
                return i;
            }
        }
        return entry.first;
    }
    const std::string_view raw = myContext.tokens().raw(entry.first);
    const bool markFlag = !word.empty() && theEnds.find(word.front()) != std::string_view::npos;
    for (std::size_t at = word.empty() ? std::string_view::npos : raw.find(word);
         at != std::string_view::npos; at = raw.find(word, at + 1)) {
        const char before = at == 0 ? ' ' : raw[at - 1];
        const std::size_t end = at + word.size();
        const char after = end < raw.size() ? raw[end] : ' ';
        const std::string_view ends = markFlag ? theEnds.substr(0, 4) : theEnds;
        if (ends.find(before) != std::string_view::npos &&
            ends.find(after) != std::string_view::npos) {
            offset = at;
            break;
        }
    }
    return entry.first;
}

void Check::tell(NOD_LintCode code, const std::string &word, const std::string &text,
                 const std::string &nearest, const char *instead)
{
    myToldFlag = true;
    Extra extra;
    extra.nearest = nearest;
    const int token = locate(word, extra.offset);
    extra.length = extra.offset > 0 ? word.size() : 0;
    if (instead && myContext.tokens().raw(token).substr(extra.offset, word.size()) == word) {
        extra.fix = myContext.replacePart(token, extra.offset, word.size(), instead);
    }
    myContext.add(code, myCondition.block, token,
                  std::string(myCondition.entry->word) + ": " + text, extra);
}

// ---------------------------------------------------------------------- //
// Single comparisons
// ---------------------------------------------------------------------- //

bool Check::checkOperators(const Comparison &one)
{
    return (!myNames.isKnown(one.left, 1) && tellNoOperator(one.left)) ||
           (!followsOperator(one.right) && tellNoOperator(one.right)) ||
           (NODisUnequalSign(one.op, one.right) && tellNoOperator("<>")) ||
           tellJoinedOperator(one.left);
}

/// Whether an operator stands in front of a word, which then is a value, whatever it looks like.
bool Check::followsOperator(const std::string &word) const
{
    std::size_t offset = 0;
    const int token = locate(word, offset);
    const NOD_LintTokens &tokens = myContext.tokens();
    if (tokens.text(myCondition.entry->first) == "{") {
        ZEL_ConditionalOperator op;
        return token > 0 &&
               ZEL_Conditional::getOperatorFromString(myContext.text(token - 1).c_str(), op);
    }
    const std::string_view before = tokens.raw(token).substr(0, offset);
    const std::size_t last = before.find_last_not_of(" \t\"\\");
    constexpr std::string_view theMarks = "=!<>~^*";
    return last != std::string_view::npos && theMarks.find(before[last]) != std::string_view::npos;
}

bool Check::tellNoOperator(const std::string &word)
{
    const NOD_NoOperator *const row = NODfindNoOperator(word);
    if (row) {
        const std::string hint = row->getHint();
        tell(NOD_LintCode::Z402, word, row->getText() + (hint.empty() ? "" : "; " + hint), "",
             hint.empty() ? nullptr : row->instead);
    }
    return row != nullptr;
}

/// `a=b` is one word.
bool Check::tellJoinedOperator(const std::string &left)
{
    const std::size_t at = left.find('=');
    if (at == std::string::npos || at == 0 || left.back() == ')' || myNames.isKnown(left, 1)) {
        return false;
    }
    const std::string name = left.substr(0, at);
    const std::string value = left.substr(at + 1);
    if (!myNames.isKnown(name, 1) || value.find('=') != std::string::npos) {
        return false;
    }
    const std::string instead = name + " == " + value;
    tell(NOD_LintCode::Z402, left, left + " is one word, and = no operator; == is one", "",
         value.empty() ? nullptr : instead.c_str());
    return true;
}

const std::vector<std::string> &Check::choices(const ZEL_Template *control)
{
    const auto [found, newFlag] = myShared.choices.try_emplace(control);
    if (newFlag) {
        found->second = choicesOf(control);
    }
    return found->second;
}

void Check::checkComparison(const Comparison &one)
{
    checkLeft(one);
    checkChoice(one);
    checkPattern(one);
}

void Check::checkLeft(const Comparison &one)
{
    if (!one.left.empty() && one.left.back() == ')') {
        NOD_ExpressionFault fault;
        if (!NODcheckExpression(one.left, TRK_LANGUAGE_NATIVE, fault)) {
            tell(NOD_LintCode::Z410, one.left, NODfaultText(one.left, fault));
        } else {
            std::size_t offset = 0;
            NODtellUnknownNames(myContext, myCondition.block, locate(one.left, offset), one.left,
                                std::string(myCondition.entry->word) + ": ");
        }
    } else if (!myNames.isKnown(one.left, myContext.block(myCondition.block).depth)) {
        const bool expressionFlag = one.left.find_first_of("()`$+*/\" ") != std::string::npos;
        tell(NOD_LintCode::Z401, one.left,
             "there is no parameter " + one.left +
                 (expressionFlag ? "; an expression is one that ends in a parenthesis" : ""),
             expressionFlag ? "" : myContext.nearest(one.left, myNames.getTokens()));
    }
}

void Check::checkChoice(const Comparison &one)
{
    const ZEL_Template *const control = find(one.left);
    const std::vector<std::string> &words = choices(control);
    if (words.empty() || (one.op != ZEL_CONDOP_EQ && one.op != ZEL_CONDOP_NE)) {
        return;
    }
    const bool knownFlag = std::find(words.begin(), words.end(), one.right) != words.end() ||
                           (isBareToggle(control) && (one.right == "0" || one.right == "1")) ||
                           // A text may be empty where a menu only offers what else it may be.
                           (one.right.empty() && control->getType().isStringType());
    const KIT_String right(one.right.c_str());
    const bool numberFlag =
        right.isFloat() && std::any_of(words.begin(), words.end(), [&](const auto &choice) {
            const KIT_String number(choice.c_str());
            return number.isFloat() && number.toFloat() == right.toFloat();
        });
    if (knownFlag || numberFlag) {
        return;
    }
    if (isToggle(control)) {
        const char *const instead = one.right == "0" ? "off" : one.right == "1" ? "on" : nullptr;
        tell(NOD_LintCode::Z403, one.right, one.left + " is a toggle: off or on, not " + one.right,
             instead ? instead : myContext.nearest(one.right, words), instead);
        return;
    }
    tell(NOD_LintCode::Z403, one.right, one.left + "'s menu has no entry " + one.right,
         myContext.nearest(one.right, words));
}

void Check::checkPattern(const Comparison &one)
{
    if (one.op != ZEL_CONDOP_MATCH && one.op != ZEL_CONDOP_NOMATCH) {
        return;
    }
    constexpr std::size_t theMostBytes = 256 << 10; // as the evaluation gives it
    const KIT_Regex pattern(one.right.c_str(), theMostBytes);
    if (!pattern.isValid()) {
        tell(NOD_LintCode::Z404, one.right,
             one.right + " is no regular expression: " + pattern.getErrorText().nonNullStr());
    }
}

// ---------------------------------------------------------------------- //
// All choices
// ---------------------------------------------------------------------- //

void Check::checkCases()
{
    std::map<std::string, const std::vector<std::string> *> tried;
    std::size_t cases = 1;
    std::size_t comparisons = 0;
    for (const std::vector<Comparison> &group : myCondition.groups) {
        for (const Comparison &one : group) {
            const ZEL_Template *const control = find(one.left);
            // A text can be set to what its menu doesn't offer.
            const bool countFlag = control && control->getType().isOrdinalType() &&
                                   control->getVectorSize() == 1 && !choices(control).empty();
            if (countFlag && tried.emplace(one.left, &choices(control)).second) {
                cases *= choices(control).size();
            }
            if (cases > theMostCases || cases * ++comparisons > theMostWork) {
                return;
            }
        }
    }
    constexpr std::size_t theMostOfAll = 5000000;
    myShared.work += cases * comparisons;
    if (myShared.work > theMostOfAll) {
        return;
    }
    bool anyFlag = false;
    bool allFlag = true;
    for (std::size_t number = 0; number < cases; ++number) {
        std::map<std::string, std::string> values;
        std::size_t rest = number;
        for (const auto &[name, words] : tried) {
            values[name] = (*words)[rest % words->size()];
            rest /= words->size();
        }
        const Truth truth = valueOf(values);
        anyFlag = anyFlag || truth != Truth::NO;
        allFlag = allFlag && truth == Truth::YES;
        if (anyFlag && !allFlag) {
            return;
        }
    }
    tell(allFlag ? NOD_LintCode::Z405 : NOD_LintCode::Z406, "",
         allFlag ? "the condition holds for every choice that there is"
                 : "the condition holds for no choice that there is");
}

Truth Check::valueOf(const std::map<std::string, std::string> &values) const
{
    Truth any = Truth::NO;
    for (const std::vector<Comparison> &group : myCondition.groups) {
        Truth all = Truth::YES;
        for (const Comparison &one : group) {
            const Truth truth = valueOf(one, values);
            all = truth == Truth::NO ? truth : all == Truth::YES ? truth : all;
            if (all == Truth::NO) {
                break;
            }
        }
        if (all == Truth::YES) {
            return all;
        }
        any = all == Truth::UNKNOWN ? all : any;
    }
    return any;
}

Truth Check::valueOf(const Comparison &one, const std::map<std::string, std::string> &values) const
{
    const auto found = values.find(one.left);
    if (found == values.end() || (one.op != ZEL_CONDOP_EQ && one.op != ZEL_CONDOP_NE)) {
        return Truth::UNKNOWN;
    }
    std::string value = found->second;
    if (isBareToggle(find(one.left)) && (one.right == "0" || one.right == "1")) {
        value = value == "off" ? "0" : "1";
    }
    const KIT_String left(value.c_str());
    const KIT_String right(one.right.c_str());
    const bool sameFlag =
        left.isFloat() && right.isFloat() ? left.toFloat() == right.toFloat() : value == one.right;
    return sameFlag == (one.op == ZEL_CONDOP_EQ) ? Truth::YES : Truth::NO;
}

} // namespace

void NODlintConditions(NOD_LintContext &context)
{
    Shared shared;
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        for (const Entry &entry : context.blocks()[i].entries) {
            if (isCondition(entry.word) && entry.count() > 0) {
                Condition condition{int(i), &entry, {}};
                read(context, condition);
                Check(context, condition, shared).run();
            }
        }
    }
}
