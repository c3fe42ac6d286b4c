/// \file ZELT_Completion.h
/// Scripts with which a shell completes the tool's commands and options, made from the commands themselves.
///
/// Threads:    one thread.
#pragma once

#include <string>

namespace CLI
{
class App;
} // namespace CLI

/// For bash, zsh or fish; "" for another shell. Where no command, option or known value fits, the shell
/// completes files.
std::string ZELTcompletionScript(const CLI::App &app, const std::string &shell);
