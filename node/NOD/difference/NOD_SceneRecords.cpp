#include <NOD/difference/NOD_SceneRecordsPrivate.h>

#include <BAS/BAS_Character.h>
#include <NOD/NOD_Report.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>
#include <NOD/files/NOD_TreeLimitsPrivate.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace
{

using Kind = NOD_RecordKind;
using Section = NOD_SectionFile::Section;

std::uint64_t mixed(std::uint64_t hash, std::string_view text)
{
    return (hash ^ std::hash<std::string_view>()(text)) * 0x9e3779b97f4a7c15U + 1;
}

// ---------------------------------------------------------------------- //
// Nodes that are read later
// ---------------------------------------------------------------------- //

/// Whether there is a call of a function that TRK_NodePaths knows, or something like it.
bool hasReference(std::string_view text)
{
    for (const std::string_view name : {"ch", "parm"}) {
        std::size_t end = 0; // of the word, of which there is one answer
        for (std::size_t at = text.find(name); at != std::string_view::npos;
             at = text.find(name, end)) {
            end = at;
            while (end < text.size() && BASisWordChar(text[end])) {
                ++end;
            }
            while (end < text.size() && BASisBlank(text[end])) {
                ++end;
            }
            if (end < text.size() && text[end] == '(') {
                return true;
            }
        }
    }
    return false;
}

class ClosedNode : public NOD_ClosedParts
{
public:
    using Texts = std::vector<std::pair<std::string_view, std::string_view>>;

    ClosedNode(std::shared_ptr<const NOD_SectionFile> file, std::shared_ptr<NOD_NodeRecords> nodes)
        : myFile(std::move(file)), myNodes(std::move(nodes))
    {}

    void add(std::string_view kind, std::string_view text) { myTexts.emplace_back(kind, text); }
    void open(NOD_Record &record) const override
    {
        NOD_NodeSections sections;
        take(sections);
        myNodes->read(sections, record);
    }
    std::uint64_t getHash() const override
    {
        std::uint64_t hash = 0;
        for (const auto &[kind, text] : myTexts) {
            hash = mixed(mixed(hash, kind), text);
        }
        return hash;
    }
    bool isSame(const NOD_ClosedParts &other) const override
    {
        const auto *node = dynamic_cast<const ClosedNode *>(&other);
        return node && node->myTexts == myTexts;
    }
    bool mayRefer() const override
    {
        return std::any_of(myTexts.begin(), myTexts.end(),
                           [](const auto &text) { return hasReference(text.second); });
    }
    void take(NOD_NodeSections &sections) const;

private:
    std::shared_ptr<const NOD_SectionFile> myFile;
    std::shared_ptr<NOD_NodeRecords> myNodes;
    Texts myTexts; ///< in the order of the file
};

std::string headOf(const NOD_NodeSections &sections)
{
    std::string head = sections.type.empty() ? "" : "type " + NODquoted(sections.type) + "\n";
    head +=
        sections.version.empty() ? "" : theNodeVersion + (" " + NODquoted(sections.version)) + "\n";
    for (const auto &[name, value] : sections.variables) {
        head += "variable " + NODquoted(name) + " " + NODquoted(value) + "\n";
    }
    return head;
}

void takeHead(std::string_view text, NOD_NodeSections &sections)
{
    for (const NOD_Line &line : NODreadLines(text)) {
        const std::vector<std::string> &words = line.words;
        if (words.size() == 2 && words[0] == "type") {
            sections.type = words[1];
        } else if (words.size() == 2 && words[0] == theNodeVersion) {
            sections.version = words[1];
        } else if (words.size() == 3 && words[0] == "variable") {
            sections.variables[words[1]] = words[2];
        }
    }
}

void ClosedNode::take(NOD_NodeSections &sections) const
{
    for (const auto &[kind, text] : myTexts) {
        if (kind == theNodeSection) {
            takeHead(text, sections);
            if (headOf(sections) != text) {
                sections.kept.emplace_back(kind, text); // with what isn't known here
            }
        } else if (std::string *const place = sections.findText(kind)) {
            *place = text;
        } else {
            sections.kept.emplace_back(kind, text);
        }
    }
}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

/// The lines of the first section; false for one that isn't known.
bool readHeadLine(const std::vector<std::string> &words, NOD_Record &top)
{
    const std::string &word = words[0];
    const std::size_t count = words.size();
    if (word == "version" && count == 2) {
        top.add(Kind::VERSION, {}, words[1]);
    } else if (word == "framerate" && count == 2) {
        top.add(Kind::FRAME_RATE, {}, words[1]);
    } else if (word == "range" && count == 3) {
        top.add(Kind::RANGE, "first", words[1]);
        top.add(Kind::RANGE, "last", words[2]);
    } else if (word == "time" && count == 2) {
        top.add(Kind::TIME, {}, words[1]);
    } else if (word == "above" && count == 2) {
        top.add(Kind::ABOVE, {}, words[1]);
    } else if (word == "variable" && count == 3) {
        top.add(Kind::VARIABLE, words[1], words[2]);
    } else {
        return false;
    }
    return true;
}

std::string headText(const NOD_Record &top)
{
    std::string head;
    const auto line = [&](const char *word, Kind kind, bool quoteFlag) {
        if (top.find(kind)) {
            const std::string value = NODtextOf(top.valueOf(kind));
            head += std::string(word) + " " + (quoteFlag ? NODquoted(value) : value) + "\n";
        }
    };
    line("version", Kind::VERSION, false);
    line("above", Kind::ABOVE, true);
    line("framerate", Kind::FRAME_RATE, false);
    if (top.find(Kind::RANGE, "first")) {
        head += "range " + NODtextOf(top.valueOf(Kind::RANGE, "first")) + " " +
                NODtextOf(top.valueOf(Kind::RANGE, "last")) + "\n";
    }
    line("time", Kind::TIME, false);
    std::map<std::string, std::string> variables;
    for (const auto &part : top.getParts()) {
        if (part->getKind() == Kind::VARIABLE) {
            variables[part->getName()] = NODtextOf(part->getValue());
        }
    }
    for (const auto &[name, value] : variables) {
        head += "variable " + NODquoted(name) + " " + NODquoted(value) + "\n";
    }
    return head;
}

/// Puts the sections where they belong.
class Reader
{
public:
    Reader(const std::shared_ptr<const NOD_SectionFile> &file, const std::string &name,
           const std::shared_ptr<NOD_NodeRecords> &nodes, NOD_Record &top, NOD_Report &report)
        : myFile(file), myName(name), myNodes(nodes), myTop(top), myReport(report)
    {}

    bool run()
    {
        const std::vector<Section> &sections = myFile->getSections();
        const auto isHead = [](const Section &section) {
            return section.name == theSceneSection || section.name == thePartSection;
        };
        const auto head = std::find_if(sections.begin(), sections.end(), isHead);
        if (head == sections.end()) {
            myReport.add({KIT_ERROR_ABORT, myName, 0, {}, "is no file of a scene or node", {}, 0});
            return false;
        }
        readHead(*head);
        makeNodes();
        for (const Section &section : sections) {
            if (&section != &*head) {
                place(section);
            }
        }
        for (auto &[path, closed] : myClosed) {
            contentsOf(path).close(std::move(closed));
        }
        return true;
    }

private:
    void readHead(const Section &section)
    {
        for (const NOD_Line &line : NODreadLines(section.text)) {
            if (!readHeadLine(line.words, myTop)) {
                keep(section);
                return;
            }
        }
        if (headText(myTop) != section.text) {
            keep(section);
        }
    }
    /// As it is, beside what is known of it.
    void keep(const Section &section)
    {
        myTop.add(Kind::SECTION, std::string(section.name), std::string(section.text));
    }

    /// Parents before their children, which the file may have in any order.
    void makeNodes()
    {
        struct Place
        {
            std::string path;
            std::ptrdiff_t level;
        };
        std::vector<Place> places;
        for (const Section &section : myFile->getSections()) {
            if (NODkindOf(section.name) == theNodeSection) {
                const std::string path = NODrestOf(section.name);
                places.push_back({path, std::count(path.begin(), path.end(), '/')});
            }
        }
        std::stable_sort(places.begin(), places.end(),
                         [](const Place &a, const Place &b) { return a.level < b.level; });
        myByPath["/"] = &myTop;
        for (const Place &place : places) {
            const std::size_t slash = place.path.rfind('/');
            const auto parent = myByPath.find(slash == 0 ? "/" : place.path.substr(0, slash));
            const bool goodFlag = !place.path.empty() && place.path[0] == '/' &&
                                  place.path.back() != '/' && parent != myByPath.end() &&
                                  place.level <= theMostLevels;
            if (goodFlag) {
                myByPath[place.path] =
                    &parent->second->add(Kind::NODE, place.path.substr(slash + 1));
            }
        }
    }
    NOD_Record &contentsOf(const std::string &path)
    {
        NOD_Record &node = *myByPath[path];
        NOD_Record *const contents = path == "/" ? node.find(Kind::CONTENTS) : nullptr;
        return contents ? *contents : node.add(Kind::CONTENTS);
    }

    void place(const Section &section)
    {
        const std::string kind = NODkindOf(section.name);
        const std::string path = NODrestOf(section.name);
        const auto node = myByPath.find(path);
        const bool rootFlag = path == "/" && kind != theNodeSection && !NODisNodeKind(kind);
        if (kind == theInterfaceSection) {
            myTop.add(Kind::INTERFACE, path, std::string(section.text));
        } else if (node == myByPath.end() || rootFlag || section.name == theSceneSection ||
                   section.name == thePartSection) {
            keep(section);
        } else {
            std::shared_ptr<ClosedNode> &closed = myClosed[path];
            if (!closed) {
                closed = std::make_shared<ClosedNode>(myFile, myNodes);
            }
            closed->add(section.name.substr(0, kind.size()), section.text);
        }
    }

    const std::shared_ptr<const NOD_SectionFile> &myFile;
    const std::string &myName;
    const std::shared_ptr<NOD_NodeRecords> &myNodes;
    NOD_Record &myTop;
    NOD_Report &myReport;
    std::unordered_map<std::string, NOD_Record *> myByPath;
    std::unordered_map<std::string, std::shared_ptr<ClosedNode>> myClosed;
};

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

bool writeTree(const NOD_Record &node, const std::string &path, NOD_NodeRecords &nodes,
               NOD_SectionWriter &writer, NOD_Report &report)
{
    bool goodFlag = true;
    const std::string place = path.empty() ? "/" : path;
    if (const NOD_Record *const contents = node.find(Kind::CONTENTS)) {
        NOD_NodeSections sections;
        goodFlag = NODwriteNode(*contents, nodes, sections, report);
        const auto isHead = [](const auto &section) { return section.first == theNodeSection; };
        const auto head = std::find_if(sections.kept.begin(), sections.kept.end(), isHead);
        writer.add(theNodeSection + (" " + place),
                   head == sections.kept.end() ? headOf(sections) : head->second);
        for (const char *const kind : theNodeKinds) {
            const std::string &text = *sections.findText(kind);
            if (!text.empty()) {
                writer.add(kind + (" " + place), text);
            }
        }
        for (const auto &section : sections.kept) {
            if (!isHead(section)) {
                writer.add(section.first + " " + place, section.second);
            }
        }
    } else if (!path.empty()) {
        writer.add(theNodeSection + (" " + place), "");
    }
    for (const auto &part : node.getParts()) {
        if (part->getKind() == Kind::NODE) {
            goodFlag =
                writeTree(*part, path + "/" + part->getName(), nodes, writer, report) && goodFlag;
        }
    }
    return goodFlag;
}

} // namespace

