// The language server, while somebody types: 1,000 keystrokes at random places of a script of 10,000 lines.
//
//   keystroke/answer    a change of one character and the completion that an editor asks for after it, while
//                       another thread looks for mistakes as in the tool; 50th and 99th of a hundred, in ms; and
//                       the processor time of the answering thread, which other work on the machine leaves alone
//   keystroke/read      beside it: the whole text sent again, and read by the reader of scripts

#include <NOD/NOD_Interface.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ScriptServer.h>
#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using Json = nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr const char *theUri = "untitled:bench";
constexpr int theKeys = 1000;

std::vector<std::string> makeLines()
{
    std::vector<std::string> lines = {"{", "\tname    bench", "\tlabel   \"Bench\""};
    for (int i = 0; lines.size() < 9990; ++i) {
        const std::string name = "parm" + std::to_string(i);
        const std::string other = "parm" + std::to_string(i / 2);
        for (const std::string &line :
             {std::string("\tparm {"), "\t\tname    \"" + name + "\"",
              "\t\tlabel   \"Parameter " + std::to_string(i) + "\"",
              std::string("\t\ttype    float"),
              "\t\tdefault { [ \"2 * ch(\\\"" + other + "\\\")\" expression ] }",
              std::string("\t\trange   { 0! 10 }"), "\t\thidewhen \"{ " + other + " < 0.5 }\"",
              std::string("\t\thelp    \"What it is for, in a few words.\""), std::string("\t}"),
              std::string()}) {
            lines.push_back(line);
        }
    }
    lines.emplace_back("}");
    return lines;
}

std::string joined(const std::vector<std::string> &lines)
{
    std::string text;
    for (const std::string &line : lines) {
        text += line + "\n";
    }
    return text;
}

/// Passes in a thread of their own, as the tool runs them.
class Worker
{
public:
    Worker() : myThread([this] { work(); }) {}
    ~Worker()
    {
        {
            const std::lock_guard<std::mutex> lock(myMutex);
            myOverFlag = true;
        }
        myChange.notify_all();
        myThread.join();
    }
    void begin(std::shared_ptr<NOD_ScriptServer::Pass> pass)
    {
        {
            const std::lock_guard<std::mutex> lock(myMutex);
            myPass = std::move(pass);
        }
        myChange.notify_all();
    }
    std::shared_ptr<NOD_ScriptServer::Pass> takeDone()
    {
        const std::lock_guard<std::mutex> lock(myMutex);
        return std::exchange(myDone, nullptr);
    }

private:
    void work()
    {
        std::unique_lock<std::mutex> lock(myMutex);
        for (;;) {
            myChange.wait(lock, [this] { return myOverFlag || myPass; });
            if (myOverFlag) {
                return;
            }
            const std::shared_ptr<NOD_ScriptServer::Pass> pass = std::exchange(myPass, nullptr);
            lock.unlock();
            pass->run();
            lock.lock();
            myDone = pass;
        }
    }

    std::mutex myMutex;
    std::condition_variable myChange;
    std::shared_ptr<NOD_ScriptServer::Pass> myPass;
    std::shared_ptr<NOD_ScriptServer::Pass> myDone;
    bool myOverFlag = false;
    std::thread myThread;
};

std::string message(const char *method, Json params, int id = 0)
{
    Json json = {{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}};
    if (id > 0) {
        json["id"] = id;
    }
    return json.dump();
}

void tell(benchmark::State &state, std::vector<double> &times, int passes)
{
    std::sort(times.begin(), times.end());
    state.counters["p50_ms"] = times[times.size() / 2];
    state.counters["p99_ms"] = times[times.size() * 99 / 100];
    state.counters["most_ms"] = times.back();
    state.counters["passes"] = passes;
}

/// Of the calling thread, in ms.
double processorTime()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

double since(Clock::time_point begin)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

void answer(benchmark::State &state)
{
    for (auto _ : state) {
        std::vector<std::string> lines = makeLines();
        NOD_ScriptServer server;
        Worker worker;
        server.receive(message("initialize", {{"capabilities", Json::object()}}, 1));
        server.receive(message(
            "textDocument/didOpen",
            {{"textDocument", {{"uri", theUri}, {"version", 1}, {"text", joined(lines)}}}}));
        while (server.step()) {
        }
        std::mt19937 random(1);
        std::vector<double> times;
        std::vector<double> processor;
        bool busyFlag = false;
        int passes = 0;
        for (int i = 0; i < theKeys; ++i) {
            const long line = long(random() % lines.size());
            const long column = long(random() % (lines[std::size_t(line)].size() + 1));
            const Json at = {{"line", line}, {"character", column}};
            const Json changed = {{{"range", {{"start", at}, {"end", at}}}, {"text", "x"}}};
            const std::string change = message(
                "textDocument/didChange", {{"textDocument", {{"uri", theUri}, {"version", i + 2}}},
                                           {"contentChanges", changed}});
            const std::string asked =
                message("textDocument/completion",
                        {{"textDocument", {{"uri", theUri}}},
                         {"position", {{"line", line}, {"character", column + 1}}}},
                        i + 2);
            const Clock::time_point begin = Clock::now();
            const double beginProcessor = processorTime();
            server.receive(change);
            server.receive(asked);
            while (server.step()) {
            }
            benchmark::DoNotOptimize(server.takeOutput());
            times.push_back(since(begin));
            processor.push_back(processorTime() - beginProcessor);
            lines[std::size_t(line)].insert(std::size_t(column), "x");
            if (const auto done = worker.takeDone()) {
                server.endPass(done);
                busyFlag = false;
                ++passes;
            }
            if (!busyFlag) {
                worker.begin(server.beginPass());
                busyFlag = true;
            }
        }
        tell(state, times, passes);
        std::sort(processor.begin(), processor.end());
        state.counters["p50_cpu_ms"] = processor[processor.size() / 2];
        state.counters["p99_cpu_ms"] = processor[processor.size() * 99 / 100];
    }
}

void readAgain(benchmark::State &state)
{
    for (auto _ : state) {
        std::string text = joined(makeLines());
        std::mt19937 random(1);
        std::vector<double> times;
        for (int i = 0; i < theKeys / 10; ++i) {
            const std::string sent =
                message("textDocument/didChange", {{"contentChanges", {{{"text", text}}}}});
            const Clock::time_point begin = Clock::now();
            const Json came = Json::parse(sent);
            NOD_Report report;
            benchmark::DoNotOptimize(NOD_Interface::fromText(
                came["params"]["contentChanges"][0]["text"].get<std::string>(), "bench", report));
            times.push_back(since(begin));
            text.insert(text.find("Parameter", random() % (text.size() / 2)),
                        "x"); // stays readable
        }
        tell(state, times, 0);
    }
}

BENCHMARK(answer)->Name("keystroke/answer")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(readAgain)->Name("keystroke/read")->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
