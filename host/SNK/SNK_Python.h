/// \file SNK_Python.h
/// The Python interpreter of the process, as far as applications see it.
///
/// Vocabulary: *traceback* = what Python tells of an exception: the calls that led there, and the
///             message. *expression* = code of language 1 of a channel.
/// Threads:    any. The interpreter runs one thread at a time; nothing in this library keeps a lock
///             while it waits for its turn, and applications must not either.
/// Errors:     without an interpreter (a build without Python, one that can't start, or one that is
///             switched off) code gives an exception whose text says so.
/// Cost:       the interpreter starts when code is first asked for, and not before.
///
/// The interpreter isn't ended with the process: other threads may still be in it. So Python's exit
/// functions don't run, unless the application started the interpreter itself.
///
/// Code sees the module `vmr`: `node(path)` and `parm(path)`, None when there is none; `ch(path)` and
/// `chs(path)`, a component's number or text; `time()` and `frame()`. A node has `path()`, `name()`,
/// `parm(name)`, `parms()`; a parameter `path()`, `name()`, `node()`, `eval()`, `evalAsString()`,
/// `set(value)`. Nodes are reached through SNK_NodeSource.h. Expressions see the module `math`, too.

#pragma once

#include <BAS/BAS_API.h>

class KIT_String;
class SNK_EvaluationContext;

/// Runs statements in a context. False if they failed; `error` is then the traceback.
KIT_API bool SNKrunPythonStatements(const char *statements, SNK_EvaluationContext &context,
                                    KIT_String *error = nullptr);

/// Shows the traceback of code that failed: `header` tells whose code, `detail` what happened. While
/// the thread's errors are discarded, nothing is shown.
KIT_API void SNKdisplayPythonTraceback(const char *header, const char *detail);

/// Shows tracebacks in the application's way. Called on the thread that ran the code.
using SNK_TracebackHandler = void (*)(void *data, const char *header, const char *detail);
/// Null, the default: both texts go to the standard error stream. Set it while no code runs.
KIT_API void SNKsetTracebackHandler(SNK_TracebackHandler handler, void *data);

/// Whether the library was built with Python.
KIT_API bool SNKisPythonBuiltIn();
/// Whether this library has asked for the interpreter and got it.
KIT_API bool SNKisPythonStarted();
/// False: from now on no code runs, expressions included. True by default.
KIT_API void SNKsetPythonEnabled(bool enabled);
KIT_API bool SNKisPythonEnabled();

/// Why the calling thread's last failed expression failed; "" if none did.
KIT_API const char *SNKgetExpressionError();
