#include "ZELT_Session.h"

#include "ZELT_File.h"
#include "ZELT_Messages.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_OpUtils.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_SceneFile.h>
#include <NOD/NOD_ScriptCheck.h>
#include <NOD/NOD_TextEdit.h>
#include <NOD/NOD_TimeText.h>
#include <NOD/NOD_UndoStack.h>
#include <NOD/NOD_ValueFile.h>
#include <SNK/SNK_Python.h>
#include <TOK/TOK_TokenStream.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace
{

void appendNodes(NOD_Node &node, std::vector<NOD_Node *> &out)
{
    if (node.getParms().getEntries() > 0) {
        out.push_back(&node);
    }
    for (const auto &child : node.getChildren()) {
        appendNodes(*child, out);
    }
}

bool loadFile(NOD_Scene &scene, const std::string &file, NOD_FileKind kind, NOD_Report &report)
{
    return kind == NOD_FileKind::SCENE ? NOD_SceneFile::load(scene, file, ZELTloadOptions(), report)
                                       : NOD_NodeFile::load(scene, scene.getRoot(), file,
                                                            ZELTloadOptions(), report) != nullptr;
}

bool loadBytes(NOD_Scene &scene, const std::string &bytes, NOD_FileKind kind, NOD_Report &report)
{
    constexpr const char *theName = "standard input";
    std::istringstream is(bytes);
    return kind == NOD_FileKind::SCENE
               ? NOD_SceneFile::load(scene, is, theName, ZELTloadOptions(), report)
               : NOD_NodeFile::load(scene, scene.getRoot(), is, theName, ZELTloadOptions(),
                                    report) != nullptr;
}

/// The first error, "" for none.
std::string faultOf(const NOD_Report &report)
{
    for (const NOD_Message &message : report.getMessages()) {
        if (message.severity >= KIT_ERROR_ABORT) {
            return (message.subject.empty() ? "" : message.subject + ": ") + message.text;
        }
    }
    return "";
}

} // namespace

/// What a command line names: what it is, and its bytes if they came from standard input.
struct ZELT_Session::Source
{
    NOD_FileKind kind = NOD_FileKind::NONE;
    std::string bytes;

    bool hasNodes() const { return kind == NOD_FileKind::SCENE || kind == NOD_FileKind::NODE; }
};

bool ZELT_Session::readSource(const std::string &file, Source &source, ZELT_Messages &messages)
{
    const std::string path = file.substr(0, NOD_ValueFile::findSection(file));
    if (path != "-") {
        source.kind = NOD_ValueFile::kindOf(path);
        return true;
    }
    const bool readFlag = ZELTreadBytes(path, source.bytes, messages);
    source.kind = NOD_ValueFile::kindOf(std::string_view(source.bytes));
    return readFlag;
}

ZELT_ScriptPtr ZELT_Session::loadScript(const std::string &file, const Source &source,
                                        ZELT_Messages &messages, NOD_Report *mistakes)
{
    if (source.kind != NOD_FileKind::NONE && source.kind != NOD_FileKind::SCRIPT) {
        messages.error(file, std::string("is ") + NOD_ValueFile::getKindName(source.kind) +
                                 ", which has no nodes");
        return nullptr;
    }
    if (file == "-") {
        return mistakes ? NODcheckScript(source.bytes, file, *mistakes)
                        : ZELTloadScriptText(source.bytes, file, messages);
    }
    return mistakes ? NODcheckScriptFile(file, *mistakes) : ZELTloadScript(file, messages);
}

ZELT_Session::ZELT_Session(ZELT_ScriptPtr script)
{
    addNode(std::move(script));
}

ZELT_Session::~ZELT_Session() = default;

void ZELT_Session::addNode(ZELT_ScriptPtr script)
{
    NOD_Report report;
    myNode = ZELTaddBareNode(myScene, script->getTypeName(), script, report);
    growBlocks(0.0);
    myScene.getUndo().clear();
}

