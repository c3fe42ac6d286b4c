/// \file TRK_Validity.h
/// Until when: the times around one at which an expression or a channel certainly has the value that it has there,
/// if nothing is changed.
///
///     TRK_Validity validity(collection, thread, references);
///     const TRK_Interval held = validity.ofNumber(channel, time); // contains the time
///
/// Constants hold for ever, keys until the next one where nothing moves between them, an expression as long as
/// what it reads: $F within the frame, $T at its time only. A comparison or an if() holds until it turns out
/// otherwise, and floor($T) to the next whole second, where all that moves goes one way (sums, differences,
/// constant factors, min, max and functions that round). Anything else that moves holds at its time only.
///
/// Vocabulary: *held* = the interval on which a value stays as it is.
/// Units:      times in seconds.
/// Ownership:  borrows the collection and the source of references.
/// Threads:    as evaluation; one object for each.
/// Errors:     what fails holds at its time only. Errors of evaluation are stored as TRK_Channel says.
/// Cost:       an evaluation, and for each comparison or rounding of something that moves up to 128 more of its
///             operands.
#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_StringRef.h>
#include <TRK/TRK_Interval.h>
#include <TRK/TRK_Types.h>

class TRK_Channel;
class TRK_Collection;
class TRK_Expression;
class TRK_Segment;

/// Answers for what expressions read.
class KIT_API TRK_ValiditySource
{
public:
    virtual ~TRK_ValiditySource();
    /// How long what the reference reads at the time stays as it is. For a reference that leads back to
    /// what is asked for, the time alone.
    virtual TRK_Interval ofReference(const TRK_Collection &from, const KIT_StringRef &path,
                                     const KIT_StringRef &name, double time, bool textFlag) = 0;
};

class KIT_API TRK_Validity
{
public:
    TRK_Validity(const TRK_Collection *collection, int thread, TRK_ValiditySource &source)
        : myCollection(collection), myThread(thread), mySource(source)
    {}

    TRK_Interval ofNumber(const TRK_Channel &channel, double time) const;
    TRK_Interval ofText(const TRK_Channel &channel, double time) const;
    /// Of a literal text with the variables and the expressions in it, as TRK_Manager::expandString takes it.
    TRK_Interval ofLiteral(const char *text, double time) const;
    /// Of the number or the text of an expression; the segment is that of its curves, or null.
    TRK_Interval ofExpression(const TRK_Expression &expression, const TRK_Segment *segment,
                              double time) const;

    /// Of a segment's curve, not only within the segment.
    static TRK_Interval ofCurve(const TRK_Segment &segment, TRK_Interpolator curve, double time);

private:
    TRK_Interval ofSegment(const TRK_Channel &channel, double time) const;
    TRK_Interval ofDefaultText(const TRK_Channel &channel, double time) const;

    const TRK_Collection *myCollection;
    int myThread;
    TRK_ValiditySource &mySource;
};
