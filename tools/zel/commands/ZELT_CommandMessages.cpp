#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"

#include <NOD/NOD_MessagePage.h>

#include <iostream>

namespace
{

struct Call
{
    std::vector<std::string> codes;
    bool list = false;
    bool page = false;
};

ZELT_Json asJson(const NOD_MessageHelp &help)
{
    ZELT_Json json;
    json["code"] = help.code;
    json["severity"] = help.severity;
    json["sentence"] = help.sentence;
    json["cause"] = help.cause;
    json["remedy"] = help.remedy;
    json["example"] = help.example;
    return json;
}

/// A category and the number after it are one code, as messages print it.
std::vector<std::string> joined(const std::vector<std::string> &words)
{
    std::vector<std::string> codes;
    for (const std::string &word : words) {
        const bool numberFlag =
            !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
        if (numberFlag && !codes.empty() &&
            codes.back().find_first_of("0123456789") == std::string::npos) {
            codes.back() += " " + word;
        } else {
            codes.push_back(word);
        }
    }
    return codes;
}

int print(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    if (call.page && options.json) {
        ZELTprintJson({{"page", NODmessagePage()}});
        return 0;
    }
    if (call.page) {
        std::cout << NODmessagePage();
        return 0;
    }
    std::vector<NOD_MessageHelp> found;
    bool good = true;
    for (const std::string &code : joined(call.codes)) {
        const std::vector<NOD_MessageHelp> some = NODfindMessages(code);
        if (some.empty()) {
            messages.error("", "there is no code " + code);
            good = false;
        }
        found.insert(found.end(), some.begin(), some.end());
    }
    if (call.list) {
        found = NODfindMessages("");
    }
    ZELT_Json all = ZELT_Json::array();
    for (const NOD_MessageHelp &help : found) {
        if (options.json) {
            all.push_back(asJson(help));
        } else {
            std::cout << (call.list ? help.code + "  " + help.sentence + "\n"
                                    : NODmessageText(help));
        }
    }
    if (options.json) {
        ZELTprintJson(all);
    }
    return good ? 0 : 1;
}

} // namespace

void ZELTaddMessages(ZELT_CommandLine &line)
{
    const auto [command, call] =
        line.add("messages", "Explain the codes of messages", "zel messages DS24 Z101", print);
    const ZELT_Option codes = command.addOption(
        "CODE", call.codes, "As messages end: DS24, \"ZEL 5\", Z101; or a category");
    const ZELT_Option list = command.addFlag("--list", call.list, "All of them, a line each");
    const ZELT_Option page = command.addFlag(
        "--page", call.page, "All of them as a page of Markdown, which is docs/messages.md");
    codes.excludes(list).excludes(page);
    list.excludes(page);
    command.needsOne("CODE", {codes, list, page});
}
