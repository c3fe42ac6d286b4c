#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Report.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_ValueFile.h>

#include <fstream>
#include <sstream>

namespace
{

using Form = NOD_ValueFile::Form;

struct Call
{
    ZELT_NodeCall node;
    std::string input; ///< values, before those of --values; "" for none
    std::string out;
    std::string form; ///< "": that of the input
    bool allowLoss = false;
};

/// What binary files of this library have and texts don't; false for one that can't be read.
bool isBinary(const std::string &path)
{
    char start[16] = {};
    std::ifstream is(path, std::ios::binary);
    is.read(start, sizeof(start));
    return std::string(start, std::size_t(is.gcount())).find('\0') != std::string::npos;
}

/// Once more the file that was opened, in its form unless another is asked for.
bool saveScene(ZELT_Session &session, const Call &call, const std::string &file, std::ostream &os,
               NOD_Report &report)
{
    NOD_SaveOptions options;
    options.folder = ZELTfolderOf(call.out);
    options.form = call.form == "binary" || (call.form.empty() && isBinary(file))
                       ? NOD_SaveOptions::Form::BINARY
                       : NOD_SaveOptions::Form::TEXT;
    return NOD_SceneFile::save(session.getScene(), os, options, report);
}

int set(const Call &call, const ZELT_Options &, ZELT_Messages &messages)
{
    ZELT_NodeCall node = call.node;
    if (!call.input.empty()) {
        node.inputs.values.insert(node.inputs.values.begin(), call.input);
    }
    const std::unique_ptr<ZELT_Session> session = ZELT_Session::open(node, messages);
    if (!session) {
        return 1;
    }
    const std::string file = node.file.substr(0, node.file.find('?'));
    const NOD_FileKind kind = NOD_ValueFile::kindOf(file);
    const bool sceneFlag = kind == NOD_FileKind::SCENE && call.form != "node" &&
                           (call.form.empty() || (node.file.find('?') == std::string::npos &&
                                                  (call.form == "text" || call.form == "binary")));
    if (!sceneFlag && !session->isOneNode(messages)) {
        return 1;
    }
    std::ostringstream os;
    NOD_Report report;
    Form form =
        kind == NOD_FileKind::NODE ? Form::NODE : session->getInputForm().value_or(Form::TEXT);
    NOD_ValueFile::findForm(call.form, form);
    if (!call.allowLoss &&
        !NOD_ValueFile::checkCarried(session->getNode(), sceneFlag ? Form::NODE : form,
                                     session->getPartlyLoaded(), report)) {
        messages.add(report);
        return 1;
    }
    const bool saved = sceneFlag ? saveScene(*session, call, file, os, report)
                                 : NOD_ValueFile::save(session->getScene(), session->getNode(),
                                                       form, os, ZELTfolderOf(call.out), report);
    messages.add(report);
    messages.takeErrors(call.out);
    if (!saved || report.hasErrors() || messages.hasErrors()) {
        return 1;
    }
    return ZELTwriteFile(call.out, os.str(), messages) ? 0 : 1;
}

} // namespace

void ZELTaddSet(ZELT_CommandLine &line)
{
    const auto [command, call] = line.add(
        "set", "Change values, and write them as the file that they came from",
        "zel set examples/light.ds examples/light.parms --set light_intensity=2 -o -", set);
    ZELTaddNode(command, call.node);
    command.add_option("IN", call.input, "Values, as for --values; a scene or node needs none");
    command.add_option("-o,--out", call.out, "The file to write; - for standard output")
        ->required();
    command.add_option("--as", call.form, "text, binary, compact, channels or node")
        ->check(CLI::IsMember({"text", "binary", "compact", "channels", "node"}));
    command.add_flag("--allow-loss", call.allowLoss,
                     "Write also where a file has values that the node doesn't take");
}
