#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <NOD/server/NOD_ServerUriPrivate.h>
#include <TOK/TOK_TokenStream.h>

#include <algorithm>

namespace
{

bool isSmall(const NOD_ServerDocument &document)
{
    return !document.isLost() && document.getText().get().size() <= NOD_ServerPass::theMostBytes;
}

void addFile(std::vector<NOD_ServerFilePtr> &files, const NOD_ServerFilePtr &file)
{
    const bool knownFlag =
        std::any_of(files.begin(), files.end(),
                    [&](const NOD_ServerFilePtr &one) { return one->getUri() == file->getUri(); });
    if (!knownFlag) {
        files.push_back(file);
    }
}

long versionOf(const NOD_ServerJson &item)
{
    const NOD_ServerJson *const version = NODfindServerMember(item, {"version"});
    return version && version->is_number_integer() ? version->get<long>() : 0;
}

} // namespace

void NOD_ServerWorkspace::open(const NOD_ServerJson &item)
{
    const std::string uri = NODserverString(item, "uri");
    myIncludes.erase(uri);
    myDocuments[uri] = std::make_unique<NOD_ServerDocument>(uri, NODserverString(item, "text"),
                                                            versionOf(item), client.encoding);
}

void NOD_ServerWorkspace::close(const std::string &uri)
{
    myDocuments.erase(uri);
    myIncludes.erase(uri);
}

NOD_ServerDocument *NOD_ServerWorkspace::find(const std::string &uri)
{
    const auto found = myDocuments.find(uri);
    return found == myDocuments.end() ? nullptr : found->second.get();
}

NOD_ServerDocument &NOD_ServerWorkspace::get(const NOD_ServerJson &params)
{
    const std::string uri = NODserverString(NODserverMember(params, "textDocument"), "uri");
    NOD_ServerDocument *const document = find(uri);
    if (!document) {
        throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS, uri + " isn't open"};
    }
    return *document;
}

NOD_ServerDocument *NOD_ServerWorkspace::findDue()
{
    for (const auto &row : myDocuments) {
        if (row.second->isDue()) {
            return row.second.get();
        }
    }
    return nullptr;
}

void NOD_ServerWorkspace::refresh()
{
    myIncludes.clear();
    for (const auto &row : myDocuments) {
        row.second->setDue();
    }
}

NOD_Interface::Includes NOD_ServerWorkspace::includesFor(const NOD_ServerDocument &document) const
{
    using Includes = NOD_Interface::Includes;
    if (!document.hasFile()) {
        return Includes::NONE;
    }
    return rules.includes == Includes::ANY && TOK_TokenStream::areAllIncludesConfined()
               ? Includes::CONFINED
               : rules.includes;
}

const NOD_ServerIncludes &NOD_ServerWorkspace::includesOf(NOD_ServerDocument &document)
{
    const std::string directives = NOD_ServerIncludes::directivesOf(document.file()->getSource());
    std::unique_ptr<const NOD_ServerIncludes> &known = myIncludes[document.getUri()];
    if (!known || known->getDirectives() != directives) {
        known = std::make_unique<NOD_ServerIncludes>(directives, document.getPath(),
                                                     includesFor(document), document.getText());
    }
    return *known;
}

/// The open document in the place of a file.
NOD_ServerFilePtr NOD_ServerWorkspace::openFile(const NOD_ServerFilePtr &file)
{
    for (const auto &row : myDocuments) {
        NOD_ServerDocument &document = *row.second;
        if (document.hasFile() && isSmall(document) &&
            NODserverUri(document.getPath()) == file->getUri()) {
            return document.file();
        }
    }
    return file;
}

std::vector<NOD_ServerFilePtr> NOD_ServerWorkspace::filesOf(NOD_ServerDocument &document)
{
    std::vector<NOD_ServerFilePtr> files = {document.file()};
    for (const NOD_ServerIncludes::Include &one : includesOf(document).getIncludes()) {
        addFile(files, openFile(one.file));
    }
    return files;
}

std::vector<NOD_ServerFilePtr> NOD_ServerWorkspace::relatedFilesOf(NOD_ServerDocument &document)
{
    std::vector<NOD_ServerFilePtr> files = filesOf(document);
    const std::vector<NOD_ServerFilePtr> own = files;
    for (const auto &row : myDocuments) {
        if (!isSmall(*row.second)) {
            continue;
        }
        const std::vector<NOD_ServerFilePtr> others = filesOf(*row.second);
        const bool sharedFlag = std::any_of(others.begin(), others.end(), [&](const auto &other) {
            return std::any_of(own.begin(), own.end(),
                               [&](const auto &one) { return one->getUri() == other->getUri(); });
        });
        if (sharedFlag) {
            for (const NOD_ServerFilePtr &other : others) {
                addFile(files, other);
            }
        }
    }
    return files;
}
