// The text of a condition: reading, writing, operators.

#include <ZEL/ZEL_Conditional.h>

#include <BAS/BAS_Number.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_StringHolder.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptQuote.h>

#include <iterator>
#include <string_view>

namespace
{

constexpr std::string_view theOperators[] = {
#define ZEL_CONDITION_OPERATOR(name, number, text, numbers, texts, missing) text,
#include <ZEL/ZEL_ConditionOperators.def>
};
constexpr int theOperatorCount = int(std::size(theOperators));

constexpr bool isInOrder()
{
    int place = 0;
    bool orderFlag = true;
#define ZEL_CONDITION_OPERATOR(name, number, ...) orderFlag = orderFlag && place++ == number;
#include <ZEL/ZEL_ConditionOperators.def>
    return orderFlag;
}
static_assert(isInOrder(), "texts are found by the operator's number");

constexpr char theNoOpeningBrace[] = "Conditional doesn't start with an opening curly brace.";
constexpr char theEmptyGroup[] = "Expected a parameter or an expression.";
constexpr char theUnexpectedEnd[] = "Unexpected end of conditional";
constexpr char theNoLeftWord[] = "No parameter name or expression given.";
constexpr char theNoOperator[] =
    "Parameter and value must be separated by a space if there's no operator given.";
constexpr char theNoClosingBrace[] = "Missing closing '}'";

class ConditionReader
{
public:
    /// A null `out` only checks.
    ConditionReader(std::string_view text, ZEL_Conditional *out) : myRest(text), myOut(out) {}

    /// Null on success, else the message.
    const char *read();

private:
    const char *readGroup();
    const char *readComparison(ZEL_ConditionalInfo *info, bool &closedFlag);
    std::string_view readWord();
    bool readOperator(ZEL_ConditionalOperator &op);

    bool atEnd() const { return myRest.empty(); }
    bool isAt(char c) const { return !myRest.empty() && myRest.front() == c; }
    bool skip(char c);
    /// Returns whether there were any.
    bool skipBlanks();

