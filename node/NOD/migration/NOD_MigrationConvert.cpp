#include <NOD/migration/NOD_MigrationConvertPrivate.h>

#include <BAS/BAS_Number.h>
#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/migration/NOD_MigrationComponentsPrivate.h>
#include <NOD/text/NOD_NumberTextPrivate.h>
#include <TRK/TRK_Channel.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{

using Step = NOD_MigrationStep;
using Kind = Step::Kind;
using Value = Step::Value;
using Operations = std::vector<Step::Operation>;

constexpr bool theReplaceExpression = true;
constexpr bool thePropagate = true;

bool same(double a, double b)
{
    return !(a < b) && !(b < a);
}

// ---------------------------------------------------------------------- //
// Units
// ---------------------------------------------------------------------- //

double applied(double value, const Operations &operations, bool offsetFlag = true)
{
    for (const Step::Operation &operation : operations) {
        switch (operation.sign) {
        case '*': value *= operation.number; break;
        case '/': value /= operation.number; break;
        case '+': value += offsetFlag ? operation.number : 0.0; break;
        default: value -= offsetFlag ? operation.number : 0.0; break;
        }
    }
    return value;
}

/// Rounding makes one number of several: of those the one that a person would write.
double shortest(double value, const Step &unit, bool offsetFlag)
{
    const double plain = applied(value, unit.operations, offsetFlag);
    const Operations forward = NODundoOperations(unit.operations);
    constexpr int theMostDigits = 17;
    for (int digits = 1; digits <= theMostDigits; ++digits) {
        const double candidate = BASparseFloat(KIT_Digits(plain, 0, digits).buffer());
        if (same(applied(candidate, forward, offsetFlag), value)) {
            return candidate;
        }
    }
    return plain;
}

double inUnit(double value, const Step &unit, bool offsetFlag = true)
{
    return unit.undoFlag ? shortest(value, unit, offsetFlag)
                         : applied(value, unit.operations, offsetFlag);
}

std::string wrapped(std::string text, const Operations &operations)
{
    text = "(" + text + ")";
    bool sumFlag = false;
    for (const Step::Operation &operation : operations) {
        const bool factorFlag = operation.sign == '*' || operation.sign == '/';
        if (factorFlag && sumFlag) {
            text = "(" + text + ")";
        }
        sumFlag = !factorFlag;
        const std::string number = KIT_Digits(operation.number).buffer();
        text += std::string(" ") + operation.sign + " " +
                (number[0] == '-' ? "(" + number + ")" : number);
    }
    return text;
}

/// Whether parentheses of a text close within it, those in its strings apart.
bool isBalanced(std::string_view text)
{
    int depth = 0;
    char quote = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quote) {
            i += c == '\\' ? 1 : 0;
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '(') {
            ++depth;
        } else if (c == ')' && --depth < 0) {
            return false;
        }
    }
    return depth == 0 && quote == 0;
}

// ---------------------------------------------------------------------- //
// Kinds and entries
// ---------------------------------------------------------------------- //

bool isString(const ZEL_Parm &parm)
{
    return parm.getType().isStringType();
}

std::string digits(double number)
{
    return KIT_Digits(number).buffer();
}

/// The number of a text for a parameter; false if it is none.
bool numberFor(const ZEL_Parm &parm, const std::string &text, double &number)
{
    const std::vector<std::string> words = NODordinalWords(parm);
    const auto found = std::find(words.begin(), words.end(), text);
    if (found != words.end()) {
        number = double(found - words.begin());
        return true;
    }
    const bool toggleFlag = parm.getType().getOrdinalType() == ZEL_Type::ZEL_ORD_TOGGLE;
    if (!(words.empty() || toggleFlag) || !NODreadFloat(text, number) || !std::isfinite(number)) {
        return false;
    }
    number = toggleFlag && std::fabs(number) > 0.0 ? 1.0 : number;
    return true;
}

void carryMarks(const ZEL_Parm &from, int fromIndex, ZEL_Parm &to, int toIndex)
{
    if (from.getChannelAlias(fromIndex) != from.getChannelToken(fromIndex) && to.getParmList()) {
        to.getParmList()->setChannelAlias(&to, toIndex, from.getChannelAlias(fromIndex));
    }
    to.setLockedFlag(toIndex, from.getLockedFlag(fromIndex));
}

} // namespace

bool NODvalueKindOf(const ZEL_Template &description, Value &kind)
{
    const ZEL_Type &type = description.getType();
    if (type.isFloatType()) {
        kind = type.hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER) ? Value::INT : Value::FLOAT;
    } else if (type.isOrdinalType()) {
        kind = type.getOrdinalType() == ZEL_Type::ZEL_ORD_TOGGLE ? Value::TOGGLE : Value::MENU;
    } else {
        kind = Value::STRING;
    }
    return !type.isDataType() && !description.isMultiType();
}

