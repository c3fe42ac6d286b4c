#include <SNK/SNK_PythonPrivate.h>

#include <SNK/SNK_InterpreterPrivate.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <unordered_map>
#include <utility>

namespace
{

/// Parts that are simpler in Python: the code of a body, and the text of an exception.
constexpr char thePreludeSource[] = R"(
import ast, traceback, types

def compile_body(text, source):
    body = ast.parse(text, source).body
    if body and isinstance(body[-1], ast.Expr):
        body[-1] = ast.copy_location(ast.Return(body[-1].value), body[-1])
    shell = ast.parse('def script(): pass', source)
    if body:
        shell.body[0].body = body
    code = compile(shell, source, 'exec')
    return next(c for c in code.co_consts if isinstance(c, types.CodeType))

def message(error):
    return ''.join(traceback.format_exception_only(error))

def story(error):
    return ''.join(traceback.format_exception(error))
)";

/// A counted reference.
class Object
{
public:
    Object() = default;
    explicit Object(PyObject *taken) : myObject(taken) {}
    Object(Object &&other) noexcept : myObject(std::exchange(other.myObject, nullptr)) {}
    Object &operator=(Object &&other) noexcept
    {
        std::swap(myObject, other.myObject);
        return *this;
    }
    ~Object() { Py_XDECREF(myObject); }

    PyObject *get() const { return myObject; }
    PyObject *release() { return std::exchange(myObject, nullptr); }
    explicit operator bool() const { return myObject != nullptr; }

private:
    PyObject *myObject = nullptr;
};

Object share(PyObject *object)
{
    Py_XINCREF(object);
    return Object(object);
}

/// Accessed only while the interpreter is held, and never destroyed with the process. A call into
/// Python may let another thread in, so the state must be consistent at each such call.
struct State
{
    using Cache = std::unordered_map<std::string, PyObject *>;
    static constexpr size_t theCacheSize = 4096;

    Cache cache;
    PyObject *prelude = nullptr;         // the namespace of thePreludeSource
    PyObject *expressionNames = nullptr; // copied for each expression
};

State &state()
{
    static State *const theState = new State;
    return *theState;
}

/// The text, with NULs and lone surrogates replaced.
void toText(PyObject *text, KIT_String &out)
{
    const Object bytes(PyUnicode_AsEncodedString(text, "utf-8", "backslashreplace"));
    char *data = nullptr;
    Py_ssize_t length = 0;
    if (!bytes || PyBytes_AsStringAndSize(bytes.get(), &data, &length) != 0) {
        PyErr_Clear();
        out = "";
        return;
    }
    out.harden(data, size_t(length));
}

PyObject *getPrelude(const char *name)
{
    State &s = state();
    if (!s.prelude) {
        Object names(PyDict_New());
        if (!names ||
            PyDict_SetItemString(names.get(), "__builtins__", PyEval_GetBuiltins()) != 0) {
            return nullptr;
        }
        const Object done(PyRun_String(thePreludeSource, Py_file_input, names.get(), names.get()));
        if (!done) {
            return nullptr;
        }
        if (!s.prelude) { // another thread may have set it meanwhile
            s.prelude = names.release();
        }
    }
    return PyDict_GetItemString(s.prelude, name);
}

/// Clears the exception and formats it: with its traceback, or its message alone.
void takeException(const char *teller, KIT_String &out)
{
    PyObject *type = nullptr;
    PyObject *value = nullptr;
    PyObject *trace = nullptr;
    PyErr_Fetch(&type, &value, &trace);
    PyErr_NormalizeException(&type, &value, &trace);
    const Object keptType(type);
    const Object error(value);
    const Object keptTrace(trace);
    out = "Python failed without a reason.\n";
    if (!error) {
        return;
    }
    if (trace) {
        PyException_SetTraceback(value, trace);
    }
    PyObject *function = getPrelude(teller);
    const Object text(function ? PyObject_CallFunctionObjArgs(function, value, nullptr) : nullptr);
    if (text && PyUnicode_Check(text.get())) {
        toText(text.get(), out);
    } else {
        PyErr_Clear();
        out = Py_TYPE(value)->tp_name;
    }
}

