// A client of the language server, in the same thread.
#pragma once

#include <NOD/NOD_ScriptServer.h>

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <utility>

class ServerClient
{
public:
    using Json = nlohmann::json;

    explicit ServerClient(const std::string &encoding = "utf-16", const Json &options = {})
    {
        Json able = {{"general", {{"positionEncodings", {encoding}}}}};
        able["textDocument"]["documentSymbol"]["hierarchicalDocumentSymbolSupport"] = true;
        able["textDocument"]["publishDiagnostics"]["dataSupport"] = true;
        request("initialize", {{"capabilities", able}, {"initializationOptions", options}});
    }

    /// The result, or the error.
    Json request(const std::string &method, const Json &params)
    {
        const int id = ++myIds;
        send({{"id", id}, {"method", method}, {"params", params}});
        for (int waits = 0; myAnswers.count(id) == 0 && waits < 100; ++waits) {
            settle(); // it may wait for a pass
        }
        return myAnswers[id];
    }
    void notify(const std::string &method, const Json &params)
    {
        send({{"method", method}, {"params", params}});
    }
    void open(const std::string &uri, const std::string &text)
    {
        notify("textDocument/didOpen",
               {{"textDocument", {{"uri", uri}, {"version", 1}, {"text", text}}}});
    }
    void close(const std::string &uri)
    {
        notify("textDocument/didClose", {{"textDocument", {{"uri", uri}}}});
    }
    Json ask(const std::string &method, const std::string &uri, Json params = Json::object())
    {
        params["textDocument"]["uri"] = uri;
        return request("textDocument/" + method, params);
    }
    /// After all passes that are due.
    const Json &diagnostics(const std::string &uri)
    {
        settle();
        return myDiagnostics[uri];
    }
    void send(Json message)
    {
        message["jsonrpc"] = "2.0";
        sendText(message.dump());
    }
    void sendText(const std::string &text)
    {
        myServer.receive(text);
        while (myServer.step()) {
        }
        take();
    }
    NOD_ScriptServer &server() { return myServer; }
    const std::vector<Json> &messages() const { return myMessages; }

private:
    void settle()
    {
        while (myServer.runPass()) {
        }
        take();
    }
    void take()
    {
        for (const std::string &text : myServer.takeOutput()) {
            Json message = Json::parse(text);
            const Json method = message.value("method", Json());
            if (method == "textDocument/publishDiagnostics") {
                myDiagnostics[message["params"]["uri"]] = message["params"]["diagnostics"];
            } else if (message.contains("id") && message["id"].is_number()) {
                myAnswers[message["id"].get<int>()] =
                    message.contains("result") ? message["result"] : message["error"];
            }
            myMessages.push_back(std::move(message));
        }
    }

    NOD_ScriptServer myServer;
    std::map<int, Json> myAnswers;
    std::map<std::string, Json> myDiagnostics;
    std::vector<Json> myMessages;
    int myIds = 0;
};
