/// \file ZELT_LineReader.h
/// Lines from a terminal: edited, recalled, completed.
///
/// Vocabulary: *history* = the lines of this session and of earlier ones, in
///             $XDG_STATE_HOME/zel/history (~/.local/state/zel/history without that variable). It is
///             written after each line; of two sessions at once the last one's lines stay.
/// Ownership:  owns the terminal's state while it lives.
/// Threads:    one thread.
/// Errors:     a history that can't be written is told once, and the session goes on.
///
/// Ctrl-C, which ZELT_Interrupts notes, gives up the line that is typed, and Ctrl-D ends the input. Without
/// libedit lines are read as they are, with neither history nor completion.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// What can stand in the place of the last word of a text.
struct ZELT_Completions
{
    std::size_t start = 0;          ///< where that word begins in the text
    std::vector<std::string> words; ///< sorted; written as the line needs them, with quotes
};

class ZELT_LineReader
{
public:
    using Complete = std::function<ZELT_Completions(const std::string &text)>;

    ZELT_LineReader(const char *prompt, Complete complete);
    ~ZELT_LineReader();
    ZELT_LineReader(const ZELT_LineReader &) = delete;
    ZELT_LineReader &operator=(const ZELT_LineReader &) = delete;

    /// False at the end of the input.
    bool read(std::string &line);

private:
    class Editor;
    std::unique_ptr<Editor> myEditor;
};