std::unique_ptr<ZELT_Session> ZELT_Session::open(const std::string &file, ZELT_Messages &messages)
{
    Source source;
    std::unique_ptr<ZELT_Session> session;
    if (!readSource(file, source, messages)) {
        return nullptr;
    }
    if (source.hasNodes()) {
        session.reset(new ZELT_Session);
        if (!session->openNodes(file, source, messages, nullptr)) {
            session.reset();
        }
    } else if (ZELT_ScriptPtr script = loadScript(file, source, messages, nullptr)) {
        session = std::make_unique<ZELT_Session>(std::move(script));
    }
    return session;
}

std::vector<ZELT_NodeInterface> ZELT_Session::openInterfaces(const std::string &file,
                                                             ZELT_Messages &messages,
                                                             NOD_Report *mistakes,
                                                             std::string *unread)
{
    Source source;
    std::vector<ZELT_NodeInterface> all;
    if (!readSource(file, source, messages)) {
        return all;
    }
    if (!source.hasNodes()) {
        if (ZELT_ScriptPtr script = loadScript(file, source, messages, mistakes)) {
            all.push_back({file, "", std::move(script), 0});
        } else if (unread && source.kind == NOD_FileKind::SCRIPT) {
            NOD_Report told; // with the mistakes
            *unread = std::move(source.bytes);
            static_cast<void>(file == "-" || ZELTreadBytes(file, *unread, told, ZELTcanBeText));
        }
        return all;
    }
    ZELT_Session session;
    if (session.openNodes(file, source, messages, mistakes)) {
        Firsts firsts;
        session.addInterfaces(session.getNode(), firsts, all);
        if (all.empty()) {
            messages.error(file, session.getNode().getParent() ? "the node has no interface"
                                                               : "no node has an interface");
        }
    }
    return all;
}

/// Of the node alone, or of all in the scene.
void ZELT_Session::addInterfaces(const NOD_Node &node, Firsts &firsts,
                                 std::vector<ZELT_NodeInterface> &all) const
{
    if (const ZELT_ScriptPtr script = node.getInterface()) {
        KIT_WorkBuffer buffer;
        const std::string path = node.getFullPath(buffer);
        const std::size_t first = firsts.emplace(script.get(), all.size()).first->second;
        all.push_back({myFile + (myNode->getParent() ? "" : "?" + path), path, script, first,
                       NODdescribeSpares(node)});
    }
    if (!myNode->getParent()) {
        for (const auto &child : node.getChildren()) {
            addInterfaces(*child, firsts, all);
        }
    }
}

bool ZELT_Session::openNodes(const std::string &file, const Source &source, ZELT_Messages &messages,
                             NOD_Report *mistakes)
{
    const std::size_t mark = NOD_ValueFile::findSection(file);
    myFile = file.substr(0, mark);
    NOD_Report report;
    const bool loaded = source.bytes.empty()
                            ? loadFile(myScene, myFile, source.kind, report)
                            : loadBytes(myScene, source.bytes, source.kind, report);
    if (mistakes) {
        mistakes->append(report);
    } else {
        messages.add(report);
    }
    if (!loaded || report.hasErrors()) {
        return false;
    }
    addLosses(NODfindComments(source.bytes, myFile));
    myScene.getUndo().clear();
    myNode = &myScene.getRoot();
    const std::vector<NOD_Node *> nodes = getNodes();
    if (mark != std::string::npos) {
        const std::string path = KIT_OpUtils::decodeBytes(file.substr(mark + 1));
        myNode = myScene.find(path.c_str());
        if (!myNode) {
            messages.error(myFile, "there is no node " + path);
        }
    } else if (nodes.size() == 1) {
        myNode = nodes[0];
    }
    return myNode != nullptr;
}

