/// \file EVL.h
/// The expression error number of each thread.
///
/// Vocabulary: *error number* = why the thread's last evaluation gave no valid value; 0 is none;
///             *cycle mark* = a note that a thread is evaluating something.
/// Units:      thread ids as BASgetSTID() gives them; an id below 1 means the calling thread.
/// Threads:    any thread may access its own number; a thread does not access another's.
/// Errors:     an evaluation sets the number and continues with the value 0; a caller that needs it
///             clears it before and reads it afterwards.
/// Cost:       an index for the first 32 threads, see BAS_PerThread.

#pragma once

#include <BAS/BAS_API.h>
#include <BAS/BAS_PerThread.h>

namespace EVL
{

/// The error numbers. KIT_Messages.def has the row of each under the category "TRK", with its sentence.
enum
{
    EVL_OK = 0, ///< no error
#define EVL_MESSAGE(enumerator, number, severity, sentence) enumerator = number,
#include <KIT/KIT_Messages.def>
};

/// The numbers of all threads.
class EVL_ErrNo
{
public:
    int &operator[](int thread) { return myNumbers.get(thread); }

private:
    BAS_PerThread<int> myNumbers;
};

extern KIT_API EVL_ErrNo theErrNo;

/// Restores a thread's number at the end of a scope, so that evaluations in it leave no trace.
class ErrorScope
{
public:
    enum Start
    {
        AS_IT_IS, ///< the scope begins with the present number
        CLEARED   ///< the scope begins with none, so that number() is that of the scope
    };

    explicit ErrorScope(int thread, Start start = AS_IT_IS)
        : myNumber(theErrNo[thread]), mySaved(myNumber)
    {
        if (start == CLEARED) {
            myNumber = EVL_OK;
        }
    }
    ~ErrorScope() { myNumber = mySaved; }
    ErrorScope(const ErrorScope &) = delete;
    ErrorScope &operator=(const ErrorScope &) = delete;

    int number() const { return myNumber; }

private:
    int &myNumber;
    int mySaved;
};

/// The sentence of an error number; never null.
KIT_API const char *getErrorText(int error);

} // namespace EVL

/// Clears the thread's cycle marks other than those of evaluations that are running. Here there are
/// none: the mark of an evaluation is a frame on the stack, which ends with it.
inline void ev_ClearCycles(int) {}
