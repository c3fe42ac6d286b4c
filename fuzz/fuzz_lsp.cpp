// The language server on any bytes: as a stream of frames if they begin with `F`, else as messages, a line each, to
// a server with an open document. Whatever came, what it sends is messages of the protocol, and it answers the next
// request.

#include "FuzzLimits.h"
#include "FuzzMemory.h"

#include <KIT/KIT_EnvControl.h>
#include <NOD/NOD_MessageFrames.h>
#include <NOD/NOD_ScriptServer.h>
#include <SNK/SNK_Python.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace
{

using Json = nlohmann::json;

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

void setLimits()
{
    SNKsetPythonEnabled(false);
    setFuzzLimits(2, 16);
    KIT_EnvControl::setInt(KIT_ENV_MAX_SCRIPT_NESTING, 8);
}

/// Does what waits; whether the request `last` has been answered.
bool work(NOD_ScriptServer &server)
{
    bool answeredFlag = false;
    while (server.step() || server.runPass()) {
        for (const std::string &text : server.takeOutput()) {
            const Json message = Json::parse(text);
            require(message.at("jsonrpc") == "2.0");
            require(message.contains("method") || message.contains("id"));
            answeredFlag = answeredFlag || message.value("id", Json()) == "last";
        }
    }
    server.takeOutput();
    return answeredFlag;
}

void receiveFrames(NOD_ScriptServer &server, std::string_view bytes)
{
    NOD_MessageFrames frames;
    frames.add(bytes);
    server.receive(frames);
}

void receiveLines(NOD_ScriptServer &server, std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t feed = std::min(bytes.find('\n'), bytes.size());
        server.receive(std::string(bytes.substr(0, feed)));
        bytes.remove_prefix(std::min(feed + 1, bytes.size()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const FuzzMemory oracle(size);
    setLimits();
    NOD_ScriptServer server;
    server.receive(
        R"({"id":0,"method":"initialize","params":{"initializationOptions":{"includes":"none"},)"
        R"("capabilities":{"textDocument":{"documentSymbol":)"
        R"({"hierarchicalDocumentSymbolSupport":true}}}}})");
    server.receive(
        R"({"method":"textDocument/didOpen","params":{"textDocument":{"uri":"u","version":1,)"
        R"("text":"{ name n parm { name a type float default { 1 } } }"}}})");
    work(server);
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    if (!bytes.empty() && bytes[0] == 'F') {
        receiveFrames(server, bytes.substr(1));
    } else {
        receiveLines(server, bytes);
    }
    work(server);
    if (!server.isOver()) {
        server.receive(R"({"id":"last","method":"none"})");
        require(work(server));
    }
    return 0;
}
