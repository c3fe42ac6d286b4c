/// \file ZEL_KindPrivate.h
/// How the lists' code treats each kind of value: one row per basic type.
///
/// Vocabulary: *kind* = the class of value that a type's basic type stands for. A basic type that
///             is none of the four kinds has the last row: it creates nothing, and is copied and
///             compared as a number.
/// Ownership:  constant data. The rows are defined in room `kinds`, above the sources that use
///             them.
/// Threads:    any thread; what a row's functions call on a parameter follows the parameter's own
///             rules.
/// Cost:       find() compares up to four values. Parameter values are read through the instance's
///             virtual table, not through here.
#pragma once

#include <TRK/TRK_Types.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_Type.h>

class ZEL_Instance;
class ZEL_Parm;
class ZEL_Template;

/// The arguments for copying one component's value into another component.
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

/// Two components to compare.
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
    /// When two kinds are compared, the row with the greater breadth does it.
    int breadth;
    /// Holds whole numbers: it is set from the integer, not from the number the integer came from.
    bool wholeNumbers;
    struct Making
    {
        /// Null where nothing can be created.
        ZEL_Instance *(*make)(ZEL_Template *description, ZEL_Parm *parm);
        /// The same in memory of `bytes`, directly after the parameter.
        ZEL_Instance *(*makeIn)(void *memory, ZEL_Template *description, ZEL_Parm *parm);
        /// As `duplicateSelf` does, for a source that is what `make` makes.
        ZEL_Instance *(*copyIn)(void *memory, const ZEL_Instance &source, ZEL_Parm *parm);
        /// Whether the instance is what `make` makes.
        bool (*makes)(const ZEL_Instance &instance);
        /// The instance and the numbers of a vector; 0 where nothing can be created.
        std::size_t (*bytes)(const ZEL_Template &description);
    };
    Making making;
    /// Copies as a user would set it: a text with its meaning, an expression as an expression.
    void (*copyComponent)(const ZEL_ComponentCopy &copy);
    /// Copies the stored value, from a component of the same kind.
    void (*assignComponent)(const ZEL_ComponentCopy &copy);
    bool (*equal)(const ZEL_ComponentPair &pair);
    /// Evaluates a component for its side effects only: the flags that evaluation sets.
    void (*evaluateForMarks)(const ZEL_Parm &parm, double time, int index, int thread);
    /// Whether a component with an empty text still has a value; null where it never has.
    bool (*hasTextlessValue)(const ZEL_Parm &parm, double time, int index, int thread);
    /// The opening of an expression that reads such a parameter.
    const char *(*referenceOpening)(const ZEL_Parm &parm, TRK_ExprLanguage language);

    template <class T>
    struct Maker;

    /// Gives an instance its defaults as `revertToDefaults` does, where it is a float or an ordinal and
    /// they are plain numbers. False, with nothing done, for any other.
    static bool copyNumberDefaults(ZEL_Instance &instance);

    static const ZEL_Kind &find(const ZEL_Type &type);
    /// What makes the instance of a description: the multi-parameters are a kind here, too.
    static const ZEL_Kind &findMaker(const ZEL_Template &description);
};
