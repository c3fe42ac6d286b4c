/// \file ZEL_ErrorNumberScopePrivate.h
/// Clears a thread's expression error number and puts it back. Not installed.

#pragma once

#include <EVL/EVL.h>

class ZEL_ErrorNumberScope
{
public:
    explicit ZEL_ErrorNumberScope(int thread) : myNumber(EVL::theErrNo[thread]), mySaved(myNumber)
    {
        myNumber = EVL::EVL_OK;
    }
    ~ZEL_ErrorNumberScope() { myNumber = mySaved; }
    ZEL_ErrorNumberScope(const ZEL_ErrorNumberScope &) = delete;
    ZEL_ErrorNumberScope &operator=(const ZEL_ErrorNumberScope &) = delete;

    int number() const { return myNumber; }

private:
    int &myNumber;
    int mySaved;
};
