#include <ZEL/ZEL_Instance.h>

#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <LYR/LYR_Manager.h>
#include <TRK/TRK_Manager.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmOwner.h>
#include <ZEL/ZEL_SpareData.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include <strings.h>

// ---------------------------------------------------------------------- //
// Reports
// ---------------------------------------------------------------------- //

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
        owner->getFullPath(text);
        text.append('/');
    }
    text.append(getChannelToken(index));
    TRK_Manager::getContext().evaluationError(error, thread, text.buffer());
}

// ---------------------------------------------------------------------- //
// Access
// ---------------------------------------------------------------------- //

bool ZEL_Instance::validateAccess() const
{
    if (ZEL_ParmList::isLoading() || !getChannelGroupPtr() || getActiveTakeFlag()) {
        return true;
    }
    LYR_Manager *takes = LYR_Manager::getCurrentManager();
    return takes->getCurrentTake() == takes->getMasterTake();
}

bool ZEL_Instance::shouldSaveData() const
{
    const ZEL_SpareData *spare = myTemplate->getSparePtr();
    const char *value = spare ? spare->getSaveValue() : nullptr;
    return !value || (::strcasecmp(value, "false") != 0 && std::string_view(value) != "0");
}

// ---------------------------------------------------------------------- //
// References to channels in texts
// ---------------------------------------------------------------------- //

namespace
{
bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

void strip(std::string_view &text)
{
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
}

bool isAlphaNumeric(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isReferenceText(std::string_view text)
{
    for (const char c : text) {
        if (!isAlphaNumeric(c) && c != '.' && c != '/' && c != '_') {
            return false;
        }
    }
    return true;
}

/// The functions that make a plain reference, with the shortest text that each can be.
struct ReferenceFunction
{
    std::string_view opening;
    std::size_t minimum;
};

constexpr ReferenceFunction theReferenceFunctions[] = {
    {"ch(", 7},
    {"chs(", 8},
    {"chsop(", 10},
};

/// Takes the argument of a reference function; false if the text is none.
bool stripFunction(std::string_view &text)
{
    for (const ReferenceFunction &function : theReferenceFunctions) {
        if (text.size() >= function.minimum && text.back() == ')' &&
            text.substr(0, function.opening.size()) == function.opening) {
            text.remove_prefix(function.opening.size());
            text.remove_suffix(1);
            return true;
        }
    }
    return false;
}

void assign(KIT_String *channel, std::string_view name)
{
    if (channel) {
        channel->harden(name.data(), name.size());
    }
}
} // namespace

bool ZEL_Instance::isChanRefString(const char *text, bool bare, KIT_String *channel)
{
    if (!text || !*text) {
        return false;
    }
    std::string_view rest(text);
    strip(rest);
    if (!bare) {
        if (rest.size() < 2 || rest.front() != '`' || rest.back() != '`') {
            return false;
        }
        rest = rest.substr(1, rest.size() - 2);
    }
    while (rest.size() >= 2 && rest.front() == '(' && rest.back() == ')') {
        rest = rest.substr(1, rest.size() - 2);
    }
    if (!stripFunction(rest) || rest.size() < 2) {
        return false;
    }
    const char quote = rest.front();
    if ((quote != '"' && quote != '\'') || rest.back() != quote) {
        return false;
    }
    rest = rest.substr(1, rest.size() - 2);
    if (!isReferenceText(rest)) {
        return false;
    }
    assign(channel, rest);
    return true;
}

bool ZEL_Instance::isObsoleteDirectChanRefString(const char *text, KIT_String *channel)
{
    static constexpr std::string_view theOpening = "!!ch(";
    static constexpr std::string_view theClosing = "!!";
    std::string_view rest(text ? text : "");
    strip(rest);
    const bool backticks = rest.size() >= 2 && rest.front() == '`' && rest.back() == '`';
    if (backticks) {
        rest = rest.substr(1, rest.size() - 2);
    }
    const std::size_t bare = rest.size() - std::min(rest.size(), theClosing.size());
    if (rest.substr(bare) == theClosing) {
        rest.remove_suffix(theClosing.size());
    } else if (backticks) {
        return false;
    }
    if (rest.size() <= theOpening.size() + 1 || rest.back() != ')' ||
        rest.substr(0, theOpening.size()) != theOpening) {
        return false;
    }
    rest = rest.substr(theOpening.size(), rest.size() - theOpening.size() - 1);
    const char quote = rest.front();
    if (rest.size() > 2 && (quote == '"' || quote == '\'') && rest.back() == quote) {
        rest = rest.substr(1, rest.size() - 2);
    }
    if (!isReferenceText(rest)) {
        return false;
    }
    assign(channel, rest);
    return true;
}
