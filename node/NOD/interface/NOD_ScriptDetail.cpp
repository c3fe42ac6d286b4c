#include <NOD/interface/NOD_ScriptDetailPrivate.h>

#include <KIT/KIT_Nearest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace
{

using Shape = NOD_ScriptShape;

/// The name of the innermost block that has one.
std::string subjectOf(const Shape &shape, int block)
{
    while (block >= 0) {
        const std::string name = shape.nameOf(block);
        if (!name.empty()) {
            return name;
        }
        block = shape.getBlocks()[std::size_t(block)].parent;
    }
    return {};
}

void addFix(KIT_MessageDetail &detail, const std::string &what, const std::string &text)
{
    detail.fixes.push_back({what, {{detail.place, text}}});
}

/// The words of which one may have been meant; null where any could be.
const std::vector<std::string> *wordsFor(const NOD_Message &message, bool parmFlag)
{
    if (message.category != theKITScriptCategory) {
        return nullptr;
    }
    switch (message.code) {
    case NOD_SCRIPT_NO_PAGE_WORD:
    case NOD_SCRIPT_NO_PARM_WORD: return &NODgetScriptWords(parmFlag);
    case NOD_SCRIPT_NO_TYPE: return &NODgetScriptTypeWords();
    case NOD_SCRIPT_NO_LANGUAGE: return &NODgetLanguageWords();
    case NOD_SCRIPT_NO_EXPORT: return &NODgetExportWords();
    case NOD_SCRIPT_NO_MEANING: return &NODgetMeaningWords();
    default: return nullptr;
    }
}

/// The token of a place. All tokens of a macro are at the place of its use: of these the one that was read.
int findToken(const NOD_ScriptTokens &tokens, const KIT_MessageDetail &detail)
{
    const KIT_MessagePlace &place = detail.place;
    if (place.offset < 0) {
        return -1;
    }
    const int last = tokens.find(place.file, std::size_t(place.offset));
    const auto isSamePlace = [&](int token) {
        return token >= 0 && tokens[token].file == tokens[last].file &&
               tokens[token].begin == tokens[last].begin;
    };
    const bool quotedFlag = detail.found.size() > 1 && detail.found.front() == '"';
    const std::string found =
        quotedFlag ? detail.found.substr(1, detail.found.size() - 2) : detail.found;
    for (int token = last; isSamePlace(token); --token) {
        if (tokens[token].text == found) {
            return token;
        }
    }
    return last;
}

} // namespace

const Shape::Fault *NODfindCause(const Shape &shape, int token)
{
    const std::vector<Shape::Fault> &faults = shape.getFaults();
    return faults.empty() || faults.front().token > token ? nullptr : &faults.front();
}

std::shared_ptr<const KIT_MessageDetail>
NODmakeDetail(const NOD_ScriptTokens &tokens, const Shape &shape, const Shape::Fault &fault)
{
    auto detail = std::make_shared<KIT_MessageDetail>();
    detail->place = fault.afterFlag ? tokens.getPlaceAfter(fault.token)
                                    : tokens.getPlace(fault.token, fault.last);
    detail->includedFrom = tokens.getIncluders(fault.token);
    detail->subject = subjectOf(shape, fault.block);
    detail->found = fault.afterFlag ? "" : tokens[fault.token].text;
    detail->hint = !fault.hint.empty() || fault.code == NOD_SCRIPT_REST ? fault.hint : fault.text;
    if (!fault.expected.empty()) {
        detail->expected = {fault.expected};
    }
    if (fault.related >= 0) {
        detail->related.push_back(
            {tokens.getPlace(fault.related, fault.related), fault.relatedText});
    }
    if (!fault.fixText.empty()) {
        addFix(*detail, fault.fixText, fault.fix);
    }
    return detail;
}

