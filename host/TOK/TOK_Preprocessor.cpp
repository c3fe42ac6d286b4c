#include <TOK/TOK_PreprocessorPrivate.h>

#include <KIT/KIT_IFStream.h>
#include <TOK/TOK_TokenStream.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace
{

bool isPlainFile(const std::string &path)
{
    std::error_code fault;
    return std::filesystem::is_regular_file(path, fault);
}

bool readFile(const std::string &path, std::string &text)
{
    KIT_IFStream stream(path.c_str(), KIT_IStream::TEXT, KIT_IFStream::WORDS);
    text.resize(static_cast<size_t>(stream.remaining()));
    return stream.breadRaw(text.data(), text.size()) && stream.isReadable();
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

std::string joined(const std::string &folder, const std::string &path)
{
    return folder.empty() || folder.back() == '/' ? folder + path : folder + '/' + path;
}

constexpr std::string_view theComment = "/*";

bool isNameEnd(std::string_view rest)
{
    const std::string_view before = rest;
    TOK_Condition::skipBlanks(rest);
    return rest.empty() || rest.size() != before.size();
}

} // namespace

TOK_Preprocessor::TOK_Preprocessor(TOK_TokenStream &owner)
    : myOwner(owner), myIncludeDepth(TOK_Limits::theIncludeDepth),
      myConfinedFlag(TOK_TokenStream::areAllIncludesConfined())
{}

TOK_Preprocessor::~TOK_Preprocessor() = default;

// -------------------------------------------------------------------- //
// Sources
// -------------------------------------------------------------------- //

void TOK_Preprocessor::openText(std::string &&text, const char *name, bool readable)
{
    pushFile(std::move(text), name);
    myReadableFlag = readable;
    if (!readable) {
        error("can't read the text", 0, nullptr);
    }
}

void TOK_Preprocessor::openFile(const char *fileName)
{
    std::string text;
    myReadableFlag = readFile(fileName, text);
    pushFile(std::move(text), fileName);
    if (!myReadableFlag) {
        error("can't read the file", 0, nullptr);
    }
}

void TOK_Preprocessor::pushFile(std::string &&text, const std::string &name)
{
    std::unique_ptr<Source> source = std::make_unique<Source>();
    source->text = std::move(text);
    std::string_view view = source->text;
    if (startsWith(view, KIT_IStream::theByteOrderMark)) {
        view.remove_prefix(KIT_IStream::theByteOrderMark.size());
    }
    source->lexer = TOK_Lexer(view, true);
    source->lexer.setEndsOpenTexts(myEndsOpenFlag);
    if (myFile) {
        source->includer = myFile;
        source->includeLine = myLine;
        source->includeAt = myFile->lexer.getBegin();
    }
    source->fileName = myNames.emplace_back(name).c_str();
    source->identity = identityOf(name);
    source->outerGroups = myGroups.size();
    myFile = source.get();
    myFileDepth++;
    mySources.push_back(std::move(source));

    const size_t nul = view.find('\0');
    if (nul != std::string_view::npos) {
        const auto lines = std::count(view.begin(), view.begin() + static_cast<long>(nul), '\n');
        warning("NUL bytes are read as blanks", 1 + static_cast<int>(lines), view.data() + nul);
    }
}

/// False if it was the last one, which is kept for its name.
bool TOK_Preprocessor::popSource()
{
    Source &source = *mySources.back();
    if (source.macro) {
        source.macro->activeFlag = false;
        myMacroDepth--;
        mySources.pop_back();
        return true;
    }
    while (myGroups.size() > source.outerGroups) {
        error("#if without #endif", myGroups.back().line, myGroups.back().begin);
        myGroups.pop_back();
    }
    if (mySources.size() == 1) {
        return false;
    }
    if (myKeepFlag) {
        myKept.push_back(std::move(mySources.back()));
    } else if (myTokenFile == &source) {
        myTokenFile = nullptr;
    }
    mySources.pop_back();
    myFileDepth--;
    myFile = mySources.back().get(); // only files include files
    return true;
}

TOK_Span TOK_Preprocessor::getSpan() const
{
    const char *const text = myFile->text.data();
    return {static_cast<size_t>(myFile->lexer.getBegin() - text),
            static_cast<size_t>(myFile->lexer.getReadEnd() - text), myMacroFlag,
            myTokens - (myTokens > 0)};
}

bool TOK_Preprocessor::next(std::string_view &token, bool &quoted)
{
    while (!myStoppedFlag) {
        Source &source = *mySources.back();
        const TOK_Lexer::Kind kind = source.lexer.next(token);
        if (!source.macro) {
            myLine = source.lexer.getLine();
        }
        checkFault();
        if (kind == TOK_Lexer::END) {
            myStoppedFlag = !popSource();
        } else if (kind == TOK_Lexer::DIRECTIVE) {
            runDirective(token);
        } else if (!isSkipping()) {
            quoted = kind == TOK_Lexer::QUOTED;
            if (quoted || !expandMacro(token)) {
                myMacroFlag = source.macro != nullptr;
                myTokens++;
                if (!myPlainHashFlag && !quoted && token[0] == '#' && !source.macro &&
                    source.lexer.isFirstOnLine()) {
                    warning("no directive: '" + std::string(token) + "'", myLine,
                            source.lexer.getBegin());
                }
                myTokenFile = myFile;
                myTokenLine = myLine;
                return true;
            }
        }
    }
    return false;
}

// -------------------------------------------------------------------- //
// Directives
// -------------------------------------------------------------------- //

const TOK_Preprocessor::Directive TOK_Preprocessor::theDirectives[] = {
#define TOK_DIRECTIVE(WORD, GROUP, RUN) {WORD, GROUP, &TOK_Preprocessor::RUN},
#include <TOK/TOK_DirectivesPrivate.def>
};

void TOK_Preprocessor::runDirective(std::string_view line)
{
    const std::string_view word = TOK_Condition::takeName(line);
    for (const Directive &directive : theDirectives) {
        if (word == directive.word) {
            if (directive.groupFlag || !isSkipping()) {
                TOK_Condition::skipBlanks(line);
                (this->*directive.run)(line);
            }
            return;
        }
    }
}

void TOK_Preprocessor::runDefine(std::string_view rest)
{
    const std::string name(TOK_Condition::takeName(rest));
    if (name.empty() || name == "defined") {
        error("#define lacks a name");
        return;
    }
    if (!isNameEnd(rest)) {
        error(rest.front() == '(' ? "macros have no arguments: '" + name + "'"
                                  : "the name of a macro goes on after '" + name + "'");
        return;
    }
    TOK_Condition::skipBlanks(rest);
    const auto [at, newFlag] = myMacros.try_emplace(name);
    if (!newFlag && at->second.text != rest) {
        warning("defined with another text before: '" + name + "'", myLine,
                myFile->lexer.getBegin());
    }
    at->second.text = rest;
}

void TOK_Preprocessor::runUndef(std::string_view rest)
{
    const std::string name(TOK_Condition::takeName(rest));
    if (name.empty()) {
        error("#undef lacks a name");
    }
    myMacros.erase(name);
}

bool TOK_Preprocessor::expandMacro(std::string_view word)
{
    if (myMacros.empty()) {
        return false;
    }
    const TOK_MacroMap::iterator found = myMacros.find(word);
    if (found == myMacros.end() || found->second.activeFlag) {
        return false;
    }
    TOK_Macro &macro = found->second;
    myMacroBytes += macro.text.size() + 1;
    if (myMacroDepth >= TOK_Limits::theMacroDepth) {
        stop("macros nest deeper than the limit of " + std::to_string(TOK_Limits::theMacroDepth));
    } else if (myMacroBytes > TOK_Limits::theMacroBytes) {
        stop("macros give more text than the limit of " +
             std::to_string(TOK_Limits::theMacroBytes) + " bytes");
    } else {
        std::unique_ptr<Source> source = std::make_unique<Source>();
        source->lexer = TOK_Lexer(macro.text, false);
        source->macro = &macro;
        macro.activeFlag = true;
        myMacroDepth++;
        mySources.push_back(std::move(source));
    }
    return true;
}

// -------------------------------------------------------------------- //
// Groups
// -------------------------------------------------------------------- //

void TOK_Preprocessor::openGroup(bool value)
{
    if (myGroups.size() >= TOK_Limits::theConditionDepth) {
        stop("#if nests deeper than the limit of " + std::to_string(TOK_Limits::theConditionDepth));
        return;
    }
    const bool deadFlag = isSkipping();
    myGroups.push_back(
        {myLine, myFile->lexer.getBegin(), value && !deadFlag, !value && !deadFlag, false});
}

/// The group that a directive continues; null, with an error, if there is none in this file.
TOK_Preprocessor::Group *TOK_Preprocessor::currentGroup(const char *word)
{
    if (myGroups.size() > myFile->outerGroups) {
        return &myGroups.back();
    }
    error("#" + std::string(word) + " without #if");
    return nullptr;
}

bool TOK_Preprocessor::evaluate(std::string_view text)
{
    TOK_Condition condition(myMacros);
    int64_t value;
    if (const char *const fault = condition.evaluate(text, value)) {
        error("#if: " + std::string(fault));
        return false;
    }
    return value != 0;
}

void TOK_Preprocessor::testDefined(std::string_view rest, bool wanted)
{
    const std::string_view name = TOK_Condition::takeName(rest);
    if (name.empty() && !isSkipping()) {
        error("#if lacks a name");
    }
    openGroup((myMacros.count(name) != 0) == wanted);
}

void TOK_Preprocessor::runIf(std::string_view rest)
{
    openGroup(!isSkipping() && evaluate(rest));
}

void TOK_Preprocessor::runIfdef(std::string_view rest)
{
    testDefined(rest, true);
}

void TOK_Preprocessor::runIfndef(std::string_view rest)
{
    testDefined(rest, false);
}

void TOK_Preprocessor::runElif(std::string_view rest)
{
    if (Group *const group = currentGroup("elif")) {
        if (group->elseFlag) {
            error("#elif behind #else");
        }
        group->activeFlag = group->pendingFlag && evaluate(rest);
        group->pendingFlag = group->pendingFlag && !group->activeFlag;
    }
}

void TOK_Preprocessor::runElse(std::string_view)
{
    if (Group *const group = currentGroup("else")) {
        if (group->elseFlag) {
            error("a second #else");
        }
        group->elseFlag = true;
        group->activeFlag = group->pendingFlag;
        group->pendingFlag = false;
    }
}

void TOK_Preprocessor::runEndif(std::string_view)
{
    if (currentGroup("endif")) {
        myGroups.pop_back();
    }
}

// -------------------------------------------------------------------- //
// Included files
// -------------------------------------------------------------------- //

void TOK_Preprocessor::runInclude(std::string_view rest)
{
    const char close = rest.empty() ? '\0' : rest[0] == '<' ? '>' : rest[0];
    const size_t end = rest.find(close, 1);
    if ((close != '"' && close != '>') || end == std::string_view::npos || end == 1) {
        error("#include lacks a file name in \"\" or <>");
        return;
    }
    const std::string path(rest.substr(1, end - 1));
    if (!myBesideFlag && !mySearchFlag) {
        error("this text can't include files: '" + path + "'");
        return;
    }
    const std::string found = findInclude(path, close == '"');
    if (found.empty()) {
        error("can't find the file to include: '" + path + "'");
    } else if (!mayInclude(found)) {
        error(
            "the file to include lies outside the folders of the script and of the search path: '" +
            found + "'");
    } else if (isBeingRead(found)) {
        error("a file includes itself: '" + found + "'");
    } else if (myFileDepth > myIncludeDepth) {
        error("#include nests deeper than the limit of " + std::to_string(myIncludeDepth) +
              " files: '" + found + "'");
    } else {
        includeFile(found);
    }
}

/// The same text for every path to one file; empty if the file doesn't exist. A file that is included ten
/// thousand times has its links followed once.
const std::string &TOK_Preprocessor::identityOf(const std::string &path)
{
    const auto at = myIdentities.find(path);
    if (at != myIdentities.end()) {
        return at->second;
    }
    std::error_code fault;
    const std::filesystem::path whole = std::filesystem::canonical(path, fault);
    return myIdentities.emplace(path, fault ? std::string() : whole.string()).first->second;
}

std::string TOK_Preprocessor::findInclude(const std::string &path, bool beside) const
{
    std::vector<std::string> candidates;
    const std::string includer = myFile->fileName;
    if (path[0] == '/') {
        candidates.push_back(path);
    } else if (beside && myBesideFlag && !includer.empty()) {
        candidates.push_back(includer.substr(0, includer.rfind('/') + 1) + path);
    }
    if (path[0] != '/' && mySearchFlag) {
        for (const std::vector<std::string> *folders : {&myFolders, &myPath}) {
            for (const std::string &folder : *folders) {
                candidates.push_back(joined(folder, path));
            }
        }
    }
    const auto found = std::find_if(candidates.begin(), candidates.end(), isPlainFile);
    return found == candidates.end() ? std::string() : *found;
}

bool TOK_Preprocessor::mayInclude(const std::string &path)
{
    if (!myConfinedFlag) {
        return true;
    }
    const std::string &file = identityOf(path);
    const auto holds = [&](const std::string &folder) {
        const std::string &whole = identityOf(folder);
        return !whole.empty() && startsWith(file, whole.back() == '/' ? whole : whole + '/');
    };
    const std::string first = mySources.front()->fileName;
    const std::size_t slash = first.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : first.substr(0, slash + 1);
    return (!first.empty() && holds(folder)) ||
           std::any_of(myFolders.begin(), myFolders.end(), holds) ||
           std::any_of(myPath.begin(), myPath.end(), holds);
}

bool TOK_Preprocessor::isBeingRead(const std::string &path)
{
    const std::string &identity = identityOf(path);
    return std::any_of(mySources.begin(), mySources.end(), [&](const auto &source) {
        return !source->macro && source->identity == identity;
    });
}

void TOK_Preprocessor::includeFile(const std::string &path)
{
    std::error_code fault;
    const std::uintmax_t size = std::filesystem::file_size(path, fault);
    if (++myIncludes > TOK_Limits::theIncludes) {
        stop("more files are included than the limit of " +
             std::to_string(TOK_Limits::theIncludes));
        return;
    }
    if (!fault && size > TOK_Limits::theIncludeBytes - myIncludeBytes) {
        stop("included files are larger than the limit of " +
             std::to_string(TOK_Limits::theIncludeBytes) + " bytes");
        return;
    }
    std::string text;
    if (fault || !readFile(path, text)) {
        error("can't read the file to include: '" + path + "'");
        return;
    }
    myIncludeBytes += std::min(text.size(), TOK_Limits::theIncludeBytes - myIncludeBytes);
    if (!myIncluded.insert(identityOf(path)).second) {
        myRepeatedBytes += text.size();
        if (myRepeatedBytes > TOK_Limits::theRepeatedBytes) {
            stop("files that are included again are larger than the limit of " +
                 std::to_string(TOK_Limits::theRepeatedBytes) + " bytes");
            return;
        }
    }
    myOwner.cppInclude(myFile->fileName, myLine, getSpan(), path.c_str(), text);
    pushFile(std::move(text), path);
}

// -------------------------------------------------------------------- //
// Settings
// -------------------------------------------------------------------- //

void TOK_Preprocessor::setOptions(const char *const *options)
{
    myBesideFlag = mySearchFlag = myPlainHashFlag = false;
    myFolders.clear();
    for (; options && *options; options++) {
        const std::string word = *options;
        const std::string start = word.substr(0, 2);
        const std::string rest = word.size() > 2 ? word.substr(2) : std::string();
        if (word == "-h") {
            myBesideFlag = true;
        } else if (word == "-H") {
            mySearchFlag = true;
        } else if (word == "-x") {
            myPlainHashFlag = true;
        } else if (start == "-I" && !rest.empty()) {
            myFolders.push_back(rest);
            mySearchFlag = true;
        } else if (start == "-D" && !rest.empty()) {
            const size_t equals = rest.find('=');
            const bool textFlag = equals != std::string::npos;
            myMacros[rest.substr(0, equals)].text = textFlag ? rest.substr(equals + 1) : "1";
        } else if (start == "-U") {
            myMacros.erase(rest);
        }
    }
}

void TOK_Preprocessor::setPath(const char *folders)
{
    myPath.clear();
    std::string_view rest = folders ? folders : "";
    while (!rest.empty()) {
        const size_t length = std::min(rest.find(':'), rest.size());
        if (length) {
            myPath.emplace_back(rest.substr(0, length));
        }
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
}

// -------------------------------------------------------------------- //
// Places
// -------------------------------------------------------------------- //

void TOK_Preprocessor::setEndsOpenTexts(bool ends)
{
    myEndsOpenFlag = ends;
    myFile->lexer.setEndsOpenTexts(ends);
}

/// Where the token ends is found by reading it once more, which costs nothing while tokens are read.
void TOK_Preprocessor::describe(const Source &source, const char *begin, int line, TOK_Place &place)
{
    place.file = source.fileName;
    place.text = source.text;
    place.line = line;
    place.begin = static_cast<size_t>(begin - source.text.data());
    const std::string_view rest = place.text.substr(place.begin);
    TOK_Lexer again(rest, true);
    again.setEndsOpenTexts(source.lexer.endsOpenTexts());
    std::string_view token;
    place.quotedFlag = again.next(token) == TOK_Lexer::QUOTED;
    place.end = place.begin + static_cast<size_t>(again.getReadEnd() - rest.data());
    if (again.getBegin() != rest.data() || startsWith(rest, theComment)) { // no token
        place.end = place.begin + (startsWith(rest, theComment) ? theComment.size() : 1);
        place.quotedFlag = false;
    }
    int faultLine;
    const char *faultBegin;
    place.openFlag =
        place.quotedFlag && again.takeFault(faultLine, faultBegin) != TOK_Lexer::NO_FAULT;
}

bool TOK_Preprocessor::getPlace(TOK_Place &place) const
{
    const Source *const source = myReportLine > 0 ? myFile : myTokenFile;
    if (!source || (myReportLine > 0 && !myReportBegin)) {
        return false;
    }
    if (myReportLine > 0) {
        describe(*source, myReportBegin, myReportLine, place);
    } else {
        const char *const text = source->text.data();
        place.file = source->fileName;
        place.text = source->text;
        place.line = myTokenLine;
        place.begin = static_cast<size_t>(source->lexer.getBegin() - text);
        place.end = static_cast<size_t>(source->lexer.getEnd() - text);
        place.quotedFlag = *source->lexer.getBegin() == '"';
        place.openFlag = place.quotedFlag && source->lexer.isOpen();
    }
    place.firstFlag = source->lexer.isFirstOnLine();
    const Source &last = *mySources.back();
    place.macroFlag = last.macro != nullptr;
    if (place.macroFlag) {
        place.macroToken = {last.lexer.getBegin(),
                            std::size_t(last.lexer.getEnd() - last.lexer.getBegin())};
    }
    return true;
}

bool TOK_Preprocessor::getIncluder(int level, TOK_Place &place) const
{
    const Source *source = myReportLine > 0 ? myFile : myTokenFile;
    for (int i = 0; source && i < level; i++) {
        source = source->includer;
    }
    if (!source || !source->includer) {
        return false;
    }
    describe(*source->includer, source->includeAt, source->includeLine, place);
    return true;
}

// -------------------------------------------------------------------- //
// Messages
// -------------------------------------------------------------------- //

void TOK_Preprocessor::checkFault()
{
    const Source &source = *mySources.back();
    int line;
    const char *begin;
    const TOK_Lexer::Fault fault = mySources.back()->lexer.takeFault(line, begin);
    if (fault != TOK_Lexer::NO_FAULT) {
        error(fault == TOK_Lexer::OPEN_QUOTE ? "a quote is never closed"
                                             : "a comment is never closed",
              source.macro ? myLine : line, source.macro ? myFile->lexer.getBegin() : begin);
    }
}

std::string TOK_Preprocessor::placed(const std::string &text, int line) const
{
    const std::string name = myFile->fileName;
    if (name.empty()) {
        return line ? "line " + std::to_string(line) + ": " + text : text;
    }
    return line ? name + "(" + std::to_string(line) + "): " + text : name + ": " + text;
}

void TOK_Preprocessor::error(const std::string &text, int line, const char *begin)
{
    myReportLine = line;
    myReportBegin = begin;
    myOwner.cppError(placed(text, line).c_str());
    myReportLine = 0;
}

void TOK_Preprocessor::warning(const std::string &text, int line, const char *begin)
{
    myReportLine = line;
    myReportBegin = begin;
    myOwner.cppWarning(placed(text, line).c_str());
    myReportLine = 0;
}

void TOK_Preprocessor::stop(const std::string &text)
{
    error(text);
    myStoppedFlag = true;
}
