#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <BAS/BAS_Character.h>

#include <NOD/server/NOD_ServerPlacePrivate.h>
#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>
#include <cctype>

namespace
{

using Json = NOD_ServerJson;

[[noreturn]] void refuse(const std::string &why)
{
    throw NOD_ServerError{NOD_ServerError::REQUEST_FAILED, why};
}

/// What a use has in the place of each `#` of the declared name, and the component after it.
struct UseParts
{
    std::vector<std::string> numbers;
    std::string component;
};

/// False if the use isn't of that name.
bool split(const std::string &name, const std::string &use, UseParts &parts)
{
    std::size_t at = 0;
    for (const char c : name) {
        const std::size_t begin = at;
        if (c != '#') {
            if (at == use.size() || use[at++] != c) {
                return false;
            }
            continue;
        }
        const bool markFlag = at < use.size() && use[at] == '#';
        at += markFlag ? 1 : 0;
        while (!markFlag && at < use.size() && BASisDigit(use[at])) {
            ++at;
        }
        if (at == begin) {
            return false;
        }
        parts.numbers.push_back(use.substr(begin, at - begin));
    }
    parts.component = use.substr(at);
    return parts.component.size() <= 1;
}

std::string composed(const std::string &name, const UseParts &parts)
{
    std::string use;
    std::size_t next = 0;
    for (const char c : name) {
        use += c == '#' ? parts.numbers[next++] : std::string(1, c);
    }
    return use + parts.component;
}

void checkName(const std::string &name, const std::string &old,
               const std::vector<NOD_ServerFilePtr> &files)
{
    const bool goodFlag =
        !name.empty() && !BASisDigit(name[0]) && std::all_of(name.begin(), name.end(), [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '#';
        });
    if (!goodFlag) {
        refuse("a name has letters, digits, _ and #");
    }
    if (std::count(name.begin(), name.end(), '#') != std::count(old.begin(), old.end(), '#')) {
        refuse("the name has a # for each block around it, as " + old);
    }
    for (const NOD_ServerFilePtr &file : files) {
        for (const NOD_ServerNames::Parm &parm : file->getNames().getParms()) {
            if (parm.name == name && name != old) {
                refuse("there is a parameter " + name + " already");
            }
        }
    }
}

} // namespace

NOD_ServerJson NODserverRename(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                               const NOD_ServerJson &params)
{
    const std::string name = NODserverString(params, "newName");
    const NOD_ServerPlace place = NODserverPlace(*document.file(), params);
    const std::vector<NOD_ServerFilePtr> files = workspace.relatedFilesOf(document);
    const NOD_ServerDeclaration target = NODfindDeclaration(files, place.name);
    if (!target.file) {
        refuse("there is no parameter's name");
    }
    const NOD_ServerNames::Parm &parm =
        target.file->getNames().getParms()[std::size_t(target.parm)];
    checkName(name, parm.name, files);
    Json changes = Json::object();
    for (const NOD_ServerFilePtr &file : files) {
        NOD_ServerTextWalk walk(file->getText());
        Json edits = Json::array();
        if (file == target.file) {
            const std::size_t begin = file->getSource().textBegin(parm.token);
            edits.push_back(NODserverEdit(walk, begin, begin + parm.name.size(), name));
        }
        for (const NOD_ServerNames::Use &use : file->getNames().getUses()) {
            UseParts parts;
            const NOD_ServerDeclaration meant = NODfindDeclaration(files, use.name);
            if (meant.file == target.file && meant.parm == target.parm &&
                split(parm.name, use.name, parts)) {
                edits.push_back(NODserverEdit(walk, use.begin, use.end, composed(name, parts)));
            }
        }
        if (!edits.empty()) {
            changes[file->getUri()] = std::move(edits);
        }
    }
    return {{"changes", changes}};
}
