/// \file SNK_NodeSource.h
/// What the application's nodes offer to Python code.
///
/// Vocabulary: *full path* = the path that names a node from everywhere; *current node* = the one
///             that relative paths start from, for the code that a thread runs; *name* = a
///             parameter's token, or the channel name of one of its components.
/// Units:      times in seconds; thread ids as BASgetSTID() gives them.
/// Ownership:  the application owns its source, which must live as long as Python code may run.
/// Threads:    every operation may be called from any number of threads at once. None of them is
///             called while the thread holds the interpreter, so that they may lock and wait.
/// Errors:     false means "not known" or "refused"; Python code sees None or an exception.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>

class KIT_StringArray;

/// What Python's `eval()` of a parameter gives.
enum SNK_ParmKind : int
{
    SNK_PARM_FLOAT = 0,   ///< a number
    SNK_PARM_INTEGER = 1, ///< a whole number: toggles, menus, counts
    SNK_PARM_STRING = 2   ///< text
};

class KIT_API SNK_NodeSource
{
public:
    virtual ~SNK_NodeSource();

    /// The full path of the node at a path, which is absolute or starts from `current`. A null
    /// `current` is no node.
    virtual bool findNode(const char *path, const char *current, KIT_String &fullPath) = 0;
    /// Appends the tokens of a node's parameters, in order.
    virtual bool listParms(const char *node, KIT_StringArray &tokens) = 0;
    /// Whether a node has a parameter or component of this name.
    virtual bool findParm(const char *node, const char *name, SNK_ParmKind &kind) = 0;
    /// A component's value. `timeDependent` is set if it may differ at another time, and else left
    /// alone.
    virtual bool evaluateNumber(const char *node, const char *name, double time, int thread,
                                double &value, bool &timeDependent) = 0;
    virtual bool evaluateString(const char *node, const char *name, double time, int thread,
                                KIT_String &value, bool &timeDependent) = 0;
    /// Sets a component. A source may refuse: evaluation has no business to change anything.
    virtual bool setNumber(const char *node, const char *name, double time, double value) = 0;
    virtual bool setString(const char *node, const char *name, double time, const char *value) = 0;
};

/// The nodes that Python code sees; null, the default, are none. Set it while no code runs.
KIT_API void SNKsetNodeSource(SNK_NodeSource *source);
KIT_API SNK_NodeSource *SNKgetNodeSource();

/// Makes a node the thread's current one while it lives. Scopes nest and end in reverse order, on
/// the thread that opened them.
class KIT_API SNK_CurrentNode
{
public:
    explicit SNK_CurrentNode(const char *fullPath);
    ~SNK_CurrentNode();
    SNK_CurrentNode(const SNK_CurrentNode &) = delete;
    SNK_CurrentNode &operator=(const SNK_CurrentNode &) = delete;

    /// The full path of the calling thread's current node; null if there is none.
    static const char *getPath();

private:
    KIT_String myPath;
    SNK_CurrentNode *myOuter;
};
