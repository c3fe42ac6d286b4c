#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>

namespace
{

using Json = NOD_ServerJson;

bool isTrue(const Json &json, std::initializer_list<const char *> names)
{
    const Json *const found = NODfindServerMember(json, names);
    return found && found->is_boolean() && found->get<bool>();
}

bool hasWord(const Json &json, std::initializer_list<const char *> names, const char *word)
{
    const Json *const found = NODfindServerMember(json, names);
    return found && found->is_array() &&
           std::any_of(found->begin(), found->end(),
                       [word](const Json &one) { return one == word; });
}

void readOptions(NOD_ServerRules &rules, const Json &params)
{
    using Includes = NOD_Interface::Includes;
    const Json *const includes = NODfindServerMember(params, {"initializationOptions", "includes"});
    if (includes) {
        if (*includes != "any" && *includes != "confined" && *includes != "none") {
            throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS,
                                  "initializationOptions.includes is any, confined or none"};
        }
        rules.includes = *includes == "any"    ? Includes::ANY
                         : *includes == "none" ? Includes::NONE
                                               : Includes::CONFINED;
    }
    const Json *const lint = NODfindServerMember(params, {"initializationOptions", "lint"});
    if (lint && !lint->is_boolean()) {
        throw NOD_ServerError{NOD_ServerError::INVALID_PARAMS,
                              "initializationOptions.lint is true or false"};
    }
    rules.lintFlag = !lint || lint->get<bool>();
}

} // namespace

void NODreadServerClient(NOD_ServerWorkspace &workspace, const NOD_ServerJson &params)
{
    readOptions(workspace.rules, params);
    const char *const able = "capabilities";
    const char *const text = "textDocument";
    NOD_ServerClient &client = workspace.client;
    if (hasWord(params, {able, "general", "positionEncodings"}, "utf-8")) {
        client.encoding = NOD_ServerText::Encoding::UTF8;
    }
    client.markdownFlag = hasWord(params, {able, text, "hover", "contentFormat"}, "markdown");
    client.symbolTreeFlag =
        isTrue(params, {able, text, "documentSymbol", "hierarchicalDocumentSymbolSupport"});
    client.relatedFlag = isTrue(params, {able, text, "publishDiagnostics", "relatedInformation"});
    client.dataFlag = isTrue(params, {able, text, "publishDiagnostics", "dataSupport"});
}

NOD_ServerJson NODserverCapabilities(const NOD_ServerWorkspace &workspace)
{
    constexpr int theIncremental = 2;
    const bool utf8Flag = workspace.client.encoding == NOD_ServerText::Encoding::UTF8;
    Json can;
    can["positionEncoding"] = utf8Flag ? "utf-8" : "utf-16";
    can["textDocumentSync"] = {
        {"openClose", true}, {"change", theIncremental}, {"save", {{"includeText", false}}}};
    can["completionProvider"] = {{"triggerCharacters", {"\"", "{", " ", "/", "#"}},
                                 {"resolveProvider", false}};
    for (const char *const name :
         {"hoverProvider", "definitionProvider", "referencesProvider", "documentSymbolProvider",
          "documentFormattingProvider", "documentRangeFormattingProvider", "renameProvider"}) {
        can[name] = true;
    }
    can["codeActionProvider"] = {{"codeActionKinds", {"quickfix", "source.fixAll"}}};
    return {{"capabilities", can}, {"serverInfo", {{"name", "zel"}}}};
}