// ---------------------------------------------------------------- //
// Compiling
// ---------------------------------------------------------------- //

std::string cacheKey(const char *text, SNK_CodeType type, const char *sourceName)
{
    std::string key = type == SNK_CODE_BODY ? "b" : "e";
    key += sourceName;
    key += '\0';
    key += text;
    return key;
}

void keepCode(std::string &&key, PyObject *code)
{
    State &s = state();
    State::Cache dropped; // freed when the cache is consistent again
    if (s.cache.size() >= State::theCacheSize) {
        dropped.swap(s.cache);
    }
    if (s.cache.emplace(std::move(key), code).second) {
        Py_INCREF(code);
    }
    for (const auto &entry : dropped) {
        Py_DECREF(entry.second);
    }
}

Object compileText(const char *text, SNK_CodeType type, const char *sourceName)
{
    if (type != SNK_CODE_BODY) {
        text += std::strspn(text, " \t\r\n"); // leading blanks would count as indentation
        return Object(Py_CompileString(text, sourceName, Py_eval_input));
    }
    PyObject *function = getPrelude("compile_body");
    return Object(function ? PyObject_CallFunction(function, "ss", text, sourceName) : nullptr);
}

Object findOrCompile(const char *text, SNK_CodeType type, const char *sourceName, bool cached)
{
    if (!cached) {
        return compileText(text, type, sourceName);
    }
    std::string key = cacheKey(text, type, sourceName);
    const State::Cache &cache = state().cache;
    const auto found = cache.find(key);
    if (found != cache.end()) {
        return share(found->second);
    }
    Object code = compileText(text, type, sourceName);
    if (code) {
        keepCode(std::move(key), code.get());
    }
    return code;
}

// ---------------------------------------------------------------- //
// Results
// ---------------------------------------------------------------- //

/// False with an exception set when a number of a Python type doesn't convert.
bool toOwnType(PyObject *value, SNK_Result &result)
{
    if (value == Py_None) {
        result.setType(SNK_RESULT_NONE);
    } else if (PyUnicode_Check(value)) {
        KIT_String text;
        toText(value, text);
        result.setText(SNK_RESULT_STRING, text.c_str());
    } else if (PyLong_Check(value) || PyFloat_Check(value)) {
        const double number = PyFloat_AsDouble(value);
        if (number == -1.0 && PyErr_Occurred()) {
            return false;
        }
        result.setNumber(PyLong_Check(value) ? SNK_RESULT_INTEGER : SNK_RESULT_FLOAT, number);
    } else {
        result.setType(SNK_RESULT_OTHER);
    }
    return true;
}

/// Whether the value is a sequence of texts only. An exception may be set.
bool toStrings(PyObject *value, SNK_Result &result)
{
    if (PyUnicode_Check(value) || PyBytes_Check(value) || !PySequence_Check(value)) {
        return false;
    }
    const Object items(PySequence_Fast(value, "not a sequence"));
    if (!items) {
        return false;
    }
    KIT_StringArray strings;
    for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(items.get()); ++i) {
        PyObject *item = PySequence_Fast_GET_ITEM(items.get(), i);
        if (!PyUnicode_Check(item)) {
            return false;
        }
        KIT_String text;
        toText(item, text);
        strings.append(std::move(text));
    }
    result.setStrings(std::move(strings));
    return true;
}

/// Whether the value is an object of another type that converts to a number.
bool toNumber(PyObject *value, SNK_Result &result)
{
    if (PyUnicode_Check(value) || !PyNumber_Check(value)) {
        return false;
    }
    const double number = PyFloat_AsDouble(value);
    if (number == -1.0 && PyErr_Occurred()) {
        return false;
    }
    result.setNumber(SNK_RESULT_FLOAT, number);
    return true;
}

void toResult(PyObject *value, SNK_ResultType wanted, SNK_Result &result)
{
    bool doneFlag = false;
    if (wanted == SNK_RESULT_STRINGS) {
        doneFlag = toStrings(value, result);
    } else if (wanted == SNK_RESULT_FLOAT) {
        doneFlag = toNumber(value, result);
    }
    if (!doneFlag && !PyErr_Occurred()) {
        doneFlag = toOwnType(value, result);
    }
    if (!doneFlag) {
        KIT_String error;
        takeException("story", error);
        result.setText(SNK_RESULT_EXCEPTION, error.c_str());
    }
}

