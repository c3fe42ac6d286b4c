#include <SNK/SNK_PythonPrivate.h>

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_StringArray.h>
#include <KIT/KIT_WorkBuffer.h>
#include <SNK/SNK_InterpreterPrivate.h>
#include <SNK/SNK_NodeSource.h>
#include <TRK/TRK_Collection.h>
#include <TRK/TRK_Evaluation.h>
#include <TRK/TRK_Expression.h>
#include <TRK/TRK_Manager.h>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <vector>

namespace py = pybind11;

namespace
{

/// A node or a parameter is stored as its path only: the application may destroy and recreate it.
struct Node
{
    std::string path;
};

struct Parm
{
    std::string node;
    std::string name;

    std::string path() const { return node == "/" ? node + name : node + "/" + name; }
};

/// Calls the application's nodes with the interpreter released to other threads. Returns
/// `otherwise` without nodes.
template <class Result, class Call>
Result askNodes(Result otherwise, Call call)
{
    SNK_NodeSource *source = SNKgetNodeSource();
    if (!source) {
        return otherwise;
    }
    const SNK_PythonRest rest;
    return call(*source);
}

int currentThread()
{
    const SNK_EvaluationScope *scope = SNK_EvaluationScope::getCurrent();
    return scope ? scope->getThread() : BASgetSTID();
}

double currentTime()
{
    const SNK_EvaluationScope *scope = SNK_EvaluationScope::getCurrent();
    return scope ? scope->getTime() : TRK_Manager::getContext().getEvaluateTime(BASgetSTID());
}

void markTimeDependent()
{
    if (const SNK_EvaluationScope *scope = SNK_EvaluationScope::getCurrent()) {
        scope->markTimeDependent();
    }
}

/// Where relative paths start: the expression's node, or the current one.
KIT_String currentNode()
{
    const SNK_EvaluationScope *scope = SNK_EvaluationScope::getCurrent();
    const TRK_Collection *collection = scope ? scope->getCollection() : nullptr;
    KIT_WorkBuffer path;
    if (collection && collection->getPathResolver()) {
        collection->getPathResolver()->getPath(path);
        return KIT_String(path.buffer(), true);
    }
    return KIT_String(SNK_CurrentNode::getPath(), true);
}

// ---------------------------------------------------------------- //
// Finding
// ---------------------------------------------------------------- //

std::optional<Node> findNode(const std::string &path)
{
    return askNodes(std::optional<Node>(), [&](SNK_NodeSource &source) -> std::optional<Node> {
        const KIT_String current = currentNode();
        KIT_String fullPath;
        if (!source.findNode(path.c_str(), current.c_str(), fullPath)) {
            return std::nullopt;
        }
        return Node{fullPath.toStdString()};
    });
}

std::optional<Parm> findParm(const Node &node, const std::string &name)
{
    return askNodes(std::optional<Parm>(), [&](SNK_NodeSource &source) -> std::optional<Parm> {
        SNK_ParmKind kind = SNK_PARM_FLOAT;
        if (!source.findParm(node.path.c_str(), name.c_str(), kind)) {
            return std::nullopt;
        }
        return Parm{node.path, name};
    });
}

std::optional<Parm> findParmByPath(const std::string &path)
{
    const TRK_Expression::Reference parts =
        TRK_Expression::splitReference(path.c_str(), path.size(), false);
    const std::optional<Node> node = findNode(parts.path.isNull() ? "." : parts.path.c_str());
    return node ? findParm(*node, parts.name.nonNullStr()) : std::nullopt;
}

[[noreturn]] void failFor(const std::string &path, const char *reason)
{
    throw py::value_error(path + ": " + reason);
}

Parm findKnownParm(const std::string &path)
{
    std::optional<Parm> parm = findParmByPath(path);
    if (!parm) {
        failFor(path, "there is no such parameter");
    }
    return *parm;
}

std::vector<std::string> listParms(const Node &node)
{
    KIT_StringArray tokens;
    askNodes(false,
             [&](SNK_NodeSource &source) { return source.listParms(node.path.c_str(), tokens); });
    std::vector<std::string> names;
    for (const KIT_String &token : tokens) {
        names.push_back(token.toStdString());
    }
    return names;
}

// ---------------------------------------------------------------- //
// Values
// ---------------------------------------------------------------- //

/// Counts a reference as work of the evaluation in progress. False: a limit of it is reached.
bool countReference(int thread)
{
    TRK_EvalThread &self = theTRKEvalThread;
    if (self.innermost == nullptr || self.count(TRK_Costs::theReference)) {
        return true;
    }
    TRK_EvalState::raise(EVL::EVL_DEPTH, thread);
    return false;
}

double evaluateNumber(const Parm &parm, double time)
{
    double value = 0.0;
    bool timeFlag = false;
    const int thread = currentThread();
    if (!countReference(thread)) {
        failFor(parm.path(), EVL::getErrorText(EVL::EVL_DEPTH));
    }
    const bool goodFlag = askNodes(false, [&](SNK_NodeSource &source) {
        return source.evaluateNumber(parm.node.c_str(), parm.name.c_str(), time, thread, value,
                                     timeFlag);
    });
    if (timeFlag) {
        markTimeDependent();
    }
    if (!goodFlag) {
        failFor(parm.path(), "there is no such parameter");
    }
    return value;
}

std::string evaluateString(const Parm &parm, double time)
{
    KIT_String value;
    bool timeFlag = false;
    const int thread = currentThread();
    if (!countReference(thread)) {
        failFor(parm.path(), EVL::getErrorText(EVL::EVL_DEPTH));
    }
    const bool goodFlag = askNodes(false, [&](SNK_NodeSource &source) {
        return source.evaluateString(parm.node.c_str(), parm.name.c_str(), time, thread, value,
                                     timeFlag);
    });
    if (timeFlag) {
        markTimeDependent();
    }
    if (!goodFlag) {
        failFor(parm.path(), "there is no such parameter");
    }
    if (!TRK_Manager::countTextRead(value.nonNullStr(), thread)) {
        failFor(parm.path(), EVL::getErrorText(EVL::EVL_DEPTH));
    }
    return value.toStdString();
}

/// Any bytes as a Python text.
py::object toPython(const std::string &text)
{
    return py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(text.data(), Py_ssize_t(text.size()), "replace"));
}

