/// \file NOD_ScriptRewrite.h
/// A script written anew by the library's writer of scripts (DS_Creator), with what gets lost.
///
/// Vocabulary: *loss* = what the writer has no words for, or what reads back as something else.
/// Threads:    one thread at a time; scripts are read and written by one.
/// Errors:     without a value the script can't be read, and the report says why. Each loss is an error with the
///             file; the text then has the nearest that the writer can say.
/// Cost:       of reading the script twice and what is written once.
#pragma once

#include <NOD/NOD_API.h>
#include <NOD/NOD_Report.h>

#include <optional>
#include <string>

struct NOD_RewriteOptions
{
    std::string creator = "NOD"; ///< who writes, for the comment at the start
    std::string stamp;           ///< a text in place of the time; "" for the time
};

struct NOD_RewrittenScript
{
    std::string text;
    NOD_Report losses;
};

/// Of a file.
NOD_API std::optional<NOD_RewrittenScript> NODrewriteScriptFile(const std::string &file,
                                                                const NOD_RewriteOptions &options,
                                                                NOD_Report &report);
/// Of a text, which includes nothing; `name` is its file's in messages and in the comment.
NOD_API std::optional<NOD_RewrittenScript> NODrewriteScript(const std::string &text,
                                                            const std::string &name,
                                                            const NOD_RewriteOptions &options,
                                                            NOD_Report &report);
