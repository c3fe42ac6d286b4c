/// \file KIT_HelpManager.h
/// The application's help, which parameters query. There is none until one is set.
///
/// Vocabulary: *path* = the owner's path, *token* = the parameter's token.
/// Ownership:  set() borrows; a manager that is destroyed stops being the current one.
/// Threads:    main thread.
/// Errors:     each query returns false when there is no help; `out` is then unchanged.

#pragma once

#include <BAS/BAS_API.h>

class KIT_String;

class KIT_API KIT_HelpManager
{
public:
    virtual ~KIT_HelpManager();

    /// The help text of a parameter.
    virtual bool getText(const char *path, const char *token, KIT_String &out) = 0;
    /// The title of its help page. Base: false.
    virtual bool getTitle(const char *path, const char *token, KIT_String &out);
    /// The address of its help page. Base: false.
    virtual bool getUrl(const char *path, const char *token, KIT_String &out);

    /// The current manager, or null.
    static KIT_HelpManager *get();
    static void set(KIT_HelpManager *manager);
};
