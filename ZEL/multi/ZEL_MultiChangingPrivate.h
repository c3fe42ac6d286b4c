/// \file ZEL_MultiChangingPrivate.h
/// Scopes in which a multi-parameter's items are made or removed. Not installed.
///
/// Ownership:  borrow the multi-parameter.
/// Threads:    the list's own. Scopes of several multi-parameters end in reverse order.
#pragma once

#include <ZEL/ZEL_Multi.h>

/// While it lives, nothing else makes or removes items of this multi-parameter.
class ZEL_Multi::Changing
{
public:
    explicit Changing(ZEL_Multi &multi) : myMulti(multi), myOuterFlag(theIsAddingOrRemovingParms)
    {
        myMulti.myBusy = true;
        theIsAddingOrRemovingParms = true;
    }
    ~Changing()
    {
        myMulti.myBusy = false;
        theIsAddingOrRemovingParms = myOuterFlag;
    }
    Changing(const Changing &) = delete;
    Changing &operator=(const Changing &) = delete;

private:
    ZEL_Multi &myMulti;
    bool myOuterFlag;
};

/// Items at the end that are no longer counted. The destructor counts them again unless they were
/// forgotten: while parameters of them exist, their descriptions must stay.
class ZEL_Multi::LeavingItems
{
public:
    LeavingItems(ZEL_Multi &multi, int count) : myMulti(multi), myEnd(multi.myNumItems)
    {
        myMulti.myNumItems = count;
    }
    ~LeavingItems() { myMulti.myNumItems = myForgottenFlag ? myMulti.myNumItems : myEnd; }
    LeavingItems(const LeavingItems &) = delete;
    LeavingItems &operator=(const LeavingItems &) = delete;

    /// The count before.
    int end() const { return myEnd; }
    void forget()
    {
        myMulti.cutItems();
        myForgottenFlag = true;
    }

private:
    ZEL_Multi &myMulti;
    int myEnd;
    bool myForgottenFlag = false;
};
