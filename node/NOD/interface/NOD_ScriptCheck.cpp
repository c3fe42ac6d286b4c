#include <NOD/NOD_ScriptCheck.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_String.h>
#include <NOD/interface/NOD_ScriptDetailPrivate.h>
#include <NOD/interface/NOD_ScriptStreamPrivate.h>
#include <ZEL/ZEL_ScriptPage.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace
{

using Shape = NOD_ScriptShape;

struct Placed
{
    int token; ///< -1 without a place in the script
    NOD_Message message;
};

/// A block with some of its statements as a script of its own.
struct Piece
{
    std::string text;
    std::vector<std::pair<std::size_t, int>> tokens; ///< where each begins

    void add(const NOD_ScriptTokens &tokens, int index);
    int find(std::size_t offset) const;
};

void Piece::add(const NOD_ScriptTokens &all, int index)
{
    const NOD_ScriptToken &token = all[index];
    tokens.emplace_back(text.size(), index);
    if (!token.quotedFlag) {
        text += token.text + " ";
        return;
    }
    const std::size_t last = token.text.find_last_not_of('\\');
    const std::size_t slashes = token.text.size() - (last == std::string::npos ? 0 : last + 1);
    text += '"' + token.text + (slashes % 2 != 0 ? "\\\" " : "\" ");
}

/// The token at an offset; -1 in front of all.
int Piece::find(std::size_t offset) const
{
    const auto after =
        std::upper_bound(tokens.begin(), tokens.end(), std::pair(offset, 0x7fffffff));
    return after == tokens.begin() ? -1 : (after - 1)->second;
}

/// Reads the blocks of a script one by one, each again without the statement at which it stopped.
class Pass
{
public:
    Pass(const NOD_ScriptTokens &tokens, const Shape &shape) : myTokens(tokens), myShape(shape) {}

    std::vector<Placed> run();

private:
    static constexpr std::size_t theMostErrors = 1000;

    void judge(int block);
    Piece compose(int block, const std::vector<bool> &dropped) const;
    std::optional<Placed> read(const Piece &piece, std::vector<Placed> &said) const;
    bool drop(int block, int token, std::vector<bool> &dropped) const;
    void add(Placed placed);

    const NOD_ScriptTokens &myTokens;
    const Shape &myShape;
    std::vector<Placed> myPlaced;
};

std::vector<Placed> Pass::run()
{
    for (const Shape::Fault &fault : myShape.getFaults()) {
        auto detail = std::make_shared<KIT_MessageDetail>(*NODmakeDetail(myTokens, myShape, fault));
        detail->hint = fault.hint;
        NOD_Message message = {
            KIT_ERROR_ABORT, detail->place.file,   detail->place.line,    {},
            fault.text,      theKITCommonCategory, KIT_COMMON_BAD_SCRIPT, detail};
        myPlaced.push_back({fault.token, std::move(message)});
    }
    for (int i = 0; i < int(myShape.getBlocks().size()) && myPlaced.size() < theMostErrors; ++i) {
        judge(i);
    }
    return std::move(myPlaced);
}

void Pass::judge(int block)
{
    const std::vector<Shape::Statement> &statements =
        myShape.getBlocks()[std::size_t(block)].statements;
    std::vector<bool> dropped;
    for (const Shape::Statement &one : statements) {
        dropped.push_back(!one.soundFlag || one.block >= 0);
    }
    for (std::size_t round = 0; round <= statements.size(); ++round) {
        std::vector<Placed> said;
        std::optional<Placed> stop = read(compose(block, dropped), said);
        if (!stop) {
            for (Placed &one : said) {
                add(std::move(one));
            }
            return;
        }
        const int token = stop->token;
        add(std::move(*stop));
        if (!drop(block, token, dropped)) {
            return;
        }
    }
}

/// Leaves out the statement of a token; false if there is none.
bool Pass::drop(int block, int token, std::vector<bool> &dropped) const
{
    const std::vector<Shape::Statement> &statements =
        myShape.getBlocks()[std::size_t(block)].statements;
    for (std::size_t i = 0; i < statements.size(); ++i) {
        if (!dropped[i] && token >= statements[i].begin && token < statements[i].end) {
            dropped[i] = true;
            return true;
        }
    }
    return false;
}

Piece Pass::compose(int block, const std::vector<bool> &dropped) const
{
    const Shape::Block &own = myShape.getBlocks()[std::size_t(block)];
    Piece piece;
    piece.text = "{ ";
    int closes = 1;
    if (own.parent >= 0) {
        piece.text += "name s ";
        const int depth = myShape.getBlocks()[std::size_t(own.parent)].depth;
        for (int i = 0; i < depth; ++i) {
            piece.text += "multiparm { name m" + std::string(std::size_t(i), '#') + " ";
        }
        piece.text += own.keyword + " ";
        piece.tokens.emplace_back(piece.text.size(), own.header);
        piece.text += "{ ";
        closes += depth + 1;
    }
    bool namedFlag = false;
    for (std::size_t i = 0; i < dropped.size(); ++i) {
        const Shape::Statement &one = own.statements[i];
        namedFlag = namedFlag || (dropped[i] && myTokens[one.begin].is("name"));
        for (int token = one.begin; !dropped[i] && token < one.end; ++token) {
            piece.add(myTokens, token);
        }
    }
    // What is told of a name that can't be read is enough.
    piece.text += namedFlag ? "name \"" + std::string(std::size_t(own.depth), '#') + "n\" " : "";
    piece.tokens.emplace_back(piece.text.size(), own.close >= 0 ? own.close : own.header);
    for (int i = 0; i < closes; ++i) {
        piece.text += "} ";
    }
    return piece;
}

/// The error that ended the reading; without one, all that was said.
std::optional<Placed> Pass::read(const Piece &piece, std::vector<Placed> &said) const
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    NOD_Report found;
    KIT_IStream is(piece.text.data(), piece.text.size(), KIT_IStream::TEXT);
    NOD_ScriptStream stream(is, "", found, NOD_Interface::Includes::NONE);
    ZEL_ScriptPage page;
    const std::size_t size = found.getMessages().size();
    const bool readFlag = page.parse(stream, true, nullptr, false, true, 0) != 0;
    if (!readFlag && (found.getMessages().size() == size || !found.hasErrors())) {
        stream.error("Expecting open brace"); // some blocks fail without a message
    }
    for (NOD_Message message : found.getMessages()) {
        const int token =
            piece.find(message.detail ? std::size_t(message.detail->place.offset) : 0);
        if (token < 0) {
            continue;
        }
        message.detail = NODcompleteDetail(myTokens, myShape, token, message.text);
        message.file = message.detail->place.file;
        message.line = myTokens[token].line;
        said.push_back({token, std::move(message)});
    }
    if (readFlag || said.empty()) {
        return std::nullopt;
    }
    return std::move(said.back());
}

