#include <NOD/NOD_ScriptCheck.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>
#include <NOD/interface/NOD_ScriptDetailPrivate.h>
#include <NOD/interface/NOD_ScriptStreamPrivate.h>
#include <ZEL/ZEL_ScriptPage.h>

#include <algorithm>
#include <iterator>
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

/// A statement for the name of a block, perhaps misspelt.
bool isName(const NOD_ScriptToken &word, bool inParm)
{
    const std::string *const nearest = KITnearestWord(word.text, NODgetScriptWords(inParm));
    return word.text == "name" || (nearest && *nearest == "name");
}

/// Reads the blocks of a script one by one, each again without the statement at which it stopped.
class Pass
{
public:
    Pass(const NOD_ScriptTokens &tokens, const Shape &shape) : myTokens(tokens), myShape(shape) {}

    std::vector<Placed> run();

private:
    static constexpr std::size_t theMostMessages = 1000;
    static constexpr std::size_t theMostWork = 4000000; ///< tokens that are read

    bool isSpent() const { return myPlaced.size() >= theMostMessages || myWork >= theMostWork; }

    void judge(int block);
    Piece compose(int block, const std::vector<bool> &dropped) const;
    bool read(const Piece &piece, std::vector<Placed> &said) const;
    bool drop(int block, int token, std::vector<bool> &dropped) const;

