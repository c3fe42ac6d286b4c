#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/server/NOD_ServerPlacePrivate.h>
#include <NOD/server/NOD_ServerUriPrivate.h>
#include <NOD/server/NOD_ServerWorkspacePrivate.h>

namespace
{

using Json = NOD_ServerJson;

Json locationOf(const NOD_ServerFile &file, NOD_ServerTextWalk &walk, std::size_t begin,
                std::size_t end)
{
    return {{"uri", file.getUri()}, {"range", NODserverRange(walk, begin, end)}};
}

Json locationOf(const NOD_ServerFile &file, std::size_t begin, std::size_t end)
{
    NOD_ServerTextWalk walk(file.getText());
    return locationOf(file, walk, begin, end);
}

Json locationOf(const NOD_ServerFile &file, int token)
{
    const std::size_t begin = file.getSource().textBegin(token);
    return locationOf(file, begin, begin + file.getSource().text(token).size());
}

bool isDirective(const NOD_ServerFile &file, int token)
{
    return token >= 0 && file.getSource().token(token).kind == TOK_SourceTokens::DIRECTIVE;
}

NOD_ServerFilePtr includedAt(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                             int directive)
{
    return workspace.includesOf(document).find(document.getPath(),
                                               document.file()->getSource().raw(directive));
}

/// The directives of files that include a file.
Json includesOf(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                const NOD_ServerFilePtr &included)
{
    Json found = Json::array();
    for (const NOD_ServerFilePtr &file : workspace.relatedFilesOf(document)) {
        NOD_ServerDocument *const open = workspace.find(file->getUri());
        const NOD_ServerIncludes &known = workspace.includesOf(open ? *open : document);
        for (int i = 0; i < int(file->getSource().getTokens().size()); ++i) {
            const NOD_ServerFilePtr other =
                isDirective(*file, i) ? known.find(file->getPath(), file->getSource().raw(i))
                                      : nullptr;
            if (other && other->getUri() == included->getUri()) {
                const NOD_ServerSource::Token &at = file->getSource().token(i);
                found.push_back(locationOf(*file, at.begin, at.end));
            }
        }
    }
    return found;
}

} // namespace

NOD_ServerJson NODserverDefinition(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                                   const NOD_ServerJson &params)
{
    const NOD_ServerPlace place = NODserverPlace(*document.file(), params);
    if (isDirective(*document.file(), place.token)) {
        const NOD_ServerFilePtr included = includedAt(workspace, document, place.token);
        return included ? locationOf(*included, 0, 0) : Json();
    }
    const NOD_ServerDeclaration found =
        NODfindDeclaration(workspace.relatedFilesOf(document), place.name);
    return found.file ? locationOf(*found.file,
                                   found.file->getNames().getParms()[std::size_t(found.parm)].token)
                      : Json();
}

NOD_ServerJson NODserverReferences(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                                   const NOD_ServerJson &params)
{
    const NOD_ServerPlace place = NODserverPlace(*document.file(), params);
    if (isDirective(*document.file(), place.token)) {
        const NOD_ServerFilePtr included = includedAt(workspace, document, place.token);
        return included ? includesOf(workspace, document, included) : Json();
    }
    const std::vector<NOD_ServerFilePtr> files = workspace.relatedFilesOf(document);
    const NOD_ServerDeclaration target = NODfindDeclaration(files, place.name);
    if (!target.file) {
        return nullptr;
    }
    const Json *const wanted = NODfindServerMember(params, {"context", "includeDeclaration"});
    Json found = Json::array();
    if (wanted && *wanted == true) {
        found.push_back(locationOf(
            *target.file, target.file->getNames().getParms()[std::size_t(target.parm)].token));
    }
    for (const NOD_ServerFilePtr &file : files) {
        NOD_ServerTextWalk walk(file->getText());
        for (const NOD_ServerNames::Use &use : file->getNames().getUses()) {
            const NOD_ServerDeclaration meant = NODfindDeclaration(files, use.name);
            if (meant.file == target.file && meant.parm == target.parm) {
                found.push_back(locationOf(*file, walk, use.begin, use.end));
            }
        }
    }
    return found;
}
