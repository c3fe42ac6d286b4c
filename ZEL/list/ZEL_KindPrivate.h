/// \file ZEL_KindPrivate.h
/// What the lists' code does differently for each kind of value: one row for a basic word.
///
/// Vocabulary: *kind* = what the basic word of a type says. A word that is none of the four kinds has
///             the last row: it makes nothing, and is copied and compared as a number.
/// Ownership:  constant data. Rows stand in room `kinds`, above the sources that use them.
/// Threads:    any thread; what a row's functions ask of a parameter is as with the parameter's own.
/// Cost:       find() compares up to four words. Values are read through the instance's virtual table,
///             not through here.
#pragma once

#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_Type.h>

class ZEL_Instance;
class ZEL_Parm;
class ZEL_Template;

/// One component's value on its way into another component.
struct ZEL_ComponentCopy
{
    double time;
    const ZEL_Parm &source;
    int sourceIndex;
    ZEL_Instance &target;
    int index;
    bool replaceExpression;
    ZEL_AddKeyType addKey;
    ZEL_KeySetType keySet;
    int thread;
};

/// Two components that are compared.
struct ZEL_ComponentPair
{
    const ZEL_Parm &first;
    int firstIndex;
    const ZEL_Parm &second;
    int secondIndex;
    double time;
    int thread;
};

struct ZEL_Kind
{
    ZEL_Type::ZEL_BasicType word;
    /// Of two kinds that are compared, the one with the greater number compares.
    int breadth;
    /// Holds whole numbers: is set by them, not by the number they came from.
    bool wholeNumbers;
    /// Null where nothing can be made.
    ZEL_Instance *(*make)(ZEL_Template *description, ZEL_Parm *parm);
    /// The value as it is set by a user: a text with its meaning, an expression as such.
    void (*copyComponent)(const ZEL_ComponentCopy &copy);
    /// The value as it is stored, from a component of the same kind.
    void (*assignComponent)(const ZEL_ComponentCopy &copy);
    bool (*equal)(const ZEL_ComponentPair &pair);
    /// Evaluates a component for what evaluation leaves behind: its marks.
    void (*evaluateForMarks)(const ZEL_Parm &parm, double time, int index, int thread);
    /// Whether a component whose text is empty has a value all the same; null where it never has.
    bool (*hasTextlessValue)(const ZEL_Parm &parm, double time, int index, int thread);
    /// The opening of an expression that reads such a parameter.
    const char *(*referenceOpening)(const ZEL_Parm &parm, TRK_ExprLanguage language);

    static const ZEL_Kind &find(const ZEL_Type &type);
};
