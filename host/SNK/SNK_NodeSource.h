/// \file SNK_NodeSource.h
/// The interface through which Python code reaches the application's nodes.
///
/// Vocabulary: *full path* = the absolute path of a node; *current node* = the one that relative
///             paths start from, in the code that a thread runs; *name* = a parameter's token, or
///             the channel name of one of its components.
/// Units:      times in seconds; thread ids as BASgetSTID() gives them.
/// Ownership:  the application owns its source, which must exist as long as Python code may run.
/// Threads:    every operation may be called from any number of threads at once. None of them is
///             called while the thread holds the interpreter, so that they may lock and wait.
/// Errors:     false means "not known" or "refused"; Python code sees None or an exception.

#pragma once

#include <BAS/BAS_API.h>
#include <KIT/KIT_String.h>

class KIT_StringArray;

/// The type of the value that Python's `eval()` of a parameter returns.
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

    /// The full path of the node at a path, which is absolute or relative to `current`. A null
    /// `current` means no node.
    virtual bool findNode(const char *path, const char *current, KIT_String &fullPath) = 0;
    /// Appends the tokens of a node's parameters, in order.
    virtual bool listParms(const char *node, KIT_StringArray &tokens) = 0;
    /// Whether a node has a parameter or component of this name.
    virtual bool findParm(const char *node, const char *name, SNK_ParmKind &kind) = 0;
    /// A component's value. `timeDependent` is set if it may differ at another time, and otherwise
    /// left unchanged.
    virtual bool evaluateNumber(const char *node, const char *name, double time, int thread,
                                double &value, bool &timeDependent) = 0;
    virtual bool evaluateString(const char *node, const char *name, double time, int thread,
                                KIT_String &value, bool &timeDependent) = 0;
    /// Sets a component. A source may refuse: an evaluation should not change anything.
    virtual bool setNumber(const char *node, const char *name, double time, double value) = 0;
    virtual bool setString(const char *node, const char *name, double time, const char *value) = 0;
};

/// Sets the nodes that Python code sees; null, the default, means none. Call it while no code runs.
KIT_API void SNKsetNodeSource(SNK_NodeSource *source);
KIT_API SNK_NodeSource *SNKgetNodeSource();

/// Makes a node the thread's current one while the object exists. Scopes nest and end in reverse
/// order, on the thread that opened them.
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
