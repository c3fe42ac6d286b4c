#include <KIT/KIT_ErrorManager.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_MessageCatalogue.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_String.h>

#include <algorithm>
#include <iterator>
#include <utility>

// ------------------------------------------------------------------ //
// The thread's managers

static __thread KIT_ErrorManager *theScopeManager __attribute__((tls_model("initial-exec")));
static __thread KIT_ErrorManager *theBottomManager __attribute__((tls_model("initial-exec")));

namespace
{
const BAS_ThreadEnd theEnd([] {
    delete theBottomManager;
    theBottomManager = nullptr;
});
} // namespace

static KIT_ErrorManager &getBottomManager()
{
    if (!theBottomManager) {
        BASgetSTID(); // a thread without an id isn't known to end
        theBottomManager = new KIT_ErrorManager;
    }
    return *theBottomManager;
}

KIT_ErrorManager &KITgetErrorManager()
{
    return theScopeManager ? *theScopeManager : getBottomManager();
}

/// Doesn't use KITgetErrorManager(), as asking for the severity must not create a manager.
KIT_ErrorSeverity KITgetErrorSeverity()
{
    const KIT_ErrorManager *manager = theScopeManager ? theScopeManager : theBottomManager;
    return manager ? manager->getSeverity() : KIT_ERROR_NONE;
}

KIT_ErrorManager::Scope::Scope(int thread) : myOuter(theScopeManager), myThread(thread)
{
    const KIT_ErrorManager *const outer = myOuter ? myOuter : theBottomManager;
    myManager.myFlags = outer ? outer->myFlags & theDetailsFlag : 0;
    theScopeManager = &myManager;
}

KIT_ErrorManager::Scope::~Scope()
{
    theScopeManager = myOuter;
}

KIT_ErrorManager &KIT_ErrorManager::Scope::getOuterManager()
{
    return myOuter ? *myOuter : getBottomManager();
}

// ------------------------------------------------------------------ //
// Adding

void KIT_ErrorManager::add(const char *category, int code, const char *text,
                           KIT_ErrorSeverity severity)
{
    add(category, code, text, severity, wantsDetails() ? KIT_MessageSource::makeDetail() : nullptr);
}

void KIT_ErrorManager::add(const char *category, int code, const char *text,
                           KIT_ErrorSeverity severity,
                           std::shared_ptr<const KIT_MessageDetail> detail)
{
    if ((myFlags & theDiscardFlag) != 0) {
        return;
    }
    mySeverity = std::max(mySeverity, severity);
    if (myDropped > 0 || entries() >= theMaxErrors) {
        countDropped(severity, 1);
        return;
    }
    myErrors.push_back(
        Error{category ? category : "", code, text ? text : "", severity, std::move(detail)});
}

void KIT_ErrorManager::countDropped(KIT_ErrorSeverity severity, int64_t count)
{
    if (myDropped == 0) {
        myErrors.push_back(Error{theKITCommonCategory, KIT_COMMON_DROPPED, "", severity, nullptr});
    }
    myDropped += count;
    Error &counter = myErrors.back();
    counter.severity = std::max(counter.severity, severity);
    counter.text = std::to_string(myDropped);
}

void KIT_ErrorManager::commonError(int code, const char *text)
{
    add(theKITCommonCategory, code, text, KIT_ERROR_ABORT);
}

void KIT_ErrorManager::commonWarning(int code, const char *text)
{
    add(theKITCommonCategory, code, text, KIT_ERROR_WARNING);
}

void KIT_ErrorManager::commonMessage(int code, const char *text)
{
    add(theKITCommonCategory, code, text, KIT_ERROR_MESSAGE);
}

void KIT_ErrorManager::clearAndDestroyErrors()
{
    myErrors.clear();
    mySeverity = KIT_ERROR_NONE;
    myDropped = 0;
}

// ------------------------------------------------------------------ //
// Moving

void KIT_ErrorManager::updateSeverity()
{
    mySeverity = KIT_ERROR_NONE;
    for (const Error &error : myErrors) {
        mySeverity = std::max(mySeverity, error.severity);
    }
}

void KIT_ErrorManager::stealErrors(KIT_ErrorManager &from, int first, int last,
                                   KIT_ErrorSeverity minimum, bool copy)
{
    if (&from == this || from.myErrors.empty()) {
        return;
    }
    const int64_t begin = std::max(first, 0);
    const int64_t end = last < 0 ? from.entries() : std::min<int64_t>(from.entries(), last + 1LL);
    std::vector<Error> kept;
    for (int64_t i = 0; i < from.entries(); ++i) {
        Error &error = from.myErrors[static_cast<size_t>(i)];
        const bool taken = i >= begin && i < end && error.severity >= minimum;
        const bool isCounter = from.myDropped > 0 && i == from.entries() - 1;
        if (taken) {
            takeError(error, isCounter ? from.myDropped : 0);
        }
        if (!copy && !taken) {
            kept.push_back(std::move(error));
        } else if (!copy && isCounter) {
            from.myDropped = 0;
        }
    }
    if (!copy) {
        from.myErrors = std::move(kept);
        from.updateSeverity();
    }
}

void KIT_ErrorManager::takeError(const Error &error, int64_t dropped)
{
    if (dropped == 0) {
        add(error.category.c_str(), error.code, error.text.c_str(), error.severity, error.detail);
    } else if ((myFlags & theDiscardFlag) == 0) {
        mySeverity = std::max(mySeverity, error.severity);
        countDropped(error.severity, dropped);
    }
}

// ------------------------------------------------------------------ //
// Texts

const char *KIT_ErrorManager::getSeverityName(KIT_ErrorSeverity severity)
{
    static constexpr const char *theNames[] = {"None",    "Message", "Prompt",
                                               "Warning", "Error",   "Fatal error"};
    const int index = static_cast<int>(severity);
    return index >= 0 && index < static_cast<int>(std::size(theNames)) ? theNames[index] : "Error";
}

int KIT_ErrorManager::getErrorMessages(KIT_String &out, KIT_ErrorSeverity minimum,
                                       bool withCategory) const
{
    std::string lines;
    int count = 0;
    for (const Error &error : myErrors) {
        if (error.severity < minimum) {
            continue;
        }
        lines += getSeverityName(error.severity);
        if (withCategory) {
            lines += " (" + error.category + " " + std::to_string(error.code) + ")";
        }
        lines += ": ";
        lines += KITformatMessage(error.category.c_str(), error.code, error.text.c_str());
        lines += "\n";
        ++count;
    }
    out = lines.c_str();
    return count;
}
