#include <NOD/NOD_Merge.h>

#include <NOD/difference/NOD_RecordJsonPrivate.h>

#include <string>

namespace
{

using Json = nlohmann::ordered_json;

// Stored.
constexpr const char *theFormat = "zel merge";
constexpr int theVersion = 1;

/// Null if it isn't there.
Json sideJson(const NOD_ConflictSide &side)
{
    if (!side.isThere()) {
        return nullptr;
    }
    Json out;
    out["path"] = NODjsonOf(side.path);
    out["text"] = NODjsonOf(side.asText());
    for (const auto &record : side.records) {
        out["records"].push_back(NODjsonOf(*record));
    }
    return out;
}

Json conflictJson(const NOD_Conflict &conflict)
{
    Json out;
    out["kind"] = NOD_Conflict::getKindName(conflict.kind);
    out["address"] = NODjsonOf(NODpathText(conflict.path));
    out["path"] = NODjsonOf(conflict.path);
    out["standing"] = NODmergeSideName(conflict.standing);
    out["decided"] = conflict.isDecided;
    out["base"] = sideJson(conflict.base);
    out["ours"] = sideJson(conflict.ours);
    out["theirs"] = sideJson(conflict.theirs);
    return out;
}

} // namespace

std::string NOD_Merge::toJson() const
{
    std::string text = "{\"format\":" + Json(theFormat).dump() +
                       ",\"version\":" + std::to_string(theVersion) + ",\"conflicts\":[";
    const char *between = "\n  ";
    for (const NOD_Conflict &conflict : myConflicts) {
        text += between + conflictJson(conflict).dump();
        between = ",\n  ";
    }
    return text + "]}\n";
}
