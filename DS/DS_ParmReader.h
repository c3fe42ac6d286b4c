/// \file DS_ParmReader.h
/// Where the script writer gets a dialog from: a flat list of parameter records, the lists of
/// bindings, and, from a derived class, the dialog's own texts.
///
/// Vocabulary: *binding* = what ties a viewport selector or handle to parameters. *bound* handles
///             and *unbound* selectors are written for every dialog, *reserved* ones under keywords
///             of their own.
/// Units:      `groupSize` in parameters for each generated page, 0 for no limit. The reader's
///             numbers are kept in 16 bits.
/// Ownership:  owns the records in its lists (made by new) and the group names (made by malloc). A
///             copy borrows what it was copied from, which must outlive it, and owns what was
///             appended to it later. Group names aren't copied. The interface hands the lists out
///             as arrays of plain pointers, so no unique_ptr holds the records.
/// Threads:    one thread at a time.
/// Errors:     none of its own.

#pragma once

#include <KIT/KIT_ValArray.h>
#include <ZEL/ZEL_API.h>

#include <cstdint>
#include <vector>

class DS_HandleBinding;
class DS_ParmInfo;
class DS_SelectorBinding;

class ZEL_API DS_ParmReader
{
public:
    DS_ParmReader();
    DS_ParmReader(unsigned doingGroups, unsigned readerOption1, unsigned readerOption2);
    DS_ParmReader(const DS_ParmReader &other);
    DS_ParmReader &operator=(const DS_ParmReader &other);

    // ---------------------------------------------------------------- //
    /// \name The dialog   (called by the writer; a text is valid until the same slot is called again)
    // ---------------------------------------------------------------- //
    /// Deletes the records it owns.
    virtual ~DS_ParmReader();
    virtual const char *getClassName() const;
    /// For derived classes; never called from here.
    virtual void subclassHook1() = 0;
    virtual void subclassHook2() = 0;
    /// Fills `myParms` before writing.
    virtual void prepareParms() = 0;
    virtual const char *getDialogName() = 0;
    /// The dialog's script, which is also written as the source file.
    virtual const char *getDialogScript() = 0;
    virtual const char *getDialogLabel() = 0;
    /// Lines joined by line feeds.
    virtual const char *getHelpText() = 0;
    virtual const char *getInfoText() = 0;
    /// The label of an input; base: "".
    virtual const char *getInputLabel(int input);
    /// Base: 0.
    virtual int getNumInputLabels() const;
    /// Base: "".
    virtual const char *getRenderMask();
    /// The record at the index, null past the last. A negative index is not checked.
    virtual DS_ParmInfo *getParmInfo(int index);

    // ---------------------------------------------------------------- //
    /// \name The lists
    // ---------------------------------------------------------------- //
    int numParms() const { return static_cast<int>(myParms.entries()); }
    const KIT_ValArray<const char *> &getGroups() const { return myGroups; }
    const KIT_ValArray<DS_SelectorBinding *> &getUnboundSelectors() const
    {
        return myUnboundSelectors;
    }
    const KIT_ValArray<DS_SelectorBinding *> &getReservedSelectors() const
    {
        return myReservedSelectors;
    }
    const KIT_ValArray<DS_HandleBinding *> &getReservedHandles() const { return myReservedHandles; }
    const KIT_ValArray<DS_HandleBinding *> &getBoundHandles() const { return myBoundHandles; }

    /// Whether parameters are to be written inside groups.
    bool isDoingGroups() const { return myDoingGroups != 0; }
    unsigned getGroupSize() const { return myGroupSize; }
    void setGroupSize(unsigned size) { myGroupSize = static_cast<uint16_t>(size); }

protected:
    KIT_ValArray<DS_ParmInfo *> myParms;
    KIT_ValArray<const char *> myGroups;
    KIT_ValArray<DS_SelectorBinding *> myUnboundSelectors;
    KIT_ValArray<DS_SelectorBinding *> myReservedSelectors;
    KIT_ValArray<DS_HandleBinding *> myReservedHandles;
    KIT_ValArray<DS_HandleBinding *> myBoundHandles;
    uint16_t myDoingGroups = 0;
    uint16_t myGroupSize = 0;
    uint16_t myReaderOption1 = 0; // the derived class's own, kept and copied only
    uint16_t myReaderOption2 = 1;

private:
    void copyLists(const DS_ParmReader &other);
    void deleteRecords();

    std::vector<const void *> myBorrowed; // sorted
};