    std::string_view myRest;
    ZEL_Conditional *myOut;
};

KIT_StringHolder storedWord(std::string_view word)
{
    if (word.find('\\') == word.npos) {
        return KIT_StringHolder(word.data(), word.size());
    }
    KIT_String expanded;
    expanded.harden(word.data(), word.size());
    expanded.expandControlSequences();
    return KIT_StringHolder(expanded);
}

bool ConditionReader::skip(char c)
{
    if (!isAt(c)) {
        return false;
    }
    myRest.remove_prefix(1);
    return true;
}

bool ConditionReader::skipBlanks()
{
    size_t count = 0;
    while (count < myRest.size() && BASisBlank(myRest[count])) {
        count++;
    }
    myRest.remove_prefix(count);
    return count > 0;
}

std::string_view ConditionReader::readWord()
{
    const char quote = isAt('"') || isAt('`') ? myRest.front() : '\0';
    if (quote) {
        myRest.remove_prefix(1);
    }
    size_t length = 0;
    if (quote) {
        while (length < myRest.size() &&
               (myRest[length] != quote || (length > 0 && myRest[length - 1] == '\\'))) {
            length++;
        }
    } else {
        while (length < myRest.size() && myRest[length] != '}' && !BASisBlank(myRest[length])) {
            length++;
        }
    }
    const std::string_view word = myRest.substr(0, length);
    myRest.remove_prefix(length);
    if (quote) {
        skip(quote);
    }
    return word;
}

bool ConditionReader::readOperator(ZEL_ConditionalOperator &op)
{
    op = ZEL_CONDOP_EQ;
    size_t length = 0;
    for (int i = 0; i < theOperatorCount; i++) {
        const std::string_view text = theOperators[i];
        if (text.size() > length && myRest.substr(0, text.size()) == text) {
            op = ZEL_ConditionalOperator(i);
            length = text.size();
        }
    }
    myRest.remove_prefix(length);
    return length > 0;
}

const char *ConditionReader::readComparison(ZEL_ConditionalInfo *info, bool &closedFlag)
{
    const std::string_view left = readWord();
    if (atEnd()) {
        return theUnexpectedEnd;
    }
    if (left.empty()) {
        return theNoLeftWord;
    }
    // A word directly before the closing brace doesn't start a comparison; it is dropped.
    closedFlag = skip('}');
    if (closedFlag) {
        return nullptr;
    }
    const bool blanksFlag = skipBlanks();
    ZEL_ConditionalOperator op;
    if (!readOperator(op) && !blanksFlag) {
        return theNoOperator;
    }
    if (atEnd()) {
        return theUnexpectedEnd;
    }
    skipBlanks();
    const std::string_view right = readWord();
    skipBlanks();
    if (atEnd()) {
        return theNoClosingBrace;
    }
    if (info) {
        info->addCondition(storedWord(left), storedWord(right), op);
    }
    closedFlag = skip('}');
    return nullptr;
}

const char *ConditionReader::readGroup()
{
    if (!skip('{')) {
        return theNoOpeningBrace;
    }
    skipBlanks();
    if (isAt('}')) {
        return theEmptyGroup;
    }
    ZEL_ConditionalInfo *info = myOut ? myOut->createInfo() : nullptr;
    const char *message = nullptr;
    for (bool closedFlag = false; !message && !closedFlag;) {
        message = readComparison(info, closedFlag);
    }
    return message;
}

const char *ConditionReader::read()
{
    if (atEnd()) {
        return nullptr;
    }
    skipBlanks();
    const char *message = nullptr;
    do {
        message = readGroup();
        skipBlanks();
    } while (!message && !atEnd());
    return message;
}

/// Null on success, else the message.
const char *readCondition(const char *text, ZEL_Conditional *out)
{
    return ConditionReader(text ? std::string_view(text) : std::string_view(), out).read();
}

void writeGroup(KIT_WorkBuffer &out, const ZEL_ConditionalInfo &info, const KIT_StringArray *filter)
{
    bool openFlag = false;
    for (int i = 0; i < info.entries(); i++) {
        const KIT_String &left = info.getControlParms()(i);
        if (filter && filter->find(left.nonNullStr()) < 0) {
            continue;
        }
        if (!openFlag) {
            out.append(out.isEmpty() ? "{" : " {");
            openFlag = true;
        }
        out.append(' ');
        ZELprotectString(out, left.nonNullStr(), true, true);
        out.append(' ');
        out.append(ZEL_Conditional::getOperatorString(info.getOperators()(i)));
        out.append(' ');
        ZELprotectString(out, info.getControlValues()(i).nonNullStr(), true, true);
    }
    if (openFlag) {
        out.append(" }");
    }
}

void writeCondition(KIT_WorkBuffer &out, const ZEL_Conditional &conditional,
                    const KIT_StringArray *filter)
{
    for (int i = 0; i < conditional.entries(); i++) {
        writeGroup(out, *conditional(i), filter);
    }
}

} // namespace

bool ZEL_Conditional::setListFromString(const char *text, KIT_StringHolder &message)
{
    clear();
    const char *fault = readCondition(text, this);
    if (fault) {
        clear();
        message = fault;
    }
    return !fault;
}

bool ZEL_Conditional::verifyConditionalString(const char *text, KIT_StringHolder &message)
{
    const char *fault = readCondition(text, nullptr);
    if (fault) {
        message = fault;
    }
    return !fault;
}

void ZEL_Conditional::getStringFromList(KIT_String &out) const
{
    KIT_WorkBuffer text;
    writeCondition(text, *this, nullptr);
    text.copyIntoString(out);
}

void ZEL_Conditional::getStringFromList(KIT_String &out, const KIT_StringArray &filter) const
{
    KIT_WorkBuffer text;
    writeCondition(text, *this, &filter);
    text.copyIntoString(out);
}

void ZEL_Conditional::getStringFromList(KIT_StringHolder &out, const KIT_StringArray *filter) const
{
    KIT_WorkBuffer text;
    writeCondition(text, *this, filter);
    text.copyIntoString(out);
}

bool ZEL_Conditional::getOperatorFromString(const char *text, ZEL_ConditionalOperator &op)
{
    for (int i = 0; text && i < theOperatorCount; i++) {
        if (theOperators[i] == text) {
            op = ZEL_ConditionalOperator(i);
            return true;
        }
    }
    return false;
}

bool ZEL_Conditional::isValidOperator(const char *text)
{
    ZEL_ConditionalOperator op;
    return getOperatorFromString(text, op);
}

const char *ZEL_Conditional::getOperatorString(ZEL_ConditionalOperator op)
{
    return op >= 0 && op < theOperatorCount ? theOperators[op].data() : nullptr;
}