std::unique_ptr<ZELT_Session> ZELT_Session::open(const ZELT_NodeCall &call, ZELT_Messages &messages)
{
    std::unique_ptr<ZELT_Session> session = open(call.file, messages);
    if (!session) {
        return nullptr;
    }
    session->myScene.makeCurrent();
    if (call.framesPerSecond && !session->myScene.setFrameRate(*call.framesPerSecond)) {
        messages.error("", "--fps isn't above 0");
        return nullptr;
    }
    if (!NODreadTime(call.time, session->myTime)) {
        messages.wordError(call.time,
                           "--time " + call.time + " is no time: seconds, or a frame such as 12f");
        return nullptr;
    }
    if (!ZELTapplyInputs(*session, call.inputs, session->myTime, messages)) {
        return nullptr;
    }
    session->myScene.getUndo().clear();
    return session;
}

std::vector<NOD_Node *> ZELT_Session::getNodes()
{
    std::vector<NOD_Node *> nodes;
    if (myNode->getParent()) {
        nodes.push_back(myNode);
    } else {
        appendNodes(*myNode, nodes);
    }
    return nodes;
}

void ZELT_Session::addLosses(const std::vector<NOD_FileLoss> &losses)
{
    myLosses.insert(myLosses.end(), losses.begin(), losses.end());
}

std::vector<NOD_FileLoss> ZELT_Session::getLosses(bool wholeFileFlag) const
{
    std::vector<NOD_FileLoss> losses;
    if (!myFile.empty() && myFile != "-") {
        // Only now: most commands don't ask.
        const KIT_IFStream is(myFile.c_str());
        KIT_WorkBuffer path;
        losses = NODfindComments(std::string(is.rest()), myFile,
                                 wholeFileFlag ? "" : myNode->getFullPath(path));
    }
    losses.insert(losses.end(), myLosses.begin(), myLosses.end());
    return losses;
}

std::vector<NOD_FileLoss> ZELT_Session::getLossesOf(const std::string &file) const
{
    std::error_code ignored;
    std::vector<NOD_FileLoss> found;
    for (const NOD_FileLoss &loss : getLosses()) {
        if (loss.file == file || std::filesystem::equivalent(loss.file, file, ignored)) {
            found.push_back(loss);
        }
    }
    return found;
}

void ZELT_Session::noteInput(const NOD_ValueFile &file)
{
    myInputForm = myInputForm ? *myInputForm : file.getForm();
}

bool ZELT_Session::saveScene(std::ostream &os, const std::string &out,
                             std::optional<NOD_SaveOptions::Form> form, NOD_Report &report)
{
    NOD_SaveOptions options;
    options.folder = ZELTfolderOf(out);
    options.form = form                                  ? *form
                   : NOD_ValueFile::isBinaryFile(myFile) ? NOD_SaveOptions::Form::BINARY
                                                         : NOD_SaveOptions::Form::TEXT;
    return NOD_SceneFile::save(myScene, os, options, report);
}

bool ZELT_Session::isOneNode(ZELT_Messages &messages) const
{
    if (!myNode->getParent()) {
        messages.error(myFile, "has several nodes: say which as " + myFile + "?/PATH");
    }
    return myNode->getParent();
}

void ZELT_Session::growBlocks(double time)
{
    for (NOD_Node *const node : getNodes()) {
        NODgrowBlocks(*node, time);
    }
}

std::string ZELT_Session::resolve(const std::string &text, ZELT_Address &address)
{
    NOD_Report report;
    const std::vector<NOD_Place> places = NODfindPlaces(*myNode, text, report);
    if (places.size() != 1) {
        return places.empty() ? faultOf(report) : text + " names several parameters";
    }
    address = {places[0].find(), places[0].first, places[0].end};
    return "";
}

bool ZELTtakeFault(const std::string &file, const std::string &fault, ZELT_Messages &messages)
{
    const int before = messages.getErrorCount();
    messages.takeErrors(file);
    // What the library has reported needs no second message.
    if (!fault.empty() && messages.getErrorCount() == before) {
        messages.error(file, fault);
    }
    return messages.getErrorCount() == before;
}

