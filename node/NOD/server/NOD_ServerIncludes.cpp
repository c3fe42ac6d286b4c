#include <NOD/server/NOD_ServerIncludesPrivate.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_String.h>
#include <NOD/server/NOD_ServerUriPrivate.h>
#include <TOK/TOK_TokenStream.h>

#include <algorithm>

namespace
{

using Include = NOD_ServerIncludes::Include;

/// Keeps the files that are included.
class Stream : public TOK_TokenStream
{
public:
    Stream(KIT_IStream &is, const std::string &path, const NOD_ServerText &like,
           std::vector<Include> &found)
        : TOK_TokenStream(is, path.c_str()), myLike(like), myFound(found)
    {}

    void cppWarning(const char *) override {}
    void cppError(const char *) override {}
    void cppInclude(const char *from, int, const TOK_Span &directive, const char *file,
                    std::string_view text) override
    {
        std::string written;
        const NOD_ServerFilePtr includer = findFile(from);
        const std::string_view all = includer ? includer->getText().get() : getText();
        if (directive.end <= all.size()) {
            written = NOD_ServerIncludes::writtenName(
                all.substr(directive.begin, directive.end - directive.begin));
        }
        NOD_ServerFilePtr included = findFile(file);
        if (!included && text.size() <= theMostBytes) {
            included = std::make_shared<NOD_ServerFile>(
                NODserverUri(file), file,
                std::make_shared<NOD_ServerText>(myLike.makeLike(std::string(text))));
        }
        if (included) {
            myFound.push_back({from, written, std::move(included)});
        }
    }

private:
    static constexpr std::size_t theMostBytes = std::size_t(1) << 24;

    NOD_ServerFilePtr findFile(const std::string &path) const
    {
        const auto found = std::find_if(myFound.begin(), myFound.end(), [&](const Include &one) {
            return one.file->getPath() == path;
        });
        return found == myFound.end() ? nullptr : found->file;
    }

    const NOD_ServerText &myLike;
    std::vector<Include> &myFound;
};

} // namespace

std::string NOD_ServerIncludes::directivesOf(const NOD_ServerSource &source)
{
    std::string all;
    for (int i = 0; i < int(source.getTokens().size()); ++i) {
        if (source.token(i).kind == TOK_SourceTokens::DIRECTIVE) {
            all += std::string(source.raw(i)) + "\n";
        }
    }
    return all;
}

std::string_view NOD_ServerIncludes::writtenName(std::string_view directive)
{
    constexpr std::string_view theWord = "include";
    std::size_t at = directive.find_first_not_of(" \t", directive.find('#') + 1);
    if (directive.empty() || at == std::string_view::npos ||
        directive.substr(at, theWord.size()) != theWord) {
        return {};
    }
    at = directive.find_first_of("\"<", at);
    const std::size_t end = directive.find_first_of("\">", at + 1);
    if (at == std::string_view::npos || end == std::string_view::npos) {
        return {};
    }
    return directive.substr(at + 1, end - at - 1);
}

NOD_ServerIncludes::NOD_ServerIncludes(const std::string &directives, const std::string &path,
                                       NOD_Interface::Includes includes, const NOD_ServerText &like)
    : myDirectives(directives)
{
    if (includes == NOD_Interface::Includes::NONE ||
        directives.find("include") == std::string::npos) {
        return;
    }
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    KIT_IStream is(directives.data(), directives.size(), KIT_IStream::TEXT);
    Stream stream(is, path, like, myIncludes);
    if (includes == NOD_Interface::Includes::CONFINED) {
        stream.setIncludesConfined(true);
    }
    KIT_String token;
    while (stream.getToken(token)) {
    }
}

NOD_ServerFilePtr NOD_ServerIncludes::find(const std::string &from,
                                           std::string_view directive) const
{
    const std::string_view written = writtenName(directive);
    const auto found = std::find_if(myIncludes.begin(), myIncludes.end(), [&](const Include &one) {
        return one.from == from && one.written == written;
    });
    return found == myIncludes.end() || written.empty() ? nullptr : found->file;
}
