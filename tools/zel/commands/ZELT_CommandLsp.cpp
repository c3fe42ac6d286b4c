// The language server: frames of messages on standard input and output. What they say is the business of
// NOD_ScriptServer.

#include "ZELT_CommandLine.h"
#include "ZELT_Messages.h"

#include <KIT/KIT_Error.h>
#include <NOD/NOD_MessageFrames.h>
#include <NOD/NOD_ScriptServer.h>

#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

namespace
{

struct Call
{};

/// What the threads of the server share: one reads bytes, one reads scripts, the main one answers.
class Desk
{
public:
    void addBytes(std::string_view bytes)
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        myBytes += bytes;
        myChange.notify_all();
    }
    void endInput()
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        myInputOverFlag = true;
        myChange.notify_all();
    }
    void begin(std::shared_ptr<NOD_ScriptServer::Pass> pass)
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        myPass = std::move(pass);
        myChange.notify_all();
    }
    /// Runs passes until the desk is closed.
    void work()
    {
        std::unique_lock<std::mutex> lock(myMutex);
        for (;;) {
            myChange.wait(lock, [this] { return myClosedFlag || (myPass && !myDoneFlag); });
            if (myClosedFlag) {
                return;
            }
            const std::shared_ptr<NOD_ScriptServer::Pass> pass = myPass;
            lock.unlock();
            pass->run();
            lock.lock();
            myDoneFlag = true;
            myChange.notify_all();
        }
    }

    struct News
    {
        std::string bytes;
        std::shared_ptr<NOD_ScriptServer::Pass> done; ///< a pass that has been run
        bool overFlag = false;                        ///< no more bytes will come
    };
    /// Waits for news if `waitFlag` is set.
    News take(bool waitFlag)
    {
        std::unique_lock<std::mutex> lock(myMutex);
        if (waitFlag) {
            myChange.wait(lock, [this] {
                return !myBytes.empty() || myDoneFlag || (myInputOverFlag && !myPass);
            });
        }
        News news;
        news.bytes.swap(myBytes);
        if (myDoneFlag) {
            news.done = std::exchange(myPass, nullptr);
            myDoneFlag = false;
        }
        news.overFlag = myInputOverFlag;
        return news;
    }
    /// False if a pass is being run, so that its thread can't be waited for.
    bool close()
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        myClosedFlag = true;
        myChange.notify_all();
        return !myPass || myDoneFlag;
    }

private:
    std::mutex myMutex;
    std::condition_variable myChange;
    std::string myBytes;
    std::shared_ptr<NOD_ScriptServer::Pass> myPass;
    bool myDoneFlag = false;
    bool myInputOverFlag = false;
    bool myClosedFlag = false;
};

void readInput(Desk &desk)
{
    constexpr std::size_t theChunk = 1 << 16;
    std::string chunk(theChunk, '\0');
    for (;;) {
        const ssize_t count = read(STDIN_FILENO, chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            desk.endInput();
            return;
        }
        desk.addBytes(std::string_view(chunk).substr(0, std::size_t(count)));
    }
}

void send(NOD_ScriptServer &server)
{
    for (const std::string &message : server.takeOutput()) {
        std::cout << NOD_MessageFrames::frame(message);
    }
    std::cout.flush();
}

/// Until the client says so, the input ends or the output can't be written.
void serve(NOD_ScriptServer &server, Desk &desk)
{
    NOD_MessageFrames frames;
    bool busyFlag = false;
    bool idleFlag = false;
    while (!server.isOver() && std::cout) {
        const Desk::News news = desk.take(idleFlag);
        frames.add(news.bytes);
        server.receive(frames);
        if (news.done) {
            busyFlag = false;
            server.endPass(news.done);
        }
        const bool steppedFlag = server.step();
        if (!steppedFlag && !busyFlag) {
            if (std::shared_ptr<NOD_ScriptServer::Pass> pass = server.beginPass()) {
                busyFlag = true;
                desk.begin(std::move(pass));
            }
        }
        send(server);
        idleFlag = !steppedFlag;
        if (news.overFlag && idleFlag && !busyFlag) {
            return;
        }
    }
}

int lsp(const Call &, const ZELT_Options &, ZELT_Messages &messages)
{
    NOD_ScriptServer server;
    auto desk = std::make_shared<Desk>();
    std::thread([desk] { readInput(*desk); }).detach(); // it may wait for input that never comes
    std::thread worker([desk] { desk->work(); });
    serve(server, *desk);
    if (!desk->close()) {
        std::cout.flush();
        std::_Exit(server.getExitCode()); // what is being read is for nobody
    }
    worker.join();
    if (!server.isOver()) {
        messages.error("", "the client has gone without the notification exit");
    }
    return server.getExitCode();
}

} // namespace

void ZELTaddLsp(ZELT_CommandLine &line)
{
    line.add(
        "lsp",
        "Serve editors: mistakes, completion, layout and more, by the language server protocol",
        "zel lsp < /dev/null", lsp);
}
