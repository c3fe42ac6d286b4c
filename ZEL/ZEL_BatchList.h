/// \file ZEL_BatchList.h
/// A table of batch parameters, filled in one pass, that records which evaluator filled how many.
///
/// Vocabulary: *evaluator* = an op of the application, known by a number; *hole* = an index without
///             a parameter, which adding by index can leave.
/// Units:      parameter indices are 0-based.
/// Ownership:  owns its parameters; a copy of a list has copies of them. Like them it borrows names
///             and user data, and the templates whose tokens are used as names.
/// Threads:    one thread at a time.
/// Errors:     look-ups return null outside the list and for holes; nothing is reported.
/// Cost:       copies, `validate`, the clears and `dump` are linear in the list.
#pragma once

#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_BatchParm.h>

#include <cstddef>
#include <memory>
#include <vector>

class ZEL_Template;

class ZEL_API ZEL_BatchList
{
public:
    ZEL_BatchList() = default;
    ZEL_BatchList(const ZEL_BatchList &other);
    ZEL_BatchList &operator=(const ZEL_BatchList &other);
    ~ZEL_BatchList();

    // ------------------------------------------------------------------ //
    /// \name Parameters   (null, and no change, if `ZEL_BatchParm::init` refuses)
    // ------------------------------------------------------------------ //
    ///@{
    /// Replaces the parameter at the index; beyond the end, holes fill the gap. Null for a negative
    /// index.
    ZEL_BatchParm *addParm(int index, const char *name, ZEL_BatchType type, int size,
                           void *userData);
    /// At the end.
    ZEL_BatchParm *addParm(const char *name, ZEL_BatchType type, int size, void *userData);
    /// At the end, with name, size and type of the template: ordinals become integers, floats
    /// reals, strings texts. Null for every other kind, and for a null template.
    ZEL_BatchParm *addParm(const ZEL_Template *description, void *userData);

    ZEL_BatchParm *operator()(int index)
    {
        return index >= 0 && index < entries() ? myParms[size_t(index)].get() : nullptr;
    }
    const ZEL_BatchParm *operator()(int index) const
    {
        return index >= 0 && index < entries() ? myParms[size_t(index)].get() : nullptr;
    }
    int entries() const { return int(myParms.size()); }
    /// Whether there are no holes.
    bool validate() const;
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Evaluation
    // ------------------------------------------------------------------ //
    ///@{
    /// Makes `op` the evaluator. A previous evaluator that evaluated nothing is not recorded.
    void setEvaluator(int op);
    /// Records that the evaluator has filled a parameter, as its own parameter `index`. False, and
    /// nothing is recorded, without an evaluator, outside the list and for a hole.
    bool setEvaluated(int parm, int index);
    /// Appends the evaluators that evaluated something, in order; returns the number added.
    int getEvaluatingOps(KIT_ValArray<int> &ops) const;
    /// Marks all parameters as not evaluated and removes the evaluator.
    void clearEvaluated();
    void clearValueSet();
    ///@}

    /// A line for each parameter to the standard error stream; none for a hole.
    void dump() const;

private:
    struct Evaluator
    {
        int op;
        int count; ///< the parameters it evaluated
    };

    std::vector<std::unique_ptr<ZEL_BatchParm>> myParms;
    KIT_ValArray<Evaluator> myOps;
};
