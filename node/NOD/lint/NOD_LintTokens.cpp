#include <NOD/lint/NOD_LintTokensPrivate.h>

#include <DS/DS_Stream.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <NOD/interface/NOD_ScriptTokensPrivate.h>

#include <algorithm>

/// Reads in silence: what is wrong with the text was told when it became an interface.
class NOD_LintStream : public DS_Stream
{
public:
    NOD_LintStream(KIT_IStream &is, const std::string &name, NOD_Interface::Includes includes,
                   NOD_LintTokens &tokens)
        : DS_Stream(is, name.c_str(), includes == NOD_Interface::Includes::NONE), myTokens(tokens)
    {
        if (includes == NOD_Interface::Includes::CONFINED) {
            setIncludesConfined(true);
        }
    }

    void cppWarning(const char *) override {}
    void cppError(const char *) override {}
    void cppInclude(const char *fromFile, int line, const TOK_Span &directive, const char *file,
                    std::string_view text) override
    {
        const int from = myTokens.findFile(fromFile);
        int included = myTokens.findFile(file);
        if (included < 0) {
            included = myTokens.addFile(file, text);
        }
        myTokens.myIncludes.push_back({from, line, directive.begin, directive.end, included});
    }

private:
    NOD_LintTokens &myTokens;
};

NOD_LintTokens::NOD_LintTokens(const std::string &text, const std::string &file,
                               NOD_Interface::Includes includes)
{
    // Without a name there are no lines.
    const std::string name = file.empty() ? "script" : file;
    addFile(name, text);
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    NOD_LintStream stream(is, name, includes, *this);
    KIT_String token;
    while (stream.getToken(token)) {
        if (size() >= theMost) {
            myCutFlag = true;
            break;
        }
        const TOK_Span span = stream.getSpan();
        const TOK_Manager *const place = stream.getManager();
        myTokens.push_back({span.begin, span.end, myTexts.size(), int(token.length()),
                            std::max(findFile(place->getFileName()), 0), place->getLineNumber(),
                            span.macroFlag});
        myTexts += token.view();
    }
}

int NOD_LintTokens::addFile(const std::string &name, std::string_view text)
{
    myFiles.push_back({name, std::string(text)});
    return int(myFiles.size()) - 1;
}

/// Most are of the file of the one before; -1 for a file that isn't there.
int NOD_LintTokens::findFile(std::string_view name)
{
    if (myFiles[std::size_t(myLastFile)].name != name) {
        const auto found = std::find_if(myFiles.begin(), myFiles.end(),
                                        [name](const File &file) { return file.name == name; });
        if (found == myFiles.end()) {
            return -1;
        }
        myLastFile = int(found - myFiles.begin());
    }
    return myLastFile;
}

std::size_t NOD_LintTokens::rawOffset(int token, std::size_t offset) const
{
    const std::string_view written = raw(token);
    const std::size_t quote = !written.empty() && written[0] == '"' ? 1 : 0;
    return quote + NODrawOffset(written.substr(quote), offset);
}

// ---------------------------------------------------------------------- //
// Comments
// ---------------------------------------------------------------------- //

/// The tokens of each file, sorted by their beginnings.
std::vector<std::vector<std::size_t>> NOD_LintTokens::tokensByFile() const
{
    std::vector<std::vector<std::size_t>> files(myFiles.size());
    for (std::size_t i = 0; i < myTokens.size(); ++i) {
        files[std::size_t(myTokens[i].file)].push_back(i);
    }
    for (std::vector<std::size_t> &tokens : files) {
        std::stable_sort(tokens.begin(), tokens.end(), [this](std::size_t a, std::size_t b) {
            return myTokens[a].begin < myTokens[b].begin;
        });
    }
    return files;
}

std::vector<NOD_LintTokens::Comment> NOD_LintTokens::findComments() const
{
    std::vector<Comment> found;
    const bool anyFlag = std::any_of(myFiles.begin(), myFiles.end(), [](const File &file) {
        return file.text.find("zel-lint:") != std::string::npos;
    });
    if (anyFlag) {
        const auto tokens = tokensByFile();
        for (std::size_t i = 0; i < myFiles.size(); ++i) {
            findComments(int(i), tokens[i], found);
        }
    }
    return found;
}

void NOD_LintTokens::findComments(int file, const std::vector<std::size_t> &tokens,
                                  std::vector<Comment> &found) const
{
    static constexpr std::string_view theWord = "zel-lint:";
    const std::string_view text = myFiles[std::size_t(file)].text;
    std::size_t counted = 0;
    int line = 1;
    bool commentFlag = false; // a comment has begun in the line
    std::size_t next = 0;
    for (std::size_t at = text.find(theWord); at != std::string_view::npos; at = next) {
        const std::string_view passed = text.substr(counted, at - counted);
        const std::size_t feed = passed.rfind('\n');
        commentFlag = (commentFlag && feed == std::string_view::npos) ||
                      passed.substr(feed + 1).find("//") != std::string_view::npos; // npos + 1 is 0
        line += int(std::count(passed.begin(), passed.end(), '\n'));
        counted = at;
        const std::size_t begin = at + theWord.size();
        next = text.find(theWord, begin);
        // In a text it is no comment.
        const auto behind = std::upper_bound(tokens.begin(), tokens.end(), at,
                                             [this](std::size_t offset, std::size_t token) {
                                                 return offset < myTokens[token].begin;
                                             });
        const bool quotedFlag = behind != tokens.begin() && myTokens[*(behind - 1)].end > at;
        if (!quotedFlag && commentFlag) {
            const std::string_view rest = text.substr(begin, next - begin);
            const std::size_t end = rest.find_first_of("\r\n");
            found.push_back({file, line, begin, std::string(rest.substr(0, end))});
        }
    }
}
