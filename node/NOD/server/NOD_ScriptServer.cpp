#include <NOD/NOD_ScriptServer.h>

#include <NOD/NOD_MessageFrames.h>
#include <NOD/server/NOD_ServerFeaturesPrivate.h>
#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>
#include <deque>
#include <utility>

namespace
{

using Json = NOD_ServerJson;
using Error = NOD_ServerError;

/// A request about a document.
struct Request
{
    const char *method;
    NOD_ServerFeature *answer;
    bool passFlag; ///< waits for what a pass finds
};

constexpr Request theRequests[] = {
    {"textDocument/formatting", NODserverFormat, true},
    {"textDocument/rangeFormatting", NODserverFormatRange, true},
    {"textDocument/documentSymbol", NODserverOutline, false},
    {"textDocument/hover", NODserverHover, false},
    {"textDocument/completion", NODserverCompletion, false},
    {"textDocument/definition", NODserverDefinition, false},
    {"textDocument/references", NODserverReferences, false},
    {"textDocument/rename", NODserverRename, false},
    {"textDocument/codeAction", NODserverActions, true},
};

const Request *findRequest(const std::string &method)
{
    const auto found = std::find_if(std::begin(theRequests), std::end(theRequests),
                                    [&method](const Request &row) { return method == row.method; });
    return found == std::end(theRequests) ? nullptr : found;
}

bool isId(const Json &json)
{
    return json.is_string() || json.is_number();
}

} // namespace

// ---------------------------------------------------------------------- //
// Messages
// ---------------------------------------------------------------------- //

class NOD_ScriptServer::Private
{
public:
    void receive(const std::string &text);
    bool step();
    std::shared_ptr<NOD_ServerPass> beginPass();
    void endPass(const std::shared_ptr<NOD_ServerPass> &pass);
    void fail(const Json &id, Error::Code code, const std::string &text);

    std::vector<std::string> output;
    bool shutFlag = false;
    bool overFlag = false;

private:
    enum class Stage
    {
        NEW,
        READY,
        SHUT
    };
    struct Notification
    {
        const char *method;
        void (Private::*take)(const Json &params);
    };
    static const Notification theNotifications[];

    void send(Json message);
    void answer(const Json &id, Json result);
    void notify(const char *method, Json params);
    void cancel(const Json &id);
    void take(const Json &message);
    void takeRequest(const Json &id, const std::string &method, const Json &params);
    void takeNotification(const std::string &method, const Json &params);
    void answerRequest(const Json &id, const std::string &method, const Json &params);
    void answerWaiting();
    bool mustWait(const Request &request, const Json &params);

    void open(const Json &params);
    void change(const Json &params);
    void close(const Json &params);
    void refresh(const Json &params);
    void ignore(const Json &) {}

    NOD_ServerWorkspace myWorkspace;
    std::deque<Json> myMessages;
    std::deque<Json> myWaiting; ///< requests, for the end of a pass
    Stage myStage = Stage::NEW;
    bool myRunningFlag = false;
};

void NOD_ScriptServer::Private::send(Json message)
{
    message["jsonrpc"] = "2.0";
    output.push_back(NODserverJsonText(message));
}

void NOD_ScriptServer::Private::answer(const Json &id, Json result)
{
    send({{"id", id}, {"result", std::move(result)}});
}

void NOD_ScriptServer::Private::fail(const Json &id, Error::Code code, const std::string &text)
{
    send({{"id", id}, {"error", {{"code", int(code)}, {"message", text}}}});
}

void NOD_ScriptServer::Private::notify(const char *method, Json params)
{
    send({{"method", method}, {"params", std::move(params)}});
}

void NOD_ScriptServer::Private::receive(const std::string &text)
{
    bool goodFlag = false;
    Json message = NODparseServerJson(text, goodFlag);
    if (!goodFlag) {
        fail(nullptr, Error::PARSE_ERROR, "the message is no JSON text");
        return;
    }
    const Json *const method = NODfindServerMember(message, {"method"});
    if (method && *method == "$/cancelRequest") {
        if (const Json *const id = NODfindServerMember(message, {"params", "id"})) {
            cancel(*id);
        }
        return;
    }
    myMessages.push_back(std::move(message));
}

void NOD_ScriptServer::Private::cancel(const Json &id)
{
    for (std::deque<Json> *const queue : {&myMessages, &myWaiting}) {
        const auto found = std::find_if(queue->begin(), queue->end(), [&id](const Json &one) {
            const Json *const own = NODfindServerMember(one, {"id"});
            return own && *own == id && NODfindServerMember(one, {"method"});
        });
        if (found != queue->end()) {
            queue->erase(found);
            fail(id, Error::REQUEST_CANCELLED, "cancelled");
            return;
        }
    }
}

