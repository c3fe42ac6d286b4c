#include <NOD/NOD_Interface.h>

#include <BAS/BAS_Thread.h>
#include <DS/DS_Stream.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IFStream.h>
#include <KIT/KIT_String.h>
#include <KIT/KIT_WorkBuffer.h>
#include <NOD/NOD_Report.h>
#include <NOD/interface/NOD_HelpPagePrivate.h>
#include <NOD/interface/NOD_ScriptDetailPrivate.h>
#include <NOD/interface/NOD_ScriptStreamPrivate.h>
#include <NOD/interface/NOD_TemplateMakerPrivate.h>
#include <NOD/interface/NOD_TemplatePathsPrivate.h>
#include <TOK/TOK_TokenStream.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_ScriptImports.h>
#include <ZEL/ZEL_ScriptPage.h>
#include <ZEL/ZEL_ScriptQuote.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

namespace
{

ZEL_Template theNoTemplates[] = {ZEL_Template()};

/// Whether the first word is a brace, behind comments and lines of the preprocessor.
bool isWholeScript(std::string_view text)
{
    static const char *const theNoIncludes[] = {"-x", nullptr};
    const KIT_ErrorManager::Scope quiet(BASgetSTID());
    KIT_IStream is(text.data(), text.size(), KIT_IStream::TEXT);
    TOK_TokenStream tokens(is, nullptr);
    tokens.setCPPOptions(theNoIncludes);
    KIT_String first;
    return tokens.getToken(first) && first == "{";
}

bool parsePage(ZEL_ScriptPage &page, DS_Stream &stream)
{
    constexpr bool wantBrace = true;
    constexpr bool isImport = false;
    constexpr bool clearJoin = true;
    constexpr int depth = 0;
    if (!page.parse(stream, wantBrace, nullptr, isImport, clearJoin, depth)) {
        return false;
    }
    KIT_String rest;
    if (stream.getToken(rest)) {
        stream.warning(theNODScriptRest);
    }
    return true;
}

/// Items of blocks too.
void settleNoCook(ZEL_Template *templates)
{
    for (ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        NODsettleNoCook(*at);
        if (at->isMultiType() && !at->isRampType()) {
            settleNoCook(at->getMultiParmTemplate());
        }
    }
}

/// A block that contains itself counts once: `outer` are the arrays around this one.
template <class Visit>
void forEachParm(const ZEL_Template *templates, std::vector<const ZEL_Template *> &outer,
                 const Visit &visit)
{
    if (std::find(outer.begin(), outer.end(), templates) != outer.end()) {
        return;
    }
    outer.push_back(templates);
    for (const ZEL_Template *at = templates; at && !at->isTerminator(); ++at) {
        if (!at->isSwitcher()) {
            visit(*at);
        }
        if (at->isMultiType() && !at->isRampType()) {
            forEachParm(at->getMultiParmTemplate(), outer, visit);
        }
    }
    outer.pop_back();
}

std::string stemOf(const std::string &file)
{
    const std::size_t start = file.rfind('/') + 1; // 0 without one
    const std::string name = file.substr(start);
    const std::string stem = name.substr(0, name.rfind('.'));
    return stem.empty() || stem == "." || stem == ".." ? "node" : stem;
}

bool openFile(const KIT_IStream &is, const std::string &path, NOD_Report &report)
{
    if (!is.isReadable()) {
        report.add({KIT_ERROR_ABORT, path, 0, {}, "can't be read: " + KITsystemReason(), {}, 0});
    }
    return is.isReadable();
}

} // namespace

/// A bracket can be no name, in quotes neither.
std::string NODscriptHead(std::string_view text, const std::string &name)
{
    if (isWholeScript(text)) {
        return {};
    }
    const bool bracketFlag = name == "}" || name == "[" || name == "]";
    KIT_WorkBuffer quoted;
    ZELprotectString(quoted, bracketFlag ? "node" : name.c_str(), false, false);
    return "{ name \"" + std::string(quoted.view()) + "\"\n";
}

/// A mark of the byte order stays in front of all.
std::string NODwithHead(std::string_view text, const std::string &head)
{
    constexpr std::string_view theMark = KIT_IStream::theByteOrderMark;
    std::string whole(text);
    if (!head.empty()) {
        whole.insert(text.substr(0, theMark.size()) == theMark ? theMark.size() : 0, head);
        whole += "\n}";
    }
    return whole;
}

int NOD_HelpPage::parseHelp(DS_Stream &stream, KIT_String &help)
{
    const int result = ZEL_ScriptPage::parseHelp(stream, help);
    myHelp = help.nonNullStr();
    myHelp.erase(myHelp.find_last_not_of('\n') + 1);
    return result;
}

NOD_Interface::NOD_Interface(Source source, const std::string &file)
    : mySource(source), myFile(file), myTemplates(theNoTemplates)
{}

NOD_Interface::~NOD_Interface()
{
    ZEL_ParmList::removeOpSharedInfo(mySharedName);
}

// ---------------------------------------------------------------------- //
// Making one
// ---------------------------------------------------------------------- //

