#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/NOD_Documentation.h>
#include <NOD/server/NOD_ServerKeywordsPrivate.h>
#include <NOD/server/NOD_ServerPlacePrivate.h>
#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>

namespace
{

using Json = NOD_ServerJson;
using Source = NOD_ServerSource;

/// A parameter as it is written, where no script with it could be read yet.
std::string writtenParm(const NOD_ServerDeclaration &declaration)
{
    const Source &source = declaration.file->getSource();
    const NOD_ServerNames::Parm &parm =
        declaration.file->getNames().getParms()[std::size_t(declaration.parm)];
    std::string text = "### `" + parm.name + "`\n";
    for (const char *const keyword : {"label", "type", "size", "default", "range"}) {
        const int number = source.findStatement(parm.block, keyword);
        const int value = number < 0 ? -1 : source.firstValue(number);
        if (value >= 0) {
            const std::size_t begin = source.token(value).begin;
            const std::size_t end = source.token(source.statement(number).end - 1).end;
            text += "\n`" + std::string(keyword) + " " +
                    std::string(source.getText().substr(begin, end - begin)) + "`\n";
        }
    }
    return text;
}

std::string parmText(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                     const std::string &name)
{
    const NOD_ServerDeclaration found =
        NODfindDeclaration(workspace.relatedFilesOf(document), name);
    if (!found.file) {
        return {};
    }
    const std::string &token = found.file->getNames().getParms()[std::size_t(found.parm)].name;
    const std::string page =
        document.getInterface() ? NODparmPage(*document.getInterface(), token) : std::string();
    return page.empty() ? writtenParm(found) : page;
}

std::string wordText(const Source &source, const NOD_ServerPlace &place)
{
    if (place.statement < 0 || !source.isCode(place.token)) {
        return {};
    }
    const Source::Statement &statement = source.statement(place.statement);
    const std::string word(source.text(place.token));
    if (place.token == statement.keyword) {
        const char *const doc = NODfindKeywordDoc(word, source.block(statement.block).parmFlag);
        return doc ? "`" + word + "`: " + doc : std::string();
    }
    const bool typeFlag = statement.word && source.word(statement) == "type";
    const std::string doc = typeFlag ? NODtypeDoc(word) : std::string();
    return doc.empty() ? std::string() : "`type " + word + "`: " + doc;
}

/// Markdown for those who don't know it.
std::string plain(const std::string &markdown)
{
    std::string text;
    for (std::size_t i = 0; i < markdown.size(); ++i) {
        const char c = markdown[i];
        const bool lineFlag = i == 0 || markdown[i - 1] == '\n';
        if (c == '\\' && i + 1 < markdown.size()) {
            text += markdown[++i];
        } else if (lineFlag && c == '#') {
            i = std::min(markdown.find_first_not_of('#', i), markdown.size());
        } else if (c != '`' && c != '*') {
            text += c;
        }
    }
    return text;
}

} // namespace

NOD_ServerJson NODserverHover(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                              const NOD_ServerJson &params)
{
    const NOD_ServerFile &file = *document.file();
    const NOD_ServerPlace place = NODserverPlace(file, params);
    std::string text;
    if (!place.name.empty()) {
        text = parmText(workspace, document, place.name);
    } else if (place.token >= 0 &&
               file.getSource().token(place.token).kind == TOK_SourceTokens::DIRECTIVE) {
        const NOD_ServerFilePtr included = workspace.includesOf(document).find(
            document.getPath(), file.getSource().raw(place.token));
        text = included ? "`" + included->getPath() + "`" : std::string();
    } else if (place.token >= 0) {
        text = wordText(file.getSource(), place);
    }
    if (text.empty()) {
        return nullptr;
    }
    const bool markdownFlag = workspace.client.markdownFlag;
    return {{"contents",
             {{"kind", markdownFlag ? "markdown" : "plaintext"},
              {"value", markdownFlag ? text : plain(text)}}},
            {"range", NODserverRange(file.getText(), place.begin, place.end)}};
}
