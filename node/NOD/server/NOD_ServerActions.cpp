#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>
#include <utility>

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

/// The safe fixes that don't touch each other; others are left for another round.
Json allEdits(const NOD_ServerPass &pass)
{
    NOD_ServerTextWalk walk(pass.getText());
    Json edits = Json::array();
    std::size_t end = 0;
    bool firstFlag = true;
    for (const Finding &finding : pass.getFindings()) {
        if (finding.fixes.empty() || !finding.fixes.front().safeFlag) {
            continue;
        }
        const NOD_ServerFix &fix = finding.fixes.front();
        const bool freeFlag =
            std::all_of(fix.edits.begin(), fix.edits.end(), [&](const NOD_ServerFix::Edit &edit) {
                return firstFlag || edit.begin > end;
            });
        if (freeFlag) {
            for (const NOD_ServerFix::Edit &edit : fix.edits) {
                end = std::max(end, edit.end);
            }
            firstFlag = false;
            for (Json &edit : NODserverEdits(walk, fix)) {
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
    NOD_ServerTextWalk walk(pass->getText());
    for (const Finding &finding : pass->getFindings()) {
        if (finding.begin > end || finding.end < begin || !isWanted(params, theFix)) {
            continue;
        }
        for (const NOD_ServerFix &fix : finding.fixes) {
            actions.push_back(
                {{"title", fix.title},
                 {"kind", theFix},
                 {"isPreferred", fix.safeFlag && finding.fixes.size() == 1},
                 {"diagnostics", {NODserverDiagnostic(workspace.client, *pass, walk, finding)}},
                 {"edit", workspaceEdit(document, NODserverEdits(walk, fix))}});
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