    const NOD_ScriptTokens &myTokens;
    const Shape &myShape;
    std::vector<Placed> myPlaced;
    std::size_t myWork = 0;
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
    const int blocks = int(myShape.getBlocks().size());
    for (int i = 0; i < blocks && !isSpent(); ++i) {
        judge(i);
    }
    if (isSpent()) {
        NOD_Message message;
        message.severity = KIT_ERROR_WARNING;
        message.file = myTokens.getPlace(0, 0).file;
        message.text = "the script has more mistakes than are looked for; there may be others";
        message.category = theKITCommonCategory;
        message.code = KIT_COMMON_BAD_SCRIPT;
        myPlaced.push_back({myTokens.size(), std::move(message)});
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
    for (std::size_t round = 0; round <= statements.size() && !isSpent(); ++round) {
        std::vector<Placed> said;
        const Piece piece = compose(block, dropped);
        myWork += piece.tokens.size();
        const bool readFlag = read(piece, said);
        if (readFlag || said.empty() || !drop(block, said.back().token, dropped)) {
            std::move(said.begin(), said.end(), std::back_inserter(myPlaced));
            return;
        }
        myPlaced.push_back(std::move(said.back())); // the others are said again
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
    const int depth = own.parent < 0 ? 0 : myShape.getBlocks()[std::size_t(own.parent)].depth;
    if (own.parent >= 0) {
        piece.text += "name s ";
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
        namedFlag = namedFlag || (dropped[i] && isName(myTokens[one.begin], own.parmFlag));
        for (int token = one.begin; !dropped[i] && token < one.end; ++token) {
            piece.add(myTokens, token);
        }
    }
    // What is told of a name that can't be read is enough.
    piece.text += namedFlag ? "name \"n" + std::string(std::size_t(depth), '#') + "\" " : "";
    piece.tokens.emplace_back(piece.text.size(), own.close >= 0 ? own.close : own.header);
    for (int i = 0; i < closes; ++i) {
        piece.text += "} ";
    }
    return piece;
}

/// Reads a piece. False, with the message about it at the end of what is said, where reading stopped.
bool Pass::read(const Piece &piece, std::vector<Placed> &said) const
{
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    NOD_Report found;
    KIT_IStream is(piece.text.data(), piece.text.size(), KIT_IStream::TEXT);
    NOD_ScriptStream stream(is, "", found, NOD_Interface::Includes::NONE);
    ZEL_ScriptPage page;
    const bool readFlag = page.parse(stream, true, nullptr, false, true, 0) != 0;
    if (!readFlag && !found.hasErrors()) {
        stream.error("Expecting open brace"); // some blocks fail without a message
    }
    for (NOD_Message message : found.getMessages()) {
        const int token =
            piece.find(message.detail ? std::size_t(message.detail->place.offset) : 0);
        if (token >= 0) {
            message.detail = NODcompleteDetail(myTokens, myShape, token, message.text);
            message.file = message.detail->place.file;
            message.line = myTokens[token].line;
            said.push_back({token, std::move(message)});
        }
    }
    return readFlag;
}

bool samePlace(const KIT_MessageDetail &a, const KIT_MessageDetail &b)
{
    return a.place.offset == b.place.offset && a.place.file == b.place.file;
}

/// What the reader said, and what else there is.
class Merge
{
public:
    Merge(const NOD_ScriptTokens &tokens, const Shape &shape) : myTokens(tokens), myShape(shape) {}

    /// Adds what the reader said up to the first fault, its first error, and the message that the fault led to.
    void addReader(const NOD_Report &reader);
    void add(Placed found);
    void addTo(NOD_Report &report);

private:
    const NOD_ScriptTokens &myTokens;
    const Shape &myShape;
    std::vector<Placed> myAll;
    std::vector<bool> myCaused; ///< those that the first fault led to
};

void Merge::addReader(const NOD_Report &reader)
{
    const std::vector<Shape::Fault> &faults = myShape.getFaults();
    const std::shared_ptr<const KIT_MessageDetail> cause =
        faults.empty() ? nullptr : NODmakeDetail(myTokens, myShape, faults.front());
    bool firstFlag = true; // no error so far
    for (const NOD_Message &message : reader.getMessages()) {
        const KIT_MessagePlace place = message.detail ? message.detail->place : KIT_MessagePlace();
        const int token =
            place.offset < 0 ? -1 : myTokens.find(place.file, std::size_t(place.offset));
        const bool causedFlag = cause && message.detail && samePlace(*message.detail, *cause);
        const bool errorFlag = firstFlag && message.severity >= KIT_ERROR_ABORT;
        firstFlag = firstFlag && !errorFlag;
        if (causedFlag || errorFlag || faults.empty() || token < faults.front().token) {
            myAll.push_back({token, message});
            myCaused.push_back(causedFlag);
        }
    }
}

void Merge::add(Placed found)
{
    for (std::size_t i = 0; i < myAll.size(); ++i) {
        const NOD_Message &one = myAll[i].message;
        if (one.detail && found.message.detail && samePlace(*one.detail, *found.message.detail) &&
            (myCaused[i] || one.text == found.message.text)) {
            return;
        }
    }
    myAll.push_back(std::move(found));
    myCaused.push_back(false);
}

void Merge::addTo(NOD_Report &report)
{
    const auto keyOf = [this](const Placed &one) {
        const KIT_MessageDetail *const detail = one.message.detail.get();
        const std::int64_t offset = detail ? detail->place.offset : -1;
        return std::pair(offset < 0 ? one.token
                                    : myTokens.find(detail->place.file, std::size_t(offset)),
                         offset);
    };
    std::stable_sort(myAll.begin(), myAll.end(),
                     [&](const Placed &a, const Placed &b) { return keyOf(a) < keyOf(b); });
    for (Placed &one : myAll) {
        report.add(std::move(one.message));
    }
}

/// Adds what the reader said of a script, and what else is wrong with it.
void completeReport(std::string_view text, const std::string &name,
                    NOD_Interface::Includes includes, const NOD_Report &reader, bool goodFlag,
                    NOD_Report &report)
{
    const NOD_ScriptTokens tokens(text, name, includes);
    if (!tokens.isWhole()) {
        report.append(reader);
        return;
    }
    const Shape shape(tokens);
    Merge merge(tokens, shape);
    merge.addReader(reader);
    for (Placed &one : Pass(tokens, shape).run()) {
        one.message.severity = goodFlag ? KIT_ERROR_WARNING : one.message.severity;
        merge.add(std::move(one));
    }
    merge.addTo(report);
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
        completeReport(is.rest(), path, includes, reader, made != nullptr, report);
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
    if (head.empty()) {
        completeReport(text, name, includes, reader, made != nullptr, report);
        return made;
    }
    // The same with places of the whole.
    const std::string whole = head + std::string(text) + "\n}";
    NOD_Report again;
    NOD_Report found;
    NOD_Interface::fromText(whole, name, again, includes);
    completeReport(whole, name, includes, again, made != nullptr, found);
    for (NOD_Message message : found.getMessages()) {
        NODtakeHead(message, text, name, head);
        report.add(std::move(message));
    }
    return made;
}
