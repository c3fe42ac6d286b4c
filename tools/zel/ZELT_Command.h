/// \file ZELT_Command.h
/// What a command declares of its call: arguments, options and flags, each bound to a variable.
///
/// Ownership:  handles, as small as a pointer, on what ZELT_CommandLine owns; the variables are the caller's and
///             outlive the call.
/// Threads:    one thread.
/// Errors:     a call that doesn't keep to what is declared never reaches the command: ZELT_CommandLine tells it
///             and exits with 2.
///
/// CLI11, which does the reading, is a header of ten seconds of compiling: it is included by the sources of this
/// class and of ZELT_CommandLine, and by no command.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

/// An argument, option or flag that was declared. Each function returns the option itself.
class ZELT_Option
{
public:
    explicit ZELT_Option(CLI::Option &option) : myOption(&option) {}

    /// A call without it is wrong.
    ZELT_Option required() const;
    /// It is one of these words.
    ZELT_Option oneOf(const std::vector<std::string> &words) const;
    /// Its number lies between these, both included.
    ZELT_Option within(int low, int high) const;
    /// A call with it and without the other is wrong.
    ZELT_Option needs(const ZELT_Option &other) const;
    /// A call with both is wrong.
    ZELT_Option excludes(const ZELT_Option &other) const;

private:
    friend class ZELT_Command;

    CLI::Option *myOption;
};

class ZELT_Command
{
public:
    explicit ZELT_Command(CLI::App &app) : myApp(&app) {}

    /// \name Arguments and options
    /// A name without dashes is an argument, one with them an option; `-o,--out` has two names. What is read is
    /// written to the variable, which keeps its value in a call without it.
    /// @{
    ZELT_Option addOption(const char *name, std::string &value, const char *what) const;
    ZELT_Option addOption(const char *name, int &value, const char *what) const;
    ZELT_Option addOption(const char *name, std::optional<double> &value, const char *what) const;
    /// Each word up to the next option is a value.
    ZELT_Option addOption(const char *name, std::vector<std::string> &values,
                          const char *what) const;
    /// One that may be given several times, with one value each.
    ZELT_Option addList(const char *name, std::vector<std::string> &values, const char *what) const;
    ZELT_Option addFlag(const char *name, bool &value, const char *what) const;
    /// @}

    /// A call without any of the options is wrong, and the message names what is missing.
    void needsOne(const char *missing, std::initializer_list<ZELT_Option> options) const;
    /// The help names each argument once, also those that take several words.
    void nameArgumentsOnce() const;

    CLI::App &getApp() const { return *myApp; }

private:
    CLI::App *myApp;
};
