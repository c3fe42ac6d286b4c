#include <ZEL/scripts/ZEL_ScriptPrivate.h>

#include <DS/DS_Stream.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_SpareData.h>

#include <cstdarg>

void ZELscriptError(DS_Stream &stream, const char *format, ...)
{
    KIT_WorkBuffer text;
    va_list args;
    va_start(args, format);
    text.appendVsprintf(format, args);
    va_end(args);
    stream.error(text.buffer());
}

void ZELscriptWarning(DS_Stream &stream, const char *format, ...)
{
    KIT_WorkBuffer text;
    va_list args;
    va_start(args, format);
    text.appendVsprintf(format, args);
    va_end(args);
    stream.warning(text.buffer());
}

bool ZELreadScriptToken(DS_Stream &stream, KIT_String &token, const char *error)
{
    if (!stream.getToken(token)) {
        stream.error(error);
        return false;
    }
    return true;
}

bool ZELreadScriptTag(DS_Stream &stream, const char *braceError, KIT_String &name,
                      KIT_String &value)
{
    if (!stream.getOpenBrace()) {
        stream.error(braceError);
        return false;
    }
    KIT_String pairName;
    KIT_String pairValue;
    for (bool firstFlag = true;; firstFlag = false) {
        if (!ZELreadScriptToken(stream, pairName, "Expecting tag name or closing brace")) {
            return false;
        }
        if (pairName == "}") {
            return true;
        }
        if (!ZELreadScriptToken(stream, pairValue, "Expecting tag value")) {
            return false;
        }
        if (firstFlag) {
            name = pairName;
            value = pairValue;
        }
    }
}

bool ZELaddScriptTag(DS_Stream &stream, ZEL_SpareData *spare, const char *name,
                     const KIT_String &value)
{
    if (!spare) {
        stream.error("Internal error allocating spare data");
        return false;
    }
    spare->addTokenValue(name, value.nonNullStr());
    return true;
}

void ZELskipScriptNumber(DS_Stream &stream)
{
    KIT_String token;
    if (stream.getToken(token) && !token.isFloat() && !token.isInteger()) {
        stream.ungetToken(token);
    }
}

void ZELcheckScriptName(DS_Stream &stream, const KIT_String &name, int marks)
{
    if (name.countChar('#') != marks) {
        ZELscriptWarning(stream, "incorrect number of #s in '%s' for multiparm depth of %d",
                         name.isEmpty() ? "<null>" : name.c_str(), marks);
    }
}
