#include <DS/DS_ParmReader.h>

#include <DS/DS_HandleBinding.h>
#include <DS/DS_ParmInfo.h>
#include <DS/DS_SelectorBinding.h>

#include <algorithm>
#include <cstdlib>

DS_ParmReader::DS_ParmReader() = default;

DS_ParmReader::DS_ParmReader(unsigned doingGroups, unsigned readerOption1, unsigned readerOption2)
    : myDoingGroups(static_cast<uint16_t>(doingGroups)),
      myReaderOption1(static_cast<uint16_t>(readerOption1)),
      myReaderOption2(static_cast<uint16_t>(readerOption2))
{}

DS_ParmReader::DS_ParmReader(const DS_ParmReader &other)
{
    copyLists(other);
}

DS_ParmReader &DS_ParmReader::operator=(const DS_ParmReader &other)
{
    if (this != &other) {
        deleteRecords();
        copyLists(other);
    }
    return *this;
}

DS_ParmReader::~DS_ParmReader()
{
    deleteRecords();
    for (const char *group : myGroups) {
        std::free(const_cast<char *>(group));
    }
}

// -------------------------------------------------------------------- //
// Records
// -------------------------------------------------------------------- //

void DS_ParmReader::copyLists(const DS_ParmReader &other)
{
    myParms = other.myParms;
    myUnboundSelectors = other.myUnboundSelectors;
    myReservedSelectors = other.myReservedSelectors;
    myReservedHandles = other.myReservedHandles;
    myBoundHandles = other.myBoundHandles;
    myDoingGroups = other.myDoingGroups;
    myGroupSize = other.myGroupSize;
    myReaderOption1 = other.myReaderOption1;
    myReaderOption2 = other.myReaderOption2;

    myBorrowed.clear();
    const auto borrow = [this](const auto &records) {
        myBorrowed.insert(myBorrowed.end(), records.begin(), records.end());
    };
    borrow(myParms);
    borrow(myUnboundSelectors);
    borrow(myReservedSelectors);
    borrow(myReservedHandles);
    borrow(myBoundHandles);
    std::sort(myBorrowed.begin(), myBorrowed.end());
}

void DS_ParmReader::deleteRecords()
{
    const auto destroy = [this](const auto &records) {
        for (const auto *record : records) {
            const void *const address = record;
            if (!std::binary_search(myBorrowed.begin(), myBorrowed.end(), address)) {
                delete record;
            }
        }
    };
    destroy(myParms);
    destroy(myUnboundSelectors);
    destroy(myReservedSelectors);
    destroy(myReservedHandles);
    destroy(myBoundHandles);
}

// -------------------------------------------------------------------- //
// The dialog
// -------------------------------------------------------------------- //

const char *DS_ParmReader::getClassName() const
{
    return "DS_ParmReader";
}

const char *DS_ParmReader::getInputLabel(int)
{
    return "";
}

int DS_ParmReader::getNumInputLabels() const
{
    return 0;
}

const char *DS_ParmReader::getRenderMask()
{
    return "";
}

DS_ParmInfo *DS_ParmReader::getParmInfo(int index)
{
    return index < numParms() ? myParms[index] : nullptr;
}
