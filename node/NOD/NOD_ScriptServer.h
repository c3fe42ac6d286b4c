/// \file NOD_ScriptServer.h
/// A language server for dialog scripts, without its transport: messages of the Language Server Protocol
/// 3.17 in, messages out.
///
/// Vocabulary: *message* = the JSON text of a request, notification or response, without its frame
///             (NOD_MessageFrames); *pass* = the reading of a document for its mistakes, which takes
///             longer than an editor should wait.
/// Ownership:  owns the texts of the open documents.
/// Threads:    one thread at a time; a pass may run in a second one meanwhile. Passes belong to the
///             server that began them, and are run one by one.
/// Errors:     whatever isn't as the protocol says is answered with its error; the server goes on. A
///             change that doesn't fit its document is told the user, and the document's requests fail
///             until its whole text comes again.
/// Cost:       a change and what is asked of a place read the document's text, not its includes; passes
///             read and judge everything.
///
/// Scripts are read, nothing in them runs: no Python, no script of a menu. Files that they include are
/// read as Includes says; the client may ask for others by `initializationOptions`:
/// `{"includes": "any" | "confined" | "none", "lint": true | false}`.
///
/// For example:
///
///     server.receive(message);
///     while (server.step() || server.runPass()) {
///         for (const std::string &one : server.takeOutput()) { ... }
///     }
#pragma once

#include <NOD/NOD_API.h>

#include <memory>
#include <string>
#include <vector>

class NOD_MessageFrames;

class NOD_API NOD_ScriptServer
{
public:
    /// The reading of one document.
    class NOD_API Pass
    {
    public:
        virtual ~Pass();
        virtual void run() = 0;
    };

    NOD_ScriptServer();
    ~NOD_ScriptServer();
    NOD_ScriptServer(const NOD_ScriptServer &) = delete;
    NOD_ScriptServer &operator=(const NOD_ScriptServer &) = delete;

    /// Keeps a message until step(); one that cancels a request which waits takes effect at once.
    void receive(const std::string &message);
    /// Answers a frame that can't be read.
    void receiveFault(const std::string &fault);
    /// Takes all that have come whole, and answers faulty ones.
    void receive(NOD_MessageFrames &frames);
    /// Does what the next message says. False if none waits.
    bool step();

    /// The next pass that is due; null if there is none, or one is running.
    std::shared_ptr<Pass> beginPass();
    /// Takes over what a pass found, unless its document has changed since.
    void endPass(const std::shared_ptr<Pass> &pass);
    /// Both, with the pass between them. False if none is due.
    bool runPass();

    /// The messages to send, in their order.
    std::vector<std::string> takeOutput();
    /// After the notification "exit".
    bool isOver() const;
    /// 0 if the client shut the server down before it ended, else 1.
    int getExitCode() const;

private:
    class Private;
    std::unique_ptr<Private> my;
};