namespace
{

/// What an operation reported; false if there was an error.
bool take(NOD_Report &report, ZELT_Messages &messages)
{
    const int before = messages.getErrorCount();
    messages.takeErrors("");
    // What the library has reported needs no second message.
    if (messages.getErrorCount() == before) {
        messages.add(report);
    }
    report.clear();
    return messages.getErrorCount() == before;
}

bool applyFiles(ZELT_Session &session, const ZELT_Inputs &inputs, bool &channelsFlag,
                ZELT_Messages &messages)
{
    std::vector<std::string> paths = inputs.values;
    if (!inputs.channels.empty()) {
        paths.push_back(inputs.channels);
    }
    bool good = paths.empty() || session.isOneNode(messages);
    std::vector<NOD_ValueFile> files;
    NOD_Report report;
    for (const std::string &path : paths) {
        NOD_ValueFile file;
        good = good && ZELTreadValues(file, path, report);
        session.noteInput(file);
        channelsFlag = channelsFlag || file.getKind() == NOD_FileKind::CHANNELS;
        files.push_back(std::move(file));
    }
    std::vector<NOD_FileLoss> losses;
    good = good && NOD_ValueFile::applyAll(files, session.getNode(), losses, report);
    session.addLosses(losses);
    good = take(report, messages) && good;
    session.growBlocks(0.0);
    return good;
}

} // namespace

NOD_Node *ZELTaddBareNode(NOD_Scene &scene, const std::string &name, const ZELT_ScriptPtr &script,
                          NOD_Report &report)
{
    ZEL_ParmList::beginLoading();
    NOD_Node *const node =
        scene.add("/" + (NOD_Node::isValidName(name) ? name : "node"), script, report);
    ZEL_ParmList::endLoading();
    return node;
}

bool ZELTreadValues(NOD_ValueFile &file, const std::string &path, NOD_Report &report)
{
    if (path != "-") {
        return file.read(path, report);
    }
    std::string bytes;
    return ZELTreadInput(bytes, report) && file.read(std::move(bytes), "standard input", report);
}

NOD_LoadOptions ZELTloadOptions()
{
    NOD_LoadOptions options;
    options.scripts = TOK_TokenStream::areAllIncludesConfined()
                          ? NOD_LoadOptions::Scripts::IN_FOLDER
                          : NOD_LoadOptions::Scripts::ANYWHERE;
    return options;
}

bool ZELTapplyInputs(ZELT_Session &session, const ZELT_Inputs &inputs, double time,
                     ZELT_Messages &messages)
{
    const ZEL_InputBudget budget(std::int64_t(inputs.sets.size() + inputs.expressions.size()));
    NOD_Report report;
    bool good = take(report, messages); // what making the parameters reported
    bool channelsFlag = false;
    good = applyFiles(session, inputs, channelsFlag, messages) && good;
    NOD_TextEdit edit(session.getNode(), time, report);
    for (const std::string &option : inputs.sets) {
        edit.assign(option);
        good = take(report, messages) && good;
    }
    for (const std::string &option : inputs.expressions) {
        edit.assignExpression(option);
        good = take(report, messages) && good;
    }
    for (const std::string &option : inputs.keys) {
        edit.assignKey(option);
        good = take(report, messages) && good;
    }
    session.growBlocks(time);
    if (channelsFlag && good) {
        for (const std::string &name : NOD_ValueFile::findStrayChannels(session.getNode())) {
            report.warning("", "no parameter has the channel " + name);
        }
    }
    return take(report, messages) && good;
}

std::string ZELTevaluationError(int error)
{
    std::string text = EVL::getErrorText(error);
    std::string reason = error == EVL::EVL_PYTHON ? SNKgetExpressionError() : "";
    while (!reason.empty() && reason.back() == '\n') {
        reason.pop_back();
    }
    if (!reason.empty()) {
        text += ": " + reason.substr(reason.rfind('\n') + 1);
    }
    return text;
}