std::shared_ptr<const KIT_MessageDetail> NODcompleteDetail(const NOD_ScriptTokens &tokens,
                                                           const Shape &shape, int token,
                                                           const NOD_Message &message)
{
    auto detail = std::make_shared<KIT_MessageDetail>();
    int at = token;
    int block = shape.findBlock(token);
    const Shape::Block *own = block < 0 ? nullptr : &shape.getBlocks()[std::size_t(block)];
    const std::string &word = tokens[token].text;
    if (NODisMessage(message, NOD_SCRIPT_NO_PARM_NAME) ||
        NODisMessage(message, NOD_SCRIPT_NO_PAGE_NAME)) {
        at = own ? own->header : token;
        detail->hint =
            own ? "the block of '" + own->keyword + "' that begins here has no name" : "";
        detail->expected = {"name"};
    }
    detail->place = tokens.getPlace(at, at);
    detail->includedFrom = tokens.getIncluders(at);
    detail->subject = subjectOf(shape, block);
    detail->found = word;
    if (const std::vector<std::string> *const words = wordsFor(message, own && own->parmFlag)) {
        KITaddNearest(*detail, word, *words);
    }
    if (NODisMessage(message, NOD_SCRIPT_NO_TYPE)) {
        detail->hint =
            "'" + word + "' is no type" + (detail->hint.empty() ? "" : "; ") + detail->hint;
    }
    if (NODisMessage(message, NOD_SCRIPT_NO_GROUP) && tokens[at].quotedFlag) {
        // What stands where the brace should, not the quote in front.
        detail->place = tokens.getPlaceIn(at, std::min(word.find_first_not_of(' '), word.size()));
    }
    if (own && at != own->header && tokens[own->header].line != tokens[at].line) {
        detail->related.push_back({tokens.getPlace(own->header, own->header),
                                   "in the block of '" + own->keyword + "' that begins here"});
    }
    return detail;
}

void NODcompleteDetails(NOD_Report &report, std::string_view text, const std::string &name,
                        NOD_Interface::Includes includes, bool stopped)
{
    constexpr std::size_t theMost = 1000; // messages
    std::size_t last = 0;
    const std::vector<NOD_Message> &messages = report.getMessages();
    for (std::size_t i = 0; i < messages.size(); ++i) {
        last = messages[i].severity >= KIT_ERROR_ABORT ? i + 1 : last;
    }
    const NOD_ScriptTokens tokens(text, name, includes);
    if (!tokens.isWhole()) {
        return; // the reader's own places stay
    }
    const Shape shape(tokens);
    NOD_Report completed;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        NOD_Message message = messages[i];
        const int token = message.detail && i < theMost ? findToken(tokens, *message.detail) : -1;
        const bool endFlag = NODisMessage(message, NOD_SCRIPT_REST) || (stopped && i + 1 == last);
        const Shape::Fault *const cause =
            endFlag && token >= 0 ? NODfindCause(shape, token) : nullptr;
        if (cause) {
            message.detail = NODmakeDetail(tokens, shape, *cause);
        } else if (token >= 0 && tokens[token].begin == std::size_t(message.detail->place.offset)) {
            message.detail = NODcompleteDetail(tokens, shape, token, message);
        }
        completed.add(std::move(message));
    }
    report = std::move(completed);
}

NOD_Report NODtakeHead(const NOD_Report &found, std::string_view text, const std::string &name,
                       const std::string &head)
{
    NOD_Report taken;
    const auto lines = int(std::count(text.begin(), text.end(), '\n')) + 1;
    const auto take = [&](KIT_MessagePlace &place) {
        const auto bytes = std::int64_t(head.size());
        const auto size = std::int64_t(text.size());
        if (place.file != name || place.offset < 0) {
            return;
        }
        if (place.offset < bytes || place.endOffset > bytes + size) {
            const auto at = std::size_t(std::clamp(place.offset - bytes, std::int64_t(0), size));
            place.setFromText(text, at, at);
            return;
        }
        place.offset -= bytes;
        place.endOffset -= bytes;
        --place.line;
        --place.endLine;
    };
    for (NOD_Message message : found.getMessages()) {
        if (message.file == name) {
            message.line = std::min(message.line - (message.line > 1), lines);
        }
        if (message.detail) {
            auto detail = std::make_shared<KIT_MessageDetail>(*message.detail);
            detail->changePlaces(take);
            message.detail = std::move(detail);
        }
        taken.add(std::move(message));
    }
    return taken;
}
