#include <NOD/NOD_ScriptCheck.h>

#include <BAS/BAS_Thread.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_Nearest.h>
#include <KIT/KIT_String.h>
#include <NOD/NOD_ExpressionCheck.h>
#include <NOD/NOD_InterfaceCheck.h>
#include <NOD/interface/NOD_ScriptDetailPrivate.h>
#include <NOD/interface/NOD_ScriptPlacesPrivate.h>
#include <NOD/interface/NOD_ScriptStreamPrivate.h>
#include <NOD/interface/NOD_SoundPartPrivate.h>
#include <ZEL/ZEL_ParmTypes.h>
#include <ZEL/ZEL_ScriptPage.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <unordered_map>
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
    static constexpr std::size_t theMostMessages = 1000;
    static constexpr std::size_t theMostWork = 16000000; ///< tokens that are read

    /// Statements that are read together, and those on which their meaning depends.
    struct Part
    {
        int begin;
        int end;
        int name; ///< -1 for none
        int type; ///< the last one before them
        int size;
    };

    bool isSpent(std::size_t more = 0) const
    {
        return myPlaced.size() + more >= theMostMessages || myWork >= theMostWork;
    }

    void judge(int block);
    int findEnd(int block, int begin, int most) const;
    int findNamed(int block, const std::vector<bool> &dropped) const;
    void keepContext(int block, int statement, const std::vector<bool> &dropped, Part &part) const;
    Piece compose(int block, const Part &part, const std::vector<bool> &dropped);
    bool read(const Piece &piece, std::vector<Placed> &said) const;
    int findStatement(int block, int token) const;
    void leaveRepeats(int block, const std::vector<bool> &dropped, std::vector<Placed> &said) const;
    bool isMeant(int statement, int block, std::string_view keyword) const;

    const NOD_ScriptTokens &myTokens;
    const Shape &myShape;
    std::vector<Placed> myPlaced;
    std::size_t myWork = 0;
    bool myNamed = false; ///< a name of the present block is at fault
};

std::vector<Placed> Pass::run()
{
    for (const Shape::Fault &fault : myShape.getFaults()) {
        auto detail = std::make_shared<KIT_MessageDetail>(*NODmakeDetail(myTokens, myShape, fault));
        detail->hint = fault.hint;
        NOD_Message message = {KIT_ERROR_ABORT, detail->place.file,   detail->place.line, {},
                               fault.text,      theKITScriptCategory, fault.code,         detail};
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
        message.category = theKITScriptCategory;
        message.code = NOD_SCRIPT_MORE_MISTAKES;
        myPlaced.push_back({myTokens.size(), std::move(message)});
    }
    return std::move(myPlaced);
}

/// Reads the statements of a block, a few at a time and again after each one at which reading stopped.
void Pass::judge(int block)
{
    const std::vector<Shape::Statement> &statements =
        myShape.getBlocks()[std::size_t(block)].statements;
    std::vector<bool> dropped;
    for (const Shape::Statement &one : statements) {
        dropped.push_back(!one.soundFlag || one.block >= 0);
    }
    std::vector<Placed> all;
    myNamed = false;
    constexpr int theFewest = 8; // tokens that are read together: fewer where mistakes are many
    constexpr int theMost = 256;
    int tokens = theMost;
    Part part = {0, 0, findNamed(block, dropped), -1, -1};
    bool droppedFlag = false; // a name may be missing after the last one
    do {
        part.end = findEnd(block, part.begin, tokens);
        std::vector<Placed> said;
        const Piece piece = compose(block, part, dropped);
        myWork += piece.tokens.size();
        const bool readFlag = read(piece, said);
        const int stop = readFlag || said.empty() ? -1 : findStatement(block, said.back().token);
        if (stop >= 0 && stop == part.name) {
            dropped[std::size_t(stop)] = true;
            part.name = -1;
            myNamed = true;
            all.push_back(std::move(said.back()));
            continue; // without it
        }
        droppedFlag = stop >= part.begin && !dropped[std::size_t(stop)];
        const int end = droppedFlag ? stop + 1 : part.end;
        for (int i = part.begin; i < end; ++i) {
            keepContext(block, i, dropped, part);
        }
        std::copy_if(said.begin(), said.end(), std::back_inserter(all), [&](const Placed &one) {
            const int at = findStatement(block, one.token);
            return at < 0 || at >= part.begin;
        });
        if (droppedFlag) {
            dropped[std::size_t(stop)] = true;
            myNamed = myNamed || isMeant(stop, block, "name");
        }
        tokens = droppedFlag ? std::max(tokens / 2, theFewest) : std::min(tokens * 2, theMost);
        part.begin = end;
    } while ((part.begin < int(statements.size()) || droppedFlag) && !isSpent(all.size()));
    leaveRepeats(block, dropped, all);
    std::move(all.begin(), all.end(), std::back_inserter(myPlaced));
}

