#include <TRK/TRK_Validity.h>

#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_ExpressionTracePrivate.h>
#include <TRK/TRK_Manager.h>
#include <TRK/TRK_Segment.h>
#include <TRK/TRK_TextScanPrivate.h>

#include <cmath>
#include <memory>
#include <string>
#include <string_view>

namespace
{

/// Where a pending value doesn't count.
TRK_Interval apartFrom(double pending, double time)
{
    const double tolerance = TRK_Manager::getContext().getTimeTolerance();
    const auto isNear = [&](double at) { return std::fabs(at - pending) <= tolerance; };
    TRK_Interval held;
    if (isNear(time)) {
        return TRK_Interval::at(time);
    }
    double &end = time > pending ? held.first : held.last;
    end = time > pending ? pending + tolerance : pending - tolerance;
    while (isNear(end)) {
        end = std::nextafter(end, time);
    }
    return held;
}

/// Where a channel uses the segment.
TRK_Interval spanOf(const TRK_Channel &channel, const TRK_Segment &segment)
{
    const int index = static_cast<int>(&segment - channel.getFirstSegment());
    TRK_Interval span;
    if (index > 0) {
        span.first = segment.getStart();
    }
    if (index + 1 < channel.getNKeys()) {
        span.last = std::nextafter(channel.getKeyTime(index + 1), -HUGE_VAL);
    }
    return span;
}

} // namespace

TRK_ValiditySource::~TRK_ValiditySource() = default;

TRK_Interval TRK_Validity::ofCurve(const TRK_Segment &segment, TRK_Interpolator curve, double time)
{
    const double start = segment.getStart();
    const double end = segment.getEnd();
    // A zero may be one of either sign on the way.
    const bool levelFlag =
        segment.getInValue() == segment.getOutValue() && segment.getInValue() != 0.0 &&
        (curve == TRK_INTERP_LINEAR || curve == TRK_INTERP_EASE ||
         (segment.getInSlope() == 0.0 && segment.getOutSlope() == 0.0 &&
          (curve == TRK_INTERP_CUBIC ||
           (segment.getInAcceleration() == 0.0 && segment.getOutAcceleration() == 0.0))));
    TRK_Interval held;
    if (curve == TRK_INTERP_CONSTANT || !std::isfinite(end) || levelFlag) {
        return held;
    }
    if (time <= start) {
        held.last = start;
    } else if (time - start >= end - start) {
        held.first = end;
    } else {
        held = TRK_Interval::at(time);
    }
    return held;
}

TRK_Interval TRK_Validity::ofExpression(const TRK_Expression &expression,
                                        const TRK_Segment *segment, double time) const
{
    const TRK_EvalGuard guard(&expression, myThread);
    if (!guard.mayRun() || !std::isfinite(time)) {
        return TRK_Interval::at(time);
    }
    TRK_EvalState state{myCollection, segment, time, myThread, false};
    return TRK_ExpressionTrace::of(expression, state, mySource);
}

TRK_Interval TRK_Validity::ofLiteral(const char *text, double time) const
{
    TRK_Interval held;
    const auto meet = [&](std::string_view expression) {
        const std::unique_ptr<TRK_Expression> compiled(
            TRK_Expression::compile(std::string(expression).c_str()));
        held.meet(ofExpression(*compiled, nullptr, time));
    };
    // What is protected by a backslash counts too: it is seldom, and holds no longer than it does.
    const auto meetVariables = [&](std::string_view gap) {
        TRK_Manager::forEachVariable(std::string(gap).c_str(), [&](std::string_view name) {
            if (TRKisTimeVariable(name)) {
                meet("$" + std::string(name));
            }
        });
    };
    const char *at = text;
    TRK_Manager::forEachExpression(text, [&](std::string_view expression) {
        meetVariables({at, static_cast<size_t>(expression.data() - at)});
        meet(expression);
        at = expression.data() + expression.size() + 1;
    });
    meetVariables(at);
    return held;
}

/// Within its span.
TRK_Interval TRK_Validity::ofSegment(const TRK_Channel &channel, double time) const
{
    const TRK_Segment &segment = *channel.getExpressionSegment(time);
    TRK_Interval held = spanOf(channel, segment);
    if (segment.isInterpolated()) {
        held.meet(ofCurve(segment, segment.getInterpolator(), time));
    } else if (const TRK_Expression *compiled = segment.getCompiledExpression()) {
        held.meet(ofExpression(*compiled, &segment, time));
    } else {
        held = TRK_Interval::at(time); // in a language that tells nothing
    }
    return held;
}

TRK_Interval TRK_Validity::ofNumber(const TRK_Channel &channel, double time) const
{
    TRK_Interval held;
    if (!std::isfinite(time)) {
        return TRK_Interval::at(time);
    }
    if (channel.getNSegments() == 0) {
        return held;
    }
    if (channel.getPendingFlag()) {
        held = apartFrom(channel.getPendingTime(), time);
    }
    if (!channel.isPending(time)) {
        held.meet(ofSegment(channel, time));
    }
    return held;
}

TRK_Interval TRK_Validity::ofText(const TRK_Channel &channel, double time) const
{
    TRK_Interval held;
    if (!std::isfinite(time)) {
        return TRK_Interval::at(time);
    }
    const bool keysFlag = channel.getNSegments() > 0;
    if (keysFlag && channel.getPendingFlag()) {
        held = apartFrom(channel.getPendingTime(), time);
    }
    if (!keysFlag || channel.isPending(time)) {
        held.meet(ofDefaultText(channel, time));
        return held;
    }
    const TRK_Segment &segment = *channel.getExpressionSegment(time);
    if (segment.isInterpolated() && !channel.getDefaultString().isEmpty()) {
        held.meet(spanOf(channel, segment));
        held.meet(ofDefaultText(channel, time));
    } else {
        held.meet(ofSegment(channel, time));
    }
    return held;
}

TRK_Interval TRK_Validity::ofDefaultText(const TRK_Channel &channel, double time) const
{
    const TRK_Segment &segment = channel.getDefaultSegment();
    if (channel.getDefaultString().isEmpty() || segment.isInterpolated()) {
        return {};
    }
    const TRK_Expression *compiled = segment.getCompiledExpression();
    return compiled ? ofExpression(*compiled, &segment, time) : TRK_Interval::at(time);
}
