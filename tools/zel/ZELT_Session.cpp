#include "ZELT_Session.h"

#include "ZELT_Messages.h"

#include <BAS/BAS_Thread.h>
#include <EVL/EVL.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IFStream.h>
#include <NOD/NOD_Address.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_TextEdit.h>
#include <SNK/SNK_Python.h>
#include <ZEL/ZEL_InputBudget.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace
{

std::string unreadable()
{
    return "can't be read: " + KITsystemReason();
}

constexpr const char *theNotWhole = "isn't loaded as a whole";

/// The first error, "" for none.
std::string faultOf(const NOD_Report &report)
{
    const auto &all = report.getMessages();
    const auto fault = std::find_if(all.begin(), all.end(), [](const NOD_Message &message) {
        return message.severity >= KIT_ERROR_ABORT;
    });
    return fault == all.end() ? "" : fault->asText();
}

} // namespace

ZELT_Session::ZELT_Session(const NOD_Interface &script)
    : mySource(myRoot), myNode(myRoot.addChild(script.getTypeName().c_str(), script.getTemplates()))
{
    growBlocks(0.0);
}

ZELT_Session::ZELT_Session(ZELT_ScriptPtr script) : ZELT_Session(*script)
{
    myScript = std::move(script);
}

ZELT_Session::~ZELT_Session() = default;

std::unique_ptr<ZELT_Session> ZELT_Session::open(const std::string &file, ZELT_Messages &messages)
{
    ZELT_ScriptPtr script = ZELTloadScript(file, messages);
    return std::unique_ptr<ZELT_Session>(script ? new ZELT_Session(std::move(script)) : nullptr);
}

std::unique_ptr<ZELT_Session> ZELT_Session::open(const ZELT_NodeCall &call, ZELT_Messages &messages)
{
    std::unique_ptr<ZELT_Session> session = open(call.file, messages);
    if (session && !ZELTapplyInputs(*session, call.inputs, call.time, messages)) {
        return nullptr;
    }
    return session;
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
    NODgrowBlocks(*myNode, time);
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

template <class Edit>
std::string ZELT_Session::edit(double time, const Edit &edit)
{
    NOD_Report report;
    NOD_TextEdit editor(*myNode, time, report);
    edit(editor);
    return faultOf(report);
}

std::string ZELT_Session::set(const std::string &address, const std::string &value, double time)
{
    return edit(time, [&](NOD_TextEdit &editor) { editor.set(address, value); });
}

std::string ZELT_Session::setExpression(const std::string &address, const std::string &text,
                                        TRK_ExprLanguage language, double time)
{
    return edit(time, [&](NOD_TextEdit &editor) { editor.setExpression(address, text, language); });
}

std::string ZELT_Session::setKey(const std::string &address, double time, const std::string &value)
{
    return edit(time, [&](NOD_TextEdit &editor) { editor.key(address, time, value); });
}

std::string ZELT_Session::applySet(const std::string &option, double time)
{
    return edit(time, [&](NOD_TextEdit &editor) { editor.assign(option); });
}

std::string ZELT_Session::applyExpression(const std::string &option, double time)
{
    return edit(time, [&](NOD_TextEdit &editor) { editor.assignExpression(option); });
}

std::string ZELT_Session::applyKey(const std::string &option)
{
    constexpr double anyTime = 0.0; // the key has its own
    return edit(anyTime, [&](NOD_TextEdit &editor) { editor.assignKey(option); });
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

bool ZELTapplyInputs(ZELT_Session &session, const ZELT_Inputs &inputs, double time,
                     ZELT_Messages &messages)
{
    const ZEL_InputBudget budget(std::int64_t(inputs.sets.size() + inputs.expressions.size()));
    bool good = true;
    const auto report = [&](const std::string &fault) {
        good = ZELTtakeFault("", fault, messages) && good;
    };
    report(""); // what making the parameters reported
    // Values may refer to channels, so these come first; a plain value removes its channel, so they
    // are loaded again: what the channel file animates is animated.
    if (!inputs.channels.empty()) {
        good = ZELTtakeFault(inputs.channels, session.loadChannels(inputs.channels), messages);
    }
    if (!inputs.values.empty()) {
        good = ZELTtakeFault(inputs.values, session.loadValues(inputs.values), messages) && good;
        if (!inputs.channels.empty()) {
            const KIT_ErrorManager::Scope reportedAlready(BASgetSTID());
            session.loadChannels(inputs.channels);
        }
    }
    for (const std::string &option : inputs.sets) {
        report(session.applySet(option, time));
    }
    for (const std::string &option : inputs.expressions) {
        report(session.applyExpression(option, time));
    }
    for (const std::string &option : inputs.keys) {
        report(session.applyKey(option));
    }
    session.growBlocks(time);
    report("");
    return good;
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
