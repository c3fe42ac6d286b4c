#include "ZELT_CommandLine.h"
#include "ZELT_Format.h"
#include "ZELT_Json.h"
#include "ZELT_Session.h"
#include "ZELT_Show.h"

#include <NOD/NOD_Description.h>
#include <NOD/NOD_ValueFile.h>

#include <iostream>
#include <vector>

namespace
{

struct Call
{
    std::string file;
};

using Interfaces = std::vector<ZELT_NodeInterface>;

/// Each interface once, and which one a node has.
void printNodesJson(const Interfaces &interfaces)
{
    ZELT_Json json{{"interfaces", ZELT_Json::array()}, {"nodes", ZELT_Json::array()}};
    std::vector<std::size_t> places;
    for (const ZELT_NodeInterface &one : interfaces) {
        const bool freshFlag = one.first == places.size();
        places.push_back(freshFlag ? json["interfaces"].size() : places[one.first]);
        if (freshFlag) {
            json["interfaces"].push_back(
                ZELT_Json::parse(NODdescriptionJson(NODdescribe(*one.script))));
        }
        ZELT_Json node{{"path", one.path}, {"interface", places.back()}};
        if (!one.spares.empty()) {
            NOD_Description described;
            described.spares = one.spares;
            node["spares"] = ZELT_Json::parse(NODdescriptionJson(described))["spares"];
        }
        json["nodes"].push_back(std::move(node));
    }
    ZELTprintJson(json);
}

void printNodes(const Interfaces &interfaces)
{
    for (std::size_t i = 0; i < interfaces.size(); ++i) {
        const ZELT_NodeInterface &one = interfaces[i];
        std::cout << "node " << ZELTprintable(one.path);
        if (one.first == i) {
            std::cout << '\n' << ZELTdescribeTree(NODdescribe(*one.script));
        } else {
            std::cout << ", as " << ZELTprintable(interfaces[one.first].path) << '\n';
        }
        std::cout << ZELTdescribeSpares(one.spares);
    }
}

int show(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const Interfaces interfaces = ZELT_Session::openInterfaces(call.file, messages);
    // What a program gets depends on the call, and not on how many nodes a file has.
    const bool nodesFlag = !interfaces.empty() && !interfaces[0].path.empty() &&
                           NOD_ValueFile::findSection(call.file) == std::string::npos;
    if (nodesFlag) {
        options.json ? printNodesJson(interfaces) : printNodes(interfaces);
    } else if (!interfaces.empty()) {
        NOD_Description description = NODdescribe(*interfaces[0].script);
        description.spares = interfaces[0].spares;
        std::cout << (options.json ? NODdescriptionJson(description)
                                   : ZELTdescribeTree(description));
    }
    return interfaces.empty() ? 1 : 0;
}

} // namespace

void ZELTaddShow(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add("show", "Show the interface that a script describes",
                                          "zel show --json examples/light.ds", show);
    command.addOption("FILE", call.file, "A dialog script, or a node or scene file").required();
    line.addOutput(command);
}
