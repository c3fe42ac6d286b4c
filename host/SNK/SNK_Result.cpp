#include <SNK/SNK_Result.h>

#include <utility>

void SNK_Result::setType(SNK_ResultType type)
{
    myType = type;
    myNumber = 0.0;
    myText.clear();
    myStrings.clear();
}

void SNK_Result::setNumber(SNK_ResultType type, double number)
{
    setType(type);
    myNumber = number;
}

void SNK_Result::setText(SNK_ResultType type, const char *text)
{
    setType(type);
    myText.harden(text);
}

void SNK_Result::setStrings(KIT_StringArray &&strings)
{
    setType(SNK_RESULT_STRINGS);
    myStrings = std::move(strings);
}
