/// \file ZEL_AutoBlockErrors.h
/// A scope that discards what evaluation reports on the thread.
///
/// Ownership:  lives on the stack; scopes nest.
/// Threads:    must be opened and closed on the thread that it is made for.
/// Cost:       no allocation and no lock: it opens on every change event.
#pragma once

#include <KIT/KIT_ErrorManager.h>
#include <ZEL/ZEL_API.h>

/// While open, reported errors are discarded. On leaving, the thread's expression error number
/// is what it was on entry, and its evaluation cycle marks are cleared.
class ZEL_API ZEL_AutoBlockErrors : public KIT_ErrorManager::Scope
{
public:
    /// For the calling thread.
    ZEL_AutoBlockErrors();
    explicit ZEL_AutoBlockErrors(int thread);
    ~ZEL_AutoBlockErrors();

    ZEL_AutoBlockErrors(const ZEL_AutoBlockErrors &) = delete;
    ZEL_AutoBlockErrors &operator=(const ZEL_AutoBlockErrors &) = delete;

private:
    int myThread;
    int mySavedError;
};