bool NOD_Interface::parse(KIT_IStream &is, const std::string &name, ZEL_ScriptPage &page,
                          NOD_Report &report, Includes includes)
{
    NOD_Report found;
    bool parsed = false;
    const std::string_view text = is.rest();
    {
        const NOD_ReportScope scope(found, name);
        NOD_ScriptStream stream(is, name, found, includes);
        parsed = parsePage(page, stream);
        if (!parsed && !found.hasErrors() && KITgetErrorManager().getSeverity() < KIT_ERROR_ABORT) {
            // Some blocks fail at their start without a message.
            stream.error("Expecting open brace");
        }
    }
    if (!found.isEmpty()) {
        NODcompleteDetails(found, text, name, includes, !parsed);
    }
    report.append(found);
    return parsed && !found.hasErrors();
}

bool NOD_Interface::parseFile(const std::string &path, ZEL_ScriptPage &page, NOD_Report &report)
{
    errno = 0;
    KIT_IFStream is(path.c_str(), KIT_IStream::TEXT, KIT_IFStream::WORDS);
    return openFile(is, path, report) && parse(is, path, page, report);
}

bool NOD_Interface::read(KIT_IStream &is, NOD_Report &report, Includes includes)
{
    myText = is.rest();
    myIncludes = includes;
    myPage = std::make_unique<NOD_HelpPage>();
    if (!parse(is, myFile, *myPage, report, includes)) {
        return false;
    }
    describe();
    return true;
}

std::shared_ptr<const NOD_Interface> NOD_Interface::fromFile(const std::string &path,
                                                             NOD_Report &report, Includes includes)
{
    errno = 0;
    KIT_IFStream is(path.c_str(), KIT_IStream::TEXT, KIT_IFStream::WORDS);
    if (!openFile(is, path, report)) {
        return nullptr;
    }
    std::shared_ptr<NOD_Interface> made(new NOD_Interface(Source::SCRIPT_FILE, path));
    return made->read(is, report, includes) ? made : nullptr;
}

std::shared_ptr<const NOD_Interface> NOD_Interface::fromText(std::string_view text,
                                                             const std::string &name,
                                                             NOD_Report &report, Includes includes)
{
    const std::string head = NODscriptHead(text, name);
    const std::string whole = NODwithHead(text, head);
    KIT_IStream is(whole.data(), whole.size(), KIT_IStream::TEXT);
    std::shared_ptr<NOD_Interface> made(new NOD_Interface(Source::SCRIPT_TEXT, name));
    NOD_Report found;
    const bool readFlag = made->read(is, found, includes);
    // Head and end aren't the caller's.
    report.append(head.empty() ? found : NODtakeHead(found, text, name, head));
    return readFlag ? made : nullptr;
}

std::shared_ptr<const NOD_Interface> NOD_Interface::fromTemplates(ZEL_Template *templates,
                                                                  const std::string &typeName,
                                                                  std::shared_ptr<const void> keep,
                                                                  const std::string &label)
{
    std::shared_ptr<NOD_Interface> made(new NOD_Interface(Source::TEMPLATES, ""));
    made->myTemplates = templates ? templates : theNoTemplates;
    made->myTypeName = typeName;
    made->myLabel = label.empty() ? typeName : label;
    made->myKept = std::move(keep);
    made->nameTables();
    return made;
}

void NOD_Interface::describe()
{
    const char *const token = myPage->getToken();
    myTypeName = token && *token ? token : stemOf(myFile);
    if (myTypeName.find('/') != std::string::npos) {
        myTypeName = stemOf(myFile);
    }
    myLabel = myPage->getLabel().nonNullStr();
    myHelp = static_cast<const NOD_HelpPage &>(*myPage).getHelp();
    const auto count = static_cast<std::uint32_t>(myPage->computeTemplateSize());
    myOwnTemplates.reset(new ZEL_Template[count + 1]);
    myTemplates = myOwnTemplates.get();
    int index = 0;
    ZEL_ScriptImports *imports = nullptr;
    myPage->fillTemplate(myTemplates, index, imports);
    myImports.reset(imports);
    settleNoCook(myTemplates);
    nameTables();
}

void NOD_Interface::nameTables()
{
    // The first list of a name decides the tables: two descriptions must not share them.
    static std::atomic<std::uint64_t> theLast{0};
    const std::uint64_t number = theLast.fetch_add(1, std::memory_order_relaxed) + 1;
    mySharedName = KIT_StringHolder(myTypeName + "@" + std::to_string(number));
}

const std::vector<NOD_Interface::NodePath> &NOD_Interface::getNodePaths() const
{
    static std::mutex theLock;
    const std::lock_guard<std::mutex> guard(theLock);
    if (!myNodePaths) {
        myNodePaths = std::make_unique<const std::vector<NodePath>>(NODtemplatePaths(myTemplates));
    }
    return *myNodePaths;
}

int NOD_Interface::getParmCount() const
{
    int count = 0;
    std::vector<const ZEL_Template *> outer;
    forEachParm(myTemplates, outer, [&](const ZEL_Template &) { ++count; });
    return count;
}

std::vector<std::string> NOD_Interface::getParmNames() const
{
    std::vector<std::string> names;
    std::vector<const ZEL_Template *> outer;
    forEachParm(myTemplates, outer, [&](const ZEL_Template &parm) {
        names.emplace_back(parm.getToken() ? parm.getToken() : "");
    });
    return names;
}
