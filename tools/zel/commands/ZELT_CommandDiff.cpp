#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <iostream>
#include <sstream>

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

/// Tokens of both lists: the left one's order, then what the right one alone has.
std::vector<std::string> allTokens(const ZEL_ParmList &left, const ZEL_ParmList &right)
{
    std::vector<std::string> tokens;
    for (int i = 0; i < left.getEntries(); ++i) {
        if (left.getParmPtr(i)->getInstance()) {
            tokens.emplace_back(left.getParmPtr(i)->getToken());
        }
    }
    for (int i = 0; i < right.getEntries(); ++i) {
        const char *const token = right.getParmPtr(i)->getToken();
        if (right.getParmPtr(i)->getInstance() && !left.getParmPtr(token)) {
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
    const std::unique_ptr<ZELT_Script> script = ZELT_Script::load(call.file, messages);
    if (!script) {
        return 1;
    }
    ZELT_Session left(*script);
    ZELT_Session right(*script);
    const bool readLeft = ZELTtakeFault(call.left, left.loadValues(call.left), messages);
    const bool readRight = ZELTtakeFault(call.right, right.loadValues(call.right), messages);
    if (!readLeft || !readRight) {
        return 1;
    }
    ZELT_Json differences = ZELT_Json::array();
    bool sameFlag = true;
    for (const std::string &token : allTokens(left.getParms(), right.getParms())) {
        const Saved a = savedText(left.getParms(), token);
        const Saved b = savedText(right.getParms(), token);
        if (a.thereFlag == b.thereFlag && a.text == b.text) {
            continue;
        }
        sameFlag = false;
        if (options.json) {
            differences.push_back(asJson(token, a, b));
        } else {
            printText(token, a, b);
        }
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
