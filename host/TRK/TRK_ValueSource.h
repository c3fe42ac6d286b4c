/// \file TRK_ValueSource.h
/// The interfaces that expressions use outside a collection: values by name, other nodes by path,
/// variables, and the interpreter of a foreign language.
///
/// Ownership: a collection or the manager borrows these objects; they must outlive their use there.
/// Threads:   every operation may be called from any number of threads at once.
/// Errors:    false or a null pointer means "unknown"; no operation reports an error itself.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_StringRef.h>
#include <KIT/KIT_WorkBuffer.h>

class TRK_Channel;
class TRK_Collection;

/// The parameter component that contains a reference: indices into the list of parameters.
struct TRK_Referrer
{
    int parm = -1;      ///< -1: none
    int component = -1; ///< -1: the whole parameter
};

/// What a parameter list provides to expressions: the value of a parameter component by its channel
/// name or alias, whether or not the component has a channel.
class KIT_API TRK_ValueSource
{
public:
    virtual ~TRK_ValueSource();
    /// The component as a number. \p timeDependent returns whether it may differ at another time.
    /// False: no such name.
    virtual bool evaluateNumber(const KIT_StringRef &name, double time, int thread, double &value,
                                bool &timeDependent) = 0;
    /// The component as text. False: no such name.
    virtual bool evaluateString(const KIT_StringRef &name, double time, int thread,
                                KIT_String &value, bool &timeDependent) = 0;
    /// The collection is about to destroy a channel: drop all pointers to it. Called on the thread
    /// that changes the collection. Base: does nothing.
    virtual void channelDeleted(const TRK_Channel *channel);
    /// The collection is about to be destroyed with all its channels: drop all pointers to them and to
    /// it. Not to throw. Base: does nothing.
    virtual void collectionDestroyed();
};

/// What a node provides to expressions: other nodes' collections, its variables and its path.
class KIT_API TRK_PathResolver
{
public:
    virtual ~TRK_PathResolver();
    /// The collection of the node at a relative ("..", "../light") or absolute ("/obj/a") path.
    virtual TRK_Collection *findCollection(const KIT_StringRef &path) = 0;
    /// The text of a variable, by its name without the "$".
    virtual bool getVariable(const KIT_StringRef &name, KIT_String &value) = 0;
    /// The text of a variable of the process, for a name that getVariable doesn't have. Base: that of its
    /// environment.
    virtual bool getEnvironment(const KIT_StringRef &name, KIT_String &value);
    /// Appends this node's own path.
    virtual void getPath(KIT_WorkBuffer &path) = 0;
    /// A text of this node refers to the parameter \p name of the node at \p path (null: of this
    /// node), or with a null name to that node. Base: does nothing.
    virtual void referenceFound(const TRK_Referrer &from, const KIT_StringRef &path,
                                const KIT_StringRef &name, int thread);
    /// A text or an expression of this node may be another one, or be new: also where no event is
    /// raised, and where it turns out to be the same. Not to throw, nor to read the node: its change may
    /// have just begun. Base: does nothing.
    virtual void textsChanged();
};

/// An interpreter for expressions of language 1; see TRK_Manager::setPythonEvaluator.
class KIT_API TRK_LanguageEvaluator
{
public:
    virtual ~TRK_LanguageEvaluator();
    /// The text's value as a number. False if it could not be evaluated.
    virtual bool evaluateNumber(const char *text, double time, const TRK_Collection *collection,
                                int thread, double &value, bool &timeDependent) = 0;
    /// The text's value as text. False if it could not be evaluated.
    virtual bool evaluateString(const char *text, double time, const TRK_Collection *collection,
                                int thread, KIT_String &value, bool &timeDependent) = 0;
};
