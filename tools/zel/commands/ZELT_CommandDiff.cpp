#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"
#include "ZELT_Stream.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmStream.h>

#include <iostream>

namespace
{

void printText(const ZEL_StreamDifference &difference)
{
    std::cout << difference.token << '\n';
    if (difference.left) {
        std::cout << "  - " << *difference.left << '\n';
    }
    if (difference.right) {
        std::cout << "  + " << *difference.right << '\n';
    }
}

ZELT_Json asJson(const ZEL_StreamDifference &difference)
{
    const auto text = [](const std::optional<std::string> &side) {
        return side ? ZELT_Json(*side) : ZELT_Json();
    };
    ZELT_Json out;
    out["token"] = difference.token;
    out["left"] = text(difference.left);
    out["right"] = text(difference.right);
    return out;
}

/// As the list loads them; that a stream's channels aren't there is nothing to tell.
bool load(ZEL_ParmList &list, const std::string &bytes)
{
    KIT_ErrorManager::Scope reported(BASgetSTID());
    KIT_IStream is(bytes.data(), bytes.size(), KIT_IStream::TEXT);
    is.setBinary(ZELT_Session::streamMode(is) == KIT_IStream::BINARY);
    const bool loaded = list.load(is, nullptr, nullptr);
    KIT_ErrorManager &from = reported.getManager();
    for (int i = 0; i < from.entries(); ++i) {
        const KIT_ErrorManager::Error &error = from.getError(i);
        if (error.category != ZEL_ERROR_CATEGORY || error.code != ZEL_ERR_NO_CHANNEL) {
            constexpr bool copy = true;
            reported.getOuterManager().stealErrors(from, i, i, KIT_ERROR_NONE, copy);
        }
    }
    return loaded;
}

/// The stream with what the script's list has beside it. False if not all of it could be loaded.
bool readWhole(const ZELT_ScriptPtr &script, const std::string &file, ZEL_ParmStream &stream,
               ZELT_Messages &messages)
{
    std::string bytes;
    if (!ZELTreadStreamBytes(file, bytes, messages)) {
        return false;
    }
    ZELT_Session session(script);
    ZEL_ParmList &list = session.getParms();
    const bool loaded = load(list, bytes);
    session.growBlocks(0.0);
    if (!ZELTtakeFault(file, loaded ? "" : "isn't loaded as a whole", messages) ||
        !ZELTparseStream(bytes, file, &list, stream, messages)) {
        return false;
    }
    stream.complete(list);
    return true;
}

struct Call
{
    std::string file;
    std::string left;
    std::string right;
};

int diff(const Call &call, const ZELT_Options &options, ZELT_Messages &messages)
{
    const ZELT_ScriptPtr script = ZELTloadScript(call.file, messages);
    ZEL_ParmStream left, right;
    if (!script) {
        return 1;
    }
    const bool readLeft = readWhole(script, call.left, left, messages);
    if (!readWhole(script, call.right, right, messages) || !readLeft) {
        return 1;
    }
    const auto differences = ZEL_ParmStream::compare(left, right);
    if (options.json) {
        ZELT_Json out = ZELT_Json::array();
        for (const ZEL_StreamDifference &difference : differences) {
            out.push_back(asJson(difference));
        }
        ZELTprintJson(out);
    } else {
        for (const ZEL_StreamDifference &difference : differences) {
            printText(difference);
        }
    }
    return differences.empty() ? 0 : 1;
}

} // namespace

void ZELTaddDiff(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "diff", "Tell the parameters whose saved values differ",
        "zel diff examples/light.ds examples/light.parms examples/light_night.parms", diff);
    command.add_option("FILE", call.file, "A dialog script")->required();
    command.add_option("A", call.left, "A stream in either form; - for standard input")->required();
    command.add_option("B", call.right, "Another one")->required();
}
