#!/usr/bin/env python3
"""Runs a session with `zel lsp` and compares what it answers with a golden file.

    check_lsp.py ZEL FOLDER SESSION.jsonl [--update]

Each line of a session is an object, or a comment after `#`:

    {"request": METHOD, "params": ...}      a request; the next line is sent after its answer
    {"notify": METHOD, "params": ...}       a notification
    {"open": NAME, "text": TEXT}            a document of the folder `tests/tool/lsp/files`; without a text the file's
    {"change": NAME, "from": OLD, "to": NEW}   replaces the first OLD
    {"close": NAME}
    {"raw": TEXT, "answers": N}             bytes as they are, with {LENGTH:TEXT} for a frame
    {"end": CODE}                           closes the input; the server ends with that code

$FOLDER is the folder. `doc` and `at` of a request are its document and position, the latter as the text around it with `@` in its place;
`to` ends a range that begins there. `open` and `change` wait for the diagnostics, unless `wait` is false.
The answers are written in SESSION.out, with $FOLDER for the folder.
"""

import json
import os
import signal
import subprocess
import sys


class Server:
    def __init__(self, zel, folder):
        self.folder = folder
        self.files = os.path.join(folder, "tests", "tool", "lsp", "files")
        self.process = subprocess.Popen([zel, "lsp"], cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL)
        self.out = []
        self.ids = 0
        self.texts = {}
        self.versions = {}

    def uri(self, name):
        return "file://" + os.path.join(self.files, name)

    def send(self, message):
        body = json.dumps({"jsonrpc": "2.0", **message}).encode()
        self.write(b"Content-Length: %d\r\n\r\n" % len(body) + body)

    def write(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def read(self):
        length = None
        while True:
            line = self.process.stdout.readline()
            if not line:
                raise SystemExit("the server has gone:\n" + "\n".join(self.out))
            if line == b"\r\n":
                break
            if line.lower().startswith(b"content-length:"):
                length = int(line.split(b":")[1])
        message = json.loads(self.process.stdout.read(length))
        self.show("<", message)
        return message

    def show(self, mark, message):
        text = json.dumps(message, sort_keys=True, ensure_ascii=False)
        text = text.replace(self.folder, "$FOLDER").replace('"jsonrpc": "2.0", ', "").replace(', "jsonrpc": "2.0"', "")
        self.out.append(mark + " " + text)

    def position(self, name, offset):
        before = self.texts[name][:offset]
        line = before.rsplit("\n", 1)[-1]
        return {"line": before.count("\n"), "character": len(line.encode("utf-16-le")) // 2}

    def place(self, name, around):
        text = around.replace("@", "", 1)
        start = self.texts[name].index(text)
        return self.position(name, start + around.index("@"))

    def wait(self, uri):
        while True:
            message = self.read()
            if message.get("method") == "textDocument/publishDiagnostics" and message["params"]["uri"] == uri:
                return

    def open(self, step):
        name = step["open"]
        text = step.get("text")
        if text is None:
            with open(os.path.join(self.files, name), encoding="utf-8", newline="") as file:
                text = file.read()
        self.texts[name] = text
        self.versions[name] = 1
        self.send({"method": "textDocument/didOpen", "params": {"textDocument": {
            "uri": self.uri(name), "languageId": "dialog-script", "version": 1, "text": text}}})

    def change(self, step):
        name = step["change"]
        start = self.texts[name].index(step["from"])
        end = start + len(step["from"])
        self.versions[name] += 1
        self.send({"method": "textDocument/didChange", "params": {
            "textDocument": {"uri": self.uri(name), "version": self.versions[name]},
            "contentChanges": [{"range": {"start": self.position(name, start), "end": self.position(name, end)},
                                "text": step["to"]}]}})
        self.texts[name] = self.texts[name][:start] + step["to"] + self.texts[name][end:]

    def request(self, step):
        params = step.get("params", {})
        if "doc" in step:
            params["textDocument"] = {"uri": self.uri(step["doc"])}
        if "at" in step:
            params["position"] = self.place(step["doc"], step["at"])
        if "range" in step:
            params["range"] = {"start": self.place(step["doc"], step["range"][0]),
                               "end": self.place(step["doc"], step["range"][1])}
        self.ids += 1
        self.send({"id": self.ids, "method": step["request"], "params": params})
        while self.read().get("id") != self.ids:
            pass

    def run(self, step):
        if "raw" in step:
            self.write(frames(step["raw"]))
            for _ in range(step.get("answers", 1)):
                self.read()
        elif "request" in step:
            self.request(step)
        elif "notify" in step:
            params = json.dumps(step.get("params", {})).replace("$FOLDER", self.folder)
            self.send({"method": step["notify"], "params": json.loads(params)})
        elif "open" in step:
            self.open(step)
        elif "change" in step:
            self.change(step)
        elif "close" in step:
            self.send({"method": "textDocument/didClose",
                       "params": {"textDocument": {"uri": self.uri(step["close"])}}})
        name = step.get("open", step.get("change", step.get("close")))
        if name and step.get("wait", True):
            self.wait(self.uri(name))

    def end(self, code):
        rest = self.process.communicate()[0]
        if rest:
            self.out.append("rest: " + rest.decode())
        if self.process.returncode != code:
            raise SystemExit("the server ended with %d" % self.process.returncode)
        self.out.append("end %d" % code)


def frames(text):
    """The bytes of a raw step: {LENGTH:TEXT} is a frame, with the right length for an empty one."""
    data = b""
    while text:
        start = text.find("{:")
        if start < 0:
            return data + text.encode()
        end = text.index(":}", start)
        body = text[start + 2:end].encode()
        data += text[:start].encode() + b"Content-Length: %d\r\n\r\n" % len(body) + body
        text = text[end + 2:]
    return data


def main():
    zel, folder, path = (os.path.abspath(path) for path in sys.argv[1:4])
    server = Server(zel, folder)
    code = None
    signal.signal(signal.SIGALRM, lambda *_: sys.exit("no answer:\n" + "\n".join(server.out)))
    signal.alarm(240)
    with open(path, encoding="utf-8") as session:
        for line in session:
            if not line.strip():
                continue
            if line.startswith("#"):
                server.out.append(line.rstrip())
                continue
            step = json.loads(line.replace("$FOLDER", folder))
            server.out.append("> " + line.strip())
            if "end" in step:
                code = step["end"]
                break
            server.run(step)
    server.end(code)
    golden = os.path.splitext(path)[0] + ".out"
    text = "\n".join(server.out) + "\n"
    if "--update" in sys.argv:
        with open(golden, "w", encoding="utf-8") as file:
            file.write(text)
        return
    with open(golden, encoding="utf-8") as file:
        expected = file.read()
    if text != expected:
        name = os.path.basename(golden) + ".actual"
        with open(name, "w", encoding="utf-8") as file:
            file.write(text)
        subprocess.run(["diff", "-u", golden, name], check=False)
        raise SystemExit("the answers differ from " + golden)


main()
