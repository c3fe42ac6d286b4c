#include <NOD/NOD_ValueFile.h>

#include <BAS/BAS_Character.h>
#include <KIT/KIT_Error.h>
#include <KIT/KIT_IStream.h>
#include <KIT/KIT_MessageDetail.h>
#include <KIT/KIT_MessageSource.h>
#include <KIT/KIT_OpUtils.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_NodeFile.h>
#include <NOD/NOD_NodeSections.h>
#include <NOD/NOD_Report.h>
#include <NOD/files/NOD_FilesPrivate.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <NOD/files/NOD_SectionFilePrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>
#include <TRK/TRK_Channel.h>
#include <TRK/TRK_Collection.h>
#include <ZEL/ZEL_Parm.h>
#include <ZEL/ZEL_ParmList.h>
#include <ZEL/ZEL_Template.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <system_error>
#include <utility>

namespace
{

// Stored.
constexpr std::string_view theIndexStart = "#STO_INDEX";
constexpr std::string_view thePresetStart = "#PSI_PRESET";
constexpr std::string_view theSectionWord = "section \"";
constexpr std::size_t theStart = 65536;

constexpr const char *theNotWhole = "isn't loaded as a whole";

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/// From the first word that is no comment on, without a byte order mark.
std::string_view firstWords(std::string_view text)
{
    if (startsWith(text, "\xef\xbb\xbf")) {
        text.remove_prefix(3);
    }
    for (;;) {
        const auto word = std::find_if_not(text.begin(), text.end(), BASisBlank);
        text.remove_prefix(std::size_t(word - text.begin()));
        if (text.empty() || text[0] != '#') {
            return text;
        }
        text.remove_prefix(std::min(text.find('\n'), text.size()));
    }
}

/// By the version or the brace behind the word, which may begin a line of other files.
bool canBeChannels(std::string_view words)
{
    constexpr std::string_view theWord = "channels";
    if (!startsWith(words, theWord)) {
        return false;
    }
    const std::string_view rest = firstWords(words.substr(theWord.size()));
    return rest.empty() || rest[0] == '{' || (rest[0] >= '0' && rest[0] <= '9');
}

/// A list, or an object by its first key: no word of a script is a colon.
bool canBeJson(std::string_view words)
{
    if (!startsWith(words, "{")) {
        return startsWith(words, "[");
    }
    words = firstWords(words.substr(1));
    if (words.empty() || words[0] != '"') {
        return startsWith(words, "}");
    }
    const std::size_t end = words.find('"', 1);
    return end != std::string_view::npos && startsWith(firstWords(words.substr(end + 1)), ":");
}

/// By its first words, which are a brace, a comment, nothing, or a macro behind directives.
bool canBeScript(std::string_view text, std::string_view words)
{
    const std::string_view before = text.substr(0, std::size_t(words.data() - text.data()));
    for (const char *const directive : {"#define", "#include", "#if"}) {
        if (before.find(directive) != std::string_view::npos) {
            return true;
        }
    }
    constexpr std::size_t theLookedAt = 64;
    const std::string_view start = words.substr(0, theLookedAt);
    return start.empty() || ((start[0] == '{' || start[0] == '/') &&
                             std::none_of(start.begin(), start.end(), [](char c) {
                                 return static_cast<unsigned char>(c) < ' ' && !BASisBlank(c);
                             }));
}

/// What an index file is, by its first section.
NOD_FileKind kindOfIndex(std::string_view text)
{
    const std::size_t at = text.find(theSectionWord);
    const std::string_view name =
        at == std::string_view::npos ? "" : text.substr(at + theSectionWord.size());
    return startsWith(name, std::string(theSceneSection) + "\"")  ? NOD_FileKind::SCENE
           : startsWith(name, std::string(thePartSection) + "\"") ? NOD_FileKind::NODE
                                                                  : NOD_FileKind::PRESETS;
}

NOD_FileKind kindOfBinary(std::string_view bytes)
{
    if (!NOD_SectionFile::canBeOne(bytes)) {
        return ZEL_ParmList::canBeStream(bytes) ? NOD_FileKind::STREAM : NOD_FileKind::NONE;
    }
    return NOD_SectionFile::firstName(bytes) == thePartSection ? NOD_FileKind::NODE
                                                               : NOD_FileKind::SCENE;
}

bool canBeAny(std::string_view start)
{
    return NOD_ValueFile::kindOf(start) != NOD_FileKind::NONE;
}

/// The first 64 KiB; nothing if there is no such file, or it is a pipe or device, which this doesn't read.
std::string startOf(const std::string &path)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return "";
    }
    std::string start(theStart, '\0');
    std::ifstream is(path, std::ios::binary);
    is.read(start.data(), std::streamsize(start.size()));
    start.resize(std::size_t(is.gcount()));
    return start;
}