std::string NODwrapExpression(const std::string &text, const Step &unit)
{
    const std::string mark = "\n";
    const std::string around = wrapped(mark, NODundoOperations(unit.operations));
    const std::size_t before = around.find(mark);
    const std::size_t after = around.size() - before - 1;
    if (text.size() > before + after && text.compare(0, before, around, 0, before) == 0 &&
        text.compare(text.size() - after, after, around, before + 1, after) == 0) {
        const std::string inner = text.substr(before, text.size() - before - after);
        if (isBalanced(inner)) {
            return inner;
        }
    }
    return wrapped(text, unit.operations);
}

// ---------------------------------------------------------------------- //
// Values
// ---------------------------------------------------------------------- //

/// The entries of a menu on both sides; none where a number is only a number.
struct NOD_MigrationConverter::Tokens
{
    std::vector<std::string> from;
    std::vector<std::string> to;
};

std::string NOD_MigrationConverter::entryOf(const std::string &entry) const
{
    std::string mapped = entry;
    for (const Step *step : mySteps) {
        // Each of them is about the former token.
        if (step->kind == Kind::MENU && step->entry == entry) {
            mapped = step->newEntry;
        }
    }
    return mapped;
}

double NOD_MigrationConverter::apply(double value, Result &result) const
{
    for (const Step *step : mySteps) {
        const double before = value;
        if (step->kind == Kind::UNIT) {
            value = inUnit(value, *step);
        } else if (step->kind == Kind::RETYPE && step->to != Value::FLOAT &&
                   step->from == Value::FLOAT) {
            value = std::round(value);
        }
        if (step->kind == Kind::RETYPE && step->to == Value::TOGGLE) {
            value = std::fabs(value) > 0.0 ? 1.0 : 0.0;
        }
        if (step->kind == Kind::RETYPE && !same(value, before)) {
            result = {Outcome::CHANGED,
                      digits(before) + " is no " + Step::getValueWord(step->to) + " value"};
        }
    }
    return value;
}

NOD_MigrationConverter::Result NOD_MigrationConverter::convert(const ZEL_Parm &from, int fromIndex,
                                                               ZEL_Parm &to, int toIndex) const
{
    const Result result = isString(from) || isString(to)
                              ? convertText(from, fromIndex, to, toIndex)
                              : convertNumber(from, fromIndex, to, toIndex);
    if (result.outcome != Outcome::LOST) {
        carryMarks(from, fromIndex, to, toIndex);
    }
    return result;
}

NOD_MigrationConverter::Result NOD_MigrationConverter::convertNumber(const ZEL_Parm &from,
                                                                     int fromIndex, ZEL_Parm &to,
                                                                     int toIndex) const
{
    constexpr bool copyChannels = true;
    Result result;
    Tokens tokens;
    const bool menusFlag = std::any_of(mySteps.begin(), mySteps.end(),
                                       [](const Step *step) { return step->kind == Kind::MENU; });
    if (menusFlag) {
        tokens = {NODordinalWords(from), NODordinalWords(to)};
    }
    if (from.getChannel(fromIndex)) {
        to.copyValue(myTime, toIndex, from, fromIndex, theReplaceExpression, thePropagate,
                     copyChannels, ZEL_ADDKEY_PENDING, ZEL_KEYSET_PREFERENCE);
        if (TRK_Channel *const channel = to.getChannel(toIndex)) {
            convertChannel(*channel, tokens, result);
            constexpr bool sendEvent = true;
            constexpr bool updateMulti = true;
            to.privateValueChanged(toIndex, sendEvent, updateMulti);
        }
        return result;
    }
    double value = 0.0;
    from.getValue(myTime, value, fromIndex, BASgetSTID());
    if (menusFlag) {
        const bool knownFlag = value >= 0.0 && value < double(tokens.from.size());
        const std::string entry = knownFlag ? tokens.from[std::size_t(value)] : "";
        const auto found = std::find(tokens.to.begin(), tokens.to.end(), entryOf(entry));
        if (found == tokens.to.end()) {
            return {Outcome::LOST, entryOf(entry) + " is no entry of the menu now"};
        }
        value = double(found - tokens.to.begin());
    }
    value = apply(value, result);
    to.setValue(myTime, value, theReplaceExpression, toIndex, ZEL_ADDKEY_PENDING, thePropagate);
    double became = 0.0;
    to.getValue(myTime, became, toIndex, BASgetSTID());
    if (!same(became, value) && result.outcome == Outcome::EXACT) {
        result = {Outcome::CHANGED, digits(value) + " became " + digits(became)};
    }
    return result;
}