void runCode(PyObject *code, PyObject *names, SNK_ResultType wanted, SNK_Result &result)
{
    const Object value(SNKstayAtEnd([&] { return PyEval_EvalCode(code, names, names); }));
    if (value) {
        toResult(value.get(), wanted, result);
        return;
    }
    KIT_String error;
    takeException("story", error);
    result.setText(SNK_RESULT_EXCEPTION, error.c_str());
}

Object makeDict(std::initializer_list<const char *> modules)
{
    Object names(PyDict_New());
    if (!names || PyDict_SetItemString(names.get(), "__builtins__", PyEval_GetBuiltins()) != 0) {
        return Object();
    }
    for (const char *module : modules) {
        const Object object(PyImport_ImportModule(module));
        if (!object || PyDict_SetItemString(names.get(), module, object.get()) != 0) {
            return Object();
        }
    }
    return names;
}

/// A copy of the global names of every expression.
Object makeExpressionNames()
{
    State &s = state();
    if (!s.expressionNames) {
        Object names = makeDict({"vmr", "math"});
        if (!names) {
            return names;
        }
        if (!s.expressionNames) {
            s.expressionNames = names.release();
        }
    }
    return Object(PyDict_Copy(s.expressionNames));
}

} // namespace

namespace SNK_Interpreter
{

bool isBuiltIn()
{
    return true;
}

void *compile(const char *text, SNK_CodeType type, const char *sourceName, bool cached,
              KIT_String &error)
{
    const SNK_PythonHold hold;
    if (!hold.isHeld()) {
        error = hold.getError();
        return nullptr;
    }
    Object code = findOrCompile(text, type, sourceName, cached);
    if (!code) {
        takeException("message", error);
    }
    return code.release();
}

void *makeNames(const char *module)
{
    const SNK_PythonHold hold;
    if (!hold.isHeld()) {
        return nullptr;
    }
    Object names = makeDict({module});
    PyErr_Clear();
    return names.release();
}

void release(void *object)
{
    if (!object) {
        return;
    }
    const PyGILState_STATE kept = SNKstayAtEnd(PyGILState_Ensure);
    Py_DECREF(static_cast<PyObject *>(object));
    PyGILState_Release(kept);
}

bool run(const char *statements, void *names, KIT_String &error)
{
    const SNK_PythonHold hold;
    if (!hold.isHeld() || !names) {
        error = hold.isHeld() ? "There are no names to run the code with.\n" : hold.getError();
        return false;
    }
    PyObject *const globals = static_cast<PyObject *>(names);
    const Object done(
        SNKstayAtEnd([&] { return PyRun_String(statements, Py_file_input, globals, globals); }));
    if (!done) {
        takeException("story", error);
    }
    return bool(done);
}

void evaluate(void *code, void *names, SNK_ResultType wanted, SNK_Result &result)
{
    const SNK_PythonHold hold;
    if (!hold.isHeld() || !code || !names) {
        result.setText(SNK_RESULT_EXCEPTION, hold.isHeld()
                                                 ? "There are no names to run the code with.\n"
                                                 : hold.getError());
        return;
    }
    runCode(static_cast<PyObject *>(code), static_cast<PyObject *>(names), wanted, result);
}

void evaluateExpression(const char *text, SNK_ResultType wanted, SNK_Result &result)
{
    const SNK_PythonHold hold;
    if (!hold.isHeld()) {
        result.setText(SNK_RESULT_EXCEPTION, hold.getError());
        return;
    }
    const Object code = findOrCompile(text, SNK_CODE_EXPRESSION, "<expression>", true);
    const Object names = code ? makeExpressionNames() : Object();
    if (names) {
        runCode(code.get(), names.get(), wanted, result);
        return;
    }
    KIT_String error;
    takeException("message", error);
    result.setText(SNK_RESULT_EXCEPTION, error.c_str());
}

} // namespace SNK_Interpreter
