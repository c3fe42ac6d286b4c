/// \file SNK_Python.h
/// The application's interface to the Python interpreter of the process.
///
/// Vocabulary: *traceback* = Python's text of an exception: the calls that led to it, and the
///             message. *expression* = code of language 1 of a channel.
/// Threads:    any. The interpreter runs one thread at a time; this library holds no lock while it
///             waits for its turn, and applications must not either.
/// Errors:     without an interpreter (a build without Python, one that can't start, or one that is
///             switched off) code results in an exception whose text says so.
/// Cost:       the interpreter starts when it is first needed.
///
/// The interpreter isn't finalized with the process: other threads may still be in it. So Python's
/// exit functions don't run, unless the application started the interpreter itself.
///
/// Code sees the module `vmr`: `node(path)` and `parm(path)`, None when there is none; `ch(path)`
/// and `chs(path)`, a component's number or text; `time()` and `frame()`. A node has `path()`,
/// `name()`, `parm(name)`, `parms()`; a parameter `path()`, `name()`, `node()`, `eval()`,
/// `evalAsString()`, `set(value)`. SNK_NodeSource.h provides the nodes. Expressions also see the
/// module `math`.

#pragma once

#include <BAS/BAS_API.h>

class KIT_String;
class SNK_EvaluationContext;

/// Runs statements in a context. False if they failed; `error` is then the traceback.
KIT_API bool SNKrunPythonStatements(const char *statements, SNK_EvaluationContext &context,
                                    KIT_String *error = nullptr);

/// Shows the traceback of code that failed: `header` names the code, `detail` is the traceback.
/// While the thread's errors are discarded, nothing is shown.
KIT_API void SNKdisplayPythonTraceback(const char *header, const char *detail);

/// Shows tracebacks in the application's user interface. Called on the thread that ran the code.
using SNK_TracebackHandler = void (*)(void *data, const char *header, const char *detail);
/// Null, the default, writes both texts to the standard error stream. Call it while no code runs.
KIT_API void SNKsetTracebackHandler(SNK_TracebackHandler handler, void *data);

/// While it exists this handler has the tracebacks of its thread, whatever the application's is. Scopes nest.
class KIT_API SNK_TracebackScope
{
public:
    SNK_TracebackScope(SNK_TracebackHandler handler, void *data);
    ~SNK_TracebackScope();
    SNK_TracebackScope(const SNK_TracebackScope &) = delete;
    SNK_TracebackScope &operator=(const SNK_TracebackScope &) = delete;

    void show(const char *header, const char *detail) const { myHandler(myData, header, detail); }

private:
    SNK_TracebackHandler myHandler;
    void *myData;
    const SNK_TracebackScope *myOuter;
};

/// Whether the library was built with Python.
KIT_API bool SNKisPythonBuiltIn();
/// Whether this library has requested the interpreter and got it.
KIT_API bool SNKisPythonStarted();
/// False: from now on no code runs, expressions included. Initially true.
KIT_API void SNKsetPythonEnabled(bool enabled);
KIT_API bool SNKisPythonEnabled();

/// Ends the code that this library runs on other threads: it gets a KeyboardInterrupt, when a call of Python's
/// that it waits in has come back. Waits for the interpreter, so no signal handler may call it.
KIT_API void SNKinterruptPython();

/// Why the calling thread's last failed expression failed; "" if none has failed.
KIT_API const char *SNKgetExpressionError();
