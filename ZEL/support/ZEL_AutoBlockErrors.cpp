#include <ZEL/ZEL_AutoBlockErrors.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>

ZEL_AutoBlockErrors::ZEL_AutoBlockErrors() : ZEL_AutoBlockErrors(BASgetSTID()) {}

ZEL_AutoBlockErrors::ZEL_AutoBlockErrors(int thread)
    : KIT_ErrorManager::Scope(thread), myThread(thread), mySavedError(EVL::theErrNo[thread])
{
    setFlags(getFlags() | KIT_ErrorManager::theDiscardFlag);
}

ZEL_AutoBlockErrors::~ZEL_AutoBlockErrors()
{
    EVL::theErrNo[myThread] = mySavedError;
    ev_ClearCycles(myThread);
}
