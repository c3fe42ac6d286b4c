#include <NOD/server/NOD_ServerFeaturesPrivate.h>

#include <NOD/server/NOD_ServerKeywordsPrivate.h>
#include <NOD/server/NOD_ServerPlacePrivate.h>
#include <NOD/server/NOD_ServerWorkspacePrivate.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>

namespace
{

using Json = NOD_ServerJson;
using Source = NOD_ServerSource;

namespace fs = std::filesystem;

/// Kinds of items by the numbers of the protocol.
enum Kind
{
    FIELD = 5,
    VALUE = 12,
    KEYWORD = 14,
    FILE = 17,
    FOLDER = 19,
    CLASS = 7,
    CONSTANT = 21,
    OPERATOR = 24
};

constexpr const char *theOperators[] = {
#define ZEL_CONDITION_OPERATOR(name, number, text, ...) text,
#include <ZEL/ZEL_ConditionOperators.def>
};

constexpr const char *theTags[] = {
#define ZEL_SPARE_TOKEN(stem, text) text,
#define ZEL_SPARE_EXTRA_TOKEN(stem, text) text,
#include <ZEL/ZEL_SpareDataTokens.def>
};

bool isWordByte(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '#' || c == ':' ||
           c == '.';
}

/// Collects what may stand at a place.
class Completer
{
public:
    Completer(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document, std::size_t offset)
        : myWorkspace(workspace), myDocument(document), myFile(document.file()), myOffset(offset),
          myBegin(offset)
    {
        const std::string &text = myFile->getText().get();
        while (myBegin > 0 && isWordByte(text[myBegin - 1])) {
            --myBegin;
        }
    }

    Json run();

private:
    std::string_view text() const { return myFile->getText().get(); }
    void add(const std::string &label, Kind kind, const std::string &detail = {},
             const std::string &doc = {});

    const Json &range();
    bool addFiles(std::string_view line);
    void addFolder(const fs::path &folder);
    bool addCall(std::string_view line);
    bool isInComment(const Source &before) const;
    void addPlaced();
    void addKeywords(const Source &before);
    void addValues(const Source &before, const Source::Statement &statement, int values);
    void addCondition(const Source &before, const Source::Statement &statement);
    void addParms();
    void addChoices(const NOD_ServerFile &file, int block);
    int parmBlock(const Source &before) const;