std::string NOD_MigrationConverter::deviation(double before, double after) const
{
    constexpr double theTolerance = 1e-9;
    const bool menuFlag = std::any_of(mySteps.begin(), mySteps.end(),
                                      [](const Step *step) { return step->kind == Kind::MENU; });
    Result ignored;
    const double expected = apply(before, ignored);
    const double scale = std::max({1.0, std::fabs(expected), std::fabs(after)});
    return menuFlag || !(std::fabs(expected - after) > theTolerance * scale)
               ? ""
               : "is " + digits(after) + " now, not " + digits(expected);
}

/// Keys with their slopes, the pending value, expressions.
void NOD_MigrationConverter::convertChannel(TRK_Channel &channel, const Tokens &tokens,
                                            Result &result) const
{
    constexpr bool notify = false;
    const auto convertOne = [&](double value) {
        if (!tokens.from.empty()) {
            const double place = std::round(value);
            const bool knownFlag = place >= 0.0 && place < double(tokens.from.size());
            const std::string entry = knownFlag ? tokens.from[std::size_t(place)] : digits(value);
            const auto found = std::find(tokens.to.begin(), tokens.to.end(), entryOf(entry));
            if (found == tokens.to.end()) {
                result = {Outcome::CHANGED, entryOf(entry) + " is no entry of the menu now"};
                return value;
            }
            value = double(found - tokens.to.begin());
        }
        // A curve of whole numbers is one between them.
        Result ignored;
        return apply(value, ignored);
    };
    channel.setDefault(convertOne(channel.getDefault()));
    for (int i = 0; i < channel.getNSegments(); ++i) {
        TRK_Segment &segment = *channel.getSegment(i);
        const bool curveFlag = segment.isInterpolated();
        if (curveFlag || !tokens.from.empty()) {
            segment.setInValue(convertOne(segment.getInValue()), notify);
            segment.setOutValue(convertOne(segment.getOutValue()), notify);
        }
        for (const Step *step : mySteps) {
            if (step->kind == Kind::UNIT) {
                constexpr bool offsetFlag = false;
                if (!curveFlag) {
                    segment.setInValue(inUnit(segment.getInValue(), *step), notify);
                    segment.setOutValue(inUnit(segment.getOutValue(), *step), notify);
                    segment.changeExpression(
                        NODwrapExpression(segment.getExpression(), *step).c_str(),
                        segment.getExprLanguage());
                }
                segment.setInSlope(inUnit(segment.getInSlope(), *step, offsetFlag), notify);
                segment.setOutSlope(inUnit(segment.getOutSlope(), *step, offsetFlag), notify);
            }
        }
        if (!curveFlag && !tokens.from.empty()) {
            result = {Outcome::CHANGED, "what its expression says isn't mapped"};
        }
    }
}

NOD_MigrationConverter::Result NOD_MigrationConverter::convertText(const ZEL_Parm &from,
                                                                   int fromIndex, ZEL_Parm &to,
                                                                   int toIndex) const
{
    Result result;
    if (from.getChannel(fromIndex)) {
        result = {Outcome::CHANGED,
                  "only its value at " + digits(myTime) + " s is carried: it has a channel"};
    }
    // By the token of a menu, or the text as it was set.
    const std::vector<std::string> words =
        isString(from) ? std::vector<std::string>() : NODordinalWords(from);
    std::string text;
    double number = 0.0;
    if (isString(from)) {
        constexpr bool expand = true;
        KIT_String value;
        from.getValue(myTime, value, fromIndex, expand, BASgetSTID());
        text =
            from.getChannel(fromIndex) ? value.toStdString() : NODrawText(from, fromIndex, myTime);
    } else {
        from.getValue(myTime, number, fromIndex, BASgetSTID());
        number = apply(number, result);
        const bool knownFlag = number >= 0.0 && number < double(words.size());
        text = knownFlag ? words[std::size_t(number)] : digits(number);
    }
    text = entryOf(text);
    if (isString(to)) {
        to.setValue(myTime, text.c_str(), TRK_MEANING_LITERAL, theReplaceExpression, toIndex,
                    ZEL_ADDKEY_PENDING, thePropagate);
        return result;
    }
    if (!numberFor(to, text, number)) {
        return {Outcome::LOST, "\"" + text + "\" is no " +
                                   (NODordinalWords(to).empty() ? "number" : "entry of the menu")};
    }
    const double whole =
        to.getType().hasFloatType(ZEL_Type::ZEL_FLOAT_INTEGER) ? std::round(number) : number;
    to.setValue(myTime, number, theReplaceExpression, toIndex, ZEL_ADDKEY_PENDING, thePropagate);
    double became = 0.0;
    to.getValue(myTime, became, toIndex, BASgetSTID());
    if (!same(whole, number) || !same(became, number)) {
        result = {Outcome::CHANGED, digits(number) + " became " + digits(became)};
    }
    return result;
}
