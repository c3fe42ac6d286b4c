#include <NOD/NOD_GraphDrawing.h>

#include <NOD/NOD_Report.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ; // NOLINT: the system's

namespace
{

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

File makeFile()
{
    return File(std::tmpfile(), std::fclose);
}

std::string contentsOf(std::FILE *file)
{
    std::string text;
    char block[4096];
    std::rewind(file);
    for (std::size_t count = 0; (count = std::fread(block, 1, sizeof(block), file)) > 0;) {
        text.append(block, count);
    }
    return text;
}

/// The program's exit status, or an error number below 0.
int run(const File &in, const File &out, const File &told)
{
    char program[] = "dot", form[] = "-Tsvg";
    char *const arguments[] = {program, form, nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, fileno(in.get()), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, fileno(out.get()), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, fileno(told.get()), STDERR_FILENO);
    pid_t child = 0;
    const int error = posix_spawnp(&child, program, &files, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        return -error;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return -errno;
        }
    }
    return status;
}

} // namespace

bool NODdrawGraph(const std::string &dot, std::string &svg, NOD_Report &report)
{
    const File in = makeFile(), out = makeFile(), told = makeFile();
    if (!in || !out || !told || std::fwrite(dot.data(), 1, dot.size(), in.get()) != dot.size() ||
        std::fflush(in.get()) != 0) {
        report.error("", std::string("the graph can't be given to dot: ") + std::strerror(errno));
        return false;
    }
    std::rewind(in.get());
    const int status = run(in, out, told);
    if (status == -ENOENT) {
        report.error("", "there is no program dot, which draws graphs: it comes with Graphviz");
        return false;
    }
    if (status != 0) {
        report.error("", "dot can't draw the graph: " +
                             (status < 0 ? std::strerror(-status) : contentsOf(told.get())));
        return false;
    }
    svg = contentsOf(out.get());
    return true;
}
