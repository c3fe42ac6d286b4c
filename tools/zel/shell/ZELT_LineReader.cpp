#include "ZELT_LineReader.h"

#include <BAS/BAS_Interrupt.h>

#include <cstdio>
#include <iostream>
#include <utility>

#ifndef ZELT_WITH_EDIT

class ZELT_LineReader::Editor
{
public:
    Editor(const char *prompt, Complete) : myPrompt(prompt) {}
    bool read(std::string &line)
    {
        for (;;) {
            BAS_Interrupt::clear();
            std::cout << myPrompt << std::flush;
            if (std::getline(std::cin, line) || !BAS_Interrupt::isRequested()) {
                return bool(std::cin);
            }
            std::clearerr(stdin);
            std::cin.clear();
            std::cout << '\n';
        }
    }

private:
    const char *myPrompt;
};

#else

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <histedit.h>
#include <unistd.h>

namespace
{

/// "" if there is no place for it.
std::filesystem::path historyFile()
{
    const char *const state = std::getenv("XDG_STATE_HOME");
    const char *const home = std::getenv("HOME");
    const std::filesystem::path folder = state && *state ? std::filesystem::path(state)
                                         : home && *home
                                             ? std::filesystem::path(home) / ".local" / "state"
                                             : std::filesystem::path();
    return folder.is_absolute() ? folder / "zel" / "history" : std::filesystem::path();
}

/// One character in the locale's encoding; -1 if Ctrl-C came first, 0 at the end.
int readCharacter(EditLine *, wchar_t *out)
{
    std::mbstate_t state = {};
    for (;;) {
        char byte = '\0';
        const ssize_t count = BAS_Interrupt::isRequested() ? -1 : ::read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR && !BAS_Interrupt::isRequested()) {
            continue;
        }
        if (count <= 0) {
            return int(count);
        }
        const std::size_t length = std::mbrtowc(out, &byte, 1, &state);
        if (length == std::size_t(-1)) {
            *out = L'?'; // no character of the encoding
            return 1;
        }
        if (length != std::size_t(-2)) {
            return 1;
        }
    }
}

std::size_t commonLength(const std::vector<std::string> &words)
{
    std::size_t length = words[0].size();
    for (const std::string &word : words) {
        const auto apart =
            std::mismatch(word.begin(), word.end(), words[0].begin(),
                          words[0].begin() + std::ptrdiff_t(std::min(length, words[0].size())));
        length = std::min(length, std::size_t(apart.first - word.begin()));
    }
    return length;
}

/// In columns as wide as the widest.
void printWords(const std::vector<std::string> &words)
{
    constexpr std::size_t theLine = 80;
    std::size_t width = 0;
    for (const std::string &word : words) {
        width = std::max(width, word.size() + 2);
    }
    const std::size_t columns = std::max<std::size_t>(theLine / width, 1);
    std::cout << '\n';
    for (std::size_t i = 0; i < words.size(); ++i) {
        const bool lastFlag = i % columns == columns - 1 || i + 1 == words.size();
        std::cout << words[i] << (lastFlag ? "\n" : std::string(width - words[i].size(), ' '));
    }
    std::cout << std::flush;
}

} // namespace

class ZELT_LineReader::Editor
{
public:
    Editor(const char *prompt, Complete complete);
    ~Editor();
    Editor(const Editor &) = delete;
    Editor &operator=(const Editor &) = delete;

    bool read(std::string &line);

private:
    static char *promptOf(EditLine *edit)
    {
        // libedit asks for text that may be changed, and changes none.
        return const_cast<char *>(of(edit).myPrompt);
    }
    static unsigned char completeAt(EditLine *edit, int) { return of(edit).completeHere(); }
    static Editor &of(EditLine *edit)
    {
        void *data = nullptr;
        el_get(edit, EL_CLIENTDATA, &data);
        return *static_cast<Editor *>(data);
    }
    unsigned char completeHere();
    void remember(const char *line);
    void tellHistory(const std::string &reason);

    const char *const myPrompt;
    const Complete myComplete;
    const std::filesystem::path myFile = historyFile();
    EditLine *const myEdit;
    History *const myHistory;
    bool myTellsFlag = true;
};

