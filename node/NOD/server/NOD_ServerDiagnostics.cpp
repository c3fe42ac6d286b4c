#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/server/NOD_ServerUriPrivate.h>
#include <NOD/server/NOD_ServerWorkspacePrivate.h>

namespace
{

using Json = NOD_ServerJson;

Json asJson(NOD_ServerPosition at)
{
    return {{"line", at.line}, {"character", at.unit}};
}

Json relatedOf(const NOD_ServerPass &pass, NOD_ServerTextWalk &walk,
               const NOD_ServerFinding &finding)
{
    Json all = Json::array();
    for (const NOD_ServerFinding::Related &one : finding.related) {
        Json location = {{"uri", pass.getUri()},
                         {"range", NODserverRange(walk, one.begin, one.end)}};
        if (!one.file.empty()) {
            location = {{"uri", NODserverUri(one.file)},
                        {"range", {{"start", asJson(one.from)}, {"end", asJson(one.to)}}}};
        }
        all.push_back({{"location", location}, {"message", one.text}});
    }
    return all;
}

Json fixesOf(NOD_ServerTextWalk &walk, const NOD_ServerFinding &finding)
{
    Json all = Json::array();
    for (const NOD_ServerFix &fix : finding.fixes) {
        all.push_back(
            {{"title", fix.title}, {"edits", NODserverEdits(walk, fix)}, {"safe", fix.safeFlag}});
    }
    return {{"fixes", all}};
}

} // namespace

NOD_ServerJson NODserverEdits(NOD_ServerTextWalk &walk, const NOD_ServerFix &fix)
{
    Json edits = Json::array();
    for (const NOD_ServerFix::Edit &edit : fix.edits) {
        edits.push_back(NODserverEdit(walk, edit.begin, edit.end, edit.text));
    }
    return edits;
}

NOD_ServerJson NODserverDiagnostic(const NOD_ServerClient &client, const NOD_ServerPass &pass,
                                   NOD_ServerTextWalk &walk, const NOD_ServerFinding &finding)
{
    Json one = {{"range", NODserverRange(walk, finding.begin, finding.end)},
                {"severity", int(finding.severity)},
                {"source", finding.source},
                {"message", finding.text}};
    if (!finding.code.empty()) {
        one["code"] = finding.code;
    }
    if (client.relatedFlag && !finding.related.empty()) {
        one["relatedInformation"] = relatedOf(pass, walk, finding);
    }
    if (client.dataFlag && !finding.fixes.empty()) {
        one["data"] = fixesOf(walk, finding);
    }
    return one;
}

NOD_ServerJson NODserverDiagnostics(const NOD_ServerWorkspace &workspace,
                                    const NOD_ServerDocument &document, const NOD_ServerPass *pass)
{
    Json all = Json::array();
    if (pass) {
        NOD_ServerTextWalk walk(pass->getText());
        for (const NOD_ServerFinding &finding : pass->getFindings()) {
            all.push_back(NODserverDiagnostic(workspace.client, *pass, walk, finding));
        }
    }
    return {{"uri", document.getUri()}, {"version", document.getVersion()}, {"diagnostics", all}};
}
