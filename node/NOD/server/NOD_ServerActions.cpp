#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>

namespace
{

using Json = NOD_ServerJson;
using Finding = NOD_ServerFinding;

constexpr const char *theFix = "quickfix";
constexpr const char *theFixAll = "source.fixAll";

/// Whether the client asks for a kind: for all, for it, or for what it is a part of.
bool isWanted(const Json &params, const std::string &kind)
{
    const Json *const only = NODfindServerMember(params, {"context", "only"});
    if (!only || !only->is_array() || only->empty()) {
        return true;
    }
    return std::any_of(only->begin(), only->end(), [&kind](const Json &one) {
        const std::string word = one.is_string() ? one.get<std::string>() : std::string();
        return !word.empty() && (kind + ".").compare(0, word.size() + 1, word + ".") == 0;
    });
}

Json workspaceEdit(const NOD_ServerDocument &document, Json edits)
{
    Json changes;
    changes[document.getUri()] = std::move(edits);
    return {{"changes", changes}};
}

Json editsOf(const NOD_ServerPass &pass, const Finding::Fix &fix)
{
    Json edits = Json::array();
    for (const Finding::Edit &edit : fix.edits) {
        edits.push_back(NODserverEdit(pass.getText(), edit.begin, edit.end, edit.text));
    }
    return edits;
}

/// The safe fixes that don't touch each other; others are left for another round.
Json allEdits(const NOD_ServerPass &pass)
{
    Json edits = Json::array();
    std::vector<Finding::Edit> made;
    for (const Finding &finding : pass.getFindings()) {
        if (finding.fixes.empty() || !finding.fixes.front().safeFlag) {
            continue;
        }
        const std::vector<Finding::Edit> &own = finding.fixes.front().edits;
        const bool freeFlag = std::all_of(own.begin(), own.end(), [&](const Finding::Edit &edit) {
            return std::all_of(made.begin(), made.end(), [&](const Finding::Edit &other) {
                return edit.end < other.begin || other.end < edit.begin;
            });
        });
        if (freeFlag) {
            made.insert(made.end(), own.begin(), own.end());
            for (Json &edit : editsOf(pass, finding.fixes.front())) {
                edits.push_back(std::move(edit));
            }
        }
    }
    return edits;
}

} // namespace

NOD_ServerJson NODserverActions(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                                const NOD_ServerJson &params)
{
    const Json &range = NODserverMember(params, "range");
    const NOD_ServerText &text = document.file()->getText();
    const std::size_t begin = NODserverOffset(text, NODserverMember(range, "start"));
    const std::size_t end = NODserverOffset(text, NODserverMember(range, "end"));
    const NOD_ServerPass *const pass = document.getPass();
    Json actions = Json::array();
    if (!pass) {
        return actions;
    }
    for (const Finding &finding : pass->getFindings()) {
        if (finding.begin > end || finding.end < begin || !isWanted(params, theFix)) {
            continue;
        }
        for (const Finding::Fix &fix : finding.fixes) {
            actions.push_back(
                {{"title", fix.title},
                 {"kind", theFix},
                 {"isPreferred", fix.safeFlag && finding.fixes.size() == 1},
                 {"diagnostics", {NODserverDiagnostic(workspace.client, *pass, finding)}},
                 {"edit", workspaceEdit(document, editsOf(*pass, fix))}});
        }
    }
    Json all = isWanted(params, theFixAll) ? allEdits(*pass) : Json::array();
    if (!all.empty()) {
        actions.push_back({{"title", "fix all that is safe"},
                           {"kind", theFixAll},
                           {"edit", workspaceEdit(document, std::move(all))}});
    }
    return actions;
}
