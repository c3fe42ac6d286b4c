#include "ZELT_CommandLine.h"
#include "ZELT_File.h"
#include "ZELT_Messages.h"
#include "ZELT_Session.h"

#include <NOD/NOD_Report.h>
#include <NOD/NOD_ValueFile.h>

#include <optional>
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

/// None: that of the file that was opened.
std::optional<NOD_SaveOptions::Form> sceneForm(const Call &call)
{
    return call.form.empty()       ? std::optional<NOD_SaveOptions::Form>()
           : call.form == "binary" ? NOD_SaveOptions::Form::BINARY
                                   : NOD_SaveOptions::Form::TEXT;
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
    const std::size_t section = NOD_ValueFile::findSection(node.file);
    const std::string file = node.file.substr(0, section);
    const NOD_FileKind kind = NOD_ValueFile::kindOf(file);
    const bool sceneFlag = kind == NOD_FileKind::SCENE && call.form != "node" &&
                           (call.form.empty() || (section == std::string::npos &&
                                                  (call.form == "text" || call.form == "binary")));
    if (!sceneFlag && !session->isOneNode(messages)) {
        return 1;
    }
    std::ostringstream os;
    NOD_Report report;
    Form form =
        kind == NOD_FileKind::NODE ? Form::NODE : session->getInputForm().value_or(Form::TEXT);
    NOD_ValueFile::findForm(call.form, form);
    if (!NOD_ValueFile::checkCarried(session->getNode(), sceneFlag ? Form::NODE : form,
                                     session->getLosses(sceneFlag || form == Form::NODE),
                                     ZELTlossRule(call.allowLoss), report)) {
        messages.add(report);
        return 1;
    }
    const bool saved = sceneFlag ? session->saveScene(os, call.out, sceneForm(call), report)
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
    command.addOption("IN", call.input, "Values, as for --values; a scene or node needs none");
    command.addOption("-o,--out", call.out, "The file to write; - for standard output").required();
    ZELTaddForm(command, call.form);
    ZELTaddAllowLoss(command, call.allowLoss, "Write also what isn't all that the files have");
}
