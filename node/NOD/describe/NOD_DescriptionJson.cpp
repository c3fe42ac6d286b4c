#include <NOD/NOD_Description.h>

#include <nlohmann/json.hpp>

namespace
{

using Json = nlohmann::ordered_json;
using Parm = NOD_DescribedParm;

// ---------------------------------------------------------------------- //
// Lines
// ---------------------------------------------------------------------- //

std::string onOneLine(const Json &json)
{
    constexpr int theOneLine = -1;
    return json.dump(theOneLine, ' ', false, Json::error_handler_t::replace);
}

/// Whether it is worth lines of its own: what has parameters in it.
bool hasMembers(const Json &json)
{
    if (json.is_object()) {
        for (const char *const key : {"parameters", "folders", "members"}) {
            const auto found = json.find(key);
            if (found != json.end() && found->is_array() && !found->empty() &&
                found->front().is_object()) {
                return true;
            }
        }
    }
    return false;
}

/// One line for each parameter and each key of what has parameters in it.
void write(std::string &out, const Json &json, const std::string &indent)
{
    const bool listFlag = json.is_array() && !json.empty() && json.front().is_object();
    if (!listFlag && !hasMembers(json)) {
        out += onOneLine(json);
        return;
    }
    const std::string deeper = indent + "  ";
    const char *separator = "\n";
    out += json.is_object() ? '{' : '[';
    for (const auto &[key, value] : json.items()) {
        (out += separator) += deeper;
        separator = ",\n";
        if (json.is_object()) {
            out += onOneLine(key) + ": ";
        }
        write(out, value, deeper);
    }
    ((out += '\n') += indent) += json.is_object() ? '}' : ']';
}

// ---------------------------------------------------------------------- //
// Parts
// ---------------------------------------------------------------------- //

Json textOrNull(const std::string &text)
{
    return text.empty() ? Json() : Json(text);
}

Json list(const std::vector<std::string> &texts)
{
    Json out = Json::array();
    for (const std::string &text : texts) {
        out.push_back(text);
    }
    return out;
}

Json tagsJson(const NOD_DescribedTags &tags)
{
    Json out = Json::object();
    for (const auto &[token, value] : tags) {
        out[token] = value;
    }
    return out;
}

Json conditionsJson(const std::vector<NOD_DescribedCondition> &conditions)
{
    Json out = Json::object();
    for (const NOD_DescribedCondition &one : conditions) {
        out[one.keyword] = one.text;
    }
    return out;
}

Json defaultsJson(const std::vector<NOD_DescribedDefault> &defaults)
{
    Json out = Json::array();
    for (const NOD_DescribedDefault &one : defaults) {
        Json json = one.number;
        if (one.text) {
            json = Json{{"number", one.number}, {"text", *one.text}, {"meaning", one.meaning}};
        }
        out.push_back(std::move(json));
    }
    return out;
}

Json limitJson(const std::optional<NOD_DescribedLimit> &limit)
{
    return limit ? Json{{"value", limit->value}, {"hard", limit->isHard}} : Json();
}

Json menuJson(const std::optional<NOD_DescribedMenu> &menu)
{
    if (!menu) {
        return Json();
    }
    Json out{{"mode", menu->mode},
             {"usetokenvalue", menu->usesToken},
             {"source", !menu->isDynamic         ? "list"
                        : menu->language.empty() ? "function"
                                                 : "script"}};
    if (!menu->language.empty()) {
        out["language"] = menu->language;
        out["script"] = menu->script;
    }
    if (!menu->isDynamic) {
        out["items"] = Json::array();
        for (const NOD_DescribedEntry &entry : menu->entries) {
            out["items"].push_back(Json{{"token", entry.token}, {"label", entry.label}});
        }
    }
    return out;
}

Json parmsJson(const std::vector<Parm> &parms);

Json folderJson(const NOD_DescribedFolder &folder)
{
    Json out;
    out["name"] = textOrNull(folder.name);
    out["label"] = folder.label;
    out["invisibletab"] = folder.isTabInvisible;
    out["conditions"] = conditionsJson(folder.conditions);
    out["tags"] = tagsJson(folder.tags);
    out["help"] = textOrNull(folder.help);
    out["members"] = parmsJson(folder.members);
    return out;
}

/// What parameters, folders and blocks have in common.
Json startOf(const Parm &parm, const char *kind)
{
    Json out;
    out["kind"] = kind;
    out["token"] = parm.token;
    out["label"] = parm.label;
    out["type"] = parm.type;
    out["flags"] = parm.flags;
    out["extended"] = parm.extended;
    out["invisible"] = parm.isInvisible;
    return out;
}

void addEnd(Json &out, const Parm &parm)
{
    out["conditions"] = conditionsJson(parm.conditions);
    out["tags"] = tagsJson(parm.tags);
    out["export"] = parm.exportLevel;
    out["nocook"] = parm.isNoCook;
}

Json foldersJson(const Parm &parm)
{
    Json out = startOf(parm, "folders");
    addEnd(out, parm);
    out["folders"] = Json::array();
    for (const NOD_DescribedFolder &folder : parm.folders) {
        out["folders"].push_back(folderJson(folder));
    }
    return out;
}

Json parmJson(const Parm &parm)
{
    if (parm.kind == Parm::Kind::FOLDERS) {
        return foldersJson(parm);
    }
    const bool blockFlag = parm.kind == Parm::Kind::BLOCK;
    Json out = startOf(parm, blockFlag ? "block" : "parameter");
    out["joinnext"] = parm.joinsNext;
    out["nolabel"] = parm.hasNoLabel;
    out["value"] = parm.value;
    out["size"] = parm.size;
    out["channels"] = list(parm.channels);
    out["defaults"] = defaultsJson(parm.defaults);
    out["range"] =
        parm.hasRange ? Json{{"min", limitJson(parm.min)}, {"max", limitJson(parm.max)}} : Json();
    out["menu"] = menuJson(parm.menu);
    addEnd(out, parm);
    out["option"] = textOrNull(parm.option);
    out["required"] = parm.isRequired;
    out["help"] = textOrNull(parm.help);
    if (blockFlag) {
        out["multi"] = Json{{"kind", parm.type},
                            {"items", parm.items ? Json(*parm.items) : Json()},
                            {"start", parm.start},
                            {"recursive", parm.isRecursive}};
        out["members"] = parmsJson(parm.members);
    }
    return out;
}

Json parmsJson(const std::vector<Parm> &parms)
{
    Json out = Json::array();
    for (const Parm &parm : parms) {
        out.push_back(parmJson(parm));
    }
    return out;
}

Json importsJson(const std::vector<NOD_DescribedImport> &imports)
{
    Json out = Json::array();
    for (const NOD_DescribedImport &one : imports) {
        Json json;
        json["label"] = textOrNull(one.label);
        json["source"] = textOrNull(one.source);
        json["token"] = textOrNull(one.token);
        json["mask"] = textOrNull(one.mask);
        json["enable"] = one.isEnabled;
        json["level"] = one.level;
        json["folder"] = textOrNull(one.folder);
        json["parameters"] = list(one.tokens);
        out.push_back(std::move(json));
    }
    return out;
}

Json dialogJson(const NOD_Description &description)
{
    Json out;
    out["name"] = textOrNull(description.name);
    out["label"] = description.label;
    out["node_type"] = description.typeName;
    out["file"] = textOrNull(description.file);
    out["help"] = textOrNull(description.help);
    out["tags"] = tagsJson(description.tags);
    out["rman"] = description.isRenderMan;
    out["ksl"] = description.isShading;
    out["imports"] = importsJson(description.imports);
    out["obsolete"] = list(description.obsolete);
    return out;
}

} // namespace

std::string NODdescriptionJson(const NOD_Description &description)
{
    Json document{{"dialog", dialogJson(description)},
                  {"parameters", parmsJson(description.parms)}};
    if (!description.spares.empty()) {
        document["spares"] = parmsJson(description.spares);
    }
    std::string out;
    write(out, document, "");
    return out + '\n';
}
