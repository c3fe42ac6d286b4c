#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <sstream>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace
{

/// What a stream holds of the parameter: `[ 0 locks=0 ] ( 1 2 3 )`; null for none.
struct Saved
{
    bool thereFlag = false;
    std::string text;
};

Saved savedText(const ZEL_ParmList &parms, const std::string &token)
{
    Saved saved;
    const ZEL_Parm *const parm = parms.getParmPtr(token.c_str());
    if (!parm) {
        return saved;
    }
    constexpr int text = 0;
    constexpr bool compiled = false;
    std::ostringstream os;
    parm->save(os, text, compiled);
    saved.thereFlag = true;
    saved.text = os.str();
    // Tabs separate fields only: texts hold them as \t.
    std::replace_if(
        saved.text.begin(), saved.text.end(), [](char c) { return c == '\t' || c == '\n'; }, ' ');
    saved.text.erase(saved.text.find_last_not_of(' ') + 1);
    saved.text.erase(0, std::min(saved.text.find_first_not_of(' '), saved.text.size()));
    return saved;
}

struct Entry
{
    std::string token;
    std::string text;
};

/// What a list holds, in its order. The texts take less than the list, which needn't stay for them.
std::vector<Entry> allEntries(const ZEL_ParmList &parms)
{
    std::vector<Entry> entries;
    entries.reserve(std::size_t(parms.getEntries()));
    for (int i = 0; i < parms.getEntries(); ++i) {
        if (parms.getParmPtr(i)->getInstance()) {
            const std::string token = parms.getParmPtr(i)->getToken();
            entries.push_back({token, savedText(parms, token).text});
        }
    }
    return entries;
}

/// What the right list alone has.
std::vector<std::string> newTokens(const std::vector<Entry> &left, const ZEL_ParmList &right)
{
    std::unordered_set<std::string_view> known;
    for (const Entry &entry : left) {
        known.insert(entry.token);
    }
    std::vector<std::string> tokens;
    for (int i = 0; i < right.getEntries(); ++i) {
        const char *const token = right.getParmPtr(i)->getToken();
        if (right.getParmPtr(i)->getInstance() && known.count(token) == 0) {
            tokens.emplace_back(token);
        }
    }
    return tokens;
}

void printText(const std::string &token, const Saved &left, const Saved &right)
{
    std::cout << token << '\n';
    if (left.thereFlag) {
        std::cout << "  - " << left.text << '\n';
    }
    if (right.thereFlag) {
        std::cout << "  + " << right.text << '\n';
    }
}

ZELT_Json asJson(const std::string &token, const Saved &left, const Saved &right)
{
    ZELT_Json out;
    out["token"] = token;
    out["left"] = left.thereFlag ? ZELT_Json(left.text) : ZELT_Json();
    out["right"] = right.thereFlag ? ZELT_Json(right.text) : ZELT_Json();
    return out;
}

struct Call
{
    std::string file;
    std::string left;
    std::string right;
};

int diff(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    ZELT_ScriptPtr script = ZELTloadScript(call.file, messages);
    if (!script) {
        return 1;
    }
    std::vector<Entry> left;
    bool readLeft = false;
    {
        ZELT_Session session(script);
        readLeft = ZELTtakeFault(call.left, session.loadValues(call.left), messages);
        left = allEntries(session.getParms());
    }
    ZELT_Session session(script);
    const ZEL_ParmList &right = session.getParms();
    const bool readRight = ZELTtakeFault(call.right, session.loadValues(call.right), messages);
    if (!readLeft || !readRight) {
        return 1;
    }
    ZELT_Json differences = ZELT_Json::array();
    bool sameFlag = true;
    const auto compare = [&](const std::string &token, const Saved &a, const Saved &b) {
        if (a.thereFlag == b.thereFlag && a.text == b.text) {
            return;
        }
        sameFlag = false;
        if (options.json) {
            differences.push_back(asJson(token, a, b));
        } else {
            printText(token, a, b);
        }
    };
    for (const Entry &entry : left) {
        compare(entry.token, {true, entry.text}, savedText(right, entry.token));
    }
    for (const std::string &token : newTokens(left, right)) {
        compare(token, {}, savedText(right, token));
    }
    if (options.json) {
        ZELTprintJson(differences);
    }
    return sameFlag ? 0 : 1;
}

} // namespace

void ZELTaddDiff(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "diff", "Tell the parameters whose saved values differ",
        "zel diff examples/light.ds examples/light.parms examples/light_night.parms", diff);
    command.add_option("FILE", call.file, "A dialog script")->required();
    command.add_option("A", call.left, "A stream in either form")->required();
    command.add_option("B", call.right, "Another one")->required();
}