bool NOD_ScriptServer::Private::step()
{
    if (myMessages.empty() || overFlag) {
        return false;
    }
    const Json message = std::move(myMessages.front());
    myMessages.pop_front();
    take(message);
    return true;
}

void NOD_ScriptServer::Private::take(const Json &message)
{
    const Json *const id = NODfindServerMember(message, {"id"});
    const Json *const method = NODfindServerMember(message, {"method"});
    if (!method && id && (message.contains("result") || message.contains("error"))) {
        return; // an answer, and nothing was asked
    }
    const Json known = id && isId(*id) ? *id : Json();
    if (!method || !method->is_string() || (id && !isId(*id))) {
        fail(known, Error::INVALID_REQUEST, "the message is no request or notification");
        return;
    }
    const Json *const given = NODfindServerMember(message, {"params"});
    const Json params = given ? *given : Json::object();
    if (!id) {
        takeNotification(method->get<std::string>(), params);
        return;
    }
    try {
        takeRequest(*id, method->get<std::string>(), params);
    } catch (const Error &error) {
        fail(*id, error.code, error.text);
    }
}

// ---------------------------------------------------------------------- //
// Requests
// ---------------------------------------------------------------------- //

void NOD_ScriptServer::Private::takeRequest(const Json &id, const std::string &method,
                                            const Json &params)
{
    if (method == "initialize" && myStage == Stage::NEW) {
        NODreadServerClient(myWorkspace, params);
        myStage = Stage::READY;
        answer(id, NODserverCapabilities(myWorkspace));
        return;
    }
    if (myStage == Stage::NEW) {
        fail(id, Error::NOT_INITIALIZED, "the server isn't initialized");
        return;
    }
    if (myStage == Stage::SHUT || method == "initialize") {
        fail(id, Error::INVALID_REQUEST,
             myStage == Stage::SHUT ? "the server is shut down" : "the server is initialized");
        return;
    }
    if (method == "shutdown") {
        myStage = Stage::SHUT;
        shutFlag = true;
        answerWaiting();
        answer(id, nullptr);
        return;
    }
    answerRequest(id, method, params);
}

void NOD_ScriptServer::Private::answerRequest(const Json &id, const std::string &method,
                                              const Json &params)
{
    const Request *const request = findRequest(method);
    if (!request) {
        fail(id, Error::METHOD_NOT_FOUND, method + " isn't supported");
        return;
    }
    NOD_ServerDocument &document = myWorkspace.get(params);
    if (mustWait(*request, params)) {
        myWaiting.push_back({{"id", id}, {"method", method}, {"params", params}});
        return;
    }
    answer(id, request->answer(myWorkspace, document, params));
}

bool NOD_ScriptServer::Private::mustWait(const Request &request, const Json &params)
{
    NOD_ServerDocument &document = myWorkspace.get(params);
    return request.passFlag && myStage == Stage::READY && (myRunningFlag || document.isDue());
}

/// Those for which nothing more has to be read, or all of them when the server ends.
void NOD_ScriptServer::Private::answerWaiting()
{
    std::deque<Json> waiting;
    waiting.swap(myWaiting);
    for (const Json &one : waiting) {
        try {
            answerRequest(one["id"], one["method"].get<std::string>(), one["params"]);
        } catch (const Error &error) {
            fail(one["id"], error.code, error.text);
        }
    }
}

// ---------------------------------------------------------------------- //
// Notifications
// ---------------------------------------------------------------------- //

const NOD_ScriptServer::Private::Notification NOD_ScriptServer::Private::theNotifications[] = {
    {"initialized", &Private::ignore},
    {"textDocument/didOpen", &Private::open},
    {"textDocument/didChange", &Private::change},
    {"textDocument/didClose", &Private::close},
    {"textDocument/didSave", &Private::refresh},
    {"workspace/didChangeWatchedFiles", &Private::refresh},
};

void NOD_ScriptServer::Private::takeNotification(const std::string &method, const Json &params)
{
    if (method == "exit") {
        overFlag = true;
        return;
    }
    if (myStage != Stage::READY) {
        return; // as the protocol has it
    }
    const auto found =
        std::find_if(std::begin(theNotifications), std::end(theNotifications),
                     [&method](const Notification &row) { return method == row.method; });
    if (found == std::end(theNotifications)) {
        return;
    }
    try {
        (this->*found->take)(params);
    } catch (const Error &error) {
        constexpr int theError = 1;
        notify("window/showMessage",
               {{"type", theError}, {"message", "zel: " + method + ": " + error.text}});
    }
}

