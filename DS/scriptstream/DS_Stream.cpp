#include <DS/DS_Stream.h>

#include <DS/scriptstream/DS_BlockDepthPrivate.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_WorkBuffer.h>
#include <ZEL/ZEL_ScriptQuote.h>

#include <algorithm>
#include <cstdio>

namespace
{

constexpr const char *theNormalOptions[] = {"", "-P", "-h", "-H", "-x", nullptr};
constexpr const char *theReducedOptions[] = {"", "-P", "-x", nullptr};

constexpr std::size_t theLongestFound = 80;

DS_Stream::MessageSink theMessageSink = nullptr;
void *theMessageSinkData = nullptr;
bool theDetailsFlag = false;
__thread const DS_Stream *theReporting;

} // namespace

int DSblockDepth(const char *token, int depth)
{
    bool quotedFlag = false;
    for (const char *at = token; *at && depth > 0; at++) {
        if (at[0] == '\\' && at[1] == '"') {
            at++;
        } else if (*at == '"') {
            quotedFlag = !quotedFlag;
        } else if (!quotedFlag) {
            depth += (*at == '{') - (*at == '}');
        }
    }
    return depth;
}

DS_Stream::DS_Stream(KIT_IStream &stream, const char *name, bool reduced)
    : TOK_TokenStream(stream, name)
{
    setPreserveBackslashes(true);
    setDetails(theDetailsFlag);
    setCPPOptions(reduced ? theReducedOptions : theNormalOptions);
}

DS_Stream::DS_Stream(const char *fileName, int mode) : TOK_TokenStream(fileName, mode)
{
    setPreserveBackslashes(true);
    setDetails(theDetailsFlag);
    setCPPOptions(theNormalOptions);
}

DS_Stream::~DS_Stream() = default;

// -------------------------------------------------------------------- //
// Reading
// -------------------------------------------------------------------- //

int DS_Stream::getToken(KIT_String &token)
{
    if (!TOK_TokenStream::getToken(token)) {
        return 0;
    }
    token.expandControlSequences(0);
    return 1;
}

int DS_Stream::getOpenBrace()
{
    KIT_String token;
    return getToken(token) && token == "{";
}

int DS_Stream::parseBlock(KIT_String &result, char separator, bool protect)
{
    result = "";
    if (!getOpenBrace()) {
        return 0;
    }
    KIT_WorkBuffer block;
    KIT_String token;
    bool firstFlag = true;
    for (int depth = 1;;) {
        if (!getToken(token)) {
            error("Expecting close brace for block");
            return 0;
        }
        depth = DSblockDepth(token.nonNullStr(), depth);
        if (depth < 1) {
            break;
        }
        if (!firstFlag) {
            block.append(separator);
        }
        firstFlag = false;
        if (protect) {
            block.append('"');
            ZELprotectString(block, token, false, false);
            block.append('"');
        } else {
            block.append(token);
        }
    }
    block.append(separator);
    block.copyIntoString(result);
    return 1;
}

// -------------------------------------------------------------------- //
// Messages
// -------------------------------------------------------------------- //

void DS_Stream::error(const char *text)
{
    report(KIT_ERROR_ABORT, " Error", text);
}

void DS_Stream::warning(const char *text)
{
    report(KIT_ERROR_WARNING, " Warning", text);
}

void DS_Stream::message(const char *text)
{
    report(KIT_ERROR_MESSAGE, "", text);
}

void DS_Stream::setMessageSink(MessageSink sink, void *data)
{
    theMessageSink = sink;
    theMessageSinkData = data;
}

void DS_Stream::report(KIT_ErrorSeverity severity, const char *word, const char *text)
{
    KIT_WorkBuffer whole;
    text = text ? text : "";
    const TOK_Manager *const place = getManager();
    if (place) {
        whole.sprintf("%s%s(%d): %s", place->getFileName(), word, place->getLineNumber(), text);
    } else {
        whole.sprintf("Dialog Script %s: %s", word, text);
    }
    const MessageSink sink = myOwnSink ? myOwnSink : theMessageSink;
    if (sink) {
        theReporting = this;
        sink(myOwnSink ? myOwnSinkData : theMessageSinkData, severity,
             place ? place->getFileName() : nullptr, place ? place->getLineNumber() : 0, text);
        theReporting = nullptr;
    } else {
        std::fprintf(stderr, "%s\n", whole.buffer());
    }
    myErrors.add(theKITCommonCategory, KIT_COMMON_BAD_SCRIPT, whole.buffer(), severity,
                 makeDetail());
}

const DS_Stream *DS_Stream::getReporting()
{
    return theReporting;
}

void DS_Stream::setAllDetails(bool wanted)
{
    theDetailsFlag = wanted;
}

void DS_Stream::setDetails(bool wanted)
{
    myDetailsFlag = wanted;
    setKeepsTexts(wanted);
}

std::shared_ptr<const KIT_MessageDetail> DS_Stream::makeDetail() const
{
    TOK_Place token;
    if (!myDetailsFlag || !getPlace(token)) {
        return nullptr;
    }
    const auto set = [](KIT_MessagePlace &place, const TOK_Place &from) {
        place.file = from.file;
        place.setFromText(from.text, from.begin, from.end, from.line);
    };
    auto detail = std::make_shared<KIT_MessageDetail>();
    set(detail->place, token);
    detail->found =
        token.macroFlag
            ? token.macroToken.substr(0, theLongestFound)
            : token.text.substr(token.begin, std::min(token.end - token.begin, theLongestFound));
    for (int level = 0; getIncluder(level, token); level++) {
        set(detail->includedFrom.emplace_back(), token);
    }
    return detail;
}

void DS_Stream::clearErrors()
{
    KITgetErrorManager().clearAndDestroyErrors();
    myErrors.clearAndDestroyErrors();
}

int DS_Stream::getErrorMessages(KIT_String &out, KIT_ErrorSeverity severity)
{
    return myErrors.getErrorMessages(out, severity, true);
}

void DS_Stream::stealErrors(DS_Stream &other)
{
    myErrors.stealErrors(other.myErrors, 0, -1, KIT_ERROR_NONE, false);
}