/// Where a few statements end that are read together.
int Pass::findEnd(int block, int begin, int most) const
{
    const std::vector<Shape::Statement> &statements =
        myShape.getBlocks()[std::size_t(block)].statements;
    int end = begin;
    for (int tokens = 0; end < int(statements.size()) && tokens < most; ++end) {
        const Shape::Statement &one = statements[std::size_t(end)];
        tokens += one.block >= 0 ? 1 : one.end - one.begin;
    }
    return end;
}

/// The statement that names the block; -1 without one.
int Pass::findNamed(int block, const std::vector<bool> &dropped) const
{
    const std::vector<Shape::Statement> &statements =
        myShape.getBlocks()[std::size_t(block)].statements;
    for (std::size_t i = 0; i < statements.size(); ++i) {
        if (!dropped[i] && myTokens[statements[i].begin].text == "name") {
            return int(i);
        }
    }
    return -1;
}

/// Remembers a statement on which the meaning of later ones depends.
void Pass::keepContext(int block, int statement, const std::vector<bool> &dropped, Part &part) const
{
    if (!dropped[std::size_t(statement)]) {
        const Shape::Block &own = myShape.getBlocks()[std::size_t(block)];
        const std::string &word = myTokens[own.statements[std::size_t(statement)].begin].text;
        part.type = word == "type" ? statement : part.type;
        part.size = word == "size" ? statement : part.size;
    }
}

/// The statement of a token; -1 if there is none.
int Pass::findStatement(int block, int token) const
{
    const std::vector<Shape::Statement> &statements =
        myShape.getBlocks()[std::size_t(block)].statements;
    const auto after =
        std::upper_bound(statements.begin(), statements.end(), token,
                         [](int at, const Shape::Statement &one) { return at < one.begin; });
    const bool foundFlag = after != statements.begin() && token < (after - 1)->end;
    return foundFlag ? int(after - statements.begin()) - 1 : -1;
}

/// Whether a statement has a keyword, perhaps misspelt.
bool Pass::isMeant(int statement, int block, std::string_view keyword) const
{
    const Shape::Block &own = myShape.getBlocks()[std::size_t(block)];
    const Shape::Statement &one = own.statements[std::size_t(statement)];
    const std::string &word = myTokens[one.begin].text;
    if (one.block >= 0 || word == keyword) {
        return one.block < 0;
    }
    if (!KITnearestWord(word, {std::string(keyword)})) {
        return false; // most words are near to none of those that are asked for
    }
    const std::string *const nearest = KITnearestWord(word, NODgetScriptWords(own.parmFlag));
    return nearest && *nearest == keyword;
}

/// Leaves out what a statement says again, and defaults too many where the type or size isn't known.
void Pass::leaveRepeats(int block, const std::vector<bool> &dropped,
                        std::vector<Placed> &said) const
{
    bool sizedFlag = true;
    for (std::size_t i = 0; i < dropped.size(); ++i) {
        sizedFlag =
            sizedFlag &&
            !(dropped[i] && (isMeant(int(i), block, "type") || isMeant(int(i), block, "size")));
    }
    std::set<std::pair<int, std::string>> told;
    const auto end = std::remove_if(said.begin(), said.end(), [&](const Placed &one) {
        sizedFlag = sizedFlag && !NODisMessage(one.message, NOD_SCRIPT_NO_TYPE);
        return (NODisMessage(one.message, NOD_SCRIPT_SURPLUS_DEFAULTS) && !sizedFlag) ||
               !told.emplace(findStatement(block, one.token), one.message.text).second;
    });
    said.erase(end, said.end());
}

Piece Pass::compose(int block, const Part &part, const std::vector<bool> &dropped)
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
    const auto add = [&](int statement) {
        const Shape::Statement &one = own.statements[std::size_t(statement)];
        for (int token = one.begin; token < one.end; ++token) {
            piece.add(myTokens, token);
        }
    };
    const std::set<int> context = {part.name, part.type, part.size}; // in their order
    for (const int before : context) {
        if (before >= 0 && (before < part.begin || before >= part.end)) {
            add(before);
        }
    }
    for (int i = part.begin; i < part.end; ++i) {
        myNamed = myNamed || (dropped[std::size_t(i)] && isMeant(i, block, "name"));
        if (!dropped[std::size_t(i)]) {
            add(i);
        }
    }
    // What is told of a name that can't be read is enough, and that there is none at the end.
    const bool nameFlag = part.name < 0 && (myNamed || part.end < int(dropped.size()));
    piece.text += nameFlag ? "name \"n" + std::string(std::size_t(depth), '#') + "\" " : "";
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
            message.detail = NODcompleteDetail(myTokens, myShape, token, message);
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