bool hasLostChannel(const NOD_Report &report)
{
    const auto &messages = report.getMessages();
    return std::any_of(messages.begin(), messages.end(), [](const NOD_Message &message) {
        return message.category == ZEL_ERROR_CATEGORY && message.code == ZEL_ERR_NO_CHANNEL;
    });
}

/// Calls `use` with each component: a parameter and an index.
template <class Use>
void forComponents(ZEL_ParmList &parms, const Use &use)
{
    for (int i = 0; i < parms.getEntries(); ++i) {
        const ZEL_Parm &parm = *parms.getParmPtr(i);
        for (int k = 0; k < parm.getVectorSize(); ++k) {
            use(parm, k);
        }
    }
}

void addOnce(std::vector<std::string> &names, const std::string &name)
{
    if (names.empty() || names.back() != name) {
        names.push_back(name);
    }
}

/// The first few of them in a sentence.
std::string joined(const std::vector<std::string> &names)
{
    constexpr std::size_t theMost = 10;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), theMost); ++i) {
        text += (i > 0 ? ", " : "") + names[i];
    }
    return names.size() <= theMost
               ? text
               : text + " and " + std::to_string(names.size() - theMost) + " more";
}

/// Second names of channels that aren't there.
std::vector<std::string> findAliases(NOD_Node &node, const NOD_ParmTest &counts)
{
    std::vector<std::string> aliases;
    forComponents(node.getParms(), [&](const ZEL_Parm &parm, int component) {
        if ((!counts || counts(parm)) && !parm.getChannel(component) &&
            parm.getChannelAlias(component) != parm.getChannelToken(component)) {
            aliases.emplace_back(parm.getChannelAlias(component).nonNullStr());
        }
    });
    return aliases;
}

std::vector<std::string> findSpares(NOD_Node &node, const NOD_ParmTest &counts)
{
    std::vector<std::string> spares;
    for (const ZEL_Template *description : node.getSpareParms().getDescriptions()) {
        const ZEL_Parm *const parm = node.getParms().getParmPtr(description->getTokenRef());
        if (!counts || (parm && counts(*parm))) {
            spares.emplace_back(description->getToken());
        }
    }
    return spares;
}

void warnOfLeftOut(NOD_Node &node, NOD_ValueFile::Form form, NOD_Report &report)
{
    const std::vector<std::string> names = NOD_ValueFile::findLeftOut(node, form);
    if (!names.empty()) {
        const bool channelsFlag = form == NOD_ValueFile::Form::CHANNELS;
        report.warning("", (channelsFlag ? "a channel file holds no values, so without those of: "
                                         : "a stream holds no channels, so without those that no "
                                           "parameter has: ") +
                               joined(names));
    }
    constexpr bool theAllowedFlag = true;
    NODtellUnheld(node, {}, {theAllowedFlag}, report);
}

bool hasChannels(ZEL_ParmList &parms)
{
    bool anyFlag = false;
    forComponents(parms, [&](const ZEL_Parm &parm, int component) {
        anyFlag = anyFlag || parm.getChannel(component);
    });
    return anyFlag;
}