bool NODreadScene(const std::shared_ptr<const NOD_SectionFile> &file, const std::string &name,
                  const std::shared_ptr<NOD_NodeRecords> &nodes, NOD_Record &top,
                  NOD_Report &report)
{
    return Reader(file, name, nodes, top, report).run();
}

bool NODwriteNode(const NOD_Record &contents, NOD_NodeRecords &nodes, NOD_NodeSections &sections,
                  NOD_Report &report)
{
    const auto *closed = dynamic_cast<const ClosedNode *>(contents.getClosed().get());
    if (closed) {
        closed->take(sections);
        return true;
    }
    return nodes.write(contents, sections, report);
}

bool NODwriteScene(const NOD_Record &top, NOD_NodeRecords &nodes, NOD_SectionWriter &writer,
                   NOD_Report &report)
{
    const bool partFlag = top.getValue().index() != 0;
    const char *const headName = partFlag ? thePartSection : theSceneSection;
    const NOD_Record *const kept = top.find(Kind::SECTION, headName);
    writer.add(headName, kept ? NODtextOf(kept->getValue()) : headText(top));
    for (const auto &part : top.getParts()) {
        if (part->getKind() == Kind::INTERFACE) {
            writer.add(theInterfaceSection + (" " + part->getName()), NODtextOf(part->getValue()));
        }
    }
    const bool goodFlag = writeTree(top, "", nodes, writer, report);
    for (const auto &part : top.getParts()) {
        if (part->getKind() == Kind::SECTION && part->getName() != headName) {
            writer.add(part->getName(), NODtextOf(part->getValue()));
        }
    }
    writer.end();
    return goodFlag;
}