void Pass::add(Placed placed)
{
    myPlaced.push_back(std::move(placed));
}

bool samePlace(const NOD_Message &a, const NOD_Message &b)
{
    return a.detail && b.detail && a.detail->place.offset == b.detail->place.offset &&
           a.detail->place.file == b.detail->place.file;
}

/// What the reader said, and what else there is.
class Merge
{
public:
    Merge(const NOD_Report &reader, const NOD_ScriptTokens &tokens, const Shape &shape,
          bool goodFlag);
    void add(Placed found, bool goodFlag);
    void addTo(NOD_Report &report);

private:
    std::vector<Placed> myAll;
    std::size_t myStop =
        0; ///< the message that the first fault led to; the number of all without one
};

Merge::Merge(const NOD_Report &reader, const NOD_ScriptTokens &tokens, const Shape &shape,
             bool goodFlag)
{
    const std::vector<NOD_Message> &messages = reader.getMessages();
    const std::vector<Shape::Fault> &faults = shape.getFaults();
    std::size_t stop = messages.size();
    int cause = tokens.size();
    for (std::size_t i = 0; i < messages.size() && !faults.empty(); ++i) {
        const auto detail = NODmakeDetail(tokens, shape, faults.front());
        const NOD_Message &one = messages[i];
        if (one.detail && one.detail->place.offset == detail->place.offset &&
            one.detail->place.file == detail->place.file) {
            stop = i;
            cause = faults.front().token;
        }
    }
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const KIT_MessageDetail *const detail = messages[i].detail.get();
        const int token = detail && detail->place.offset >= 0
                              ? tokens.find(detail->place.file, std::size_t(detail->place.offset))
                              : -1;
        if (i == stop || token < cause || goodFlag) {
            myStop = i == stop ? myAll.size() : myStop;
            myAll.push_back({token, messages[i]});
        }
    }
    myStop = stop == messages.size() ? std::size_t(-1) : myStop;
}

