// What zel prints on a terminal of names and texts that try to drive it: escapes, in every command.
//
//     terminal ZEL SCRIPT

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

/// What the program writes to a terminal of its own, given these lines to read.
std::string runOnTerminal(const std::vector<std::string> &words, const std::string &input)
{
    int toChild[2];
    int terminal = -1;
    if (pipe(toChild) != 0) {
        return "";
    }
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        std::vector<char *> arguments;
        for (const std::string &word : words) {
            arguments.push_back(const_cast<char *>(word.c_str()));
        }
        arguments.push_back(nullptr);
        dup2(toChild[0], STDIN_FILENO);
        close(toChild[1]);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    close(toChild[0]);
    const bool writtenFlag = write(toChild[1], input.data(), input.size()) == ssize_t(input.size());
    close(toChild[1]);
    std::string output;
    char chunk[4096];
    for (ssize_t count; writtenFlag && (count = read(terminal, chunk, sizeof(chunk))) > 0;) {
        output.append(chunk, std::size_t(count));
    }
    close(terminal);
    waitpid(child, nullptr, 0);
    return output;
}

/// The first byte that a terminal obeys, besides those that end lines; -1 if there is none.
int findControl(const std::string &output)
{
    for (std::size_t i = 0; i < output.size(); ++i) {
        const auto byte = static_cast<unsigned char>(output[i]);
        const bool lineFlag = byte == '\n' || byte == '\r' || byte == '\t';
        const bool highFlag = byte >= 0x80 && byte < 0xa0;
        if ((byte < ' ' && !lineFlag) || byte == 0x7f || highFlag) {
            return int(byte);
        }
    }
    return -1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: terminal ZEL SCRIPT\n");
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    const std::string script = argv[2];
    const std::vector<std::string> commands[] = {
        {"check", script},   {"show", script},  {"show", "--json", script},
        {"eval", script},    {"state", script}, {"state", "--json", script},
        {"rewrite", script}, {"shell", script}, {"eval", "--json", script},
        {"command", script},
    };
    const std::string lines =
        "list\ntree\nshow r\nshow t\ntype t\nevents on\nset r 3\nmessages\ngraph\nmagic\n"
        "save text -\nspare list\nmenu r1interp\n";
    int failures = 0;
    bool escapedFlag = false;
    for (std::vector<std::string> words : commands) {
        words.insert(words.begin(), argv[1]);
        const std::string output = runOnTerminal(words, words[1] == "shell" ? lines : "");
        const int control = findControl(output);
        if (output.empty() || control >= 0) {
            std::fprintf(stderr, "zel %s: byte %d\n", words[1].c_str(), control);
            ++failures;
        }
        escapedFlag = escapedFlag || output.find("\\033[31m") != std::string::npos;
    }
    if (!escapedFlag) {
        std::fprintf(stderr, "no name was printed\n");
        ++failures;
    }
    return failures == 0 ? 0 : 1;
}