void tell(const std::string &file, const std::string &text, NOD_Report &report,
          const std::shared_ptr<const KIT_MessageDetail> &detail = nullptr)
{
    report.add({KIT_ERROR_ABORT, file, 0, {}, text, {}, 0, detail});
}

constexpr std::pair<const char *, NOD_ValueFile::Form> theForms[] = {
    {"text", NOD_ValueFile::Form::TEXT},
    {"binary", NOD_ValueFile::Form::BINARY},
    {"compact", NOD_ValueFile::Form::COMPACT},
    {"channels", NOD_ValueFile::Form::CHANNELS},
    {"node", NOD_ValueFile::Form::NODE}};

} // namespace

// ---------------------------------------------------------------------- //
// Kinds
// ---------------------------------------------------------------------- //

NOD_FileKind NOD_ValueFile::kindOf(std::string_view start)
{
    if (isBinary(start)) {
        return kindOfBinary(start);
    }
    if (startsWith(start, theIndexStart)) {
        return kindOfIndex(start); // a section may have values in the binary form
    }
    if (start.find('\0') != std::string_view::npos) {
        return NOD_FileKind::NONE;
    }
    if (startsWith(start, thePresetStart)) {
        return NOD_FileKind::PRESET;
    }
    const std::string_view words = firstWords(start);
    if (canBeChannels(words)) {
        return NOD_FileKind::CHANNELS;
    }
    if (canBeJson(words)) {
        return NOD_FileKind::JSON;
    }
    if (!canBeScript(start, words)) {
        return NOD_FileKind::NONE;
    }
    const bool braceFlag = startsWith(words, "{");
    return braceFlag && startsWith(firstWords(words.substr(1)), "version") ? NOD_FileKind::STREAM
                                                                           : NOD_FileKind::SCRIPT;
}

NOD_FileKind NOD_ValueFile::kindOf(const std::string &path)
{
    const std::string start = startOf(path);
    return start.empty() ? NOD_FileKind::NONE : kindOf(std::string_view(start));
}

const char *NOD_ValueFile::getKindName(NOD_FileKind kind)
{
    switch (kind) {
    case NOD_FileKind::SCRIPT: return "a dialog script";
    case NOD_FileKind::JSON: return "a JSON file";
    case NOD_FileKind::STREAM: return "a parameter stream";
    case NOD_FileKind::CHANNELS: return "a channel file";
    case NOD_FileKind::PRESET: return "a preset";
    case NOD_FileKind::PRESETS: return "a file of presets";
    case NOD_FileKind::NODE: return "a node file";
    case NOD_FileKind::SCENE: return "a scene file";
    default: return "no file of parameters";
    }
}

bool NOD_ValueFile::isOther(std::string_view start, const std::string &name, NOD_FileKind wanted,
                            NOD_Report &report, const char *words)
{
    const NOD_FileKind kind = kindOf(start);
    const bool textFlag = wanted == NOD_FileKind::SCRIPT || wanted == NOD_FileKind::STREAM;
    const bool mistakenFlag =
        (kind == NOD_FileKind::SCRIPT && (textFlag || firstWords(start).empty())) ||
        (kind == NOD_FileKind::PRESETS && wanted == NOD_FileKind::SCENE); // any name is a preset's
    if (kind == NOD_FileKind::NONE || kind == wanted || mistakenFlag) {
        return false;
    }
    tell(name,
         std::string("is ") + getKindName(kind) + " where " +
             (words ? words : getKindName(wanted)) + " is wanted",
         report);
    return true;
}

bool NOD_ValueFile::isOtherFile(const std::string &path, NOD_FileKind wanted, NOD_Report &report,
                                const char *words)
{
    return isOther(startOf(path), path, wanted, report, words);
}

