/// \file NOD_LintTokensPrivate.h
/// The tokens of a script and of the files that it includes, with their places.
///
/// Units:      tokens by number, from 0; lines and columns from 1; offsets in bytes of a file.
/// Ownership:  owns copies of all texts.
/// Threads:    one thread at a time.
#pragma once

#include <NOD/NOD_Interface.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class NOD_LintTokens
{
public:
    struct Token
    {
        std::size_t begin; ///< in its file, with quotes
        std::size_t end;
        std::size_t text; ///< in the common text
        int length;
        int file;
        int line;
        bool macroFlag; ///< the bytes are a macro's name
    };
    struct File
    {
        std::string name;
        std::string text;
    };
    /// A file that was included, by where it is said.
    struct Include
    {
        int fromFile;
        int line;
        std::size_t begin;
        std::size_t end;
        int file;
    };
    /// A `zel-lint:` comment.
    struct Comment
    {
        int file;
        int line;
        std::size_t begin; ///< of what follows the colon
        std::string text;  ///< that, to the end of the line or the next such mark
    };
    static constexpr int theMost = 4000000;

    NOD_LintTokens(const std::string &text, const std::string &file,
                   NOD_Interface::Includes includes);

    /// Whether there are more than the most, so that the last ones are missing.
    bool isCut() const { return myCutFlag; }
    int size() const { return int(myTokens.size()); }
    const Token &operator[](int token) const { return myTokens[std::size_t(token)]; }
    /// As the script means it: without quotes, escapes resolved.
    std::string_view text(int token) const
    {
        const Token &at = (*this)[token];
        return std::string_view(myTexts).substr(at.text, std::size_t(at.length));
    }
    /// As it is written.
    std::string_view raw(int token) const
    {
        const Token &at = (*this)[token];
        return std::string_view(myFiles[std::size_t(at.file)].text)
            .substr(at.begin, at.end - at.begin);
    }
    /// Where in what is written a byte of what is meant is, from the token's beginning.
    std::size_t rawOffset(int token, std::size_t offset) const;
    const std::vector<File> &getFiles() const { return myFiles; }
    const std::vector<Include> &getIncludes() const { return myIncludes; }
    /// In the order of the files.
    std::vector<Comment> findComments() const;

private:
    friend class NOD_LintStream;

    int addFile(const std::string &name, std::string_view text);
    int findFile(std::string_view name);
    std::vector<std::vector<std::size_t>> tokensByFile() const;
    void findComments(int file, const std::vector<std::size_t> &tokens,
                      std::vector<Comment> &found) const;

    std::vector<Token> myTokens;
    std::string myTexts;
    std::vector<File> myFiles;
    std::vector<Include> myIncludes;
    int myLastFile = 0;
    bool myCutFlag = false;
};
