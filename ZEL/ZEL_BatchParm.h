/// \file ZEL_BatchParm.h
/// A named row of value slots outside any parameter list, filled by a caller or by evaluation.
///
/// Vocabulary: *slot* = one component; *value set* = a caller has filled the slots; *evaluated* =
///             an evaluator has recorded that the slots hold its result. Neither implies the other.
/// Units:      slot indices are 0-based.
/// Ownership:  owns the slots, texts included. Borrows the name and the user data, which must live
///             as long as this and its copies.
/// Threads:    one thread at a time.
/// Errors:     refused calls return false. A read of the wrong type or outside the slots gives 0 or
///             "".
/// Cost:       up to four numbers are stored in the object itself; all else is one heap array.
#pragma once

#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_BatchType.h>

#include <array>
#include <cstdint>
#include <memory>
#include <variant>

class KIT_String;

class ZEL_API ZEL_BatchParm
{
public:
    ZEL_BatchParm();
    /// Copies the slots, shares name and user data. Without memory it throws std::bad_alloc, and an
    /// assigned one has no slots.
    ZEL_BatchParm(const ZEL_BatchParm &other);
    ZEL_BatchParm &operator=(const ZEL_BatchParm &other);
    ~ZEL_BatchParm();

    /// Starts again with `size` slots of 0 or "", neither set nor evaluated. Returns false without
    /// a change for a size below 1, and false with no slots when out of memory. An unknown type has
    /// no slots and returns true.
    bool init(const char *name, ZEL_BatchType type, int size, void *userData);

    // ------------------------------------------------------------------ //
    /// \name Slots in   (an array of vector size)
    /// Returns false without a change for null and for a form that doesn't match the type: integers
    /// fill integers, floats and doubles reals, texts either string type. Conversion is the
    /// caller's choice.
    // ------------------------------------------------------------------ //
    ///@{
    bool setValue(const int *values);
    /// Keeps the low 32 bits of each.
    bool setValue(const std::int64_t *values);
    bool setValue(const float *values);
    bool setValue(const double *values);
    /// Copies the texts; a null one counts as "".
    bool setValue(const char *const *values);
    ///@}

    // ------------------------------------------------------------------ //
    /// \name Slots out
    // ------------------------------------------------------------------ //
    ///@{
    int getInt(int index = 0) const;
    double getReal(int index = 0) const;
    /// Never null; valid until the slots change.
    const char *getString(int index = 0) const;
    /// The fallback unless the slots are evaluated, whether or not a value is set.
    int getDefaultedInt(int fallback, int index = 0) const
    {
        return myEvaluated ? getInt(index) : fallback;
    }
    double getDefaultedReal(double fallback, int index = 0) const
    {
        return myEvaluated ? getReal(index) : fallback;
    }
    const char *getDefaultedString(const char *fallback, int index = 0) const
    {
        return myEvaluated ? getString(index) : fallback;
    }
    ///@}

    // ------------------------------------------------------------------ //
    /// \name State
    // ------------------------------------------------------------------ //
    ///@{
    bool isEvaluated() const { return myEvaluated; }
    bool isValueSet() const { return myValueSet; }
    void clearEvaluated() { myEvaluated = false; }
    void clearValueSet() { myValueSet = false; }
    /// The evaluator that filled it last, and the index of the parameter there; -1 if it was never
    /// evaluated. Clearing the flag keeps both.
    int getEvaluatingOp() const { return myEvaluatingOp; }
    int getEvaluatingParmIndex() const { return myEvaluatingParmIndex; }
    const char *getName() const { return myName; }
    ZEL_BatchType getType() const { return myType; }
    int getVectorSize() const { return myVectorSize; }
    void *getUserData() const { return myUserData; }
    /// One line to the standard error stream.
    void dump() const;
    ///@}

private:
    friend class ZEL_BatchList; // records evaluations

    /// Up to this many numbers are stored in the object.
    static constexpr int theInlineSize = 4;
    /// The first alternative: no slots.
    using Values = std::variant<std::monostate, std::array<int, theInlineSize>,
                                std::array<double, theInlineSize>, std::unique_ptr<int[]>,
                                std::unique_ptr<double[]>, std::unique_ptr<KIT_String[]>>;

    /// The slots if they hold this type, else null.
    template <class T>
    const T *slots() const;
    template <class T>
    T *slots();
    template <class T>
    const T *slotAt(int index) const;
    template <class T>
    bool makeNumbers(int size);
    template <class T, class From>
    bool fill(const From *values);
    void freeValues();

    Values myValues;
    const char *myName = nullptr;
    void *myUserData = nullptr;
    ZEL_BatchType myType = ZEL_BATCH_INT;
    int myVectorSize = 0;
    int myEvaluatingOp = -1;
    int myEvaluatingParmIndex = -1;
    bool myEvaluated = false;
    bool myValueSet = false;
};
