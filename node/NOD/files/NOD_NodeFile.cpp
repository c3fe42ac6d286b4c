#include <NOD/NOD_NodeFile.h>

#include <NOD/NOD_Batch.h>
#include <NOD/NOD_Edit.h>
#include <NOD/NOD_Node.h>
#include <NOD/NOD_References.h>
#include <NOD/NOD_Report.h>
#include <NOD/NOD_Scene.h>
#include <NOD/files/NOD_FilesPrivate.h>
#include <NOD/files/NOD_LinesPrivate.h>
#include <NOD/files/NOD_SectionNamesPrivate.h>
#include <NOD/files/NOD_TreeReaderPrivate.h>
#include <NOD/files/NOD_TreeWriterPrivate.h>
#include <NOD/tree/NOD_GraphWalkPrivate.h>
#include <ZEL/ZEL_InputBudget.h>

#include <algorithm>
#include <ostream>
#include <utility>
#include <vector>

namespace
{

/// An absolute path of names only; "" if it leads above the root.
std::string plainPath(const std::string &from, const std::string &path)
{
    const std::string whole = !path.empty() && path[0] == '/' ? path : from + "/" + path;
    std::vector<std::string> names;
    for (std::size_t at = 0; at <= whole.size();) {
        const std::size_t end = std::min(whole.find('/', at), whole.size());
        const std::string name = whole.substr(at, end - at);
        at = end + 1;
        if (name == ".." && names.empty()) {
            return {};
        }
        if (name == "..") {
            names.pop_back();
        } else if (!name.empty() && name != ".") {
            names.push_back(name);
        }
    }
    std::string plain;
    for (const std::string &name : names) {
        plain += "/" + name;
    }
    return plain;
}

/// Lets the references among the nodes lead to each other, which were written when the top's parent had
/// the path `above`.
void settleReferences(NOD_Node &top, const std::string &topName, const std::string &above)
{
    const std::string from = NODpathOf(top);
    const std::string start = (above == "/" ? "" : above) + "/" + topName;
    const auto resolve = [&](NOD_Node &node, const std::string &path) -> NOD_Node * {
        const std::string meant = plainPath(start + NODpathOf(node).substr(from.size()), path);
        const bool inside = meant.compare(0, start.size(), start) == 0 &&
                            (meant.size() == start.size() || meant[start.size()] == '/');
        return inside ? top.findNode((from + meant.substr(start.size())).c_str()) : nullptr;
    };
    NOD_References(top, resolve).rewrite();
}

NOD_Node *loadBytes(NOD_Scene &scene, NOD_Node &parent, std::string bytes, const std::string &name,
                    const NOD_LoadOptions &options, NOD_Report &report)
{
    NOD_SectionFile file;
    if (!file.read(std::move(bytes), name, report)) {
        return nullptr;
    }
    NOD_TreeReader reader(scene, file, name, options, report);
    const NOD_TreeReader::Section *const head = reader.use(thePartSection);
    if (!head) {
        report.add({KIT_ERROR_ABORT,
                    name,
                    0,
                    thePartSection,
                    "isn't there: this is no file of a node",
                    {},
                    0});
        return nullptr;
    }
    std::string above;
    for (const NOD_Line &line : NODreadLines(head->text)) {
        if (line.words[0] == "version") {
            reader.checkVersion(*head, line);
        } else if (line.words[0] == "above" && line.words.size() == 2) {
            above = line.words[1];
        } else {
            reader.error(*head, line.number + 1, "\"" + line.words[0] + "\" isn't known here");
        }
    }
    const ZEL_InputBudget budget(file.getLength());
    const NOD_Edit edit(scene, "Load node");
    const NOD_Batch batch(scene);
    reader.readInterfaces();
    constexpr bool isPart = true;
    reader.readNodes(parent, isPart);
    if (reader.getNodes().empty()) {
        report.add(
            {KIT_ERROR_ABORT, name, 0, theNodeSection, "there is no node in the file", {}, 0});
        return nullptr;
    }
    reader.readRest();
    NOD_Node *const top = reader.getNodes().front();
    settleReferences(*top, reader.getTopName(), above.empty() ? "/" : above);
    return top;
}

} // namespace

// ---------------------------------------------------------------------- //
// Out
// ---------------------------------------------------------------------- //

bool NOD_NodeFile::save(NOD_Scene &scene, NOD_Node &node, std::ostream &os,
                        const NOD_SaveOptions &options, NOD_Report &report)
{
    if (!node.getParent()) {
        report.error("/", "the root is no node of a file: save the scene");
        return false;
    }
    if (!NOD_TreeWriter::isReadable(node, report)) {
        return false;
    }
    return NODwriteTo(os, "node", report, [&] {
        NOD_TreeWriter writer(scene, os, options, report);
        writer.writeHead(thePartSection, "version " + std::string(theFileVersionText) + "\nabove " +
                                             NODquoted(NODpathOf(*node.getParent())) + "\n");
        writer.writeTree(node);
        writer.end();
    });
}

bool NOD_NodeFile::save(NOD_Scene &scene, NOD_Node &node, const std::string &path,
                        const NOD_SaveOptions &options, NOD_Report &report)
{
    return NODwriteFile(path, options, report,
                        [&](std::ostream &os, const NOD_SaveOptions &placed) {
                            return save(scene, node, os, placed, report);
                        });
}

// ---------------------------------------------------------------------- //
// In
// ---------------------------------------------------------------------- //

NOD_Node *NOD_NodeFile::load(NOD_Scene &scene, NOD_Node &parent, const std::string &path,
                             const NOD_LoadOptions &options, NOD_Report &report)
{
    std::string bytes;
    return NODreadFile(path, bytes, report, NOD_SectionFile::canBeOne)
               ? loadBytes(scene, parent, std::move(bytes), path, NODplaced(options, path), report)
               : nullptr;
}

NOD_Node *NOD_NodeFile::load(NOD_Scene &scene, NOD_Node &parent, std::istream &is,
                             const std::string &name, const NOD_LoadOptions &options,
                             NOD_Report &report)
{
    std::string bytes;
    return NODreadStream(is, name, bytes, report)
               ? loadBytes(scene, parent, std::move(bytes), name, options, report)
               : nullptr;
}
