/// \file TRK_ValueSource.h
/// What expressions ask of the world around a collection: values by name, other nodes by path,
/// variables, and the interpreter of a foreign language.
///
/// Ownership: a collection or the manager borrows these objects; they outlive their use there.
/// Threads:   every operation may be called from any number of threads at once.
/// Errors:    false or a null pointer means "not known"; no operation reports by itself.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringRef.h>
#include <KIT/KIT_WorkBuffer.h>

class TRK_Channel;
class TRK_Collection;

/// The parameter component that refers to something: indices into the list of parameters.
struct TRK_Referrer
{
    int parm = -1;      ///< -1: none
    int component = -1; ///< -1: the parameter as a whole
};

/// What a parameter list offers to expressions: the value of a parameter component by its channel
/// name or alias, whether the component has a channel or not.
class KIT_API TRK_ValueSource
{
public:
    virtual ~TRK_ValueSource();
    /// The component as a number. \p timeDependent tells if it may differ at another time.
    /// False: no such name.
    virtual bool evaluateNumber(const KIT_StringRef &name, double time, int thread, double &value,
                                bool &timeDependent) = 0;
    /// The component as text. False: no such name.
    virtual bool evaluateString(const KIT_StringRef &name, double time, int thread,
                                KIT_String &value, bool &timeDependent) = 0;
    /// The collection is about to destroy a channel: whoever holds a pointer to it drops it.
    /// On the thread that changes the collection. Base: nothing.
    virtual void channelDeleted(const TRK_Channel *channel);
};

/// What a node offers to expressions: other nodes' collections, its variables and its path.
class KIT_API TRK_PathResolver
{
public:
    virtual ~TRK_PathResolver();
    /// The collection of the node at a relative ("..", "../light") or absolute ("/obj/a") path.
    virtual TRK_Collection *findCollection(const KIT_StringRef &path) = 0;
    /// The text of a variable, asked by its name without the "$".
    virtual bool getVariable(const KIT_StringRef &name, KIT_String &value) = 0;
    /// Appends this node's own path.
    virtual void getPath(KIT_WorkBuffer &path) = 0;
    /// A text of this node refers to the parameter \p name of the node at \p path (null: of this
    /// one), or with a null name to that node. Base: nothing.
    virtual void referenceFound(const TRK_Referrer &from, const KIT_StringRef &path,
                                const KIT_StringRef &name, int thread);
};

/// An interpreter for expressions of language 1; see TRK_Manager::setPythonEvaluator.
class KIT_API TRK_LanguageEvaluator
{
public:
    virtual ~TRK_LanguageEvaluator();
    /// The text's value as a number. False: it could not be evaluated.
    virtual bool evaluateNumber(const char *text, double time, const TRK_Collection *collection,
                                int thread, double &value, bool &timeDependent) = 0;
    /// The text's value as text. False: it could not be evaluated.
    virtual bool evaluateString(const char *text, double time, const TRK_Collection *collection,
                                int thread, KIT_String &value, bool &timeDependent) = 0;
};