bool NOD_ValueFile::isBinary(std::string_view start)
{
    constexpr std::size_t theLookedAt = 64;
    return start.substr(0, theLookedAt).find('\0') != std::string_view::npos;
}

bool NOD_ValueFile::isBinaryFile(const std::string &path)
{
    return isBinary(startOf(path));
}

std::size_t NOD_ValueFile::findSection(const std::string &path)
{
    std::error_code ignored;
    return std::filesystem::exists(path, ignored) ? std::string::npos : path.find('?');
}

bool NOD_ValueFile::checkEnd(KIT_IStream &is, const std::string &name, NOD_Report &report)
{
    if (!is.isBinary()) {
        is.skipWhitespace();
    }
    if (!is.eof()) {
        const auto detail = KIT_MessageSource(is).describe();
        detail->place.file = name;
        tell(name, "goes on after the stream's end, at byte " + std::to_string(is.tellg()), report,
             detail);
    }
    return is.eof();
}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

bool NOD_ValueFile::read(const std::string &path, NOD_Report &report)
{
    const std::size_t mark = findSection(path);
    std::string bytes;
    return NODreadFile(path.substr(0, mark), bytes, report, canBeAny) &&
           take(std::move(bytes), path, mark, report);
}

bool NOD_ValueFile::read(std::string bytes, const std::string &name, NOD_Report &report)
{
    return take(std::move(bytes), name, name.find('?'), report);
}

bool NOD_ValueFile::take(std::string bytes, const std::string &name, std::size_t mark,
                         NOD_Report &report)
{
    myName = name.substr(0, mark);
    mySection = mark == std::string::npos ? "" : KIT_OpUtils::decodeBytes(name.substr(mark + 1));
    myBytes = std::move(bytes);
    myKind = kindOf(std::string_view(myBytes));
    if (myKind == NOD_FileKind::NONE || myKind == NOD_FileKind::SCRIPT ||
        myKind == NOD_FileKind::JSON) {
        tell(myName,
             std::string("has no values: it is ") +
                 (myBytes.empty() ? "empty" : getKindName(myKind)),
             report);
        return false;
    }
    return true;
}

bool NOD_ValueFile::apply(NOD_Node &node, NOD_Report &report) const
{
    const int before = report.getErrorCount();
    bool whole = false;
    NOD_Edit edit(node, "Load " + myName);
    edit.change(node);
    if (myKind == NOD_FileKind::NODE || myKind == NOD_FileKind::SCENE) {
        whole = applyNode(node, report);
    } else if (myKind == NOD_FileKind::PRESET || myKind == NOD_FileKind::PRESETS) {
        whole = applyPreset(node, report);
    } else {
        NOD_Report found;
        {
            const NOD_ReportScope scope(found, myName);
            whole = applyStream(node, report);
        }
        // It is about a value that isn't there: the numbers beside names of channels mean nothing.
        if (myKind == NOD_FileKind::STREAM && hasLostChannel(found)) {
            tell(myName, "refers to channels that aren't there", found);
        }
        report.append(found);
    }
    if (!whole && report.getErrorCount() == before) {
        tell(myName, theNotWhole, report);
    }
    return report.getErrorCount() == before;
}

bool NOD_ValueFile::applyAll(const std::vector<NOD_ValueFile> &files, NOD_Node &node,
                             std::vector<NOD_FileLoss> &losses, NOD_Report &report)
{
    const auto isChannels = [](const NOD_ValueFile &file) {
        return file.getKind() == NOD_FileKind::CHANNELS;
    };
    bool good = true;
    const auto applyOne = [&](const NOD_ValueFile &file) {
        NOD_Report found;
        good = good && file.apply(node, found);
        if (!found.isEmpty()) {
            losses.push_back({file.getName()});
        }
        const std::vector<NOD_FileLoss> comments =
            NODfindComments(file.myBytes, file.getName(), file.mySection);
        losses.insert(losses.end(), comments.begin(), comments.end());
        report.append(found);
    };
    NOD_Edit edit(node, "Load files");
    edit.change(node);
    for (const bool channelsFlag : {true, false}) {
        for (const NOD_ValueFile &file : files) {
            if (isChannels(file) == channelsFlag) {
                applyOne(file);
            }
        }
    }
    const bool othersFlag = !std::all_of(files.begin(), files.end(), isChannels);
    for (const NOD_ValueFile &file : files) {
        if (good && othersFlag && isChannels(file)) {
            NOD_Report reportedAlready;
            file.apply(node, reportedAlready);
        }
    }
    return good;
}

