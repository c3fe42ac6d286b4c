#include "ZELT_CommandLine.h"
#include "ZELT_Json.h"
#include "ZELT_Messages.h"
#include "ZELT_Script.h"
#include "ZELT_Session.h"
#include "ZELT_Stream.h"

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IStream.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ParmStream.h>

#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <vector>

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
    is.setBinary(NOD_ValueFile::isBinary(bytes));
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

/// What a file has: the entries of a stream; channels and aliases as `channel NAME`, `alias CHANNEL`.
struct Side
{
    ZEL_ParmStream stream;
    std::map<std::string, std::string> named;
};

/// A channel in one line, as a file of channels has it.
std::string channelText(const TRK_Channel &channel)
{
    TRK_Collection alone;
    alone.addChannel(channel.getName())->copyContents(channel);
    std::ostringstream os;
    alone.save(os);
    std::istringstream words(os.str());
    std::string text;
    for (std::string word; words >> word;) {
        (text += text.empty() ? "" : " ") += word;
    }
    const std::size_t start = text.find("{ ", text.find("{ ") + 1);
    const std::size_t end = text.rfind(" } }");
    return start < end && end != std::string::npos ? text.substr(start + 2, end - start - 2) : text;
}

/// A channel file, a preset, or a node: given to a node of the script.
bool readOther(const ZELT_ScriptPtr &script, const std::string &name, const NOD_ValueFile &file,
               NOD_Report &report, Side &side, ZELT_Messages &messages)
{
    ZELT_Session session(script);
    file.apply(session.getNode(), report);
    session.growBlocks(0.0);
    messages.add(report);
    std::ostringstream os;
    constexpr bool binary = false, compact = false;
    session.getParms().save(os, binary, compact);
    if (report.hasErrors() || !ZELTtakeFault(name, "", messages) ||
        !ZELTparseStream(os.str(), name, &session.getParms(), side.stream, messages)) {
        return false;
    }
    side.stream.complete(session.getParms());
    const TRK_Collection &channels = session.getNode().getChannels();
    for (int i = 0; const TRK_Channel *const channel = channels.getChannel(i); ++i) {
        side.named[std::string("channel ") + channel->getName().nonNullStr()] =
            channelText(*channel);
    }
    const ZEL_ParmList &parms = session.getParms();
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            const std::string token = parm.getChannelToken(k).nonNullStr();
            const std::string alias = parm.getChannelAlias(k).nonNullStr();
            if (alias != token) {
                side.named["alias " + token] = alias;
            }
        }
    }
    return true;
}

/// The stream with what the script's list has beside it. False if not all of it could be loaded.
bool readStream(const ZELT_ScriptPtr &script, const std::string &file, const std::string &bytes,
                ZEL_ParmStream &stream, ZELT_Messages &messages)
{
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

bool readSide(const ZELT_ScriptPtr &script, const std::string &file, Side &side,
              ZELT_Messages &messages)
{
    NOD_Report report;
    NOD_ValueFile values;
    std::string bytes;
    const NOD_FileKind kind = file == "-" ? NOD_FileKind::NONE : NOD_ValueFile::kindOf(file);
    const bool isOther = kind == NOD_FileKind::NONE ? file.find('?') != std::string::npos
                                                    : kind > NOD_FileKind::STREAM;
    if (!isOther && !ZELTreadStreamBytes(file, bytes, messages)) {
        return false;
    }
    if (!isOther && NOD_ValueFile::kindOf(std::string_view(bytes)) <= NOD_FileKind::STREAM) {
        return readStream(script, file, bytes, side.stream, messages);
    }
    if (!(isOther ? values.read(file, report) : values.read(bytes, "standard input", report))) {
        messages.add(report);
        return false;
    }
    return readOther(script, file, values, report, side, messages);
}

std::vector<ZEL_StreamDifference> compare(const Side &left, const Side &right)
{
    auto differences = ZEL_ParmStream::compare(left.stream, right.stream);
    std::set<std::string> names;
    for (const Side *side : {&left, &right}) {
        for (const auto &[name, text] : side->named) {
            names.insert(name);
        }
    }
    const auto find = [](const Side &side, const std::string &name) {
        const auto found = side.named.find(name);
        return found == side.named.end() ? std::optional<std::string>() : found->second;
    };
    for (const std::string &name : names) {
        if (find(left, name) != find(right, name)) {
            differences.push_back({name, find(left, name), find(right, name)});
        }
    }
    return differences;
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
    Side left, right;
    if (!script) {
        return 1;
    }
    const bool readLeft = readSide(script, call.left, left, messages);
    if (!readSide(script, call.right, right, messages) || !readLeft) {
        return 1;
    }
    const auto differences = compare(left, right);
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
        "diff", "Tell the parameters and channels whose saved values differ",
        "zel diff examples/light.ds examples/light.parms examples/light_night.parms", diff);
    command.addOption("FILE", call.file, "A dialog script").required();
    command
        .addOption("A", call.left,
                   "A stream, channel file, preset, or node or scene file; - for standard input")
        .required();
    command.addOption("B", call.right, "Another one").required();
    line.addOutput(command);
}