py::object evaluate(const Parm &parm, std::optional<double> time)
{
    SNK_ParmKind kind = SNK_PARM_FLOAT;
    askNodes(false, [&](SNK_NodeSource &source) {
        return source.findParm(parm.node.c_str(), parm.name.c_str(), kind);
    });
    const double at = time.value_or(currentTime());
    if (kind == SNK_PARM_STRING) {
        return toPython(evaluateString(parm, at));
    }
    const double number = evaluateNumber(parm, at);
    if (kind == SNK_PARM_INTEGER) {
        return py::reinterpret_steal<py::object>(PyLong_FromDouble(number));
    }
    return py::float_(number);
}

void setValue(const Parm &parm, const py::object &value)
{
    const double time = currentTime();
    bool goodFlag = false;
    if (py::isinstance<py::str>(value)) {
        const std::string text = py::cast<std::string>(value);
        goodFlag = askNodes(false, [&](SNK_NodeSource &source) {
            return source.setString(parm.node.c_str(), parm.name.c_str(), time, text.c_str());
        });
    } else {
        const double number = py::cast<double>(value);
        goodFlag = askNodes(false, [&](SNK_NodeSource &source) {
            return source.setNumber(parm.node.c_str(), parm.name.c_str(), time, number);
        });
    }
    if (!goodFlag) {
        failFor(parm.path(), "the parameter can't be set");
    }
}

/// A reference as the expression language resolves it: relative to the collection, with its errors.
template <class Call>
void readReference(const SNK_EvaluationScope &scope, const std::string &path, Call call)
{
    const TRK_Expression::Reference parts =
        TRK_Expression::splitReference(path.c_str(), path.size(), false);
    const TRK_EvalThread &self = theTRKEvalThread;
    const uint32_t errors = self.errors;
    bool timeFlag = false;
    bool knownFlag = false;
    {
        const SNK_PythonRest rest;
        knownFlag = countReference(scope.getThread()) && call(parts, timeFlag);
    }
    if (timeFlag) {
        scope.markTimeDependent();
    }
    if (self.errors != errors) {
        // A literal text that was read took its number back.
        TRK_EvalState::raise(self.lastError, scope.getThread());
        failFor(path, EVL::getErrorText(self.lastError));
    }
    if (!knownFlag) {
        TRK_EvalState::raise(EVL::EVL_UNKNOWN_CHANNEL, scope.getThread());
        failFor(path, "there is no such channel or parameter");
    }
}

/// The scope of an expression that is resolved in a collection; null for all other code.
const SNK_EvaluationScope *getExpressionScope()
{
    const SNK_EvaluationScope *scope = SNK_EvaluationScope::getCurrent();
    return scope && scope->getCollection() ? scope : nullptr;
}