void NOD_ScriptServer::Private::open(const Json &params)
{
    myWorkspace.open(NODserverMember(params, "textDocument"));
}

void NOD_ScriptServer::Private::change(const Json &params)
{
    NOD_ServerDocument &document = myWorkspace.get(params);
    const Json *const version = NODfindServerMember(params, {"textDocument", "version"});
    const bool knownFlag = version && version->is_number_integer();
    try {
        document.change(NODserverMember(params, "contentChanges"),
                        knownFlag ? version->get<long>() : document.getVersion() + 1);
    } catch (const Error &) {
        answerWaiting();
        notify("textDocument/publishDiagnostics",
               NODserverDiagnostics(myWorkspace, document, nullptr));
        throw;
    }
}

void NOD_ScriptServer::Private::close(const Json &params)
{
    NOD_ServerDocument &document = myWorkspace.get(params);
    const std::string uri = document.getUri();
    myWorkspace.close(uri);
    notify("textDocument/publishDiagnostics", {{"uri", uri}, {"diagnostics", Json::array()}});
    answerWaiting();
}

void NOD_ScriptServer::Private::refresh(const Json &)
{
    myWorkspace.refresh();
}

// ---------------------------------------------------------------------- //
// Passes
// ---------------------------------------------------------------------- //

std::shared_ptr<NOD_ServerPass> NOD_ScriptServer::Private::beginPass()
{
    NOD_ServerDocument *const due =
        myRunningFlag || myStage != Stage::READY ? nullptr : myWorkspace.findDue();
    NOD_ServerRules rules = myWorkspace.rules;
    rules.includes = due ? myWorkspace.includesFor(*due) : rules.includes;
    std::shared_ptr<NOD_ServerPass> pass = due ? due->makePass(rules) : nullptr;
    myRunningFlag = myRunningFlag || pass;
    return pass;
}

void NOD_ScriptServer::Private::endPass(const std::shared_ptr<NOD_ServerPass> &pass)
{
    myRunningFlag = false;
    NOD_ServerDocument *const document = myWorkspace.find(pass->getUri());
    if (document && document->takePass(pass) && myStage == Stage::READY) {
        notify("textDocument/publishDiagnostics",
               NODserverDiagnostics(myWorkspace, *document, pass.get()));
    }
    answerWaiting();
}

// ---------------------------------------------------------------------- //
// The interface
// ---------------------------------------------------------------------- //

NOD_ScriptServer::Pass::~Pass() = default;

NOD_ScriptServer::NOD_ScriptServer() : my(std::make_unique<Private>()) {}

NOD_ScriptServer::~NOD_ScriptServer() = default;

void NOD_ScriptServer::receive(const std::string &message)
{
    my->receive(message);
}

void NOD_ScriptServer::receiveFault(const std::string &fault)
{
    my->fail(nullptr, Error::INVALID_REQUEST, fault);
}

void NOD_ScriptServer::receive(NOD_MessageFrames &frames)
{
    std::string text;
    for (;;) {
        const NOD_MessageFrames::Result result = frames.next(text);
        if (result == NOD_MessageFrames::Result::NOTHING) {
            return;
        }
        if (result == NOD_MessageFrames::Result::MESSAGE) {
            receive(text);
        } else {
            receiveFault(text);
        }
    }
}

bool NOD_ScriptServer::step()
{
    return my->step();
}

std::shared_ptr<NOD_ScriptServer::Pass> NOD_ScriptServer::beginPass()
{
    return my->beginPass();
}

void NOD_ScriptServer::endPass(const std::shared_ptr<Pass> &pass)
{
    my->endPass(std::static_pointer_cast<NOD_ServerPass>(pass));
}

bool NOD_ScriptServer::runPass()
{
    const std::shared_ptr<Pass> pass = beginPass();
    if (pass) {
        pass->run();
        endPass(pass);
    }
    return pass != nullptr;
}

std::vector<std::string> NOD_ScriptServer::takeOutput()
{
    return std::exchange(my->output, {});
}

bool NOD_ScriptServer::isOver() const
{
    return my->overFlag;
}

int NOD_ScriptServer::getExitCode() const
{
    return my->overFlag && my->shutFlag ? 0 : 1;
}
