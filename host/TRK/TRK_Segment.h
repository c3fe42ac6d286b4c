/// \file TRK_Segment.h
/// The part of a channel between two keys: values at both ends and the curve between them.
///
/// Vocabulary: *in* value, slope, acceleration = at the segment's start; *out* = at its end.
///             *interpolator* = an expression that is exactly one call of TRK_Interpolators.def,
///             such as linear(), in any language: the values then define the curve. Any other
///             expression drives the segment and the values are unused.
/// Units:      time in seconds; slope in value per second; acceleration is the length of the
///             curve's handle in seconds, 0 for one third of the segment.
/// Ownership:  owned by its channel's array: a pointer is valid until keys are added or removed.
/// Threads:    const calls from any thread. Changes one thread at a time, while no thread
///             evaluates. The expression is compiled on first use, on any thread.
/// Errors:     as TRK_Expression.
/// Cost:       interpolators need no call and no look-up; an expression is compiled once.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_Interpolate.h>
#include <TRK/TRK_Types.h>

#include <atomic>

class TRK_Channel;

class KIT_API TRK_Segment
{
public:
    TRK_Segment(TRK_Channel *channel, double start, double end);
    TRK_Segment(const TRK_Segment &);
    TRK_Segment(TRK_Segment &&) noexcept;
    TRK_Segment &operator=(const TRK_Segment &);
    TRK_Segment &operator=(TRK_Segment &&) noexcept;
    ~TRK_Segment();

    double getStart() const { return myStart; }
    /// Infinity for the last one.
    double getEnd() const { return myEnd; }

    // ---------------------------------------------------------------- //
    /// \name Expression
    // ---------------------------------------------------------------- //
    TRK_ExprLanguage getExprLanguage() const { return myLanguage; }
    const char *getExpression() const { return myText.nonNullStr(); }
    TRK_Interpolator getInterpolator() const { return myInterpolator; }
    bool isInterpolated() const { return myInterpolator != TRK_INTERP_EXPRESSION; }
    /// Sets text and language; a null or empty text means "bezier()". Trailing blanks are removed.
    void changeExpression(const char *text, TRK_ExprLanguage language);
    /// The compiled form, compiled now if needed; null for an interpolator or a foreign language.
    const TRK_Expression *getCompiledExpression() const;
    bool hasCompiledExpression() const
    {
        return myCompiled.load(std::memory_order_acquire) != nullptr;
    }
    /// Drops the compiled form.
    void dirtyExprCache();
    /// Treats the value of the compiled form as text; see TRK_Expression::forceStringType.
    void forceStringType();

    // ---------------------------------------------------------------- //
    /// \name Values; changes with notify raise a change event
    // ---------------------------------------------------------------- //
    double getInValue() const { return myInValue; }
    double getOutValue() const { return myOutValue; }
    /// The stored value at the start.
    double getValue() const { return myInValue; }
    double getInSlope() const { return myInSlope; }
    double getOutSlope() const { return myOutSlope; }
    double getInAcceleration() const { return myInAccel; }
    double getOutAcceleration() const { return myOutAccel; }
    void setInValue(double value, bool notify);
    void setOutValue(double value, bool notify);
    void setInSlope(double slope, bool notify);
    void setOutSlope(double slope, bool notify);
    void setInAcceleration(double acceleration, bool notify);
    void setOutAcceleration(double acceleration, bool notify);

    /// The value of one curve over this segment's keys at a time; a time before the segment counts
    /// as its start.
    double interpolate(TRK_Interpolator interpolator, double time) const
    {
        const double length = myEnd - myStart;
        const double elapsed = time - myStart;
        if (interpolator == TRK_INTERP_CONSTANT || !(elapsed > 0.0) || !(length < theForever)) {
            return myInValue;
        }
        const double u = elapsed < length ? elapsed / length : 1.0;
        switch (interpolator) {
#define TRK_INTERPOLATOR(ENUMERATOR, WORD, FUNCTION)                                               \
    case TRK_INTERP_##ENUMERATOR:                                                                  \
        return FUNCTION(u, length, myInValue, myInSlope, myInAccel, myOutValue, myOutSlope,        \
                        myOutAccel);
#include <TRK/TRK_Interpolators.def>
        default: return myInValue;
        }
    }

    int64_t getMemoryUsage(bool inclusive) const;

private:
    friend class TRK_Channel;
    friend class TRK_ChannelContents;
    friend class TRK_CollectionReader;
    static constexpr double theForever = __builtin_huge_val();

    void copyNumbers(const TRK_Segment &other);
    void set(double &slot, double value, bool notify);

    double myStart;
    double myEnd;
    double myInValue = 0.0;
    double myOutValue = 0.0;
    TRK_Interpolator myInterpolator = TRK_INTERP_BEZIER;
    TRK_ExprLanguage myLanguage = TRK_LANGUAGE_NATIVE;
    double myInSlope = 0.0;
    double myOutSlope = 0.0;
    double myInAccel = 0.0;
    double myOutAccel = 0.0;
    mutable std::atomic<TRK_Expression *> myCompiled{nullptr};
    TRK_Channel *myChannel;
    KIT_String myText;
};
