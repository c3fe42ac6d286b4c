// Rules of values: Z301 to Z306, Z309 to Z313.

#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/interface/NOD_ScriptWordsPrivate.h>
#include <NOD/lint/NOD_LintContextPrivate.h>

#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Name.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ScriptParm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cmath>

namespace
{

using Block = NOD_LintContext::Block;
using Entry = NOD_LintContext::Entry;
using Extra = NOD_LintContext::Extra;
using Kind = NOD_LintScript::Kind;

/// The defaults that count; null without any.
const Entry *findDefaults(const Block &block)
{
    const auto found =
        std::find_if(block.entries.rbegin(), block.entries.rend(), [](const Entry &entry) {
            return entry.word == "default" || entry.word == "defaults";
        });
    return found == block.entries.rend() ? nullptr : &*found;
}

/// The text of a component's default; -1 without one.
int defaultToken(const NOD_LintContext &context, const Block &block, int component)
{
    const Entry *const entry = findDefaults(block);
    if (!entry || entry->count() < 1) {
        return -1;
    }
    if (block.kind != Kind::PARM) {
        return context.tokens().text(entry->first) == "{" ? entry->first + 1 : entry->first;
    }
    constexpr int theBracketed = 4;
    int at = entry->first + 1;
    for (; component > 0 && at < entry->last - 1; --component) {
        at += context.tokens().text(at) == "[" ? theBracketed : 1;
    }
    if (at >= entry->last - 1) {
        return -1;
    }
    return context.tokens().text(at) == "[" ? at + 1 : at;
}

std::vector<std::string> entriesOf(const ZEL_Template &one)
{
    std::vector<std::string> words;
    const ZEL_ChoiceList *const menu = one.getChoiceListPtr();
    for (const ZEL_Name *entry = menu ? menu->choiceNamesPtr() : nullptr;
         entry && !entry->isSentinel(); ++entry) {
        words.emplace_back(entry->getToken() ? entry->getToken() : "");
    }
    return words;
}

/// What NODcheckInterface() finds too.
void tellFaults(NOD_LintContext &context)
{
    for (const NOD_InterfaceFault &fault : context.faults().faults) {
        const int number = context.script().findBlock(fault.parm);
        const int token =
            number < 0 ? -1 : defaultToken(context, context.block(number), fault.component);
        Extra extra;
        if (fault.kind == NOD_FaultKind::DEFAULT_RANGE) {
            if (token >= 0) {
                extra.fix = context.replace(token, token + 1, fault.word);
            }
            context.add(NOD_LintCode::Z303, number, token, fault.text, extra);
        } else if (fault.kind == NOD_FaultKind::DEFAULT_WORD) {
            extra.nearest = context.nearest(fault.word, entriesOf(*fault.parm));
            const bool toggleFlag = fault.parm->getType().hasOrdinalType(ZEL_Type::ZEL_ORD_TOGGLE);
            context.add(NOD_LintCode::Z304, number, token,
                        toggleFlag ? "the default of a toggle is off or on, not " + fault.word
                                   : fault.text,
                        extra);
        } else if (fault.kind == NOD_FaultKind::DEFAULT_INDEX) {
            context.add(NOD_LintCode::Z305, number, token, fault.text);
        }
    }
}

bool isWord(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == ' ';
    });
}

/// Checks one component's default.
class DefaultCheck
{
public:
    DefaultCheck(NOD_LintContext &context, int number, int component)
        : myContext(context), myNumber(number), myOne(*context.block(number).description),
          myValue(myOne.getFactoryDefaults()[component]),
          myToken(defaultToken(context, context.block(number), component))
    {}

    void run();

private:
    void checkNumber(const std::string &text);
    void checkExpression(const std::string &text);
    void checkHeld();

    NOD_LintContext &myContext;
    int myNumber;
    const ZEL_Template &myOne;
    const ZEL_Default &myValue;
    int myToken;
};

void DefaultCheck::run()
{
    const std::string text = myValue.gotString() ? myValue.getString() : "";
    if (myToken < 0) {
        return;
    }
    if (text.empty()) {
        checkHeld();
        return;
    }
    const TRK_StringMeaning meaning = myValue.getStringMeaning();
    const ZEL_Type &type = myOne.getType();
    if (meaning == TRK_MEANING_PYTHON) {
        NOD_ExpressionFault fault;
        if (!NODcheckExpression(text, TRK_LANGUAGE_PYTHON, fault)) {
            Extra extra;
            NODsetFaultPlace(myContext, myToken, text, fault, extra);
            myContext.add(NOD_LintCode::Z306, myNumber, myToken, fault.text, extra);
        } else {
            NODtellUnknownPythonNames(myContext, myNumber, myToken, text);
        }
    } else if (meaning == TRK_MEANING_NATIVE) {
        checkExpression(text);
    } else if (meaning == TRK_MEANING_LITERAL && type.isStringType()) {
        TRK_Manager::forEachExpression(text.c_str(), [this](std::string_view expression) {
            checkExpression(std::string(expression));
        });
    } else if (meaning == TRK_MEANING_LITERAL && (type.isFloatType() || type.isOrdinalType())) {
        checkNumber(text);
    }
}

