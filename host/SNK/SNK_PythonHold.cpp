#include <SNK/SNK_PythonPrivate.h>

#include <SNK/SNK_InterpreterPrivate.h>
#include <SNK/SNK_Python.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

namespace
{

enum class ModuleState
{
    ABSENT,
    IN_WORK,
    THERE
};

std::once_flag theStartFlag;
std::atomic<bool> theStartedFlag{false};
std::atomic<ModuleState> theModuleState{ModuleState::ABSENT};

const std::string &startError(const char *error = nullptr)
{
    // Never destroyed: other threads may read it while the process ends.
    static const std::string *const theError =
        new std::string(error ? std::string("Python could not be started: ") + error + "\n" : "");
    return *theError;
}

/// Starts the interpreter that the build found, and releases it for any thread.
void startInterpreter()
{
    PyConfig config;
    PyConfig_InitPythonConfig(&config);
    // The standard streams belong to the application: input buffered in stdin would be lost.
    config.configure_c_stdio = 0;
    config.install_signal_handlers = 0;
    config.parse_argv = 0;
    PyStatus status = PyConfig_SetBytesString(&config, &config.program_name, ZEL_PYTHON_EXECUTABLE);
    if (!PyStatus_Exception(status)) {
        status = Py_InitializeFromConfig(&config);
    }
    PyConfig_Clear(&config);
    if (PyStatus_Exception(status)) {
        startError(status.err_msg ? status.err_msg : "no reason given");
        return;
    }
    theStartedFlag.store(true, std::memory_order_release);
    PyEval_SaveThread();
}

void start()
{
    // An application with its own interpreter has started it before. Then do nothing, since the
    // calling thread may hold it.
    std::call_once(theStartFlag, [] {
        if (Py_IsInitialized()) {
            theStartedFlag.store(true, std::memory_order_release);
        } else {
            startInterpreter();
        }
    });
}

/// Adds `vmr` to the modules. Called with the interpreter held, but creating a module may release
/// it; so one thread creates it and the others release the interpreter while they wait.
bool makeModuleOnce()
{
    while (theModuleState.load(std::memory_order_acquire) != ModuleState::THERE) {
        ModuleState expected = ModuleState::ABSENT;
        if (!theModuleState.compare_exchange_strong(expected, ModuleState::IN_WORK)) {
            const SNK_PythonRest rest;
            std::this_thread::yield();
            continue;
        }
        PyObject *module = SNKmakeModule();
        PyObject *modules = PyImport_GetModuleDict();
        const bool goodFlag = module && PyDict_SetItemString(modules, "vmr", module) == 0;
        Py_XDECREF(module);
        PyErr_Clear();
        theModuleState.store(goodFlag ? ModuleState::THERE : ModuleState::ABSENT,
                             std::memory_order_release);
        if (!goodFlag) {
            return false;
        }
    }
    return true;
}

} // namespace

SNK_PythonHold *SNK_PythonHold::theNewest = nullptr;

SNK_PythonHold::SNK_PythonHold() : myError(nullptr)
{
    if (!SNKisPythonEnabled()) {
        myError = "Python is switched off.\n";
        return;
    }
    start();
    if (!theStartedFlag.load(std::memory_order_acquire)) {
        myError = startError().c_str();
        return;
    }
    myState = SNKstayAtEnd(PyGILState_Ensure);
    if (!makeModuleOnce()) {
        PyGILState_Release(myState);
        myError = "The module vmr could not be made.\n";
        return;
    }
    link();
}

SNK_PythonHold::~SNK_PythonHold()
{
    if (!myError) {
        unlink();
        PyGILState_Release(myState);
    }
}

void SNK_PythonHold::link()
{
    myThread = PyThread_get_thread_ident();
    myOlder = theNewest;
    if (myOlder) {
        myOlder->myNewer = this;
    }
    theNewest = this;
}

void SNK_PythonHold::unlink()
{
    (myNewer ? myNewer->myOlder : theNewest) = myOlder;
    if (myOlder) {
        myOlder->myNewer = myNewer;
    }
    // An interrupt that came too late isn't for the next code.
    PyThreadState_SetAsyncExc(myThread, nullptr);
}

void SNK_PythonHold::interruptAll()
{
    for (const SNK_PythonHold *hold = theNewest; hold; hold = hold->myOlder) {
        PyThreadState_SetAsyncExc(hold->myThread, PyExc_KeyboardInterrupt);
    }
}

void SNK_Interpreter::interrupt()
{
    if (!isStarted()) {
        return;
    }
    const PyGILState_STATE state = PyGILState_Ensure();
    SNK_PythonHold::interruptAll();
    PyGILState_Release(state);
}

bool SNK_Interpreter::isStarted()
{
    return theStartedFlag.load(std::memory_order_acquire);
}