double ch(const std::string &path)
{
    double value = 0.0;
    if (const SNK_EvaluationScope *scope = getExpressionScope()) {
        readReference(*scope, path, [&](const TRK_Expression::Reference &parts, bool &timeFlag) {
            return scope->getCollection()->evaluateReference(
                parts.path, parts.name, scope->getTime(), scope->getThread(), value, timeFlag);
        });
        return value;
    }
    return evaluateNumber(findKnownParm(path), currentTime());
}

py::object chs(const std::string &path)
{
    if (const SNK_EvaluationScope *scope = getExpressionScope()) {
        KIT_String value;
        readReference(*scope, path, [&](const TRK_Expression::Reference &parts, bool &timeFlag) {
            return scope->getCollection()->evaluateReferenceString(
                       parts.path, parts.name, scope->getTime(), scope->getThread(), value,
                       timeFlag) &&
                   TRK_Manager::countTextRead(value.nonNullStr(), scope->getThread());
        });
        return toPython(value.toStdString());
    }
    return toPython(evaluateString(findKnownParm(path), currentTime()));
}

double timeOfScript()
{
    markTimeDependent();
    return currentTime();
}

// ---------------------------------------------------------------- //
// The module
// ---------------------------------------------------------------- //

template <class T>
py::object orNone(const std::optional<T> &value)
{
    return value ? py::cast(*value) : py::object(py::none());
}

void addNode(py::module_ &module)
{
    py::class_<Node>(module, "Node", "A node of the application, by its path.")
        .def("path", [](const Node &node) { return node.path; })
        .def("name",
             [](const Node &node) { return node.path.substr(node.path.find_last_of('/') + 1); })
        .def("parm",
             [](const Node &node, const std::string &name) { return orNone(findParm(node, name)); })
        .def("parms",
             [](const Node &node) {
                 py::list parms;
                 for (const std::string &name : listParms(node)) {
                     parms.append(Parm{node.path, name});
                 }
                 return parms;
             })
        .def("__eq__", [](const Node &a, const Node &b) { return a.path == b.path; })
        .def("__hash__", [](const Node &node) { return std::hash<std::string>()(node.path); })
        .def("__repr__", [](const Node &node) { return "<vmr.Node " + node.path + ">"; });
}

void addParm(py::module_ &module)
{
    py::class_<Parm>(module, "Parm", "A parameter or one of its components.")
        .def("path", &Parm::path)
        .def("name", [](const Parm &parm) { return parm.name; })
        .def("node", [](const Parm &parm) { return Node{parm.node}; })
        .def("eval", &evaluate, py::arg("time") = py::none(), "Number, whole number or text.")
        .def(
            "evalAsString",
            [](const Parm &parm, std::optional<double> time) {
                return toPython(evaluateString(parm, time.value_or(currentTime())));
            },
            py::arg("time") = py::none())
        .def("set", &setValue, py::arg("value"), "Takes a number or a text.")
        .def("__eq__", [](const Parm &a, const Parm &b) { return a.path() == b.path(); })
        .def("__hash__", [](const Parm &parm) { return std::hash<std::string>()(parm.path()); })
        .def("__repr__", [](const Parm &parm) { return "<vmr.Parm " + parm.path() + ">"; });
}

} // namespace

PyObject *SNKmakeModule()
{
    try {
        static PyModuleDef theDefinition;
        py::module_ module = py::module_::create_extension_module(
            "vmr", "Nodes, parameters and time of the application.", &theDefinition);
        addNode(module);
        addParm(module);
        module.def(
            "node", [](const std::string &path) { return orNone(findNode(path)); }, py::arg("path"),
            "The node at a path, or None.");
        module.def(
            "parm", [](const std::string &path) { return orNone(findParmByPath(path)); },
            py::arg("path"), "The parameter at a path, or None.");
        module.def("ch", &ch, py::arg("path"), "The number of a component.");
        module.def("chs", &chs, py::arg("path"), "The text of a component.");
        module.def("time", &timeOfScript, "The time in seconds.");
        module.def(
            "frame", [] { return TRK_Manager::getContext().timeToFrame(timeOfScript()); },
            "The time in frames.");
        return module.release().ptr();
    } catch (py::error_already_set &error) {
        error.restore();
    } catch (const std::exception &error) {
        PyErr_SetString(PyExc_ImportError, error.what());
    }
    return nullptr;
}
