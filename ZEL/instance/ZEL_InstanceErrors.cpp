#include <ZEL/ZEL_Instance.h>

#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_WorkBuffer.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_Multi.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>

#include <algorithm>
#include <iterator>

namespace
{
struct ReportRule
{
    ZEL_ErrorCode code;
    bool carriesPath;
};

#define ZEL_MESSAGE(enumerator, number, severity, path, sentence) {enumerator, path},
constexpr ReportRule theReportRules[] = {
#include <KIT/KIT_Messages.def>
};

bool carriesPath(ZEL_ErrorCode code)
{
    return std::any_of(std::begin(theReportRules), std::end(theReportRules),
                       [&](const ReportRule &r) { return r.code == code && r.carriesPath; });
}
} // namespace

void ZEL_Instance::getFullParmPath(KIT_WorkBuffer &path) const
{
    path.clear();
    if (const ZEL_ParmOwner *owner = getParmOwner()) {
        const ZEL_Multi::KeepItems keep;
        owner->getFullPath(path);
    }
    const char *label = getTypeExtended() != ZEL_TYPEX_TOKEN_PATH ? getLabel() : nullptr;
    path.append(label ? ' ' : '/');
    path.append(label ? label : getToken());
}

void ZEL_Instance::addParmWarning(ZEL_ErrorCode code) const
{
    if (!carriesPath(code)) {
        KITaddWarning(ZEL_ERROR_CATEGORY, code);
        return;
    }
    KIT_WorkBuffer path;
    getFullParmPath(path);
    KITaddWarning(ZEL_ERROR_CATEGORY, code, path.buffer());
}

void ZEL_Instance::indexError(int) const
{
    KIT_WorkBuffer path;
    getFullParmPath(path);
    KITaddError(ZEL_ERROR_CATEGORY, ZEL_ERR_BAD_INDEX, path.buffer());
}

void ZEL_Instance::checkForExpressionErrors(ZEL_ParmList *list, int index, int thread) const
{
    const int error = EVL::theErrNo[thread];
    if (error != EVL::EVL_OK) {
        evaluationError(list, index, error, thread);
    }
}

void ZEL_Instance::evaluationError(ZEL_ParmList *list, int index, int error, int thread) const
{
    KIT_WorkBuffer text;
    if (const ZEL_ParmOwner *owner = list ? list->getParmOwner() : nullptr) {
        const ZEL_Multi::KeepItems keep;
        owner->getFullPath(text);
        text.append('/');
    }
    text.append(getChannelToken(index));
    TRK_Manager::getContext().evaluationError(error, thread, text.buffer());
}
