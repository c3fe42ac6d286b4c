#include <TRK/TRK_Manager.h>

#include <CON/CON_Manager.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Digits.h>
#include <KIT/KIT_Error.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_ChannelRef.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_EvalContext.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_TextScanPrivate.h>

#include <cmath>
#include <string>
#include <string_view>

TRK_Manager &TRK_Manager::getContext()
{
    // Never destroyed: threads may still evaluate while the process ends.
    static TRK_Manager *const theManager = new TRK_Manager;
    return *theManager;
}

// ---------------------------------------------------------------- //
// Time
// ---------------------------------------------------------------- //

double TRK_Manager::getEvaluateTime(int thread) const
{
    const TRK_EvalContext::Scope *scope = TRK_EvalContext::getCurrent(thread);
    return scope != nullptr ? scope->getTime() : getCurrentTime();
}

double TRK_Manager::getEvaluateFPS() const
{
    return theTRKEvalThread.frameRate > 0.0 ? theTRKEvalThread.frameRate : getFPS();
}

void TRK_Manager::setFPS(double fps)
{
    if (fps > 0.0 && std::isfinite(fps)) {
        myFPS.store(fps, std::memory_order_relaxed);
    }
}

// ---------------------------------------------------------------- //
// Variables
// ---------------------------------------------------------------- //

bool TRK_Manager::getGlobalVariable(const KIT_StringRef &name, KIT_String &value) const
{
    return CON_Manager::getContext().getVariable(name, value);
}

void TRK_Manager::setGlobalVariable(const KIT_StringRef &name, const char *value)
{
    CON_Manager::getContext().setVariable(name, value);
}

namespace
{

/// The frame as a whole number with zeros in front: 7 in four digits is 0007, -7 is -0007.
std::string paddedFrame(double frame, int digits)
{
    std::string text = KIT_Digits(std::floor(frame + 0.5)).buffer();
    const std::size_t sign = text[0] == '-' ? 1 : 0;
    const std::size_t wanted = std::size_t(digits) + sign;
    text.insert(sign, wanted > text.size() ? wanted - text.size() : 0, '0');
    return text;
}

} // namespace

bool TRK_Manager::getVariable(const KIT_StringRef &name, double time,
                              const TRK_Collection *collection, KIT_String &value,
                              bool &timeDependent) const
{
    TRK_PathResolver *resolver = collection != nullptr ? collection->getPathResolver() : nullptr;
    const std::string_view word = name.view();
    if (word == "OS") {
        if (resolver == nullptr) {
            return false;
        }
        KIT_WorkBuffer path;
        resolver->getPath(path);
        const std::string_view whole = path.view();
        const size_t slash = whole.rfind('/');
        const std::string_view last =
            slash == std::string_view::npos ? whole : whole.substr(slash + 1);
        value.harden(last.data(), last.size());
        return true;
    }
    const bool frameFlag = word == "F";
    if (frameFlag || word == "FF" || word == "T") {
        const double frame = evaluateFrame(time);
        const double number = frameFlag ? std::floor(frame + 0.5) : word == "T" ? time : frame;
        value = KIT_Digits(number).buffer();
        timeDependent = true;
        return true;
    }
    if (const int digits = TRKpaddedFrameDigits(word)) {
        const std::string text = paddedFrame(evaluateFrame(time), digits);
        value.harden(text.data(), text.size());
        timeDependent = true;
        return true;
    }
    if (word == "FPS") {
        value = KIT_Digits(getEvaluateFPS()).buffer();
        return true;
    }
    if (word == "PI" || word == "E") {
        value = KIT_Digits(word == "PI" ? std::acos(-1.0) : std::exp(1.0)).buffer();
        return true;
    }
    if (resolver == nullptr) {
        return CON_Manager::getContext().getEnv(name, value);
    }
    return resolver->getVariable(name, value) || resolver->getEnvironment(name, value);
}

// ---------------------------------------------------------------- //
// Other services
// ---------------------------------------------------------------- //

bool TRK_Manager::fillChannelRef(TRK_ChannelRef &ref, TRK_Channel *channel) const
{
    if (channel == nullptr || channel->getCollection() == nullptr) {
        return false;
    }
    ref = TRK_ChannelRef(channel->getCollection(), channel->getName());
    return true;
}

bool TRK_Manager::isEvaluating()
{
    return theTRKEvalThread.innermost != nullptr;
}

void TRK_Manager::evaluationError(int error, int, const char *text) const
{
    if (error != EVL::EVL_OK) {
        KITaddError("TRK", error, text);
    }
}
