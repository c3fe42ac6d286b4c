#include <KIT/KIT_Error.h>

#include <cerrno>
#include <cstring>

void KITaddError(const char *category, int code, const char *text)
{
    KITgetErrorManager().add(category, code, text, KIT_ERROR_ABORT);
}

void KITaddWarning(const char *category, int code, const char *text)
{
    KITgetErrorManager().add(category, code, text, KIT_ERROR_WARNING);
}

void KITaddFatal(const char *category, int code, const char *text)
{
    KITgetErrorManager().add(category, code, text, KIT_ERROR_FATAL);
}

void KITaddMessage(const char *category, int code, const char *text)
{
    KITgetErrorManager().add(category, code, text, KIT_ERROR_MESSAGE);
}

void KITaddCommonError(int code, const char *text)
{
    KITgetErrorManager().commonError(code, text);
}

void KITaddCommonWarning(int code, const char *text)
{
    KITgetErrorManager().commonWarning(code, text);
}

std::string KITsystemReason()
{
    return errno ? std::strerror(errno) : "the reason is not known";
}