    NOD_ServerWorkspace &myWorkspace;
    NOD_ServerDocument &myDocument;
    NOD_ServerFilePtr myFile;
    std::size_t myOffset;
    std::size_t myBegin; ///< of the word that is being written
    Json myRange;        ///< of that word; null until it is asked for
    Json myItems = Json::array();
    std::set<std::string> myLabels;
};

void Completer::add(const std::string &label, Kind kind, const std::string &detail,
                    const std::string &doc)
{
    if (label.empty() || !myLabels.insert(label).second) {
        return;
    }
    Json item = {{"label", label},
                 {"kind", int(kind)},
                 {"textEdit", {{"range", range()}, {"newText", label}}}};
    if (!detail.empty()) {
        item["detail"] = detail;
    }
    if (!doc.empty()) {
        item["documentation"] = doc;
    }
    myItems.push_back(std::move(item));
}

const Json &Completer::range()
{
    if (myRange.is_null()) {
        myRange = NODserverRange(myFile->getText(), myBegin, myOffset);
    }
    return myRange;
}

Json Completer::run()
{
    const std::size_t feed = myOffset == 0 ? std::string::npos : text().rfind('\n', myOffset - 1);
    const std::size_t begin = feed == std::string::npos ? 0 : feed + 1;
    const std::string_view line = text().substr(begin, myOffset - begin);
    if (!addFiles(line) && !addCall(line)) {
        addPlaced();
    }
    return myItems;
}

// ---------------------------------------------------------------------- //
// Files
// ---------------------------------------------------------------------- //

/// Those that may stand after `#include`.
bool Completer::addFiles(std::string_view line)
{
    const std::size_t mark = line.find_first_not_of(" \t");
    const std::size_t quote = line.find_first_of("\"<");
    const bool directiveFlag = mark != std::string_view::npos && line[mark] == '#' &&
                               line.find("include") < quote && quote != std::string_view::npos;
    if (!directiveFlag) {
        return false;
    }
    const std::string_view written = line.substr(quote + 1);
    const std::size_t slash = written.rfind('/');
    const std::string folder(slash == std::string_view::npos ? "" : written.substr(0, slash + 1));
    myBegin = myOffset - (written.size() - folder.size());
    const NOD_Interface::Includes includes = myWorkspace.includesFor(myDocument);
    const bool outFlag = folder.substr(0, 1) == "/" || folder.find("..") != std::string::npos;
    if (includes == NOD_Interface::Includes::NONE ||
        (outFlag && includes == NOD_Interface::Includes::CONFINED)) {
        return true;
    }
    addFolder(fs::path(myDocument.getPath()).parent_path() / folder);
    const char *const path = std::getenv("ZEL_PATH");
    std::string_view rest = path ? path : "";
    while (!rest.empty()) {
        const std::size_t colon = std::min(rest.find(':'), rest.size());
        addFolder(fs::path(rest.substr(0, colon)) / folder);
        rest.remove_prefix(std::min(colon + 1, rest.size()));
    }
    return true;
}

void Completer::addFolder(const fs::path &folder)
{
    constexpr int theMost = 1000;
    std::error_code fault;
    std::set<std::string> names;
    int count = 0;
    for (fs::directory_iterator at(folder, fault), end; !fault && at != end && count < theMost;
         at.increment(fault), ++count) {
        const std::string name = at->path().filename().string();
        const std::string ending = at->path().extension().string();
        const bool folderFlag = at->is_directory(fault);
        const bool ownFlag = at->path() == fs::path(myDocument.getPath());
        if (name[0] != '.' && !ownFlag && (folderFlag || ending == ".ds" || ending == ".dsh")) {
            names.insert(folderFlag ? name + "/" : name);
        }
    }
    for (const std::string &name : names) {
        add(name, name.back() == '/' ? FOLDER : FILE);
    }
}

// ---------------------------------------------------------------------- //
// Parameters
// ---------------------------------------------------------------------- //

/// Names in a call such as `ch("`.
bool Completer::addCall(std::string_view line)
{
    std::string_view before =
        line.substr(0, line.size() - std::min(myOffset - myBegin, line.size()));
    const auto trim = [&before](std::string_view bytes) {
        const std::size_t size = before.size();
        before = before.substr(0, before.find_last_not_of(bytes) + 1);
        return before.size() < size;
    };
    if (!trim("\"'\\") || before.empty() || before.back() != '(') {
        return false;
    }
    before.remove_suffix(1);
    std::size_t name = before.size();
    while (name > 0 && std::isalpha(static_cast<unsigned char>(before[name - 1]))) {
        --name;
    }
    if (before.substr(name, 2) != "ch") {
        return false;
    }
    addParms();
    return true;
}

void Completer::addParms()
{
    for (const NOD_ServerFilePtr &file : myWorkspace.filesOf(myDocument)) {
        const Source &source = file->getSource();
        for (const NOD_ServerNames::Parm &parm : file->getNames().getParms()) {
            const bool parmFlag = source.block(parm.block).parmFlag;
            const std::string_view word =
                source.word(source.statement(source.block(parm.block).statement));
            const bool valueFlag = parmFlag || word == "groupradio" || word == "dynamic" ||
                                   word.substr(0, 5) == "multi";
            if (!valueFlag) {
                continue;
            }
            const int type = source.findStatement(parm.block, "type");
            const int value = type < 0 ? -1 : source.firstValue(type);
            add(parm.name, FIELD, std::string(value < 0 ? word : source.text(value)));
        }
    }
}

/// The tokens of a parameter's menu, or the words of a toggle.
void Completer::addChoices(const NOD_ServerFile &file, int block)
{
    const Source &source = file.getSource();
    const int type = source.findStatement(block, "type");
    const int word = type < 0 ? -1 : source.firstValue(type);
    if (word >= 0 && (source.text(word) == "toggle" || source.text(word) == "embed")) {
        add("off", CONSTANT);
        add("on", CONSTANT);
    }
    for (const int number : source.block(block).statements) {
        const Source::Statement &statement = source.statement(number);
        if (!statement.word || statement.word->form != NOD_ScriptWord::MENU) {
            continue;
        }
        std::vector<int> words;
        bool bracesFlag = false;
        for (int i = statement.keyword + 1; i < statement.end; ++i) {
            bracesFlag = bracesFlag || source.raw(i) == "{";
            if (bracesFlag && source.isCode(i) && source.raw(i) != "{" && source.raw(i) != "}") {
                words.push_back(i);
            }
        }
        const bool scriptFlag = !words.empty() && source.raw(words.front()) == "[";
        for (std::size_t i = 0; !scriptFlag && i + 1 < words.size(); i += 2) {
            add(std::string(source.text(words[i])), VALUE, std::string(source.text(words[i + 1])));
        }
    }
}

// ---------------------------------------------------------------------- //
// By the place in the script
// ---------------------------------------------------------------------- //

/// In a comment or a directive nothing is offered.
bool Completer::isInComment(const Source &before) const
{
    if (before.getTokens().empty()) {
        return false;
    }
    const Source::Token &last = before.getTokens().back();
    const std::string_view raw = before.raw(int(before.getTokens().size()) - 1);
    if (last.kind == TOK_SourceTokens::BLOCK_COMMENT) {
        return raw.size() < 4 || raw.substr(raw.size() - 2) != "*/";
    }
    const bool lineFlag =
        last.kind == TOK_SourceTokens::LINE_COMMENT || last.kind == TOK_SourceTokens::DIRECTIVE;
    const std::string_view after = text().substr(last.end, myBegin - last.end);
    return lineFlag && after.find('\n') == std::string_view::npos;
}

void Completer::addPlaced()
{
    const Source before(myFile->getSource(), myBegin);
    const Source::Expectation &expected = before.getExpectation();
    if (isInComment(before)) {
        return;
    }
    // A text that is open belongs to the statement before it.
    const int last = int(before.getTokens().size()) - 1;
    const bool openFlag =
        last >= 0 && before.token(last).kind == TOK_SourceTokens::QUOTED &&
        before.token(last).end == myBegin &&
        (before.isCut() || before.raw(last).size() == 1 || before.raw(last).back() != '"');
    const int statement = openFlag ? before.token(last).statement : expected.statement;
    if (statement < 0) {
        addKeywords(before);
        return;
    }
    const Source::Statement &own = before.statement(statement);
    if (!own.word) {
        if (!expected.bracesFlag && own.keyword == last) {
            addKeywords(before);
        }
        return;
    }
    if (own.word->form == NOD_ScriptWord::CONDITION) {
        addCondition(before, own);
        return;
    }
    int values = 0;
    for (int i = own.keyword + 1; i <= last; ++i) {
        values += before.isCode(i) && before.raw(i) != "{" && !(openFlag && i == last);
    }
    addValues(before, own, values);
}

void Completer::addKeywords(const Source &before)
{
    const Source::Block &block = before.block(before.getExpectation().block);
    const bool importFlag =
        block.statement >= 0 && before.word(before.statement(block.statement)) == "import";
    for (const std::string &word : NODgetScriptWords(block.parmFlag)) {
        if (block.parmFlag || importFlag || !NODisImportKeyword(word)) {
            const char *const doc = NODfindKeywordDoc(word, block.parmFlag);
            add(word, KEYWORD, "", doc ? doc : "");
            if (NODfindScriptWord(word, block.parmFlag)->form == NOD_ScriptWord::SKIPPED) {
                myItems.back()["sortText"] = "~" + word; // last
            }
        }
    }
}

/// The parameter in which the place is, in the whole text; -1 for none.
int Completer::parmBlock(const Source &before) const
{
    const int number = before.getExpectation().block;
    if (!before.block(number).parmFlag) {
        return -1;
    }
    const std::size_t begin = before.blockBegin(number);
    const std::vector<Source::Block> &blocks = myFile->getSource().getBlocks();
    for (int i = 1; i < int(blocks.size()); ++i) {
        if (blocks[std::size_t(i)].parmFlag && myFile->getSource().blockBegin(i) == begin) {
            return i;
        }
    }
    return -1;
}

void Completer::addValues(const Source &before, const Source::Statement &statement, int values)
{
    const std::string_view word = before.word(statement);
    const NOD_ScriptWord::Form form = statement.word->form;
    const bool parmFlag = before.block(statement.block).parmFlag;
    const std::vector<int> &nested = before.getExpectation().nested;
    if (parmFlag && word == "type") {
        for (const std::string &type : NODgetScriptTypeWords()) {
            add(type, CLASS, "", NODtypeDoc(type));
        }
    } else if (parmFlag && word == "export") {
        for (const std::string &level : NODgetExportWords()) {
            add(level, CONSTANT);
        }
    } else if (parmFlag && (word == "default" || word == "defaults")) {
        if (nested.size() > 1) {
            for (const std::string &meaning : NODgetMeaningWords()) {
                add(meaning, CONSTANT);
            }
        } else if (const int block = parmBlock(before); block >= 0) {
            addChoices(*myFile, block);
        }
    } else if (form == NOD_ScriptWord::PAIRS && values % 2 == 0) {
        for (const char *const tag : theTags) {
            add(tag, VALUE);
        }
    } else if (form == NOD_ScriptWord::MENU && nested.empty()) {
        add("usetokenvalue", CONSTANT);
    } else if (form == NOD_ScriptWord::MENU &&
               before.raw(int(before.getTokens().size()) - 1) == "language") {
        for (const std::string &language : NODgetLanguageWords()) {
            add(language, CONSTANT);
        }
    }
}

void Completer::addCondition(const Source &before, const Source::Statement &statement)
{
    std::size_t begin = before.token(statement.keyword).end;
    const std::size_t quote = text().find_first_not_of(" \t\r\n", begin);
    if (quote >= myBegin) {
        return;
    }
    begin = quote + 1;
    const NOD_ServerConditionPlace place = NODreadServerCondition(
        text().substr(begin, myBegin - begin), [](std::size_t, std::size_t) {});
    switch (place.part) {
    case NOD_ServerConditionPlace::OUTSIDE: break;
    case NOD_ServerConditionPlace::LEFT: addParms(); break;
    case NOD_ServerConditionPlace::OPERATOR:
        for (const char *const op : theOperators) {
            add(op, OPERATOR);
        }
        break;
    case NOD_ServerConditionPlace::RIGHT:
        const NOD_ServerDeclaration parm =
            NODfindDeclaration(myWorkspace.filesOf(myDocument), place.left);
        if (parm.file) {
            addChoices(*parm.file, parm.file->getNames().getParms()[std::size_t(parm.parm)].block);
        }
        break;
    }
}

} // namespace

NOD_ServerJson NODserverCompletion(NOD_ServerWorkspace &workspace, NOD_ServerDocument &document,
                                   const NOD_ServerJson &params)
{
    const std::size_t offset =
        NODserverOffset(document.file()->getText(), NODserverMember(params, "position"));
    return Completer(workspace, document, offset).run();
}