ZELT_LineReader::Editor::Editor(const char *prompt, Complete complete)
    : myPrompt(prompt), myComplete(std::move(complete)),
      myEdit(el_init("zel", stdin, stdout, stderr)), myHistory(history_init())
{
    constexpr int theMostLines = 1000;
    std::setlocale(LC_CTYPE, ""); // numbers keep their points
    el_set(myEdit, EL_CLIENTDATA, this);
    el_set(myEdit, EL_PROMPT, promptOf);
    el_set(myEdit, EL_EDITOR, "emacs");
    el_set(myEdit, EL_GETCFN, readCharacter);
    // The narrow call makes copies that it never frees.
    el_wset(myEdit, EL_ADDFN, L"zel-complete", L"Completes the word", completeAt);
    el_set(myEdit, EL_BIND, "^I", "zel-complete", nullptr);
    el_set(myEdit, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(myEdit, nullptr); // a user's own keys
    HistEvent event;
    history(myHistory, &event, H_SETSIZE, theMostLines);
    history(myHistory, &event, H_SETUNIQUE, 1);
    el_set(myEdit, EL_HIST, history, myHistory);
    if (!myFile.empty()) {
        history(myHistory, &event, H_LOAD, myFile.c_str()); // the first session has none
    }
}

ZELT_LineReader::Editor::~Editor()
{
    history_end(myHistory);
    el_end(myEdit);
}

bool ZELT_LineReader::Editor::read(std::string &line)
{
    for (;;) {
        BAS_Interrupt::clear();
        el_resize(myEdit);
        std::cout.flush();
        int length = 0;
        const char *const text = el_gets(myEdit, &length);
        if (BAS_Interrupt::isRequested()) {
            std::cout << "^C" << std::endl;
            el_reset(myEdit);
            continue;
        }
        if (!text || length <= 0) {
            std::cout << std::endl; // the end is at a prompt
            return false;
        }
        line.assign(text, std::size_t(length));
        if (line.back() == '\n') {
            line.pop_back();
        }
        if (line.find_first_not_of(" \t") != std::string::npos) {
            remember(line.c_str());
        }
        return true;
    }
}

void ZELT_LineReader::Editor::remember(const char *line)
{
    HistEvent event;
    history(myHistory, &event, H_ENTER, line);
    if (myFile.empty()) {
        return;
    }
    std::error_code error;
    std::filesystem::create_directories(myFile.parent_path(), error);
    const std::filesystem::path fresh = myFile.string() + '.' + std::to_string(getpid());
    if (error || history(myHistory, &event, H_SAVE, fresh.c_str()) < 0) {
        tellHistory(error ? error.message() : "can't be written");
        std::filesystem::remove(fresh, error);
        return;
    }
    std::filesystem::rename(fresh, myFile, error);
    if (error) {
        tellHistory(error.message());
        std::filesystem::remove(fresh, error);
    }
}

void ZELT_LineReader::Editor::tellHistory(const std::string &reason)
{
    if (myTellsFlag) {
        std::cerr << "zel: warning: the history isn't kept: " << myFile.string() << ": " << reason
                  << std::endl;
    }
    myTellsFlag = false;
}

unsigned char ZELT_LineReader::Editor::completeHere()
{
    const LineInfo *const info = el_line(myEdit);
    const std::string text(info->buffer, std::size_t(info->cursor - info->buffer));
    const ZELT_Completions found = myComplete(text);
    if (found.words.empty()) {
        return CC_ERROR;
    }
    const std::string typed = text.substr(found.start);
    const bool oneFlag = found.words.size() == 1;
    const std::string &first = found.words[0];
    std::string common = oneFlag ? first : first.substr(0, commonLength(found.words));
    if (oneFlag && common.back() != '/') {
        common += ' ';
    }
    if (common.size() > typed.size() || oneFlag) {
        el_deletestr(myEdit, int(typed.size()));
        return el_insertstr(myEdit, common.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    printWords(found.words);
    return CC_REDISPLAY;
}

#endif

ZELT_LineReader::ZELT_LineReader(const char *prompt, Complete complete)
    : myEditor(std::make_unique<Editor>(prompt, std::move(complete)))
{}

ZELT_LineReader::~ZELT_LineReader() = default;

bool ZELT_LineReader::read(std::string &line)
{
    return myEditor->read(line);
}