bool NOD_ValueFile::applyStream(NOD_Node &node, NOD_Report &report) const
{
    KIT_IStream is(myBytes.data(), myBytes.size(),
                   isBinary(myBytes) ? KIT_IStream::BINARY : KIT_IStream::TEXT);
    const KIT_MessageSource source(myBytes, myName, is.isBinary());
    const bool whole = myKind == NOD_FileKind::CHANNELS
                           ? node.loadChannels(is)
                           : node.getParms().load(is, myName.c_str(), nullptr);
    if (!whole && KITgetErrorSeverity() < KIT_ERROR_ABORT) {
        tell(myName, theNotWhole, report,
             KIT_MessageSource(is).describe(KIT_MessageSource::Word::NEXT));
    }
    return whole && checkEnd(is, myName, report);
}

/// The name of the section of that kind that is meant, or the only one; "" after an error.
std::string NOD_ValueFile::pickSection(const NOD_SectionFile &file, const char *kind,
                                       NOD_Report &report) const
{
    const std::string start = kind[0] ? std::string(kind) + " " : "";
    std::string only;
    int count = 0;
    for (const NOD_SectionFile::Section &section : file.getSections()) {
        if (!startsWith(section.name, start)) {
            continue;
        }
        const std::string_view rest = section.name.substr(start.size());
        if (rest == mySection) {
            return std::string(section.name);
        }
        // A node file is about the node that is not below others.
        const bool belowFlag =
            myKind == NOD_FileKind::NODE && std::count(rest.begin(), rest.end(), '/') > 1;
        if (!belowFlag) {
            only = section.name;
            ++count;
        }
    }
    if (mySection.empty() && count == 1) {
        return only;
    }
    const std::string what = kind[0] ? kind : "preset";
    tell(myName,
         !mySection.empty() ? "there is no " + what + " " + mySection
         : count == 0       ? "there is no " + what + " in it"
                      : "has " + std::to_string(count) + " " + what + "s: say which as FILE?" +
                            (kind[0] ? "/PATH" : "NAME"),
         report);
    return "";
}

std::vector<std::string> NOD_ValueFile::findNodes(NOD_Report &report) const
{
    std::vector<std::string> paths;
    NOD_SectionFile file;
    const std::string head =
        file.read(myBytes, myName, report) ? pickSection(file, theNodeSection, report) : "";
    if (!head.empty()) {
        paths.push_back(NODrestOf(head));
    }
    for (const NOD_SectionFile::Section &section : file.getSections()) {
        if (!head.empty() && startsWith(section.name, head + "/")) {
            paths.push_back(NODrestOf(section.name));
        }
    }
    return paths;
}

std::string NOD_ValueFile::findNodeVersion() const
{
    NOD_Report ignored;
    NOD_SectionFile file;
    const bool nodeFlag = myKind == NOD_FileKind::NODE || myKind == NOD_FileKind::SCENE;
    const std::string head = nodeFlag && file.read(myBytes, myName, ignored)
                                 ? pickSection(file, theNodeSection, ignored)
                                 : "";
    for (const NOD_SectionFile::Section &section : file.getSections()) {
        const auto lines = !head.empty() && section.name == head ? NODreadLines(section.text)
                                                                 : std::vector<NOD_Line>();
        for (const NOD_Line &line : lines) {
            if (line.words.size() == 2 && line.words[0] == theNodeVersion) {
                return line.words[1];
            }
        }
    }
    return "";
}

