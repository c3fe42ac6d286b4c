#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"

#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <cstddef>
#include <deque>
#include <iostream>
#include <sstream>
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

/// What a list holds, in its order. The texts take far less than the list, which needn't stay for
/// them.
class SavedList
{
public:
    void append(const ZEL_ParmList &parms)
    {
        for (int i = 0; i < parms.getEntries(); ++i) {
            if (parms.getParmPtr(i)->getInstance()) {
                const std::string token = parms.getParmPtr(i)->getToken();
                put(token);
                put(savedText(parms, token).text);
            }
        }
    }
    std::size_t size() const { return myEnds.size() / 2; }
    std::string getToken(std::size_t i) const { return part(2 * i); }
    Saved getSaved(std::size_t i) const { return {true, part(2 * i + 1)}; }

private:
    void put(const std::string &text)
    {
        myTexts.insert(myTexts.end(), text.begin(), text.end());
        myEnds.push_back(myTexts.size());
    }
    std::string part(std::size_t i) const
    {
        const auto end = myTexts.begin() + std::ptrdiff_t(myEnds[i]);
        return {i == 0 ? myTexts.begin() : myTexts.begin() + std::ptrdiff_t(myEnds[i - 1]), end};
    }

    // Deques, which don't hold everything twice while they grow.
    std::deque<char> myTexts;
    std::deque<std::size_t> myEnds;
};

/// What the right list alone has. Most lists differ in values only.
std::vector<std::string> newTokens(const SavedList &left, const ZEL_ParmList &right)
{
    std::vector<std::string> tokens;
    std::unordered_set<std::string> known;
    std::size_t place = 0;
    for (int i = 0; i < right.getEntries(); ++i) {
        const char *const token = right.getParmPtr(i)->getToken();
        if (!right.getParmPtr(i)->getInstance()) {
            continue;
        }
        if (known.empty() && place < left.size() && left.getToken(place) == token) {
            ++place;
            continue;
        }
        for (std::size_t k = 0; known.empty() && k < left.size(); ++k) {
            known.insert(left.getToken(k));
        }
        if (known.count(token) == 0) {
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
    SavedList left;
    bool readLeft = false;
    {
        ZELT_Session session(*script);
        readLeft = ZELTtakeFault(call.left, session.loadValues(call.left), messages);
        left.append(session.getParms());
    }
    ZELT_Session session(*script);
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
    for (std::size_t i = 0; i < left.size(); ++i) {
        const std::string token = left.getToken(i);
        compare(token, left.getSaved(i), savedText(right, token));
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