void Merge::add(Placed found, bool goodFlag)
{
    for (std::size_t i = 0; i < myAll.size(); ++i) {
        const NOD_Message &one = myAll[i].message;
        if (samePlace(one, found.message) && (i == myStop || one.text == found.message.text)) {
            return;
        }
    }
    found.message.severity = goodFlag ? KIT_ERROR_WARNING : found.message.severity;
    myAll.push_back(std::move(found));
}

void Merge::addTo(NOD_Report &report)
{
    std::stable_sort(myAll.begin(), myAll.end(),
                     [](const Placed &a, const Placed &b) { return a.token < b.token; });
    for (Placed &one : myAll) {
        report.add(std::move(one.message));
    }
}

/// A script in a text, perhaps with a head that isn't the caller's.
struct Source
{
    std::string_view text;
    const std::string &name;
    NOD_Interface::Includes includes;
    std::string head = {};
};

/// Adds what the reader said of a script, and what else is wrong with it.
void completeReport(const Source &source, const NOD_Report &reader, bool goodFlag,
                    NOD_Report &report)
{
    const NOD_ScriptTokens tokens(source.text, source.name, source.includes);
    if (!tokens.isWhole()) {
        report.append(reader);
        return;
    }
    const bool headFlag = !source.head.empty();
    const auto bytes = std::int64_t(source.head.size());
    NOD_Report whole;
    for (NOD_Message message : reader.getMessages()) {
        message.detail = headFlag && message.detail
                             ? NODshiftDetail(*message.detail, source.name, -1, -bytes)
                             : message.detail;
        whole.add(std::move(message));
    }
    const Shape shape(tokens);
    Merge merge(whole, tokens, shape, goodFlag);
    for (Placed &one : Pass(tokens, shape).run()) {
        one.message.line -= headFlag && one.message.file == source.name;
        merge.add(std::move(one), goodFlag);
    }
    NOD_Report merged;
    merge.addTo(merged);
    for (NOD_Message message : merged.getMessages()) {
        message.detail = headFlag && message.detail
                             ? NODshiftDetail(*message.detail, source.name, 1, bytes)
                             : message.detail;
        report.add(std::move(message));
    }
}

/// Whether a script that the reader accepts has a part that it doesn't read.
bool hasRest(const NOD_Report &reader)
{
    const std::vector<NOD_Message> &messages = reader.getMessages();
    return std::any_of(messages.begin(), messages.end(),
                       [](const NOD_Message &one) { return one.text == theNODScriptRest; });
}

} // namespace

std::shared_ptr<const NOD_Interface> NODcheckScriptFile(const std::string &path, NOD_Report &report,
                                                        NOD_Interface::Includes includes)
{
    NOD_Report reader;
    std::shared_ptr<const NOD_Interface> made = NOD_Interface::fromFile(path, reader, includes);
    if (made && !hasRest(reader)) {
        report.append(reader);
        return made;
    }
    const KIT_IFStream is(path.c_str(), KIT_IStream::TEXT, KIT_IFStream::WORDS);
    if (is.isReadable()) {
        completeReport({is.rest(), path, includes}, reader, made != nullptr, report);
    } else {
        report.append(reader);
    }
    return made;
}

std::shared_ptr<const NOD_Interface> NODcheckScript(std::string_view text, const std::string &name,
                                                    NOD_Report &report,
                                                    NOD_Interface::Includes includes)
{
    NOD_Report reader;
    std::shared_ptr<const NOD_Interface> made =
        NOD_Interface::fromText(text, name, reader, includes);
    if (made && !hasRest(reader)) {
        report.append(reader);
        return made;
    }
    const std::string head = NODscriptHead(text, name);
    const std::string whole = head + std::string(text) + (head.empty() ? "" : "\n}");
    completeReport({whole, name, includes, head}, reader, made != nullptr, report);
    return made;
}
