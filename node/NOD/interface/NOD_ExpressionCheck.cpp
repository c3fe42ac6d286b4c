#include <NOD/NOD_ExpressionCheck.h>

#include <EVL/EVL.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_ScriptPlacesPrivate.h>
#include <NOD/interface/NOD_TemplateFieldsPrivate.h>
#include <SNK/SNK_CompiledCode.h>
#include <SNK/SNK_Python.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Conditional.h>
#include <ZEL/ZEL_ConditionalSwitcher.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{

constexpr const char *theExpressionCategory = "TRK";

// ---------------------------------------------------------------------- //
// One text
// ---------------------------------------------------------------------- //

/// The identifier that a fault is about: in quotes at its beginning, or of calls the last word; else "".
std::string_view wordOf(int code, std::string_view fault)
{
    const bool callFlag = code == EVL::EVL_UNKNOWN_FUNCTION || code == EVL::EVL_BAD_ARGUMENT;
    const bool quotedFlag = !fault.empty() && fault[0] == '"';
    const std::size_t begin = quotedFlag ? 1 : fault.rfind(' ') + 1;
    const std::string_view word =
        fault.substr(begin, quotedFlag ? fault.find('"', 1) - 1 : fault.size());
    const bool nameFlag = (callFlag || quotedFlag) && !word.empty() &&
                          std::isalpha(static_cast<unsigned char>(word[0])) != 0;
    return nameFlag ? word : std::string_view();
}

bool checkNative(const std::string &text, NOD_ExpressionFault &fault)
{
    const std::unique_ptr<const TRK_Expression> compiled(TRK_Expression::compile(text.c_str()));
    if (compiled->getError() == EVL::EVL_OK) {
        return true;
    }
    fault.code = compiled->getError();
    fault.text = compiled->getErrorText();
    fault.offset = std::min(std::size_t(compiled->getErrorPosition()), text.size());
    // The compiler has read the word by then.
    const std::string_view word = wordOf(fault.code, fault.text);
    const std::size_t begin = word.empty() ? std::string::npos : text.rfind(word, fault.offset);
    fault.offset = begin == std::string::npos ? fault.offset : begin;
    return false;
}

/// The last line that isn't empty.
std::string lastLine(std::string text)
{
    text.erase(text.find_last_not_of(" \n") + 1);
    return text.substr(text.rfind('\n') + 1);
}

/// The beginning of the line that a traceback names last.
std::size_t lineOf(const std::string &traceback, const std::string &text)
{
    static constexpr std::string_view theWord = ", line ";
    const std::size_t at = traceback.rfind(theWord);
    const int line =
        at == std::string::npos ? 1 : std::atoi(traceback.c_str() + at + theWord.size());
    std::size_t begin = 0;
    for (int i = 1; i < line && begin < text.size(); ++i) {
        begin = std::min(text.find('\n', begin), text.size() - 1) + 1;
    }
    return std::min(begin, text.size());
}

bool checkPython(const std::string &text, SNK_CodeType type, NOD_ExpressionFault &fault)
{
    if (!SNKisPythonBuiltIn() || !SNKisPythonEnabled()) {
        return true;
    }
    const SNK_CompiledCode code(text.c_str(), type, "expression", false);
    if (code.isValid() || !SNKisPythonStarted()) {
        return true;
    }
    fault.code = EVL::EVL_PYTHON;
    fault.text = lastLine(code.getErrorText());
    fault.offset = lineOf(code.getErrorText(), text);
    return false;
}

// ---------------------------------------------------------------------- //
// Those of a script
// ---------------------------------------------------------------------- //

/// An expression of a script, and where to look for it there.
struct Written
{
    const ZEL_Template *one;
    std::string place; ///< "default", "menu", "disablewhen"
    std::string text;  ///< of the expression
};

class Check
{
public:
    Check(NOD_ScriptPlaces &places, NOD_Report &report, KIT_ErrorSeverity severity)
        : myScript(places.getScript()), myReport(report), mySeverity(severity), myPlaces(places)
    {}

    int run();

private:
    void checkArray(const ZEL_Template *templates);
    void checkDefaults(const ZEL_Template &one);
    void checkText(const Written &written);
    void checkMenu(const ZEL_Template &one);
    void checkCondition(const ZEL_Template &one, const ZEL_ConditionalBase *base);
    void check(const Written &written, TRK_ExprLanguage language);
    void add(const Written &written, const NOD_ExpressionFault &fault);

    const NOD_Interface &myScript;
    NOD_Report &myReport;
    KIT_ErrorSeverity mySeverity;
    int myFaults = 0;
    std::vector<const ZEL_Template *> myArrays; ///< around the present one
    NOD_ScriptPlaces &myPlaces;
};

int Check::run()
{
    checkArray(myScript.getTemplates());
    return myFaults;
}

void Check::checkArray(const ZEL_Template *templates)
{
    if (std::find(myArrays.begin(), myArrays.end(), templates) != myArrays.end()) {
        return;
    }
    myArrays.push_back(templates);
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        checkDefaults(*at);
        checkMenu(*at);
        const ZEL_ConditionalBase *const base = at->getConditionalBasePtr();
        checkCondition(*at, base);
        if (base && base->groupType() == ZEL_CONDGROUP_SWITCHER) {
            const auto *const tabs = static_cast<const ZEL_ConditionalSwitcher *>(base);
            for (int tab = 0; tab < std::max(at->getVectorSize(), 1); ++tab) {
                checkCondition(*at, tabs->getTabConditional(tab));
            }
        }
        if (at->isMultiType() && !at->isRampType()) {
            checkArray(at->getMultiParmTemplate());
        }
    }
    myArrays.pop_back();
}

