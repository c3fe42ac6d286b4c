#include <NOD/server/NOD_ServerPlacePrivate.h>

#include <algorithm>

NOD_ServerPlace::NOD_ServerPlace(const NOD_ServerFile &file, std::size_t at) : offset(at)
{
    const NOD_ServerSource &source = file.getSource();
    token = source.findToken(offset);
    if (token >= 0) {
        statement = source.token(token).statement;
        begin = source.token(token).begin;
        end = source.token(token).end;
    }
    for (const NOD_ServerNames::Parm &parm : file.getNames().getParms()) {
        if (parm.token == token && token >= 0) {
            name = parm.name;
            return;
        }
    }
    const std::vector<NOD_ServerNames::Use> &uses = file.getNames().getUses();
    const auto after = std::upper_bound(
        uses.begin(), uses.end(), offset,
        [](std::size_t place, const NOD_ServerNames::Use &use) { return place < use.begin; });
    if (after != uses.begin() && (after - 1)->end >= offset) {
        name = (after - 1)->name;
        begin = (after - 1)->begin;
        end = (after - 1)->end;
    }
}

NOD_ServerPlace NODserverPlace(const NOD_ServerFile &file, const NOD_ServerJson &params)
{
    return {file, NODserverOffset(file.getText(), NODserverMember(params, "position"))};
}

NOD_ServerDeclaration NODfindDeclaration(const std::vector<NOD_ServerFilePtr> &files,
                                         const std::string &name)
{
    for (const NOD_ServerFilePtr &file : files) {
        const int parm = name.empty() ? -1 : file->getNames().find(name);
        if (parm >= 0) {
            return {file, parm};
        }
    }
    return {};
}
