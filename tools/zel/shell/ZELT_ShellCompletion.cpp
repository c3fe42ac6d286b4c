#include "ZELT_ShellCompletion.h"

#include "ZELT_Format.h"
#include "ZELT_Shell.h"

#include <BAS/BAS_Character.h>
#include <ZEL/ZEL_ChoiceList.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string_view>
#include <system_error>

namespace
{

using Words = std::vector<std::string>;

// -------------------------------------------------------------------- //
// Text of a line
// -------------------------------------------------------------------- //

/// Where the last word begins, which may be empty.
std::size_t lastWord(std::string_view text)
{
    std::size_t start = 0;
    char quote = '\0';
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '\\' && quote != '\'') {
            ++at;
        } else if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (BASisBlank(c)) {
            start = at + 1;
        }
    }
    return start;
}

/// What a word means; its quote may not be closed yet.
std::string meaningOf(const std::string &word)
{
    Words words;
    for (const char *const end : {"", "\"", "'"}) {
        if (ZELTsplitWords(word + end, words)) {
            return words.empty() ? "" : words[0];
        }
    }
    return word;
}

std::string asWord(const std::string &meaning)
{
    std::string word;
    for (const char c : meaning) {
        const bool plain = !BASisBlank(c) && c != '"' && c != '\'' && c != '\\' && c != '#';
        (word += plain ? "" : "\\") += c;
    }
    return word;
}

// -------------------------------------------------------------------- //
// What a usage asks for
// -------------------------------------------------------------------- //

/// The word at a place of a usage: of "list | remove TOKEN" what follows the word before. "" for none.
std::string wantedWord(const std::string &usage, const Words &before)
{
    std::string wanted;
    std::size_t start = 0;
    while (start <= usage.size()) {
        const std::size_t end = std::min(usage.find(" | ", start), usage.size());
        std::istringstream alternative(usage.substr(start, end - start));
        std::string word;
        bool fits = true;
        for (std::size_t i = 1; fits && i < before.size() && alternative >> word; ++i) {
            fits = end - start == usage.size() || word == before[i];
        }
        if (fits && alternative >> word) {
            (wanted += wanted.empty() ? "" : "|") += word;
        }
        start = end + 3;
    }
    wanted.erase(
        std::remove_if(wanted.begin(), wanted.end(), [](char c) { return c == '[' || c == ']'; }),
        wanted.end());
    return wanted;
}

/// The node of the path that has been typed; null if there is none.
NOD_Node *typedNode(ZELT_Shell &shell, const std::string &folder)
{
    const std::string path = folder.size() > 1 ? folder.substr(0, folder.size() - 1) : folder;
    return folder.empty() ? &shell.getNode() : shell.getNode().findNode(path.c_str());
}

/// Those of the node that has been typed, and the nodes below it.
Words parameterNames(ZELT_Shell &shell, const std::string &typed)
{
    Words names;
    const std::string folder = typed.substr(0, typed.rfind('/') + 1); // npos + 1: none
    NOD_Node *const node = typedNode(shell, folder);
    for (int i = 0; node && i < node->getParms().getEntries(); ++i) {
        names.push_back(folder + node->getParms().getParmPtr(i)->getToken());
    }
    for (std::size_t i = 0; node && i < node->getChildren().size(); ++i) {
        names.push_back(folder + node->getChildren()[i]->getName().c_str() + "/");
    }
    return names;
}

Words nodePaths(ZELT_Shell &shell, const std::string &typed)
{
    Words names;
    const std::string folder = typed.substr(0, typed.rfind('/') + 1);
    const NOD_Node *const node = typedNode(shell, folder);
    for (std::size_t i = 0; node && i < node->getChildren().size(); ++i) {
        const NOD_Node &child = *node->getChildren()[i];
        names.push_back(folder + child.getName().c_str());
        if (!child.getChildren().empty()) {
            names.push_back(names.back() + "/");
        }
    }
    return names;
}

Words menuEntries(ZELT_Shell &shell, const std::string &address)
{
    Words entries;
    ZELT_Address found;
    const std::string fault = shell.getSession().resolve(address, found);
    const ZEL_ChoiceList *const menu = fault.empty() ? found.parm->getChoiceListPtr() : nullptr;
    const ZEL_Name *names = nullptr;
    if (menu) {
        menu->getChoiceNames(names, found.parm->getParmOwner(), found.parm->getSparePtr(),
                             found.parm, false);
    }
    for (; names && !names->isSentinel(); ++names) {
        entries.push_back(names->getTokenRef().nonNullStr());
    }
    return entries;
}

/// Those of the folder that has been typed.
Words fileNames(const std::string &typed)
{
    Words names;
    const std::string folder = typed.substr(0, typed.rfind('/') + 1); // npos + 1: none
    std::error_code error;
    std::filesystem::directory_iterator at(folder.empty() ? "." : folder, error);
    for (; !error && at != std::filesystem::directory_iterator(); at.increment(error)) {
        const std::string name = at->path().filename().string();
        std::error_code unknown;
        if (name[0] != '.' || typed.size() > folder.size()) {
            names.push_back(folder + name + (at->is_directory(unknown) ? "/" : ""));
        }
    }
    return names;
}

Words candidates(ZELT_Shell &shell, const Words &before, const std::string &typed)
{
    if (before.empty()) {
        return ZELTshellCommandNames();
    }
    const ZELT_ShellCommand *const command = ZELTfindShellCommand(before[0]);
    std::istringstream wanted(command ? wantedWord(command->usage, before) : "");
    Words all;
    for (std::string kind; std::getline(wanted, kind, '|');) {
        const auto startsWith = [&kind](std::string_view word) { return kind.rfind(word, 0) == 0; };
        Words some;
        if (startsWith("TOKEN") || startsWith("ADDRESS") || startsWith("PATTERN")) {
            some = parameterNames(shell, typed);
        } else if (startsWith("NODE")) {
            some = nodePaths(shell, typed);
        } else if (startsWith("FILE")) {
            some = fileNames(typed);
        } else if (startsWith("VALUE")) {
            some = menuEntries(shell, before[1]);
        } else if (!kind.empty() && (kind[0] < 'A' || kind[0] > 'Z')) {
            some = {kind};
        }
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

} // namespace

ZELT_Completions ZELTcompleteLine(ZELT_Shell &shell, const std::string &text)
{
    ZELT_Completions found;
    found.start = lastWord(text);
    Words before;
    if (!ZELTsplitWords(text.substr(0, found.start), before)) {
        return found;
    }
    const std::string typed = meaningOf(text.substr(found.start));
    for (const std::string &word : candidates(shell, before, typed)) {
        if (word.compare(0, typed.size(), typed) == 0) {
            found.words.push_back(asWord(word));
        }
    }
    std::sort(found.words.begin(), found.words.end());
    found.words.erase(std::unique(found.words.begin(), found.words.end()), found.words.end());
    return found;
}
