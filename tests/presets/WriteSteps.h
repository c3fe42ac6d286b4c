/// \file WriteSteps.h
/// Failures, and ends of the process, at each step of a write.
#pragma once

#include <STO/STO_Writer.h>

#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

/// Counts the steps of writers, and does something at one of them.
struct Steps
{
    /// Without `action` nothing happens.
    explicit Steps(
        int step = -1, std::function<bool()> action = [] { return true; })
        : at(step), what(std::move(action))
    {
        STO_Writer::setStepHook(passStep, this);
    }
    ~Steps() { STO_Writer::setStepHook(nullptr, nullptr); }

    static bool passStep(void *data, const char *name)
    {
        Steps &steps = *static_cast<Steps *>(data);
        steps.names += std::string(steps.count ? " " : "") + name;
        return steps.count++ != steps.at || steps.what();
    }

    int at;
    std::function<bool()> what;
    int count = 0;
    std::string names;
};

/// How a child process ended.
inline int waitFor(pid_t child)
{
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}
