/// \file ZEL_TemplateBuilder.h
/// Builds a template array from a dialog script; the application then adds what a script can't
/// hold: callbacks and menus.
///
/// Vocabulary: *extra* = places at the head of the array for templates of the caller's own; until
///             they are filled they are terminators.
/// Units:      `templateLength` counts the extra places and the script's templates, without the
///             terminator.
/// Ownership:  the array and the parsed script are never freed: callers keep pointers into them for
///             the life of the process. Copies of a builder share both.
/// Threads:    one thread at a time.
/// Errors:     a script's messages go where DS_Stream puts them, and the array holds what was read
///             before an error. An unknown token is reported on the standard error stream.
/// Cost:       a look-up scans the templates.
#pragma once

#include <KIT/KIT_StringHolder.h>
#include <ZEL/ZEL_API.h>
#include <ZEL/ZEL_Callback.h>
#include <ZEL/ZEL_Template.h>

#include <cstdint>

class KIT_IStream;
class ZEL_ChoiceList;
class ZEL_ScriptPage;

class ZEL_API ZEL_TemplateBuilder
{
public:
    /// Reads the script, null as an empty text; `name` is shown in messages. `cppOptions` (null
    /// allowed) are the preprocessor's arguments, ended by null. A negative `extra` is 0.
    ZEL_TemplateBuilder(const KIT_StringHolder &name, const char *script, const char **cppOptions,
                        int extra);
    ZEL_TemplateBuilder(const KIT_StringHolder &name, KIT_IStream &script, const char **cppOptions,
                        int extra);

    ZEL_Template *templates() const { return myTemplates; }
    int templateLength() const { return myLength; }
    /// True on the first call after the script was read, then false.
    bool justBuilt();

    /// The first template of that token, children of multi-parameters included, each after its
    /// multi-parameter; null if there is none.
    ZEL_Template *findTemplate(const KIT_StringRef &token) const;

    // ---------------------------------------------------------------- //
    /// \name Adding to the templates. No mark of the script against cooking is in the array: the
    /// application asks for it here.
    // ---------------------------------------------------------------- //
    void setCallback(const KIT_StringRef &token, ZEL_Callback callback);
    void setChoiceListPtr(const KIT_StringRef &token, ZEL_ChoiceList *choices);
    void setNoCook(const KIT_StringRef &token, bool flag);
    void setNoResim(const KIT_StringRef &token, bool flag);

private:
    void load(KIT_IStream &script, const char **cppOptions, int extra);
    /// As findTemplate(); reports an unknown token.
    ZEL_Template *findOrTell(const KIT_StringRef &token, const char *purpose) const;

    ZEL_Template *myTemplates = nullptr;
    int32_t myLength = 0;
    ZEL_ScriptPage *myPage = nullptr;
    bool myJustBuiltFlag = false;
    KIT_StringHolder mySourceName;
};
