/// \file ZEL_SwitcherMirrorPrivate.h
/// A spare folder switcher that stands for one of the fixed part: the fixed one, the *target*, follows
/// it through an expression. Not installed.
///
/// Vocabulary: *mirror* = an exclusive switcher whose spare value "orvane::switcher" is the target's
///             token; *mark* = the text that the expressions made here begin with; its value is 0.
/// Ownership:  borrows list, parameter and target: for use on the spot.
/// Threads:    the one that owns the list.
#pragma once

class ZEL_Parm;
class ZEL_ParmList;

class ZEL_SwitcherMirror
{
public:
    /// Of a parameter that is no mirror: both operations do nothing.
    ZEL_SwitcherMirror(ZEL_ParmList &list, ZEL_Parm &parm);

    /// The target reads the mirror from now on. An expression of the target's own gives its value at
    /// `time` to the mirror first. A target that may not change is left alone. `notify` tells the
    /// changes to the list's event handler.
    void setUp(double time, bool notify);
    /// The target keeps the value that it shows at `time`, as a plain value. Nothing for a target
    /// whose expression isn't of ours.
    void undo(double time, bool notify);

private:
    void takeValue(ZEL_Parm &to, const ZEL_Parm &from, double time, bool notify);

    ZEL_Parm &myParm;
    ZEL_Parm *myTarget = nullptr;
};