bool NOD_ValueFile::applyPreset(NOD_Node &node, NOD_Report &report) const
{
    std::string text = myBytes;
    NOD_SectionFile file;
    const NOD_SectionFile::Section *placed = nullptr;
    if (myKind == NOD_FileKind::PRESETS) {
        const std::string name =
            file.read(myBytes, myName, report) ? pickSection(file, "", report) : "";
        const auto &sections = file.getSections();
        const auto found = std::find_if(sections.begin(), sections.end(),
                                        [&](const auto &section) { return section.name == name; });
        if (name.empty() || found == sections.end()) {
            return false;
        }
        placed = &*found;
        text = found->text;
    }
    NOD_Report found;
    bool loaded = false;
    {
        const NOD_ReportScope scope(found, myName);
        loaded = node.loadPresetText(text);
    }
    for (NOD_Message message : found.getMessages()) {
        message.detail =
            placed ? NOD_SectionFile::placeDetail(message.detail, *placed, myName) : message.detail;
        report.add(std::move(message));
    }
    return loaded;
}

bool NOD_ValueFile::applyNode(NOD_Node &node, NOD_Report &report) const
{
    NOD_SectionFile file;
    if (!file.read(myBytes, myName, report)) {
        return false;
    }
    const std::string head = pickSection(file, theNodeSection, report);
    if (head.empty()) {
        return false;
    }
    const std::string path = NODrestOf(head);
    NOD_NodeSections sections;
    std::map<std::string, NOD_SectionFile::Section> byKind;
    for (const NOD_SectionFile::Section &section : file.getSections()) {
        std::string *const text =
            NODrestOf(section.name) == path ? sections.findText(NODkindOf(section.name)) : nullptr;
        if (text) {
            *text = section.text;
            byKind.emplace(NODkindOf(section.name), section);
        }
        if (section.name == head) {
            for (const NOD_Line &line : NODreadLines(section.text)) {
                if (line.words[0] == "variable" && line.words.size() == 3) {
                    sections.variables[line.words[1]] = line.words[2];
                }
            }
        }
    }
    NOD_Report found;
    sections.load(node, found);
    for (NOD_Message message : found.getMessages()) {
        const std::string kind = message.subject.substr(0, message.subject.find('/'));
        const auto whole = byKind.find(kind);
        if (whole != byKind.end()) {
            message.detail = NOD_SectionFile::placeDetail(message.detail, whole->second, myName,
                                                          kind == "spares" ? kind : "");
        }
        message.file = myName;
        message.subject = NODplacedSubject(message.subject, path);
        report.add(std::move(message));
    }
    return !found.hasErrors();
}

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

std::vector<std::string> NOD_ValueFile::getFormWords()
{
    std::vector<std::string> words;
    for (const auto &[word, form] : theForms) {
        words.emplace_back(word);
    }
    return words;
}

bool NOD_ValueFile::findForm(std::string_view word, Form &form)
{
    const auto *const found = std::find_if(std::begin(theForms), std::end(theForms),
                                           [&](const auto &one) { return one.first == word; });
    if (found != std::end(theForms)) {
        form = found->second;
    }
    return found != std::end(theForms);
}

NOD_ValueFile::Form NOD_ValueFile::getForm() const
{
    switch (myKind) {
    case NOD_FileKind::CHANNELS: return Form::CHANNELS;
    case NOD_FileKind::NODE:
    case NOD_FileKind::SCENE: return Form::NODE;
    default: return isBinary(myBytes) ? Form::BINARY : Form::TEXT;
    }
}

std::vector<std::string> NOD_ValueFile::findStrayChannels(NOD_Node &node)
{
    std::vector<std::string> names;
    const TRK_Collection &channels = node.getChannels();
    for (int i = 0; const TRK_Channel *const channel = channels.getChannel(i); ++i) {
        int component = 0;
        if (node.getParms().getParmIndex(channel->getName(), component) < 0) {
            names.emplace_back(channel->getName().nonNullStr());
        }
    }
    return names;
}

