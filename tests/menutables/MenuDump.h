/// \file MenuDump.h
/// Menus as text, one line "token|label" for each row, up to the sentinel; and a process of its own for
/// what fills the menus of the process, so that no test finds them filled by another.
#pragma once

#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Name.h>

#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

inline std::string rowText(const ZEL_Name &name)
{
    return std::string(name.getToken()) + "|" + name.getLabel() + "\n";
}

/// The rows of an array that has a sentinel.
inline std::string dump(const ZEL_Name *names)
{
    std::string out;
    for (; !names->isSentinel(); ++names) {
        out += rowText(*names);
    }
    return out;
}

using Builder = ZEL_ChoiceList::NameGenerator;

/// What a builder puts into an array of `size` names; the names after the array must stay.
inline std::string build(Builder builder, int size)
{
    std::vector<ZEL_Name> names(size_t(size > 0 ? size : 0) + 2, ZEL_Name("guard", "Guard"));
    builder(nullptr, names.data(), size, nullptr, nullptr);
    for (size_t i = size_t(size > 0 ? size : 0); i < names.size(); ++i) {
        if (names[i].isSentinel() || rowText(names[i]) != "guard|Guard\n") {
            return "written behind the array";
        }
    }
    return size > 0 ? dump(names.data()) : "";
}

/// Runs in a process of its own, where no menu is filled yet; returns its result.
inline std::string inChild(const std::function<std::string()> &run)
{
    int ends[2];
    if (::pipe(ends) != 0) {
        return "no pipe";
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const std::string text = run();
        const bool doneFlag = ::write(ends[1], text.data(), text.size()) == ssize_t(text.size());
        ::_exit(doneFlag ? 0 : 1);
    }
    ::close(ends[1]);
    std::string out;
    char chunk[4096];
    for (ssize_t n; (n = ::read(ends[0], chunk, sizeof(chunk))) > 0;) {
        out.append(chunk, size_t(n));
    }
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return status == 0 ? out : "the child failed";
}
