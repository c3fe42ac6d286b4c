#include <TRK/TRK_Segment.h>

#include <TRK/TRK_Channel.h>

#include <memory>

TRK_Segment::TRK_Segment(TRK_Channel *channel, double start, double end)
    : myStart(start), myEnd(end), myChannel(channel), myText("bezier()", false)
{}

TRK_Segment::TRK_Segment(const TRK_Segment &other) : TRK_Segment(other.myChannel, 0.0, 0.0)
{
    *this = other;
}

TRK_Segment::TRK_Segment(TRK_Segment &&other) noexcept : TRK_Segment(other.myChannel, 0.0, 0.0)
{
    *this = static_cast<TRK_Segment &&>(other);
}

TRK_Segment &TRK_Segment::operator=(const TRK_Segment &other)
{
    if (this != &other) {
        myText = other.myText;
        copyNumbers(other);
        dirtyExprCache();
    }
    return *this;
}

TRK_Segment &TRK_Segment::operator=(TRK_Segment &&other) noexcept
{
    if (this != &other) {
        myText = static_cast<KIT_String &&>(other.myText);
        copyNumbers(other);
        delete myCompiled.exchange(other.myCompiled.exchange(nullptr));
    }
    return *this;
}

TRK_Segment::~TRK_Segment()
{
    dirtyExprCache();
}

void TRK_Segment::copyNumbers(const TRK_Segment &other)
{
    myStart = other.myStart;
    myEnd = other.myEnd;
    myInValue = other.myInValue;
    myOutValue = other.myOutValue;
    myInSlope = other.myInSlope;
    myOutSlope = other.myOutSlope;
    myInAccel = other.myInAccel;
    myOutAccel = other.myOutAccel;
    myChannel = other.myChannel;
    myLanguage = other.myLanguage;
    myInterpolator = other.myInterpolator;
}

void TRK_Segment::changeExpression(const char *text, TRK_ExprLanguage language)
{
    dirtyExprCache();
    myText = text != nullptr ? text : "";
    myText.removeTrailingSpace();
    if (myText.isEmpty()) {
        myText = "bezier()";
        language = TRK_LANGUAGE_NATIVE;
    }
    myLanguage = language;
    myInterpolator = TRKstringToInterpolator(myText.c_str());
    if (myChannel != nullptr) {
        myChannel->updateTimeFlag();
        if (!isInterpolated()) {
            myChannel->tellTextsChanged();
        }
    }
}

const TRK_Expression *TRK_Segment::getCompiledExpression() const
{
    TRK_Expression *compiled = myCompiled.load(std::memory_order_acquire);
    if (compiled != nullptr || isInterpolated() || myLanguage != TRK_LANGUAGE_NATIVE) {
        return compiled;
    }
    // Several threads may compile at once; the first result is kept.
    std::unique_ptr<TRK_Expression> mine(TRK_Expression::compile(myText.c_str()));
    if (myCompiled.compare_exchange_strong(compiled, mine.get(), std::memory_order_acq_rel,
                                           std::memory_order_acquire)) {
        return mine.release();
    }
    return compiled;
}

void TRK_Segment::dirtyExprCache()
{
    delete myCompiled.exchange(nullptr, std::memory_order_acq_rel);
}

void TRK_Segment::forceStringType()
{
    if (getCompiledExpression() != nullptr) {
        myCompiled.load(std::memory_order_acquire)->forceStringType();
    }
}

void TRK_Segment::set(double &slot, double value, bool notify)
{
    slot = value;
    if (myChannel != nullptr) {
        myChannel->notifyIf(notify);
    }
}

void TRK_Segment::setInValue(double value, bool notify)
{
    set(myInValue, value, notify);
}

void TRK_Segment::setOutValue(double value, bool notify)
{
    set(myOutValue, value, notify);
}

void TRK_Segment::setInSlope(double slope, bool notify)
{
    set(myInSlope, slope, notify);
}

void TRK_Segment::setOutSlope(double slope, bool notify)
{
    set(myOutSlope, slope, notify);
}

void TRK_Segment::setInAcceleration(double acceleration, bool notify)
{
    set(myInAccel, acceleration, notify);
}

void TRK_Segment::setOutAcceleration(double acceleration, bool notify)
{
    set(myOutAccel, acceleration, notify);
}

int64_t TRK_Segment::getMemoryUsage(bool inclusive) const
{
    const TRK_Expression *compiled = myCompiled.load(std::memory_order_acquire);
    return (inclusive ? static_cast<int64_t>(sizeof(*this)) : 0) + myText.getMemoryUsage(false) +
           (compiled != nullptr ? compiled->getMemoryUsage(true) : 0);
}
