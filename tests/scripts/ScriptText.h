// What the tests of scripts share: a script's tokens as one line, and temporary files.
#pragma once

#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <TOK/TOK_TokenStream.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

/// The tokens with a blank between them, each in <> when it is empty or has a blank; with `lines` as
/// token@line or, in another file than the first, token@file:line.
inline std::string tokensOf(TOK_TokenStream &stream, bool lines = false)
{
    std::string all;
    KIT_String token;
    std::string firstFile = stream.getManager() ? stream.getManager()->getFileName() : "";
    while (stream.getToken(token)) {
        const std::string text = token.toStdString();
        const bool bareFlag = !text.empty() && text.find_first_of(" \n") == std::string::npos;
        all += (all.empty() ? "" : " ") + (bareFlag ? text : "<" + text + ">");
        if (lines) {
            const std::string file = stream.getManager()->getFileName();
            all += "@" + (file == firstFile ? "" : file.substr(file.rfind('/') + 1) + ":") +
                   std::to_string(stream.getManager()->getLineNumber());
        }
    }
    return all;
}

/// A text read as a source named "s", and what was reported meanwhile.
struct ReadText
{
    explicit ReadText(const std::string &text, const char *const *options = nullptr,
                      bool lines = false)
    {
        KIT_ErrorManager::Scope scope(1);
        KIT_IStream stream(text.data(), text.size(), KIT_IStream::TEXT);
        TOK_TokenStream source(stream, "s");
        source.setPreserveBackslashes(true);
        if (options) {
            source.setCPPOptions(options);
        }
        tokens = tokensOf(source, lines);
        for (int64_t i = 0; i < scope.getManager().entries(); i++) {
            messages += (i ? "; " : "") + scope.getManager().getError(i).text;
        }
    }

    std::string tokens;
    std::string messages;
};

/// A folder with files, removed at the end.
class ScriptFolder
{
public:
    ScriptFolder()
        : myFolder(std::filesystem::temp_directory_path() /
                   ("zel_scripts_" + std::to_string(::getpid())))
    {
        std::filesystem::remove_all(myFolder);
        std::filesystem::create_directories(myFolder);
    }
    ~ScriptFolder()
    {
        std::error_code fault;
        std::filesystem::remove_all(myFolder, fault);
    }

    std::string path(const std::string &name) const { return (myFolder / name).string(); }
    std::string write(const std::string &name, const std::string &text) const
    {
        std::filesystem::create_directories((myFolder / name).parent_path());
        std::ofstream(myFolder / name, std::ios::binary) << text;
        return path(name);
    }

private:
    std::filesystem::path myFolder;
};