std::vector<std::string> NOD_ValueFile::findLeftOut(NOD_Node &node, Form form)
{
    if (form == Form::NODE) {
        return {};
    }
    if (form != Form::CHANNELS) {
        return findStrayChannels(node);
    }
    constexpr auto theFactory =
        ZEL_DefaultType(ZEL_DEFAULT_FACTORY_EXPRESSION | ZEL_DEFAULT_FACTORY_VALUE);
    std::vector<std::string> tokens;
    forComponents(node.getParms(), [&](const ZEL_Parm &parm, int component) {
        if (parm.getTemplatePtr() && !parm.getTemplatePtr()->isSwitcher() &&
            !parm.getChannel(component) && !parm.isDefault(component, theFactory, true)) {
            addOnce(tokens, parm.getToken());
        }
    });
    return tokens;
}

bool NOD_ValueFile::checkCarried(NOD_Node &node, std::optional<Form> form,
                                 const std::vector<NOD_FileLoss> &losses, const NOD_LossRule &rule,
                                 NOD_Report &report, const NOD_ParmTest &counts)
{
    const int before = report.getErrorCount();
    NODcheckLosses(losses, rule, report);
    if (rule.isAllowed) {
        return true; // save() warns of the rest
    }
    if (form != Form::NODE) {
        NODtellUnheld(node, counts, rule, report);
    }
    const std::string rest =
        "not all of it is carried" + (rule.offer.empty() ? "" : "; " + rule.offer);
    const std::vector<std::string> leftOut =
        form ? findLeftOut(node, *form) : std::vector<std::string>();
    if (!leftOut.empty()) {
        report.error("", std::string(*form == Form::CHANNELS
                                         ? "a channel file can't hold the values of "
                                         : "a stream can't hold the channels ") +
                             joined(leftOut) + ": " + rest);
    }
    return report.getErrorCount() == before;
}

void NODtellUnheld(NOD_Node &node, const NOD_ParmTest &counts, const NOD_LossRule &rule,
                   NOD_Report &report)
{
    const std::string end = rule.isAllowed || rule.offer.empty() ? "" : "; " + rule.offer;
    const auto tellNames = [&](const char *what, const std::vector<std::string> &names) {
        if (!names.empty()) {
            const KIT_ErrorSeverity severity = rule.isAllowed ? KIT_ERROR_WARNING : KIT_ERROR_ABORT;
            report.add({severity, {}, 0, {}, what + joined(names) + end, {}, 0});
        }
    };
    tellNames("the form holds no aliases, so without: ", findAliases(node, counts));
    tellNames("the form doesn't describe spare parameters: ", findSpares(node, counts));
}

bool NOD_ValueFile::save(NOD_Scene &scene, NOD_Node &node, Form form, std::ostream &os,
                         const std::string &folder, NOD_Report &report)
{
    const int before = report.getErrorCount();
    if (form == Form::NODE) {
        NOD_SaveOptions options;
        options.folder = folder;
        return NOD_NodeFile::save(scene, node, os, options, report) &&
               report.getErrorCount() == before;
    }
    warnOfLeftOut(node, form, report);
    ZEL_ParmList &parms = node.getParms();
    const auto write = [&] {
        const NOD_ReportScope scope(report);
        if (form == Form::CHANNELS) {
            node.getChannels().save(os);
        } else {
            parms.save(os, form != Form::TEXT, form == Form::COMPACT);
        }
    };
    if (!NODwriteTo(os, "values", report, write)) {
        return false;
    }
    if (form != Form::CHANNELS && hasChannels(parms)) {
        report.warning("", "the stream refers to channels, which it doesn't hold: save them with "
                           "it, or the node as a whole");
    }
    return report.getErrorCount() == before;
}