void Check::checkDefaults(const ZEL_Template &one)
{
    const ZEL_Type &type = one.getType();
    for (int i = 0; !one.isSwitcher() && i < one.getVectorSize(); ++i) {
        const ZEL_Default *const value = NODgetDefault(one, i);
        if (!value || !value->gotString() || !*value->getString()) {
            continue;
        }
        const std::string text = value->getString();
        const TRK_StringMeaning meaning = value->getStringMeaning();
        const bool expressionFlag =
            type.isStringType()    ? ZEL_Parm::isStringExpression(text.c_str(), meaning, &one)
            : type.isOrdinalType() ? ZEL_Parm::isOrdinalExpression(*value, &one)
                                   : type.isFloatType();
        const Written written = {&one, "default", text};
        if (expressionFlag) {
            check(written, TRKstringMeaningToExprLanguage(meaning));
        } else if (type.isStringType()) {
            checkText(written);
        }
    }
}

/// The expressions in backticks.
void Check::checkText(const Written &written)
{
    TRK_Manager::forEachExpression(written.text.c_str(), [&](std::string_view expression) {
        if (expression.find_first_not_of(" \t\n") != std::string_view::npos) {
            check({written.one, written.place, std::string(expression)}, TRK_LANGUAGE_NATIVE);
        }
    });
}

void Check::checkMenu(const ZEL_Template &one)
{
    const ZEL_ChoiceList *const menu = one.getChoiceListPtr();
    NOD_ExpressionFault fault;
    if (!menu || !menu->getScript().isstring() || menu->getScriptLanguage() != TRK_SCRIPT_PYTHON) {
        return;
    }
    const std::string text = menu->getScript().nonNullStr();
    if (!NODcheckPythonScript(text, fault)) {
        add({&one, "menu", text}, fault);
    }
}

void Check::checkCondition(const ZEL_Template &one, const ZEL_ConditionalBase *base)
{
    for (const ZEL_ConditionalType type : theZELConditionalTypes) {
        const ZEL_Conditional *const condition = base ? base->getConditional(type) : nullptr;
        for (int i = 0; condition && i < condition->entries(); ++i) {
            const ZEL_ConditionalInfo &group = *(*condition)(i);
            for (int j = 0; j < group.entries(); ++j) {
                const KIT_String &left = group.getControlParms()(j);
                if (left.lastChar() == ')') {
                    check({&one, ZEL_Conditional::getName(type, false), left.toStdString()},
                          TRK_LANGUAGE_NATIVE);
                }
            }
        }
    }
}

void Check::check(const Written &written, TRK_ExprLanguage language)
{
    NOD_ExpressionFault fault;
    if (!NODcheckExpression(written.text, language, fault)) {
        add(written, fault);
    }
}

void Check::add(const Written &written, const NOD_ExpressionFault &fault)
{
    ++myFaults;
    NOD_Message message;
    message.severity = mySeverity;
    message.subject = written.one->getToken();
    message.text = written.place + ": " +
                   KITformatMessage(theExpressionCategory, fault.code, fault.text.c_str());
    message.category = theExpressionCategory;
    message.code = fault.code;
    message.file = myScript.getFile();
    message.detail = myPlaces.find(*written.one, written.place, written.text, fault.offset);
    if (message.detail) {
        message.file = message.detail->place.file;
        message.line = message.detail->place.line;
    }
    myReport.add(std::move(message));
}

} // namespace

bool NODcheckExpression(const std::string &text, TRK_ExprLanguage language,
                        NOD_ExpressionFault &fault)
{
    return language == TRK_LANGUAGE_PYTHON ? checkPython(text, SNK_CODE_EXPRESSION, fault)
                                           : checkNative(text, fault);
}

bool NODcheckExpression(const std::string &text, TRK_ExprLanguage language,
                        const std::string &subject, NOD_Report &report, KIT_ErrorSeverity severity)
{
    NOD_ExpressionFault fault;
    if (NODcheckExpression(text, language, fault)) {
        return true;
    }
    auto detail = std::make_shared<KIT_MessageDetail>();
    detail->place.setFromText(text, fault.offset, fault.offset + 1);
    detail->subject = subject;
    NOD_Message message;
    message.severity = severity;
    message.subject = subject;
    message.category = theExpressionCategory;
    message.code = fault.code;
    message.text = KITformatMessage(theExpressionCategory, fault.code, fault.text.c_str()) +
                   ", at character " + std::to_string(detail->place.character);
    message.detail = std::move(detail);
    report.add(std::move(message));
    return false;
}

bool NODcheckPythonScript(const std::string &text, NOD_ExpressionFault &fault)
{
    return checkPython(text, SNK_CODE_BODY, fault);
}

int NODcheckExpressions(const NOD_Interface &script, NOD_Report &report, KIT_ErrorSeverity severity)
{
    NOD_ScriptPlaces places(script);
    return NODcheckExpressions(places, report, severity);
}

int NODcheckExpressions(NOD_ScriptPlaces &places, NOD_Report &report, KIT_ErrorSeverity severity)
{
    return Check(places, report, severity).run();
}