void DefaultCheck::checkNumber(const std::string &text)
{
    if (KIT_String(text.c_str()).isFloat()) {
        checkHeld();
        return;
    }
    const bool toggleFlag = myOne.getType().hasOrdinalType(ZEL_Type::ZEL_ORD_TOGGLE);
    if (toggleFlag && (text == "on" || text == "off")) {
        return;
    }
    const bool menuFlag = myOne.getChoiceListPtr() != nullptr;
    if (isWord(text)) {
        if (!menuFlag || !myOne.getType().isOrdinalType()) {
            myContext.add(NOD_LintCode::Z301, myNumber, myToken,
                          "the default " + text + " is no number and no expression");
        }
        return;
    }
    if (!myOne.getType().isOrdinalType() || ZEL_Parm::isOrdinalExpression(myValue, &myOne)) {
        checkExpression(text);
    }
}

void DefaultCheck::checkExpression(const std::string &text)
{
    NOD_ExpressionFault fault;
    if (NODcheckExpression(text, TRK_LANGUAGE_NATIVE, fault)) {
        NODtellUnknownNames(myContext, myNumber, myToken, text);
        return;
    }
    Extra extra;
    NODsetFaultPlace(myContext, myToken, text, fault, extra);
    myContext.add(NOD_LintCode::Z302, myNumber, myToken, NODfaultText(text, fault), extra);
}

/// Whether the type has the number, as it is.
void DefaultCheck::checkHeld()
{
    constexpr double theMost = 2147483647.0; // of 32 bits
    const ZEL_Type &type = myOne.getType();
    const double value = myValue.getFloat();
    const bool wholeFlag = type.isFloatType() && type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER);
    if (!wholeFlag && !type.isOrdinalType()) {
        return;
    }
    const std::string start = "the default " + myContext.text(myToken);
    Extra extra;
    if (!(std::fabs(value) <= theMost)) {
        myContext.add(NOD_LintCode::Z311, myNumber, myToken,
                      start + " is no whole number of 32 bits");
    } else if (std::floor(value) < value) {
        // As the values round: halves up; those of ordinals are cut off.
        const double held = wholeFlag ? std::floor(value + 0.5) : std::trunc(value);
        const std::string text = KIT_Digits(held).buffer();
        extra.fix = myContext.replace(myToken, myToken + 1, text);
        myContext.add(NOD_LintCode::Z311, myNumber, myToken,
                      start + " is no whole number: the value is " + text, extra);
    }
}

/// The words after defaults in brackets.
void checkMeanings(NOD_LintContext &context, int number)
{
    for (const Entry &entry : context.block(number).entries) {
        if (entry.word != "default" && entry.word != "defaults") {
            continue;
        }
        constexpr int theBracketed = 4;
        for (int at = entry.first + 1; at < entry.last - 1;) {
            if (context.tokens().text(at) != "[") {
                ++at;
                continue;
            }
            const int token = at + 2;
            TRK_StringMeaning meaning;
            if (token < entry.last - 1 &&
                !TRKstringToMeaning(context.text(token).c_str(), meaning)) {
                Extra extra;
                extra.nearest = context.nearest(context.text(token), NODgetMeaningWords());
                context.add(NOD_LintCode::Z312, number, token,
                            "there is no language " + context.text(token) +
                                ", so the default is a text as it is written",
                            extra);
            }
            at += theBracketed;
        }
    }
}

void checkDefaults(NOD_LintContext &context, int number)
{
    const ZEL_Template *const one = context.block(number).description;
    const ZEL_Default *const defaults = one ? one->getFactoryDefaults() : nullptr;
    if (!defaults || one->isSwitcher() || context.block(number).kind != Kind::PARM) {
        return;
    }
    for (int i = 0; i < one->getVectorSize(); ++i) {
        DefaultCheck(context, number, i).run();
    }
}

void checkRanges(NOD_LintContext &context, int number)
{
    for (const Entry &entry : context.block(number).entries) {
        constexpr int theEnds = 4; // with the braces
        if (entry.word != "range" || entry.count() < theEnds) {
            continue;
        }
        double ends[2] = {0.0, 0.0};
        bool goodFlag = true;
        for (int i = 0; i < 2; ++i) {
            const int token = entry.first + 1 + i;
            std::string text = context.text(token);
            text.erase(std::min(text.rfind('!'), text.size()));
            const KIT_String end(text.c_str());
            if (!end.isFloat()) {
                context.add(NOD_LintCode::Z310, number, token,
                            "the range's end " + context.text(token) + " is no number");
                goodFlag = false;
            }
            ends[i] = end.toFloat();
        }
        if (goodFlag && !(ends[0] < ends[1])) {
            context.add(NOD_LintCode::Z309, number, entry.keyword,
                        "the range from " + context.text(entry.first + 1) + " to " +
                            context.text(entry.first + 2) + " is empty, so it is dropped");
        }
    }
}

} // namespace

void NODlintValues(NOD_LintContext &context)
{
    tellFaults(context);
    for (std::size_t i = 0; i < context.blocks().size(); ++i) {
        checkDefaults(context, int(i));
        checkMeanings(context, int(i));
        checkRanges(context, int(i));
    }
}