/// The parameter that a message is about.
std::pair<std::string, std::int64_t> parmOf(const KIT_MessageDetail &detail)
{
    return {detail.subject, detail.related.empty() ? -1 : detail.related[0].place.offset};
}

/// Adds messages but for those of defaults too many, of which there is one for each default: after the first one of
/// a parameter, and of one whose type isn't known.
void addOnce(const NOD_Report &from, NOD_Report &report)
{
    std::set<std::pair<std::string, std::int64_t>> told;
    for (const NOD_Message &message : from.getMessages()) {
        const bool surplusFlag = NODisMessage(message, NOD_SCRIPT_SURPLUS_DEFAULTS);
        const bool typeFlag = NODisMessage(message, NOD_SCRIPT_NO_TYPE);
        const bool countFlag = message.detail && (surplusFlag || typeFlag);
        const bool newFlag = !countFlag || told.insert(parmOf(*message.detail)).second;
        if (newFlag || !surplusFlag) {
            report.add(message);
        }
    }
}

/// What the reader said, and what else there is.
class Merge
{
public:
    Merge(const NOD_ScriptTokens &tokens, const Shape &shape) : myTokens(tokens), myShape(shape) {}

    /// Adds what the reader said up to the first fault, its first error, and the message that the fault led to.
    void addReader(const NOD_Report &reader);
    /// Adds what the preprocessor says of the rest.
    void addTokens(bool goodFlag);
    void add(Placed found);
    void addTo(NOD_Report &report);

private:
    void keep(Placed one, bool causedFlag);

    const NOD_ScriptTokens &myTokens;
    const Shape &myShape;
    std::vector<Placed> myAll;
    std::vector<bool> myCaused; ///< those that the first fault led to
    std::unordered_multimap<std::int64_t, std::size_t> myByOffset;
};

void Merge::addReader(const NOD_Report &reader)
{
    const std::vector<Shape::Fault> &faults = myShape.getFaults();
    const std::shared_ptr<const KIT_MessageDetail> cause =
        faults.empty() ? nullptr : NODmakeDetail(myTokens, myShape, faults.front());
    const auto tokenOf = [this](const NOD_Message &message) {
        const std::int64_t offset = message.detail ? message.detail->place.offset : -1;
        return offset < 0 ? -1 : myTokens.find(message.detail->place.file, std::size_t(offset));
    };
    bool firstFlag = true;               // no error so far
    const NOD_Message *caused = nullptr; // its first error, else the first warning
    for (const NOD_Message &message : reader.getMessages()) {
        const int token = tokenOf(message);
        const bool causedFlag = cause && message.detail &&
                                (samePlace(*message.detail, *cause) || token == faults[0].token);
        const bool errorFlag = message.severity >= KIT_ERROR_ABORT;
        if (causedFlag && (!caused || (errorFlag && caused->severity < KIT_ERROR_ABORT))) {
            caused = &message;
        } else if (!causedFlag && (firstFlag || !errorFlag || !myTokens.isEndMissing()) &&
                   ((firstFlag && errorFlag) || faults.empty() || token < faults[0].token)) {
            keep({token, message}, false);
        }
        firstFlag = firstFlag && !errorFlag;
    }
    if (caused) {
        keep({faults[0].token, *caused}, true);
        myAll.back().message.detail = cause;
    }
}

void Merge::addTokens(bool goodFlag)
{
    for (NOD_Message message : myTokens.getMessages().getMessages()) {
        message.severity = goodFlag ? KIT_ERROR_WARNING : message.severity;
        add({-1, std::move(message)});
    }
}

void Merge::add(Placed found)
{
    const KIT_MessageDetail *const detail = found.message.detail.get();
    const auto [begin, end] = myByOffset.equal_range(detail ? detail->place.offset : -1);
    const bool saidFlag = std::any_of(begin, end, [&](const auto &row) {
        const NOD_Message &one = myAll[row.second].message;
        return one.detail && detail && samePlace(*one.detail, *detail) &&
               (myCaused[row.second] || one.text == found.message.text);
    });
    if (!saidFlag) {
        keep(std::move(found), false);
    }
}

