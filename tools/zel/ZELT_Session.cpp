#include "ZELT_Session.h"

#include "ZELT_Messages.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_ErrorManager.h>
#include <KIT/KIT_IFStream.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_SceneFile.h>
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
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <system_error>

namespace
{

std::string unreadable()
{
    return "can't be read: " + KITsystemReason();
}

constexpr const char *theNotWhole = "isn't loaded as a whole";

/// A new node gets no presets: what a command prints depends on its arguments only.
struct WithoutPresets
{
    WithoutPresets() { ZEL_ParmList::beginLoading(); }
    ~WithoutPresets() { ZEL_ParmList::endLoading(); }
    WithoutPresets(const WithoutPresets &) = delete;
    WithoutPresets &operator=(const WithoutPresets &) = delete;
};

void appendNodes(NOD_Node &node, std::vector<NOD_Node *> &out)
{
    if (node.getParms().getEntries() > 0) {
        out.push_back(&node);
    }
    for (const auto &child : node.getChildren()) {
        appendNodes(*child, out);
    }
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

ZELT_Session::ZELT_Session(ZELT_ScriptPtr script)
{
    addNode(std::move(script));
}

ZELT_Session::~ZELT_Session() = default;

void ZELT_Session::addNode(ZELT_ScriptPtr script)
{
    const WithoutPresets scope;
    NOD_Report report;
    const std::string name = script->getTypeName();
    myNode = myScene.add("/" + (NOD_Node::isValidName(name) ? name : "node"), script, report);
    growBlocks(0.0);
    myScene.getUndo().clear();
}

std::unique_ptr<ZELT_Session> ZELT_Session::open(const std::string &file, ZELT_Messages &messages)
{
    const NOD_FileKind kind = NOD_ValueFile::kindOf(file.substr(0, file.find('?')));
    std::unique_ptr<ZELT_Session> session;
    if (kind == NOD_FileKind::SCENE || kind == NOD_FileKind::NODE) {
        session.reset(new ZELT_Session);
        if (!session->openNodes(file, messages)) {
            session.reset();
        }
    } else if (ZELT_ScriptPtr script = ZELTloadScript(file, messages)) {
        session = std::make_unique<ZELT_Session>(std::move(script));
    }
    return session;
}

bool ZELT_Session::openNodes(const std::string &file, ZELT_Messages &messages)
{
    const std::size_t mark = file.find('?');
    myFile = file.substr(0, mark);
    NOD_LoadOptions options;
    options.scripts = TOK_TokenStream::areAllIncludesConfined()
                          ? NOD_LoadOptions::Scripts::IN_FOLDER
                          : NOD_LoadOptions::Scripts::ANYWHERE;
    NOD_Report report;
    const bool sceneFlag = NOD_ValueFile::kindOf(myFile) == NOD_FileKind::SCENE;
    const bool loaded = sceneFlag ? NOD_SceneFile::load(myScene, myFile, options, report)
                                  : NOD_NodeFile::load(myScene, myScene.getRoot(), myFile, options,
                                                       report) != nullptr;
    messages.add(report);
    if (!loaded || report.hasErrors()) {
        return false;
    }
    myScene.getUndo().clear();
    myNode = &myScene.getRoot();
    const std::vector<NOD_Node *> nodes = getNodes();
    if (mark != std::string::npos) {
        const std::string path = file.substr(mark + 1);
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
        messages.error("", "--time " + call.time + " is no time: seconds, or a frame such as 12f");
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

void ZELT_Session::notePartlyLoaded(const std::string &file)
{
    myPartlyLoaded.push_back(file);
}

bool ZELT_Session::isPartlyLoaded(const std::string &file) const
{
    std::error_code ignored;
    return std::any_of(myPartlyLoaded.begin(), myPartlyLoaded.end(), [&](const std::string &one) {
        return one == file || std::filesystem::equivalent(one, file, ignored);
    });
}

void ZELT_Session::noteInput(const NOD_ValueFile &file)
{
    myInputForm = myInputForm ? *myInputForm : file.getForm();
}

bool ZELT_Session::isOneNode(ZELT_Messages &messages) const
{
    if (!myNode->getParent()) {
        messages.error(myFile, "has several nodes: say which as " + myFile + "?/PATH");
    }
    return myNode->getParent();
}

// -------------------------------------------------------------------- //
// Files
// -------------------------------------------------------------------- //

KIT_IStream::Mode ZELT_Session::streamMode(const KIT_IStream &is)
{
    // The numbers in front of a binary stream have bytes of zero, which no text has.
    constexpr std::size_t lookedAt = 64;
    return is.rest().substr(0, lookedAt).find('\0') == std::string_view::npos ? KIT_IStream::TEXT
                                                                              : KIT_IStream::BINARY;
}

std::string ZELT_Session::loadValues(const std::string &file)
{
    errno = 0;
    KIT_IFStream is(file.c_str(), KIT_IStream::TEXT, ZEL_ParmList::canBeStream);
    if (!is.isReadable()) {
        return unreadable();
    }
    is.setBinary(streamMode(is) == KIT_IStream::BINARY);
    const bool loaded = getParms().load(is, file.c_str(), nullptr);
    growBlocks(0.0);
    return loaded ? "" : theNotWhole;
}

std::string ZELT_Session::loadChannels(const std::string &file)
{
    errno = 0;
    KIT_IFStream is(file.c_str(), KIT_IStream::TEXT, KIT_IFStream::WORDS);
    if (!is.isReadable()) {
        return unreadable();
    }
    return myNode->loadChannels(is) ? "" : theNotWhole;
}

void ZELT_Session::growBlocks(double time)
{
    for (NOD_Node *const node : getNodes()) {
        NODgrowBlocks(*node, time);
    }
}

// -------------------------------------------------------------------- //
// Components
// -------------------------------------------------------------------- //

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

std::string ZELT_Session::set(const std::string &address, const std::string &value, double time)
{
    NOD_Report report;
    NOD_TextEdit(*myNode, time, report).set(address, value);
    return faultOf(report);
}

std::string ZELT_Session::setKey(const std::string &address, double time, const std::string &value)
{
    NOD_Report report;
    NOD_TextEdit(*myNode, time, report).key(address, time, value);
    return faultOf(report);
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

bool readFile(NOD_ValueFile &file, const std::string &path, NOD_Report &report)
{
    if (path != "-") {
        return file.read(path, report);
    }
    const std::string bytes(std::istreambuf_iterator<char>(std::cin), {});
    return file.read(bytes, "standard input", report);
}

/// Values may refer to channels, so channel files come first; a plain value removes its channel, so they are
/// loaded again: what they animate is animated.
bool applyFiles(ZELT_Session &session, const ZELT_Inputs &inputs, bool &channelsFlag,
                ZELT_Messages &messages)
{
    std::vector<std::string> paths = inputs.values;
    if (!inputs.channels.empty()) {
        paths.push_back(inputs.channels);
    }
    bool good = paths.empty() || session.isOneNode(messages);
    std::vector<std::pair<std::string, NOD_ValueFile>> channels;
    std::vector<std::pair<std::string, NOD_ValueFile>> others;
    NOD_Report report;
    for (const std::string &path : paths) {
        NOD_ValueFile file;
        good = good && readFile(file, path, report);
        good = take(report, messages) && good;
        session.noteInput(file);
        (file.getKind() == NOD_FileKind::CHANNELS ? channels : others)
            .emplace_back(path, std::move(file));
    }
    channelsFlag = !channels.empty();
    for (const auto *const files : {&channels, &others}) {
        for (const auto &[path, file] : *files) {
            good = good && file.apply(session.getNode(), report);
            if (!report.isEmpty()) {
                session.notePartlyLoaded(path);
            }
            good = take(report, messages) && good;
        }
    }
    for (std::size_t i = 0; i < channels.size() && !others.empty() && good; ++i) {
        NOD_Report reportedAlready;
        channels[i].second.apply(session.getNode(), reportedAlready);
    }
    session.growBlocks(0.0);
    return good;
}

} // namespace

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
