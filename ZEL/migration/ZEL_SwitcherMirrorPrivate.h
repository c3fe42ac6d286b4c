/// \file ZEL_SwitcherMirrorPrivate.h
/// A spare folder switcher that replaces one of the fixed part in the interface: the fixed one, the
/// *target*, follows it through an expression. Not installed.
///
/// Vocabulary: *mirror* = an exclusive switcher whose spare value "orvane::switcher" is the token of
///             a folder switcher of the fixed part, its target; with any other token it is none;
///             *mark* = the text that the expressions made here begin with; its value is 0.
/// Ownership:  borrows list, parameter and target; a temporary object.
/// Threads:    the one that owns the list.
#pragma once

class ZEL_Parm;
class ZEL_ParmList;

class ZEL_SwitcherMirror
{
public:
    /// If the parameter is no mirror, both operations do nothing.
    ZEL_SwitcherMirror(ZEL_ParmList &list, ZEL_Parm &parm);

    /// Makes the target read the mirror. If the target has its own expression, its value at `time`
    /// is given to the mirror first. A target that can't be changed is left alone. `notify` sends
    /// the changes to the list's event handler.
    void setUp(double time, bool notify);
    /// The target keeps the value that it shows at `time`, as a plain value. Does nothing if the
    /// target's expression wasn't made here.
    void undo(double time, bool notify);

private:
    void takeValue(ZEL_Parm &to, const ZEL_Parm &from, double time, bool notify);

    ZEL_Parm &myParm;
    ZEL_Parm *myTarget = nullptr;
};