void Merge::keep(Placed one, bool causedFlag)
{
    const KIT_MessageDetail *const detail = one.message.detail.get();
    myByOffset.emplace(detail ? detail->place.offset : -1, myAll.size());
    myAll.push_back(std::move(one));
    myCaused.push_back(causedFlag);
}

void Merge::addTo(NOD_Report &report)
{
    std::vector<std::pair<std::pair<int, std::int64_t>, std::size_t>> order;
    for (const Placed &one : myAll) {
        const KIT_MessageDetail *const detail = one.message.detail.get();
        std::int64_t offset = detail ? detail->place.offset : -1;
        int token = offset < 0 ? one.token : myTokens.find(detail->place.file, std::size_t(offset));
        // A file without tokens is where it is included.
        for (std::size_t i = 0; token < 0 && detail && i < detail->includedFrom.size(); ++i) {
            offset = detail->includedFrom[i].offset;
            token = myTokens.find(detail->includedFrom[i].file, std::size_t(offset));
        }
        order.push_back({{token, offset}, order.size()});
    }
    std::sort(order.begin(), order.end());
    NOD_Report all;
    for (const auto &row : order) {
        all.add(std::move(myAll[row.second].message));
    }
    addOnce(all, report);
}

/// Adds what the reader said of a script, and what else is wrong with it.
void completeReport(std::string_view text, const std::string &name,
                    NOD_Interface::Includes includes, const NOD_Report &reader, bool goodFlag,
                    NOD_Report &report)
{
    const NOD_ScriptTokens tokens(text, name, includes);
    if (!tokens.isWhole()) {
        addOnce(reader, report);
        return;
    }
    const Shape shape(tokens);
    Merge merge(tokens, shape);
    merge.addReader(reader);
    NOD_Report mistakes;
    for (Placed &one : Pass(tokens, shape).run()) {
        mistakes.add(one.message);
        one.message.severity = goodFlag ? KIT_ERROR_WARNING : one.message.severity;
        merge.add(std::move(one));
    }
    merge.addTokens(goodFlag);
    if (!goodFlag) {
        mistakes.append(reader);
        NOD_Report judged;
        NODcheckSoundPart(text, name, includes, mistakes, judged);
        for (const NOD_Message &message : judged.getMessages()) {
            merge.add({-1, message});
        }
    }
    merge.addTo(report);
}

/// Whether a script that the reader accepts has a part that it doesn't read.
bool hasRest(const NOD_Report &reader)
{
    const std::vector<NOD_Message> &messages = reader.getMessages();
    return std::any_of(messages.begin(), messages.end(),
                       [](const NOD_Message &one) { return NODisMessage(one, NOD_SCRIPT_REST); });
}

/// Whether a line that looks like a directive stands in front of a whole script.
bool beginsWithHash(std::string_view text)
{
    const std::size_t first = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    const std::size_t line = std::min(text.find('\n', first), text.size());
    const std::size_t brace = std::min(text.find_first_not_of(" \t\r\n", line), text.size());
    return first < text.size() && text[first] == '#' && brace < text.size() && text[brace] == '{';
}

} // namespace

std::shared_ptr<const NOD_Interface> NODcheckScriptFile(const std::string &path, NOD_Report &report,
                                                        NOD_Interface::Includes includes)
{
    NOD_Report reader;
    std::shared_ptr<const NOD_Interface> made = NOD_Interface::fromFile(path, reader, includes);
    if (made && !hasRest(reader)) {
        addOnce(reader, report);
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
        addOnce(reader, report);
        return made;
    }
    const std::string head = NODscriptHead(text, name);
    if (head.empty() || beginsWithHash(text)) {
        completeReport(text, name, includes, reader, made != nullptr, report);
        return made;
    }
    // The same with places of the whole.
    const std::string whole = NODwithHead(text, head);
    NOD_Report again;
    NOD_Report found;
    NOD_Interface::fromText(whole, name, again, includes);
    completeReport(whole, name, includes, again, made != nullptr, found);
    report.append(NODtakeHead(found, text, name, head));
    return made;
}

void NODcheckDescription(const NOD_Interface &script, const std::string &file, NOD_Report &report)
{
    NOD_Report faults;
    NOD_ScriptPlaces places(script);
    NODcheckNames(places, faults);
    NODcheckInterface(places, faults);
    NODcheckMenuScripts(places, faults);
    NODcheckExpressions(places, faults);
    for (NOD_Message message : faults.getMessages()) {
        if (message.category == ZEL_ERROR_CATEGORY && message.code == ZEL_ERR_TEXT_NAME &&
            !message.subject.empty()) {
            continue; // told as a name
        }
        message.file = message.file.empty() ? file : message.file;
        report.add(std::move(message));
    }
}
